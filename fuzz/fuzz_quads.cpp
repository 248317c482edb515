// The pattern index quads.bin: opened as at start-up, then a lookup and the stars of a circle at
// every level, as the pattern road reads them.
#include "catalogo/quad_index.h"
#include "fuzz/fuzz_support.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = fuzz::WriteScratch("quads.bin", data, size);
    QuadIndex index;
    std::string error;
    if (!index.Open(path, error)) return 0;
    std::vector<QuadHit> hits;
    index.Lookup(QuadCode{{0.3, 0.4, 0.6, 0.5}}, 0.05, hits);
    for (const QuadHit& h : hits)
        for (uint32_t s : h.stars)
            if (s < index.StarCount()) index.Star(s);
    std::vector<uint32_t> stars;
    for (size_t level = 0; level < index.Levels().size(); ++level) {
        index.StarsNear(level, 83.8, -5.4, 2.0, stars);
        index.StarsNear(level, 10.0, 89.5, 3.0, stars, false, 2);
    }
    return 0;
}
