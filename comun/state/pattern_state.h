#pragma once
// State of the pattern search, the road that needs no scale and no position.
#include <cstdint>
#include <memory>

namespace tornel {

class QuadIndex;

struct PatternState {
    // 1: the pattern search runs when the database roads fail or cannot work; 0: those roads alone;
    // 2: the pattern search alone.
    int32_t gBusquedaPorPatrones = 1;
    // This run's hints, set by the front end that starts it and cleared by none: arcseconds per pixel
    // (0: unknown), a position and the radius around it (0: anywhere), seconds (0: no limit).
    double patternScaleLow = 0, patternScaleHigh = 0;
    double patternRadius = 0;
    double patternTimeLimit = 0;
    // No scale was given: the parameters' scale is a placeholder that nothing may lean on.
    bool scaleUnknown = false;
    // The part of the image the user chose (0 whole, 1 inside, 2 outside the rectangle), before the
    // distance road narrows a wide field to its centre: the pattern search looks at all of it.
    int32_t patternArea = 0;
    int32_t patternXMin = 0, patternXMax = 0, patternYMin = 0, patternYMax = 0;
    // The index of the database in force, mapped at the first search that needs it.
    std::shared_ptr<const QuadIndex> quadIndex;
    // The solution announced last came from the pattern search.
    bool patternSolution = false;
    // Counters of the last pattern search.
    int64_t patternLookups = 0, patternHypotheses = 0, patternVerifications = 0;
};

}  // namespace tornel
