// The BMP reader, in both row orders (the last bit of the length chooses). 512 x 512 pixels at most:
// every layout and run is reached as well, and an input that claims the engine's gigabyte would
// spend the fuzzer's time filling memory.
#include "fuzz/fuzz_support.h"
#include "imagen/picture_files.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Picture picture;
    ReadBmp(fuzz::WriteScratch("image.bmp", data, size),
            size % 2 ? RowOrder::TopFirst : RowOrder::BottomFirst, picture, fuzz::kMaxPicturePixels);
    return 0;
}
