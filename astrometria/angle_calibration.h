#pragma once
// Calibration of the image angle from a solved image.
#include "core/context.h"

namespace tornel {

// Measures the image angle on the solution and proposes it, or in the waiting modes sets it.
void AutoCalibraAngulo(Context& c);

}  // namespace tornel
