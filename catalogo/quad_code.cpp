#include "catalogo/quad_code.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace tornel {

namespace {

constexpr double kDegree = std::numbers::pi / 180;
// C and D may stand this far outside the circle on AB, relative to its radius, for rounding.
constexpr double kCircleSlack = 1e-9;

// The labels made unique: C of smaller x, then A and B swapped when xc + xd > 1 (the swap carries
// (x, y) to (1 - x, 1 - y)), which may swap C and D again.
void Canonical(Quad& q) {
    auto swapCD = [&] {
        std::swap(q.order[2], q.order[3]);
        std::swap(q.code[0], q.code[2]);
        std::swap(q.code[1], q.code[3]);
    };
    if (q.code[0] > q.code[2]) swapCD();
    if (q.code[0] + q.code[2] > 1) {
        std::swap(q.order[0], q.order[1]);
        for (double& v : q.code)
            v = 1 - v;
        if (q.code[0] > q.code[2]) swapCD();
    }
}

}  // namespace

bool MakeQuad(const std::array<PlanePoint, 4>& p, Quad& quad) {
    // The most distant pair.
    int32_t a = 0, b = 1;
    double best = -1;
    for (int32_t i = 0; i < 4; ++i)
        for (int32_t j = i + 1; j < 4; ++j) {
            const double d = std::hypot(p[i].x - p[j].x, p[i].y - p[j].y);
            if (d > best) best = d, a = i, b = j;
        }
    if (!(best > 0)) return false;
    int32_t rest[2], n = 0;
    for (int32_t i = 0; i < 4; ++i)
        if (i != a && i != b) rest[n++] = i;
    quad.order = {a, b, rest[0], rest[1]};
    quad.diameter = best;
    // z' = (z - A) (1 + i) / (B - A): A to 0 and B to 1 + i.
    const double bx = p[b].x - p[a].x, by = p[b].y - p[a].y, norm = bx * bx + by * by;
    for (int32_t k = 0; k < 2; ++k) {
        const double zx = p[rest[k]].x - p[a].x, zy = p[rest[k]].y - p[a].y;
        // (zx + i zy)(1 + i) = (zx - zy) + i (zx + zy), then divided by (bx + i by).
        const double ux = zx - zy, uy = zx + zy;
        const double x = (ux * bx + uy * by) / norm, y = (uy * bx - ux * by) / norm;
        const double dx = x - 0.5, dy = y - 0.5;
        if (dx * dx + dy * dy > 0.5 * (1 + kCircleSlack)) return false;
        quad.code[2 * k] = x;
        quad.code[2 * k + 1] = y;
    }
    Canonical(quad);
    return true;
}

Quad MirroredQuad(const Quad& quad) {
    Quad m = quad;
    std::swap(m.code[0], m.code[1]);
    std::swap(m.code[2], m.code[3]);
    Canonical(m);
    return m;
}

double CodeDistance2(const QuadCode& a, const QuadCode& b) {
    double s = 0;
    for (size_t k = 0; k < 4; ++k)
        s += (a[k] - b[k]) * (a[k] - b[k]);
    return s;
}

bool TangentPlane(double ra0, double dec0, double ra, double dec, PlanePoint& p) {
    const double d0 = dec0 * kDegree, d = dec * kDegree, dra = (ra - ra0) * kDegree;
    const double cosc = std::sin(d0) * std::sin(d) + std::cos(d0) * std::cos(d) * std::cos(dra);
    if (cosc <= 0) return false;
    p.x = std::cos(d) * std::sin(dra) / cosc;
    p.y = (std::cos(d0) * std::sin(d) - std::sin(d0) * std::cos(d) * std::cos(dra)) / cosc;
    return true;
}

double AngularDistance(double ra1, double dec1, double ra2, double dec2) {
    // The haversine form: exact for the small distances that matter most.
    const double s1 = std::sin((dec2 - dec1) * kDegree / 2), s2 = std::sin((ra2 - ra1) * kDegree / 2);
    const double h = s1 * s1 + std::cos(dec1 * kDegree) * std::cos(dec2 * kDegree) * s2 * s2;
    return 2 * std::asin(std::min(1.0, std::sqrt(h))) / kDegree;
}

}  // namespace tornel
