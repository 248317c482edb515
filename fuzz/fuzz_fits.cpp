// The 16-bit FITS reader: header cards, then the data through the pixel library.
#include "fuzz/fuzz_support.h"
#include "imagen/fits.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::SilentPlatform platform;
    Context c(platform);
    c.gRutaImagen = fuzz::WriteScratch("image.fit", data, size);
    CargaFit(c);
    return 0;
}
