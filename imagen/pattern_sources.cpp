// The stars of the image in memory for the pattern search, by the extraction over a local background.
#include <algorithm>
#include <cmath>
#include <vector>

#include "imagen/imagen.h"
#include "imagen/source_extraction.h"

namespace tornel {

namespace {

// Longer sides than this are binned: plates of thousands of pixels show stars hundreds of pixels
// across, which binning keeps in the size of a star and makes quicker to find.
constexpr int32_t kLongestSide = 2048;

// The mean of each `bin` x `bin` block of the matrix (rows 1..H, columns 1..W).
std::vector<int16_t> Binned(const Context& c, int32_t bin, int32_t& width, int32_t& height) {
    width = c.gPixelesX / bin;
    height = c.gPixelesY / bin;
    const size_t stride = static_cast<size_t>(c.gPixelesX) + 1;
    std::vector<int16_t> out(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            int32_t sum = 0;
            for (int32_t j = 0; j < bin; ++j)
                for (int32_t i = 0; i < bin; ++i)
                    sum += c.mBrillo[static_cast<size_t>(y * bin + j + 1) * stride +
                                     static_cast<size_t>(x * bin + i + 1)];
            out[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
                static_cast<int16_t>(sum / (bin * bin));
        }
    return out;
}

// Within the part of the image the user chose; the distance road's narrowing to the centre aside.
bool InArea(const Context& c, double x, double y) {
    const bool inside = x >= c.patternXMin && x <= c.patternXMax && y >= c.patternYMin && y <= c.patternYMax;
    if (c.patternArea == 1) return inside;
    if (c.patternArea == 2) return !inside;
    return true;
}

}  // namespace

std::vector<EstrellaImagen> PatternSources(const Context& c) {
    std::vector<EstrellaImagen> stars;
    if (c.gPixelesX < 3 || c.gPixelesY < 3 || c.mBrillo.empty()) return stars;
    const int32_t bin = (std::max(c.gPixelesX, c.gPixelesY) + kLongestSide - 1) / kLongestSide;
    std::vector<int16_t> binned;
    SourceImage image;
    if (bin > 1) {
        binned = Binned(c, bin, image.width, image.height);
        image.origin = binned.data();
        image.stride = image.width;
    } else {
        image.origin = c.mBrillo.data() + static_cast<size_t>(c.gPixelesX) + 2;  // pixel (1, 1)
        image.width = c.gPixelesX;
        image.height = c.gPixelesY;
        image.stride = c.gPixelesX + 1;
    }
    SourceOptions options;
    options.most = static_cast<size_t>(kMaxVerificationStars);
    std::vector<Source> sources;
    if (ExtractSources(image, options, sources) != SourceStatus::Ok) return stars;
    for (const Source& s : sources) {
        // Back to the matrix: pixel (1, 1) at 1, 1; a block's centre in the middle of its pixels.
        const double x = (s.x + 0.5) * bin + 0.5, y = (s.y + 0.5) * bin + 0.5;
        if (InArea(c, x, y)) stars.push_back({x, y, s.flux});
    }
    return stars;
}

}  // namespace tornel
