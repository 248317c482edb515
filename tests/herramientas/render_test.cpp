// Rendered fields against the program: the solver's screen geometry finds in a projected field the
// distances and inclinations that the rings store, and the image reader and extraction find the
// rendered stars where the truth file puts them.
#include <cmath>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "busqueda/screen_geometry.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/projection.h"
#include "herramientas/db/sky_geometry.h"
#include "tests/imagen/image_program.h"
#include "tests/support/test_program.h"

namespace tornel::db {
namespace {

// A patch of sky that fills the field: `n` stars at random pixels, turned into sky positions.
std::vector<CatalogStar> Patch(const FieldGeometry& g, int n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> x(20, g.width - 20), y(20, g.height - 20), mag(6, 11);
    std::vector<CatalogStar> out(static_cast<size_t>(n));
    for (auto& s : out) {
        PixelToSky(g, x(rng), y(rng), s.ra, s.dec);
        s.mag = static_cast<float>(mag(rng));
    }
    return out;
}

TEST(RenderedFields, ScreenPairsHaveTheInclinationsAndDistancesOfTheRings) {
    for (double angle : {0.0, 35.0, 200.0})
        for (double dec : {-62.0, 3.0, 47.0}) {
            FieldGeometry g{123.4, dec, 1.2, angle, 1500, 1500, false};
            auto stars = ProjectField(Patch(g, 10, 7), g, {});
            ASSERT_EQ(stars.size(), 10u);
            testing::TestProgram p;
            Context& c = p.c;
            c.gAnchoImagen = g.width, c.gAltoImagen = g.height;
            c.gFocalEnPixeles = static_cast<int32_t>(std::lround(FocalPixels(g.arcsecPerPixel)));
            c.mNumSeleccionadas = static_cast<int32_t>(stars.size());
            for (size_t i = 0; i < stars.size(); ++i)
                c.mSeleccionadasCuadradas[i + 1] = {stars[i].x, stars[i].y, 1000.0 - static_cast<double>(i)};
            CalculaParametrosDeLasDistanciasEnPantalla(c, g.dec, g.angle);
            ASSERT_FALSE(c.mFinAnalisis);
            PairMeter meter;
            for (size_t i = 0; i < stars.size(); ++i)
                for (size_t j = i + 1; j < stars.size(); ++j) {
                    NumberedStar a{1, stars[i].ra, stars[i].dec, 0}, b{2, stars[j].ra, stars[j].dec, 0};
                    DistanceRecord rec;
                    int32_t ring;
                    if (!RingRecord(meter, a, b, rec, ring)) continue;  // longer than the rings hold
                    PairGeometry m;
                    ASSERT_TRUE(meter.Measure(a.ra, a.dec, b.ra, b.dec, m));
                    double screenUnits = c.mDistanciasPantalla[i + 1][j + 1] / 0.0006;
                    EXPECT_NEAR(screenUnits, rec.Clave % 100000, 0.02 * (rec.Clave % 100000) + 1);
                    // The fishing takes the screen band and one band either side.
                    EXPECT_NEAR(c.mInclinacionesPantalla[i + 1][j + 1], m.inclination, 0.5)
                        << "angle " << angle << " dec " << dec << " pair " << i << "," << j;
                    // Order 1: star i is the one nearer the north pole, the ring's EstrellaB.
                    bool iIsB = rec.EstrellaB == 1;
                    EXPECT_EQ(c.mOrdenPantalla[i + 1][j + 1], iIsB ? 1 : 2);
                }
        }
}

TEST(RenderedFields, TheProgramExtractsTheStarsWhereTheTruthPutsThem) {
    FieldGeometry g{83.8, -5.4, 6, 25, 800, 600, false};
    auto stars = ProjectField(Patch(g, 40, 4), g, {0.0, 3, 0.0, 5});
    ASSERT_GT(stars.size(), 15u);
    testing::ImageProgram p;
    p.c.gUmbralAutomatico = 1;
    for (const char* name : {"field.fit", "field.bmp"}) {
        std::string path = p.home.File(name), error;
        SensorOptions sensor;
        sensor.hotPixels = 2;
        ASSERT_TRUE(WriteFieldImage(path, g, stars, sensor, error)) << error;
        ASSERT_TRUE(p.Load(path)) << name;
        auto found = p.Extract();
        ASSERT_GE(found.size(), 8u) << name;
        std::vector<render::Star> truth;
        for (const auto& s : stars)
            truth.push_back({s.x, s.y, 0});
        int near = 0;
        for (const auto& e : found) {
            size_t k = 0;
            near += testing::Nearest(e, truth, k) < 1.0;
        }
        EXPECT_GE(near, static_cast<int>(found.size()) - 1) << name;  // a hot pixel may be taken for a star
    }
    std::string error;
    EXPECT_FALSE(WriteFieldImage(p.home.File("field.png"), g, stars, {}, error));
    EXPECT_NE(error.find(".fit"), std::string::npos);
}

TEST(RenderedFields, TruthFileHoldsTheGeometryAndEveryStar) {
    FieldGeometry g{10, 20, 3, 0, 640, 480, true};
    std::vector<FieldStar> stars{{100.25, 200.5, 10.01, 20.02, 7.5f, true},
                                 {300, 50, 9.99, 19.98, 9.25f, false}};
    testing::TempFolder dir;
    ASSERT_TRUE(WriteTruthFile(dir.File("t.csv"), g, stars));
    std::string text = dir.Read("t.csv");
    EXPECT_NE(text.find("# centre_ra_deg 10\n"), std::string::npos);
    EXPECT_NE(text.find("# mirror 1\n"), std::string::npos);
    EXPECT_NE(text.find("100.250,200.500,10.0100000,20.0200000,7.50,1\n"), std::string::npos);
    EXPECT_NE(text.find("300.000,50.000,9.9900000,19.9800000,9.25,0\n"), std::string::npos);
}

}  // namespace
}  // namespace tornel::db
