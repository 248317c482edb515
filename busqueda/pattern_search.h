#pragma once
// The pattern search: the image's brightest stars taken four at a time, from the brightest outwards,
// their codes looked up in the pattern index at every size the hints allow, and each catalogue quad
// that answers turned into a plate and checked against the field; the first plate verified is the
// answer. It needs neither a scale nor a position, and uses them (patternScaleLow/High,
// gCentroBusquedaRA/DEC with patternRadius) when given. Any angle, either parity.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "comun/context.h"

namespace tornel {

// Whether the pattern search runs before the database roads: always when asked to run alone; when it
// may run, unless a position and a field of 3 degrees or less let the distance road go first. The
// extraction then looks at the whole image, not at the central part the database roads resolve.
bool PatternsGoFirst(const Context& c);

// Maps the pattern index of the database in force (gCarpetaEstrellas + quads.bin) unless it is mapped
// already. False with a summary line when there is none or it cannot be used.
bool AbrePatrones(Context& c);

// The search. True when a solution was verified and published: position, angle, scale, status files,
// presentation, synchronisation and WCS, as every road does. False, with the summary's reason,
// when nothing was found, time ran out or a stop was asked for.
bool BusquedaPorPatrones(Context& c);

// The focal length (pixels) at which pixels a and b (square pixels, about the image centre
// (halfWidth, halfHeight)) stand `angle` degrees apart seen through a pinhole; 0 when no focal length
// gives that angle. Off the centre two focal lengths may give it: the longer.
double FocalForAngle(double ax, double ay, double bx, double by, double halfWidth, double halfHeight,
                     double angle);

}  // namespace tornel
