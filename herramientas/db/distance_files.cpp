#include "herramientas/db/distance_files.h"

#include <algorithm>
#include <cmath>

#include "catalogo/distance_database.h"
#include "comun/numbers.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/sky_index.h"

namespace tornel::db {
namespace {

bool LessRecord(const DistanceRecord& a, const DistanceRecord& b) {
    if (a.Clave != b.Clave) return a.Clave < b.Clave;
    if (a.EstrellaA != b.EstrellaA) return a.EstrellaA < b.EstrellaA;
    return a.EstrellaB < b.EstrellaB;
}

SkyIndex IndexOf(const std::vector<NumberedStar>& stars, const std::vector<int32_t>& selection, double zone) {
    std::vector<double> ra(selection.size()), dec(selection.size());
    for (size_t k = 0; k < selection.size(); ++k)
        ra[k] = stars[selection[k]].ra, dec[k] = stars[selection[k]].dec;
    return SkyIndex(ra, dec, zone);
}

}  // namespace

bool RingRecord(PairMeter& meter, const NumberedStar& s1, const NumberedStar& s2, DistanceRecord& rec,
                int32_t& ring) {
    PairGeometry g;
    if (!meter.Measure(s1.ra, s1.dec, s2.ra, s2.dec, g)) return false;
    int32_t units = DistanceUnits(g.distance);
    if (units < kMinDistanceUnits || units > kMaxDistanceUnits) return false;
    auto band = static_cast<int32_t>(std::floor(g.inclination));
    band = std::clamp(band, 0, 179);
    // EstrellaA: the star farther from the north pole.
    bool firstIsA = s1.dec < s2.dec || (s1.dec == s2.dec && s1.id < s2.id);
    rec.Clave = band * 100000 + units;
    rec.EstrellaA = firstIsA ? s1.id : s2.id;
    rec.EstrellaB = firstIsA ? s2.id : s1.id;
    auto ar10 = static_cast<int32_t>(RoundHalfEven(g.midRa * 10));
    rec.ArMedia10 = static_cast<int16_t>(ar10 >= 3600 ? ar10 - 3600 : ar10);
    ring = static_cast<int32_t>(std::floor(g.midDec)) + 90;
    ring = std::clamp(ring, 0, 179);
    return true;
}

std::array<std::vector<DistanceRecord>, 180> RingFiles(const std::vector<NumberedStar>& stars,
                                                       const std::vector<int32_t>& selection,
                                                       const ProgressFn& progress) {
    std::array<std::vector<DistanceRecord>, 180> rings;
    PairMeter meter;
    SkyIndex index = IndexOf(stars, selection, 0.5);
    const double radius = (kMaxDistanceUnits + 0.5) / 100000.0;
    const auto n = static_cast<int64_t>(selection.size());
    for (int64_t i = 0; i < n; ++i) {
        const auto& si = stars[selection[i]];
        index.ForEachWithin(si.ra, si.dec, radius, [&](int32_t j) {
            if (j <= i) return;
            DistanceRecord rec;
            int32_t ring;
            if (RingRecord(meter, si, stars[selection[j]], rec, ring) && ring >= kFirstRing &&
                ring <= kLastRing)
                rings[ring].push_back(rec);
        });
        if (progress && (i % 4096 == 0 || i + 1 == n)) progress(i + 1, n);
    }
    for (auto& r : rings)
        std::sort(r.begin(), r.end(), LessRecord);
    return rings;
}

void PoleTileCentre(int32_t pole, int32_t tile, double& ra, double& dec) {
    // The tiles are the ones the program searches.
    CentroDeTeja(pole, tile, ra, dec);
}

std::vector<DistanceRecord> PoleFile(int32_t pole, const std::vector<NumberedStar>& stars,
                                     const std::vector<int32_t>& selection, double tileRadius) {
    SkyIndex index = IndexOf(stars, selection, 0.5);
    std::vector<DistanceRecord> file(2 * kPoleTiles);
    PairMeter meter;
    for (int32_t t = 1; t <= kPoleTiles; ++t) {
        double ra, dec;
        PoleTileCentre(pole, t, ra, dec);
        std::vector<int32_t> members;
        index.ForEachWithin(ra, dec, tileRadius, [&](int32_t k) { members.push_back(k); });
        std::sort(members.begin(), members.end());
        std::vector<DistanceRecord> tile;
        for (size_t a = 0; a < members.size(); ++a)
            for (size_t b = a + 1; b < members.size(); ++b) {
                int32_t ia = selection[members[a]], ib = selection[members[b]];
                const auto &sa = stars[ia], &sb = stars[ib];
                PairGeometry g;
                if (!meter.Measure(sa.ra, sa.dec, sb.ra, sb.dec, g)) continue;
                int32_t units = DistanceUnits(g.distance);
                if (units < kMinDistanceUnits || units > kMaxDistanceUnits) continue;
                bool aFirst = sa.dec < sb.dec || (sa.dec == sb.dec && sa.id < sb.id);
                DistanceRecord r;
                r.Clave = units;
                r.EstrellaA = (aFirst ? ia : ib) + 1;
                r.EstrellaB = (aFirst ? ib : ia) + 1;
                auto ar10 = static_cast<int32_t>(RoundHalfEven(g.midRa * 10));
                r.ArMedia10 = static_cast<int16_t>(ar10 >= 3600 ? ar10 - 3600 : ar10);
                tile.push_back(r);
            }
        std::sort(tile.begin(), tile.end(), LessRecord);
        auto first = static_cast<int32_t>(file.size()) + 1;
        file.insert(file.end(), tile.begin(), tile.end());
        file[2 * t - 2].Clave = first;
        file[2 * t - 1].Clave = static_cast<int32_t>(file.size());
    }
    return file;
}

}  // namespace tornel::db
