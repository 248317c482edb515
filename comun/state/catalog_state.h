#pragma once
// State of the open catalogue.
#include <memory>

#include "comun/star_file.h"

namespace tornel {

struct CatalogState {
    // The star file in force, open from the change of database to the next change or the end.
    std::unique_ptr<StarFile> gCanalEstrellas = std::make_unique<StarFile>();
    // The distance rings of the present analysis; a 2 degree window spans three of them.
    StarFileCache distanceRings{8};
    double gEstrellaRA = 0, gEstrellaDEC = 0;  // degrees; both 0 when the last star was not found
    // region.bin is being rebuilt: no analysis may start meanwhile.
    bool buildingRegionIndex = false;
};

}  // namespace tornel
