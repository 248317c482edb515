// Contour extraction: a scan for pixels above the threshold, a wall-following walk round each new
// blob, and the contours of the right perimeter turned into candidates with a weighted centroid.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "comun/errors.h"
#include "comun/numbers.h"
#include "imagen/contour_walk.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr int32_t kMaxSteps = 10000;
// A star of the scan for the check of an answer within this of a candidate is that candidate (pixels).
constexpr double kSameStarPixels = 5;
// That scan stays this many sigmas of the sky's noise above its median level, where noise makes
// almost no outline.
constexpr double kNoiseSigmas = 5;
// Pixels enough to measure that noise.
constexpr double kNoiseSample = 65536;

enum class WalkEnd { Closed, TooLong };

// The walk of a new contour c from (sx, sy): marks the outline with c and counts each pixel once.
struct Walker {
    const int16_t* brillo;
    int32_t* marks;
    size_t stride;
    int32_t threshold;
    WalkBounds bounds;

    WalkEnd Walk(int32_t sx, int32_t sy, int32_t c, int32_t& perimeter) const {
        int32_t px = sx, py = sy, d = 1, failures = 0;
        perimeter = 1;
        for (int32_t steps = 1;; ++steps) {
            if (steps > kMaxSteps) return WalkEnd::TooLong;
            int32_t nx = 0, ny = 0;
            NextPixel(px, py, d, bounds, nx, ny);
            const size_t at = static_cast<size_t>(ny) * stride + static_cast<size_t>(nx);
            if (brillo[at] <= threshold && marks[at] != c) {
                d = TurnRight(d);
                // Four turns in a row: a blob of a single pixel.
                if (++failures == 4) return WalkEnd::Closed;
                continue;
            }
            if (marks[at] != c) {
                ++perimeter;
                marks[at] = c;
            }
            failures = 0;
            if (nx == sx && ny == sy) return WalkEnd::Closed;
            px = nx, py = ny;
            d = TurnLeft(d);
        }
    }
};

// Index of the first pixel from x to xb (inclusive) above the threshold, or xb + 1. Blocks of 16 are
// tested with a maximum first, a loop the compiler turns into vector code.
inline int32_t NextAbove(const int16_t* row, int32_t x, int32_t xb, int16_t threshold) {
    constexpr int32_t kBlock = 16;
    while (x + kBlock - 1 <= xb) {
        int16_t highest = row[x];
        for (int32_t k = 1; k < kBlock; ++k)
            highest = std::max(highest, row[x + k]);
        if (highest > threshold) break;
        x += kBlock;
    }
    while (x <= xb && row[x] <= threshold)
        ++x;
    return x;
}

// The threshold as the brightness matrix holds it: above 32767 nothing is lit, below -32768 all is.
int16_t MatrixThreshold(int32_t umbral) {
    return static_cast<int16_t>(std::clamp<int32_t>(umbral, INT16_MIN, INT16_MAX));
}

enum class ScanEnd { Whole, RanAway, Stopped };

// Walks every new outline of `area` above `threshold`, row by row, and hands its start and perimeter
// to `visit`, which answers whether to go on. Marks of earlier scans stand below the base;
// renumbering saves emptying the matrix each time.
template <class Visit>
ScanEnd ForEachOutline(Context& c, const WalkBounds& area, int16_t threshold, Visit&& visit) {
    const size_t stride = static_cast<size_t>(c.gPixelesX) + 1;
    const size_t cells = stride * (static_cast<size_t>(c.gPixelesY) + 1);
    if (c.mBrillo.size() != cells || c.mContorno.size() != cells) Raise(kErrSubscript);
    if (c.contourMarkBase > INT32_MAX - static_cast<int64_t>(cells) - 1) {
        std::fill(c.mContorno.begin(), c.mContorno.end(), 0);
        c.contourMarkBase = 0;
    }
    const int32_t base = c.contourMarkBase;
    int32_t contour = base;
    const Walker walker{c.mBrillo.data(), c.mContorno.data(), stride, threshold, area};
    const int16_t* brillo = c.mBrillo.data();
    int32_t* marks = c.mContorno.data();
    ScanEnd end = ScanEnd::Whole;
    for (int32_t y = area.ya; y <= area.yb && end == ScanEnd::Whole; ++y) {
        const int16_t* row = brillo + static_cast<size_t>(y) * stride;
        const int32_t* rowMarks = marks + static_cast<size_t>(y) * stride;
        for (int32_t x = NextAbove(row, area.xa, area.xb, threshold); x <= area.xb;
             x = NextAbove(row, x + 1, area.xb, threshold)) {
            // The left pixel is read even at xa: the matrix has a margin for it.
            if (rowMarks[x] > base || (row[x - 1] > threshold && x != area.xa)) continue;
            ++contour;
            marks[static_cast<size_t>(y) * stride + static_cast<size_t>(x)] = contour;
            int32_t p = 0;
            if (walker.Walk(x, y, contour, p) == WalkEnd::TooLong) {
                end = ScanEnd::RanAway;
                break;
            }
            if (!visit(x, y, p)) {
                end = ScanEnd::Stopped;
                break;
            }
        }
    }
    c.contourMarkBase = contour;
    return end;
}

void Scan(Context& c, const WalkBounds& area, const char* name) {
    const bool automatic = c.gUmbralAutomatico == 1;
    VisuTitulo(c, "Analizando imagen ..." + c.mTitulo, "Analyse de l'image en cours ..." + c.mTitulo,
               "Analyzing the image ..." + c.mTitulo);
    c.mNumContornos = 0;
    c.mContornoX.fill(0);
    c.mContornoY.fill(0);
    c.mContornoPerimetro.fill(0);
    const ScanEnd end =
        ForEachOutline(c, area, MatrixThreshold(c.mBrilloUmbral), [&](int32_t x, int32_t y, int32_t p) {
            if (p >= c.gPerimetroMax || p <= c.gPerimetroMin) return true;
            const bool inner = x > c.gXMin && x < c.gXMax && y > c.gYMin && y < c.gYMax;
            if (!((c.gAreaImagen < 2 && inner) || (c.gAreaImagen == 2 && !inner))) return true;
            if (++c.mNumContornos == kMaxContornosEscaneo) {
                if (!automatic) {
                    ParaResumen(c, "Umbral bajo. Demasiados contornos.", "Seuil bas. Trop de contours.",
                                "Low threshold. Too many contours.");
                    VisuTitulo(c, "Umbral bajo.", "Seuil bas.", "Low threshold.");
                    c.mFinAnalisis = true;
                }
                return false;
            }
            const auto k = static_cast<size_t>(c.mNumContornos);
            c.mContornoX[k] = x;
            c.mContornoY[k] = y;
            c.mContornoPerimetro[k] = p;
            return true;
        });
    if (end == ScanEnd::RanAway) {
        ParaResumen(c, std::string(name) + " > 10000");
        if (automatic) {
            c.mNumContornos = -1;
        } else {
            c.mFinAnalisis = true;
            PoneTitulo(c, c.mTitulo);
        }
    }
    const bool stop = end != ScanEnd::Whole;
    if (!stop && c.mNumContornos < 4 && !automatic) {
        std::string n = std::to_string(c.mNumContornos);
        ParaResumen(c, "Sólo " + n + " contornos.", "Seulement " + n + " contours.",
                    "Only " + n + " contours.");
        VisuTitulo(c, "Sólo " + n + " contornos.", "Seulement " + n + " contours.",
                   "Only " + n + " contours.");
        c.mFinAnalisis = true;
    }
}

int32_t ThresholdBrightness(const Context& c) {
    return ToLong((c.gBrilloMaximo - c.mBrilloFondo) * c.gUmbral + c.mBrilloFondo);
}

// The automatic threshold: a bisection on the share gUmbral that aims at 25 contours.
void AutomaticThreshold(Context& c) {
    constexpr int32_t objetivo = 20;
    double mejorUmbral = 1.0;
    int32_t mejorCuenta = 1000;
    double bajo = 0, alto = 0.9;

    c.gUmbral = 0.9;
    c.mBrilloUmbral = ThresholdBrightness(c);
    ExtraeContornos(c);
    if (c.mFinAnalisis) return;
    if (c.mNumContornos > 0 && c.mNumContornos < 1000) mejorUmbral = c.gUmbral;

    bool hadError = false, failing = false;
    double base = 0, paso = 0;
    int32_t first = 0;
    for (int32_t i = 1; i <= 20; ++i) {
        const int32_t count = c.mNumContornos;
        if (count < 0) {
            // A walk ran away: fan out round the threshold that failed.
            hadError = true;
            if (!failing) {
                failing = true;
                base = c.gUmbral;
                first = i;
                paso = (alto - bajo) / (2 * (12 - IntFloor((i + 1) / 2.0)));
            }
            double k = IntFloor((i - first) / 2.0) + 1;
            c.gUmbral = i % 2 == 0 ? base + k * paso : base - k * paso;
            c.gUmbral = std::clamp(c.gUmbral, bajo, alto);
        } else {
            failing = false;
            if (std::abs(count - objetivo - 5) < std::abs(mejorCuenta - objetivo - 5)) {
                mejorCuenta = count;
                mejorUmbral = c.gUmbral;
            }
        }
        if (count >= objetivo && count <= objetivo + 10) break;
        if (count > objetivo + 10) {
            bajo = c.gUmbral;
            c.gUmbral = (bajo + alto) * 0.5;
            if (!(c.gUmbral < alto)) break;
        }
        if (count < objetivo) {
            alto = c.gUmbral;
            c.gUmbral = (bajo + alto) * 0.5;
            if (!(c.gUmbral > bajo)) break;
        }
        c.mBrilloUmbral = ThresholdBrightness(c);
        ExtraeContornos(c);
        if (c.mFinAnalisis) return;
    }
    if (hadError && c.gMensajesDepuracion)
        c.platform.MessageBox("ExtraeEstrellasLaberinto: Hubo casos con error durante la extraccion");
    if (c.mNumContornos < objetivo || c.mNumContornos > objetivo + 10) {
        c.gUmbral = mejorUmbral;
        c.mBrilloUmbral = ThresholdBrightness(c);
        ExtraeContornos(c);
        if (c.gMensajesDepuracion)
            c.platform.MessageBox("ExtraeEstrellasLaberinto: extraidos = " + std::to_string(c.mNumContornos) +
                                  " pasando por casos de errores");
    }
}

}  // namespace

void ExtraeContornosDentro(Context& c) {
    if (c.mFinAnalisis) return;
    Scan(c, WalkBounds{c.gXMin, c.gXMax, c.gYMin, c.gYMax}, "ExtraeContornosDentro");
}

void ExtraeContornosFueraYtoda(Context& c) {
    if (c.mFinAnalisis) return;
    Scan(c, WalkBounds{1, c.gPixelesX, 1, c.gPixelesY}, "ExtraeContornosFueraYtoda");
}

void ExtraeContornos(Context& c) {
    if (c.gAreaImagen == 1)
        ExtraeContornosDentro(c);
    else
        ExtraeContornosFueraYtoda(c);
}

namespace {

enum class Outline { Walked, TooLong };

// The brightness-weighted centroid of the contour that starts at (sx, sy), in image pixels, into
// `star` (weight 0 when the contour makes no star); TooLong when the walk on its marks does not close within
// kMaxSteps. The walk is drawn on the overlay when `draw`.
Outline WalkContour(Context& c, int32_t sx, int32_t sy, bool draw, EstrellaImagen& star) {
    star = EstrellaImagen{};
    const int32_t w = c.gPixelesX, h = c.gPixelesY;
    const size_t stride = static_cast<size_t>(w) + 1;
    const auto cell = [&](int32_t x, int32_t y) {
        return static_cast<size_t>(y) * stride + static_cast<size_t>(x);
    };
    const int32_t mark = c.mContorno.at(cell(sx, sy));
    int32_t minX = sx, minY = sy, maxX = sx, maxY = sy;
    const WalkBounds image{1, w, 1, h};
    const double f = c.gFactorReduccion;

    // The outline again, on the marks alone.
    int32_t px = sx, py = sy, d = 1;
    for (int32_t steps = 1;; ++steps) {
        if (steps > kMaxSteps) return Outline::TooLong;
        int32_t nx = 0, ny = 0;
        NextPixel(px, py, d, image, nx, ny);
        if (c.mContorno[cell(nx, ny)] != mark) {
            d = TurnRight(d);
            continue;
        }
        minX = std::min(minX, nx), maxX = std::max(maxX, nx);
        minY = std::min(minY, ny), maxY = std::max(maxY, ny);
        if (draw) c.platform.DrawPoint((nx - 1) / f, (h - ny) / f, OverlayColour::Red);
        if (nx == sx && ny == sy) break;
        px = nx, py = ny;
        d = TurnLeft(d);
    }
    // A blob cut by the edge of the image has no true centre.
    if (minX == 1 || minY == 1 || maxX == w || maxY == h) return Outline::Walked;

    // Every pixel of the box above the background weighs, also those of a neighbour.
    double sumX = 0, sumY = 0;
    int64_t sumW = 0;
    for (int32_t y = minY; y <= maxY; ++y)
        for (int32_t x = minX; x <= maxX; ++x) {
            int32_t wgt = c.mBrillo[cell(x, y)] - c.mBrilloFondo;
            if (wgt <= 0) continue;
            sumX += static_cast<double>(x * wgt);
            sumY += static_cast<double>(y * wgt);
            sumW += wgt;
            if (sumW > INT32_MAX) Raise(kErrOverflow);
        }
    if (sumW < 1) return Outline::Walked;
    star = {sumX / static_cast<double>(sumW), sumY / static_cast<double>(sumW), static_cast<double>(sumW)};
    return Outline::Walked;
}

// Contour n to a candidate; TooLong when the walk on its marks does not close within kMaxSteps.
Outline TreatContour(Context& c, int32_t n) {
    EstrellaImagen star;
    const Outline o = WalkContour(c, c.mContornoX.at(static_cast<size_t>(n)),
                                  c.mContornoY.at(static_cast<size_t>(n)), true, star);
    if (o == Outline::TooLong || !(star.brillo > 0)) return o;
    const auto k = static_cast<size_t>(++c.mNumCandidatas);
    c.mCandidataX.at(k) = star.x;
    c.mCandidataY.at(k) = star.y;
    c.mCandidataBrillo.at(k) = star.brillo;
    c.mCandidataEstado.at(k) = 0;
    return Outline::Walked;
}

// The largest contour left (the lowest index of equals), 0 when none is.
int32_t LargestContourLeft(const Context& c) {
    int32_t best = 0, largest = 0;
    for (int32_t i = 1; i <= c.mNumContornos; ++i)
        if (c.mContornoPerimetro[static_cast<size_t>(i)] > largest) {
            largest = c.mContornoPerimetro[static_cast<size_t>(i)];
            best = i;
        }
    return best;
}

// A silent scan of the whole image at `threshold` for the check of an answer: the start and perimeter
// of each outline of the scan's perimeters, at most `most`. False when a walk ran away or there were more.
struct Found {
    int32_t x, y, perimeter;
};
bool ScanQuietly(Context& c, int16_t threshold, size_t most, std::vector<Found>& out) {
    out.clear();
    const WalkBounds area{1, c.gPixelesX, 1, c.gPixelesY};
    return ForEachOutline(c, area, threshold, [&](int32_t x, int32_t y, int32_t p) {
               if (out.size() == most) return false;
               if (p < c.gPerimetroMax && p > c.gPerimetroMin) out.push_back({x, y, p});
               return true;
           }) == ScanEnd::Whole;
}

// Whether a star of a quiet scan stands on one of the candidates: the same star seen at a lower
// threshold, or a bright star's halo.
bool OnACandidate(const Context& c, const EstrellaImagen& star) {
    for (int32_t k = 1; k <= c.mNumCandidatas; ++k) {
        const EstrellaImagen& e = c.mEstrellas[static_cast<size_t>(k)];
        if (std::hypot(e.x - star.x, e.y - star.y) <= kSameStarPixels) return true;
    }
    return false;
}

// The stars of one quiet scan that are not candidates, the largest outlines first, as many as the
// candidates leave room for.
std::vector<EstrellaImagen> StarsOf(Context& c, std::vector<Found>& found) {
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return a.perimeter > b.perimeter; });
    const auto room = static_cast<size_t>(std::max(kMaxVerificationStars - c.mNumCandidatas, 0));
    std::vector<EstrellaImagen> stars;
    for (const Found& f : found) {
        if (stars.size() >= room) break;
        EstrellaImagen star;
        if (WalkContour(c, f.x, f.y, false, star) == Outline::Walked && star.brillo > 0 &&
            !OnACandidate(c, star))
            stars.push_back(star);
    }
    return stars;
}

// Pixels on a regular grid over the image, about kNoiseSample of them, as the matrix holds them.
std::vector<int16_t> SampleOfPixels(const Context& c) {
    const size_t stride = static_cast<size_t>(c.gPixelesX) + 1;
    const double pixels = static_cast<double>(c.gPixelesX) * c.gPixelesY;
    const auto step = static_cast<int32_t>(std::max(1.0, std::floor(std::sqrt(pixels / kNoiseSample))));
    std::vector<int16_t> sample;
    for (int32_t y = 1; y <= c.gPixelesY; y += step)
        for (int32_t x = 1; x <= c.gPixelesX; x += step)
            sample.push_back(c.mBrillo[static_cast<size_t>(y) * stride + static_cast<size_t>(x)]);
    return sample;
}

int32_t Median(std::vector<int32_t>& v) {
    if (v.empty()) return 0;
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
    return v[v.size() / 2];
}

// The level below which the sky's noise makes almost no outline: the median of the image and
// kNoiseSigmas of its noise, measured by the median absolute deviation about it (a Gaussian's sigma
// is 1.4826 of it), at least one level for 8-bit pictures.
double NoiseFloor(const Context& c) {
    const std::vector<int16_t> pixels = SampleOfPixels(c);
    std::vector<int32_t> v(pixels.begin(), pixels.end());
    const int32_t median = Median(v);
    for (int32_t& x : v)
        x = std::abs(x - median);
    return median + kNoiseSigmas * std::max(1.4826 * Median(v), 1.0);
}

}  // namespace

void FindVerificationStars(Context& c) {
    if (!c.verificationScanDue) return;
    c.verificationScanDue = false;
    c.verificationStars.clear();
    const auto most = static_cast<size_t>(4 * kMaxVerificationStars);
    double high = c.mBrilloUmbral;
    double low = std::min(NoiseFloor(c), high);
    double threshold = low;
    std::vector<Found> found;
    for (int32_t round = 0; round < 5; ++round) {
        const bool whole = ScanQuietly(c, MatrixThreshold(ToLong(threshold)), most, found);
        if (whole) c.verificationStars = StarsOf(c, found);
        if (whole && found.size() <= static_cast<size_t>(2 * kMaxVerificationStars)) {
            if (round == 0 || found.size() >= static_cast<size_t>(kMaxVerificationStars)) break;
            high = threshold;
        } else {
            low = threshold;
        }
        if (high - low < 1) break;
        threshold = (low + high) / 2;
    }
}

void TrataEstrella(Context& c, int32_t n) {
    if (c.mFinAnalisis) return;
    if (TreatContour(c, n) == Outline::TooLong) {
        ParaResumen(c, "TrataEstrella > 10000");
        c.mFinAnalisis = true;
        PoneTitulo(c, c.mTitulo);
    }
}

void TrataContornos(Context& c) {
    if (c.mFinAnalisis) return;
    const auto slots = static_cast<size_t>(std::max<int32_t>(c.gMaxContornos, 0)) + 1;
    c.mCandidataX.assign(slots, 0);
    c.mCandidataY.assign(slots, 0);
    c.mCandidataBrillo.assign(slots, 0);
    c.mCandidataEstado.assign(slots, 0);
    c.mEstrellas.assign(slots, EstrellaImagen{});
    c.mEstrellasCuadradas.assign(slots, EstrellaImagen{});
    c.mNumCandidatas = 0;
    const int32_t m = std::min<int32_t>(c.gMaxContornos, c.mNumContornos);
    for (int32_t round = 0; round < m; ++round) {
        const int32_t best = LargestContourLeft(c);
        if (best == 0) break;
        // An outline whose walk does not close (a large object lit in odd shapes) is passed over:
        // one such object must not cost the stars of the whole image.
        if (TreatContour(c, best) == Outline::TooLong) {
            std::string x = std::to_string(c.mContornoX[static_cast<size_t>(best)]),
                        y = std::to_string(c.mContornoY[static_cast<size_t>(best)]);
            ParaResumen(c, "TrataEstrella > 10000: objeto omitido en x=" + x + " y=" + y,
                        "TrataEstrella > 10000: objet ignoré en x=" + x + " y=" + y,
                        "TrataEstrella > 10000: object skipped at x=" + x + " y=" + y);
        }
        c.mContornoPerimetro[static_cast<size_t>(best)] = 0;
    }
    if (c.mNumCandidatas < 4) {
        std::string n = std::to_string(c.mNumCandidatas);
        ParaResumen(c, "Sólo " + n + " candidatas.", "Seulement " + n + " candidates.",
                    "Only " + n + " candidates.");
    }
}

int32_t ExtraeEstrellasLaberinto(Context& c) {
    if (c.mFinAnalisis) return -1;
    int32_t resultado = -1;
    // The count of this image becomes that of the image before.
    c.mNumAnteriores = c.mNumSeleccionadas;
    c.mNumContornos = 0;
    c.mNumCandidatas = 0;
    c.mNumSeleccionadas = 0;
    c.verificationStars.clear();
    c.verificationScanDue = false;
    if (c.gUmbralAutomatico == 1)
        AutomaticThreshold(c);
    else
        ExtraeContornos(c);
    if (c.mFinAnalisis) return resultado;
    if (c.mNumContornos < 4) {
        c.mFinAnalisis = true;
        resultado = 0;
    }
    TrataContornos(c);
    if (c.mFinAnalisis) return resultado;
    if (c.mNumCandidatas < 4) {
        c.mFinAnalisis = true;
        resultado = 0;
    }
    SeleccionaEstrellas(c);
    if (c.mFinAnalisis) return resultado;
    resultado = c.mNumSeleccionadas;
    if (resultado < 4) {
        c.mFinAnalisis = true;
        return resultado;
    }
    c.verificationScanDue = true;
    return resultado;
}

}  // namespace tornel
