// The JPG reader: libjpeg-turbo decodes straight into 32-bit rows. Errors of the library come back
// through setjmp/longjmp, so that a damaged file never ends the program.
#include <csetjmp>
#include <cstdio>
#include <new>

// jpeglib.h needs FILE and size_t declared before it.
#include <jerror.h>
#include <jpeglib.h>

#include "imagen/image_limits.h"
#include "imagen/picture_files.h"

namespace tornel {

namespace {

struct ErrorManager {
    jpeg_error_mgr pub;
    std::jmp_buf jump;
};

[[noreturn]] void OnError(j_common_ptr info) {
    std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}

// Warnings are silent, but a file that ends early is a failure: the library would fill the
// missing rows with grey.
void OnMessage(j_common_ptr info, int level) {
    if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) OnError(info);
}

// No object with a destructor lives in this frame: longjmp may leave it from inside the library.
bool Decode(FILE* file, RowOrder order, int64_t maxPixels, Picture& out) {
    jpeg_decompress_struct info;
    ErrorManager errors;
    info.err = jpeg_std_error(&errors.pub);
    errors.pub.error_exit = OnError;
    errors.pub.emit_message = OnMessage;
    if (setjmp(errors.jump) != 0) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    if (ImageTooLarge(info.image_width, info.image_height, maxPixels)) {
        out.width = static_cast<int32_t>(info.image_width);
        out.height = static_cast<int32_t>(info.image_height);
        jpeg_destroy_decompress(&info);
        return false;
    }
    if (info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    info.out_color_space = JCS_EXT_BGRX;
    // Plain replication of the colour planes: stars are white, and it is faster.
    info.do_fancy_upsampling = FALSE;
    jpeg_start_decompress(&info);
    const size_t w = info.output_width, h = info.output_height;
    out.width = static_cast<int32_t>(w);
    out.height = static_cast<int32_t>(h);
    try {
        out.pixels.resize(w * h);
    } catch (const std::bad_alloc&) {
        jpeg_destroy_decompress(&info);
        throw;
    }
    while (info.output_scanline < h) {
        // Decoded rows come top first.
        size_t fromTop = info.output_scanline;
        size_t target = order == RowOrder::TopFirst ? fromTop : h - 1 - fromTop;
        uint32_t* row = out.pixels.data() + target * w;
        JSAMPROW rows[1] = {reinterpret_cast<JSAMPROW>(row)};
        jpeg_read_scanlines(&info, rows, 1);
        for (size_t x = 0; x < w; ++x)
            row[x] &= 0x00FFFFFFu;
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return true;
}

}  // namespace

bool ReadJpg(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels) {
    out = Picture{};
    PictureFile file(path);
    if (file.get() == nullptr) return false;
    if (Decode(file.get(), order, maxPixels, out)) return true;
    // A size past the limit is told back; anything else leaves no picture.
    if (!ImageTooLarge(out.width, out.height, maxPixels)) out = Picture{};
    return false;
}

}  // namespace tornel
