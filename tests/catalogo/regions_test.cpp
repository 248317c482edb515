// The region index: its rebuild from est.bin, the start of a region in est.bin, and the regions that
// a view of the image touches.
#include "catalogo/regions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>

#include "core/parametros.h"
#include "core/startup.h"
#include "core/timers.h"
#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::ParseRegionBin;
using testing::Region20;
using testing::RegionBin;
using testing::Star12;

struct RegionIndex : ::testing::Test {
    CatalogueProgram p;
    std::vector<Region20> Built() { return ParseRegionBin(p.home.Read("stars/region.bin")); }
};

TEST_F(RegionIndex, RebuiltFromEstBinAsWorkedOutByHand) {
    ASSERT_TRUE(p.UseDatabaseOne({
        {100001, 10500000, 2000000},
        {100002, 12000000, 3500000},  // region 1
        {200001, 100000000, -30000000},
        {200005, 101000000, -31000000},  // region 2, wholly south
        {760000, 200000000, 45000000},
        {760001, 199000000, 46000000},  // 7.6 rounds to region 8
        {900001, 350000000, 10000000},  // region 9, the last
    }));
    ASSERT_TRUE(FabricaFicheroRegiones(p.c));
    // Every one of the 9537 records is written; those no region filled stay zero and sort with DeMin 0.
    std::vector<Region20> expected(9537, Region20{0, 0, 0, 0, 0});
    expected.front() = {-31000000, -900, 100000000, 101000000, 2};  // DeMax -900: reaches the equator
    expected[9534] = {2000000, 3500000, 10500000, 12000000, 1};
    expected[9535] = {10000000, 10000000, 350000000, 350000000, 9};
    expected[9536] = {45000000, 46000000, 199000000, 200000000, 8};
    EXPECT_EQ(Built(), expected);
    EXPECT_EQ(p.platform.waitTexts, std::vector<std::string>{"Wait... 97"});
    EXPECT_FALSE(p.platform.waitShown);
    EXPECT_FALSE(p.c.mFinAnalisis);
}

// A whole catalogue: every region 1..9537 with two or three stars of scattered coordinates.
std::vector<Star12> FullCatalogue() {
    std::vector<Star12> stars;
    uint32_t seed = 12345;
    auto next = [&](uint32_t range) {
        seed = seed * 1103515245u + 12345u;
        return static_cast<int32_t>((seed >> 8) % range);
    };
    for (int32_t r = 1; r <= 9537; ++r)
        for (int32_t k = 1; k <= 2 + r % 2; ++k)
            stars.push_back({r * 100000 + k * 7, next(360000000), next(180000000) - 90000000});
    return stars;
}

TEST_F(RegionIndex, WholeCatalogueAgreesWithAPlainGrouping) {
    std::vector<Star12> stars = FullCatalogue();
    ASSERT_TRUE(p.UseDatabaseOne(stars));
    ASSERT_TRUE(FabricaFicheroRegiones(p.c));
    std::vector<Region20> built = Built();
    ASSERT_EQ(built.size(), 9537u);
    for (size_t i = 1; i < built.size(); ++i)
        ASSERT_LE(built[i - 1].deMin, built[i].deMin) << i;

    // The same index by grouping the stars on their region and taking the extremes.
    std::map<int32_t, Region20> byRegion;
    for (const Star12& s : stars) {
        int32_t r = s.id / 100000;
        auto [it, fresh] = byRegion.try_emplace(r, Region20{s.de, std::max(s.de, -900), s.ar, s.ar, r});
        Region20& g = it->second;
        g.deMin = std::min(g.deMin, s.de);
        g.deMax = std::max(g.deMax, s.de);
        g.arMin = std::min(g.arMin, s.ar);
        g.arMax = std::max(g.arMax, s.ar);
    }
    std::map<int32_t, Region20> fromFile;
    for (const Region20& r : built)
        fromFile[r.region] = r;
    EXPECT_EQ(fromFile, byRegion);

    // "Wait..." and the hundreds of regions left, every 100 regions; events run at each region.
    ASSERT_EQ(p.platform.waitTexts.size(), 96u);
    EXPECT_EQ(p.platform.waitTexts.front(), "Wait... 97");
    EXPECT_EQ(p.platform.waitTexts.back(), "Wait... 2");
    EXPECT_GE(p.platform.doEventsCalls, 9537);
}

TEST_F(RegionIndex, MoreRegionsThanTheIndexHoldsIsAnError) {
    std::vector<Star12> stars = FullCatalogue();
    stars.push_back({953800001, 1, 1});
    ASSERT_TRUE(p.UseDatabaseOne(stars));
    p.c.gIdioma = 1;
    EXPECT_FALSE(FabricaFicheroRegiones(p.c));
    EXPECT_EQ(p.platform.messages,
              std::vector<std::string>{"Error 9 Subscript out of range FabricaFicheroRegiones"});
    EXPECT_EQ(p.platform.waitTexts.front(), "Espere... 97");
    EXPECT_FALSE(p.platform.waitShown);
    EXPECT_FALSE(std::filesystem::exists(p.home.File("stars/region.bin")));
}

TEST_F(RegionIndex, WhereARegionStartsInEstBin) {
    ASSERT_TRUE(p.UseDatabaseOne({{100001, 0, 0},
                                  {100002, 0, 0},
                                  {200001, 0, 0},
                                  {200002, 0, 0},
                                  {200003, 0, 0},
                                  {500001, 0, 0},
                                  {500002, 0, 0}}));
    EXPECT_EQ(PosicionEmpiezaRegion(p.c, 100000), 1);
    EXPECT_EQ(PosicionEmpiezaRegion(p.c, 200000), 3);
    EXPECT_EQ(PosicionEmpiezaRegion(p.c, 500000), 6);
    // A region that is missing answers where the next one starts.
    EXPECT_EQ(PosicionEmpiezaRegion(p.c, 300000), 6);
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_EQ(PosicionEmpiezaRegion(p.c, 600000), 0);
    EXPECT_EQ(p.platform.messages, std::vector<std::string>{"Region not found 600000"});
    p.c.mFinAnalisis = true;
    EXPECT_EQ(PosicionEmpiezaRegion(p.c, 200000), 0);
}

// A camera with its optical axis at (ra0, dec0), image x towards growing right ascension and y
// towards the north, 1000 x 1000 pixels, focal length 10000 pixels: a field of about 5.7 degrees.
void LookAt(Context& c, double ra0, double dec0) {
    const double k = std::acos(-1.0) / 180;
    double a = ra0 * k, d = dec0 * k;
    double rows[4][3] = {{},
                         {-std::sin(a), std::cos(a), 0},
                         {-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)},
                         {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)}};
    for (int i = 1; i <= 3; ++i)
        for (int j = 1; j <= 3; ++j)
            c.Cij[static_cast<size_t>(i)][static_cast<size_t>(j)] = rows[i][j - 1];
    c.gAnchoImagen = c.gAltoImagen = 1000;
    c.gFocalEnPixeles = 10000;
    c.gGradosPorPixel = 1 / (10000 * k);
}

Region20 Box(double deMin, double deMax, double arMin, double arMax, int32_t region) {
    auto m = [](double deg) { return static_cast<int32_t>(std::lround(deg * 1000000)); };
    return {m(deMin), m(deMax), m(arMin), m(arMax), region};
}

struct View : RegionIndex {
    std::vector<int32_t> regiones;
    double arMin = 0, arMax = 0, deMin = 0, deMax = 0;
    std::vector<int32_t> Look(double ra0, double dec0, const std::vector<Region20>& index) {
        p.home.Write("stars/region.bin", RegionBin(index));
        LookAt(p.c, ra0, dec0);
        DeterminaRegionesPorMirar(p.c, regiones, arMin, arMax, deMin, deMax);
        return regiones;
    }
};

TEST_F(View, RegionsThatOverlapTheImage) {
    std::vector<Region20> index = {
        Box(-20, -0.0009, 95, 105, 1),  // south of the view
        Box(10, 15, 90, 110, 2),        // south of the view
        Box(15, 25, 90, 98, 3),         // overlaps the west edge
        Box(15, 25, 105, 120, 4),       // east of the view
        Box(18, 30, 99, 101, 5),        // inside
        Box(30, 40, 90, 110, 6),        // north of the view: the scan ends here
        Box(16, 24, 95, 105, 7),        // out of order, so never reached
    };
    EXPECT_EQ(Look(100, 20, index), (std::vector<int32_t>{2, 300000, 500000}));
    EXPECT_NEAR(arMin, 100 - 3.1, 0.1);
    EXPECT_NEAR(arMax, 100 + 3.1, 0.1);
    EXPECT_NEAR(deMin, 20 - 2.87, 0.05);
    EXPECT_NEAR(deMax, 20 + 2.87, 0.05);
}

TEST_F(View, AViewAcrossRightAscensionZeroListsEachSideOnItsOwn) {
    std::vector<Region20> index = {
        Box(-15, -5, 350, 359.99, 1),  // reaches past the view's western limit
        Box(-15, -5, 0.1, 5, 2),       // starts before its eastern limit
        Box(-15, -5, 0, 360, 3),       // both: listed twice
        Box(-15, -5, 100, 200, 4),
    };
    EXPECT_EQ(Look(0.5, -10, index), (std::vector<int32_t>{4, 100000, 200000, 300000, 300000}));
    EXPECT_GT(arMax - arMin, 180);
}

TEST_F(View, AViewNearAPoleTakesEveryRightAscension) {
    std::vector<Region20> north = {Box(70, 80, 0, 360, 1), Box(84, 90, 0, 10, 2), Box(86, 90, 200, 210, 3)};
    EXPECT_EQ(Look(30, 88, north), (std::vector<int32_t>{2, 200000, 300000}));
    EXPECT_EQ(arMin, 0);
    EXPECT_EQ(arMax, 360);
    EXPECT_EQ(deMax, 90);
    EXPECT_GT(deMin, 84);

    std::vector<Region20> south = {Box(-90, -86, 200, 210, 1), Box(-80, -70, 0, 360, 2)};
    EXPECT_EQ(Look(30, -88, south), (std::vector<int32_t>{1, 100000}));
    EXPECT_EQ(deMin, -90);
    EXPECT_EQ(arMax, 360);
}

TEST_F(View, WithoutTheIndexTheScanFails) {
    LookAt(p.c, 100, 20);
    DeterminaRegionesPorMirar(p.c, regiones, arMin, arMax, deMin, deMax);
    EXPECT_EQ(regiones, std::vector<int32_t>{0});
    EXPECT_EQ(p.platform.messages,
              std::vector<std::string>{"Error 53 File not found DeterminaRegionesPorMirar"});
    EXPECT_TRUE(p.c.mFinAnalisis);
}

// Start-up without region.bin: TimerVarios tells the user and builds it; the analysis that the
// command line asked for waits until it is there.
TEST(RegionIndexAtStartUp, MissingIndexIsRebuiltBeforeAnyAnalysis) {
    CatalogueProgram p;
    p.home.Write("stars/est.bin", testing::EstBin({{100001, 1000000, 1000000}, {200001, 2000000, -2000000}}));
    for (const char* name : {"stars/pgc.bin", "rings/Ani090.bin", "rings/pole000.bin", "rings/pole179.bin"})
        p.home.Write(name, "");
    ParametrosPorDefecto(p.c);
    p.c.gCarpetaEstrellas = p.home.Path() + "stars/";
    p.c.gCarpetaDistancias = p.home.Path() + "rings/";
    p.c.gCarpetaMensajes = p.home.MakeFolder("mail");
    p.c.gBaseDatos = 1;
    GrabaParametros(p.c);

    Form_Load(p.c, "8");
    ASSERT_TRUE(p.c.gBasesOK);
    EXPECT_TRUE(p.c.timers.TimerVarios.Enabled);
    EXPECT_TRUE(p.c.timers.TimerAnalizaYsale.Enabled);

    // The analysis timer comes first but waits for the index, before and during its build.
    TimerAnalizaYsale_Timer(p.c);
    EXPECT_TRUE(p.c.timers.TimerAnalizaYsale.Enabled);
    bool analysisRanDuringBuild = false;
    p.platform.onDoEvents = [&] {
        TimerAnalizaYsale_Timer(p.c);
        analysisRanDuringBuild = analysisRanDuringBuild || !p.c.timers.TimerAnalizaYsale.Enabled;
    };
    TimerVarios_Timer(p.c);
    p.platform.onDoEvents = nullptr;
    EXPECT_FALSE(analysisRanDuringBuild);
    EXPECT_FALSE(p.c.timers.TimerVarios.Enabled);
    EXPECT_EQ(
        p.platform.messages,
        std::vector<std::string>{"The region.bin file has not be found. Press OK and wait some seconds until "
                                 "it is automatically generated."});
    std::vector<Region20> built = ParseRegionBin(p.home.Read("stars/region.bin"));
    ASSERT_EQ(built.size(), 9537u);
    EXPECT_EQ(built.front(), (Region20{-2000000, -900, 2000000, 2000000, 2}));
    EXPECT_EQ(built.back(), (Region20{1000000, 1000000, 1000000, 1000000, 1}));
    EXPECT_FALSE(p.c.buildingRegionIndex);
}

}  // namespace
}  // namespace tornel
