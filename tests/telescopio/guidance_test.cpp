// The guidance to the target: differences taken round the circle, the labels' texts, colours, sizes
// and edges, on both kinds of mount.
#include <gtest/gtest.h>

#include "telescopio/guidance.h"
#include "tests/support/pointed_plate.h"
#include "tests/support/recording_platform.h"

namespace tornel {
namespace {

TEST(Guidance, DifferencesGoTheShortWayRound) {
    EXPECT_DOUBLE_EQ(GuidanceDifference(10 + 179.5, 10), 179.5);
    EXPECT_DOUBLE_EQ(GuidanceDifference(10 + 180.5, 10), -179.5);
    EXPECT_DOUBLE_EQ(GuidanceDifference(0.5, 359.5), 1);
    EXPECT_DOUBLE_EQ(GuidanceDifference(-0.5, 0.5), -1);
    EXPECT_DOUBLE_EQ(GuidanceDifference(370, 10), 0);
}

TEST(Guidance, LabelsTextColourSizeAndEdge) {
    // One degree is yellow and in degrees; just under is green and in minutes of arc.
    const auto [a, b] = GuidanceLabels(1, -0.99, 0, 1);
    EXPECT_EQ(a.text, "RA 1.0 ° ");
    EXPECT_EQ(a.colour, OverlayColour::Yellow);
    EXPECT_EQ(b.text, "DE -59.4 ' ");
    EXPECT_EQ(b.colour, OverlayColour::Green);
    EXPECT_EQ(a.edge, GuidanceEdge::Left);
    EXPECT_EQ(b.edge, GuidanceEdge::Bottom);
    EXPECT_EQ(GuidanceLabels(-2, 3, 0, 2).second.edge, GuidanceEdge::Top);
    for (const auto& [size, points] : {std::pair{1, 8}, std::pair{2, 24}, std::pair{3, 48}, std::pair{9, 8}})
        EXPECT_EQ(GuidanceLabels(0, 0, 0, size).first.pointSize, points);
    // Zero goes left on both mounts; the alt-azimuth mount mirrors the rest.
    const auto [az, al] = GuidanceLabels(0, 0.5, 1, 1);
    EXPECT_EQ(az.text, "AZ 0.0 ' ");
    EXPECT_EQ(al.text, "AL 30.0 ' ");
    EXPECT_EQ(az.edge, GuidanceEdge::Left);
    EXPECT_EQ(GuidanceLabels(-2, 0, 0, 1).first.edge, GuidanceEdge::Right);
    EXPECT_EQ(GuidanceLabels(2, 0, 1, 1).first.edge, GuidanceEdge::Right);
}

struct Mount {
    Mount() {
        testing::PointPlate(c, 40, 20, 2, 1000);
        c.gARJ2000 = 40, c.gDEJ2000 = 20;
        // The solution on the meridian of an observer at latitude 40 (longitude 0).
        c.gLatitud = 40, c.gLongitud = 0, c.gHoraSideral = 40;
        c.gDiasJ2000 = 0;
    }
    testing::RecordingPlatform platform;
    Context c{platform};
};

TEST(Guidance, BothMountsOnAndOffTheImage) {
    Mount m;
    // On the image: within a degree on both axes.
    m.c.gCentroBusquedaRA = 40.5, m.c.gCentroBusquedaDEC = 19.8;
    GuiadoAlDestino(m.c);
    ASSERT_TRUE(m.platform.guidance.has_value());
    EXPECT_EQ(m.platform.guidance->first.text, "RA 30.0 ' ");
    EXPECT_EQ(m.platform.guidance->second.text, "DE -12.0 ' ");
    EXPECT_EQ(m.platform.guidance->first.colour, OverlayColour::Green);
    // Far off it, to the east and north.
    m.c.gCentroBusquedaRA = 55, m.c.gCentroBusquedaDEC = 30;
    GuiadoAlDestino(m.c);
    EXPECT_EQ(m.platform.guidance->first.text, "RA 15.0 ° ");
    EXPECT_EQ(m.platform.guidance->first.edge, GuidanceEdge::Left);
    EXPECT_EQ(m.platform.guidance->second.edge, GuidanceEdge::Top);

    // Alt-azimuth: a target higher up the meridian changes the altitude alone; one to the east has
    // a smaller azimuth and stands at the same edge as on an equatorial mount.
    m.c.gMontura = 1;
    m.c.gCentroBusquedaRA = 40, m.c.gCentroBusquedaDEC = 30;
    GuiadoAlDestino(m.c);
    EXPECT_EQ(m.platform.guidance->first.text.substr(0, 3), "AZ ");
    EXPECT_EQ(m.platform.guidance->second.text, "AL 10.0 ° ");
    EXPECT_EQ(m.platform.guidance->first.edge, GuidanceEdge::Left);
    m.c.gCentroBusquedaRA = 50, m.c.gCentroBusquedaDEC = 20;
    GuiadoAlDestino(m.c);
    EXPECT_EQ(m.platform.guidance->first.edge, GuidanceEdge::Left);
    EXPECT_EQ(m.platform.guidance->second.edge, GuidanceEdge::Bottom);
    m.c.gCentroBusquedaRA = 30;
    GuiadoAlDestino(m.c);
    EXPECT_EQ(m.platform.guidance->first.edge, GuidanceEdge::Right);

    // The analysis ended in failure: nothing is shown.
    m.platform.guidance.reset();
    m.c.mFinAnalisis = true;
    GuiadoAlDestino(m.c);
    EXPECT_FALSE(m.platform.guidance.has_value());
}

}  // namespace
}  // namespace tornel
