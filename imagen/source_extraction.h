#pragma once
// Point sources of an image for matching star patterns at any scale: a mesh of the local background
// and of its noise, a smoothed detection image, groups of connected pixels over a threshold in units
// of the local noise, and of those the compact ones, brightest first.
//
// Unlike the threshold of the main extraction, which is one level for the whole picture, the noise
// here is measured cell by cell: trees, roofs, glow and a comet's tail raise their own cells'
// noise and so their own thresholds, and the faint stars of a dark sky are still found.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tornel {

// A plane of pixels: pixel (x, y), for x in [0, width) and y in [0, height), at origin[y * stride + x].
struct SourceImage {
    const int16_t* origin = nullptr;
    int32_t width = 0, height = 0;
    std::ptrdiff_t stride = 0;
};

struct SourceOptions {
    // Side of the cells of the background mesh (pixels); far larger than a star.
    int32_t cell = 64;
    // Detection thresholds tried in turn, in units of the local noise, until enough sources stand.
    std::vector<double> thresholds{4.0, 2.5, 1.5};
    size_t enough = 40;
    // Least pixels over the threshold; a group with more than `mostPixels` is no star.
    int32_t leastPixels = 3;
    int32_t mostPixels = 4000;
    // A source longer than `elongation` times its width and than twice the sources' median is a
    // streak or an edge; trailed stars all share the median and stay.
    double elongation = 2.5;
    // A source whose light spreads more than `spread` times the sources' median and `leastSpread`
    // pixels is an extended object: a galaxy, a comet's head, a lit patch.
    double spread = 4;
    double leastSpread = 3;
    // A source whose brightest pixel holds more than this share of its light is a hot pixel.
    double hotShare = 0.75;
    // A source whose brightest pixel stands fewer than this many deviations of the ring around it
    // above the ring's median is a bright grain of a textured object (foliage, a lit wall, nebula).
    double contrast = 5;
    // Where the local noise is more than this many times the plain sky's, the sources stand on
    // clutter: they come after all the others.
    double clutter = 1.5;
    // The most sources answered.
    size_t most = 300;
};

// A source: its centroid (pixels, the centre of pixel (0, 0) at 0, 0), light above the background,
// brightest pixel above the background, pixels over the threshold, elongation (1 for round),
// contrast against the ring around it, and whether it stands where the noise is the clutter's.
struct Source {
    double x = 0, y = 0;
    double flux = 0, peak = 0;
    int32_t pixels = 0;
    double elongation = 1;
    double radius =
        0;  // the spread of its light: the root mean square distance from the centroid over root 2
    double contrast = 0;
    bool cluttered = false;
};

enum class SourceStatus { Ok, EmptyImage, BadOptions };

// The sources of `image`, brightest first, those on clutter last, at most `options.most`, into `out`. The
// background of each cell is the mode of its pixels after clipping at 3 sigmas, its noise their clipped
// deviation; the cell values pass a 3 x 3 median so that a bright object does not spoil its cell, and are
// interpolated between cell centres. Groups touching the image edge have no true centre and go.
SourceStatus ExtractSources(const SourceImage& image, const SourceOptions& options, std::vector<Source>& out);

}  // namespace tornel
