// Brightness matrices for the analysis: a margin row and column of zeros, then the image.
#include <cstddef>
#include <cstdint>

#include "imagen/pixel/tornel_pixel.h"

namespace {

inline int16_t FromFits(int16_t v) {
    return v < 0 ? int16_t{0} : v;
}

inline int16_t FromPixel(uint32_t p) {
    // Equal weights: a star's colour says nothing about its place.
    return static_cast<int16_t>((p & 0xFFu) + ((p >> 8) & 0xFFu) + ((p >> 16) & 0xFFu));
}

template <class In, class Convert>
int16_t Fill(const In* in, int16_t* brillo, int16_t ancho, int16_t alto, Convert convert) {
    if (in == nullptr || brillo == nullptr || ancho < 1 || alto < 1) return 0;
    const size_t w = static_cast<size_t>(ancho), h = static_cast<size_t>(alto), stride = w + 1;
    for (size_t x = 0; x < stride; ++x)
        brillo[x] = 0;
    int16_t highest = 0;
    for (size_t y = 1; y <= h; ++y) {
        int16_t* row = brillo + y * stride;
        const In* src = in + (y - 1) * w;
        row[0] = 0;
        int16_t rowHighest = 0;
        for (size_t x = 0; x < w; ++x) {
            int16_t b = convert(src[x]);
            row[x + 1] = b;
            rowHighest = b > rowHighest ? b : rowHighest;
        }
        highest = rowHighest > highest ? rowHighest : highest;
    }
    return highest;
}

}  // namespace

extern "C" int16_t fit_a_brillo(const int16_t* imagen, int16_t* brillo, int16_t ancho, int16_t alto) {
    return Fill(imagen, brillo, ancho, alto, FromFits);
}

extern "C" int16_t bmp32_a_brillo(const uint32_t* pixeles, int16_t* brillo, int16_t ancho, int16_t alto) {
    return Fill(pixeles, brillo, ancho, alto, FromPixel);
}
