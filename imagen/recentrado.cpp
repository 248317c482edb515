// Recentering: the common shift of the stars between two images, found without a catalogue.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "comun/numbers.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

struct Shift {
    int32_t count = 0;
    double dx = 0, dy = 0;  // pixels, new minus old
};

// The shift shared by most differences between the old and the new stars, within 2 pixels.
Shift CommonShift(const std::array<double, 11>& oldX, const std::array<double, 11>& oldY, int32_t na,
                  const std::array<EstrellaImagen, 11>& now, int32_t nb) {
    constexpr double t = 2.0;
    Shift s;
    if (na < 1) return s;
    na = std::min(na, 10);
    nb = std::min(nb, 10);
    double ddx[100], ddy[100];
    int n = 0;
    for (int32_t a = 1; a <= na; ++a)
        for (int32_t b = 1; b <= nb; ++b, ++n) {
            ddx[n] = now[static_cast<size_t>(b)].x - oldX[static_cast<size_t>(a)];
            ddy[n] = now[static_cast<size_t>(b)].y - oldY[static_cast<size_t>(a)];
        }
    int32_t bestCount = 0;
    double bestX = 0, bestY = 0;
    for (int k = 0; k < n; ++k) {
        int32_t members = 1;
        double sx = ddx[k], sy = ddy[k];
        for (int m = 0; m < n; ++m) {
            if (m == k) continue;
            if (ddx[m] >= ddx[k] - t && ddx[m] <= ddx[k] + t && ddy[m] >= ddy[k] - t &&
                ddy[m] <= ddy[k] + t) {
                ++members;
                sx += ddx[m];
                sy += ddy[m];
            }
        }
        // The first of equals wins.
        if (members > bestCount) {
            bestCount = members;
            bestX = sx;
            bestY = sy;
        }
    }
    if (bestCount == 0) return s;
    s.count = bestCount;
    s.dx = bestX / bestCount;
    s.dy = bestY / bestCount;
    return s;
}

std::string Signed(double v) {
    std::string t = FormatNumber(v, "000.00");
    return v >= 0 ? "+" + t : t;
}

}  // namespace

void CalculaDescentradoConAnterior(Context& c) {
    Shift s =
        CommonShift(c.mAnteriorX, c.mAnteriorY, c.mNumAnteriores, c.mSeleccionadasVisu, c.mNumSeleccionadas);
    c.mEstrellasDesdeAnterior = s.count;
    c.mDeltaXAnterior = s.dx;
    c.mDeltaYAnterior = s.dy;
    c.mNumAnteriores = c.mNumSeleccionadas;
    for (size_t i = 1; i <= 10; ++i) {
        c.mAnteriorX[i] = c.mSeleccionadasVisu[i].x;
        c.mAnteriorY[i] = c.mSeleccionadasVisu[i].y;
    }
}

void CalculaDescentradoConReferencia(Context& c) {
    Shift s = CommonShift(c.mReferenciaX, c.mReferenciaY, c.mNumReferencia, c.mSeleccionadasVisu,
                          c.mNumSeleccionadas);
    c.mEstrellasDesdeReferencia = s.count;
    c.mDeltaXReferencia = s.dx;
    c.mDeltaYReferencia = s.dy;
}

void AceptaReferencia(Context& c) {
    std::string n = std::to_string(c.mNumSeleccionadas);
    if (c.mNumSeleccionadas < 3) {
        AvisoIdioma(
            c, "Imagen de referencia para el recentrado:\nInsuficientes (" + n + ") estrellas seleccionadas.",
            "Image de référence pour le recentrage:\nInsuffisant (" + n + ") étoiles sélectionnées.",
            "Reference image for recentering:\nInsufficient (" + n + ") selected stars.");
        VisuTitulo(c, "Insuficientes (" + n + ") estrellas seleccionadas.",
                   "Insuffisant (" + n + ") étoiles sélectionnées.",
                   "Insufficient (" + n + ") selected stars.");
        return;
    }
    c.mNumReferencia = c.mNumSeleccionadas;
    for (size_t i = 1; i <= 10; ++i) {
        c.mReferenciaX[i] = c.mSeleccionadasVisu[i].x;
        c.mReferenciaY[i] = c.mSeleccionadasVisu[i].y;
    }
    VisuTitulo(c, "Imagen de referencia para el recentrado aceptada",
               "Image de référence pour le recentrage acceptée", "Reference image for recentering accepted");
}

void LineaDeriva(Context& c) {
    std::string dx = Signed(c.mDeltaXReferencia), dy = Signed(c.mDeltaYReferencia);
    std::string n = std::to_string(c.mEstrellasDesdeReferencia);
    ParaResumen(c, "Deriva: dX= " + dx + " pxls, dY= " + dy + " pxls (para " + n + " estrellas)",
                "Déplacement image: dX= " + dx + " pxls, dY= " + dy + " pxls (pour " + n + " étoiles)",
                "Image drift: dX= " + dx + " pxls, dY= " + dy + " pxls (for " + n + " stars)");
}

}  // namespace tornel
