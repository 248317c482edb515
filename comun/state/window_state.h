#pragma once
// State of the image view that the window keeps and the drawing of a solution reads.
namespace tornel {

struct WindowState {
    // An image is on show: the level and zoom handlers do nothing while it is false.
    bool gImagenEnPantalla = false;
    // What the overlay of a solution shows (the Show menu).
    bool showStarNumbers = true;
    bool showLines = true;
    bool showObjects = true;
    bool showTarget = true;
};

}  // namespace tornel
