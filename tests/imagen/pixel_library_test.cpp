// libtornel.so through its C entry points: reading FITS data, brightness and display levels.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "imagen/pixel/tornel_pixel.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::TempFolder;

// A file of `offset` header bytes followed by big-endian 16-bit values.
std::string DataFile(const TempFolder& t, const std::vector<int>& values, size_t offset = 2880) {
    std::string bytes(offset, ' ');
    for (int v : values) {
        auto u = static_cast<uint16_t>(v);
        bytes += static_cast<char>(u >> 8);
        bytes += static_cast<char>(u & 0xFF);
    }
    return t.Write("data.fit", bytes);
}

TEST(PixelLibrary, VersionIsTheDateOfTheLibrary) {
    EXPECT_EQ(version(), 150906);
}

TEST(PixelLibrary, SignedDataIsReadAsStoredAndReversalMirrorsTheRows) {
    TempFolder t;
    // Three columns, two rows: the first row of the file is y = 1.
    std::string path = DataFile(t, {1, 2, -3, 400, 500, 32767});
    std::vector<int16_t> image(6);
    ASSERT_EQ(lee_fit_2(path.c_str(), 2880, 3, 2, image.data(), 0), 0);
    EXPECT_EQ(image, (std::vector<int16_t>{1, 2, -3, 400, 500, 32767}));
    ASSERT_EQ(lee_fit_2(path.c_str(), 2880, 3, 2, image.data(), 1), 0);
    EXPECT_EQ(image, (std::vector<int16_t>{400, 500, 32767, 1, 2, -3}));
}

TEST(PixelLibrary, UnsignedDataFitsSixteenBitsInTheSameOrder) {
    TempFolder t;
    // Stored v stands for v + 32768: 0, 16383, 16384, 16387, 65535.
    std::string path = DataFile(t, {-32768, 16383 - 32768, 16384 - 32768, 16387 - 32768, 32767});
    std::vector<int16_t> image(5);
    ASSERT_EQ(lee_fit_con_signo_2(path.c_str(), 2880, 5, 1, image.data(), 0), 0);
    EXPECT_EQ(image, (std::vector<int16_t>{0, 16383, 16384, 16385, 32767}));
}

TEST(PixelLibrary, ReadingFailsOnAShortOrMissingFile) {
    TempFolder t;
    std::string path = DataFile(t, {1, 2, 3});
    std::vector<int16_t> image(4);
    EXPECT_GT(lee_fit_2(path.c_str(), 2880, 2, 2, image.data(), 0), 0);
    EXPECT_GT(lee_fit_2(path.c_str(), 5760, 1, 1, image.data(), 0), 0);
    EXPECT_GT(lee_fit_con_signo_2(t.File("none.fit").c_str(), 0, 1, 1, image.data(), 0), 0);
    EXPECT_GT(lee_fit_2(path.c_str(), 2880, 0, 1, image.data(), 0), 0);
}

TEST(PixelLibrary, BrightnessHasZeroMarginsAndAnswersTheHighest) {
    std::vector<int16_t> image = {5, -7, 300, 9, 8, 7};  // 3 x 2
    std::vector<int16_t> brillo(4 * 3, -1);
    EXPECT_EQ(fit_a_brillo(image.data(), brillo.data(), 3, 2), 300);
    EXPECT_EQ(brillo, (std::vector<int16_t>{0, 0, 0, 0,    //
                                            0, 5, 0, 300,  //
                                            0, 9, 8, 7}));
    // Colour pixels weigh their three channels alike.
    std::vector<uint32_t> pixels = {0x00010203, 0x00FFFFFF, 0x00000000, 0x0000FF00};
    std::vector<int16_t> fromBmp(3 * 3, -1);
    EXPECT_EQ(bmp32_a_brillo(pixels.data(), fromBmp.data(), 2, 2), 765);
    EXPECT_EQ(fromBmp, (std::vector<int16_t>{0, 0, 0, 0, 6, 765, 0, 0, 255}));
}

TEST(PixelLibrary, DisplayLevelsStretchBlackToWhite) {
    // factor = 255 / (white - black) with black 100 and white 200.
    const double factor = 255.0 / 100, black = 100;
    std::vector<int16_t> image = {50, 100, 150, 200, 30000};
    std::vector<uint8_t> visu(8, 99);
    fit_a_visu8(image.data(), visu.data(), 5, 1, factor, black);
    EXPECT_EQ(visu, (std::vector<uint8_t>{0, 0, 127, 255, 255, 0, 0, 0}));  // rows padded to 8

    std::vector<uint32_t> pixels = {0x00C89664};  // R 200, G 150, B 100
    std::vector<uint32_t> out(1);
    bmp32_a_visu32(pixels.data(), out.data(), 1, 1, factor, black);
    EXPECT_EQ(out[0], 0x00FF7F00u);
}

}  // namespace
}  // namespace tornel
