// The PNG intake through libpng, with the BMP target's lower limit of pixels.
#include "fuzz/fuzz_support.h"
#include "imagen/picture_files.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Picture picture;
    ReadPng(fuzz::WriteScratch("image.png", data, size),
            size % 2 ? RowOrder::TopFirst : RowOrder::BottomFirst, picture, fuzz::kMaxPicturePixels);
    return 0;
}
