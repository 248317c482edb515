// Distance and inclination of star pairs, against the haversine formula and the position angle
// computed another way, with the fixed choices of the routines.
#include "astrometria/pair_geometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::Star12;
using testing::TestProgram;

// Reference values (numpy): distance by the haversine formula; the midpoint M by the spherical
// midpoint formula; pa the position angle of point 2 seen from M, north through east,
// atan2(sin dra cos d2, cos dM sin d2 - sin dM cos d2 cos dra).
//
// What the formulas allow: the program's pi, 3.1415927, stretches every right ascension by 1.5e-8 of
// itself, so a gap of right ascension is off by up to 5e-6 degrees (1e-5 is allowed on distances) and
// a short pair across right ascension 0 turns by some 0.001 degree (allowed on its inclinations).
struct Pair {
    double ra1, dec1, ra2, dec2;
    double distance, pa, decMid, tanHalf;
};
const Pair kPairs[] = {
    {10.0, 20.0, 10.2, 20.1, 0.212834234240, 61.9754710313, 20.0500281052, 0.001857331210},
    {359.9, -5.0, 0.15, -4.8, 0.319443158827, 51.2377661094, -4.9000116044, 0.002787674668},
    {120.0, 45.0, 121.5, 44.0, 1.464407252851, 133.0713681693, 44.5024538869, 0.012780059797},
    {200.0, -60.0, 199.0, -61.5, 1.577530355943, 198.0320033375, -60.7509295805, 0.013767419116},
    {30.0, 10.0, 250.0, -40.0, 133.592742504424, 236.4415277975, -36.5379024788, 2.332766765257},
};

double InclinationTolerance(const Pair& k) {
    return std::fabs(k.ra2 - k.ra1) > 180 && k.distance < 1 ? 2e-3 : 1e-5;
}

int32_t Millionths(double degrees) {
    return static_cast<int32_t>(std::lround(degrees * 1000000));
}

// The pairs as catalogue stars: pair k is stars 100001 + 2k and 100002 + 2k.
struct CataloguePairs : ::testing::Test {
    CatalogueProgram p;
    void SetUp() override {
        std::vector<Star12> stars;
        int32_t id = 100001;
        for (const Pair& k : kPairs) {
            stars.push_back({id++, Millionths(k.ra1), Millionths(k.dec1)});
            stars.push_back({id++, Millionths(k.ra2), Millionths(k.dec2)});
        }
        stars.push_back({900001, Millionths(10), Millionths(-60)});
        stars.push_back({900002, Millionths(10), Millionths(-60.05)});
        stars.push_back({900003, Millionths(10), Millionths(-60.05)});
        ASSERT_TRUE(p.UseDatabaseOne(stars));
    }
};

TEST(PairGeometry, DistanceAgreesWithTheHaversineFormula) {
    TestProgram p;
    for (const Pair& k : kPairs) {
        EXPECT_NEAR(CalculaDistancia(p.c, k.ra1, k.dec1, k.ra2, k.dec2), k.distance, 1e-5) << k.ra1;
        EXPECT_NEAR(CalculaDistancia(p.c, k.ra2, k.dec2, k.ra1, k.dec1), k.distance, 1e-5) << k.ra1;
    }
    EXPECT_EQ(CalculaDistancia(p.c, 47, 11, 47, 11), 0);
}

TEST(PairGeometry, ExactlyOppositePointsAreAtDistanceZero) {
    TestProgram p;
    // These two are opposite to the last bit once converted with the program's pi (found by search):
    // the sum of their vectors is exactly zero and the routine answers 0, by decision.
    EXPECT_EQ(CalculaDistancia(p.c, 10.000002, 0, 189.99999934089107, 0), 0);
    // A hair away from opposite the answer is near 180.
    EXPECT_NEAR(CalculaDistancia(p.c, 10, 0, 190.001, 0), 179.999, 1e-5);
    EXPECT_TRUE(p.platform.messages.empty());
}

TEST_F(CataloguePairs, CatalogueDistanceByTheHalfChord) {
    int32_t id = 100001;
    for (const Pair& k : kPairs) {
        ASSERT_EQ(CalculaDistanciaDeCatalogo(p.c, id, id + 1), kParHecho);
        EXPECT_NEAR(p.c.gDistanciaAngular, k.distance, 1e-5) << k.ra1;
        id += 2;
    }
    // A star the catalogue doesn't hold: the code tells which, and the last distance stays.
    p.c.gMostrarAvisos = false;
    EXPECT_EQ(CalculaDistanciaDeCatalogo(p.c, 555, 100001), kParFaltaPrimera);
    EXPECT_EQ(CalculaDistanciaDeCatalogo(p.c, 100001, 555), kParFaltaSegunda);
    EXPECT_NEAR(p.c.gDistanciaAngular, kPairs[4].distance, 1e-5);
}

TEST_F(CataloguePairs, InclinationZeroTo180IsThePositionAngleOfTheEasternStar) {
    int32_t id = 100001;
    for (const Pair& k : kPairs) {
        // The eastern star of the pair on the shorter way round; the directions from the midpoint to
        // the two ends are exactly opposite.
        double gap = std::remainder(k.ra2 - k.ra1, 360);
        double expected = gap > 0 ? k.pa : k.pa - 180;
        for (auto [a, b] : {std::pair{id, id + 1}, std::pair{id + 1, id}}) {
            ASSERT_EQ(CalculaAnguloEinclinacion_0a180_DeCatalogo(p.c, a, b), kParHecho);
            EXPECT_NEAR(p.c.gInclinacion, expected, InclinationTolerance(k)) << k.ra1;
            EXPECT_NEAR(p.c.gDistanciaAngular, k.distance, 1e-5) << k.ra1;
            EXPECT_NEAR(p.c.gDeclinacionMedia, k.decMid, 1e-5) << k.ra1;
        }
        id += 2;
    }
}

TEST_F(CataloguePairs, AStarWithItselfNeedsNoComputation) {
    ASSERT_EQ(CalculaAnguloEinclinacion_0a180_DeCatalogo(p.c, 100003, 100003), kParHecho);
    EXPECT_EQ(p.c.gDistanciaAngular, 0);
    EXPECT_EQ(p.c.gInclinacion, 0);
    EXPECT_EQ(p.c.gDeclinacionMedia, -5.0);
    p.c.gMostrarAvisos = false;
    EXPECT_EQ(CalculaAnguloEinclinacion_0a180_DeCatalogo(p.c, 100003, 7), kParFaltaSegunda);
}

TEST(PairGeometry, InclinationZeroTo360TurnsWithTheOrderOfThePair) {
    TestProgram p;
    for (const Pair& k : kPairs) {
        ASSERT_EQ(CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, k.ra1, k.dec1, k.ra2, k.dec2),
                  kParHecho);
        // Measured from north through west: 360 minus the position angle of point 2.
        EXPECT_NEAR(p.c.gInclinacion, 360 - k.pa, InclinationTolerance(k)) << k.ra1;
        EXPECT_NEAR(p.c.gDistanciaAngular, k.distance, 1e-5) << k.ra1;
        EXPECT_NEAR(p.c.gTanMediaDistancia, k.tanHalf, 5e-7) << k.ra1;
        // From the other end the midpoint sees the opposite direction. (The arc cosine adds a true
        // right angle, 2*atan(1), then converts with the program's pi: 180 becomes 180 - 2.7e-6.)
        double forward = p.c.gInclinacion;
        CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, k.ra2, k.dec2, k.ra1, k.dec1);
        EXPECT_NEAR(p.c.gInclinacion, std::fmod(forward + 180, 360), 1e-5) << k.ra1;
    }
}

TEST(PairGeometry, ASingularPointEndsTheZeroTo360RoutineEarly) {
    TestProgram p;
    p.c.gInclinacion = 12;
    p.c.gTanMediaDistancia = 34;
    EXPECT_EQ(CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, 80, 30, 80, 30), kParHecho);
    EXPECT_EQ(p.c.gDistanciaAngular, 0);
    EXPECT_EQ(p.c.gInclinacion, 12);
    EXPECT_EQ(p.c.gTanMediaDistancia, 34);
}

// A pair on one meridian, the second star south: rounding takes the cosine at the midpoint just past
// -1 (-1.0000000000036), and each routine answers its own fixed value.
TEST_F(CataloguePairs, DueSouthIs179InTheFilesAnd180OtherWise) {
    ASSERT_EQ(CalculaAnguloEinclinacion_0a180_DeCatalogo(p.c, 900001, 900002), kParHecho);
    EXPECT_EQ(p.c.gInclinacion, 179);
    EXPECT_NEAR(p.c.gDistanciaAngular, 0.05, 1e-9);
    ASSERT_EQ(CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, 10, -60, 10, -60.05), kParHecho);
    EXPECT_EQ(p.c.gInclinacion, 180);
}

TEST_F(CataloguePairs, FloatingPointErrorsAnswerCode3) {
    // Two stars at one place: half the distance is 0 and the cosine rule takes 0 / 0.
    EXPECT_EQ(CalculaAnguloEinclinacion_0a180_DeCatalogo(p.c, 900002, 900003), kParError);
    EXPECT_EQ(p.platform.messages,
              std::vector<std::string>{
                  "Error 5 Invalid procedure call or argument CalculaAnguloEinclinacion_0a180_DeCatalogo"});
    EXPECT_TRUE(p.c.mFinAnalisis);
    // A pair whose cosine at the midpoint comes out exactly 1 (found by search): the arc cosine
    // divides by zero rather than take the fallback for values past 1.
    EXPECT_EQ(CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, 343, -59.659, 343, -59.559), kParError);
    EXPECT_EQ(p.platform.messages.back(),
              "Error 11 Division by zero CalculaAnguloEinclinacion_0a360_DeCoordenadas");
    EXPECT_EQ(CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, INFINITY, 0, 10, 20), kParError);
    EXPECT_EQ(p.platform.messages.back(),
              "Error 5 Invalid procedure call or argument CalculaAnguloEinclinacion_0a360_DeCoordenadas");
    EXPECT_EQ(CalculaDistancia(p.c, 10, NAN, 10, 20), 0);
    EXPECT_EQ(p.platform.messages.back(), "Error 5 Invalid procedure call or argument CalculaDistancia");
}

}  // namespace
}  // namespace tornel
