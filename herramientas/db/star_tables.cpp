#include "herramientas/db/star_tables.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>

#include "comun/numbers.h"
#include "herramientas/db/sky_index.h"

namespace tornel::db {

bool NumberStars(const std::vector<CatalogStar>& catalogue, double bandHeight, std::vector<NumberedStar>& out,
                 std::string& error, int32_t regions) {
    const auto n = static_cast<int64_t>(catalogue.size());
    if (n < regions) {
        error = "the catalogue holds " + std::to_string(n) + " stars; at least " + std::to_string(regions) +
                " are needed, one for each region of the sky";
        return false;
    }
    // Coordinates as the file will hold them.
    std::vector<NumberedStar> q(n);
    for (int64_t i = 0; i < n; ++i) {
        auto ar = static_cast<int32_t>(RoundHalfEven(catalogue[i].ra * 1e6));
        auto de = static_cast<int32_t>(RoundHalfEven(catalogue[i].dec * 1e6));
        if (ar >= 360000000) ar -= 360000000;
        q[i] = {0, ar / 1e6, de / 1e6, catalogue[i].mag};
    }
    const auto bands = static_cast<int32_t>(std::ceil(180.0 / bandHeight));
    std::vector<std::vector<int32_t>> members(bands);
    for (int64_t i = 0; i < n; ++i) {
        auto b = std::clamp(static_cast<int32_t>(std::floor((q[i].dec + 90.0) / bandHeight)), 0, bands - 1);
        members[b].push_back(static_cast<int32_t>(i));
    }
    // Regions per band by the largest remainder, at least one for a band that has stars.
    std::vector<int64_t> k(bands, 0);
    std::vector<std::pair<double, int32_t>> remainders;
    int64_t given = 0;
    for (int32_t b = 0; b < bands; ++b) {
        double quota = static_cast<double>(regions) * members[b].size() / n;
        k[b] = members[b].empty() ? 0 : std::max<int64_t>(1, static_cast<int64_t>(quota));
        given += k[b];
        remainders.push_back({quota - std::floor(quota), b});
    }
    std::sort(remainders.begin(), remainders.end(), [](auto a, auto b) {
        return a.first > b.first || (a.first == b.first && a.second < b.second);
    });
    for (size_t i = 0; given < regions; i = (i + 1) % remainders.size()) {
        int32_t b = remainders[i].second;
        if (k[b] < static_cast<int64_t>(members[b].size())) ++k[b], ++given;
    }
    while (given > regions) {  // only when many bands were raised to one region
        auto b = std::max_element(k.begin(), k.end()) - k.begin();
        --k[b], --given;
    }
    out.clear();
    out.reserve(n);
    int32_t region = 0;
    for (int32_t b = 0; b < bands; ++b) {
        auto& m = members[b];
        std::sort(m.begin(), m.end(), [&](int32_t x, int32_t y) {
            return q[x].ra < q[y].ra ||
                   (q[x].ra == q[y].ra && (q[x].dec < q[y].dec || (q[x].dec == q[y].dec && x < y)));
        });
        const auto size = static_cast<int64_t>(m.size());
        for (int64_t g = 0; g < k[b]; ++g) {
            ++region;
            int64_t from = g * size / k[b], to = (g + 1) * size / k[b];
            if (to - from >= 100000) {
                error = "a region would hold " + std::to_string(to - from) + " stars; at most 99999 fit";
                return false;
            }
            for (int64_t r = from; r < to; ++r) {
                NumberedStar s = q[m[r]];
                s.id = region * 100000 + static_cast<int32_t>(r - from + 1);
                out.push_back(s);
            }
        }
    }
    return true;
}

std::vector<EstRecord> EstRecords(const std::vector<NumberedStar>& stars) {
    std::vector<EstRecord> r(stars.size());
    for (size_t i = 0; i < stars.size(); ++i)
        r[i] = {stars[i].id, static_cast<int32_t>(RoundHalfEven(stars[i].ra * 1e6)),
                static_cast<int32_t>(RoundHalfEven(stars[i].dec * 1e6))};
    return r;
}

CellGrid::CellGrid(double size) : size_(size), bands_(static_cast<int32_t>(std::ceil(180.0 / size))) {
    for (int32_t b = 0; b < bands_; ++b) {
        double mid = -90.0 + (b + 0.5) * size;
        auto cells = static_cast<int32_t>(std::round(360.0 * std::cos(mid * std::numbers::pi / 180) / size));
        perBand_.push_back(std::max(1, cells));
        first_.push_back(total_);
        total_ += perBand_.back();
    }
}

int64_t CellGrid::CellOf(double ra, double dec) const {
    auto b = std::clamp(static_cast<int32_t>(std::floor((dec + 90.0) / size_)), 0, bands_ - 1);
    auto c = static_cast<int32_t>(std::floor(ra / 360.0 * perBand_[b]));
    return first_[b] + std::clamp(c, 0, perBand_[b] - 1);
}

void CellGrid::Centre(int64_t cell, double& ra, double& dec) const {
    const auto b =
        static_cast<size_t>(std::upper_bound(first_.begin(), first_.end(), cell) - first_.begin() - 1);
    dec = -90.0 + (static_cast<double>(b) + 0.5) * size_;
    ra = (static_cast<double>(cell - first_[b]) + 0.5) * 360.0 / perBand_[b];
}

double CellGrid::CellArea(double dec) const {
    auto b = std::clamp(static_cast<int32_t>(std::floor((dec + 90.0) / size_)), 0, bands_ - 1);
    double lo = (-90.0 + b * size_) * std::numbers::pi / 180,
           hi = std::min(90.0, -90.0 + (b + 1) * size_) * std::numbers::pi / 180;
    return (std::sin(hi) - std::sin(lo)) * 2 * std::numbers::pi * std::pow(180 / std::numbers::pi, 2) /
           perBand_[b];
}

std::vector<int32_t> BrightnessOrder(const std::vector<NumberedStar>& stars) {
    std::vector<int32_t> order(stars.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](int32_t a, int32_t b) { return stars[a].mag < stars[b].mag; });
    return order;
}

std::vector<int32_t> SelectBrightest(const std::vector<NumberedStar>& stars, double cellSize, int32_t perCell,
                                     double magLimit, double minSeparation) {
    const auto order = BrightnessOrder(stars);
    CellGrid grid(cellSize > 0 ? cellSize : 1.0);
    std::vector<int32_t> inCell(perCell > 0 ? grid.Count() : 0, 0);
    std::vector<double> ra, dec;
    std::vector<int32_t> kept;
    if (minSeparation > 0) {
        ra.resize(stars.size()), dec.resize(stars.size());
        for (size_t i = 0; i < stars.size(); ++i)
            ra[i] = stars[i].ra, dec[i] = stars[i].dec;
    }
    // The index sees every star, but only kept ones count against a newcomer.
    std::unique_ptr<SkyIndex> index;
    if (minSeparation > 0) index = std::make_unique<SkyIndex>(ra, dec, std::max(minSeparation * 2, 0.05));
    std::vector<char> isKept(stars.size(), 0);
    for (int32_t i : order) {
        if (stars[i].mag > magLimit) break;
        int64_t cell = 0;
        if (perCell > 0) {
            cell = grid.CellOf(stars[i].ra, stars[i].dec);
            if (inCell[cell] >= perCell) continue;
        }
        bool tooClose = false;
        if (index)
            index->ForEachWithin(stars[i].ra, stars[i].dec, minSeparation, [&](int32_t j) {
                if (isKept[j] &&
                    AngularDistance(stars[i].ra, stars[i].dec, stars[j].ra, stars[j].dec) < minSeparation)
                    tooClose = true;
            });
        if (tooClose) continue;
        if (perCell > 0) ++inCell[cell];
        isKept[i] = 1;
        kept.push_back(i);
    }
    std::sort(kept.begin(), kept.end());
    return kept;
}

std::vector<DecRecord> DecRecords(const std::vector<NumberedStar>& stars,
                                  const std::vector<int32_t>& selection) {
    std::vector<int32_t> byDec = selection;
    std::stable_sort(byDec.begin(), byDec.end(), [&](int32_t a, int32_t b) {
        float da = static_cast<float>(stars[a].dec), db = static_cast<float>(stars[b].dec);
        return da < db || (da == db && stars[a].id < stars[b].id);
    });
    std::vector<DecRecord> r(byDec.size());
    for (size_t k = 0; k < byDec.size(); ++k) {
        const auto& s = stars[byDec[k]];
        r[k].Id = s.id;
        r[k].Ar = static_cast<float>(s.ra);
        r[k].De = static_cast<float>(s.dec);
        if (r[k].Ar >= 360.0f) r[k].Ar = 0.0f;
    }
    // k-th PosicionOrdenId: the record holding the k-th smallest Id.
    std::vector<int32_t> byId(r.size());
    std::iota(byId.begin(), byId.end(), 0);
    std::sort(byId.begin(), byId.end(), [&](int32_t a, int32_t b) { return r[a].Id < r[b].Id; });
    for (size_t k = 0; k < r.size(); ++k)
        r[k].PosicionOrdenId = byId[k] + 1;
    return r;
}

}  // namespace tornel::db
