// The triangulation and the query triangles of an image, on hand-placed stars.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <set>
#include <vector>

#include "busqueda/busqueda.h"
#include "busqueda/delaunay.h"
#include "busqueda/three_stars.h"
#include "busqueda/triangle_search.h"
#include "core/parametros.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using Triple = std::array<int32_t, 3>;

std::set<Triple> Triangles(Triangulacion& t, int32_t count) {
    std::set<Triple> out;
    for (int32_t n = 1; n <= count; ++n) {
        Triple v = t.TriangulosDelaunay[static_cast<size_t>(n)];
        std::sort(v.begin(), v.end());
        out.insert(v);
    }
    return out;
}

int32_t Triangulate(Triangulacion& t, const std::vector<PuntoDelaunay>& points) {
    for (size_t k = 0; k < points.size(); ++k)
        t.Puntos[k + 1] = points[k];
    int32_t count = -1;
    EXPECT_EQ(TriangulaPuntos(t, static_cast<int32_t>(points.size()), count), kDelaunayHecho);
    return count;
}

TEST(Delaunay, ThreePointsMakeOneTriangleUnlessTheyStandInALine) {
    Triangulacion t;
    EXPECT_EQ(Triangulate(t, {{0, 0}, {100, 0}, {40, 70}}), 1);
    EXPECT_EQ(Triangles(t, 1), (std::set<Triple>{{1, 2, 3}}));
    EXPECT_EQ(Triangulate(t, {{0, 0}, {50, 40}, {100, 80}}), 0);
    EXPECT_EQ(Triangulate(t, {{0, 0}, {100, 80}, {50, 40}}), 0);
    // Fewer than three points: nothing is done and the count is not written.
    int32_t count = 99;
    EXPECT_EQ(TriangulaPuntos(t, 2, count), kDelaunayHecho);
    EXPECT_EQ(count, 99);
}

TEST(Delaunay, FourPointsOnACircleGiveTwoTriangles) {
    Triangulacion t;
    const int32_t count = Triangulate(t, {{0, 0}, {100, 0}, {100, 100}, {0, 100}});
    EXPECT_EQ(count, 2);
    // The fourth point lies on the circle of the first three and counts as inside: the first
    // triangle gives way to two that share the diagonal from the fourth point.
    EXPECT_EQ(Triangles(t, count), (std::set<Triple>{{1, 2, 4}, {2, 3, 4}}));
}

TEST(Delaunay, NoPointFallsInsideTheCircleOfATriangle) {
    std::mt19937_64 rng(4);
    std::uniform_int_distribution<int32_t> u(0, 2000);
    for (int round = 0; round < 50; ++round) {
        std::vector<PuntoDelaunay> points;
        for (int k = 0; k < 10; ++k)
            points.push_back({u(rng), u(rng)});
        Triangulacion t;
        const int32_t count = Triangulate(t, points);
        EXPECT_GE(count, 5);
        EXPECT_LE(count, 2 * 10 - 5);
        for (const Triple& v : Triangles(t, count)) {
            const auto &a = points[static_cast<size_t>(v[0] - 1)], &b = points[static_cast<size_t>(v[1] - 1)],
                       &d = points[static_cast<size_t>(v[2] - 1)];
            for (const auto& p : points) {
                // The in-circle determinant, exact in 64-bit integers: positive strictly inside for a
                // counter-clockwise triangle.
                auto row = [&](const PuntoDelaunay& q) {
                    const int64_t x = q.x - p.x, y = q.y - p.y;
                    return std::array<int64_t, 3>{x, y, x * x + y * y};
                };
                const auto r1 = row(a), r2 = row(b), r3 = row(d);
                const int64_t det = r1[0] * (r2[1] * r3[2] - r2[2] * r3[1]) -
                                    r1[1] * (r2[0] * r3[2] - r2[2] * r3[0]) +
                                    r1[2] * (r2[0] * r3[1] - r2[1] * r3[0]);
                const int64_t turn = static_cast<int64_t>(b.x - a.x) * (d.y - a.y) -
                                     static_cast<int64_t>(b.y - a.y) * (d.x - a.x);
                EXPECT_LE(det * (turn > 0 ? 1 : -1), 0) << "round " << round;
            }
        }
    }
}

TEST(Delaunay, CircleOfThreePointsOnOneRowCannotBeDrawn) {
    double xc = 0, yc = 0, r = 0;
    bool coincident = false, fault = false;
    EXPECT_FALSE(InCircle(5, 5, 0, 7, 10, 7, 20, 7, xc, yc, r, coincident, fault));
    EXPECT_TRUE(coincident);
    coincident = false;
    EXPECT_TRUE(InCircle(0, 0, -10, 0, 10, 0, 0, 10, xc, yc, r, coincident, fault));
    EXPECT_DOUBLE_EQ(r, 10);
    EXPECT_FALSE(InCircle(0, 11, -10, 0, 10, 0, 0, 10, xc, yc, r, coincident, fault));
    EXPECT_FALSE(coincident || fault);
}

// Selected stars placed by hand on an image of 5 arc seconds per pixel.
class ImageTriangles : public ::testing::Test {
  protected:
    void Place(const std::vector<std::array<double, 2>>& stars) {
        c.gAnchoImagen = 1200;
        c.gAltoImagen = 1000;
        c.gSegundosPorPixelX = c.gSegundosPorPixelY = 5;
        c.gFocalEnPixeles = FocalDesdeEscala(5);
        c.mNumSeleccionadas = static_cast<int32_t>(stars.size());
        for (size_t k = 0; k < stars.size(); ++k)
            c.mSeleccionadasCuadradas[k + 1] = {stars[k][0], stars[k][1], 1000.0 - static_cast<double>(k)};
        CalculaDistanciasEnPantalla(c);
        Tri_CalculaTriangulosDeLaImagen(c);
    }
    double Side(int32_t a, int32_t b) const {
        return c.mDistanciasPantalla[static_cast<size_t>(std::min(a, b))]
                                    [static_cast<size_t>(std::max(a, b))] /
               60;
    }

    testing::TestProgram p;
    Context& c = p.c;
};

TEST_F(ImageTriangles, EachTriangleIsCanonicalWithItsBoxAndTheTriangulationComesFirst) {
    Place({{100, 120}, {900, 200}, {500, 800}, {1100, 900}, {300, 600}, {700, 450}, {200, 950}});
    ASSERT_EQ(c.mNumTriangulosImagen, 35);  // every triple: all sides lie between 0.1 and 2.28 degrees
    std::set<Triple> seen;
    for (int32_t n = 1; n <= c.mNumTriangulosImagen; ++n) {
        const TrianguloImagen& t = c.mTriangulosImagen[static_cast<size_t>(n)];
        const double bc = Side(t.EstrellaB, t.EstrellaC), ca = Side(t.EstrellaC, t.EstrellaA),
                     ab = Side(t.EstrellaA, t.EstrellaB);
        EXPECT_LE(bc, ca);
        EXPECT_LE(bc, ab);
        double turn = 0;
        ProductoVectorialPantalla(c, t.EstrellaA, t.EstrellaB, t.EstrellaC, turn);
        EXPECT_GT(turn, 0);
        const double k = 0.03 / 2.18, m = 0.0406 / 2.18;
        EXPECT_DOUBLE_EQ(t.Lado1Min, (1 - k) * bc - m);
        EXPECT_DOUBLE_EQ(t.Lado2Max, (1 + k) * ca + m);
        EXPECT_DOUBLE_EQ(t.Lado3Min, (1 - k) * ab - m);
        Triple sorted{t.EstrellaA, t.EstrellaB, t.EstrellaC};
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, (Triple{t.EstrellaI, t.EstrellaJ, t.EstrellaK}));
        EXPECT_TRUE(seen.insert(sorted).second);
    }
    // The first ones are the triangles of the whole triangulation, in its order.
    Triangulacion t;
    for (int32_t k = 1; k <= 7; ++k)
        t.Puntos[static_cast<size_t>(k)] = {
            static_cast<int32_t>(std::lround(c.mSeleccionadasCuadradas[static_cast<size_t>(k)].x)),
            static_cast<int32_t>(std::lround(c.mSeleccionadasCuadradas[static_cast<size_t>(k)].y))};
    int32_t count = 0;
    ASSERT_TRUE(Construye(c, t, 7, count));
    ASSERT_GT(count, 0);
    for (int32_t n = 1; n <= count; ++n) {
        Triple v = t.TriangulosDelaunay[static_cast<size_t>(n)];
        std::sort(v.begin(), v.end());
        const TrianguloImagen& q = c.mTriangulosImagen[static_cast<size_t>(n)];
        EXPECT_EQ(v, (Triple{q.EstrellaI, q.EstrellaJ, q.EstrellaK}));
    }
}

TEST_F(ImageTriangles, SidesOutsideTheDatabaseLeaveNoTriangleAndNoPosition) {
    // 30 pixels apart is under 0.1 degree at this scale.
    Place({{600, 500}, {630, 500}, {600, 530}, {640, 540}});
    EXPECT_EQ(c.mNumTriangulosImagen, 0);
    c.gZonaCielo = 3;
    BusquedaPorTriangulos(c);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_TRUE(p.platform.SummaryHas("Polygons = 0"));
    EXPECT_TRUE(p.platform.SummaryHas("Position not found."));
    // Two stars make no triangle at all.
    c.mFinAnalisis = false;
    Place({{100, 100}, {900, 900}});
    EXPECT_EQ(c.mNumTriangulosImagen, 0);
}

}  // namespace
}  // namespace tornel
