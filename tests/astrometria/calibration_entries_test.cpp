// What the star calibration windows check and keep, without a window: the star identifiers and their
// lookup, the typed coordinates and pixel sizes, the star picked by a click, a calibration from the
// texts of the form and the parameters it saves.
#include "astrometria/calibration_entries.h"

#include <gtest/gtest.h>

#include <cmath>

#include "catalogo/star_catalogue.h"
#include "herramientas/db/projection.h"
#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::Star12;

const std::vector<Star12> kStars = {
    {15800001, 10000000, 20000000},
    {15800254, 10250000, -20500000},
    {16000003, 123456789, -45678901},
};

// Hours, minutes, seconds and degrees, minutes, seconds as a user types them.
std::array<std::string, 6> Typed(double ra, double dec) {
    const double h = ra / 15, d = std::fabs(dec);
    auto part = [](double v, int k) {
        for (int i = 0; i < k; ++i)
            v = (v - std::floor(v)) * 60;
        return k < 2 ? std::to_string(static_cast<int>(std::floor(v))) : std::to_string(v);
    };
    return {part(h, 0), part(h, 1), part(h, 2), (dec < 0 ? "-" : "") + part(d, 0), part(d, 1), part(d, 2)};
}

class CalibrationEntries : public ::testing::Test {
  protected:
    void SetUp() override { c.gMostrarAvisos = true; }
    bool Told(const std::string& text) const { return p.platform.HasMessage(text); }
    int32_t Id(const std::string& text) { return VeoEstrella_a_IDnumeroRegistro(c, text, "A"); }
    // Star `i` of the form clicked at pixel (x, y) of the field, its place typed.
    void Star(int i, double x, double y) {
        double ra = 0, dec = 0;
        db::PixelToSky(field, x, y, ra, dec);
        form.coordenada[static_cast<size_t>(i)] = Typed(ra, dec);
        (i == 0 ? c.mCalibracionX1 : i == 1 ? c.mCalibracionX2 : c.mCalibracionX3) = x;
        // Picks are on the rows as loaded: the renderer's unless the image is taken as reversed.
        (i == 0   ? c.mCalibracionY1
         : i == 1 ? c.mCalibracionY2
                  : c.mCalibracionY3) = c.gImagenInvertida == 1 ? field.height + 1 - y : y;
    }

    CatalogueProgram p;
    Context& c = p.c;
    CalibrationForm form;
    db::FieldGeometry field{83.8, -5.4, 3.0, 30, 1200, 900, false};
};

TEST_F(CalibrationEntries, IdentifiersOfTheRegionFormAndOfCataloguesTheDatabaseLacks) {
    c.gBaseDatos = 1;
    c.gIdsFormatoGSC = true;
    EXPECT_EQ(Id("158 254"), 15800254);
    EXPECT_EQ(Id("  4493 162 "), 449300162);
    EXPECT_EQ(Id("158254"), 0);
    EXPECT_TRUE(
        Told("The region number and the star number must be separated by a space. No calibration done."));
    EXPECT_EQ(Id("12"), 0);
    EXPECT_TRUE(Told("The star A number is not valid. No calibration done."));
    EXPECT_EQ(Id("1234567890123456789"), 0);
    EXPECT_EQ(Id("158 x54"), 0);
    for (const char* known : {"HR 1025", "TYC 9357-1011", "AC 4407705", "U2 0075.00352056"}) {
        p.platform.messages.clear();
        EXPECT_EQ(Id(known), 0) << known;
        ASSERT_EQ(p.platform.messages.size(), 1u) << known;
        EXPECT_NE(p.platform.messages[0].find("The database holds no"), std::string::npos) << known;
        EXPECT_NE(p.platform.messages[0].find("158 254"), std::string::npos) << known;
    }
    // A database numbered by USNO zones takes the zone form, in either case, and nothing else.
    c.gIdsFormatoGSC = false;
    EXPECT_EQ(Id("U2 0075.00352056"), ZonaUSNO_A_Numero(75, 352056));
    EXPECT_EQ(Id("u2 0150.00000001"), ZonaUSNO_A_Numero(150, 1));
    EXPECT_EQ(Id("U2 0076.00000001"), 0);  // not a zone of the table
    EXPECT_EQ(Id("158 254"), 0);
    EXPECT_EQ(Id("U2 0075-352056"), 0);
    p.platform.messages.clear();
    EXPECT_EQ(Id("HR 1025"), 0);
    EXPECT_NE(p.platform.messages.at(0).find("U2 0075.00352056"), std::string::npos);
}

TEST_F(CalibrationEntries, StarNumbersAreLookedUpInTheStarFile) {
    ASSERT_TRUE(p.UseDatabaseOne(kStars));
    form.coordenadas = false;
    form.numero = {"158 254", "160 3", ""};
    std::array<CalibrationStar, 3> stars{};
    std::string control;
    ASSERT_TRUE(EntradasDeEstrellasOK(c, form, stars, control));
    EXPECT_DOUBLE_EQ(stars[0].ra, 10.25);
    EXPECT_DOUBLE_EQ(stars[0].dec, -20.5);
    EXPECT_DOUBLE_EQ(stars[1].ra, 123.456789);
    EXPECT_TRUE(control.empty());
    EXPECT_TRUE(p.platform.messages.empty());
    // The third star is asked only by the three-star form; one missing is told by its text.
    form.tresEstrellas = true;
    form.numero[2] = "158 255";
    EXPECT_FALSE(EntradasDeEstrellasOK(c, form, stars, control));
    EXPECT_EQ(control, "VeoEstrellaC");
    EXPECT_EQ(p.platform.messages, std::vector<std::string>{"Star not found 158 255"});
    form.numero[1] = "HR 1";
    EXPECT_FALSE(EntradasDeEstrellasOK(c, form, stars, control));
    EXPECT_EQ(control, "VeoEstrellaB");
}

TEST_F(CalibrationEntries, TypedCoordinatesAndPixelSizes) {
    form.coordenada[0] = {"5", "35", "17.3", "-5", "23", "28"};
    form.coordenada[1] = {"0", "0", "0", "-0", "30", "0"};
    std::array<CalibrationStar, 3> stars{};
    std::string control;
    ASSERT_TRUE(EntradasDeCoordenadasOK(c, form, stars, control));
    EXPECT_NEAR(stars[0].ra, 15 * (5 + 35 / 60.0 + 17.3 / 3600), 1e-9);
    EXPECT_NEAR(stars[0].dec, -(5 + 23 / 60.0 + 28 / 3600.0), 1e-9);
    EXPECT_DOUBLE_EQ(stars[1].dec, -0.5);
    // Each bad field is refused with the focus on it, and only the first is told.
    const std::pair<int, std::string> bad[] = {{0, "24"}, {1, "60"},   {2, "x"},
                                               {3, "91"}, {3, "45.5"}, {5, ""}};
    for (const auto& [which, text] : bad) {
        CalibrationForm f = form;
        f.coordenada[1][static_cast<size_t>(which)] = text;
        p.platform.messages.clear();
        EXPECT_FALSE(EntradasDeCoordenadasOK(c, f, stars, control)) << text;
        EXPECT_EQ(control, CoordinateControl(1, which));
        EXPECT_EQ(p.platform.messages, std::vector<std::string>{"Invalid value"});
    }
    CalibrationForm f = form;
    f.coordenada[1] = {"0", "0", "0", "90", "0", "1"};
    EXPECT_FALSE(EntradasDeCoordenadasOK(c, f, stars, control));
    EXPECT_EQ(control, "VeoEstrellaBga");

    EXPECT_EQ(PixelAspect(c, form, control), 1.0);
    form.cuadrado = false;
    form.anchoPixel = "9", form.altoPixel = "4,5";
    EXPECT_EQ(PixelAspect(c, form, control), 2.0);
    for (auto [w, h] : {std::pair{"9", "0"}, std::pair{"40", "5"}, std::pair{"", "5"}}) {
        form.anchoPixel = w, form.altoPixel = h;
        p.platform.messages.clear();
        EXPECT_FALSE(PixelAspect(c, form, control));
        EXPECT_EQ(p.platform.messages, std::vector<std::string>{"Not reasonable values"});
    }
    EXPECT_EQ(control, "VeoAnchoPixel");
}

TEST_F(CalibrationEntries, AClickPicksTheSelectedStarWithinFivePixels) {
    c.mNumSeleccionadas = 2;
    c.mSeleccionadas[1] = {300, 200, 50};
    c.mSeleccionadas[2] = {700, 650, 40};
    // Stars are shown one pixel left of their position.
    const auto picked = EstrellaClick(c, "b", 702.5, 646);
    ASSERT_TRUE(picked);
    EXPECT_EQ(picked->x, 700);
    EXPECT_EQ(c.mCalibracionX2, 700);
    EXPECT_EQ(c.mCalibracionY2, 650);
    EXPECT_FALSE(EstrellaClick(c, "a", 305, 200));
    EXPECT_TRUE(Told("There is no selected star near the click."));
    EXPECT_EQ(c.mCalibracionX1, 0);
    EXPECT_EQ(c.mCalibracionX2, 700);
    ASSERT_TRUE(EstrellaClick(c, "c", 299, 200));
    EXPECT_EQ(c.mCalibracionX3, 300);
}

TEST_F(CalibrationEntries, AFormCalibratesAndSavesScaleAngleAndMirror) {
    c.gImagenInvertida = 0;
    Star(0, 200, 150);
    Star(1, 1000, 700);
    StarCalibration k;
    std::string control;
    ASSERT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionHecha);
    EXPECT_NEAR(k.segundosPorPixelX, 3.0, 0.01);
    EXPECT_LT(std::fabs(std::remainder(k.mAnguloCamara - 30, 360.0)), 0.1);
    EXPECT_FALSE(c.parametersChanged);
    GuardaCalibracion(c, k, false);
    EXPECT_TRUE(c.parametersChanged);
    EXPECT_EQ(c.gFocalEnPixeles, k.mFocal);
    EXPECT_NEAR(c.gSegundosPorPixelX, 3.0, 0.01);
    EXPECT_DOUBLE_EQ(c.gGradosPorPixel, c.gSegundosPorPixelX / 3600);
    EXPECT_DOUBLE_EQ(c.gAnguloImagen, k.mAnguloCamara);

    // Three stars of a mirrored field: the mirror is found and saved, with rectangular pixels.
    field.mirror = true;
    form.tresEstrellas = true;
    form.cuadrado = false;
    form.anchoPixel = form.altoPixel = "6";
    Star(0, 200, 150);
    Star(1, 1000, 700);
    Star(2, 900, 100);
    ASSERT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionHecha);
    EXPECT_EQ(k.mInvertida, 1);
    // Read with its rows the other way, the mirrored field turned by 30 degrees shows north at 150.
    EXPECT_LT(std::fabs(std::remainder(k.mAnguloCamara - 150, 360.0)), 0.1);
    GuardaCalibracion(c, k, true);
    EXPECT_EQ(c.gImagenInvertida, 1);
    // With the setting already right, the same stars picked on the rows as it loads them give the same
    // answer.
    Star(0, 200, 150);
    Star(1, 1000, 700);
    Star(2, 900, 100);
    ASSERT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionHecha);
    EXPECT_EQ(k.mInvertida, 1);
    EXPECT_LT(std::fabs(std::remainder(k.mAnguloCamara - 150, 360.0)), 0.1);
    // And a field that is not mirrored, with the setting wrong, is told so, at its own angle.
    field.mirror = false;
    Star(0, 200, 150);
    Star(1, 1000, 700);
    Star(2, 900, 100);
    ASSERT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionHecha);
    EXPECT_EQ(k.mInvertida, 0);
    EXPECT_LT(std::fabs(std::remainder(k.mAnguloCamara - 30, 360.0)), 0.1);
}

TEST_F(CalibrationEntries, ARefusedFormChangesNothing) {
    Star(0, 200, 150);
    Star(1, 1000, 700);
    c.mCalibracionX2 = c.mCalibracionY2 = 0;
    StarCalibration k;
    k.mFocal = 1234;
    std::string control;
    EXPECT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionError);
    EXPECT_TRUE(Told("Star B is not marked on the image: pick it with the right mouse button."));
    Star(1, 1000, 700);
    form.coordenada[1][0] = "25";
    EXPECT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionError);
    EXPECT_EQ(control, "VeoEstrellaBh");
    // Two stars too close on the sky.
    Star(1, 230, 150);
    EXPECT_EQ(CalibraFormulario(c, form, k, 1200, 900, control), kCalibracionEstrellasCercanas);
    EXPECT_EQ(k.mFocal, 1234);
    GuardaCalibracion(c, StarCalibration{}, false);
    EXPECT_FALSE(c.parametersChanged);
}

}  // namespace
}  // namespace tornel
