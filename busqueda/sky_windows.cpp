// The searches around a position: one window of the sky, or many in a chosen order over a zone,
// each fished in the distance database and grown into polygons; a good enough polygon ends the
// search early, and the choice of solution closes it.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "astrometria/pair_geometry.h"
#include "astrometria/sky_maths.h"
#include "busqueda/busqueda.h"
#include "busqueda/polygons.h"
#include "busqueda/solution_choice.h"
#include "busqueda/three_stars.h"
#include "catalogo/database_choice.h"
#include "catalogo/distance_database.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// Width in right ascension of a window at the edge of rings a..b nearer the equator, where a degree
// of right ascension is longest: the step between windows that overlap by half a degree.
double RightAscensionStep(const Context& c, int32_t a, int32_t b) {
    const double declinacion = (a + b - 180) / 2.0 <= 0 ? b - 90 : a - 90;
    const double k = std::cos(declinacion * c.gGradosARadianes);
    return c.gAnchoVentana / k - 0.5 / k;
}

void TitleDeclination(Context& c, double value) {
    const std::string v = FormatNumber(value, "0.0");
    VisuTitulo(c, "Buscando DE: " + v, "Recherche DEC: " + v, "Searching DEC: " + v);
}

void TitleRightAscension(Context& c, double value) {
    const std::string v = FormatNumber(value, "0.0");
    VisuTitulo(c, "Buscando AR: " + v, "Recherche AD: " + v, "Searching RA: " + v);
}

// The bands of a zone spread out from ring `centre`, alternately north and south, each band `p` rings
// high over one degree of overlap; `band(a, b)` searches one band. The pole files are searched when a
// side of the zone that reaches a pole is finished.
template <class Band>
void SweepBands(Context& c, int32_t desde, int32_t hasta, int32_t centre, Band&& band) {
    const int32_t p = ToLong(c.gAltoVentana - 1);
    bool northDone = false, southDone = false;
    for (int32_t k = 0; k <= 179; ++k) {
        int32_t a = k % 2 == 1 ? ToLong(centre + (k + 1) * p / 2.0) : ToLong(centre - k * p / 2.0);
        int32_t b = a + p;
        if (a >= hasta && !northDone) {
            northDone = true;
            PoleWhenReached(c, hasta == 179, 179);
        }
        if (b <= desde && !southDone) {
            southDone = true;
            PoleWhenReached(c, desde == 0, 0);
        }
        if (northDone && southDone) return;
        a = std::clamp(a, 0, 179);
        b = std::clamp(b, 0, 179);
        if (a < hasta && b > desde) band(a, b);
        if (SearchMustStop(c)) return;
    }
}

// Windows of the 30 x 30 degree search.
struct ZoneWindow {
    int32_t a = 0, b = 0;  // rings
    double distance = 0;   // of its middle from the search centre, degrees
    double arDesde = 0, arHasta = 0;
    bool grouped = false;
};

// Repeated choice of the nearest window left; the first of equals wins.
std::vector<ZoneWindow> NearestFirst(std::vector<ZoneWindow> list) {
    std::vector<ZoneWindow> sorted;
    std::vector<double> distance;
    for (const ZoneWindow& w : list)
        distance.push_back(w.distance);
    for (size_t round = 0; round < list.size(); ++round) {
        double least = 999;
        size_t chosen = list.size();
        for (size_t k = 0; k < list.size(); ++k)
            if (distance[k] < least) {
                least = distance[k];
                chosen = k;
            }
        if (chosen == list.size()) break;
        sorted.push_back(list[chosen]);
        distance[chosen] = 9999;
    }
    return sorted;
}

// The windows of one ring kept together, in the order their rings first appear.
std::vector<ZoneWindow> GroupByRing(std::vector<ZoneWindow> list) {
    std::vector<ZoneWindow> grouped;
    for (size_t k = 0; k < list.size(); ++k) {
        if (list[k].grouped) continue;
        for (size_t m = k; m < list.size(); ++m)
            if (!list[m].grouped && list[m].a == list[k].a) {
                list[m].grouped = true;
                grouped.push_back(list[m]);
            }
    }
    return grouped;
}

}  // namespace

bool StartSearch(Context& c, bool checkRightAscension) {
    if (!ExisteBDestrellas(c) || !ExisteBDdistancias(c) || !ExisteCarpetaAuto(c)) return false;
    c.mHayAnillo = false;
    if (c.gCentroBusquedaDEC < -90 || c.gCentroBusquedaDEC > 90) {
        c.mFinAnalisis = true;
        VisuTitulo(c, "Declinación fuera de rango.", "Déclinaison hors limites.",
                   "Declination out of range.");
        LabelResul(c, "DE de búsqueda incorrecta.", "DEC non valable.", "DEC not valid.");
        ParaResumen(c, "La declinación de búsqueda no es válida.",
                    "La déclinaison de recherche n'est pas valable.",
                    "The searching declination is not valid.");
        return false;
    }
    if (checkRightAscension && (c.gCentroBusquedaRA < 0 || c.gCentroBusquedaRA >= 360)) {
        c.mFinAnalisis = true;
        VisuTitulo(c, "AR fuera de rango.", "AD hors limites.", "RA out of range.");
        LabelResul(c, "AR de búsqueda incorrecta.", "AD de recherche non valable.", "RA not valid.");
        ParaResumen(c, "La AR de búsqueda no es válida.", "L'AD de recherche n'est pas valable.",
                    "The searching RA is not valid.");
        return false;
    }
    c.mMejores.assign(1, Poligono{});
    c.mMejores.reserve(101);
    c.mNumMejores = 0;
    c.mMejorLados = 6;
    return true;
}

bool SearchMustStop(const Context& c) {
    return c.gDetenerAnalisis || c.mFinAnalisis || c.mMejorLados >= c.gLadosParaParar;
}

namespace {

void NoDistanceFile(Context& c) {
    SummaryAndTitle(c, "No se ha encontrado ningún fichero de distancias.",
                    "Aucun fichier de distances n'a été trouvé.", "No distance file was found.");
}

}  // namespace

void AfterZoneLoop(Context& c) {
    if (!c.mHayAnillo && !c.mFinAnalisis) {
        NoDistanceFile(c);
        c.mFinAnalisis = true;
    }
}

void PoleWhenReached(Context& c, bool reached, int32_t polo) {
    if (!reached || c.mMejorLados >= c.gLadosParaParar) return;
    int32_t resultado = 0;
    TrataPolos(c, polo, resultado);
}

void WindowStep(Context& c, double ar, double a1, double a2, double angulo) {
    if (c.mFinAnalisis) return;
    VaciaSegmentos(c);
    c.mSegmentos.reserve(static_cast<size_t>(std::min(c.gMaxSegmentos, 4096)) + 1);
    int32_t resultado = 0;
    PescaEnVentana(c, angulo, ar, a1, a2, resultado);
    if (resultado > 0) c.mFinAnalisis = true;
    if (c.mFinAnalisis || c.mNumSegmentos == 0) return;
    Construye3estrellas(c);
    ConstruyePoligonosFinales(c);
    CompletaPoligonos(c, angulo);
    AnalisisParcial(c);
}

void BusquedaEnVentanaFija(Context& c) {
    if (c.mFinAnalisis || c.gZonaCielo != 1) return;
    WithTrap(c, "BusquedaEnVentanaFija", [&] {
        VisuTitulo(c, "Buscando distancias ...", "Recherche des distances en cours...",
                   "Searching distances ...");
        c.mHayAnillo = false;
        if (!StartSearch(c)) return;
        const double semi = c.gAltoVentana / 2;
        const double de1 = std::max(c.gCentroBusquedaDEC - semi, -90.0);
        const double de2 = std::min(semi + c.gCentroBusquedaDEC, 89.0);
        const int32_t a1 = static_cast<int32_t>(IntFloor(de1)) + 90;
        const int32_t a2 = static_cast<int32_t>(IntFloor(de2)) + 90;
        const std::string h = ShortestText(c.gAltoVentana);
        ParaResumen(c, "Búsqueda en ventana de cielo de " + h + " grados,",
                    "Recherche dans fenêtre de ciel de " + h + " degrés,",
                    "Searching in a " + h + " degrees sky window,");
        const std::string ra = FormatNumber(c.gCentroBusquedaRA, "0.000");
        const std::string dec = FormatNumber(c.gCentroBusquedaDEC, "0.000");
        ParaResumen(c, "alrededor de AR= " + ra + " grados, DE= " + dec + " grados.",
                    "autour de AD= " + ra + " degrés, DEC= " + dec + " degrés.",
                    "around RA= " + ra + " degrees, DEC= " + dec + " degrees.");
        WindowStep(c, c.gCentroBusquedaRA, a1, a2, c.gAnguloImagen);
        if (!c.mHayAnillo) NoDistanceFile(c);
        PoleWhenReached(c, a1 == 0, 0);
        PoleWhenReached(c, a2 == 179, 179);
        AnalisisFinal(c);
    });
}

void BusquedaEnZonaEsferica(Context& c) {
    if (c.mFinAnalisis || (c.gZonaCielo != 2 && c.gZonaCielo != 3)) return;
    WithTrap(c, "BusquedaEnZonaEsferica", [&] {
        if (!StartSearch(c)) return;
        int32_t desde = 0, hasta = 179, centre = 0;
        if (c.gZonaCielo == 2) {
            desde = c.gAnilloDesde + 90;
            hasta = c.gAnilloHasta + 90;
            const std::string d = std::to_string(c.gAnilloDesde), h = std::to_string(c.gAnilloHasta);
            ParaResumen(c, "Búsqueda en zona esférica desde " + d + " hasta " + h + " grados.",
                        "Recherche dans une zone sphérique de " + d + " à " + h + " degrés.",
                        "Searching in a spherical ring from " + d + " to " + h + " degrees.");
            centre = ToLong((desde + hasta) / 2.0);
        } else {
            ParaResumen(c, "Búsqueda en todo el cielo", "Recherche dans tout le ciel",
                        "Searching the full sky");
            centre = ToLong(c.gCentroBusquedaDEC + 90);
        }
        SweepBands(c, desde, hasta, centre, [&](int32_t a, int32_t b) {
            const double step = RightAscensionStep(c, a, b);
            for (double ar = 0; ar <= 360 && !SearchMustStop(c); ar += step) {
                TitleDeclination(c, a - 90);
                WindowStep(c, ar, a, b, c.gAnguloImagen);
            }
        });
        AfterZoneLoop(c);
        AnalisisFinal(c);
    });
}

void BusquedaEnZonaMeridiano(Context& c) {
    if (c.mFinAnalisis || c.gZonaCielo != 9) return;
    WithTrap(c, "BusquedaEnZonaEsferica", [&] {
        if (!StartSearch(c)) return;
        const std::string ra = FormatNumber(c.gCentroBusquedaRA, "0.000");
        ParaResumen(c, "Búsqueda según meridiano con AR = " + ra + " grados.",
                    "Recherche le long d'un méridien avec AD = " + ra + " degrés.",
                    "Searching along a meridian with RA = " + ra + " degrees.");
        SweepBands(c, 0, 179, ToLong(c.gCentroBusquedaDEC + 90), [&](int32_t a, int32_t b) {
            TitleRightAscension(c, c.gCentroBusquedaRA);
            WindowStep(c, c.gCentroBusquedaRA, a, b, c.gAnguloImagen);
        });
        AfterZoneLoop(c);
        AnalisisFinal(c);
    });
}

void BusquedaEnZonaParalelo(Context& c) {
    if (c.mFinAnalisis || c.gZonaCielo != 8) return;
    WithTrap(c, "BusquedaEnZonaParalelo", [&] {
        if (!StartSearch(c, false)) return;
        const double low = c.gCentroBusquedaDEC + 90 - c.gAltoVentana / 2;
        const int32_t a = std::clamp(ToLong(low), 0, 179);
        const int32_t b = std::clamp(ToLong(low + c.gAltoVentana), 0, 179);
        const double step = RightAscensionStep(c, a, b);
        struct Place {
            double ar = 0, distance = 0;
        };
        std::vector<Place> places;
        for (double offset = 0; offset < 360; offset += step) {
            const double ar = GradosEntre0y360(c.gCentroBusquedaRA + offset);
            places.push_back({ar, CalculaDistancia(c, c.gCentroBusquedaRA, c.gCentroBusquedaDEC, ar,
                                                   c.gCentroBusquedaDEC)});
        }
        // Outward from the centre on both sides at once: nearest first, the first of equals winning.
        std::vector<double> distance;
        for (const Place& p : places)
            distance.push_back(p.distance);
        std::vector<double> order;
        for (size_t round = 0; round < places.size(); ++round) {
            size_t chosen = 0;
            for (size_t k = 1; k < places.size(); ++k)
                if (distance[k] < distance[chosen]) chosen = k;
            order.push_back(places[chosen].ar);
            distance[chosen] = 1e300;
        }
        const std::string d = std::to_string(a - 90), h = std::to_string(b - 90);
        ParaResumen(c, "Búsqueda en paralelos con declinación desde " + d + " hasta " + h + " grados.",
                    "Recherche le long d'un parallele de " + d + " à " + h + " degrés.",
                    "Searching along a parallel from " + d + " to " + h + " degrees.");
        for (double ar : order) {
            if (SearchMustStop(c)) break;
            TitleDeclination(c, c.gCentroBusquedaDEC);
            WindowStep(c, ar, a, b, c.gAnguloImagen);
        }
        AfterZoneLoop(c);
        PoleWhenReached(c, a <= 0, 0);
        PoleWhenReached(c, b >= 179, 179);
        AnalisisFinal(c);
    });
}

void ZoneWindowTooSmall(Context& c) {
    MensajeIdioma(c,
                  "La ventana de búsqueda es demasiado pequeña para la opción 'Buscar en zona 30x30 grados'",
                  "La fenêtre de recherche est trop petite pour l'option 'Rechercher dans une zone de 30x30 "
                  "degrés'",
                  "The searching window is too small for the 'Search in a 30x30 degrees area' option");
    c.mFinAnalisis = true;
}

bool SweepZone30x30(Context& c, double angulo) {
    const int32_t d1 = std::max(ToLong(c.gCentroBusquedaDEC - 15), -90);
    int32_t d2 = std::min(ToLong(c.gCentroBusquedaDEC + 15), 89);
    int32_t step = 0;
    if (c.gAltoVentana + 1 >= d2 - d1) {
        // A window as tall as the zone: one row.
        step = d2 - d1;
        if (step == 1) step = 2;
        d2 = d1;
    } else {
        step = ToLong(c.gAltoVentana);
    }
    step = std::max(step, 2);
    c.gAnchoZona30 = 30;
    std::vector<ZoneWindow> list;
    constexpr size_t kMostWindows = 500;
    for (int32_t d = d1; d <= d2 && list.size() < kMostWindows; d += step - 1) {
        const int32_t a = d + 90, b = std::min(a + step, 179);
        const double mean = (a + b) / 2.0 - 90;
        const double k = std::cos(mean * c.gGradosARadianes);
        const double w = std::min(c.gAnchoZona30 / k, 360.0);
        const double width = c.gAnchoVentana / k, overlap = 0.25 / k;
        double start = c.gCentroBusquedaRA - w / 2;
        if (start < 0) start += 360;
        const double end = start + w;
        for (double ar = start; ar <= end && list.size() < kMostWindows; ar += width - overlap) {
            ZoneWindow z;
            z.a = a;
            z.b = b;
            z.arDesde = GradosEntre0y360(ar);
            z.arHasta = GradosEntre0y360(ar + width + overlap);
            const double middle = GradosEntre0y360(ar + (width + overlap) / 2);
            z.distance = CalculaDistancia(c, c.gCentroBusquedaRA, c.gCentroBusquedaDEC, middle, mean);
            if (z.distance < 15) list.push_back(z);
        }
        if (a < 3 && list.size() < kMostWindows) list.push_back({0, 2, 0, 0, 360});
        if (b > 176 && list.size() < kMostWindows) list.push_back({177, 179, 0, 0, 360});
    }
    list = GroupByRing(NearestFirst(std::move(list)));
    if (list.empty()) {
        ZoneWindowTooSmall(c);
        return false;
    }
    for (const ZoneWindow& z : list) {
        if (SearchMustStop(c)) break;
        c.mArDesde = z.arDesde;
        c.mArHasta = z.arHasta;
        c.mAnilloDesde = z.a;
        c.mAnilloHasta = z.b;
        const double middle = z.arHasta > z.arDesde ? (z.arDesde + z.arHasta) / 2
                                                    : GradosEntre0y360((z.arDesde + z.arHasta + 360) / 2);
        TitleRightAscension(c, middle);
        WindowStep(c, middle, z.a, z.b, angulo);
    }
    AfterZoneLoop(c);
    PoleWhenReached(c, d1 + 90 < 3, 0);
    PoleWhenReached(c, std::min(d2 + 90 + step, 179) > 176, 179);
    return true;
}

void BusquedaEnZona30x30porEspiralDeclinacionFija(Context& c) {
    if (c.mFinAnalisis || (c.gZonaCielo != 4 && c.gZonaCielo != 6)) return;
    WithTrap(c, "BuscaEnZona30x30porEspiral", [&] {
        ParaResumen(c, "Búsqueda en zona 30x30 grados.", "Recherche dans une zone de 30x30 degrés.",
                    "Searching in a 30x30 degrees zone.");
        if (!StartSearch(c)) return;
        if (!SweepZone30x30(c, c.gAnguloImagen)) return;
        AnalisisFinal(c);
    });
}

}  // namespace tornel
