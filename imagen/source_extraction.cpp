// Point sources over a local background and noise; see source_extraction.h.
#include "imagen/source_extraction.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "comun/zeroed_allocator.h"

namespace tornel {

namespace {

// Cells of more pixels than twice this are sampled, a pixel in four.
constexpr int32_t kCellSample = 1024;

// The background and noise of one cell: the values clipped at 3 sigmas about their median, three
// times; the mode estimated as 2.5 median - 1.5 mean where the clipped values are nearly symmetric.
void CellLevel(std::vector<float>& values, float& level, float& noise) {
    auto median = [](std::vector<float>& v, size_t n) {
        std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(n / 2),
                         v.begin() + static_cast<std::ptrdiff_t>(n));
        return static_cast<double>(v[n / 2]);
    };
    size_t n = values.size();
    double med = median(values, n), mean = med, sigma = 0;
    double low = -1e30, high = 1e30;
    for (int pass = 0; pass < 3; ++pass) {
        // Keep the values within the bounds at the front.
        size_t kept = 0;
        double sum = 0, sum2 = 0;
        for (size_t k = 0; k < n; ++k)
            if (values[k] >= low && values[k] <= high) {
                const double v = values[k];
                values[kept++] = values[k];
                sum += v;
                sum2 += v * v;
            }
        if (kept == 0) break;
        n = kept;
        mean = sum / static_cast<double>(n);
        sigma = std::sqrt(std::max(0.0, sum2 / static_cast<double>(n) - mean * mean));
        med = median(values, n);
        low = med - 3 * sigma;
        high = med + 3 * sigma;
    }
    const bool symmetric = sigma > 0 && std::abs(mean - med) / sigma < 0.3;
    level = static_cast<float>(symmetric ? 2.5 * med - 1.5 * mean : med);
    // Quantised pictures can show no spread at all: a level is the least noise there is.
    noise = static_cast<float>(std::max(sigma, 1.0));
}

// The 3 x 3 median of a mesh of nx by ny values (fewer at the borders).
std::vector<float> MedianOfNeighbours(const std::vector<float>& mesh, int32_t nx, int32_t ny) {
    std::vector<float> out(mesh.size()), around;
    for (int32_t j = 0; j < ny; ++j)
        for (int32_t i = 0; i < nx; ++i) {
            around.clear();
            for (int32_t b = std::max(0, j - 1); b <= std::min(ny - 1, j + 1); ++b)
                for (int32_t a = std::max(0, i - 1); a <= std::min(nx - 1, i + 1); ++a)
                    around.push_back(
                        mesh[static_cast<size_t>(b) * static_cast<size_t>(nx) + static_cast<size_t>(a)]);
            std::nth_element(around.begin(), around.begin() + static_cast<std::ptrdiff_t>(around.size() / 2),
                             around.end());
            out[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)] =
                around[around.size() / 2];
        }
    return out;
}

// Interpolation along one axis between cell centres: the cells either side of pixel p and the weight
// of the second, clamped at the ends.
struct Span {
    int32_t a = 0, b = 0;
    float t = 0;
};
Span SpanAt(int32_t p, double size, int32_t cells) {
    const double u = std::clamp((p + 0.5) / size - 0.5, 0.0, static_cast<double>(cells - 1));
    Span s;
    s.a = static_cast<int32_t>(u);
    s.b = std::min(s.a + 1, cells - 1);
    s.t = static_cast<float>(u - s.a);
    return s;
}

// The image less its background, and the smoothed image over the local noise.
// Planes of width x height floats, written whole before they are read.
using Plane = ZeroedVector<float>;

struct Planes {
    Plane signal, significance, noise;
    size_t size = 0;
    // The median of the cells' noise: the noise of the plain sky.
    double skyNoise = 1;
};

Planes MakePlanes(const SourceImage& image, int32_t cellSide) {
    const int32_t w = image.width, h = image.height;
    const int32_t nx = std::max(1, (w + cellSide / 2) / cellSide),
                  ny = std::max(1, (h + cellSide / 2) / cellSide);
    const double cw = static_cast<double>(w) / nx, ch = static_cast<double>(h) / ny;
    std::vector<float> level(static_cast<size_t>(nx) * static_cast<size_t>(ny)), noise(level.size()), cell;
    for (int32_t j = 0; j < ny; ++j)
        for (int32_t i = 0; i < nx; ++i) {
            const auto x0 = static_cast<int32_t>(i * cw), x1 = static_cast<int32_t>((i + 1) * cw);
            const auto y0 = static_cast<int32_t>(j * ch), y1 = static_cast<int32_t>((j + 1) * ch);
            cell.clear();
            // A pixel in four of a large cell tells its level and noise as well as all of them.
            const int32_t step = (x1 - x0) * (y1 - y0) > 2 * kCellSample ? 2 : 1;
            for (int32_t y = y0; y < y1; y += step) {
                const int16_t* row = image.origin + y * image.stride;
                for (int32_t x = x0 + (y / step) % step; x < x1; x += step)
                    cell.push_back(row[x]);
            }
            const size_t k = static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i);
            CellLevel(cell, level[k], noise[k]);
        }
    if (nx * ny > 1) {
        level = MedianOfNeighbours(level, nx, ny);
        // Noise is not lowered by its neighbours: a cell of tree or roof keeps its own, high noise.
        const std::vector<float> smooth = MedianOfNeighbours(noise, nx, ny);
        for (size_t k = 0; k < noise.size(); ++k)
            noise[k] = std::max(noise[k], smooth[k]);
    }

    const size_t size = static_cast<size_t>(w) * static_cast<size_t>(h);
    Planes p;
    p.size = size;
    p.signal.resize(size);
    std::vector<float> sortedNoise = noise;
    std::nth_element(sortedNoise.begin(),
                     sortedNoise.begin() + static_cast<std::ptrdiff_t>(sortedNoise.size() / 2),
                     sortedNoise.end());
    p.skyNoise = sortedNoise[sortedNoise.size() / 2];
    p.noise.resize(size);
    float* rowNoise = p.noise.data();
    std::vector<Span> across(static_cast<size_t>(w));
    for (int32_t x = 0; x < w; ++x)
        across[static_cast<size_t>(x)] = SpanAt(x, cw, nx);
    for (int32_t y = 0; y < h; ++y) {
        const Span down = SpanAt(y, ch, ny);
        const float* la = level.data() + static_cast<size_t>(down.a) * static_cast<size_t>(nx);
        const float* lb = level.data() + static_cast<size_t>(down.b) * static_cast<size_t>(nx);
        const float* na = noise.data() + static_cast<size_t>(down.a) * static_cast<size_t>(nx);
        const float* nb = noise.data() + static_cast<size_t>(down.b) * static_cast<size_t>(nx);
        const int16_t* row = image.origin + y * image.stride;
        float* out = p.signal.data() + static_cast<size_t>(y) * static_cast<size_t>(w);
        float* outNoise = rowNoise + static_cast<size_t>(y) * static_cast<size_t>(w);
        for (int32_t x = 0; x < w; ++x) {
            const Span& s = across[static_cast<size_t>(x)];
            auto mix = [&](const float* ra, const float* rb) {
                const float top = ra[s.a] + (ra[s.b] - ra[s.a]) * s.t;
                const float bottom = rb[s.a] + (rb[s.b] - rb[s.a]) * s.t;
                return top + (bottom - top) * down.t;
            };
            out[x] = static_cast<float>(row[x]) - mix(la, lb);
            outNoise[x] = mix(na, nb);
        }
    }

    // A 1-2-1 kernel each way: the noise of single pixels falls, a star's light stays together. The
    // rows across first, then down in place, keeping the row above as it was.
    p.significance.resize(size);
    for (int32_t y = 0; y < h; ++y) {
        const float* in = p.signal.data() + static_cast<size_t>(y) * static_cast<size_t>(w);
        float* out = p.significance.data() + static_cast<size_t>(y) * static_cast<size_t>(w);
        for (int32_t x = 0; x < w; ++x) {
            const float left = in[std::max(x - 1, 0)], right = in[std::min(x + 1, w - 1)];
            out[x] = (left + 2 * in[x] + right) / 4;
        }
    }
    std::vector<float> above(p.significance.data(), p.significance.data() + w),
        middle(static_cast<size_t>(w));
    for (int32_t y = 0; y < h; ++y) {
        float* row = p.significance.data() + static_cast<size_t>(y) * static_cast<size_t>(w);
        std::copy(row, row + w, middle.begin());
        const float* below = y + 1 < h ? row + w : middle.data();
        const float* n = rowNoise + static_cast<size_t>(y) * static_cast<size_t>(w);
        for (int32_t x = 0; x < w; ++x)
            row[x] =
                (above[static_cast<size_t>(x)] + 2 * middle[static_cast<size_t>(x)] + below[x]) / 4 / n[x];
        above.swap(middle);
    }
    return p;
}

// The brightest pixel of `s` over the median of a ring about its centroid, in units of the ring's
// scatter, at least a level; the ring lies beyond the source. The scatter is read from the lower
// half of the ring (the median less the first quartile is 0.674 sigma of a normal spread), which
// the other stars of a crowded field leave alone and the grain of a lit object does not.
double RingContrast(const Planes& p, int32_t w, int32_t h, const Source& s, double& scatter) {
    scatter = 0;
    const double inner = 1.5 * std::sqrt(s.pixels / std::numbers::pi) + 1.5, outer = inner + 4;
    std::vector<float> ring;
    const auto x0 = static_cast<int32_t>(std::floor(s.x - outer)),
               x1 = static_cast<int32_t>(std::ceil(s.x + outer));
    const auto y0 = static_cast<int32_t>(std::floor(s.y - outer)),
               y1 = static_cast<int32_t>(std::ceil(s.y + outer));
    for (int32_t y = std::max(y0, 0); y <= std::min(y1, h - 1); ++y)
        for (int32_t x = std::max(x0, 0); x <= std::min(x1, w - 1); ++x) {
            const double r = std::hypot(x - s.x, y - s.y);
            if (r >= inner && r <= outer)
                ring.push_back(
                    p.signal[static_cast<size_t>(y) * static_cast<size_t>(w) + static_cast<size_t>(x)]);
        }
    if (ring.size() < 8) return 0;
    const auto middle = ring.begin() + static_cast<std::ptrdiff_t>(ring.size() / 2);
    std::nth_element(ring.begin(), middle, ring.end());
    const double median = *middle;
    const auto quarter = ring.begin() + static_cast<std::ptrdiff_t>(ring.size() / 4);
    std::nth_element(ring.begin(), quarter, middle);
    scatter = std::max((median - *quarter) / 0.6745, 1.0);
    return (s.peak - median) / scatter;
}

// The pixels of groups: 8-connected pixels over a threshold, found by flood fill. A pixel's mark
// tells which pass last saw it, so that passes over parts of the image need no clearing.
class Grouper {
  public:
    Grouper(const Planes& p, int32_t w, int32_t h) : p_(p), w_(w), h_(h), mark_(p.size) {}

    // The groups of the whole image over `threshold`.
    std::vector<std::vector<int32_t>> Whole(double threshold) {
        const uint32_t seen = ++pass_;
        std::vector<std::vector<int32_t>> groups;
        for (size_t k = 0; k < mark_.size(); ++k)
            if (mark_[k] != seen && p_.significance[k] > threshold)
                groups.push_back(Fill(
                    static_cast<int32_t>(k), threshold, [](uint32_t) { return true; }, seen));
        return groups;
    }
    // The groups over `threshold` among the pixels of `group`.
    std::vector<std::vector<int32_t>> Within(const std::vector<int32_t>& group, double threshold) {
        const uint32_t member = ++pass_, seen = ++pass_;
        for (int32_t k : group)
            mark_[static_cast<size_t>(k)] = member;
        std::vector<std::vector<int32_t>> groups;
        for (int32_t k : group)
            if (mark_[static_cast<size_t>(k)] == member &&
                p_.significance[static_cast<size_t>(k)] > threshold)
                groups.push_back(Fill(
                    k, threshold, [member](uint32_t m) { return m == member; }, seen));
        return groups;
    }

  private:
    template <typename Allowed>
    std::vector<int32_t> Fill(int32_t start, double threshold, Allowed allowed, uint32_t seen) {
        std::vector<int32_t> group{start};
        mark_[static_cast<size_t>(start)] = seen;
        for (size_t next = 0; next < group.size(); ++next) {
            const int32_t x = group[next] % w_, y = group[next] / w_;
            for (int32_t ny = std::max(y - 1, 0); ny <= std::min(y + 1, h_ - 1); ++ny)
                for (int32_t nx = std::max(x - 1, 0); nx <= std::min(x + 1, w_ - 1); ++nx) {
                    const auto n =
                        static_cast<size_t>(ny) * static_cast<size_t>(w_) + static_cast<size_t>(nx);
                    if (mark_[n] == seen || !allowed(mark_[n]) || !(p_.significance[n] > threshold)) continue;
                    mark_[n] = seen;
                    group.push_back(static_cast<int32_t>(n));
                }
        }
        return group;
    }

    const Planes& p_;
    int32_t w_, h_;
    ZeroedVector<uint32_t> mark_;  // zero: no pass has seen a pixel
    uint32_t pass_ = 0;
};

// A group's centroid, light, peak and shape; `edge` when it touches the image's border.
Source Measure(const Planes& p, int32_t w, int32_t h, const std::vector<int32_t>& group, bool& edge) {
    double sum = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0, peak = 0;
    edge = false;
    for (int32_t k : group) {
        const int32_t x = k % w, y = k / w;
        const double v = std::max(0.0f, p.signal[static_cast<size_t>(k)]);
        sum += v;
        sx += v * x;
        sy += v * y;
        sxx += v * x * x;
        syy += v * y * y;
        sxy += v * x * y;
        peak = std::max(peak, v);
        if (x == 0 || y == 0 || x == w - 1 || y == h - 1) edge = true;
    }
    Source s;
    s.flux = sum;
    s.peak = peak;
    s.pixels = static_cast<int32_t>(group.size());
    if (!(sum > 0)) return s;
    s.x = sx / sum;
    s.y = sy / sum;
    const double cxx = sxx / sum - s.x * s.x, cyy = syy / sum - s.y * s.y, cxy = sxy / sum - s.x * s.y;
    const double half = (cxx + cyy) / 2, root = std::sqrt((cxx - cyy) * (cxx - cyy) / 4 + cxy * cxy);
    const double major = half + root, minor = half - root;
    s.elongation = minor > 1e-6 ? std::sqrt(major / minor) : (major > 1e-6 ? 1e3 : 1);
    s.radius = std::sqrt(std::max(half, 0.0));
    return s;
}

double Median(std::vector<double>& v) {
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
    return v[v.size() / 2];
}

// Groups large enough for their shape to mean something.
constexpr int32_t kShapedPixels = 8;
// A source this many times the least contrast over its ring stands out of any clutter: the ring's
// spread is its own halo's. So does one this many times the local noise.
constexpr double kClearContrast = 4, kClearSignificance = 50;
// Each split of a merged group looks again at twice the threshold, this many times at most.
constexpr int kSplits = 10;

class SourceFinder {
  public:
    SourceFinder(const Planes& p, int32_t w, int32_t h, const SourceOptions& o)
        : p_(p), w_(w), h_(h), o_(o), grouper_(p, w, h) {}

    std::vector<Source> At(double threshold) {
        std::vector<std::vector<int32_t>> groups = grouper_.Whole(threshold);
        // Streaks are told by their shape against the others': trailed stars all share the median.
        // So are galaxies and lit objects by their spread against the others', that of the stars.
        std::vector<double> shapes, spreads;
        for (const auto& g : groups) {
            bool edge = false;
            const Source s = Measure(p_, w_, h_, g, edge);
            if (s.pixels >= kShapedPixels && s.pixels <= o_.mostPixels) {
                shapes.push_back(s.elongation);
                spreads.push_back(s.radius);
            }
        }
        longest_ = o_.elongation;
        widest_ = o_.leastSpread;
        if (!shapes.empty()) {
            longest_ = std::max(o_.elongation, 2 * Median(shapes));
            widest_ = std::max(o_.leastSpread, o_.spread * Median(spreads));
        }
        std::vector<Source> found;
        for (const auto& g : groups)
            Take(g, threshold, 0, false, found);
        return found;
    }

  private:
    // The group as a source, or when it is too large or too long, its parts at a higher threshold:
    // stars that merged part there. One object that only shrinks (a galaxy, a streak) is no star;
    // `parted` tells whether the group came of a parting.
    void Take(const std::vector<int32_t>& group, double threshold, int splits, bool parted,
              std::vector<Source>& found) {
        if (static_cast<int32_t>(group.size()) < o_.leastPixels) return;
        bool edge = false;
        Source s = Measure(p_, w_, h_, group, edge);
        if (edge || !(s.flux > 0)) return;
        const bool merged = s.pixels > o_.mostPixels ||
                            (s.pixels >= kShapedPixels && (s.elongation > longest_ || s.radius > widest_));
        if (merged) {
            if (splits == kSplits) return;
            const std::vector<std::vector<int32_t>> parts = grouper_.Within(group, 2 * threshold);
            const size_t first = found.size();
            for (const auto& part : parts)
                Take(part, 2 * threshold, splits + 1, parted || parts.size() > 1, found);
            // The parts are cores over a higher threshold: the group's light is shared among them, so
            // that merged bright stars keep their place among the others.
            double cores = 0;
            for (size_t k = first; k < found.size(); ++k)
                cores += found[k].flux;
            if (cores > 0)
                for (size_t k = first; k < found.size(); ++k)
                    found[k].flux *= s.flux / cores;
            return;
        }
        if (splits > 0 && !parted) return;
        if (s.peak > o_.hotShare * s.flux) return;
        const auto centre = static_cast<size_t>(std::lround(s.y)) * static_cast<size_t>(w_) +
                            static_cast<size_t>(std::lround(s.x));
        double scatter = 0;
        s.contrast = RingContrast(p_, w_, h_, s, scatter);
        // A bright star's ring lies in its own halo and spikes: its peak over the sky's noise vouches for it.
        const bool plain = s.peak > kClearSignificance * p_.noise[centre];
        if (plain) s.contrast = std::max(s.contrast, kClearContrast * o_.contrast);
        if (s.contrast < o_.contrast) return;
        s.cluttered = std::max<double>(p_.noise[centre], scatter) > o_.clutter * p_.skyNoise &&
                      s.contrast < kClearContrast * o_.contrast;
        found.push_back(s);
    }

    const Planes& p_;
    int32_t w_, h_;
    const SourceOptions& o_;
    Grouper grouper_;
    double longest_ = 0, widest_ = 0;
};

}  // namespace

SourceStatus ExtractSources(const SourceImage& image, const SourceOptions& options,
                            std::vector<Source>& out) {
    out.clear();
    if (image.origin == nullptr || image.width < 3 || image.height < 3 || image.stride < image.width)
        return SourceStatus::EmptyImage;
    if (options.cell < 8 || options.thresholds.empty() || options.leastPixels < 1 || options.most == 0)
        return SourceStatus::BadOptions;
    const Planes planes = MakePlanes(image, options.cell);
    SourceFinder finder(planes, image.width, image.height, options);
    for (double threshold : options.thresholds) {
        out = finder.At(threshold);
        if (out.size() >= options.enough) break;
    }
    std::stable_sort(out.begin(), out.end(), [](const Source& a, const Source& b) {
        return a.cluttered != b.cluttered ? b.cluttered : a.flux > b.flux;
    });
    if (out.size() > options.most) out.resize(options.most);
    return SourceStatus::Ok;
}

}  // namespace tornel
