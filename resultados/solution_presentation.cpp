#include "resultados/solution_presentation.h"

#include <algorithm>
#include <cmath>

#include "astrometria/pair_geometry.h"
#include "astrometria/plate_model.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"
#include "resultados/solution_drawing.h"

namespace tornel {

void ToDisplay(const Context& c, double x, double y, double& dx, double& dy) {
    const double f = c.gFactorReduccion;
    dx = x / f - 1;
    dy = (c.gPixelesY - y * c.gRelacionPixel) / f;
}

namespace {

// A circle and the catalogue identifier at an identified star.
void MarkStar(Context& c, double x, double y, int32_t id) {
    double dx = 0, dy = 0;
    ToDisplay(c, x, y, dx, dy);
    c.platform.DrawCircle(dx, dy, 8, OverlayColour::Green, 1);
    c.platform.DrawText(dx + 8, dy, IdTrabajo_A_IdCatalogo(c, id), OverlayColour::Green);
}

// The difference of two angles (degrees), brought into -180..180.
double AngleApart(double a, double b) {
    double d = std::fmod(a - b, 360.0);
    if (d > 180) d -= 360;
    if (d < -180) d += 360;
    return d;
}

}  // namespace

void GradosAcadenas(double ar, double de, std::string& textoAr, std::string& textoDe) {
    double h = IntFloor(ar / 15);
    double m = IntFloor((ar - 15 * h) * 4);
    double s = (ar - 15 * h - m / 4) * 240;
    if (s >= 59.995) {
        m += 1;
        s = 0;
    }
    if (m >= 60) {
        m -= 60;
        h += 1;
    }
    textoAr = FormatNumber(h, "00") + "h" + FormatNumber(m, "00") + "m" + FormatNumber(s, "00.00") + "s";
    const double a = std::fabs(de);
    double g = IntFloor(a);
    double mi = IntFloor((a - g) * 60);
    double se = (a - g - mi / 60) * 3600;
    if (se >= 59.95) {
        mi += 1;
        se = 0;
    }
    if (mi >= 60) {
        mi -= 60;
        g += 1;
    }
    textoDe = std::string(de >= 0 ? "+" : "-") + FormatNumber(g, "00") + "°" + FormatNumber(mi, "00") + "'" +
              FormatNumber(se, "00.0");
}

void EscribeIDsEstrellas(Context& c, int32_t indice) {
    if (indice < 1 || static_cast<size_t>(indice) >= c.mSoluciones.size()) return;
    const Solucion& sol = c.mSoluciones[static_cast<size_t>(indice)];
    auto mark = [&](const EstrellaSolucion& s) { MarkStar(c, s.X, s.Y, s.Id); };
    for (int32_t e = 1; e <= sol.NumEnPoligono; ++e)
        mark(sol.EstrellasSolucion[static_cast<size_t>(e)]);
    for (const EstrellaSolucion& s : sol.Extendidas)
        mark(s);
}

void AvisoSolucionNoSegura(Context& c) {
    const std::string text = Pick(c, "SOLUCION NO VALIDA", "SOLUTION NON VALABLE", "INVALID SOLUTION");
    const double f = c.gFactorReduccion;
    const double x = c.gPixelesX / (4 * f), y = c.gPixelesY / (2 * f);
    // Drawn over itself a pixel apart, so that it stands out against any field.
    for (int dx = -1; dx <= 1; ++dx)
        for (int dy = -1; dy <= 1; ++dy)
            c.platform.DrawText(x + dx, y + dy, text,
                                dx == 0 && dy == 0 ? OverlayColour::Red : OverlayColour::White);
}

namespace {

// What both roads show of a solution with `lados` sides: the position labels, the result line and
// the summary's "CENTRE:" line.
void ShowCentre(Context& c, int32_t lados) {
    c.gHaySolucion = true;
    std::string ra, dec, raDate, decDate;
    GradosAcadenas(c.gARJ2000, c.gDEJ2000, ra, dec);
    GradosAcadenas(c.gARActual, c.gDEActual, raDate, decDate);
    c.platform.ShowPosition(
        Pick(c, " AR= ", " AD= ", " RA= ") + ra, Pick(c, " DE= ", " DEC= ", " DEC= ") + dec,
        Pick(c, " AR= ", " AD= ", " RA= ") + raDate, Pick(c, " DE= ", " DEC= ", " DEC= ") + decDate);
    const std::string n = std::to_string(lados);
    const std::string deviation = FormatNumber(
        CalculaDistancia(c, c.gCentroBusquedaRA, c.gCentroBusquedaDEC, c.gARJ2000, c.gDEJ2000), "0.00");
    const std::string aside = FormatNumber(AngleApart(c.mAnguloSolucion, c.gAnguloImagen), "0.00");
    LabelResul(c,
               "Centro de la imagen: AR= " + ra + " DE= " + dec + ". Lados=" + n + ". Desvio= " + deviation +
                   ". Giro= " + aside,
               "Centre de l'image: AD= " + ra + " DEC= " + dec + ". Côtés=" + n +
                   ". Déviation= " + deviation + ". Rotation= " + aside,
               "Image centre: RA= " + ra + " DEC= " + dec + ". Sides=" + n + ". Deviation= " + deviation +
                   ". Aside= " + aside);
    const std::string angle = FormatNumber(c.mAnguloSolucion, "0.00");
    ParaResumen(c,
                "CENTRO: AR= " + ra + " DE= " + dec + " (J2000)  AR= " + raDate + " DE= " + decDate +
                    " (fecha)  Lados= " + n + "  Desvio= " + deviation + "  Angulo= " + angle,
                "CENTRE: AD= " + ra + " DEC= " + dec + " (J2000)  AD= " + raDate + " DEC= " + decDate +
                    " (date)  Côtés= " + n + "  Déviation= " + deviation + "  Angle= " + angle,
                "CENTRE: RA= " + ra + " DEC= " + dec + " (J2000)  RA= " + raDate + " DEC= " + decDate +
                    " (date)  Sides= " + n + "  Deviation= " + deviation + "  Angle= " + angle);
}

}  // namespace

void ShowNoSolution(Context& c) {
    LabelResul(c, "No encontrado", "Pas de solution", "No solution");
}

bool Dist_SolucionPasa(const Context& c, int32_t indice) {
    if (c.mFinAnalisis || indice < 1 || static_cast<size_t>(indice) >= c.mSoluciones.size()) return false;
    // An unsafe solution passes when its stars stand where its plate puts them, within the three pixels
    // in which the extension looks for a star; a safe one has shown enough sides already (a blended
    // pair of stars may stand farther off).
    return c.gSolucionSegura || c.mSoluciones[static_cast<size_t>(indice)].worstResidual <= kResidualLimit;
}

void Dist_PresentaSolucion(Context& c, int32_t indice, int32_t lados) {
    if (!Dist_SolucionPasa(c, indice)) {
        ShowNoSolution(c);
        return;
    }
    ShowCentre(c, lados);
    c.presentedRoad = SolutionRoad::Distances;
    c.mIndiceSolucion = indice;
    DibujaSolucion(c, true);
}

void Tri_EscribeIDsEstrellas(Context& c) {
    const SolucionTriangulo& s = c.mSolucion;
    for (int32_t k = 1; k <= 10 && k < static_cast<int32_t>(c.mSeleccionadasCuadradas.size()); ++k)
        if (Estrella(s, k) != 0) {
            const EstrellaImagen& e = c.mSeleccionadasCuadradas[static_cast<size_t>(k)];
            MarkStar(c, e.x, e.y, Estrella(s, k));
        }
    const auto first = static_cast<size_t>(std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10)) + 1;
    for (size_t m = 0; m < s.EstrellasExtra.size(); ++m)
        if (s.EstrellasExtra[m] != 0 && first + m < c.mEstrellasCuadradas.size()) {
            const EstrellaImagen& e = c.mEstrellasCuadradas[first + m];
            MarkStar(c, e.x, e.y, s.EstrellasExtra[m]);
        }
}

void Tri_PresentaSolucion(Context& c) {
    if (c.mFinAnalisis) return;
    if (!c.gSolucionOK) {
        ShowNoSolution(c);
        return;
    }
    ShowCentre(c, c.gLadosSolucion);
    c.presentedRoad = SolutionRoad::Triangles;
    DibujaSolucion(c, true);
}

void PresentaSolucionPatrones(Context& c) {
    if (c.mFinAnalisis) return;
    ShowCentre(c, c.gLadosSolucion);
    c.presentedRoad = SolutionRoad::Patterns;
    DibujaSolucion(c, true);
}

}  // namespace tornel
