// The parameter file: written to the byte, read back with every rule, old and bad files.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sstream>
#include <vector>

#include "core/parametros.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TestProgram;

// The 130 lines of a default file, as the table of the parameter file gives them. @HOME@ stands for
// the program folder.
const char* const kDefaultFile = R"(         1----------job to do: extract = 1, extract + solve = 2
2
         2----------focal distance in pixels
133928
         3----------language: spanish = 1 ; english = 0 ; french = 2
0
         4----------brightness threshold (double)
0.5
         5----------Min contours perimeter (integer)
10
         6----------Max contours perimeter (integer)
100
         7----------maxContours (integer) for analysis
20
         8----------stars to be selected (integer)
10
         9----------percent (integer) % error for distances search
2
         10---------+/- error for inclination in degrees (integer)
1
         11---------width of the searching window in degrees (integer)
5
         12---------height of the searching window in degrees (integer)
5
         13---------Image path (text)
@HOME@m39.fit
         14---------Image angle (double)
0
         15---------Distances database folder path (text)
@HOME@
         16---------Stars and objects databases path (text)
@HOME@
         17---------Last image file type = 'fit' or 'bmp' or 'jpg'
fit
         18---------object coordinates are in 0, 1, 2, 3, ... (integer)
1
         19---------automatic threshold (integer)
0
         20---------ring from DEC
 0 
         21---------ring to DEC
 10 
         22---------black visu for BMP
1
         23---------white visu for BMP
130
         24---------black visu for FIT
1
         25---------white visu for FIT
12000
         26---------ASCOM telescope

         27---------telescope to synchronize (integer)
0
         28---------searching centre (RA combo in hours) NOT USED
 
         29---------(listIndex of RA combo in minutes) NOT USED
 
         30---------(listIndex of DEC combo in degrees) NOT USED
 
         31---------Image origin 
0
         32---------Image folder used in the 'WAIT FOR' automatic mode
@HOME@messages/
         33---------minimal number of sides to stop the search
20
         34---------the image is reversed: 0 = NO, 1 = YES
0
         35---------minimal number of sides for auto synchronizing the telescope
20
         36---------Synchronize the telescope automatically
0
         37---------Show MessageBoxes: 0 = NO, 1 = YES
1
         38---------Synchronize the scope using current equinox coord
0
         39--------- not used (obsolete fixed angle search)
1
         40--------- search window type
0
         41--------- RA searching centre in combos (double)
0
         42--------- DEC searching centre in combos (double)
0
         43---------minimal number of sides for auto writing WCS in header
20
         44---------add WCS in FITS header automatically: 0 = NO, 1 = YES
0
         45--------- main window Top
0
         46--------- main window Left
0
         47--------- main window Width
0
         48--------- main window Height
0
         49--------- arcsec per pixel X
1.5401185711439491
         50--------- arcsec per pixel Y
1.5401185711439491
         51--------- Database number
1
         52--------- Observatory longitude
0
         53--------- Observatory latitude
0
         54--------- Observatory Time Zone
0
         55--------- Useful horizon 
0
         56--------- 1 = Show advises for guidance to the target
1
         57--------- Size of the Advices for guidance
1
         58--------- Mount type: 0 = equatorial, 1 = Alt-AZ
0
         59--------- 1 = search in the visible sky only
0
         60--------- 1= Target coordinates are J2000 equinox
1
         61--------- Display image un-zoomed 1, 2, 4 times
1
         62--------- 1 = Pattern search when the database roads fail or can not work
1
         63--------- 

         64--------- 

         65--------- 

)";

std::string WithCrLf(const std::string& lf) {
    std::string out;
    for (char ch : lf) {
        if (ch == '\n') out += '\r';
        out += ch;
    }
    return out;
}

std::string Replace(std::string s, const std::string& from, const std::string& to) {
    for (auto p = s.find(from); p != std::string::npos; p = s.find(from, p + to.size()))
        s.replace(p, from.size(), to);
    return s;
}

// A file of the given value lines, with the real comment lines.
std::string FileOfValues(const std::vector<std::string>& values) {
    std::string out;
    for (size_t i = 0; i < values.size(); ++i)
        out += ComentarioParametro(static_cast<int>(i) + 1) + "\r\n" + values[i] + "\r\n";
    return out;
}

// The value lines of a default file, to be changed one by one.
std::vector<std::string> DefaultValues(TestProgram& p) {
    ParametrosPorDefecto(p.c);
    std::string text = TextoParametros(p.c);
    std::vector<std::string> values;
    std::istringstream in(text);
    std::string comment, value;
    while (std::getline(in, comment) && std::getline(in, value))
        values.push_back(value.substr(0, value.size() - 1));
    return values;
}

TEST(ParameterFile, DefaultFileMatchesTheTableByteForByte) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    GrabaParametros(p.c);
    std::string expected = WithCrLf(Replace(kDefaultFile, "@HOME@", p.home.Path()));
    EXPECT_EQ(p.home.Read("param.txt"), expected);
    EXPECT_TRUE(EsFicheroDeParametros(p.home.File("param.txt")));
}

TEST(ParameterFile, WrittenFileReadsBackTheSameValues) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    p.c.gIdioma = 2;
    p.c.gUmbral = 0.37;
    p.c.gRutaImagen = "/data/sky/M42.FITS";
    p.c.gCentroCombosRA = 83.822;
    p.c.gCentroCombosDEC = -5.391;
    p.c.gMostrarAvisos = false;
    p.c.gBaseDatos = 2;
    p.c.gSegundosPorPixelX = 2.5;
    p.c.gSegundosPorPixelY = 2.25;
    GrabaParametros(p.c);

    TestProgram q;
    q.c.gCarpetaPrograma = p.c.gCarpetaPrograma;
    ParametrosPorDefecto(q.c);
    CargaParametros(q.c, RutaParametros(q.c));
    EXPECT_TRUE(q.platform.messages.empty());
    EXPECT_EQ(q.c.gIdioma, 2);
    EXPECT_DOUBLE_EQ(q.c.gUmbral, 0.37);
    EXPECT_EQ(q.c.gRutaImagen, "/data/sky/M42.FITS");
    EXPECT_EQ(q.c.gExtensionImagen, "fits");
    EXPECT_EQ(q.c.gNombreImagen, "M42.FITS");
    EXPECT_DOUBLE_EQ(q.c.gCentroCombosRA, 83.822);
    EXPECT_DOUBLE_EQ(q.c.gCentroCombosDEC, -5.391);
    EXPECT_FALSE(q.c.gMostrarAvisos);
    EXPECT_EQ(q.c.gBaseDatosPedida, 2);
    EXPECT_DOUBLE_EQ(q.c.gSegundosPorPixelX, 2.5);
    EXPECT_DOUBLE_EQ(q.c.gSegundosPorPixelY, 2.25);
    EXPECT_DOUBLE_EQ(q.c.gRelacionPixel, 2.5 / 2.25);
}

TEST(ParameterFile, ScaleLineWinsOverFocalDistance) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[1] = "50000";  // focal distance
    values[48] = "2";     // arcsec per pixel X
    values[49] = "0";     // Y takes X
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, 2.0);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelY, 2.0);
    EXPECT_EQ(p.c.gFocalEnPixeles, std::lround(1 / (2 * std::tan(2.0 / 412530))));
    EXPECT_DOUBLE_EQ(p.c.gGradosPorPixel, 2.0 / 3600);
    EXPECT_DOUBLE_EQ(p.c.gMinutosPorPixel, 2.0 / 60);
}

TEST(ParameterFile, ZeroScaleLineLeavesTheScaleOfTheFocalDistance) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[1] = "50000";
    values[48] = "0";
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    double x = 206265 * std::atan(1.0 / 50000);
    EXPECT_EQ(p.c.gFocalEnPixeles, 50000);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, x);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelY, x);
    EXPECT_DOUBLE_EQ(p.c.gRelacionPixel, 1.0);
}

TEST(ParameterFile, ScaleOutOfRangeFallsBackToTheMiddleTangent) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[48] = "5000";  // beyond 1650 arcsec per pixel
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    EXPECT_EQ(p.c.gFocalEnPixeles, 500);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, 5000);
}

TEST(ParameterFile, OldFileOfFortyPairsKeepsTheRestAndSkipsTheScaleLines) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[0] = "1";
    values[1] = "20000";  // focal distance: the scale follows it
    values[2] = "1";      // Spanish
    values[39] = "3";     // window type
    values.resize(40);
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    p.c.gLatitud = 42;  // line 53 is not in the file and keeps its value
    std::string ruta = RutaParametros(p.c);
    CargaParametros(p.c, ruta);
    EXPECT_EQ(p.c.gTrabajo, 1);
    EXPECT_EQ(p.c.gTipoVentana, 3);
    EXPECT_EQ(p.c.gIdioma, 1);
    EXPECT_DOUBLE_EQ(p.c.gLatitud, 42);
    EXPECT_EQ(p.c.gFocalEnPixeles, 20000);
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, 206265 * std::atan(1.0 / 20000));
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_EQ(p.platform.messages[0],
              "Versión antigua del fichero de parámetros" + ruta + ". Compruebe los parámetros.");
}

TEST(ParameterFile, ReadingRulesOfSingleLines) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[0] = "7";           // job: out of range
    values[2] = "5";           // language: out of range
    values[5] = "500";         // max perimeter
    values[7] = "3";           // stars to select
    values[8] = "4";           // percent error
    values[10] = "6.4";        // window width, read as an integer
    values[13] = "-30";        // image angle
    values[14] = "/db/rings";  // folder without its final separator
    values[16] = "jpeg";       // file type: three characters
    values[19] = " 12 ";       // ring from, blanks around
    values[26] = "ASCOM";      // not numeric: keeps the default
    values[34] = "0";          // sides to synchronize
    values[36] = "true";       // only "0" is false
    values[50] = "7";          // database number
    values[54] = "-5";         // horizon
    values[56] = "9";          // size of the advices
    values[60] = "3";          // display reduction
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_EQ(p.c.gTrabajo, 2);
    EXPECT_EQ(p.c.gIdioma, 0);
    EXPECT_EQ(p.c.gPerimetroMax, 100);
    EXPECT_EQ(p.c.gEstrellasSeleccionar, 10);
    EXPECT_DOUBLE_EQ(p.c.gErrorDistancias, 0.04);
    EXPECT_DOUBLE_EQ(p.c.gAnchoVentana, 6);
    EXPECT_DOUBLE_EQ(p.c.gAnguloImagen, 330);
    EXPECT_EQ(p.c.gCarpetaDistancias, "/db/rings/");
    EXPECT_EQ(p.c.gTipoImagen, "jpe");
    EXPECT_EQ(p.c.gAnilloDesde, 12);
    EXPECT_EQ(p.c.gTelescopioSincro, 0);
    EXPECT_EQ(p.c.gLadosParaSincro, 20);
    EXPECT_TRUE(p.c.gMostrarAvisos);
    EXPECT_EQ(p.c.gBaseDatosPedida, 1);
    EXPECT_DOUBLE_EQ(p.c.gHorizonte, 0);
    EXPECT_EQ(p.c.gTamanioAvisos, 1);
    EXPECT_EQ(p.c.gFactorReduccion, 1);
}

TEST(ParameterFile, BadNumbersAreReportedAndReadingGoesOn) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[3] = "";        // threshold: empty
    values[4] = "twelve";  // min perimeter
    values[6] = "99999";   // max contours: beyond 16 bits
    values[32] = "17";     // sides to stop, after the errors
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    EXPECT_DOUBLE_EQ(p.c.gUmbral, 0.5);
    EXPECT_EQ(p.c.gPerimetroMin, 10);
    EXPECT_EQ(p.c.gMaxContornos, 20);
    EXPECT_EQ(p.c.gLadosParaParar, 17);
    EXPECT_EQ(p.platform.messages, (std::vector<std::string>{"Error 13 Type mismatch CargaParametros",
                                                             "Error 13 Type mismatch CargaParametros",
                                                             "Error 6 Overflow CargaParametros"}));
}

TEST(ParameterFile, BadNumbersAreSilentWithoutMessageBoxes) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[36] = "0";  // no message boxes
    values[51] = "east";
    p.home.Write("param.txt", FileOfValues(values));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_FALSE(p.c.gMostrarAvisos);
}

TEST(ParameterFile, LineFeedOnlyFilesAreRead) {
    TestProgram p;
    auto values = DefaultValues(p);
    values[32] = "33";
    p.home.Write("param.txt", Replace(FileOfValues(values), "\r\n", "\n"));
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, RutaParametros(p.c));
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_EQ(p.c.gLadosParaParar, 33);
}

TEST(ParameterFile, MissingFileIsToldAndDefaultsStand) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    CargaParametros(p.c, p.home.File("nothing.txt"));
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_EQ(p.platform.messages[0], "The parameters file " + p.home.File("nothing.txt") +
                                          " does not exist. Verify the values of the parameters.");
    EXPECT_EQ(p.c.gFocalEnPixeles, 133928);
}

TEST(ParameterFile, FailedWriteLeavesTheOldFileReadable) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    GrabaParametros(p.c);
    std::string before = p.home.Read("param.txt");
    // A folder where the temporary file would go makes the write fail.
    p.home.MakeFolder("param.txt.tmp" + std::to_string(::getpid()));
    p.c.gIdioma = 1;
    GrabaParametros(p.c);
    EXPECT_EQ(p.home.Read("param.txt"), before);
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_EQ(p.platform.messages[0], "Error 75 Path/File access error GrabaParametros");
}

TEST(ParameterFile, NothingIsWrittenBeforeTheVariablesWereSet) {
    TestProgram p;
    p.c.gPerimetroMax = 0;
    p.c.gFocalEnPixeles = 0;
    p.c.gMaxContornos = 0;
    GrabaParametros(p.c);
    EXPECT_FALSE(std::filesystem::exists(p.home.File("param.txt")));
}

TEST(ParameterFile, WritingAppliesTheRuleOfTheMaximumPerimeter) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    p.c.gPerimetroMax = 500;
    GrabaParametros(p.c);
    EXPECT_EQ(p.c.gPerimetroMax, 100);
    p.c.gPerimetroMax = 60;
    GrabaParametros(p.c);
    EXPECT_NE(p.home.Read("param.txt").find("Max contours perimeter (integer)\r\n60\r\n"), std::string::npos);
}

TEST(ParameterFile, RecognisesParameterFiles) {
    TestProgram p;
    ParametrosPorDefecto(p.c);
    GrabaParametros(p.c);
    std::string text = p.home.Read("param.txt");
    EXPECT_TRUE(EsFicheroDeParametros(p.home.Write("profile.txt", text)));
    EXPECT_FALSE(EsFicheroDeParametros(p.home.Write("profile.dat", text)));
    EXPECT_FALSE(EsFicheroDeParametros(p.home.Write("notes.txt", "job to do\r\n2\r\n")));
    EXPECT_FALSE(EsFicheroDeParametros(p.home.File("absent.txt")));
}

TEST(ParameterFile, ImagePathGivesExtensionAndName) {
    TestProgram p;
    struct Case {
        const char *path, *extension, *name;
    } cases[] = {
        {"/a/b/M39.FIT", "fit", "M39.FIT"}, {"/a/sky.fits", "fits", "sky.fits"},
        {"/a/x.Fts", "fts", "x.Fts"},       {"pic.JPG", "jpg", "pic.JPG"},
        {"/a/b/noext", "", "noext"},        {"/a/photo.bmp", "bmp", "photo.bmp"},
    };
    for (const Case& k : cases) {
        ExtraeNombreDeRuta(p.c, k.path);
        EXPECT_EQ(p.c.gRutaImagen, k.path);
        EXPECT_EQ(p.c.gExtensionImagen, k.extension) << k.path;
        EXPECT_EQ(p.c.gNombreImagen, k.name) << k.path;
    }
}

}  // namespace
}  // namespace tornel
