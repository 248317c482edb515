#include "astrometria/plate_model.h"

#include <cmath>

#include "astrometria/sky_vectors.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"

namespace tornel {

namespace {

Vector3 ImageVector(const Context& c, double x, double y) {
    double p = x - c.gAnchoImagen / 2, q = y - c.gAltoImagen / 2, f = c.gFocalEnPixeles;
    double n = std::sqrt(p * p + q * q + f * f);
    return {p / n, q / n, f / n};
}

double Component(Vector3 v, int j) {
    return j == 1 ? v.x : j == 2 ? v.y : v.z;
}

// Cramer's rule for the system whose rows are r1, r2, r3 and whose right-hand side is b; det is the
// shared determinant of the rows.
Vector3 Cramer(Vector3 r1, Vector3 r2, Vector3 r3, Vector3 b, double det) {
    Vector3 c1{r1.x, r2.x, r3.x}, c2{r1.y, r2.y, r3.y}, c3{r1.z, r2.z, r3.z};
    auto ofColumns = [](Vector3 a, Vector3 bb, Vector3 cc) {
        return Determinant({a.x, bb.x, cc.x}, {a.y, bb.y, cc.y}, {a.z, bb.z, cc.z});
    };
    return {ofColumns(b, c2, c3) / det, ofColumns(c1, b, c3) / det, ofColumns(c1, c2, b) / det};
}

// The nine coefficients from three stars: for each sky component j, u_k . (C1j, C2j, C3j) = S_k,j.
// A singular system raises before anything is written, as the division itself would.
void SolvePlate(Context& c, const std::array<PlateStar, 3>& stars, PlateMatrix& plate) {
    FpCheck fp;
    Vector3 u[3], s[3];
    for (int k = 0; k < 3; ++k) {
        u[k] = ImageVector(c, stars[k].x, stars[k].y);
        s[k] = SkyVector(c, stars[k].ra, stars[k].dec);
    }
    double det = Determinant(u[0], u[1], u[2]);
    PlateMatrix solved = plate;
    for (int j = 1; j <= 3; ++j) {
        Vector3 b{Component(s[0], j), Component(s[1], j), Component(s[2], j)};
        Vector3 col = Cramer(u[0], u[1], u[2], b, det);
        solved[1][j] = col.x;
        solved[2][j] = col.y;
        solved[3][j] = col.z;
    }
    fp.Check();
    plate = solved;
}

// Least squares over all the stars: the normal equations (sum of u u^T) c_j = sum of u S_j.
void FitPlate(Context& c, const std::vector<PlateStar>& stars, PlateMatrix& plate) {
    FpCheck fp;
    double n[3][3] = {}, b[3][3] = {};
    for (const PlateStar& star : stars) {
        Vector3 u = ImageVector(c, star.x, star.y), s = SkyVector(c, star.ra, star.dec);
        const double uu[3] = {u.x, u.y, u.z}, ss[3] = {s.x, s.y, s.z};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                n[i][j] += uu[i] * uu[j];
                b[i][j] += uu[i] * ss[j];
            }
    }
    Vector3 r1{n[0][0], n[0][1], n[0][2]}, r2{n[1][0], n[1][1], n[1][2]}, r3{n[2][0], n[2][1], n[2][2]};
    double det = Determinant(r1, r2, r3);
    PlateMatrix solved = plate;
    for (int j = 1; j <= 3; ++j) {
        Vector3 col = Cramer(r1, r2, r3, {b[0][j - 1], b[1][j - 1], b[2][j - 1]}, det);
        solved[1][j] = col.x;
        solved[2][j] = col.y;
        solved[3][j] = col.z;
    }
    fp.Check();
    plate = solved;
}

using Matrix3 = std::array<std::array<double, 3>, 3>;

// The inverse of the transpose of m, by its cofactors.
Matrix3 InverseTranspose(const Matrix3& m) {
    Matrix3 cof{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int i1 = (i + 1) % 3, i2 = (i + 2) % 3, j1 = (j + 1) % 3, j2 = (j + 2) % 3;
            cof[i][j] = m[i1][j1] * m[i2][j2] - m[i1][j2] * m[i2][j1];
        }
    const double det = m[0][0] * cof[0][0] + m[0][1] * cof[0][1] + m[0][2] * cof[0][2];
    for (auto& row : cof)
        for (double& v : row)
            v /= det;
    return cof;
}

double Frobenius(const Matrix3& m) {
    double sum = 0;
    for (const auto& row : m)
        for (double v : row)
            sum += v * v;
    return std::sqrt(sum);
}

// The rotation (with a mirror when the stars ask for one) that best carries the image vectors, at focal
// length `focal` pixels, to the sky vectors `sky` of the stars: the orthogonal factor of sum(S u^T),
// by Newton's iteration X = (g X + X^-T / g) / 2. The factor g, from the norms of X and its inverse,
// keeps the steps few even for a narrow field, whose sum is nearly of rank one. R[i][j] is row i,
// column j; S = R u.
Matrix3 BestRotation(Context& c, const std::vector<PlateStar>& stars, const std::vector<Vector3>& sky,
                     double focal) {
    Matrix3 h{};
    const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2;
    for (size_t k = 0; k < stars.size(); ++k) {
        const double p = stars[k].x - cx, q = stars[k].y - cy, n = std::sqrt(p * p + q * q + focal * focal);
        const double uu[3] = {p / n, q / n, focal / n}, ss[3] = {sky[k].x, sky[k].y, sky[k].z};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                h[i][j] += ss[i] * uu[j];
    }
    bool scaled = true;
    for (int round = 0; round < 60; ++round) {
        const Matrix3 t = InverseTranspose(h);
        const double g = scaled ? std::sqrt(Frobenius(t) / Frobenius(h)) : 1;
        double change = 0;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                const double v = (g * h[i][j] + t[i][j] / g) / 2;
                change += (v - h[i][j]) * (v - h[i][j]);
                h[i][j] = v;
            }
        // Near the rotation the plain step converges fastest; the norm of a rotation is sqrt 3.
        if (change < 1e-4) scaled = false;
        if (change < 1e-28) break;
    }
    return h;
}

// The focal length (pixels) that best carries the stars' offsets from the centre onto the gnomonic
// projection of their sky vectors about the axis of `r`: least squares of (p, q) / f against
// (xi, eta). `focal` when the stars hold no spread about the centre.
double BestFocal(Context& c, const std::vector<PlateStar>& stars, const std::vector<Vector3>& sky,
                 const Matrix3& r, double focal) {
    const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2;
    double along = 0, square = 0;
    for (size_t k = 0; k < stars.size(); ++k) {
        const Vector3& s = sky[k];
        // The star in the camera's frame: R^T S.
        const double u = r[0][0] * s.x + r[1][0] * s.y + r[2][0] * s.z;
        const double v = r[0][1] * s.x + r[1][1] * s.y + r[2][1] * s.z;
        const double w = r[0][2] * s.x + r[1][2] * s.y + r[2][2] * s.z;
        if (w <= 0) continue;
        const double p = stars[k].x - cx, q = stars[k].y - cy;
        along += p * u / w + q * v / w;
        square += p * p + q * q;
    }
    return along > 0 ? square / along : focal;
}

// The similarity that best fits the stars: a rotation (or a mirror) and the focal length, so that the
// plate carries the image's true scale rather than that of the parameters. Alternates the two fits;
// a few rounds settle any scale error a search can tolerate.
void FitSimilarity(Context& c, const std::vector<PlateStar>& stars, PlateMatrix& plate) {
    FpCheck fp;
    std::vector<Vector3> sky;
    sky.reserve(stars.size());
    for (const PlateStar& star : stars)
        sky.push_back(SkyVector(c, star.ra, star.dec));
    double focal = c.gFocalEnPixeles;
    Matrix3 r = BestRotation(c, stars, sky, focal);
    for (int round = 0; round < 4 && stars.size() >= 2; ++round) {
        focal = BestFocal(c, stars, sky, r, focal);
        r = BestRotation(c, stars, sky, focal);
    }
    PlateMatrix solved = plate;
    // S = R (p, q, focal) ~ R diag(1, 1, focal / F) u, with u = (p, q, F) made unit; and S = u1 row1 +
    // u2 row2 + u3 row3, so row i of the plate is column i of that matrix.
    const double stretch = focal / c.gFocalEnPixeles;
    for (int i = 1; i <= 3; ++i)
        for (int j = 1; j <= 3; ++j)
            solved[i][j] = r[j - 1][i - 1] * (i == 3 ? stretch : 1);
    fp.Check();
    plate = solved;
}

Vector3 Row(const PlateMatrix& m, int i) {
    return {m[i][1], m[i][2], m[i][3]};
}

// Image to sky with `plate`, into mRAconvertida and mDECconvertida.
void ImageToSky(Context& c, const PlateMatrix& plate, double x, double y) {
    FpCheck fp;
    Vector3 u = ImageVector(c, x, y);
    Vector3 v = u.x * Row(plate, 1) + u.y * Row(plate, 2) + u.z * Row(plate, 3);
    double z = v.z / Norm(v);
    double dec = ArcSineByTangent(z);
    double ra = 0;
    if (v.x == 0) {
        if (v.y > 0)
            ra = c.gPi / 2;
        else if (v.y < 0)
            ra = c.gPi * 1.5;
    } else {
        double t = std::atan(v.y / v.x);
        if (v.x > 0)
            ra = v.y >= 0 ? t : 2 * c.gPi + t;
        else
            ra = v.y != 0 ? t + c.gPi : t;  // Vy exactly 0 here gives 0, not 180: kept as it always was
    }
    double decDeg = dec * c.gRadianesAGrados, raDeg = ra * c.gRadianesAGrados;
    if (v.x == 0 && v.y == 0) raDeg = c.mRAconvertida;  // the pole at the pixel: the earlier value stays
    fp.Check();
    c.mDECconvertida = FpCheck::Finite(decDeg);
    c.mRAconvertida = FpCheck::Finite(raDeg);
}

}  // namespace

void ResuelveSistema(Context& c, const std::array<PlateStar, 3>& vertices) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "ResuelveSistema", [&] { SolvePlate(c, vertices, c.Cij); });
}

void RefinePlate(Context& c, const std::vector<PlateStar>& stars) {
    if (c.mFinAnalisis || stars.size() < 3) return;
    WithTrap(c, "RefinePlate", [&] { FitPlate(c, stars, c.Cij); });
}

void RotatePlate(Context& c, const std::vector<PlateStar>& stars) {
    if (c.mFinAnalisis || stars.size() < 2) return;
    WithTrap(c, "RotatePlate", [&] { FitSimilarity(c, stars, c.Cij); });
}

int32_t ResuelveSistemaPara3estrellasCoefDij(Context& c, int32_t i, int32_t j, int32_t k, int32_t estrellaI,
                                             int32_t estrellaJ, int32_t estrellaK) {
    if (c.mFinAnalisis) return 0;
    bool solved = WithTrap(c, "ResuelveSistemaPara3estrellasCoefDij", [&] {
        std::array<PlateStar, 3> stars;
        const int32_t index[3] = {i, j, k}, star[3] = {estrellaI, estrellaJ, estrellaK};
        for (int n = 0; n < 3; ++n) {
            const EstrellaImagen& e = c.mSeleccionadasCuadradas.at(static_cast<size_t>(index[n]));
            LeeCoordenadasEstrella(c, star[n]);
            stars[n] = {e.x, e.y, c.gEstrellaRA, c.gEstrellaDEC};
        }
        SolvePlate(c, stars, c.Dij);
    });
    return solved ? 1 : 0;
}

void CoordenadasCatalogoAimagen(Context& c, double ra, double dec, double& x, double& y) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CoordenadasCatalogoAimagen", [&] {
        FpCheck fp;
        Vector3 s = SkyVector(c, ra, dec);
        // u1*row1 + u2*row2 + u3*row3 = S: the rows of this system are the columns of Cij.
        Vector3 r1{c.Cij[1][1], c.Cij[2][1], c.Cij[3][1]};
        Vector3 r2{c.Cij[1][2], c.Cij[2][2], c.Cij[3][2]};
        Vector3 r3{c.Cij[1][3], c.Cij[2][3], c.Cij[3][3]};
        Vector3 u = Cramer(r1, r2, r3, s, Determinant(r1, r2, r3));
        // On the image plane's horizon: far off the image, so that the point cannot be drawn.
        double k = u.z == 0 ? c.gAnchoImagen * 10 : c.gFocalEnPixeles / u.z;
        double px = c.gAnchoImagen / 2 + k * u.x, py = c.gAltoImagen / 2 + k * u.y;
        fp.Check();
        x = FpCheck::Finite(px);
        y = FpCheck::Finite(py);
    });
}

PlateInverse InvertPlate(const PlateMatrix& p) {
    // S = u1 row1 + u2 row2 + u3 row3, so u = M^-1 S with the rows of the plate as the columns of M.
    PlateInverse m{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m[i][j] = p[j + 1][i + 1];
    PlateInverse inv{};
    const double det = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                       m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                       m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int r1 = (j + 1) % 3, r2 = (j + 2) % 3, c1 = (i + 1) % 3, c2 = (i + 2) % 3;
            inv[i][j] = (m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1]) / det;
        }
    return inv;
}

bool SkyToPixel(const Context& c, const PlateInverse& m, double ra, double dec, double& x, double& y) {
    const Vector3 s = SkyVector(c, ra, dec);
    const double u = m[0][0] * s.x + m[0][1] * s.y + m[0][2] * s.z;
    const double w = m[1][0] * s.x + m[1][1] * s.y + m[1][2] * s.z;
    const double z = m[2][0] * s.x + m[2][1] * s.y + m[2][2] * s.z;
    if (!(z > 0)) return false;
    x = c.gAnchoImagen / 2 + c.gFocalEnPixeles * u / z;
    y = c.gAltoImagen / 2 + c.gFocalEnPixeles * w / z;
    return true;
}

double PlateScaleAtCentre(Context& c) {
    if (c.mFinAnalisis) return 0;
    double scale = 0;
    WithTrap(c, "PlateScaleAtCentre", [&] {
        const double cx = c.gAnchoImagen / 2, cy = c.gAltoImagen / 2, d = 50;
        auto at = [&](double x, double y) {
            ImageToSky(c, c.Cij, x, y);
            return SkyVector(c, c.mRAconvertida, c.mDECconvertida);
        };
        const double ra = c.mRAconvertida, dec = c.mDECconvertida;  // the caller's last conversion stays
        const double across = HalfChordAngle(at(cx - d, cy), at(cx + d, cy));
        const double down = HalfChordAngle(at(cx, cy - d), at(cx, cy + d));
        c.mRAconvertida = ra;
        c.mDECconvertida = dec;
        scale = (across + down) / 2 / (2 * d) * c.gRadianesAGrados * 3600;
    });
    return scale;
}

void CoordenadasImagenAesfericas(Context& c, double x, double y) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CoordenadasImagenAesfericas", [&] { ImageToSky(c, c.Cij, x, y); });
}

void CoordenadasImagenAesfericasConCoefDij(Context& c, double x, double y) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CoordenadasImagenAesfericasConCoefDij", [&] { ImageToSky(c, c.Dij, x, y); });
}

}  // namespace tornel
