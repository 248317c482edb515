// `default` on a program folder where the packages were already fetched: the build, the parameters
// and the reuse of a second run. (Fetching itself needs the network and is not tested here.)
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "core/parametros.h"
#include "herramientas/db/default_database.h"
#include "herramientas/db/synth_catalog.h"
#include "tests/support/test_program.h"

namespace tornel::db {
namespace {

using testing::TestProgram;

TEST(DefaultDatabase, BuildsIntoTheProgramFolderAndPointsTheParametersAtIt) {
    TestProgram p;
    DefaultSources sources;
    // Stand-ins for the unpacked packages: inputs are recognised by content, not by name.
    std::string stars = p.home.Path() + "downloads/unpacked/" + sources.starFile;
    std::filesystem::create_directories(std::filesystem::path(stars).parent_path());
    {
        std::ofstream out(stars);
        for (const auto& s : SynthesizeCatalog({15000, 5, 11.0, 2.0}))
            out << s.ra << "," << s.dec << "," << s.mag << "\n";
    }
    p.home.Write("downloads/unpacked/" + sources.objectFile, "10.6848,41.2691,177.8,M 31\n");
    BuildOptions o;
    o.triangles.fieldRadii = {1.5};
    std::string error;
    DefaultResult r;
    ASSERT_TRUE(MakeDefaultDatabase(p.platform, p.home.Path(), o, 2, sources, nullptr, error, r)) << error;
    EXPECT_FALSE(r.reused);
    EXPECT_EQ(r.databaseFolder, p.home.Path() + "database/");
    for (const char* f : {"est.bin", "Ani090.bin", "tri2g02.bin", "pgc.bin"})
        EXPECT_TRUE(std::filesystem::exists(r.databaseFolder + f)) << f;

    // The parameters as the program reads them back.
    TestProgram reader;
    reader.c.gCarpetaPrograma = p.home.Path();
    ParametrosPorDefecto(reader.c);
    CargaParametros(reader.c, RutaParametros(reader.c));
    EXPECT_EQ(reader.c.gCarpetaEstrellas, r.databaseFolder);
    EXPECT_EQ(reader.c.gCarpetaDistancias, r.databaseFolder);
    EXPECT_EQ(reader.c.gBaseDatosPedida, 2);

    // A second run keeps what is there; other options build again.
    auto before = std::filesystem::last_write_time(r.databaseFolder + "est.bin");
    ASSERT_TRUE(MakeDefaultDatabase(p.platform, p.home.Path(), o, 1, sources, nullptr, error, r)) << error;
    EXPECT_TRUE(r.reused);
    EXPECT_EQ(std::filesystem::last_write_time(r.databaseFolder + "est.bin"), before);
    o.db2PerCell = 3;
    ASSERT_TRUE(MakeDefaultDatabase(p.platform, p.home.Path(), o, 1, sources, nullptr, error, r)) << error;
    EXPECT_FALSE(r.reused);
}

}  // namespace
}  // namespace tornel::db
