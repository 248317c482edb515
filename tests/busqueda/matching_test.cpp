// The matching stages on hand-made figures: segments joined into three-stars by the pixel library and
// by the stage, three-stars merged into polygons, the pruning of polygons, the conflict test of the
// choice of solution, and the small routines of the windows and of the presentation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <vector>

#include "astrometria/angle_calibration.h"
#include "astrometria/pair_geometry.h"
#include "astrometria/plate_model.h"
#include "busqueda/polygons.h"
#include "busqueda/screen_geometry.h"
#include "busqueda/solution_choice.h"
#include "busqueda/three_stars.h"
#include "catalogo/distance_database.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "herramientas/db/projection.h"
#include "resultados/solution_presentation.h"
#include "tests/support/star_files.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::Star12;
using testing::TestProgram;

Segmento Seg(int16_t p1, int32_t c1, int16_t p2, int32_t c2) {
    Segmento s{};
    s.Pantalla1 = p1;
    s.Catalogo1 = c1;
    s.Pantalla2 = p2;
    s.Catalogo2 = c2;
    return s;
}

// A figure from (selected star, catalogue star) pairs and its found sides.
Poligono Figure(std::initializer_list<std::pair<int, int32_t>> stars,
                std::initializer_list<std::pair<int, int>> sides) {
    Poligono p{};
    for (auto [k, s] : stars)
        Estrella(p, k) = s;
    for (auto [i, j] : sides)
        Lado(p, i, j) = 1;
    return p;
}

std::vector<Poligono> Library(const std::vector<Segmento>& segments, int16_t& count) {
    std::vector<Poligono> out(2 * segments.size());
    count = construye_3_estrellas(segments.data(), static_cast<int16_t>(segments.size()), out.data(), 10);
    return out;
}

TEST(ThreeStars, SegmentsSharingAStarAndItsCatalogueStarJoin) {
    int16_t n = 0;
    // (1, 2) and (1, 3) share selected star 1 with catalogue star 100.
    auto t = Library({Seg(1, 100, 2, 200), Seg(1, 100, 3, 300)}, n);
    ASSERT_EQ(n, 1);
    EXPECT_EQ(Estrella(t[0], 1), 100);
    EXPECT_EQ(Estrella(t[0], 2), 200);
    EXPECT_EQ(Estrella(t[0], 3), 300);
    EXPECT_EQ(Lado(t[0], 1, 2), 1);
    EXPECT_EQ(Lado(t[0], 1, 3), 1);
    EXPECT_EQ(Lado(t[0], 2, 3), 0);
    EXPECT_EQ(t[0].NumLados, 0);

    // The same three stars found again from other pairs count once, with the union of their sides.
    t = Library({Seg(1, 100, 2, 200), Seg(1, 100, 3, 300), Seg(2, 200, 3, 300)}, n);
    ASSERT_EQ(n, 1);
    EXPECT_EQ(Lado(t[0], 2, 3), 1);

    // Same two selected stars, or the other catalogue star shared too: no three-star.
    Library({Seg(1, 100, 2, 200), Seg(1, 100, 2, 999)}, n);
    EXPECT_EQ(n, 0);
    Library({Seg(1, 100, 2, 200), Seg(1, 100, 3, 200)}, n);
    EXPECT_EQ(n, 0);
    // Sharing a selected star with different catalogue stars is no join either.
    Library({Seg(1, 100, 2, 200), Seg(1, 101, 3, 300)}, n);
    EXPECT_EQ(n, 0);
    // A shared star at the second end of one and the first end of the other (case 4).
    t = Library({Seg(1, 100, 2, 200), Seg(2, 200, 5, 500)}, n);
    ASSERT_EQ(n, 1);
    EXPECT_EQ(Estrella(t[0], 5), 500);
    EXPECT_EQ(Lado(t[0], 2, 5), 1);
}

TEST(ThreeStars, MoreFiguresThanTheArrayHoldsIsAnError) {
    // Six segments through one star make 15 three-stars; the array holds 12.
    std::vector<Segmento> fan;
    for (int16_t k = 2; k <= 7; ++k)
        fan.push_back(Seg(1, 100, k, 100 * k));
    int16_t n = 0;
    Library(fan, n);
    EXPECT_EQ(n, -1);

    TestProgram p;
    p.c.mNumSeleccionadas = 7;
    p.c.mSegmentos.assign(1, Segmento{});
    p.c.mSegmentos.insert(p.c.mSegmentos.end(), fan.begin(), fan.end());
    p.c.mNumSegmentos = 6;
    Construye3estrellas(p.c);
    EXPECT_TRUE(p.c.mFinAnalisis);
    EXPECT_TRUE(p.platform.HasMessage("Error 9 Subscript out of range Construye3estrellas"));
}

TEST(ThreeStars, TheStageFillsTheArrayFromOne) {
    TestProgram p;
    p.c.gZonaCielo = 1;
    p.c.mNumSeleccionadas = 4;
    p.c.mSegmentos = {Segmento{}, Seg(1, 100, 2, 200), Seg(1, 100, 3, 300), Seg(3, 300, 4, 400)};
    p.c.mNumSegmentos = 3;
    Construye3estrellas(p.c);
    ASSERT_EQ(p.c.mNumTresEstrellas, 2);
    EXPECT_EQ(Estrella(p.c.mTresEstrellas[2], 4), 400);
    EXPECT_TRUE(p.platform.SummaryHas("3-stars found: 2"));
    // No segment, no call and no figure.
    p.c.mNumSegmentos = 0;
    Construye3estrellas(p.c);
    EXPECT_EQ(p.c.mNumTresEstrellas, 0);
}

class Polygons : public ::testing::Test {
  protected:
    void Use(std::initializer_list<Poligono> figures) {
        p.c.mNumSeleccionadas = 10;
        p.c.mTresEstrellas.assign(1, Poligono{});
        p.c.mTresEstrellas.insert(p.c.mTresEstrellas.end(), figures.begin(), figures.end());
        p.c.mNumTresEstrellas = static_cast<int32_t>(figures.size());
    }
    TestProgram p;
};

TEST_F(Polygons, CompatibleThreeStarsMergeAndConflictingOnesStayApart) {
    const Poligono a = Figure({{1, 100}, {2, 200}, {3, 300}}, {{1, 2}, {1, 3}});
    const Poligono b = Figure({{1, 100}, {3, 300}, {4, 400}}, {{1, 4}, {3, 4}});
    // Selected star 2 as another catalogue star: never with a.
    const Poligono c = Figure({{1, 100}, {2, 999}, {5, 500}}, {{1, 2}, {1, 5}});
    // Catalogue star 400 under selected star 6: never with b.
    const Poligono d = Figure({{1, 100}, {6, 400}, {7, 700}}, {{1, 6}, {6, 7}});
    EXPECT_TRUE(PoligonosCompatibles(a, b, 10));
    EXPECT_FALSE(PoligonosCompatibles(a, c, 10));
    EXPECT_FALSE(PoligonosCompatibles(b, d, 10));
    EXPECT_FALSE(PoligonosCompatibles(a, Figure({{8, 800}, {9, 900}}, {}), 10));

    Use({a, b});
    ConstruyePoligonosFinales(p.c);
    ASSERT_EQ(p.c.mNumPoligonos, 1);
    const Poligono& merged = p.c.mPoligonos[1];
    EXPECT_EQ(Estrella(merged, 4), 400);
    for (auto [i, j] : {std::pair{1, 2}, {1, 3}, {1, 4}, {3, 4}})
        EXPECT_EQ(Lado(merged, i, j), 1) << i << "," << j;

    Use({a, c});
    ConstruyePoligonosFinales(p.c);
    EXPECT_EQ(p.c.mNumPoligonos, 2);
}

TEST_F(Polygons, MergingIsGreedyInListOrderAndReachesAFixedPoint) {
    // b and c both fit the base a but not each other: the base grows with b first, and a second pass
    // from the base takes c.
    const Poligono a = Figure({{1, 100}, {2, 200}, {3, 300}}, {{1, 2}, {1, 3}});
    const Poligono b = Figure({{1, 100}, {4, 400}, {5, 500}}, {{1, 4}, {1, 5}});
    const Poligono c = Figure({{1, 100}, {4, 401}, {6, 600}}, {{1, 4}, {4, 6}});
    Use({a, b, c});
    ConstruyePoligonos(p.c);
    ASSERT_EQ(p.c.mNumPoligonos, 2);
    EXPECT_EQ(Estrella(p.c.mPoligonos[1], 4), 400);
    EXPECT_EQ(Estrella(p.c.mPoligonos[1], 3), 300);
    EXPECT_EQ(Estrella(p.c.mPoligonos[2], 4), 401);
    EXPECT_EQ(Estrella(p.c.mPoligonos[2], 6), 600);
    EXPECT_EQ(Estrella(p.c.mPoligonos[2], 2), 200);
    // Another pass over its own result changes nothing.
    std::vector<Poligono> first(p.c.mPoligonos.begin() + 1, p.c.mPoligonos.end());
    ConstruyePoligonosFinales(p.c);
    ASSERT_EQ(p.c.mNumPoligonos, 2);
    for (size_t k = 0; k < 2; ++k)
        for (int s = 1; s <= 10; ++s)
            EXPECT_EQ(Estrella(p.c.mPoligonos[k + 1], s), Estrella(first[k], s));
}

TEST_F(Polygons, StarsHangingBySingleSidesArePrunedAndEmptyPolygonsDropped) {
    p.c.mNumSeleccionadas = 10;
    // A V whose third side failed: every star goes, one after the other.
    const Poligono v = Figure({{1, 100}, {2, 200}, {3, 300}}, {{1, 2}, {1, 3}});
    // A triangle with a tail: the tail goes, the triangle stays.
    Poligono t = Figure({{1, 100}, {2, 200}, {3, 300}, {4, 400}}, {{1, 2}, {1, 3}, {3, 4}});
    Lado(t, 2, 3) = 2;
    p.c.mPoligonos = {Poligono{}, v, t, t};
    p.c.mNumPoligonos = 3;
    LimpiaPoligonos(p.c);
    QuitaDuplicados(p.c);
    ASSERT_EQ(p.c.mNumPoligonosLimpios, 1);
    const Poligono& kept = p.c.mPoligonosLimpios[1];
    EXPECT_EQ(Estrella(kept, 4), 0);
    EXPECT_EQ(Lado(kept, 3, 4), 0);
    EXPECT_EQ(Lado(kept, 2, 3), 2);
}

TEST_F(Polygons, PartialAnalysisKeepsTheMostSidesFromSixOn) {
    auto withSides = [](Poligono q, int sides) {
        q.NumLados = sides;
        return q;
    };
    const Poligono a = Figure({{1, 100}, {2, 200}}, {}), b = Figure({{1, 101}, {2, 201}}, {});
    p.c.mNumSeleccionadas = 10;
    p.c.mMejores.assign(1, Poligono{});
    p.c.mMejorLados = 6;
    p.c.mPoligonosLimpios = {Poligono{}, withSides(a, 5)};
    p.c.mNumPoligonosLimpios = 1;
    AnalisisParcial(p.c);
    EXPECT_EQ(p.c.mNumMejores, 0);
    p.c.mPoligonosLimpios = {Poligono{}, withSides(a, 6), withSides(a, 6)};
    p.c.mNumPoligonosLimpios = 2;
    AnalisisParcial(p.c);
    EXPECT_EQ(p.c.mNumMejores, 1);
    // More sides replace what was kept.
    p.c.mPoligonosLimpios = {Poligono{}, withSides(b, 9)};
    p.c.mNumPoligonosLimpios = 1;
    AnalisisParcial(p.c);
    EXPECT_EQ(p.c.mNumMejores, 1);
    EXPECT_EQ(p.c.mMejorLados, 9);
    EXPECT_EQ(Estrella(p.c.mMejores[1], 1), 101);
}

// Catalogue stars in region 1 (degrees), and polygons that share four of them and disagree on the
// fifth selected star.
class Conflict : public ::testing::Test {
  protected:
    void SetUp() override {
        const double where[7][2] = {{10.00, 20.00}, {10.10, 20.05}, {10.05, 20.15},    {10.15, 20.20},
                                    {10.20, 20.10}, {10.30, 19.90}, {10.2005, 20.1004}};
        std::vector<Star12> stars;
        for (int k = 0; k < 7; ++k)
            stars.push_back({100001 + k, static_cast<int32_t>(where[k][0] * 1e6),
                             static_cast<int32_t>(where[k][1] * 1e6)});
        ASSERT_TRUE(p.UseDatabaseOne(stars));
        p.c.mNumSeleccionadas = 5;
        p.c.gMinutosPorPixel = 0.05;  // four pixels are 0.0033 degree
        // The screen sees the fifth star where catalogue star 100005 stands.
        for (int m = 1; m <= 4; ++m) {
            CalculaDistanciaDeCatalogo(p.c, 100000 + m, 100005);
            p.c.mDistanciasPantalla[static_cast<size_t>(m)][5] = p.c.gDistanciaAngular * 60;
        }
    }
    Poligono Candidate(int32_t fifth, int sides) {
        Poligono q = Figure({{1, 100001}, {2, 100002}, {3, 100003}, {4, 100004}, {5, fifth}}, {});
        q.NumLados = sides;
        return q;
    }
    void Keep(std::initializer_list<Poligono> polygons) {
        p.c.mMejores.assign(1, Poligono{});
        p.c.mMejores.insert(p.c.mMejores.end(), polygons.begin(), polygons.end());
        p.c.mNumMejores = static_cast<int32_t>(polygons.size());
    }
    CatalogueProgram p;
};

TEST_F(Conflict, TheStarThatFitsTheSharedStarsWins) {
    Keep({Candidate(100006, 12), Candidate(100005, 12)});
    int32_t left = 0;
    EscogeMejorPoligono(p.c, left);
    ASSERT_EQ(left, 1);
    EXPECT_EQ(Estrella(p.c.mMejores[1], 5), 100005);
    EXPECT_TRUE(p.platform.SummaryHas("Passed from 2 to 1 polygons."));
}

TEST_F(Conflict, NoConflictBelowElevenSidesOrBetweenOneStarTwice) {
    // Fewer sides than 11: only the count of sides decides.
    Keep({Candidate(100006, 10), Candidate(100005, 10), Candidate(100005, 9)});
    int32_t left = 0;
    EscogeMejorPoligono(p.c, left);
    EXPECT_EQ(left, 2);
    // Two catalogue stars two pixels apart are the same star twice.
    Keep({Candidate(100007, 12), Candidate(100005, 12)});
    EscogeMejorPoligono(p.c, left);
    EXPECT_EQ(left, 2);
}

TEST(Windows, RightAscensionWindowOfARing) {
    TestProgram p;
    bool two = false;
    double d1 = 0, h1 = 0, d2 = 0, h2 = 0;
    // Ring 90 (declination 1 at its edge) around 180: one window of 5 / cos 1 degrees.
    CalculaArDesdeHasta(p.c, 90, 180, 5, two, d1, h1, d2, h2);
    EXPECT_FALSE(two);
    EXPECT_NEAR(h1 - d1, 5 / std::cos(1 * p.c.gGradosARadianes), 1e-9);
    EXPECT_EQ(d2, d1);
    // Around 1 degree: the window passes right ascension 0 and comes in two pieces.
    CalculaArDesdeHasta(p.c, 90, 1, 5, two, d1, h1, d2, h2);
    EXPECT_TRUE(two);
    EXPECT_EQ(d1, 0);
    EXPECT_NEAR(h1, 1 + 2.5 / std::cos(1 * p.c.gGradosARadianes), 1e-9);
    EXPECT_NEAR(d2, 361 - 2.5 / std::cos(1 * p.c.gGradosARadianes), 1e-9);
    EXPECT_EQ(h2, 360);
    // Around 359: the first piece ends at 360, the second starts at 0.
    CalculaArDesdeHasta(p.c, 120, 359, 5, two, d1, h1, d2, h2);
    EXPECT_TRUE(two);
    EXPECT_EQ(h1, 360);
    EXPECT_EQ(d2, 0);
    // Next to a pole the half width is held to 180.
    CalculaArDesdeHasta(p.c, 0, 100, 5, two, d1, h1, d2, h2);
    EXPECT_TRUE(two);
    EXPECT_EQ(d1, 0);
    EXPECT_EQ(h1, 280);
    EXPECT_EQ(d2, 280);
}

TEST(Windows, PoleTilesAreSearchedNearestTheCentreFirst) {
    TestProgram p;
    p.c.gCentroBusquedaRA = 135;
    p.c.gCentroBusquedaDEC = 89.5;
    CalculaOrdenDeTejasParaPolos(p.c, 179);
    // Tiles 10 and 31 stand at right ascension 135, 0.35 and 0.71 degree from the pole.
    EXPECT_EQ(p.c.mOrdenTejas[1], 10);
    EXPECT_EQ(p.c.mOrdenTejas[2], 31);
    std::vector<int32_t> seen(p.c.mOrdenTejas.begin() + 1, p.c.mOrdenTejas.end());
    std::sort(seen.begin(), seen.end());
    for (int32_t t = 1; t <= 37; ++t)
        EXPECT_EQ(seen[static_cast<size_t>(t - 1)], t);
}

TEST(Presentation, DegreesToTexts) {
    std::string ra, dec;
    GradosAcadenas(83.82, -5.3911, ra, dec);
    EXPECT_EQ(ra, "05h35m16.80s");
    EXPECT_EQ(dec, "-05°23'28.0");
    // Seconds that would print as 60 step the minutes up.
    GradosAcadenas(59.9996 / 240, 0.9999999, ra, dec);
    EXPECT_EQ(ra, "00h01m00.00s");
    EXPECT_EQ(dec, "+01°00'00.0");
    GradosAcadenas(0, 0, ra, dec);
    EXPECT_EQ(ra, "00h00m00.00s");
    EXPECT_EQ(dec, "+00°00'00.0");
}

TEST(Presentation, NoSolutionIsToldInTheResultLabelInEachLanguage) {
    // The triangle road's best candidate has too few sides.
    for (auto [language, text] :
         {std::pair{0, "No solution"}, {1, "No encontrado"}, {2, "Pas de solution"}}) {
        TestProgram p;
        p.c.gIdioma = language;
        p.c.gSolucionOK = false;
        Tri_PresentaSolucion(p.c);
        EXPECT_EQ(p.platform.labels, std::vector<std::string>{text});
        EXPECT_FALSE(p.c.gHaySolucion);
    }
    // The distance road's solution is unsafe and a star of it stands four pixels off its plate.
    TestProgram p;
    p.c.mSoluciones.resize(2);
    p.c.mSoluciones[1].worstResidual = 4;
    p.c.gSolucionSegura = false;
    Dist_PresentaSolucion(p.c, 1, 10);
    EXPECT_EQ(p.platform.labels, std::vector<std::string>{"No solution"});
    EXPECT_FALSE(p.c.gHaySolucion);
}

TEST(Presentation, ImageAngleOfASolvedPlate) {
    // Plates solved from three stars of fields turned by known angles, north and south.
    for (auto [dec, turn] : {std::pair{40.0, 37.0}, {-40.0, 200.0}, {75.0, 310.0}}) {
        TestProgram p;
        const db::FieldGeometry g{50, dec, 2, turn, 1000, 800, false};
        p.c.gAnchoImagen = 1000;
        p.c.gAltoImagen = 800;
        p.c.gFocalEnPixeles = FocalDesdeEscala(2);
        std::array<PlateStar, 3> stars;
        const double pixels[3][2] = {{100, 100}, {900, 150}, {400, 700}};
        for (size_t k = 0; k < 3; ++k) {
            stars[k].x = pixels[k][0];
            stars[k].y = pixels[k][1];
            db::PixelToSky(g, stars[k].x, stars[k].y, stars[k].ra, stars[k].dec);
        }
        ResuelveSistema(p.c, stars);
        p.c.gDECsolucion = dec;
        double angle = -1;
        int32_t code = 1;
        CalculaNorteCamara(p.c, angle, code);
        EXPECT_EQ(code, 0);
        EXPECT_NEAR(std::remainder(angle - turn, 360.0), 0, 0.01) << dec;
    }
}

TEST(Presentation, TheFittedPlateTakesTheImagesOwnScale) {
    // A 4000-pixel field whose true scale is 1 % off the parameters', mirrored or not: a plate at the
    // parameters' scale would put the corners 20 pixels off.
    for (const bool mirror : {false, true}) {
        SCOPED_TRACE(mirror ? "mirrored" : "not mirrored");
        TestProgram p;
        const db::FieldGeometry g{210, -40, 2 * 1.01, 33, 4000, 3000, mirror};
        p.c.gAnchoImagen = 4000;
        p.c.gAltoImagen = 3000;
        p.c.gFocalEnPixeles = FocalDesdeEscala(2);
        std::vector<PlateStar> stars;
        for (int k = 0; k < 12; ++k) {
            PlateStar s;
            s.x = 200 + 310 * k;
            s.y = 150 + (k * 977) % 2700;
            db::PixelToSky(g, s.x, s.y, s.ra, s.dec);
            stars.push_back(s);
        }
        RotatePlate(p.c, stars);
        for (const double x : {1.0, 2000.0, 4000.0})
            for (const double y : {1.0, 1500.0, 3000.0}) {
                double ra = 0, dec = 0, px = 0, py = 0;
                db::PixelToSky(g, x, y, ra, dec);
                CoordenadasCatalogoAimagen(p.c, ra, dec, px, py);
                EXPECT_LT(std::hypot(px - x, py - y), 0.05) << x << ", " << y;
            }
        EXPECT_NEAR(PlateScaleAtCentre(p.c), 2.02, 0.0005);
        EXPECT_FALSE(p.c.mFinAnalisis);
    }
}

TEST(Presentation, ARotationFittedToAStripOfStarsKeepsTheAngle) {
    // Stars along a narrow strip, their pixels off by a few tenths: the nine coefficients of a plate
    // fitted to them may shear, the best rotation may not.
    TestProgram p;
    const db::FieldGeometry g{120, 35, 2, 64, 1000, 800, false};
    p.c.gAnchoImagen = 1000;
    p.c.gAltoImagen = 800;
    p.c.gFocalEnPixeles = FocalDesdeEscala(2);
    p.c.gDECsolucion = 35;
    std::vector<PlateStar> stars;
    const double offsets[8] = {0.3, -0.3, 0.2, -0.4, 0.4, -0.2, 0.1, -0.1};
    for (int k = 0; k < 8; ++k) {
        PlateStar s;
        s.x = 100 + 110 * k;
        s.y = 390 + 8 * (k % 3);
        db::PixelToSky(g, s.x, s.y, s.ra, s.dec);
        s.y += offsets[k];
        stars.push_back(s);
    }
    RotatePlate(p.c, stars);
    double angle = 0;
    int32_t code = 1;
    CalculaNorteCamara(p.c, angle, code);
    EXPECT_NEAR(std::remainder(angle - 64, 360.0), 0, 0.05);
    CoordenadasImagenAesfericas(p.c, 500, 400);
    EXPECT_NEAR(p.c.mRAconvertida, 120, 0.0005);
    EXPECT_NEAR(p.c.mDECconvertida, 35, 0.0005);
    // The general fit puts every star within its pixel offset of where it was measured.
    RefinePlate(p.c, stars);
    for (const PlateStar& s : stars) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(p.c, s.ra, s.dec, x, y);
        EXPECT_LT(std::hypot(x - s.x, y - s.y), 0.5);
    }
}

// A ring file of hand-made records around the one screen pair of two selected stars.
class Fishing : public ::testing::Test {
  protected:
    void SetUp() override {
        p.c.gCarpetaDistancias = p.home.MakeFolder("rings");
        p.c.gPrefijoDistancias = "Ani";
        p.c.gZonaCielo = 1;
        p.c.gAnchoImagen = p.c.gAltoImagen = 1000;
        p.c.gFocalEnPixeles = 100000;
        p.c.mNumSeleccionadas = 2;
        p.c.mSeleccionadasCuadradas[1] = {400, 500, 1};
        p.c.mSeleccionadasCuadradas[2] = {600, 520, 1};
        CalculaParametrosDeLasDistanciasEnPantalla(p.c, 90 - 89.5, 0);
        units = ToLong(p.c.mDistanciasPantalla[1][2] / 0.0006);
        band = static_cast<int32_t>(IntFloor(p.c.mInclinacionesPantalla[1][2]));
        VaciaSegmentos(p.c);
    }
    void Ring(int32_t ring, std::vector<RegDistancia> records) {
        std::sort(records.begin(), records.end(), [](auto& a, auto& b) { return a.Clave < b.Clave; });
        std::string bytes;
        for (const auto& r : records) {
            testing::PutInt32(bytes, r.Clave);
            testing::PutInt32(bytes, r.EstrellaA);
            testing::PutInt32(bytes, r.EstrellaB);
            bytes.push_back(static_cast<char>(r.ArMedia10 & 0xFF));
            bytes.push_back(static_cast<char>((r.ArMedia10 >> 8) & 0xFF));
        }
        p.home.Write("rings/Ani" + FormatNumber(ring, "000") + ".bin", bytes);
    }
    std::vector<int32_t> Caught() const {
        std::vector<int32_t> stars;
        for (int32_t k = 1; k <= p.c.mNumSegmentos; ++k)
            stars.push_back(p.c.mSegmentos[static_cast<size_t>(k)].Catalogo1 +
                            p.c.mSegmentos[static_cast<size_t>(k)].Catalogo2);
        std::sort(stars.begin(), stars.end());
        return stars;
    }
    TestProgram p;
    int32_t units = 0, band = 0;
};

TEST_F(Fishing, TheBandsAroundTheInclinationAndTheDistanceWithinTheTolerance) {
    const int32_t key = band * 100000 + units;
    Ring(90, {{key, 1, 2, 1800},                                         // caught
              {key, 3, 4, 10},                                           // outside the window in RA
              {(band + 1) * 100000 + ToLong(units * 1.01), 5, 6, 1790},  // next band, 1 % longer: caught
              {(band + 2) * 100000 + units, 7, 8, 1800},                 // two bands away
              {band * 100000 + ToLong(units * 1.05), 9, 10, 1800}});     // 5 % longer
    int32_t resultado = 0;
    PescaEnVentana(p.c, 0, 180, 89, 90, resultado);
    EXPECT_EQ(resultado, 0);
    EXPECT_EQ(Caught(), (std::vector<int32_t>{3, 11}));
    EXPECT_TRUE(p.platform.SummaryHas("Ring Ani089.bin not found"));
    EXPECT_TRUE(p.platform.SummaryHas("**Distances found: 2"));
    // The star nearer the north pole comes first in a segment whose order says so.
    const Segmento& s = p.c.mSegmentos[1];
    EXPECT_EQ(s.Catalogo1, p.c.mOrdenPantalla[1][2] == 1 ? 2 : 1);
    EXPECT_FALSE(p.c.mFinAnalisis);
}

TEST_F(Fishing, AWindowAcrossRightAscensionZeroAndAnEmptyCatch) {
    const int32_t key = band * 100000 + units;
    Ring(90, {{key, 1, 2, 3599}, {key, 3, 4, 10}, {key, 5, 6, 1800}});
    int32_t resultado = 0;
    PescaEnVentana(p.c, 0, 1, 90, 90, resultado);
    // Both pieces of the window catch. The band above starts its scan at the last records of this
    // band, whose band is not tested: the one in the window there counts a second time.
    EXPECT_EQ(Caught(), (std::vector<int32_t>{3, 7, 7}));
    // Nothing in the window: a window search ends there.
    VaciaSegmentos(p.c);
    PescaEnVentana(p.c, 0, 90, 90, 90, resultado);
    EXPECT_EQ(p.c.mNumSegmentos, 0);
    EXPECT_TRUE(p.c.mFinAnalisis);
    EXPECT_TRUE(p.platform.SummaryHas("0 distances found."));
}

TEST_F(Fishing, MoreSegmentsThanTheArrayHoldsEndTheAnalysis) {
    const int32_t key = band * 100000 + units;
    Ring(90, {{key, 1, 2, 1800}, {key, 3, 4, 1800}, {key, 5, 6, 1800}});
    p.c.gMaxSegmentos = 2;
    int32_t resultado = 0;
    PescaEnVentana(p.c, 0, 180, 90, 90, resultado);
    EXPECT_EQ(resultado, 1);
    EXPECT_TRUE(p.c.mFinAnalisis);
    EXPECT_TRUE(p.platform.SummaryHas("Too many selected distances."));
}

}  // namespace
}  // namespace tornel
