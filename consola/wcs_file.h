#pragma once
// The WCS header file that the front ends leave for the imaging programs.
#include <string>

namespace tornel {

// The FITS header text with IMAGEW and IMAGEH before its END, padded to whole blocks: the clients
// read the image's sides there to place the plate.
std::string WithImageSides(const std::string& header, int width, int height);

}  // namespace tornel
