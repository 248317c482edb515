// A star calibration is only right when the search then solves with it: three stars picked from an
// extraction calibrate scale, angle and the reversed setting, and tornel-cli solves the same field with
// the fixed-angle window and nothing but what was saved.
#include <gtest/gtest.h>

#include <cmath>

#include "astrometria/calibration_entries.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "core/timers.h"
#include "tests/support/generated_sky.h"

namespace tornel {
namespace {

class CalibrationThenSolve : public testing::GeneratedSkyTest {
  protected:
    // Extracts the rendered field, picks the three selected stars farthest apart, types their places
    // and calibrates with the reversed setting `invertida` in force; saves on success.
    void Calibrate(const std::string& image, int16_t invertida) {
        // Wrong on purpose: the calibration must not need them.
        Parameters(0, invertida == 1, [](Context& p) { p.gSegundosPorPixelX = p.gSegundosPorPixelY = 7; });
        testing::RecordingPlatform platform;
        Context c(platform);
        c.gCarpetaPrograma = home.Path();
        Form_Load(c, "");
        ExtraeNombreDeRuta(c, image);
        TimerExtraer_Timer(c);
        ASSERT_GE(c.mNumSeleccionadas, 3);
        const double xs[] = {c.mSeleccionadas[1].x, c.mSeleccionadas[2].x, c.mSeleccionadas[3].x};
        const double ys[] = {c.mSeleccionadas[1].y, c.mSeleccionadas[2].y, c.mSeleccionadas[3].y};
        CalibrationForm form;
        form.tresEstrellas = true;
        for (size_t i = 0; i < 3; ++i) {
            double ra = 0, dec = 0;
            // The image taken as reversed is loaded with its rows the other way up.
            db::PixelToSky(geometry, xs[i], invertida == 1 ? geometry.height + 1 - ys[i] : ys[i], ra, dec);
            const double h = ra / 15, hm = (h - std::floor(h)) * 60, d = std::fabs(dec),
                         dm = (d - std::floor(d)) * 60;
            form.coordenada[i] = {std::to_string(static_cast<int>(h)),
                                  std::to_string(static_cast<int>(hm)),
                                  std::to_string((hm - std::floor(hm)) * 60),
                                  (dec < 0 ? "-" : "") + std::to_string(static_cast<int>(d)),
                                  std::to_string(static_cast<int>(dm)),
                                  std::to_string((dm - std::floor(dm)) * 60)};
        }
        c.mCalibracionX1 = xs[0], c.mCalibracionY1 = ys[0];
        c.mCalibracionX2 = xs[1], c.mCalibracionY2 = ys[1];
        c.mCalibracionX3 = xs[2], c.mCalibracionY3 = ys[2];
        StarCalibration k;
        std::string control;
        ASSERT_EQ(CalibraFormulario(c, form, k, c.gPixelesX, c.gPixelesY, control), kCalibracionHecha)
            << ::testing::PrintToString(platform.messages);
        EXPECT_NEAR(k.segundosPorPixelX, kScale, 0.02);
        GuardaCalibracion(c, k, true);
        SaveChangedParameters(c);
        angle = k.mAnguloCamara;
        reversed = k.mInvertida;
    }
    double angle = 0;
    int16_t reversed = -1;
};

TEST_F(CalibrationThenSolve, APlainFieldWithTheReversedSettingWrong) {
    const std::string image = Render({150.3, -29.8, 0, 37.5, 0, 0, false});
    Calibrate(image, 1);
    EXPECT_EQ(reversed, 0);
    EXPECT_LT(std::fabs(std::remainder(angle - 37.5, 360.0)), 0.3);
    const auto o = Run(image, 149.9, -30.1);
    EXPECT_EQ(o.status, 0) << o.out;
}

TEST_F(CalibrationThenSolve, AMirroredFieldWithTheReversedSettingWrong) {
    const std::string image = Render({150.3, -29.8, 0, 137.5, 0, 0, true});
    Calibrate(image, 0);
    EXPECT_EQ(reversed, 1);
    EXPECT_LT(std::fabs(std::remainder(angle - (180 - 137.5), 360.0)), 0.3);
    const auto o = Run(image, 149.9, -30.1);
    EXPECT_EQ(o.status, 0) << o.out;
}

}  // namespace
}  // namespace tornel
