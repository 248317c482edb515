#include "herramientas/db/catalog.h"

#include <algorithm>
#include <numeric>

#include "herramientas/db/sky_index.h"

namespace tornel::db {

void SortByMagnitude(std::vector<CatalogStar>& stars) {
    std::stable_sort(stars.begin(), stars.end(), [](const CatalogStar& a, const CatalogStar& b) {
        if (a.mag != b.mag) return a.mag < b.mag;
        if (a.dec != b.dec) return a.dec < b.dec;
        return a.ra < b.ra;
    });
}

std::vector<CatalogStar> MergeCatalogs(const std::vector<std::vector<CatalogStar>>& sources,
                                       double radiusArcsec, int64_t* duplicates) {
    std::vector<CatalogStar> all;
    for (const auto& s : sources)
        all.insert(all.end(), s.begin(), s.end());
    // Stable: among equal magnitudes the earlier source stays first.
    std::stable_sort(all.begin(), all.end(),
                     [](const CatalogStar& a, const CatalogStar& b) { return a.mag < b.mag; });
    std::vector<double> ra(all.size()), dec(all.size());
    for (size_t i = 0; i < all.size(); ++i)
        ra[i] = all[i].ra, dec[i] = all[i].dec;
    const double radius = radiusArcsec / 3600.0;
    SkyIndex index(ra, dec, std::max(radius * 4, 0.05));
    // A star is dropped when a brighter kept star lies within the radius: visit in magnitude order.
    std::vector<char> kept(all.size(), 0);
    std::vector<CatalogStar> out;
    out.reserve(all.size());
    int64_t dropped = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        bool dup = false;
        if (radius > 0)
            index.ForEachWithin(ra[i], dec[i], radius, [&](int32_t j) {
                if (kept[j]) dup = true;
            });
        if (dup) {
            ++dropped;
            continue;
        }
        kept[i] = 1;
        out.push_back(all[i]);
    }
    if (duplicates) *duplicates = dropped;
    SortByMagnitude(out);
    return out;
}

}  // namespace tornel::db
