// The analysis run: its close, the stop, the search centre, the rectangle, square pixels and the
// choice of image.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "comun/clock.h"
#include "comun/errors.h"
#include "core/analisis.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "core/timers.h"
#include "imagen/imagen.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TestProgram;

struct Run : ::testing::Test {
    TestProgram p;
    Context& c = p.c;
    void SetUp() override {
        ParametrosPorDefecto(c);
        c.gCarpetaMensajes = p.home.MakeFolder("mail");
        InicializaVariables(c);
    }
};

TEST_F(Run, WithoutDatabasesEndsBeforeAnyImageIsRead) {
    c.gBasesOK = false;
    // What a client last read of an earlier solution stays as it was.
    p.home.Write("mail/tornel.sta", "an earlier status\r\n");
    p.home.Write("mail/tornel.pos", "an earlier position\r\n");
    AnalisisGeneral(c);
    EXPECT_EQ(p.home.Read("mail/tornel.sta"), "an earlier status\r\n");
    EXPECT_EQ(p.home.Read("mail/tornel.pos"), "an earlier position\r\n");
    EXPECT_EQ(c.gUltimoError, "");
    EXPECT_TRUE(p.platform.SummaryHas("DataBase not found or folder not found."));
    EXPECT_EQ(p.platform.labels[1], "DataBase not found or folder not found.");
    // The run stopped on its own, not by a failed stage: no "Position not found.".
    EXPECT_EQ(p.platform.LastLabel(), "DataBase not found or folder not found.");
    EXPECT_FALSE(p.platform.SummaryHas("Image not loaded."));
    EXPECT_FALSE(c.gAnalizando);
    EXPECT_FALSE(c.mFinAnalisis);
    EXPECT_FALSE(c.timers.TimerEventos.Enabled);
}

TEST_F(Run, SpanishWithoutDatabases) {
    c.gIdioma = 1;
    c.gBasesOK = false;
    AnalisisGeneral(c);
    EXPECT_TRUE(p.platform.SummaryHas("Faltan carpetas o ficheros."));
}

TEST_F(Run, FailedStageClosesAsPositionNotFound) {
    c.gBasesOK = true;
    bool ended = false;
    c.events.AvisoTerminado = [&] { ended = true; };
    // An earlier solution's stars must not reach the WCS of this one.
    c.gHaySolucion = true;
    c.matchedStars = {{10, 20, 30, 40}};
    AnalisisGeneral(c);
    EXPECT_EQ(p.platform.LastLabel(), "Position not found.");
    EXPECT_FALSE(c.mFinAnalisis);
    EXPECT_FALSE(c.gAnalizando);
    EXPECT_FALSE(c.gHaySolucion);
    EXPECT_TRUE(c.matchedStars.empty());
    EXPECT_TRUE(ended);
    ASSERT_GE(p.platform.summary.size(), 2u);
    EXPECT_EQ(p.platform.summary[p.platform.summary.size() - 2].rfind("Ended: ", 0), 0u);
    EXPECT_EQ(p.platform.summary.back().rfind("Elapsed time: ", 0), 0u);
}

TEST_F(Run, StopRequestReachesTheClose) {
    c.gBasesOK = true;
    // One stop asked while the run yields, as the automation object or a signal would.
    bool asked = false;
    p.platform.onDoEvents = [&] {
        if (c.gAnalizando && !asked) c.gDetenerAnalisis = asked = true;
    };
    AnalisisGeneral(c);
    auto& labels = p.platform.labels;
    EXPECT_NE(std::find(labels.begin(), labels.end(), "Search interrupted by the user."), labels.end());
    EXPECT_EQ(p.platform.LastLabel(), "Position not found.");
    EXPECT_FALSE(c.gDetenerAnalisis);
    EXPECT_FALSE(c.gAnalizando);
}

TEST_F(Run, FlagUpOnEntryMakesTheRunDoNothing) {
    c.gBasesOK = false;
    c.mFinAnalisis = true;
    AnalizaImagen(c);
    EXPECT_TRUE(p.platform.summary.empty());
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_FALSE(c.gAnalizando);
}

TEST_F(Run, StartersDoNotEnterARunningAnalysis) {
    c.gAnalizando = true;
    CommandoAnalizar_Click(c);
    EXPECT_FALSE(c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled);
    c.timers.TimerAnalizaEnZonaGeneral.Enabled = true;
    TimerAnalizaEnZonaGeneral_Timer(c);
    EXPECT_FALSE(c.timers.TimerAnalizaEnZonaGeneral.Enabled);
    EXPECT_TRUE(p.platform.summary.empty());
    c.gAnalizando = false;
    CommandoAnalizar_Click(c);
    EXPECT_TRUE(c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled);
}

TEST_F(Run, StopLabelOnlyStopsASearch) {
    LabelResultado_Click(c);
    EXPECT_FALSE(c.gDetenerAnalisis);
    c.mTextoLabelResultado = "Stop";
    c.mTituloActual = "TORNEL - ";
    LabelResultado_Click(c);
    EXPECT_TRUE(c.gDetenerAnalisis);
    EXPECT_EQ(p.platform.LastLabel(), "Interrupted");
    EXPECT_EQ(p.platform.titles.back(), "TORNEL - Interrupted by user.");
}

TEST_F(Run, FrenchStopsWithTheEnglishWord) {
    c.gIdioma = 2;
    c.gBasesOK = true;
    c.timers.TimerExtraer.Enabled = true;
    TimerExtraer_Timer(c);
    auto& labels = p.platform.labels;
    EXPECT_NE(std::find(labels.begin(), labels.end(), "Stop"), labels.end());
    c.mTextoLabelResultado = "Stop";
    c.mTituloActual = "TORNEL - ";
    LabelResultado_Click(c);
    EXPECT_TRUE(c.gDetenerAnalisis);
    EXPECT_EQ(p.platform.LastLabel(), "Interrompu");
    EXPECT_EQ(p.platform.titles.back(), "TORNEL - Interrompu par l'opérateur.");
    // Spanish has its own word, and the English one does nothing there.
    c.gIdioma = 1;
    c.gDetenerAnalisis = false;
    LabelResultado_Click(c);
    EXPECT_FALSE(c.gDetenerAnalisis);
    c.mTextoLabelResultado = "Detener";
    LabelResultado_Click(c);
    EXPECT_TRUE(c.gDetenerAnalisis);
}

TEST_F(Run, AnalyseAndEndRunsOnceAndAsksTheProgramToEnd) {
    c.gBasesOK = false;
    c.timers.TimerAnalizaYsale.Enabled = true;
    TimerAnalizaYsale_Timer(c);
    EXPECT_FALSE(c.timers.TimerAnalizaYsale.Enabled);
    EXPECT_TRUE(c.mProgramaTerminado);
    EXPECT_TRUE(p.platform.SummaryHas("DataBase not found or folder not found."));
}

TEST_F(Run, TimeEventCountsWholeSecondsAcrossMidnight) {
    using namespace std::chrono;
    int seconds = -1;
    c.events.AvisoTiempo = [&](int s) { seconds = s; };
    auto base = system_clock::now();
    p.platform.now = [&] { return base; };
    c.gInicioAnalisis = Ahora(c) - 12.5;
    TimerEventos_Timer(c);
    EXPECT_EQ(seconds, 12);                      // ties to even
    c.gInicioAnalisis = Ahora(c) + 86400 - 3.4;  // started "before midnight"
    TimerEventos_Timer(c);
    EXPECT_EQ(seconds, 3);
}

struct Centre : Run {
    void SetUp() override {
        Run::SetUp();
        c.gCentroCombosRA = 10;
        c.gCentroCombosDEC = 20;
    }
};

TEST_F(Centre, ScriptCentreComesFirst) {
    c.gCoordenadasScript = true;
    c.gCentroBusquedaRA = 1;
    c.gCentroBusquedaDEC = 2;
    c.gAnalizaYsale = true;
    c.gCentroComandoRA = 50;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_EQ(p.platform.summary, (std::vector<std::string>{"Searching coordinates from the script file:",
                                                            "RA = 1.000 DEC = 2.000"}));
}

TEST_F(Centre, CommandLineCentreOnlyWhenAnalysingAndEnding) {
    c.gCentroComandoRA = 83.82;
    c.gCentroComandoDEC = -5.39;
    c.gOrigenCoordenadas = 0;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 10);
    c.gAnalizaYsale = true;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 83.82);
    EXPECT_EQ(p.platform.summary.back(), "RA = 83.820 DEC = -5.390");
    EXPECT_TRUE(p.platform.SummaryHas("Searching coordinates in the message:"));
    // A command-line RA below 0 means none: the normal order applies.
    c.gCentroComandoRA = -100;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 10);
}

TEST_F(Centre, MessageCentreInTheWaitForMessageMode) {
    c.gOrigenImagen = 5;
    c.gOrigenCoordenadas = 4;
    c.gCentroMensajeRA = 300;
    c.gCentroMensajeDEC = -45;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 300);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaDEC, -45);
    // Outside that mode the message source falls to the combos.
    c.gOrigenImagen = 0;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 10);
    EXPECT_EQ(p.platform.summary[p.platform.summary.size() - 2], "Searching coordinates in combos.");
}

TEST_F(Centre, FitsHeaderCentreOrItsAbsence) {
    c.gTipoImagen = "fit";
    c.gOrigenCoordenadas = 1;
    c.gCentroFitRA = 83.8;
    c.gCentroFitDEC90 = 84.6;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 83.8);
    EXPECT_NEAR(c.gCentroBusquedaDEC, -5.4, 1e-12);
    EXPECT_FALSE(c.mFinAnalisis);

    c.gCentroFitRA = -1;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(c.gUltimoError, "FITS header without coordinates.");
    EXPECT_EQ(p.platform.summary.back(), "FITS header without object coordinates.");
    EXPECT_EQ(p.platform.titles.back(), "FITS header without coordinates. Change the option.");
}

TEST_F(Centre, FitsHeaderSourceWithAPictureFallsToTheCombos) {
    c.gTipoImagen = "bmp";
    c.gOrigenCoordenadas = 1;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_FALSE(c.mFinAnalisis);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaDEC, 20);
}

TEST_F(Centre, LinksThatDoNotAnswerEndTheAnalysis) {
    c.gOrigenCoordenadas = 2;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(c.gUltimoError, "No answer from Cartes du Ciel.");

    c.mFinAnalisis = false;
    c.gOrigenCoordenadas = 5;
    c.gTelescopioAscom.clear();
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(c.gUltimoError, "You must choose an ASCOM driver for your telescope.");
    EXPECT_EQ(p.platform.messages.back(),
              "You must choose an ASCOM driver for your telescope at the option 'Others', 'Choose an ASCOM "
              "telescope...'");
}

TEST_F(Centre, ReceivedCentreInFrench) {
    c.gIdioma = 2;
    c.gOrigenCoordenadas = 3;
    c.mCentroDDERA = 1.23456;
    c.mCentroDDEDEC = -0.0004;
    DeterminaCoordenadasDeBusqueda(c);
    EXPECT_EQ(p.platform.summary.back(), "AD = 1.235 DE = -0.000");
}

struct Rectangle : Run {
    void SetUp() override {
        Run::SetUp();
        c.gPixelesX = 1000;
        c.gPixelesY = 800;
        c.gGradosPorPixel = 0.0001;  // 0.1 x 0.08 degrees
        c.gLadoMaximoGrados = 0.5;
    }
};

TEST_F(Rectangle, FullImageStaysFullWhenSmallEnough) {
    DeterminaRectanguloDeAnalisis(c);
    EXPECT_EQ(c.gAreaImagen, 0);
    EXPECT_EQ(std::vector<int>({c.gXMin, c.gXMax, c.gYMin, c.gYMax}), std::vector<int>({1, 1000, 1, 800}));
}

TEST_F(Rectangle, WideFieldShrinksToItsCentre) {
    c.gGradosPorPixel = 0.001;  // 1 x 0.8 degrees
    DeterminaRectanguloDeAnalisis(c);
    EXPECT_EQ(c.gAreaImagen, 1);
    EXPECT_EQ(std::vector<int>({c.gXMin, c.gXMax, c.gYMin, c.gYMax}), std::vector<int>({250, 750, 150, 650}));
    EXPECT_EQ(c.mTextoRectangulo, "xMin= 250   xMax= 750   yMin= 150   yMax= 650");
    // An extraction alone keeps the whole image.
    c.gAreaImagen = 0;
    c.mSoloExtraer = true;
    DeterminaRectanguloDeAnalisis(c);
    EXPECT_EQ(c.gXMax, 1000);
}

TEST_F(Rectangle, UserRectangleIsOrderedClampedOrDropped) {
    c.gAreaImagen = 2;
    c.mRectanguloX1 = 900;
    c.mRectanguloX2 = -5;
    c.mRectanguloY1 = 700;
    c.mRectanguloY2 = 900;
    DeterminaRectanguloDeAnalisis(c);
    EXPECT_EQ(std::vector<int>({c.gXMin, c.gXMax, c.gYMin, c.gYMax}), std::vector<int>({1, 900, 700, 800}));
    EXPECT_EQ(c.gAreaImagen, 2);

    c.mRectanguloY1 = 790;  // 10 pixels high: the whole image
    DeterminaRectanguloDeAnalisis(c);
    EXPECT_EQ(c.gAreaImagen, 0);
    EXPECT_EQ(c.gYMin, 1);

    // The rectangle of a message serves in the wait-for-message mode.
    c.gOrigenImagen = 5;
    c.gAreaImagen = 1;
    c.mMensajeX1 = 100, c.mMensajeX2 = 200, c.mMensajeY1 = 300, c.mMensajeY2 = 400;
    DeterminaRectanguloDeAnalisis(c);
    EXPECT_EQ(std::vector<int>({c.gXMin, c.gXMax, c.gYMin, c.gYMax}), std::vector<int>({100, 200, 300, 400}));
}

TEST_F(Run, SquarePixelsDivideYByTheRatio) {
    c.gPixelesX = 640;
    c.gPixelesY = 480;
    c.gRelacionPixel = 2;
    c.gMinutosPorPixel = 0.1;
    c.mEstrellas.assign(4, {});
    c.mEstrellas[1] = {10, 20, 300};
    c.mEstrellas[2] = {30, 40, 200};
    c.mNumCandidatas = 2;
    c.mSeleccionadasVisu[1] = {10, 20, 300};
    c.mNumSeleccionadas = 1;
    CuadraPixeles(c);
    EXPECT_DOUBLE_EQ(c.mEstrellasCuadradas[2].y, 20);
    EXPECT_DOUBLE_EQ(c.mSeleccionadasCuadradas[1].y, 10);
    EXPECT_DOUBLE_EQ(c.gAltoImagen, 240);
    EXPECT_EQ(p.platform.summary.back(), "Size: 64.0x24.0 arc minutes.");

    c.mNumSeleccionadas = 11;
    CuadraPixeles(c);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(p.platform.messages.back(), "Error 9 Subscript out of range CuadraPixeles");
}

TEST_F(Run, MostRecentImageOfTheFolder) {
    namespace fs = std::filesystem;
    auto old = p.home.Write("mail/a.FIT", "x");
    auto newest = p.home.Write("mail/b.jpg", "x");
    auto notImage = p.home.Write("mail/c.txt", "x");
    auto now = fs::file_time_type::clock::now();
    fs::last_write_time(old, now - std::chrono::hours(2));
    fs::last_write_time(newest, now - std::chrono::hours(1));
    fs::last_write_time(notImage, now);
    EXPECT_EQ(ImagenMasReciente(c), newest);

    c.gCarpetaMensajes = p.home.File("absent/");
    EXPECT_EQ(ImagenMasReciente(c), "");
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(p.platform.messages.back(), "The image folder " + c.gCarpetaMensajes + " does not exist.");
    EXPECT_EQ(p.platform.summary.back(), "Image folder not found.");
}

TEST_F(Run, MostRecentOriginWithAnEmptyFolderEndsQuietly) {
    c.gBasesOK = true;
    c.gOrigenImagen = 2;
    AnalisisGeneral(c);
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_EQ(p.platform.LastLabel(), "Position not found.");
}

TEST_F(Run, ImagePathOfTheLatestMessage) {
    namespace fs = std::filesystem;
    auto image = p.home.Write("img/m42.fit", "x");
    EXPECT_EQ(ObtieneRutaImagenDelMensaje(c), "");
    auto txt = p.home.Write("mail/tornel.txt", "Image file path\r\n" + image + "\r\n");
    EXPECT_EQ(ObtieneRutaImagenDelMensaje(c), image);
    auto other = p.home.Write("img/m43.fit", "x");
    auto men = p.home.Write("mail/tornel.men", "RUTA DEL FICHERO IMAGEN\r\n" + other + "\r\n");
    auto now = fs::file_time_type::clock::now();
    fs::last_write_time(txt, now - std::chrono::seconds(5));
    fs::last_write_time(men, now);
    EXPECT_EQ(ObtieneRutaImagenDelMensaje(c), other);
    // Equal dates: the .txt message.
    fs::last_write_time(txt, now);
    EXPECT_EQ(ObtieneRutaImagenDelMensaje(c), image);

    c.gOrigenImagen = 1;
    EXPECT_EQ(ObtieneRutaDeLaImagen(c), image);
    EXPECT_EQ(c.gRutaImagen, image);
    EXPECT_EQ(p.platform.titles.back(), "TORNEL - " + image + " - ");
    p.home.Write("mail/tornel.txt", "GET language\r\n");
    p.home.Write("mail/tornel.men", "GET language\r\n");
    EXPECT_EQ(ObtieneRutaDeLaImagen(c), "");
    EXPECT_EQ(p.platform.messages.back(), "No message or the image file of the message does not exist.");
}

TEST_F(Run, TrapReportsStopsTheRunAndRestoresTheTitle) {
    c.mTitulo = "TORNEL - m39.fit - ";
    bool finished = WithTrap(c, "AnalisisFinal", [] { Raise(kErrDivisionByZero); });
    EXPECT_FALSE(finished);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(p.platform.messages.back(), "Error 11 Division by zero AnalisisFinal");
    EXPECT_EQ(p.platform.titles.back(), "TORNEL - m39.fit - ");

    c.gMostrarAvisos = false;
    c.mFinAnalisis = false;
    WithTrap(c, "Other", [] { throw std::bad_alloc(); });
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_EQ(p.platform.messages.size(), 1u);
}

}  // namespace
}  // namespace tornel
