// param.txt and the profiles: the test a profile must pass, the reading, and the text written back.
#include "core/parametros.h"
#include "fuzz/fuzz_support.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = fuzz::ScratchFolder();
    const std::string path = fuzz::WriteScratch("profile.txt", data, size);
    EsFicheroDeParametros(path);
    CargaParametros(c, path);
    CalculaValoresDerivados(c);
    TextoParametros(c);
    return 0;
}
