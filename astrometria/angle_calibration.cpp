#include "astrometria/angle_calibration.h"

#include <cmath>

#include "astrometria/plate_model.h"
#include "comun/errors.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

void CalculaNorteCamara(Context& c, double& angulo, int32_t& codigo) {
    codigo = 1;
    if (c.mFinAnalisis) return;
    double answer = 0;
    bool converted = true;
    const bool ok = WithCheckedTrap(c, "CalculaNorteCamara", [&](const FpCheck& fp) {
        double x = 0, y = 0;
        // Both poles project to the same pixel; the first call is kept from the original sequence.
        CoordenadasCatalogoAimagen(c, 100, 90, x, y);
        CoordenadasCatalogoAimagen(c, 100, -90, x, y);
        if (c.mFinAnalisis) {
            converted = false;  // reported by the conversion
            return;
        }
        const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2;
        if (y == cy) {
            answer = x == cx ? 0 : x > cx ? 90 : 270;
            return;
        }
        const double w = std::atan((x - cx) / (y - cy)) * c.gRadianesAGrados;
        if (c.gDECsolucion > 0)
            answer = y > cy ? (x > cx ? w : w + 360) : w + 180;
        else
            answer = y > cy ? w + 180 : (x > cx ? w + 360 : w);
        fp.Check();
    });
    if (!ok || !converted) return;
    angulo = answer;
    codigo = 0;
}

}  // namespace tornel

namespace tornel {

void AutoCalibraAngulo(Context& c) {
    if (!c.gSolucionOK || c.mFinAnalisis) return;
    double angle = 0;
    int32_t code = 1;
    CalculaNorteCamara(c, angle, code);
    if (code != 0) {
        AvisoIdioma(c, "Imposible autocalibrar el ángulo de la imagen.",
                    "Impossible d'auto-calibrer l'angle de l'image.",
                    "Impossible to Auto-calibrate the image angle.");
        return;
    }
    if (c.gOrigenImagen == 5 || c.gOrigenImagen == 6) {
        c.gAnguloImagen = angle;
    } else {
        const std::string a = FormatNumber(angle, "0.00");
        if (c.platform.AskYesNo(Pick(c, "Nuevo ángulo de imagen = " + a + " grados. ¿Está de acuerdo ?",
                                     "Nouvel angle de l'image = " + a + " degrés. Êtes-vous d'accord ?",
                                     "New image angle = " + a + " degrees. Do you agree ?"),
                                Pick(c, "Autocalibrar angulo imagen", "Autocalibrer l'angle de l'image",
                                     "Autocalibrate image angle"),
                                false))
            c.gAnguloImagen = angle;
    }
    c.parametersChanged = true;
}

void AskToAcceptAngleFound(Context& c, std::string_view tituloEs, std::string_view tituloFr,
                           std::string_view tituloEn) {
    const std::string a = FormatNumber(c.mAnguloHallado, "0.00"), s = std::to_string(c.gLadosSolucion);
    const std::string question =
        Pick(c,
             "Angulo de imagen encontrado = " + a + " grados,\ncon una solución de " + s +
                 " lados.\n¿ Acepta este valor ? ",
             "Angle de l'image trouvé = " + a + " degrés,\navec une solution de " + s +
                 " côtés.\nAcceptez-vous cette valeur ? ",
             "Image angle found = " + a + " degrees,\nwith a " + s +
                 " sides solution.\nOk to accept this value ? ");
    if (!c.platform.AskYesNo(question, Pick(c, tituloEs, tituloFr, tituloEn), false)) return;
    c.gAnguloImagen = c.mAnguloHallado;
    c.parametersChanged = true;
}

}  // namespace tornel
