// Whole solves through tornel-cli on fields rendered from the generated sky of the support folder:
// database 1 around a position, database 2 with no position at all.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <tuple>

#include "core/analisis.h"
#include "core/startup.h"
#include "tests/support/generated_sky.h"

namespace tornel {
namespace {

constexpr double kRad = std::numbers::pi / 180;
using Outcome = testing::CliOutcome;

class Solve : public testing::GeneratedSkyTest {
  protected:
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
        EXPECT_LT(std::hypot(dra, dec - tdec) * 3600 / geometry.arcsecPerPixel, 2.0);
        EXPECT_LT(std::fabs(std::remainder(angle - expectedAngle, 360.0)), 0.2);
    }
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

// Fields of another sky, as dense as the catalogue's, searched around their place: the search meets
// candidates that the rest of the field does not confirm. None is announced, and no status file ever
// shows one, even for the moment between the choice and the refusal.
TEST_F(Solve, CandidatesOfAnotherSkyAreRefusedBeforeAnyStatusShowsThem) {
    const std::vector<db::CatalogStar> other = testing::GeneratedSky(99);
    int refused = 0;
    for (const auto& [ra, dec, angle] : {std::tuple{150.2, -30.1, 10.0}, std::tuple{0.3, 10.2, 80.0},
                                         std::tuple{149.7, -29.6, 200.0}, std::tuple{359.8, 9.7, 300.0}}) {
        db::FieldGeometry g{ra, dec, scale, angle, 1024, 900, false};
        std::vector<db::FieldStar> stars = db::ProjectField(other, g, {});
        const std::string image = Render(g, &stars);
        Parameters(angle, false);
        testing::RecordingPlatform platform;
        Context c(platform);
        c.gCarpetaPrograma = home.Path();
        Form_Load(c, "8 " + image + " " + ShortestText(ra) + " " + ShortestText(dec));
        c.timers.TimerAnalizaYsale.Enabled = false;
        std::vector<std::string> seen;
        platform.onDoEvents = [&] { seen.push_back(home.Read("messages/tornel.sta")); };
        AnalizaImagen(c);
        DespuesDeAnalizaImagen(c);
        EXPECT_FALSE(c.gHaySolucion) << ra << " " << dec;
        for (const std::string& sta : seen)
            EXPECT_EQ(sta.find("status=01"), std::string::npos) << sta;
        if (platform.SummaryHas("Position not found: RA= " + FormatNumber(c.gARJ2000, "0.000") +
                                " DEC= " + FormatNumber(c.gDEJ2000, "0.000")))
            ++refused;
        Form_Unload(c);
    }
    EXPECT_GT(refused, 0);
}

// Database 2 on the same sky: fields of two degrees found with no position at all.
class BlindSolve : public Solve {
  protected:
    void SetUp() override {
        Build(2);
        scale = 8.0;
    }
};

TEST_F(BlindSolve, TurnedAndMirroredFieldsAreFoundWithNoPosition) {
    const std::string image = Render({150.4, -30.3, 0, 63.5, 0, 0, false});
    Parameters(0, false);
    const Outcome o = Run(image, "");
    ExpectSolvedAt(o, 63.5);
    EXPECT_TRUE(o.Has("Searching triangles\n"));
    EXPECT_TRUE(o.Has("**Triangles found: "));
    EXPECT_TRUE(o.Has("Identified = GSC "));
    // A mirrored field meets the stored triangles only with its rows read the other way.
    const std::string mirrored = Render({149.6, -29.5, 0, 200, 0, 0, true});
    Parameters(0, true);
    ExpectSolvedAt(Run(mirrored, ""), 180 - 200);
}

TEST_F(BlindSolve, EnoughSidesNearTheSearchCentreStopTheTreeSearchAtOnce) {
    const std::string image = Render({0.4, 10.5, 0, 10, 0, 0, false});
    Parameters(0, false);
    struct Search {
        bool stopped = false;
        int32_t tried = 0, stored = 0, triedInTheWalk = 0, waiting = 0;
    };
    auto analyse = [&](int32_t sides, double ra, double dec) {
        testing::RecordingPlatform platform;
        auto c = std::make_unique<Context>(platform);
        c->gCarpetaPrograma = home.Path();
        Form_Load(*c, "8 " + image + " " + ShortestText(ra) + " " + ShortestText(dec));
        c->timers.TimerAnalizaYsale.Enabled = false;
        c->gLadosParaParar = sides;
        // Candidates more than a degree from the search centre wait for the end of the walk.
        c->gDistanciaCercaCentro = 1;
        AnalizaImagen(*c);
        EXPECT_TRUE(c->gHaySolucion);
        Search s{c->mSolucionHallada, c->mIntentos, c->mNumCandidatos};
        // A candidate tried holds its sides (3 or more); one that waits its zone, 1 or 2.
        for (int32_t n = 1; n <= c->mNumCandidatos; ++n) {
            const int32_t zone = c->mCandidatos[static_cast<size_t>(n)].ZonaOLados;
            s.triedInTheWalk += zone >= 3 ? 1 : 0;
            s.waiting += zone == 1 || zone == 2 ? 1 : 0;
        }
        DespuesDeAnalizaImagen(*c);
        Form_Unload(*c);
        return s;
    };
    // Searched from near the field, a good candidate is tried during the walk and ends the search:
    // those far off are never tried.
    const Search near = analyse(20, 0.5, 11);
    EXPECT_TRUE(near.stopped);
    EXPECT_EQ(near.tried, near.triedInTheWalk);
    EXPECT_GT(near.waiting, 0);
    // With no number of sides enough, every candidate is stored first and all are tried.
    const Search all = analyse(1000, 180, -60);
    EXPECT_FALSE(all.stopped);
    EXPECT_EQ(all.tried, all.stored);
    EXPECT_GT(all.stored, near.stored);
}

}  // namespace
}  // namespace tornel
