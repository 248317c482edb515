// Plain text catalogues: stars and objects as comma-separated values.
#include <fstream>
#include <sstream>

#include "comun/numbers.h"
#include "herramientas/db/importers.h"

namespace tornel::db {
namespace {

// Splits on commas, semicolons, tabs or runs of blanks; at most `maxFields`, the last taking the rest.
std::vector<std::string> SplitFields(const std::string& line, size_t maxFields) {
    std::vector<std::string> f;
    size_t i = 0;
    while (i < line.size() && f.size() + 1 < maxFields) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t'))
            ++i;
        size_t j = i;
        while (j < line.size() && line[j] != ',' && line[j] != ';' && line[j] != '\t' && line[j] != ' ')
            ++j;
        f.push_back(line.substr(i, j - i));
        i = j;
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t'))
            ++i;
        if (i < line.size() && (line[i] == ',' || line[i] == ';')) ++i;
    }
    if (i < line.size()) f.push_back(Trim(line.substr(i)));
    return f;
}

std::string CleanLine(std::string line) {
    if (auto h = line.find('#'); h != std::string::npos) line.erase(h);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return Trim(line);
}

bool ParseNumber(const std::string& s, double& v) {
    if (s.empty() || s.find(',') != std::string::npos || !IsNumeric(s)) return false;
    v = TextToDouble(s);
    return true;
}

template <class Row>
bool ReadRows(const std::string& path, size_t fields, std::string& error, Row&& row) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot open " + path;
        return false;
    }
    std::string line;
    int64_t n = 0;
    bool first = true;
    while (std::getline(in, line)) {
        ++n;
        line = CleanLine(line);
        if (line.empty()) continue;
        auto f = SplitFields(line, fields);
        bool ok = row(f);
        if (!ok && first) {  // a heading
            first = false;
            continue;
        }
        first = false;
        if (!ok) {
            error = path + ": line " + std::to_string(n) + " cannot be read";
            return false;
        }
    }
    return true;
}

}  // namespace

bool ReadStarCsv(const std::string& path, std::vector<CatalogStar>& out, std::string& error) {
    return ReadRows(path, 3, error, [&](const std::vector<std::string>& f) {
        double ra, dec, mag = 99;
        if (f.size() < 2 || !ParseNumber(f[0], ra) || !ParseNumber(f[1], dec)) return false;
        if (f.size() >= 3 && !f[2].empty() && !ParseNumber(f[2], mag)) return false;
        if (ra < 0 || ra > 360 || dec < -90 || dec > 90) return false;
        out.push_back({ra >= 360 ? ra - 360 : ra, dec, static_cast<float>(mag)});
        return true;
    });
}

bool ReadObjectCsv(const std::string& path, std::vector<SkyObject>& out, std::string& error) {
    return ReadRows(path, 4, error, [&](const std::vector<std::string>& f) {
        double ra, dec, size;
        if (f.size() < 4 || !ParseNumber(f[0], ra) || !ParseNumber(f[1], dec) || !ParseNumber(f[2], size))
            return false;
        if (ra < 0 || ra > 360 || dec < -90 || dec > 90 || f[3].empty()) return false;
        out.push_back({static_cast<float>(ra), static_cast<float>(dec), static_cast<float>(size), f[3]});
        return true;
    });
}

InputKind DetectTextKind(const std::string& path);
InputKind DetectTextKind(const std::string& path) {
    std::ifstream in(path);
    std::string line;
    int looked = 0;
    while (looked < 5 && std::getline(in, line)) {
        line = CleanLine(line);
        if (line.empty()) continue;
        ++looked;
        for (unsigned char ch : line)
            if (ch < 9 || (ch > 13 && ch < 32)) return InputKind::Unknown;
        auto f = SplitFields(line, 4);
        double v;
        if (f.size() < 2 || !ParseNumber(f[0], v) || !ParseNumber(f[1], v)) continue;  // heading
        if (f.size() == 4 && ParseNumber(f[2], v) && !ParseNumber(f[3], v)) return InputKind::ObjectCsv;
        if (f.size() <= 3) return InputKind::StarCsv;
        return InputKind::Unknown;
    }
    return InputKind::Unknown;
}

}  // namespace tornel::db
