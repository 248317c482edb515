#pragma once
// Spherical formulas of the sky. Every angle at these interfaces is in degrees.

namespace tornel {

// angle (degrees) brought into 0 <= a < 360 by repeated addition or subtraction of 360.
double GradosEntre0y360(double angle);

}  // namespace tornel
