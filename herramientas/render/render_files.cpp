// Writers of the rendered image: 16-bit FITS, BMP and JPG.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

// jpeglib.h needs FILE and size_t declared before it.
#include <jpeglib.h>

#include "herramientas/render/render.h"

namespace tornel::render {

namespace {

constexpr size_t kBlock = 2880;

uint8_t Byte(float counts, double scale) {
    double v = std::round(counts * scale);
    return static_cast<uint8_t>(std::clamp(v, 0.0, 255.0));
}

void Le16(std::string& out, uint32_t v) {
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>((v >> 8) & 0xFF);
}
void Le32(std::string& out, uint32_t v) {
    Le16(out, v & 0xFFFF);
    Le16(out, v >> 16);
}

// The rows of the picture from the top, as BMP top-down files and JPG files hold them.
const float* RowFromTop(const Image& image, int32_t r) {
    return image.counts.data() + static_cast<size_t>(image.height - 1 - r) * static_cast<size_t>(image.width);
}

}  // namespace

std::string FitsCard(const std::string& keyword, const std::string& value) {
    std::string card = keyword;
    card.resize(8, ' ');
    card += "= ";
    std::string v = value;
    // Numbers stand right-justified in columns 11 to 30, as fixed-format writers put them.
    if (!v.empty() && v[0] != '\'' && v.size() < 20) v = std::string(20 - v.size(), ' ') + v;
    card += v;
    card.resize(80, ' ');
    return card;
}

bool WriteFits(const std::string& path, const Image& image, FitsStorage storage,
               const std::vector<std::string>& extraCards) {
    std::string header;
    header += FitsCard("SIMPLE", "T");
    header += FitsCard("BITPIX", "16");
    header += FitsCard("NAXIS", "2");
    header += FitsCard("NAXIS1", std::to_string(image.width));
    header += FitsCard("NAXIS2", std::to_string(image.height));
    header += FitsCard("BZERO", storage == FitsStorage::Unsigned ? "32768" : "0");
    header += FitsCard("BSCALE", "1");
    for (std::string card : extraCards) {
        card.resize(80, ' ');
        header += card;
    }
    std::string end = "END";
    end.resize(80, ' ');
    header += end;
    header.resize((header.size() + kBlock - 1) / kBlock * kBlock, ' ');

    std::string data;
    data.reserve(image.counts.size() * 2 + kBlock);
    const double lo = storage == FitsStorage::Unsigned ? 0 : -32768;
    const double hi = storage == FitsStorage::Unsigned ? 65535 : 32767;
    const double zero = storage == FitsStorage::Unsigned ? 32768 : 0;
    for (float v : image.counts) {
        auto stored = static_cast<int32_t>(std::clamp(std::round(double{v}), lo, hi) - zero);
        auto bits = static_cast<uint16_t>(stored);
        data += static_cast<char>(bits >> 8);
        data += static_cast<char>(bits & 0xFF);
    }
    data.resize((data.size() + kBlock - 1) / kBlock * kBlock, '\0');
    std::ofstream out(path, std::ios::binary);
    out << header << data;
    return static_cast<bool>(out);
}

bool WriteBmp(const std::string& path, const Image& image, int bits, BmpRows rows, double scale) {
    if (bits != 8 && bits != 24 && bits != 32) return false;
    const auto w = static_cast<uint32_t>(image.width), h = static_cast<uint32_t>(image.height);
    const uint32_t rowBytes = (bits * w + 31) / 32 * 4;
    const uint32_t palette = bits == 8 ? 256 * 4 : 0;
    const uint32_t offset = 14 + 40 + palette;
    std::string out;
    out += "BM";
    Le32(out, offset + rowBytes * h);
    Le32(out, 0);
    Le32(out, offset);
    Le32(out, 40);
    Le32(out, w);
    Le32(out, rows == BmpRows::TopDown ? static_cast<uint32_t>(-static_cast<int32_t>(h)) : h);
    Le16(out, 1);
    Le16(out, static_cast<uint32_t>(bits));
    Le32(out, 0);
    Le32(out, rowBytes * h);
    Le32(out, 2835);
    Le32(out, 2835);
    Le32(out, bits == 8 ? 256 : 0);
    Le32(out, 0);
    for (uint32_t i = 0; i < palette / 4; ++i)
        Le32(out, i | (i << 8) | (i << 16));
    for (uint32_t r = 0; r < h; ++r) {
        // A bottom-up file starts with the bottom row, which is row y = 1.
        const float* src = rows == BmpRows::TopDown
                               ? RowFromTop(image, static_cast<int32_t>(r))
                               : image.counts.data() + static_cast<size_t>(r) * static_cast<size_t>(w);
        std::string row;
        for (uint32_t x = 0; x < w; ++x) {
            char level = static_cast<char>(Byte(src[x], scale));
            row.append(static_cast<size_t>(bits / 8), level);
            if (bits == 32) row.back() = 0;
        }
        row.resize(rowBytes, '\0');
        out += row;
    }
    std::ofstream file(path, std::ios::binary);
    file << out;
    return static_cast<bool>(file);
}

bool WriteJpg(const std::string& path, const Image& image, int quality, bool colour, double scale) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = static_cast<JDIMENSION>(image.width);
    info.image_height = static_cast<JDIMENSION>(image.height);
    info.input_components = colour ? 3 : 1;
    info.in_color_space = colour ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    std::vector<JSAMPLE> row(static_cast<size_t>(image.width) * static_cast<size_t>(info.input_components));
    while (info.next_scanline < info.image_height) {
        const float* src = RowFromTop(image, static_cast<int32_t>(info.next_scanline));
        for (size_t x = 0; x < static_cast<size_t>(image.width); ++x)
            for (int k = 0; k < info.input_components; ++k)
                row[x * static_cast<size_t>(info.input_components) + static_cast<size_t>(k)] =
                    Byte(src[x], scale);
        JSAMPROW rows[1] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return std::fclose(file) == 0;
}

}  // namespace tornel::render
