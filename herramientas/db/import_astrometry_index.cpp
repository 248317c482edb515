// Star tree and magnitude column of an astrometry.net index file (FITS, the Tycho-2 series).
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>

#include "comun/numbers.h"
#include "herramientas/db/importers.h"
#include "herramientas/db/sky_geometry.h"

namespace tornel::db {
namespace {

constexpr int64_t kBlock = 2880;

struct Hdu {
    std::map<std::string, std::string> cards;  // keyword -> value text (strings without quotes)
    int64_t dataOffset = 0;
    int64_t dataSize = 0;
    std::string Get(const std::string& k) const {
        auto it = cards.find(k);
        return it == cards.end() ? std::string{} : it->second;
    }
    int64_t GetInt(const std::string& k) const {
        std::string v = Get(k);
        return IsNumeric(v) ? static_cast<int64_t>(TextToDouble(v)) : 0;
    }
};

std::string CardValue(const std::string& card) {
    std::string rest = card.substr(10);
    size_t i = rest.find_first_not_of(' ');
    if (i == std::string::npos) return {};
    if (rest[i] == '\'') {
        std::string s;
        for (size_t j = i + 1; j < rest.size(); ++j) {
            if (rest[j] == '\'') {
                if (j + 1 < rest.size() && rest[j + 1] == '\'') {
                    s += '\'';
                    ++j;
                    continue;
                }
                break;
            }
            s += rest[j];
        }
        while (!s.empty() && s.back() == ' ')
            s.pop_back();
        return s;
    }
    std::string v =
        rest.substr(i, rest.find('/', i) == std::string::npos ? std::string::npos : rest.find('/', i) - i);
    for (auto& ch : v)
        if (ch == 'D') ch = 'E';  // Fortran exponents
    return Trim(v);
}

bool ReadHdus(std::ifstream& in, int64_t fileSize, std::vector<Hdu>& hdus, std::string& error) {
    int64_t pos = 0;
    while (pos + kBlock <= fileSize) {
        Hdu h;
        bool end = false;
        std::string block(kBlock, '\0');
        while (!end) {
            if (pos + kBlock > fileSize) {
                error = "FITS header runs past the end of the file";
                return false;
            }
            in.seekg(pos);
            in.read(block.data(), kBlock);
            pos += kBlock;
            for (int c = 0; c < 36 && !end; ++c) {
                std::string card = block.substr(c * 80, 80);
                std::string key = Trim(card.substr(0, 8));
                if (card.compare(0, 8, "END     ") == 0) {
                    end = true;
                    break;
                }
                if (!key.empty() && card.compare(8, 2, "= ") == 0) h.cards[key] = CardValue(card);
            }
        }
        int64_t bitpix = std::llabs(h.GetInt("BITPIX"));
        int64_t naxis = h.GetInt("NAXIS");
        int64_t n = naxis > 0 ? 1 : 0;
        for (int64_t k = 1; k <= naxis; ++k)
            n *= h.GetInt("NAXIS" + std::to_string(k));
        int64_t gcount = h.cards.count("GCOUNT") ? h.GetInt("GCOUNT") : 1;
        h.dataOffset = pos;
        h.dataSize = bitpix / 8 * gcount * (h.GetInt("PCOUNT") + n);
        pos += (h.dataSize + kBlock - 1) / kBlock * kBlock;
        hdus.push_back(std::move(h));
    }
    return !hdus.empty();
}

const Hdu* FindArray(const std::vector<Hdu>& hdus, const std::string& name) {
    for (const auto& h : hdus)
        if (h.Get("TTYPE1") == name) return &h;
    return nullptr;
}

int64_t FormWidth(const std::string& form) {
    size_t i = 0;
    while (i < form.size() && std::isdigit(static_cast<unsigned char>(form[i])))
        ++i;
    int64_t repeat = i ? std::stoll(form.substr(0, i)) : 1;
    char t = i < form.size() ? form[i] : 'A';
    int64_t w = 1;
    switch (t) {
        case 'L':
        case 'B':
        case 'A':
        case 'X':
            w = 1;
            break;
        case 'I':
            w = 2;
            break;
        case 'J':
        case 'E':
            w = 4;
            break;
        case 'K':
        case 'D':
        case 'C':
            w = 8;
            break;
        case 'M':
            w = 16;
            break;
        default:
            w = 1;
    }
    return repeat * w;
}

template <class T>
T Load(const char* p, bool swap) {
    T v;
    std::memcpy(&v, p, sizeof v);
    if (swap) {
        if constexpr (sizeof v == 2)
            v = __builtin_bswap16(v);
        else if constexpr (sizeof v == 4)
            v = __builtin_bswap32(v);
        else
            v = __builtin_bswap64(v);
    }
    return v;
}

}  // namespace

bool ReadAstrometryIndex(const std::string& path, std::vector<CatalogStar>& out, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot open " + path;
        return false;
    }
    in.seekg(0, std::ios::end);
    const int64_t fileSize = in.tellg();
    std::vector<Hdu> hdus;
    if (!ReadHdus(in, fileSize, hdus, error)) {
        if (error.empty()) error = path + " is not a FITS file";
        return false;
    }
    const std::string endian = hdus[0].Get("ENDIAN");
    const bool little = endian != "01:02:03:04";
    const bool swap = little != (std::endian::native == std::endian::little);
    const Hdu* header = FindArray(hdus, "kdtree_header_stars");
    const Hdu* range = FindArray(hdus, "kdtree_range_stars");
    const Hdu* data = FindArray(hdus, "kdtree_data_stars");
    if (!data || !header) {
        error = path + " holds no star tree";
        return false;
    }
    const std::string kind = header->Get("KDT_DATA");
    const int64_t ndat = header->GetInt("KDT_NDAT"), ndim = header->GetInt("KDT_NDIM");
    if (ndim != 3 || ndat <= 0) {
        error = path + ": the star tree is not three-dimensional";
        return false;
    }
    int width = kind == "u32" ? 4 : kind == "u16" ? 2 : kind == "double" ? 8 : kind == "float" ? 4 : 0;
    if (!width || data->dataSize < ndat * 3 * width) {
        error = path + ": star tree data of type '" + kind + "' cannot be read";
        return false;
    }
    double minval[3] = {0, 0, 0}, scale = 1;
    const bool integral = kind == "u32" || kind == "u16";
    if (integral) {
        if (!range || range->dataSize < 7 * 8) {
            error = path + ": the star tree has no range table";
            return false;
        }
        char buf[56];
        in.seekg(range->dataOffset);
        in.read(buf, 56);
        for (int k = 0; k < 3; ++k)
            minval[k] = std::bit_cast<double>(Load<uint64_t>(buf + 8 * k, swap));
        scale = std::bit_cast<double>(Load<uint64_t>(buf + 48, swap));
    }
    // The magnitude: a big-endian column of the tag-along table, found by name.
    const Hdu* tag = nullptr;
    int64_t magOffset = -1;
    char magType = 0;
    for (const auto& h : hdus) {
        if (h.Get("AN_FILE") != "TAGALONG") continue;
        int64_t off = 0;
        for (int64_t k = 1; k <= h.GetInt("TFIELDS"); ++k) {
            std::string form = h.Get("TFORM" + std::to_string(k));
            std::string name = ToUpper(h.Get("TTYPE" + std::to_string(k)));
            if (name.rfind("MAG", 0) == 0 && magOffset < 0 && (form.ends_with("E") || form.ends_with("D"))) {
                magOffset = off;
                magType = form.back();
                tag = &h;
            }
            off += FormWidth(form);
        }
    }
    const int64_t rowWidth = tag ? tag->GetInt("NAXIS1") : 0;
    if (tag && tag->GetInt("NAXIS2") != ndat) tag = nullptr;

    out.reserve(out.size() + ndat);
    const int64_t chunk = 1 << 16;
    std::vector<char> buf(chunk * 3 * width), mags(tag ? chunk * rowWidth : 0);
    for (int64_t first = 0; first < ndat; first += chunk) {
        int64_t n = std::min(chunk, ndat - first);
        in.seekg(data->dataOffset + first * 3 * width);
        in.read(buf.data(), n * 3 * width);
        if (tag) {
            in.seekg(tag->dataOffset + first * rowWidth);
            in.read(mags.data(), n * rowWidth);
        }
        if (!in) {
            error = path + " is cut short";
            return false;
        }
        for (int64_t i = 0; i < n; ++i) {
            double v[3];
            const char* p = buf.data() + i * 3 * width;
            for (int k = 0; k < 3; ++k) {
                const char* q = p + k * width;
                if (kind == "u32")
                    v[k] = minval[k] + Load<uint32_t>(q, swap) / scale;
                else if (kind == "u16")
                    v[k] = minval[k] + Load<uint16_t>(q, swap) / scale;
                else if (kind == "double")
                    v[k] = std::bit_cast<double>(Load<uint64_t>(q, swap));
                else
                    v[k] = std::bit_cast<float>(Load<uint32_t>(q, swap));
            }
            CatalogStar s;
            VectorToRaDec({v[0], v[1], v[2]}, s.ra, s.dec);
            s.mag = 99;
            if (tag) {
                const char* m = mags.data() + i * rowWidth + magOffset;
                const bool bigSwap = std::endian::native == std::endian::little;
                double mag = magType == 'E' ? std::bit_cast<float>(Load<uint32_t>(m, bigSwap))
                                            : std::bit_cast<double>(Load<uint64_t>(m, bigSwap));
                if (std::isfinite(mag)) s.mag = static_cast<float>(mag);
            }
            out.push_back(s);
        }
    }
    return true;
}

}  // namespace tornel::db
