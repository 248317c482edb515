// The pattern index: codes that neither scale, turn, shift nor relabelling change, the mirror's code,
// the k-d tree and the star zones of quads.bin against brute force, and files that must be refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <string>

#include "catalogo/quad_code.h"
#include "catalogo/quad_index.h"
#include "herramientas/db/quad_file.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

std::array<PlanePoint, 4> RandomQuad(std::mt19937_64& rng) {
    std::uniform_real_distribution<double> u(-100, 100);
    return {{{u(rng), u(rng)}, {u(rng), u(rng)}, {u(rng), u(rng)}, {u(rng), u(rng)}}};
}

// The points turned by `angle`, scaled by `k`, shifted, and mirrored across the y axis when asked.
std::array<PlanePoint, 4> Moved(const std::array<PlanePoint, 4>& p, double angle, double k, bool mirror) {
    std::array<PlanePoint, 4> out;
    for (size_t i = 0; i < 4; ++i) {
        const double x = mirror ? -p[i].x : p[i].x, y = p[i].y;
        out[i] = {k * (x * std::cos(angle) - y * std::sin(angle)) + 17,
                  k * (x * std::sin(angle) + y * std::cos(angle)) - 5};
    }
    return out;
}

TEST(QuadCode, SameShapeSameCodeWhateverTheScaleTurnShiftOrOrder) {
    std::mt19937_64 rng(3);
    int32_t made = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        const auto p = RandomQuad(rng);
        Quad q;
        if (!MakeQuad(p, q)) continue;
        ++made;
        EXPECT_LE(q.code[0], q.code[2]);
        EXPECT_LE(q.code[0] + q.code[2], 1 + 1e-12);
        const double angle = 0.3 * trial, k = 0.01 + trial % 7;
        auto moved = Moved(p, angle, k, false);
        std::array<PlanePoint, 4> shuffled = {moved[2], moved[0], moved[3], moved[1]};
        Quad m;
        ASSERT_TRUE(MakeQuad(shuffled, m));
        EXPECT_LT(CodeDistance2(q.code, m.code), 1e-18);
        EXPECT_NEAR(m.diameter, k * q.diameter, 1e-9 * k * q.diameter);
        // The same stars get the same labels: A of one is A of the other.
        const int32_t fromShuffled[4] = {2, 0, 3, 1};
        for (size_t n = 0; n < 4; ++n)
            EXPECT_EQ(fromShuffled[m.order[n]], q.order[n]);
        // A mirror image has the code that MirroredQuad predicts.
        Quad r;
        ASSERT_TRUE(MakeQuad(Moved(p, angle, k, true), r));
        EXPECT_LT(CodeDistance2(MirroredQuad(q).code, r.code), 1e-18);
    }
    EXPECT_GT(made, 300);  // a good share of random quads have C and D inside the circle on AB
}

TEST(QuadCode, QuadsWithAStarOutsideTheCircleOrStarsOnOnePointHaveNoCode) {
    Quad q;
    EXPECT_FALSE(MakeQuad({{{0, 0}, {10, 0}, {5, 6}, {5, 1}}}, q));  // (5, 6) lies outside the circle
    EXPECT_FALSE(MakeQuad({{{1, 1}, {1, 1}, {1, 1}, {1, 1}}}, q));
    EXPECT_TRUE(MakeQuad({{{0, 0}, {10, 0}, {5, 4}, {3, -1}}}, q));
}

class QuadFile : public ::testing::Test {
  protected:
    void SetUp() override {
        std::mt19937_64 rng(5);
        std::uniform_real_distribution<double> u(0, 1);
        // A sparse sky and a dense cap across right ascension 0.
        for (int32_t k = 0; k < 20000; ++k) {
            const bool cap = k % 2 == 0;
            const double ra = cap ? std::fmod(358 + 4 * u(rng), 360) : 360 * u(rng);
            const double dec = cap ? -2 + 4 * u(rng) : std::asin(2 * u(rng) - 1) * 180 / std::numbers::pi;
            stars.push_back({k + 1, ra, dec, static_cast<float>(6 + 6 * u(rng))});
        }
        choice.firstLevel = 0.5;
        choice.levels = 6;
        db::QuadReport report;
        bytes = db::BuildQuadIndex(stars, choice, report);
        quads = report.quads;
        path = folder.File("quads.bin");
        folder.Write("quads.bin", bytes);
    }
    std::vector<db::NumberedStar> stars;
    db::QuadChoice choice;
    std::string bytes, path;
    int64_t quads = 0;
    testing::TempFolder folder;
};

TEST_F(QuadFile, LookupFindsExactlyTheQuadsWithinTheTolerance) {
    QuadIndex index;
    std::string error;
    ASSERT_TRUE(index.Open(path, error)) << error;
    ASSERT_EQ(index.Levels().size(), 6u);
    // More quads than the copy of the tree's first levels holds, so that walks go below it.
    ASSERT_GT(quads, static_cast<int64_t>(kQuadTopNodes));
    // Every quad, read back whole, to compare the tree's answers with: a lookup so wide that the
    // tree prunes nothing is a linear scan, with each quad's distance from the query.
    std::vector<QuadHit> all;
    index.Lookup({0.5, 0.5, 0.5, 0.5}, 10, all, 1u << 30);
    EXPECT_EQ(static_cast<int64_t>(all.size()), quads);
    EXPECT_EQ(static_cast<int64_t>(index.QuadCount()), quads);
    uint64_t perLevel = 0;
    for (const QuadLevel& level : index.Levels())
        perLevel += level.quads;
    EXPECT_EQ(static_cast<int64_t>(perLevel), quads);
    std::mt19937_64 rng(8);
    std::uniform_real_distribution<double> u(-0.1, 1.1);
    for (int trial = 0; trial < 200; ++trial) {
        const QuadCode q{u(rng), u(rng), u(rng), u(rng)};
        const double tolerance = trial % 2 ? 0.08 : 0.02;
        std::vector<QuadHit> hits;
        index.Lookup(q, tolerance, hits, 1u << 30);
        std::set<std::array<uint32_t, 4>> found, expected;
        for (const QuadHit& h : hits) {
            found.insert(h.stars);
            EXPECT_LE(h.distance2, tolerance * tolerance + 1e-9);
        }
        std::vector<QuadHit> everything;
        index.Lookup(q, 10, everything, 1u << 30);
        ASSERT_EQ(everything.size(), all.size());
        for (const QuadHit& h : everything)
            if (h.distance2 <= tolerance * tolerance) expected.insert(h.stars);
        EXPECT_EQ(found, expected);
    }
}

TEST_F(QuadFile, StarsNearAreTheStarsOfTheLevelWithinTheRadius) {
    QuadIndex index;
    std::string error;
    ASSERT_TRUE(index.Open(path, error)) << error;
    const struct {
        double ra, dec, radius;
    } circles[] = {{0.2, 0.5, 1.2}, {359.5, -1, 0.7}, {120, 40, 8}, {10, 88, 5}, {200, -89.5, 3}};
    for (size_t level = 0; level < index.Levels().size(); level += 2)
        for (const auto& k : circles) {
            std::vector<uint32_t> near;
            index.StarsNear(level, k.ra, k.dec, k.radius, near);
            std::set<uint32_t> got(near.begin(), near.end()), want;
            EXPECT_EQ(got.size(), near.size());  // each once
            const uint64_t first = 0, last = index.Levels()[level].firstStar + index.Levels()[level].stars;
            for (uint64_t n = first; n < last; ++n) {
                const IndexStar s = index.Star(static_cast<uint32_t>(n));
                if (AngularDistance(k.ra, k.dec, s.ra, s.dec) <= k.radius - 1e-6)
                    want.insert(static_cast<uint32_t>(n));
            }
            for (uint32_t n : want)
                EXPECT_TRUE(got.count(n))
                    << "level " << level << " star " << n << " at " << k.ra << " " << k.dec;
            // The level's own group and the coarser levels' stars make up the level's stars.
            if (level + 1 < index.Levels().size()) {
                std::vector<uint32_t> own, coarser;
                index.StarsNear(level, k.ra, k.dec, k.radius, own, true, 1);
                index.StarsNear(level + 1, k.ra, k.dec, k.radius, coarser);
                std::set<uint32_t> both(own.begin(), own.end());
                both.insert(coarser.begin(), coarser.end());
                EXPECT_EQ(both, got);
                EXPECT_EQ(own.size() + coarser.size(), got.size());
            }
        }
}

TEST_F(QuadFile, AFileThatDisagreesWithItselfIsRefusedWithItsName) {
    QuadIndex index;
    std::string error;
    const auto refused = [&](const std::string& content, const std::string& why) {
        folder.Write("bad.bin", content);
        EXPECT_FALSE(index.Open(folder.File("bad.bin"), error)) << why;
        EXPECT_NE(error.find(folder.File("bad.bin")), std::string::npos) << error;
        EXPECT_FALSE(index.IsOpen());
    };
    refused(bytes.substr(0, bytes.size() - 24), "a quad short");
    refused(bytes + std::string(24, '\0'), "a quad too many");
    refused(bytes + std::string(8, '\0'), "a code without its members");
    std::string count = bytes;
    count[16] = static_cast<char>(count[16] + 1);  // one quad more in the header than in the levels
    refused(count, "a tree larger than its levels");
    refused("TQUADS99" + bytes.substr(8), "another magic");
    refused("TQUADS01" + bytes.substr(8), "the layout of one tree per level");
    refused(bytes.substr(0, 10), "a header cut short");
    std::string levels = bytes;
    levels[8] = 0;  // no levels
    refused(levels, "no levels");
    std::string fine = bytes;
    const float tiny = 1e-30F;  // a level so fine that a circle would span billions of zones
    std::memcpy(fine.data() + 24, &tiny, sizeof tiny);
    refused(fine, "a level finer than any search can read");
    EXPECT_FALSE(index.Open(folder.File("missing.bin"), error));
    EXPECT_TRUE(index.Open(path, error)) << error;
}

// A star whose declination is no angle (a damaged file that still agrees with its length) is read
// as lying in the first or last zone; the circles around it are searched as before.
TEST_F(QuadFile, AStarOfADamagedFileIsReadWithoutOverflowingItsZone) {
    EXPECT_EQ(StarZone(1e30F, 0.5), StarZone(3e38F, 0.5));
    EXPECT_EQ(StarZone(-1e30F, 0.5), 0);
    EXPECT_EQ(StarZone(std::numeric_limits<float>::quiet_NaN(), 0.5), 0);
    EXPECT_EQ(StarZone(89.9F, 0.5), 359);
    std::string damaged = bytes;
    const uint32_t levels = 6;
    const size_t starsAt = 24 + levels * 40;
    const float wild = 1.35917e+24F;
    for (size_t k = 0; k < 100; ++k)
        std::memcpy(damaged.data() + starsAt + 12 * k + 4, &wild, sizeof wild);
    folder.Write("damaged.bin", damaged);
    QuadIndex index;
    std::string error;
    ASSERT_TRUE(index.Open(folder.File("damaged.bin"), error)) << error;
    std::vector<uint32_t> near;
    for (size_t level = 0; level < index.Levels().size(); ++level)
        index.StarsNear(level, 0, 0, 3, near);
    EXPECT_FALSE(near.empty());
}

}  // namespace
}  // namespace tornel
