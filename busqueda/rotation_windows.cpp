// Searches around a position when the image angle is not known: one area of sky fished again at each
// angle tried, until a polygon has enough sides; and the angle found offered as the new image angle.
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "astrometria/angle_calibration.h"
#include "astrometria/sky_maths.h"
#include "busqueda/angle_search_walk.h"
#include "busqueda/busqueda.h"
#include "busqueda/polygons.h"
#include "busqueda/screen_geometry.h"
#include "busqueda/solution_choice.h"
#include "busqueda/three_stars.h"
#include "catalogo/distance_database.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// An area of sky: right ascension centre and base width (degrees at the equator), declination band
// in whole degrees.
struct SkyArea {
    double ra = 0, width = 0;
    int32_t decFrom = 0, decTo = 0;
};

// One piece of right ascension of the area, fished with the tables in force.
void FishPiece(Context& c, double from, double to, const SkyArea& area) {
    c.mArDesde = from;
    c.mArHasta = to;
    c.mAnilloDesde = area.decFrom + 90;
    c.mAnilloHasta = area.decTo + 90;
    AporPescaDLL(c);
}

// One round: the area at one image angle, in two pieces when it crosses right ascension 0.
void SearchArea(Context& c, const SkyArea& area, double angulo) {
    if (c.mFinAnalisis) return;
    const double middle = (area.decFrom + area.decTo + 1) / 2.0;
    CalculaParametrosDeLasDistanciasEnPantalla(c, middle, angulo);
    VaciaSegmentos(c);
    const double width = area.width / std::cos(middle * c.gGradosARadianes);
    double from = area.ra - width / 2, to = area.ra + width / 2;
    if (from < 0) from += 360;
    if (to > 360) to -= 360;
    if (from < to) {
        FishPiece(c, from, to, area);
    } else {
        FishPiece(c, from, 360, area);
        FishPiece(c, 0, to, area);
    }
    if (!c.mFinAnalisis && c.mNumSegmentos > 0) {
        Construye3estrellas(c);
        ConstruyePoligonosFinales(c);
        CompletaPoligonos(c, angulo);
        AnalisisParcial(c);
    }
    PoleWhenReached(c, area.decFrom <= -90, 0);
    PoleWhenReached(c, area.decTo >= 89, 179);
}

// The angle of round n of a search over every angle: the present one, then one degree more on either
// side in turn.
double AngleOfRound(const Context& c, int32_t n) {
    const int32_t half = n / 2;
    return GradosEntre0y360(n % 2 == 0 ? c.gAnguloImagen + half : c.gAnguloImagen - half - 1);
}

void AnnounceSearch(Context& c, Txt es, Txt fr, Txt en) {
    ParaResumen(c, es, fr, en);
    const std::string ra = FormatNumber(c.gCentroBusquedaRA, "0.000"),
                      dec = FormatNumber(c.gCentroBusquedaDEC, "0.000"),
                      angle = FormatNumber(c.gAnguloImagen, "0.00");
    ParaResumen(c, " alrededor de AR= " + ra + " DE= " + dec + " ángulo: " + angle,
                " autour de AD= " + ra + " DEC= " + dec + " angle: " + angle,
                " around RA= " + ra + " DEC= " + dec + " angle: " + angle);
}

// The frame of the three searches: `rounds` angles tried in turn until enough sides, a stop or an end.
void RotationSearch(Context& c, const char* procedure, const SkyArea& area, int32_t rounds,
                    const std::function<double(int32_t)>& angleOf,
                    const std::function<void(const std::string&)>& title) {
    WithTrap(c, procedure, [&] {
        if (!StartSearch(c)) return;
        for (int32_t n = 0; n < rounds && !SearchMustStop(c); ++n) {
            const double angle = angleOf(n);
            title(FormatNumber(angle, "0"));
            SearchArea(c, area, angle);
        }
        AfterZoneLoop(c);
        AnalisisFinal(c);
    });
}

// The area of a search about the search centre, its band held to -90 and 89.
SkyArea Area(const Context& c, double width, int32_t from, int32_t to) {
    return {c.gCentroBusquedaRA, width, std::clamp(from, -90, 89), std::clamp(to, -90, 89)};
}

// The end of the 2x2 and 40 minute searches: the angle found offered as the new image angle.
void OfferAngleFound(Context& c) {
    if (c.gLadosSolucion >= 9 && c.mHayAngulo) {
        if (c.gOrigenImagen == 5 || c.gOrigenImagen == 6) {
            if (c.gLadosSolucion >= c.gLadosParaParar) {
                c.gAnguloImagen = c.mAnguloHallado;
                c.parametersChanged = true;
            }
            return;
        }
        if (!c.gMostrarAvisos || std::fabs(c.mAnguloHallado - c.gAnguloImagen) <= 0.5) return;
        // The title of the 2x2 search serves both.
        AskToAcceptAngleFound(c, "Búsqueda en 2x2, con rotación", "Recherche en 2x2, avec rotation",
                              "Search in 2x2, with rotation");
    } else if (c.gLadosSolucion <= 8) {
        AvisoIdioma(c, "No se ha encontrado solución.", "Pas de solution trouvée.", "No solution found.");
    }
}

// The progress of the angle search in the caption: the angle, its round of all, the window's place.
void TitleAngleWindow(Context& c, double angle, int32_t round, int32_t rounds, const AngleSearchWindow& w) {
    const std::string t = FormatNumber(angle, "0") + " (" + std::to_string(round) + "/" +
                          std::to_string(rounds) + ")",
                      ra = FormatNumber(w.ar, "0.0"), dec = FormatNumber((w.a + w.b) / 2.0 - 90, "0.0");
    VisuTitulo(c, "Buscando ángulo: " + t + "  AR: " + ra + "  DE: " + dec,
               "Recherche angle: " + t + "  AD: " + ra + "  DEC: " + dec,
               "Searching angle: " + t + "  RA: " + ra + "  DEC: " + dec);
}

void ShowTime(Context& c, double start) {
    if (!c.gMostrarTiempos) return;
    const std::string t = FormatNumber(Ahora(c) - start, "0.0");
    VisuTitulo(c, "Tiempo = " + t + " s", "Temps = " + t + " s", "Time = " + t + " s");
}

// The 2x2 and 40 minute searches: every angle about the present one over `area`.
void AnyAngleSearch(Context& c, const char* procedure, const SkyArea& area, Txt es, Txt fr, Txt en) {
    const double start = Ahora(c);
    RotationSearch(
        c, procedure, area, 360, [&](int32_t n) { return AngleOfRound(c, n); },
        [&](const std::string& t) {
            VisuTitulo(c, std::string(es) + t, std::string(fr) + t, std::string(en) + t);
        });
    OfferAngleFound(c);
    ShowTime(c, start);
}

}  // namespace

void AnalizaVentana5x5Dual(Context& c) {
    if (c.mFinAnalisis) return;
    AnnounceSearch(c, "Búsqueda en ventana de cielo de 5x5 grados para ángulo de imagen doble,",
                   "Recherche dans une fenêtre de ciel de 5x5 degrés pour un angle d'image double,",
                   "Searching in a 5x5 degrees sky window for dual image angle,");
    const int32_t half = ToLong(c.gAltoVentana / 2);
    const int32_t from = ToLong(c.gCentroBusquedaDEC - half), to = ToLong(c.gCentroBusquedaDEC + half);
    RotationSearch(
        c, "AnalizaVentana5x5Dual", Area(c, RoundHalfEven(c.gAnchoVentana), from, to), 2,
        [&](int32_t n) { return GradosEntre0y360(c.gAnguloImagen + 180 * n); },
        [&](const std::string& t) {
            VisuTitulo(c, "Buscando 5x5 doble: " + t, "Recherche 5x5 double: " + t,
                       "Searching 5x5 dual: " + t);
        });
}

void AnalizaVentana2x2ConRotacion(Context& c) {
    if (c.mFinAnalisis) return;
    AnnounceSearch(c, "Búsqueda en ventana de cielo de 2x2 grados para cualquier ángulo de rotación,",
                   "Recherche dans une fenêtre de ciel de 2x2 degrés pour tout angle de rotation,",
                   "Searching in a 2x2 degrees sky window for any rotation angle,");
    const auto dec = static_cast<int32_t>(IntFloor(c.gCentroBusquedaDEC));
    AnyAngleSearch(c, "AnalizaVentana2x2ConRotacion", Area(c, 3, dec - 1, dec + 1),
                   "Buscando 2x2 : ", "Recherche 2x2 : ", "Searching 2x2 : ");
}

void AnalizaVentana40mConRotacion(Context& c) {
    if (c.mFinAnalisis) return;
    AnnounceSearch(c, "Búsqueda en ventana de cielo de 40 minutos para cualquier ángulo de rotación,",
                   "Recherche dans une fenêtre de ciel de 40 minutes pour tout angle de rotation,",
                   "Searching in a 40 minutes sky window for any rotation angle,");
    const double whole = IntFloor(c.gCentroBusquedaDEC), fraction = c.gCentroBusquedaDEC - whole;
    const auto dec = static_cast<int32_t>(whole);
    const int32_t from = fraction < 0.333 ? dec - 1 : dec, to = fraction > 0.666 ? dec + 1 : dec;
    AnyAngleSearch(c, "AnalizaVentana40mConRotacion", Area(c, 0.666, from, to),
                   "Buscando 40' : ", "Recherche 40' : ", "Searching 40' : ");
}

void SearchZone30x30WithRotation(Context& c) {
    if (c.mFinAnalisis || c.gZonaCielo != 6) return;
    WithTrap(c, "AnalizaAmbito30x30gConRotacion", [&] {
        ParaResumen(c, "      ** BUSQUEDA **", "      ** RECHERCHE **", "      ** SEARCH **");
        const std::string a = FormatNumber(c.gAnguloImagen, "0.00"),
                          ra = FormatNumber(c.gCentroBusquedaRA, "0.000"),
                          dec = FormatNumber(c.gCentroBusquedaDEC, "0.000");
        ParaResumen(c, "Buscando: ángulo: " + a + " AR: " + ra + " DE: " + dec,
                    "Recherche: angle: " + a + " AD: " + ra + " DEC: " + dec,
                    "Searching: angle: " + a + " RA: " + ra + " DEC: " + dec);
        if (c.gImagenInvertida == 1)
            ParaResumen(c, "Imagen invertida", "Image inversée", "Reversed image");
        else
            ParaResumen(c, "Imagen no invertida", "Image non inversée", "Non reversed image");
        if (!StartSearch(c)) return;
        const std::vector<AngleSearchWindow> windows = AngleSearchWindows(c);
        if (windows.empty()) {
            ZoneWindowTooSmall(c);
            return;
        }
        const std::vector<double> angles = AngleSearchAngles(c);
        const auto rounds = static_cast<int32_t>(angles.size());
        for (int32_t n = 0; n < rounds && !SearchMustStop(c); ++n) {
            const double angle = angles[static_cast<size_t>(n)];
            for (size_t w = 0; w < windows.size() && !SearchMustStop(c); ++w) {
                TitleAngleWindow(c, angle, n + 1, rounds, windows[w]);
                WindowStep(c, windows[w].ar, windows[w].a, windows[w].b, angle);
            }
            if (n > 0) continue;
            // The pole files hold distances only: they are searched once, with the first round.
            AfterZoneLoop(c);
            PoleWhenReached(c, AngleSearchReachesSouthPole(c), 0);
            PoleWhenReached(c, AngleSearchReachesNorthPole(c), 179);
        }
        AnalisisFinal(c);
    });
}

}  // namespace tornel
