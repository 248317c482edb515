#include "busqueda/verification.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <unordered_map>

#include "astrometria/sky_vectors.h"
#include "busqueda/star_grid.h"
#include "catalogo/field_stars.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

struct Box {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    bool Holds(double x, double y) const { return x >= x1 && x <= x2 && y >= y1 && y <= y2; }
    double Area() const { return (x2 - x1) * (y2 - y1); }
};

// The whole image in square pixels: the check looks at every star of the frame, not only at those
// of the part the search analysed.
Box WholeImage(const Context& c) {
    return {0, 0, c.gAnchoImagen, c.gAltoImagen};
}

double RmsResidual(Context& c, const std::vector<PlateStar>& identified) {
    double sum = 0;
    int32_t n = 0;
    for (const PlateStar& s : identified) {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(c, s.ra, s.dec, x, y);
        if (c.mFinAnalisis) return 0;
        sum += (x - s.x) * (x - s.x) + (y - s.y) * (y - s.y);
        ++n;
    }
    return n > 0 ? std::sqrt(sum / n) : 0;
}

struct Pair {
    double distance;
    size_t catalogue, image;
};

// Matches one to one, the closest pairs first.
int32_t MatchOneToOne(std::vector<Pair>& pairs, size_t catalogueCount, size_t imageCount) {
    std::sort(pairs.begin(), pairs.end(),
              [](const Pair& a, const Pair& b) { return a.distance < b.distance; });
    std::vector<char> catalogueUsed(catalogueCount, 0), imageUsed(imageCount, 0);
    int32_t matched = 0;
    for (const Pair& p : pairs) {
        if (catalogueUsed[p.catalogue] || imageUsed[p.image]) continue;
        catalogueUsed[p.catalogue] = imageUsed[p.image] = 1;
        ++matched;
    }
    return matched;
}

double LogAdd(double a, double b) {
    if (a < b) std::swap(a, b);
    if (std::isinf(b) && b < 0) return a;
    return a + std::log1p(std::exp(b - a));
}

// -ln of the chance of k or more successes in the trials of the chances `own`, one each, as a table
// by k: log-probabilities of each count, by the running product of the trials.
std::vector<double> LogCountsOfOwn(std::span<const double> own) {
    const double none = -std::numeric_limits<double>::infinity();
    std::vector<double> logCount{0};
    for (double q : own) {
        const double lq = std::log(q), lr = std::log1p(-q);
        std::vector<double> next(logCount.size() + 1, none);
        for (size_t j = 0; j < logCount.size(); ++j) {
            next[j] = LogAdd(next[j], logCount[j] + lr);
            next[j + 1] = LogAdd(next[j + 1], logCount[j] + lq);
        }
        logCount = std::move(next);
    }
    return logCount;
}

// The image stars that take part, in square pixels inside the box: the candidates, then the fainter
// stars the extraction kept for this check, up to kMaxVerificationStars.
std::vector<std::array<double, 2>> ImageStars(const Context& c, const Box& box) {
    std::vector<std::array<double, 2>> image;
    const auto limit = static_cast<size_t>(kMaxVerificationStars);
    const auto available =
        std::min<size_t>(static_cast<size_t>(std::max(c.mNumCandidatas, 0)),
                         c.mEstrellasCuadradas.empty() ? 0 : c.mEstrellasCuadradas.size() - 1);
    for (size_t k = 1; k <= available && image.size() < limit; ++k) {
        const EstrellaImagen& e = c.mEstrellasCuadradas[k];
        if (box.Holds(e.x, e.y)) image.push_back({e.x, e.y});
    }
    const double ratio = c.gRelacionPixel > 0 ? c.gRelacionPixel : 1;
    for (const EstrellaImagen& e : c.verificationStars)
        if (image.size() < limit && box.Holds(e.x, e.y / ratio)) image.push_back({e.x, e.y / ratio});
    return image;
}

// The check of the plate in Cij against `field`.
Verification CheckAgainst(Context& c, const CandidateStars& stars, const std::vector<CatalogueStar>& field,
                          double requiredLog10Odds);

}  // namespace

double RequiredLog10Odds(const Context& c) {
    if (c.gBaseDatos != 1 || c.gZonaCielo != 1) return kLog10OddsWholeSky;
    if (c.gTipoVentana == 1 || c.gTipoVentana == 2) return kLog10OddsTurningWindow;
    const double area = c.gAnchoVentana * c.gAltoVentana;
    if (!(area > 0)) return kLog10OddsWholeSky;
    return std::clamp(kLog10OddsWholeSky - std::log10(kWholeSkySquareDegrees / area), kLog10OddsLeast,
                      kLog10OddsWholeSky);
}

double Log10BinomialTail(int32_t n, int32_t k, double p) {
    if (k <= 0) return 0;
    if (k > n || p <= 0) return std::numeric_limits<double>::infinity();
    if (p >= 1) return 0;
    const double lp = std::log(p), lq = std::log1p(-p), ln = std::lgamma(n + 1.0);
    // log-sum-exp of the terms from k to n, led by the largest.
    std::vector<double> terms;
    terms.reserve(static_cast<size_t>(n - k + 1));
    for (int32_t i = k; i <= n; ++i)
        terms.push_back(ln - std::lgamma(i + 1.0) - std::lgamma(n - i + 1.0) + i * lp + (n - i) * lq);
    const double top = *std::max_element(terms.begin(), terms.end());
    double sum = 0;
    for (double t : terms)
        sum += std::exp(t - top);
    return std::max(0.0, -(top + std::log(sum)) / std::numbers::ln10);
}

double Log10TailOfSum(std::span<const double> own, int32_t n, double p, int32_t k) {
    if (k <= 0) return 0;
    if (k > n + static_cast<int32_t>(own.size())) return std::numeric_limits<double>::infinity();
    const double none = -std::numeric_limits<double>::infinity();
    const std::vector<double> logCount = LogCountsOfOwn(own);
    // The natural log of the chance of i or more successes among the n others, for i from `least` up.
    const int32_t least = std::max(1, k - static_cast<int32_t>(own.size()));
    std::vector<double> logRest(static_cast<size_t>(std::max(n - least + 2, 1)), none);
    if (p >= 1)
        std::fill(logRest.begin(), logRest.end() - 1, 0.0);
    else if (p > 0) {
        const double lp = std::log(p), lq = std::log1p(-p), ln = std::lgamma(n + 1.0);
        for (int32_t i = n; i >= least; --i) {
            const double term = ln - std::lgamma(i + 1.0) - std::lgamma(n - i + 1.0) + i * lp + (n - i) * lq;
            logRest[static_cast<size_t>(i - least)] =
                LogAdd(logRest[static_cast<size_t>(i - least + 1)], term);
        }
    }
    // j successes among `own` and k - j or more among the others, summed over j.
    double logTail = none;
    for (size_t j = 0; j < logCount.size(); ++j) {
        const int32_t rest = k - static_cast<int32_t>(j);
        if (rest > n) continue;
        logTail = LogAdd(logTail, logCount[j] + (rest <= 0 ? 0 : logRest[static_cast<size_t>(rest - least)]));
    }
    return std::max(0.0, -logTail / std::numbers::ln10);
}

Verification VerifyPlate(Context& c, const std::vector<PlateStar>& identified,
                         std::span<const int32_t> formedBy) {
    CandidateStars stars;
    stars.identified = identified;
    stars.formedBy.assign(formedBy.begin(), formedBy.end());
    return VerifyPlate(c, stars);
}

Verification VerifyPlate(Context& c, const CandidateStars& stars) {
    Verification v;
    if (c.mFinAnalisis) return v;
    const PlateMatrix kept = c.Cij;
    WithTrap(c, "VerifyPlate", [&] {
        FindVerificationStars(c);
        const std::vector<CatalogueStar> field = CatalogueStarsInView(c);
        if (c.mFinAnalisis) return;
        v = CheckAgainst(c, stars, field, RequiredLog10Odds(c));
    });
    c.Cij = kept;
    return v;
}

Verification VerifyPlateAgainst(Context& c, const CandidateStars& stars,
                                const std::vector<CatalogueStar>& field, double requiredLog10Odds) {
    Verification v;
    if (c.mFinAnalisis) return v;
    const PlateMatrix kept = c.Cij;
    WithTrap(c, "VerifyPlate", [&] {
        if (stars.imageStars.empty()) FindVerificationStars(c);
        v = CheckAgainst(c, stars, field, requiredLog10Odds);
    });
    c.Cij = kept;
    return v;
}

namespace {

Verification CheckAgainst(Context& c, const CandidateStars& stars, const std::vector<CatalogueStar>& field,
                          double requiredLog10Odds) {
    Verification v;
    v.radius = std::clamp(3 * RmsResidual(c, stars.identified), 1.0, 5.0);
    if (c.mFinAnalisis) return v;
    const Box box = WholeImage(c);
    std::vector<std::array<double, 2>> image;
    if (stars.imageStars.empty())
        image = ImageStars(c, box);
    else
        for (const auto& s : stars.imageStars)
            if (image.size() < static_cast<size_t>(kMaxVerificationStars) && box.Holds(s[0], s[1]))
                image.push_back(s);
    v.imageStars = static_cast<int32_t>(image.size());
    FpCheck fp;
    const PlateInverse toImage = InvertPlate(c.Cij);
    const StarGrid grid(image, v.radius);
    // The share of the image within the radius of some image star: the chance that a catalogue
    // star falls on one with no relation to it.
    const double density = image.size() / box.Area();
    const double p = -std::expm1(-density * std::numbers::pi * v.radius * v.radius);
    const double boxesDensity = std::max(stars.searchedAround, 0) / box.Area();
    std::vector<Pair> pairs;
    std::vector<double> searchedChances;
    size_t tested = 0;
    const auto& formedBy = stars.formedBy;
    for (const CatalogueStar& star : field) {
        if (std::find(formedBy.begin(), formedBy.end(), star.id) != formedBy.end()) continue;
        double x = 0, y = 0;
        if (!SkyToPixel(c, toImage, star.ra, star.dec, x, y) || !box.Holds(x, y)) continue;
        grid.Near(x, y, [&](size_t k, double d) {
            if (d <= v.radius) pairs.push_back({d, tested, k});
        });
        ++tested;
        const auto searched = std::find_if(stars.searched.begin(), stars.searched.end(),
                                           [&](const SearchedStar& found) { return found.id == star.id; });
        if (searched != stars.searched.end())
            searchedChances.push_back(std::max(p, -std::expm1(-boxesDensity * searched->boxArea)));
    }
    fp.Check();
    v.tested = static_cast<int32_t>(tested);
    v.matched = MatchOneToOne(pairs, tested, image.size());
    const auto others = static_cast<int32_t>(tested - searchedChances.size());
    v.expected = p * others;
    for (double q : searchedChances)
        v.expected += q;
    v.log10Odds = Log10TailOfSum(searchedChances, others, p, v.matched);
    v.accepted = v.matched >= kLeastMatches && v.log10Odds >= requiredLog10Odds;
    return v;
}

}  // namespace

void ReportRefused(Context& c, int32_t refused) {
    const std::string n = std::to_string(refused);
    ParaResumen(c, n + " candidatos rechazados por la verificación.",
                n + " candidats refusés par la vérification.",
                n + " candidates refused by the verification.");
}

void ReportVerification(Context& c, const Verification& v) {
    const std::string m = std::to_string(v.matched), t = std::to_string(v.tested),
                      e = FormatNumber(v.expected, "0.0"), r = FormatNumber(v.radius, "0.0"),
                      o = std::isinf(v.log10Odds) ? std::string("inf") : FormatNumber(v.log10Odds, "0.0");
    ParaResumen(c,
                "Verificación: " + m + " de " + t + " estrellas del catálogo a " + r + " px, " + e +
                    " por azar; probabilidades 10^" + o + " contra 1",
                "Vérification: " + m + " sur " + t + " étoiles du catalogue à " + r + " px, " + e +
                    " par hasard; chances 10^" + o + " contre 1",
                "Verification: " + m + " of " + t + " catalogue stars within " + r + " px, " + e +
                    " by chance; odds 10^" + o + " to 1");
}

}  // namespace tornel
