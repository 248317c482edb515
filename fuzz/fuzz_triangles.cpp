// tri2g02.bin, the triangles of database 2, put in force with a small star file, read into memory
// by the first triangle search and walked for one image triangle.
#include <cstring>

#include "catalogo/triangle_database.h"
#include "fuzz/fuzz_database.h"

using namespace tornel;

namespace {

// Sixty stars of estDEC_ID1x1g.bin in a strip of the sky, each its own rank.
std::string SixtyStars() {
    std::string bytes;
    for (int32_t k = 1; k <= 60; ++k) {
        const int32_t id = k, rank = k;
        const float ra = 100.0F + static_cast<float>(k) * 0.1F, dec = static_cast<float>(k % 20) - 10.0F;
        for (const void* field : {static_cast<const void*>(&id), static_cast<const void*>(&rank),
                                  static_cast<const void*>(&ra), static_cast<const void*>(&dec)})
            bytes.append(static_cast<const char*>(field), 4);
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string stars = SixtyStars();
    fuzz::SilentPlatform platform;
    Context c(platform);
    fuzz::UseScratchDatabase(c);
    fuzz::WriteScratch("stars/estDEC_ID1x1g.bin", reinterpret_cast<const uint8_t*>(stars.data()),
                       stars.size());
    fuzz::WriteScratch("rings/tri2g02.bin", data, size);
    if (!fuzz::PutDatabaseInForce(c, 2)) return 0;
    Tri_BaseDatosAmemoria(c);
    c.gCentroBusquedaRA = 103;
    c.gCentroBusquedaDEC = 0;
    c.gMaxCandidatos = 1000;
    c.mCandidatos.assign(static_cast<size_t>(c.gMaxCandidatos) + 1, CandidatoTriangulo{});
    c.mNumCandidatos = 0;
    c.mTriangulosBusqueda = {TrianguloImagen{},
                             TrianguloImagen{0.5, 1.5, 0.5, 1.5, 0.5, 1.5, 1, 2, 3, 1, 2, 3}};
    c.mNumTriangulosBusqueda = 1;
    int32_t code = 0;
    Tri_PescaTriangulosEnBD(c, 1, code);
    return 0;
}
