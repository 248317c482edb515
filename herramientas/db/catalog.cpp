#include "herramientas/db/catalog.h"

#include <algorithm>

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
    std::vector<CatalogStar> out;
    int64_t dropped = 0;
    const double radius = radiusArcsec / 3600.0;
    for (const auto& source : sources) {
        if (out.empty() || radius <= 0) {
            out.insert(out.end(), source.begin(), source.end());
            continue;
        }
        // Only the stars of earlier lists count: a list's own close pairs are real pairs.
        std::vector<double> ra(out.size()), dec(out.size());
        for (size_t i = 0; i < out.size(); ++i)
            ra[i] = out[i].ra, dec[i] = out[i].dec;
        SkyIndex index(ra, dec, std::max(radius * 4, 0.05));
        const size_t earlier = out.size();
        for (const auto& s : source) {
            bool dup = false;
            index.ForEachWithin(s.ra, s.dec, radius, [&](int32_t) { dup = true; });
            if (dup) {
                ++dropped;
                continue;
            }
            out.push_back(s);
        }
        (void)earlier;
    }
    if (duplicates) *duplicates = dropped;
    SortByMagnitude(out);
    return out;
}

}  // namespace tornel::db
