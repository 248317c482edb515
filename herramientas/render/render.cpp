// Rendering of a star field: Gaussian stars integrated over each pixel, on a noisy sky.
#include <algorithm>
#include <cmath>
#include <random>

#include "herramientas/render/render.h"

namespace tornel::render {

namespace {

// Share of a Gaussian of width sigma centred at c that falls between a and b.
double Between(double a, double b, double c, double sigma) {
    const double k = 1 / (sigma * std::sqrt(2.0));
    return 0.5 * (std::erf((b - c) * k) - std::erf((a - c) * k));
}

Star Placed(const Field& f, Star s) {
    if (f.mirror) s.y = f.height + 1 - s.y;
    return s;
}

void AddStar(const Field& f, const Star& s, Image& image) {
    const double reach = 6 * f.psfSigma + 1;
    const int32_t x0 = std::max(1, static_cast<int32_t>(std::floor(s.x - reach)));
    const int32_t x1 = std::min(f.width, static_cast<int32_t>(std::ceil(s.x + reach)));
    const int32_t y0 = std::max(1, static_cast<int32_t>(std::floor(s.y - reach)));
    const int32_t y1 = std::min(f.height, static_cast<int32_t>(std::ceil(s.y + reach)));
    if (x0 > x1 || y0 > y1) return;
    std::vector<double> wx(static_cast<size_t>(x1 - x0 + 1));
    for (int32_t x = x0; x <= x1; ++x)
        wx[static_cast<size_t>(x - x0)] = Between(x - 0.5, x + 0.5, s.x, f.psfSigma);
    for (int32_t y = y0; y <= y1; ++y) {
        double wy = s.flux * Between(y - 0.5, y + 0.5, s.y, f.psfSigma);
        float* row = image.counts.data() + static_cast<size_t>(y - 1) * static_cast<size_t>(f.width);
        for (int32_t x = x0; x <= x1; ++x)
            row[x - 1] += static_cast<float>(wy * wx[static_cast<size_t>(x - x0)]);
    }
}

}  // namespace

Image Render(const Field& field) {
    Image image;
    image.width = field.width;
    image.height = field.height;
    const size_t n =
        static_cast<size_t>(std::max(field.width, 0)) * static_cast<size_t>(std::max(field.height, 0));
    image.counts.assign(n, static_cast<float>(field.sky));
    if (field.gradient != 0 && n > 0) {
        const double across = std::max(field.width - 1, 1), down = std::max(field.height - 1, 1);
        for (int32_t y = 0; y < field.height; ++y)
            for (int32_t x = 0; x < field.width; ++x)
                image.counts[static_cast<size_t>(y) * static_cast<size_t>(field.width) +
                             static_cast<size_t>(x)] +=
                    static_cast<float>(field.gradient * (x / across + y / down) / 2);
    }
    if (field.noise > 0) {
        std::mt19937 random(field.seed);
        std::normal_distribution<float> normal(0.0f, static_cast<float>(field.noise));
        for (float& v : image.counts)
            v += normal(random);
    }
    for (const Star& s : field.stars)
        AddStar(field, Placed(field, s), image);
    for (const HotPixel& h : field.hotPixels) {
        Star at = Placed(field, Star{static_cast<double>(h.x), static_cast<double>(h.y), 0});
        auto y = static_cast<int32_t>(at.y);
        if (h.x < 1 || h.x > field.width || y < 1 || y > field.height) continue;
        image.counts[static_cast<size_t>(y - 1) * static_cast<size_t>(field.width) +
                     static_cast<size_t>(h.x - 1)] += static_cast<float>(h.value);
    }
    return image;
}

std::vector<Star> Truth(const Field& field) {
    std::vector<Star> truth;
    for (const Star& s : field.stars)
        truth.push_back(Placed(field, s));
    std::stable_sort(truth.begin(), truth.end(),
                     [](const Star& a, const Star& b) { return a.flux > b.flux; });
    return truth;
}

std::vector<Star> RandomStars(int32_t count, int32_t width, int32_t height, double margin, double separation,
                              double faintest, double brightest, uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> ux(margin, width + 1 - margin), uy(margin, height + 1 - margin);
    std::vector<Star> stars;
    const double ratio = count > 1 ? std::pow(brightest / faintest, 1.0 / (count - 1)) : 1;
    double flux = brightest;
    for (int attempts = 0; static_cast<int32_t>(stars.size()) < count && attempts < 100000; ++attempts) {
        Star s{ux(random), uy(random), flux};
        bool clear = std::all_of(stars.begin(), stars.end(), [&](const Star& o) {
            return std::hypot(o.x - s.x, o.y - s.y) >= separation;
        });
        if (!clear) continue;
        stars.push_back(s);
        flux /= ratio;
    }
    return stars;
}

}  // namespace tornel::render
