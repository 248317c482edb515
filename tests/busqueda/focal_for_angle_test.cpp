// The focal length that puts two pixels a given angle apart: recovered from pinhole geometry for
// fields from a few arc minutes to beyond a hemisphere's half, pairs off the centre and on one side of
// it included (their angle first grows with the focal length, then falls).
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "busqueda/pattern_search.h"

namespace tornel {
namespace {

// The angle (degrees) between pixels a and b about the centre (cx, cy) through a pinhole of focal f.
double PinholeAngle(double ax, double ay, double bx, double by, double cx, double cy, double f) {
    const double p[3] = {ax - cx, ay - cy, f}, q[3] = {bx - cx, by - cy, f};
    const double dot = p[0] * q[0] + p[1] * q[1] + p[2] * q[2];
    const double cross[3] = {p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]};
    return std::atan2(std::hypot(cross[0], cross[1], cross[2]), dot) * 180 / std::numbers::pi;
}

TEST(FocalForAngle, RecoversThePinholeFromNarrowToVeryWideFields) {
    const double cx = 1000, cy = 750;
    struct Pair {
        double ax, ay, bx, by;
        bool across;  // on either side of the centre: one focal length gives the angle
    };
    const Pair pairs[] = {{1000, 750, 1400, 750, true},  // from the centre
                          {10, 20, 1990, 1480, true},    // corner to corner
                          {1700, 100, 200, 1300, true},
                          {300, 1400, 320, 1380, false},   // close together, far from the centre
                          {1200, 760, 1900, 790, false}};  // on one side, nearly in line with the centre
    for (const double focal : {50.0, 400.0, 2000.0, 3e4, 1e6}) {
        for (const Pair& p : pairs) {
            const double angle = PinholeAngle(p.ax, p.ay, p.bx, p.by, cx, cy, focal);
            const double found = FocalForAngle(p.ax, p.ay, p.bx, p.by, cx, cy, angle);
            EXPECT_NEAR(PinholeAngle(p.ax, p.ay, p.bx, p.by, cx, cy, found) / angle, 1, 1e-8)
                << "focal " << focal << " pair from " << p.ax << "," << p.ay;
            // Of two, the longer.
            if (p.across)
                EXPECT_NEAR(found / focal, 1, 1e-8)
                    << "focal " << focal << " pair from " << p.ax << "," << p.ay;
            else
                EXPECT_GE(found / focal, 1 - 1e-8)
                    << "focal " << focal << " pair from " << p.ax << "," << p.ay;
        }
    }
}

TEST(FocalForAngle, NoFocalForAnAngleNoPinholeGives) {
    // The same pixel twice, an angle of none or of a half turn, an angle wider than the pair allows.
    EXPECT_EQ(FocalForAngle(5, 5, 5, 5, 0, 0, 1), 0);
    EXPECT_EQ(FocalForAngle(0, 0, 100, 0, 0, 0, 0), 0);
    EXPECT_EQ(FocalForAngle(0, 0, 100, 0, 0, 0, 180), 0);
    EXPECT_EQ(FocalForAngle(10, 0, 20, 0, 0, 0, 60), 0);
}

}  // namespace
}  // namespace tornel
