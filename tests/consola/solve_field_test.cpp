// tornel-solve-field as KStars/Ekos, NINA and CCDciel run it: their command lines and refusals, the
// units of the scale, and the .solved and .wcs files they look for, the .wcs read back by astropy.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/consola/program_run.h"
#include "tests/support/astropy_wcs.h"
#include "tests/support/generated_sky.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::EmptyDatabases;
using testing::SmallField;
using testing::TempFolder;

testing::ProgramRun SolveField(const TempFolder& home, const std::vector<std::string>& args) {
    return testing::RunProgram(home, "tornel-solve-field", args);
}

bool Exists(const std::string& path) {
    return std::filesystem::exists(path);
}

std::string Line(const std::vector<std::string>& args) {
    std::string line;
    for (const auto& a : args)
        line += a + " ";
    return line;
}

TEST(SolveFieldProgram, HelpAndBadCommandLines) {
    TempFolder home;
    const testing::ProgramRun help = SolveField(home, {"-h"});
    EXPECT_EQ(help.status, 0);
    for (const char* option :
         {"--scale-low",  "--scale-high", "--scale-units", "arcminwidth", "focalmm",        "--ra",
          "--dec",        "--radius",     "--cpulimit",    "--objs",      "--cancel",       "--dir",
          "--out",        "--wcs",        "--solved",      "--overwrite", "--crpix-center", "--new-fits",
          "--downsample", "Example",      "Exit status"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;

    const std::string image = SmallField(home, "plain.fit", {});
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "no IMAGE given"},
        {{image, "other.fit"}, "one IMAGE at a time; \"other.fit\" is a second one"},
        {{image, "-L", "abc", "-H", "2"}, "the value of -L/--scale-low must be a number above 0"},
        {{image, "--scale-high=-1"}, "the value of -H/--scale-high must be a number above 0"},
        {{image, "-u", "furlongs", "-L", "1", "-H", "2"}, "the value of -u/--scale-units must be"},
        {{image, "-u", "app", "-L", "2", "-H", "1"}, "-L/--scale-low is above -H/--scale-high"},
        {{image, "-u", "app", "-L", "3000", "-H", "5000"},
         "the scale of -L/-H, up to 5000 arcsec per pixel, is above the 3600"},
        {{image, "-3", "400", "-4", "10"}, "the value of -3/--ra must be degrees from 0 to 360"},
        {{image, "--ra", "10", "--dec", "+91:00:00"}, "the value of -4/--dec must be degrees from -90"},
        {{image, "-3", "10"}, "-3/--ra and -4/--dec go together"},
        {{image, "-5", "0"}, "the value of -5/--radius must be degrees above 0"},
        {{image, "-l", "soon"}, "the value of -l/--cpulimit must be seconds above 0"},
        {{image, "--objs", "4.5"}, "the value of --objs must be a whole number"},
        {{image, "-W"}, "-W needs a value"},
        {{home.File("missing.fit"), "-O"}, "cannot read the image"},
    };
    for (const auto& [args, message] : cases) {
        // A refusal takes away an earlier answer that -O would have replaced.
        const std::string stale =
            (args.empty() ? "plain" : std::filesystem::path(args[0]).stem().string()) + ".solved";
        home.Write(stale, "\x01");
        std::vector<std::string> line = {"-O"};
        line.insert(line.end(), args.begin(), args.end());
        const testing::ProgramRun r = SolveField(home, line);
        EXPECT_EQ(r.status, 2) << Line(line);
        EXPECT_NE(r.err.find("tornel-solve-field: " + message), std::string::npos) << Line(line) << "\n"
                                                                                   << r.err;
        EXPECT_EQ(r.out, "") << Line(line);
        EXPECT_EQ(Exists(home.File(stale)), args.empty()) << Line(line);
    }
}

// On empty databases nothing solves: what is observed is how the options reach the search, and the
// files left behind.
TEST(SolveFieldProgram, ScaleUnitsCancelAndEarlierAnswers) {
    TempFolder home;
    ASSERT_TRUE(EmptyDatabases(home));
    const std::string plain = SmallField(home, "plain.fit", {});
    const std::string sensor = SmallField(home, "sensor.fit", {"XPIXSZ  = 3.76"});
    // 206.265 * 3.76 micrometres over 1100 and 900 mm.
    char focal[128];
    std::snprintf(focal, sizeof focal, "%.4f to %.4f arcsec per pixel", 206.264806 * 3.76 / 1100,
                  206.264806 * 3.76 / 900);
    struct Case {
        std::vector<std::string> args;
        std::vector<std::string> notes;  // on standard error
    };
    const std::vector<Case> cases = {
        {{plain, "-u", "app", "-L", "1", "-H", "2", "--frobnicate", "--foo=3", "-p", "--match", "none",
          "--depth", "20,30", "-N", "none", "--objs", "5000"},
         {"ignored the unknown option --frobnicate", "ignored the unknown option --foo=3",
          "--objs 5000 taken as 1000",
          "searched at its middle by the database roads, 1.5000 arcsec per pixel"}},
        {{plain, "--scale-units", "arcsecperpix", "--scale-low", "1.2", "--scale-high", "1.2"},
         {"searched at its middle by the database roads, 1.2000 arcsec per pixel"}},
        // Widths over the image's 500 pixels; degrees are the units when none are given.
        {{plain, "-u", "amw", "-L", "10", "-H", "20"},
         {"-L/-H in arc minutes over 500 pixels: 1.2000 to 2.4000 arcsec per pixel",
          "searched at its middle by the database roads, 1.8000"}},
        {{plain, "-u", "aw", "-L", "10", "-H", "20"},
         {"searched at its middle by the database roads, 1.8000"}},
        {{plain, "-u", "dw", "-L", "0.2", "-H", "0.3"},
         {"-L/-H in degrees over 500 pixels: 1.4400 to 2.1600 arcsec per pixel"}},
        {{plain, "--scale-low", "0.2", "--scale-high", "0.3"}, {"1.4400 to 2.1600 arcsec per pixel"}},
        {{plain, "-u", "degwidth", "-H", "0.25"}, {"searched at its middle by the database roads, 1.8000"}},
        {{sensor, "-u", "focalmm", "-L", "900", "-H", "1100"}, {focal}},
        // No pixel size: the header has no scale either.
        {{plain, "-u", "focalmm", "-L", "900", "-H", "1100"},
         {"-u focalmm needs the pixel size", "the scale is unknown"}},
    };
    for (const auto& k : cases) {
        const testing::ProgramRun r = SolveField(home, k.args);
        EXPECT_EQ(r.status, 1) << Line(k.args) << r.err;
        for (const auto& note : k.notes)
            EXPECT_NE(r.err.find(note), std::string::npos) << note << "\n" << r.err;
        EXPECT_EQ(r.out.rfind("Not solved: ", 0), 0u) << r.out;
        EXPECT_FALSE(Exists(home.File("plain.solved")) || Exists(home.File("plain.wcs")));
    }

    // The cancel file there from the start: the first run stops at once, no other follows.
    home.Write("stop.cancel", "");
    testing::ProgramRun r =
        SolveField(home, {plain, "-u", "app", "-L", "2", "-H", "2", "--cancel", home.File("stop.cancel")});
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_NE(r.err.find("cancelled: " + home.File("stop.cancel") + " appeared"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("database 2, not mirrored: "), std::string::npos) << r.err;
    EXPECT_EQ(r.out.rfind("Not solved: cancelled", 0), 0u) << r.out;
    EXPECT_FALSE(Exists(home.File("plain.solved")));

    // A time limit far below the run's length stops it at its first yield.
    r = SolveField(home, {plain, "-u", "app", "-L", "2", "-H", "2", "--cpulimit", "0.000001"});
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_EQ(r.out.rfind("Not solved: stopped after the time limit of 1e-06 s", 0), 0u) << r.out;

    // An earlier answer stays without -O and nothing is solved; with -O it goes. A .wcs alone is
    // no answer: it goes too.
    const std::vector<std::string> line = {plain, "-u", "app", "-L", "2", "-H", "2"};
    home.Write("plain.solved", "\x01");
    home.Write("plain.wcs", "earlier");
    r = SolveField(home, line);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("plain.solved is there from an earlier run"), std::string::npos) << r.err;
    EXPECT_EQ(home.Read("plain.wcs"), "earlier");
    std::vector<std::string> overwrite = line;
    overwrite.push_back("--overwrite");
    EXPECT_EQ(SolveField(home, overwrite).status, 1);
    EXPECT_FALSE(Exists(home.File("plain.solved")) || Exists(home.File("plain.wcs")));
    home.Write("plain.wcs", "earlier");
    EXPECT_EQ(SolveField(home, line).status, 1);
    EXPECT_FALSE(Exists(home.File("plain.wcs")));
}

class SolveFieldGeneratedSky : public testing::GeneratedSkyTest {};

TEST_F(SolveFieldGeneratedSky, TheClientsFindTheirAnswerWhereTheyAskedForIt) {
    const std::string image = Render({150.3, -29.8, 0, 0, 0, 0, false});
    Parameters(0, false);
    const std::string wcs = home.MakeFolder("kstars") + "solver.wcs";
    // KStars/Ekos's line, with the .solved in a folder and a name of its own.
    const std::vector<std::string> kstars = {"-O",
                                             "--no-plots",
                                             "--no-verify",
                                             "--crpix-center",
                                             "--match",
                                             "none",
                                             "--corr",
                                             "none",
                                             "--new-fits",
                                             "none",
                                             "--rdls",
                                             "none",
                                             "--resort",
                                             "--depth",
                                             "20,30",
                                             "--objs",
                                             "100",
                                             "--downsample",
                                             "2",
                                             "--odds-to-solve",
                                             "1e9",
                                             "-L",
                                             "1.8",
                                             "-H",
                                             "2.2",
                                             "-u",
                                             "app",
                                             "-3",
                                             "150",
                                             "-4",
                                             "-30",
                                             "-5",
                                             "2",
                                             "--cancel",
                                             home.File("kstars/solver.cancel"),
                                             "-W",
                                             wcs,
                                             "--backend-config",
                                             home.File("kstars/astrometry.cfg"),
                                             "--no-remove-lines",
                                             "--uniformize",
                                             "0",
                                             "-D",
                                             home.File("answers"),
                                             "-o",
                                             "m42",
                                             image};
    testing::ProgramRun r = SolveField(home, kstars);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("Solved\n", 0), 0u) << r.out;
    double ra = 0, dec = 0, measured = 0;
    const auto degrees = r.out.find("          RA "), scaleLine = r.out.find("Scale:");
    ASSERT_TRUE(degrees != std::string::npos && scaleLine != std::string::npos) << r.out;
    ASSERT_EQ(std::sscanf(r.out.c_str() + degrees, " RA %lf DEC %lf degrees", &ra, &dec), 2) << r.out;
    ASSERT_EQ(std::sscanf(r.out.c_str() + scaleLine, "Scale: %lf", &measured), 1) << r.out;
    EXPECT_LT(testing::SeparationDegrees(ra, dec, 150.3, -29.8) * 3600, 4);
    EXPECT_NEAR(measured, 2, 0.01);
    EXPECT_EQ(home.Read("answers/m42.solved"), "\x01");
    EXPECT_FALSE(Exists(home.File("answers/m42.wcs")) || Exists(home.File("field.solved")));

    // The .wcs as a client reads it: whole FITS blocks with the image's sides; astropy puts the
    // rendered centre at the image's centre pixel, the reference pixel there.
    const std::string header = home.Read("kstars/solver.wcs");
    EXPECT_EQ(header.size() % 2880, 0u);
    EXPECT_NE(header.find("IMAGEW  =                 1024"), std::string::npos);
    EXPECT_NE(header.find("IMAGEH  =                  900"), std::string::npos);
    const testing::AstropyReading read = testing::Astropy(wcs, {{512.5, 450.5}});
    ASSERT_EQ(read.sky.size(), 1u);
    EXPECT_LT(testing::SeparationDegrees(read.sky[0][0], read.sky[0][1], 150.3, -29.8) * 3600, 4);
    EXPECT_NEAR(read.crpixX, 512.5, 1);
    EXPECT_NEAR(read.crpixY, 450.5, 1);
    EXPECT_NEAR(read.scale, 2, 0.01);

    // CCDciel's line, the .solved named by -S, the .wcs beside the image.
    r = SolveField(home, {"--overwrite", "--scale-low",   "1.9",          "--scale-high",
                          "2.1",         "--scale-units", "arcsecperpix", "--ra",
                          "10:01:12",    "--dec",         "-29:48:00",    "--radius",
                          "3",           "--objs",        "60",           "--downsample",
                          "2",           "--no-plots",    "-S",           home.File("ccdciel.solved"),
                          image});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(home.Read("ccdciel.solved"), "\x01");
    EXPECT_FALSE(Exists(home.File("field.solved")));
    EXPECT_NE(home.Read("field.wcs").find("CTYPE1  = 'RA---TAN'"), std::string::npos);

    // A field of another sky, the answer of an earlier run still there: -O takes it away and none
    // takes its place.
    std::vector<db::FieldStar> strangers =
        db::ProjectField(testing::GeneratedSky(99), {150, -30, 2, 0, 1024, 900, false}, {});
    Render({150, -30, 0, 0, 0, 0, false}, &strangers);
    home.Write("field.solved", "\x01");
    r = SolveField(home, {"-O", "-L", "0.5", "-H", "0.6", "-3", "150", "-4", "-30", "-5", "2", image});
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_EQ(r.out.rfind("Not solved: ", 0), 0u) << r.out;
    EXPECT_NE(r.err.find("-L/-H in degrees over 1024 pixels"), std::string::npos) << r.err;
    EXPECT_FALSE(Exists(home.File("field.wcs")) || Exists(home.File("field.solved")));
}

}  // namespace
}  // namespace tornel
