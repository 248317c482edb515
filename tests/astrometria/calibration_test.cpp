// Star calibration and the image angle of a solution, on a field whose focal length and angle are
// known: the pixels of its stars come from the projection the renderer draws fields with.
#include <gtest/gtest.h>

#include <cmath>

#include "astrometria/angle_calibration.h"
#include "astrometria/plate_model.h"
#include "astrometria/star_calibration.h"
#include "herramientas/db/projection.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

class Calibration : public ::testing::Test {
  protected:
    void SetUp() override {
        c.gImagenInvertida = 0;
        c.gMostrarAvisos = true;
    }
    // A star of the field at pixel (x, y), with the sky place the projection gives it.
    CalibrationStar At(double x, double y) const {
        CalibrationStar s{x, y, 0, 0};
        db::PixelToSky(field, x, y, s.ra, s.dec);
        return s;
    }
    static double AngleApart(double a, double b) { return std::fabs(std::remainder(a - b, 360.0)); }

    db::FieldGeometry field{83.8, -5.4, 3.0, 30, 1200, 900, false};
    testing::TestProgram p;
    Context& c = p.c;
};

TEST_F(Calibration, TwoStarsGiveTheFocalLengthScaleAndAngleOfTheField) {
    StarCalibration k;
    ASSERT_EQ(CalibrarConCoordenadasDeEstrellas(c, k, At(200, 150), At(1000, 700), 1200, 900),
              kCalibracionHecha);
    const double focal = db::FocalPixels(3.0);
    EXPECT_NEAR(k.mFocal, focal, focal * 0.002);
    EXPECT_NEAR(k.segundosPorPixelX, 3.0, 0.006);
    EXPECT_DOUBLE_EQ(k.segundosPorPixelY, k.segundosPorPixelX);
    EXPECT_NEAR(k.minutosAltoImagen, 900 * 3.0 / 60, 0.5);
    EXPECT_LT(AngleApart(k.mAnguloCamara, 30), 0.1);
    EXPECT_DOUBLE_EQ(c.gAltoImagen, 900);
    // Another angle and a place near the pole, where the meridians turn by a degree across the field:
    // the angle is that of the pair's midpoint, here the image centre.
    field = {10, 80, 3.0, 250, 1200, 900, false};
    ASSERT_EQ(CalibrarConCoordenadasDeEstrellas(c, k, At(1100, 800), At(100, 100), 1200, 900),
              kCalibracionHecha);
    EXPECT_LT(AngleApart(k.mAnguloCamara, 250), 0.1);
}

TEST_F(Calibration, StarsTooCloseOrAFocalOutOfReachChangeNothing) {
    StarCalibration k;
    // 40 pixels of 3 arc seconds: 0.03 degree.
    EXPECT_EQ(CalibrarConCoordenadasDeEstrellas(c, k, At(600, 450), At(640, 450), 1200, 900),
              kCalibracionEstrellasCercanas);
    EXPECT_TRUE(p.platform.HasMessage("The calculated distance between A and B stars is too small."));
    EXPECT_EQ(k.mFocal, 0);
    // Ten degrees apart on the sky but ten pixels on the screen: no focal length between half and 2000
    // times the image height fits, and the search ends rather than turning for ever.
    CalibrationStar a{600, 450, 83, 0}, b{610, 450, 93, 0};
    EXPECT_EQ(CalibrarConCoordenadasDeEstrellas(c, k, a, b, 1200, 900), kCalibracionSinFocal);
    EXPECT_EQ(k.mFocal, 0);
    // Two stars nearly at the ends of the range in the other sense: a tiny arc over the whole image.
    CalibrationStar d{1, 450, 83, 0}, e{1200, 450, 83.1, 0};
    EXPECT_EQ(CalibrarConCoordenadasDeEstrellas(c, k, d, e, 1200, 900), kCalibracionHecha);
    EXPECT_GT(k.mFocal, 0);
}

TEST_F(Calibration, ThreeStarsTakeTheFarthestPairAndTellAMirror) {
    StarCalibration k;
    const CalibrationStar a = At(500, 400), b = At(700, 420), d = At(1150, 880);
    ASSERT_EQ(CalibrarConTresEstrellas(c, k, a, b, d, 1200, 900), kCalibracionHecha);
    EXPECT_EQ(k.mInvertida, 0);
    StarCalibration pair;
    ASSERT_EQ(CalibrarConCoordenadasDeEstrellas(c, pair, a, d, 1200, 900), kCalibracionHecha);
    EXPECT_EQ(k.mFocal, pair.mFocal);
    EXPECT_DOUBLE_EQ(k.mAnguloCamara, pair.mAnguloCamara);
    // The same stars on a mirrored field: mirrored against the setting in force, either way.
    field.mirror = true;
    ASSERT_EQ(CalibrarConTresEstrellas(c, k, At(500, 400), At(700, 420), At(1150, 880), 1200, 900),
              kCalibracionHecha);
    EXPECT_EQ(k.mInvertida, 1);
    c.gImagenInvertida = 1;
    EXPECT_EQ(DeterminaInvertida(c, k, At(500, 400), At(700, 420), At(1150, 880)), 0);
    field.mirror = false;
    EXPECT_EQ(DeterminaInvertida(c, k, At(500, 400), At(700, 420), At(1150, 880)), 1);
}

TEST_F(Calibration, AutoCalibrationTakesTheAngleOfTheSolution) {
    c.gAnchoImagen = 1200;
    c.gAltoImagen = 900;
    c.gFocalEnPixeles = static_cast<int32_t>(std::lround(db::FocalPixels(3.0)));
    std::array<PlateStar, 3> stars;
    const double pixels[3][2] = {{100, 100}, {1100, 200}, {500, 850}};
    for (size_t n = 0; n < 3; ++n) {
        const CalibrationStar s = At(pixels[n][0], pixels[n][1]);
        stars[n] = {s.x, s.y, s.ra, s.dec};
    }
    ResuelveSistema(c, stars);
    c.gDECsolucion = field.dec;
    // Nothing without a solution.
    c.gAnguloImagen = 5;
    AutoCalibraAngulo(c);
    EXPECT_EQ(c.gAnguloImagen, 5);
    c.gSolucionOK = true;
    // In the waiting modes the angle is taken without a question.
    c.gOrigenImagen = 5;
    AutoCalibraAngulo(c);
    EXPECT_LT(AngleApart(c.gAnguloImagen, 30), 0.05);
    EXPECT_TRUE(p.platform.questions.empty());
    // Otherwise the user is asked; No leaves the angle.
    c.gOrigenImagen = 0;
    c.gAnguloImagen = 5;
    p.platform.answers = {false, true};
    AutoCalibraAngulo(c);
    EXPECT_EQ(c.gAnguloImagen, 5);
    ASSERT_EQ(p.platform.questions.size(), 1U);
    EXPECT_EQ(p.platform.questions[0].rfind("New image angle = ", 0), 0U);
    AutoCalibraAngulo(c);
    EXPECT_LT(AngleApart(c.gAnguloImagen, 30), 0.05);
}

}  // namespace
}  // namespace tornel
