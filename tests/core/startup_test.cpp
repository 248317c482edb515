// Start-up: folders, databases, the database in force, the command line, profiles and the dialog.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "core/parameter_dialog.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TempFolder;
using testing::TestProgram;

// A program folder whose parameters point at folders of the test's making.
struct StartUp : ::testing::Test {
    TestProgram p;
    std::string stars = p.home.MakeFolder("stars");
    std::string rings = p.home.MakeFolder("rings");
    std::string mail = p.home.MakeFolder("mail");

    void WriteParameters(int database = 1) {
        ParametrosPorDefecto(p.c);
        p.c.gCarpetaEstrellas = stars;
        p.c.gCarpetaDistancias = rings;
        p.c.gCarpetaMensajes = mail;
        p.c.gBaseDatos = database;
        GrabaParametros(p.c);
    }
    void WriteDatabaseOne(int stars12 = 3) {
        p.home.Write("stars/est.bin", std::string(static_cast<size_t>(12 * stars12), '\0'));
        p.home.Write("stars/pgc.bin", "");
        p.home.Write("rings/Ani090.bin", "");
        p.home.Write("rings/pole000.bin", "");
        p.home.Write("rings/pole179.bin", "");
    }
};

TEST_F(StartUp, AllInPlaceOpensTheStarFile) {
    WriteDatabaseOne(5);
    WriteParameters();
    Form_Load(p.c, "");
    EXPECT_TRUE(p.platform.messages.empty()) << p.platform.messages.front();
    EXPECT_TRUE(p.c.gBasesOK);
    EXPECT_EQ(p.c.gBaseDatos, 1);
    EXPECT_TRUE(p.c.gCanalEstrellas->IsOpen());
    EXPECT_EQ(p.c.gNumEstrellasBD, 5);
    EXPECT_EQ(p.c.gFicheroEstrellas, "est.bin");
    EXPECT_EQ(p.c.gPrefijoDistancias, "Ani");
    EXPECT_EQ(p.c.gVersionDLL, "15/09/06");
    // The ring is asked for as ani090.bin and found whatever the case of its name.
    EXPECT_EQ(p.c.gFicherosBD[1][kDistancesFile], 1);
}

TEST_F(StartUp, MissingFoldersAreToldAndNoDatabaseIsApplied) {
    WriteParameters();
    std::filesystem::remove_all(mail);
    std::filesystem::remove_all(rings);
    Form_Load(p.c, "");
    EXPECT_EQ(
        p.platform.messages,
        (std::vector<std::string>{
            "Warning: The folder " + mail + " does not exist. Update the 'Parameters' option.",
            "Warning: The distances folder " + rings + " does not exist. Update the 'Parameters' option."}));
    EXPECT_FALSE(p.c.gBasesOK);
    EXPECT_FALSE(p.c.gCanalEstrellas->IsOpen());
}

TEST_F(StartUp, MissingMailboxFolderAloneStopsTheDatabases) {
    WriteDatabaseOne();
    WriteParameters();
    std::filesystem::remove_all(mail);
    Form_Load(p.c, "");
    EXPECT_FALSE(p.c.gBasesOK);
}

TEST_F(StartUp, MissingDatabaseFilesAreToldOneByOne) {
    p.home.Write("stars/pgc.bin", "");
    p.home.Write("rings/pole179.bin", "");
    WriteParameters();
    Form_Load(p.c, "");
    EXPECT_EQ(p.platform.messages,
              (std::vector<std::string>{
                  "Warning: Stars DataBase " + stars + "est.bin not found",
                  "Warning: The distances DataBase is not complete " + rings,
                  "Warning: The distances DataBase is not complete " + rings + "pole000.bin"}));
    EXPECT_FALSE(p.c.gBasesOK);
}

TEST_F(StartUp, MissingTriangleDatabaseInSpanish) {
    p.home.Write("stars/estDEC_ID1x1g.bin", "");
    WriteParameters(2);
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    p.c.gIdioma = 1;
    CompruebaFicherosBDs(p.c);
    AvisosBD(p.c, 2);
    EXPECT_EQ(p.platform.messages,
              (std::vector<std::string>{"Aviso: No se encuentra la BD de objetos " + stars + "pgc.bin",
                                        "Aviso: No se encuentra la BD " + rings + "tri2g02.bin"}));
}

TEST_F(StartUp, WithoutMessageBoxesNothingIsShown) {
    WriteParameters();
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    p.c.gMostrarAvisos = false;
    std::filesystem::remove_all(stars);
    EXPECT_FALSE(CompruebaCarpetas(p.c));
    CompruebaFicherosBDs(p.c);
    AvisosBD(p.c, 1);
    EXPECT_TRUE(p.platform.messages.empty());
}

TEST_F(StartUp, MissingParameterFileLeavesNoDatabaseAsked) {
    Form_Load(p.c, "");
    ASSERT_FALSE(p.platform.messages.empty());
    EXPECT_EQ(p.platform.messages[0], "The parameters file " + p.home.File("param.txt") +
                                          " does not exist. Verify the values of the parameters.");
    EXPECT_EQ(p.c.gBaseDatosPedida, 0);
    // No database asked is no database changed: the check passes with no star file open.
    EXPECT_TRUE(p.c.gBasesOK);
    EXPECT_FALSE(p.c.gCanalEstrellas->IsOpen());
}

TEST_F(StartUp, ChangingDatabase) {
    WriteDatabaseOne(4);
    p.home.Write("stars/estDEC_ID1x1g.bin", std::string(16 * 7, '\0'));
    p.home.Write("rings/tri2g02.bin", "");
    WriteParameters();
    Form_Load(p.c, "");
    ASSERT_EQ(p.c.gNumEstrellasBD, 4);

    // The same number neither closes nor reopens the file.
    std::filesystem::remove(p.home.File("stars/est.bin"));
    EXPECT_TRUE(CambioBaseDatos(p.c, 1, 1));
    EXPECT_TRUE(p.c.gCanalEstrellas->IsOpen());

    p.c.gZonaCielo = 1;
    EXPECT_TRUE(CambioBaseDatos(p.c, 1, 2));
    EXPECT_EQ(p.c.gBaseDatos, 2);
    EXPECT_EQ(p.c.gNumEstrellasBD, 7);
    EXPECT_EQ(p.c.gZonaCielo, 3);
    EXPECT_TRUE(p.c.gIdsSonPosiciones);
    EXPECT_DOUBLE_EQ(p.c.gLadoMaximoGrados, 3.0);
    EXPECT_EQ(p.c.gMaxSegmentos, 5000);
    EXPECT_EQ(p.c.gFicheroTriangulos, "tri2g02.bin");

    EXPECT_FALSE(CambioBaseDatos(p.c, 2, 3));
    EXPECT_EQ(p.c.gBaseDatos, 2);
}

TEST_F(StartUp, DatabaseWhoseFilesWereNotFoundIsRefused) {
    WriteParameters();
    Form_Load(p.c, "");
    EXPECT_FALSE(CambioBaseDatos(p.c, 0, 1));
    EXPECT_FALSE(CambioBaseDatos(p.c, 0, 2));
    EXPECT_FALSE(p.c.gCanalEstrellas->IsOpen());
}

TEST_F(StartUp, LeftOversOfADeadRunAreDeleted) {
    p.home.Write("m39_jpg2bmp.kkk", "x");
    p.home.Write("m39_bmpINV.kkk", "x");
    p.home.Write("keep.kkk", "x");
    Form_Load(p.c, "");
    EXPECT_FALSE(std::filesystem::exists(p.home.File("m39_jpg2bmp.kkk")));
    EXPECT_FALSE(std::filesystem::exists(p.home.File("m39_bmpINV.kkk")));
    EXPECT_TRUE(std::filesystem::exists(p.home.File("keep.kkk")));
}

TEST_F(StartUp, UnloadSavesTheParameters) {
    WriteParameters();
    Form_Load(p.c, "");
    p.c.gLadosParaParar = 31;
    Form_Unload(p.c);
    EXPECT_NE(p.home.Read("param.txt").find("stop the search\r\n31\r\n"), std::string::npos);
}

TEST(CommandLine, Rules) {
    struct Case {
        const char* line;
        int16_t origin;
        bool analyse;
        const char* path;
        double ra, dec;
    } cases[] = {
        {"", 0, false, "", -100, 0},
        {"  ", 0, false, "", -100, 0},
        {"6", 6, false, "", -100, 0},
        {"9", 0, false, "", -100, 0},
        {"-0.4", 0, false, "", -100, 0},
        {"6.5", 6, false, "", -100, 0},
        {"8.5 /img/a.fit", 0, true, "/img/a.fit", -100, 0},
        {"-1 /img/a.fit", 0, false, "", -100, 0},
        {"x", 0, false, "", -100, 0},
        {"2 /img/a.fit 10 20", 2, false, "", -100, 0},
        {"x /img/a.fit", 0, false, "", -100, 0},
        {"9 /img/a.fit", 0, false, "", -100, 0},
        {"8", 0, true, "", -100, 0},
        {"8 /img/a.fit", 0, true, "/img/a.fit", -100, 0},
        {"8 /img/a.fit 83.82 -5.39", 0, true, "/img/a.fit", 83.82, -5.39},
        {"8 /img/a.fit -10 5", 0, true, "/img/a.fit", 350, 5},
        {"8 /img/a.fit 725 5", 0, true, "/img/a.fit", 5, 5},
        {"8 /img/a.fit -720 5", 0, true, "/img/a.fit", 0, 5},
        // Far beyond any turn the RA is still reduced, at once.
        {"8 /img/a.fit 1e20 0", 0, true, "/img/a.fit", std::fmod(1e20, 360.0), 0},
        {"8 /img/a.fit -1e20 0", 0, true, "/img/a.fit", std::fmod(-1e20, 360.0) + 360, 0},
        // Numbers that no double holds are refused: the mode is ignored, the RA or DEC not taken.
        {"1e400 /img/a.fit", 0, false, "", -100, 0},
        {"8 /img/a.fit 1e400 5", 0, true, "/img/a.fit", -100, 0},
        {"8 /img/a.fit 10 -1e999", 0, true, "/img/a.fit", 10, 0},
        {"8 /img/a.fit north 5", 0, true, "/img/a.fit", -100, 0},
        {"8 /img/a.fit 10 south", 0, true, "/img/a.fit", 10, 0},
        {"8 /img/a.fit 10,5 -5,25 extra items", 0, true, "/img/a.fit", 10.5, -5.25},
        // Split at single blanks: two blanks make an empty item, and the path is empty.
        {"8  /img/a.fit", 0, true, "", -100, 0},
    };
    for (const Case& k : cases) {
        TestProgram p;
        p.c.gRutaImagen = "";
        Form_Load(p.c, "");
        p.c.gOrigenImagen = 0;
        p.c.gRutaImagen = "";
        ExtraeLineaComandos(p.c, k.line);
        EXPECT_EQ(p.c.gOrigenImagen, k.origin) << k.line;
        EXPECT_EQ(p.c.gAnalizaYsale, k.analyse) << k.line;
        EXPECT_EQ(p.c.gRutaImagen, k.path) << k.line;
        EXPECT_DOUBLE_EQ(p.c.gCentroComandoRA, k.ra) << k.line;
        EXPECT_DOUBLE_EQ(p.c.gCentroComandoDEC, k.dec) << k.line;
    }
}

TEST(CommandLine, AnAngleNoDoubleHoldsIsToldInTheLanguageInForce) {
    TestProgram p;
    Form_Load(p.c, "8 /img/a.fit 1e400 5");
    EXPECT_TRUE(p.platform.HasMessage(
        "The right ascension 1e400 of the command line is not a finite number; it is ignored."));
    // The start-up went on to its end.
    EXPECT_TRUE(p.c.timers.TimerAnalizaYsale.Enabled);
    p.c.gIdioma = 2;
    ExtraeLineaComandos(p.c, "8 /img/a.fit 10 -1e999");
    EXPECT_EQ(p.platform.messages.back(),
              "La déclinaison -1e999 de la ligne de commande n'est pas un nombre fini; elle est ignorée.");
}

TEST(CommandLine, AnalyseAndEndEnablesItsTimer) {
    TestProgram p;
    Form_Load(p.c, "8 /img/a.fit");
    EXPECT_TRUE(p.c.timers.TimerAnalizaYsale.Enabled);
    EXPECT_EQ(p.c.gExtensionImagen, "fit");
}

TEST(SingleInstance, SecondLockOnTheSameFolderFails) {
    TempFolder home;
    InstanceLock first, second, other;
    EXPECT_TRUE(first.Acquire(home.Path()));
    EXPECT_FALSE(second.Acquire(home.Path()));
    TempFolder elsewhere;
    EXPECT_TRUE(other.Acquire(elsewhere.Path()));
}

TEST(ProgramFolder, ComesFromTornelHomeAndIsCreated) {
    TempFolder base;
    std::string home = base.Path() + "new/home";
    ::setenv("TORNEL_HOME", home.c_str(), 1);
    EXPECT_EQ(CarpetaDelPrograma(), home + "/");
    EXPECT_TRUE(std::filesystem::is_directory(home + "/messages"));
    ::unsetenv("TORNEL_HOME");
}

// The parameter dialog's checks, over the texts of its fields.
struct Dialog : StartUp {
    CamposParametros f;
    void SetUp() override {
        WriteDatabaseOne();
        WriteParameters();
        Form_Load(p.c, "");
        p.platform.messages.clear();
        f = FormParametros_Load(p.c);
    }
};

TEST_F(Dialog, AcceptsAndSavesGoodFields) {
    f.VeoAnguloPixelX = "2,5";
    f.VeoAnguloPixelY = "0";
    f.VeoLadosSuficientes = "25";
    f.VeoNorteCamara = "-90";
    f.VeoCarpetaAutomatico = mail.substr(0, mail.size() - 1);
    f.CheckQuitarMsgBox = true;
    f.OptionBD = 3;
    f.VeoHorizonte = "55";
    f.VeoTamanioAvisos = "4";
    Aceptacion a = AceptaParametros(p.c, f);
    EXPECT_TRUE(a.ok);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, 2.5);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelY, 2.5);
    EXPECT_EQ(p.c.gLadosParaParar, 25);
    EXPECT_DOUBLE_EQ(p.c.gAnguloImagen, 270);
    EXPECT_EQ(p.c.gCarpetaMensajes, mail);
    EXPECT_FALSE(p.c.gMostrarAvisos);
    EXPECT_EQ(p.c.gBaseDatosPedida, 1);
    EXPECT_DOUBLE_EQ(p.c.gHorizonte, 0);
    EXPECT_EQ(p.c.gTamanioAvisos, 1);
    EXPECT_TRUE(p.c.gBasesOK);
    EXPECT_NE(p.home.Read("param.txt").find("arcsec per pixel X\r\n2.5\r\n"), std::string::npos);
}

TEST_F(Dialog, StopsAtTheFirstBadFieldKeepingTheOnesBefore) {
    f.VeoAnguloPixelX = "3";
    f.VeoLadosSuficientes = "14";
    f.VeoLadosSincro = "50";
    Aceptacion a = AceptaParametros(p.c, f);
    EXPECT_FALSE(a.ok);
    EXPECT_EQ(a.campo, "VeoLadosSuficientes");
    EXPECT_EQ(p.platform.messages, (std::vector<std::string>{"Sides number must be between 15 and 45."}));
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, 3);

    f.VeoLadosSuficientes = "15";
    a = AceptaParametros(p.c, f);
    EXPECT_EQ(a.campo, "VeoLadosSincro");
    EXPECT_EQ(p.platform.messages.back(), "Sides number must be between 10 and 45.");
}

TEST_F(Dialog, RefusesNonNumericFields) {
    struct Case {
        std::string CamposParametros::*field;
        const char* campo;
        const char* message;
    } cases[] = {
        {&CamposParametros::VeoAnguloPixelX, "VeoAnguloPixelX",
         "The value in 'Arcsec per pixel X' is not valid."},
        {&CamposParametros::VeoAnguloPixelY, "VeoAnguloPixelY",
         "The value in 'Arcsec per pixel Y' is not valid."},
        {&CamposParametros::VeoNorteCamara, "VeoNorteCamara", "Image angle must be numeric."},
        {&CamposParametros::VeoLadosWCS, "VeoLadosWCS", "Sides number must be between 10 and 45."},
        {&CamposParametros::VeoLatitud, "VeoLatitud", "Latitude must be numeric."},
    };
    for (const Case& k : cases) {
        CamposParametros g = f;
        g.*k.field = "abc";
        Aceptacion a = AceptaParametros(p.c, g);
        EXPECT_FALSE(a.ok);
        EXPECT_EQ(a.campo, k.campo);
        EXPECT_EQ(p.platform.messages.back(), k.message);
    }
}

TEST_F(Dialog, AdvancedPageAndFactoryValues) {
    CamposAvanzados adv = FormParametrosAvanzados_Load(p.c);
    adv.VeoMargenDistancia = "9";
    adv.VeoMargenInclinacion = "3";
    adv.VeoVentanaAlto = "1";
    adv.HScrollNumEstrellas = 7;
    EXPECT_TRUE(AceptaParametrosAvanzados(p.c, adv).ok);
    EXPECT_EQ(p.c.gPorcentajeError, 5);
    EXPECT_DOUBLE_EQ(p.c.gErrorDistancias, 0.05);
    EXPECT_EQ(p.c.gErrorInclinacion, 3);
    EXPECT_DOUBLE_EQ(p.c.gAltoVentana, 2);
    EXPECT_EQ(p.c.gEstrellasSeleccionar, 7);

    adv.VeoVentanaAncho = "wide";
    Aceptacion a = AceptaParametrosAvanzados(p.c, adv);
    EXPECT_EQ(a.campo, "VeoVentanaAncho");
    EXPECT_EQ(p.platform.messages.back(), "The width of the Searching window is not valid.");

    EXPECT_TRUE(CommandoFabrica_Click(p.c).ok);
    EXPECT_EQ(p.c.gPorcentajeError, 2);
    EXPECT_EQ(p.c.gErrorInclinacion, 1);
    EXPECT_DOUBLE_EQ(p.c.gAnchoVentana, 5);
    EXPECT_EQ(p.c.gEstrellasSeleccionar, 10);
    EXPECT_EQ(p.c.gPerimetroMax, 100);
}

TEST_F(Dialog, ProfilesSaveAndLoad) {
    p.c.gLadosParaParar = 33;
    std::string profile = p.home.File("deep-sky.txt");
    ASSERT_TRUE(PerfilSalvar(p.c, profile));
    p.c.gLadosParaParar = 18;
    GrabaParametros(p.c);

    ASSERT_TRUE(PerfilCargar(p.c, profile));
    EXPECT_EQ(p.c.gLadosParaParar, 33);
    EXPECT_EQ(p.home.Read("param.txt"), p.home.Read("deep-sky.txt"));
    EXPECT_EQ(p.platform.titles.back(), "TORNEL - deep-sky.txt");

    std::string notParameters = p.home.Write("notes.txt", "hello\r\n");
    EXPECT_FALSE(PerfilCargar(p.c, notParameters));
    EXPECT_EQ(p.platform.messages.back(), notParameters + " is not a parameters file.");
    EXPECT_EQ(p.home.Read("param.txt"), p.home.Read("deep-sky.txt"));
}

TEST_F(Dialog, ProfileDialogsCancelChangesNothing) {
    std::string before = p.home.Read("param.txt");
    mPerfilCargar_Click(p.c);
    ASSERT_EQ(p.platform.dialogs.size(), 1u);
    EXPECT_EQ(p.platform.dialogs[0].title, "Load profile");
    EXPECT_EQ(p.home.Read("param.txt"), before);

    p.platform.chosenFiles.push_back(p.home.File("saved.txt"));
    mPerfilSalvar_Click(p.c);
    EXPECT_EQ(p.platform.dialogs.back().title, "Save parameters profile");
    EXPECT_EQ(p.platform.dialogs.back().filter, "Profiles TXT (*.txt)|*.txt");
    EXPECT_TRUE(EsFicheroDeParametros(p.home.File("saved.txt")));
}

}  // namespace
}  // namespace tornel
