// Readers of the star files: coordinates by integral number, by record number and through the
// permutation of database 2, the identifier texts and the USNO zone table.
#include "catalogo/star_catalogue.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::Star12;
using testing::Star16;

// Region 158 to 4012, ascending Id as the file requires.
const std::vector<Star12> kStars = {
    {15800001, 10000000, 20000000},   {15800254, 10250000, -20500000}, {15800999, 359999999, 89999999},
    {16000003, 123456789, -45678901}, {170000001, 0, -90000000},       {401200007, 300500000, 5000000},
};

struct StarFiles : ::testing::Test {
    CatalogueProgram p;
    void Read(int32_t id) { LeeCoordenadasEstrella(p.c, id); }
    std::pair<double, double> Coordinates() const { return {p.c.gEstrellaRA, p.c.gEstrellaDEC}; }
};

TEST_F(StarFiles, IntegralNumbersAreFoundAtBothEndsAndBetween) {
    ASSERT_TRUE(p.UseDatabaseOne(kStars));
    EXPECT_EQ(p.c.gNumEstrellasBD, 6);
    Read(15800001);  // first record: the low end of the search
    EXPECT_EQ(Coordinates(), std::make_pair(10.0, 20.0));
    Read(401200007);  // last record: the high end
    EXPECT_EQ(Coordinates(), std::make_pair(300.5, 5.0));
    Read(15800254);
    EXPECT_EQ(Coordinates(), std::make_pair(10.25, -20.5));
    Read(16000003);
    EXPECT_EQ(Coordinates(), std::make_pair(123.456789, -45.678901));
    EXPECT_TRUE(p.platform.messages.empty());
}

TEST_F(StarFiles, AMissingStarReadsAsZeroAndIsTold) {
    ASSERT_TRUE(p.UseDatabaseOne(kStars));
    Read(15800254);
    for (int32_t id : {15800255, 100, 999999999}) {
        Read(id);
        EXPECT_EQ(Coordinates(), std::make_pair(0.0, 0.0)) << id;
    }
    EXPECT_EQ(p.platform.messages, (std::vector<std::string>{"Star not found 15800255", "Star not found 100",
                                                             "Star not found 999999999"}));
    EXPECT_FALSE(p.c.mFinAnalisis);
    p.c.gIdioma = 2;
    Read(7);
    EXPECT_EQ(p.platform.messages.back(), "Etoile non trouvée 7");
}

TEST_F(StarFiles, RecordNumbersReadTheRecordItself) {
    ASSERT_TRUE(p.UseDatabaseOne(kStars));
    p.c.gIdsSonPosiciones = true;
    Read(3);
    EXPECT_EQ(Coordinates(), std::make_pair(359.999999, 89.999999));
    p.c.gMostrarAvisos = false;
    Read(p.c.gNumEstrellasBD + 1);
    EXPECT_EQ(Coordinates(), std::make_pair(0.0, 0.0));
    EXPECT_TRUE(p.platform.messages.empty());
}

// Database 2: physical order by declination, PosicionOrdenId the permutation into Id order.
const std::vector<Star16> kDeclinationFile = {
    {30000002, 2, 200.5f, -30.25f},  // the smallest Id is record 2
    {10000001, 4, 15.5f, -10.0f},    // the next one record 4
    {50000005, 1, 100.0f, 10.5f},    // then record 1
    {20000001, 3, 45.75f, 60.0f},    // and the greatest record 3
};

TEST_F(StarFiles, DatabaseTwoSearchesThroughThePermutation) {
    ASSERT_TRUE(p.UseDatabaseTwo(kDeclinationFile));
    EXPECT_TRUE(p.c.gIdsSonPosiciones);
    for (auto [id, ra, dec] : {std::tuple{10000001, 15.5, -10.0}, std::tuple{20000001, 45.75, 60.0},
                               std::tuple{30000002, 200.5, -30.25}, std::tuple{50000005, 100.0, 10.5}}) {
        LeeCoordenadasEstrellaIDintegral(p.c, id);
        EXPECT_EQ(Coordinates(), std::make_pair(ra, dec)) << id;
    }
    LeeCoordenadasEstrellaIDintegral(p.c, 20000002);
    EXPECT_EQ(Coordinates(), std::make_pair(0.0, 0.0));
    // Working numbers of database 2 are record numbers, floats widened.
    Read(4);
    EXPECT_EQ(Coordinates(), std::make_pair(45.75, 60.0));
}

TEST_F(StarFiles, CatalogueIdentifiers) {
    ASSERT_TRUE(p.UseDatabaseOne(kStars));
    EXPECT_EQ(IdTrabajo_A_IdCatalogo(p.c, 15800254), "GSC 158 254");
    EXPECT_EQ(IdTrabajo_A_IdCatalogo(p.c, 401200007), "GSC 4012 7");
    // Without the GSC form the working number is a record of the USNO zone form.
    p.c.gIdsFormatoGSC = false;
    EXPECT_EQ(IdTrabajo_A_IdCatalogo(p.c, 2), "UA2 0150.06618004");
    EXPECT_EQ(IdTornel_A_IdCatalogo(p.c, 7), "?");
    EXPECT_EQ(p.platform.messages, std::vector<std::string>{"Star not found 7"});

    ASSERT_TRUE(p.UseDatabaseTwo(kDeclinationFile));
    EXPECT_EQ(IdTrabajo_A_IdCatalogo(p.c, 2), "GSC 100 1");
}

TEST(UsnoZones, RunningNumbersThroughTheZoneTable) {
    EXPECT_EQ(ZonaUSNO_A_Texto(1992564), "UA2 0000.01992564");
    EXPECT_EQ(ZonaUSNO_A_Texto(1992565), "UA2 0075.00000001");
    EXPECT_EQ(ZonaUSNO_A_Texto(412570882), "UA2 1125.00000001");
    EXPECT_EQ(ZonaUSNO_A_Texto(526280881), "UA2 1725.00795079");
    // Past the last zone: zone 0 with the number unchanged, on purpose.
    EXPECT_EQ(ZonaUSNO_A_Texto(526280882), "UA2 0000.526280882");

    EXPECT_EQ(ZonaUSNO_A_Numero(0, 352056), 1000352056);
    EXPECT_EQ(ZonaUSNO_A_Numero(75, 352056), 1000352056 + 1992564);
    EXPECT_EQ(ZonaUSNO_A_Numero(1725, 1), 1000000001 + 525485802);
    EXPECT_EQ(ZonaUSNO_A_Numero(76, 1), 0);
}

TEST_F(StarFiles, AFileCutShortUnderTheReaderIsAReadError) {
    ASSERT_TRUE(p.UseDatabaseOne(kStars));
    // Another program truncates the open file: the count of records still says 6.
    std::filesystem::resize_file(p.home.File("stars/est.bin"), 12 * 2 + 5);
    Read(15800999);
    EXPECT_EQ(Coordinates(), std::make_pair(0.0, 0.0));
    EXPECT_TRUE(p.c.mFinAnalisis);
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_EQ(p.platform.messages[0], "Error 62 Input past end of file LeeCoordenadasEstrella");
    // What is still there still reads.
    p.c.mFinAnalisis = false;
    p.c.gIdsSonPosiciones = true;
    Read(2);
    EXPECT_EQ(Coordinates(), std::make_pair(10.25, -20.5));
}

}  // namespace
}  // namespace tornel
