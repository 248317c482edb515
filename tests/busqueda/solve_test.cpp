// Whole solves through tornel-cli on fields rendered from a small generated sky: dense patches
// across right ascension 0, around the north pole and at mid declination, over a sparse whole sky,
// built into a database as the user's tornel-db would.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>
#include <random>
#include <string>

#include "core/numbers.h"
#include "core/parametros.h"
#include "core/quiet_platform.h"
#include "herramientas/db/build.h"
#include "herramientas/db/projection.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::TempFolder;
constexpr double kRad = std::numbers::pi / 180;

struct Patch {
    double ra, dec, radius;  // degrees
    int stars;
};

// Stars spread evenly over the patches (uniform on the sphere within each radius) and a sparse sky.
std::vector<db::CatalogStar> GeneratedSky(uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<db::CatalogStar> stars;
    auto magnitude = [&] { return static_cast<float>(12 - 5 * u(rng) * u(rng)); };
    for (int k = 0; k < 12000; ++k)
        stars.push_back({360 * u(rng), std::asin(2 * u(rng) - 1) / kRad, magnitude()});
    // The pole patch is as dense as the real sky there: a pole tile holds every pair within 0.75
    // degree of its centre, and a denser one overflows the three-stars.
    const Patch patches[] = {{0, 10, 2.5, 3000}, {0, 90, 2.5, 800}, {150, -30, 2.5, 3000}};
    for (const Patch& p : patches) {
        const db::FieldGeometry centre{p.ra, p.dec, 3600, 0, 2, 2, false};
        for (int k = 0; k < p.stars; ++k) {
            // Uniform in the cap: the cosine of the distance is uniform.
            const double d = std::acos(1 - u(rng) * (1 - std::cos(p.radius * kRad))) / kRad;
            const double bearing = 360 * u(rng) * kRad;
            double ra = 0, dec = 0;
            db::PixelToSky(centre, 1 + d * std::sin(bearing), 1 + d * std::cos(bearing), ra, dec);
            stars.push_back({ra, dec, magnitude()});
        }
    }
    return stars;
}

struct Outcome {
    int status = -1;
    std::string out, err;
    bool Has(const std::string& text) const { return out.find(text) != std::string::npos; }
};

class Solve : public ::testing::Test {
  protected:
    static constexpr double kScale = 2.0;  // arcsec per pixel

    void SetUp() override {
        database = home.MakeFolder("database");
        home.MakeFolder("messages");
        db::BuildInputs inputs;
        inputs.stars.push_back(GeneratedSky(3));
        sky = inputs.stars.back();
        db::BuildOptions options;
        options.database2 = false;
        std::string error;
        QuietPlatform quiet;
        ASSERT_TRUE(db::BuildDatabase(quiet, inputs, options, database, nullptr, error)) << error;
    }

    // The parameters of a run, written by the program's own writer.
    void Parameters(double angle, bool reversed) {
        testing::RecordingPlatform platform;
        Context c(platform);
        c.gCarpetaPrograma = home.Path();
        ParametrosPorDefecto(c);
        c.gCarpetaEstrellas = c.gCarpetaDistancias = database;
        c.gCarpetaMensajes = home.Path() + "messages/";
        c.gUmbralAutomatico = 1;
        c.gSegundosPorPixelX = c.gSegundosPorPixelY = kScale;
        c.gFocalEnPixeles = FocalDesdeEscala(kScale);
        CalculaValoresDerivados(c);
        c.gAnguloImagen = angle;
        c.gImagenInvertida = reversed ? 1 : 0;
        GrabaParametros(c);
    }

    // Renders a 1024 x 900 field (0.57 degree) of the generated sky, or of `stars` in its place.
    std::string Render(db::FieldGeometry g, const std::vector<db::FieldStar>* stars = nullptr) {
        g.arcsecPerPixel = kScale;
        g.width = 1024;
        g.height = 900;
        geometry = g;
        const std::string path = home.File("field.fit");
        auto field = stars ? *stars : db::ProjectField(sky, g, {});
        db::SensorOptions sensor;
        sensor.hotPixels = 20;
        sensor.seed = 5;
        std::string error;
        EXPECT_TRUE(db::WriteFieldImage(path, g, field, sensor, error)) << error;
        return path;
    }

    Outcome Run(const std::string& image, double ra, double dec) {
        const std::string cli = std::string(TORNEL_BINARY_DIR) + "/consola/tornel-cli";
        const std::string command = "TORNEL_HOME='" + home.Path() + "' '" + cli + "' 8 '" + image + "' " +
                                    ShortestText(ra) + " " + ShortestText(dec) + " >'" +
                                    home.File("out.txt") + "' 2>'" + home.File("err.txt") + "'";
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, home.Read("out.txt"), home.Read("err.txt")};
    }

    // The solved centre, from the summary's "CENTRE:" line, against the sky at the program's image
    // centre; the image angle line against the expected angle.
    void ExpectSolvedAt(const Outcome& o, double expectedAngle) {
        ASSERT_EQ(o.status, 0) << o.out << o.err;
        const auto at = o.out.find("CENTRE: RA= ");
        ASSERT_NE(at, std::string::npos);
        int h = 0, m = 0, g = 0, mi = 0;
        double s = 0, se = 0, angle = 0;
        char sign = 0;
        ASSERT_EQ(std::sscanf(o.out.c_str() + at, "CENTRE: RA= %dh%dm%lfs DEC= %c%d", &h, &m, &s, &sign, &g),
                  5);
        const auto minutes = o.out.find("°", at);
        ASSERT_EQ(std::sscanf(o.out.c_str() + minutes + 2, "%d'%lf", &mi, &se), 2);
        const double ra = 15 * h + m / 4.0 + s / 240,
                     dec = (sign == '-' ? -1 : 1) * (g + mi / 60.0 + se / 3600);
        EXPECT_TRUE(o.Has("Solution : arM = "));
        const auto a = o.out.find("image angle = ");
        ASSERT_NE(a, std::string::npos);
        angle = std::stod(o.out.substr(a + 14));
        double tra = 0, tdec = 0;
        const double y =
            geometry.mirror ? geometry.height + 1 - geometry.height / 2.0 : geometry.height / 2.0;
        db::PixelToSky(geometry, geometry.width / 2.0, y, tra, tdec);
        const double dra = std::remainder(ra - tra, 360.0) * std::cos(tdec * kRad);
        EXPECT_LT(std::hypot(dra, dec - tdec) * 3600 / kScale, 2.0);
        EXPECT_LT(std::fabs(std::remainder(angle - expectedAngle, 360.0)), 0.2);
    }

    TempFolder home;
    std::string database;
    std::vector<db::CatalogStar> sky;
    db::FieldGeometry geometry;
};

TEST_F(Solve, FieldAcrossRightAscensionZeroWithTheTextsOfASolution) {
    const std::string image = Render({0.05, 10.2, 0, 0, 0, 0, false});
    geometry.angle = 0;
    Parameters(0.3, false);
    const Outcome o = Run(image, 359.2, 9.4);
    ExpectSolvedAt(o, 0);
    EXPECT_TRUE(o.Has("Searching in a 5 degrees sky window,\n"));
    EXPECT_TRUE(o.Has("      ** SOLUTION **\n"));
    EXPECT_TRUE(o.Has("CENTRE: RA= 00h00m"));
    EXPECT_TRUE(o.Has("Identified 1 = GSC "));
    EXPECT_TRUE(o.Has(" sides.\n"));
    // The result label, which tornel-cli prints on standard error at the end.
    EXPECT_NE(o.err.find("Image centre: RA= 00h00m"), std::string::npos) << o.err;
}

TEST_F(Solve, TurnedAndMirroredFieldSolvesWithTheReversedFlag) {
    const std::string image = Render({150.3, -29.8, 0, 137.5, 0, 0, true});
    // Reading the rows in the other order undoes the mirror and leaves north at 180 - angle.
    Parameters(180 - 137.5 - 0.4, true);
    ExpectSolvedAt(Run(image, 149.5, -31), 180 - 137.5);
    // Without the flag the turning sense of the figures is wrong and nothing is found.
    Parameters(137.5 - 0.4, false);
    const Outcome plain = Run(image, 149.5, -31);
    EXPECT_EQ(plain.status, 1);
}

TEST_F(Solve, FieldAtTheNorthPoleIsFoundInThePoleTiles) {
    const std::string image = Render({30, 89.7, 0, 75, 0, 0, false});
    Parameters(75.2, false);
    const Outcome o = Run(image, 10, 89);
    ExpectSolvedAt(o, 75);
    EXPECT_TRUE(o.Has("**Tile ")) << o.out;
}

TEST_F(Solve, FieldWithNoStarOfTheCatalogueEndsWithoutPolygons) {
    // Stars where the catalogue has none: pairs are fished at random, but no polygon holds.
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<db::FieldStar> strangers;
    for (int k = 0; k < 12; ++k)
        strangers.push_back(
            {50 + 900 * u(rng), 50 + 800 * u(rng), 0, 0, static_cast<float>(8 + 3 * u(rng)), false});
    const std::string image = Render({150, -30, 0, 0, 0, 0, false}, &strangers);
    Parameters(0, false);
    const Outcome o = Run(image, 150, -30);
    EXPECT_EQ(o.status, 1);
    EXPECT_TRUE(o.Has("Polygons = 0\n")) << o.out;
    EXPECT_TRUE(o.Has("Position not found.\n"));
    EXPECT_EQ(o.err.find("Image centre"), std::string::npos);
}

}  // namespace
}  // namespace tornel
