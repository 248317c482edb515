#pragma once
// Database 1, the distance road: the rings Ani001.bin .. Ani178.bin and the pole files.
#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "herramientas/db/records.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/star_tables.h"

namespace tornel::db {

inline constexpr int32_t kMinDistanceUnits = 100;    // 0.001 degree
inline constexpr int32_t kMaxDistanceUnits = 29999;  // 0.29999 degree
inline constexpr int32_t kFirstRing = 1, kLastRing = 178;
inline constexpr int32_t kPoleTiles = 37;

// One ring record of a pair of est.bin stars (indices into `stars`), or false when the pair is not
// stored: too short or too long, or a numeric fault. `ring` receives the ring of its midpoint.
bool RingRecord(PairMeter& meter, const NumberedStar& s1, const NumberedStar& s2, DistanceRecord& rec,
                int32_t& ring);

// Progress of a long step: called with the items done so far.
using ProgressFn = std::function<void(int64_t done, int64_t total)>;

// The records of every ring, index 0 to 179 (0 and 179 stay empty), each sorted, from the pairs of
// the selected stars (indices into `stars`).
std::array<std::vector<DistanceRecord>, 180> RingFiles(const std::vector<NumberedStar>& stars,
                                                       const std::vector<int32_t>& selection,
                                                       const ProgressFn& progress = {});

// Centre of tile t (1 to 37) of pole 0 (south) or 179 (north), degrees.
void PoleTileCentre(int32_t pole, int32_t tile, double& ra, double& dec);

// A pole file: the 74-record head, then each tile's pairs in ascending distance. A tile holds every
// pair of selected stars that lie within `tileRadius` degrees of its centre; star numbers are
// record numbers of est.bin (index + 1).
std::vector<DistanceRecord> PoleFile(int32_t pole, const std::vector<NumberedStar>& stars,
                                     const std::vector<int32_t>& selection, double tileRadius);

}  // namespace tornel::db
