// BMP and JPG intake through CargaImagen: every bit depth and row order, reversal, the kind of file
// by its extension, and damaged files that must end the analysis with a message.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tornel
