#pragma once
// The pattern index, quads.bin: four-star codes (catalogo/quad_code.h) at a series of sizes, from a
// fifth of a degree to past forty, so that a field of any scale finds its patterns with no scale
// and no position given. The file is mapped, not read: a search touches a few pages of it. The
// builder replaces the file by a rename, so a mapping keeps the file it was made on.
//
// Layout, little-endian, no padding:
//   header      magic "TQUADS03", u32 levels, u32 stars, u64 quads                          (24 bytes)
//   levels x    f32 low, f32 high (degrees: |AB| of its quads), u64 quads, u64 first star,
//               u64 stars, u64 reserved                                                       (40 bytes)
//   top x 8191  u16 code[4]: the tree's first 13 levels again, breadth first              (65528 bytes)
//   stars x     f32 ra, f32 dec (degrees J2000), f32 mag                                     (12 bytes)
//   codes x     u16 code[4]                                                                   (8 bytes)
//   members x   u32 star[4] (A, B, C, D), in the order of the codes                          (16 bytes)
// The stars of a level are those its quads were chosen among; a star chosen at a level is chosen at
// every finer one. They are stored by the coarsest level that chose them, coarsest first; so the stars
// of level L are the groups of L and coarser, and a level's "first star, stars" name its own group.
// A group is sorted by zone, then right ascension: zone = floor((dec + 90) / low) of its level, on
// the stored values, so that a circle is read zone by zone and costs about what it holds.
// The quads of every level form one implicit k-d tree over the code (the median of the range by axis
// depth % 4, the lower half before it, the upper after): an image quad of unknown scale is looked up
// once, not once a level, and the codes lie apart from the members so that a walk reads 8 bytes a node.
// Those first levels lie a page or more apart in the tree, and every fresh page costs a walk a fault;
// the copy breadth first (node n's children at 2n + 1 and 2n + 2, zeros under an empty range) holds
// them in 64 KB, which the first walk reads and every later one finds resident.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalogo/quad_code.h"

namespace tornel {

inline constexpr char kQuadIndexMagic[8] = {'T', 'Q', 'U', 'A', 'D', 'S', '0', '3'};
inline constexpr const char* kQuadIndexFile = "quads.bin";
inline constexpr size_t kQuadHeaderBytes = 24;
inline constexpr size_t kQuadLevelBytes = 40;
inline constexpr size_t kQuadStarBytes = 12;
inline constexpr size_t kQuadCodeBytes = 8, kQuadMemberBytes = 16;
inline constexpr int kQuadTopDepth = 13;
inline constexpr size_t kQuadTopNodes = (size_t{1} << kQuadTopDepth) - 1;
// The code's values lie in [-0.21, 1.21]; stored on 16 bits over this span.
inline constexpr double kCodeLow = -0.25, kCodeSpan = 1.5;

uint16_t CodeToStored(double v);
// The finest level a file may have, degrees: a circle is read zone by zone, and a finer level would
// make a search of a few degrees read millions of zones.
inline constexpr double kQuadLeastLevel = 0.01;
// The zone of a star of a group whose level's least size is `low` degrees. A declination that is not
// one (a damaged file) gives zone 0 or the last zone, never a number past them.
int32_t StarZone(float dec, double low);
double StoredToCode(uint16_t q);

struct IndexStar {
    float ra = 0, dec = 0, mag = 0;
};

struct QuadLevel {
    double low = 0, high = 0;           // degrees
    uint64_t quads = 0;                 // how many of the tree's quads are of this level
    uint64_t firstStar = 0, stars = 0;  // the level's own group
};

struct QuadHit {
    std::array<uint32_t, 4> stars{};  // A, B, C, D: star numbers of the index
    double distance2 = 0;             // squared code distance
};

// The implicit k-d tree of a level: lays `codes` (and the parallel records) out in tree order.
// Used by the builder; a test builds small indexes with it too.
struct StoredQuad {
    std::array<uint16_t, 4> code{};
    std::array<uint32_t, 4> stars{};
};
void ArrangeAsTree(std::vector<StoredQuad>& quads);
// The codes of the first kQuadTopDepth levels of a tree that ArrangeAsTree made, breadth first.
std::vector<std::array<uint16_t, 4>> TreeTop(const std::vector<StoredQuad>& tree);

class QuadIndex {
  public:
    QuadIndex() = default;
    QuadIndex(const QuadIndex&) = delete;
    QuadIndex& operator=(const QuadIndex&) = delete;
    ~QuadIndex() { Close(); }

    // Maps the file and checks that its tables agree with its length. False with a sentence naming
    // the file when it cannot be used.
    bool Open(const std::string& path, std::string& error);
    void Close();
    bool IsOpen() const { return base_ != nullptr; }
    const std::string& Path() const { return path_; }

    const std::vector<QuadLevel>& Levels() const { return levels_; }
    uint32_t StarCount() const { return starCount_; }
    IndexStar Star(uint32_t n) const;

    uint64_t QuadCount() const { return quadCount_; }

    // Quads of every level whose code lies within `tolerance` of `code` (Euclidean), appended to
    // `hits`. A quad naming a star past the table is passed over. Stops after `limit` hits.
    void Lookup(const QuadCode& code, double tolerance, std::vector<QuadHit>& hits,
                size_t limit = 1000) const;

    // The stars of `level` (its group and the coarser ones) within `radius` degrees of (ra, dec),
    // appended to `out` as star numbers.
    // With `exact` false, the stars of the zones and right ascensions that the circle spans, a few
    // more than it holds, without the trigonometry: for a caller that projects them anyway. A circle
    // that spans every right ascension (near a pole, or wide) is tested all the same.
    // With `groups`, only the groups of `level` and the next coarser ones, that many in all: each
    // group holds about as many stars as all the coarser ones together, so three hold seven eighths
    // of the level's stars for a fraction of the reading.
    void StarsNear(size_t level, double ra, double dec, double radius, std::vector<uint32_t>& out,
                   bool exact = true, size_t groups = 64) const;

  private:
    std::array<uint16_t, 4> TopAt(uint64_t node) const;
    std::array<uint16_t, 4> CodeAt(uint64_t n) const;
    std::array<uint32_t, 4> MembersAt(uint64_t n) const;
    // Appends quad `n` to the hits when its code lies within the tolerance.
    void TryNode(uint64_t n, const std::array<uint16_t, 4>& code, const std::array<double, 4>& q, double tol2,
                 std::vector<QuadHit>& hits) const;
    // Asks the memory for the code that the walk reads first in the subtree lo..hi of `node`.
    void Prefetch(uint64_t lo, uint64_t hi, uint64_t node) const;
    // The walk below the node `node` (breadth-first number) that stands for the range [lo, hi).
    void Search(uint64_t lo, uint64_t hi, int depth, uint64_t node, const std::array<double, 4>& q,
                double tol2, double tolerance, std::vector<QuadHit>& hits, size_t limit) const;

    const unsigned char* base_ = nullptr;
    size_t length_ = 0;
    std::string path_;
    uint32_t starCount_ = 0;
    uint64_t quadCount_ = 0;
    std::vector<QuadLevel> levels_;
    const unsigned char* top_ = nullptr;
    const unsigned char* stars_ = nullptr;
    const unsigned char* codes_ = nullptr;
    const unsigned char* members_ = nullptr;

    // Where a zone of a level lies in the star table, and where each band of right ascension starts
    // in it: made the first time the zone is read, so that a search for nearby stars starts at once
    // where it should instead of halving the level's table again every time.
    static constexpr size_t kRaBands = 64;
    struct ZoneDirectory {
        uint64_t begin = 0, end = 0;
        std::array<uint32_t, kRaBands + 1> bands{};
    };
    const ZoneDirectory& Zone(size_t level, int32_t zone) const;
    mutable std::unordered_map<uint64_t, ZoneDirectory> zones_;
};

}  // namespace tornel
