#include "herramientas/db/triangle_file.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <unordered_set>

#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/sky_index.h"

namespace tornel::db {
namespace {

constexpr double kRad = std::numbers::pi / 180.0;

struct Tri {
    int32_t a, b, c;
    double cx, cy, r2;  // circumcircle
};

Tri MakeTri(const std::vector<PlanePoint>& p, int32_t a, int32_t b, int32_t c) {
    double ax = p[a].x, ay = p[a].y, bx = p[b].x, by = p[b].y, cx = p[c].x, cy = p[c].y;
    double d = 2 * (ax * (by - cy) + bx * (cy - ay) + cx * (ay - by));
    Tri t{a, b, c, 0, 0, -1};
    if (d == 0) return t;  // collinear: never contains a point, removed with its neighbours
    double a2 = ax * ax + ay * ay, b2 = bx * bx + by * by, c2 = cx * cx + cy * cy;
    t.cx = (a2 * (by - cy) + b2 * (cy - ay) + c2 * (ay - by)) / d;
    t.cy = (a2 * (cx - bx) + b2 * (ax - cx) + c2 * (bx - ax)) / d;
    t.r2 = (ax - t.cx) * (ax - t.cx) + (ay - t.cy) * (ay - t.cy);
    return t;
}

float Float(double v) {
    return static_cast<float>(v);
}

// Left subtree size of a complete binary tree of n nodes.
size_t LeftSize(size_t n) {
    if (n <= 1) return 0;
    size_t h = 0;
    while ((size_t{2} << h) <= n)
        ++h;  // levels 0..h
    size_t full = (size_t{1} << h) - 1, last = n - full, half = size_t{1} << (h - 1);
    return (half - 1) + std::min(last, half);
}

float Side(const TriangleRecord& t, int k) {
    return k == 0 ? t.Lado1 : k == 1 ? t.Lado2 : t.Lado3;
}

void Lay(std::vector<TriangleRecord>& items, size_t lo, size_t hi, size_t node, int level,
         std::vector<TriangleRecord>& out) {
    size_t n = hi - lo;
    if (n == 0) return;
    int k = level % 3;
    size_t mid = lo + LeftSize(n);
    std::nth_element(
        items.begin() + lo, items.begin() + mid, items.begin() + hi,
        [k](const TriangleRecord& a, const TriangleRecord& b) { return Side(a, k) < Side(b, k); });
    out[node - 1] = items[mid];
    Lay(items, lo, mid, 2 * node, level + 1, out);
    Lay(items, mid + 1, hi, 2 * node + 1, level + 1, out);
}

}  // namespace

std::vector<std::array<int32_t, 3>> DelaunayTriangles(const std::vector<PlanePoint>& points) {
    const auto n = static_cast<int32_t>(points.size());
    if (n < 3) return {};
    double xmin = points[0].x, xmax = xmin, ymin = points[0].y, ymax = ymin;
    for (const auto& p : points)
        xmin = std::min(xmin, p.x), xmax = std::max(xmax, p.x), ymin = std::min(ymin, p.y),
        ymax = std::max(ymax, p.y);
    double dmax = std::max({xmax - xmin, ymax - ymin, 1e-12}), xm = (xmin + xmax) / 2, ym = (ymin + ymax) / 2;
    std::vector<PlanePoint> p = points;
    p.push_back({xm - 20 * dmax, ym - dmax});
    p.push_back({xm, ym + 20 * dmax});
    p.push_back({xm + 20 * dmax, ym - dmax});
    std::vector<Tri> tris{MakeTri(p, n, n + 1, n + 2)};
    for (int32_t i = 0; i < n; ++i) {
        std::vector<std::array<int32_t, 2>> edges;
        for (size_t j = 0; j < tris.size();) {
            const Tri& t = tris[j];
            double dx = p[i].x - t.cx, dy = p[i].y - t.cy;
            if (t.r2 >= 0 && dx * dx + dy * dy <= t.r2) {
                edges.push_back({t.a, t.b}), edges.push_back({t.b, t.c}), edges.push_back({t.c, t.a});
                tris[j] = tris.back();
                tris.pop_back();
            } else {
                ++j;
            }
        }
        std::vector<char> gone(edges.size(), 0);
        for (size_t e = 0; e < edges.size(); ++e)
            for (size_t f = e + 1; f < edges.size(); ++f)
                if (edges[e][0] == edges[f][1] && edges[e][1] == edges[f][0]) gone[e] = gone[f] = 1;
        for (size_t e = 0; e < edges.size(); ++e)
            if (!gone[e]) tris.push_back(MakeTri(p, edges[e][0], edges[e][1], i));
    }
    std::vector<std::array<int32_t, 3>> out;
    for (const auto& t : tris)
        if (t.a < n && t.b < n && t.c < n && t.r2 >= 0) out.push_back({t.a, t.b, t.c});
    return out;
}

bool TangentPlane(double ra0, double dec0, double ra, double dec, double& x, double& y) {
    double da = (ra - ra0) * kRad, d0 = dec0 * kRad, d = dec * kRad;
    double cosc = std::sin(d0) * std::sin(d) + std::cos(d0) * std::cos(d) * std::cos(da);
    if (cosc <= 1e-9) return false;
    x = std::cos(d) * std::sin(da) / cosc;
    y = (std::cos(d0) * std::sin(d) - std::sin(d0) * std::cos(d) * std::cos(da)) / cosc;
    return true;
}

std::array<double, 3> TriangleSides(const std::vector<DecRecord>& stars, int32_t i, int32_t j, int32_t k) {
    const auto &a = stars[i - 1], &b = stars[j - 1], &c = stars[k - 1];
    return {AngularDistance(a.Ar, a.De, b.Ar, b.De), AngularDistance(b.Ar, b.De, c.Ar, c.De),
            AngularDistance(a.Ar, a.De, c.Ar, c.De)};
}

bool CanonicalTriangle(const std::vector<DecRecord>& stars, int32_t n1, int32_t n2, int32_t n3,
                       TriangleRecord& out) {
    int32_t v[3] = {n1, n2, n3};
    std::sort(v, v + 3);
    const int32_t I = v[0], J = v[1], K = v[2];
    auto s = TriangleSides(stars, I, J, K);  // s(I,J), s(J,K), s(I,K)
    for (double side : s)
        if (!(side >= kMinTriangleSide && side <= kMaxTriangleSide)) return false;
    // A: opposite the first of s(I,J), s(J,K), s(I,K) that is not above the other two; B, C as the
    // image's trial order gives them.
    int32_t a, b, c;
    if (s[0] <= s[1] && s[0] <= s[2])
        a = K, b = I, c = J;
    else if (s[1] <= s[0] && s[1] <= s[2])
        a = I, b = J, c = K;
    else
        a = J, b = K, c = I;
    // The sky and an image with its pixel rows downward turn in opposite senses: a canonical image
    // triangle has a positive screen product, so its sky triangle has a negative determinant.
    auto vec = [&](int32_t r) { return UnitVector(stars[r - 1].Ar, stars[r - 1].De); };
    if (Determinant(vec(a), vec(b), vec(c)) > 0) std::swap(b, c);
    auto dist = [&](int32_t p, int32_t q) {
        return AngularDistance(stars[p - 1].Ar, stars[p - 1].De, stars[q - 1].Ar, stars[q - 1].De);
    };
    out.Lado1 = Float(dist(b, c));
    out.Lado2 = Float(dist(c, a));
    out.Lado3 = Float(dist(a, b));
    out.Estrella1 = a, out.Estrella2 = b, out.Estrella3 = c;
    return true;
}

std::vector<TriangleRecord> ChooseTriangles(const std::vector<DecRecord>& stars,
                                            const std::vector<int32_t>& brightnessRank,
                                            const TriangleChoice& choice, const ProgressFn& progress) {
    std::vector<double> ra(stars.size()), dec(stars.size());
    for (size_t i = 0; i < stars.size(); ++i)
        ra[i] = stars[i].Ar, dec[i] = stars[i].De;
    SkyIndex index(ra, dec, 1.0);
    std::unordered_set<uint64_t> seen;
    std::vector<TriangleRecord> out;
    auto key = [](int32_t a, int32_t b, int32_t c) {
        // Three record numbers below 2^21 each; larger files fall back to a wider mix.
        return (static_cast<uint64_t>(a) << 42) ^ (static_cast<uint64_t>(b) << 21) ^ static_cast<uint64_t>(c);
    };
    std::vector<std::pair<double, double>> centres;
    for (double radius : choice.fieldRadii) {
        double step = std::max(0.05, radius * choice.spacing);
        for (double d = -90 + step / 2; d < 90; d += step) {
            double w = step / std::max(std::cos(d * kRad), 1e-3);
            auto count = std::max(1, static_cast<int>(std::ceil(360.0 / w)));
            for (int k = 0; k < count; ++k)
                centres.push_back({(k + 0.5) * 360.0 / count, d});
        }
        centres.push_back({-radius, 0});  // marks the end of this radius
    }
    double radius = choice.fieldRadii.empty() ? 1.0 : choice.fieldRadii[0];
    size_t r = 0;
    std::vector<int32_t> field;
    std::vector<PlanePoint> plane;
    for (size_t ci = 0; ci < centres.size(); ++ci) {
        auto [cra, cdec] = centres[ci];
        if (cra < 0) {
            if (++r < choice.fieldRadii.size()) radius = choice.fieldRadii[r];
            continue;
        }
        field.clear();
        index.ForEachWithin(cra, cdec, radius, [&](int32_t k) { field.push_back(k + 1); });
        std::sort(field.begin(), field.end(), [&](int32_t x, int32_t y) {
            return brightnessRank[x] < brightnessRank[y] || (brightnessRank[x] == brightnessRank[y] && x < y);
        });
        if (static_cast<int32_t>(field.size()) > choice.brightest) field.resize(choice.brightest);
        plane.clear();
        for (int32_t k : field) {
            double x = 0, y = 0;
            TangentPlane(cra, cdec, stars[k - 1].Ar, stars[k - 1].De, x, y);
            plane.push_back({x, y});
        }
        auto n = static_cast<int32_t>(field.size());
        for (int32_t m = choice.partial ? 3 : n; m <= n; ++m) {
            std::vector<PlanePoint> first(plane.begin(), plane.begin() + m);
            for (const auto& t : DelaunayTriangles(first)) {
                int32_t v[3] = {field[t[0]], field[t[1]], field[t[2]]};
                std::sort(v, v + 3);
                if (!seen.insert(key(v[0], v[1], v[2])).second) continue;
                TriangleRecord rec;
                if (CanonicalTriangle(stars, v[0], v[1], v[2], rec)) out.push_back(rec);
            }
        }
        if (progress && (ci % 1024 == 0 || ci + 1 == centres.size()))
            progress(static_cast<int64_t>(ci + 1), static_cast<int64_t>(centres.size()));
    }
    return out;
}

std::vector<TriangleRecord> TriangleTree(std::vector<TriangleRecord> triangles) {
    std::vector<TriangleRecord> out(triangles.size());
    Lay(triangles, 0, triangles.size(), 1, 0, out);
    return out;
}

void VisitBox(const std::vector<TriangleRecord>& tree, const float lo[3], const float hi[3],
              const std::function<void(int64_t)>& visit, int level, int64_t position) {
    const int64_t n = (int64_t{1} << level) + position;
    if (n > static_cast<int64_t>(tree.size())) return;
    const auto& r = tree[n - 1];
    const float s[3] = {r.Lado1, r.Lado2, r.Lado3};
    const int c = level % 3;
    if (s[c] == 0) return;  // an empty slot
    if (s[0] >= lo[0] && s[0] <= hi[0] && s[1] >= lo[1] && s[1] <= hi[1] && s[2] >= lo[2] && s[2] <= hi[2])
        visit(n);
    if (!(s[c] < lo[c])) VisitBox(tree, lo, hi, visit, level + 1, 2 * position);
    if (!(s[c] > hi[c])) VisitBox(tree, lo, hi, visit, level + 1, 2 * position + 1);
}

}  // namespace tornel::db
