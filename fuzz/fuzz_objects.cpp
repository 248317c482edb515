// pgc.bin, the deep-sky objects: the start-up's check of its length, then the objects on two
// solved images, one of them over the north pole.
#include "catalogo/database_check.h"
#include "catalogo/deep_sky_objects.h"
#include "fuzz/fuzz_support.h"
#include "tests/support/pointed_plate.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = fuzz::WriteScratch("pgc.bin", data, size);
    if (CheckDatabaseFile(path, DatabaseFileLayout::Objects).Found()) return 0;
    fuzz::SilentPlatform platform;
    Context c(platform);
    std::vector<ObjectInImage> objects;
    testing::PointPlate(c, 83.8, -5.4, 2, 1000);
    ObjectsInImage(c, path, objects);
    testing::PointPlate(c, 123, 89.5, 5, 1000);
    ObjectsInImage(c, path, objects);
    return 0;
}
