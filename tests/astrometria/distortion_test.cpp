// The distortion of a wide field: the least-squares solver, the gnomonic projection, and SIP models
// fitted to the stars of a camera with barrel distortion, checked against the camera itself.
#include "astrometria/distortion.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>

#include "astrometria/least_squares.h"
#include "tests/support/wide_camera.h"

namespace tornel {
namespace {

const double kDeg = std::acos(-1.0) / 180;

TEST(LeastSquares, SolvesOverdeterminedSystemsForEachRightHandSide) {
    // Two cubics of x sampled at 40 points, x in thousands of pixels: columns far apart in size.
    DenseMatrix a(40, 4), b(40, 2), x;
    for (int i = 0; i < 40; ++i) {
        const double t = 100.0 * i - 2000;
        for (int j = 0; j < 4; ++j)
            a(i, j) = std::pow(t, j);
        b(i, 0) = 3 - 0.5 * t + 2e-4 * t * t + 1e-8 * t * t * t;
        b(i, 1) = -7 + 1e-9 * t * t * t;
    }
    double condition = 0;
    ASSERT_EQ(LeastSquares(a, b, 1e7, x, condition), kLeastSquaresSolved);
    EXPECT_LT(condition, 100);
    const double want[4][2] = {{3, -7}, {-0.5, 0}, {2e-4, 0}, {1e-8, 1e-9}};
    for (int j = 0; j < 4; ++j)
        for (int k = 0; k < 2; ++k)
            EXPECT_NEAR(x(j, k), want[j][k], 1e-9 * std::pow(1e-3, j)) << j << " " << k;
}

TEST(LeastSquares, RefusesWhatItCannotSolveAndLeavesTheAnswerAlone) {
    DenseMatrix x(1, 1), b(3, 1);
    x(0, 0) = 42;
    double condition = 0;
    EXPECT_EQ(LeastSquares(DenseMatrix(3, 4), b, 1e7, x, condition), kLeastSquaresTooFewRows);
    EXPECT_EQ(LeastSquares(DenseMatrix(4, 2), b, 1e7, x, condition), kLeastSquaresTooFewRows);
    DenseMatrix a(3, 2);
    EXPECT_EQ(LeastSquares(a, b, 1e7, x, condition), kLeastSquaresDependent);  // zero columns
    for (int i = 0; i < 3; ++i) {
        a(i, 0) = i + 1;
        a(i, 1) = 2 * (i + 1) * (1 + 1e-12 * i);
        b(i, 0) = i;
    }
    EXPECT_EQ(LeastSquares(a, b, 1e7, x, condition), kLeastSquaresDependent);
    EXPECT_GT(condition, 1e7);
    EXPECT_EQ(x.rows, 1);
    EXPECT_EQ(x(0, 0), 42);
}

TEST(Gnomonic, ProjectsAndComesBack) {
    double xi = 0, eta = 0, ra = 0, dec = 0;
    ASSERT_TRUE(GnomonicProject(30, 0, 31, 0, xi, eta));
    EXPECT_NEAR(xi, std::tan(kDeg) / kDeg, 1e-12);
    EXPECT_NEAR(eta, 0, 1e-12);
    ASSERT_TRUE(GnomonicProject(30, 40, 30, 41, xi, eta));
    EXPECT_NEAR(xi, 0, 1e-12);
    EXPECT_NEAR(eta, std::tan(kDeg) / kDeg, 1e-12);
    const double points[][4] = {
        {359.5, 10, 0.7, 12}, {0.3, -20, 355, -35}, {120, 89, 300, 80}, {45, -60, 80, -50}};
    for (const auto& p : points) {
        ASSERT_TRUE(GnomonicProject(p[0], p[1], p[2], p[3], xi, eta));
        GnomonicUnproject(p[0], p[1], xi, eta, ra, dec);
        EXPECT_NEAR(ra, p[2], 1e-9);
        EXPECT_NEAR(dec, p[3], 1e-9);
    }
    xi = eta = 5;
    EXPECT_FALSE(GnomonicProject(10, 0, 101, 0, xi, eta));
    EXPECT_FALSE(GnomonicProject(10, 20, 190, -20, xi, eta));
    EXPECT_EQ(xi, 5);
}

// The camera of the tests, with the fit's call: the reference pixel at the image centre, the tangent
// point first guessed a little off.
struct WideCamera : testing::WideCamera {
    int Fit(const std::vector<SipStar>& stars, SipModel& m) const {
        return FitSip(stars, width / 2, height / 2, ra0 + 0.3, dec0 - 0.2, width, height, m);
    }
    std::vector<SipStar> Stars(int n, double noise) const {
        return testing::WideCamera::Stars<SipStar>(n, noise);
    }
};

double Separation(double ra1, double de1, double ra2, double de2) {
    const double x = std::sin((de2 - de1) * kDeg / 2), y = std::sin((ra2 - ra1) * kDeg / 2);
    return 2 * std::asin(std::sqrt(x * x + std::cos(de1 * kDeg) * std::cos(de2 * kDeg) * y * y)) / kDeg;
}

// The worst error, pixels, of the model both ways over a 9 x 9 grid reaching the corners.
void WorstErrors(const WideCamera& camera, const SipModel& m, double& toSky, double& toPixel) {
    toSky = toPixel = 0;
    for (int i = 0; i <= 8; ++i)
        for (int j = 0; j <= 8; ++j) {
            const double x = 0.5 + camera.width * i / 8, y = 0.5 + camera.height * j / 8;
            double ra = 0, dec = 0, fra = 0, fdec = 0, px = 0, py = 0;
            camera.Sky(x, y, ra, dec);
            SipPixelToSky(m, x, y, fra, fdec);
            toSky = std::max(toSky, Separation(ra, dec, fra, fdec) / camera.Scale());
            EXPECT_TRUE(SipSkyToPixel(m, ra, dec, px, py));
            toPixel = std::max(toPixel, std::hypot(px - x, py - y));
        }
}

TEST(SipFit, FollowsAWideLensToTheCornersBothWays) {
    for (bool mirrored : {false, true}) {
        SCOPED_TRACE(mirrored ? "mirrored" : "plain");
        WideCamera camera;
        camera.mirrored = mirrored;
        SipModel m;
        ASSERT_EQ(camera.Fit(camera.Stars(300, 0.1), m), kSipFitted);
        EXPECT_EQ(m.order, 3);
        EXPECT_GE(m.inverseOrder, 4);
        EXPECT_LT(m.inverseError, 0.05);
        EXPECT_LT(m.rmsSip, 0.2);
        EXPECT_GT(m.rmsLinear, 5);
        // The tangent point moved from the guess to the sky of the reference pixel.
        double ra = 0, dec = 0;
        camera.Sky(m.crpix1, m.crpix2, ra, dec);
        EXPECT_LT(Separation(ra, dec, m.crval1, m.crval2) / camera.Scale(), 0.05);
        double toSky = 0, toPixel = 0;
        WorstErrors(camera, m, toSky, toPixel);
        EXPECT_LT(toSky, 0.15);
        EXPECT_LT(toPixel, 0.15);
    }
}

TEST(SipFit, OrderFollowsTheStarsAndRefusals) {
    WideCamera camera;
    SipModel m;
    // Order 2 holds no odd terms: it takes a distortion centred off the axis to be worth it.
    EXPECT_EQ(camera.Fit(camera.Stars(15, 0.05), m), kSipNoGain);
    camera.offX = 1500, camera.offY = -1000;
    ASSERT_EQ(camera.Fit(camera.Stars(15, 0.05), m), kSipFitted);
    EXPECT_EQ(m.order, 2);
    camera.offX = camera.offY = 0;
    m.order = -1;
    EXPECT_EQ(camera.Fit(camera.Stars(9, 0.05), m), kSipTooFewStars);
    EXPECT_EQ(camera.Fit({}, m), kSipTooFewStars);
    // All in the left third of the frame; all on one line.
    std::vector<SipStar> left, line;
    for (const SipStar& s : camera.Stars(300, 0.1))
        if (s.x < camera.width / 3) left.push_back(s);
    for (int i = 0; i < 100; ++i) {
        SipStar s{20.0 + 39.5 * i, 15.0 + 29.6 * i, 0, 0};
        camera.Sky(s.x, s.y, s.ra, s.dec);
        line.push_back(s);
    }
    EXPECT_EQ(camera.Fit(left, m), kSipPoorlySpread);
    EXPECT_EQ(camera.Fit(line, m), kSipPoorlySpread);
    // On an ellipse round the frame every cell but the centre has stars, yet the quadratic terms
    // cannot be told from the constant one.
    std::vector<SipStar> ring;
    for (int i = 0; i < 200; ++i) {
        const double t = 2 * std::acos(-1.0) * i / 200;
        SipStar s{2000 + 1900 * std::cos(t), 1500 + 1400 * std::sin(t), 0, 0};
        camera.Sky(s.x, s.y, s.ra, s.dec);
        ring.push_back(s);
    }
    EXPECT_EQ(camera.Fit(ring, m), kSipIllConditioned);
    // A lens without distortion: the polynomials would only fit the noise.
    camera.k = 0;
    EXPECT_EQ(camera.Fit(camera.Stars(300, 0.2), m), kSipNoGain);
    EXPECT_EQ(m.order, -1);  // untouched by every refusal
}

TEST(SipFit, LeavesOutFalseMatches) {
    WideCamera camera;
    std::vector<SipStar> stars = camera.Stars(300, 0.1);
    for (size_t i = 0; i < 6; ++i)
        stars[i * 50].x += 40;  // paired with the wrong catalogue star
    SipModel m;
    ASSERT_EQ(camera.Fit(stars, m), kSipFitted);
    EXPECT_GE(m.starsRejected, 6);
    EXPECT_LE(m.starsRejected, 9);
    EXPECT_EQ(m.starsUsed + m.starsRejected, 300);
    double toSky = 0, toPixel = 0;
    WorstErrors(camera, m, toSky, toPixel);
    EXPECT_LT(toSky, 0.2);
}

TEST(SipFit, ABadNumberIsAStatusAndTheCallersFlagsStay) {
    WideCamera camera;
    std::vector<SipStar> stars = camera.Stars(100, 0.1);
    stars[3].x = std::numeric_limits<double>::quiet_NaN();
    stars[4].y = 1e300;  // far past any grid cell
    std::feclearexcept(FE_ALL_EXCEPT);
    std::feraiseexcept(FE_INEXACT);
    SipModel m;
    EXPECT_EQ(camera.Fit(stars, m), kSipFailed);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), FE_INEXACT);
    std::feclearexcept(FE_ALL_EXCEPT);
}

}  // namespace
}  // namespace tornel
