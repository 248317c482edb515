#include "busqueda/pattern_search.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <numbers>

#include "astrometria/plate_model.h"
#include "busqueda/solution_choice.h"
#include "busqueda/star_grid.h"
#include "busqueda/verification.h"
#include "catalogo/field_stars.h"
#include "catalogo/quad_index.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"

namespace tornel {

namespace {

constexpr double kDegree = std::numbers::pi / 180;
// The brightest image stars that make quads, the brightest first: C(60, 4) = 487635 quads at most.
constexpr size_t kQuadStars = 60;
// Quads smaller than this (pixels) have codes that centroid errors blur past any tolerance.
constexpr double kLeastQuadPixels = 20;
// Code tolerance: the error of a code is about sqrt 2 times the position error over |AB|; positions
// err by a pixel or so, and a wide lens adds its distortion. The quads of the brightest stars, few and
// the likeliest, are given a wide allowance; past them quads multiply, and so would the false hits of
// a wide one (they grow as its fourth power).
constexpr double kPositionError = 1.8, kBrightPositionError = 3;
constexpr size_t kBrightQuadStars = 20;
constexpr double kLeastTolerance = 0.006, kMostTolerance = 0.025;
// The quick check: the brightest image stars, and the brightest catalogue stars in view.
constexpr size_t kCheckImageStars = 120, kCheckCatalogueStars = 80;
// Before it, a first look at the very brightest catalogue stars, which few false plates pass: two
// of them must fall on image stars besides the quad's own. Past the quads of the brightest image
// stars the look is lean: the groups of three levels only, unsorted.
constexpr size_t kFirstLookStars = 25;
// Before that, past the quads of the brightest image stars, a glance at the stars of a single level
// in view, the brightest of their cells: a false plate seldom puts one of them on an image star.
constexpr size_t kGlanceStars = 16;
constexpr int32_t kFirstLookMatches = 2;
constexpr size_t kLeanGroups = 3, kAllGroups = 64;
// Fields narrower or wider than these (degrees across) are not considered.
constexpr double kNarrowestField = 0.1, kWidestField = 120;
// Fields wider than this (degrees, the longer side at the parameters' scale) go to the pattern search
// first: the distance road analyses only the central half degree, and a wide field shows too few
// stars there at the scale it must know exactly.
constexpr double kWidestFieldForDistances = 3;
// Most quads of the index that one image quad is tried against.
constexpr size_t kMostHits = 1024;
// How far the field that a quad's size gives, taking the scale as even, may stray from the exact one.
constexpr double kEvenScaleMargin = 1.5;
// How often the search lets other work run (a stop, the time limit, the caption).
constexpr double kYieldSeconds = 0.02;

struct ImageStar {
    double x = 0, y = 0, brillo = 0;
};

// The image's stars in square pixels, brightest first.
std::vector<ImageStar> PatternStars(const Context& c) {
    const double ratio = c.gRelacionPixel > 0 ? c.gRelacionPixel : 1;
    std::vector<ImageStar> stars;
    for (const EstrellaImagen& e : PatternSources(c))
        stars.push_back({e.x, e.y / ratio, e.brillo});
    return stars;
}

double HalfDiagonal(const Context& c) {
    return std::hypot(c.gAnchoImagen, c.gAltoImagen) / 2;
}

// The index level whose stars, in a field of `area` square degrees, number about `wanted`: a level
// keeps about 12 stars per square of its least size, as many as the catalogue has.
size_t LevelForStars(const QuadIndex& index, double area, double wanted) {
    size_t best = 0;
    for (size_t l = 0; l < index.Levels().size(); ++l)
        if (12 * area / (index.Levels()[l].low * index.Levels()[l].low) >= wanted) best = l;
    return best;
}

struct Match {
    size_t image = 0;
    uint32_t star = 0;
    double distance = 0;
};

class Search {
  public:
    Search(Context& c, const QuadIndex& index) : c_(c), index_(index) {}

    bool Run();

  private:
    bool TryQuad(const std::array<size_t, 4>& members, double positionError);
    bool TryHit(const Quad& quad, const std::array<size_t, 4>& members, const QuadHit& hit);
    std::vector<uint32_t> StarsInView(size_t count, bool lean = false, size_t groups = 0);
    std::vector<Match> MatchField(const std::vector<uint32_t>& catalogue, size_t imageStars, double radius);
    double MatchRadius() const;
    bool Verify(const std::array<uint32_t, 4>& quadStars);
    void Publish(const Verification& v);
    bool TimeToStop();
    double RequiredOdds() const;
    // The brightest `count` of `stars`, brightest first; the rest dropped.
    void BrightestFirst(std::vector<uint32_t>& stars, size_t count) const;

    Context& c_;
    const QuadIndex& index_;
    std::vector<ImageStar> stars_;
    std::vector<std::array<double, 2>> checkStars_;
    // The brightest n image stars hashed at the match radius, for each n the checks use: made once a
    // search, not once a hypothesis.
    struct ImageField {
        std::vector<std::array<double, 2>> points;
        std::unique_ptr<StarGrid> grid;
    };
    std::map<size_t, ImageField> fields_;
    const ImageField& FieldOf(size_t imageStars, double radius);
    std::vector<QuadHit> hits_;
    std::chrono::steady_clock::time_point start_, lastYield_;
    bool stop_ = false;
    bool lean_ = false;                                             // past the quads of the brightest stars
    double fieldLow_ = kNarrowestField, fieldHigh_ = kWidestField;  // degrees across the diagonal
    int32_t refused_ = 0;
};

void Search::BrightestFirst(std::vector<uint32_t>& stars, size_t count) const {
    std::vector<std::pair<float, uint32_t>> byMag;
    byMag.reserve(stars.size());
    for (uint32_t n : stars)
        byMag.push_back({index_.Star(n).mag, n});
    const size_t kept = std::min(count, byMag.size());
    const auto end = byMag.begin() + static_cast<std::ptrdiff_t>(kept);
    if (kept < byMag.size()) std::nth_element(byMag.begin(), end, byMag.end());
    std::sort(byMag.begin(), end);
    stars.resize(kept);
    for (size_t k = 0; k < kept; ++k)
        stars[k] = byMag[k].second;
}

bool Search::TimeToStop() {
    const auto now = std::chrono::steady_clock::now();
    if (std::chrono::duration<double>(now - lastYield_).count() >= kYieldSeconds) {
        lastYield_ = now;
        c_.platform.DoEvents();
        const double spent = std::chrono::duration<double>(now - start_).count();
        if (c_.patternTimeLimit > 0 && spent > c_.patternTimeLimit) {
            const std::string t = FormatNumber(c_.patternTimeLimit, "0.0");
            ParaResumen(c_, "Búsqueda por patrones: límite de tiempo de " + t + " s alcanzado.",
                        "Recherche par motifs: limite de temps de " + t + " s atteinte.",
                        "Pattern search: time limit of " + t + " s reached.");
            stop_ = true;
        }
        const std::string n = std::to_string(c_.patternHypotheses), s = FormatNumber(spent, "0.0");
        VisuTitulo(c_, " Buscando patrones: " + n + " hipótesis, " + s + " s ",
                   " Recherche de motifs: " + n + " hypothèses, " + s + " s ",
                   " Searching patterns: " + n + " hypotheses, " + s + " s ");
    }
    if (c_.gDetenerAnalisis || c_.mFinAnalisis) stop_ = true;
    return stop_;
}

double Search::RequiredOdds() const {
    if (!(c_.patternRadius > 0)) return kLog10OddsWholeSky;
    // A circle of the radius, widened by the field, is all the sky the search looks at.
    const double r = std::min(180.0, c_.patternRadius + fieldHigh_ / 2) * kDegree;
    const double area = 2 * std::numbers::pi * (1 - std::cos(r)) / (kDegree * kDegree);
    return std::clamp(kLog10OddsWholeSky - std::log10(kWholeSkySquareDegrees / area), kLog10OddsTurningWindow,
                      kLog10OddsWholeSky);
}

bool Search::Run() {
    start_ = lastYield_ = std::chrono::steady_clock::now();
    stars_ = PatternStars(c_);
    if (stars_.size() < 4) {
        ParaResumen(c_, "Búsqueda por patrones: menos de 4 estrellas.",
                    "Recherche par motifs: moins de 4 étoiles.", "Pattern search: fewer than 4 stars.");
        return false;
    }
    const std::string count = std::to_string(stars_.size());
    ParaResumen(c_, "Patrones: " + count + " estrellas de la imagen",
                "Motifs: " + count + " étoiles de l'image", "Patterns: " + count + " image stars");
    for (size_t k = 0; k < std::min(stars_.size(), kCheckImageStars); ++k)
        checkStars_.push_back({stars_[k].x, stars_[k].y});
    // The field across the diagonal that the scale hints allow.
    const double diagonal = 2 * HalfDiagonal(c_);
    if (c_.patternScaleLow > 0 && c_.patternScaleHigh >= c_.patternScaleLow) {
        fieldLow_ = std::max(fieldLow_, diagonal * c_.patternScaleLow / 3600);
        fieldHigh_ = std::min(fieldHigh_, diagonal * c_.patternScaleHigh / 3600);
    }
    const size_t n = std::min(stars_.size(), kQuadStars);
    for (size_t d = 3; d < n; ++d)
        for (size_t a = 0; a < d; ++a)
            for (size_t b = a + 1; b < d; ++b)
                for (size_t e = b + 1; e < d; ++e) {
                    if (TimeToStop()) return false;
                    lean_ = d >= kBrightQuadStars;
                    if (TryQuad({a, b, e, d}, lean_ ? kPositionError : kBrightPositionError)) return true;
                    if (c_.mFinAnalisis) return false;
                }
    return false;
}

bool Search::TryQuad(const std::array<size_t, 4>& members, double positionError) {
    std::array<PlanePoint, 4> points;
    for (size_t k = 0; k < 4; ++k)
        points[k] = {stars_[members[k]].x, stars_[members[k]].y};
    Quad quad;
    if (!MakeQuad(points, quad) || quad.diameter < kLeastQuadPixels) return false;
    const double tolerance =
        std::clamp(std::numbers::sqrt2 * positionError / quad.diameter, kLeastTolerance, kMostTolerance);
    const double diagonal = 2 * HalfDiagonal(c_);
    for (const Quad& q : {quad, MirroredQuad(quad)}) {
        hits_.clear();
        index_.Lookup(q.code, tolerance, hits_, kMostHits);
        ++c_.patternLookups;
        // The nearest codes first; hits of a size that gives a field the hints rule out, at a
        // scale taken as even across the field (a wide lens is allowed its margin), are passed over.
        std::sort(hits_.begin(), hits_.end(),
                  [](const QuadHit& a, const QuadHit& b) { return a.distance2 < b.distance2; });
        for (const QuadHit& hit : hits_) {
            const IndexStar a = index_.Star(hit.stars[0]), b = index_.Star(hit.stars[1]);
            const double field = AngularDistance(a.ra, a.dec, b.ra, b.dec) * diagonal / quad.diameter;
            if (field < fieldLow_ / kEvenScaleMargin || field > fieldHigh_ * kEvenScaleMargin) continue;
            if (TryHit(q, members, hit)) return true;
            if (c_.mFinAnalisis) return false;
        }
    }
    return false;
}

bool Search::TryHit(const Quad& quad, const std::array<size_t, 4>& members, const QuadHit& hit) {
    ++c_.patternHypotheses;
    // The image stars as A, B, C, D of the quad, tied to the catalogue's A, B, C, D.
    std::vector<PlateStar> tied;
    for (size_t k = 0; k < 4; ++k) {
        const ImageStar& s = stars_[members[static_cast<size_t>(quad.order[k])]];
        const IndexStar star = index_.Star(hit.stars[k]);
        tied.push_back({s.x, s.y, star.ra, star.dec});
    }
    const double angle = AngularDistance(tied[0].ra, tied[0].dec, tied[1].ra, tied[1].dec);
    const double focal = FocalForAngle(tied[0].x, tied[0].y, tied[1].x, tied[1].y, c_.gAnchoImagen / 2,
                                       c_.gAltoImagen / 2, angle);
    if (!(focal >= 1) || focal > 2e9) return false;
    const double field = 2 * std::atan(HalfDiagonal(c_) / focal) / kDegree;
    if (field < fieldLow_ || field > fieldHigh_) return false;
    if (c_.patternRadius > 0 && AngularDistance(c_.gCentroBusquedaRA, c_.gCentroBusquedaDEC, tied[0].ra,
                                                tied[0].dec) > c_.patternRadius + field / 2)
        return false;
    c_.gFocalEnPixeles = static_cast<int32_t>(std::lround(focal));
    RotatePlate(c_, tied);
    if (c_.mFinAnalisis) return false;
    // The four stars themselves must land where they are: the code matched, now the shape in pixels.
    const PlateInverse inverse = InvertPlate(c_.Cij);
    for (const PlateStar& s : tied) {
        double x = 0, y = 0;
        if (!SkyToPixel(c_, inverse, s.ra, s.dec, x, y) ||
            std::hypot(x - s.x, y - s.y) > 0.02 * quad.diameter + 2)
            return false;
    }
    // A quick look at the brightest stars of the field before the whole check.
    const double radius = MatchRadius();
    auto others = [&](const std::vector<Match>& matches) {
        return static_cast<int32_t>(std::count_if(matches.begin(), matches.end(), [&](const Match& m) {
            return std::find(hit.stars.begin(), hit.stars.end(), m.star) == hit.stars.end();
        }));
    };
    if (lean_ && others(MatchField(StarsInView(kGlanceStars, true, 1), checkStars_.size(), radius)) < 1)
        return false;
    if (others(MatchField(StarsInView(kFirstLookStars, lean_), checkStars_.size(), radius)) <
        kFirstLookMatches)
        return false;
    const std::vector<Match> quick =
        MatchField(StarsInView(kCheckCatalogueStars), checkStars_.size(), radius);
    const int32_t matched = others(quick);
    const double area = c_.gAnchoImagen * c_.gAltoImagen;
    const double p = std::min(1.0, checkStars_.size() * std::numbers::pi * radius * radius / area);
    if (matched < 3 || Log10BinomialTail(static_cast<int32_t>(kCheckCatalogueStars), matched, p) < 3)
        return false;
    // The plate refitted on every star matched, twice, then the whole check.
    for (int pass = 0; pass < 2; ++pass) {
        std::vector<Match> matches = MatchField(StarsInView(2 * kCheckCatalogueStars),
                                                std::min(stars_.size(), 2 * kCheckImageStars), radius);
        if (matches.size() < 6) return false;
        std::vector<PlateStar> fit;
        for (const Match& m : matches) {
            const IndexStar s = index_.Star(m.star);
            fit.push_back({stars_[m.image].x, stars_[m.image].y, s.ra, s.dec});
        }
        RefinePlate(c_, fit);
        if (c_.mFinAnalisis) return false;
    }
    return Verify(hit.stars);
}

// Matches count within a few pixels, wider on a wider image whose lens distorts more.
double Search::MatchRadius() const {
    return std::clamp(0.004 * 2 * HalfDiagonal(c_), 2.0, 6.0);
}

// The brightest `count` index stars that the plate in Cij puts on the image, brightest first: from the
// coarsest level that holds about three times as many in view, and the coarser ones. Lean, about
// `count` stars, unsorted, of the coarsest level that holds as many: a level keeps the brightest of
// each of its cells, so they are nearly the brightest, for a fraction of the reading. `groups`, when
// given, is how many levels are read.
std::vector<uint32_t> Search::StarsInView(size_t count, bool lean, size_t groups) {
    CoordenadasImagenAesfericas(c_, c_.gAnchoImagen / 2, c_.gAltoImagen / 2);
    const double ra = c_.mRAconvertida, dec = c_.mDECconvertida;
    const double scale = PlateScaleAtCentre(c_) / 3600;
    const double halfField = std::min(89.0, std::atan(HalfDiagonal(c_) * scale * kDegree) / kDegree * 1.05);
    std::vector<uint32_t> near;
    const double wanted = (lean ? 1.5 : 3.0) * static_cast<double>(count);
    if (groups == 0) groups = lean ? kLeanGroups : kAllGroups;
    index_.StarsNear(LevelForStars(index_, 2 * halfField * halfField, wanted), ra, dec, halfField, near,
                     false, groups);
    if (!lean) BrightestFirst(near, 4 * count);
    const size_t most = lean ? 3 * count : count;
    std::vector<uint32_t> inside;
    const PlateInverse inverse = InvertPlate(c_.Cij);
    for (uint32_t n : near) {
        if (inside.size() >= most) break;
        const IndexStar s = index_.Star(n);
        double x = 0, y = 0;
        if (SkyToPixel(c_, inverse, s.ra, s.dec, x, y) && x >= 0 && y >= 0 && x <= c_.gAnchoImagen &&
            y <= c_.gAltoImagen)
            inside.push_back(n);
    }
    return inside;
}

// Pairs of the index stars `catalogue` and the brightest `imageStars` image stars within `radius`
// pixels, one to one, through the plate in Cij.
const Search::ImageField& Search::FieldOf(size_t imageStars, double radius) {
    imageStars = std::min(imageStars, stars_.size());
    auto [at, made] = fields_.try_emplace(imageStars);
    ImageField& field = at->second;
    if (made) {
        for (size_t k = 0; k < imageStars; ++k)
            field.points.push_back({stars_[k].x, stars_[k].y});
        field.grid = std::make_unique<StarGrid>(field.points, radius);
    }
    return field;
}

std::vector<Match> Search::MatchField(const std::vector<uint32_t>& catalogue, size_t imageStars,
                                      double radius) {
    const ImageField& field = FieldOf(imageStars, radius);
    const std::vector<std::array<double, 2>>& image = field.points;
    const StarGrid& grid = *field.grid;
    const PlateInverse inverse = InvertPlate(c_.Cij);
    struct Pair {
        double d;
        size_t image;
        uint32_t star;
    };
    std::vector<Pair> pairs;
    for (uint32_t n : catalogue) {
        const IndexStar s = index_.Star(n);
        double x = 0, y = 0;
        if (!SkyToPixel(c_, inverse, s.ra, s.dec, x, y)) continue;
        grid.Near(x, y, [&](size_t k, double d) {
            if (d <= radius) pairs.push_back({d, k, n});
        });
    }
    std::sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.d < b.d; });
    std::vector<Match> matches;
    std::vector<char> imageUsed(image.size(), 0);
    std::vector<uint32_t> starsUsed;
    for (const Pair& p : pairs) {
        if (imageUsed[p.image] || std::find(starsUsed.begin(), starsUsed.end(), p.star) != starsUsed.end())
            continue;
        imageUsed[p.image] = 1;
        starsUsed.push_back(p.star);
        matches.push_back({p.image, p.star, p.d});
    }
    return matches;
}

bool Search::Verify(const std::array<uint32_t, 4>& quadStars) {
    ++c_.patternVerifications;
    // The catalogue side: the brightest index stars in view, as many as the image has stars.
    const std::vector<uint32_t> inView = StarsInView(std::max<size_t>(stars_.size(), 30));
    const std::vector<Match> matches = MatchField(inView, stars_.size(), MatchRadius());
    CandidateStars candidate;
    for (const Match& m : matches) {
        const IndexStar s = index_.Star(m.star);
        candidate.identified.push_back({stars_[m.image].x, stars_[m.image].y, s.ra, s.dec});
    }
    candidate.formedBy.assign(quadStars.begin(), quadStars.end());
    for (const ImageStar& s : stars_)
        candidate.imageStars.push_back({s.x, s.y});
    std::vector<CatalogueStar> field;
    for (uint32_t n : inView) {
        const IndexStar s = index_.Star(n);
        field.push_back({static_cast<int32_t>(n), s.ra, s.dec});
    }
    const Verification v = VerifyPlateAgainst(c_, candidate, field, RequiredOdds());
    if (c_.mFinAnalisis) return false;
    if (!v.accepted) {
        ++refused_;
        return false;
    }
    c_.matchedStars.clear();
    for (const PlateStar& s : candidate.identified)
        c_.matchedStars.push_back({s.x, s.y, s.ra, s.dec});
    Publish(v);
    return true;
}

void Search::Publish(const Verification& v) {
    const int32_t sides = v.matched;
    c_.patternSolution = true;
    c_.gLadosSolucion = sides;
    c_.gSolucionOK = true;
    c_.gSolucionSegura = sides >= kLeastSidesSafe;
    CoordenadasImagenAesfericas(c_, c_.gAnchoImagen / 2, c_.gAltoImagen / 2);
    if (c_.mFinAnalisis) return;
    const double ra = c_.mRAconvertida, dec = c_.mDECconvertida;
    PublishSolutionCentre(c_, ra, dec, sides);
    PublishImageAngle(c_);
    const std::string n = std::to_string(c_.patternHypotheses), l = std::to_string(c_.patternLookups);
    ParaResumen(c_, "Patrones: solución tras " + n + " hipótesis, " + l + " consultas al índice",
                "Motifs: solution après " + n + " hypothèses, " + l + " consultations de l'index",
                "Patterns: solution after " + n + " hypotheses, " + l + " index lookups");
    ReportVerification(c_, v);
    c_.lastVerification = v;
    GrabaTornelPos(c_, 1, sides);
    GrabaTornelSta(c_, kEstadoSolucion, sides);
    PresentaSolucionPatrones(c_);
    SynchroniseAndWriteWcs(c_);
}

}  // namespace

double FocalForAngle(double ax, double ay, double bx, double by, double halfWidth, double halfHeight,
                     double angle) {
    const double px = ax - halfWidth, py = ay - halfHeight, qx = bx - halfWidth, qy = by - halfHeight;
    const double target = angle * kDegree;
    if (!(target > 0) || target >= std::numbers::pi) return 0;
    // The angle between (p, f) and (q, f). For a pair on either side of the centre it falls as f
    // grows; for a pair on one side it first grows from the angle the two make at the centre, then
    // falls, so that two focal lengths may give one angle.
    auto angleAt = [&](double f) {
        const double cx = py * f - f * qy, cy = f * qx - px * f, cz = px * qy - py * qx;
        return std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), px * qx + py * qy + f * f);
    };
    constexpr double kShortest = 1e-3, kLongest = 1e10;
    // With u = f^2, (p.q + u)^2 = cos^2 (a + u)(b + u) is a quadratic in u, its terms written with the
    // sine so that a narrow field's cosine near 1 loses nothing. Of its roots whose angle is the one
    // asked (squaring adds the supplement's), the longer focal length: the narrower field, the likelier.
    const double a = px * px + py * py, b = qx * qx + qy * qy, cross = px * qy - py * qx;
    const double s2 = std::sin(target) * std::sin(target);
    const double qa = s2, qb = -((px - qx) * (px - qx) + (py - qy) * (py - qy)) + s2 * (a + b),
                 qc = -cross * cross + s2 * a * b;
    const double disc = qb * qb - 4 * qa * qc;
    double best = 0;
    if (disc >= 0 && qa > 0) {
        const double half = -(qb + std::copysign(std::sqrt(disc), qb)) / 2;
        for (const double u : {half / qa, half != 0 ? qc / half : -1.0}) {
            const double f = u > 0 ? std::sqrt(u) : 0;
            if (f >= kShortest && f <= kLongest && std::fabs(angleAt(f) - target) <= 1e-9 * target)
                best = std::max(best, f);
        }
    }
    if (best > 0) return best;
    // A root that rounding spoiled: bisection on the logarithm, where the angle falls through the one
    // asked.
    double lo = kShortest, hi = kLongest;
    if (angleAt(lo) < target || angleAt(hi) > target) return 0;
    for (int k = 0; k < 100 && hi / lo > 1 + 1e-12; ++k) {
        const double mid = std::sqrt(lo * hi);
        (angleAt(mid) > target ? lo : hi) = mid;
    }
    return std::sqrt(lo * hi);
}

bool PatternsGoFirst(const Context& c) {
    if (c.gBusquedaPorPatrones == 2) return true;
    // A database built without the index leaves the database roads as they were.
    if (c.gBusquedaPorPatrones != 1 || !FileExists(c.gCarpetaEstrellas + kQuadIndexFile)) return false;
    const double field =
        std::max(c.gPixelesX * c.gSegundosPorPixelX, c.gPixelesY * c.gSegundosPorPixelY) / 3600;
    return !(c.gBaseDatos == 1 && c.gZonaCielo == 1 && field <= kWidestFieldForDistances);
}

bool AbrePatrones(Context& c) {
    const std::string path = c.gCarpetaEstrellas + kQuadIndexFile;
    if (c.quadIndex && c.quadIndex->Path() == path) return true;
    auto index = std::make_shared<QuadIndex>();
    std::string error;
    if (!index->Open(path, error)) {
        c.quadIndex.reset();
        ParaResumen(c, "Búsqueda por patrones imposible: " + error,
                    "Recherche par motifs impossible: " + error, "No pattern search: " + error);
        return false;
    }
    c.quadIndex = std::move(index);
    return true;
}

bool BusquedaPorPatrones(Context& c) {
    if (c.mFinAnalisis || c.gDetenerAnalisis) return false;
    bool solved = false;
    WithTrap(c, "BusquedaPorPatrones", [&] {
        if (!AbrePatrones(c)) return;
        ParaResumen(c, "      ** PATRONES **", "      ** MOTIFS **", "      ** PATTERNS **");
        c.patternLookups = c.patternHypotheses = c.patternVerifications = 0;
        const int32_t focal = c.gFocalEnPixeles;
        const PlateMatrix plate = c.Cij;
        Search search(c, *c.quadIndex);
        solved = search.Run();
        if (!solved) {
            // The run's scale stays the user's: the focal length tried last was only a guess.
            c.gFocalEnPixeles = focal;
            c.Cij = plate;
            const std::string n = std::to_string(c.patternHypotheses),
                              v = std::to_string(c.patternVerifications);
            ParaResumen(c, "Patrones: ninguna solución tras " + n + " hipótesis, " + v + " verificadas.",
                        "Motifs: aucune solution après " + n + " hypothèses, " + v + " vérifiées.",
                        "Patterns: no solution after " + n + " hypotheses, " + v + " verified.");
        }
    });
    return solved;
}

}  // namespace tornel
