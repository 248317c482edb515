// The mailbox tick over real files: which message is new, the four kinds of message, the answers in
// tornel.sta, files still being written, the wait for images, and the ways in and out of the waits.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "automatizacion/mensajes.h"
#include "core/analisis.h"
#include "core/parametros.h"
#include "tests/automatizacion/mailbox_program.h"

namespace tornel {
namespace {

using testing::MailboxProgram;
using testing::SetAge;
using testing::SetStamp;

TEST(Mailbox, CommandMessagesAnswerThroughTheStatus) {
    MailboxProgram p;
    std::string path = p.Commands({"SET   skyZone", "4", "GET   language", "", "GET   mode", "ignored"});
    int64_t writes = p.c.statusWrites;
    p.Tick();
    // Each GET writes the status with its own answer; the second write keeps only the second.
    EXPECT_EQ(p.c.statusWrites, writes + 2);
    EXPECT_EQ(p.Status()[8], "command= GET   mode");
    EXPECT_EQ(p.Status()[9], "  value= 5");
    EXPECT_EQ(p.c.gZonaCielo, 4);
    EXPECT_EQ(p.c.gUltimaFechaBuzon, FileStamp(path));
    // The same file is not new on the next tick.
    p.Tick();
    EXPECT_EQ(p.c.statusWrites, writes + 2);
}

TEST(Mailbox, FailedCommandMessagesAreTold) {
    MailboxProgram p;
    p.Commands({"SET   skyZone"}, 40);  // three lines
    p.Tick();
    EXPECT_TRUE(p.platform.HasMessage("There is an error in the message file tornel.txt."));
    EXPECT_TRUE(p.platform.SummaryHas("There is an error in the message file tornel.txt."));
    EXPECT_EQ(p.Status()[8], "command= ");

    p.Commands({"SET   skyZone", "8", "SET   fooBar  a remark", "1", "SET   skyZone", "9"}, 30);
    p.Tick();
    EXPECT_EQ(p.Status()[8], "command= SET   fooBar  a remark = is not a code name");
    EXPECT_EQ(p.c.gZonaCielo, 8);  // what came before the failure stands, nothing after it runs

    // A file of no known kind is read again on every tick and never answered.
    double handled = p.c.gUltimaFechaBuzon;
    int64_t writes = p.c.statusWrites;
    p.Message({"hello", "world"}, 10);
    p.Tick();
    p.Tick();
    EXPECT_EQ(p.c.gUltimaFechaBuzon, handled);
    EXPECT_EQ(p.c.statusWrites, writes);
    EXPECT_EQ(p.platform.messages.size(), 2u);
}

TEST(Mailbox, OnlyTheLastExecuteRunsAfterTheFile) {
    MailboxProgram p;
    p.Commands({"EXE   analyze", "", "EXE   synchronize", ""}, 30);
    p.Tick();
    EXPECT_EQ(p.c.mResumen, "");  // no analysis
    EXPECT_EQ(p.Status()[8], "command= EXE   synchronize");
    p.Commands({"EXE   analyze", ""}, 20);
    p.Tick();
    EXPECT_TRUE(p.platform.SummaryHas("DataBase not found or folder not found."));
    EXPECT_TRUE(p.c.timers.TimerBuzon.Enabled);
    // Zone 3 is not analysed from a message.
    p.c.mResumen.clear();
    p.c.gZonaCielo = 3;
    p.Commands({"EXE   analyze", ""}, 10);
    p.Tick();
    EXPECT_EQ(p.c.mResumen, "");
}

TEST(Mailbox, ExitCommandEndsAtOnce) {
    MailboxProgram p;
    p.Commands({"SET   selectedStars", "9", "EXE   exitTornel", ""});
    int64_t writes = p.c.statusWrites;
    p.Tick();
    EXPECT_EQ(p.c.gEstrellasSeleccionar, 9);
    EXPECT_TRUE(p.c.mProgramaTerminado);
    EXPECT_TRUE(p.c.endWithoutClosing);
    // Nothing answers for a program that has gone, and the mailbox is no longer watched.
    EXPECT_EQ(p.c.statusWrites, writes);
    EXPECT_FALSE(p.c.timers.TimerBuzon.Enabled);
    EXPECT_FALSE(FileExists(RutaParametros(p.c)));
}

TEST(Mailbox, ModeCommandStopsTheWait) {
    MailboxProgram p;
    p.Commands({"EXE   mode", "3"}, 20);
    p.Tick();
    EXPECT_FALSE(p.c.timers.TimerBuzon.Enabled);
    std::vector<std::string> sta = p.Status();
    EXPECT_NE(sta[0].find(" mode=03 "), std::string::npos);
    EXPECT_EQ(sta[1], "not implemented mode. waiting ...");
}

TEST(Mailbox, ImageAndParameterMessages) {
    MailboxProgram p;
    p.Message(
        {"image file path", "/data/m42.fit", "coordinates in the header", "0", "RA", "83,82", "DEC", "-5.39"},
        50);
    p.Tick();
    EXPECT_EQ(p.c.gRutaImagen, "/data/m42.fit");
    EXPECT_EQ(p.c.gOrigenCoordenadas, 4);
    EXPECT_DOUBLE_EQ(p.c.gCentroMensajeRA, 83.82);
    EXPECT_DOUBLE_EQ(p.c.gCentroMensajeDEC, -5.39);
    EXPECT_EQ(p.Status()[1], "automatic mode. Waiting for a message...");  // every message is answered
    EXPECT_EQ(p.c.mResumen, "");                                           // and none analyses by itself

    p.Message({"ruta del fichero imagen", "/data/m31.fit", "", "1", "", "10", "", "20"}, 40);
    p.Tick();
    EXPECT_EQ(p.c.gOrigenCoordenadas, 1);
    EXPECT_DOUBLE_EQ(p.c.gCentroMensajeRA, 83.82);

    // The long form: zone 2 on line 10 searches zone 1, where the window type of line 12 holds.
    std::vector<std::string> longForm(26, "label");
    longForm[0] = "image file path";
    longForm[1] = "/data/m45.fit";
    longForm[3] = "4", longForm[5] = "56.75", longForm[7] = "24.12";
    longForm[9] = "2", longForm[11] = "3", longForm[13] = "1";
    longForm[15] = "10", longForm[17] = "0", longForm[19] = "30", longForm[21] = "400";
    p.Message(longForm, 30);
    p.Tick();
    EXPECT_EQ(p.c.gRutaImagen, "/data/m45.fit");
    EXPECT_EQ(p.c.gZonaCielo, 1);
    EXPECT_EQ(p.c.gTipoVentana, 3);
    EXPECT_EQ(p.c.gAreaImagen, 1);
    EXPECT_EQ(p.c.mMensajeX1, 10);
    EXPECT_EQ(p.c.mMensajeX2, 0);  // 0 is not taken
    EXPECT_EQ(p.c.mMensajeY2, 400);
    EXPECT_DOUBLE_EQ(p.c.gCentroMensajeDEC, 24.12);

    p.c.gLadosParaParar = 33;
    GrabaParametros(p.c);
    std::string profile = p.home.Write("profile.txt", p.home.Read("param.txt"));
    p.c.gLadosParaParar = 20;
    p.Message({"parameters file path", profile}, 10);
    p.Tick();
    EXPECT_EQ(p.c.gLadosParaParar, 33);
    EXPECT_TRUE(p.c.timers.TimerBuzon.Enabled);  // the profile waits for messages too
}

TEST(Mailbox, WhichMessageIsNew) {
    MailboxProgram p;
    std::string ruta;
    int32_t tipo = 0;
    double t = std::floor(testing::SecondsNow()) - 20;  // a whole second
    std::string txt = p.Commands({"GET   mode", ""});
    std::string men = p.Message({"parameters file path", "x"}, 10, "tornel.men");
    SetStamp(txt, t);
    SetStamp(men, t + 0.5);  // the same second: tornel.txt wins
    NuevoFicheroMensajeEnBuzon(p.c, ruta, tipo);
    EXPECT_EQ(ruta, txt);
    EXPECT_EQ(tipo, 4);
    SetStamp(men, t + 2);
    NuevoFicheroMensajeEnBuzon(p.c, ruta, tipo);
    EXPECT_EQ(ruta, men);
    EXPECT_EQ(tipo, 3);
    // A file of the same second as the last one dealt with is not new.
    p.c.gUltimaFechaBuzon = t + 2.9;
    NuevoFicheroMensajeEnBuzon(p.c, ruta, tipo);
    EXPECT_EQ(ruta, "");
    EXPECT_EQ(tipo, 0);
}

TEST(Mailbox, AFileChangedInTheLastSecondWaits) {
    MailboxProgram p;
    std::string ruta;
    int32_t tipo = 0;
    // Changed during the last second.
    p.Commands({"GET   mode", ""}, 0);
    NuevoFicheroMensajeEnBuzon(p.c, ruta, tipo);
    EXPECT_EQ(tipo, 0);
    EXPECT_EQ(p.c.statusWrites, 0);
    SetAge(p.c.gCarpetaMensajes + "tornel.txt", 2);
    p.Tick();
    EXPECT_EQ(p.Status()[9], "  value= 5");
}

TEST(Mailbox, WaitingForImages) {
    MailboxProgram p;
    p.c.gOrigenImagen = 6;
    p.c.gBaseDatos = 1;
    p.c.gZonaCielo = 3;
    std::string fit = p.home.Write("messages/b.FIT", "image");
    std::string fts = p.home.Write("messages/a.fts", "image");
    SetAge(fit, 20);
    SetAge(fts, 10);
    std::string ruta;
    int32_t hay = 0;
    NuevoFicheroImagenEnBuzon(p.c, ruta, hay);
    EXPECT_EQ(ruta, fit);  // ".fts" is passed over, ".FIT" taken
    EXPECT_EQ(hay, 1);
    // Database 1 in zone 3: nothing is analysed, but the image is dealt with.
    p.Tick();
    EXPECT_EQ(p.c.mResumen, "");
    EXPECT_EQ(p.c.gRutaImagen, fit);
    EXPECT_EQ(p.c.gUltimaFechaBuzon, FileStamp(fit));
    EXPECT_TRUE(p.c.timers.TimerBuzon.Enabled);
    // A newer image still held by its writer is tried again until it is closed.
    p.c.gZonaCielo = 1;
    std::string jpg = p.home.Write("messages/c.jpg", "image");
    {
        std::ofstream writer(jpg, std::ios::app);
        SetAge(jpg, 5);
        p.Tick();
        EXPECT_EQ(p.c.mResumen, "");
        EXPECT_EQ(p.c.gRutaImagen, fit);
    }
    p.Tick();
    EXPECT_EQ(p.c.gRutaImagen, jpg);
    EXPECT_TRUE(p.platform.SummaryHas("DataBase not found or folder not found."));
}

TEST(Mailbox, EnteringAndLeavingTheWaits) {
    MailboxProgram p;
    p.c.gOrigenImagen = 0;
    p.c.timers.TimerBuzon.Enabled = false;
    mEsperaImagenDelMensaje_Click(p.c);
    EXPECT_EQ(p.c.gOrigenImagen, 5);
    EXPECT_TRUE(p.c.timers.TimerBuzon.Enabled);
    EXPECT_EQ(p.platform.titles.back(), "TORNEL -  Waiting for a message...");
    EXPECT_EQ(p.Status()[1], "automatic mode. Waiting for a message...");
    p.Tick();
    EXPECT_EQ(p.platform.LastLabel().rfind("Waiting for messages ... ", 0), 0u);
    EXPECT_NE(p.platform.LastLabel().find(". Click HERE to stop"), std::string::npos);
    // A click on the waiting label ends the wait.
    LabelResultado_Click(p.c);
    EXPECT_EQ(p.c.gOrigenImagen, 0);
    EXPECT_FALSE(p.c.timers.TimerBuzon.Enabled);
    EXPECT_EQ(p.platform.LastLabel(), "");
    EXPECT_EQ(p.Status()[1], "manual mode. waiting ...");
    mEsperaImagenMasReciente_Click(p.c);
    EXPECT_EQ(p.c.gOrigenImagen, 6);
    EXPECT_NEAR(p.c.gUltimaFechaBuzon, testing::SecondsNow(), 5);
    // A mailbox folder gone: told once, and the wait stops.
    p.c.gCarpetaMensajes = p.home.Path() + "gone/";
    p.Tick();
    EXPECT_TRUE(p.platform.HasMessage("The wait-for-mode folder " + p.c.gCarpetaMensajes +
                                      " does not exist. Update the 'Parameters' option."));
    EXPECT_FALSE(p.c.timers.TimerBuzon.Enabled);
}

}  // namespace
}  // namespace tornel
