#include "busqueda/angle_search_walk.h"

#include <algorithm>
#include <cmath>

#include "astrometria/sky_maths.h"
#include "comun/numbers.h"

namespace tornel {

namespace {

constexpr double kZoneSide = 30;    // degrees
constexpr double kOverlap = 0.5;    // degrees between neighbouring windows of a row
constexpr double kNearPole = 89.5;  // the cosine of a row edge is taken no nearer the pole than this

struct Zone {
    int32_t lo = 0, hi = 0;  // rings
};

Zone ZoneRings(const Context& c) {
    return {std::max(ToLong(c.gCentroBusquedaDEC - kZoneSide / 2), -90) + 90,
            std::min(ToLong(c.gCentroBusquedaDEC + kZoneSide / 2), 89) + 90};
}

// The windows of one row, from the centre's right ascension outwards, east first.
void RowWindows(const Context& c, int32_t a, int32_t b, double width, std::vector<AngleSearchWindow>& out) {
    const double decA = a - 90, decB = b - 90;
    const double equatorEdge = decA * decB <= 0 ? 0 : std::min(std::fabs(decA), std::fabs(decB));
    const double poleEdge = std::min(std::max(std::fabs(decA), std::fabs(decB)), kNearPole);
    const double cosEquator = std::cos(equatorEdge * c.gGradosARadianes);
    const double span = std::min(kZoneSide / std::cos(poleEdge * c.gGradosARadianes), 360.0);
    const double window = width / cosEquator, step = (width - kOverlap) / cosEquator;
    int32_t count = 0;
    if (span + window >= 360) {
        count = static_cast<int32_t>(std::ceil(360 / step));
    } else {
        const auto side = static_cast<int32_t>(std::max(0.0, std::ceil((span - window) / 2 / step)));
        count = 2 * side + 1;
    }
    for (int32_t k = 0; k < count; ++k) {
        // 0, +1, -1, +2, -2 ...
        const int32_t j = k % 2 == 1 ? (k + 1) / 2 : -(k / 2);
        out.push_back({a, b, GradosEntre0y360(c.gCentroBusquedaRA + j * step)});
    }
}

}  // namespace

std::vector<AngleSearchWindow> AngleSearchWindows(const Context& c) {
    std::vector<AngleSearchWindow> windows;
    const double width = RoundHalfEven(c.gAnchoVentana);
    if (width < 1) return windows;
    const Zone z = ZoneRings(c);
    const int32_t h = std::max(ToLong(c.gAltoVentana), 2);
    const int32_t p = h - 1;
    // The centre's row, moved inside the zone when the zone is cut by a pole.
    const int32_t first =
        std::clamp(ToLong(c.gCentroBusquedaDEC + 90 - h / 2.0), z.lo, std::max(z.hi - h, z.lo));
    RowWindows(c, first, std::min(first + h, z.hi), width, windows);
    bool north = first + h<z.hi, south = first> z.lo;
    for (int32_t k = 1; north || south; ++k) {
        if (north) {
            const int32_t a = first + k * p;
            RowWindows(c, a, std::min(a + h, z.hi), width, windows);
            north = a + h < z.hi;
        }
        if (south) {
            const int32_t a = first - k * p;
            RowWindows(c, std::max(a, z.lo), a + h, width, windows);
            south = a > z.lo;
        }
    }
    return windows;
}

std::vector<double> AngleSearchAngles(const Context& c) {
    std::vector<double> angles;
    for (int32_t n = 0; n <= 2 * c.gAmplitudAngulo; ++n) {
        const int32_t half = n / 2;
        angles.push_back(GradosEntre0y360(n % 2 == 0 ? c.gAnguloImagen + half : c.gAnguloImagen - half - 1));
    }
    return angles;
}

bool AngleSearchReachesSouthPole(const Context& c) {
    return ZoneRings(c).lo == 0;
}

bool AngleSearchReachesNorthPole(const Context& c) {
    return ZoneRings(c).hi == 179;
}

}  // namespace tornel
