// A pole file (pole179.bin): the start-up's check of its tiles' bounds, then the fishing of one
// screen pair of stars in every tile, nearest the search centre first.
#include "busqueda/screen_geometry.h"
#include "catalogo/distance_database.h"
#include "fuzz/fuzz_database.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    fuzz::UseScratchDatabase(c);
    const std::string path = fuzz::WriteScratch("rings/pole179.bin", data, size);
    if (CheckDatabaseFile(path, DatabaseFileLayout::Pole).Found()) return 0;
    c.gAnchoImagen = c.gAltoImagen = 1000;
    c.gFocalEnPixeles = 100000;
    c.mNumSeleccionadas = 2;
    c.mSeleccionadasCuadradas[1] = {400, 500, 1};
    c.mSeleccionadasCuadradas[2] = {600, 520, 1};
    c.gCentroBusquedaRA = 40;
    c.gCentroBusquedaDEC = 88;
    CalculaParametrosDeLasDistanciasEnPantalla(c, 2, 0);
    RellenaCentrosDeTejasParaPolos(c);
    CalculaOrdenDeTejasParaPolos(c, 179);
    for (int32_t teja = 1; teja <= kTejasPorPolo; ++teja) {
        VaciaSegmentos(c);
        c.mFinAnalisis = false;
        int32_t resultado = 0;
        PescaEnTejas(c, 179, teja, resultado);
    }
    return 0;
}
