// The triangle search: catalogue triangles of the image's shapes, each tried by predicting the rest
// of the image with the plate of its largest triangle.
#include "busqueda/triangle_search.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "astrometria/plate_model.h"
#include "astrometria/sky_vectors.h"
#include "busqueda/busqueda.h"
#include "catalogo/database_choice.h"
#include "catalogo/star_catalogue.h"
#include "catalogo/triangle_database.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "comun/star_file.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr size_t kMostSolutions = 100;
constexpr int32_t kLeastSidesKept = 6;  // a solution must have more

int32_t SelectedCount(const Context& c) {
    return std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10);
}

const EstrellaImagen& Selected(const Context& c, int32_t k) {
    return c.mSeleccionadasCuadradas.at(static_cast<size_t>(k));
}

// The further image stars: candidates after the selected ones, at most 20.
int32_t LastFurtherStar(const Context& c) {
    const int32_t n = SelectedCount(c);
    const int32_t last =
        std::min<int32_t>(c.mNumCandidatas, static_cast<int32_t>(c.mEstrellasCuadradas.size()) - 1);
    return std::min(last, n + 20);
}

int32_t CountSides(const CandidatoTriangulo& t) {
    int32_t sides = 0;
    for (int16_t v : t.Lados)
        if (v != 0) ++sides;
    return sides;
}

// The stars of the star file in force between two declinations, by the program's binary search: the
// record from which a forward scan starts.
template <class DecAt, class Limit>
int64_t FirstAtDeclination(int64_t count, Limit lower, DecAt&& decAt) {
    int64_t lo = 1, hi = count;
    while (hi - lo >= 2) {
        const int64_t mid = (lo + hi) / 2;
        if (!(lower > decAt(mid)))
            hi = mid;
        else
            lo = mid;
    }
    return lo;
}

// The scan of step 4: the first star from `from` with its right ascension strictly inside the limits
// before the declination passes the upper limit; 0 when none.
template <class Limit, class Read>
int32_t ScanBand(int64_t from, int64_t count, Limit raMin, Limit raMax, Limit decMax, Read&& read) {
    for (int64_t n = from; n <= count; ++n) {
        Limit ra = 0, dec = 0;
        if (!read(n, ra, dec)) return 0;
        if (dec > decMax) return 0;
        if (ra > raMin && ra < raMax) return static_cast<int32_t>(n);
    }
    return 0;
}

}  // namespace

void ShowTrial(Context& c) {
    const std::string n = std::to_string(c.mIntentos) + " / " + std::to_string(c.mNumCandidatos);
    VisuTitulo(c, " Buscando una solución ... " + n, " Recherche d'une solution ... " + n,
               " Looking for a solution ... " + n);
}

void ReportSolutionFound(Context& c, int32_t lados, int32_t triangulo) {
    const std::string s = std::to_string(lados), t = std::to_string(triangulo);
    SummaryAndTitle(c, "Solución con " + s + " lados, para el triángulo " + t,
                    "Solution avec " + s + " côtés, pour le triangle " + t,
                    "Solution with " + s + " sides, for the triangle " + t);
}

void BusquedaPorTriangulos(Context& c) {
    if (c.mFinAnalisis) return;
    if (c.mVistaTriangulos.empty()) Tri_BaseDatosAmemoria(c);
    CalculaDistanciasEnPantalla(c);
    Tri_CalculaTriangulosDeLaImagen(c);
    if (c.mFinAnalisis) return;
    c.mSolucionesTriangulo.assign(1, SolucionTriangulo{});
    c.mSolucionesTriangulo.reserve(kMostSolutions + 1);
    c.mPosibles.assign(1, CandidatoTriangulo{});
    c.mNumSoluciones = 0;
    c.mMejorLados = 6;
    if (c.gZonaCielo == 3) {
        int32_t lados = 0;
        Tri_BusquedaEnBD(c, lados);
    }
    Tri_AnalisisFinal(c);
}

void Tri_BusquedaEnBD(Context& c, int32_t& lados) {
    lados = 0;
    if (c.mFinAnalisis) return;
    WithTrap(c, "Tri_BusquedaEnBD", [&] {
        VisuTitulo(c, "Buscando triángulos...", "Recherche de triangles...", "Searching triangles...");
        ParaResumen(c, "Buscando triángulos", "Recherche de triangles", "Searching triangles");
        c.mCandidatos.assign(static_cast<size_t>(std::max(c.gMaxCandidatos, 0)) + 1, CandidatoTriangulo{});
        c.mNumCandidatos = 0;
        c.mTriangulosBusqueda = c.mTriangulosImagen;
        c.mNumTriangulosBusqueda = c.mNumTriangulosImagen;
        int32_t codigo = 0;
        Tri_PescaTriangulosEnBD(c, 1, codigo);
        if (codigo > 0) c.mFinAnalisis = true;
        if (c.mFinAnalisis || c.mSolucionHallada || c.gDetenerAnalisis) return;
        c.mPosibles.assign(c.mCandidatos.begin(), c.mCandidatos.begin() + c.mNumCandidatos + 1);
        for (int32_t zone = 1; zone <= 2; ++zone)
            for (int32_t p = 1; p <= c.mNumCandidatos; ++p) {
                CandidatoTriangulo& candidate = c.mPosibles[static_cast<size_t>(p)];
                if (candidate.ZonaOLados != zone) continue;
                ++c.mIntentos;
                ShowTrial(c);
                c.platform.DoEvents();
                int32_t sides = 0;
                ConstruyePosibleSolucion(c, candidate, sides);
                if (c.mFinAnalisis) return;
                if (sides > c.gLadosParaParar) {
                    ParaResumen(c,
                                "Solución con " + std::to_string(sides) + " lados, para el triángulo " +
                                    std::to_string(p),
                                "Solution avec " + std::to_string(sides) + " côtés, pour le triangle " +
                                    std::to_string(p),
                                "Solution with " + std::to_string(sides) + " sides, for the triangle " +
                                    std::to_string(p));
                    lados = sides;
                    return;
                }
                if (c.gDetenerAnalisis) return;
            }
    });
}

void ConstruyePosibleSolucion(Context& c, CandidatoTriangulo& candidato, int32_t& lados) {
    lados = 0;
    if (c.mFinAnalisis) return;
    WithTrap(c, "ConstruyePosibleSolucion", [&] {
        candidato.ZonaOLados = 3;
        int32_t i = 0, j = 0, k = 0;
        EscogeTrianguloMayor(c, candidato, i, j, k);
        if (i == 0) Raise(kErrInvalidCall);
        ResuelveSistemaPara3estrellasCoefDij(c, i, j, k, Estrella(candidato, i), Estrella(candidato, j),
                                             Estrella(candidato, k));
        CandidatoTriangulo work;
        int32_t sides = 0;
        AmpliaSolucionParaSelecConCoefDij(c, i, j, k, candidato, work, sides);
        EscogeTrianguloMayor(c, work, i, j, k);
        ResuelveSistemaPara3estrellasCoefDij(c, i, j, k, Estrella(work, i), Estrella(work, j),
                                             Estrella(work, k));
        SolucionTriangulo solution;
        int32_t total = 0;
        AmpliaSolucionParaCandiConCoefDij(c, i, j, k, work, solution, total);
        if (c.mFinAnalisis) return;
        if (total > kLeastSidesKept) {
            if (c.mSolucionesTriangulo.size() > kMostSolutions) Raise(kErrSubscript);
            c.mSolucionesTriangulo.push_back(solution);
            c.mNumSoluciones = static_cast<int32_t>(c.mSolucionesTriangulo.size()) - 1;
        }
        lados = total;
    });
}

void EscogeTrianguloMayor(const Context& c, const CandidatoTriangulo& candidato, int32_t& i, int32_t& j,
                          int32_t& k) {
    i = j = k = 0;
    const int32_t n = SelectedCount(c);
    double best = -1;
    for (int32_t a = 1; a <= n; ++a) {
        if (Estrella(candidato, a) == 0) continue;
        for (int32_t b = a + 1; b <= n; ++b) {
            if (Estrella(candidato, b) == 0) continue;
            for (int32_t d = b + 1; d <= n; ++d) {
                if (Estrella(candidato, d) == 0) continue;
                const EstrellaImagen &p = Selected(c, a), &q = Selected(c, b), &r = Selected(c, d);
                const double area = std::fabs((q.x - r.x) * p.y + (p.x - q.x) * r.y + (r.x - p.x) * q.y) / 2;
                if (area > best) {
                    best = area;
                    i = a, j = b, k = d;
                }
            }
        }
    }
}

void AmpliaSolucionParaSelecConCoefDij(Context& c, int32_t i, int32_t j, int32_t k,
                                       const CandidatoTriangulo& candidato, CandidatoTriangulo& ampliado,
                                       int32_t& lados) {
    ampliado = candidato;
    lados = ampliado.ZonaOLados;
    if (c.mFinAnalisis) return;
    const int32_t n = SelectedCount(c);
    for (int32_t m = 1; m <= n; ++m) {
        if (Estrella(ampliado, m) != 0 || m == i || m == j || m == k) continue;
        int32_t star = 0;
        bool found = false;
        ExisteEstrellaEnBDConCoefDij(c, Selected(c, m).x, Selected(c, m).y, star, found);
        if (!found) continue;
        Estrella(ampliado, m) = star;
        for (int32_t base : {i, j, k})
            Lado(ampliado, std::min(m, base), std::max(m, base)) = 2;
        ampliado.ZonaOLados = CountSides(ampliado);
    }
    lados = ampliado.ZonaOLados;
}

void AmpliaSolucionParaCandiConCoefDij(Context& c, int32_t i, int32_t j, int32_t k,
                                       const CandidatoTriangulo& candidato, SolucionTriangulo& solucion,
                                       int32_t& total) {
    solucion = SolucionTriangulo{};
    static_cast<CandidatoTriangulo&>(solucion) = candidato;
    solucion.TrianguloBase = {i, j, k};
    solucion.LadosTotales = candidato.ZonaOLados;
    total = solucion.LadosTotales;
    if (c.mFinAnalisis) return;
    CoordenadasImagenAesfericasConCoefDij(c, c.gAnchoImagen / 2, c.gAltoImagen / 2);
    if (c.mFinAnalisis) return;
    solucion.RAcentro = c.mRAconvertida;
    solucion.DECcentro = c.mDECconvertida;
    solucion.DistanciaAlCentro = HalfChordAngle(SkyVector(c, solucion.RAcentro, solucion.DECcentro),
                                                SkyVector(c, c.gCentroBusquedaRA, c.gCentroBusquedaDEC)) *
                                 c.gRadianesAGrados;
    const int32_t first = SelectedCount(c) + 1, last = LastFurtherStar(c);
    for (int32_t m = first; m <= last; ++m) {
        const EstrellaImagen& e = c.mEstrellasCuadradas[static_cast<size_t>(m)];
        int32_t star = 0;
        bool found = false;
        ExisteEstrellaEnBDConCoefDij(c, e.x, e.y, star, found);
        if (!found) continue;
        solucion.EstrellasExtra[static_cast<size_t>(m - first)] = star;
        solucion.LadosTotales += 3;
    }
    total = solucion.LadosTotales;
}

void ExisteEstrellaEnBDConCoefDij(Context& c, double x, double y, int32_t& estrella, bool& encontrada) {
    encontrada = false;
    if (c.mFinAnalisis) return;
    CoordenadasImagenAesfericasConCoefDij(c, x, y);
    if (c.mFinAnalisis) return;
    const double ra = c.mRAconvertida, dec = c.mDECconvertida, t = c.gSemiVentanaTriangulo;
    // At a pole the limits in right ascension cannot be formed: no star is found there.
    const double width = t / std::cos(dec * c.gGradosARadianes);
    if (!std::isfinite(width) || width < 0) return;
    const double raMin = std::max(ra - width, 0.0), raMax = std::min(ra + width, 360.0);
    const double decMin = std::max(dec - t, -90.0), decMax = std::min(dec + t, 90.0);
    const int64_t count = c.gNumEstrellasBD;
    if (count < 1) return;
    int32_t found = 0;
    if (c.mLongitudRegistroEstrellas == kLongitudRegEstrellaDEC) {
        auto read = [&](int64_t n, float& a, float& d) {
            RegEstrellaDEC r;
            if (!c.gCanalEstrellas->ReadRecord(n, &r)) return false;
            a = r.Ar, d = r.De;
            return true;
        };
        auto decAt = [&](int64_t n) {
            float a = 0, d = 0;
            return read(n, a, d) ? d : 0.0F;
        };
        const int64_t from = FirstAtDeclination(count, static_cast<float>(decMin), decAt);
        found = ScanBand(from, count, static_cast<float>(raMin), static_cast<float>(raMax),
                         static_cast<float>(decMax), read);
    } else {
        auto read = [&](int64_t n, double& a, double& d) {
            RegEstrella r;
            if (!c.gCanalEstrellas->ReadRecord(n, &r)) return false;
            a = r.Ar / 1000000.0, d = r.De / 1000000.0;
            return true;
        };
        auto decAt = [&](int64_t n) {
            double a = 0, d = 0;
            return read(n, a, d) ? d : 0.0;
        };
        const int64_t from = FirstAtDeclination(count, decMin, decAt);
        found = ScanBand(from, count, raMin, raMax, decMax, read);
    }
    if (found > 0) {
        estrella = found;
        encontrada = true;
    }
}

void TimerEsperaTriangle_Timer(Context& c) {
    c.timers.TimerEsperaTriangle.Enabled = false;
    StarFile ele;
    if (ele.Open(DatabaseFilePath(c.gCarpetaEstrellas, "est.ele"), 4)) {
        int32_t value = 0;
        ele.ReadRecord(1, &value);
    }
    c.mEsperaTriangulo = false;
}

}  // namespace tornel
