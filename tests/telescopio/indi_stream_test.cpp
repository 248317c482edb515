// What an INDI server sends, parsed as it arrives: the same devices whatever the cuts, and a server that
// misbehaves (endless texts, elements or nesting, floods of devices and messages) bounded, not obeyed.
#include <gtest/gtest.h>

#include <string>

#include "telescopio/indi_stream.h"
#include "telescopio/link_wait.h"

namespace tornel {
namespace {

const std::string kSession =
    "<defSwitchVector device=\"Telescope Simulator\" name=\"CONNECTION\" state=\"Idle\">"
    "<defSwitch name=\"CONNECT\">Off</defSwitch><defSwitch name=\"DISCONNECT\">On</defSwitch>"
    "</defSwitchVector>\n"
    "<defNumberVector device=\"Telescope Simulator\" name=\"EQUATORIAL_EOD_COORD\" state=\"Ok\">"
    "<defNumber name=\"RA\"> 5.5 </defNumber><defNumber name=\"DEC\">-12.25</defNumber></defNumberVector>"
    "<setNumberVector device=\"Telescope Simulator\" name=\"EQUATORIAL_EOD_COORD\" state=\"Busy\">"
    "<oneNumber name=\"RA\">6.25</oneNumber></setNumberVector>"
    "<message device=\"Telescope Simulator\" message=\"Slewing\"/>"
    "<defTextVector device=\"Focuser\" name=\"INFO\"><defText name=\"MODEL\">F1</defText></defTextVector>"
    "<delProperty device=\"Focuser\"/>";

void ExpectSession(const std::map<std::string, IndiDevice>& devices) {
    ASSERT_EQ(devices.size(), 1u);  // the focuser was deleted whole
    const IndiDevice& scope = devices.at("Telescope Simulator");
    EXPECT_TRUE(scope.vectors.at("CONNECTION").Is("DISCONNECT", "On"));
    const IndiVector& coords = scope.vectors.at("EQUATORIAL_EOD_COORD");
    EXPECT_EQ(coords.state, "Busy");
    EXPECT_EQ(coords.updates, 2u);
    EXPECT_EQ(coords.Number("RA"), 6.25);     // the update
    EXPECT_EQ(coords.Number("DEC"), -12.25);  // kept from the definition
    EXPECT_THROW(coords.Number("ALT"), LinkError);
    ASSERT_EQ(scope.messages.size(), 1u);
    EXPECT_EQ(scope.messages[0], "Slewing");
}

TEST(IndiStream, TheSameDevicesWhereverTheBytesAreCut) {
    std::map<std::string, IndiDevice> whole;
    IndiStream(whole).Feed(kSession);
    ExpectSession(whole);
    for (const size_t cut : {1u, 7u, 64u}) {
        std::map<std::string, IndiDevice> pieces;
        IndiStream stream(pieces);
        for (size_t at = 0; at < kSession.size(); at += cut)
            stream.Feed(std::string_view(kSession).substr(at, cut));
        ExpectSession(pieces);
    }
    std::map<std::string, IndiDevice> broken;
    IndiStream stream(broken);
    EXPECT_THROW(stream.Feed("<defTextVector device=\"a\" name=\"b\"></oops>"), LinkError);
}

TEST(IndiStream, AServerThatMisbehavesIsBoundedOrRefused) {
    // A member's text past 64 KiB is not taken, and the member keeps its value.
    {
        std::map<std::string, IndiDevice> devices;
        IndiStream stream(devices);
        stream.Feed(
            "<defTextVector device=\"d\" name=\"v\"><defText name=\"t\">short</defText></defTextVector>");
        stream.Feed("<setTextVector device=\"d\" name=\"v\"><oneText name=\"t\">");
        for (int k = 0; k < 100; ++k)
            stream.Feed(std::string(1000, 'x'));
        stream.Feed("</oneText></setTextVector>");
        EXPECT_EQ(devices["d"].vectors["v"].members["t"], "short");
    }
    // Messages: the newest 200 are kept. Devices and vectors: a bounded number, the rest passed over.
    {
        std::map<std::string, IndiDevice> devices;
        IndiStream stream(devices);
        for (int k = 0; k < 1000; ++k)
            stream.Feed("<message device=\"d\" message=\"m" + std::to_string(k) + "\"/>");
        ASSERT_EQ(devices["d"].messages.size(), 200u);
        EXPECT_EQ(devices["d"].messages.back(), "m999");
        for (int k = 0; k < 500; ++k)
            stream.Feed("<defNumberVector device=\"dev" + std::to_string(k) +
                        "\" name=\"v\"><defNumber name=\"n\">1</defNumber></defNumberVector>");
        EXPECT_LE(devices.size(), 64u);
        for (int k = 0; k < 5000; ++k)
            stream.Feed("<defNumberVector device=\"d\" name=\"v" + std::to_string(k) +
                        "\"><defNumber name=\"n\">1</defNumber></defNumberVector>");
        EXPECT_LE(devices["d"].vectors.size(), 2048u);
        EXPECT_TRUE(devices["d"].vectors["v0"].Is("n", "1"));
    }
    // Nesting past 8 levels, and an element that never ends, stop the stream for good.
    {
        std::map<std::string, IndiDevice> devices;
        IndiStream stream(devices);
        std::string deep;
        for (int k = 0; k < 10; ++k)
            deep += "<a>";
        EXPECT_THROW(stream.Feed(deep), LinkError);
        EXPECT_THROW(stream.Feed("<message device=\"d\" message=\"late\"/>"), LinkError);
        EXPECT_TRUE(devices["d"].messages.empty());
    }
    {
        std::map<std::string, IndiDevice> devices;
        IndiStream stream(devices);
        stream.Feed("<defTextVector device=\"d\" name=\"v\" label=\"");
        const std::string block(1 << 20, 'y');
        bool refused = false;
        for (int k = 0; k < 12 && !refused; ++k) {
            try {
                stream.Feed(block);
            } catch (const LinkError& e) {
                refused = true;
                EXPECT_NE(std::string(e.what()).find("longer than 8 MiB"), std::string::npos) << e.what();
            }
        }
        EXPECT_TRUE(refused);
    }
}

}  // namespace
}  // namespace tornel
