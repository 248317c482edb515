#include "catalogo/triangle_database.h"

#include <cstring>
#include <string>

#include "astrometria/pair_geometry.h"
#include "astrometria/sky_maths.h"
#include "busqueda/triangle_search.h"
#include "catalogo/database_choice.h"
#include "catalogo/star_catalogue.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "comun/star_file.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr int32_t kLongitudRegTriangulo = 24;

float Single(double v) {
    return static_cast<float>(v);
}

float Side(const RegTriangulo& r, int32_t n) {
    return n == 0 ? r.Lado1 : n == 1 ? r.Lado2 : r.Lado3;
}

bool InsideBox(const CajaTriangulo& box, const RegTriangulo& r) {
    for (int32_t n = 0; n < 3; ++n) {
        const float v = Side(r, n);
        const auto& limits = box[static_cast<size_t>(n)];
        if (v < Single(limits[0]) || v > Single(limits[1])) return false;
    }
    return true;
}

// Step 6 and 7 of a match: the candidate stored and, near the search centre, tried at once.
void StoreCandidate(Context& c, const RegTriangulo& r, int32_t i, int32_t j, int32_t k,
                    const TrianguloImagen& q) {
    if (static_cast<size_t>(c.mNumCandidatos + 1) >= c.mCandidatos.size()) Raise(kErrSubscript);
    CandidatoTriangulo& cand = c.mCandidatos[static_cast<size_t>(++c.mNumCandidatos)];
    cand = CandidatoTriangulo{};
    Estrella(cand, q.EstrellaA) = r.Estrella1;
    Estrella(cand, q.EstrellaB) = r.Estrella2;
    Estrella(cand, q.EstrellaC) = r.Estrella3;
    Lado(cand, i, j) = 1;
    Lado(cand, i, k) = 1;
    Lado(cand, j, k) = 1;
    cand.ZonaOLados = ZonaDeEstrella(c, r.Estrella1);
    if (cand.ZonaOLados != 0) return;
    ++c.mIntentos;
    ShowTrial(c);
    int32_t lados = 0;
    ConstruyePosibleSolucion(c, cand, lados);
    if (lados > c.gLadosParaParar) {
        c.mSolucionHallada = true;
        ReportSolutionFound(c, lados, c.mNumCandidatos);
    }
}

}  // namespace

void Tri_BaseDatosAmemoria(Context& c) {
    if (!DatabaseFileExists(c.gCarpetaDistancias, c.gFicheroTriangulos)) return;
    const std::string path = DatabaseFilePath(c.gCarpetaDistancias, c.gFicheroTriangulos);
    LiberaMemoriaBaseDatos(c);
    WithTrap(c, "Tri_BaseDatosAmemoria", [&] {
        StarFile file;
        if (!file.Open(path, kLongitudRegTriangulo)) Raise(kErrFileNotFound);
        const int64_t bytes = file.Length();
        const int32_t count = file.RecordCount();
        // A short last record reads as zeros: an empty slot of the tree.
        std::vector<RegTriangulo> records(static_cast<size_t>(count));
        const auto wanted =
            static_cast<size_t>(std::min<int64_t>(bytes, int64_t{count} * kLongitudRegTriangulo));
        if (file.ReadAt(0, records.data(), wanted) != wanted) Raise(kErrPastEndOfFile);
        c.mVistaTriangulos = std::move(records);
        c.mBytesTriangulos = bytes;
        c.mNumTriangulosBD = count;
    });
}

void LiberaMemoriaBaseDatos(Context& c) {
    c.mVistaTriangulos = {};
    c.mBytesTriangulos = 0;
}

void Ordena(int32_t a, int32_t b, int32_t k, int32_t& menor, int32_t& medio, int32_t& mayor) {
    if (a <= b) {
        if (b <= k) {
            menor = a, medio = b, mayor = k;
        } else if (a <= k) {
            menor = a, medio = k, mayor = b;
        } else {
            menor = k, medio = a, mayor = b;
        }
    } else if (a <= k) {
        menor = b, medio = a, mayor = k;
    } else if (b <= k) {
        menor = b, medio = k, mayor = a;
    } else {
        menor = k, medio = b, mayor = a;
    }
}

int32_t ZonaDeEstrella(Context& c, int32_t estrella) {
    LeeCoordenadasEstrella(c, estrella);
    const double d =
        CalculaDistancia(c, c.gCentroBusquedaRA, c.gCentroBusquedaDEC, c.gEstrellaRA, c.gEstrellaDEC);
    if (d < c.gDistanciaCercaCentro) return 0;
    return d >= c.gDistanciaLejosCentro ? 2 : 1;
}

bool TrianguloVisible(Context& c, const RegTriangulo& t) {
    const double horizonte = c.gHorizonte, limite = horizonte + 2;
    const double altura = AlturaDeEstrella(c, t.Estrella1, c.gHoraSideral);
    if (altura > limite) return true;
    if (altura <= horizonte) return false;
    return AlturaDeEstrella(c, t.Estrella2, c.gHoraSideral) > horizonte &&
           AlturaDeEstrella(c, t.Estrella3, c.gHoraSideral) > horizonte;
}

void BuscaEnKDtreeBD(Context& c, int32_t nivel, int64_t posicion, int64_t numRegistros, int32_t i, int32_t j,
                     int32_t k, const TrianguloImagen& triangulo) {
    if (c.mFinAnalisis || c.gDetenerAnalisis || c.mSolucionHallada || c.mNumCandidatos >= c.gMaxCandidatos)
        return;
    const int32_t d = nivel % 3;
    const int64_t n = (int64_t{1} << nivel) + posicion;
    if (n > numRegistros || n > static_cast<int64_t>(c.mVistaTriangulos.size())) return;
    RegTriangulo r;
    std::memcpy(&r, &c.mVistaTriangulos[static_cast<size_t>(n - 1)], sizeof r);
    const float v = Side(r, d);
    if (v == 0) return;
    if (InsideBox(c.mCaja, r) && (!c.gSoloCieloVisible || TrianguloVisible(c, r)))
        StoreCandidate(c, r, i, j, k, triangulo);
    const auto& limits = c.mCaja[static_cast<size_t>(d)];
    if (!(v < Single(limits[0])))
        BuscaEnKDtreeBD(c, nivel + 1, 2 * posicion, numRegistros, i, j, k, triangulo);
    if (!(v > Single(limits[1])))
        BuscaEnKDtreeBD(c, nivel + 1, 2 * posicion + 1, numRegistros, i, j, k, triangulo);
}

void Tri_PescaTriangulosEnBD(Context& c, int32_t /*ignorado*/, int32_t& codigo) {
    codigo = 0;
    if (c.mFinAnalisis) return;
    const LocalTime now = ToLocalTime(c.platform.Now());
    HoraGST(c, now.year, now.month, now.day, now.secondsOfDay, 0, c.gDiasJ2000, c.gHoraSideral);
    if (c.mFinAnalisis) return;
    c.mSolucionHallada = false;
    c.mIntentos = 0;
    try {
        for (int32_t t = 1; t <= c.mNumTriangulosBusqueda; ++t) {
            c.platform.DoEvents();
            const TrianguloImagen& q = c.mTriangulosBusqueda.at(static_cast<size_t>(t));
            int32_t i = 0, j = 0, k = 0;
            Ordena(q.EstrellaA, q.EstrellaB, q.EstrellaC, i, j, k);
            c.mCaja = {{{q.Lado1Min, q.Lado1Max}, {q.Lado2Min, q.Lado2Max}, {q.Lado3Min, q.Lado3Max}}};
            BuscaEnKDtreeBD(c, 0, 0, c.mNumTriangulosBD, i, j, k, q);
            if (c.mSolucionHallada || c.gDetenerAnalisis) break;
        }
    } catch (...) {
        const NumberedError e = CurrentAsNumbered();
        if (e.number() != kErrSubscript) {
            ReportError(c, e, "Tri_PescaTriangulosEnBD");
            return;
        }
        codigo = 1;
        ParaResumen(c, "Demasiados triangulos seleccionados.", "Trop de triangles sélectionnés.",
                    "Too many selected triangles.");
        VisuTitulo(c, "Demasiados triangulos (ver Ayuda.doc).",
                   "Trop de triangles sélectionnés (voir Aide.doc).", "Too many triangles (see Help.doc).");
        return;
    }
    const std::string n = std::to_string(c.mNumCandidatos);
    ParaResumen(c, "**Triángulos encontrados: " + n, "**Triangles trouvés: " + n, "**Triangles found: " + n);
    VisuTitulo(c, n + " triángulos encontrados ", n + " triangles trouvés ", n + " triangles found ");
}

}  // namespace tornel
