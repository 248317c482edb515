// The one linear mapping from an image's values to 16-bit levels, and the Bayer binning.
#include "imagen/level_mapping.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tornel {

namespace {

// The percentile is taken on at most this many values spread evenly over the image: enough for a
// 0.1 % point within a few thousandths, and a pass of bounded cost on any size.
constexpr size_t kSamples = 1 << 20;

}  // namespace

LevelMapping ChooseLevelMapping(const float* values, size_t n, SampleKind kind) {
    LevelMapping m;
    if (kind == SampleKind::UnsignedBytes) {
        m.rule = LevelMapping::Rule::TimesTwoFiftySeven;
        m.gain = 257;
        m.high = 255;
        return m;
    }
    float lo = INFINITY, hi = -INFINITY;
    for (size_t i = 0; i < n; ++i) {
        float v = values[i];
        if (!std::isfinite(v)) continue;
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
    if (!(lo <= hi)) {  // no value at all: everything is blank
        m.gain = 0;
        return m;
    }
    if (kind == SampleKind::Integers && lo >= 0 && hi <= 65535) {
        m.high = 65535;
        return m;
    }
    std::vector<float> sample;
    const size_t stride = std::max<size_t>(1, n / kSamples);
    sample.reserve(n / stride + 1);
    for (size_t i = 0; i < n; i += stride)
        if (std::isfinite(values[i])) sample.push_back(values[i]);
    double low = lo;
    if (!sample.empty()) {
        auto at = sample.begin() + static_cast<std::ptrdiff_t>(kStretchLowFraction * (sample.size() - 1));
        std::nth_element(sample.begin(), at, sample.end());
        low = *at;
    }
    m.rule = LevelMapping::Rule::Stretched;
    m.low = low;
    m.high = hi;
    m.gain = hi > low ? 65535.0 / (hi - low) : 0;
    return m;
}

void BinBayerToLuminance(const float* in, size_t width, size_t height, float* out) {
    const size_t w = width / 2, h = height / 2;
    for (size_t y = 0; y < h; ++y) {
        const float* top = in + 2 * y * width;
        const float* bottom = top + width;
        for (size_t x = 0; x < w; ++x)
            out[y * w + x] = (top[2 * x] + top[2 * x + 1] + bottom[2 * x] + bottom[2 * x + 1]) / 4;
    }
}

}  // namespace tornel
