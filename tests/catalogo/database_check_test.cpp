// The lengths of the database files against their records, and their refusal by name at start-up.
#include "catalogo/database_check.h"

#include <gtest/gtest.h>

#include "core/parametros.h"
#include "core/startup.h"
#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::PutInt32;
using testing::TestProgram;

// A pole file of 37 tiles of one record each, bounds first, as the builder writes it.
std::string PoleFile(int32_t firstOfLastTile = 75 + 36) {
    std::string bytes;
    auto record = [&](int32_t key) {
        PutInt32(bytes, key);
        PutInt32(bytes, 1);
        PutInt32(bytes, 2);
        bytes.append(2, '\0');
    };
    for (int32_t t = 0; t < 37; ++t) {
        const int32_t first = t == 36 ? firstOfLastTile : 75 + t;
        record(first);
        record(first);
    }
    for (int32_t t = 0; t < 37; ++t)
        record(1000 + t);
    return bytes;
}

TEST(DatabaseFileLengths, WholeRecordsPassAndAnyOtherLengthIsNamed) {
    testing::TempFolder folder;
    const struct {
        DatabaseFileLayout layout;
        size_t record;
    } layouts[] = {{DatabaseFileLayout::Stars, 12},
                   {DatabaseFileLayout::StarsByDeclination, 16},
                   {DatabaseFileLayout::Ring, 14},
                   {DatabaseFileLayout::Triangles, 24},
                   {DatabaseFileLayout::Objects, 38}};
    for (const auto& l : layouts) {
        SCOPED_TRACE(l.record);
        EXPECT_FALSE(
            CheckDatabaseFile(folder.Write("f.bin", std::string(3 * l.record, 'x')), l.layout).Found());
        EXPECT_FALSE(CheckDatabaseFile(folder.Write("f.bin", ""), l.layout).Found());
        const DatabaseFileFault fault =
            CheckDatabaseFile(folder.Write("f.bin", std::string(3 * l.record + 5, 'x')), l.layout);
        EXPECT_EQ(fault.en, "its length, " + std::to_string(3 * l.record + 5) +
                                " bytes, is not a whole number of " + std::to_string(l.record) +
                                "-byte records");
    }
    EXPECT_FALSE(CheckDatabaseFile(folder.File("missing.bin"), DatabaseFileLayout::Stars).Found());
    // region.bin holds every region, not a whole number of them.
    EXPECT_FALSE(
        CheckDatabaseFile(folder.Write("r.bin", std::string(9537 * 20, '\0')), DatabaseFileLayout::Regions)
            .Found());
    EXPECT_EQ(
        CheckDatabaseFile(folder.Write("r.bin", std::string(9536 * 20, '\0')), DatabaseFileLayout::Regions)
            .en,
        "its length, 190720 bytes, is not that of its 9537 regions, 190740");
}

TEST(DatabaseFileLengths, PoleTilesMustLieWithinTheFile) {
    testing::TempFolder folder;
    EXPECT_FALSE(CheckDatabaseFile(folder.Write("p.bin", PoleFile()), DatabaseFileLayout::Pole).Found());
    EXPECT_FALSE(CheckDatabaseFile(folder.Write("p.bin", ""), DatabaseFileLayout::Pole).Found());
    EXPECT_EQ(CheckDatabaseFile(folder.Write("p.bin", PoleFile(500)), DatabaseFileLayout::Pole).en,
              "the bounds of its tiles lie past its end");
    EXPECT_EQ(CheckDatabaseFile(folder.Write("p.bin", PoleFile(3)), DatabaseFileLayout::Pole).en,
              "the bounds of its tiles lie past its end");
    EXPECT_EQ(
        CheckDatabaseFile(folder.Write("p.bin", PoleFile().substr(0, 14 * 20)), DatabaseFileLayout::Pole).en,
        "it lacks the bounds of its tiles");
}

// A program folder with database 1 whose star file is cut in the middle of a record.
TEST(DatabaseFileLengths, StartUpRefusesADamagedFileByNameAndKeepsItsDatabaseOut) {
    TestProgram p;
    const std::string stars = p.home.MakeFolder("stars"), rings = p.home.MakeFolder("rings");
    ParametrosPorDefecto(p.c);
    p.c.gCarpetaEstrellas = stars;
    p.c.gCarpetaDistancias = rings;
    p.c.gCarpetaMensajes = p.home.MakeFolder("mail");
    p.c.gBaseDatos = 1;
    GrabaParametros(p.c);
    p.home.Write("stars/est.bin", std::string(12 * 4 + 7, '\0'));
    p.home.Write("stars/pgc.bin", std::string(38 * 2 + 1, '\0'));
    p.home.Write("rings/Ani090.bin", "");
    p.home.Write("rings/ANI005.BIN", std::string(15, '\0'));  // named by a system that ignores case
    p.home.Write("rings/pole000.bin", PoleFile());
    p.home.Write("rings/pole179.bin", PoleFile(900));
    Form_Load(p.c, "");
    EXPECT_EQ(
        p.platform.messages,
        (std::vector<std::string>{"The database file " + stars +
                                      "est.bin is damaged: its length, 55 bytes, is not a whole "
                                      "number of 12-byte records.",
                                  "The database file " + rings +
                                      "pole179.bin is damaged: the bounds of its tiles lie past its end.",
                                  "The database file " + rings +
                                      "ANI005.BIN is damaged: its length, 15 bytes, is not a whole "
                                      "number of 14-byte records.",
                                  "The database file " + stars +
                                      "pgc.bin is damaged: its length, 77 bytes, is not a whole number "
                                      "of 38-byte records."}));
    EXPECT_FALSE(p.c.gBasesOK);
    EXPECT_FALSE(p.c.gCanalEstrellas->IsOpen());
    EXPECT_EQ(p.c.gFicherosBD[1][kObjectsFile], 0);

    // Mended, the same folder is put in force.
    TestProgram again;
    again.home.Write("param.txt", p.home.Read("param.txt"));
    p.home.Write("stars/est.bin", std::string(12 * 4, '\0'));
    p.home.Write("stars/pgc.bin", "");
    p.home.Write("rings/pole179.bin", PoleFile());
    p.home.Write("rings/ANI005.BIN", std::string(14, '\0'));
    Form_Load(again.c, "");
    EXPECT_TRUE(again.platform.messages.empty()) << again.platform.messages.front();
    EXPECT_TRUE(again.c.gBasesOK);
    EXPECT_EQ(again.c.gNumEstrellasBD, 4);
}

}  // namespace
}  // namespace tornel
