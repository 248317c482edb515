// tornel-solve-fields: the modes that run the programs as other imaging programs call them (the
// drop-ins), the sample and the WCS's scale.
#include "bench/solve_fields.h"

namespace tornel::bench {
namespace {

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

}  // namespace

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

}  // namespace tornel::bench
