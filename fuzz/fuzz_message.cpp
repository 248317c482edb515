// The mailbox's message files: the classifier, then the reader of the kind it found, as the
// mailbox's timer runs them (the analysis or command they ask for is not run).
#include <filesystem>

#include "automatizacion/buzon.h"
#include "automatizacion/mensajes.h"
#include "fuzz/fuzz_support.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = fuzz::ScratchFolder();
    c.gCarpetaMensajes = c.gCarpetaPrograma + "messages/";
    std::filesystem::create_directories(c.gCarpetaMensajes);
    fuzz::WriteScratch("messages/tornel.txt", data, size);
    std::string ruta;
    int32_t tipo = 0, resultado = 0;
    NuevoFicheroMensajeEnBuzon(c, ruta, tipo);
    switch (tipo) {
        case 1:
            TrataFicheroMensajeDeTipo1(c, ruta, resultado);
            break;
        case 2:
            TrataFicheroMensajeDeTipo2(c, ruta, resultado);
            break;
        case 3:
            TrataFicheroMensajeDeTipo3(c, ruta, resultado);
            break;
        case 4:
            TrataFicheroMensajeDeTipo4(c, ruta, resultado);
            break;
        default:
            break;
    }
    return 0;
}
