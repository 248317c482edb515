// region.bin, the index of est.bin's regions: the start-up's check of its length, then the regions
// that a solved image touches, away from the poles and over one.
#include "catalogo/regions.h"
#include "fuzz/fuzz_database.h"
#include "tests/support/pointed_plate.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    fuzz::UseScratchDatabase(c);
    const std::string path = fuzz::WriteScratch("stars/region.bin", data, size);
    if (CheckDatabaseFile(path, DatabaseFileLayout::Regions).Found()) return 0;
    std::vector<int32_t> regiones;
    double arMin = 0, arMax = 0, deMin = 0, deMax = 0;
    testing::PointPlate(c, 83.8, -5.4, 2, 1000);
    DeterminaRegionesPorMirar(c, regiones, arMin, arMax, deMin, deMax);
    c.mFinAnalisis = false;
    testing::PointPlate(c, 359.5, 89.5, 3, 1000);
    DeterminaRegionesPorMirar(c, regiones, arMin, arMax, deMin, deMax);
    return 0;
}
