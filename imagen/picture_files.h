#pragma once
// BMP and JPG files decoded to the 32-bit pixels the program works on (0x00RRGGBB, blue in the
// lowest byte), W x H, one row after the other.
#include <cstdint>
#include <string>

#include "comun/zeroed_allocator.h"

namespace tornel {

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    ZeroedVector<uint32_t> pixels;
};

// Row order of the decoded pixels: the bottom row of the picture first, as a bottom-up bitmap
// holds it, or the top row first.
enum class RowOrder { BottomFirst, TopFirst };

// Answers false when the file gives no picture: missing, unreadable, of an unknown kind, or cut
// short. A header that declares no pixels gives true with width or height 0 and no pixels.
// BMP: 1, 4 and 8 bits with a palette, 16 bits (5-5-5 or bit fields), 24 and 32 bits (also with
// bit fields), bottom-up or top-down; 4 and 8 bits also run-length compressed (bottom-up only).
bool ReadBmp(const std::string& path, RowOrder order, Picture& out);
// JPG through libjpeg-turbo, grey or colour; CMYK pictures and files that end early are refused.
bool ReadJpg(const std::string& path, RowOrder order, Picture& out);

}  // namespace tornel
