// Star selection from candidates, the drift between images, and the extraction as the analysis run
// reports it.
#include <gtest/gtest.h>

#include "core/analisis.h"
#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using testing::ImageProgram;

struct Selection : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    // Candidates as TrataContornos leaves them: (x, y, brightness), from index 1.
    void Candidates(const std::vector<EstrellaImagen>& list) {
        size_t n = list.size();
        c.gMaxContornos = static_cast<int16_t>(n);
        c.mCandidataX.assign(n + 1, 0), c.mCandidataY.assign(n + 1, 0);
        c.mCandidataBrillo.assign(n + 1, 0), c.mCandidataEstado.assign(n + 1, 0);
        c.mEstrellas.assign(n + 1, {});
        for (size_t i = 1; i <= n; ++i) {
            c.mCandidataX[i] = list[i - 1].x, c.mCandidataY[i] = list[i - 1].y;
            c.mCandidataBrillo[i] = list[i - 1].brillo;
        }
        c.mNumCandidatas = static_cast<int32_t>(n);
        c.mNumSeleccionadas = 0;
    }
    std::vector<double> Brightness() const {
        std::vector<double> b;
        for (int32_t i = 1; i <= c.mNumCandidatas; ++i)
            b.push_back(c.mEstrellas[static_cast<size_t>(i)].brillo);
        return b;
    }
};

TEST_F(Selection, CloseCandidatesLoseTheFainter) {
    // 24 pixels is the limit at one second of arc per pixel with database 1.
    Candidates(
        {{100, 100, 50}, {120, 100, 80}, {140, 100, 60}, {300, 300, 10}, {300, 320, 10}, {500, 500, 5}});
    SeleccionaEstrellas(c);
    // The middle one drops both neighbours; of the two equal ones the later goes.
    EXPECT_EQ(Brightness(), (std::vector<double>{80, 10, 5}));
    EXPECT_EQ(c.mNumSeleccionadas, 3);
    EXPECT_TRUE(p.platform.SummaryHas("Only 3 selected stars."));
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[2].y, 300);

    c.mSoloExtraer = true;
    Candidates(
        {{100, 100, 50}, {120, 100, 80}, {140, 100, 60}, {300, 300, 10}, {300, 320, 10}, {500, 500, 5}});
    SeleccionaEstrellas(c);
    EXPECT_EQ(Brightness(), (std::vector<double>{80, 60, 50, 10, 10, 5}));
}

TEST_F(Selection, AtMostTheWantedNumber) {
    std::vector<EstrellaImagen> many;
    for (int i = 0; i < 14; ++i)
        many.push_back({50.0 + 40 * i, 60, 100.0 + i});
    Candidates(many);
    c.gEstrellasSeleccionar = 7;
    SeleccionaEstrellas(c);
    EXPECT_EQ(c.mNumSeleccionadas, 7);
    EXPECT_EQ(c.mNumCandidatas, 14);
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[1].brillo, 113);
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[7].brillo, 107);
}

struct Drift : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    void Selected(const std::vector<std::pair<double, double>>& xy) {
        c.mNumSeleccionadas = static_cast<int32_t>(xy.size());
        for (size_t i = 0; i < xy.size(); ++i)
            c.mSeleccionadasVisu[i + 1] = {xy[i].first, xy[i].second, 1};
    }
};

TEST_F(Drift, AgainstTheImageBefore) {
    std::vector<std::pair<double, double>> stars = {{10, 10}, {200, 40}, {90, 300}, {400, 250}, {20, 380}};
    Selected(stars);
    CalculaDescentradoConAnterior(c);
    EXPECT_EQ(c.mEstrellasDesdeAnterior, 0);  // first image: nothing to compare with
    EXPECT_EQ(c.mNumAnteriores, 5);
    // The same field moved by (3.5, -1.25), with one star lost and a new one.
    std::vector<std::pair<double, double>> moved;
    for (size_t i = 1; i < stars.size(); ++i)
        moved.push_back({stars[i].first + 3.5, stars[i].second - 1.25});
    moved.push_back({600, 600});
    Selected(moved);
    CalculaDescentradoConAnterior(c);
    EXPECT_EQ(c.mEstrellasDesdeAnterior, 4);
    EXPECT_DOUBLE_EQ(c.mDeltaXAnterior, 3.5);
    EXPECT_DOUBLE_EQ(c.mDeltaYAnterior, -1.25);
    // The same image twice: no shift.
    CalculaDescentradoConAnterior(c);
    EXPECT_EQ(c.mEstrellasDesdeAnterior, 5);
    EXPECT_DOUBLE_EQ(c.mDeltaXAnterior, 0);
}

TEST_F(Drift, AgainstTheReference) {
    Selected({{10, 10}, {200, 40}});
    AceptaReferencia(c);
    EXPECT_TRUE(p.platform.HasMessage("Reference image for recentering:\nInsufficient (2) selected stars."));
    EXPECT_EQ(c.mNumReferencia, 0);
    CalculaDescentradoConReferencia(c);
    EXPECT_EQ(c.mEstrellasDesdeReferencia, 0);

    Selected({{10, 10}, {200, 40}, {90, 300}});
    AceptaReferencia(c);
    EXPECT_EQ(p.platform.titles.back(), "Reference image for recentering accepted");
    Selected({{8.5, 12}, {198.5, 42}, {88.5, 302}});
    CalculaDescentradoConReferencia(c);
    EXPECT_EQ(c.mNumReferencia, 3);  // the reference stays
    LineaDeriva(c);
    EXPECT_TRUE(p.platform.SummaryHas("Image drift: dX= -001.50 pxls, dY= +002.00 pxls (for 3 stars)"));
    c.gIdioma = 1;
    LineaDeriva(c);
    EXPECT_TRUE(p.platform.SummaryHas("Deriva: dX= -001.50 pxls, dY= +002.00 pxls (para 3 estrellas)"));
}

// A rendered field analysed through the run, with databases in place so that the search is reached.
struct Run : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    render::Field field;
    std::string path;
    void SetUp() override {
        field.width = 500, field.height = 400, field.seed = 3;
        field.stars = render::RandomStars(25, 500, 400, 20, 40, 5000, 200000, 3);
        path = p.home.File("Referencia_1.fit");
        ASSERT_TRUE(render::WriteFits(path, render::Render(field), render::FitsStorage::Unsigned));
        ExtraeNombreDeRuta(c, path);
        c.gBasesOK = true;
        c.gUmbralAutomatico = 1;
        c.gOrigenCoordenadas = 0;
    }
};

TEST_F(Run, SummaryListsTheSelectedStarsAndTheSearchEnds) {
    AnalisisGeneral(c);
    auto& s = p.platform.summary;
    auto at = std::find(s.begin(), s.end(), "Selected stars:");
    ASSERT_NE(at, s.end());
    std::vector<render::Star> truth = render::Truth(field);
    for (size_t i = 1; i <= 10; ++i) {
        const EstrellaImagen& e = c.mSeleccionadasVisu[i];
        char expected[80];
        std::snprintf(expected, sizeof expected, "%zu: x=%8.2f y=%8.2f i=%9.0f", i, e.x, e.y, e.brillo);
        ASSERT_LT(static_cast<size_t>(at - s.begin()) + i, s.size());
        EXPECT_EQ(*(at + static_cast<long>(i)), expected);
        size_t k = 0;
        EXPECT_LT(testing::Nearest(e, truth, k), 0.5);
    }
    EXPECT_TRUE(p.platform.SummaryHas("Analysing the full image."));
    EXPECT_TRUE(p.platform.SummaryHas("Extracted countours = " + std::to_string(c.mNumContornos) +
                                      " Candidate stars = " + std::to_string(c.mNumCandidatas)));
    // The name makes the image the reference; the search is not built yet.
    EXPECT_EQ(c.mNumReferencia, 10);
    EXPECT_EQ(p.platform.LastLabel(), "Position not found.");
    EXPECT_FALSE(c.gAnalizando);
}

TEST_F(Run, RecenteringOnlyStopsAfterTheDrift) {
    c.mSoloRecentrado = true;
    AnalisisGeneral(c);
    AnalisisGeneral(c);
    EXPECT_TRUE(p.platform.SummaryHas("Recentering offset calculated."));
    EXPECT_TRUE(p.platform.SummaryHas("Image drift: dX= +000.00 pxls, dY= +000.00 pxls (for 10 stars)"));
    EXPECT_NE(p.platform.LastLabel(), "Position not found.");
}

TEST_F(Run, DamagedImageEndsTheRun) {
    ExtraeNombreDeRuta(c, p.Write("broken.jpg", "half a picture"));
    AnalisisGeneral(c);
    EXPECT_TRUE(p.platform.SummaryHas("Image not loaded."));
    EXPECT_EQ(p.platform.LastLabel(), "Position not found.");
    EXPECT_EQ(c.mNumSeleccionadas, 0);
}

}  // namespace
}  // namespace tornel
