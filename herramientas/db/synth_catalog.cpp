#include "herramientas/db/synth_catalog.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "herramientas/db/sky_geometry.h"

namespace tornel::db {
namespace {

// Uniform in [0, 1) from the top 53 bits: the same on every platform, unlike the library's
// distributions.
double Uniform(std::mt19937_64& g) {
    return static_cast<double>(g() >> 11) * 0x1.0p-53;
}

}  // namespace

std::vector<CatalogStar> SynthesizeCatalog(const SynthOptions& o) {
    std::mt19937_64 g(o.seed);
    const Vec3 galacticPole = UnitVector(192.85948, 27.12825);
    const double peak = std::max(1.0, o.galacticBoost);
    std::vector<CatalogStar> out;
    out.reserve(static_cast<size_t>(o.stars));
    while (static_cast<int64_t>(out.size()) < o.stars) {
        double z = 2 * Uniform(g) - 1, phi = 2 * 3.14159265358979323846 * Uniform(g);
        double r = std::sqrt(1 - z * z);
        Vec3 v{r * std::cos(phi), r * std::sin(phi), z};
        // Density falls from `peak` in the plane to 1 at the galactic poles.
        double sinB = std::fabs(Dot(v, galacticPole));
        double weight = 1 + (peak - 1) * std::exp(-sinB / 0.3);
        if (Uniform(g) * peak > weight) continue;
        CatalogStar s;
        VectorToRaDec(v, s.ra, s.dec);
        double u = 1 - Uniform(g);  // (0, 1]
        s.mag = static_cast<float>(std::max(-1.5, o.faintest + std::log10(u) / 0.45));
        out.push_back(s);
    }
    return out;
}

}  // namespace tornel::db
