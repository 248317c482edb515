#include "herramientas/db/field_image.h"

#include <cmath>
#include <random>

#include "herramientas/render/render.h"

namespace tornel::db {

bool WriteFieldImage(const std::string& path, const FieldGeometry& g, const std::vector<FieldStar>& stars,
                     const FieldImageOptions& o) {
    render::Field f;
    f.width = g.width;
    f.height = g.height;
    f.psfSigma = o.psfSigma;
    f.noise = o.noise;
    f.seed = static_cast<uint32_t>(o.seed);
    for (const auto& s : stars)
        f.stars.push_back({s.x, s.y, 2000 * std::pow(10.0, -0.4 * (s.mag - 12))});
    std::mt19937_64 rng(o.seed ^ 0x5eedULL);
    for (int32_t k = 0; k < o.hotPixels; ++k) {
        auto x = static_cast<int32_t>(1 + rng() % static_cast<uint64_t>(g.width));
        auto y = static_cast<int32_t>(1 + rng() % static_cast<uint64_t>(g.height));
        f.hotPixels.push_back({x, y, 3000.0 + static_cast<double>(rng() % 27000)});
    }
    return render::WriteFits(path, render::Render(f), render::FitsStorage::Unsigned);
}

}  // namespace tornel::db
