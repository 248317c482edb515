// The telescope procedures over Alpaca, against a fake server that answers as the protocol says.
#include <gtest/gtest.h>

#include "telescopio/alpaca_replies.h"
#include "telescopio/link_wait.h"
#include "telescopio/telescopio.h"
#include "tests/support/recording_platform.h"
#include "tests/telescopio/fake_alpaca_server.h"

namespace tornel {
namespace {

using testing::FakeAlpacaServer;
using testing::RecordingPlatform;

class AlpacaTelescope : public ::testing::Test {
  protected:
    void SetUp() override {
        c.gTelescopioAscom = server.Identifier();
        c.linkTimeoutMs = 1000;
        c.gHaySolucion = true;
        c.gTelescopioSincro = 1;
        c.gARJ2000 = 90, c.gDEJ2000 = -10;
        c.gARActual = 90.3, c.gDEActual = -10.01;
    }

    FakeAlpacaServer server;
    RecordingPlatform platform;
    Context c{platform};
};

TEST_F(AlpacaTelescope, ReadsAndSynchronisesAndLetsGoOfTheLink) {
    int32_t codigo = -1;
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 0);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 5.5 * 15);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaDEC, 22.25);
    EXPECT_FALSE(server.State().connected);
    EXPECT_NE(server.State().lastClientId, "");
    EXPECT_NE(server.State().lastClientId, "0");

    Sincroniza(c);
    EXPECT_NEAR(server.State().ra, 6.0, 1e-9);
    EXPECT_NEAR(server.State().dec, -10.0, 1e-9);
    c.gSincroEquinoccioActual = 1;
    Sincroniza(c);
    EXPECT_NEAR(server.State().ra, 90.3 / 15, 1e-9);
    EXPECT_FALSE(server.State().connected);
    EXPECT_TRUE(platform.messages.empty());
}

TEST_F(AlpacaTelescope, ErrorRepliesBecomeTheProgramsMessages) {
    // Not tracking: the telescope is asked first, and the program's own words say so.
    server.Change([](FakeAlpacaServer::Mount& m) { m.tracking = false; });
    int32_t codigo = -1;
    AscomSyncTele(c, codigo);
    EXPECT_EQ(codigo, 0);
    ASSERT_EQ(platform.messages.size(), 1u);
    EXPECT_NE(platform.messages[0].find("The telescope has to be in the tracking mode."), std::string::npos);

    // Parked: the server's error number is told and the result label says the sync failed.
    server.Change([](FakeAlpacaServer::Mount& m) { m.tracking = true, m.parked = true; });
    platform.messages.clear();
    Sincroniza(c);
    ASSERT_FALSE(platform.messages.empty());
    EXPECT_NE(platform.messages[0].find("The telescope is parked. (Parked)"), std::string::npos)
        << platform.messages[0];
    EXPECT_NE(platform.LastLabel().find("Can not synchronize the ASCOM telescope.(Synchronize)"),
              std::string::npos);
    EXPECT_NEAR(server.State().ra, 5.5, 1e-9);

    // A device the server does not have is a bad request.
    c.gTelescopioAscom = server.Identifier(3);
    platform.messages.clear();
    AscomLeeArDe(c, codigo);
    EXPECT_EQ(codigo, 1);
    ASSERT_FALSE(platform.messages.empty());
    EXPECT_NE(platform.messages[0].find("HTTP 400"), std::string::npos) << platform.messages[0];
}

TEST_F(AlpacaTelescope, DiscoveryListsTheServersTelescopes) {
    c.indiServers.clear();
    c.alpacaDiscoveryPort = server.DiscoveryPort();
    const auto list = TelescopesInReach(c);
    bool found = false;
    for (const auto& [identifier, description] : list)
        if (identifier == server.Identifier()) found = description == "Alpaca Fake Mount";
    EXPECT_TRUE(found);
}

// Answers read apart from HTTP: numbers out of the protocol's ranges are refused, not folded.
TEST(AlpacaReplies, NumbersOutOfRangeAreRefusedNotWrapped) {
    EXPECT_EQ(DiscoveryAnswerPort(R"({"AlpacaPort":11111})"), 11111);
    EXPECT_FALSE(DiscoveryAnswerPort(R"({"AlpacaPort":76647})"));  // was read as 11111
    EXPECT_FALSE(DiscoveryAnswerPort(R"({"AlpacaPort":0})"));
    EXPECT_FALSE(DiscoveryAnswerPort("alpacadiscovery1"));
    const auto devices = nlohmann::json::parse(
        R"([{"DeviceType":"telescope","DeviceNumber":4294967296,"DeviceName":"Wrapped"},
            {"DeviceType":"Telescope","DeviceNumber":1}])");
    EXPECT_EQ(ConfiguredTelescopes(devices), (std::vector<std::pair<int, std::string>>{{1, "telescope"}}));
    EXPECT_DOUBLE_EQ(AlpacaNumber(AlpacaValue(200, R"({"Value":5.5,"ErrorNumber":0})"), "ra"), 5.5);
    try {
        AlpacaValue(200, R"({"ErrorNumber":4294968331,"ErrorMessage":"x"})");
        FAIL() << "an error number was taken for success";
    } catch (const NotTrackingError&) {
        FAIL() << "a wild error number was folded into 0x40B";
    } catch (const LinkError& e) {
        EXPECT_EQ(std::string(e.what()), "The telescope reported error 4294968331. (x)");
    }
    EXPECT_THROW(AlpacaValue(200, "{"), LinkError);
    EXPECT_THROW(AlpacaBool(AlpacaValue(200, R"({"Value":"True"})"), "tracking"), LinkError);
}

}  // namespace
}  // namespace tornel
