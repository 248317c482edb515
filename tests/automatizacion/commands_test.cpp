// The code lines of command messages: every SET and GET key with its limits, the keys that only
// answer or only take, the scale keys and the EXE checks.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "automatizacion/mensajes.h"
#include "tests/automatizacion/mailbox_program.h"

namespace tornel {
namespace {

using testing::MailboxProgram;

int32_t Decode(Context& c, const std::string& verbAndKey, const std::string& value) {
    int32_t r = -9;
    DescodificaComando(c, verbAndKey, value, r);
    return r;
}

std::string Set(const std::string& key) {
    return "SET   " + key;
}

std::string GetAnswer(Context& c, const std::string& key) {
    c.mUltimoValor.clear();
    EXPECT_EQ(Decode(c, "GET   " + key, ""), 0) << key;
    return c.mUltimoValor;
}

TEST(Commands, EveryKeyTakesItsRangeAndAnswersWhatItTook) {
    MailboxProgram p;
    Context& c = p.c;
    std::string other = p.home.MakeFolder("other");
    std::string bare = other.substr(0, other.size() - 1);
    struct Row {
        std::string key, accepted, answer, refused;
    };
    const std::vector<Row> rows = {
        {"distancesFolder", bare, other, p.home.Path() + "absent"},
        {"starsFolder", other, other, p.home.Path() + "absent/"},
        {"language", "2", "2", "3"},
        {"language", "0", "0", "-1"},
        {"showErrorMessages", "0", "0", "2"},
        {"imageAngle", "-12,5", "-12.5", "360.5"},
        {"focalInPixels", "2000", "2000", "124"},
        {"reversedImage", "1", "1", "2"},
        {"imagePath", " /images/m42.fit ", "/images/m42.fit", "   "},
        {"imageArea", "2", "2", "3"},
        {"automaticThreshold", "1", "1", "2"},
        {"threshold", "0.25", "0.25", "1.01"},
        {"minPerimeter", "20", "20", "21"},
        {"maxPerimeter", "10", "10", "9"},
        {"selectedStars", "5", "5", "4"},
        {"timeOut", "3600", "3600", "3601"},
        {"skyZone", "5", "5", "10"},  // no search has zone 5, yet the key takes it
        {"distancesError", "4", "4", "5"},
        {"angleError", "1", "1", "0"},
        {"searchingCoordinatesFrom", "4", "4", "6"},
        {"RAsearchingCentreInMessage", "359.5", "359.5", "-0.5"},
        {"DECsearchingCentreInMessage", "-90", "-90", "-91"},
        {"searchWindowType", "3", "3", "4"},
        {"skyWindowWidth", "2.5", "2.5", "5.1"},
        {"skyWindowHeight", "0", "0", "-1"},
        {"skyRingFromDec", "-90", "-90", "90"},
        {"skyRingToDec", "90", "90", "-90"},
        {"stopSearchingWhenSides", "12 degrees", "12", "sides"},
        {"ASCOMtelescope", "ASCOM.Simulator.Telescope", "0", "  "},
        {"telescopeToSynchronize", "3", "3", "4"},
        {"autoSynchronize", "1", "1", "2"},
        {"sidesForAutoSync", "45", "45", "46"},
        {"synchronizeUsingCurrentEquinox", "1", "1", "2"},
        {"autoAddWcsInHeader", "1", "1", "2"},
        {"sidesForAutoAddWcsInHeader", "10", "10", "9"},
        {"mainWindowTop", "1000000", "1000000", "1000001"},
        {"mainWindowLeft", "0", "0", "-1"},
        {"mainWindowWidth", "800", "800", "x"},
        {"mainWindowHeight", "600", "600", "x"},
        {"blackVisuForBMP", "254", "254", "255"},
        {"whiteVisuForBMP", "1", "1", "0"},
        {"blackVisuForFIT", "0", "0", "100001"},
        {"whiteVisuForFIT", "100000", "100000", "-1"},
        {"RAsearchingCentreInCombos", "0", "0", "361"},
        {"DECsearchingCentreInCombos", "45.5", "45.5", "90.5"},
        {"mailBoxFolder", other, other, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(Decode(c, Set(row.key), row.accepted), 0);
        EXPECT_EQ(GetAnswer(c, row.key), row.answer);
        if (!row.refused.empty()) {
            EXPECT_EQ(Decode(c, Set(row.key), row.refused), 2);
            EXPECT_EQ(GetAnswer(c, row.key), row.answer);  // a refused value changes nothing
        }
    }
    EXPECT_EQ(c.gCarpetaDistancias, other);
    EXPECT_EQ(c.gLadosParaParar, 12);
    EXPECT_FALSE(c.gMostrarAvisos);
}

TEST(Commands, KeysThatOnlyAnswerOrOnlyTake) {
    MailboxProgram p;
    Context& c = p.c;
    c.gXMin = 11, c.gXMax = 12, c.gYMin = 13, c.gYMax = 14;
    // The rectangle asked by messages is stored; the one in use is answered.
    EXPECT_EQ(Decode(c, "SET   xMin", "100"), 0);
    EXPECT_EQ(Decode(c, "SET   yMax", "100000"), 0);
    EXPECT_EQ(Decode(c, "SET   xMax", "100001"), 2);
    EXPECT_EQ(c.mMensajeX1, 100);
    EXPECT_EQ(c.mMensajeY2, 100000);
    EXPECT_EQ(GetAnswer(c, "xMin"), "11");
    EXPECT_EQ(GetAnswer(c, "yMax"), "14");
    EXPECT_EQ(GetAnswer(c, "mode"), "5");
    EXPECT_EQ(GetAnswer(c, "maxContours"), "20");
    EXPECT_EQ(GetAnswer(c, "showInImage"), "0");
    EXPECT_EQ(GetAnswer(c, "lastImageType"), c.gCarpetaMensajes);
    for (const char* key : {"mode", "maxContours", "showInImage", "lastImageType", "noSuchKey"})
        EXPECT_EQ(Decode(c, Set(key), "1"), 1) << key;
    for (const char* key : {"arcSecPerPixelX", "arcSecPerPixelY", "noSuchKey"})
        EXPECT_EQ(Decode(c, std::string("GET   ") + key, ""), 1) << key;
    // Verbs and keys are case-sensitive; columns 4 to 6 are skipped and a remark may follow the key.
    EXPECT_EQ(Decode(c, "set   skyZone", "1"), 1);
    EXPECT_EQ(Decode(c, "SET   skyzone", "1"), 1);
    EXPECT_EQ(Decode(c, "SETxyzskyZone   the zone of the search", "8"), 0);
    EXPECT_EQ(c.gZonaCielo, 8);
}

TEST(Commands, ScaleKeysKeepFocalAndScalesTogether) {
    MailboxProgram p;
    Context& c = p.c;
    EXPECT_EQ(Decode(c, "SET   arcSecPerPixel", "1.5"), 0);
    EXPECT_EQ(c.gFocalEnPixeles, 137510);  // 1 / (2 tan(1.5 / 412530))
    EXPECT_DOUBLE_EQ(c.gSegundosPorPixelY, 1.5);
    EXPECT_DOUBLE_EQ(c.gGradosPorPixel, 1.5 / 3600);
    EXPECT_EQ(GetAnswer(c, "arcSecPerPixel"), "1.5");
    EXPECT_EQ(Decode(c, "SET   arcSecPerPixelY", "1"), 0);
    EXPECT_DOUBLE_EQ(c.gRelacionPixel, 1.5);
    EXPECT_EQ(c.gFocalEnPixeles, 137510);  // Y alone leaves the focal distance
    EXPECT_EQ(Decode(c, "SET   arcSecPerPixelX", "3"), 0);
    EXPECT_EQ(c.gFocalEnPixeles, 68755);
    EXPECT_DOUBLE_EQ(c.gRelacionPixel, 3);
    EXPECT_DOUBLE_EQ(c.gMinutosPorPixel, 0.05);
    for (const char* refused : {"0.1", "1651", "abc"})
        EXPECT_EQ(Decode(c, "SET   arcSecPerPixel", refused), 2) << refused;
    EXPECT_EQ(Decode(c, "SET   focalInPixels", "2000.4"), 0);
    EXPECT_EQ(c.gFocalEnPixeles, 2000);
    EXPECT_NEAR(c.gSegundosPorPixelX, std::atan(1 / 2000.0) * 206265, 1e-9);
    EXPECT_DOUBLE_EQ(c.gRelacionPixel, 1);
}

TEST(Commands, ExecuteChecksItsValueAndWaits) {
    MailboxProgram p;
    Context& c = p.c;
    EXPECT_EQ(Decode(c, "EXE   mode", "3"), 0);
    EXPECT_EQ(c.gOrigenImagen, 3);  // at once
    EXPECT_EQ(c.mComandoPendiente, "EXEmode");
    EXPECT_EQ(Decode(c, "EXE   mode", "8"), 2);
    std::string params = p.home.Write("profile.txt", "x");
    EXPECT_EQ(Decode(c, "EXE   loadParamFile", params), 0);
    EXPECT_EQ(c.mValorPendiente, params);
    EXPECT_EQ(Decode(c, "EXE   loadParamFile", p.home.File("absent.txt")), 2);
    EXPECT_EQ(Decode(c, "EXE   saveParamFile", ""), 2);
    EXPECT_EQ(Decode(c, "EXE   saveSearchSummary", "  "), 2);
    for (const char* key : {"analyze", "synchronize", "fineAdjustAngle", "exitTornel"}) {
        EXPECT_EQ(Decode(c, std::string("EXE   ") + key, "anything"), 0);
        EXPECT_EQ(c.mComandoPendiente, std::string("EXE") + key);
    }
    EXPECT_EQ(Decode(c, "EXE   referenceImage", ""), 1);
    EXPECT_FALSE(c.mProgramaTerminado);  // nothing runs before the file is read to its end
}

}  // namespace
}  // namespace tornel
