// The importers: text, FITS index, Stellarium and OpenNGC files, made here byte by byte from known
// bright stars, and the real Debian files when TORNEL_CATALOGUES names the folder they were unpacked in.
#include <sqlite3.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

#include "herramientas/db/importers.h"
#include "herramientas/db/sky_geometry.h"
#include "tests/support/temp_folder.h"

namespace tornel::db {
namespace {

using testing::TempFolder;

struct Known {
    const char* name;
    double ra, dec, mag;
};
// J2000 places of a few bright stars.
constexpr Known kSirius{"Sirius", 101.287155, -16.716116, -1.46};
constexpr Known kVega{"Vega", 279.234735, 38.783689, 0.03};
constexpr Known kBetelgeuse{"Betelgeuse", 88.792939, 7.407064, 0.42};
constexpr Known kPolaris{"Polaris", 37.954561, 89.264109, 1.97};

double ArcsecBetween(const CatalogStar& s, const Known& k) {
    return AngularDistance(s.ra, s.dec, k.ra, k.dec) * 3600;
}

// The star of `stars` nearest to k, and its distance in arcsec.
const CatalogStar* Nearest(const std::vector<CatalogStar>& stars, const Known& k, double& arcsec) {
    const CatalogStar* best = nullptr;
    arcsec = 1e30;
    for (const auto& s : stars)
        if (double d = ArcsecBetween(s, k); d < arcsec) arcsec = d, best = &s;
    return best;
}

std::string Card(const std::string& key, const std::string& value) {
    std::string c = key;
    c.resize(8, ' ');
    if (!value.empty()) c += "= " + value;
    c.resize(80, ' ');
    return c;
}

std::string Quoted(const std::string& s) {
    return "'" + s + "'";
}

// One header (cards padded to 2880 bytes) and its data, padded likewise.
std::string Hdu(std::vector<std::string> cards, const std::string& data) {
    std::string h;
    for (const auto& c : cards)
        h += c;
    h += Card("END", "");
    h.resize((h.size() + 2879) / 2880 * 2880, ' ');
    std::string d = data;
    d.resize((d.size() + 2879) / 2880 * 2880, '\0');
    return h + d;
}

std::string Table(const std::string& name, size_t rows, size_t width, const std::string& data,
                  std::vector<std::string> extra = {}) {
    std::vector<std::string> cards{Card("XTENSION", Quoted("BINTABLE")),
                                   Card("BITPIX", "8"),
                                   Card("NAXIS", "2"),
                                   Card("NAXIS1", std::to_string(width)),
                                   Card("NAXIS2", std::to_string(rows)),
                                   Card("PCOUNT", "0"),
                                   Card("GCOUNT", "1"),
                                   Card("TFIELDS", "1"),
                                   Card("TTYPE1", Quoted(name)),
                                   Card("TFORM1", Quoted(std::to_string(width) + "A"))};
    cards.insert(cards.end(), extra.begin(), extra.end());
    return Hdu(cards, data);
}

template <class T>
void Append(std::string& s, T v) {
    s.append(reinterpret_cast<const char*>(&v), sizeof v);
}

// An index file holding `stars` as the Tycho-2 series stores them.
std::string IndexFile(const std::vector<Known>& stars) {
    const double scale = 2147483647.5;
    std::string range, data, mags;
    for (double v : {-1.0, -1.0, -1.0, 1.0, 1.0, 1.0, scale})
        Append(range, v);
    for (const auto& k : stars) {
        Vec3 v = UnitVector(k.ra, k.dec);
        for (double x : {v.x, v.y, v.z})
            Append(data, static_cast<uint32_t>(std::llround((x + 1) * scale)));
        uint32_t m;
        float f = static_cast<float>(k.mag);
        std::memcpy(&m, &f, 4);
        Append(mags, __builtin_bswap32(m));  // a FITS table column: big-endian
    }
    std::string file = Hdu(
        {Card("SIMPLE", "T"), Card("BITPIX", "8"), Card("NAXIS", "0"), Card("ENDIAN", Quoted("04:03:02:01")),
         Card("", "       /  in the order it is stored in memory.")},
        "");
    file += Table("quads", 0, 16, "");
    file += Table("kdtree_header_stars", 0, 1, "",
                  {Card("KDT_NAME", Quoted("stars")), Card("KDT_NDAT", std::to_string(stars.size())),
                   Card("KDT_NDIM", "3"), Card("KDT_DATA", Quoted("u32"))});
    file += Table("kdtree_range_stars", 7, 8, range);
    file += Table("kdtree_data_stars", stars.size(), 12, data);
    file += Hdu({Card("XTENSION", Quoted("BINTABLE")), Card("BITPIX", "8"), Card("NAXIS", "2"),
                 Card("NAXIS1", "4"), Card("NAXIS2", std::to_string(stars.size())), Card("PCOUNT", "0"),
                 Card("GCOUNT", "1"), Card("TFIELDS", "1"), Card("TTYPE1", Quoted("MAG_VT")),
                 Card("TFORM1", Quoted("1E")), Card("AN_FILE", Quoted("TAGALONG"))},
                mags);
    return file;
}

TEST(Importers, AstrometryIndexGivesBackItsStarsAndMagnitudes) {
    TempFolder dir;
    std::string path = dir.Write("index-test.fits", IndexFile({kSirius, kVega, kBetelgeuse}));
    ASSERT_EQ(DetectInputKind(path), InputKind::AstrometryIndex);
    std::vector<CatalogStar> stars;
    std::string error;
    ASSERT_TRUE(ReadAstrometryIndex(path, stars, error)) << error;
    ASSERT_EQ(stars.size(), 3u);
    EXPECT_LT(ArcsecBetween(stars[0], kSirius), 0.001);
    EXPECT_LT(ArcsecBetween(stars[1], kVega), 0.001);
    EXPECT_LT(ArcsecBetween(stars[2], kBetelgeuse), 0.001);
    EXPECT_FLOAT_EQ(stars[1].mag, 0.03f);
}

TEST(Importers, AFitsFileWithoutAStarTreeIsRefused) {
    TempFolder dir;
    std::string path =
        dir.Write("image.fits", Hdu({Card("SIMPLE", "T"), Card("BITPIX", "8"), Card("NAXIS", "0")}, ""));
    std::vector<CatalogStar> stars;
    std::string error;
    EXPECT_FALSE(ReadAstrometryIndex(path, stars, error));
    EXPECT_NE(error.find("no star tree"), std::string::npos);
}

// A level-0 Stellarium file of type 0 holding `stars`, each in the zone whose frame is nearest.
std::string StellariumFile(const std::vector<Known>& stars) {
    // Each star in the zone whose centre is nearest, with the position scale of level 0.
    const auto zones = GeodesicZones(0);
    auto norm = [](Vec3 v) {
        double n = std::sqrt(Dot(v, v));
        return Vec3{v.x / n, v.y / n, v.z / n};
    };
    const double k = (3 - std::sqrt(5.0)) / 2147483647.0;
    std::vector<std::string> zoneRecords(20);
    for (const auto& s : stars) {
        Vec3 v = UnitVector(s.ra, s.dec);
        int best = 0;
        double bestDot = -2;
        Vec3 centre;
        for (int z = 0; z < 20; ++z) {
            const auto& t = zones[z];
            Vec3 cz =
                norm({t[0][0] + t[1][0] + t[2][0], t[0][1] + t[1][1] + t[2][1], t[0][2] + t[1][2] + t[2][2]});
            if (Dot(cz, v) > bestDot) bestDot = Dot(cz, v), best = z, centre = cz;
        }
        Vec3 east = norm(Cross({0, 0, 1}, centre)), north = Cross(centre, east);
        // Onto the tangent plane at the centre: P = C + X0 k A0 + X1 k A1.
        double scale = 1 / Dot(v, centre);
        Vec3 p{v.x * scale, v.y * scale, v.z * scale};
        std::string r(28, '\0');
        auto x0 = static_cast<int32_t>(std::llround(Dot(p, east) / k));
        auto x1 = static_cast<int32_t>(std::llround(Dot(p, north) / k));
        std::memcpy(&r[4], &x0, 4);
        std::memcpy(&r[8], &x1, 4);
        r[13] = static_cast<char>(std::lround((s.mag * 1000 + 2000) / 50));  // mag_min -2000, 12800 / 256
        zoneRecords[best] += r;
    }
    std::string file;
    for (uint32_t v : {0x835F040Au, 0u, 0u, 8u, 0u, static_cast<uint32_t>(-2000), 12800u, 256u})
        Append(file, v);
    for (const auto& z : zoneRecords)
        Append(file, static_cast<uint32_t>(z.size() / 28));
    for (const auto& z : zoneRecords)
        file += z;
    return file;
}

TEST(Importers, StellariumStarsComeBackWhereTheyWere) {
    TempFolder dir;
    std::string path = dir.Write("stars_0_0v0_8.cat", StellariumFile({kSirius, kPolaris, kVega}));
    ASSERT_EQ(DetectInputKind(path), InputKind::StellariumStars);
    std::vector<CatalogStar> stars;
    std::string error;
    ASSERT_TRUE(ReadStellariumStars(path, stars, error)) << error;
    ASSERT_EQ(stars.size(), 3u);
    for (const auto& k : {kSirius, kPolaris, kVega}) {
        double arcsec;
        const CatalogStar* s = Nearest(stars, k, arcsec);
        EXPECT_LT(arcsec, 0.01) << k.name;
        EXPECT_NEAR(s->mag, k.mag, 0.03) << k.name;
    }
}

TEST(Importers, AByteSwappedStellariumFileIsRefused) {
    TempFolder dir;
    std::string bytes = StellariumFile({kVega});
    uint32_t swapped = __builtin_bswap32(0x835F040Au);
    std::memcpy(bytes.data(), &swapped, 4);
    std::vector<CatalogStar> stars;
    std::string error;
    EXPECT_FALSE(ReadStellariumStars(dir.Write("s.cat", bytes), stars, error));
    EXPECT_NE(error.find("byte-swapped"), std::string::npos);
}

TEST(Importers, CsvFilesAreRecognisedByTheirContent) {
    TempFolder dir;
    std::string stars = dir.Write(
        "a.txt", "ra_deg,dec_deg,mag\n101.287155, -16.716116, -1.46\n279.234735;38.783689;0.03\n# end\n");
    std::string objects =
        dir.Write("b.txt", "ra,dec,size,name\n10.6848,41.2691,177.8,M 31\n83.8187 -5.3897 90 M 42\n");
    ASSERT_EQ(DetectInputKind(stars), InputKind::StarCsv);
    ASSERT_EQ(DetectInputKind(objects), InputKind::ObjectCsv);
    std::vector<CatalogStar> s;
    std::vector<SkyObject> o;
    std::string error;
    ASSERT_TRUE(ReadStarCsv(stars, s, error)) << error;
    ASSERT_TRUE(ReadObjectCsv(objects, o, error)) << error;
    ASSERT_EQ(s.size(), 2u);
    EXPECT_LT(ArcsecBetween(s[0], kSirius), 0.001);
    EXPECT_FLOAT_EQ(s[1].mag, 0.03f);
    ASSERT_EQ(o.size(), 2u);
    EXPECT_EQ(o[1].name, "M 42");
    EXPECT_FLOAT_EQ(o[0].size, 177.8f);

    std::string bad = dir.Write("c.txt", "1,2,3\n4,x,6\n");
    EXPECT_FALSE(ReadStarCsv(bad, s, error));
    EXPECT_NE(error.find("line 2"), std::string::npos);
    EXPECT_EQ(DetectInputKind(dir.Write("d.bin", std::string("\x01\x02\x03\x00zz", 6))), InputKind::Unknown);
}

TEST(Importers, OpenNgcObjectsAreReadFromTheSqliteTable) {
    TempFolder dir;
    std::string path = dir.File("OpenNGC.kscat");
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    const char* sql =
        "CREATE TABLE cat (type INT, ra REAL, dec REAL, magnitude REAL, name TEXT, major_axis REAL);"
        "INSERT INTO cat VALUES (8, 10.6848, 41.2691, 3.4, 'M 31', 177.8);"
        "INSERT INTO cat VALUES (6, 299.9016, 22.7210, NULL, 'M 27', NULL);";
    ASSERT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    ASSERT_EQ(DetectInputKind(path), InputKind::OpenNgc);
    std::vector<SkyObject> o;
    std::string error;
    ASSERT_TRUE(ReadOpenNgc(path, o, error)) << error;
    ASSERT_EQ(o.size(), 2u);
    EXPECT_EQ(o[0].name, "M 31");
    EXPECT_FLOAT_EQ(o[0].ra, 10.6848f);
    EXPECT_FLOAT_EQ(o[1].size, 0.0f);
}

// The real files, when someone unpacked them (never downloaded by the tests).
std::string RealFile(const std::string& inner) {
    const char* root = std::getenv("TORNEL_CATALOGUES");
    if (!root) return {};
    std::string p = std::string(root) + "/" + inner;
    return std::filesystem::exists(p) ? p : std::string{};
}

TEST(RealCatalogues, Tycho2IndexHoldsBetelgeuseAtItsPlace) {
    std::string path = RealFile("usr/share/astrometry/index-tycho2-07.littleendian.fits");
    if (path.empty()) GTEST_SKIP() << "TORNEL_CATALOGUES does not hold the Tycho-2 index";
    std::vector<CatalogStar> stars;
    std::string error;
    ASSERT_TRUE(ReadAstrometryIndex(path, stars, error)) << error;
    EXPECT_EQ(stars.size(), 1871011u);
    double arcsec;
    const CatalogStar* s = Nearest(stars, kBetelgeuse, arcsec);
    EXPECT_LT(arcsec, 1.0);  // Tycho-2 holds it at about epoch 1991.25
    EXPECT_NEAR(s->mag, 0.5, 0.6);
}

TEST(RealCatalogues, StellariumHoldsSiriusVegaAndPolaris) {
    std::string path = RealFile("usr/share/stellarium/stars/default/stars_0_0v0_8.cat");
    if (path.empty()) GTEST_SKIP() << "TORNEL_CATALOGUES does not hold the Stellarium stars";
    std::vector<CatalogStar> stars;
    std::string error;
    ASSERT_TRUE(ReadStellariumStars(path, stars, error)) << error;
    EXPECT_EQ(stars.size(), 4979u);
    for (const auto& k : {kSirius, kVega, kPolaris}) {
        double arcsec;
        const CatalogStar* s = Nearest(stars, k, arcsec);
        EXPECT_LT(arcsec, 0.5) << k.name;
        EXPECT_NEAR(s->mag, k.mag, 0.1) << k.name;
    }
}

}  // namespace
}  // namespace tornel::db
