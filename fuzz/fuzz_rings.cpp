// A distance ring (Ani090.bin): the start-up's check of its length, then the fishing of one screen
// pair of stars in a window of the ring, as the window search does it.
#include "busqueda/screen_geometry.h"
#include "catalogo/distance_database.h"
#include "fuzz/fuzz_database.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    fuzz::UseScratchDatabase(c);
    const std::string path = fuzz::WriteScratch("rings/Ani090.bin", data, size);
    if (CheckDatabaseFile(path, DatabaseFileLayout::Ring).Found()) return 0;
    c.gPrefijoDistancias = "Ani";
    c.gZonaCielo = 1;
    c.gAnchoImagen = c.gAltoImagen = 1000;
    c.gFocalEnPixeles = 100000;
    c.mNumSeleccionadas = 2;
    c.mSeleccionadasCuadradas[1] = {400, 500, 1};
    c.mSeleccionadasCuadradas[2] = {600, 520, 1};
    CalculaParametrosDeLasDistanciasEnPantalla(c, 90 - 89.5, 0);
    VaciaSegmentos(c);
    int32_t resultado = 0;
    PescaEnVentana(c, 0, 180, 90, 90, resultado);
    c.mFinAnalisis = false;
    PescaEnVentana(c, 0, 1, 90, 90, resultado);
    return 0;
}
