#pragma once
// How the values of an image that the 16-bit FITS reader does not read become the engine's
// brightness: first 16-bit levels 0..65535 by one linear mapping for the whole image, then the fold
// that the 16-bit reader applies to unsigned data, so that the same counts give the same brightness
// whichever reader brought them in.
#include <cstddef>
#include <cstdint>

namespace tornel {

// What the values are, from the equivalent type of the FITS image.
enum class SampleKind {
    UnsignedBytes,  // BITPIX 8: 0 to 255
    Integers,       // BITPIX 16, 32 or 64 (also signed bytes), with integer BZERO and BSCALE 1
    Reals,          // BITPIX -32 or -64, or integers scaled by a BSCALE or BZERO with a fraction
};

// level = (value - low) x gain, rounded and limited to 0..65535; blanks (NaN) give 0.
struct LevelMapping {
    enum class Rule { TimesTwoFiftySeven, AsTheyAre, Stretched };
    Rule rule = Rule::AsTheyAre;
    double low = 0, gain = 1;
    double high = 0;  // the value that reaches 65535 (for the summary)
};

// The low percentile that starts a stretch: dead pixels and negative outliers below it go to 0.
inline constexpr double kStretchLowFraction = 0.001;

// The mapping for `n` values of one image:
// - unsigned bytes are multiplied by 257, so that 255 reaches 65535;
// - integers that all lie within 0..65535 are kept as they are, the counts the 16-bit reader would
//   see in an unsigned file;
// - everything else (reals, negative or wider integers) is stretched linearly from the low
//   percentile to the maximum.
LevelMapping ChooseLevelMapping(const float* values, size_t n, SampleKind kind);

inline uint16_t Level(const LevelMapping& m, float value) {
    double v = (static_cast<double>(value) - m.low) * m.gain;
    // NaN fails both tests and stays at 0.
    if (!(v > 0)) return 0;
    if (v >= 65535) return 65535;
    return static_cast<uint16_t>(v + 0.5);
}

// A level 0..65535 as the engine's signed 16-bit brightness: kept below 16384, the rest of the range
// compressed by 3 into 16384..32767, as the 16-bit reader does with unsigned data.
inline int16_t EngineBrightness(uint16_t level) {
    return static_cast<int16_t>(level < 16384 ? level : 16384 + (level - 16384) / 3);
}

// A Bayer mosaic of W x H values, in rows, to luminance: each 2 x 2 cell (one red, two green, one
// blue, whatever the pattern's phase) becomes the mean of its four values; an odd last row or column
// is dropped. `out` holds (W / 2) x (H / 2) values.
void BinBayerToLuminance(const float* in, size_t width, size_t height, float* out);

}  // namespace tornel
