// The drawing of a solution: what each Show flag adds, a drawing made again neither doubled nor
// losing the analysis's marks, the compass's arms and poles, the target, and the results window's
// figures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "astrometria/planets.h"
#include "astrometria/plate_model.h"
#include "catalogo/deep_sky_objects.h"
#include "resultados/results_report.h"
#include "resultados/solution_drawing.h"
#include "telescopio/telescopio.h"
#include "tests/support/pointed_plate.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using Drawn = testing::RecordingPlatform::Drawn;

// A record of pgc.bin.
std::string ObjectRecord(float ra, float dec, const std::string& name) {
    char record[kObjectRecordBytes];
    const float size = 5;
    std::memcpy(record, &ra, 4);
    std::memcpy(record + 4, &dec, 4);
    std::memcpy(record + 8, &size, 4);
    std::string padded = name;
    padded.resize(26, ' ');
    std::memcpy(record + 12, padded.data(), 26);
    return {record, sizeof record};
}

// A pattern solution at (ra, dec) on a 1000-pixel image 2 degrees across, with three matched stars,
// one object on the image and the search centre a little off the centre.
struct Solved {
    explicit Solved(double ra = 10, double dec = 20) {
        testing::PointPlate(c, ra, dec, 2, 1000);
        folder.Write("pgc.bin",
                     ObjectRecord(static_cast<float>(ra + 0.3), static_cast<float>(dec + 0.2), "NGC 1") +
                         ObjectRecord(static_cast<float>(ra), static_cast<float>(dec + 5), "NGC 2"));
        c.gCarpetaEstrellas = folder.Path();
        c.gHaySolucion = true;
        c.gSolucionSegura = true;
        c.presentedRoad = SolutionRoad::Patterns;
        c.gARJ2000 = ra, c.gDEJ2000 = dec;
        c.gCentroBusquedaRA = ra + 0.2, c.gCentroBusquedaDEC = dec - 0.1;
        c.gAvisosGuiado = true;
        c.mAnioObs = 2020, c.mMesObs = 1, c.mDiaObs = 1;
        const PlateInverse inverse = InvertPlate(c.Cij);
        for (int k = 0; k < 3; ++k) {
            MatchedStar m;
            m.ra = ra - 0.5 + 0.4 * k, m.dec = dec + 0.3 - 0.2 * k;
            SkyToPixel(c, inverse, m.ra, m.dec, m.x, m.y);
            c.matchedStars.push_back(m);
        }
    }
    size_t Count(OverlayColour colour, Drawn::Kind kind) const {
        return static_cast<size_t>(
            std::count_if(platform.overlay.begin(), platform.overlay.end(), [&](const Drawn& d) {
                return d.colour == colour && d.kind == kind && d.layer == OverlayLayer::Solution;
            }));
    }
    bool HasText(const std::string& text) const {
        return std::any_of(platform.overlay.begin(), platform.overlay.end(),
                           [&](const Drawn& d) { return d.kind == Drawn::Kind::Text && d.text == text; });
    }
    // Sky position of a display point of the overlay.
    std::pair<double, double> Sky(double dx, double dy) {
        CoordenadasImagenAesfericas(c, dx + 1, c.gPixelesY - dy);
        return {c.mRAconvertida, c.mDECconvertida};
    }
    testing::TempFolder folder;
    testing::RecordingPlatform platform;
    Context c{platform};
};

TEST(SolutionDrawing, EachShowFlagAddsItsItemsAndARedrawNeitherDoublesNorLoses) {
    Solved s;
    // A mark of the analysis, which the solution's drawing leaves alone.
    s.platform.DrawPoint(5, 5, OverlayColour::Red);
    s.c.showStarNumbers = s.c.showLines = s.c.showObjects = s.c.showTarget = false;
    DibujaSolucion(s.c, true);
    // Only the compass: two arms and their letters.
    EXPECT_EQ(s.Count(OverlayColour::Yellow, Drawn::Kind::Line), 2u);
    EXPECT_TRUE(s.HasText("N") && s.HasText("E"));
    EXPECT_EQ(s.Count(OverlayColour::Cyan, Drawn::Kind::Text), 0u);
    EXPECT_EQ(s.Count(OverlayColour::Magenta, Drawn::Kind::Line), 0u);
    ASSERT_TRUE(s.platform.guidance.has_value());

    s.c.showStarNumbers = true;
    PresentaSolucion(s.c);
    // The pattern road's stars: a circle on each image star, a cross where the plate puts its match.
    EXPECT_EQ(s.Count(OverlayColour::Green, Drawn::Kind::Circle), 3u);
    EXPECT_EQ(s.Count(OverlayColour::Magenta, Drawn::Kind::Line), 6u);

    s.c.showObjects = true;
    PresentaSolucion(s.c);
    EXPECT_TRUE(s.HasText("NGC 1"));
    EXPECT_FALSE(s.HasText("NGC 2"));  // five degrees off

    s.c.showTarget = true;
    PresentaSolucion(s.c);
    EXPECT_TRUE(s.HasText("Target"));
    const size_t all = s.platform.overlay.size();
    PresentaSolucion(s.c);
    PresentaSolucion(s.c);
    EXPECT_EQ(s.platform.overlay.size(), all);
    EXPECT_EQ(s.platform.overlay.front().kind, Drawn::Kind::Point);
    EXPECT_EQ(s.platform.layer, OverlayLayer::Analysis);

    // Nothing is drawn again while an analysis runs, and an unsafe solution carries its warning.
    s.c.gAnalizando = true;
    s.c.showTarget = false;
    PresentaSolucion(s.c);
    EXPECT_EQ(s.platform.overlay.size(), all);
    s.c.gAnalizando = false;
    s.c.gSolucionSegura = false;
    PresentaSolucion(s.c);
    EXPECT_TRUE(s.HasText("INVALID SOLUTION"));
    EXPECT_FALSE(s.platform.guidance.has_value());
}

TEST(SolutionDrawing, AMissingObjectsFileIsSaidOnceAndAPlanetOnTheImageIsNamed) {
    const PlanetPlace jupiter = PlanetPlaces(2020, 1, 1, 0)[0];
    Solved s(jupiter.ra, jupiter.dec);
    s.c.showStarNumbers = s.c.showLines = s.c.showTarget = false;
    DibujaSolucion(s.c, true);
    EXPECT_TRUE(s.HasText("Jupiter"));
    s.c.gCarpetaEstrellas = s.folder.Path() + "none/";
    DibujaSolucion(s.c, true);
    PresentaSolucion(s.c);
    PresentaSolucion(s.c);
    EXPECT_EQ(std::count(s.platform.summary.begin(), s.platform.summary.end(), "Objects DataBase not found."),
              1);
}

TEST(SolutionDrawing, DistanceRoadPolygonAndIdentifiers) {
    Solved s;
    s.c.presentedRoad = SolutionRoad::Distances;
    s.c.gIdsFormatoGSC = true;
    s.c.mSoluciones.resize(2);
    s.c.mIndiceSolucion = 1;
    Solucion& sol = s.c.mSoluciones[1];
    sol.NumEnPoligono = sol.NumEstrellas = 4;
    for (size_t k = 1; k <= 4; ++k) {
        sol.EstrellasSolucion[k].X = 100.0 * static_cast<double>(k);
        sol.EstrellasSolucion[k].Y = k % 2 ? 200 : 400;
        sol.EstrellasSolucion[k].Id = static_cast<int32_t>(1000 + k);
        sol.EstrellasSolucion[k].Numero = static_cast<int16_t>(2 * k);  // selected stars 2, 4, 6, 8
    }
    // Four of the six pairs matched; stars 2 and 8 share no side, nor 4 and 8.
    for (const auto& [i, j] : {std::pair{2, 4}, std::pair{4, 6}, std::pair{6, 8}, std::pair{2, 6}})
        sol.Lados[static_cast<size_t>(i)][static_cast<size_t>(j)] = 1;
    s.c.matchedStars.clear();
    s.c.showObjects = s.c.showTarget = false;
    s.c.showLines = false;
    DibujaSolucion(s.c, true);
    EXPECT_EQ(s.Count(OverlayColour::Green, Drawn::Kind::Circle), 4u);
    EXPECT_EQ(s.Count(OverlayColour::Green, Drawn::Kind::Text), 4u);
    EXPECT_EQ(s.Count(OverlayColour::Green, Drawn::Kind::Line), 0u);
    s.c.showLines = true;
    s.c.showStarNumbers = false;
    PresentaSolucion(s.c);
    // A line a matched side, no identifiers.
    EXPECT_EQ(s.Count(OverlayColour::Green, Drawn::Kind::Line), 4u);
    EXPECT_EQ(s.Count(OverlayColour::Green, Drawn::Kind::Text), 0u);
}

TEST(SolutionDrawing, CompassArmsPointNorthAndEastAndAPoleGetsItsMark) {
    // Across 0 hours too: east is where the right ascension grows, past 360.
    for (const double ra : {10.0, 359.9, 0.05}) {
        Solved s(ra, 30);
        s.c.showStarNumbers = s.c.showLines = s.c.showObjects = s.c.showTarget = false;
        DibujaBrujula(s.c);
        std::vector<Drawn> arms;
        for (const Drawn& d : s.platform.overlay)
            if (d.kind == Drawn::Kind::Line) arms.push_back(d);
        ASSERT_EQ(arms.size(), 2u);
        const auto [nra, ndec] = s.Sky(arms[0].x2, arms[0].y2);
        const auto [era, edec] = s.Sky(arms[1].x2, arms[1].y2);
        // A sixth of the image's height: a third of a degree.
        EXPECT_NEAR(ndec - 30, 2.0 / 6, 0.01) << ra;
        EXPECT_NEAR(std::remainder(era - ra, 360) * std::cos(30 * 3.14159265358979 / 180), 2.0 / 6, 0.01)
            << ra;
        EXPECT_NEAR(edec, 30, 0.01);
        (void)nra;
    }
    // A pole within half the diagonal: its mark, and no arms (the east arm would divide by zero).
    for (const double dec : {89.5, -89.2}) {
        Solved s(123, dec);
        DibujaBrujula(s.c);
        EXPECT_TRUE(s.HasText(dec > 0 ? "N pole" : "S pole"));
        EXPECT_FALSE(s.HasText("E"));
        for (const Drawn& d : s.platform.overlay) {
            if (d.kind != Drawn::Kind::Circle) continue;
            const auto [pra, pdec] = s.Sky(d.x, d.y);
            EXPECT_NEAR(std::fabs(pdec), 90, 0.01);
        }
    }
    // Nearer than the diagonal but off the pole by more: arms again.
    Solved s(0, 87);
    DibujaBrujula(s.c);
    EXPECT_TRUE(s.HasText("E"));
}

TEST(SolutionDrawing, TargetOnTheImageOffItAndFromTheLineService) {
    Solved s;
    s.c.showStarNumbers = s.c.showLines = s.c.showObjects = false;
    s.c.gIdioma = 1;
    DibujaSolucion(s.c, true);
    auto cross = std::find_if(s.platform.overlay.begin(), s.platform.overlay.end(), [](const Drawn& d) {
        return d.kind == Drawn::Kind::Circle && d.colour == OverlayColour::Red;
    });
    ASSERT_NE(cross, s.platform.overlay.end());
    auto [ra, dec] = s.Sky(cross->x, cross->y);
    EXPECT_NEAR(ra, 10.2, 0.01);
    EXPECT_NEAR(dec, 19.9, 0.01);
    EXPECT_TRUE(s.HasText("Destino"));

    // A target from the line service replaces the search centre; off the image, a line towards it.
    bool cancel = true;
    Form_LinkExecute(s.c, "POS AR=01500000 DE=+2000000", cancel);
    EXPECT_FALSE(cancel);
    EXPECT_TRUE(s.HasText("Destino >"));
    ASSERT_TRUE(s.platform.guidance.has_value());
    EXPECT_EQ(s.platform.guidance->first.text, "RA 5.0 ° ");
    for (const Drawn& d : s.platform.overlay)
        if (d.colour == OverlayColour::Red && d.kind == Drawn::Kind::Line) {
            // From the centre eastwards, inside the image.
            EXPECT_GT(s.Sky(d.x2, d.y2).first, 10.5);
            EXPECT_LT(d.x2, 1000);
            EXPECT_GT(d.x2, 0);
        }
}

TEST(ResultsReport, SelectedStarsAndTheirDistancesAndTheSummaryBox) {
    testing::RecordingPlatform platform;
    Context c(platform);
    c.mBrilloFondo = 812, c.mBrilloUmbral = 1500, c.gBrilloMaximo = 32000;
    c.mNumContornos = 40, c.mNumCandidatas = 25, c.mNumSeleccionadas = 3;
    c.mSeleccionadas[1] = {512.9, 300.2, 4100.4};
    c.mSeleccionadas[2] = {12.0, 7.99, 900};
    c.mSeleccionadas[3] = {1023.5, 899.9, 12345.6};
    c.mDistanciasPantalla[1][2] = 5.27;
    c.mDistanciasPantalla[1][3] = 123.44;
    c.mDistanciasPantalla[2][3] = 0.04;
    const ResultsReport r = InformeResultados(c);
    EXPECT_EQ(r.background + " " + r.threshold + " " + r.maximum + " " + r.contours + " " + r.candidates +
                  " " + r.selected,
              "812 1500 32000 40 25 3");
    EXPECT_EQ(r.positions,
              "1: x=512     y=300     i=4100      \r\n"
              "2: x=12     y=7     i=900      \r\n"
              "3: x=1023     y=899     i=12346      \r\n");
    EXPECT_EQ(r.distances, "1-2=05.3  1-3=123.4\r\n2-3=00.0\r\n");
    c.mNumSeleccionadas = 0;
    EXPECT_EQ(InformeResultados(c).positions, "");
    c.mResumen = "CENTRE: RA= 00h01m\r\n";
    CommandoResultados_Click(c);
    ASSERT_EQ(platform.messages.size(), 1u);
    EXPECT_EQ(platform.messages[0], c.mResumen);
}

}  // namespace
}  // namespace tornel
