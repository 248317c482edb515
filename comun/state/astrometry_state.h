#pragma once
// Shared results of the sky formulas and the two plate solutions.
#include <array>
#include <cstdint>

namespace tornel {

// A 3 x 3 plate matrix with rows and columns from 1 (element 0 of each is a margin). Row 1 is the
// sky vector of the image's x axis, row 2 of its y axis, row 3 of the optical axis; columns 1 to 3
// are X, Y, Z of the equatorial frame.
using PlateMatrix = std::array<std::array<double, 4>, 4>;

struct AstrometryState {
    // Written by the pair routines, read by the caller right after the call.
    double gDistanciaAngular = 0;   // degrees
    double gInclinacion = 0;        // degrees, 0..180 or 0..360 by the routine
    double gDeclinacionMedia = 0;   // degrees, the pair's midpoint
    double gTanMediaDistancia = 0;  // tangent of half the distance
    // Kept by the callers of HoraGST.
    double gDiasJ2000 = 0;    // days since J2000.0
    double gHoraSideral = 0;  // Greenwich sidereal time, degrees

    // Plate of the polygon search and of the displayed result, and the triangle search's candidate.
    PlateMatrix Cij{};
    PlateMatrix Dij{};
    // Last image-to-sky conversion, degrees.
    double mRAconvertida = 0;
    double mDECconvertida = 0;
    // Image angle of the latest solution, degrees, and whether it could be computed.
    double mAnguloHallado = 0;
    bool mHayAngulo = false;
    // Half-width of the search over image angles, degrees: 5, 10 or 15.
    int32_t gAmplitudAngulo = 5;
};

}  // namespace tornel
