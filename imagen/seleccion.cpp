// Star selection: the fainter of two candidates too close for the catalogue goes, the rest are
// sorted by brightness, and the brightest few become the selected stars.
#include <algorithm>
#include <string>

#include "comun/errors.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr double kTwinPixels = 2;

// Marks the fainter of every pair closer than the database can resolve; on a tie the later goes.
void DropClosePairs(Context& c) {
    if (c.gGradosPorPixel == 0) Raise(kErrDivisionByZero);
    // With no scale known the catalogue's resolution means nothing in pixels: only twins go.
    const double limit = c.scaleUnknown ? kTwinPixels : c.gSeparacionMinima / c.gGradosPorPixel;
    const double limit2 = limit * limit;
    const auto n = static_cast<size_t>(c.mNumCandidatas);
    for (size_t i = 1; i < n; ++i)
        for (size_t j = i + 1; j <= n; ++j) {
            double dy = c.mCandidataY[i] - c.mCandidataY[j], dx = c.mCandidataX[i] - c.mCandidataX[j];
            if (limit2 <= dy * dy + dx * dx) continue;
            if (c.mCandidataBrillo[i] < c.mCandidataBrillo[j])
                c.mCandidataEstado[i] = -1;
            else
                c.mCandidataEstado[j] = -1;
        }
}

// Repeated choice of the brightest candidate left; answers how many were placed in mEstrellas.
int32_t SortByBrightness(Context& c) {
    const auto n = static_cast<size_t>(c.mNumCandidatas);
    int32_t count = 0;
    for (size_t round = 1; round <= n; ++round) {
        double best = 0;
        size_t chosen = 0;
        for (size_t k = 1; k <= n; ++k)
            if (c.mCandidataEstado[k] == 0 && c.mCandidataBrillo[k] > best) {
                best = c.mCandidataBrillo[k];
                chosen = k;
            }
        if (!(best > 0)) continue;
        c.mCandidataEstado[chosen] = static_cast<int32_t>(round);
        ++count;
        c.mEstrellas.at(static_cast<size_t>(count)) = {c.mCandidataX[chosen], c.mCandidataY[chosen], best};
    }
    return count;
}

void Circle(Context& c, const EstrellaImagen& e, double radius, OverlayColour colour) {
    const double f = c.gFactorReduccion;
    c.platform.DrawCircle(e.x / f - 1, (c.gPixelesY - e.y) / f, radius, colour, 2);
}

}  // namespace

void SeleccionaEstrellas(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "SeleccionaEstrellas", [&] {
        if (c.mCandidataEstado.size() <= static_cast<size_t>(c.mNumCandidatas)) Raise(kErrSubscript);
        if (!c.mSoloExtraer) DropClosePairs(c);
        const int32_t count = SortByBrightness(c);
        c.mNumCandidatas = count;
        const int32_t chosen = std::min<int32_t>(c.gEstrellasSeleccionar, count);
        for (int32_t i = 1; i <= chosen; ++i) {
            const EstrellaImagen& e = c.mEstrellas[static_cast<size_t>(i)];
            Circle(c, e, 10, OverlayColour::Red);
            const double f = c.gFactorReduccion;
            c.platform.DrawText(e.x / f - 1, (c.gPixelesY - e.y) / f, std::to_string(i), OverlayColour::Red);
            ++c.mNumSeleccionadas;
            c.mSeleccionadas.at(static_cast<size_t>(i)) = e;
        }
        for (int32_t i = c.mNumSeleccionadas + 1; i <= count; ++i)
            Circle(c, c.mEstrellas[static_cast<size_t>(i)], 6, OverlayColour::Blue);
        if (c.mNumSeleccionadas < 4) {
            std::string n = std::to_string(c.mNumSeleccionadas);
            ParaResumen(c, "Sólo " + n + " estrellas seleccionadas.",
                        "Seulement " + n + " étoiles sélectionnées.", "Only " + n + " selected stars.");
        }
    });
}

}  // namespace tornel
