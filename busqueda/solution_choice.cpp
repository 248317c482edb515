#include "busqueda/solution_choice.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "astrometria/angle_calibration.h"
#include "astrometria/pair_geometry.h"
#include "astrometria/plate_model.h"
#include "astrometria/sky_maths.h"
#include "astrometria/sky_vectors.h"
#include "busqueda/mesh_extension.h"
#include "busqueda/verification.h"
#include "catalogo/star_catalogue.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"
#include "resultados/wcs.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace {

constexpr double kNearCentre = 0.16666;  // a base star this near the image centre tells no angle
constexpr double kLeftOut = 1000;        // R of a star left out of the base

int32_t SelectedCount(const Context& c) {
    return std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10);
}

double CatalogueDistance(Context& c, int32_t a, int32_t b) {
    if (CalculaDistanciaDeCatalogo(c, a, b) != kParHecho) Raise(kErrInvalidCall);
    return c.gDistanciaAngular;
}

// The first selected star at which two polygons hold different catalogue stars that are not the
// same star twice (t degrees apart or more); 0 when there is none.
int32_t ConflictAt(Context& c, const Poligono& a, const Poligono& b, int32_t n, double t) {
    for (int32_t k = 1; k <= n; ++k) {
        const int32_t x = Estrella(a, k), y = Estrella(b, k);
        if (x > 0 && y > 0 && x != y && CatalogueDistance(c, x, y) >= t) return k;
    }
    return 0;
}

// Which of two conflicting catalogue stars at selected star k fits the stars both polygons share:
// true when a's star fits no better than b's.
bool FirstFitsWorse(Context& c, const Poligono& a, const Poligono& b, int32_t k, int32_t n) {
    double errA = 0, errB = 0;
    for (int32_t m = 1; m <= n; ++m) {
        if (m == k || Estrella(a, m) <= 0 || Estrella(a, m) != Estrella(b, m)) continue;
        const double d =
            c.mDistanciasPantalla[static_cast<size_t>(std::min(m, k))][static_cast<size_t>(std::max(m, k))] /
            60;
        errA += std::fabs(CatalogueDistance(c, Estrella(a, k), Estrella(a, m)) - d);
        errB += std::fabs(CatalogueDistance(c, Estrella(b, k), Estrella(a, m)) - d);
    }
    return errA >= errB;
}

void EndWithError(Context& c, Txt es, Txt fr, Txt en) {
    c.mFinAnalisis = true;
    ParaResumen(c, es, fr, en);
    if (c.events.AvisoTerminado) c.events.AvisoTerminado();
}

// Steps 1 to 3 of a solution: its stars (those of the polygon first) and its sides. False when a
// star of the polygon is not in the catalogue.
bool FillStars(Context& c, const Poligono& p, Solucion& sol) {
    const int32_t n = SelectedCount(c);
    const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2;
    auto entry = [&](int32_t k) {
        const EstrellaImagen& e = c.mSeleccionadasCuadradas[static_cast<size_t>(k)];
        EstrellaSolucion s;
        s.Numero = static_cast<int16_t>(k);
        s.X = e.x;
        s.Y = e.y;
        s.R = std::sqrt((e.y - cy) * (e.y - cy) + (e.x - cx) * (e.x - cx));
        return s;
    };
    for (int32_t k = 1; k <= n; ++k) {
        if (Estrella(p, k) <= 0) continue;
        EstrellaSolucion s = entry(k);
        s.Id = Estrella(p, k);
        LeeCoordenadasEstrella(c, s.Id);
        if (c.gEstrellaRA == 0 && c.gEstrellaDEC == 0) return false;
        s.Ar = c.gEstrellaRA;
        s.De = c.gEstrellaDEC;
        sol.EstrellasSolucion.at(static_cast<size_t>(++sol.NumEstrellas)) = s;
    }
    sol.NumEnPoligono = sol.NumEstrellas;
    for (int32_t k = 1; k <= n; ++k)
        if (Estrella(p, k) <= 0) sol.EstrellasSolucion.at(static_cast<size_t>(++sol.NumEstrellas)) = entry(k);
    for (int32_t j = 2; j <= 10; ++j)
        for (int32_t i = 1; i < j; ++i) {
            const int32_t v = Lado(p, i, j);
            sol.Lados[static_cast<size_t>(i)][static_cast<size_t>(j)] = v;
            if (v == 1) ++sol.NumLados1;
            if (v == 2) ++sol.NumLados2;
        }
    return true;
}

// A star at the image centre tells nothing about the angle: such stars leave the base while more
// than three are left.
void LeaveOutCentralStars(Solucion& sol) {
    int32_t left = sol.NumEnPoligono;
    for (int32_t round = 1; round <= sol.NumEnPoligono; ++round) {
        EstrellaSolucion* nearest = nullptr;
        for (int32_t e = 1; e <= sol.NumEnPoligono; ++e) {
            EstrellaSolucion& s = sol.EstrellasSolucion[static_cast<size_t>(e)];
            if (s.R < 5000 && (nearest == nullptr || s.R < nearest->R)) nearest = &s;
        }
        if (nearest == nullptr || nearest->R > kNearCentre) return;
        if (left <= 3) return;
        if (nearest->R < kNearCentre) {
            nearest->R = kLeftOut;
            if (--left < 4) return;
        }
    }
}

// The base: the triangle of greatest area among the polygon's stars still in the base.
void ChooseBase(Solucion& sol) {
    double best = 0;
    const auto& e = sol.EstrellasSolucion;
    for (int32_t i = 1; i <= sol.NumEnPoligono; ++i)
        for (int32_t j = i + 1; j <= sol.NumEnPoligono; ++j)
            for (int32_t k = j + 1; k <= sol.NumEnPoligono; ++k) {
                const EstrellaSolucion &a = e[static_cast<size_t>(i)], &b = e[static_cast<size_t>(j)],
                                       &d = e[static_cast<size_t>(k)];
                if (a.R == kLeftOut || b.R == kLeftOut || d.R == kLeftOut) continue;
                const double area =
                    std::fabs(a.X * (b.Y - d.Y) + b.X * (d.Y - a.Y) + d.X * (a.Y - b.Y)) * 0.5;
                if (area > best) {
                    best = area;
                    sol.Base1 = i;
                    sol.Base2 = j;
                    sol.Base3 = k;
                }
            }
    if (sol.Base1 == 0) Raise(kErrInvalidCall);
}

void IdentifiedStars(Context& c, const Solucion& sol) {
    for (int32_t e = 1; e <= sol.NumEnPoligono; ++e) {
        const EstrellaSolucion& s = sol.EstrellasSolucion[static_cast<size_t>(e)];
        const std::string text = std::to_string(s.Numero) + " = " + IdTrabajo_A_IdCatalogo(c, s.Id);
        ParaResumen(c, "Identificada " + text, "Identifié " + text, "Identified " + text);
    }
    const size_t shown = std::min<size_t>(sol.Extendidas.size(), 20);
    for (size_t k = 0; k < shown; ++k) {
        const std::string id = IdTrabajo_A_IdCatalogo(c, sol.Extendidas[k].Id);
        ParaResumen(c, "Identificada = " + id, "Identifié = " + id, "Identified = " + id);
    }
}

// The stars a solution identified: its polygon's, then the extension's.
std::vector<PlateStar> WinnerStars(const Solucion& w) {
    std::vector<PlateStar> stars;
    for (int32_t e = 1; e <= w.NumEnPoligono; ++e) {
        const EstrellaSolucion& s = w.EstrellasSolucion[static_cast<size_t>(e)];
        stars.push_back({s.X, s.Y, s.Ar, s.De});
    }
    for (const EstrellaSolucion& s : w.Extendidas)
        stars.push_back({s.X, s.Y, s.Ar, s.De});
    return stars;
}

// The winner checked against the rest of its field. Its plate is a rotation and a scale about the
// centre fitted to all its stars: two stars fix those four numbers and prove nothing, two of its base
// here. The others of the polygon were fished by the lengths and directions of their sides to the
// base, each within a box of the tolerances at that length; the stars of the extension within three
// pixels. Each counts as much as finding a star in its box by chance allows.
Verification VerifyWinner(Context& c, const Solucion& w) {
    const EstrellaSolucion& b1 = w.EstrellasSolucion[static_cast<size_t>(w.Base1)];
    const EstrellaSolucion& b2 = w.EstrellasSolucion[static_cast<size_t>(w.Base2)];
    CandidateStars found;
    found.identified = WinnerStars(w);
    found.formedBy = {b1.Id, b2.Id};
    found.searchedAround = c.mNumSeleccionadas;
    // Radial by the error of distances, across by that of directions; a road that checks distances
    // alone pins a star by two of them, about as tightly as a direction of twice that error.
    const double across = std::max(c.gErrorInclinacion * c.gGradosARadianes, 2 * c.gErrorDistancias);
    for (int32_t e = 1; e <= w.NumEnPoligono; ++e) {
        const EstrellaSolucion& s = w.EstrellasSolucion[static_cast<size_t>(e)];
        if (s.Id == b1.Id || s.Id == b2.Id) continue;
        const double length =
            std::min(std::hypot(s.X - b1.X, s.Y - b1.Y), std::hypot(s.X - b2.X, s.Y - b2.Y));
        found.searched.push_back({s.Id, 4 * c.gErrorDistancias * across * length * length});
    }
    for (const EstrellaSolucion& s : w.Extendidas)
        found.searched.push_back({s.Id, 36});
    return VerifyPlate(c, found);
}

// The winner's plate fitted to all its identified stars rather than to three of them: the centre
// and the angle then carry the average of their errors, not the errors of the base alone. A fit of
// all nine coefficients measures how far the stars stand from their places (a star of the polygon
// tied to the wrong catalogue star stands far off); the plate kept is the best rotation, which a
// narrow spread of stars cannot shear.
void RefineWinner(Context& c, Solucion& w) {
    const std::vector<PlateStar> stars = WinnerStars(w);
    if (stars.size() <= 3) return;
    c.Cij = w.plate;
    RefinePlate(c, stars);
    for (const PlateStar& s : stars) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(c, s.ra, s.dec, x, y);
        w.worstResidual = std::max(w.worstResidual, std::hypot(x - s.x, y - s.y));
    }
    RotatePlate(c, stars);
    CoordenadasImagenAesfericas(c, c.gAnchoImagen / 2, c.gAltoImagen / 2);
    if (c.mFinAnalisis) return;
    w.ArCentro = c.mRAconvertida;
    w.DeCentro = c.mDECconvertida;
    w.plate = c.Cij;
}

}  // namespace

void ResuelveSistema(Context& c, int32_t s) {
    const Solucion& sol = c.mSoluciones.at(static_cast<size_t>(s));
    std::array<PlateStar, 3> vertices;
    const int32_t base[3] = {sol.Base1, sol.Base2, sol.Base3};
    for (size_t k = 0; k < 3; ++k) {
        const EstrellaSolucion& e = sol.EstrellasSolucion.at(static_cast<size_t>(base[k]));
        vertices[k] = {e.X, e.Y, e.Ar, e.De};
    }
    ResuelveSistema(c, vertices);
}

void EscogeMejorPoligono(Context& c, int32_t& resultado) {
    resultado = c.mNumMejores;
    if (c.mFinAnalisis || c.mNumMejores < 2) return;
    WithTrap(c, "EscogeMejorPoligono", [&] {
        const int32_t before = c.mNumMejores, n = SelectedCount(c);
        int32_t best = 0;
        for (int32_t m = 1; m <= c.mNumMejores; ++m)
            best = std::max(best, c.mMejores[static_cast<size_t>(m)].NumLados);
        std::vector<Poligono> kept(1);
        for (int32_t m = 1; m <= c.mNumMejores; ++m)
            if (c.mMejores[static_cast<size_t>(m)].NumLados == best)
                kept.push_back(c.mMejores[static_cast<size_t>(m)]);
        c.mMejores = std::move(kept);
        c.mNumMejores = static_cast<int32_t>(c.mMejores.size()) - 1;
        resultado = c.mNumMejores;
        // Fewer than 11 sides is not enough to prefer one polygon over another.
        if (c.mNumMejores == 1 || best < 11) return;
        const double t = c.gMinutosPorPixel * 4 / 60;
        for (bool changed = true; changed;) {
            changed = false;
            for (int32_t a = 1; a < c.mNumMejores && !changed; ++a)
                for (int32_t b = a + 1; b <= c.mNumMejores && !changed; ++b) {
                    const Poligono& pa = c.mMejores[static_cast<size_t>(a)];
                    const Poligono& pb = c.mMejores[static_cast<size_t>(b)];
                    const int32_t k = ConflictAt(c, pa, pb, n, t);
                    if (k == 0) continue;
                    const int32_t loser = FirstFitsWorse(c, pa, pb, k, n) ? Estrella(pa, k) : Estrella(pb, k);
                    std::erase_if(c.mMejores, [&](const Poligono& p) { return Estrella(p, k) == loser; });
                    c.mNumMejores = static_cast<int32_t>(c.mMejores.size()) - 1;
                    changed = true;
                }
        }
        resultado = c.mNumMejores;
        if (c.mNumMejores < before) {
            const std::string o = std::to_string(before), m = std::to_string(c.mNumMejores);
            ParaResumen(c, "Reducido de " + o + " a " + m + " poligonos.",
                        "Reduit de " + o + " à " + m + " polygones.",
                        "Passed from " + o + " to " + m + " polygons.");
            if (c.traceOn)
                c.mTrazaAnalisis += "EscogeMejorPoligono: reducido de " + o + " a " + m + " poligonos.\r\n";
        }
    });
}

void TrataSoluciones(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "TrataSoluciones", [&] {
        c.mSoluciones.assign(1, Solucion{});
        for (int32_t s = 1; s <= c.mNumMejores; ++s) {
            Solucion sol;
            if (!FillStars(c, c.mMejores[static_cast<size_t>(s)], sol)) {
                EndWithError(c, "Error en 2", "Erreur à 2", "Error in 2");
                return;
            }
            LeaveOutCentralStars(sol);
            ChooseBase(sol);
            c.mSoluciones.push_back(std::move(sol));
            ResuelveSistema(c, s);
            CoordenadasImagenAesfericas(c, c.gAnchoImagen / 2, c.gAltoImagen / 2);
            if (c.mFinAnalisis) return;
            Solucion& solved = c.mSoluciones[static_cast<size_t>(s)];
            solved.ArCentro = c.mRAconvertida;
            solved.DeCentro = c.mDECconvertida;
            const EstrellaSolucion &b1 = solved.EstrellasSolucion[static_cast<size_t>(solved.Base1)],
                                   &b2 = solved.EstrellasSolucion[static_cast<size_t>(solved.Base2)];
            solved.DistanciaBase =
                HalfChordAngle(SkyVector(c, b1.Ar, b1.De), SkyVector(c, b2.Ar, b2.De)) * c.gRadianesAGrados;
            solved.plate = c.Cij;
            if (!c.gMallaPorDeclinacion) ExtiendeMallaGSC(c, s);
            if (c.mFinAnalisis) return;
            Solucion& scored = c.mSoluciones[static_cast<size_t>(s)];
            scored.Puntuacion = scored.NumLados1 + scored.NumLados2 + scored.NumExtendidas;
        }
        if (c.mNumMejores > 1 && c.traceOn)
            c.mTrazaAnalisis += "contaz = " + std::to_string(c.mNumMejores) + "\r\n";
        int32_t winner = 0, best = 0;
        for (int32_t s = 1; s <= c.mNumMejores; ++s)
            if (c.mSoluciones[static_cast<size_t>(s)].Puntuacion > best) {
                best = c.mSoluciones[static_cast<size_t>(s)].Puntuacion;
                winner = s;
            }
        if (winner == 0) Raise(kErrInvalidCall);
        Solucion& w = c.mSoluciones[static_cast<size_t>(winner)];
        RefineWinner(c, w);
        if (c.mFinAnalisis) return;
        c.mIndiceSolucion = winner;
        c.mLados1 = w.NumLados1;
        c.mLados2 = w.NumLados2;
        c.mEstrellasExtendidas = w.NumExtendidas;
        c.gLadosSolucion = w.NumLados1 + w.NumLados2 + w.NumExtendidas;
        // The plate of the winner, not of the last candidate, serves the angle and the results.
        c.Cij = w.plate;
    });
}

void PublishSolutionCentre(Context& c, double ra, double dec, int32_t lados) {
    c.gARJ2000 = ra;
    c.gDEJ2000 = dec;
    c.gRAsolucion = ra;
    c.gDECsolucion = dec;
    const LocalTime now = ToLocalTime(c.platform.Now());
    HoraGST(c, now.year, now.month, now.day, now.secondsOfDay, c.gZonaHoraria, c.gDiasJ2000, c.gHoraSideral);
    J2000aEpocaFecha(c, c.gDiasJ2000, ra, dec, c.gARActual, c.gDEActual);
    ParaResumen(c, "      ** SOLUCION **", "      ** SOLUTION **", "      ** SOLUTION **");
    const std::string r = FormatNumber(ra, "0.000"), d = FormatNumber(dec, "0.000"),
                      n = std::to_string(lados);
    ParaResumen(c, "Solución : arM = " + r + " deM = " + d + " con " + n + " lados.",
                "Solution : adM = " + r + " deM = " + d + " avec " + n + " côtés.",
                "Solution : arM = " + r + " deM = " + d + " with " + n + " sides.");
    // The plate fits the scale, so the image's true one is known: it calibrates a camera in passing.
    c.measuredScale = PlateScaleAtCentre(c);
    const std::string e = FormatNumber(c.measuredScale, "0.0000");
    ParaResumen(c, "           escala medida = " + e + " \"/pixel",
                "           échelle mesurée = " + e + " \"/pixel",
                "           measured scale = " + e + " \"/pixel");
}

bool PublishImageAngle(Context& c) {
    double angle = 0;
    int32_t code = 1;
    CalculaNorteCamara(c, angle, code);
    if (code != 0) {
        c.mHayAngulo = false;
        AvisoIdioma(c, "Calculo del ángulo imposible.", "Impossible de calculer l'angle de l'image.",
                    "Can not calculate the image angle.");
        return false;
    }
    c.mAnguloSolucion = angle;
    c.mAnguloHallado = angle;
    c.mHayAngulo = true;
    const std::string a = FormatNumber(angle, "000.00");
    ParaResumen(c, "           ángulo imagen = " + a, "           angle de l'image = " + a,
                "           image angle = " + a);
    return true;
}

void SynchroniseAndWriteWcs(Context& c) {
    if (c.gSincroAutomatica == 1 && c.gHaySolucion && c.gLadosSolucion > c.gLadosParaSincro) Sincroniza(c);
    if (c.gWCSAutomatico == 1 && c.gHaySolucion && c.gLadosSolucion > c.gLadosParaWCS)
        GrehacerCabeceraFits(c);
}

void ReportNoPolygon(Context& c) {
    LabelResul(c, "Poligonos = 0.", "Polygones = 0.", "Polygons = 0.");
    c.mFinAnalisis = true;
    ParaResumen(c, "Poligonos = 0", "Polygones = 0", "Polygons = 0");
    SummaryAndTitle(c, "Posición no encontrada.", "Position non trouvée.", "Position not found.");
}

void AnalisisFinal(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "AnalisisFinal", [&] {
        if (c.mNumMejores == 0) {
            ReportNoPolygon(c);
            return;
        }
        int32_t left = 0;
        EscogeMejorPoligono(c, left);
        TrataSoluciones(c);
        if (c.mFinAnalisis) return;
        c.gSolucionSegura = c.gLadosSolucion >= kLeastSidesSafe;
        const Solucion& w = c.mSoluciones.at(static_cast<size_t>(c.mIndiceSolucion));
        PublishSolutionCentre(c, w.ArCentro, w.DeCentro, c.gLadosSolucion);
        if (!PublishImageAngle(c)) c.mFinAnalisis = true;
        // Decided before anything is written: a client polling the status files never reads a
        // position that the analysis then withdraws.
        bool passes = Dist_SolucionPasa(c, c.mIndiceSolucion);
        if (passes) {
            c.lastVerification = VerifyWinner(c, w);
            ReportVerification(c, c.lastVerification);
            passes = c.lastVerification.accepted && !c.mFinAnalisis;
        }
        if (passes) {
            GrabaTornelPos(c, 1, c.gLadosSolucion);
            GrabaTornelSta(c, kEstadoSolucion, c.gLadosSolucion);
            Dist_PresentaSolucion(c, c.mIndiceSolucion, c.gLadosSolucion);
        } else {
            ShowNoSolution(c);
        }
        c.gSolucionOK = c.gHaySolucion;
        if (!c.gHaySolucion) {
            const std::string r = FormatNumber(c.gARJ2000, "0.000"), d = FormatNumber(c.gDEJ2000, "0.000");
            ParaResumen(c, "Posición no encontrada: AR= " + r + " DE= " + d,
                        "Position non trouvée: AD= " + r + " DEC= " + d,
                        "Position not found: RA= " + r + " DEC= " + d);
            // A position that did not pass ends the analysis as no solution, status files included.
            c.mFinAnalisis = true;
        }
        const std::string sides = std::to_string(c.gLadosSolucion) + " (" + std::to_string(c.mLados1) +
                                  " + " + std::to_string(c.mLados2) + " + " +
                                  std::to_string(c.mEstrellasExtendidas) + ")";
        ParaResumen(c, "Lados= " + sides, "Côtés= " + sides, "Sides= " + sides);
        IdentifiedStars(c, c.mSoluciones.at(static_cast<size_t>(c.mIndiceSolucion)));
        SynchroniseAndWriteWcs(c);
    });
}

}  // namespace tornel
