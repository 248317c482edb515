// The automation object through a real private session bus, as a script drives it: activation by
// the first call, every refusal as the object's error, the analysis with its signals, the end with
// the last client.
#include <QCoreApplication>
#include <cstdlib>

#include "tests/servicio/solver_client.h"

namespace tornel {
namespace {

using namespace std::chrono_literals;
using testing::BusTest;
using testing::ProcessEnded;
using testing::WaitUntil;

class SolverBusTest : public BusTest {
  protected:
    // A field of the generated sky's patch at RA 0, DEC 10, and a client's settings around it.
    void SetUpSolve(double ra, double dec) {
        image = Render({ra, dec, 0, 0, 0, 0, false});
        ExpectAnswered(Set("ImagePath", QString::fromStdString(image)));
        ExpectAnswered(Set("ArcSecPerPixel", scale));
        ExpectAnswered(Set("EstimatedRA", (ra + 0.4) / 15));
        ExpectAnswered(Set("EstimatedDEC", dec - 0.3));
    }
    std::string image;
};

TEST_F(SolverBusTest, ActivatedProgramSolvesTheSampleAndEndsAfterItsLastClient) {
    ASSERT_FALSE(client->interface()->isServiceRegistered(testing::kService).value())
        << "a program runs already";
    SetUpSolve(0.3, 10.4);
    const uint pid = ServicePid();
    ASSERT_NE(pid, 0u) << "the first call did not start the program";
    ExpectAnswered(Method("Analyze", 120000));
    EXPECT_TRUE(Value("Solved").toBool()) << Value("FailureCause").toString().toStdString();
    EXPECT_NEAR(Value("RightAscension").toDouble(), 0.3 / 15, 0.0005);
    EXPECT_NEAR(Value("Declination").toDouble(), 10.4, 0.005);
    EXPECT_GE(Value("Sides").toInt(), Value("StopSearchingWhenSides").toInt());
    EXPECT_EQ(Value("FailureCause").toString(), "");
    EXPECT_EQ(Value("Connections").toInt(), 1);
    EXPECT_TRUE(WaitUntil([&] { return log.jobsDone == 1; }, 5s));
    Disconnect();
    EXPECT_TRUE(WaitUntil([&] { return ProcessEnded(pid); }, 15s)) << "the program outlived its last client";
}

TEST_F(SolverBusTest, EveryRangeRefusedThroughPropertiesSet) {
    struct Case {
        const char* name;
        QVariant value;
        const char* text;  // the name in the message, when it differs
    };
    const Case cases[] = {
        {"StopSearchingWhenSides", 9, nullptr},
        {"StopSearchingWhenSides", 46, nullptr},
        {"ArcSecPerPixel", 0.16, nullptr},
        {"ArcSecPerPixelX", 1651.0, nullptr},
        {"ArcSecPerPixelY", 0.0, nullptr},
        {"FocalInPixels", 124, nullptr},
        {"FocalInPixels", 1250001, nullptr},
        {"ImageAngle", 360.5, nullptr},
        {"ImageArea", 3, nullptr},
        {"ImageXmin", -1, nullptr},
        {"ImageXmax", 100001, nullptr},
        {"ImageYmin", -1, nullptr},
        {"ImageYmax", 100001, nullptr},
        {"ScanThreshold", 1.01, nullptr},
        {"EstimatedCoordinatesFrom", 6, nullptr},
        {"SkyZone", 5, nullptr},
        {"SkyZone", 0, nullptr},
        {"SkyWindowType", 4, nullptr},
        {"SkyRingFromDec", 89.5, nullptr},
        {"SkyRingToDec", -90.0, nullptr},
        {"EstimatedRA", 24.001, nullptr},
        {"EstimatedRA", -0.1, nullptr},
        {"EstimatedDEC", 90.5, "estimatedDEC"},
    };
    for (const Case& k : cases)
        ExpectRefused(Set(k.name, k.value), 101,
                      std::string(k.text ? k.text : k.name) + ": value out of range");
    // The limits themselves are taken.
    for (auto [name, value] : {std::pair<const char*, QVariant>{"EstimatedRA", 24.0},
                               {"SkyZone", 9},
                               {"ImageAngle", -360.0},
                               {"FocalInPixels", 1250000},
                               {"ScanThreshold", 0}})
        ExpectAnswered(Set(name, value));
    EXPECT_DOUBLE_EQ(Value("EstimatedRA").toDouble(), 24.0);
    // A wrong type or a read-only property are the bus's own errors.
    EXPECT_EQ(Set("SkyZone", 2.0).errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_EQ(Set("Busy", true).errorName(), "org.freedesktop.DBus.Error.PropertyReadOnly");
    EXPECT_EQ(Get("Nothing").errorName(), "org.freedesktop.DBus.Error.UnknownProperty");
}

TEST_F(SolverBusTest, SilentDatabaseChoiceAndTheRefusalsOfAnUnsolvedImage) {
    ExpectAnswered(Set("DataBaseNumber", 7));
    EXPECT_EQ(Value("DataBaseNumber").toInt(), 1);
    EXPECT_EQ(Value("RemainingTime").toInt(), 0);
    ExpectRefused(Set("ImagePath", "a"), 107, "ImagePath: invalid image path");
    ExpectRefused(Get("RightAscension"), 103, "RightAscension: Not available. Image not solved");
    ExpectRefused(Get("Declination"), 103, "Declination: Not available. Image not solved");
    ExpectRefused(Method("FineAdjustAngle"), 103,
                  "FineAdjustAngle(): The image is not solved, can't be done.");
    ExpectRefused(Method("StopAnalyzing"), 106, "StopAnalyzing(): can't be done. No analysis in progress");
    EXPECT_FALSE(Value("Solved").toBool());
    EXPECT_EQ(Value("Sides").toInt(), 0);
    ExpectAnswered(Set("SkyZone", 3));
    ExpectAnswered(Set("SkyWindowType", 2));
    ExpectRefused(Method("Analyze"), 108,
                  "Analyze(): can't be done. SkyZone and SkyWindowType, incompatible values");
    ExpectRefused(Method("LaunchAnalysis"), 108,
                  "LaunchAnalysis(): can't be done. SkyZone and SkyWindowType, incompatible values");
    // GetAll leaves out what cannot be read now.
    QVariantMap all =
        qdbus_cast<QVariantMap>(Call(testing::kProperties, "GetAll", {testing::kInterface}).arguments()[0]);
    EXPECT_TRUE(all.contains("Solved"));
    EXPECT_FALSE(all.contains("RightAscension"));
    EXPECT_EQ(all.value("Version").toString(), "0-1-0");
    // A change is told by name.
    ExpectAnswered(Set("ImageAngle", 12.5));
    EXPECT_TRUE(WaitUntil([&] { return log.changed.contains("ImageAngle"); }, 5s));
    EXPECT_DOUBLE_EQ(Value("ImageOrientation").toDouble(), 12.5);
}

TEST_F(SolverBusTest, LaunchedAnalysisTellsItsTimeRefusesWhileBusyAndStops) {
    // Sky windows of a degree: a search of the whole sky takes tens of thousands of them.
    Parameters(0, false, [](Context& c) { c.gAnchoVentana = c.gAltoVentana = 1; });
    // A launched solve answers at once and tells its end.
    SetUpSolve(0.3, 10.4);
    ExpectAnswered(Method("LaunchAnalysis"));
    ASSERT_TRUE(WaitUntil([&] { return log.jobsDone == 1; }, 120s));
    EXPECT_TRUE(Value("Solved").toBool());
    // A search of the whole sky for a field of another sky lasts: the calls of a busy program.
    const db::FieldGeometry g{0.3, 10.4, scale, 0, 1024, 900, false};
    const auto otherSky = db::ProjectField(testing::GeneratedSky(99), g, {});
    image = Render(g, &otherSky);
    ExpectAnswered(Set("ImagePath", QString::fromStdString(image)));
    ExpectAnswered(Set("SkyZone", 3));
    ExpectAnswered(Method("LaunchAnalysis"));
    ASSERT_TRUE(WaitUntil([&] { return Value("Busy").toBool(); }, 30s));
    ExpectRefused(Set("ImagePath", "a"), 107, "ImagePath: invalid image path");
    ExpectRefused(Set("ImagePath", "/tmp/x.fit"), 102, "ImagePath: can't be done while analyzing");
    ExpectRefused(Set("SkyZone", 2), 102, "SkyZone: can't be done while analyzing");
    ExpectRefused(Get("Solved"), 105, "Solved: can't be read while analyzing");
    ExpectRefused(Get("Sides"), 105, "Sides: can't be read while analyzing");
    ExpectRefused(Get("RightAscension"), 105, "RightAscension: can't be read while analyzing");
    ExpectRefused(Method("Analyze"), 102, "Analyze(): can't be done while analyzing");
    ExpectRefused(Method("LaunchAnalysis"), 102, "LaunchAnalysis(): can't be done while analyzing");
    ExpectRefused(Method("FineAdjustAngle"), 102, "FineAdjustAngle(): can't be done while analyzing.");
    ExpectRefused(Method("SetupDialog"), 102, "SetupDialog(): can't be done while analyzing");
    EXPECT_EQ(Value("RemainingTime").toInt(), 0);
    EXPECT_TRUE(WaitUntil([&] { return !log.spent.empty(); }, 30s)) << "no SpentTime";
    ExpectAnswered(Method("StopAnalyzing"));
    ASSERT_TRUE(WaitUntil([&] { return log.jobsDone >= 2; }, 30s));
    EXPECT_FALSE(Value("Busy").toBool());
    EXPECT_FALSE(Value("Solved").toBool());
    EXPECT_EQ(Value("FailureCause").toString(), "Search interrupted by the user.");
    for (size_t k = 1; k < log.spent.size(); ++k)
        EXPECT_GE(log.spent[k], log.spent[k - 1]);
}

// The examples of the README, each a client of its own kind, on a field of the generated sky.
TEST_F(SolverBusTest, ExamplesSolveThroughTheBus) {
    image = Render({0.3, 10.4, 0, 0, 0, 0, false});
    const std::string source = TORNEL_SOURCE_DIR, build = TORNEL_BINARY_DIR;
    const std::string arguments = " '" + image + "' 2 " + std::to_string(0.7 / 15) + " 10.1";
    for (const std::string& example : {"sh '" + source + "/examples/shell/solve.sh'",
                                       "/usr/bin/python3 '" + source + "/examples/python/solve.py'",
                                       "'" + build + "/examples/cpp/tornel-solve-example'"}) {
        const std::string line = "DBUS_SESSION_BUS_ADDRESS='" + bus->Address() + "' " + example + arguments +
                                 " >'" + home.File("example.txt") + "' 2>&1";
        EXPECT_EQ(std::system(line.c_str()), 0) << example << ": " << home.Read("example.txt");
        EXPECT_EQ(home.Read("example.txt").rfind("Solved: RA 0.0", 0), 0u)
            << example << ": " << home.Read("example.txt");
    }
}

}  // namespace
}  // namespace tornel

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
