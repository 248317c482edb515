// The end of the triangle search: the solution with the most sides becomes the answer.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "astrometria/plate_model.h"
#include "busqueda/solution_choice.h"
#include "busqueda/triangle_search.h"
#include "busqueda/verification.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"

namespace tornel {

namespace {

constexpr int32_t kLeastSidesOK = 4;

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

// The stars a solution identified, each with its pixel (square pixels) and catalogue place.
std::vector<PlateStar> IdentifiedStars(Context& c, const SolucionTriangulo& s) {
    std::vector<PlateStar> stars;
    auto add = [&](const EstrellaImagen& e, int32_t id) {
        LeeCoordenadasEstrella(c, id);
        stars.push_back({e.x, e.y, c.gEstrellaRA, c.gEstrellaDEC});
    };
    for (int32_t k = 1; k <= 10; ++k)
        if (Estrella(s, k) != 0) add(c.mSeleccionadasCuadradas.at(static_cast<size_t>(k)), Estrella(s, k));
    const auto first = static_cast<size_t>(std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10)) + 1;
    for (size_t m = 0; m < s.EstrellasExtra.size(); ++m)
        if (s.EstrellasExtra[m] != 0) add(c.mEstrellasCuadradas.at(first + m), s.EstrellasExtra[m]);
    return stars;
}

// The plate of all the stars a solution identified, as the best similarity, into Cij: the centre, the
// angle and the scale then carry the average of the stars' errors rather than the errors of three.
// Answers the farthest any star stands from where that plate puts it (pixels).
double FitToAllStars(Context& c, const SolucionTriangulo& s) {
    const std::vector<PlateStar> stars = IdentifiedStars(c, s);
    RotatePlate(c, stars);
    double worst = 0;
    for (const PlateStar& star : stars) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(c, star.ra, star.dec, x, y);
        worst = std::max(worst, std::hypot(star.x - x, star.y - y));
    }
    return worst;
}

// The stars of a solution as the search came by them. The three of the database triangle fixed the
// plate and prove nothing; every other one was looked for in a box around where that plate put an
// image star, among the candidates.
CandidateStars HowFound(Context& c, const SolucionTriangulo& s) {
    CandidateStars found;
    found.identified = IdentifiedStars(c, s);
    found.searchedAround = c.mNumCandidatas;
    const double side = 2 * c.gSemiVentanaTriangulo / c.gGradosPorPixel;
    const int32_t n = std::min<int32_t>(c.mNumSeleccionadas, 10);
    for (int32_t k = 1; k <= n; ++k) {
        if (Estrella(s, k) == 0) continue;
        bool seed = false;
        for (int32_t m = 1; m <= n; ++m)
            if (m != k && Lado(s, std::min(k, m), std::max(k, m)) == 1) seed = true;
        if (seed)
            found.formedBy.push_back(Estrella(s, k));
        else
            found.searched.push_back({Estrella(s, k), side * side});
    }
    for (int32_t e : s.EstrellasExtra)
        if (e != 0) found.searched.push_back({e, side * side});
    return found;
}

// Whether a solution may be announced: it holds its stars where one plate puts them, within three
// pixels (a catalogue star met by chance within the search tolerance stands farther off; a safe solution
// has shown enough sides already, and a blended pair of stars may stand farther off), and the rest of
// the field confirms that plate. Cij is left as it was.
bool Acceptable(Context& c, const SolucionTriangulo& s, Verification& verification) {
    const PlateMatrix kept = c.Cij;
    const double worst = FitToAllStars(c, s);
    bool ok = !c.mFinAnalisis && (s.LadosTotales >= kLeastSidesSafe || worst <= kResidualLimit);
    if (ok) {
        verification = VerifyPlate(c, HowFound(c, s));
        ok = verification.accepted;
    }
    c.Cij = kept;
    return ok && !c.mFinAnalisis;
}

}  // namespace

void Tri_AnalisisFinal(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "Tri_AnalisisFinal", [&] {
        if (c.mNumSoluciones == 0) {
            ReportNoPolygon(c);
            return;
        }
        // The solution with the most sides, the first of equals, among those that may be announced.
        std::vector<int32_t> order;
        for (int32_t s = 1; s <= c.mNumSoluciones; ++s)
            order.push_back(s);
        std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
            return c.mSolucionesTriangulo.at(static_cast<size_t>(a)).LadosTotales >
                   c.mSolucionesTriangulo.at(static_cast<size_t>(b)).LadosTotales;
        });
        int32_t best = 0, refused = 0;
        Verification verification;
        for (int32_t s : order) {
            if (Acceptable(c, c.mSolucionesTriangulo.at(static_cast<size_t>(s)), verification)) {
                best = s;
                break;
            }
            if (c.mFinAnalisis) return;
            ++refused;
        }
        if (best == 0) {
            if (refused > 0) ReportRefused(c, refused);
            ReportNoPolygon(c);
            return;
        }
        c.mSolucion = c.mSolucionesTriangulo.at(static_cast<size_t>(best));
        const SolucionTriangulo& w = c.mSolucion;
        const SideCounts n = CountByKind(w);
        c.gLadosSolucion = w.LadosTotales;
        c.gSolucionOK = c.gLadosSolucion >= kLeastSidesOK;
        c.gSolucionSegura = c.gLadosSolucion >= kLeastSidesSafe;
        if (c.gSolucionOK) {
            FitToAllStars(c, w);
            CoordenadasImagenAesfericas(c, c.gAnchoImagen / 2, c.gAltoImagen / 2);
            if (c.mFinAnalisis) return;
            c.mSolucion.RAcentro = c.mRAconvertida;
            c.mSolucion.DECcentro = c.mDECconvertida;
            PublishSolutionCentre(c, w.RAcentro, w.DECcentro, c.gLadosSolucion);
            PublishImageAngle(c);
            const std::string sides = std::to_string(c.gLadosSolucion) + " (" + std::to_string(n.triangle) +
                                      " + " + std::to_string(n.predicted) + " + " +
                                      std::to_string(n.further) + ")";
            ParaResumen(c, "Lados= " + sides, "Côtés= " + sides, "Sides= " + sides);
            ListIdentified(c, w);
            ReportVerification(c, verification);
            c.lastVerification = verification;
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
