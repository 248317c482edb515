#pragma once
// The image a camera would record of a projected field: Gaussian stars whose flux follows their
// magnitude (2000 counts at magnitude 12), a sky of 1000 counts with Gaussian noise, hot pixels.
#include <cstdint>
#include <string>
#include <vector>

#include "herramientas/db/projection.h"

namespace tornel::db {

struct FieldImageOptions {
    double noise = 10;      // counts, standard deviation of the sky
    int32_t hotPixels = 0;  // single lit pixels of 3000 to 30000 counts
    double psfSigma = 1.5;  // pixels
    uint64_t seed = 1;
};

// Writes the field as an unsigned 16-bit FITS image; false when it cannot be written.
bool WriteFieldImage(const std::string& path, const FieldGeometry& g, const std::vector<FieldStar>& stars,
                     const FieldImageOptions& options);

}  // namespace tornel::db
