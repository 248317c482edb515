#pragma once
// Picture files decoded to the 32-bit pixels the program works on (0x00RRGGBB, blue in the lowest
// byte), W x H, one row after the other; or, for 16-bit PNG and TIFF, to one 16-bit level a pixel.
#include <cstdint>
#include <cstdio>
#include <string>

#include "comun/zeroed_allocator.h"
#include "imagen/image_limits.h"

namespace tornel {

// A picture file open for reading, closed when it goes out of scope; get() is null when it could not
// be opened.
class PictureFile {
  public:
    explicit PictureFile(const std::string& path) : f_(std::fopen(path.c_str(), "rb")) {}
    ~PictureFile() {
        if (f_ != nullptr) std::fclose(f_);
    }
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;
    FILE* get() const { return f_; }

  private:
    FILE* f_;
};

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    ZeroedVector<uint32_t> pixels;
    // Filled instead of `pixels` when the file holds 16-bit samples: grey as stored, colour the mean
    // of red, green and blue, 0 to 65535.
    ZeroedVector<uint16_t> levels16;
};

// Row order of the decoded pixels: the bottom row of the picture first, as a bottom-up bitmap
// holds it, or the top row first.
enum class RowOrder { BottomFirst, TopFirst };

// Answers false when the file gives no picture: missing, unreadable, of an unknown kind, or cut
// short. A header that declares no pixels gives true with width or height 0 and no pixels. A header
// that declares more than kMaxImagePixels gives false with its width and height and no pixels, before
// anything is allocated; `maxPixels` lowers that limit for a caller that wants less (the fuzz targets,
// whose every input could otherwise fill a gigabyte).
// BMP: 1, 4 and 8 bits with a palette, 16 bits (5-5-5 or bit fields), 24 and 32 bits (also with
// bit fields), bottom-up or top-down; 4 and 8 bits also run-length compressed (bottom-up only).
bool ReadBmp(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels = kMaxImagePixels);
// JPG through libjpeg-turbo, grey or colour; CMYK pictures and files that end early are refused.
bool ReadJpg(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels = kMaxImagePixels);
// PNG through libpng: grey, palette and colour, any alpha dropped; 1 to 8-bit samples give `pixels`,
// 16-bit ones `levels16`. Gamma is not applied: the samples are the sensor's counts.
bool ReadPng(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels = kMaxImagePixels);
// TIFF through libtiff: 16-bit unsigned grey or RGB (strips or tiles) give `levels16`; every kind
// libtiff turns into 8-bit RGBA gives `pixels`. Other sample formats (floating point) are refused.
bool ReadTiff(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels = kMaxImagePixels);

}  // namespace tornel
