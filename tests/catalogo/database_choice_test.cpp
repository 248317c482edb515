// The checks that end an analysis when a database file or folder has gone, and star files found
// whatever the case of their names.
#include "catalogo/database_choice.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;

TEST(DatabaseChecks, AMissingStarFileEndsTheAnalysis) {
    CatalogueProgram p;
    int finished = 0;
    p.c.events.AvisoTerminado = [&] { ++finished; };
    EXPECT_FALSE(ExisteBDestrellas(p.c));
    EXPECT_EQ(p.platform.messages,
              std::vector<std::string>{p.c.gCarpetaEstrellas + "est.bin was not found."});
    EXPECT_EQ(p.platform.summary, std::vector<std::string>{"The stars file does not exist."});
    EXPECT_TRUE(p.c.mFinAnalisis);
    EXPECT_EQ(finished, 1);
}

TEST(DatabaseChecks, AMissingDistanceFolderEndsTheAnalysisInSpanish) {
    CatalogueProgram p;
    p.c.gIdioma = 1;
    std::filesystem::remove_all(p.c.gCarpetaDistancias);
    EXPECT_FALSE(ExisteBDdistancias(p.c));
    EXPECT_EQ(p.platform.messages, std::vector<std::string>{p.c.gCarpetaDistancias + " no existe."});
    EXPECT_EQ(p.platform.summary, std::vector<std::string>{"No existe carpeta distancias"});
    EXPECT_TRUE(p.c.mFinAnalisis);
}

TEST(DatabaseChecks, StarFilesAreFoundWhateverTheCaseOfTheirNames) {
    CatalogueProgram p;
    p.home.Write("stars/EST.BIN", testing::EstBin({{100001, 5000000, 6000000}, {100002, 1, 1}}));
    p.home.Write("rings/ANI090.BIN", "");
    ASSERT_TRUE(p.Apply(1));
    EXPECT_EQ(p.c.gNumEstrellasBD, 2);
    EXPECT_EQ(DatabaseFilePath(p.c.gCarpetaEstrellas, "est.bin"), p.c.gCarpetaEstrellas + "EST.BIN");
    EXPECT_EQ(DatabaseFilePath(p.c.gCarpetaEstrellas, "region.bin"), p.c.gCarpetaEstrellas + "region.bin");
    EXPECT_TRUE(ExisteBDestrellas(p.c));
}

}  // namespace
}  // namespace tornel
