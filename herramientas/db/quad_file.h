#pragma once
// The pattern index, quads.bin (layout in catalogo/quad_index.h): at each level, a sky-uniform set
// of bright stars and the quads made of them, a few per cell of the sky, brightest first.
#include <cstdint>
#include <string>
#include <vector>

#include "herramientas/db/distance_files.h"
#include "herramientas/db/star_tables.h"

namespace tornel::db {

struct QuadChoice {
    double firstLevel = 0.177;  // degrees: least |AB| of the finest level; each next level is x sqrt 2
    int32_t levels = 17;        // 0.18 to 64 degrees
    int32_t starsPerCell = 3;   // the brightest of each cell of half the level's size are its stars
    int32_t quadsPerCell = 2;   // quads centred in each cell of half the level's size
    int32_t starUses = 8;       // quads of a level that one star may belong to
};

struct QuadReport {
    int64_t cells = 0, stars = 0, quads = 0;  // cells: quad centres looked at, all levels
    std::vector<int64_t> quadsPerLevel;
};

// The whole file, as bytes. `stars` in any order; their magnitudes choose.
std::string BuildQuadIndex(const std::vector<NumberedStar>& stars, const QuadChoice& choice,
                           QuadReport& report, const ProgressFn& progress = {});

}  // namespace tornel::db
