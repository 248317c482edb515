#pragma once
// A FITS file's WCS as astropy reads it, through tests/resultados/wcs_pixels_to_sky.py. Test programs
// that use it define TORNEL_PYTHON, Debian's python3 with python3-astropy.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace tornel::testing {

// astropy's reading of a file: sky positions of FITS pixels (or, with --sky, the pixels of sky
// positions), the reference pixel, the scale and the orders of the SIP polynomials (0 without).
struct AstropyReading {
    std::vector<std::array<double, 2>> sky;
    double crpixX = 0, crpixY = 0, scale = 0;
    int sipOrder = 0, inverseOrder = 0;
};

inline AstropyReading Astropy(const std::string& file, const std::vector<std::array<double, 2>>& pixels,
                              const std::string& options = "") {
    std::string command = std::string(TORNEL_PYTHON) + " '" + TORNEL_SOURCE_DIR +
                          "/tests/resultados/wcs_pixels_to_sky.py' '" + file + "' " + options;
    for (const auto& px : pixels)
        command += " " + std::to_string(px[0]) + " " + std::to_string(px[1]);
    AstropyReading r;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return r;
    std::string text;
    char buf[256];
    while (fgets(buf, sizeof buf, pipe))
        text += buf;
    EXPECT_EQ(pclose(pipe), 0) << command;
    std::istringstream in(text);
    for (size_t i = 0; i < pixels.size(); ++i) {
        std::array<double, 2> s{};
        in >> s[0] >> s[1];
        r.sky.push_back(s);
    }
    std::string word;
    in >> word >> r.crpixX >> r.crpixY >> word >> r.scale >> word >> r.sipOrder >> r.inverseOrder;
    EXPECT_TRUE(in) << text;
    return r;
}

inline double SeparationDegrees(double ra1, double de1, double ra2, double de2) {
    const double k = 3.14159265358979323846 / 180;
    double x = std::sin((de2 - de1) * k / 2), y = std::sin((ra2 - ra1) * k / 2);
    return 2 * std::asin(std::sqrt(x * x + std::cos(de1 * k) * std::cos(de2 * k) * y * y)) / k;
}

}  // namespace tornel::testing
