// The telescope procedures against a real INDI server with its telescope simulator: reading the
// pointing, synchronising after a solve, the refusals, a server that hangs, and the chooser.
#include <gtest/gtest.h>

#include <cmath>

#include "automatizacion/mensajes.h"
#include "telescopio/telescope_link.h"
#include "telescopio/telescopio.h"
#include "tests/support/recording_platform.h"
#include "tests/telescopio/indi_simulator.h"

namespace tornel {
namespace {

using testing::IndiSimulator;
using testing::RecordingPlatform;

constexpr double kArcsecond = 1.0 / 3600;

class IndiTelescope : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!IndiSimulator::Installed()) GTEST_SKIP() << "indiserver and its simulator are not installed";
        ASSERT_TRUE(simulator.Running());
        c.gTelescopioAscom = simulator.Identifier();
        c.linkTimeoutMs = 3000;
    }

    // A solution as the acceptance stage leaves it: J2000 and of date, in degrees.
    void Solved(double ra, double dec, double raOfDate, double decOfDate) {
        c.gHaySolucion = true;
        c.gARJ2000 = ra, c.gDEJ2000 = dec;
        c.gARActual = raOfDate, c.gDEActual = decOfDate;
        c.gTelescopioSincro = 1;
    }

    double SimulatorRa() const { return simulator.Number("EQUATORIAL_EOD_COORD.RA") * 15; }
    double SimulatorDec() const { return simulator.Number("EQUATORIAL_EOD_COORD.DEC"); }

    IndiSimulator simulator;
    RecordingPlatform platform;
    Context c{platform};
};

TEST_F(IndiTelescope, ThePointingBecomesTheSearchCentre) {
    simulator.PointAt(5.5, 22.25);
    int32_t codigo = -1;
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 0);
    EXPECT_NEAR(c.gCentroBusquedaRA, 82.5, kArcsecond);
    EXPECT_NEAR(c.gCentroBusquedaDEC, 22.25, kArcsecond);
    EXPECT_TRUE(platform.messages.empty());
    // The program connects a device that is not, and reads it at once.
    simulator.Set("CONNECTION.DISCONNECT=On");
    IndiSimulator::WaitFor([&] { return simulator.Text("CONNECTION.CONNECT") == "Off"; });
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 0);
    EXPECT_EQ(simulator.Text("CONNECTION.CONNECT"), "On");
}

TEST_F(IndiTelescope, ASyncMovesTheTelescopeToTheSolvedCentreInTheChosenEquinox) {
    simulator.PointAt(5.5, 22.25);
    Solved(84.0, 23.0, 84.3, 23.05);
    Sincroniza(c);
    EXPECT_NEAR(SimulatorRa(), 84.0, kArcsecond);
    EXPECT_NEAR(SimulatorDec(), 23.0, kArcsecond);
    EXPECT_TRUE(platform.messages.empty());

    c.gSincroEquinoccioActual = 1;
    Sincroniza(c);
    EXPECT_NEAR(SimulatorRa(), 84.3, kArcsecond);
    EXPECT_NEAR(SimulatorDec(), 23.05, kArcsecond);
    // The shared mode is given back, so that the next goto of any client is not a sync.
    EXPECT_EQ(simulator.Text("ON_COORD_SET.TRACK"), "On");

    // The mailbox's command does the same.
    c.gSincroEquinoccioActual = 0;
    int32_t resultado = -1;
    DescodificaComando(c, "EXE   synchronize", "", resultado);
    EXPECT_EQ(resultado, 0);
    EXPECT_TRUE(RunPendingCommand(c));
    EXPECT_NEAR(SimulatorRa(), 84.0, kArcsecond);

    // Without a solution nothing is sent.
    c.gHaySolucion = false;
    c.gARJ2000 = 10;
    Sincroniza(c);
    EXPECT_NEAR(SimulatorRa(), 84.0, kArcsecond);
}

TEST_F(IndiTelescope, ATelescopeNotTrackingIsRefusedWithItsMessage) {
    simulator.PointAt(5.5, 22.25);
    simulator.Set("TELESCOPE_TRACK_STATE.TRACK_OFF=On");
    IndiSimulator::WaitFor([&] { return simulator.Text("TELESCOPE_TRACK_STATE.TRACK_OFF") == "On"; });
    Solved(90.0, 20.0, 90.0, 20.0);
    int32_t codigo = -1;
    AscomSyncTele(c, codigo);
    EXPECT_EQ(codigo, 0);
    ASSERT_EQ(platform.messages.size(), 1u);
    EXPECT_EQ(platform.messages[0],
              "The telescope: " + simulator.Identifier() +
                  " can't be synchronized.\n\nThe telescope has to be in the tracking mode.");
    EXPECT_GT(std::abs(SimulatorDec() - 20.0), 1.0);

    // Tracking again, the same solution goes through.
    simulator.Set("TELESCOPE_TRACK_STATE.TRACK_ON=On");
    IndiSimulator::WaitFor([&] { return simulator.Text("TELESCOPE_TRACK_STATE.TRACK_ON") == "On"; });
    Sincroniza(c);
    EXPECT_NEAR(SimulatorDec(), 20.0, kArcsecond);
}

TEST_F(IndiTelescope, AServerThatHangsCostsOnlyTheTimeLimit) {
    simulator.PointAt(5.5, 22.25);
    simulator.Freeze();
    c.linkTimeoutMs = 400;
    int32_t codigo = -1;
    AscomLeeArDe(c, codigo);
    simulator.Thaw();
    EXPECT_EQ(codigo, 1);
    ASSERT_EQ(platform.messages.size(), 2u);
    EXPECT_EQ(platform.messages[1].rfind("Error 440 = ", 0), 0u) << platform.messages[1];
    EXPECT_NE(platform.messages[1].find(" ** AscomLeeArDe **"), std::string::npos);
    EXPECT_EQ(platform.messages[0].rfind(
                  "Error from the Ascom telescope '" + simulator.Identifier() + "'. \n\n", 0),
              0u)
        << platform.messages[0];
    // The program kept its events running while it waited.
    EXPECT_GT(platform.doEventsCalls, 0);
}

TEST_F(IndiTelescope, MissingTelescopesAndUnknownDevicesAreTold) {
    int32_t codigo = -1;
    c.gTelescopioAscom.clear();
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 2);
    c.gTelescopioAscom = "ASCOM.Simulator.Telescope";
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 2);

    c.linkTimeoutMs = 1000;
    c.gTelescopioAscom = "indi://" + simulator.Server() + "/No Such Mount";
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 1);
    ASSERT_FALSE(platform.messages.empty());
    EXPECT_NE(platform.messages[0].find("offers no device \"No Such Mount\""), std::string::npos);
    EXPECT_FALSE(mCoordenadasAscom_Click(c));
    EXPECT_EQ(platform.messages.back(), "The " + c.gTelescopioAscom + " driver was not found.");

    c.gTelescopioAscom = simulator.Identifier();
    c.gOrigenCoordenadas = 1;
    EXPECT_TRUE(mCoordenadasAscom_Click(c));
    EXPECT_EQ(c.gOrigenCoordenadas, 5);
}

TEST_F(IndiTelescope, TheChooserListsTheTelescopesOfTheServer) {
    c.indiServers = {simulator.Server()};
    c.alpacaDiscoveryPort = testing::FreeLoopbackPort();
    const auto list = TelescopesInReach(c);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].first, simulator.Identifier());

    // The choice is kept as the telescope and saved with the parameters.
    platform.listChoices.push_back(list[0].first);
    c.gTelescopioAscom.clear();
    AscomSelScope(c);
    EXPECT_EQ(c.gTelescopioAscom, simulator.Identifier());
    EXPECT_TRUE(c.parametersChanged);
}

}  // namespace
}  // namespace tornel
