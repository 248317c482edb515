// The planetarium link against a fake Cartes du Ciel server, and the line service that serves the
// solved centre to telescope programs.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "core/timers.h"
#include "telescopio/line_service.h"
#include "telescopio/telescopio.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"
#include "tests/telescopio/fake_cartes_du_ciel_server.h"

namespace tornel {
namespace {

using testing::FakeCartesDuCielServer;
using testing::RecordingPlatform;

struct Program {
    Program() {
        c.gCarpetaPrograma = home.Path();
        c.linkTimeoutMs = 1000;
        c.planetariumWaitMs = 300;
    }
    void Solved(double ra, double dec, double raOfDate, double decOfDate) {
        c.gHaySolucion = true;
        c.gARJ2000 = ra, c.gDEJ2000 = dec, c.gARActual = raOfDate, c.gDEActual = decOfDate;
    }
    testing::TempFolder home;
    RecordingPlatform platform;
    Context c{platform};
};

TEST(Planetarium, TheChartCentreBecomesTheSearchCentre) {
    FakeCartesDuCielServer server;
    Program p;
    p.c.planetarium = server.Address();
    EXPECT_EQ(LeeCentroBusquedaDeCartesDuCielDDE(p.c), 0);
    EXPECT_EQ(p.c.LabelDDEciel, "RA:05h35m17.30s DEC:-22d00m52.0s FOV:+01d30m00s");
    EXPECT_NEAR(p.c.gCentroBusquedaRA, 5.58814 * 15, 0.01 / 240);
    EXPECT_NEAR(p.c.gCentroBusquedaDEC, -22.01444, 0.05 / 3600);
    EXPECT_EQ(server.CommandsUntilQuit().back(), "QUIT");
}

TEST(Planetarium, TheMoveTakesTheSolvedCentreAndKeepsTheChartsField) {
    Program p;
    // 05h35m17.30s, +22d00m52.0s in J2000; the date's equinox when chosen.
    p.Solved(83.8220833, 22.0144444, 84.1, -0.5);
    std::string move;
    FabricaMovimientoCdC(p.c, move);
    EXPECT_EQ(move, "MOVE RA: 05h35m17.30s DEC:+22°00'52.0");
    p.c.gSincroEquinoccioActual = 1;
    FabricaMovimientoCdC(p.c, move);
    EXPECT_EQ(move, "MOVE RA: 05h36m24.00s DEC:-00°30'00.0");
    // Seconds that round up to 60 carry into the minutes, and those into the hours.
    p.c.gARActual = 15 * (1 + 59 / 60.0 + 59.999 / 3600);
    FabricaMovimientoCdC(p.c, move);
    EXPECT_EQ(move.substr(0, 22), "MOVE RA: 02h00m00.00s ");

    FakeCartesDuCielServer server;
    p.c.planetarium = server.Address();
    p.c.gSincroEquinoccioActual = 0;
    p.c.gTelescopioSincro = 2;
    Sincroniza(p.c);
    const auto commands = server.CommandsUntilQuit();
    ASSERT_GE(commands.size(), 2u);
    EXPECT_EQ(commands[commands.size() - 2], "MOVE RA:05h35m17.30s DEC:+22d00m52.0s FOV:+01d30m00s");
}

TEST(Planetarium, APlanetariumThatFailsIsTold) {
    {
        FakeCartesDuCielServer silent(FakeCartesDuCielServer::Manner::Silent);
        Program p;
        p.c.planetarium = silent.Address();
        EXPECT_NE(LeeCentroBusquedaDeCartesDuCielDDE(p.c), 0);
        EXPECT_TRUE(p.platform.SummaryHas("No answer from Cartes du Ciel 1"));
        EXPECT_EQ(p.platform.LastLabel(), "No answer from Cartes du Ciel 2   ");
    }
    {
        FakeCartesDuCielServer refusing(FakeCartesDuCielServer::Manner::Refuses);
        Program p;
        p.c.planetarium = refusing.Address();
        EXPECT_NE(LeeCentroBusquedaDeCartesDuCielDDE(p.c), 0);
        ASSERT_EQ(p.platform.messages.size(), 1u);
        EXPECT_NE(p.platform.messages[0].find("Cannot activate a chart."), std::string::npos);
    }
    Program p;
    p.c.planetarium = "cdc://127.0.0.1:" + std::to_string(testing::FreeLoopbackPort());
    EXPECT_NE(LeeCentroBusquedaDeCartesDuCielDDE(p.c), 0);
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_NE(p.platform.messages[0].find(" LeeCentroBusquedaDeCartesDuCielDDE"), std::string::npos);
}

// The chart's replies as they land: a value out of its range is no centre (it overflowed the label's
// fields), a bare "OK!" is an empty chart, anything else is nothing.
TEST(Planetarium, RepliesOutOfRangeOrMalformedGiveNoCentre) {
    const std::string label = ChartCentreLabel("OK! 5.58814", "OK! -5.39111", "OK! 1.5");
    EXPECT_EQ(label, "RA:05h35m17.30s DEC:-05d23m28.0s FOV:+01d30m00s");
    double ra = 0, dec = 0;
    ASSERT_TRUE(ChartCentreOfLabel(label, ra, dec));
    EXPECT_NEAR(ra, 83.822, 1e-3);
    EXPECT_NEAR(dec, -5.3911, 1e-4);
    EXPECT_EQ(ChartCentreLabel("OK! 1e300", "OK! 5", "OK! 1"), "erroneo");
    EXPECT_EQ(ChartCentreLabel("OK! 5", "OK! -91", "OK! 1"), "erroneo");
    EXPECT_EQ(ChartCentreLabel("OK! nan", "OK! 5", "OK! 1"), "erroneo");
    EXPECT_EQ(ChartCentreLabel("OK! 5", "OK! 5", "OK! 1e308"),
              ChartCentreLabel("OK! 5", "OK! 5", "OK! 0"));  // a wild field of view is left out
    EXPECT_EQ(ChartCentreLabel("OK!", "OK! 5", "OK! 1"), "");
    EXPECT_FALSE(ChartCentreOfLabel("RA:", ra, dec));
}

// A client of the line service on the loopback.
class LineClient {
  public:
    explicit LineClient(uint16_t port) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    }
    ~LineClient() { ::close(fd_); }
    bool Connected() const { return connected_; }
    void Send(const std::string& line) { ::send(fd_, line.data(), line.size(), MSG_NOSIGNAL); }
    // The next line, serving the program until it comes.
    std::string Line(Context& c) {
        for (int i = 0; i < 100; ++i) {
            const size_t end = pending_.find("\r\n");
            if (end != std::string::npos) {
                std::string line = pending_.substr(0, end);
                pending_.erase(0, end + 2);
                return line;
            }
            ServeLineClients(c);
            char buffer[512];
            const ssize_t n = ::recv(fd_, buffer, sizeof buffer, MSG_DONTWAIT);
            if (n > 0) pending_.append(buffer, static_cast<size_t>(n));
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return "(nothing)";
    }

  private:
    int fd_ = -1;
    bool connected_ = false;
    std::string pending_;
};

TEST(LineService, ClientsHandCoordinatesInAndHearTheSolvedCentre) {
    Program p;
    ::setenv("XDG_RUNTIME_DIR", p.home.Path().c_str(), 1);
    ASSERT_TRUE(OpenLineService(p.c, 0));
    EXPECT_TRUE(p.c.timers.TimerLineService.Enabled);
    EXPECT_EQ(p.home.Read("/tornel/tcpport"), std::to_string(p.c.lineServicePort) + "\n");
    sockaddr_in bound{};
    socklen_t length = sizeof bound;
    ::getsockname(p.c.lineServiceSocket, reinterpret_cast<sockaddr*>(&bound), &length);
    EXPECT_EQ(ntohl(bound.sin_addr.s_addr), INADDR_LOOPBACK);

    LineClient client(p.c.lineServicePort), other(p.c.lineServicePort);
    ASSERT_TRUE(client.Connected());
    // The received centre serves the search when the coordinate origin is 3; a half line waits.
    client.Send("CEN AR=08382000 DE=-05");
    ServeLineClients(p.c);
    client.Send("25000\r\n");
    EXPECT_EQ(client.Line(p.c), "OK!");
    EXPECT_DOUBLE_EQ(p.c.mCentroDDERA, 83.82);
    EXPECT_DOUBLE_EQ(p.c.mCentroDDEDEC, -5.25);
    client.Send("HELLO\n");
    EXPECT_EQ(client.Line(p.c), "OK!");

    // A solution is pushed to every client, and asked for again.
    p.Solved(83.82, -5.25, 84.0, 5.5);
    p.c.gTelescopioSincro = 3;
    Sincroniza(p.c);
    EXPECT_EQ(client.Line(p.c), "ALI AR=08382000 DE=-0525000  ");
    EXPECT_EQ(other.Line(p.c), "ALI AR=08382000 DE=-0525000  ");
    p.c.gSincroEquinoccioActual = 1;
    SincronizaDDE(p.c);
    EXPECT_EQ(client.Line(p.c), "ALI AR=08400000 DE=+0550000  ");
    client.Send("ALI?\r\n");
    EXPECT_EQ(client.Line(p.c), "ALI AR=08400000 DE=+0550000  ");

    CloseLineService(p.c);
    EXPECT_FALSE(p.c.timers.TimerLineService.Enabled);
    EXPECT_FALSE(std::filesystem::exists(p.home.File("tornel/tcpport")));
    ::unsetenv("XDG_RUNTIME_DIR");
}

}  // namespace
}  // namespace tornel
