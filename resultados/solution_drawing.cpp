#include "resultados/solution_drawing.h"

#include <algorithm>
#include <cmath>

#include "astrometria/plate_model.h"
#include "catalogo/deep_sky_objects.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/language.h"
#include "resultados/solution_presentation.h"
#include "telescopio/guidance.h"

namespace tornel {

namespace {

constexpr double kDegreesToRadians = 3.14159265358979323846 / 180;

void DrawSide(Context& c, double x1, double y1, double x2, double y2) {
    double a = 0, b = 0, d = 0, e = 0;
    ToDisplay(c, x1, y1, a, b);
    ToDisplay(c, x2, y2, d, e);
    c.platform.DrawLine(a, b, d, e, OverlayColour::Green);
}

// The sides of the solution: for the distance road the pairs of identified stars whose distance
// matched; the triangle road matched every pair of its identified stars.
void DibujaLineas(Context& c) {
    if (c.presentedRoad == SolutionRoad::Distances) {
        const auto indice = static_cast<size_t>(c.mIndiceSolucion);
        if (indice < 1 || indice >= c.mSoluciones.size()) return;
        const Solucion& sol = c.mSoluciones[indice];
        const int32_t n = std::min(sol.NumEnPoligono, 10);
        for (int32_t a = 1; a <= n; ++a)
            for (int32_t b = a + 1; b <= n; ++b) {
                const EstrellaSolucion& s = sol.EstrellasSolucion[static_cast<size_t>(a)];
                const EstrellaSolucion& t = sol.EstrellasSolucion[static_cast<size_t>(b)];
                const auto i = static_cast<size_t>(std::min(s.Numero, t.Numero));
                const auto j = static_cast<size_t>(std::max(s.Numero, t.Numero));
                if (i >= 1 && j <= 10 && sol.Lados[i][j] != 0) DrawSide(c, s.X, s.Y, t.X, t.Y);
            }
    } else if (c.presentedRoad == SolutionRoad::Triangles) {
        const int32_t n = std::min<int32_t>(10, static_cast<int32_t>(c.mSeleccionadasCuadradas.size()) - 1);
        for (int32_t i = 1; i <= n; ++i)
            for (int32_t j = i + 1; j <= n; ++j)
                if (Estrella(c.mSolucion, i) != 0 && Estrella(c.mSolucion, j) != 0) {
                    const EstrellaImagen& s = c.mSeleccionadasCuadradas[static_cast<size_t>(i)];
                    const EstrellaImagen& t = c.mSeleccionadasCuadradas[static_cast<size_t>(j)];
                    DrawSide(c, s.x, s.y, t.x, t.y);
                }
    }
}

// Each matched catalogue star as a small cross where the plate puts it; for the pattern road, whose
// stars carry no identifier, a circle on the image star too.
void DibujaEstrellasCatalogo(Context& c) {
    const PlateInverse inverse = InvertPlate(c.Cij);
    for (const MatchedStar& m : c.matchedStars) {
        double x = 0, y = 0, dx = 0, dy = 0;
        if (c.presentedRoad == SolutionRoad::Patterns) {
            ToDisplay(c, m.x, m.y, dx, dy);
            c.platform.DrawCircle(dx, dy, 8, OverlayColour::Green, 1);
        }
        if (!SkyToPixel(c, inverse, m.ra, m.dec, x, y)) continue;
        ToDisplay(c, x, y, dx, dy);
        c.platform.DrawLine(dx - 3, dy, dx + 3, dy, OverlayColour::Magenta);
        c.platform.DrawLine(dx, dy - 3, dx, dy + 3, OverlayColour::Magenta);
    }
}

void DibujaEstrellasSolucion(Context& c) {
    if (c.presentedRoad == SolutionRoad::Distances) EscribeIDsEstrellas(c, c.mIndiceSolucion);
    if (c.presentedRoad == SolutionRoad::Triangles) Tri_EscribeIDsEstrellas(c);
    DibujaEstrellasCatalogo(c);
}

bool OnImage(const Context& c, double x, double y) {
    return x >= 0 && y >= 0 && x <= c.gAnchoImagen && y <= c.gAltoImagen;
}

}  // namespace

double SolvedDegreesPerPixel(const Context& c) {
    return c.gHaySolucion && c.measuredScale > 0 ? c.measuredScale / 3600 : c.gGradosPorPixel;
}

void DibujaBrujula(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "DibujaBrujula", [&] {
        const double w = c.gAnchoImagen, h = c.gAltoImagen;
        CoordenadasImagenAesfericas(c, w / 2, h / 2);
        const double ra = c.mRAconvertida, dec = c.mDECconvertida;
        const double cd = std::cos(dec * kDegreesToRadians);
        const double vx = cd * std::cos(ra * kDegreesToRadians), vy = cd * std::sin(ra * kDegreesToRadians),
                     vz = std::sin(dec * kDegreesToRadians);
        const double halfDiagonal = std::sqrt(w * w + h * h) * SolvedDegreesPerPixel(c) * 60 / 2;
        bool pole = false;
        for (const double side : {1.0, -1.0}) {
            // Half the chord to the pole gives the angle to it.
            const double half = std::sqrt(vx * vx + vy * vy + (vz - side) * (vz - side)) / 2;
            const double minutes = 2 * std::asin(std::min(half, 1.0)) / kDegreesToRadians * 60;
            if (minutes >= halfDiagonal) continue;
            pole = true;
            double x = 0, y = 0, dx = 0, dy = 0;
            CoordenadasCatalogoAimagen(c, 100, 90 * side, x, y);
            if (c.mFinAnalisis) return;
            ToDisplay(c, x, y, dx, dy);
            c.platform.DrawCircle(dx, dy, 5, OverlayColour::Yellow, 2);
            c.platform.DrawText(
                dx + 8, dy - 8,
                side > 0 ? Pick(c, "Polo N", "Pôle N", "N pole") : Pick(c, "Polo S", "Pôle S", "S pole"),
                OverlayColour::Yellow);
        }
        // The east arm divides by the cosine of the declination: never with a pole on the image.
        if (pole) return;
        const double length = h * SolvedDegreesPerPixel(c) / 6;
        double nx = 0, ny = 0, ex = 0, ey = 0;
        CoordenadasCatalogoAimagen(c, ra, dec + length, nx, ny);
        // East is where the right ascension grows.
        CoordenadasCatalogoAimagen(c, ra + length / cd, dec, ex, ey);
        if (c.mFinAnalisis) return;
        double x0 = 0, y0 = 0, x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        ToDisplay(c, w / 2, h / 2, x0, y0);
        ToDisplay(c, nx, ny, x1, y1);
        ToDisplay(c, ex, ey, x2, y2);
        c.platform.DrawLine(x0, y0, x1, y1, OverlayColour::Yellow);
        c.platform.DrawLine(x0, y0, x2, y2, OverlayColour::Yellow);
        // Each letter a little beyond its arm's end.
        auto beyond = [&](double x, double y, double& tx, double& ty) {
            const double len = std::max(1.0, std::hypot(x - x0, y - y0));
            tx = x + (x - x0) / len * 10 - 4;
            ty = y + (y - y0) / len * 10 + 5;
        };
        double tx = 0, ty = 0;
        beyond(x1, y1, tx, ty);
        c.platform.DrawText(tx, ty, "N", OverlayColour::Yellow);
        beyond(x2, y2, tx, ty);
        c.platform.DrawText(tx, ty, "E", OverlayColour::Yellow);
    });
}

void DibujaDestino(Context& c) {
    if (c.mFinAnalisis) return;
    double ra = 0, dec = 0, x = 0, y = 0;
    GuidanceTarget(c, ra, dec);
    if (!SkyToPixel(c, InvertPlate(c.Cij), ra, dec, x, y)) return;
    const std::string name = Pick(c, "Destino", "Cible", "Target");
    double dx = 0, dy = 0;
    if (OnImage(c, x, y)) {
        ToDisplay(c, x, y, dx, dy);
        c.platform.DrawCircle(dx, dy, 12, OverlayColour::Red, 2);
        c.platform.DrawLine(dx - 18, dy, dx + 18, dy, OverlayColour::Red);
        c.platform.DrawLine(dx, dy - 18, dx, dy + 18, OverlayColour::Red);
        c.platform.DrawText(dx + 14, dy - 14, name, OverlayColour::Red);
        return;
    }
    // Off the image: a line from the centre towards it, ending inside the image.
    const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2;
    const double reach = std::min(0.45 * c.gAnchoImagen / std::max(1e-9, std::fabs(x - cx)),
                                  0.45 * c.gAltoImagen / std::max(1e-9, std::fabs(y - cy)));
    double x0 = 0, y0 = 0;
    ToDisplay(c, cx, cy, x0, y0);
    ToDisplay(c, cx + (x - cx) * reach, cy + (y - cy) * reach, dx, dy);
    c.platform.DrawLine(x0, y0, dx, dy, OverlayColour::Red);
    c.platform.DrawCircle(dx, dy, 4, OverlayColour::Red, 2);
    c.platform.DrawText(dx + 6, dy - 6, name + " >", OverlayColour::Red);
}

void DibujaSolucion(Context& c, bool first) {
    Platform& p = c.platform;
    p.SetOverlayLayer(OverlayLayer::Solution);
    p.ClearOverlayLayer(OverlayLayer::Solution);
    p.HideGuidance();
    if (c.gHaySolucion && c.presentedRoad != SolutionRoad::None) {
        if (c.showStarNumbers) DibujaEstrellasSolucion(c);
        if (c.showLines) DibujaLineas(c);
        // A missing objects file is said once, when the solution is announced.
        if (c.showObjects && (first || FileExists(c.gCarpetaEstrellas + "pgc.bin"))) {
            BuscaObjetosNGCdicotomica(c);
            BuscaPlanetas(c);
        }
        if (c.showTarget) DibujaDestino(c);
        DibujaBrujula(c);
        if (c.gAvisosGuiado && c.gSolucionSegura) GuiadoAlDestino(c);
        if (!c.gSolucionSegura) AvisoSolucionNoSegura(c);
    }
    p.SetOverlayLayer(OverlayLayer::Analysis);
}

void PresentaSolucion(Context& c) {
    if (c.gAnalizando || !c.gHaySolucion) return;
    // The analysis that found the solution has ended, and its end flag would stop every drawing.
    const bool ended = c.mFinAnalisis;
    c.mFinAnalisis = false;
    DibujaSolucion(c, false);
    c.mFinAnalisis = ended;
}

}  // namespace tornel
