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
#include "bench/solve_fields.h"

namespace tornel::bench {
namespace {

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
