// The plate model: three stars solve it exactly, and it carries pixels to the sky and back, for a
// plain or a mirrored image, with the fixed rules of its quadrants and its failures.
#include "astrometria/plate_model.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::TestProgram;

const double kDeg = std::acos(-1.0) / 180;

struct Vec {
    double x, y, z;
};
double Dot(Vec a, Vec b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec Sky(double ra, double dec) {
    return {std::cos(dec * kDeg) * std::cos(ra * kDeg), std::cos(dec * kDeg) * std::sin(ra * kDeg),
            std::sin(dec * kDeg)};
}

// An ideal camera, independent of the program: axes from a rotation matrix (optical axis at
// (ra0, dec0), the image's x axis turned by `angle` from the direction of growing right ascension),
// pixels by the gnomonic projection x = W/2 + F (S.ex)/(S.ez), y = H/2 + F (S.ey)/(S.ez); a mirrored
// camera reads x from the other side.
struct Camera {
    double ra0, dec0, angle;
    bool mirrored = false;
    static constexpr double W = 1024, H = 768;
    static constexpr int32_t F = 3000;
    Vec ex, ey, ez;
    Camera(double ra, double dec, double turn, bool mirror = false)
        : ra0(ra), dec0(dec), angle(turn), mirrored(mirror) {
        double a = ra0 * kDeg, d = dec0 * kDeg, t = angle * kDeg;
        Vec east{-std::sin(a), std::cos(a), 0};
        Vec north{-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)};
        ez = Sky(ra0, dec0);
        ex = {std::cos(t) * east.x + std::sin(t) * north.x, std::cos(t) * east.y + std::sin(t) * north.y,
              std::cos(t) * east.z + std::sin(t) * north.z};
        ey = {-std::sin(t) * east.x + std::cos(t) * north.x, -std::sin(t) * east.y + std::cos(t) * north.y,
              -std::sin(t) * east.z + std::cos(t) * north.z};
    }
    PlateStar Shoot(double ra, double dec) const {
        Vec s = Sky(ra, dec);
        double p = F * Dot(s, ex) / Dot(s, ez), q = F * Dot(s, ey) / Dot(s, ez);
        return {mirrored ? W / 2 - p : W / 2 + p, H / 2 + q, ra, dec};
    }
    void Use(Context& c) const {
        c.gAnchoImagen = W;
        c.gAltoImagen = H;
        c.gFocalEnPixeles = F;
    }
};

// Stars of a 15 x 11 degree field around (150, 35).
const double kField[][2] = {{147.2, 31.9}, {153.1, 33.0}, {149.8, 38.7},
                            {151.6, 36.4}, {146.9, 37.5}, {154.0, 38.9}};

double Determinant(const PlateMatrix& m) {
    return m[1][1] * (m[2][2] * m[3][3] - m[2][3] * m[3][2]) -
           m[1][2] * (m[2][1] * m[3][3] - m[2][3] * m[3][1]) +
           m[1][3] * (m[2][1] * m[3][2] - m[2][2] * m[3][1]);
}

void ExpectRoundTrips(Context& c, const Camera& cam) {
    for (const auto& star : kField) {
        PlateStar s = cam.Shoot(star[0], star[1]);
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(c, s.ra, s.dec, x, y);
        EXPECT_NEAR(x, s.x, 1e-3) << s.ra;
        EXPECT_NEAR(y, s.y, 1e-3) << s.ra;
        CoordenadasImagenAesfericas(c, s.x, s.y);
        EXPECT_NEAR(c.mRAconvertida, s.ra, 1e-5) << s.ra;
        EXPECT_NEAR(c.mDECconvertida, s.dec, 1e-5) << s.ra;
    }
}

TEST(PlateModel, ThreeStarsSolveThePlateAndEveryStarMapsBack) {
    TestProgram p;
    Camera cam(150, 35, 23);
    cam.Use(p.c);
    ResuelveSistema(p.c, {cam.Shoot(147.2, 31.9), cam.Shoot(153.1, 33.0), cam.Shoot(149.8, 38.7)});
    ASSERT_FALSE(p.c.mFinAnalisis);
    // Exact for its own three stars, and for the others to what the program's pi allows.
    ExpectRoundTrips(p.c, cam);
    EXPECT_GT(Determinant(p.c.Cij), 0);
    // The centre pixel is the optical axis: row 3 of the plate.
    CoordenadasImagenAesfericas(p.c, Camera::W / 2, Camera::H / 2);
    EXPECT_NEAR(p.c.mRAconvertida, 150, 1e-5);
    EXPECT_NEAR(p.c.mDECconvertida, 35, 1e-5);
    EXPECT_TRUE(p.platform.messages.empty());
}

TEST(PlateModel, AMirroredImageNeedsNothingSpecial) {
    TestProgram p;
    Camera cam(150, 35, -60, true);
    cam.Use(p.c);
    ResuelveSistema(p.c, {cam.Shoot(151.6, 36.4), cam.Shoot(146.9, 37.5), cam.Shoot(153.1, 33.0)});
    ExpectRoundTrips(p.c, cam);
    EXPECT_LT(Determinant(p.c.Cij), 0);
}

TEST(PlateModel, TheTriangleSearchSolvesItsOwnPlateFromCatalogueStars) {
    CatalogueProgram p;
    Camera cam(150, 35, 120);
    cam.Use(p.c);
    auto millionths = [](double deg) { return static_cast<int32_t>(std::lround(deg * 1000000)); };
    std::vector<testing::Star12> stars;
    for (int i = 0; i < 3; ++i) {
        stars.push_back({100001 + i, millionths(kField[i][0]), millionths(kField[i][1])});
        PlateStar s = cam.Shoot(kField[i][0], kField[i][1]);
        p.c.mSeleccionadasCuadradas[static_cast<size_t>(5 + i)] = {s.x, s.y, 0};
    }
    ASSERT_TRUE(p.UseDatabaseOne(stars));
    PlateMatrix before = p.c.Cij;
    EXPECT_EQ(ResuelveSistemaPara3estrellasCoefDij(p.c, 5, 6, 7, 100001, 100002, 100003), 1);
    EXPECT_EQ(p.c.Cij, before);
    PlateStar fourth = cam.Shoot(151.6, 36.4);
    CoordenadasImagenAesfericasConCoefDij(p.c, fourth.x, fourth.y);
    EXPECT_NEAR(p.c.mRAconvertida, 151.6, 1e-5);
    EXPECT_NEAR(p.c.mDECconvertida, 36.4, 1e-5);
}

TEST(PlateModel, CollinearStarsAreADivisionByZero) {
    TestProgram p;
    Camera cam(150, 35, 0);
    cam.Use(p.c);
    ResuelveSistema(p.c, {cam.Shoot(147.2, 31.9), cam.Shoot(153.1, 33.0), cam.Shoot(149.8, 38.7)});
    PlateMatrix solved = p.c.Cij;
    // Three stars on the image's centre column: their image vectors lie in one plane.
    std::array<PlateStar, 3> column = {PlateStar{Camera::W / 2, 100, 149, 30},
                                       PlateStar{Camera::W / 2, 300, 150, 33},
                                       PlateStar{Camera::W / 2, 500, 151, 36}};
    ResuelveSistema(p.c, column);
    EXPECT_EQ(p.platform.messages, std::vector<std::string>{"Error 11 Division by zero ResuelveSistema"});
    EXPECT_TRUE(p.c.mFinAnalisis);
    EXPECT_EQ(p.c.Cij, solved);
    // Once the analysis is ending nothing more is done, and nothing more is told.
    double x = -1, y = -1;
    CoordenadasCatalogoAimagen(p.c, 150, 35, x, y);
    EXPECT_EQ(x, -1);
    EXPECT_EQ(p.platform.messages.size(), 1u);

    p.c.mFinAnalisis = false;
    p.c.mSeleccionadasCuadradas[1] = {Camera::W / 2, 100, 0};
    p.c.mSeleccionadasCuadradas[2] = {Camera::W / 2, 100, 0};  // the same star twice
    p.c.mSeleccionadasCuadradas[3] = {Camera::W / 2, 500, 0};
    EXPECT_EQ(ResuelveSistemaPara3estrellasCoefDij(p.c, 1, 2, 3, 1, 2, 3), 0);
    EXPECT_TRUE(p.c.mFinAnalisis);
}

// A plate set by hand whose optical axis is `axis`, with x and y along the other two directions.
void AxisPlate(Context& c, Vec r1, Vec r2, Vec axis) {
    c.gAnchoImagen = 200;
    c.gAltoImagen = 100;
    c.gFocalEnPixeles = 1000;
    c.Cij = {};
    const Vec rows[] = {r1, r2, axis};
    for (size_t i = 1; i <= 3; ++i) {
        c.Cij[i][1] = rows[i - 1].x;
        c.Cij[i][2] = rows[i - 1].y;
        c.Cij[i][3] = rows[i - 1].z;
    }
}

TEST(PlateModel, RightAscensionByQuadrantsWithItsGap) {
    TestProgram p;
    // Looking at right ascension 180 on the equator: Vx < 0 and Vy exactly 0 give 0, not 180.
    AxisPlate(p.c, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0});
    CoordenadasImagenAesfericas(p.c, 100, 50);
    EXPECT_EQ(p.c.mRAconvertida, 0);
    EXPECT_EQ(p.c.mDECconvertida, 0);
    // A pixel to either side reads near 180 as it should.
    CoordenadasImagenAesfericas(p.c, 101, 50);
    EXPECT_NEAR(p.c.mRAconvertida, 180 - 0.0573, 1e-4);
    CoordenadasImagenAesfericas(p.c, 99, 50);
    EXPECT_NEAR(p.c.mRAconvertida, 180 + 0.0573, 1e-4);
    // Vx exactly 0: a quarter turn either way.
    AxisPlate(p.c, {1, 0, 0}, {0, 0, 1}, {0, 1, 0});
    CoordenadasImagenAesfericas(p.c, 100, 50);
    EXPECT_DOUBLE_EQ(p.c.mRAconvertida, 90);
    // Right ascension 0 lies 90 degrees off this axis, in the image plane: u3 is exactly 0 and the
    // point goes ten image widths out along its direction.
    double x = 0, y = 0;
    CoordenadasCatalogoAimagen(p.c, 0, 0, x, y);
    EXPECT_EQ(x, 100 + 2000);
    EXPECT_EQ(y, 50);
    AxisPlate(p.c, {1, 0, 0}, {0, 0, 1}, {0, -1, 0});
    CoordenadasImagenAesfericas(p.c, 100, 50);
    EXPECT_DOUBLE_EQ(p.c.mRAconvertida, 270);
    EXPECT_TRUE(p.platform.messages.empty());
}

TEST(PlateModel, ThePoleAtTheCentreStopsTheAnalysis) {
    TestProgram p;
    AxisPlate(p.c, {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    p.c.mRAconvertida = 12;
    p.c.mDECconvertida = 34;
    CoordenadasImagenAesfericas(p.c, 100, 50);
    EXPECT_EQ(p.platform.messages,
              std::vector<std::string>{"Error 11 Division by zero CoordenadasImagenAesfericas"});
    EXPECT_EQ(p.c.mRAconvertida, 12);
    EXPECT_EQ(p.c.mDECconvertida, 34);
    EXPECT_TRUE(p.c.mFinAnalisis);
}

}  // namespace
}  // namespace tornel
