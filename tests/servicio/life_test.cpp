// Who serves the object: the desktop program a user started keeps the name and stays when its
// clients leave; a second program leaves the name to the first. And the script checker's command.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/servicio/solver_client.h"

namespace tornel {
namespace {

using namespace std::chrono_literals;
using testing::BusTest;
using testing::ProcessEnded;
using testing::WaitUntil;

const std::string kBuild = TORNEL_BINARY_DIR;

class LifeTest : public BusTest {
  protected:
    // A program of the build on this bus, in the background; answers its process id.
    pid_t Start(const std::string& command, const std::string& folder) {
        const std::string line =
            "DBUS_SESSION_BUS_ADDRESS='" + bus->Address() + "' TORNEL_HOME='" + folder + "' exec " + command;
        pid_t pid = ::fork();
        if (pid == 0) {
            ::execl("/bin/sh", "sh", "-c", line.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        return pid;
    }
    // Waits for a program started here; answers its exit status, or -1 if it is still running.
    static int Await(pid_t pid, std::chrono::seconds limit) {
        int status = 0;
        bool ended = WaitUntil([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }, limit);
        return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    bool Served() { return client->interface()->isServiceRegistered(testing::kService).value(); }
};

#if TORNEL_WINDOW
TEST_F(LifeTest, UserStartedWindowServesStaysAfterItsClientsAndASecondProgramDefers) {
    const pid_t window = Start("'" + kBuild + "/interfaz/tornel'", home.Path());
    ASSERT_TRUE(WaitUntil([&] { return Served(); }, 60s)) << "the window did not take the name";
    EXPECT_EQ(ServicePid(), static_cast<uint>(window));
    EXPECT_EQ(Value("Connections").toInt(), 1);
    // Nothing happens for a program that a user started.
    ExpectAnswered(Method("SetupDialog"));
    // On a program folder of its own, so that only the name stands in its way.
    testing::TempFolder otherHome;
    const pid_t second =
        Start("'" + kBuild + "/consola/tornel-cli' --automation 2>'" + home.File("second.txt") + "'",
              otherHome.Path());
    EXPECT_EQ(Await(second, 30s), 2);
    EXPECT_NE(home.Read("second.txt").find("another program serves org.tornel.ImageSolver"),
              std::string::npos);
    Disconnect();
    std::this_thread::sleep_for(3s);  // longer than the grace a client-started program gives
    Connect();
    EXPECT_EQ(ServicePid(), static_cast<uint>(window)) << "the window did not stay";
    EXPECT_EQ(Value("Connections").toInt(), 1);
    ::kill(window, SIGTERM);
    Await(window, 30s);
}
#endif

TEST_F(LifeTest, ProgramStartedForAClientEndsWhenItsLastClientLeaves) {
    ASSERT_FALSE(Served());
    EXPECT_EQ(Value("Connections").toInt(), 1);
    const uint pid = ServicePid();
    // A second client, gdbus, that leaves once answered.
    const std::string gdbus = "DBUS_SESSION_BUS_ADDRESS='" + bus->Address() +
                              "' gdbus call --session --dest org.tornel.ImageSolver --object-path "
                              "/org/tornel/ImageSolver --method org.freedesktop.DBus.Properties.Get "
                              "org.tornel.ImageSolver1 Connections >'" +
                              home.File("gdbus.txt") + "'";
    EXPECT_EQ(std::system(gdbus.c_str()), 0);
    EXPECT_EQ(home.Read("gdbus.txt"), "(<2>,)\n");
    EXPECT_TRUE(WaitUntil([&] { return Value("Connections").toInt() == 1; }, 10s));
    Disconnect();
    EXPECT_TRUE(WaitUntil([&] { return ProcessEnded(pid); }, 15s));
}

TEST(CheckScriptCommand, ReportBesideTheScriptAndTheCountOfDoubtfulMembers) {
    testing::TempFolder folder;
    const std::string cli = kBuild + "/consola/tornel-cli";
    auto run = [&](const std::string& script) {
        const std::string line = "TORNEL_HOME='" + folder.Path() + "' '" + cli + "' --check-script '" +
                                 script + "' >'" + folder.File("out.txt") + "' 2>&1";
        const int raw = std::system(line.c_str());
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    };
    std::string script = folder.Write(
        "run.vbs", "Set t = CreateObject(\"Tornel.ImageSolver\")\nt.Analyse\nt.Sides\nt.Foo = 1\n");
    EXPECT_EQ(run(script), 1);
    EXPECT_EQ(folder.Read("out.txt"), "2 doubtful members marked in " + folder.File("runCHECK.txt") + "\n");
    EXPECT_NE(folder.Read("runCHECK.txt").find("NOT A METHOD NOR A PROPERTY"), std::string::npos);
    EXPECT_EQ(run(folder.Write("ok.vbs", "Set t = CreateObject(\"Tornel.ImageSolver\")\nt.Analyze\n")), 0);
    EXPECT_EQ(run(folder.Write("none.vbs", "MsgBox 1\n")), 1);
    EXPECT_EQ(run(folder.File("missing.vbs")), 2);
}

}  // namespace
}  // namespace tornel
