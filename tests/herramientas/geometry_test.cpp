// Pair measures, projection and triangulation of the builder.
#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "herramientas/db/projection.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/triangle_file.h"

namespace tornel::db {
namespace {

// The angle at the midpoint between north and the direction to the northern star, from tangent
// vectors: an independent measure of the stored inclination.
double TangentInclination(double ra1, double dec1, double ra2, double dec2) {
    if (std::fabs(ra1 - ra2) <= 180.0 ? ra1 > ra2 : ra1 < ra2) std::swap(ra1, ra2), std::swap(dec1, dec2);
    Vec3 a = UnitVector(ra1, dec1), b = UnitVector(ra2, dec2);
    Vec3 m{a.x + b.x, a.y + b.y, a.z + b.z};
    double n = std::sqrt(Dot(m, m));
    m = {m.x / n, m.y / n, m.z / n};
    auto tangent = [&](Vec3 v) {
        double d = Dot(v, m);
        Vec3 t{v.x - d * m.x, v.y - d * m.y, v.z - d * m.z};
        double l = std::sqrt(Dot(t, t));
        return Vec3{t.x / l, t.y / l, t.z / l};
    };
    return std::acos(std::clamp(Dot(tangent({0, 0, 1}), tangent(b)), -1.0, 1.0)) * 180 / std::numbers::pi;
}

TEST(PairMeasure, InclinationDistanceAndMidpointAgreeWithTangentVectors) {
    struct Pair {
        double ra1, dec1, ra2, dec2;
    } pairs[] = {{10, 0, 10.2, 0},     {10, 20, 10.1, 20.15},  {359.95, -30, 0.05, -30.1},
                 {200, 85, 203, 85.1}, {45, -60, 45.2, -60.2}, {120, 5, 119.9, 5.25}};
    PairMeter meter;
    for (const auto& p : pairs) {
        PairGeometry g;
        ASSERT_TRUE(meter.Measure(p.ra1, p.dec1, p.ra2, p.dec2, g));
        // The program's short pi moves a star near RA 360 by up to 5e-6 degree: a pair across RA 0
        // is measured that much off, and so is its inclination at a tenth of a degree.
        EXPECT_NEAR(g.distance, AngularDistance(p.ra1, p.dec1, p.ra2, p.dec2), 1e-5);
        EXPECT_NEAR(g.inclination, TangentInclination(p.ra1, p.dec1, p.ra2, p.dec2), 3e-3);
        // The order of the pair changes nothing.
        PairGeometry h;
        ASSERT_TRUE(meter.Measure(p.ra2, p.dec2, p.ra1, p.dec1, h));
        EXPECT_EQ(g.inclination, h.inclination);
        double mra, mdec;
        Vec3 a = UnitVector(p.ra1, p.dec1), b = UnitVector(p.ra2, p.dec2);
        VectorToRaDec({a.x + b.x, a.y + b.y, a.z + b.z}, mra, mdec);
        EXPECT_NEAR(g.midDec, mdec, 1e-5);
        EXPECT_NEAR(std::remainder(g.midRa - mra, 360.0), 0, 1e-5);
    }
    PairGeometry eastWest;
    ASSERT_TRUE(meter.Measure(10, 0, 10.1, 0, eastWest));
    EXPECT_NEAR(eastWest.inclination, 90, 1e-3);
}

TEST(PairMeasure, DistanceUnitsRoundHalfToEven) {
    EXPECT_EQ(DistanceUnits(0.000005), 0);
    EXPECT_EQ(DistanceUnits(0.000015), 2);
    EXPECT_EQ(DistanceUnits(0.12345), 12345);
}

TEST(Projection, PixelsGoBackToTheirSkyPlace) {
    FieldGeometry g{83.8, -5.4, 3.5, 37, 1200, 900, false};
    for (bool mirror : {false, true}) {
        g.mirror = mirror;
        for (auto [x, y] : {std::pair{0.0, 0.0}, {600.0, 450.0}, {1199.0, 10.0}, {300.0, 880.0}}) {
            double ra, dec, x2, y2;
            PixelToSky(g, x, y, ra, dec);
            ASSERT_TRUE(SkyToPixel(g, ra, dec, x2, y2));
            EXPECT_NEAR(x2, x, 1e-6);
            EXPECT_NEAR(y2, y, 1e-6);
        }
    }
    // The scale: two pixels 1000 apart at the centre are 1000 x 3.5 arcsec apart.
    double ra1, dec1, ra2, dec2;
    PixelToSky(g, 100, 450, ra1, dec1);
    PixelToSky(g, 1100, 450, ra2, dec2);
    EXPECT_NEAR(AngularDistance(ra1, dec1, ra2, dec2) * 3600, 3500, 2);
}

TEST(Projection, NorthUpEastLeftAtAngleZero) {
    FieldGeometry g{150, 20, 10, 0, 1000, 1000, false};
    double x, y;
    ASSERT_TRUE(SkyToPixel(g, 150, 20.5, x, y));  // north: +y
    EXPECT_NEAR(x, 500, 1e-6);
    EXPECT_GT(y, 500);
    ASSERT_TRUE(SkyToPixel(g, 150.5, 20, x, y));  // east: -x
    EXPECT_LT(x, 500);
    g.mirror = true;
    ASSERT_TRUE(SkyToPixel(g, 150.5, 20, x, y));
    EXPECT_GT(x, 500);
    g.mirror = false;
    g.angle = 90;  // the sky turns: north now toward +x
    ASSERT_TRUE(SkyToPixel(g, 150, 20.5, x, y));
    EXPECT_GT(x, 500);
    EXPECT_NEAR(y, 500, 1e-6);
}

TEST(Projection, FieldsLoseAndGainStarsAsAsked) {
    std::vector<CatalogStar> sky;
    for (int i = 0; i < 400; ++i)
        sky.push_back({100 + (i % 20) * 0.05, 10 + (i / 20) * 0.05, static_cast<float>(8 + i % 7)});
    FieldGeometry g{100.5, 10.5, 4, 12, 900, 900, false};
    auto all = ProjectField(sky, g, {});
    ASSERT_GT(all.size(), 200u);
    for (size_t i = 1; i < all.size(); ++i)
        EXPECT_LE(all[i - 1].mag, all[i].mag);
    auto fewer = ProjectField(sky, g, {0.5, 7, 0, 3});
    int added = 0;
    for (const auto& s : fewer)
        added += !s.inCatalogue;
    EXPECT_EQ(added, 7);
    EXPECT_NEAR(static_cast<double>(fewer.size() - 7), all.size() / 2.0, all.size() * 0.15);
}

TEST(Triangulation, DelaunayOfSmallSets) {
    EXPECT_EQ(DelaunayTriangles({{0, 0}, {1, 0}, {0, 1}}).size(), 1u);
    EXPECT_EQ(DelaunayTriangles({{0, 0}, {1, 0}, {2, 0}}).size(), 0u);
    EXPECT_EQ(DelaunayTriangles({{0, 0}, {2, 0}, {0, 1}, {2, 1.2}}).size(), 2u);
    // A point inside a triangle splits it in three.
    EXPECT_EQ(DelaunayTriangles({{0, 0}, {4, 0}, {2, 3}, {2, 1}}).size(), 3u);
}

TEST(Triangulation, CanonicalTrianglesTurnAsTheImageTrianglesDo) {
    // Three stars, seen in a plain image: the canonical order must give a positive screen product.
    std::vector<DecRecord> stars{{1, 1, 150.0f, 20.0f}, {2, 2, 150.6f, 20.3f}, {3, 3, 149.7f, 21.1f}};
    TriangleRecord t;
    ASSERT_TRUE(CanonicalTriangle(stars, 3, 1, 2, t));
    EXPECT_LE(t.Lado1, t.Lado2);
    EXPECT_LE(t.Lado1, t.Lado3);
    for (double angle : {0.0, 73.0, 200.0}) {
        FieldGeometry g{150.1, 20.4, 8, angle, 2000, 2000, false};
        double x[3], y[3];
        int32_t v[3] = {t.Estrella1, t.Estrella2, t.Estrella3};
        for (int k = 0; k < 3; ++k)
            ASSERT_TRUE(SkyToPixel(g, stars[v[k] - 1].Ar, stars[v[k] - 1].De, x[k], y[k]));
        double p = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
        EXPECT_GT(p, 0) << angle;
        // Lado1 is the side between B and C, opposite A.
        EXPECT_NEAR(
            t.Lado1,
            AngularDistance(stars[v[1] - 1].Ar, stars[v[1] - 1].De, stars[v[2] - 1].Ar, stars[v[2] - 1].De),
            1e-5);
    }
    // Sides outside 0.1 to 2.28 degrees are not stored.
    std::vector<DecRecord> wide{{1, 1, 10.0f, 0.0f}, {2, 2, 13.0f, 0.0f}, {3, 3, 11.0f, 1.0f}};
    EXPECT_FALSE(CanonicalTriangle(wide, 1, 2, 3, t));
}

}  // namespace
}  // namespace tornel::db
