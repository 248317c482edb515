// tornel-solve-fields: the end-to-end solve benchmark of both roads.
//
//   fields      renders random fields from the catalogue of the default database with `tornel-db
//               render` (with noise and hot pixels) and runs the whole `tornel-cli 8 field.fit RA DEC`
//               on each, the image angle given to within 0.5 degree and the centre to within 1.5
//               degree: success rate, wrong answers, time per field.
//   zones       one rendered field through each zone search (ring, parallel, meridian, whole sky),
//               in this process, with no early end: the time of a full sweep.
//   validation  the real images of the validation folder whose field suits database 1.
//   --blind     with either `fields` or `validation`: database 2 and no position at all, `tornel-cli
//               8 field.fit`; rendered fields are 1.5 to 3 degrees across, and the real images those
//               of 1.2 to 5 degrees.
//   --sky FILE  with `fields`: renders the fields from another star list (a synthetic sky, or an empty
//               one for frames of noise and hot pixels), so that any answer is wrong.
//   --all       with `validation`: every image, whatever its field.
//   --only FILE with `validation`: that image alone, with all that tornel-cli printed.
//   --render "OPTIONS"  more options of `tornel-db render` for the fields (a later option wins):
//               `--sky empty.csv --render "--hot-pixels 300 --gradient 3000"` gives frames of noise.
//   wcs         fields of 1000, 2000 and 4000 pixels whose true scale is 0, 0.5 and 1 % off the
//               parameters', solved around their place with the WCS written; astropy reads the WCS
//               back on a 5 x 5 grid of pixels reaching the corners, against the rendered sky.
//   wide        rendered fields 0.3 to 70 degrees across (evenly in the logarithm), at random places,
//               angles and parities (every --mirror-every-th mirrored), through `tornel-cli solve` with
//               no hint at all: a centre within 1 % of the field is right; fields with 10 or more
//               catalogue stars are the solvable ones.
//   patterns    every real image through tornel-cli solve with no hint, the scale to 20 % and a position
//               within 5 degrees: the pattern search's figures.
//   clients     every real image of the validation folder through the drop-ins as the imaging programs
//               call them, with the true field size as their optics settings give it: tornel-astap as
//               KStars sends it (-fov height, -ra/-spd a degree from the truth, -r 5), tornel-astap as
//               NINA sends it with no position (-r 180), and tornel-solve-field as KStars sends it
//               (-L/-H 10 % about the scale, --ra/--dec a degree off, --radius 5) when it is built. The
//               answer is read from the files the clients read (.ini, .wcs, .solved); no angle and no
//               parity is given, as the clients give none.
//   sample      the sample field of scripts/solve-sample.sh (the Pleiades, 1024 x 768) solved in turn by
//               `tornel-cli 8`, by `tornel-cli solve` with the same hints, and by `tornel-cli solve` with no
//               angle and no parity, as a client sends it: the same answer, and the median time of each
//               (--fields N runs of each, 10 unless given).
//   --tools DIR a build folder whose tornel-cli and tornel-db run instead of this build's.
//
// A program folder made by `tornel-db default` gives the database; the runs happen in a copy of its
// parameters in a work folder.
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
namespace {

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

double Uniform(std::mt19937_64& g) {
    return static_cast<double>(g() >> 11) * 0x1.0p-53;
}

double Quantile(std::vector<double> v, double q) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(q * static_cast<double>(v.size())))];
}

// Angular distance of two positions, degrees.
double Distance(double ra1, double dec1, double ra2, double dec2) {
    const double a = std::sin((dec2 - dec1) * kRad / 2), b = std::sin((ra2 - ra1) * kRad / 2);
    const double h = a * a + std::cos(dec1 * kRad) * std::cos(dec2 * kRad) * b * b;
    return 2 * std::asin(std::sqrt(std::min(1.0, h))) / kRad;
}

// The position `distance` degrees from (ra, dec) in direction `bearing` (degrees from north to east).
void Offset(double ra, double dec, double bearing, double distance, double& ra2, double& dec2) {
    const double d = distance * kRad, b = bearing * kRad, p = dec * kRad;
    const double s = std::sin(p) * std::cos(d) + std::cos(p) * std::sin(d) * std::cos(b);
    dec2 = std::asin(s) / kRad;
    ra2 = ra + std::atan2(std::sin(b) * std::sin(d) * std::cos(p), std::cos(d) - std::sin(p) * s) / kRad;
    ra2 = std::fmod(ra2 + 720, 360);
}

double AngleApart(double a, double b) {
    double d = std::fmod(std::fabs(a - b), 360.0);
    return d > 180 ? 360 - d : d;
}

// Runs a command line; its standard output, its exit status and its wall time.
struct Run {
    std::string out;
    int status = -1;
    double seconds = 0;
};

Run Execute(const std::string& command) {
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

std::string Quote(const std::string& s) {
    return "'" + s + "'";
}

// tornel-cli analysing `image` around (ra, dec), or with no position at all in the blind mode.
std::string CliCommand(const Settings& s, const std::string& home, const std::string& image, double ra,
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

Answer ParseAnswer(const std::string& out) {
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
void WriteParameters(const std::string& home, const std::function<void(Context&)>& change) {
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
std::string PrepareHome(const Settings& s) {
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

void SetImage(const std::string& home, double scale, double angle, bool reversed) {
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
double ProgramAngle(const db::FieldGeometry& g) {
    return g.mirror ? 180 - g.angle : g.angle;
}

struct Field {
    db::FieldGeometry g;
    std::string fits;
    double givenRa = 0, givenDec = 0, givenAngle = 0;
};

// A random field: centre uniform on the sphere, 0.5 to 1 degree across, any angle, some mirrored.
Field RenderField(const Settings& s, int index, std::mt19937_64& rng) {
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
void WarmDatabase(const Settings& s) {
    std::vector<char> buffer(1 << 20);
    for (const auto& entry : fs::directory_iterator(s.home + "database")) {
        std::ifstream in(entry.path(), std::ios::binary);
        while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0) {
        }
    }
}

// Catalogue stars of a field inside the central box that the analysis keeps (0.5 degree a side with
// database 1, 3 degrees with database 2).
int StarsInAnalysedBox(const Settings& s, const Field& f) {
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
void TrueCentre(const db::FieldGeometry& g, double& ra, double& dec) {
    const double y = g.mirror ? g.height + 1 - g.height / 2.0 : g.height / 2.0;
    db::PixelToSky(g, g.width / 2.0, y, ra, dec);
}

int Fields(const Settings& s) {
    const std::string home = PrepareHome(s);
    WarmDatabase(s);
    std::mt19937_64 rng(s.seed);
    int solved = 0, wrong = 0, failed = 0, rendered = 0, solvable = 0, solvedOfSolvable = 0;
    std::vector<double> seconds, pixelErrors, angleErrors;
    std::cout
        << "field ra dec scale angle mirror box_stars | exit sides | centre_err_px angle_err_deg seconds\n";
    for (int k = 0; k < s.fields; ++k) {
        Field f = RenderField(s, k, rng);
        if (f.fits.empty()) {
            std::cerr << "render failed for field " << k << "\n";
            continue;
        }
        ++rendered;
        const int boxStars = StarsInAnalysedBox(s, f);
        // A polygon of 6 sides needs 4 stars, a triangle solution of 7 sides 5: fewer in the box cannot
        // be solved.
        const int enough = s.blind ? 5 : 4;
        if (boxStars >= enough) ++solvable;
        SetImage(home, f.g.arcsecPerPixel, f.givenAngle, f.g.mirror);
        const Run r = Execute(CliCommand(s, home, f.fits, f.givenRa, f.givenDec));
        seconds.push_back(r.seconds);
        const Answer a = ParseAnswer(r.out);
        double ra = 0, dec = 0, px = -1, da = -1;
        TrueCentre(f.g, ra, dec);
        if (r.status == 0 && !s.sky.empty()) {
            ++wrong;  // a field of another sky has no right answer
        } else if (r.status == 0 && a.found) {
            px = Distance(ra, dec, a.ra, a.dec) * 3600 / f.g.arcsecPerPixel;
            da = AngleApart(a.angle, ProgramAngle(f.g));
            pixelErrors.push_back(px);
            angleErrors.push_back(da);
            if (px <= 2 && da <= 0.2) {
                ++solved;
                if (boxStars >= enough) ++solvedOfSolvable;
            } else
                ++wrong;
        } else {
            ++failed;
        }
        std::cout << k << " " << FormatNumber(f.g.ra, "0.000") << " " << FormatNumber(f.g.dec, "0.000") << " "
                  << FormatNumber(f.g.arcsecPerPixel, "0.00") << " " << FormatNumber(f.g.angle, "0.0") << " "
                  << f.g.mirror << " " << boxStars << " | " << r.status << " " << a.sides << " | "
                  << FormatNumber(px, "0.00") << " " << FormatNumber(da, "0.000") << " "
                  << FormatNumber(r.seconds, "0.000") << std::endl;
        if (r.status != 0 || (px > 2 || da > 0.2))
            fs::copy_file(f.fits, f.fits + ".kept", fs::copy_options::overwrite_existing);
        fs::remove(f.fits);
    }
    std::cout << "\nfields " << rendered << ", solved " << solved << " ("
              << FormatNumber(rendered ? 100.0 * solved / rendered : 0, "0.0") << " %), wrong answers "
              << wrong << ", not solved " << failed << "\n";
    std::cout << "fields with " << (s.blind ? 5 : 4) << " or more catalogue stars in the analysed box "
              << solvable << ", solved " << solvedOfSolvable << " ("
              << FormatNumber(solvable ? 100.0 * solvedOfSolvable / solvable : 0, "0.0") << " %)\n";
    std::cout << "time per field: median " << FormatNumber(Quantile(seconds, 0.5) * 1000, "0") << " ms, 95 % "
              << FormatNumber(Quantile(seconds, 0.95) * 1000, "0") << " ms, max "
              << FormatNumber(Quantile(seconds, 1.0) * 1000, "0") << " ms\n";
    std::cout << "centre error: median " << FormatNumber(Quantile(pixelErrors, 0.5), "0.00") << " px, max "
              << FormatNumber(Quantile(pixelErrors, 1.0), "0.00") << " px; angle error: median "
              << FormatNumber(Quantile(angleErrors, 0.5), "0.000") << " deg, max "
              << FormatNumber(Quantile(angleErrors, 1.0), "0.000") << " deg\n";
    return 0;
}

// One field through one zone search in this process, without an early end.
void Zone(const Settings& s, const std::string& home, const Field& f, const std::string& name,
          const std::function<void(Context&)>& choose) {
    QuietPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = home;
    Form_Load(c, "8 " + f.fits + " " + ShortestText(f.givenRa) + " " + ShortestText(f.givenDec));
    c.timers.TimerAnalizaYsale.Enabled = false;
    c.gLadosParaParar = 1000;
    choose(c);
    (void)s;
    auto t0 = Clock::now();
    AnalizaImagen(c);
    const bool solved = c.gHaySolucion;
    DespuesDeAnalizaImagen(c);
    const double seconds = std::chrono::duration<double>(Clock::now() - t0).count();
    double ra = 0, dec = 0;
    TrueCentre(f.g, ra, dec);
    const double px = solved ? Distance(ra, dec, c.gARJ2000, c.gDEJ2000) * 3600 / f.g.arcsecPerPixel : -1;
    std::cout << name << ": " << FormatNumber(seconds, "0.0") << " s, " << (solved ? "solved" : "not solved")
              << ", " << c.gLadosSolucion << " sides, centre error " << FormatNumber(px, "0.00") << " px"
              << std::endl;
    Form_Unload(c);
}

int Zones(const Settings& s) {
    const std::string home = PrepareHome(s);
    WarmDatabase(s);
    std::mt19937_64 rng(s.seed);
    Settings one = s;
    one.mirrorEvery = 0;
    Field f = RenderField(one, 0, rng);
    if (f.fits.empty()) return 1;
    SetImage(home, f.g.arcsecPerPixel, f.givenAngle, false);
    std::cout << "field at RA " << FormatNumber(f.g.ra, "0.000") << " DEC " << FormatNumber(f.g.dec, "0.000")
              << "; full sweeps (no early end):\n";
    const auto ring0 = static_cast<int16_t>(std::floor(f.g.dec) - 5),
               ring1 = static_cast<int16_t>(ring0 + 10);
    Zone(s, home, f, "ring " + std::to_string(ring0) + " to " + std::to_string(ring1) + " degrees",
         [&](Context& c) {
             c.gZonaCielo = 2;
             c.gAnilloDesde = ring0;
             c.gAnilloHasta = ring1;
         });
    Zone(s, home, f, "parallel", [](Context& c) { c.gZonaCielo = 8; });
    Zone(s, home, f, "meridian", [](Context& c) { c.gZonaCielo = 9; });
    Zone(s, home, f, "whole sky", [](Context& c) { c.gZonaCielo = 3; });
    return 0;
}

// truth.csv as a table of named columns.
std::vector<std::map<std::string, std::string>> ReadCsv(const std::string& path) {
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
bool ReadCd(const std::string& path, double cd[2][2]) {
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
double CentreError(const Settings& s, const std::map<std::string, std::string>& row, double ra, double dec) {
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

int Validation(const Settings& s) {
    const std::string home = PrepareHome(s);
    WarmDatabase(s);
    std::cout
        << "image | fov | candidates | exit sides | centre_err_px angle_err_deg seconds | matched/tested "
           "by_chance log10_odds\n";
    for (const auto& row : ReadCsv(s.validation + "/truth.csv")) {
        const std::string file = row.at("file");
        const std::string format = row.at("format"), fov = row.at("fov_deg");
        if (!s.only.empty() && file != s.only) continue;
        if (row.at("ra_center_deg").empty() && !s.all && s.only.empty()) continue;
        const double w = fov.empty() ? 10 : std::stod(fov.substr(0, fov.find('x'))),
                     h = fov.empty() ? 10 : std::stod(fov.substr(fov.find('x') + 1));
        // Database 1 solves small fields; database 2 fields of a degree or more, their central 3 degrees.
        if (!s.all && s.only.empty() &&
            (s.blind ? std::max(w, h) < 1.2 || std::max(w, h) > 5 : std::max(w, h) > 1.6))
            continue;
        // An image with no stars has no truth: any answer is wrong. Its scale is its neighbours'.
        const bool empty = row.at("ra_center_deg").empty();
        auto number = [&](const char* column, double otherwise) {
            return row.at(column).empty() ? otherwise : std::stod(row.at(column));
        };
        const double ra = number("ra_center_deg", 0), dec = number("dec_center_deg", 0);
        const double scale = number("scale_arcsec_px", 72);
        const double north = number("north_angle_display_deg", 0);
        const bool mirrored = row.at("mirrored_display") == "1";
        // With the rows reversed a mirrored view is read as a plain one, its north turned to 180 - a.
        const double angle = mirrored ? std::fmod(540 - north, 360) : north;
        SetImage(home, scale, angle, mirrored);
        // The search centre a degree away from the truth.
        double givenRa = 0, givenDec = 0;
        Offset(ra, dec, 45, 1, givenRa, givenDec);
        const Run r = Execute(CliCommand(s, home, s.validation + "/" + file, givenRa, givenDec));
        const Answer a = ParseAnswer(r.out);
        double px = -1, da = -1;
        if (empty) {
            px = r.status == 0 ? 1e9 : -1;
        } else if (r.status == 0 && a.found) {
            px = CentreError(s, row, a.ra, a.dec);
            da = AngleApart(a.angle, angle);
        }
        std::cout << file << " | " << fov << " | " << a.candidates << " | " << r.status << " " << a.sides
                  << " | " << FormatNumber(px, "0.00") << " " << FormatNumber(da, "0.000") << " "
                  << FormatNumber(r.seconds, "0.000") << " | " << a.verification << std::endl;
        if (!s.only.empty()) std::cout << r.out;
    }
    return 0;
}

// KEY=VALUE lines of an answer file.
std::map<std::string, std::string> ReadIni(const std::string& path) {
    std::map<std::string, std::string> keys;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line))
        if (const size_t eq = line.find('='); eq != std::string::npos)
            keys[line.substr(0, eq)] = line.substr(eq + 1);
    return keys;
}

// The numeric cards of a FITS header file.
std::map<std::string, double> HeaderNumbers(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    std::map<std::string, double> cards;
    for (size_t at = 0; at + 80 <= text.size(); at += 80) {
        const std::string card = text.substr(at, 80);
        if (card.compare(8, 2, "= ") != 0) continue;
        std::string key = card.substr(0, 8);
        key.erase(key.find_last_not_of(' ') + 1);
        char* end = nullptr;
        const double v = std::strtod(card.c_str() + 10, &end);
        if (end != card.c_str() + 10) cards[key] = v;
    }
    return cards;
}

// What a client reads of an answer: the centre at the reference pixel and the scale of the CD matrix.
struct ClientAnswer {
    bool solved = false;
    double ra = 0, dec = 0, scale = 0;
    Run run;
};

std::string ClientCell(const Settings& s, const std::map<std::string, std::string>& row,
                       const ClientAnswer& a) {
    const std::string time = FormatNumber(a.run.seconds, "0.00") + " s";
    if (a.run.status < 0) return "-";
    if (!a.solved) return "not solved (exit " + std::to_string(a.run.status) + "), " + time;
    if (row.at("ra_center_deg").empty()) return "WRONG (an empty field), " + time;
    const double truth = std::stod(row.at("scale_arcsec_px"));
    return "solved, " + FormatNumber(CentreError(s, row, a.ra, a.dec), "0.00") + " px, scale " +
           FormatNumber(100 * std::fabs(a.scale / truth - 1), "0.00") + " %, " + time;
}

// The first contract: exit 0 and PLTSOLVD=T, the centre and CD matrix of the .ini.
ClientAnswer AstapAnswer(const std::string& command, const std::string& base) {
    fs::remove(base + ".ini");
    ClientAnswer a;
    a.run = Execute(command);
    auto ini = ReadIni(base + ".ini");
    a.solved = a.run.status == 0 && ini["PLTSOLVD"] == "T";
    if (a.solved) {
        a.ra = std::stod(ini["CRVAL1"]), a.dec = std::stod(ini["CRVAL2"]);
        a.scale = std::hypot(std::stod(ini["CD1_2"]), std::stod(ini["CD2_2"])) * 3600;
    }
    return a;
}

// The second contract: the .solved file, then the centre and CD matrix of the .wcs.
ClientAnswer SolveFieldAnswer(const std::string& command, const std::string& base) {
    fs::remove(base + ".solved"), fs::remove(base + ".wcs");
    ClientAnswer a;
    a.run = Execute(command);
    a.solved = fs::exists(base + ".solved");
    if (a.solved) {
        auto w = HeaderNumbers(base + ".wcs");
        a.ra = w["CRVAL1"], a.dec = w["CRVAL2"];
        a.scale = std::hypot(w["CD1_2"], w["CD2_2"]) * 3600;
    }
    return a;
}

int Clients(const Settings& s) {
    const std::string home = PrepareHome(s);
    WarmDatabase(s);
    const std::string env = "TORNEL_HOME=" + Quote(home) + " ";
    const std::string astap = s.tools + "/consola/tornel-astap",
                      solveField = s.tools + "/consola/tornel-solve-field";
    std::cout
        << "| Image | Field (degrees) | tornel-astap as KStars calls it | tornel-astap as NINA calls it, "
           "no position | tornel-solve-field as KStars calls it |\n|---|---|---|---|---|\n";
    for (const auto& row : ReadCsv(s.validation + "/truth.csv")) {
        const std::string file = row.at("file"), fov = row.at("fov_deg");
        if (!s.only.empty() && file != s.only) continue;
        const std::string image = Quote(s.validation + "/" + file);
        const bool empty = row.at("ra_center_deg").empty();
        // An image with no stars has no truth: its neighbours' field and any place.
        const double height = fov.empty() ? 10.2 : std::stod(fov.substr(fov.find('x') + 1));
        const double ra = empty ? 84 : std::stod(row.at("ra_center_deg")),
                     dec = empty ? -1 : std::stod(row.at("dec_center_deg"));
        const double scale = empty ? 72 : std::stod(row.at("scale_arcsec_px"));
        double givenRa = 0, givenDec = 0;
        Offset(ra, dec, 45, 1, givenRa, givenDec);
        const std::string k = s.work + "/kstars", n = s.work + "/nina", f = s.work + "/field";
        const ClientAnswer kstars =
            AstapAnswer(env + astap + " -o " + Quote(k) + " -speed auto -f " + image + " -wcs -z 0 -fov " +
                            ShortestText(height) + " -ra " + ShortestText(givenRa / 15) + " -spd " +
                            ShortestText(givenDec + 90) + " -r 5",
                        k);
        const ClientAnswer nina = AstapAnswer(env + astap + " -f " + image + " -fov " + ShortestText(height) +
                                                  " -z 0 -s 500 -r 180 -o " + Quote(n),
                                              n);
        ClientAnswer field;
        if (fs::exists(solveField))
            field = SolveFieldAnswer(
                env + solveField +
                    " -O --no-plots --no-verify --crpix-center --match none --corr none --new-fits none "
                    "--rdls none"
                    " --resort --depth 20,30 --objs 100 --downsample 2 --odds-to-solve 1e9 -L " +
                    ShortestText(scale * 0.9) + " -H " + ShortestText(scale * 1.1) + " -u arcsecperpix -3 " +
                    ShortestText(givenRa) + " -4 " + ShortestText(givenDec) + " -5 5 --cancel " +
                    Quote(f + ".cancel") + " -W " + Quote(f + ".wcs") + " -D " + Quote(s.work) +
                    " -o field " + image,
                f);
        std::cout << "| `" << file << "` | " << (fov.empty() ? "?" : fov) << " | "
                  << ClientCell(s, row, kstars) << " | " << ClientCell(s, row, nina) << " | "
                  << ClientCell(s, row, field) << " |" << std::endl;
    }
    return 0;
}

// The centre of `tornel-cli solve --quiet`'s result line.
bool ParseSolveLine(const std::string& out, double& ra, double& dec) {
    return std::sscanf(out.c_str(), "solved ra=%lf dec=%lf", &ra, &dec) == 2;
}

int Sample(const Settings& s) {
    const std::string home = PrepareHome(s);
    SetImage(home, 1.5401, 0, false);
    WarmDatabase(s);
    const std::string image = s.work + "/pleiades.fit";
    const std::string render =
        s.tools +
        "/herramientas/tornel-db render --ra 56.75 --dec 24.12 --scale 1.5401 --angle 0 "
        "--width 1024 --height 768 --seed 7 --hot-pixels 20 --out " +
        Quote(image) + " --truth " + Quote(image + ".csv") + " " + Quote(s.catalogue);
    if (Execute(render).status != 0) {
        std::cerr << "render failed: " << render << "\n";
        return 1;
    }
    const std::string cli = "TORNEL_HOME=" + Quote(home) + " " + s.tools + "/consola/tornel-cli ";
    struct Way {
        std::string name, command;
        std::vector<double> seconds;
        double ra = 0, dec = 0;
        int solved = 0;
    };
    std::vector<Way> ways(3);
    ways[0].name = "tornel-cli 8 IMAGE 57.5 23.5";
    ways[0].command = cli + "8 " + Quote(image) + " 57.5 23.5";
    ways[1].name = "tornel-cli solve IMAGE --scale 1.5401 --angle 0 --ra 57.5 --dec 23.5";
    ways[1].command =
        cli + "solve " + Quote(image) + " --scale 1.5401 --angle 0 --ra 57.5 --dec 23.5 --quiet";
    ways[2].name = "tornel-cli solve IMAGE --scale 1.5401 --ra 57.5 --dec 23.5 (no angle, no parity)";
    ways[2].command = cli + "solve " + Quote(image) + " --scale 1.5401 --ra 57.5 --dec 23.5 --quiet";
    const int runs = s.fields > 0 && s.fields < 200 ? s.fields : 10;
    for (int k = 0; k < runs; ++k)
        for (Way& w : ways) {
            const Run r = Execute(w.command);
            w.seconds.push_back(r.seconds);
            const Answer a = ParseAnswer(r.out);
            double ra = a.ra, dec = a.dec;
            if (r.status == 0 && (a.found || ParseSolveLine(r.out, ra, dec)))
                ++w.solved, w.ra = ra, w.dec = dec;
        }
    std::cout << "| Command | Solved | Centre (RA, DEC) | Off the first, arcsec | Median s | Min s | Max s | "
                 "Ratio to the "
                 "first |\n|---|---|---|---|---|---|---|---|\n";
    const double first = Quantile(ways[0].seconds, 0.5);
    for (const Way& w : ways)
        std::cout << "| `" << w.name << "` | " << w.solved << "/" << runs << " | "
                  << FormatNumber(w.ra, "0.00000") << ", " << FormatNumber(w.dec, "0.00000") << " | "
                  << FormatNumber(Distance(w.ra, w.dec, ways[0].ra, ways[0].dec) * 3600, "0.00") << " | "
                  << FormatNumber(Quantile(w.seconds, 0.5), "0.000") << " | "
                  << FormatNumber(Quantile(w.seconds, 0), "0.000") << " | "
                  << FormatNumber(Quantile(w.seconds, 1), "0.000") << " | "
                  << FormatNumber(Quantile(w.seconds, 0.5) / first, "0.00") << " |\n";
    return 0;
}

// The sky that astropy reads from the WCS of `fits` at each pixel (FITS pixels), through the test
// suite's reader.
std::vector<std::array<double, 2>> AstropySky(const std::string& fits,
                                              const std::vector<std::array<double, 2>>& pixels) {
    std::string command = "/usr/bin/python3 " +
                          Quote(std::string(TORNEL_SOURCE_DIR) + "/tests/resultados/wcs_pixels_to_sky.py") +
                          " " + Quote(fits);
    for (const auto& p : pixels)
        command += " " + ShortestText(p[0]) + " " + ShortestText(p[1]);
    std::vector<std::array<double, 2>> sky;
    std::istringstream lines(Execute(command).out);
    std::string line;
    while (std::getline(lines, line) && sky.size() < pixels.size()) {
        double ra = 0, dec = 0;
        if (std::sscanf(line.c_str(), "%lf %lf", &ra, &dec) == 2) sky.push_back({ra, dec});
    }
    return sky;
}

int WcsScale(const Settings& s) {
    const std::string home = PrepareHome(s);
    WriteParameters(home, [](Context& c) {
        c.gWCSAutomatico = 1;
        c.gLadosParaWCS = 3;
    });
    WarmDatabase(s);
    std::mt19937_64 rng(s.seed);
    std::cout << "width error_% | solved of fields | worst grid error px: median max\n";
    for (const int width : {1000, 2000, 4000})
        for (const double error : {0.0, 0.5, 1.0}) {
            std::vector<double> worst;
            int fields = 0;
            for (int k = 0; k < s.fields; ++k) {
                Field f;
                f.g.ra = 360 * Uniform(rng);
                f.g.dec = std::asin(2 * Uniform(rng) - 1) / kRad;
                f.g.width = width;
                f.g.height = width * 3 / 4;
                f.g.arcsecPerPixel = 0.8 * 3600 / width;
                f.g.angle = 360 * Uniform(rng);
                f.fits = s.work + "/wcs" + std::to_string(k) + ".fit";
                const std::string cmd =
                    s.tools + "/herramientas/tornel-db render --ra " + ShortestText(f.g.ra) + " --dec " +
                    ShortestText(f.g.dec) + " --scale " + ShortestText(f.g.arcsecPerPixel) + " --angle " +
                    ShortestText(f.g.angle) + " --width " + std::to_string(f.g.width) + " --height " +
                    std::to_string(f.g.height) + " --noise 10 --seed " + std::to_string(rng() % 1000000007) +
                    " --truth " + Quote(f.fits + ".csv") + " --out " + Quote(f.fits) + " " +
                    Quote(s.catalogue);
                if (Execute(cmd).status != 0) continue;
                ++fields;
                SetImage(home, f.g.arcsecPerPixel / (1 + error / 100), f.g.angle + (Uniform(rng) - 0.5),
                         false);
                Offset(f.g.ra, f.g.dec, 360 * Uniform(rng), 1.0 * Uniform(rng), f.givenRa, f.givenDec);
                const Run r = Execute(CliCommand(s, home, f.fits, f.givenRa, f.givenDec));
                if (r.status == 0) {
                    std::vector<std::array<double, 2>> grid;
                    for (int i = 0; i <= 4; ++i)
                        for (int j = 0; j <= 4; ++j)
                            grid.push_back({1 + (width - 1) * i / 4.0, 1 + (f.g.height - 1) * j / 4.0});
                    const auto sky = AstropySky(f.fits, grid);
                    double most = sky.size() == grid.size() ? 0 : 1e9;
                    for (size_t g = 0; g < sky.size(); ++g) {
                        double ra = 0, dec = 0;
                        db::PixelToSky(f.g, grid[g][0], grid[g][1], ra, dec);
                        most = std::max(most,
                                        Distance(ra, dec, sky[g][0], sky[g][1]) * 3600 / f.g.arcsecPerPixel);
                    }
                    worst.push_back(most);
                }
                fs::remove(f.fits);
                fs::remove(f.fits + ".csv");
            }
            std::cout << width << " " << FormatNumber(error, "0.0") << " | " << worst.size() << " of "
                      << fields << " | " << FormatNumber(Quantile(worst, 0.5), "0.00") << " "
                      << FormatNumber(Quantile(worst, 1.0), "0.00") << std::endl;
        }
    return 0;
}

// One validation image through `tornel-cli solve --json`: the centre's error in pixels (-1 when not
// solved, 1e9 for any answer to an image with no stars) and the seconds.
struct SolveCell {
    double pixels = -1, seconds = 0;
};

SolveCell SolveCellOf(const Settings& s, const std::string& home,
                      const std::map<std::string, std::string>& row, const std::string& hints) {
    const Run r = Execute("TORNEL_HOME=" + Quote(home) + " " + s.tools + "/consola/tornel-cli solve " +
                          Quote(s.validation + "/" + row.at("file")) + " --quiet --timeout 30 " + hints);
    SolveCell cell;
    cell.seconds = r.seconds;
    double ra = 0, dec = 0;
    if (r.status != 0 || !ParseSolveLine(r.out, ra, dec)) return cell;
    cell.pixels = row.at("ra_center_deg").empty() ? 1e9 : CentreError(s, row, ra, dec);
    return cell;
}

// Catalogue stars anywhere in a rendered field.
int StarsInField(const Field& f) {
    std::ifstream in(f.fits + ".csv");
    int count = 0;
    std::string line;
    while (std::getline(in, line)) {
        double x = 0, y = 0, ra = 0, dec = 0, mag = 0;
        int inCatalogue = 0;
        if (std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf,%lf,%d", &x, &y, &ra, &dec, &mag, &inCatalogue) == 6)
            count += inCatalogue;
    }
    return count;
}

int Wide(Settings s) {
    s.wide = true;
    const std::string home = PrepareHome(s);
    WarmDatabase(s);
    std::mt19937_64 rng(s.seed);
    int rendered = 0, solvable = 0, solved = 0, solvedOfSolvable = 0, wrong = 0;
    std::vector<double> seconds;
    std::cout << "field ra dec side_deg angle mirror stars | exit | centre_err_field seconds\n";
    for (int k = 0; k < s.fields; ++k) {
        const Field f = RenderField(s, k, rng);
        if (f.fits.empty()) continue;
        ++rendered;
        const int stars = StarsInField(f);
        const bool enough = stars >= 10;
        solvable += enough;
        const Run r = Execute("TORNEL_HOME=" + Quote(home) + " " + s.tools + "/consola/tornel-cli solve " +
                              Quote(f.fits) + " --quiet --timeout 30");
        seconds.push_back(r.seconds);
        double ra = 0, dec = 0, trueRa = 0, trueDec = 0, share = -1;
        const double side = f.g.arcsecPerPixel * f.g.width / 3600;
        if (r.status == 0 && ParseSolveLine(r.out, ra, dec)) {
            TrueCentre(f.g, trueRa, trueDec);
            share = Distance(ra, dec, trueRa, trueDec) / side;
            if (share <= 0.01) {
                ++solved;
                solvedOfSolvable += enough;
            } else {
                ++wrong;
            }
        }
        std::cout << k << " " << FormatNumber(f.g.ra, "0.000") << " " << FormatNumber(f.g.dec, "0.000") << " "
                  << FormatNumber(side, "0.00") << " " << FormatNumber(f.g.angle, "0.0") << " " << f.g.mirror
                  << " " << stars << " | " << r.status << " | " << FormatNumber(share, "0.0000") << " "
                  << FormatNumber(r.seconds, "0.00") << std::endl;
        if (r.status != 0 || share > 0.01)
            fs::copy_file(f.fits, f.fits + ".kept", fs::copy_options::overwrite_existing);
        fs::remove(f.fits);
    }
    std::cout << "\nfields " << rendered << ", solved " << solved << ", wrong answers " << wrong << "\n"
              << "fields with 10 or more catalogue stars " << solvable << ", solved " << solvedOfSolvable
              << " (" << FormatNumber(solvable ? 100.0 * solvedOfSolvable / solvable : 0, "0.0") << " %)\n"
              << "time per field: median " << FormatNumber(Quantile(seconds, 0.5), "0.00") << " s, 95 % "
              << FormatNumber(Quantile(seconds, 0.95), "0.00") << " s\n";
    return 0;
}

// Every validation image solved by `tornel-cli solve` three ways: no hint at all, the scale to 20 %,
// and a position 3 degrees off with a radius of 5. A centre within 2 % of the field is right.
int Patterns(const Settings& s) {
    const std::string home = PrepareHome(s);
    WarmDatabase(s);
    std::cout << "| Image | Field (degrees) | no hint | scale to 20 % | position within 5 degrees |\n"
                 "|---|---|---|---|---|\n";
    struct Tally {
        int solved = 0, wrong = 0;
        std::vector<double> seconds;
    } tallies[3];
    for (const auto& row : ReadCsv(s.validation + "/truth.csv")) {
        const std::string file = row.at("file"), fov = row.at("fov_deg");
        if (!s.only.empty() && file != s.only) continue;
        const bool empty = row.at("ra_center_deg").empty();
        const double scale = empty ? 72 : std::stod(row.at("scale_arcsec_px"));
        const double width = empty ? 10 : std::stod(fov.substr(0, fov.find('x')));
        const double ra = empty ? 84 : std::stod(row.at("ra_center_deg")),
                     dec = empty ? -1 : std::stod(row.at("dec_center_deg"));
        double givenRa = 0, givenDec = 0;
        Offset(ra, dec, 45, 3, givenRa, givenDec);
        const std::string hints[3] = {
            "", "--scale-low " + ShortestText(0.8 * scale) + " --scale-high " + ShortestText(1.2 * scale),
            "--ra " + ShortestText(givenRa) + " --dec " + ShortestText(givenDec) + " --radius 5"};
        std::cout << "| `" << file << "` | " << (fov.empty() ? "?" : fov);
        for (int k = 0; k < 3; ++k) {
            const SolveCell cell = SolveCellOf(s, home, row, hints[k]);
            const double limit = 0.02 * width * 3600 / scale;
            std::string text = "not solved";
            if (cell.pixels >= 0) {
                const bool right = cell.pixels <= limit;
                text = right ? FormatNumber(cell.pixels, "0.0") + " px" : "**wrong**";
                tallies[k].solved += right ? 1 : 0;
                tallies[k].wrong += right ? 0 : 1;
                tallies[k].seconds.push_back(cell.seconds);
            }
            std::cout << " | " << text << ", " << FormatNumber(cell.seconds, "0.00") << " s";
        }
        std::cout << " |" << std::endl;
    }
    std::cout << "| **solved, wrong, median, p95 of the solved** | |";
    for (const Tally& t : tallies)
        std::cout << " " << t.solved << ", " << t.wrong << ", "
                  << FormatNumber(Quantile(t.seconds, 0.5), "0.00") << " s, "
                  << FormatNumber(Quantile(t.seconds, 0.95), "0.00") << " s |";
    std::cout << std::endl;
    return 0;
}

int Main(int argc, char** argv) {
    Settings s;
    std::vector<std::string> args(argv + 1, argv + argc);
    for (size_t k = 0; k < args.size(); ++k) {
        auto value = [&]() -> std::string { return k + 1 < args.size() ? args[++k] : std::string{}; };
        if (args[k] == "--home")
            s.home = value();
        else if (args[k] == "--catalogue")
            s.catalogue = value();
        else if (args[k] == "--work")
            s.work = value();
        else if (args[k] == "--fields")
            s.fields = std::stoi(value());
        else if (args[k] == "--seed")
            s.seed = std::stoull(value());
        else if (args[k] == "--mirror-every")
            s.mirrorEvery = std::stoi(value());
        else if (args[k] == "--inclination")
            s.inclination = std::stoi(value());
        else if (args[k] == "--blind")
            s.blind = true;
        else if (args[k] == "--sky")
            s.sky = value();
        else if (args[k] == "--tools")
            s.tools = value();
        else if (args[k] == "--render")
            s.render = value();
        else if (args[k] == "--only")
            s.only = value();
        else if (args[k] == "--all")
            s.all = true;
        else if (args[k] == "--validation")
            s.validation = value();
        else if (s.mode.empty())
            s.mode = args[k];
    }
    if (s.home.empty()) {
        if (const char* h = std::getenv("TORNEL_HOME")) s.home = h;
    }
    if (s.mode.empty() || s.home.empty()) {
        std::cerr
            << "usage: tornel-solve-fields fields|zones|validation|clients|sample|patterns|wide|wcs --home "
               "PROGRAM_FOLDER "
               "[--catalogue FILE]\n"
               "       [--work DIR] [--fields N] [--seed S] [--mirror-every N] [--inclination DEG] "
               "[--validation DIR] [--blind] [--sky FILE] [--render OPTIONS] [--all] [--only IMAGE] "
               "[--tools BUILD]\n";
        return 2;
    }
    if (s.home.back() != '/') s.home += '/';
    if (s.catalogue.empty()) s.catalogue = s.home + "downloads/unpacked/" + db::DefaultSources{}.starFile;
    if (s.work.empty())
        s.work = (fs::temp_directory_path() / ("tornel-solve-" + std::to_string(getpid()))).string();
    fs::create_directories(s.work);
    if (s.mode == "fields") return Fields(s);
    if (s.mode == "zones") return Zones(s);
    if (s.mode == "validation") return Validation(s);
    if (s.mode == "wcs") return WcsScale(s);
    if (s.mode == "clients") return Clients(s);
    if (s.mode == "patterns") return Patterns(s);
    if (s.mode == "wide") return Wide(s);
    if (s.mode == "sample") return Sample(s);
    std::cerr << "unknown mode " << s.mode << "\n";
    return 2;
}

}  // namespace
}  // namespace tornel::bench

int main(int argc, char** argv) {
    return tornel::bench::Main(argc, argv);
}
