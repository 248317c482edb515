// The end of the triangle search: the solution with the most sides becomes the answer.
#include <algorithm>
#include <string>

#include "astrometria/plate_model.h"
#include "busqueda/solution_choice.h"
#include "busqueda/triangle_search.h"
#include "catalogo/star_catalogue.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"

namespace tornel {

namespace {

constexpr int32_t kLeastSidesOK = 4;
constexpr int32_t kLeastSidesSafe = 15;

// The sides of the solution by kind: of the database triangle (1), added by prediction (2), and 3
// for each further star.
struct SideCounts {
    int32_t triangle = 0, predicted = 0, further = 0;
};

SideCounts CountByKind(const SolucionTriangulo& s) {
    SideCounts n;
    for (int16_t v : s.Lados) {
        if (v == 1) ++n.triangle;
        if (v == 2) ++n.predicted;
    }
    for (int32_t e : s.EstrellasExtra)
        if (e != 0) n.further += 3;
    return n;
}

void ListIdentified(Context& c, const SolucionTriangulo& s) {
    auto line = [&](int32_t id) {
        const std::string text = IdTrabajo_A_IdCatalogo(c, id);
        ParaResumen(c, "Identificada = " + text, "Identifié = " + text, "Identified = " + text);
    };
    for (int32_t e : s.Estrellas)
        if (e != 0) line(e);
    for (int32_t e : s.EstrellasExtra)
        if (e != 0) line(e);
}

}  // namespace

void Tri_AnalisisFinal(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "Tri_AnalisisFinal", [&] {
        if (c.mNumSoluciones == 0) {
            ReportNoPolygon(c);
            return;
        }
        int32_t best = 1;
        for (int32_t s = 2; s <= c.mNumSoluciones; ++s)
            if (c.mSolucionesTriangulo.at(static_cast<size_t>(s)).LadosTotales >
                c.mSolucionesTriangulo.at(static_cast<size_t>(best)).LadosTotales)
                best = s;
        c.mSolucion = c.mSolucionesTriangulo.at(static_cast<size_t>(best));
        const SolucionTriangulo& w = c.mSolucion;
        const SideCounts n = CountByKind(w);
        c.gLadosSolucion = w.LadosTotales;
        c.gSolucionOK = c.gLadosSolucion >= kLeastSidesOK;
        c.gSolucionSegura = c.gLadosSolucion >= kLeastSidesSafe;
        if (c.gSolucionOK) {
            const auto& b = w.TrianguloBase;
            ResuelveSistemaPara3estrellasCoefDij(c, b[0], b[1], b[2], Estrella(w, b[0]), Estrella(w, b[1]),
                                                 Estrella(w, b[2]));
            if (c.mFinAnalisis) return;
            c.Cij = c.Dij;
            PublishSolutionCentre(c, w.RAcentro, w.DECcentro, c.gLadosSolucion);
            PublishImageAngle(c);
            const std::string sides = std::to_string(c.gLadosSolucion) + " (" + std::to_string(n.triangle) +
                                      " + " + std::to_string(n.predicted) + " + " +
                                      std::to_string(n.further) + ")";
            ParaResumen(c, "Lados= " + sides, "Côtés= " + sides, "Sides= " + sides);
            ListIdentified(c, w);
            GrabaTornelPos(c, 1, c.gLadosSolucion);
            GrabaTornelSta(c, kEstadoSolucion, c.gLadosSolucion);
        } else {
            const std::string r = FormatNumber(w.RAcentro, "0.000"), d = FormatNumber(w.DECcentro, "0.000");
            ParaResumen(c, "Posición no encontrada: AR= " + r + " DE= " + d,
                        "Position non trouvée: AD= " + r + " DEC= " + d,
                        "Position not found: RA= " + r + " DEC= " + d);
        }
        Tri_PresentaSolucion(c);
        if (!c.gSolucionOK) c.mFinAnalisis = true;
        SynchroniseAndWriteWcs(c);
    });
}

}  // namespace tornel
