#pragma once
// A solved plate made by hand, for tests and benchmarks: the context's Cij looking at (ra, dec) with
// the image's x to the east and y to the north, a square image of `pixels` a side that spans `side`
// degrees at its centre row.
#include <cmath>
#include <cstdint>

#include "comun/context.h"

namespace tornel::testing {

inline void PointPlate(Context& c, double ra, double dec, double side, int32_t pixels) {
    constexpr double kRad = 3.14159265358979323846 / 180;
    const double a = ra * kRad, d = dec * kRad;
    const double rows[3][3] = {{-std::sin(a), std::cos(a), 0},
                               {-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)},
                               {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)}};
    for (size_t i = 1; i <= 3; ++i)
        for (size_t j = 1; j <= 3; ++j)
            c.Cij[i][j] = rows[i - 1][j - 1];
    c.gAnchoImagen = c.gAltoImagen = pixels;
    c.gPixelesX = c.gPixelesY = pixels;
    c.gRelacionPixel = 1;
    c.gFactorReduccion = 1;
    c.gGradosPorPixel = side / pixels;
    c.gFocalEnPixeles = static_cast<int32_t>(std::lround(pixels / 2.0 / std::tan(side / 2 * kRad)));
}

}  // namespace tornel::testing
