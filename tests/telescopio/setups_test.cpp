// The camera and telescope setups of telescop.txt, and the identifiers that name telescopes and
// planetaria.
#include <gtest/gtest.h>

#include <cmath>

#include "telescopio/link_identifier.h"
#include "telescopio/telescopio.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

std::string Setups(int records) {
    std::string text;
    for (int i = 1; i <= records; ++i)
        text += "Name:\r\nScope number " + std::to_string(i) + " with a long name\r\nsec/pixel:\r\n" +
                std::to_string(i) + ",5\r\nangle:\r\n" + std::to_string(10 * i) + ".25\r\n";
    return text;
}

struct Program {
    Program() { c.gCarpetaPrograma = home.Path(); }
    testing::TempFolder home;
    testing::RecordingPlatform platform;
    Context c{platform};
};

TEST(TelescopeSetups, TenRecordsFillTheMenuAndOneIsApplied) {
    Program p;
    p.home.Write("telescop.txt", Setups(10));
    CargaTelescopios(p.c);
    EXPECT_TRUE(p.c.mTelescopioVisible);
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_EQ(TelescopeCaption(p.c.mTele[2]), "Scope number 2  :   2.500 ,     20.25 ");
    EXPECT_EQ(TelescopeCaption(p.c.mTele[10]), "Scope number 10 :   10.500 ,     100.25 ");

    mTele_Click(p.c, 2);
    // The focal length is rounded, and the scale it gives back is the one used.
    EXPECT_EQ(p.c.gFocalEnPixeles, 82506);
    const double scale = std::atan(1.0 / 82506) * 206265;
    EXPECT_DOUBLE_EQ(p.c.gSegundosPorPixelX, scale);
    EXPECT_DOUBLE_EQ(p.c.gGradosPorPixel, scale / 3600);
    EXPECT_DOUBLE_EQ(p.c.gAnguloImagen, 20.25);
    EXPECT_EQ(p.c.mTeleMarcado, 2);
    EXPECT_FALSE(p.c.parametersChanged);
}

TEST(TelescopeSetups, AMissingOrShortFileAndAnOutOfRangeScale) {
    Program p;
    CargaTelescopios(p.c);
    EXPECT_FALSE(p.c.mTelescopioVisible);

    p.home.Write("telescop.txt", Setups(3));
    CargaTelescopios(p.c);
    EXPECT_TRUE(p.c.mTelescopioVisible);
    EXPECT_TRUE(p.c.mTele[3].present);
    EXPECT_FALSE(p.c.mTele[4].present);
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_EQ(p.platform.messages[0], "Error 62 Input past end of file CargaTelescopios");

    // A scale whose tangent is outside the bounds changes nothing.
    p.c.mTele[1].segundosPorPixel = 2000;
    const int32_t focal = p.c.gFocalEnPixeles;
    mTele_Click(p.c, 1);
    EXPECT_EQ(p.c.gFocalEnPixeles, focal);
    EXPECT_EQ(p.c.mTeleMarcado, 0);
}

TEST(LinkIdentifiers, EachFormWithItsDefaultPort) {
    auto indi = ParseLinkIdentifier("indi://127.0.0.1:7625/Telescope%20Simulator");
    ASSERT_TRUE(indi);
    EXPECT_EQ(indi->kind, LinkKind::Indi);
    EXPECT_EQ(indi->port, 7625);
    EXPECT_EQ(indi->device, "Telescope Simulator");
    EXPECT_EQ(ParseLinkIdentifier("indi://observatory/EQMod Mount")->port, 7624);
    EXPECT_EQ(ParseLinkIdentifier(" INDI://[::1]:7000/Mount ")->host, "::1");
    auto alpaca = ParseLinkIdentifier("alpaca://10.0.0.5/1");
    ASSERT_TRUE(alpaca);
    EXPECT_EQ(alpaca->port, 11111);
    EXPECT_EQ(alpaca->number, 1);
    EXPECT_EQ(ParseLinkIdentifier("cdc://localhost")->port, 3292);
    for (const char* bad :
         {"", "ASCOM.Simulator.Telescope", "indi://host:7624/", "indi://:7624/Mount",
          "indi://host:99999/Mount", "alpaca://host:11111/x", "cdc://host:3292/chart", "indi://host/Bad%2"})
        EXPECT_FALSE(ParseLinkIdentifier(bad)) << bad;
    // The text of an identifier reads back as the same link.
    LinkIdentifier odd{LinkKind::Indi, "::1", 7000, "Mount/100%", 0};
    EXPECT_EQ(LinkIdentifierText(odd), "indi://[::1]:7000/Mount%2F100%25");
    EXPECT_EQ(ParseLinkIdentifier(LinkIdentifierText(odd))->device, "Mount/100%");
}

}  // namespace
}  // namespace tornel
