// Images as users have them: FITS of every BITPIX, with any BZERO and BSCALE, with extensions,
// tile-compressed, as cubes and as Bayer mosaics, written here through CFITSIO; PNG and TIFF of 8 and
// 16 bits written through their libraries; and headers that claim more than the engine takes.
#include <fitsio.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>
#include <tiffio.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "imagen/fits.h"
#include "imagen/level_mapping.h"
#include "imagen/picture_files.h"
#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using testing::ImageProgram;

constexpr int32_t kW = 64, kH = 60;

// Counts of a small field: background 100, a bright star at (20, 15) peaking at 40000, a faint one at
// (45, 40) of 30 counts, and a level that tells the place elsewhere so that a flip would show.
double Counts(int32_t x, int32_t y) {
    double v = 100 + (x % 7) + 2 * (y % 5);
    v += 39900 * std::exp(-((x - 20) * (x - 20) + (y - 15) * (y - 15)) / 4.0);
    v += 30 * std::exp(-((x - 45) * (x - 45) + (y - 40) * (y - 40)) / 4.0);
    return std::round(v);
}

// x runs fastest, row y = 1 first, as FITS stores them.
std::vector<double> Field(const std::function<double(int32_t, int32_t)>& counts, int32_t w = kW,
                          int32_t h = kH) {
    std::vector<double> v;
    for (int32_t y = 1; y <= h; ++y)
        for (int32_t x = 1; x <= w; ++x)
            v.push_back(counts(x, y));
    return v;
}

// How a test FITS file is laid out.
struct FitsLayout {
    int bitpix = USHORT_IMG;
    int32_t width = kW, height = kH;
    int planes = 0;                  // a third axis of this many planes; the others hold noise
    bool extension = false;          // an empty primary, the image in the first extension
    bool compressed = false;         // tile-compressed (RICE) in an extension, as fpack writes
    double bscale = 1, bzero = 0;    // for a signed BITPIX 16 or 32 with scaling of its own
    std::vector<std::string> cards;  // "KEY=value" cards added to the image's header
    std::vector<std::string> primaryCards;
};

void Check(int status) {
    if (status == 0) return;
    char text[FLEN_STATUS] = {};
    fits_get_errstatus(status, text);
    FAIL() << "CFITSIO " << status << ": " << text;
}

void AddCards(fitsfile* f, const std::vector<std::string>& cards, int& status) {
    for (const std::string& card : cards) {
        char record[FLEN_CARD] = {};
        int type = 0;
        fits_parse_template(const_cast<char*>(card.c_str()), record, &type, &status);
        fits_write_record(f, record, &status);
    }
}

void WriteFits(const std::string& path, const FitsLayout& l, const std::vector<double>& values) {
    std::remove(path.c_str());
    fitsfile* f = nullptr;
    int status = 0;
    fits_create_diskfile(&f, path.c_str(), &status);
    if (l.extension || l.compressed) {
        fits_create_img(f, BYTE_IMG, 0, nullptr, &status);
        AddCards(f, l.primaryCards, status);
    }
    if (l.compressed) fits_set_compression_type(f, RICE_1, &status);
    std::vector<long> axes = {l.width, l.height};
    if (l.planes > 0) axes.push_back(l.planes);
    fits_create_img(f, l.bitpix, static_cast<int>(axes.size()), axes.data(), &status);
    if (!l.extension && !l.compressed) AddCards(f, l.primaryCards, status);
    AddCards(f, l.cards, status);
    if (l.bscale != 1 || l.bzero != 0) {
        fits_write_key(f, TDOUBLE, "BSCALE", const_cast<double*>(&l.bscale), nullptr, &status);
        fits_write_key(f, TDOUBLE, "BZERO", const_cast<double*>(&l.bzero), nullptr, &status);
        fits_set_bscale(f, l.bscale, l.bzero, &status);
    }
    std::vector<double> all = values;
    for (int p = 1; p < l.planes; ++p)
        for (size_t i = 0; i < values.size(); ++i)
            all.push_back(static_cast<double>((i * 37 + p * 11) % 200));
    // A compressed image is written in its own type; CFITSIO converts for the others.
    if (l.bitpix == USHORT_IMG) {
        std::vector<unsigned short> counts(all.begin(), all.end());
        fits_write_img(f, TUSHORT, 1, static_cast<LONGLONG>(counts.size()), counts.data(), &status);
    } else {
        fits_write_img(f, TDOUBLE, 1, static_cast<LONGLONG>(all.size()), all.data(), &status);
    }
    fits_close_file(f, &status);
    Check(status);
}

int16_t At(const Context& c, int32_t x, int32_t y) {
    return c.mBrillo[static_cast<size_t>(y) * static_cast<size_t>(c.gPixelesX + 1) + static_cast<size_t>(x)];
}

struct Formats : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    bool Says(const std::string& line) const { return p.platform.SummaryHas(line); }
    bool LoadFits(const std::string& name, const FitsLayout& l, const std::vector<double>& values) {
        std::string path = p.home.File(name);
        WriteFits(path, l, values);
        p.platform.summary.clear();
        return p.Load(path);
    }
    // The brightness of the image in memory, margins left out.
    std::vector<int16_t> Image() const {
        std::vector<int16_t> out;
        for (int32_t y = 1; y <= c.gPixelesY; ++y)
            for (int32_t x = 1; x <= c.gPixelesX; ++x)
                out.push_back(At(c, x, y));
        return out;
    }
};

// The same counts give the same image whichever container holds them: the 16-bit reader's unsigned
// file is the reference for CFITSIO's reading of 32-bit integers, an extension, a compressed file and
// the first plane of a cube.
TEST_F(Formats, TheSameCountsGiveTheSameImageInEveryContainer) {
    const std::vector<double> field = Field(Counts);
    c.gImagenInvertida = 1;  // a flip must be the same flip on every road
    ASSERT_TRUE(LoadFits("reference.fits", {}, field));
    ASSERT_TRUE(TakesSixteenBitReader(p.home.File("reference.fits")));
    EXPECT_FALSE(c.wcsBesideImage);
    const std::vector<int16_t> reference = Image();
    EXPECT_EQ(At(c, 20, kH + 1 - 15), EngineBrightness(static_cast<uint16_t>(Counts(20, 15))));

    struct Case {
        const char* name;
        FitsLayout layout;
        const char* note;
    };
    FitsLayout longs, extension, compressed, cube16, cube32;
    longs.bitpix = LONG_IMG;
    extension.extension = true;
    compressed.compressed = true;
    cube16.planes = 3;
    cube32.planes = 3;
    cube32.bitpix = LONG_IMG;
    for (const Case& k : {Case{"long.fits", longs, "FITS read with CFITSIO: HDU 1, BITPIX 32."},
                          Case{"extension.fits", extension, "FITS read with CFITSIO: HDU 2, BITPIX 16."},
                          Case{"packed.fits.fz", compressed, "FITS read with CFITSIO: HDU 2, BITPIX 16."},
                          Case{"cube32.fit", cube32, "Data cube: the first plane is analysed."},
                          // The 16-bit reader reads the first plane of a 16-bit cube as it always did.
                          Case{"cube16.fts", cube16, nullptr}}) {
        SCOPED_TRACE(k.name);
        ASSERT_TRUE(LoadFits(k.name, k.layout, field));
        const bool library = k.note != nullptr;
        if (library) {
            EXPECT_TRUE(Says(k.note));
        }
        EXPECT_EQ(Says("Integer values kept as they are."), library);
        EXPECT_EQ(c.wcsBesideImage, library);
        EXPECT_EQ(c.gTipoImagen, "fit");
        EXPECT_EQ(Image(), reference);
    }
}

TEST_F(Formats, EightBitCountsAreTakenTimes257) {
    FitsLayout bytes;
    bytes.bitpix = BYTE_IMG;
    ASSERT_TRUE(LoadFits("bytes.fits", bytes, Field([](int32_t x, int32_t y) { return (x * 3 + y) % 256; })));
    EXPECT_TRUE(Says("8-bit data x 257."));
    for (int32_t y = 1; y <= kH; y += 7)
        for (int32_t x = 1; x <= kW; x += 5)
            EXPECT_EQ(At(c, x, y), EngineBrightness(static_cast<uint16_t>(257 * ((x * 3 + y) % 256))));
    EXPECT_EQ(c.gBrilloMaximo, EngineBrightness(257 * 252));
}

// Reals and scaled integers are stretched from a low percentile to the maximum: an outlier far below
// the sky goes to 0 instead of squeezing the sky into a few levels (from the minimum, the star of 30
// counts would keep 2 levels), and the faint star keeps about 50.
TEST_F(Formats, RealsAreStretchedSoThatFaintStarsStay) {
    auto counts = [](int32_t x, int32_t y) {
        if (x == 3 && y == 3) return -1.0e6;
        return Counts(x, y) + 5000.25;
    };
    for (int bitpix : {FLOAT_IMG, DOUBLE_IMG}) {
        SCOPED_TRACE(bitpix);
        FitsLayout reals;
        reals.bitpix = bitpix;
        ASSERT_TRUE(LoadFits("reals.fits", reals, Field(counts)));
        EXPECT_EQ(c.gBrilloMaximo, 32767);
        EXPECT_EQ(At(c, 3, 3), 0);
        EXPECT_GT(At(c, 45, 40) - At(c, 42, 40), 30);
        EXPECT_TRUE(Says("Values from 5100.25 to 45006.25 stretched onto 0..65535."));
    }
    // A BSCALE with a fraction and an odd BZERO make reals of 16-bit integers.
    FitsLayout scaled;
    scaled.bitpix = SHORT_IMG;
    scaled.bscale = 0.5;
    scaled.bzero = -7.25;
    ASSERT_TRUE(
        LoadFits("scaled.fits", scaled, Field([](int32_t x, int32_t y) { return Counts(x, y) / 4; })));
    EXPECT_TRUE(Says("FITS read with CFITSIO: HDU 1, BITPIX 16."));
    EXPECT_EQ(c.gBScale, 0.5);
    EXPECT_EQ(c.gBrilloMaximo, 32767);
    EXPECT_GT(At(c, 20, 15), At(c, 45, 40));
    EXPECT_GT(At(c, 45, 40), At(c, 42, 40));
    // Blanks count as the darkest level; a flat image has nothing to show.
    FitsLayout flat;
    flat.bitpix = FLOAT_IMG;
    EXPECT_FALSE(LoadFits("flat.fits", flat, Field([](int32_t, int32_t) { return 7.5; })));
    EXPECT_TRUE(Says("Highest brightness < 50."));
}

// The header of the primary HDU and of the image's extension both count, the image's last; a file
// without an image says so.
TEST_F(Formats, HeaderCardsOfAnExtension) {
    FitsLayout l;
    l.extension = true;
    l.primaryCards = {"OBJCTRA = '05 35 17.3'", "OBJCTDEC = '-05 23 28'", "DATE-OBS = '2024-01-02T03:04:05'"};
    l.cards = {"OBJCTRA = '06 00 00'", "MIPS-HI = 20000"};
    ASSERT_TRUE(LoadFits("mef.fits", l, Field(Counts)));
    EXPECT_DOUBLE_EQ(c.gCentroFitRA, 90);
    EXPECT_DOUBLE_EQ(c.gCentroFitDEC90, 90 - (5 + 23 / 60.0 + 28 / 3600.0));
    EXPECT_TRUE(Says("DATE-OBS = 2024-01-02T03:04:05 in FITS header."));
    EXPECT_EQ(c.gBlancoActual, 20000);

    std::string path = p.home.File("table.fits");
    std::remove(path.c_str());
    fitsfile* f = nullptr;
    int status = 0;
    fits_create_diskfile(&f, path.c_str(), &status);
    fits_create_img(f, BYTE_IMG, 0, nullptr, &status);
    char name[] = "X", form[] = "1E";
    char* names[] = {name};
    char* forms[] = {form};
    fits_create_tbl(f, BINARY_TBL, 3, 1, names, forms, nullptr, "STARS", &status);
    fits_close_file(f, &status);
    Check(status);
    EXPECT_FALSE(p.Load(path));
    EXPECT_TRUE(Says("No image in the FITS file."));
    EXPECT_EQ(c.gUltimoError, "No image in the FITS file.");
}

// A Bayer mosaic is binned 2 x 2 to the mean of each cell: the pattern's colours weigh on every
// cell alike, the image is half as large, an odd last row and column are dropped, and the scale
// note of the header is that of a binned pixel.
TEST_F(Formats, BayerMosaicIsBinnedToLuminance) {
    const int32_t w = 121, h = 111;
    // RGGB: red x 0.5, green x 1, blue x 0.25 on a smooth scene.
    auto mosaic = [](int32_t x, int32_t y) {
        double scene = 1000 + 10 * x + 7 * y;
        bool evenX = x % 2 == 1, evenY = y % 2 == 1;
        double gain = evenX && evenY ? 0.5 : (!evenX && !evenY ? 0.25 : 1);
        return std::round(scene * gain);
    };
    FitsLayout l;
    l.width = w, l.height = h;
    l.cards = {"BAYERPAT = 'RGGB'", "XPIXSZ = 5.2", "FOCALLEN = 400.0"};
    ASSERT_TRUE(LoadFits("bayer.fits", l, Field(mosaic, w, h)));
    EXPECT_FALSE(TakesSixteenBitReader(p.home.File("bayer.fits")));
    EXPECT_EQ(c.gPixelesX, 60);
    EXPECT_EQ(c.gPixelesY, 55);
    EXPECT_EQ(c.imageBinning, 2);
    EXPECT_TRUE(
        Says("Bayer mosaic (BAYERPAT = 'RGGB') binned 2x2 to luminance: 60x55 pixels; the scale is "
             "that of a binned pixel."));
    EXPECT_TRUE(Says("Arc-sec per pixel according to XPIXSZ and FOCALLEN in the FITS header = 5.36"));
    for (int32_t y = 1; y <= 55; y += 6)
        for (int32_t x = 1; x <= 60; x += 7) {
            double mean = (mosaic(2 * x - 1, 2 * y - 1) + mosaic(2 * x, 2 * y - 1) +
                           mosaic(2 * x - 1, 2 * y) + mosaic(2 * x, 2 * y)) /
                          4;
            EXPECT_EQ(At(c, x, y), EngineBrightness(static_cast<uint16_t>(std::lround(mean))))
                << x << "," << y;
        }
    // Too small once binned: the 16-bit reader's refusal.
    l.width = 90, l.height = 90;
    EXPECT_FALSE(LoadFits("small.fits", l, Field(mosaic, 90, 90)));
    EXPECT_TRUE(Says("Image size < 50."));
}

// A hand-made header, padded to its block, with no data behind it.
std::string HeaderOnly(const std::vector<std::string>& cards) {
    std::string b;
    for (std::string card : cards) {
        card.resize(80, ' ');
        b += card;
    }
    b += "END" + std::string(77, ' ');
    b.resize((b.size() + 2879) / 2880 * 2880, ' ');
    return b;
}

// The CRC of a PNG chunk (ISO 3309), bit by bit.
uint32_t Crc32(const std::string& bytes) {
    uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char b : bytes) {
        crc ^= b;
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return crc ^ 0xFFFFFFFFu;
}

std::string Be32(uint32_t v) {
    return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
            static_cast<char>(v)};
}

// Headers that claim more than 1 GiB of pixels are refused before any pixel is read or allocated: the
// files hold no data at all, so that a reader that went on would fail with another message.
TEST_F(Formats, HeadersClaimingTooMuchAreRefusedBeforeReading) {
    using render::FitsCard;
    const std::string message = "Image too large: 20000x20000 pixels need more than 1 GiB of memory.";
    for (const char* bitpix : {"16", "-32"}) {
        SCOPED_TRACE(bitpix);
        p.platform.summary.clear();
        EXPECT_FALSE(p.Load(
            p.Write("huge.fits", HeaderOnly({FitsCard("SIMPLE", "T"), FitsCard("BITPIX", bitpix),
                                             FitsCard("NAXIS", "2"), FitsCard("NAXIS1", "20000"),
                                             FitsCard("NAXIS2", "20000"), FitsCard("BZERO", "32768")}))));
        EXPECT_TRUE(Says(message));
        EXPECT_EQ(c.gUltimoError, message);
        EXPECT_TRUE(c.mImagenFit.empty());
    }
    // A PNG signature, its IHDR chunk and an empty IDAT one.
    std::string ihdr = "IHDR" + Be32(20000) + Be32(20000) + std::string("\x10\x00\x00\x00\x00", 5);
    std::string png = std::string("\x89PNG\r\n\x1a\n", 8) + Be32(13) + ihdr + Be32(Crc32(ihdr)) + Be32(0) +
                      "IDAT" + Be32(Crc32("IDAT"));
    p.platform.summary.clear();
    EXPECT_FALSE(p.Load(p.Write("huge.png", png)));
    EXPECT_TRUE(Says(message));
    // A BMP header of 20000 x 20000 at 24 bits.
    std::string bmp = "BM";
    auto le32 = [&](uint32_t v) {
        for (int i = 0; i < 4; ++i)
            bmp += static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    le32(54), le32(0), le32(54), le32(40), le32(20000), le32(20000);
    bmp += std::string("\x01\x00\x18\x00", 4);
    for (int i = 0; i < 6; ++i)
        le32(0);
    p.platform.summary.clear();
    EXPECT_FALSE(p.Load(p.Write("huge.bmp", bmp)));
    EXPECT_TRUE(Says(message));
}

// PNG and TIFF writers for the tests: rows top first, `channels` samples of `bits` a pixel.
struct Raster {
    int32_t width = 4, height = 3;
    int channels = 1, bits = 8;
    bool interlaced = false;        // Adam7, which a PNG reader must gather over seven passes
    std::vector<uint16_t> samples;  // width x height x channels, top row first
};

// A 4 x 3 raster whose level tells the place: 10 x column + row from the bottom (1-based), times
// `unit`; colour channels weigh 1, 2 and 3.
Raster Gradient(int channels, int bits, uint16_t unit) {
    Raster r;
    r.channels = channels, r.bits = bits;
    for (int32_t fromTop = 0; fromTop < 3; ++fromTop)
        for (int32_t x = 1; x <= 4; ++x)
            for (int ch = 0; ch < channels; ++ch)
                r.samples.push_back(static_cast<uint16_t>(unit * (10 * x + (3 - fromTop)) * (ch + 1)));
    return r;
}

void WritePng(const std::string& path, const Raster& r) {
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(r.width), static_cast<png_uint_32>(r.height), r.bits,
                 r.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB,
                 r.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    const int passes = png_set_interlace_handling(png);
    const size_t perRow = static_cast<size_t>(r.width) * static_cast<size_t>(r.channels);
    std::vector<unsigned char> row;
    for (int pass = 0; pass < passes; ++pass)
        for (int32_t y = 0; y < r.height; ++y) {
            row.clear();
            for (size_t i = 0; i < perRow; ++i) {
                uint16_t v = r.samples[static_cast<size_t>(y) * perRow + i];
                if (r.bits == 16) row.push_back(static_cast<unsigned char>(v >> 8));
                row.push_back(static_cast<unsigned char>(v & 0xFF));
            }
            png_write_row(png, row.data());
        }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

void WriteTiff(const std::string& path, const Raster& r, bool separate, bool tiled) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(tif, nullptr);
    const auto w = static_cast<uint32_t>(r.width), h = static_cast<uint32_t>(r.height);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, w);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(r.bits));
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, static_cast<uint16_t>(r.channels));
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, r.channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    const size_t bytes = r.bits / 8, perPixel = separate ? 1 : static_cast<size_t>(r.channels);
    const int planes = separate ? r.channels : 1;
    // The samples of plane p (or all of them) for the pixels of rows y0.. and columns x0.. of a
    // `tw` x `th` block.
    auto block = [&](int p, uint32_t x0, uint32_t y0, uint32_t tw, uint32_t th) {
        std::vector<unsigned char> out(tw * th * perPixel * bytes, 0);
        for (uint32_t y = y0; y < y0 + th && y < h; ++y)
            for (uint32_t x = x0; x < x0 + tw && x < w; ++x)
                for (size_t s = 0; s < perPixel; ++s) {
                    size_t channel = separate ? static_cast<size_t>(p) : s;
                    uint16_t v = r.samples[(y * w + x) * static_cast<size_t>(r.channels) + channel];
                    unsigned char* at = out.data() + (((y - y0) * tw + (x - x0)) * perPixel + s) * bytes;
                    if (bytes == 2)
                        std::memcpy(at, &v, 2);
                    else
                        *at = static_cast<unsigned char>(v);
                }
        return out;
    };
    if (tiled) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, 16u);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, 16u);
        for (int p = 0; p < planes; ++p) {
            std::vector<unsigned char> tile = block(p, 0, 0, 16, 16);
            TIFFWriteTile(tif, tile.data(), 0, 0, 0, static_cast<uint16_t>(p));
        }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 1u);
        for (int p = 0; p < planes; ++p)
            for (uint32_t y = 0; y < h; ++y) {
                std::vector<unsigned char> row = block(p, 0, y, w, 1);
                TIFFWriteScanline(tif, row.data(), y, static_cast<uint16_t>(p));
            }
    }
    TIFFClose(tif);
}

// 8-bit PNG and TIFF come in as BMP and JPG do, R + G + B; 16-bit ones keep their depth, the same
// brightness as FITS counts, rows in the picture's order (the bottom row is row 1) or reversed.
TEST_F(Formats, PngAndTiffOfEightAndSixteenBits) {
    struct Case {
        const char* name;
        Raster raster;
        bool separate, tiled;
    };
    for (int16_t reversed : {0, 1}) {
        c.gImagenInvertida = reversed;
        Raster adam7 = Gradient(1, 16, 500);
        adam7.interlaced = true;
        for (const Case& k :
             {Case{"grey8.png", Gradient(1, 8, 2), false, false}, Case{"adam7.png", adam7, false, false},
              Case{"rgb8.png", Gradient(3, 8, 1), false, false},
              Case{"grey16.png", Gradient(1, 16, 500), false, false},
              Case{"rgb16.png", Gradient(3, 16, 250), false, false},
              Case{"grey8.tif", Gradient(1, 8, 2), false, false},
              Case{"rgb8.tiff", Gradient(3, 8, 1), false, true},
              Case{"grey16.tif", Gradient(1, 16, 500), false, false},
              Case{"rgb16.tif", Gradient(3, 16, 250), false, false},
              Case{"planes16.tif", Gradient(3, 16, 250), true, false},
              Case{"tiles16.tiff", Gradient(1, 16, 500), false, true}}) {
            SCOPED_TRACE(std::string(k.name) + " reversed " + std::to_string(reversed));
            std::string path = p.home.File(k.name);
            bool png = std::string(k.name).find(".png") != std::string::npos;
            if (png)
                WritePng(path, k.raster);
            else
                WriteTiff(path, k.raster, k.separate, k.tiled);
            p.platform.summary.clear();
            ASSERT_TRUE(p.Load(path));
            ASSERT_EQ(c.gPixelesX, 4);
            ASSERT_EQ(c.gPixelesY, 3);
            const bool deep = k.raster.bits == 16;
            EXPECT_EQ(c.gTipoImagen, deep ? "fit" : (png ? "png" : "tif"));
            EXPECT_EQ(c.mImagenFit.empty(), !deep);
            EXPECT_TRUE(c.wcsBesideImage);
            EXPECT_TRUE(Says("PNG or TIFF file. DATE-OBS from PC clock."));
            for (int32_t y = 1; y <= 3; ++y)
                for (int32_t x = 1; x <= 4; ++x) {
                    int place = 10 * x + (reversed == 1 ? 4 - y : y);
                    // 8 bits: R + G + B, grey 3 x 2 or colour 1 + 2 + 3; 16 bits: grey 500, or the
                    // mean of 250 x (1, 2, 3).
                    int expected = deep ? EngineBrightness(static_cast<uint16_t>(500 * place)) : 6 * place;
                    EXPECT_EQ(At(c, x, y), expected) << x << "," << y;
                }
        }
    }
}

TEST_F(Formats, DamagedPngAndTiff) {
    WritePng(p.home.File("whole.png"), Gradient(1, 8, 2));
    std::string png = p.home.Read("whole.png");
    EXPECT_FALSE(p.Load(p.Write("cut.png", png.substr(0, png.size() - 20))));
    EXPECT_TRUE(Says("Image not loaded."));
    EXPECT_FALSE(p.Load(p.Write("words.tif", "Not a picture at all, only words.")));
    EXPECT_EQ(c.gUltimoError, "Image not loaded.");
    EXPECT_TRUE(c.mFinAnalisis);
}

// Ancillary chunks are skipped unread: one of 200 KB does not stop the picture, and one that claims
// 1.8 GB in a file of 44 bytes is not allocated (and zeroed) before the file ends.
TEST_F(Formats, PngTextChunksAreSkippedUnread) {
    auto chunk = [](const std::string& type, const std::string& data) {
        return Be32(static_cast<uint32_t>(data.size())) + type + data + Be32(Crc32(type + data));
    };
    const std::string signature("\x89PNG\r\n\x1a\n", 8);
    const std::string header = chunk("IHDR", Be32(4) + Be32(3) + std::string("\x08\0\0\0\0", 5));
    const std::string claims = signature + header + Be32(0x70000000) + "tEXtabc";
    ASSERT_EQ(claims.size(), 44U);
    Picture picture;
    auto peakKiB = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    const long before = peakKiB();
    EXPECT_FALSE(ReadPng(p.Write("claims.png", claims), RowOrder::TopFirst, picture));
    EXPECT_LT(peakKiB() - before, 256 * 1024);

    const std::string path = p.home.File("picture.png");
    WritePng(path, Gradient(1, 8, 2));
    std::string png = p.home.Read("picture.png");
    png.insert(signature.size() + header.size(),
               chunk("tEXt", std::string("Comment\0", 8) + std::string(200000, 'x')));
    EXPECT_TRUE(ReadPng(p.Write("noted.png", png), RowOrder::TopFirst, picture));
    EXPECT_EQ(picture.width, 4);
    EXPECT_EQ(picture.pixels.size(), 12U);
}

// A 16-bit TIFF of more samples a pixel than colour and alpha is refused before its samples are
// allocated, since each one multiplies the memory of the picture.
TEST_F(Formats, SixteenBitTiffOfFiveSamplesAPixelIsRefused) {
    Picture picture;
    const std::string colour = p.home.File("colour.tif"), five = p.home.File("five.tif");
    WriteTiff(colour, Gradient(3, 16, 100), false, false);
    WriteTiff(five, Gradient(5, 16, 100), false, false);
    EXPECT_TRUE(ReadTiff(colour, RowOrder::TopFirst, picture));
    EXPECT_FALSE(ReadTiff(five, RowOrder::TopFirst, picture));
    EXPECT_TRUE(picture.levels16.empty());
}

}  // namespace
}  // namespace tornel
