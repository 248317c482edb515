#pragma once
// A random full sky for tests and benchmarks: no download, the same stars for the same seed.
#include <cstdint>
#include <vector>

#include "herramientas/db/catalog.h"

namespace tornel::db {

struct SynthOptions {
    int64_t stars = 200000;
    uint64_t seed = 1;
    double faintest = 12.0;      // magnitude limit
    double galacticBoost = 2.0;  // density in the galactic plane over that at the poles
};

// Stars spread over the sphere, denser toward the galactic plane, with magnitudes whose counts grow
// by about 10^0.45 a magnitude, as the real counts do down to the limit of Tycho-2.
std::vector<CatalogStar> SynthesizeCatalog(const SynthOptions& options);

}  // namespace tornel::db
