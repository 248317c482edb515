// The PNG reader: libpng expands palettes and small grey depths, drops alpha, and hands 8-bit rows
// over as 32-bit pixels, 16-bit rows as one level a pixel. Errors of the library come back through
// setjmp/longjmp, so that a damaged file never ends the program.
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <new>
#include <vector>

#include "imagen/image_limits.h"
#include "imagen/picture_files.h"

namespace tornel {

namespace {

[[noreturn]] void OnError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

// One decoded row (samples of `channels`, 8 or 16 bits, 16 bits big-endian as PNG stores them) into
// row `target` of the picture.
void TakeRow(const unsigned char* row, size_t w, int channels, bool deep, size_t target, Picture& out) {
    if (deep) {
        uint16_t* dst = out.levels16.data() + target * w;
        for (size_t x = 0; x < w; ++x) {
            const unsigned char* s = row + 2 * static_cast<size_t>(channels) * x;
            if (channels == 1) {
                dst[x] = static_cast<uint16_t>((s[0] << 8) | s[1]);
            } else {
                uint32_t sum = ((s[0] << 8) | s[1]) + ((s[2] << 8) | s[3]) + ((s[4] << 8) | s[5]);
                dst[x] = static_cast<uint16_t>((sum + 1) / 3);
            }
        }
        return;
    }
    uint32_t* dst = out.pixels.data() + target * w;
    for (size_t x = 0; x < w; ++x) {
        const unsigned char* s = row + static_cast<size_t>(channels) * x;
        dst[x] = channels == 1 ? (uint32_t{s[0]} << 16) | (uint32_t{s[0]} << 8) | s[0]
                               : (uint32_t{s[0]} << 16) | (uint32_t{s[1]} << 8) | s[2];
    }
}

// Chunks we never use whose declared length the library allocates, and zeroes, before it reads
// them: 44 bytes could claim 1.8 GB. Skipped unread instead.
constexpr png_byte kSkippedChunks[] = "tEXt\0zTXt\0iTXt\0iCCP\0eXIf\0sPLT\0pCAL\0sCAL";
constexpr int kNumSkippedChunks = 8;

// No object with a destructor lives in this frame while the library may jump out of it: the buffer
// of rows is the caller's.
bool Decode(FILE* file, RowOrder order, int64_t maxPixels, Picture& out, std::vector<unsigned char>& rows) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    if (png == nullptr) return false;
    png_infop info = png_create_info_struct(png);
    if (info == nullptr) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        return false;
    }
    if (setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_init_io(png, file);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks, kNumSkippedChunks);
    png_read_info(png, info);
    const png_uint_32 w = png_get_image_width(png, info), h = png_get_image_height(png, info);
    out.width = static_cast<int32_t>(w);
    out.height = static_cast<int32_t>(h);
    if (ImageTooLarge(w, h, maxPixels)) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    const int depth = png_get_bit_depth(png, info), colour = png_get_color_type(png, info);
    // Everything becomes grey or RGB of 8 or 16 bits, without alpha.
    if (colour == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (colour == PNG_COLOR_TYPE_GRAY && depth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if ((colour & PNG_COLOR_MASK_ALPHA) != 0) png_set_strip_alpha(png);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const int channels = png_get_channels(png, info);
    const bool deep = png_get_bit_depth(png, info) == 16;
    if (channels != 1 && channels != 3) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    const size_t rowBytes = png_get_rowbytes(png, info);
    // An interlaced picture is complete only after its last pass: it is held whole until then.
    const bool whole = passes > 1;
    try {
        if (deep)
            out.levels16.resize(size_t{w} * h);
        else
            out.pixels.resize(size_t{w} * h);
        rows.resize(rowBytes * (whole ? h : 1));
    } catch (const std::bad_alloc&) {
        png_destroy_read_struct(&png, &info, nullptr);
        throw;
    }
    for (int pass = 0; pass < passes; ++pass)
        for (png_uint_32 fromTop = 0; fromTop < h; ++fromTop) {
            unsigned char* row = rows.data() + (whole ? fromTop * rowBytes : 0);
            png_read_row(png, row, nullptr);
            if (pass + 1 < passes) continue;
            size_t target = order == RowOrder::TopFirst ? fromTop : h - 1 - fromTop;
            TakeRow(row, w, channels, deep, target, out);
        }
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

}  // namespace

bool ReadPng(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels) {
    out = Picture{};
    PictureFile file(path);
    if (file.get() == nullptr) return false;
    unsigned char signature[8] = {};
    if (std::fread(signature, 1, 8, file.get()) != 8 || png_sig_cmp(signature, 0, 8) != 0) return false;
    std::rewind(file.get());
    std::vector<unsigned char> rows;
    if (Decode(file.get(), order, maxPixels, out, rows)) return true;
    if (!ImageTooLarge(out.width, out.height, maxPixels)) out = Picture{};
    return false;
}

}  // namespace tornel
