#pragma once
// The wall-following walk shared by the scan and by the treatment of a contour.
#include <cstdint>

namespace tornel {

// Bounds of a walk, image pixels from 1, both ends included.
struct WalkBounds {
    int32_t xa, xb, ya, yb;
};

// Directions: 1 towards smaller y, 2 towards greater x, 3 towards greater y, 4 towards smaller x.
// Gives the next pixel from (px, py) in direction d; a step that would leave the bounds turns to the
// next direction, and the last one falls back to the pixel above (never above row 1).
inline void NextPixel(int32_t px, int32_t py, int32_t& d, const WalkBounds& b, int32_t& nx, int32_t& ny) {
    if (d == 1) {
        nx = px, ny = py - 1;
        if (ny < b.ya) d = 2;
    }
    if (d == 2) {
        nx = px + 1, ny = py;
        if (nx > b.xb) d = 3;
    }
    if (d == 3) {
        nx = px, ny = py + 1;
        if (ny > b.yb) d = 4;
    }
    if (d == 4) {
        nx = px - 1, ny = py;
        if (nx < b.xa) {
            d = 1;
            nx = px, ny = py - 1;
            if (ny == 0) ny = 1;
        }
    }
}

// The turn after a failed step, and the turn back after a move.
inline int32_t TurnRight(int32_t d) {
    return d == 4 ? 1 : d + 1;
}
inline int32_t TurnLeft(int32_t d) {
    return d == 1 ? 4 : d - 1;
}

}  // namespace tornel
