// tornel-astap as KStars/Ekos, NINA and CCDciel run it: their command lines read into a solve, and
// the .ini, .wcs and exit codes they read, parsed by their own rules and by astropy.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "consola/astap_options.h"
#include "tests/consola/program_run.h"
#include "tests/support/generated_sky.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::EmptyDatabases;
using testing::Quoted;
using testing::TempFolder;

int RunAstapProgram(const TempFolder& home, const std::vector<std::string>& args) {
    return testing::RunProgram(home, "tornel-astap", args).status;
}

// The .ini as the clients read it: KEY=VALUE lines, split at the first '='.
std::map<std::string, std::string> ReadIni(const std::string& text) {
    std::map<std::string, std::string> keys;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (auto eq = line.find('='); eq != std::string::npos) keys[line.substr(0, eq)] = line.substr(eq + 1);
    return keys;
}

TEST(AstapCommandLine, TheClientsLinesBecomeASolve) {
    // KStars: hours, south pole distance, the .ini named by -o, the field's height.
    AstapRequest k =
        ParseAstapCommandLine({"-o", "/tmp/solver.ini", "-speed", "auto", "-f", "/d/m51.fits", "-wcs", "-z",
                               "0", "-fov", "0.83", "-ra", "12.54", "-spd", "97.84", "-r", "5", "-log"});
    ASSERT_EQ(k.error, "");
    EXPECT_EQ(k.options.image, "/d/m51.fits");
    EXPECT_EQ(k.base, "/tmp/solver");
    EXPECT_NEAR(*k.options.ra, 188.1, 1e-9);
    EXPECT_NEAR(*k.options.dec, 7.84, 1e-9);
    EXPECT_EQ(*k.options.radius, 5);
    EXPECT_TRUE(k.writeWcs && k.log && !k.update);
    EXPECT_EQ(k.ignored, (std::vector<std::string>{"-speed auto", "-z 0"}));
    EXPECT_FALSE(k.options.scale);
    EXPECT_EQ(SettleFieldHeight(k, 996), "");
    EXPECT_NEAR(*k.options.scale, 3.0, 1e-9);  // 0.83 degree over 996 rows, not over the width
    EXPECT_NE(SettleFieldHeight(k, 0), "");

    // NINA with no position; CCDciel on the header's hints alone, answering beside the image.
    AstapRequest n =
        ParseAstapCommandLine({"-f", "a.b/img.fit", "-fov", "0", "-z", "0", "-s", "500", "-r", "180"});
    ASSERT_EQ(n.error, "");
    EXPECT_EQ(*n.options.starsAtMost, 500);
    EXPECT_EQ(*n.options.radius, 180);
    EXPECT_FALSE(n.fov);
    EXPECT_EQ(n.base, "a.b/img");
    EXPECT_FALSE(n.options.ra);
    AstapRequest c =
        ParseAstapCommandLine({"-z", "0", "-r", "30", "-f", "/data/light.fits", "-sip", "-update"});
    ASSERT_EQ(c.error, "");
    EXPECT_EQ(c.base, "/data/light");
    EXPECT_TRUE(c.update);
    EXPECT_EQ(ParseAstapCommandLine({"-f", "x.fit", "-ra", "0", "-spd", "0"}).options.dec, -90);

    const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
        {{"-r", "5"}, "no image given"},
        {{"-f", "x.fit", "-ra", "abc", "-spd", "90"}, "the value of -ra must be hours"},
        {{"-f", "x.fit", "-ra", "25", "-spd", "90"}, "the value of -ra must be hours"},
        {{"-f", "x.fit", "-ra", "2", "-spd", "181"}, "the value of -spd must be"},
        {{"-f", "x.fit", "-ra", "2"}, "-ra and -spd go together"},
        {{"-f", "x.fit", "-fov", "-1"}, "the value of -fov must be"},
        {{"-f", "x.fit", "-s", "4.5"}, "the value of -s must be a whole number"},
        {{"-f", "x.fit", "-fov"}, "-fov needs a value"},
    };
    for (const auto& [args, message] : bad)
        EXPECT_EQ(ParseAstapCommandLine(args).error.rfind(message, 0), 0u) << message;
}

TEST(AstapProgram, FailuresAnswerPltsolvdFWithTheirReasonAndCode) {
    TempFolder home;
    ASSERT_TRUE(EmptyDatabases(home));
    // Asked for its usage, or given nothing, it says how it is called and writes no file.
    const testing::ProgramRun usage = testing::RunProgram(home, "tornel-astap", {"-h"});
    EXPECT_EQ(usage.status, 0);
    for (const char* option : {"-f IMAGE", "-spd", "-fov", "-wcs", "-update", "Example:"})
        EXPECT_NE(usage.out.find(option), std::string::npos) << option;
    EXPECT_EQ(testing::RunProgram(home, "tornel-astap", {}).status, 1);
    // A stale answer of an earlier run must go.
    home.Write("old.wcs", "stale");
    const std::vector<std::string> bad = {"-f", home.File("missing.fit"), "-o", home.File("old"), "-ra", "x"};
    EXPECT_EQ(RunAstapProgram(home, bad), 1);
    auto ini = ReadIni(home.Read("old.ini"));
    EXPECT_EQ(ini["PLTSOLVD"], "F");
    EXPECT_EQ(ini["ERROR"].rfind("the value of -ra must be hours", 0), 0u) << ini["ERROR"];
    EXPECT_EQ(ini["CMDLINE"], "-f " + home.File("missing.fit") + " -o " + home.File("old") + " -ra x");
    EXPECT_FALSE(std::filesystem::exists(home.File("old.wcs")));
    EXPECT_NE(home.Read("err.txt").find("tornel-astap: the value of -ra"), std::string::npos);

    EXPECT_EQ(RunAstapProgram(home, {"-f", home.File("missing.fit"), "-fov", "0.5"}), 16);
    EXPECT_EQ(ReadIni(home.Read("missing.ini"))["PLTSOLVD"], "F");

    // A star field that an empty database cannot place: no solution, and no .wcs.
    testing::SmallField(home, "plain.fit", {});
    EXPECT_EQ(
        RunAstapProgram(home, {"-f", home.File("plain.fit"), "-fov", "0.3", "-r", "180", "-wcs", "-z", "2"}),
        1);
    ini = ReadIni(home.Read("plain.ini"));
    EXPECT_EQ(ini["PLTSOLVD"], "F");
    EXPECT_FALSE(ini["ERROR"].empty());
    EXPECT_FALSE(std::filesystem::exists(home.File("plain.wcs")));
}

class AstapGeneratedSky : public testing::GeneratedSkyTest {};

TEST_F(AstapGeneratedSky, ASolvedFieldAnswersAsTheClientsReadIt) {
    const std::string image = Render({0.05, 10.2, 0, 0, 0, 0, false});
    // A wrong scale in param.txt: -fov over the 900 rows must give the 2 arcsec per pixel.
    Parameters(0, false, [](Context& c) {
        c.gSegundosPorPixelX = c.gSegundosPorPixelY = 5;
        c.gFocalEnPixeles = FocalDesdeEscala(5);
        CalculaValoresDerivados(c);
    });
    const std::string base = home.File("solver");
    ASSERT_EQ(RunAstapProgram(home, {"-o", base + ".ini", "-speed", "auto", "-f", image, "-wcs", "-z", "0",
                                     "-fov", "0.5", "-ra", "23.9467", "-spd", "99.4", "-r", "2.5", "-log"}),
              0)
        << home.Read("err.txt");
    auto ini = ReadIni(home.Read("solver.ini"));
    ASSERT_EQ(ini["PLTSOLVD"], "T");
    EXPECT_LT(std::fabs(std::remainder(std::stod(ini["CRVAL1"]) - 0.05, 360.0)), 0.002);
    EXPECT_NEAR(std::stod(ini["CRVAL2"]), 10.2, 0.002);
    // NINA's scale: sqrt(CD1_2² + CD2_2²) × 3600.
    EXPECT_NEAR(std::hypot(std::stod(ini["CD1_2"]), std::stod(ini["CD2_2"])) * 3600, 2, 0.01);
    EXPECT_NEAR(std::stod(ini["CDELT2"]) * 3600, 2, 0.01);
    EXPECT_NEAR(std::fabs(std::stod(ini["CDELT1"])) * 3600, 2, 0.01);
    EXPECT_LT(std::fabs(std::remainder(std::stod(ini["CROTA2"]), 360.0)), 0.3);
    EXPECT_EQ(ini["CROTA1"], ini["CROTA2"]);
    EXPECT_NE(home.Read("solver.log").find("accepted and ignored: -speed auto"), std::string::npos);

    // The .wcs through astropy: its sides, and the sky at the reference pixel and at a corner.
    const std::string script =
        "import sys,warnings\nwarnings.simplefilter('ignore')\nfrom astropy.io import fits\nfrom astropy.wcs "
        "import WCS\nh=fits.Header.fromfile(sys.argv[1])\nw=WCS(h)\n"
        "c=w.pixel_to_world_values(h['CRPIX1']-1,h['CRPIX2']-1)\nk=w.pixel_to_world_values(0,0)\n"
        "print(h['CTYPE1'],h['CTYPE2'],h['IMAGEW'],h['IMAGEH'],'%.5f %.5f %.5f "
        "%.5f'%(c[0],c[1],k[0],k[1]))\n";
    home.Write("read_wcs.py", script);
    ASSERT_EQ(std::system((std::string(TORNEL_PYTHON) + " " + Quoted(home.File("read_wcs.py")) + " " +
                           Quoted(base + ".wcs") + " >" + Quoted(home.File("wcs.txt")))
                              .c_str()),
              0);
    std::istringstream wcs(home.Read("wcs.txt"));
    std::string ctype1, ctype2;
    int width = 0, height = 0;
    double ra = 0, dec = 0, cornerRa = 0, cornerDec = 0;
    wcs >> ctype1 >> ctype2 >> width >> height >> ra >> dec >> cornerRa >> cornerDec;
    EXPECT_EQ(ctype1 + " " + ctype2, "RA---TAN DEC--TAN");
    EXPECT_EQ(width, 1024);
    EXPECT_EQ(height, 900);
    EXPECT_NEAR(ra, std::stod(ini["CRVAL1"]), 1e-4);
    EXPECT_NEAR(dec, std::stod(ini["CRVAL2"]), 1e-4);
    // Half the diagonal of 1024 x 900 pixels at 2 arcsec is 0.19 degree.
    const double across =
        std::hypot(std::remainder(cornerRa - ra, 360.0) * std::cos(dec * M_PI / 180), cornerDec - dec);
    EXPECT_NEAR(across, std::hypot(512, 450) * 2 / 3600, 0.003);

    // -update writes the solution into the image; without -wcs no .wcs is left.
    ASSERT_EQ(
        RunAstapProgram(home, {"-f", image, "-fov", "0.5", "-ra", "23.9467", "-spd", "99.4", "-update"}), 0)
        << home.Read("err.txt");
    EXPECT_EQ(ReadIni(home.Read("field.ini"))["PLTSOLVD"], "T");
    EXPECT_FALSE(std::filesystem::exists(home.File("field.wcs")));
    EXPECT_NE(home.Read("field.fit").substr(0, 2880 * 4).find("CTYPE1  = 'RA---TAN'"), std::string::npos);
}

}  // namespace
}  // namespace tornel
