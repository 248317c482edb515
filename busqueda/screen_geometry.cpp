// Screen geometry: unit vectors of the image pixels, arcs between them and the inclination of a
// pair to the north, as the database measures its segments.
#include "busqueda/screen_geometry.h"

#include <algorithm>
#include <cmath>

#include "comun/errors.h"
#include "comun/numbers.h"

namespace tornel {

namespace {

struct Vec {
    double x = 0, y = 0, z = 0;
};

Vec operator-(Vec a, Vec b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
double Norm(Vec v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

// Arc (radians) between two unit vectors from half their chord, by the arc tangent as always.
double Arc(Vec a, Vec b) {
    double h = Norm(a - b) / 2;
    return 2 * std::atan(h / std::sqrt(1 - h * h));
}

// Direction of the offset (X, Y) from the centre with focal length f (pixels); false when r is 0.
bool Direction(double X, double Y, double f, Vec& u) {
    double r = std::sqrt(X * X + Y * Y + f * f);
    if (r == 0) return false;
    u = {-X / r, -Y / r, f / r};
    return true;
}

// Whether star j is to be taken as the first end of the pair (i, j), by the side of the line
// through them on which the pole lies.
bool Reversed(double declinacion, double gradosARadianes, double f, double Xi, double Yi, double Xj,
              double Yj) {
    double intercept = 0;
    if (Xi == Xj)
        intercept = declinacion >= 0 ? 99999999999999.0 : -99999999999999.0;
    else
        intercept = Yj - (Yi - Yj) * Xj / (Xi - Xj);
    if (declinacion == 0) return Xi <= Xj;
    if (declinacion > 0) {
        double p = std::tan((90 - declinacion) * gradosARadianes) * f;
        if (p < 0) p = 9999999;
        return p < intercept ? Xi > Xj : Xi <= Xj;
    }
    double p = std::tan((-declinacion - 90) * gradosARadianes) * f;
    if (p > 0) p = -9999999;
    return p < intercept ? Xi <= Xj : Xi > Xj;
}

}  // namespace

bool CalculaDistanciaInclinacionParPantalla(Context& c, double x1, double y1, double z1, double x2, double y2,
                                            double z2, double xp, double yp, double zp, double& distancia,
                                            double& inclinacion) {
    const Vec a{x1, y1, z1}, b{x2, y2, z2}, p{xp, yp, zp};
    Vec mid{(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
    double scale = 1 / Norm(mid);
    mid = {mid.x * scale, mid.y * scale, mid.z * scale};
    double h = Norm(a - b) / 2;
    double m = std::atan(h / std::sqrt(1 - h * h));
    distancia = 2 * m * c.gRadianesAGrados * 60;
    double arcB = Arc(p, b);
    double arcM = Arc(p, mid);
    // Spherical law of cosines in the triangle midpoint, B, pole. A pair of one point, or a
    // midpoint at the pole, has no direction: it takes the out-of-range answer.
    double denominator = std::sin(m) * std::sin(arcM);
    double k = denominator == 0 ? 2 : (std::cos(arcB) - std::cos(m) * std::cos(arcM)) / denominator;
    if (1 - k * k < 0) {
        inclinacion = b.y <= a.y ? 179 : 0;
        return true;
    }
    inclinacion = (2 * std::atan(1.0) + std::atan(-k / std::sqrt(1 - k * k))) * c.gRadianesAGrados;
    return true;
}

namespace {

// The selected stars turned to the north-up frame of image angle `angulo` (degrees), and their unit
// vectors; the pole of declination `declinacion` in the same frame.
struct ScreenFrame {
    double X[11] = {}, Y[11] = {};
    Vec u[11];
    Vec pole;
};

// Fills the frame for stars 1..n, or only for i and j when `only` is set; false when a star lies on
// the optical axis of a zero focal length.
bool MakeFrame(const Context& c, double declinacion, double angulo, int32_t n, const int32_t* only,
               ScreenFrame& fr) {
    const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2;
    const double cs = std::cos(-angulo * c.gGradosARadianes), sn = std::sin(-angulo * c.gGradosARadianes);
    const double f = c.gFocalEnPixeles;
    for (int32_t i = 1; i <= n; ++i) {
        if (only && i != only[0] && i != only[1]) continue;
        const EstrellaImagen& e = c.mSeleccionadasCuadradas[static_cast<size_t>(i)];
        fr.X[i] = (e.x - cx) * cs + (e.y - cy) * sn;
        fr.Y[i] = -(e.x - cx) * sn + (e.y - cy) * cs;
        if (!Direction(fr.X[i], fr.Y[i], f, fr.u[i])) return false;
    }
    const double decRad = declinacion * c.gGradosARadianes;
    fr.pole = {0, -std::cos(decRad), std::sin(decRad)};
    return true;
}

// Cells (i, j) of the three pair tables.
void PairCells(Context& c, double declinacion, const ScreenFrame& fr, int32_t i, int32_t j) {
    bool inverso =
        Reversed(declinacion, c.gGradosARadianes, c.gFocalEnPixeles, fr.X[i], fr.Y[i], fr.X[j], fr.Y[j]);
    const Vec& A = inverso ? fr.u[j] : fr.u[i];
    const Vec& B = inverso ? fr.u[i] : fr.u[j];
    double distancia = 0, inclinacion = 0;
    CalculaDistanciaInclinacionParPantalla(c, A.x, A.y, A.z, B.x, B.y, B.z, fr.pole.x, fr.pole.y, fr.pole.z,
                                           distancia, inclinacion);
    const auto si = static_cast<size_t>(i), sj = static_cast<size_t>(j);
    c.mDistanciasPantalla[si][sj] = distancia;
    c.mInclinacionesPantalla[si][sj] = inclinacion;
    c.mOrdenPantalla[si][sj] = Arc(fr.u[j], fr.pole) <= Arc(fr.u[i], fr.pole) ? 2 : 1;
}

}  // namespace

void CalculaParametrosDeLasDistanciasEnPantalla(Context& c, double declinacion, double angulo) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CalculaParametrosDeLasDistanciasEnPantalla", [&] {
        FpCheck fp;
        const int32_t n = std::min<int32_t>(c.mNumSeleccionadas, 10);
        ScreenFrame fr;
        if (!MakeFrame(c, declinacion, angulo, n, nullptr, fr)) {
            c.mFinAnalisis = true;
            return;
        }
        for (int32_t i = 1; i < n; ++i)
            for (int32_t j = i + 1; j <= n; ++j)
                PairCells(c, declinacion, fr, i, j);
        fp.Check();
    });
}

void ComputeScreenPair(Context& c, double declinacion, double angulo, int32_t i, int32_t j) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CalculaParametrosDeLasDistanciasEnPantalla", [&] {
        FpCheck fp;
        const int32_t n = std::min<int32_t>(c.mNumSeleccionadas, 10);
        if (i < 1 || j <= i || j > n) Raise(kErrSubscript);
        const int32_t only[2] = {i, j};
        ScreenFrame fr;
        if (!MakeFrame(c, declinacion, angulo, n, only, fr)) {
            c.mFinAnalisis = true;
            return;
        }
        PairCells(c, declinacion, fr, i, j);
        fp.Check();
    });
}

double CalculaDistanciaEnPantalla(Context& c, double x1, double y1, double x2, double y2) {
    double result = 0;
    WithTrap(c, "CalculaDistanciaEnPantalla", [&] {
        FpCheck fp;
        const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2, f = c.gFocalEnPixeles;
        Vec a, b;
        if (!Direction(x1 - cx, y1 - cy, f, a) || !Direction(x2 - cx, y2 - cy, f, b)) return;
        double arc = Arc(a, b) * c.gRadianesAGrados;
        fp.Check();
        result = arc;
    });
    return result;
}

}  // namespace tornel
