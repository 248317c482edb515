// Screen geometry: distances and inclinations of the pairs of selected stars.
#include <gtest/gtest.h>

#include <cmath>

#include "busqueda/screen_geometry.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TestProgram;

struct Screen : ::testing::Test {
    TestProgram p;
    Context& c = p.c;
    const double toDegrees = 180 / 3.1415927;
    void SetUp() override {
        c.gRadianesAGrados = toDegrees;
        c.gGradosARadianes = 1 / toDegrees;
        c.gAnchoImagen = 1000;
        c.gAltoImagen = 800;
        c.gFocalEnPixeles = 10000;
    }
    // Selected stars in square pixels, from slot 1.
    void Stars(const std::vector<std::pair<double, double>>& xy) {
        c.mNumSeleccionadas = static_cast<int32_t>(xy.size());
        for (size_t i = 0; i < xy.size(); ++i)
            c.mSeleccionadasCuadradas[i + 1] = {xy[i].first, xy[i].second, 1};
    }
};

TEST_F(Screen, DistanceOfTwoPixels) {
    // Symmetric about the centre: the arc is twice the angle of the half offset.
    double expected = 2 * std::atan(100.0 / 10000) * toDegrees;
    EXPECT_NEAR(CalculaDistanciaEnPantalla(c, 400, 400, 600, 400), expected, 1e-9);
    EXPECT_EQ(CalculaDistanciaEnPantalla(c, 123, 45, 123, 45), 0);
    c.gFocalEnPixeles = 0;
    EXPECT_EQ(CalculaDistanciaEnPantalla(c, 500, 400, 600, 400), 0);
    EXPECT_FALSE(c.mFinAnalisis);
}

TEST_F(Screen, PairTablesAtTheEquator) {
    // 1 and 2 east-west of the centre; 3 above 1.
    Stars({{400, 400}, {600, 400}, {400, 600}});
    CalculaParametrosDeLasDistanciasEnPantalla(c, 0, 0);
    ASSERT_FALSE(c.mFinAnalisis);
    EXPECT_NEAR(c.mDistanciasPantalla[1][2], 2 * std::atan(100.0 / 10000) * toDegrees * 60, 1e-9);
    EXPECT_NEAR(c.mInclinacionesPantalla[1][2], 90, 1e-4);
    // A north-south pair has no inclination; the star of greater y is nearer the pole.
    EXPECT_NEAR(c.mInclinacionesPantalla[1][3], 0, 1e-3);
    EXPECT_EQ(c.mOrdenPantalla[1][3], 2);
    EXPECT_EQ(c.mOrdenPantalla[1][2], 2);
    // Turning the image by 90 degrees makes the east-west pair a north-south one, whose cosine
    // falls just out of range by rounding: 179 or 0 by the order of the ends. Distances stay.
    double before = c.mDistanciasPantalla[1][3];
    CalculaParametrosDeLasDistanciasEnPantalla(c, 0, 90);
    double turned = c.mInclinacionesPantalla[1][2];
    EXPECT_TRUE(turned == 179 || turned < 1e-3) << turned;
    EXPECT_DOUBLE_EQ(c.mDistanciasPantalla[1][3], before);
}

TEST_F(Screen, PolesAndDegenerateStars) {
    Stars({{400, 400}, {400, 600}, {450, 420}, {450, 420}});
    for (double dec : {90.0, -90.0, 45.0, -30.0}) {
        CalculaParametrosDeLasDistanciasEnPantalla(c, dec, 15);
        EXPECT_FALSE(c.mFinAnalisis) << dec;
        for (size_t i = 1; i < 4; ++i)
            for (size_t j = i + 1; j <= 4; ++j) {
                EXPECT_GE(c.mInclinacionesPantalla[i][j], 0);
                EXPECT_LE(c.mInclinacionesPantalla[i][j], 180);
            }
    }
    // Two identical stars: a distance of 0, left for the fishing to skip.
    EXPECT_EQ(c.mDistanciasPantalla[3][4], 0);
    EXPECT_TRUE(p.platform.messages.empty());
    // A star on the axis of a zero focal length makes no direction: the analysis ends quietly.
    c.gFocalEnPixeles = 0;
    Stars({{500, 400}, {600, 400}});
    CalculaParametrosDeLasDistanciasEnPantalla(c, 10, 0);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_TRUE(p.platform.messages.empty());
}

}  // namespace
}  // namespace tornel
