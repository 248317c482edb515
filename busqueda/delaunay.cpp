#include "busqueda/delaunay.h"

#include <algorithm>
#include <cfenv>
#include <cmath>

#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr double kEpsilon = 1e-06;

// The super-triangle's corners in slots n+1..n+3 and the one triangle joining them.
void SuperTriangle(Triangulacion& t, int32_t n, int32_t& count) {
    int32_t xmin = t.Puntos[1].x, xmax = xmin, ymin = t.Puntos[1].y, ymax = ymin;
    for (int32_t i = 2; i <= n; ++i) {
        const PuntoDelaunay& p = t.Puntos[static_cast<size_t>(i)];
        xmin = std::min(xmin, p.x), xmax = std::max(xmax, p.x);
        ymin = std::min(ymin, p.y), ymax = std::max(ymax, p.y);
    }
    const double dx = static_cast<double>(xmax) - xmin, dy = static_cast<double>(ymax) - ymin;
    const double dmax = std::max(dx, dy);
    const double xmid = RoundHalfEven((static_cast<double>(xmin) + xmax) / 2);
    const double ymid = RoundHalfEven((static_cast<double>(ymin) + ymax) / 2);
    auto corner = [](double x, double y) {
        return PuntoDelaunay{static_cast<int32_t>(RoundHalfEven(x)), static_cast<int32_t>(RoundHalfEven(y))};
    };
    t.Puntos[static_cast<size_t>(n + 1)] = corner(xmid - 2 * dmax, ymid - dmax);
    t.Puntos[static_cast<size_t>(n + 2)] = corner(xmid, ymid + 2 * dmax);
    t.Puntos[static_cast<size_t>(n + 3)] = corner(xmid + 2 * dmax, ymid - dmax);
    t.TriangulosDelaunay[1] = {n + 1, n + 2, n + 3};
    t.Completo[1] = 0;
    count = 1;
}

// Step a of one insertion: the triangles whose circumcircle holds point i leave, their edges go to
// the hole. False when a subscript would overflow.
bool OpenHole(Triangulacion& t, int32_t i, int32_t& count, int32_t& edges, bool& coincident, bool& fault) {
    const PuntoDelaunay& p = t.Puntos[static_cast<size_t>(i)];
    for (int32_t j = 1; j <= count; ++j) {
        if (t.Completo[static_cast<size_t>(j)] != 0) continue;
        const auto& tri = t.TriangulosDelaunay[static_cast<size_t>(j)];
        const PuntoDelaunay &a = t.Puntos[static_cast<size_t>(tri[0])],
                            &b = t.Puntos[static_cast<size_t>(tri[1])],
                            &d = t.Puntos[static_cast<size_t>(tri[2])];
        double xc = 0, yc = 0, r = 0;
        if (!InCircle(p.x, p.y, a.x, a.y, b.x, b.y, d.x, d.y, xc, yc, r, coincident, fault)) {
            if (fault) return true;
            continue;
        }
        if (edges + 3 > Triangulacion::kMaxAristas) return false;
        t.Aristas[static_cast<size_t>(++edges)] = {0, tri[0], tri[1]};
        t.Aristas[static_cast<size_t>(++edges)] = {0, tri[1], tri[2]};
        t.Aristas[static_cast<size_t>(++edges)] = {0, tri[2], tri[0]};
        t.TriangulosDelaunay[static_cast<size_t>(j)] = t.TriangulosDelaunay[static_cast<size_t>(count)];
        t.Completo[static_cast<size_t>(j)] = t.Completo[static_cast<size_t>(count)];
        --j;
        --count;
    }
    return true;
}

// Steps b and c: edges met twice in opposite senses are inside the hole; the others close it with i.
bool CloseHole(Triangulacion& t, int32_t i, int32_t& count, int32_t edges) {
    for (int32_t e = 1; e < edges; ++e)
        for (int32_t f = e + 1; f <= edges; ++f) {
            auto &a = t.Aristas[static_cast<size_t>(e)], &b = t.Aristas[static_cast<size_t>(f)];
            if (a[1] == b[2] && a[2] == b[1] && a[1] != 0) {
                a[1] = a[2] = 0;
                b[1] = b[2] = 0;
            }
        }
    for (int32_t e = 1; e <= edges; ++e) {
        const auto& a = t.Aristas[static_cast<size_t>(e)];
        if (a[1] == 0 && a[2] == 0) continue;
        if (count >= Triangulacion::kMaxTriangulos) return false;
        ++count;
        t.TriangulosDelaunay[static_cast<size_t>(count)] = {a[1], a[2], i};
        t.Completo[static_cast<size_t>(count)] = 0;
    }
    return true;
}

}  // namespace

bool InCircle(int32_t xp, int32_t yp, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t x3, int32_t y3,
              double& xc, double& yc, double& r, bool& coincidentes, bool& fallo) {
    const double X1 = x1, Y1 = y1, X2 = x2, Y2 = y2, X3 = x3, Y3 = y3;
    if (std::fabs(Y1 - Y2) < kEpsilon && std::fabs(Y2 - Y3) < kEpsilon) {
        coincidentes = true;
        return false;
    }
    FpCheck fp;
    double cx = 0, cy = 0;
    if (std::fabs(Y2 - Y1) < kEpsilon) {
        const double m2 = -(X3 - X2) / (Y3 - Y2), mx2 = (X2 + X3) / 2, my2 = (Y2 + Y3) / 2;
        cx = (X2 + X1) / 2;
        cy = m2 * (cx - mx2) + my2;
    } else if (std::fabs(Y3 - Y2) < kEpsilon) {
        const double m1 = -(X2 - X1) / (Y2 - Y1), mx1 = (X1 + X2) / 2, my1 = (Y1 + Y2) / 2;
        cx = (X3 + X2) / 2;
        cy = m1 * (cx - mx1) + my1;
    } else {
        const double m1 = -(X2 - X1) / (Y2 - Y1), m2 = -(X3 - X2) / (Y3 - Y2);
        const double mx1 = (X1 + X2) / 2, my1 = (Y1 + Y2) / 2, mx2 = (X2 + X3) / 2, my2 = (Y2 + Y3) / 2;
        cx = (m1 * mx1 - m2 * mx2 + my2 - my1) / (m1 - m2);
        cy = m1 * (cx - mx1) + my1;
    }
    const double rsqr = (X2 - cx) * (X2 - cx) + (Y2 - cy) * (Y2 - cy);
    const double drsqr = (xp - cx) * (xp - cx) + (yp - cy) * (yp - cy);
    const double radius = std::sqrt(rsqr);
    if (std::fetestexcept(FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW)) {
        fallo = true;
        return false;
    }
    xc = cx;
    yc = cy;
    r = radius;
    return drsqr <= rsqr;
}

int32_t TriangulaPuntos(Triangulacion& t, int32_t n, int32_t& numTriangulos) {
    if (n < 3) return kDelaunayHecho;
    if (n + 3 > Triangulacion::kMaxPuntos) return kDelaunayDesborde;
    int32_t count = 0;
    SuperTriangle(t, n, count);
    bool coincident = false, fault = false;
    for (int32_t i = 1; i <= n; ++i) {
        int32_t edges = 0;
        if (!OpenHole(t, i, count, edges, coincident, fault)) return kDelaunayDesborde;
        if (fault) return kDelaunayNumerico;
        if (!CloseHole(t, i, count, edges)) return kDelaunayDesborde;
    }
    int32_t kept = 0;
    for (int32_t j = 1; j <= count; ++j) {
        const auto& tri = t.TriangulosDelaunay[static_cast<size_t>(j)];
        if (tri[0] > n || tri[1] > n || tri[2] > n) continue;
        t.TriangulosDelaunay[static_cast<size_t>(++kept)] = tri;
    }
    numTriangulos = kept;
    return coincident ? kDelaunayCoincidentes : kDelaunayHecho;
}

bool Construye(Context& c, Triangulacion& t, int32_t n, int32_t& numTriangulos) {
    return WithTrap(c, " Construye", [&] {
        const int32_t status = TriangulaPuntos(t, n, numTriangulos);
        if (status == kDelaunayCoincidentes) c.platform.MessageBox("INCIRCUM - F - Points are coincident !!");
        if (status == kDelaunayDesborde) Raise(kErrSubscript);
        if (status == kDelaunayNumerico) Raise(kErrDivisionByZero);
    });
}

}  // namespace tornel
