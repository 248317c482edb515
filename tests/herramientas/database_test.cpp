// Databases built from small generated catalogues, read back record by record.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "herramientas/db/build.h"
#include "herramientas/db/check.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/records.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/star_tables.h"
#include "herramientas/db/synth_catalog.h"
#include "herramientas/db/triangle_file.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel::db {
namespace {

using testing::TempFolder;

BuildOptions SmallOptions() {
    BuildOptions o;
    o.triangles.fieldRadii = {1.5};
    o.db2PerCell = 4;
    return o;
}

BuildInputs Synthetic(int64_t stars, uint64_t seed = 7) {
    BuildInputs in;
    in.stars.push_back(SynthesizeCatalog({stars, seed, 11.0, 2.0}));
    in.objects = {{10.6848f, 41.2691f, 177.8f, "M 31"},
                  {83.8187f, -5.3897f, 90.0f, "M 42"},
                  {0.5f, -89.5f, 1.0f, "A very long object name beyond 26"}};
    return in;
}

template <class R>
std::vector<R> Read(const TempFolder& dir, const std::string& name) {
    std::vector<R> r;
    EXPECT_TRUE(ReadRecordFile(dir.File(name), r)) << name;
    return r;
}

class BuiltDatabase : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(
            BuildDatabase(platform, Synthetic(30000), SmallOptions(), dir.Path(), nullptr, error, &report))
            << error;
        est = Read<EstRecord>(dir, "est.bin");
    }
    NumberedStar Star(int32_t id) const {
        auto it = std::lower_bound(est.begin(), est.end(), id,
                                   [](const EstRecord& r, int32_t v) { return r.Id < v; });
        EXPECT_TRUE(it != est.end() && it->Id == id) << id;
        return {it->Id, it->Ar / 1e6, it->De / 1e6, 99};
    }
    TempFolder dir;
    testing::RecordingPlatform platform;
    BuildReport report;
    std::vector<EstRecord> est;
};

TEST_F(BuiltDatabase, EveryInvariantHoldsAndEveryFileIsThere) {
    FolderReport r = InspectDatabase(platform, dir.Path());
    for (const auto& i : r.invariants)
        EXPECT_TRUE(i.holds) << i.name << ": " << i.detail;
    EXPECT_TRUE(r.AllHold());
    for (const char* f : {"est.bin", "region.bin", "Ani001.bin", "Ani178.bin", "pole000.bin", "pole179.bin",
                          "estDEC_ID1x1g.bin", "tri2g02.bin", "est.ele", "pgc.bin"})
        EXPECT_TRUE(std::filesystem::exists(dir.File(f))) << f;
    EXPECT_EQ(est.size(), 30000u);
    // Nothing of the staging folder is left behind.
    for (const auto& e : std::filesystem::directory_iterator(dir.Path()))
        EXPECT_NE(e.path().filename().string()[0], '.');
}

TEST_F(BuiltDatabase, RegionsTileTheSkyWithoutCrossingRightAscensionZero) {
    std::map<int32_t, std::pair<int32_t, int32_t>> raRange;  // region -> Ar extremes of its stars
    for (const auto& s : est) {
        auto [it, fresh] = raRange.try_emplace(s.Id / 100000, s.Ar, s.Ar);
        it->second.first = std::min(it->second.first, s.Ar),
        it->second.second = std::max(it->second.second, s.Ar);
    }
    ASSERT_EQ(raRange.size(), static_cast<size_t>(kRegionCount));
    EXPECT_EQ(raRange.begin()->first, 1);
    EXPECT_EQ(raRange.rbegin()->first, kRegionCount);
    auto regions = Read<RegionRecord>(dir, "region.bin");
    ASSERT_EQ(regions.size(), static_cast<size_t>(kRegionCount));
    std::set<int32_t> seen;
    for (size_t i = 0; i < regions.size(); ++i) {
        const auto& r = regions[i];
        if (i) {
            EXPECT_LE(regions[i - 1].DeMin, r.DeMin);
        }
        EXPECT_TRUE(seen.insert(r.Region).second);
        EXPECT_EQ(r.ArMin, raRange[r.Region].first);
        EXPECT_EQ(r.ArMax, raRange[r.Region].second);
        // The reset value of the highest declination stays for a region south of the equator.
        EXPECT_TRUE(r.DeMax >= r.DeMin || r.DeMax == -900);
    }
    // Regions of one band follow each other in right ascension: they never overlap.
    for (int32_t g = 1; g < kRegionCount; ++g) {
        const auto &a = raRange[g], &b = raRange[g + 1];
        if (b.first >= a.first) {
            EXPECT_LE(a.second, b.first) << g;
        }
    }
}

TEST_F(BuiltDatabase, RingsHoldEveryCloseCataloguePairAtItsMidpoint) {
    // Independent count: a sweep over the stars sorted by declination.
    std::vector<NumberedStar> stars;
    for (const auto& r : est)
        stars.push_back({r.Id, r.Ar / 1e6, r.De / 1e6, 99});
    std::sort(stars.begin(), stars.end(), [](const auto& a, const auto& b) { return a.dec < b.dec; });
    std::map<int32_t, int64_t> expected;
    for (size_t i = 0; i < stars.size(); ++i)
        for (size_t j = i + 1; j < stars.size() && stars[j].dec - stars[i].dec <= 0.3; ++j) {
            int32_t units =
                DistanceUnits(AngularDistance(stars[i].ra, stars[i].dec, stars[j].ra, stars[j].dec));
            if (units < 100 || units > 29999) continue;
            Vec3 a = UnitVector(stars[i].ra, stars[i].dec), b = UnitVector(stars[j].ra, stars[j].dec);
            double ra, dec;
            VectorToRaDec({a.x + b.x, a.y + b.y, a.z + b.z}, ra, dec);
            int32_t ring = static_cast<int32_t>(std::floor(dec)) + 90;
            if (ring >= 1 && ring <= 178) ++expected[ring];
        }
    int64_t total = 0;
    PairMeter meter;
    for (int32_t ring = 1; ring <= 178; ++ring) {
        auto recs = Read<DistanceRecord>(dir, RingFileName(ring));
        EXPECT_NEAR(static_cast<double>(recs.size()), static_cast<double>(expected[ring]), 2) << ring;
        total += static_cast<int64_t>(recs.size());
        for (size_t k = 0; k < recs.size(); ++k) {
            const auto& r = recs[k];
            if (k) {
                ASSERT_LE(recs[k - 1].Clave, r.Clave);
            }
            NumberedStar a = Star(r.EstrellaA), b = Star(r.EstrellaB);
            EXPECT_LE(a.dec, b.dec);  // A is the star farther from the north pole
            double d = AngularDistance(a.ra, a.dec, b.ra, b.dec);
            EXPECT_NEAR(r.Clave % 100000, d * 100000, 1.0);  // the short pi near RA 360
            PairGeometry g;
            ASSERT_TRUE(meter.Measure(a.ra, a.dec, b.ra, b.dec, g));
            EXPECT_EQ(r.Clave / 100000, static_cast<int32_t>(std::floor(g.inclination)));
            EXPECT_EQ(static_cast<int32_t>(std::floor(g.midDec)) + 90, ring);
        }
    }
    EXPECT_EQ(total, report.ringPairs);
    EXPECT_GT(total, 1000);
}

TEST_F(BuiltDatabase, PoleFilesHaveTheirHeadAndTilesAroundTheCentres) {
    for (int32_t pole : {0, 179}) {
        auto recs = Read<DistanceRecord>(dir, PoleFileName(pole));
        ASSERT_GE(recs.size(), 74u);
        int32_t next = 75;
        for (int32_t t = 1; t <= kPoleTiles; ++t) {
            int32_t first = recs[2 * t - 2].Clave, last = recs[2 * t - 1].Clave;
            EXPECT_EQ(first, next);
            next = last + 1;
            double ra, dec;
            PoleTileCentre(pole, t, ra, dec);
            for (int32_t n = first; n <= last; ++n) {
                const auto& r = recs[n - 1];
                if (n > first) {
                    EXPECT_LE(recs[n - 2].Clave, r.Clave);
                }
                for (int32_t s : {r.EstrellaA, r.EstrellaB}) {
                    ASSERT_GE(s, 1);
                    ASSERT_LE(s, static_cast<int32_t>(est.size()));
                    EXPECT_LE(AngularDistance(ra, dec, est[s - 1].Ar / 1e6, est[s - 1].De / 1e6),
                              0.75 + 1e-9);
                }
                const auto &a = est[r.EstrellaA - 1], &b = est[r.EstrellaB - 1];
                EXPECT_EQ(r.Clave,
                          DistanceUnits(AngularDistance(a.Ar / 1e6, a.De / 1e6, b.Ar / 1e6, b.De / 1e6)));
            }
        }
        EXPECT_EQ(next, static_cast<int32_t>(recs.size()) + 1);
        double ra, dec;
        PoleTileCentre(pole, 27, ra, dec);
        EXPECT_EQ(std::fabs(dec), 90.0);  // tile 27 is the pole itself
    }
}

TEST_F(BuiltDatabase, TriangleTreeAnswersBoxesLikeAFullScan) {
    auto tri = Read<TriangleRecord>(dir, "tri2g02.bin");
    auto stars = Read<DecRecord>(dir, "estDEC_ID1x1g.bin");
    ASSERT_GT(tri.size(), 1000u);
    std::mt19937 rng(5);
    for (int q = 0; q < 300; ++q) {
        // Boxes around stored triangles, as an image triangle of the same stars would ask.
        const auto& t = tri[rng() % tri.size()];
        float s[3] = {t.Lado1, t.Lado2, t.Lado3}, lo[3], hi[3];
        for (int k = 0; k < 3; ++k) {
            double side = s[k];
            lo[k] = static_cast<float>((1 - 0.03 / 2.18) * side - 0.0406 / 2.18);
            hi[k] = static_cast<float>((1 + 0.03 / 2.18) * side + 0.0406 / 2.18);
        }
        std::vector<int64_t> tree, scan;
        VisitBox(tri, lo, hi, [&](int64_t n) { tree.push_back(n); });
        for (size_t n = 0; n < tri.size(); ++n) {
            const auto& r = tri[n];
            if (r.Lado1 >= lo[0] && r.Lado1 <= hi[0] && r.Lado2 >= lo[1] && r.Lado2 <= hi[1] &&
                r.Lado3 >= lo[2] && r.Lado3 <= hi[2])
                scan.push_back(static_cast<int64_t>(n + 1));
        }
        std::sort(tree.begin(), tree.end());
        ASSERT_EQ(tree, scan);
    }
    for (const auto& t : tri) {
        // Sides recomputed from the stars the record names.
        auto side = [&](int32_t a, int32_t b) {
            return AngularDistance(stars[a - 1].Ar, stars[a - 1].De, stars[b - 1].Ar, stars[b - 1].De);
        };
        ASSERT_NEAR(t.Lado1, side(t.Estrella2, t.Estrella3), 1e-5);
        ASSERT_NEAR(t.Lado2, side(t.Estrella3, t.Estrella1), 1e-5);
        ASSERT_NEAR(t.Lado3, side(t.Estrella1, t.Estrella2), 1e-5);
        ASSERT_GE(t.Lado1, 0.1f);
        ASSERT_LE(std::max(t.Lado2, t.Lado3), 2.28f);
        Vec3 a = UnitVector(stars[t.Estrella1 - 1].Ar, stars[t.Estrella1 - 1].De);
        Vec3 b = UnitVector(stars[t.Estrella2 - 1].Ar, stars[t.Estrella2 - 1].De);
        Vec3 c = UnitVector(stars[t.Estrella3 - 1].Ar, stars[t.Estrella3 - 1].De);
        ASSERT_LT(Determinant(a, b, c), 0);
    }
}

TEST_F(BuiltDatabase, DeclinationFileFindsEveryIdThroughItsPermutation) {
    auto dec = Read<DecRecord>(dir, "estDEC_ID1x1g.bin");
    ASSERT_GT(dec.size(), 1000u);
    for (size_t k = 1; k < dec.size(); ++k)
        ASSERT_LE(dec[k - 1].De, dec[k].De);
    // The binary search by Id of the program, two reads a probe.
    auto find = [&](int32_t id) -> int32_t {
        int32_t lo = 1, hi = static_cast<int32_t>(dec.size());
        auto idAt = [&](int32_t rank) { return dec[dec[rank - 1].PosicionOrdenId - 1].Id; };
        while (hi - lo >= 2) {
            int32_t mid = (hi + lo) / 2;
            if (id <= idAt(mid))
                hi = mid;
            else
                lo = mid;
        }
        if (idAt(lo) == id) return dec[lo - 1].PosicionOrdenId;
        if (idAt(hi) == id) return dec[hi - 1].PosicionOrdenId;
        return 0;
    };
    for (size_t k = 0; k < dec.size(); ++k) {
        ASSERT_EQ(find(dec[k].Id), static_cast<int32_t>(k + 1));
        NumberedStar s = Star(dec[k].Id);
        ASSERT_EQ(dec[k].Ar, static_cast<float>(s.ra));
        ASSERT_EQ(dec[k].De, static_cast<float>(s.dec));
    }
    EXPECT_EQ(find(0), 0);
    std::string ele = dir.Read("est.ele");
    ASSERT_EQ(ele.size(), 4u);
}

TEST_F(BuiltDatabase, ObjectsAreSortedByDeclinationWithPaddedNames) {
    auto obj = Read<ObjectRecord>(dir, "pgc.bin");
    ASSERT_EQ(obj.size(), 3u);
    EXPECT_FLOAT_EQ(obj[0].ObjetoDEC, -89.5f);
    EXPECT_EQ(std::string(obj[0].ObjetoNombre, 26), "A very long object name be");
    EXPECT_EQ(std::string(obj[1].ObjetoNombre, 26), "M 42" + std::string(22, ' '));
    EXPECT_FLOAT_EQ(obj[2].ObjetoTamano, 177.8f);
}

TEST(Build, ASmallCatalogueIsRefusedAndTheOldDatabaseStays) {
    TempFolder dir;
    testing::RecordingPlatform platform;
    std::string error;
    ASSERT_TRUE(BuildDatabase(platform, Synthetic(12000), SmallOptions(), dir.Path(), nullptr, error))
        << error;
    std::string before = dir.Read("est.bin");
    EXPECT_FALSE(BuildDatabase(platform, Synthetic(9000, 3), SmallOptions(), dir.Path(), nullptr, error));
    EXPECT_NE(error.find("at least 9537"), std::string::npos) << error;
    EXPECT_EQ(dir.Read("est.bin"), before);
    for (const auto& e : std::filesystem::directory_iterator(dir.Path()))
        EXPECT_NE(e.path().filename().string()[0], '.') << e.path();
}

TEST(Build, CapsSelectTheBrightestStarsOfEachCell) {
    TempFolder dir;
    testing::RecordingPlatform platform;
    BuildOptions o = SmallOptions();
    o.ringPerCell = 3;
    o.ringCell = 1.0;
    o.database2 = false;
    std::string error;
    BuildReport report;
    ASSERT_TRUE(BuildDatabase(platform, Synthetic(40000), o, dir.Path(), nullptr, error, &report)) << error;
    EXPECT_LE(report.ringStars, 3 * 41253 / 1 + 400);
    EXPECT_LT(report.ringStars, 40000);
    EXPECT_FALSE(std::filesystem::exists(dir.File("tri2g02.bin")));
    EXPECT_TRUE(InspectDatabase(platform, dir.Path()).AllHold());
}

TEST(Catalogues, MergeDropsStarsOfLaterListsThatEarlierListsHold) {
    std::vector<CatalogStar> a{{10.0, 20.0, 5.0f}, {30.0, -10.0, 9.0f}, {30.0, -10.0 + 2.0 / 3600, 9.5f}};
    std::vector<CatalogStar> b{
        {10.0 + 20.0 / 3600, 20.0, 4.0f}, {30.0, -10.0 + 40.0 / 3600, 8.0f}, {50, 50, 1}};
    int64_t dups = 0;
    auto m = MergeCatalogs({a, b}, 30.0, &dups);
    EXPECT_EQ(dups, 1);       // the same star at another epoch
    ASSERT_EQ(m.size(), 5u);  // a close pair of one list stays two stars
    EXPECT_FLOAT_EQ(m[0].mag, 1.0f);
    EXPECT_FLOAT_EQ(m[1].mag, 5.0f);  // the earlier list's star, not the later one's magnitude
}

TEST(Catalogues, SyntheticSkyIsSeededAndCountsGrowByMagnitude) {
    auto a = SynthesizeCatalog({50000, 11, 12.0, 2.0}), b = SynthesizeCatalog({50000, 11, 12.0, 2.0});
    auto c = SynthesizeCatalog({50000, 12, 12.0, 2.0});
    ASSERT_EQ(a.size(), 50000u);
    EXPECT_EQ(a[123].ra, b[123].ra);
    EXPECT_NE(a[123].ra, c[123].ra);
    int64_t n10 = 0, n11 = 0, plane = 0, poles = 0;
    const Vec3 ngp = UnitVector(192.85948, 27.12825);
    for (const auto& s : a) {
        n10 += s.mag >= 10 && s.mag < 11;
        n11 += s.mag >= 11 && s.mag < 12;
        double sinB = Dot(UnitVector(s.ra, s.dec), ngp);
        plane += std::fabs(sinB) < 0.1;
        poles += std::fabs(sinB) > 0.9;
    }
    EXPECT_NEAR(static_cast<double>(n11) / n10, std::pow(10, 0.45), 0.25);
    EXPECT_GT(plane, poles);  // equal areas: the plane is denser
}

}  // namespace
}  // namespace tornel::db
