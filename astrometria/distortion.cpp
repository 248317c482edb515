#include "astrometria/distortion.h"

#include <algorithm>
#include <cfenv>
#include <cmath>

#include "astrometria/least_squares.h"
#include "comun/numbers.h"

namespace tornel {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180;

// Normal columns (unit length, offsets scaled to the image) of a well spread field stay far below
// this; stars in a line or a clump at one side go far above it.
constexpr double kMaxCondition = 1e7;
// The tangent point is moved until the reference pixel's sky is this close to it, degrees.
constexpr double kTangentSettled = 1e-10;
constexpr int kTangentRounds = 8;
// Outliers: beyond three times the residual, and never within a tenth of a pixel.
constexpr double kRejectAt = 3;
constexpr double kLeastRejected = 0.1;
// The polynomials must lower the residual per degree of freedom by a tenth at least.
constexpr double kLeastGain = 0.9;
// The inverse: a grid of kInverseGrid x kInverseGrid pixels, checked between its nodes.
constexpr int kInverseGrid = 30;
constexpr double kInverseWanted = 0.05, kInverseAccepted = 0.5;

using Term = std::array<int, 2>;

// Exponents (p, q) of every term of total order lowest to highest, by total order.
std::vector<Term> Terms(int lowest, int highest) {
    std::vector<Term> terms;
    for (int n = lowest; n <= highest; ++n)
        for (int q = 0; q <= n; ++q)
            terms.push_back({n - q, q});
    return terms;
}

double Power(double x, int n) {
    double r = 1;
    for (int i = 0; i < n; ++i)
        r *= x;
    return r;
}

// The sum of coefficients[p][q] u^p v^q over the terms of total order lowest to highest.
double Polynomial(const SipTerms& coefficients, int lowest, int highest, double u, double v) {
    double sum = 0;
    for (int p = 0; p <= highest; ++p)
        for (int q = std::max(0, lowest - p); p + q <= highest; ++q)
            sum += coefficients[static_cast<size_t>(p)][static_cast<size_t>(q)] * Power(u, p) * Power(v, q);
    return sum;
}

double NormalisedRa(double ra) {
    ra = std::fmod(ra, 360.0);
    if (ra < 0) ra += 360;
    return ra >= 360 ? 0 : ra;
}

// Cells of a 3 x 3 grid over the image that hold at least one star.
int CellsCovered(const std::vector<SipStar>& stars, double width, double height) {
    std::array<bool, 9> held{};
    for (const SipStar& s : stars) {
        // A bad number holds no cell; the fit refuses it later. Clamped before the conversion, which
        // is undefined for a value out of the int's range.
        if (!std::isfinite(s.x) || !std::isfinite(s.y)) continue;
        auto cell = [](double at, double side) {
            return static_cast<int>(std::clamp(std::floor((at - 0.5) / side * 3), 0.0, 2.0));
        };
        held[static_cast<size_t>(3 * cell(s.y, height) + cell(s.x, width))] = true;
    }
    return static_cast<int>(std::count(held.begin(), held.end(), true));
}

// The order the stars can carry, 0 for none.
int OrderFor(const std::vector<SipStar>& stars, double width, double height) {
    const int n = static_cast<int>(stars.size()), cells = CellsCovered(stars, width, height);
    if (n >= kSipLeastStarsOrder3 && cells >= 7) return 3;
    if (n >= kSipLeastStars && cells >= 5) return 2;
    return 0;
}

int NoOrder(const std::vector<SipStar>& stars) {
    return static_cast<int>(stars.size()) < kSipLeastStars ? kSipTooFewStars : kSipPoorlySpread;
}

// Standard coordinates (degrees) as polynomials of all terms of total order 0 to `order` in the
// offsets from the reference pixel divided by `length`, about a tangent point that is moved until
// the constant terms vanish.
struct PlaneFit {
    double crpix1 = 0, crpix2 = 0, length = 1;
    double ra0 = 0, dec0 = 0;
    std::vector<Term> terms;
    std::vector<double> xi, eta;  // by term

    // Degrees, without the constant terms: what the written model gives.
    void Predict(double x, double y, double& pxi, double& peta) const {
        const double s = (x - crpix1) / length, t = (y - crpix2) / length;
        pxi = peta = 0;
        for (size_t i = 1; i < terms.size(); ++i) {
            const double m = Power(s, terms[i][0]) * Power(t, terms[i][1]);
            pxi += xi[i] * m;
            peta += eta[i] * m;
        }
    }
    // Degrees per pixel: the determinant of the linear terms.
    double Scale() const { return std::sqrt(std::fabs(xi[1] * eta[2] - xi[2] * eta[1])) / length; }
    // Each star's distance (pixels) from where the fit puts it.
    std::vector<double> Residuals(const std::vector<SipStar>& stars) const {
        std::vector<double> r;
        const double scale = Scale();
        for (const SipStar& s : stars) {
            double sxi = 0, seta = 0, pxi = 0, peta = 0;
            if (!GnomonicProject(ra0, dec0, s.ra, s.dec, sxi, seta)) sxi = seta = 1e30;
            Predict(s.x, s.y, pxi, peta);
            r.push_back(std::hypot(sxi - pxi, seta - peta) / scale);
        }
        return r;
    }
};

int FitPlane(const std::vector<SipStar>& stars, double crpix1, double crpix2, double length, int order,
             double ra0, double dec0, PlaneFit& fit) {
    PlaneFit f;
    f.crpix1 = crpix1, f.crpix2 = crpix2, f.length = length, f.ra0 = ra0, f.dec0 = dec0;
    f.terms = Terms(0, order);
    const int n = static_cast<int>(stars.size()), k = static_cast<int>(f.terms.size());
    for (int round = 0; round < kTangentRounds; ++round) {
        DenseMatrix a(n, k), b(n, 2), x;
        for (int i = 0; i < n; ++i) {
            const SipStar& s = stars[static_cast<size_t>(i)];
            if (!GnomonicProject(f.ra0, f.dec0, s.ra, s.dec, b(i, 0), b(i, 1))) return kSipFailed;
            const double u = (s.x - crpix1) / length, v = (s.y - crpix2) / length;
            for (int j = 0; j < k; ++j)
                a(i, j) = Power(u, f.terms[static_cast<size_t>(j)][0]) *
                          Power(v, f.terms[static_cast<size_t>(j)][1]);
        }
        double condition = 0;
        int status = LeastSquares(a, b, kMaxCondition, x, condition);
        if (status == kLeastSquaresTooFewRows) return kSipTooFewStars;
        if (status != kLeastSquaresSolved) return kSipIllConditioned;
        f.xi.assign(static_cast<size_t>(k), 0);
        f.eta.assign(static_cast<size_t>(k), 0);
        for (int j = 0; j < k; ++j) {
            f.xi[static_cast<size_t>(j)] = x(j, 0);
            f.eta[static_cast<size_t>(j)] = x(j, 1);
        }
        if (std::hypot(x(0, 0), x(0, 1)) < kTangentSettled || round == kTangentRounds - 1) break;
        GnomonicUnproject(f.ra0, f.dec0, x(0, 0), x(0, 1), f.ra0, f.dec0);
    }
    fit = std::move(f);
    return kSipFitted;
}

// Residual per degree of freedom, pixels: two equations per star, two unknowns per term.
double PerFreedom(const std::vector<double>& residuals, size_t terms) {
    double sum = 0;
    for (double r : residuals)
        sum += r * r;
    const double freedom = 2.0 * static_cast<double>(residuals.size()) - 2.0 * static_cast<double>(terms);
    return freedom > 0 ? std::sqrt(sum / freedom) : 0;
}

double Rms(const std::vector<double>& residuals) {
    double sum = 0;
    for (double r : residuals)
        sum += r * r;
    return residuals.empty() ? 0 : std::sqrt(sum / static_cast<double>(residuals.size()));
}

// The residual of a star in a field of gaussian errors, from the median distance: for a circular
// normal distribution the median is 1.1774 sigma and the rms distance 1.4142 sigma.
double RobustRms(std::vector<double> residuals) {
    auto middle = residuals.begin() + static_cast<std::ptrdiff_t>(residuals.size() / 2);
    std::nth_element(residuals.begin(), middle, residuals.end());
    return *middle * (std::sqrt(2.0) / 1.1774);
}

// AP, BP fitted on a grid over the image to the pixels that A, B carry; the lowest order from
// order + 1 that follows them within kInverseWanted. The model's inverseOrder, ap, bp and
// inverseError are written.
void FitInverse(SipModel& m, double width, double height, double length) {
    auto forward = [&](double x, double y, double& u, double& v, double& bu, double& bv) {
        u = x - m.crpix1, v = y - m.crpix2;
        bu = u + Polynomial(m.a, 2, m.order, u, v);
        bv = v + Polynomial(m.b, 2, m.order, u, v);
    };
    auto node = [](double side, double i) { return 0.5 + side * i / (kInverseGrid - 1); };
    const int rows = kInverseGrid * kInverseGrid;
    m.inverseError = 1e30;
    for (int order = m.order + 1; order <= kSipMaxOrder; ++order) {
        const std::vector<Term> terms = Terms(0, order);
        const int k = static_cast<int>(terms.size());
        DenseMatrix a(rows, k), b(rows, 2), x;
        for (int i = 0; i < kInverseGrid; ++i)
            for (int j = 0; j < kInverseGrid; ++j) {
                const int row = i * kInverseGrid + j;
                double u = 0, v = 0, bu = 0, bv = 0;
                forward(node(width, i), node(height, j), u, v, bu, bv);
                for (int t = 0; t < k; ++t)
                    a(row, t) = Power(bu / length, terms[static_cast<size_t>(t)][0]) *
                                Power(bv / length, terms[static_cast<size_t>(t)][1]);
                b(row, 0) = u - bu;
                b(row, 1) = v - bv;
            }
        double condition = 0;
        if (LeastSquares(a, b, kMaxCondition, x, condition) != kLeastSquaresSolved) break;
        SipTerms ap{}, bp{};
        for (int t = 0; t < k; ++t) {
            const auto [p, q] = terms[static_cast<size_t>(t)];
            ap[static_cast<size_t>(p)][static_cast<size_t>(q)] = x(t, 0) / Power(length, p + q);
            bp[static_cast<size_t>(p)][static_cast<size_t>(q)] = x(t, 1) / Power(length, p + q);
        }
        // Checked halfway between the nodes, where a fit on them is worst.
        double worst = 0;
        for (int i = 0; i < kInverseGrid - 1; ++i)
            for (int j = 0; j < kInverseGrid - 1; ++j) {
                double u = 0, v = 0, bu = 0, bv = 0;
                forward(node(width, i + 0.5), node(height, j + 0.5), u, v, bu, bv);
                worst = std::max(worst, std::hypot(bu + Polynomial(ap, 0, order, bu, bv) - u,
                                                   bv + Polynomial(bp, 0, order, bu, bv) - v));
            }
        if (worst < m.inverseError) {
            m.inverseOrder = order;
            m.ap = ap;
            m.bp = bp;
            m.inverseError = worst;
        }
        if (worst <= kInverseWanted) break;
    }
}

int Fit(const std::vector<SipStar>& given, double crpix1, double crpix2, double ra0, double dec0,
        double width, double height, SipModel& model) {
    std::vector<SipStar> stars;
    for (const SipStar& s : given) {
        double xi = 0, eta = 0;
        if (GnomonicProject(ra0, dec0, s.ra, s.dec, xi, eta)) stars.push_back(s);
    }
    int order = OrderFor(stars, width, height);
    if (order == 0) return NoOrder(stars);
    const double length = std::max(width, height) / 2;

    PlaneFit first;
    int status = FitPlane(stars, crpix1, crpix2, length, order, ra0, dec0, first);
    if (status != kSipFitted) return status;
    const std::vector<double> residuals = first.Residuals(stars);
    const double limit = std::max(kRejectAt * RobustRms(residuals), kLeastRejected);
    std::vector<SipStar> kept;
    for (size_t i = 0; i < stars.size(); ++i)
        if (residuals[i] <= limit) kept.push_back(stars[i]);
    order = OrderFor(kept, width, height);
    if (order == 0) return NoOrder(kept);

    PlaneFit fit, linear;
    status = FitPlane(kept, crpix1, crpix2, length, order, first.ra0, first.dec0, fit);
    if (status != kSipFitted) return status;
    status = FitPlane(kept, crpix1, crpix2, length, 1, fit.ra0, fit.dec0, linear);
    if (status != kSipFitted) return status;
    const std::vector<double> withTerms = fit.Residuals(kept), plain = linear.Residuals(kept);
    if (!(PerFreedom(withTerms, fit.terms.size()) < kLeastGain * PerFreedom(plain, linear.terms.size())))
        return kSipNoGain;

    SipModel m;
    m.crpix1 = crpix1, m.crpix2 = crpix2;
    m.crval1 = NormalisedRa(fit.ra0), m.crval2 = fit.dec0;
    m.cd[0][0] = fit.xi[1] / length, m.cd[0][1] = fit.xi[2] / length;
    m.cd[1][0] = fit.eta[1] / length, m.cd[1][1] = fit.eta[2] / length;
    const double det = m.cd[0][0] * m.cd[1][1] - m.cd[0][1] * m.cd[1][0];
    if (!(std::fabs(det) > 0)) return kSipIllConditioned;
    m.order = order;
    // A, B act before the CD matrix: its inverse carries the terms of the standard coordinates back
    // to pixels.
    for (size_t i = 3; i < fit.terms.size(); ++i) {
        const auto [p, q] = fit.terms[i];
        const double txi = fit.xi[i] / Power(length, p + q), teta = fit.eta[i] / Power(length, p + q);
        m.a[static_cast<size_t>(p)][static_cast<size_t>(q)] = (m.cd[1][1] * txi - m.cd[0][1] * teta) / det;
        m.b[static_cast<size_t>(p)][static_cast<size_t>(q)] = (-m.cd[1][0] * txi + m.cd[0][0] * teta) / det;
    }
    m.starsUsed = static_cast<int>(kept.size());
    m.starsRejected = static_cast<int>(stars.size() - kept.size());
    m.rmsLinear = Rms(plain);
    m.rmsSip = Rms(withTerms);
    FitInverse(m, width, height, length);
    if (!(m.inverseError <= kInverseAccepted)) return kSipNoInverse;
    model = m;
    return kSipFitted;
}

}  // namespace

bool GnomonicProject(double ra0, double dec0, double ra, double dec, double& xi, double& eta) {
    const double da = (ra - ra0) * kDeg, d0 = dec0 * kDeg, d = dec * kDeg;
    const double cosc = std::sin(d0) * std::sin(d) + std::cos(d0) * std::cos(d) * std::cos(da);
    if (!(cosc > 0)) return false;
    xi = std::cos(d) * std::sin(da) / cosc / kDeg;
    eta = (std::cos(d0) * std::sin(d) - std::sin(d0) * std::cos(d) * std::cos(da)) / cosc / kDeg;
    return true;
}

void GnomonicUnproject(double ra0, double dec0, double xi, double eta, double& ra, double& dec) {
    const double x = xi * kDeg, y = eta * kDeg, d0 = dec0 * kDeg;
    const double across = std::cos(d0) - y * std::sin(d0);
    ra = NormalisedRa(ra0 + std::atan2(x, across) / kDeg);
    dec = std::atan2(std::sin(d0) + y * std::cos(d0), std::hypot(x, across)) / kDeg;
}

int FitSip(const std::vector<SipStar>& stars, double crpix1, double crpix2, double ra0, double dec0,
           double width, double height, SipModel& model) {
    // The caller's floating-point flags are kept aside and given back: a refusal is a status, not a flag.
    FpCheck guard;
    SipModel fitted;
    int status = Fit(stars, crpix1, crpix2, ra0, dec0, width, height, fitted);
    if (std::fetestexcept(FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW)) return kSipFailed;
    if (status == kSipFitted) model = fitted;
    return status;
}

void SipPixelToSky(const SipModel& m, double x, double y, double& ra, double& dec) {
    const double u = x - m.crpix1, v = y - m.crpix2;
    const double bu = u + Polynomial(m.a, 2, m.order, u, v), bv = v + Polynomial(m.b, 2, m.order, u, v);
    GnomonicUnproject(m.crval1, m.crval2, m.cd[0][0] * bu + m.cd[0][1] * bv,
                      m.cd[1][0] * bu + m.cd[1][1] * bv, ra, dec);
}

bool SipSkyToPixel(const SipModel& m, double ra, double dec, double& x, double& y) {
    double xi = 0, eta = 0;
    if (!GnomonicProject(m.crval1, m.crval2, ra, dec, xi, eta)) return false;
    const double det = m.cd[0][0] * m.cd[1][1] - m.cd[0][1] * m.cd[1][0];
    const double bu = (m.cd[1][1] * xi - m.cd[0][1] * eta) / det,
                 bv = (-m.cd[1][0] * xi + m.cd[0][0] * eta) / det;
    x = m.crpix1 + bu + Polynomial(m.ap, 0, m.inverseOrder, bu, bv);
    y = m.crpix2 + bv + Polynomial(m.bp, 0, m.inverseOrder, bu, bv);
    return true;
}

}  // namespace tornel
