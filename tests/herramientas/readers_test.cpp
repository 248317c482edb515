// Databases built from a generated catalogue, read back by the program's own readers: the star files
// through the change of database, the region starts, and every stored pair and triangle measured
// again by the sky maths from the stars the readers give.
#include <cmath>

#include <gtest/gtest.h>

#include "astrometria/pair_geometry.h"
#include "catalogo/database_choice.h"
#include "catalogo/regions.h"
#include "catalogo/star_catalogue.h"
#include "herramientas/db/build.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/records.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/synth_catalog.h"
#include "tests/support/test_program.h"

namespace tornel::db {
namespace {

class ReadBack : public ::testing::Test {
  protected:
    void SetUp() override {
        BuildInputs in;
        in.stars.push_back(SynthesizeCatalog({25000, 21, 11.0, 2.0}));
        BuildOptions o;
        o.triangles.fieldRadii = {1.5};
        folder = p.home.MakeFolder("database");
        std::string error;
        ASSERT_TRUE(BuildDatabase(p.platform, in, o, folder, nullptr, error)) << error;
        p.c.gCarpetaEstrellas = p.c.gCarpetaDistancias = folder;
        p.c.gMostrarAvisos = false;
        CompruebaFicherosBDs(p.c);
        ASSERT_TRUE(CambioBaseDatos(p.c, 0, 1));
    }
    template <class R>
    std::vector<R> Read(const std::string& name) {
        std::vector<R> r;
        EXPECT_TRUE(ReadRecordFile(folder + name, r)) << name;
        return r;
    }
    testing::TestProgram p;
    std::string folder;
};

TEST_F(ReadBack, StarFileAndRegionStartsOfDatabaseOne) {
    auto est = Read<EstRecord>("est.bin");
    ASSERT_EQ(p.c.gNumEstrellasBD, static_cast<int32_t>(est.size()));
    int32_t region = 0;
    for (size_t n = 0; n < est.size(); ++n) {
        const auto& s = est[n];
        if (s.Id / 100000 != region) {  // the first star of its region
            region = s.Id / 100000;
            ASSERT_EQ(PosicionEmpiezaRegion(p.c, region * 100000), static_cast<int32_t>(n + 1)) << region;
        }
        if (n % 7 == 0 || n + 1 == est.size()) {
            LeeCoordenadasEstrella(p.c, s.Id);
            ASSERT_EQ(p.c.gEstrellaRA, s.Ar / 1000000.0);
            ASSERT_EQ(p.c.gEstrellaDEC, s.De / 1000000.0);
        }
    }
    EXPECT_EQ(region, kRegionCount);
    EXPECT_EQ(IdTrabajo_A_IdCatalogo(p.c, est[0].Id), "GSC 1 1");
}

TEST_F(ReadBack, RingAndPolePairsAreWhatTheSkyMathsMeasure) {
    int64_t checked = 0;
    for (int32_t ring = kFirstRing; ring <= kLastRing; ++ring) {
        auto recs = Read<DistanceRecord>(RingFileName(ring));
        for (size_t k = 0; k < recs.size(); k += 3) {
            const auto& r = recs[k];
            ASSERT_EQ(CalculaAnguloEinclinacion_0a180_DeCatalogo(p.c, r.EstrellaA, r.EstrellaB), kParHecho);
            ASSERT_EQ(DistanceUnits(p.c.gDistanciaAngular), r.Clave % 100000)
                << RingFileName(ring) << " " << k;
            ASSERT_EQ(static_cast<int32_t>(std::floor(p.c.gInclinacion)), r.Clave / 100000);
            ASSERT_EQ(static_cast<int32_t>(std::floor(p.c.gDeclinacionMedia)) + 90, ring);
            // EstrellaA lies farther from the north pole.
            LeeCoordenadasEstrella(p.c, r.EstrellaA);
            double decA = p.c.gEstrellaDEC;
            LeeCoordenadasEstrella(p.c, r.EstrellaB);
            ASSERT_LE(decA, p.c.gEstrellaDEC);
            ++checked;
        }
    }
    EXPECT_GT(checked, 500);
    // Pole files hold record numbers of est.bin.
    p.c.gIdsSonPosiciones = true;
    for (int32_t pole : {0, 179}) {
        auto recs = Read<DistanceRecord>(PoleFileName(pole));
        for (size_t n = 2 * kPoleTiles; n < recs.size(); ++n) {
            ASSERT_EQ(CalculaDistanciaDeCatalogo(p.c, recs[n].EstrellaA, recs[n].EstrellaB), kParHecho);
            ASSERT_EQ(DistanceUnits(p.c.gDistanciaAngular), recs[n].Clave);
        }
    }
}

TEST_F(ReadBack, DatabaseTwoStarsAndTriangles) {
    ASSERT_TRUE(CambioBaseDatos(p.c, 1, 2));
    ASSERT_TRUE(p.c.gIdsSonPosiciones);
    auto dec = Read<DecRecord>("estDEC_ID1x1g.bin");
    ASSERT_EQ(p.c.gNumEstrellasBD, static_cast<int32_t>(dec.size()));
    for (size_t k = 0; k < dec.size(); ++k) {
        LeeCoordenadasEstrellaIDintegral(p.c, dec[k].Id);
        ASSERT_EQ(p.c.gEstrellaRA, static_cast<double>(dec[k].Ar));
        ASSERT_EQ(p.c.gEstrellaDEC, static_cast<double>(dec[k].De));
    }
    auto tri = Read<TriangleRecord>("tri2g02.bin");
    ASSERT_GT(tri.size(), 1000u);
    for (size_t n = 0; n < tri.size(); n += 5) {
        const auto& t = tri[n];
        const std::pair<int32_t, int32_t> sides[3] = {
            {t.Estrella2, t.Estrella3}, {t.Estrella3, t.Estrella1}, {t.Estrella1, t.Estrella2}};
        const float stored[3] = {t.Lado1, t.Lado2, t.Lado3};
        for (int k = 0; k < 3; ++k) {
            ASSERT_EQ(CalculaDistanciaDeCatalogo(p.c, sides[k].first, sides[k].second), kParHecho);
            ASSERT_NEAR(p.c.gDistanciaAngular, stored[k], 2e-5) << n;
        }
    }
}

}  // namespace
}  // namespace tornel::db
