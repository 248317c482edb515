// The windows of the image angle search: which windows, in which order, and that they cover the whole
// 30 x 30 degree zone about the search centre, corners and pole caps included.
#include "busqueda/angle_search_walk.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/parametros.h"
#include "core/startup.h"
#include "core/timers.h"
#include "tests/support/generated_sky.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

class AngleSearchWalk : public ::testing::Test {
  protected:
    void Centre(double ra, double dec) {
        c.gCentroBusquedaRA = ra;
        c.gCentroBusquedaDEC = dec;
    }
    static double RaApart(double a, double b) { return std::fabs(std::remainder(a - b, 360.0)); }
    // Whether a window fishes the place: its rings hold the declination and the right ascension lies
    // within half the window's width at that declination (as the fishing lays it on each ring).
    bool Covered(const std::vector<AngleSearchWindow>& windows, double ra, double dec) const {
        const double halfWidth =
            std::round(c.gAnchoVentana) / 2 / std::cos(std::min(std::fabs(dec), 89.5) * c.gGradosARadianes);
        for (const AngleSearchWindow& w : windows)
            if (w.a - 90 <= dec && dec <= w.b - 90 && (halfWidth >= 180 || RaApart(w.ar, ra) <= halfWidth))
                return true;
        return false;
    }
    void ExpectZoneCovered(const std::vector<AngleSearchWindow>& windows) const {
        const double lo = std::max(std::round(c.gCentroBusquedaDEC - 15), -90.0);
        const double hi = std::min(std::round(c.gCentroBusquedaDEC + 15), 89.0);
        for (double dec = lo; dec <= hi; dec += 0.5) {
            const double half =
                std::min(15 / std::cos(std::min(std::fabs(dec), 89.5) * c.gGradosARadianes), 180.0);
            for (double offset = -half; offset <= half; offset += half / 10)
                EXPECT_TRUE(Covered(windows, c.gCentroBusquedaRA + offset, dec))
                    << "RA " << c.gCentroBusquedaRA + offset << " DEC " << dec;
        }
    }

    testing::TestProgram p;
    Context& c = p.c;
};

TEST_F(AngleSearchWalk, RowsGoOutwardsFromTheCentreAndCoverTheWholeZone) {
    Centre(100, 0);
    c.gAnchoVentana = c.gAltoVentana = 5;
    const auto windows = AngleSearchWindows(c);
    ASSERT_FALSE(windows.empty());
    // The first window is the centre itself.
    EXPECT_DOUBLE_EQ(windows[0].ar, 100);
    EXPECT_LE(windows[0].a - 90, 0);
    EXPECT_GE(windows[0].b - 90, 0);
    // Rows north and south of the centre's row in turn, each farther out than the one before on its
    // side, and a row's windows together.
    std::vector<double> middles;
    for (size_t k = 0; k < windows.size(); ++k)
        if (k == 0 || windows[k].a != windows[k - 1].a)
            middles.push_back((windows[k].a + windows[k].b) / 2.0 - 90);
    ASSERT_GE(middles.size(), 7u);
    EXPECT_GT(middles[1], middles[0]);
    EXPECT_LT(middles[2], middles[0]);
    double north = middles[0], south = middles[0];
    for (size_t k = 1; k < middles.size(); ++k) {
        if (middles[k] > middles[0]) {
            EXPECT_GT(middles[k], north) << k;
            north = middles[k];
        } else {
            EXPECT_LT(middles[k], south) << k;
            south = middles[k];
        }
    }
    EXPECT_GE(north + 2.5, 15);
    EXPECT_LE(south - 2.5, -15);
    // Within the centre's row: the centre, then east and west in turn, each step farther out.
    EXPECT_NEAR(windows[1].ar - 100, -(windows[2].ar - 100), 1e-9);
    EXPECT_GT(windows[1].ar, 100);
    EXPECT_GT(RaApart(windows[3].ar, 100), RaApart(windows[1].ar, 100));
    // The corners of the square are fished too, not only a circle about the centre.
    ExpectZoneCovered(windows);
    EXPECT_TRUE(Covered(windows, 114.5, 14.5));
    EXPECT_TRUE(Covered(windows, 85.5, -14.5));
    EXPECT_FALSE(AngleSearchReachesSouthPole(c));
    EXPECT_FALSE(AngleSearchReachesNorthPole(c));
}

TEST_F(AngleSearchWalk, AWindowAcrossRightAscensionZeroAndWindowsOfOtherSizes) {
    Centre(358, 40);
    for (double size : {2.0, 3.0, 7.0, 30.0}) {
        c.gAnchoVentana = c.gAltoVentana = size;
        const auto windows = AngleSearchWindows(c);
        ASSERT_FALSE(windows.empty()) << size;
        for (const AngleSearchWindow& w : windows) {
            EXPECT_GE(w.ar, 0);
            EXPECT_LT(w.ar, 360);
            EXPECT_LT(w.a, w.b);
        }
        ExpectZoneCovered(windows);
    }
    // A window 30 degrees high: one row.
    c.gAnchoVentana = c.gAltoVentana = 30;
    const auto windows = AngleSearchWindows(c);
    for (const AngleSearchWindow& w : windows)
        EXPECT_EQ(w.a, windows[0].a);
}

TEST_F(AngleSearchWalk, NearAPoleTheRowsGoAllAroundAndThePoleFilesAreSearched) {
    Centre(200, 80);
    c.gAnchoVentana = c.gAltoVentana = 5;
    const auto windows = AngleSearchWindows(c);
    ExpectZoneCovered(windows);
    for (double ra = 0; ra < 360; ra += 7.5)
        EXPECT_TRUE(Covered(windows, ra, 88.5)) << ra;
    EXPECT_TRUE(AngleSearchReachesNorthPole(c));
    EXPECT_FALSE(AngleSearchReachesSouthPole(c));
    Centre(10, -76);
    EXPECT_TRUE(AngleSearchReachesSouthPole(c));
    ExpectZoneCovered(AngleSearchWindows(c));
}

TEST_F(AngleSearchWalk, AWindowUnderADegreeGivesNoWindows) {
    Centre(100, 0);
    c.gAnchoVentana = 0.4;
    EXPECT_TRUE(AngleSearchWindows(c).empty());
}

TEST_F(AngleSearchWalk, AnglesFromTheOneInForceOutwards) {
    c.gAnguloImagen = 0;
    c.gAmplitudAngulo = 5;
    const std::vector<double> five = {0, 359, 1, 358, 2, 357, 3, 356, 4, 355, 5};
    EXPECT_EQ(AngleSearchAngles(c), five);
    c.gAnguloImagen = 100;
    c.gAmplitudAngulo = 15;
    const auto fifteen = AngleSearchAngles(c);
    ASSERT_EQ(fifteen.size(), 31u);
    EXPECT_EQ(fifteen[1], 99);
    EXPECT_EQ(fifteen.back(), 115);
}

// The whole search on a field of the generated sky, with the image angle in force 3 degrees off and the
// centre 1.5 degrees away: the angle found is offered, accepted and saved, and the zone chosen before
// stays.
class AngleSearchSolve : public testing::GeneratedSkyTest {};

TEST_F(AngleSearchSolve, TheAngleFoundIsOfferedAndSaved) {
    const std::string image = Render({150.3, -29.8, 0, 37.5, 0, 0, false});
    Parameters(37.5 - 3, false, [](Context& p) {
        p.gOrigenCoordenadas = 0;
        p.gCentroCombosRA = 149.5;
        p.gCentroCombosDEC = -31;
        p.gZonaCielo = 1;
    });
    testing::RecordingPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = home.Path();
    Form_Load(c, "");
    ExtraeNombreDeRuta(c, image);
    c.gAmplitudAngulo = 5;
    platform.answers.push_back(true);
    TimerAnalizaAmbito30x30gConRotacion_Timer(c);
    ASSERT_FALSE(platform.questions.empty()) << ::testing::PrintToString(platform.messages);
    EXPECT_NE(platform.questions.back().find("Image angle found = "), std::string::npos);
    EXPECT_LT(std::fabs(std::remainder(c.gAnguloImagen - 37.5, 360.0)), 0.3);
    EXPECT_TRUE(platform.SummaryHas("Searching: angle: 34.50 RA: 149.500 DEC: -31.000"));
    EXPECT_EQ(c.gZonaCielo, 1);
    Context saved(platform);
    saved.gCarpetaPrograma = home.Path();
    CargaParametros(saved, RutaParametros(saved));
    EXPECT_DOUBLE_EQ(saved.gAnguloImagen, c.gAnguloImagen);
}

}  // namespace
}  // namespace tornel
