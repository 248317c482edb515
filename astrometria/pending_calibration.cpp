// Stand-in until the angle calibration lands: the angle is left as it is.
#include "astrometria/angle_calibration.h"

namespace tornel {

void AutoCalibraAngulo(Context&) {}

}  // namespace tornel
