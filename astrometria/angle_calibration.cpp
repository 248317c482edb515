#include "astrometria/angle_calibration.h"

#include <cmath>

#include "astrometria/plate_model.h"
#include "core/errors.h"

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
