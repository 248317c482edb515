// Display levels: the span from black to white stretched over 0..255.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "imagen/pixel/tornel_pixel.h"

namespace {

inline uint32_t Level(double value, double factor, double negro) {
    double v = (value - negro) * factor;
    if (!(v > 0)) return 0;  // also NaN
    if (v >= 255) return 255;
    return static_cast<uint32_t>(std::nearbyint(v));
}

}  // namespace

extern "C" void fit_a_visu8(const int16_t* imagen, uint8_t* visu, int16_t ancho, int16_t alto, double factor,
                            double negro) {
    if (imagen == nullptr || visu == nullptr || ancho < 1 || alto < 1) return;
    const size_t w = static_cast<size_t>(ancho), h = static_cast<size_t>(alto);
    const size_t w4 = (w + 3) / 4 * 4;
    for (size_t y = 0; y < h; ++y) {
        const int16_t* src = imagen + y * w;
        uint8_t* dst = visu + y * w4;
        for (size_t x = 0; x < w; ++x)
            dst[x] = static_cast<uint8_t>(Level(src[x], factor, negro));
        for (size_t x = w; x < w4; ++x)
            dst[x] = 0;
    }
}

extern "C" void bmp32_a_visu32(const uint32_t* pixeles, uint32_t* visu, int16_t ancho, int16_t alto,
                               double factor, double negro) {
    if (pixeles == nullptr || visu == nullptr || ancho < 1 || alto < 1) return;
    const size_t n = static_cast<size_t>(ancho) * static_cast<size_t>(alto);
    for (size_t i = 0; i < n; ++i) {
        uint32_t p = pixeles[i];
        uint32_t b = Level(p & 0xFFu, factor, negro);
        uint32_t g = Level((p >> 8) & 0xFFu, factor, negro);
        uint32_t r = Level((p >> 16) & 0xFFu, factor, negro);
        visu[i] = (r << 16) | (g << 8) | b;
    }
}
