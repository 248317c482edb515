// The query triangles of an image: every triple of selected stars in canonical order with the box of
// its sides, ordered so that the triangles a camera and the database most likely share come first.
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "astrometria/sky_vectors.h"
#include "busqueda/delaunay.h"
#include "busqueda/three_stars.h"
#include "busqueda/triangle_search.h"
#include "catalogo/triangle_database.h"
#include "comun/errors.h"
#include "comun/numbers.h"

namespace tornel {

namespace {

// The box of a side: proportional and absolute margins, degrees.
constexpr double kMarginProportional = 0.03 / 2.18;
constexpr double kMarginDegrees = 0.0406 / 2.18;
// The sides the database holds, degrees.
constexpr double kShortestSide = 0.1;
constexpr double kLongestSide = 2.28;
// Triangles gathered from the partial triangulations.
constexpr size_t kMostPartialTriangles = 200;

int32_t SelectedCount(const Context& c) {
    return std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10);
}

// Distance in degrees between selected stars a and b.
double ScreenSide(const Context& c, int32_t a, int32_t b) {
    const size_t lo = static_cast<size_t>(std::min(a, b)), hi = static_cast<size_t>(std::max(a, b));
    return c.mDistanciasPantalla[lo][hi] / 60;
}

// The triangle I < J < K in canonical form with its box; false when its sides cannot be in the
// database.
bool CanonicalImageTriangle(const Context& c, int32_t I, int32_t J, int32_t K, TrianguloImagen& t) {
    const double sij = ScreenSide(c, I, J), sjk = ScreenSide(c, J, K), sik = ScreenSide(c, I, K);
    int32_t a = 0, b = 0, d = 0;
    if (sij <= sjk && sij <= sik)
        a = K, b = I, d = J;
    else if (sjk <= sij && sjk <= sik)
        a = I, b = J, d = K;
    else
        a = J, b = K, d = I;
    double product = 0;
    ProductoVectorialPantalla(c, a, b, d, product);
    if (!(product > 0)) std::swap(b, d);
    const double sides[3] = {ScreenSide(c, b, d), ScreenSide(c, d, a), ScreenSide(c, a, b)};
    double lo[3], hi[3];
    for (int n = 0; n < 3; ++n) {
        lo[n] = (1 - kMarginProportional) * sides[n] - kMarginDegrees;
        hi[n] = (1 + kMarginProportional) * sides[n] + kMarginDegrees;
        if (!(lo[n] < kLongestSide) || !(hi[n] > kShortestSide)) return false;
    }
    t = {lo[0], hi[0], lo[1], hi[1], lo[2], hi[2], a, b, d, I, J, K};
    return true;
}

using StarTriple = std::array<int32_t, 3>;

StarTriple Sorted(int32_t a, int32_t b, int32_t k) {
    StarTriple s{};
    Ordena(a, b, k, s[0], s[1], s[2]);
    return s;
}

// The triangles of the Delaunay triangulation of the first m selected stars, sorted by star number.
std::vector<StarTriple> TriangulateFirst(Context& c, int32_t m) {
    Triangulacion t;
    for (int32_t k = 1; k <= m; ++k) {
        const EstrellaImagen& e = c.mSeleccionadasCuadradas[static_cast<size_t>(k)];
        t.Puntos[static_cast<size_t>(k)] = {ToLong(e.x), ToLong(e.y)};
    }
    int32_t count = 0;
    std::vector<StarTriple> out;
    if (!Construye(c, t, m, count)) return out;
    for (int32_t n = 1; n <= count; ++n) {
        const auto& v = t.TriangulosDelaunay[static_cast<size_t>(n)];
        out.push_back(Sorted(v[0], v[1], v[2]));
    }
    return out;
}

}  // namespace

void CalculaDistanciasEnPantalla(Context& c) {
    if (c.mFinAnalisis) return;
    WithCheckedTrap(c, "CalculaDistanciasEnPantalla", [&](const FpCheck& fp) {
        const int32_t n = SelectedCount(c);
        std::array<Vector3, 11> u{};
        for (int32_t k = 1; k <= n; ++k) {
            const EstrellaImagen& e = c.mSeleccionadasCuadradas[static_cast<size_t>(k)];
            const double p = e.x - c.gAnchoImagen / 2, q = e.y - c.gAltoImagen / 2, f = c.gFocalEnPixeles;
            const double norm = std::sqrt(p * p + q * q + f * f);
            u[static_cast<size_t>(k)] = {-p / norm, -q / norm, f / norm};
        }
        PairTable<double> table = c.mDistanciasPantalla;
        for (int32_t i = 1; i < n; ++i)
            for (int32_t j = i + 1; j <= n; ++j)
                table[static_cast<size_t>(i)][static_cast<size_t>(j)] =
                    HalfChordAngle(u[static_cast<size_t>(i)], u[static_cast<size_t>(j)]) *
                    c.gRadianesAGrados * 60;
        fp.Check();
        c.mDistanciasPantalla = table;
    });
}

void Tri_CalculaTriangulosDeLaImagen(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "Tri_CalculaTriangulosDeLaImagen", [&] {
        const int32_t n = SelectedCount(c);
        std::vector<TrianguloImagen> kept;
        for (int32_t I = 1; I <= n; ++I)
            for (int32_t J = I + 1; J <= n; ++J)
                for (int32_t K = J + 1; K <= n; ++K) {
                    TrianguloImagen t;
                    if (CanonicalImageTriangle(c, I, J, K, t)) kept.push_back(t);
                }
        std::vector<bool> placed(kept.size(), false);
        std::vector<TrianguloImagen> final(1);
        auto place = [&](const StarTriple& s) {
            for (size_t m = 0; m < kept.size(); ++m)
                if (!placed[m] && kept[m].EstrellaI == s[0] && kept[m].EstrellaJ == s[1] &&
                    kept[m].EstrellaK == s[2]) {
                    placed[m] = true;
                    final.push_back(kept[m]);
                    return;
                }
        };
        if (n >= 3) {
            for (const StarTriple& s : TriangulateFirst(c, n))
                place(s);
            std::vector<StarTriple> partial;
            for (int32_t m = 3; m <= n && partial.size() < kMostPartialTriangles; ++m)
                for (const StarTriple& s : TriangulateFirst(c, m))
                    if (partial.size() < kMostPartialTriangles) partial.push_back(s);
            for (const StarTriple& s : partial)
                place(s);
        }
        for (size_t m = 0; m < kept.size(); ++m)
            if (!placed[m]) final.push_back(kept[m]);
        if (c.mFinAnalisis) return;
        c.mTriangulosImagen = std::move(final);
        c.mNumTriangulosImagen = static_cast<int32_t>(c.mTriangulosImagen.size()) - 1;
    });
}

}  // namespace tornel
