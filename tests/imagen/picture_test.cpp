// BMP and JPG intake through CargaImagen: every bit depth and row order, reversal, the kind of file
// by its extension, and damaged files that must end the analysis with a message.
#include <gtest/gtest.h>

#include "imagen/picture_files.h"
#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using testing::ImageProgram;

// A 4 x 3 picture whose levels tell the place: level = 10 x column + row from the bottom (1-based).
render::Image Gradient() {
    render::Image img;
    img.width = 4;
    img.height = 3;
    for (int32_t y = 1; y <= 3; ++y)
        for (int32_t x = 1; x <= 4; ++x)
            img.counts.push_back(static_cast<float>(10 * x + y));
    return img;
}

// Brightness (x, y) of the image in memory.
int Brightness(const Context& c, int32_t x, int32_t y) {
    return c.mBrillo[static_cast<size_t>(y) * static_cast<size_t>(c.gPixelesX + 1) + static_cast<size_t>(x)];
}

struct Pictures : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    bool Says(const std::string& line) const { return p.platform.SummaryHas(line); }
    // Each pixel has the grey level of Gradient(), so the brightness is three times it.
    void ExpectGradient(bool reversed) {
        ASSERT_EQ(c.gPixelesX, 4);
        ASSERT_EQ(c.gPixelesY, 3);
        for (int32_t y = 1; y <= 3; ++y)
            for (int32_t x = 1; x <= 4; ++x)
                EXPECT_EQ(Brightness(c, x, y), 3 * (10 * x + (reversed ? 4 - y : y))) << x << "," << y;
        EXPECT_EQ(Brightness(c, 0, 2), 0);
        EXPECT_EQ(Brightness(c, 2, 0), 0);
    }
};

TEST_F(Pictures, EveryBmpLayoutGivesTheSamePixels) {
    for (int bits : {8, 24, 32})
        for (auto rows : {render::BmpRows::BottomUp, render::BmpRows::TopDown})
            for (int16_t reversed : {0, 1}) {
                SCOPED_TRACE(std::to_string(bits) + " bits, reversed " + std::to_string(reversed));
                std::string path = p.home.File("picture.bmp");
                ASSERT_TRUE(render::WriteBmp(path, Gradient(), bits, rows, 1.0));
                c.gImagenInvertida = reversed;
                ASSERT_TRUE(p.Load(path));
                ExpectGradient(reversed == 1);
                EXPECT_EQ(c.gBrilloMaximo, 3 * 43);
                EXPECT_EQ(c.mInfoBMP.height, reversed == 1 ? -3 : 3);
            }
    EXPECT_EQ(c.gTipoImagen, "bmp");
    EXPECT_TRUE(Says("BMP or JPG file. DATE-OBS from PC clock."));
}

TEST_F(Pictures, OneBitPaletteBmp) {
    // 9 x 2, bottom-up; palette 0 black, 1 white; bottom row 1 0 0 0 0 0 0 0 1, top row all 0.
    std::string b = "BM";
    auto le32 = [&](uint32_t v) {
        for (int i = 0; i < 4; ++i)
            b += static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    auto le16 = [&](uint32_t v) { b += static_cast<char>(v & 0xFF), b += static_cast<char>(v >> 8); };
    le32(14 + 40 + 8 + 8), le32(0), le32(14 + 40 + 8);
    le32(40), le32(9), le32(2), le16(1), le16(1), le32(0), le32(8), le32(0), le32(0), le32(2), le32(0);
    le32(0x000000), le32(0xFFFFFF);
    b += std::string("\x80\x80\x00\x00", 4) + std::string(4, '\0');
    ASSERT_TRUE(p.Load(p.Write("bits.bmp", b)));
    EXPECT_EQ(Brightness(c, 1, 1), 765);
    EXPECT_EQ(Brightness(c, 2, 1), 0);
    EXPECT_EQ(Brightness(c, 9, 1), 765);
    EXPECT_EQ(Brightness(c, 1, 2), 0);
}

// A BMP with a palette of greys (entry i: grey i x step) and `data` as its pixels: rows of indices,
// bottom first, for compression 0, or a run-length stream for 1 (8 bits) and 2 (4 bits).
std::string PaletteBmp(int32_t width, int32_t height, int bits, uint32_t compression,
                       const std::string& data) {
    std::string b = "BM";
    auto le32 = [&](uint32_t v) {
        for (int i = 0; i < 4; ++i)
            b += static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    auto le16 = [&](uint32_t v) { b += static_cast<char>(v & 0xFF), b += static_cast<char>(v >> 8); };
    const uint32_t colours = 1u << bits, step = bits == 4 ? 17 : 1;
    const auto offset = 14 + 40 + 4 * colours;
    le32(offset + static_cast<uint32_t>(data.size())), le32(0), le32(offset);
    le32(40), le32(static_cast<uint32_t>(width)), le32(static_cast<uint32_t>(height)), le16(1), le16(bits);
    le32(compression), le32(static_cast<uint32_t>(data.size())), le32(0), le32(0), le32(colours), le32(0);
    for (uint32_t i = 0; i < colours; ++i)
        le32(i * step * 0x010101u);
    return b + data;
}

// The same picture uncompressed: rows of indices, bottom first, packed and padded to 4 bytes.
std::string PlainRows(const std::vector<std::vector<int>>& rows, int bits) {
    std::string data;
    for (const auto& row : rows) {
        std::string packed;
        for (size_t x = 0; x < row.size(); ++x)
            if (bits == 8)
                packed += static_cast<char>(row[x]);
            else if (x % 2 == 0)
                packed += static_cast<char>(row[x] << 4);
            else
                packed.back() = static_cast<char>(packed.back() | row[x]);
        packed.resize((packed.size() + 3) / 4 * 4, '\0');
        data += packed;
    }
    return data;
}

std::string Bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values)
        s += static_cast<char>(v);
    return s;
}

TEST_F(Pictures, RunLengthBmpGivesThePixelsOfTheSamePictureUncompressed) {
    // 8 bits, 7 x 4: runs, an odd absolute run with its pad byte, and a move across rows.
    const std::string rle8 = Bytes({4, 5, 2, 9, 1, 200, 0, 0}) +            // 5 5 5 5 9 9 200
                             Bytes({0, 7, 1, 2, 3, 4, 5, 6, 7, 0, 0, 0}) +  // 1 2 3 4 5 6 7
                             Bytes({3, 0x11, 0, 2, 1, 1}) +                 // 17 17 17, up and right
                             Bytes({3, 0x22, 0, 1});                        // x 4 to 6 of the top row
    const std::vector<std::vector<int>> rows8 = {
        {5, 5, 5, 5, 9, 9, 200}, {1, 2, 3, 4, 5, 6, 7}, {17, 17, 17, 0, 0, 0, 0}, {0, 0, 0, 0, 34, 34, 34}};
    // 4 bits, 7 x 3: two indices alternating in a run, an absolute run of 5 in 3 bytes and a pad.
    const std::string rle4 = Bytes({5, 0x1A, 2, 0x3C, 0, 0}) +                    // 1 10 1 10 1 3 12
                             Bytes({0, 5, 0x12, 0x34, 0x50, 0, 2, 0x77, 0, 0}) +  // 1 2 3 4 5 7 7
                             Bytes({3, 0xF0, 0, 2, 2, 0, 2, 0x88, 0, 1});         // 15 0 15 . . 8 8
    const std::vector<std::vector<int>> rows4 = {
        {1, 10, 1, 10, 1, 3, 12}, {1, 2, 3, 4, 5, 7, 7}, {15, 0, 15, 0, 0, 8, 8}};
    struct Case {
        int bits;
        uint32_t compression;
        std::string stream;
        const std::vector<std::vector<int>>& rows;
    };
    // The end-of-bitmap mark may be missing once the last row is complete.
    for (const Case& k : {Case{8, 1, rle8, rows8}, Case{8, 1, rle8.substr(0, rle8.size() - 2), rows8},
                          Case{4, 2, rle4, rows4}})
        for (int16_t reversed : {0, 1}) {
            SCOPED_TRACE(std::to_string(k.bits) + " bits, reversed " + std::to_string(reversed));
            c.gImagenInvertida = reversed;
            const auto w = static_cast<int32_t>(k.rows[0].size()), h = static_cast<int32_t>(k.rows.size());
            ASSERT_TRUE(p.Load(p.Write("plain.bmp", PaletteBmp(w, h, k.bits, 0, PlainRows(k.rows, k.bits)))));
            const auto plain = c.mBrillo;
            ASSERT_TRUE(p.Load(p.Write("runs.bmp", PaletteBmp(w, h, k.bits, k.compression, k.stream))));
            EXPECT_EQ(c.mBrillo, plain);
            EXPECT_EQ(c.gPixelesX, w);
            EXPECT_EQ(c.gPixelesY, h);
        }
    // The bottom-left pixel of the 8-bit picture, grey 5 in each channel.
    c.gImagenInvertida = 0;
    ASSERT_TRUE(p.Load(p.Write("runs.bmp", PaletteBmp(7, 4, 8, 1, rle8))));
    EXPECT_EQ(Brightness(c, 1, 1), 15);
    EXPECT_EQ(Brightness(c, 7, 1), 600);
}

TEST_F(Pictures, DamagedRunLengthBmpIsRefused) {
    struct Case {
        const char* what;
        std::string bmp;
    };
    const std::string row = Bytes({7, 1, 0, 0});
    for (const Case& k : {
             Case{"a run past the end of its row", PaletteBmp(7, 2, 8, 1, Bytes({8, 1, 0, 1}))},
             Case{"an absolute run past the end of its row",
                  PaletteBmp(7, 2, 8, 1, Bytes({5, 1, 0, 3, 1, 2, 3, 0}))},
             Case{"an absolute run cut short", PaletteBmp(7, 2, 8, 1, Bytes({0, 7, 1, 2, 3}))},
             Case{"a move out to the right", PaletteBmp(7, 2, 8, 1, Bytes({0, 2, 8, 0, 0, 1}))},
             Case{"a move out at the top", PaletteBmp(7, 2, 8, 1, Bytes({0, 2, 0, 3, 0, 1}))},
             Case{"a move cut short", PaletteBmp(7, 2, 8, 1, Bytes({0, 2, 1}))},
             Case{"pixels above the top row", PaletteBmp(7, 2, 8, 1, row + row + Bytes({1, 1, 0, 1}))},
             Case{"a stream that ends with rows to come", PaletteBmp(7, 2, 8, 1, row)},
             Case{"4-bit runs of an 8-bit picture", PaletteBmp(7, 2, 8, 2, row + row)},
             Case{"runs stored top-down", PaletteBmp(7, -2, 8, 1, row + row)},
         }) {
        p.platform.summary.clear();
        EXPECT_FALSE(p.Load(p.Write("damaged.bmp", k.bmp))) << k.what;
        EXPECT_TRUE(Says("Image not loaded.")) << k.what;
    }
    // A stream that ends with rows to come is cut short; with a final end of line it is complete.
    EXPECT_TRUE(p.Load(p.Write("whole.bmp", PaletteBmp(7, 2, 8, 1, row + row))));
}

TEST_F(Pictures, JpgGreyAndColour) {
    render::Image flat;
    flat.width = 16;
    flat.height = 8;
    flat.counts.assign(16 * 8, 100);
    flat.counts[0] = 250;  // bottom-left corner
    for (bool colour : {false, true}) {
        std::string path = p.home.File("picture.jpg");
        ASSERT_TRUE(render::WriteJpg(path, flat, 100, colour, 1.0));
        for (int16_t reversed : {0, 1}) {
            c.gImagenInvertida = reversed;
            ASSERT_TRUE(p.Load(path));
            EXPECT_EQ(c.gTipoImagen, "jpg");
            EXPECT_EQ(c.gPixelesX, 16);
            int32_t cornerY = reversed == 1 ? 8 : 1;
            EXPECT_NEAR(Brightness(c, 1, cornerY), 750, 30) << colour << reversed;
            EXPECT_NEAR(Brightness(c, 8, 4), 300, 6);
        }
    }
}

TEST_F(Pictures, LevelsFollowTheKindOfImage) {
    c.gNegroBMP = 5, c.gBlancoBMP = 200, c.gNegroFit = 50, c.gBlancoFit = 9000;
    std::string bmp = p.home.File("a.bmp");
    ASSERT_TRUE(render::WriteBmp(bmp, Gradient(), 24, render::BmpRows::BottomUp, 1.0));
    ASSERT_TRUE(p.Load(bmp));
    EXPECT_EQ(c.gBlancoActual, 200);
    // A second picture keeps the levels the user set.
    c.gBlancoActual = 180;
    ASSERT_TRUE(p.Load(bmp));
    EXPECT_EQ(c.gBlancoActual, 180);
    render::Field field;
    field.width = field.height = 60;
    field.stars = {{30, 30, 50000}};
    std::string fit = p.home.File("b.FTS");
    ASSERT_TRUE(render::WriteFits(fit, render::Render(field), render::FitsStorage::Unsigned));
    ASSERT_TRUE(p.Load(fit));
    EXPECT_EQ(c.gTipoImagen, "fit");
    EXPECT_EQ(c.gBlancoActual, 9000);
    EXPECT_EQ(c.gNegroActual, 50);
}

TEST_F(Pictures, AnotherSizeRemovesTheRectangle) {
    std::string bmp = p.home.File("a.bmp");
    ASSERT_TRUE(render::WriteBmp(bmp, Gradient(), 24, render::BmpRows::BottomUp, 1.0));
    ASSERT_TRUE(p.Load(bmp));
    c.gAreaImagen = 1;
    ASSERT_TRUE(p.Load(bmp));
    EXPECT_EQ(c.gAreaImagen, 1);
    render::Image wide = Gradient();
    wide.width = 3;
    wide.counts.resize(9);
    ASSERT_TRUE(render::WriteBmp(bmp, wide, 24, render::BmpRows::BottomUp, 1.0));
    ASSERT_TRUE(p.Load(bmp));
    EXPECT_EQ(c.gAreaImagen, 0);
    // A message gives its own rectangle.
    c.gAreaImagen = 1;
    c.gOrigenImagen = 5;
    ASSERT_TRUE(render::WriteBmp(bmp, Gradient(), 24, render::BmpRows::BottomUp, 1.0));
    ASSERT_TRUE(p.Load(bmp));
    EXPECT_EQ(c.gAreaImagen, 1);
}

TEST_F(Pictures, PathsAndKindsThatCannotBeRead) {
    EXPECT_FALSE(p.Load(""));
    EXPECT_TRUE(Says("Image path does not exist."));
    EXPECT_EQ(p.platform.titles.back(), "Image path does not exist");
    EXPECT_FALSE(p.Load(p.home.File("missing.jpg")));
    EXPECT_EQ(p.platform.LastLabel(), "Can't find the image file.");
    EXPECT_FALSE(p.Load(p.Write("image.gif", "x")));
    EXPECT_TRUE(Says("Invalid image type: gif."));
    EXPECT_EQ(c.gUltimoError, "Invalid image type.");
    EXPECT_TRUE(Says("      ** MODE **"));
    EXPECT_TRUE(Says("Image path."));
    EXPECT_TRUE(Says("Show error messages = YES"));
}

TEST_F(Pictures, DamagedPicturesEndWithTheirMessage) {
    std::string bmp = p.home.File("full.bmp");
    ASSERT_TRUE(render::WriteBmp(bmp, Gradient(), 24, render::BmpRows::BottomUp, 1.0));
    std::string bytes = p.home.Read("full.bmp");
    render::Image big;
    big.width = 64, big.height = 48;
    big.counts.assign(64 * 48, 80);
    ASSERT_TRUE(render::WriteJpg(p.home.File("full.jpg"), big, 90, true, 1.0));
    std::string jpg = p.home.Read("full.jpg");
    std::string zeroWidth = bytes;
    zeroWidth[18] = zeroWidth[19] = zeroWidth[20] = zeroWidth[21] = 0;

    struct Case {
        const char* name;
        std::string bytes;
        const char* message;
    };
    for (const Case& k : {Case{"empty.bmp", "", "Image not loaded."},
                          Case{"cut.bmp", bytes.substr(0, bytes.size() - 10), "Image not loaded."},
                          Case{"header.bmp", bytes.substr(0, 20), "Image not loaded."},
                          Case{"zero.bmp", zeroWidth, "Invalid image."},
                          Case{"half.jpg", jpg.substr(0, jpg.size() / 2), "Image not loaded."},
                          Case{"text.jpg", "Not a picture at all, only words.", "Image not loaded."},
                          Case{"text.bmp", "BM but nothing more", "Image not loaded."}}) {
        p.platform.summary.clear();
        EXPECT_FALSE(p.Load(p.Write(k.name, k.bytes))) << k.name;
        EXPECT_TRUE(Says(k.message)) << k.name;
        EXPECT_TRUE(c.mFinAnalisis) << k.name;
    }
    EXPECT_EQ(c.gUltimoError, "Image not loaded.");
}

// A caller may read with a lower limit than the engine's: a picture past it is refused with its size
// and no pixels, one within it is read whole.
TEST_F(Pictures, ALowerLimitRefusesLargerPicturesWithTheirSize) {
    const std::string bmp = p.home.File("picture.bmp"), jpg = p.home.File("picture.jpg");
    ASSERT_TRUE(render::WriteBmp(bmp, Gradient(), 24, render::BmpRows::BottomUp, 1.0));
    ASSERT_TRUE(render::WriteJpg(jpg, Gradient(), 90, false, 1.0));
    for (const auto& read : {ReadBmp, ReadJpg}) {
        const std::string& path = read == ReadBmp ? bmp : jpg;
        Picture picture;
        EXPECT_FALSE(read(path, RowOrder::TopFirst, picture, 11)) << path;
        EXPECT_EQ(picture.width, 4);
        EXPECT_EQ(picture.height, 3);
        EXPECT_TRUE(picture.pixels.empty());
        EXPECT_TRUE(read(path, RowOrder::TopFirst, picture, 12)) << path;
        EXPECT_EQ(picture.pixels.size(), 12U);
    }
}

}  // namespace
}  // namespace tornel
