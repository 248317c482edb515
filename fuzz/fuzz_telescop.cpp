// telescop.txt, the ten telescope setups, and their captions in the menu.
#include "fuzz/fuzz_support.h"
#include "telescopio/telescopio.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = fuzz::ScratchFolder();
    fuzz::WriteScratch("telescop.txt", data, size);
    CargaTelescopios(c);
    for (const auto& setup : c.mTele)
        if (setup.present) TelescopeCaption(setup);
    return 0;
}
