#pragma once
// A wide camera with barrel distortion, independent of the program: pixel (x, y) (square pixels,
// optical axis at the image centre) is offset from the centre by (p, q), stretched by k r^2 / R^2 of
// its offset from the centre of the distortion (R the half diagonal): barrel distortion shows the
// corners' sky further out than a plain projection puts it. The offsets are turned by the roll,
// taken by the gnomonic projection at the focal length and to the sky by vectors about (ra0, dec0).
// A distortion centred off the axis (a tilted lens) adds terms of order 2 to the odd ones.
#include <cmath>
#include <random>
#include <vector>

namespace tornel::testing {

struct WideCamera {
    double ra0 = 100, dec0 = 35, roll = 20, k = 0.03;
    double offX = 0, offY = 0;  // the centre of the distortion from the image centre, pixels
    bool mirrored = false;
    double width = 4000, height = 3000;
    double across = 40;  // degrees along x, before the distortion

    static constexpr double kDeg = 3.14159265358979323846 / 180;
    double Focal() const { return width / 2 / std::tan(across / 2 * kDeg); }
    double Scale() const { return 1 / Focal() / kDeg; }  // degrees per pixel at the centre

    void Sky(double x, double y, double& ra, double& dec) const {
        const double dp = x - width / 2 - offX, dq = y - height / 2 - offY;
        const double r2 = (dp * dp + dq * dq) / (width * width / 4 + height * height / 4);
        const double p = x - width / 2 + k * r2 * dp, q = y - height / 2 + k * r2 * dq;
        const double s = 1 / Focal(), t = roll * kDeg;
        double xi = s * (p * std::cos(t) - q * std::sin(t)), eta = s * (p * std::sin(t) + q * std::cos(t));
        if (mirrored) xi = -xi;
        const double a = ra0 * kDeg, d = dec0 * kDeg;
        const double east[3] = {-std::sin(a), std::cos(a), 0};
        const double north[3] = {-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)};
        const double axis[3] = {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
        double v[3];
        for (int i = 0; i < 3; ++i)
            v[i] = axis[i] + xi * east[i] + eta * north[i];
        ra = std::atan2(v[1], v[0]) / kDeg;
        if (ra < 0) ra += 360;
        dec = std::atan2(v[2], std::hypot(v[0], v[1])) / kDeg;
    }

    // `n` stars spread over the image, as Star{x, y, ra, dec}, their pixels measured with gaussian
    // errors of `noise` pixels.
    template <class Star>
    std::vector<Star> Stars(int n, double noise, unsigned seed = 7) const {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<double> ux(0.5, width + 0.5), uy(0.5, height + 0.5);
        std::normal_distribution<double> error(0, noise);
        std::vector<Star> stars;
        for (int i = 0; i < n; ++i) {
            Star s{ux(rng), uy(rng), 0, 0};
            Sky(s.x, s.y, s.ra, s.dec);
            s.x += error(rng);
            s.y += error(rng);
            stars.push_back(s);
        }
        return stars;
    }
};

}  // namespace tornel::testing
