#pragma once
// What the modes of tornel-solve-fields share: the settings, the runs of the programs, the program
// folder, the rendered fields and the validation table's reading.
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "comun/context.h"
#include "comun/numbers.h"
#include "comun/quiet_platform.h"
#include "core/analisis.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "herramientas/db/default_database.h"
#include "herramientas/db/projection.h"

namespace tornel::bench {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr double kRad = std::numbers::pi / 180;

struct Settings {
    std::string mode;
    std::string home;       // program folder of `tornel-db default`
    std::string catalogue;  // the star catalogue it was built from
    std::string sky;        // when set, fields are rendered from this list instead: no answer is right
    bool all = false;       // validation: every image
    std::string only;       // validation: this image alone, its run's summary printed
    std::string render;     // more options of `tornel-db render` for the fields
    std::string work;       // where fields and the run's program folder go
    std::string validation = std::string(TORNEL_SOURCE_DIR) + "/../shared/validation";
    std::string tools = TORNEL_BINARY_DIR;
    int fields = 200;
    uint64_t seed = 1;
    int mirrorEvery = 10;  // every n-th field is mirrored (0: none)
    int inclination = 1;   // parameter 10, degrees
    bool blind = false;    // database 2, no position
    bool wide = false;     // fields 0.3 to 70 degrees across
};

inline double Uniform(std::mt19937_64& g) {
    return static_cast<double>(g() >> 11) * 0x1.0p-53;
}

inline double Quantile(std::vector<double> v, double q) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(q * static_cast<double>(v.size())))];
}

// Angular distance of two positions, degrees.
inline double Distance(double ra1, double dec1, double ra2, double dec2) {
    const double a = std::sin((dec2 - dec1) * kRad / 2), b = std::sin((ra2 - ra1) * kRad / 2);
    const double h = a * a + std::cos(dec1 * kRad) * std::cos(dec2 * kRad) * b * b;
    return 2 * std::asin(std::sqrt(std::min(1.0, h))) / kRad;
}

// The position `distance` degrees from (ra, dec) in direction `bearing` (degrees from north to east).
inline void Offset(double ra, double dec, double bearing, double distance, double& ra2, double& dec2) {
    const double d = distance * kRad, b = bearing * kRad, p = dec * kRad;
    const double s = std::sin(p) * std::cos(d) + std::cos(p) * std::sin(d) * std::cos(b);
    dec2 = std::asin(s) / kRad;
    ra2 = ra + std::atan2(std::sin(b) * std::sin(d) * std::cos(p), std::cos(d) - std::sin(p) * s) / kRad;
    ra2 = std::fmod(ra2 + 720, 360);
}

inline double AngleApart(double a, double b) {
    double d = std::fmod(std::fabs(a - b), 360.0);
    return d > 180 ? 360 - d : d;
}

// Runs a command line; its standard output, its exit status and its wall time.
struct Run {
    std::string out;
    int status = -1;
    double seconds = 0;
};

inline Run Execute(const std::string& command) {
    Run r;
    auto t0 = Clock::now();
    if (FILE* p = popen((command + " 2>/dev/null").c_str(), "r")) {
        char buffer[4096];
        while (size_t n = fread(buffer, 1, sizeof buffer, p))
            r.out.append(buffer, n);
        int s = pclose(p);
        r.status = WIFEXITED(s) ? WEXITSTATUS(s) : -1;
    }
    r.seconds = std::chrono::duration<double>(Clock::now() - t0).count();
    return r;
}

inline std::string Quote(const std::string& s) {
    return "'" + s + "'";
}

// tornel-cli analysing `image` around (ra, dec), or with no position at all in the blind mode.
inline std::string CliCommand(const Settings& s, const std::string& home, const std::string& image, double ra,
                              double dec) {
    std::string command =
        "TORNEL_HOME=" + Quote(home) + " " + s.tools + "/consola/tornel-cli 8 " + Quote(image);
    if (!s.blind) command += " " + ShortestText(ra) + " " + ShortestText(dec);
    return command;
}

// What tornel-cli printed of its solution: the "CENTRE:" line and the image angle.
struct Answer {
    bool found = false;
    double ra = 0, dec = 0, angle = 0;
    int sides = 0;
    int candidates = -1;               // candidate stars of the extraction, -1 when it never got that far
    std::string verification = "- -";  // "matched/tested expected odds" of the last candidate checked
};

inline Answer ParseAnswer(const std::string& out) {
    Answer a;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.rfind("CENTRE: RA= ", 0) == 0) {
            int h = 0, m = 0, g = 0, mi = 0;
            double s = 0, se = 0;
            char sign = '+';
            const size_t dec = line.find("DEC= ");
            if (std::sscanf(line.c_str(), "CENTRE: RA= %dh%dm%lfs", &h, &m, &s) != 3 ||
                dec == std::string::npos)
                continue;
            sign = line[dec + 5];
            // Degrees, then the two bytes of the degree sign, minutes, a quote and seconds.
            if (std::sscanf(line.c_str() + dec + 6, "%d", &g) != 1) continue;
            const size_t minutes = line.find("°", dec);
            if (minutes == std::string::npos ||
                std::sscanf(line.c_str() + minutes + 2, "%d'%lf", &mi, &se) != 2)
                continue;
            a.ra = 15 * h + m / 4.0 + s / 240;
            a.dec = (sign == '-' ? -1 : 1) * (g + mi / 60.0 + se / 3600);
            a.found = true;
        }
        if (auto p = line.find("Candidate stars = "); p != std::string::npos)
            a.candidates = std::stoi(line.substr(p + 18));
        if (auto p = line.find("image angle = "); p != std::string::npos)
            a.angle = std::stod(line.substr(p + 14));
        if (auto p = line.find(" with "); line.rfind("Solution : ", 0) == 0 && p != std::string::npos)
            a.sides = std::stoi(line.substr(p + 6));
        int matched = 0, tested = 0;
        double radius = 0, expected = 0;
        char odds[16] = {};
        if (std::sscanf(line.c_str(),
                        "Verification: %d of %d catalogue stars within %lf px, %lf by chance; odds 10^%15s",
                        &matched, &tested, &radius, &expected, odds) == 5)
            a.verification = std::to_string(matched) + "/" + std::to_string(tested) + " " +
                             FormatNumber(expected, "0.0") + " " + odds;
    }
    return a;
}

// The run's program folder: the parameters of the default database with `change` applied, written by
// the program's own writer.
inline void WriteParameters(const std::string& home, const std::function<void(Context&)>& change) {
    QuietPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = home;
    ParametrosPorDefecto(c);
    CargaParametros(c, RutaParametros(c));
    // The file holds the database in force, and nothing is put in force here.
    c.gBaseDatos = c.gBaseDatosPedida;
    change(c);
    GrabaParametros(c);
}

// A program folder in the work folder, with the database's parameters, the automatic threshold and
// the window of the issue (5 x 5 degrees).
inline std::string PrepareHome(const Settings& s) {
    const std::string home = s.work + "/home/";
    fs::create_directories(home + "messages");
    fs::copy_file(s.home + "param.txt", home + "param.txt", fs::copy_options::overwrite_existing);
    WriteParameters(home, [&](Context& c) {
        c.gCarpetaMensajes = home + "messages/";
        c.gUmbralAutomatico = 1;
        c.gAnchoVentana = 5;
        c.gAltoVentana = 5;
        c.gBaseDatosPedida = s.blind ? 2 : 1;
        // No position: the centre of the combos (0, 0) only orders the candidates.
        if (s.blind) c.gOrigenCoordenadas = 0;
        c.gBaseDatos = c.gBaseDatosPedida;
        c.gErrorInclinacion = static_cast<int16_t>(s.inclination);
    });
    return home;
}

inline void SetImage(const std::string& home, double scale, double angle, bool reversed) {
    WriteParameters(home, [&](Context& c) {
        c.gSegundosPorPixelX = scale;
        c.gSegundosPorPixelY = scale;
        c.gFocalEnPixeles = FocalDesdeEscala(scale);
        CalculaValoresDerivados(c);
        c.gAnguloImagen = std::fmod(angle + 720, 360);
        c.gImagenInvertida = reversed ? 1 : 0;
    });
}

// The image angle of a field as the program reads it (rows reversed for a mirrored field).
inline double ProgramAngle(const db::FieldGeometry& g) {
    return g.mirror ? 180 - g.angle : g.angle;
}

struct Field {
    db::FieldGeometry g;
    std::string fits;
    double givenRa = 0, givenDec = 0, givenAngle = 0;
};

// A random field: centre uniform on the sphere, 0.5 to 1 degree across, any angle, some mirrored.
inline Field RenderField(const Settings& s, int index, std::mt19937_64& rng) {
    Field f;
    f.g.ra = 360 * Uniform(rng);
    f.g.dec = std::asin(2 * Uniform(rng) - 1) / kRad;
    f.g.width = 800 + static_cast<int32_t>(rng() % 601);
    f.g.height = static_cast<int32_t>(f.g.width * (0.75 + 0.25 * Uniform(rng)));
    const double side = s.wide    ? 0.3 * std::pow(70 / 0.3, Uniform(rng))
                        : s.blind ? 1.5 + 1.5 * Uniform(rng)
                                  : 0.5 + 0.5 * Uniform(rng);
    f.g.arcsecPerPixel = side * 3600 / f.g.width;
    f.g.angle = 360 * Uniform(rng);
    f.g.mirror = s.mirrorEvery > 0 && index % s.mirrorEvery == s.mirrorEvery - 1;
    const uint64_t seed = rng();
    f.fits = s.work + "/field" + std::to_string(index) + ".fit";
    const std::string cmd =
        s.tools + "/herramientas/tornel-db render --ra " + ShortestText(f.g.ra) + " --dec " +
        ShortestText(f.g.dec) + " --scale " + ShortestText(f.g.arcsecPerPixel) + " --angle " +
        ShortestText(f.g.angle) + " --width " + std::to_string(f.g.width) + " --height " +
        std::to_string(f.g.height) + (f.g.mirror ? " --mirror" : "") +
        " --jitter 0.2 --hot-pixels 30 --noise 10 --seed " + std::to_string(seed % 1000000007) + " --truth " +
        Quote(f.fits + ".csv") + " " + s.render + " --out " + Quote(f.fits) + " " +
        Quote(s.sky.empty() ? s.catalogue : s.sky);
    if (Execute(cmd).status != 0 || !fs::exists(f.fits)) {
        std::cerr << "render failed: " << cmd << "\n";
        f.fits.clear();
    }
    // What the user knows: the angle to 0.5 degree and the centre to 1.5 degree. A mirrored image is
    // read with its rows reversed, which leaves it unmirrored with its north at 180 - angle.
    f.givenAngle = ProgramAngle(f.g) + (Uniform(rng) - 0.5);
    Offset(f.g.ra, f.g.dec, 360 * Uniform(rng), 1.5 * Uniform(rng), f.givenRa, f.givenDec);
    return f;
}

// Reads every file of the database folder once, so that the runs find it in the page cache as after
// the first solves of a session: the times are those of the solver, not of the disk.
inline void WarmDatabase(const Settings& s) {
    std::vector<char> buffer(1 << 20);
    for (const auto& entry : fs::directory_iterator(s.home + "database")) {
        std::ifstream in(entry.path(), std::ios::binary);
        while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0) {
        }
    }
}

// Catalogue stars of a field inside the central box that the analysis keeps (0.5 degree a side with
// database 1, 3 degrees with database 2).
inline int StarsInAnalysedBox(const Settings& s, const Field& f) {
    std::ifstream in(f.fits + ".csv");
    const double half = (s.blind ? 3.0 : 0.5) / 2 * 3600 / f.g.arcsecPerPixel;
    int count = 0;
    std::string line;
    while (std::getline(in, line)) {
        double x = 0, y = 0, ra = 0, dec = 0, mag = 0;
        int inCatalogue = 0;
        if (std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf,%lf,%d", &x, &y, &ra, &dec, &mag, &inCatalogue) != 6)
            continue;
        if (inCatalogue && std::fabs(x - f.g.width / 2.0) <= half && std::fabs(y - f.g.height / 2.0) <= half)
            ++count;
    }
    return count;
}

// Where the sky of the program's image centre (W/2, H/2 in its frame) lies: rows are read in the
// other order for a mirrored field.
inline void TrueCentre(const db::FieldGeometry& g, double& ra, double& dec) {
    const double y = g.mirror ? g.height + 1 - g.height / 2.0 : g.height / 2.0;
    db::PixelToSky(g, g.width / 2.0, y, ra, dec);
}

// truth.csv as a table of named columns.
inline std::vector<std::map<std::string, std::string>> ReadCsv(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::map<std::string, std::string>> rows;
    std::vector<std::string> names;
    std::string line;
    auto split = [](const std::string& l) {
        std::vector<std::string> cells;
        std::string cell;
        bool quoted = false;
        for (char ch : l) {
            if (ch == '"')
                quoted = !quoted;
            else if (ch == ',' && !quoted)
                cells.push_back(cell), cell.clear();
            else
                cell += ch;
        }
        cells.push_back(cell);
        return cells;
    };
    while (std::getline(in, line)) {
        auto cells = split(line);
        if (names.empty()) {
            names = cells;
            continue;
        }
        std::map<std::string, std::string> row;
        for (size_t k = 0; k < names.size() && k < cells.size(); ++k)
            row[names[k]] = cells[k];
        rows.push_back(row);
    }
    return rows;
}

// The CD matrix of a WCS header file (degrees per pixel).
inline bool ReadCd(const std::string& path, double cd[2][2]) {
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), {});
    int found = 0;
    for (size_t at = 0; at + 80 <= text.size(); at += 80) {
        const std::string card = text.substr(at, 80);
        for (int i = 0; i < 2; ++i)
            for (int j = 0; j < 2; ++j)
                if (card.rfind("CD" + std::to_string(i + 1) + "_" + std::to_string(j + 1) + " ", 0) == 0) {
                    cd[i][j] = std::stod(card.substr(10, 30));
                    ++found;
                }
    }
    return found == 4;
}

// Pixels between a centre found and the truth of a validation image. The truth is given at pixel
// ((W+1)/2, (H+1)/2) of the solver's frame (rows from the top for pictures); the program's centre is
// (W/2, H/2) of its own frame.
inline double CentreError(const Settings& s, const std::map<std::string, std::string>& row, double ra,
                          double dec) {
    const double tra0 = std::stod(row.at("ra_center_deg")), tdec0 = std::stod(row.at("dec_center_deg"));
    const bool topDown = row.at("format") != "FITS", mirrored = row.at("mirrored_display") == "1";
    const double dx = -0.5, dy = (topDown != mirrored) ? 0.5 : -0.5;
    double cd[2][2] = {};
    double tra = tra0, tdec = tdec0;
    if (ReadCd(s.validation + "/" + row.at("truth_wcs"), cd)) {
        tra += (cd[0][0] * dx + cd[0][1] * dy) / std::cos(tdec0 * kRad);
        tdec += cd[1][0] * dx + cd[1][1] * dy;
    }
    return Distance(tra, tdec, ra, dec) * 3600 / std::stod(row.at("scale_arcsec_px"));
}

// The centre of `tornel-cli solve --quiet`'s result line.
inline bool ParseSolveLine(const std::string& out, double& ra, double& dec) {
    return std::sscanf(out.c_str(), "solved ra=%lf dec=%lf", &ra, &dec) == 2;
}

// The modes that run the drop-in front ends and the sample (solve_fields_clients.cpp).
int Clients(const Settings& s);
int Sample(const Settings& s);
int WcsScale(const Settings& s);

}  // namespace tornel::bench
