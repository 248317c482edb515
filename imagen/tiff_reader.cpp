// The TIFF reader. 16-bit grey and RGB frames, the kind cameras and stacking programs write, are read
// sample by sample so that their depth is kept; every other kind goes through libtiff's RGBA reader,
// which knows palettes, YCbCr, CMYK, small depths and orientations, and gives 8-bit colour.
#include <tiffio.h>

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <vector>

#include "imagen/image_limits.h"
#include "imagen/picture_files.h"

namespace tornel {

namespace {

// The library's messages are not the user's: a failure is told by the answer.
int Silent(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct Closer {
    void operator()(TIFF* t) const { TIFFClose(t); }
};
using TiffHandle = std::unique_ptr<TIFF, Closer>;

TiffHandle Open(const std::string& path) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options, Silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, Silent, nullptr);
    TiffHandle tif(TIFFOpenExt(path.c_str(), "r", options));
    TIFFOpenOptionsFree(options);
    return tif;
}

struct Layout {
    uint32_t width = 0, height = 0;
    uint16_t bits = 0, samples = 1, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    bool Deep() const {
        bool kind = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE ||
                    (photometric == PHOTOMETRIC_RGB && samples >= 3);
        return bits == 16 && format == SAMPLEFORMAT_UINT && kind;
    }
};

constexpr uint16_t kMaxSamplesPerPixel = 4;

Layout ReadLayout(TIFF* tif) {
    Layout l;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &l.format);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &l.planar);
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &l.photometric))
        l.photometric = l.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    return l;
}

// The 16-bit samples of the picture in the machine's byte order, top row first: W x H x `perPixel`
// samples, or, when the colours are stored apart, three planes of W x H one after the other.
bool ReadSamples(TIFF* tif, const Layout& l, std::vector<uint16_t>& samples, size_t& perPixel) {
    // Grey or colour, each perhaps with alpha: more samples a pixel would multiply the memory that
    // the size limit allows, up to 65535 times.
    if (l.samples > kMaxSamplesPerPixel) return false;
    const size_t w = l.width, h = l.height;
    const bool separate = l.planar == PLANARCONFIG_SEPARATE && l.samples > 1;
    perPixel = separate ? 1 : l.samples;
    // Stored apart, grey needs its first plane and colour its first three.
    const size_t wanted = separate ? 3 : 1;
    samples.assign(w * h * perPixel * wanted, 0);
    if (TIFFIsTiled(tif)) {
        uint32_t tw = 0, th = 0;
        TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tw);
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &th);
        if (tw == 0 || th == 0) return false;
        std::vector<uint16_t> tile(static_cast<size_t>(TIFFTileSize(tif)) / 2 + 1);
        for (size_t p = 0; p < wanted; ++p)
            for (uint32_t y0 = 0; y0 < h; y0 += th)
                for (uint32_t x0 = 0; x0 < w; x0 += tw) {
                    if (TIFFReadTile(tif, tile.data(), x0, y0, 0, static_cast<uint16_t>(p)) < 0) return false;
                    for (size_t y = y0; y < h && y < y0 + th; ++y)
                        for (size_t x = x0; x < w && x < x0 + tw; ++x)
                            for (size_t s = 0; s < perPixel; ++s)
                                samples[((p * h + y) * w + x) * perPixel + s] =
                                    tile[((y - y0) * tw + (x - x0)) * perPixel + s];
                }
        return true;
    }
    for (size_t p = 0; p < wanted; ++p)
        for (uint32_t y = 0; y < h; ++y)
            if (TIFFReadScanline(tif, samples.data() + (p * h + y) * w * perPixel, y,
                                 static_cast<uint16_t>(p)) < 0)
                return false;
    return true;
}

bool ReadDeep(TIFF* tif, const Layout& l, RowOrder order, Picture& out) {
    std::vector<uint16_t> samples;
    size_t perPixel = 1;
    if (!ReadSamples(tif, l, samples, perPixel)) return false;
    const size_t w = l.width, h = l.height, plane = w * h;
    const bool colour = l.photometric == PHOTOMETRIC_RGB;
    out.levels16.resize(plane);
    for (size_t y = 0; y < h; ++y) {
        size_t target = order == RowOrder::TopFirst ? y : h - 1 - y;
        uint16_t* dst = out.levels16.data() + target * w;
        for (size_t x = 0; x < w; ++x) {
            size_t at = (y * w + x) * perPixel;
            uint32_t v = samples[at];
            if (colour) {
                // Stored apart, green and blue are the next planes; together, the next samples.
                uint32_t g = perPixel == 1 ? samples[at + plane] : samples[at + 1];
                uint32_t b = perPixel == 1 ? samples[at + 2 * plane] : samples[at + 2];
                v = (v + g + b + 1) / 3;
            } else if (l.photometric == PHOTOMETRIC_MINISWHITE) {
                v = 65535 - v;
            }
            dst[x] = static_cast<uint16_t>(v);
        }
    }
    return true;
}

bool ReadRgba(TIFF* tif, const Layout& l, RowOrder order, Picture& out) {
    const size_t w = l.width, h = l.height;
    out.pixels.resize(w * h);
    // The library writes 0xAABBGGRR; the program's pixels are 0x00RRGGBB.
    int origin = order == RowOrder::TopFirst ? ORIENTATION_TOPLEFT : ORIENTATION_BOTLEFT;
    if (TIFFReadRGBAImageOriented(tif, l.width, l.height, out.pixels.data(), origin, 0) == 0) return false;
    for (uint32_t& p : out.pixels)
        p = (TIFFGetR(p) << 16) | (TIFFGetG(p) << 8) | TIFFGetB(p);
    return true;
}

}  // namespace

bool ReadTiff(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels) {
    out = Picture{};
    TiffHandle tif = Open(path);
    if (!tif) return false;
    Layout l = ReadLayout(tif.get());
    out.width = static_cast<int32_t>(l.width);
    out.height = static_cast<int32_t>(l.height);
    if (ImageTooLarge(l.width, l.height, maxPixels)) return false;
    if (l.width == 0 || l.height == 0) return true;
    if (l.format != SAMPLEFORMAT_UINT && l.format != SAMPLEFORMAT_INT) {
        out = Picture{};
        return false;
    }
    bool read = l.Deep() ? ReadDeep(tif.get(), l, order, out) : ReadRgba(tif.get(), l, order, out);
    if (!read) out = Picture{};
    return read;
}

}  // namespace tornel
