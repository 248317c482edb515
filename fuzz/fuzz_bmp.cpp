// The BMP reader, in both row orders (the last bit of the length chooses).
#include "fuzz/fuzz_support.h"
#include "imagen/picture_files.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Picture picture;
    ReadBmp(fuzz::WriteScratch("image.bmp", data, size),
            size % 2 ? RowOrder::TopFirst : RowOrder::BottomFirst, picture);
    return 0;
}
