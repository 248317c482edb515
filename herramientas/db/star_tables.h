#pragma once
// The star files: the tiling of the sky into regions and star numbers (est.bin), the region index
// (region.bin), and the declination-sorted star file of the triangle road (estDEC_ID1x1g.bin).
#include <cstdint>
#include <string>
#include <vector>

#include "herramientas/db/catalog.h"
#include "herramientas/db/records.h"

namespace tornel::db {

inline constexpr int32_t kRegionCount = kNumRegiones;

// A star of est.bin: its number and its coordinates as the file holds them.
struct NumberedStar {
    int32_t id = 0;
    double ra = 0, dec = 0;  // degrees, exactly Ar / 1e6 and De / 1e6
    float mag = 99;
};

// Declination bands of `bandHeight` degrees, each cut in right ascension into slices of equal star
// count, regions per band in proportion to its stars, exactly `regions` in all; none straddles RA 0.
// Star number = region x 100000 + rank (from 1, by right ascension). Answers the stars in ascending
// number. False (with a sentence) when the catalogue has fewer stars than regions or a region would
// hold 100000 stars or more.
bool NumberStars(const std::vector<CatalogStar>& catalogue, double bandHeight, std::vector<NumberedStar>& out,
                 std::string& error, int32_t regions = kRegionCount);

std::vector<EstRecord> EstRecords(const std::vector<NumberedStar>& stars);

// Equal-area cells: declination bands of `size` degrees, each cut into whole cells of about `size`
// degrees of right ascension. Cell numbers run from 0.
class CellGrid {
  public:
    explicit CellGrid(double size);
    int64_t CellOf(double ra, double dec) const;
    int64_t Count() const { return total_; }
    // Centre of cell `cell`, degrees.
    void Centre(int64_t cell, double& ra, double& dec) const;
    double Size() const { return size_; }
    // Area of one cell of the band of `dec`, square degrees.
    double CellArea(double dec) const;

  private:
    double size_;
    int32_t bands_;
    std::vector<int32_t> perBand_;
    std::vector<int64_t> first_;
    int64_t total_ = 0;
};

// Indices (into `stars`, which must be sorted brightest first) of the stars kept when at most
// `perCell` stars stand in each cell of `cellSize` degrees (0: no cap), none fainter than `magLimit`,
// and none closer than `minSeparation` degrees to a brighter kept one.
std::vector<int32_t> SelectBrightest(const std::vector<NumberedStar>& stars, double cellSize, int32_t perCell,
                                     double magLimit, double minSeparation);

// estDEC_ID1x1g.bin from a selection of est.bin stars: sorted by declination, with the permutation
// to ascending Id.
std::vector<DecRecord> DecRecords(const std::vector<NumberedStar>& stars,
                                  const std::vector<int32_t>& selection);

// Indices of `stars` in order of brightness, brightest first (ties by number).
std::vector<int32_t> BrightnessOrder(const std::vector<NumberedStar>& stars);

}  // namespace tornel::db
