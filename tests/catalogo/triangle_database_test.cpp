// The triangle file in memory and the walk of its implicit tree, against a plain scan of the same
// file, on trees laid out by the database builder.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "catalogo/triangle_database.h"
#include "herramientas/db/triangle_file.h"
#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::PutFloat;
using testing::PutInt32;
using testing::Star16;

std::string TriangleBytes(const std::vector<db::TriangleRecord>& records) {
    std::string out;
    for (const auto& r : records) {
        PutFloat(out, r.Lado1), PutFloat(out, r.Lado2), PutFloat(out, r.Lado3);
        PutInt32(out, r.Estrella1), PutInt32(out, r.Estrella2), PutInt32(out, r.Estrella3);
    }
    return out;
}

using Triple = std::array<int32_t, 3>;

// A database 2 whose stars all lie far from the search centre, so that no candidate is tried during
// the walk, and whose triangle file the test writes.
class TriangleFile : public ::testing::Test {
  protected:
    void SetUp() override {
        std::vector<Star16> stars;
        for (int32_t k = 1; k <= 60; ++k)
            stars.push_back(
                {k, k, 100.0F + static_cast<float>(k) * 0.1F, static_cast<float>(k % 20) - 10.0F});
        ASSERT_TRUE(p.UseDatabaseTwo(stars));
        p.c.gCentroBusquedaRA = 280;
        p.c.gCentroBusquedaDEC = 0;
        p.c.gMostrarAvisos = false;
    }

    void Write(const std::vector<db::TriangleRecord>& records) {
        p.home.Write("rings/tri2g02.bin", TriangleBytes(records));
        Tri_BaseDatosAmemoria(p.c);
    }

    // The candidates of one query box, as star triples in the order the walk stored them.
    std::vector<Triple> Walk(const TrianguloImagen& q, int32_t most = 100000) {
        p.c.gMaxCandidatos = most;
        p.c.mCandidatos.assign(static_cast<size_t>(most) + 1, CandidatoTriangulo{});
        p.c.mNumCandidatos = 0;
        p.c.mTriangulosBusqueda = {TrianguloImagen{}, q};
        p.c.mNumTriangulosBusqueda = 1;
        int32_t code = -1;
        Tri_PescaTriangulosEnBD(p.c, 1, code);
        EXPECT_EQ(code, 0);
        std::vector<Triple> out;
        for (int32_t n = 1; n <= p.c.mNumCandidatos; ++n) {
            const auto& e = p.c.mCandidatos[static_cast<size_t>(n)].Estrellas;
            out.push_back({e[0], e[1], e[2]});
        }
        return out;
    }

    static TrianguloImagen Box(double lo1, double hi1, double lo2, double hi2, double lo3, double hi3) {
        return {lo1, hi1, lo2, hi2, lo3, hi3, 1, 2, 3, 1, 2, 3};
    }

    CatalogueProgram p;
};

std::vector<db::TriangleRecord> RandomTriangles(size_t count, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<float> side(0.1F, 2.28F);
    std::uniform_int_distribution<int32_t> star(1, 60);
    std::vector<db::TriangleRecord> out;
    for (size_t k = 0; k < count; ++k)
        out.push_back({side(rng), side(rng), side(rng), star(rng), star(rng), star(rng)});
    return out;
}

TEST_F(TriangleFile, WalkOfTheTreeFindsWhatAScanOfTheFileFinds) {
    const auto tree = db::TriangleTree(RandomTriangles(5000, 3));
    Write(tree);
    EXPECT_EQ(p.c.mNumTriangulosBD, 5000);
    std::mt19937_64 rng(9);
    std::uniform_real_distribution<double> u(0.05, 2.3);
    for (int round = 0; round < 40; ++round) {
        std::array<double, 3> lo{}, hi{};
        for (size_t d = 0; d < 3; ++d) {
            const double a = u(rng), w = 0.05 + 0.6 * u(rng) / 2.3;
            lo[d] = a, hi[d] = a + w;
        }
        std::multiset<Triple> scanned;
        for (const auto& r : tree)
            if (r.Lado1 >= static_cast<float>(lo[0]) && r.Lado1 <= static_cast<float>(hi[0]) &&
                r.Lado2 >= static_cast<float>(lo[1]) && r.Lado2 <= static_cast<float>(hi[1]) &&
                r.Lado3 >= static_cast<float>(lo[2]) && r.Lado3 <= static_cast<float>(hi[2]))
                scanned.insert({r.Estrella1, r.Estrella2, r.Estrella3});
        const auto walked = Walk(Box(lo[0], hi[0], lo[1], hi[1], lo[2], hi[2]));
        EXPECT_EQ(std::multiset<Triple>(walked.begin(), walked.end()), scanned) << "round " << round;
    }
    EXPECT_TRUE(p.platform.SummaryHas("**Triangles found: " + std::to_string(p.c.mNumCandidatos)));
}

TEST_F(TriangleFile, LimitsAreRoundedToSinglePrecisionAndIncluded) {
    const float side = 0.7F;
    // The root and one child: the walk meets a side equal to a limit on both of its branches.
    Write({{side, 1.0F, 1.2F, 1, 2, 3}, {side, 1.1F, 1.3F, 4, 5, 6}, {1.5F, 1.0F, 1.2F, 7, 8, 9}});
    // A double limit a hair above the single value rounds to it, so the side is inside.
    const double above = static_cast<double>(side) + 1e-12, below = static_cast<double>(side) - 1e-12;
    ASSERT_GT(above, static_cast<double>(side));
    const auto found = Walk(Box(above, below + 0.3, 0.9, 1.2, 1.1, 1.4));
    EXPECT_EQ(found.size(), 2U);
    // A limit one single step higher leaves them out.
    const double next = static_cast<double>(std::nextafter(side, 2.0F));
    EXPECT_TRUE(Walk(Box(next, 2.0, 0.9, 1.2, 1.1, 1.4)).size() == 1U);
    // A lower limit above every stored value of the first side ends at once.
    EXPECT_TRUE(Walk(Box(2.2, 2.3, 0, 3, 0, 3)).empty());
}

TEST_F(TriangleFile, CandidateLimitStopsTheWalkSilently) {
    const auto tree = db::TriangleTree(RandomTriangles(2000, 5));
    Write(tree);
    const auto all = Walk(Box(0, 3, 0, 3, 0, 3));
    EXPECT_EQ(all.size(), 2000U);
    const auto some = Walk(Box(0, 3, 0, 3, 0, 3), 25);
    EXPECT_EQ(some.size(), 25U);
    EXPECT_TRUE(p.platform.messages.empty());
    // A candidate list smaller than the limit overflows: code 1 and the program's words.
    p.c.gMaxCandidatos = 25;
    p.c.mCandidatos.assign(4, CandidatoTriangulo{});
    p.c.mNumCandidatos = 0;
    int32_t code = 0;
    Tri_PescaTriangulosEnBD(p.c, 1, code);
    EXPECT_EQ(code, 1);
    EXPECT_TRUE(p.platform.SummaryHas("Too many selected triangles."));
    EXPECT_EQ(p.platform.titles.back(), "Too many triangles (see Help.doc).");
}

TEST_F(TriangleFile, FileCutShortUnderTheProgramIsNeverReadAgain) {
    const auto tree = db::TriangleTree(RandomTriangles(3000, 7));
    Write(tree);
    const auto before = Walk(Box(0.5, 1.0, 0.5, 1.5, 0.2, 1.0));
    ASSERT_FALSE(before.empty());
    // Cut the file to a few bytes, then to nothing: the walk keeps the copy it read.
    std::filesystem::resize_file(p.home.File("rings/tri2g02.bin"), 30);
    EXPECT_EQ(Walk(Box(0.5, 1.0, 0.5, 1.5, 0.2, 1.0)), before);
    std::filesystem::resize_file(p.home.File("rings/tri2g02.bin"), 0);
    EXPECT_EQ(Walk(Box(0.5, 1.0, 0.5, 1.5, 0.2, 1.0)), before);
    // Read again, a short file gives its rounded record count with a zero tail, and an empty one none.
    std::string bytes = TriangleBytes({{1.0F, 1.0F, 1.0F, 1, 2, 3}, {0.5F, 1.0F, 1.0F, 4, 5, 6}});
    p.home.Write("rings/tri2g02.bin", bytes.substr(0, 24 + 13));
    Tri_BaseDatosAmemoria(p.c);
    EXPECT_EQ(p.c.mNumTriangulosBD, 2);
    EXPECT_EQ(Walk(Box(0, 3, 0, 3, 0, 3)).size(), 2U);
    p.home.Write("rings/tri2g02.bin", "");
    Tri_BaseDatosAmemoria(p.c);
    EXPECT_EQ(p.c.mNumTriangulosBD, 0);
    EXPECT_TRUE(Walk(Box(0, 3, 0, 3, 0, 3)).empty());
    // A missing file leaves what was read.
    Write(tree);
    std::filesystem::remove(p.home.File("rings/tri2g02.bin"));
    Tri_BaseDatosAmemoria(p.c);
    EXPECT_EQ(p.c.mNumTriangulosBD, 3000);
}

TEST_F(TriangleFile, HiddenTrianglesAreLeftOutBeforeTheyCountAgainstTheLimit) {
    // Observatory at the north pole: a star's altitude is its declination.
    p.c.gLatitud = 90;
    p.c.gSoloCieloVisible = true;
    // Stars of known declinations: 1 under the horizon, 4 and 5 just above it, 2 and 3 high.
    std::vector<Star16> stars = {
        {1, 1, 10, -10}, {2, 2, 11, 30}, {3, 3, 12, 31}, {4, 4, 13, 1}, {5, 5, 14, 0.5F}};
    p.home.Write("stars/estDEC_ID1x1g.bin", testing::EstDecBin(stars));
    p.c.gCanalEstrellas->Open(p.home.File("stars/estDEC_ID1x1g.bin"), 16);
    p.c.gNumEstrellasBD = 5;
    // Root: a hidden triangle; its child: a visible one; then one whose first star is low but whose
    // others stand above the horizon, and one low with a star under it.
    Write({{1.0F, 1.0F, 1.0F, 1, 2, 3},
           {0.9F, 1.0F, 1.0F, 2, 3, 1},
           {1.1F, 1.0F, 1.0F, 4, 2, 3},
           {0.8F, 1.0F, 1.0F, 4, 5, 1}});
    const auto one = Walk(Box(0, 3, 0, 3, 0, 3), 1);
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0], (Triple{2, 3, 1}));
    const auto all = Walk(Box(0, 3, 0, 3, 0, 3));
    EXPECT_EQ(std::set<Triple>(all.begin(), all.end()), (std::set<Triple>{{2, 3, 1}, {4, 2, 3}}));
}

TEST(TriangleHelpers, OrdenaSortsEveryOrderAndZonesGoByDistance) {
    const std::array<int32_t, 3> values{7, 2, 9};
    std::array<int32_t, 3> v = values;
    std::sort(v.begin(), v.end());
    do {
        int32_t a = 0, b = 0, d = 0;
        Ordena(v[0], v[1], v[2], a, b, d);
        EXPECT_EQ((std::array<int32_t, 3>{a, b, d}), (std::array<int32_t, 3>{2, 7, 9}));
    } while (std::next_permutation(v.begin(), v.end()));

    CatalogueProgram p;
    ASSERT_TRUE(p.UseDatabaseTwo({{1, 1, 5, 0}, {2, 2, 20, 0}, {3, 3, 30, 0}, {4, 4, 45, 0}}));
    p.c.gCentroBusquedaRA = 0;
    p.c.gCentroBusquedaDEC = 0;
    EXPECT_EQ(ZonaDeEstrella(p.c, 1), 0);
    EXPECT_EQ(ZonaDeEstrella(p.c, 2), 1);
    EXPECT_EQ(ZonaDeEstrella(p.c, 3), 2);  // 30 degrees is already far
    EXPECT_EQ(ZonaDeEstrella(p.c, 4), 2);
}

}  // namespace
}  // namespace tornel
