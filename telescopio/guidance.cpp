#include "telescopio/guidance.h"

#include <cmath>

#include "astrometria/sky_maths.h"
#include "comun/errors.h"
#include "comun/numbers.h"

namespace tornel {

namespace {

GuidanceLabel Label(const std::string& axis, double value, int pointSize) {
    GuidanceLabel label;
    label.pointSize = pointSize;
    if (std::fabs(value) < 1) {
        label.colour = OverlayColour::Green;
        label.text = axis + FormatNumber(value * 60, "0.0") + " ' ";
    } else {
        label.colour = OverlayColour::Yellow;
        label.text = axis + FormatNumber(value, "0.0") + " ° ";
    }
    return label;
}

}  // namespace

double GuidanceDifference(double target, double solution) {
    double d = GradosEntre0y360(target) - GradosEntre0y360(solution);
    if (std::fabs(d) >= 180) d += d < 0 ? 360 : -360;
    return d;
}

std::pair<GuidanceLabel, GuidanceLabel> GuidanceLabels(double first, double second, int16_t montura,
                                                       int32_t tamanio) {
    const int size = tamanio == 3 ? 48 : tamanio == 2 ? 24 : 8;
    const bool altaz = montura == 1;
    GuidanceLabel a = Label(altaz ? "AZ " : "RA ", first, size);
    GuidanceLabel b = Label(altaz ? "AL " : "DE ", second, size);
    // On an alt-azimuth mount the first label is mirrored on purpose: the azimuth grows westwards
    // on the image where the right ascension grows eastwards.
    if (altaz)
        a.edge = first <= 0 ? GuidanceEdge::Left : GuidanceEdge::Right;
    else
        a.edge = first >= 0 ? GuidanceEdge::Left : GuidanceEdge::Right;
    b.edge = second > 0 ? GuidanceEdge::Top : GuidanceEdge::Bottom;
    return {a, b};
}

void GuidanceTarget(const Context& c, double& ra, double& dec) {
    ra = c.hayDestinoDDE ? c.destinoDDERA : c.gCentroBusquedaRA;
    dec = c.hayDestinoDDE ? c.destinoDDEDEC : c.gCentroBusquedaDEC;
}

void GuiadoAlDestino(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "GuiadoAlDestino", [&] {
        double ra = 0, dec = 0;
        GuidanceTarget(c, ra, dec);
        if (c.gDestinoJ2000) J2000aEpocaFecha(c, c.gDiasJ2000, ra, dec, ra, dec);
        double sra = 0, sdec = 0;
        J2000aEpocaFecha(c, c.gDiasJ2000, c.gARJ2000, c.gDEJ2000, sra, sdec);
        double first = 0, second = 0;
        if (c.gMontura == 1) {
            double altT = 0, azT = 0, altS = 0, azS = 0;
            EcuatorialAaltaz(c, c.gLongitud, c.gLatitud, c.gHoraSideral, ra, dec, altT, azT, true);
            EcuatorialAaltaz(c, c.gLongitud, c.gLatitud, c.gHoraSideral, sra, sdec, altS, azS, true);
            first = GuidanceDifference(azT, azS);
            second = altT - altS;
        } else {
            first = GuidanceDifference(ra, sra);
            second = dec - sdec;
        }
        if (c.mFinAnalisis) return;
        const auto [a, b] = GuidanceLabels(first, second, c.gMontura, c.gTamanioAvisos);
        c.platform.ShowGuidance(a, b);
    });
}

}  // namespace tornel
