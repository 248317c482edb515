#pragma once
// A spatial index over positions on the sphere: declination zones, each sorted by right ascension.
// Answers "which points lie within r degrees of here" in time proportional to the answer.
#include <cstdint>
#include <functional>
#include <vector>

#include "herramientas/db/sky_geometry.h"

namespace tornel::db {

class SkyIndex {
  public:
    // zoneHeight: degrees; queries of radius up to about that size are cheapest.
    SkyIndex(const std::vector<double>& ra, const std::vector<double>& dec, double zoneHeight);

    // Calls visit(i) for every point i within radius degrees of (ra, dec), distance included.
    void ForEachWithin(double ra, double dec, double radius, const std::function<void(int32_t)>& visit) const;
    // Every point i that has a neighbour j > i within radius: visit(i, j), each pair once.
    void ForEachPair(double radius, const std::function<void(int32_t, int32_t)>& visit) const;

    int32_t Size() const { return static_cast<int32_t>(vec_.size()); }
    const Vec3& VectorOf(int32_t i) const { return vec_[i]; }

  private:
    struct Entry {
        double ra;
        int32_t index;
    };
    int32_t ZoneOf(double dec) const;
    void ScanZone(int32_t zone, double raFrom, double raTo, const Vec3& centre, double cosRadius,
                  const std::function<void(int32_t)>& visit) const;

    double zoneHeight_;
    int32_t zones_;
    std::vector<std::vector<Entry>> entries_;
    std::vector<Vec3> vec_;
    std::vector<double> ra_, dec_;
};

}  // namespace tornel::db
