// tornel-cli solve as a user and an imaging program run it: its options and refusals, the hints of
// the FITS header, the JSON answer, and param.txt left as it was.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/consola/program_run.h"
#include "tests/support/generated_sky.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::EmptyDatabases;
using testing::Quoted;
using testing::SmallField;
using testing::TempFolder;

testing::ProgramRun Solve(const TempFolder& home, std::vector<std::string> args) {
    args.insert(args.begin(), "solve");
    return testing::RunProgram(home, "tornel-cli", args);
}

// The members of the JSON object in `path` as Python's json module reads them, each as its repr.
std::map<std::string, std::string> ParseJson(const TempFolder& home, const std::string& path) {
    const std::string script =
        "import json,sys\nd=json.load(open(sys.argv[1]))\n"
        "[print(k+'='+repr(v)) for k,v in d.items()]\n";
    home.Write("read_json.py", script);
    const std::string command = std::string(TORNEL_PYTHON) + " " + Quoted(home.File("read_json.py")) + " " +
                                Quoted(path) + " >" + Quoted(home.File("json.txt"));
    std::map<std::string, std::string> members;
    if (std::system(command.c_str()) != 0) return members;
    std::istringstream lines(home.Read("json.txt"));
    for (std::string line; std::getline(lines, line);)
        if (auto eq = line.find('='); eq != std::string::npos)
            members[line.substr(0, eq)] = line.substr(eq + 1);
    return members;
}

TEST(SolveCommand, HelpShowsEveryOptionWithAnExample) {
    TempFolder home;
    const testing::ProgramRun help = Solve(home, {"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* option :
         {"--scale ", "--scale-low ", "--scale-high ", "--fov ", "--angle ", "--mirror", "--ra ", "--dec ",
          "--radius ", "--blind", "--database ", "--stars ", "--timeout ", "--wcs ", "--json", "--quiet"}) {
        // Once where it is told, once in its example.
        const auto first = help.out.find(option);
        ASSERT_NE(first, std::string::npos) << option;
        EXPECT_NE(help.out.find(option, first + 1), std::string::npos) << option;
    }
    EXPECT_NE(help.out.find("tornel-cli solve m42.fit"), std::string::npos);
}

TEST(SolveCommand, BadCommandLinesAreRefusedWithTheirReason) {
    TempFolder home;
    const std::string image = SmallField(home, "plain.fit", {});
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "no IMAGE given"},
        {{image, "--frobnicate"}, "unknown option --frobnicate"},
        {{image, "--scale"}, "--scale needs a value"},
        {{image, "--scale", "abc"}, "the value of --scale must be arc seconds above 0"},
        {{image, "--scale", "0"}, "the value of --scale must be"},
        {{image, "--scale=1e400"}, "the value of --scale must be"},
        {{image, "--scale-low", "2", "--scale-high", "1"}, "--scale-low is above --scale-high"},
        {{image, "--scale-low", "1"}, "--scale-low and --scale-high go together"},
        {{image, "--scale", "1", "--fov", "0.5"}, "give one of --scale"},
        {{image, "--fov", "200"}, "the value of --fov must be degrees above 0, to 180"},
        {{image, "--scale", "1", "--ra", "24:00:01", "--dec", "0"}, "the value of --ra must be"},
        {{image, "--scale", "1", "--ra", "10", "--dec", "+90:00:01"}, "the value of --dec must be"},
        {{image, "--scale", "1", "--ra", "10:61:00", "--dec", "0"}, "the value of --ra must be"},
        {{image, "--scale", "1", "--ra", "10"}, "--ra and --dec go together"},
        {{image, "--scale", "1", "--radius", "-3"}, "the value of --radius must be"},
        {{image, "--scale", "1", "--database", "3"}, "the value of --database must be 1 or 2"},
        {{image, "--scale", "1", "--stars", "4.5"}, "the value of --stars must be a whole number"},
        {{image, "--scale", "1", "--timeout", "0"}, "the value of --timeout must be seconds above 0"},
        {{image, "--scale", "1", "--blind", "--database", "1"}, "--blind searches the whole sky"},
        {{image, "--scale", "1", "--database", "1"}, "database 1 searches around a position"},
        {{image, "second.fit", "--scale", "1"}, "one IMAGE only"},
        {{image, "--no-patterns"}, "the image scale is unknown"},
        {{home.File("missing.fit"), "--scale", "1"}, "cannot read the image"},
        {{home.Path(), "--scale", "1"}, "cannot read the image"},
    };
    for (const auto& [args, message] : cases) {
        const testing::ProgramRun r = Solve(home, args);
        std::string line;
        for (const auto& a : args)
            line += a + " ";
        EXPECT_EQ(r.status, 2) << line;
        EXPECT_NE(r.err.find("tornel-cli solve: " + message), std::string::npos) << line << "\n" << r.err;
        EXPECT_EQ(r.out, "") << line;
    }
}

TEST(SolveCommand, HeaderHintsChooseTheScaleAndTheSearch) {
    TempFolder home;
    ASSERT_TRUE(EmptyDatabases(home));
    const std::string parameters = home.Read("param.txt");
    struct Case {
        std::vector<std::string> cards, options;
        std::string note;  // on standard error
        int database;      // the first searched: with a position, database 1 on these narrow fields
    };
    const std::vector<Case> cases = {
        {{"RA      = 83.8200", "DEC     = -5.3900", "PIXSCALE= 1.25"},
         {},
         "scale from the FITS header (PIXSCALE): 1.2500 arcsec per pixel",
         1},
        {{"OBJCTRA = '05 35 17'", "OBJCTDEC= '-05 23 28'", "FOCALLEN= 1000", "XPIXSZ  = 3.76"},
         {},
         "position from the FITS header: RA 83.820",
         1},
        // Plate scale 206.265 * 3.76 / 1000 = 0.7756 arcsec per pixel.
        {{"FOCALLEN= 1000", "XPIXSZ  = 3.76"}, {}, "(FOCALLEN/XPIXSZ): 0.7756 arcsec per pixel", 2},
        {{"CD1_1   = -0.0005", "CD2_1   = 0.0"}, {}, "(CD1_1/CD2_1): 1.8000 arcsec per pixel", 2},
        // The command line wins over the header; --blind drops the header's position.
        {{"RA      = 83.8200", "DEC     = -5.3900", "SCALE   = 9.0"}, {"--scale", "2", "--blind"}, "", 2},
        {{},
         {"--scale-low", "1", "--scale-high", "2"},
         "searched at its middle by the database roads, 1.5000 arcsec per pixel",
         2},
        {{}, {"--fov", "0.5"}, "--fov 0.5 over 500 pixels: 3.6000 arcsec per pixel", 2},
        {{}, {"--scale", "2", "--ra", "05:35:17", "--dec", "-05:23:28", "--radius", "120"}, "", 2},
    };
    for (const auto& k : cases) {
        const std::string image = SmallField(home, "hinted.fit", k.cards);
        std::vector<std::string> args = {image, "--json"};
        args.insert(args.end(), k.options.begin(), k.options.end());
        const testing::ProgramRun r = Solve(home, args);
        EXPECT_EQ(r.status, 1) << k.note << r.err;
        EXPECT_NE(r.err.find(k.note), std::string::npos) << k.note << "\n" << r.err;
        home.Write("answer.json", r.out);
        auto json = ParseJson(home, home.File("answer.json"));
        EXPECT_EQ(json["solved"], "False") << r.out;
        // Every run failed on the empty databases; each but the last left its note.
        const bool firstOne =
            r.err.find("database 1 turning through every angle, not mirrored: ") != std::string::npos;
        EXPECT_EQ(firstOne, k.database == 1) << k.note << "\n" << r.err;
        EXPECT_EQ(json["database"], "2") << k.note;
        EXPECT_EQ(json["ra_deg"], "None");
        EXPECT_FALSE(json["seconds"].empty());
        EXPECT_EQ(home.Read("param.txt"), parameters) << k.note;
    }
    // The readable block and the one result line of --quiet.
    const std::string image = SmallField(home, "plain.fit", {});
    testing::ProgramRun r = Solve(home, {image, "--scale", "2"});
    EXPECT_NE(r.out.find("Not solved: "), std::string::npos) << r.out;
    r = Solve(home, {image, "--scale", "2", "--quiet"});
    EXPECT_EQ(r.out.rfind("not solved (", 0), 0u) << r.out;
    EXPECT_EQ(r.out.find('\n'), r.out.size() - 1);
    EXPECT_EQ(home.Read("param.txt"), parameters);
}

// Whole solves on the generated sky, with parameters that would fail: the options alone must do.
class SolveGeneratedSky : public testing::GeneratedSkyTest {
  protected:
    void WrongParameters() {
        Parameters(200, true, [](Context& c) {
            c.gSegundosPorPixelX = c.gSegundosPorPixelY = 5;
            c.gFocalEnPixeles = FocalDesdeEscala(5);
            CalculaValoresDerivados(c);
            c.gUmbralAutomatico = 0;
        });
    }
};

TEST_F(SolveGeneratedSky, OptionsAndHeaderHintsSolveAsModeEightDoes) {
    const std::string image = Render({0.05, 10.2, 0, 0, 0, 0, false});
    WrongParameters();
    const std::string parameters = home.Read("param.txt");
    const std::string wcs = home.File("field.wcs");
    const testing::ProgramRun r =
        Solve(home, {image, "--scale", "2", "--angle", "0.3", "--ra", "23:56:48", "--dec", "+09:24:00",
                     "--radius", "2.5", "--json", "--wcs", wcs});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(home.Read("param.txt"), parameters);
    home.Write("answer.json", r.out);
    auto json = ParseJson(home, home.File("answer.json"));
    ASSERT_EQ(json["solved"], "True") << r.out;
    EXPECT_LT(std::fabs(std::remainder(std::stod(json["ra_deg"]) - 0.05, 360.0)), 0.002);
    EXPECT_LT(std::fabs(std::stod(json["dec_deg"]) - 10.2), 0.002);
    EXPECT_LT(std::fabs(std::stod(json["scale_arcsec"]) - 2), 0.01);
    EXPECT_LT(std::fabs(std::remainder(std::stod(json["angle_deg"]), 360.0)), 0.2);
    EXPECT_EQ(json["mirror"], "False");
    EXPECT_GE(std::stoi(json["sides"]), 3);
    const std::string header = home.Read("field.wcs");
    EXPECT_EQ(header.size() % 2880, 0u);
    EXPECT_EQ(header.rfind("SIMPLE  =", 0), 0u);
    EXPECT_NE(header.find("CTYPE1  = 'RA---TAN'"), std::string::npos);

    // The same answer from the header's hints alone, and from tornel-cli 8 on parameters that say
    // what the options said.
    const std::string hinted = Render({0.05, 10.2, 0, 0, 0, 0, false}, nullptr,
                                      {"OBJCTRA = '23 56 48'", "OBJCTDEC= '+09 24 00'", "SECPIX1 = 2.0"});
    const testing::ProgramRun fromHeader = Solve(home, {hinted, "--angle", "0.3", "--quiet"});
    ASSERT_EQ(fromHeader.status, 0) << fromHeader.err;
    EXPECT_EQ(fromHeader.out.rfind("solved ra=", 0), 0u) << fromHeader.out;
    Parameters(0.3, false);
    const testing::CliOutcome eight = Run(hinted, 359.2, 9.4);
    ASSERT_EQ(eight.status, 0);
    const auto at = eight.out.find("Solution : arM = ");
    ASSERT_NE(at, std::string::npos);
    double ra = 0, dec = 0;
    ASSERT_EQ(std::sscanf(eight.out.c_str() + at, "Solution : arM = %lf deM = %lf", &ra, &dec), 2);
    EXPECT_NEAR(std::stod(json["ra_deg"]), ra, 0.0006);
    EXPECT_NEAR(std::stod(json["dec_deg"]), dec, 0.0006);
}

// What a client sends: a position and a scale, no angle and no parity. On this narrow field database 1
// goes first, turning through the angles, unmirrored and then mirrored.
TEST_F(SolveGeneratedSky, AnUnknownAngleAndParityAreSearched) {
    const std::string image = Render({150.3, -29.8, 0, 137, 0, 0, true});
    WrongParameters();
    testing::ProgramRun r = Solve(home, {image, "--scale", "2", "--ra", "150", "--dec", "-30", "--json"});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    home.Write("answer.json", r.out);
    auto json = ParseJson(home, home.File("answer.json"));
    EXPECT_LT(std::fabs(std::remainder(std::stod(json["ra_deg"]) - 150.3, 360.0)), 0.002);
    EXPECT_LT(std::fabs(std::stod(json["dec_deg"]) + 29.8), 0.002);
    EXPECT_EQ(json["mirror"], "True");
    EXPECT_EQ(json["database"], "1");
    EXPECT_NE(r.err.find("database 1 turning through every angle, not mirrored: "), std::string::npos)
        << r.err;
    // A parity given is the only one tried.
    r = Solve(home, {image, "--scale", "2", "--ra", "150", "--dec", "-30", "--no-mirror", "--quiet"});
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    // A database asked for and missing is a set-up error.
    r = Solve(home, {image, "--scale", "2", "--ra", "150", "--dec", "-30", "--database", "2"});
    EXPECT_EQ(r.status, 2) << r.out << r.err;
}

TEST_F(SolveGeneratedSky, AFieldOfAnotherSkyOrARunOutOfTimeIsNotSolved) {
    std::vector<db::FieldStar> strangers =
        db::ProjectField(testing::GeneratedSky(99), {150, -30, 2, 0, 1024, 900, false}, {});
    const std::string image = Render({150, -30, 0, 0, 0, 0, false}, &strangers);
    WrongParameters();
    const std::string parameters = home.Read("param.txt");
    testing::ProgramRun r = Solve(home, {image, "--scale", "2", "--ra", "150", "--dec", "-30"});
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_EQ(r.out.rfind("Not solved: ", 0), 0u) << r.out;
    EXPECT_EQ(home.Read("param.txt"), parameters);
    // A limit far below the run's length stops it at its first yield.
    const std::string field = Render({150.3, -29.8, 0, 0, 0, 0, false});
    r = Solve(home,
              {field, "--scale", "2", "--ra", "150", "--dec", "-30", "--timeout", "0.000001", "--json"});
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_NE(r.out.find("stopped after the time limit of 1e-06 s"), std::string::npos) << r.out;
}

}  // namespace
}  // namespace tornel
