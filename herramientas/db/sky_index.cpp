#include "herramientas/db/sky_index.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tornel::db {

SkyIndex::SkyIndex(const std::vector<double>& ra, const std::vector<double>& dec, double zoneHeight)
    : zoneHeight_(zoneHeight), zones_(static_cast<int32_t>(std::ceil(180.0 / zoneHeight))) {
    entries_.resize(zones_);
    vec_.resize(ra.size());
    ra_ = ra;
    dec_ = dec;
    for (size_t i = 0; i < ra.size(); ++i) {
        vec_[i] = UnitVector(ra[i], dec[i]);
        entries_[ZoneOf(dec[i])].push_back({ra[i], static_cast<int32_t>(i)});
    }
    for (auto& z : entries_)
        std::sort(z.begin(), z.end(), [](const Entry& a, const Entry& b) {
            return a.ra < b.ra || (a.ra == b.ra && a.index < b.index);
        });
}

int32_t SkyIndex::ZoneOf(double dec) const {
    auto z = static_cast<int32_t>(std::floor((dec + 90.0) / zoneHeight_));
    return std::clamp(z, 0, zones_ - 1);
}

void SkyIndex::ScanZone(int32_t zone, double raFrom, double raTo, const Vec3& centre, double cosRadius,
                        const std::function<void(int32_t)>& visit) const {
    const auto& z = entries_[zone];
    auto it = std::lower_bound(z.begin(), z.end(), raFrom, [](const Entry& e, double v) { return e.ra < v; });
    for (; it != z.end() && it->ra <= raTo; ++it)
        if (Dot(vec_[it->index], centre) >= cosRadius) visit(it->index);
}

void SkyIndex::ForEachWithin(double ra, double dec, double radius,
                             const std::function<void(int32_t)>& visit) const {
    const Vec3 centre = UnitVector(ra, dec);
    // A small margin on the cosine keeps points exactly at the radius.
    const double cosRadius = std::cos(radius * std::numbers::pi / 180.0) - 1e-15;
    const double decLo = dec - radius, decHi = dec + radius;
    const int32_t z0 = ZoneOf(decLo), z1 = ZoneOf(decHi);
    double halfWidth = 360.0;
    if (decHi < 90.0 && decLo > -90.0) {
        double edge = std::max(std::fabs(decLo), std::fabs(decHi));
        double s = std::sin(radius * std::numbers::pi / 180.0) / std::cos(edge * std::numbers::pi / 180.0);
        if (s < 1.0) halfWidth = std::asin(s) * 180.0 / std::numbers::pi + 1e-9;
    }
    for (int32_t z = z0; z <= z1; ++z) {
        if (halfWidth >= 180.0) {
            ScanZone(z, -1.0, 361.0, centre, cosRadius, visit);
            continue;
        }
        double from = ra - halfWidth, to = ra + halfWidth;
        if (from < 0) {
            ScanZone(z, 0.0, to, centre, cosRadius, visit);
            ScanZone(z, from + 360.0, 361.0, centre, cosRadius, visit);
        } else if (to >= 360.0) {
            ScanZone(z, from, 361.0, centre, cosRadius, visit);
            ScanZone(z, -1.0, to - 360.0, centre, cosRadius, visit);
        } else {
            ScanZone(z, from, to, centre, cosRadius, visit);
        }
    }
}

void SkyIndex::ForEachPair(double radius, const std::function<void(int32_t, int32_t)>& visit) const {
    for (int32_t i = 0; i < Size(); ++i) {
        ForEachWithin(ra_[i], dec_[i], radius, [&](int32_t j) {
            if (j > i) visit(i, j);
        });
    }
}

}  // namespace tornel::db
