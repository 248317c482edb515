#include "herramientas/db/quad_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <stdexcept>
#include <unordered_map>

#include "catalogo/quad_code.h"
#include "catalogo/quad_index.h"
#include "herramientas/db/sky_index.h"

namespace tornel::db {

namespace {

double LevelLow(const QuadChoice& choice, int32_t level) {
    return choice.firstLevel * std::pow(std::numbers::sqrt2, level);
}

// For each star (by brightness rank) the coarsest level that chose it, or -1: at each level, from
// the coarsest, the brightest `starsPerCell` of every cell of half the level's size.
std::vector<int32_t> ChooseStars(const std::vector<NumberedStar>& byMag, const QuadChoice& choice) {
    std::vector<int32_t> chosen(byMag.size(), -1);
    for (int32_t level = choice.levels - 1; level >= 0; --level) {
        const CellGrid grid(LevelLow(choice, level) / 2);
        std::unordered_map<int64_t, int32_t> taken;
        taken.reserve(byMag.size());
        for (size_t i = 0; i < byMag.size(); ++i) {
            int32_t& n = taken[grid.CellOf(byMag[i].ra, byMag[i].dec)];
            if (n >= choice.starsPerCell) continue;
            ++n;
            if (chosen[i] < 0) chosen[i] = level;
        }
    }
    return chosen;
}

struct LevelStars {
    std::vector<int32_t> rank;  // brightness ranks of the level's stars, brightest first
    std::vector<double> ra, dec;
};

// The quads of one level: for every cell of half its size, pairs A B of its stars, brightest first,
// whose midpoint lies in the cell and whose distance is the level's, with the brightest two stars
// inside the circle on AB as C and D; at most `quadsPerCell` per cell and `starUses` per star.
std::vector<StoredQuad> LevelQuads(const LevelStars& s, double low, double high, const QuadChoice& choice,
                                   const std::vector<uint32_t>& tableNumber, const ProgressFn& progress,
                                   int64_t& done, int64_t total) {
    std::vector<StoredQuad> quads;
    if (s.rank.size() < 4) return quads;
    const SkyIndex index(s.ra, s.dec, std::min(high, 10.0));
    const CellGrid grid(low / 2);
    std::vector<int32_t> uses(s.rank.size(), 0);
    const double reach = high / 2 + grid.Size();
    std::vector<int32_t> near;
    std::vector<PlanePoint> plane;
    for (int64_t cell = 0; cell < grid.Count(); ++cell) {
        {
            double ra0 = 0, dec0 = 0;
            grid.Centre(cell, ra0, dec0);
            near.clear();
            index.ForEachWithin(ra0, dec0, reach, [&](int32_t i) { near.push_back(i); });
            if (near.size() < 4) continue;
            std::sort(near.begin(), near.end());  // by brightness: the level's stars are in rank order
            if (near.size() > 40) near.resize(40);
            int32_t made = 0;
            for (size_t bi = 1; bi < near.size() && made < choice.quadsPerCell; ++bi) {
                for (size_t ai = 0; ai < bi && made < choice.quadsPerCell; ++ai) {
                    const int32_t A = near[ai], B = near[bi];
                    if (uses[A] >= choice.starUses || uses[B] >= choice.starUses) continue;
                    const double d = AngularDistance(s.ra[A], s.dec[A], s.ra[B], s.dec[B]);
                    if (d < low || d > high) continue;
                    const Vec3 va = index.VectorOf(A), vb = index.VectorOf(B);
                    double raM = 0, decM = 0;
                    VectorToRaDec({va.x + vb.x, va.y + vb.y, va.z + vb.z}, raM, decM);
                    if (grid.CellOf(raM, decM) != cell) continue;
                    tornel::PlanePoint pa, pb;
                    tornel::TangentPlane(raM, decM, s.ra[A], s.dec[A], pa);
                    tornel::TangentPlane(raM, decM, s.ra[B], s.dec[B], pb);
                    const double r2 = ((pa.x - pb.x) * (pa.x - pb.x) + (pa.y - pb.y) * (pa.y - pb.y)) / 4;
                    const double cx = (pa.x + pb.x) / 2, cy = (pa.y + pb.y) / 2;
                    std::array<tornel::PlanePoint, 4> points{pa, pb, {}, {}};
                    std::array<int32_t, 4> who{A, B, -1, -1};
                    int32_t found = 2;
                    for (size_t ci = 0; ci < near.size() && found < 4; ++ci) {
                        const int32_t C = near[ci];
                        if (C == A || C == B || uses[C] >= choice.starUses) continue;
                        tornel::PlanePoint pc;
                        if (!tornel::TangentPlane(raM, decM, s.ra[C], s.dec[C], pc)) continue;
                        if ((pc.x - cx) * (pc.x - cx) + (pc.y - cy) * (pc.y - cy) >= r2) continue;
                        points[static_cast<size_t>(found)] = pc;
                        who[static_cast<size_t>(found)] = C;
                        ++found;
                    }
                    if (found < 4) continue;
                    Quad q;
                    if (!MakeQuad(points, q)) continue;
                    StoredQuad stored;
                    for (size_t n = 0; n < 4; ++n) {
                        stored.code[n] = CodeToStored(q.code[n]);
                        const int32_t star = who[static_cast<size_t>(q.order[n])];
                        stored.stars[n] = tableNumber[static_cast<size_t>(s.rank[static_cast<size_t>(star)])];
                        ++uses[star];
                    }
                    quads.push_back(stored);
                    ++made;
                }
            }
        }
        if (++done % 65536 == 0 && progress) progress(done, total);
    }
    return quads;
}

template <class T>
void Put(std::string& out, T v) {
    char bytes[sizeof v];
    std::memcpy(bytes, &v, sizeof v);
    out.append(bytes, sizeof v);
}

}  // namespace

std::string BuildQuadIndex(const std::vector<NumberedStar>& stars, const QuadChoice& choice,
                           QuadReport& report, const ProgressFn& progress) {
    if (choice.levels < 1 || choice.levels > 64 || !(choice.firstLevel >= kQuadLeastLevel) ||
        LevelLow(choice, choice.levels - 1) * std::numbers::sqrt2 > 180)
        throw std::runtime_error("pattern index levels out of range");
    std::vector<NumberedStar> byMag = stars;
    std::stable_sort(byMag.begin(), byMag.end(), [](const NumberedStar& a, const NumberedStar& b) {
        return a.mag < b.mag || (a.mag == b.mag && a.id < b.id);
    });
    const std::vector<int32_t> chosen = ChooseStars(byMag, choice);

    // The star table: by coarsest level, coarsest first, each group by zone and right ascension.
    std::vector<int32_t> table;
    for (size_t i = 0; i < byMag.size(); ++i)
        if (chosen[i] >= 0) table.push_back(static_cast<int32_t>(i));
    std::stable_sort(table.begin(), table.end(), [&](int32_t a, int32_t b) {
        if (chosen[a] != chosen[b]) return chosen[a] > chosen[b];
        const double low = LevelLow(choice, chosen[a]);
        const auto ka =
            std::make_pair(StarZone(static_cast<float>(byMag[a].dec), low), static_cast<float>(byMag[a].ra));
        const auto kb =
            std::make_pair(StarZone(static_cast<float>(byMag[b].dec), low), static_cast<float>(byMag[b].ra));
        return ka < kb;
    });
    std::vector<uint32_t> tableNumber(byMag.size(), 0);
    for (size_t n = 0; n < table.size(); ++n)
        tableNumber[static_cast<size_t>(table[n])] = static_cast<uint32_t>(n);

    int64_t total = 0, done = 0;
    for (int32_t level = 0; level < choice.levels; ++level) {
        total += CellGrid(LevelLow(choice, level) / 2).Count();
    }
    std::vector<std::vector<StoredQuad>> levels(static_cast<size_t>(choice.levels));
    for (int32_t level = choice.levels - 1; level >= 0; --level) {
        LevelStars s;
        for (size_t i = 0; i < byMag.size(); ++i)
            if (chosen[i] >= level) {
                s.rank.push_back(static_cast<int32_t>(i));
                s.ra.push_back(byMag[i].ra);
                s.dec.push_back(byMag[i].dec);
            }
        const double low = LevelLow(choice, level);
        levels[static_cast<size_t>(level)] =
            LevelQuads(s, low, low * std::numbers::sqrt2, choice, tableNumber, progress, done, total);
    }
    std::vector<StoredQuad> tree;
    report.quadsPerLevel.clear();
    for (auto& level : levels) {
        report.quadsPerLevel.push_back(static_cast<int64_t>(level.size()));
        tree.insert(tree.end(), level.begin(), level.end());
        std::vector<StoredQuad>().swap(level);
    }
    ArrangeAsTree(tree);

    std::string out(kQuadIndexMagic, sizeof kQuadIndexMagic);
    Put(out, static_cast<uint32_t>(choice.levels));
    Put(out, static_cast<uint32_t>(table.size()));
    Put(out, static_cast<uint64_t>(tree.size()));
    for (int32_t level = 0; level < choice.levels; ++level) {
        const double low = LevelLow(choice, level);
        // The group of this level: stars whose coarsest level it is, after the coarser groups.
        uint64_t first = 0, count = 0;
        for (size_t n = 0; n < table.size(); ++n) {
            const int32_t l = chosen[static_cast<size_t>(table[n])];
            if (l > level) first = n + 1;
            if (l == level) ++count;
        }
        Put(out, static_cast<float>(low));
        Put(out, static_cast<float>(low * std::numbers::sqrt2));
        Put(out, static_cast<uint64_t>(report.quadsPerLevel[static_cast<size_t>(level)]));
        Put(out, first);
        Put(out, count);
        Put(out, uint64_t{0});
    }
    for (const std::array<uint16_t, 4>& code : TreeTop(tree))
        for (uint16_t v : code)
            Put(out, v);
    for (int32_t i : table) {
        const NumberedStar& s = byMag[static_cast<size_t>(i)];
        Put(out, static_cast<float>(s.ra));
        Put(out, static_cast<float>(s.dec));
        Put(out, s.mag);
    }
    for (const StoredQuad& q : tree)
        for (uint16_t v : q.code)
            Put(out, v);
    for (const StoredQuad& q : tree)
        for (uint32_t v : q.stars)
            Put(out, v);
    report.cells = total;
    report.stars = static_cast<int64_t>(table.size());
    report.quads = static_cast<int64_t>(tree.size());
    return out;
}

}  // namespace tornel::db
