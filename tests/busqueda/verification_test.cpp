// The check of a candidate plate against the whole field: the chance arithmetic, the catalogue stars in
// a view from either star file, and hand-made candidates that are right, wrong, or have nothing to
// stand on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "astrometria/plate_model.h"
#include "busqueda/verification.h"
#include "catalogo/field_stars.h"
#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;

constexpr double kRad = 3.14159265358979323846 / 180;

TEST(ChanceOfMatches, TheBinomialTail) {
    EXPECT_EQ(Log10BinomialTail(10, 0, 0.3), 0);
    EXPECT_NEAR(Log10BinomialTail(1, 1, 0.5), std::log10(2.0), 1e-12);
    EXPECT_NEAR(Log10BinomialTail(3, 3, 0.1), 3, 1e-9);
    // P(X >= 1) = 1 - 0.9^2
    EXPECT_NEAR(Log10BinomialTail(2, 1, 0.1), -std::log10(1 - 0.81), 1e-12);
    EXPECT_TRUE(std::isinf(Log10BinomialTail(5, 6, 0.1)));
    EXPECT_TRUE(std::isinf(Log10BinomialTail(5, 1, 0)));
    // Far in the tail the sum stays finite and grows with every further match.
    EXPECT_NEAR(Log10BinomialTail(2000, 200, 0.001), 319.94, 0.01);
    EXPECT_GT(Log10BinomialTail(2000, 201, 0.001), Log10BinomialTail(2000, 200, 0.001));
}

TEST(ChanceOfMatches, TrialsOfTheirOwnChanceBesideTheBinomial) {
    // None of their own: the binomial tail.
    EXPECT_NEAR(Log10TailOfSum({}, 2000, 0.001, 200), Log10BinomialTail(2000, 200, 0.001), 1e-9);
    // Own trials of the same chance are more of the same binomial.
    const std::vector<double> same(5, 0.01);
    EXPECT_NEAR(Log10TailOfSum(same, 40, 0.01, 4), Log10BinomialTail(45, 4, 0.01), 1e-9);
    // By hand: one of chance 0.5 and one of 0.1; both = 0.05, at least one = 1 - 0.5 x 0.9.
    const std::vector<double> two = {0.5, 0.1};
    EXPECT_NEAR(Log10TailOfSum(two, 0, 0.3, 2), -std::log10(0.05), 1e-12);
    EXPECT_NEAR(Log10TailOfSum(two, 0, 0.3, 1), -std::log10(0.55), 1e-12);
    EXPECT_NEAR(Log10TailOfSum(two, 1, 0.2, 3), -std::log10(0.05 * 0.2), 1e-12);
    EXPECT_TRUE(std::isinf(Log10TailOfSum(two, 1, 0.2, 4)));
    EXPECT_EQ(Log10TailOfSum(two, 1, 0.2, 0), 0);
    // Ten matches found by a search whose boxes catch a star half the time prove far less than ten
    // at a chance of one in a thousand.
    const std::vector<double> searched(10, 0.5);
    EXPECT_LT(Log10TailOfSum(searched, 100, 0.001, 10), 4);
    EXPECT_GT(Log10BinomialTail(110, 10, 0.001), 15);
}

TEST(ChanceOfMatches, TheOddsASearchAsksForGrowWithTheSkyItSpans) {
    testing::TestProgram p;
    Context& c = p.c;
    c.gBaseDatos = 1, c.gZonaCielo = 1, c.gTipoVentana = 0, c.gAnchoVentana = 5, c.gAltoVentana = 5;
    EXPECT_NEAR(RequiredLog10Odds(c), 9 - std::log10(41253.0 / 25), 1e-9);
    c.gAnchoVentana = c.gAltoVentana = 100;
    EXPECT_NEAR(RequiredLog10Odds(c), 9 - std::log10(41253.0 / 10000), 1e-9);
    c.gAnchoVentana = c.gAltoVentana = 0.5;
    EXPECT_EQ(RequiredLog10Odds(c), 5);
    c.gTipoVentana = 2;
    EXPECT_EQ(RequiredLog10Odds(c), 6);
    c.gZonaCielo = 3;
    EXPECT_EQ(RequiredLog10Odds(c), 9);
    c.gZonaCielo = 1, c.gBaseDatos = 2;
    EXPECT_EQ(RequiredLog10Odds(c), 9);
}

// A camera at (ra0, dec0) turned by `turn` degrees, 1000 x 1000 pixels at 20 arcsec per pixel: 5.6
// degrees across.
void Point(Context& c, double ra0, double dec0, double turn) {
    const double a = ra0 * kRad, d = dec0 * kRad, t = turn * kRad;
    const double east[3] = {-std::sin(a), std::cos(a), 0};
    const double north[3] = {-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)};
    const double axis[3] = {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
    for (int j = 1; j <= 3; ++j) {
        c.Cij[1][static_cast<size_t>(j)] = std::cos(t) * east[j - 1] + std::sin(t) * north[j - 1];
        c.Cij[2][static_cast<size_t>(j)] = -std::sin(t) * east[j - 1] + std::cos(t) * north[j - 1];
        c.Cij[3][static_cast<size_t>(j)] = axis[j - 1];
    }
    c.gAnchoImagen = c.gAltoImagen = 1000;
    c.gPixelesX = c.gPixelesY = 1000;
    c.gRelacionPixel = 1;
    c.gFocalEnPixeles = static_cast<int32_t>(std::lround(1 / (20.0 / 3600 * kRad)));
    c.gGradosPorPixel = 20.0 / 3600;
}

struct Sky {
    std::vector<testing::Star12> stars;  // ids 100001... in region 1
};

// 600 stars spread over 12 x 12 degrees around (100, 20).
Sky MakeSky() {
    Sky sky;
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> u(-6, 6);
    for (int k = 1; k <= 600; ++k)
        sky.stars.push_back({100000 + k,
                             static_cast<int32_t>(std::lround((100 + u(rng) / std::cos(20 * kRad)) * 1e6)),
                             static_cast<int32_t>(std::lround((20 + u(rng)) * 1e6))});
    return sky;
}

std::vector<testing::Star16> DeclinationSorted(const Sky& sky) {
    std::vector<testing::Star16> out;
    for (const auto& s : sky.stars)
        out.push_back({s.id, 0, static_cast<float>(s.ar / 1e6), static_cast<float>(s.de / 1e6)});
    std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.de < b.de; });
    // PosicionOrdenId: the record that stands at each rank of ascending Id.
    std::vector<int32_t> byId(out.size());
    std::iota(byId.begin(), byId.end(), 0);
    std::sort(byId.begin(), byId.end(), [&](int32_t a, int32_t b) {
        return out[static_cast<size_t>(a)].id < out[static_cast<size_t>(b)].id;
    });
    for (size_t rank = 0; rank < byId.size(); ++rank)
        out[rank].orden = byId[rank] + 1;
    return out;
}

// The image stars a camera at the plate in force would see: each catalogue star in the frame, moved
// by up to `jitter` pixels, every `dropEvery`-th one lost, and `noise` stars more at random places.
void Photograph(Context& c, const Sky& sky, double jitter, int dropEvery, int noise) {
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> u(-1, 1), place(0, 1000);
    c.mEstrellasCuadradas.assign(1, {});
    int k = 0;
    for (const auto& s : sky.stars) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(c, s.ar / 1e6, s.de / 1e6, x, y);
        if (x < 0 || x > 1000 || y < 0 || y > 1000 || ++k % dropEvery == 0) continue;
        c.mEstrellasCuadradas.push_back({x + jitter * u(rng), y + jitter * u(rng), 1000.0 - k});
    }
    for (int n = 0; n < noise; ++n)
        c.mEstrellasCuadradas.push_back({place(rng), place(rng), 10});
    c.mNumCandidatas = static_cast<int32_t>(c.mEstrellasCuadradas.size()) - 1;
}

class Verifying : public ::testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        sky = MakeSky();
        if (GetParam() == 1) {
            p.home.Write("stars/region.bin",
                         testing::RegionBin({{14000000, 26000000, 93000000, 107000000, 1}}));
            ASSERT_TRUE(p.UseDatabaseOne(sky.stars));
        } else {
            ASSERT_TRUE(p.UseDatabaseTwo(DeclinationSorted(sky)));
        }
        p.c.gBaseDatos = GetParam();
        p.c.gZonaCielo = GetParam() == 1 ? 1 : 3;
    }
    // Three stars of the field that fix the plate, and their place in the picture.
    std::vector<PlateStar> Identified() {
        std::vector<PlateStar> out;
        for (size_t k = 0; k < sky.stars.size() && out.size() < 3; ++k) {
            const double ra = sky.stars[k].ar / 1e6, dec = sky.stars[k].de / 1e6;
            double x = 0, y = 0;
            CoordenadasCatalogoAimagen(p.c, ra, dec, x, y);
            if (x > 0 && x < 1000 && y > 0 && y < 1000) {
                out.push_back({x + 0.2, y - 0.2, ra, dec});
                formedBy.push_back(sky.stars[k].id);
            }
        }
        return out;
    }
    CatalogueProgram p;
    Sky sky;
    std::vector<int32_t> formedBy;
};

TEST_P(Verifying, TheStarsInTheViewOfEitherStarFile) {
    Point(p.c, 100, 20, 30);
    const std::vector<CatalogueStar> field = CatalogueStarsInView(p.c);
    int inFrame = 0;
    for (const auto& s : sky.stars) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(p.c, s.ar / 1e6, s.de / 1e6, x, y);
        if (x >= 0 && x <= 1000 && y >= 0 && y <= 1000) ++inFrame;
    }
    // Every star of the frame is in the view, which is its bounding box on the sky, each once.
    EXPECT_GE(static_cast<int>(field.size()), inFrame);
    EXPECT_LT(field.size(), sky.stars.size());
    for (size_t k = 1; k < field.size(); ++k)
        EXPECT_LT(field[k - 1].id, field[k].id);
    EXPECT_FALSE(p.c.mFinAnalisis);
}

TEST_P(Verifying, ARightPlateIsConfirmedByTheRestOfTheField) {
    Point(p.c, 100, 20, 30);
    Photograph(p.c, sky, 0.5, 4, 40);
    const PlateMatrix plate = p.c.Cij;
    const std::vector<PlateStar> identified = Identified();
    const Verification v = VerifyPlate(p.c, identified, formedBy);
    EXPECT_TRUE(v.accepted);
    EXPECT_GT(v.matched, 30);
    EXPECT_LT(v.expected, 3);
    EXPECT_GT(v.log10Odds, 30);
    EXPECT_EQ(v.radius, 1.0);  // the identified stars stand within a third of a pixel
    EXPECT_EQ(p.c.Cij, plate);
    ReportVerification(p.c, v);
    ASSERT_FALSE(p.platform.summary.empty());
    EXPECT_EQ(p.platform.summary.back().rfind("Verification: " + std::to_string(v.matched) + " of " +
                                                  std::to_string(v.tested) + " catalogue stars within 1.0 px",
                                              0),
              0U);
}

TEST_P(Verifying, TheStarsThatFixedThePlateAreLeftOutInTheSearchesNumbering) {
    Point(p.c, 100, 20, 30);
    Photograph(p.c, sky, 0.5, 4, 40);
    const std::vector<PlateStar> identified = Identified();
    const Verification all = VerifyPlate(p.c, identified, {});
    // The searches number the stars of a declination-sorted file by their records.
    std::vector<int32_t> numbers = formedBy;
    if (p.c.gIdsSonPosiciones) {
        const std::vector<testing::Star16> records = DeclinationSorted(sky);
        for (int32_t& n : numbers)
            n = static_cast<int32_t>(
                    std::find_if(records.begin(), records.end(), [&](const auto& r) { return r.id == n; }) -
                    records.begin()) +
                1;
    }
    const Verification less = VerifyPlate(p.c, identified, numbers);
    EXPECT_EQ(less.tested, all.tested - 3);
    EXPECT_EQ(less.matched, all.matched - 3);
}

TEST_P(Verifying, AWrongPlateIsRefused) {
    // The picture was taken at another turn, or a degree away: the three stars of a wrong candidate fit
    // its plate, the field does not.
    for (const auto& [ra, turn] : {std::pair{100.0, 80.0}, std::pair{101.0, 30.0}}) {
        Point(p.c, ra, 20, turn);
        Photograph(p.c, sky, 0.5, 4, 40);
        Point(p.c, 100, 20, 30);
        formedBy.clear();
        const std::vector<PlateStar> identified = Identified();
        const Verification v = VerifyPlate(p.c, identified, formedBy);
        EXPECT_FALSE(v.accepted) << v.matched << " of " << v.tested;
        EXPECT_LT(v.log10Odds, 3);
    }
}

TEST_P(Verifying, StarsASearchFoundInBoxesCountAtTheChanceOfTheBox) {
    // A wrong plate whose search found eight catalogue stars by looking around 300 image stars, each
    // in a box of 30 x 30 pixels (a quarter of a minute of arc at 1"/pixel): the image stars stand
    // where it put them, as the search would have it. Scored at the verification's radius they would
    // look like proof.
    Point(p.c, 100, 20, 30);
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> place(0, 1000);
    p.c.mEstrellasCuadradas.assign(1, {});
    for (int n = 0; n < 40; ++n)
        p.c.mEstrellasCuadradas.push_back({place(rng), place(rng), 10});
    CandidateStars wrong;
    wrong.identified = Identified();
    for (const CatalogueStar& star : CatalogueStarsInView(p.c)) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(p.c, star.ra, star.dec, x, y);
        if (x < 0 || x > 1000 || y < 0 || y > 1000) continue;
        const bool fixedThePlate =
            std::any_of(wrong.identified.begin(), wrong.identified.end(),
                        [&](const auto& s) { return std::hypot(s.x - x, s.y - y) < 1; });
        if (fixedThePlate) {
            wrong.formedBy.push_back(star.id);
        } else if (wrong.searched.size() < 8) {
            p.c.mEstrellasCuadradas.push_back({x + 0.3, y, 20});
            wrong.searched.push_back({star.id, 900});
        }
    }
    ASSERT_EQ(wrong.formedBy.size(), 3U);
    ASSERT_EQ(wrong.searched.size(), 8U);
    p.c.mNumCandidatas = static_cast<int32_t>(p.c.mEstrellasCuadradas.size()) - 1;
    wrong.searchedAround = 300;
    const Verification asProof = VerifyPlate(p.c, wrong.identified, wrong.formedBy);
    EXPECT_GE(asProof.matched, 8);
    EXPECT_TRUE(asProof.accepted) << asProof.log10Odds;
    const Verification honest = VerifyPlate(p.c, wrong);
    EXPECT_EQ(honest.matched, asProof.matched);
    EXPECT_FALSE(honest.accepted) << honest.log10Odds;
    EXPECT_GT(honest.expected, asProof.expected + 1);
}

TEST_P(Verifying, NothingToStandOn) {
    Point(p.c, 100, 20, 30);
    // No star at all in the picture.
    Photograph(p.c, sky, 0, 1, 0);
    EXPECT_EQ(p.c.mNumCandidatas, 0);
    const std::vector<PlateStar> identified = Identified();
    Verification v = VerifyPlate(p.c, identified, formedBy);
    EXPECT_FALSE(v.accepted);
    EXPECT_EQ(v.matched, 0);
    // Hot pixels only: a crowd of image stars matches by chance what chance predicts.
    p.c.mEstrellasCuadradas.assign(1, {});
    std::mt19937_64 rng(3);
    std::uniform_real_distribution<double> place(0, 1000);
    for (int n = 0; n < 300; ++n)
        p.c.mEstrellasCuadradas.push_back({place(rng), place(rng), 5});
    p.c.mNumCandidatas = 300;
    const std::vector<PlateStar> more = Identified();
    v = VerifyPlate(p.c, more, formedBy);
    EXPECT_FALSE(v.accepted);
    EXPECT_LT(v.log10Odds, 3);
    // A field the catalogue does not reach: nothing is tested.
    Point(p.c, 250, -40, 0);
    formedBy.clear();
    v = VerifyPlate(p.c, {}, formedBy);
    EXPECT_EQ(v.tested, 0);
    EXPECT_FALSE(v.accepted);
}

INSTANTIATE_TEST_SUITE_P(StarFiles, Verifying, ::testing::Values(1, 2),
                         [](const auto& param) { return param.param == 1 ? "EstBin" : "EstDec"; });

}  // namespace
}  // namespace tornel
