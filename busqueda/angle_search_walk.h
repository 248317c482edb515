#pragma once
// The windows of the search for the image angle: a 30 x 30 degree zone about the search centre,
// fished again at each angle tried.
#include <cstdint>
#include <vector>

#include "comun/context.h"

namespace tornel {

// One window: rings a..b (declination + 90) fished about right ascension `ar` (degrees).
struct AngleSearchWindow {
    int32_t a = 0, b = 0;
    double ar = 0;
};

// The zone's windows in the order they are fished. Rows of gAltoVentana degrees (at least 2) that
// overlap by one degree go from the centre's row outwards, north and south in turn, until they cover
// round(DEC - 15) to round(DEC + 15), held to -90 and 89. A row is covered across the zone's whole 30
// degrees (widened by the cosine of its edge nearer the pole, up to the full circle) by windows of
// gAnchoVentana degrees that overlap by half a degree where the row is widest, taken from the
// centre's right ascension outwards, east and west in turn. Empty when the window is under a degree.
std::vector<AngleSearchWindow> AngleSearchWindows(const Context& c);

// The angles tried, in order: the image angle in force, then one degree more and one less in turn,
// out to gAmplitudAngulo on either side, each brought to 0..360.
std::vector<double> AngleSearchAngles(const Context& c);

// Whether the zone reaches the south (-90) or the north (89) limit, whose pole files are then searched.
bool AngleSearchReachesSouthPole(const Context& c);
bool AngleSearchReachesNorthPole(const Context& c);

}  // namespace tornel
