#pragma once
// Stars of the image hashed into square cells, for the matches of a plate's projection.
#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace tornel {

// Image stars hashed into square cells of the radius, so that a star's neighbours are in nine cells.
class StarGrid {
  public:
    StarGrid(const std::vector<std::array<double, 2>>& stars, double cell) : stars_(stars), cell_(cell) {
        for (size_t k = 0; k < stars.size(); ++k)
            cells_[Key(stars[k][0], stars[k][1])].push_back(k);
    }
    template <class Visit>
    void Near(double x, double y, Visit&& visit) const {
        const auto cx = static_cast<int64_t>(std::floor(x / cell_)),
                   cy = static_cast<int64_t>(std::floor(y / cell_));
        for (int64_t i = cx - 1; i <= cx + 1; ++i)
            for (int64_t j = cy - 1; j <= cy + 1; ++j) {
                const auto found = cells_.find(Pack(i, j));
                if (found == cells_.end()) continue;
                for (size_t k : found->second)
                    visit(k, std::hypot(stars_[k][0] - x, stars_[k][1] - y));
            }
    }

  private:
    static int64_t Pack(int64_t i, int64_t j) { return (i << 32) ^ (j & 0xFFFFFFFF); }
    int64_t Key(double x, double y) const {
        return Pack(static_cast<int64_t>(std::floor(x / cell_)), static_cast<int64_t>(std::floor(y / cell_)));
    }
    const std::vector<std::array<double, 2>>& stars_;
    double cell_;
    std::unordered_map<int64_t, std::vector<size_t>> cells_;
};

}  // namespace tornel
