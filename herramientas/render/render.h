#pragma once
// tornel_render: a synthetic star field in pixel space, and the files the program reads (16-bit
// FITS, BMP, JPG), with the truth of every star.
//
// Pixel coordinates are the program's: x from 1 at the left, y from 1 at the first row of a FITS
// file, which is the bottom row of the picture. Pixel (i, j) covers i - 0.5 to i + 0.5 and
// j - 0.5 to j + 0.5, so a star at (10, 20) is centred on that pixel.
#include <cstdint>
#include <string>
#include <vector>

namespace tornel::render {

struct Star {
    double x = 0, y = 0;  // pixels
    double flux = 0;      // total signal of the star, counts
};

// A pixel lit alone, as a hot pixel of a sensor is.
struct HotPixel {
    int32_t x = 0, y = 0;  // pixels, from 1
    double value = 0;      // counts added to the sky
};

struct Field {
    int32_t width = 0, height = 0;  // pixels
    double psfSigma = 1.5;          // Gaussian width of every star, pixels
    double sky = 1000;              // sky level, counts
    double gradient = 0;            // counts added to the sky from the first corner to the last, evenly
    double noise = 10;              // Gaussian sky noise, standard deviation in counts
    uint32_t seed = 1;              // of the noise; the same seed gives the same picture
    std::vector<Star> stars;
    std::vector<HotPixel> hotPixels;
    // Rows in the other order (y becomes height + 1 - y), as a camera behind a mirror sees it.
    bool mirror = false;
};

// The rendered signal, counts, width x height, row y = 1 first.
struct Image {
    int32_t width = 0, height = 0;
    std::vector<float> counts;
    float At(int32_t x, int32_t y) const {
        return counts[static_cast<size_t>(y - 1) * static_cast<size_t>(width) + static_cast<size_t>(x - 1)];
    }
};

// Renders the field: sky, noise, each star integrated over the pixels it touches, hot pixels.
Image Render(const Field& field);
// Where the stars of the field stand in the rendered picture (the mirror applied), brightest first.
std::vector<Star> Truth(const Field& field);

// `count` stars at random places at least `margin` pixels from the edges and `separation` pixels
// apart, with fluxes spread evenly in magnitude between `faintest` and `brightest`.
std::vector<Star> RandomStars(int32_t count, int32_t width, int32_t height, double margin, double separation,
                              double faintest, double brightest, uint32_t seed);

// How 16-bit FITS data is stored: signed values with BZERO 0, or unsigned ones with BZERO 32768.
enum class FitsStorage { Signed, Unsigned };
// A FITS file with the counts rounded and limited to the range of the storage. `extraCards` are
// whole header cards (up to 80 characters each) placed before END.
bool WriteFits(const std::string& path, const Image& image, FitsStorage storage,
               const std::vector<std::string>& extraCards = {});
// The header card "KEYWORD = value" of a FITS file, padded to 80 characters.
std::string FitsCard(const std::string& keyword, const std::string& value);

enum class BmpRows { BottomUp, TopDown };
// A BMP of 8 (grey palette), 24 or 32 bits; each channel is counts x scale, rounded and limited
// to 0..255.
bool WriteBmp(const std::string& path, const Image& image, int bits, BmpRows rows, double scale);
// A JPG of quality 1 to 100, grey or colour (the same level in each channel), counts x scale.
bool WriteJpg(const std::string& path, const Image& image, int quality, bool colour, double scale);

}  // namespace tornel::render
