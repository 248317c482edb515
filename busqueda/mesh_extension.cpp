#include "busqueda/mesh_extension.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "astrometria/pair_geometry.h"
#include "astrometria/plate_model.h"
#include "busqueda/screen_geometry.h"
#include "catalogo/field_stars.h"
#include "catalogo/regions.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"

namespace tornel {

namespace {

// The sky box, millionths of a degree, of three pixels around an unidentified star.
struct Window {
    int32_t entry = 0;
    double r1 = 0, r2 = 0, d1 = 0, d2 = 0;
};

std::vector<Window> WindowsOfUnidentified(Context& c, const Solucion& sol) {
    std::vector<Window> windows;
    for (int32_t e = 1; e <= sol.NumEstrellas; ++e) {
        const EstrellaSolucion& star = sol.EstrellasSolucion[static_cast<size_t>(e)];
        if (star.Id != 0) continue;
        // The plate does not change within the scan: each star's box is made once.
        CoordenadasImagenAesfericas(c, star.X, star.Y);
        if (c.mFinAnalisis) return {};
        const double r = c.mRAconvertida, d = c.mDECconvertida;
        const double dr = c.gMinutosPorPixel / (20 * std::cos(d * c.gGradosARadianes));
        const double dd = c.gMinutosPorPixel / 20;
        Window w;
        w.entry = e;
        w.r1 = std::max(r - dr, 0.0) * 1000000;
        w.r2 = std::min(r + dr, 360.0) * 1000000;
        w.d1 = std::max(d - dd, -90.0) * 1000000;
        w.d2 = std::min(d + dd, 90.0) * 1000000;
        windows.push_back(w);
    }
    return windows;
}

}  // namespace

void DistanciasDeEstrellaAlOro(Context& c, int32_t s, int32_t estrella, double x, double y, double ar,
                               double de, int32_t& aciertos) {
    aciertos = 0;
    int32_t agreeing = 0;
    const bool ok = WithTrap(c, "DistanciasDeEstrellaAlOro", [&] {
        (void)estrella;
        const Solucion& sol = c.mSoluciones.at(static_cast<size_t>(s));
        const double limit = c.gPorcentajeError / 100.0;
        for (int32_t b : {sol.Base1, sol.Base2, sol.Base3}) {
            const EstrellaSolucion& base = sol.EstrellasSolucion.at(static_cast<size_t>(b));
            const double screen = CalculaDistanciaEnPantalla(c, x, y, base.X, base.Y);
            const double catalogue = CalculaDistancia(c, ar, de, base.Ar, base.De);
            if (catalogue > 0 && std::fabs(screen - catalogue) / catalogue < limit) ++agreeing;
        }
    });
    if (ok) aciertos = agreeing;
}

void ExtiendeMallaGSC(Context& c, int32_t s) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "ExtiendeMallaGSC", [&] {
        std::vector<int32_t> regiones;
        double arMin = 0, arMax = 0, deMin = 0, deMax = 0;
        DeterminaRegionesPorMirar(c, regiones, arMin, arMax, deMin, deMax);
        if (c.mFinAnalisis) return;
        arMin *= 1000000, arMax *= 1000000, deMin *= 1000000, deMax *= 1000000;
        Solucion& sol = c.mSoluciones.at(static_cast<size_t>(s));
        const std::vector<Window> windows = WindowsOfUnidentified(c, sol);
        if (c.mFinAnalisis || windows.empty()) return;
        for (int32_t k = 1; k <= regiones[0]; ++k) {
            const int32_t region = regiones[static_cast<size_t>(k)];
            const int32_t first = PosicionEmpiezaRegion(c, region);
            if (first == 0) {
                if (c.mFinAnalisis) return;
                continue;
            }
            ScanRegion(c, first, static_cast<int64_t>(region) + 99999, [&](const RegEstrella& star) {
                if (star.De <= deMin || star.De >= deMax || star.Ar <= arMin || star.Ar >= arMax) return;
                for (const Window& w : windows) {
                    EstrellaSolucion& entry = sol.EstrellasSolucion[static_cast<size_t>(w.entry)];
                    if (entry.Id != 0) continue;
                    if (!(star.De > w.d1 && star.De < w.d2 && star.Ar > w.r1 && star.Ar < w.r2)) continue;
                    if (c.traceOn)
                        c.platform.DrawCircle(entry.X, c.gAltoImagen - entry.Y - 1, 5, OverlayColour::Yellow,
                                              1);
                    const double ar = star.Ar / 1000000.0, de = star.De / 1000000.0;
                    int32_t aciertos = 0;
                    DistanciasDeEstrellaAlOro(c, s, star.Id, entry.X, entry.Y, ar, de, aciertos);
                    if (aciertos == 3) {
                        ++sol.NumExtendidas;
                        entry.Id = star.Id;
                        entry.Ar = ar;
                        entry.De = de;
                        sol.Extendidas.push_back(entry);
                        return;
                    }
                    if (c.traceOn) c.mTrazaAnalisis += "coord ok, distancia nok\r\n";
                }
            });
        }
    });
}

}  // namespace tornel
