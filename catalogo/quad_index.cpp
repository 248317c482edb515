#include "catalogo/quad_index.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace tornel {

namespace {

constexpr double kStoredSteps = 65535;
// Subtrees of this many quads or fewer are read whole (16 codes: two cache lines).
constexpr uint64_t kScanBelow = 16;
constexpr double kDegree = 3.14159265358979323846 / 180;

template <class T>
T Load(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);  // the index is little-endian, as the machines that read it
    return v;
}

std::array<uint16_t, 4> LoadCode(const unsigned char* p) {
    std::array<uint16_t, 4> code;
    for (size_t k = 0; k < 4; ++k)
        code[k] = Load<uint16_t>(p + 2 * k);
    return code;
}

void Arrange(std::vector<StoredQuad>& quads, size_t lo, size_t hi, int depth) {
    if (hi - lo < 2) return;
    const size_t mid = lo + (hi - lo) / 2, axis = static_cast<size_t>(depth % 4);
    std::nth_element(
        quads.begin() + static_cast<std::ptrdiff_t>(lo), quads.begin() + static_cast<std::ptrdiff_t>(mid),
        quads.begin() + static_cast<std::ptrdiff_t>(hi),
        [axis](const StoredQuad& a, const StoredQuad& b) { return a.code[axis] < b.code[axis]; });
    Arrange(quads, lo, mid, depth + 1);
    Arrange(quads, mid + 1, hi, depth + 1);
}

void FillTop(const std::vector<StoredQuad>& tree, size_t lo, size_t hi, size_t node,
             std::vector<std::array<uint16_t, 4>>& top) {
    if (lo >= hi || node >= top.size()) return;
    const size_t mid = lo + (hi - lo) / 2;
    top[node] = tree[mid].code;
    FillTop(tree, lo, mid, 2 * node + 1, top);
    FillTop(tree, mid + 1, hi, 2 * node + 2, top);
}

}  // namespace

uint16_t CodeToStored(double v) {
    const double q = std::round((v - kCodeLow) / kCodeSpan * kStoredSteps);
    return static_cast<uint16_t>(std::clamp(q, 0.0, kStoredSteps));
}

int32_t StarZone(float dec, double low) {
    const double zone = std::floor((static_cast<double>(dec) + 90) / low);
    const double last = std::ceil(180 / kQuadLeastLevel);
    return zone >= 0 ? static_cast<int32_t>(std::min(zone, last)) : 0;
}

double StoredToCode(uint16_t q) {
    return kCodeLow + q * kCodeSpan / kStoredSteps;
}

void ArrangeAsTree(std::vector<StoredQuad>& quads) {
    Arrange(quads, 0, quads.size(), 0);
}

std::vector<std::array<uint16_t, 4>> TreeTop(const std::vector<StoredQuad>& tree) {
    std::vector<std::array<uint16_t, 4>> top(kQuadTopNodes);
    FillTop(tree, 0, tree.size(), 0, top);
    return top;
}

bool QuadIndex::Open(const std::string& path, std::string& error) {
    Close();
    path_ = path;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot open the pattern index " + path;
        return false;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || st.st_size < static_cast<off_t>(kQuadHeaderBytes)) {
        ::close(fd);
        error = "the pattern index " + path + " is too short";
        return false;
    }
    length_ = static_cast<size_t>(st.st_size);
    void* map = ::mmap(nullptr, length_, PROT_READ, MAP_SHARED, fd, 0);
    ::close(fd);
    if (map == MAP_FAILED) {
        error = "cannot map the pattern index " + path;
        return false;
    }
    base_ = static_cast<const unsigned char*>(map);
    auto refuse = [&](const std::string& why) {
        error = "the pattern index " + path + " " + why + "; build it again with tornel-db";
        Close();
        return false;
    };
    if (std::memcmp(base_, kQuadIndexMagic, sizeof kQuadIndexMagic) != 0)
        return refuse("is not a pattern index");
    const auto levels = Load<uint32_t>(base_ + 8);
    starCount_ = Load<uint32_t>(base_ + 12);
    quadCount_ = Load<uint64_t>(base_ + 16);
    if (levels == 0 || levels > 64) return refuse("names " + std::to_string(levels) + " levels");
    const uint64_t topAt = kQuadHeaderBytes + uint64_t{levels} * kQuadLevelBytes;
    const uint64_t starsAt = topAt + kQuadTopNodes * kQuadCodeBytes;
    const uint64_t codesAt = starsAt + uint64_t{starCount_} * kQuadStarBytes;
    if (codesAt > length_) return refuse("is shorter than its star table");
    if (quadCount_ != (length_ - codesAt) / (kQuadCodeBytes + kQuadMemberBytes) ||
        codesAt + quadCount_ * (kQuadCodeBytes + kQuadMemberBytes) != length_)
        return refuse("has a length that disagrees with its tables");
    top_ = base_ + topAt;
    stars_ = base_ + starsAt;
    uint64_t quads = 0;
    for (uint32_t l = 0; l < levels; ++l) {
        const unsigned char* p = base_ + kQuadHeaderBytes + uint64_t{l} * kQuadLevelBytes;
        QuadLevel level;
        level.low = Load<float>(p);
        level.high = Load<float>(p + 4);
        level.quads = Load<uint64_t>(p + 8);
        level.firstStar = Load<uint64_t>(p + 16);
        level.stars = Load<uint64_t>(p + 24);
        if (!(level.low >= kQuadLeastLevel && level.high > level.low && level.high <= 180))
            return refuse("has a level of sizes out of order");
        if (l > 0 && !(level.low > levels_.back().low)) return refuse("has its levels out of order");
        if (level.quads > quadCount_ - quads) return refuse("has levels of more quads than its tree");
        quads += level.quads;
        levels_.push_back(level);
    }
    if (quads != quadCount_) return refuse("has levels of fewer quads than its tree");
    uint64_t star = 0;
    for (size_t l = levels_.size(); l-- > 0;) {
        if (levels_[l].firstStar != star || levels_[l].stars > starCount_ - star)
            return refuse("has a star table that disagrees with its levels");
        star += levels_[l].stars;
    }
    if (star != starCount_) return refuse("has stars that no level owns");
    codes_ = base_ + codesAt;
    members_ = codes_ + quadCount_ * kQuadCodeBytes;
    return true;
}

void QuadIndex::Close() {
    if (base_) ::munmap(const_cast<unsigned char*>(base_), length_);
    base_ = nullptr;
    top_ = stars_ = codes_ = members_ = nullptr;
    length_ = 0;
    starCount_ = 0;
    quadCount_ = 0;
    levels_.clear();
    zones_.clear();
}

IndexStar QuadIndex::Star(uint32_t n) const {
    const unsigned char* p = stars_ + uint64_t{n} * kQuadStarBytes;
    return {Load<float>(p), Load<float>(p + 4), Load<float>(p + 8)};
}

std::array<uint16_t, 4> QuadIndex::TopAt(uint64_t node) const {
    return LoadCode(top_ + node * kQuadCodeBytes);
}

std::array<uint16_t, 4> QuadIndex::CodeAt(uint64_t n) const {
    return LoadCode(codes_ + n * kQuadCodeBytes);
}

std::array<uint32_t, 4> QuadIndex::MembersAt(uint64_t n) const {
    const unsigned char* p = members_ + n * kQuadMemberBytes;
    std::array<uint32_t, 4> stars;
    for (size_t k = 0; k < 4; ++k)
        stars[k] = Load<uint32_t>(p + 4 * k);
    return stars;
}

void QuadIndex::TryNode(uint64_t n, const std::array<uint16_t, 4>& code, const std::array<double, 4>& q,
                        double tol2, std::vector<QuadHit>& hits) const {
    double d2 = 0;
    for (size_t k = 0; k < 4; ++k)
        d2 += (code[k] - q[k]) * (code[k] - q[k]);
    if (d2 > tol2) return;
    const std::array<uint32_t, 4> stars = MembersAt(n);
    if (std::all_of(stars.begin(), stars.end(), [&](uint32_t s) { return s < starCount_; })) {
        const double unit = kCodeSpan / kStoredSteps;
        hits.push_back({stars, d2 * unit * unit});
    }
}

void QuadIndex::Prefetch(uint64_t lo, uint64_t hi, uint64_t node) const {
    if (lo >= hi || node < kQuadTopNodes) return;
    if (hi - lo <= kScanBelow) {
        __builtin_prefetch(codes_ + lo * kQuadCodeBytes);
        __builtin_prefetch(codes_ + (hi - 1) * kQuadCodeBytes);
    } else {
        __builtin_prefetch(codes_ + (lo + (hi - lo) / 2) * kQuadCodeBytes);
    }
}

void QuadIndex::Search(uint64_t lo, uint64_t hi, int depth, uint64_t node, const std::array<double, 4>& q,
                       double tol2, double tolerance, std::vector<QuadHit>& hits, size_t limit) const {
    while (lo < hi && hits.size() < limit) {
        if (hi - lo <= kScanBelow && node >= kQuadTopNodes) {
            // A small subtree lies in a line or two of memory: reading it whole is cheaper than
            // branching through it.
            for (uint64_t n = lo; n < hi && hits.size() < limit; ++n)
                TryNode(n, CodeAt(n), q, tol2, hits);
            return;
        }
        const uint64_t mid = lo + (hi - lo) / 2;
        // The four grandchildren's codes are asked for now, so that whichever the walk reaches two
        // steps on is on its way from memory meanwhile: the tree is far larger than the caches.
        const uint64_t left = lo + (mid - lo) / 2, right = mid + 1 + (hi - mid - 1) / 2;
        Prefetch(lo, left, 4 * node + 3);
        Prefetch(left + 1, mid, 4 * node + 4);
        Prefetch(mid + 1, right, 4 * node + 5);
        Prefetch(right + 1, hi, 4 * node + 6);
        const std::array<uint16_t, 4> code = node < kQuadTopNodes ? TopAt(node) : CodeAt(mid);
        TryNode(mid, code, q, tol2, hits);
        const size_t axis = static_cast<size_t>(depth % 4);
        const bool lower = q[axis] - tolerance <= code[axis], upper = q[axis] + tolerance >= code[axis];
        if (lower && upper) {
            Search(lo, mid, depth + 1, 2 * node + 1, q, tol2, tolerance, hits, limit);
            lo = mid + 1;
            node = 2 * node + 2;
        } else if (lower) {
            hi = mid;
            node = 2 * node + 1;
        } else {
            lo = mid + 1;
            node = 2 * node + 2;
        }
        ++depth;
    }
}

void QuadIndex::Lookup(const QuadCode& code, double tolerance, std::vector<QuadHit>& hits,
                       size_t limit) const {
    if (!IsOpen()) return;
    std::array<double, 4> q{};
    for (size_t k = 0; k < 4; ++k)
        q[k] = (code[k] - kCodeLow) / kCodeSpan * kStoredSteps;
    const double t = tolerance / kCodeSpan * kStoredSteps;
    Search(0, quadCount_, 0, 0, q, t * t, t, hits, hits.size() + limit);
}

void QuadIndex::StarsNear(size_t level, double ra, double dec, double radius, std::vector<uint32_t>& out,
                          bool exact, size_t groups) const {
    const double cosRadius = std::cos(radius * kDegree);
    const double sd = std::sin(dec * kDegree), cd = std::cos(dec * kDegree);
    // Half the right ascension that the circle spans at its widest, or all of it around a pole.
    double halfWidth = 180;
    if (dec + radius < 90 && dec - radius > -90) {
        const double edge = std::max(std::fabs(dec - radius), std::fabs(dec + radius));
        const double s = std::sin(radius * kDegree) / std::cos(edge * kDegree);
        if (s < 1) halfWidth = std::asin(s) / kDegree;
    }
    for (size_t l = level; l < levels_.size() && l - level < groups; ++l) {
        const QuadLevel& g = levels_[l];
        auto scan = [&](int32_t zone, double from, double to) {
            const ZoneDirectory& z = Zone(l, zone);
            // (A right ascension that is no number starts at the zone's first band.)
            const double band = from > 0 ? std::min(std::floor(from / 360 * kRaBands), kRaBands - 1.0) : 0;
            for (uint64_t k = z.begin + z.bands[static_cast<size_t>(band)]; k < z.end; ++k) {
                const auto n = static_cast<uint32_t>(g.firstStar + k);
                const IndexStar s = Star(n);
                if (s.ra < from) continue;
                if (s.ra > to) break;
                if (!exact && halfWidth < 180) {
                    out.push_back(n);
                    continue;
                }
                const double d = s.dec * kDegree;
                if (sd * std::sin(d) + cd * std::cos(d) * std::cos((s.ra - ra) * kDegree) >= cosRadius)
                    out.push_back(n);
            }
        };
        const int32_t first = StarZone(static_cast<float>(std::max(-90.0, dec - radius)), g.low);
        const int32_t last = StarZone(static_cast<float>(std::min(90.0, dec + radius)), g.low);
        for (int32_t z = first; z <= last; ++z) {
            if (halfWidth >= 180) {
                scan(z, -1, 361);
            } else if (ra - halfWidth < 0) {
                scan(z, -1, ra + halfWidth);
                scan(z, ra - halfWidth + 360, 361);
            } else if (ra + halfWidth >= 360) {
                scan(z, ra - halfWidth, 361);
                scan(z, -1, ra + halfWidth - 360);
            } else {
                scan(z, ra - halfWidth, ra + halfWidth);
            }
        }
    }
}

const QuadIndex::ZoneDirectory& QuadIndex::Zone(size_t level, int32_t zone) const {
    const uint64_t key = (uint64_t{level} << 32) | static_cast<uint32_t>(zone);
    auto [at, made] = zones_.try_emplace(key);
    ZoneDirectory& z = at->second;
    if (!made) return z;
    const QuadLevel& g = levels_[level];
    auto zoneOf = [&](uint64_t k) {
        return StarZone(Star(static_cast<uint32_t>(g.firstStar + k)).dec, g.low);
    };
    // The level's stars are in order of zone, then right ascension.
    auto firstFrom = [&](int32_t wanted) {
        uint64_t lo = 0, hi = g.stars;
        while (lo < hi) {
            const uint64_t mid = lo + (hi - lo) / 2;
            if (zoneOf(mid) < wanted)
                lo = mid + 1;
            else
                hi = mid;
        }
        return lo;
    };
    z.begin = firstFrom(zone);
    z.end = std::max(z.begin, firstFrom(zone + 1));
    uint64_t k = z.begin;
    for (size_t b = 0; b <= kRaBands; ++b) {
        const double edge = 360.0 * static_cast<double>(b) / kRaBands;
        while (k < z.end && Star(static_cast<uint32_t>(g.firstStar + k)).ra < edge)
            ++k;
        z.bands[b] = static_cast<uint32_t>(k - z.begin);
    }
    return z;
}

}  // namespace tornel
