#include "herramientas/db/projection.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <random>

#include "comun/numbers.h"
#include "herramientas/render/render.h"

#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/triangle_file.h"

namespace tornel::db {
namespace {

constexpr double kRad = std::numbers::pi / 180.0;

double Uniform(std::mt19937_64& g) {
    return static_cast<double>(g() >> 11) * 0x1.0p-53;
}
double Gaussian(std::mt19937_64& g) {
    double u = 1 - Uniform(g), v = Uniform(g);
    return std::sqrt(-2 * std::log(u)) * std::cos(2 * std::numbers::pi * v);
}

}  // namespace

double FocalPixels(double arcsecPerPixel) {
    return 1.0 / std::tan(arcsecPerPixel / 3600.0 * kRad);
}

bool SkyToPixel(const FieldGeometry& g, double ra, double dec, double& x, double& y) {
    double xi, eta;
    if (!TangentPlane(g.ra, g.dec, ra, dec, xi, eta)) return false;
    const double f = FocalPixels(g.arcsecPerPixel);
    // The solver's frame before its angle: X toward west, Y toward north.
    double X = (g.mirror ? xi : -xi) * f, Y = eta * f;
    double c = std::cos(g.angle * kRad), s = std::sin(g.angle * kRad);
    x = g.width / 2.0 + X * c + Y * s;
    y = g.height / 2.0 - X * s + Y * c;
    return true;
}

void PixelToSky(const FieldGeometry& g, double x, double y, double& ra, double& dec) {
    const double f = FocalPixels(g.arcsecPerPixel);
    double dx = x - g.width / 2.0, dy = y - g.height / 2.0;
    double c = std::cos(g.angle * kRad), s = std::sin(g.angle * kRad);
    double X = dx * c - dy * s, Y = dx * s + dy * c;
    double xi = (g.mirror ? X : -X) / f, eta = Y / f;
    // Back from the tangent plane at (ra0, dec0).
    Vec3 centre = UnitVector(g.ra, g.dec);
    Vec3 east{-std::sin(g.ra * kRad), std::cos(g.ra * kRad), 0};
    Vec3 north = Cross(centre, east);
    Vec3 p{centre.x + xi * east.x + eta * north.x, centre.y + xi * east.y + eta * north.y,
           centre.z + xi * east.z + eta * north.z};
    VectorToRaDec(p, ra, dec);
}

std::vector<FieldStar> ProjectField(const std::vector<CatalogStar>& catalogue, const FieldGeometry& g,
                                    const FieldOptions& o) {
    std::mt19937_64 rng(o.seed);
    std::vector<FieldStar> out;
    const Vec3 centre = UnitVector(g.ra, g.dec);
    const double halfDiagonal = std::hypot(g.width, g.height) / 2 * g.arcsecPerPixel / 3600.0;
    const double cosLimit = std::cos(std::min(89.0, halfDiagonal * 1.01 + 0.01) * kRad);
    float faintest = -10;
    for (const auto& s : catalogue) {
        if (Dot(UnitVector(s.ra, s.dec), centre) < cosLimit) continue;
        double x, y;
        if (!SkyToPixel(g, s.ra, s.dec, x, y) || x < 0.5 || y < 0.5 || x >= g.width + 0.5 ||
            y >= g.height + 0.5)
            continue;
        if (o.missingFraction > 0 && Uniform(rng) < o.missingFraction) continue;
        float mag =
            s.mag + static_cast<float>(o.magnitudeJitter > 0 ? o.magnitudeJitter * Gaussian(rng) : 0.0);
        faintest = std::max(faintest, s.mag);
        out.push_back({x, y, s.ra, s.dec, mag, true});
    }
    for (int32_t k = 0; k < o.addedStars; ++k) {
        FieldStar a;
        a.x = 0.5 + Uniform(rng) * g.width, a.y = 0.5 + Uniform(rng) * g.height;
        PixelToSky(g, a.x, a.y, a.ra, a.dec);
        // Mostly faint, as the stars a catalogue lacks are.
        a.mag = static_cast<float>((faintest > -10 ? faintest : 12.0f) - 3 * Uniform(rng) * Uniform(rng));
        a.inCatalogue = false;
        out.push_back(a);
    }
    std::stable_sort(out.begin(), out.end(),
                     [](const FieldStar& a, const FieldStar& b) { return a.mag < b.mag; });
    return out;
}

bool WriteFieldImage(const std::string& path, const FieldGeometry& g, const std::vector<FieldStar>& stars,
                     const SensorOptions& sensor, std::string& error,
                     const std::vector<std::string>& fitsCards) {
    render::Field field;
    field.width = g.width, field.height = g.height;
    field.psfSigma = sensor.psfSigma, field.sky = sensor.sky, field.gradient = sensor.gradient,
    field.noise = sensor.noise, field.seed = sensor.seed;
    for (const auto& s : stars)
        field.stars.push_back({s.x, s.y, std::pow(10.0, -0.4 * (s.mag - sensor.magnitudeZero))});
    std::mt19937_64 rng(sensor.seed);
    for (int32_t k = 0; k < sensor.hotPixels; ++k)
        field.hotPixels.push_back({1 + static_cast<int32_t>(Uniform(rng) * g.width),
                                   1 + static_cast<int32_t>(Uniform(rng) * g.height),
                                   5000 + 25000 * Uniform(rng)});
    const std::string ext = ToLower(std::filesystem::path(path).extension().string());
    if (ext != ".fit" && ext != ".fits" && ext != ".fts" && ext != ".bmp" && ext != ".jpg" &&
        ext != ".jpeg") {
        error = path + ": the image name ends in .fit, .fits, .bmp or .jpg";
        return false;
    }
    const render::Image image = render::Render(field);
    bool ok = ext == ".bmp"
                  ? render::WriteBmp(path, image, 24, render::BmpRows::BottomUp, sensor.pictureScale)
              : ext == ".jpg" || ext == ".jpeg"
                  ? render::WriteJpg(path, image, 90, false, sensor.pictureScale)
                  : render::WriteFits(path, image, render::FitsStorage::Unsigned, fitsCards);
    if (!ok) error = "cannot write " + path;
    return ok;
}

bool WriteTruthFile(const std::string& path, const FieldGeometry& g, const std::vector<FieldStar>& stars) {
    std::ofstream out(path);
    out << "# centre_ra_deg " << ShortestText(g.ra) << "\n# centre_dec_deg " << ShortestText(g.dec)
        << "\n# scale_arcsec_px " << ShortestText(g.arcsecPerPixel) << "\n# angle_deg "
        << ShortestText(g.angle) << "\n# width " << g.width << "\n# height " << g.height << "\n# mirror "
        << (g.mirror ? 1 : 0) << "\nx,y,ra_deg,dec_deg,mag,in_catalogue\n";
    for (const auto& s : stars)
        out << FormatNumber(s.x, "0.000") << "," << FormatNumber(s.y, "0.000") << ","
            << FormatNumber(s.ra, "0.0000000") << "," << FormatNumber(s.dec, "0.0000000") << ","
            << FormatNumber(s.mag, "0.00") << "," << (s.inCatalogue ? 1 : 0) << "\n";
    out.close();
    return static_cast<bool>(out);
}

}  // namespace tornel::db
