// The four routines of three-language text, the summary and its log, the configuration report.
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

#include "core/parametros.h"
#include "resultados/resumen.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TestProgram;

TEST(Summary, EachLanguageTakesItsText) {
    for (auto [idioma, expected] : {std::pair{0, "en"}, std::pair{1, "es"}, std::pair{2, "fr"},
                                    std::pair{3, "en"}, std::pair{-1, "en"}}) {
        TestProgram p;
        p.c.gIdioma = idioma;
        ParaResumen(p.c, "es", "fr", "en");
        LabelResul(p.c, "es", "fr", "en");
        VisuTitulo(p.c, "es", "fr", "en");
        EXPECT_EQ(p.c.mResumen, std::string(expected) + "\r\n");
        EXPECT_EQ(p.platform.LastLabel(), expected);
        EXPECT_EQ(p.platform.titles.back(), expected);
    }
}

TEST(Summary, RoutinesYieldExceptTheCombinedOne) {
    TestProgram p;
    ParaResumen(p.c, "a", "a", "a");
    LabelResul(p.c, "b", "b", "b");
    VisuTitulo(p.c, "c", "c", "c");
    EXPECT_EQ(p.platform.doEventsCalls, 3);
    AvisoResulYresumen(p.c, "d", "d", "d");
    EXPECT_EQ(p.platform.doEventsCalls, 3);
    EXPECT_EQ(p.c.mResumen, "a\r\nd\r\n");
    EXPECT_EQ(p.platform.LastLabel(), "d");
}

TEST(Summary, WarningBoxesFollowTheParameter) {
    TestProgram p;
    p.c.gMostrarAvisos = false;
    AvisoIdioma(p.c, "es", "fr", "en");
    EXPECT_TRUE(p.platform.messages.empty());
    MensajeIdioma(p.c, "es", "fr", "en");
    p.c.gMostrarAvisos = true;
    AvisoIdioma(p.c, "es", "fr", "en");
    EXPECT_EQ(p.platform.messages, (std::vector<std::string>{"en", "en"}));
}

TEST(Summary, SavedInOneWriteAndTheLogNamedByTheClock) {
    TestProgram p;
    ParaResumen(p.c, "line one");
    ParaResumen(p.c, "line two");
    EXPECT_TRUE(SalvaResumen(p.c, p.home.File("summary.log")));
    EXPECT_EQ(p.home.Read("summary.log"), "line one\r\nline two\r\n");
    EXPECT_FALSE(SalvaResumen(p.c, p.home.File("absent/summary.log")));
    EXPECT_TRUE(p.platform.messages.empty());

    std::tm tm{};
    tm.tm_year = 2026 - 1900, tm.tm_mon = 10, tm.tm_mday = 22, tm.tm_hour = 9, tm.tm_min = 5, tm.tm_sec = 7;
    tm.tm_isdst = -1;
    auto when = std::chrono::system_clock::from_time_t(std::mktime(&tm));
    p.platform.now = [&] { return when; };
    EXPECT_EQ(NombreFicheroLog(p.c), "tornel_20261122_09_05_07.log");

    p.c.gCarpetaMensajes = p.home.MakeFolder("mail");
    EXPECT_TRUE(CommandoGrabarLog_Click(p.c, "text"));
    EXPECT_EQ(p.home.Read("mail/tornel_20261122_09_05_07.log"), "text");
    p.c.gCarpetaMensajes = p.home.File("absent/");
    EXPECT_FALSE(CommandoGrabarLog_Click(p.c, "text"));
    EXPECT_EQ(p.platform.messages.back(), "Error 76 Path not found CommandoGrabarLog_Click");
}

TEST(ConfigurationReport, FollowsTheParametersInEachLanguage) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    p.c.gOrigenImagen = 5;
    p.c.gAreaImagen = 2;
    p.c.gImagenInvertida = 1;
    p.c.gUmbralAutomatico = 1;
    p.c.gZonaCielo = 1;
    p.c.gTipoVentana = 3;
    p.c.gAnchoVentana = 4;
    p.c.gAltoVentana = 6;
    p.c.gTelescopioSincro = 1;
    p.c.gSincroAutomatica = 1;
    p.c.gWCSAutomatico = 1;
    std::string en = InformeConfiguracion(p.c);
    EXPECT_EQ(
        en,
        "CONFIGURATION\nIMAGE ORIGIN:\nMode: Wait for message\nDisplay error messages = Yes\nEXTRACTION:\n"
        "Analyze outside the rectangle\nThe image is reversed\nAutomatic thershold\nWanted stars: 10\n"
        "Maximal perimeter: 100\nDATABASE SEARCH:\nSearch in a 4x6d window for dual image angle\n"
        "Coordinates from FITS header\nStop searching when more than 20 sides\n"
        "Search distances within +/- 2 % range\nAcepted inclination range +/- 1 degrees\n"
        "Image angle 0.00 degrees\n1.540 arc sec per pixel\nSYNCHRONIZE:\nSynchronize ASCOM scope\n"
        "Synchronize automatically when solution with more than 20 sides\n"
        "Synchronize with equinox 2000 coordinates\nAdd WCS automatically when solution with more than 20 "
        "sides\n");
    p.c.gIdioma = 1;
    std::string es = InformeConfiguracion(p.c);
    EXPECT_EQ(es.substr(0, es.find('\n')), "CONFIGURACION ACTUAL");
    EXPECT_NE(es.find("Añadir automáticamente WCS si solución con más de 20 lados"), std::string::npos);
    p.c.gIdioma = 2;
    EXPECT_NE(InformeConfiguracion(p.c).find("Mode: Attendre un message"), std::string::npos);

    // An any-angle search does not report the fixed angle and scale.
    p.c.gIdioma = 0;
    p.c.gTipoVentana = 1;
    std::string anyAngle = InformeConfiguracion(p.c);
    EXPECT_NE(anyAngle.find("Search in a 2x2 d window any angle"), std::string::npos);
    EXPECT_EQ(anyAngle.find("Image angle"), std::string::npos);
}

}  // namespace
}  // namespace tornel
