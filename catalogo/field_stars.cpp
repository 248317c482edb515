#include "catalogo/field_stars.h"

#include <algorithm>

#include "catalogo/regions.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"

namespace tornel {

namespace {

bool InView(const SkyView& v, double ra, double dec) {
    if (dec < v.deMin || dec > v.deMax) return false;
    return v.wrap ? (ra <= v.arMin || ra >= v.arMax) : (ra >= v.arMin && ra <= v.arMax);
}

// est.bin, region by region: the regions hold consecutive Ids, and the index names those the view
// touches.
void FromRegions(Context& c, const SkyView& v, std::vector<CatalogueStar>& out) {
    std::vector<int32_t> regiones;
    double a1 = 0, a2 = 0, d1 = 0, d2 = 0;
    DeterminaRegionesPorMirar(c, regiones, a1, a2, d1, d2);
    for (int32_t k = 1; k <= regiones[0] && !c.mFinAnalisis; ++k) {
        const int32_t region = regiones[static_cast<size_t>(k)];
        const int32_t first = PosicionEmpiezaRegion(c, region);
        if (first == 0) continue;
        ScanRegion(c, first, static_cast<int64_t>(region) + 99999, [&](const RegEstrella& s) {
            const double ra = s.Ar / 1000000.0, dec = s.De / 1000000.0;
            if (InView(v, ra, dec)) out.push_back({s.Id, ra, dec});
        });
    }
}

// estDEC_ID1x1g.bin ascends in declination: from the first record at the view's south edge to its
// north edge.
void FromDeclinationBand(Context& c, const SkyView& v, std::vector<CatalogueStar>& out) {
    const int64_t count = c.gNumEstrellasBD;
    if (count < 1) return;
    const auto decAt = [&](int64_t n) { return static_cast<double>(ReadRegEstrellaDEC(c, n).De); };
    const SearchEnds e =
        NarrowSearch(0, count, [&](int64_t n) { return decAt(n) >= v.deMin ? int64_t{1} : int64_t{-1}; });
    int64_t n = decAt(e.lo) >= v.deMin ? e.lo : e.hi;
    constexpr size_t kChunk = 512;
    std::vector<unsigned char> buffer(kChunk * kLongitudRegEstrellaDEC);
    for (bool more = n >= 1; more;) {
        const size_t got =
            c.gCanalEstrellas->ReadAt((n - 1) * kLongitudRegEstrellaDEC, buffer.data(), buffer.size());
        const size_t records = got / kLongitudRegEstrellaDEC;
        if (records == 0) break;
        for (size_t k = 0; k < records; ++k) {
            const RegEstrellaDEC s = DecodeRegEstrellaDEC(&buffer[k * kLongitudRegEstrellaDEC]);
            if (s.De > v.deMax) {
                more = false;
                break;
            }
            const auto record = static_cast<int32_t>(n + static_cast<int64_t>(k));
            if (InView(v, s.Ar, s.De)) out.push_back({c.gIdsSonPosiciones ? record : s.Id, s.Ar, s.De});
        }
        n += static_cast<int64_t>(records);
    }
}

}  // namespace

std::vector<CatalogueStar> CatalogueStarsInView(Context& c) {
    std::vector<CatalogueStar> stars;
    if (c.mFinAnalisis) return stars;
    const bool ok = WithTrap(c, "CatalogueStarsInView", [&] {
        SkyView v;
        if (!ViewOfImage(c, v)) return;
        if (c.mLongitudRegistroEstrellas == kLongitudRegEstrellaDEC)
            FromDeclinationBand(c, v, stars);
        else
            FromRegions(c, v, stars);
        // A region on both sides of right ascension 0 is listed twice.
        std::sort(stars.begin(), stars.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
        stars.erase(std::unique(stars.begin(), stars.end(),
                                [](const auto& a, const auto& b) { return a.id == b.id; }),
                    stars.end());
    });
    if (!ok || c.mFinAnalisis) stars.clear();
    return stars;
}

}  // namespace tornel
