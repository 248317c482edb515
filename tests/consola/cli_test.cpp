// tornel-cli as a user runs it: usage, start-up report, analyse-and-exit, single instance, exit codes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "core/startup.h"
#include "herramientas/render/render.h"
#include "tests/consola/cli_process.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::TempFolder;

struct Result {
    int status = -1;
    std::string out, err;
};

Result RunCli(const TempFolder& home, const std::string& args) {
    std::string cli = std::string(TORNEL_BINARY_DIR) + "/consola/tornel-cli";
    std::string command = "TORNEL_HOME='" + home.Path() + "' '" + cli + "' " + args + " >'" +
                          home.File("out.txt") + "' 2>'" + home.File("err.txt") + "'";
    int raw = std::system(command.c_str());
    Result r;
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    r.out = home.Read("out.txt");
    r.err = home.Read("err.txt");
    return r;
}

TEST(Cli, HelpAndBadUsage) {
    TempFolder home;
    Result help = RunCli(home, "--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Usage: tornel-cli"), std::string::npos);
    EXPECT_EQ(RunCli(home, "--frobnicate").status, 2);
    EXPECT_EQ(RunCli(home, "'8 x.fit'").status, 2);
}

TEST(Cli, AModeThatIsNoneIsIgnoredAndTheParametersStand) {
    TempFolder home;
    // Empty database files pass the start-up checks.
    for (const char* name : {"est.bin", "pgc.bin", "ani090.bin", "pole000.bin", "pole179.bin"})
        home.Write(name, "");
    RunCli(home, "");
    const std::string parameters = home.Read("param.txt");
    for (const char* line : {"12 x.fit", "analyse x.fit 10 20", "-1", "8.6 x.fit"}) {
        Result r = RunCli(home, line);
        EXPECT_EQ(r.status, 0) << line;
        EXPECT_NE(r.out.find("CONFIGURATION"), std::string::npos) << line;
        EXPECT_NE(r.err.find("is not a number from 0 to 8; the command line is ignored"), std::string::npos)
            << line;
        EXPECT_EQ(home.Read("param.txt"), parameters) << line;
    }
    // A mode that is one is taken and saved.
    Result r = RunCli(home, "7");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err.find("is ignored"), std::string::npos);
    EXPECT_NE(home.Read("param.txt"), parameters);
}

TEST(Cli, FirstStartReportsAndWritesTheParameters) {
    TempFolder home;
    Result r = RunCli(home, "");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Program folder: " + home.Path()), std::string::npos);
    EXPECT_NE(r.out.find("CONFIGURATION"), std::string::npos);
    EXPECT_NE(r.err.find("does not exist. Verify the values of the parameters."), std::string::npos);
    EXPECT_NE(home.Read("param.txt").find("         1----------job to do"), std::string::npos);
    // The second start reads the file it left.
    Result again = RunCli(home, "");
    EXPECT_EQ(again.err.find("does not exist"), std::string::npos);
}

TEST(Cli, AnalysisWithMissingDatabasesEndsWithItsMessage) {
    TempFolder home;
    RunCli(home, "");
    // Point the parameters at a database that is not there.
    std::string params = home.Read("param.txt");
    auto at = params.find("Database number\r\n");
    ASSERT_NE(at, std::string::npos);
    home.Write("param.txt", params);
    Result r = RunCli(home, "--log=" + home.File("run.log") + " 8 " + home.File("m42.fit") + " 83.82 -5.39");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.out.find("DataBase not found or folder not found."), std::string::npos);
    EXPECT_NE(r.err.find("Warning: Stars DataBase " + home.Path() + "est.bin not found"), std::string::npos);
    EXPECT_NE(home.Read("run.log").find("DataBase not found or folder not found.\r\n"), std::string::npos);
}

TEST(Cli, AnyRightAscensionIsReducedAtOnce) {
    TempFolder home;
    RunCli(home, "");
    // Far beyond any turn, where adding or subtracting 360 changes nothing; no databases, so the run
    // ends as soon as the start-up is over.
    testing::CliProcess far(home, {"8", home.File("m42.fit"), "1e20", "0"});
    EXPECT_EQ(far.Wait(std::chrono::seconds(60)), 2);
    // One that no double holds is told and left out.
    testing::CliProcess huge(home, {"8", home.File("m42.fit"), "1e400", "0"});
    EXPECT_EQ(huge.Wait(std::chrono::seconds(60)), 2);
    std::string err = home.Read("err.txt");
    EXPECT_NE(
        err.find("The right ascension 1e400 of the command line is not a finite number; it is ignored."),
        std::string::npos)
        << err;
    EXPECT_EQ(err.find("Err.Number"), std::string::npos) << err;
}

TEST(Cli, SigtermEndsAProgramThatCannotYield) {
    TempFolder home;
    RunCli(home, "");
    // Standard output into a pipe that is full and never read: the first summary line blocks the
    // program in its write, where it never reaches a point that reads the signal.
    int pipeFds[2];
    ASSERT_EQ(::pipe(pipeFds), 0);
    ::fcntl(pipeFds[1], F_SETFL, O_NONBLOCK);
    const std::string block(4096, 'x');
    while (::write(pipeFds[1], block.data(), block.size()) > 0) {
    }
    ::fcntl(pipeFds[1], F_SETFL, 0);
    testing::CliProcess stuck(home, {"8", home.File("m42.fit")}, pipeFds[1]);
    ::close(pipeFds[1]);
    ASSERT_TRUE(stuck.Started());
    // Blocked for good: still there after a while.
    EXPECT_EQ(stuck.Wait(std::chrono::milliseconds(1500)), -1);
    stuck.Signal(SIGTERM);
    EXPECT_EQ(stuck.Wait(std::chrono::seconds(20)), 128 + SIGTERM);
    ::close(pipeFds[0]);
}

TEST(Cli, AMissingRegionIndexIsRebuiltAtStartUp) {
    TempFolder home;
    // The default folders of the stars and the distances are the program folder itself.
    std::string est;
    for (int32_t region = 1; region <= 3; ++region)
        for (int32_t v : {region * 100000 + 1, region * 1000000, -region * 1000000})
            for (int i = 0; i < 4; ++i)
                est.push_back(static_cast<char>((static_cast<uint32_t>(v) >> (8 * i)) & 0xFF));
    home.Write("est.bin", est);
    home.Write("ani090.bin", "");
    Result r = RunCli(home, "");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("The region.bin file has not be found."), std::string::npos);
    EXPECT_NE(r.err.find("Wait... 97"), std::string::npos);
    EXPECT_EQ(home.Read("region.bin").size(), 9537u * 20);
}

TEST(Cli, SecondProgramOnTheSameFolderEndsSilently) {
    TempFolder home;
    InstanceLock held;
    ASSERT_TRUE(held.Acquire(home.Path()));
    Result r = RunCli(home, "");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "");
}

TEST(Cli, AnalysisExtractsAndListsTheSelectedStars) {
    TempFolder home;
    RunCli(home, "");
    // Empty database files are enough to reach the search, which is not built yet.
    for (const char* name : {"est.bin", "pgc.bin", "ani090.bin", "pole000.bin", "pole179.bin"})
        home.Write(name, "");
    render::Field field;
    field.width = 500, field.height = 400, field.psfSigma = 2.5;
    field.stars = render::RandomStars(8, 500, 400, 30, 60, 250000, 350000, 5);
    ASSERT_TRUE(
        render::WriteFits(home.File("field.fit"), render::Render(field), render::FitsStorage::Unsigned));
    Result r = RunCli(home, "8 " + home.File("field.fit"));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("Size: 500x400 pixels."), std::string::npos);
    EXPECT_NE(r.out.find("Selected stars:"), std::string::npos);
    EXPECT_NE(r.out.find("8: x="), std::string::npos);
    EXPECT_NE(r.err.find("Position not found."), std::string::npos);
    // A damaged image ends with its own message.
    home.Write("broken.jpg", "not a picture");
    r = RunCli(home, "8 " + home.File("broken.jpg"));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("Image not loaded."), std::string::npos);
}

}  // namespace
}  // namespace tornel
