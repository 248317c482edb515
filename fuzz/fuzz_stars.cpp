// est.bin, the stars of database 1, put in force as at start-up; then the readers of a star by its
// number, of its catalogue name, and of where a region starts.
#include "catalogo/regions.h"
#include "catalogo/star_catalogue.h"
#include "fuzz/fuzz_database.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    fuzz::UseScratchDatabase(c);
    fuzz::WriteScratch("stars/est.bin", data, size);
    fuzz::WriteScratch("rings/Ani090.bin", nullptr, 0);
    if (!fuzz::PutDatabaseInForce(c, 1)) return 0;
    for (size_t at = 0; at + 4 <= size && at < 12 * 8; at += 12) {
        int32_t id = 0;
        std::memcpy(&id, data + at, sizeof id);
        LeeCoordenadasEstrella(c, id);
        IdTrabajo_A_IdCatalogo(c, id);
        PosicionEmpiezaRegion(c, id / 100000 * 100000);
        c.mFinAnalisis = false;
    }
    for (int32_t n = 1; n <= 3; ++n)
        IdTornel_A_IdCatalogo(c, n);
    return 0;
}
