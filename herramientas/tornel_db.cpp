// tornel-db: builds the program's star, distance, triangle and object databases from real catalogues.
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "comun/numbers.h"
#include "consola/console_platform.h"
#include "core/startup.h"
#include "herramientas/db/build.h"
#include "herramientas/db/check.h"
#include "herramientas/db/default_database.h"
#include "herramientas/db/projection.h"
#include "herramientas/db/synth_catalog.h"

namespace tornel::db {
namespace {

const char* const kHelp = R"(Usage: tornel-db COMMAND [OPTIONS]

Builds the databases of the Tornel solver from star and object catalogues.

Commands:
  default [--database N] [TUNABLES]
      Fetches the Tycho-2 star list and OpenNGC that Debian publishes into the program folder
      (apt-get download, dpkg -x), builds both databases and the objects into <home>/database/, and
      points the parameters at them (stars and distances folders, database N, 1 unless given).
      A second run reuses what is there. Program folder: $TORNEL_HOME, else $XDG_DATA_HOME/tornel,
      else ~/.local/share/tornel.
  build --out DIR [TUNABLES] INPUT...
      Builds into DIR from any mix of inputs, each recognised by its content:
      astrometry.net index files (index-tycho2-*.fits), Stellarium star files (stars_*.cat),
      star CSV (ra_deg, dec_deg, mag), OpenNGC (OpenNGC.kscat), object CSV (ra_deg, dec_deg,
      size_arcmin, name).
  info DIR
      What DIR holds (counts, sizes, densities) and a check of every invariant the program's readers
      rely on. Exit status 0 only when all hold.
  synth-catalog --out FILE [--stars N] [--seed S] [--faintest MAG]
      A seeded full-sky random star CSV (200000 stars, seed 1, magnitude 12 unless given).
  render --ra DEG --dec DEG --scale ARCSEC_PER_PX [--angle DEG] [--width PX] [--height PX]
         [--mirror] [--missing FRACTION] [--added N] [--jitter MAG] [--seed S]
         [--psf SIGMA_PX] [--sky COUNTS] [--gradient COUNTS] [--noise COUNTS] [--hot-pixels N] [--mag-zero MAG]
         [--out IMAGE] --truth FILE INPUT...
      Projects the catalogue INPUT... onto an image of that centre, scale, angle and size (1024 x 768,
      angle 0 unless given), leaves stars out and adds others, renders it (Gaussian PSF of 1.5 px, sky
      1000 and noise 10 counts, a star of magnitude 20 giving one count; --gradient adds that many counts
      evenly from the first corner to the last) into IMAGE (.fit, .bmp or
      .jpg) and writes the truth file: the geometry, then x, y, ra, dec, mag, in_catalogue of every
      star, in the program's pixels (x from 1 at the left, y from 1 at the bottom row). North lies
      toward +y at angle 0; a positive angle turns it toward +x; --mirror flips x.

Tunables (defaults in brackets):
  --merge-arcsec X      stars of different inputs closer than X are one star [30]
  --star-mag M          faintest magnitude in est.bin [99: all]
  --band-height D       declination bands of the 9537 regions, degrees [2]
  --no-db1, --no-db2    leave out the distance road or the triangle road
  --ring-cell D         cell size of the ring star cap, degrees [0.25]
  --ring-per-cell N     brightest stars per cell in the rings and poles, 0 for all [0]
  --ring-mag M          faintest magnitude in the rings and poles [99]
  --pole-radius D       a pole tile holds the stars within D degrees of its centre [0.75]
  --db2-cell D          cell size of the triangle-road star cap, degrees [1]
  --db2-per-cell N      brightest stars per cell in estDEC_ID1x1g.bin [6]
  --db2-mag M           faintest magnitude in estDEC_ID1x1g.bin [99]
  --tri-fields R,R,...  radii of the probe fields whose Delaunay triangles enter tri2g02.bin [1.25,1.75]
  --tri-spacing F       probe centres F x radius apart [0.5]
  --tri-brightest N     brightest stars of a probe field that are triangulated [10]
  --tri-no-partial      only the triangulation of all N, not of the first 3, 4, ... brightest
  --no-quads            leave out the pattern index (quads.bin), which solves with no scale
  --quad-first-level D  least size of the finest patterns, degrees; each next level is x 1.414 [0.177]
  --quad-levels N       levels of pattern sizes [17: 0.18 to 64 degrees]
  --quad-stars N        brightest stars per cell (half a level's size) that make its patterns [3]
  --quad-per-cell N     patterns centred in each such cell [2]
  --quad-star-uses N    patterns of a level that one star may belong to [8]

Exit status: 0 done; 1 failed (or an invariant does not hold); 2 bad usage.
)";

constexpr int kExitFailed = 1, kExitUsage = 2;

// The console platform without the wait lines of the region index rebuild: the builder prints its
// own progress.
class BuilderPlatform : public ConsolePlatform {
  public:
    BuilderPlatform() : ConsolePlatform(std::cout, std::cerr) {}
    void ShowWait(const std::string&) override {}
};

struct Args {
    std::string command;
    std::map<std::string, std::string> values;
    std::vector<std::string> flags, items;
    std::string error;
};

bool IsFlag(const std::string& a) {
    return a == "--no-db1" || a == "--no-db2" || a == "--no-quads" || a == "--tri-no-partial" ||
           a == "--mirror" || a == "--help" || a == "-h";
}

Args Parse(int argc, char** argv) {
    Args a;
    for (int i = 1; i < argc; ++i) {
        std::string s = argv[i];
        if (a.command.empty() && s.rfind("-", 0) != 0) {
            a.command = s;
        } else if (IsFlag(s)) {
            a.flags.push_back(s);
        } else if (s.rfind("--", 0) == 0) {
            auto eq = s.find('=');
            if (eq != std::string::npos) {
                a.values[s.substr(0, eq)] = s.substr(eq + 1);
            } else if (i + 1 < argc) {
                a.values[s] = argv[++i];
            } else {
                a.error = s + " needs a value";
            }
        } else {
            a.items.push_back(s);
        }
    }
    return a;
}

bool Has(const Args& a, const std::string& flag) {
    for (const auto& f : a.flags)
        if (f == flag) return true;
    return false;
}

// Reads the tunables into the options; false with a sentence on a bad value or an unknown option.
bool ReadTunables(Args& a, BuildOptions& o, const std::vector<std::string>& extra) {
    std::map<std::string, double*> reals{{"--merge-arcsec", &o.mergeRadiusArcsec},
                                         {"--star-mag", &o.starMagLimit},
                                         {"--band-height", &o.regionBandHeight},
                                         {"--ring-cell", &o.ringCell},
                                         {"--ring-mag", &o.ringMagLimit},
                                         {"--pole-radius", &o.poleTileRadius},
                                         {"--db2-cell", &o.db2Cell},
                                         {"--db2-mag", &o.db2MagLimit},
                                         {"--tri-spacing", &o.triangles.spacing},
                                         {"--quad-first-level", &o.quadChoice.firstLevel}};
    std::map<std::string, int32_t*> ints{
        {"--ring-per-cell", &o.ringPerCell},          {"--db2-per-cell", &o.db2PerCell},
        {"--tri-brightest", &o.triangles.brightest},  {"--quad-levels", &o.quadChoice.levels},
        {"--quad-stars", &o.quadChoice.starsPerCell}, {"--quad-per-cell", &o.quadChoice.quadsPerCell},
        {"--quad-star-uses", &o.quadChoice.starUses}};
    try {
        for (const auto& [key, value] : a.values) {
            if (auto r = reals.find(key); r != reals.end()) {
                *r->second = TextToDouble(value);
            } else if (auto n = ints.find(key); n != ints.end()) {
                *n->second = TextToLong(value);
            } else if (key == "--tri-fields") {
                o.triangles.fieldRadii.clear();
                std::string v = value + ",";
                for (size_t p = 0, q; (q = v.find(',', p)) != std::string::npos; p = q + 1)
                    if (q > p) o.triangles.fieldRadii.push_back(TextToDouble(v.substr(p, q - p)));
            } else if (std::find(extra.begin(), extra.end(), key) == extra.end()) {
                a.error = "unknown option " + key;
                return false;
            }
        }
    } catch (const std::exception&) {
        a.error = "bad number in the options";
        return false;
    }
    o.database1 = !Has(a, "--no-db1");
    o.database2 = !Has(a, "--no-db2");
    o.quads = !Has(a, "--no-quads");
    o.triangles.partial = !Has(a, "--tri-no-partial");
    if (o.regionBandHeight <= 0 || o.ringCell <= 0 || o.db2Cell <= 0 || o.triangles.brightest < 3 ||
        o.triangles.spacing <= 0) {
        a.error = "a tunable is out of range";
        return false;
    }
    return true;
}

int Info(Platform& platform, const std::string& dir) {
    FolderReport r = InspectDatabase(platform, dir);
    std::cout << "Database folder " << dir << "\n";
    for (const auto& f : r.facts)
        std::cout << "  " << f << "\n";
    std::cout << "Invariants:\n";
    for (const auto& i : r.invariants)
        std::cout << (i.holds ? "  ok    " : "  FAIL  ") << i.name
                  << (i.detail.empty() ? "" : " (" + i.detail + ")") << "\n";
    std::cout << (r.AllHold() ? "All invariants hold.\n" : "Some invariants do not hold.\n");
    return r.AllHold() ? 0 : kExitFailed;
}

int Build(Args& a) {
    BuildOptions o;
    if (!ReadTunables(a, o, {"--out"}) || !a.values.count("--out") || a.items.empty()) {
        std::cerr << "tornel-db build: "
                  << (a.error.empty() ? "needs --out DIR and at least one input" : a.error) << "\n";
        return kExitUsage;
    }
    std::string error;
    BuildInputs inputs;
    std::cout << "Reading the catalogues\n";
    BuildReport report;
    BuilderPlatform platform;
    if (!LoadInputs(a.items, inputs, error, &std::cout) ||
        !BuildDatabase(platform, inputs, o, a.values["--out"], &std::cout, error, &report)) {
        std::cerr << "tornel-db build: " << error << "\n";
        return kExitFailed;
    }
    std::cout << "Built " << a.values["--out"] << " in " << FormatNumber(report.seconds, "0.0") << " s\n";
    return 0;
}

int Default(Args& a) {
    BuildOptions o;
    if (!ReadTunables(a, o, {"--database"})) {
        std::cerr << "tornel-db default: " << a.error << "\n";
        return kExitUsage;
    }
    int database = a.values.count("--database") ? TextToLong(a.values["--database"]) : 1;
    if (database != 1 && database != 2) {
        std::cerr << "tornel-db default: --database is 1 or 2\n";
        return kExitUsage;
    }
    std::string home = CarpetaDelPrograma();
    if (home.empty()) {
        std::cerr << "tornel-db default: the program folder cannot be made\n";
        return kExitFailed;
    }
    BuilderPlatform platform;
    std::string error;
    DefaultResult result;
    if (!MakeDefaultDatabase(platform, home, o, database, DefaultSources{}, &std::cout, error, result)) {
        std::cerr << "tornel-db default: " << error << "\n";
        return kExitFailed;
    }
    return Info(platform, result.databaseFolder);
}

int Synth(Args& a) {
    SynthOptions o;
    try {
        if (a.values.count("--stars")) o.stars = TextToLong(a.values["--stars"]);
        if (a.values.count("--seed")) o.seed = static_cast<uint64_t>(TextToLong(a.values["--seed"]));
        if (a.values.count("--faintest")) o.faintest = TextToDouble(a.values["--faintest"]);
    } catch (const std::exception&) {
        std::cerr << "tornel-db synth-catalog: bad number\n";
        return kExitUsage;
    }
    if (!a.values.count("--out") || o.stars <= 0) {
        std::cerr << "tornel-db synth-catalog: needs --out FILE\n";
        return kExitUsage;
    }
    std::ofstream out(a.values["--out"]);
    out << "ra_deg,dec_deg,mag\n";
    for (const auto& s : SynthesizeCatalog(o))
        out << ShortestText(s.ra) << "," << ShortestText(s.dec) << "," << FormatNumber(s.mag, "0.00") << "\n";
    out.close();
    if (!out) {
        std::cerr << "tornel-db synth-catalog: cannot write " << a.values["--out"] << "\n";
        return kExitFailed;
    }
    std::cout << o.stars << " stars written to " << a.values["--out"] << "\n";
    return 0;
}

int Render(Args& a) {
    FieldGeometry g;
    FieldOptions fo;
    SensorOptions sensor;
    try {
        auto real = [&](const char* key, double& v) {
            if (a.values.count(key)) v = TextToDouble(a.values[key]);
        };
        auto whole = [&](const char* key, int32_t& v) {
            if (a.values.count(key)) v = TextToLong(a.values[key]);
        };
        real("--ra", g.ra), real("--dec", g.dec), real("--scale", g.arcsecPerPixel), real("--angle", g.angle);
        whole("--width", g.width), whole("--height", g.height), whole("--added", fo.addedStars);
        real("--missing", fo.missingFraction), real("--jitter", fo.magnitudeJitter);
        real("--psf", sensor.psfSigma), real("--sky", sensor.sky), real("--gradient", sensor.gradient),
            real("--noise", sensor.noise);
        real("--mag-zero", sensor.magnitudeZero), whole("--hot-pixels", sensor.hotPixels);
        if (a.values.count("--seed"))
            fo.seed = sensor.seed = static_cast<uint32_t>(TextToLong(a.values["--seed"]));
    } catch (const std::exception&) {
        std::cerr << "tornel-db render: bad number\n";
        return kExitUsage;
    }
    g.mirror = Has(a, "--mirror");
    if (!a.values.count("--ra") || !a.values.count("--dec") || !a.values.count("--scale") ||
        !a.values.count("--truth") || a.items.empty() || g.width <= 0 || g.height <= 0 ||
        g.arcsecPerPixel <= 0) {
        std::cerr << "tornel-db render: needs --ra, --dec, --scale, --truth FILE and a catalogue\n";
        return kExitUsage;
    }
    BuildInputs inputs;
    std::string error;
    if (!LoadInputs(a.items, inputs, error, nullptr)) {
        std::cerr << "tornel-db render: " << error << "\n";
        return kExitFailed;
    }
    auto stars = ProjectField(MergeCatalogs(inputs.stars, BuildOptions{}.mergeRadiusArcsec), g, fo);
    if (a.values.count("--out") && !WriteFieldImage(a.values["--out"], g, stars, sensor, error)) {
        std::cerr << "tornel-db render: " << error << "\n";
        return kExitFailed;
    }
    if (!WriteTruthFile(a.values["--truth"], g, stars)) {
        std::cerr << "tornel-db render: cannot write " << a.values["--truth"] << "\n";
        return kExitFailed;
    }
    std::cout << stars.size() << " stars on the field, written to " << a.values["--truth"] << "\n";
    return 0;
}

int Main(int argc, char** argv) {
    Args a = Parse(argc, argv);
    if (Has(a, "--help") || Has(a, "-h") || a.command == "help") {
        std::cout << kHelp;
        return 0;
    }
    if (!a.error.empty() || a.command.empty()) {
        std::cerr << "tornel-db: " << (a.error.empty() ? "no command" : a.error) << "\n" << kHelp;
        return kExitUsage;
    }
    if (a.command == "build") return Build(a);
    if (a.command == "default") return Default(a);
    if (a.command == "synth-catalog") return Synth(a);
    if (a.command == "render") return Render(a);
    if (a.command == "info") {
        if (a.items.size() != 1) {
            std::cerr << "tornel-db info: needs one folder\n";
            return kExitUsage;
        }
        BuilderPlatform platform;
        return Info(platform, a.items[0]);
    }
    std::cerr << "tornel-db: unknown command " << a.command << "\n";
    return kExitUsage;
}

}  // namespace
}  // namespace tornel::db

int main(int argc, char** argv) {
    return tornel::db::Main(argc, argv);
}
