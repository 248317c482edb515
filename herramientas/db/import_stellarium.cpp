// Stellarium star catalogues: a geodesic grid of zones, positions on each zone's tangent plane.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>

#include "herramientas/db/importers.h"
#include "herramientas/db/sky_geometry.h"

namespace tornel::db {
namespace {

constexpr uint32_t kMagic = 0x835F040A;

Vec3 Normalised(const Vec3& v) {
    double n = std::sqrt(Dot(v, v));
    return {v.x / n, v.y / n, v.z / n};
}
Vec3 Sum(const Vec3& a, const Vec3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

using Triangle = std::array<Vec3, 3>;

std::vector<Triangle> Subdivided(int level) {
    const double g = (1 + std::sqrt(5.0)) / 2, b = 1 / std::sqrt(1 + g * g), a = b * g;
    const Vec3 c[12] = {{a, -b, 0}, {a, b, 0},   {-a, b, 0}, {-a, -b, 0}, {0, a, -b}, {0, a, b},
                        {0, -a, b}, {0, -a, -b}, {-b, 0, a}, {b, 0, a},   {b, 0, -a}, {-b, 0, -a}};
    const int t[20][3] = {{1, 0, 10}, {0, 1, 9},  {0, 9, 6},   {9, 8, 6},   {0, 7, 10},
                          {6, 7, 0},  {7, 6, 3},  {6, 8, 3},   {11, 10, 7}, {7, 3, 11},
                          {3, 2, 11}, {2, 3, 8},  {10, 11, 4}, {2, 4, 11},  {5, 4, 2},
                          {2, 8, 5},  {4, 1, 10}, {4, 5, 1},   {5, 9, 1},   {8, 9, 5}};
    std::vector<Triangle> zones;
    for (const auto& k : t)
        zones.push_back({c[k[0]], c[k[1]], c[k[2]]});
    for (int l = 0; l < level; ++l) {
        std::vector<Triangle> next;
        next.reserve(zones.size() * 4);
        for (const auto& z : zones) {
            Vec3 e0 = Normalised(Sum(z[1], z[2])), e1 = Normalised(Sum(z[2], z[0])),
                 e2 = Normalised(Sum(z[0], z[1]));
            next.push_back({z[0], e2, e1});
            next.push_back({e2, z[1], e0});
            next.push_back({e1, e0, z[2]});
            next.push_back({e0, e1, e2});
        }
        zones.swap(next);
    }
    return zones;
}

struct ZoneFrame {
    Vec3 centre, east, north;
};

ZoneFrame FrameOf(const Triangle& z) {
    ZoneFrame f;
    f.centre = Normalised(Sum(Sum(z[0], z[1]), z[2]));
    f.east = Normalised(Cross({0, 0, 1}, f.centre));
    f.north = Cross(f.centre, f.east);
    return f;
}

int64_t SignExtend(uint64_t v, int bits) {
    uint64_t m = uint64_t{1} << (bits - 1);
    return static_cast<int64_t>((v ^ m) - m);
}

uint64_t Bits(const unsigned char* p, int from, int count) {
    uint64_t v = 0;
    for (int i = 0; i < count; ++i) {
        int bit = from + i;
        v |= static_cast<uint64_t>((p[bit / 8] >> (bit % 8)) & 1) << i;
    }
    return v;
}

}  // namespace

std::vector<std::array<std::array<double, 3>, 3>> GeodesicZones(int level) {
    std::vector<std::array<std::array<double, 3>, 3>> out;
    for (const auto& z : Subdivided(level))
        out.push_back({{{z[0].x, z[0].y, z[0].z}, {z[1].x, z[1].y, z[1].z}, {z[2].x, z[2].y, z[2].z}}});
    return out;
}

bool ReadStellariumStars(const std::string& path, std::vector<CatalogStar>& out, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    uint32_t h[8];
    if (!in || !in.read(reinterpret_cast<char*>(h), sizeof h)) {
        error = "cannot read " + path;
        return false;
    }
    if (h[0] != kMagic) {
        error = path +
                (__builtin_bswap32(h[0]) == kMagic ? " is a byte-swapped star file" : " is not a star file");
        return false;
    }
    const uint32_t type = h[1], major = h[2], level = h[4];
    const int32_t magMin = static_cast<int32_t>(h[5]), magRange = static_cast<int32_t>(h[6]);
    const int32_t magSteps = static_cast<int32_t>(h[7]);
    const int recordSize = type == 0 ? 28 : type == 1 ? 10 : type == 2 ? 6 : 0;
    if (major != 0 || recordSize == 0 || level > 8 || magSteps <= 0) {
        error = path + ": star file of an unknown kind (type " + std::to_string(type) + ")";
        return false;
    }
    const auto zones = Subdivided(static_cast<int>(level));
    std::vector<uint32_t> counts(zones.size());
    if (!in.read(reinterpret_cast<char*>(counts.data()), counts.size() * 4)) {
        error = path + ": zone table cut short";
        return false;
    }
    std::vector<ZoneFrame> frames;
    frames.reserve(zones.size());
    double scale = 0;
    for (const auto& z : zones) {
        frames.push_back(FrameOf(z));
        const auto& f = frames.back();
        for (const auto& corner : z) {
            Vec3 d{corner.x - f.centre.x, corner.y - f.centre.y, corner.z - f.centre.z};
            double m0 = Dot(d, f.east), m1 = Dot(d, f.north);
            double k = 1 / std::sqrt(1 - m0 * m0 - m1 * m1);
            scale = std::max({scale, std::fabs(m0) * k, std::fabs(m1) * k});
        }
    }
    const double maxPos = type == 0 ? 2147483647.0 : type == 1 ? 524287.0 : 131071.0;
    const double k = scale / maxPos;
    std::vector<unsigned char> rec(recordSize);
    for (size_t z = 0; z < zones.size(); ++z) {
        const auto& f = frames[z];
        for (uint32_t i = 0; i < counts[z]; ++i) {
            if (!in.read(reinterpret_cast<char*>(rec.data()), recordSize)) {
                error = path + ": records cut short";
                return false;
            }
            int64_t x0, x1, mag;
            if (type == 0) {
                int32_t a, b;
                std::memcpy(&a, &rec[4], 4);
                std::memcpy(&b, &rec[8], 4);
                x0 = a, x1 = b, mag = rec[13];
            } else if (type == 1) {
                x0 = SignExtend(Bits(rec.data(), 0, 20), 20);
                x1 = SignExtend(Bits(rec.data(), 20, 20), 20);
                mag = static_cast<int64_t>(Bits(rec.data(), 75, 5));
            } else {
                x0 = SignExtend(Bits(rec.data(), 0, 18), 18);
                x1 = SignExtend(Bits(rec.data(), 18, 18), 18);
                mag = static_cast<int64_t>(Bits(rec.data(), 43, 5));
            }
            Vec3 p{f.centre.x + x0 * k * f.east.x + x1 * k * f.north.x,
                   f.centre.y + x0 * k * f.east.y + x1 * k * f.north.y,
                   f.centre.z + x0 * k * f.east.z + x1 * k * f.north.z};
            CatalogStar s;
            VectorToRaDec(Normalised(p), s.ra, s.dec);
            s.mag = static_cast<float>((magMin + mag * static_cast<double>(magRange) / magSteps) / 1000.0);
            out.push_back(s);
        }
    }
    return true;
}

}  // namespace tornel::db
