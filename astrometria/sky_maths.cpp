#include "astrometria/sky_maths.h"

#include <cmath>

namespace tornel {

double GradosEntre0y360(double angle) {
    // Repeated steps on purpose: the result carries the rounding of each one. A value that is not
    // finite cannot be brought into range and is left as it is.
    if (!std::isfinite(angle)) return angle;
    while (angle < 0)
        angle += 360;
    while (angle >= 360)
        angle -= 360;
    return angle;
}

}  // namespace tornel
