// tornel-db-fields: how well a database folder serves the two searches, measured on random fields
// projected from the catalogue it was built from. Until the searches exist, the figures are the
// proxies that decide their success:
//   database 1: are the screen pairs of a 0.5 degree window's 10 brightest stars in the rings, and
//     how many segments would a 5 x 5 degree window fish for them (limit gMaxSegmentos 15000);
//   database 2: are the Delaunay triangles of a 1.5 to 3 degree field's 10 brightest stars in
//     tri2g02.bin, and how many candidates do the box queries return, in the order of the search,
//     before the right triangle is met (limit gMaxCandidatos 5000).
#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <map>
#include <numbers>
#include <random>
#include <set>
#include <unordered_map>

#include "comun/numbers.h"
#include "herramientas/db/build.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/projection.h"
#include "herramientas/db/records.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/sky_index.h"
#include "herramientas/db/star_tables.h"
#include "herramientas/db/triangle_file.h"

namespace tornel::db {
namespace {

constexpr int32_t kMaxSegmentos = 15000, kMaxCandidatos = 5000;
constexpr double kErrorDistancias = 0.02;
constexpr int32_t kErrorInclinacion = 1;

struct Settings {
    std::string folder;
    std::vector<std::string> inputs;
    int fields = 300;
    uint64_t seed = 1;
    double jitter = 0.2;  // magnitude sigma between the catalogue and the camera
    double window1 = 0.5;
    double minField2 = 1.5, maxField2 = 3.0;
    bool db1 = true, db2 = true;
};

double Median(std::vector<double> v) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
double Quantile(std::vector<double> v, double q) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(q * v.size()))];
}
std::string Pct(double a, double b) {
    return FormatNumber(b > 0 ? 100.0 * a / b : 0.0, "0.0") + "%";
}

double Uniform(std::mt19937_64& g) {
    return static_cast<double>(g() >> 11) * 0x1.0p-53;
}

// A random centre uniform on the sphere.
void RandomCentre(std::mt19937_64& g, double& ra, double& dec) {
    ra = 360 * Uniform(g);
    dec = std::asin(2 * Uniform(g) - 1) * 180 / std::numbers::pi;
}

struct Sky {
    std::vector<NumberedStar> stars;  // est.bin order, with magnitudes
    std::unordered_map<int32_t, int32_t> indexOfId;
};

bool LoadSky(const Settings& s, Sky& sky, std::string& error) {
    BuildInputs in;
    if (!LoadInputs(s.inputs, in, error, nullptr)) return false;
    auto merged = MergeCatalogs(in.stars, BuildOptions{}.mergeRadiusArcsec);
    std::vector<EstRecord> est;
    if (!ReadRecordFile(s.folder + "est.bin", est)) {
        error = "cannot read " + s.folder + "est.bin";
        return false;
    }
    std::map<std::pair<int32_t, int32_t>, float> mag;
    for (const auto& c : merged) {
        auto ar = static_cast<int32_t>(RoundHalfEven(c.ra * 1e6)),
             de = static_cast<int32_t>(RoundHalfEven(c.dec * 1e6));
        if (ar >= 360000000) ar -= 360000000;
        mag.emplace(std::make_pair(ar, de), c.mag);
    }
    for (const auto& r : est) {
        auto it = mag.find({r.Ar, r.De});
        sky.indexOfId[r.Id] = static_cast<int32_t>(sky.stars.size());
        sky.stars.push_back({r.Id, r.Ar / 1e6, r.De / 1e6, it == mag.end() ? 99.0f : it->second});
    }
    return true;
}

// The brightest stars of a field as a camera sees them: catalogue stars in the image, magnitudes
// jittered, sorted by the jittered magnitude.
std::vector<std::pair<FieldStar, int32_t>> BrightestInField(const Sky& sky, const SkyIndex& index,
                                                            const FieldGeometry& g, double jitter,
                                                            std::mt19937_64& rng, int n) {
    double radius = std::hypot(g.width, g.height) / 2 * g.arcsecPerPixel / 3600 + 0.01;
    std::vector<std::pair<FieldStar, int32_t>> out;
    std::normal_distribution<double> noise(0, jitter);
    index.ForEachWithin(g.ra, g.dec, radius, [&](int32_t k) {
        const auto& s = sky.stars[k];
        double x, y;
        if (!SkyToPixel(g, s.ra, s.dec, x, y) || x < 0 || y < 0 || x >= g.width || y >= g.height) return;
        out.push_back({{x, y, s.ra, s.dec, static_cast<float>(s.mag + noise(rng)), true}, k});
    });
    std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.first.mag < b.first.mag; });
    if (static_cast<int>(out.size()) > n) out.resize(n);
    return out;
}

// ---------------------------------------------------------------- database 1

struct Rings {
    std::array<std::vector<DistanceRecord>, 180> ring;
};

bool FindPair(const std::vector<DistanceRecord>& r, const DistanceRecord& want) {
    auto it = std::lower_bound(r.begin(), r.end(), want.Clave,
                               [](const DistanceRecord& a, int32_t k) { return a.Clave < k; });
    for (; it != r.end() && it->Clave == want.Clave; ++it)
        if (it->EstrellaA == want.EstrellaA && it->EstrellaB == want.EstrellaB) return true;
    return false;
}

// Segments the fishing of one window would catch for one screen pair (PescaEnVentana's rules).
int64_t Catch(const Rings& rings, int32_t a1, int32_t a2, double arCentro, double ancho, int32_t units,
              int32_t band) {
    int32_t dMin = static_cast<int32_t>(RoundHalfEven((1 - kErrorDistancias) * units));
    int32_t dMax = static_cast<int32_t>(RoundHalfEven((1 + kErrorDistancias) * units));
    dMin = std::max(dMin, 100), dMax = std::min(dMax, 29999);
    if (dMax <= 99 || dMin >= 30000) return 0;
    int64_t n = 0;
    for (int32_t r = std::max(a1, 1); r <= std::min(a2, 178); ++r) {
        double de = r < 90 ? r - 90 : r - 89;
        double w = std::min(180.0, std::fabs(ancho / (2 * std::cos(de * std::numbers::pi / 180))));
        double desde = arCentro - w, hasta = arCentro + w;
        int32_t tol = (r < 3 || r > 176) ? std::max(kErrorInclinacion, 2) : kErrorInclinacion;
        const auto& recs = rings.ring[r];
        for (int32_t k = -tol; k <= tol; ++k) {
            int32_t b = band + k;
            if (b < 0) b = 179;
            if (b > 179) b = 0;
            int32_t keyMin = b * 100000 + dMin, keyMax = b * 100000 + dMax;
            auto it = std::lower_bound(recs.begin(), recs.end(), keyMin,
                                       [](const DistanceRecord& x, int32_t v) { return x.Clave < v; });
            for (; it != recs.end() && it->Clave <= keyMax; ++it) {
                float v = it->ArMedia10 / 10.0f;
                bool in = desde >= 0 && hasta <= 360 ? (desde <= v && v < hasta)
                          : desde >= 0 ? ((desde <= v && v < 360) || (0 <= v && v < hasta - 360))
                                       : ((0 <= v && v < hasta) || (desde + 360 <= v && v < 360));
                n += in;
            }
        }
    }
    return n;
}

void MeasureDatabase1(const Settings& s, const Sky& sky, const SkyIndex& index) {
    Rings rings;
    int64_t records = 0;
    for (int32_t r = kFirstRing; r <= kLastRing; ++r) {
        ReadRecordFile(s.folder + RingFileName(r), rings.ring[r]);
        records += static_cast<int64_t>(rings.ring[r].size());
    }
    std::mt19937_64 rng(s.seed);
    PairMeter meter;
    int64_t pairs = 0, present = 0, fieldsWithTriangle = 0, underLimit = 0, usable = 0;
    std::vector<double> segments, seconds, starsPerField;
    for (int f = 0; f < s.fields; ++f) {
        FieldGeometry g;
        RandomCentre(rng, g.ra, g.dec);
        if (std::fabs(g.dec) > 88.5) {  // the poles go through the pole files
            --f;
            continue;
        }
        g.angle = 360 * Uniform(rng);
        g.width = g.height = 1000;
        g.arcsecPerPixel = s.window1 * 3600 / 1000;
        auto t0 = std::chrono::steady_clock::now();
        auto field = BrightestInField(sky, index, g, s.jitter, rng, 10);
        starsPerField.push_back(static_cast<double>(field.size()));
        const int n = static_cast<int>(field.size());
        std::vector<std::vector<char>> ok(n, std::vector<char>(n, 0));
        int64_t catchTotal = 0;
        int32_t a1 = static_cast<int32_t>(std::floor(std::max(-90.0, g.dec - 2.5))) + 90;
        int32_t a2 = static_cast<int32_t>(std::floor(std::min(89.0, g.dec + 2.5))) + 90;
        for (int i = 0; i < n; ++i)
            for (int j = i + 1; j < n; ++j) {
                const auto &si = sky.stars[field[i].second], &sj = sky.stars[field[j].second];
                DistanceRecord rec;
                int32_t ring;
                if (!RingRecord(meter, si, sj, rec, ring)) continue;
                ++pairs;
                bool here = ring >= 1 && ring <= 178 && FindPair(rings.ring[ring], rec);
                present += here;
                ok[i][j] = ok[j][i] = here;
                catchTotal += Catch(rings, a1, a2, g.ra, 5.0, rec.Clave % 100000, rec.Clave / 100000);
            }
        bool triangle = false;
        for (int i = 0; i < n && !triangle; ++i)
            for (int j = i + 1; j < n && !triangle; ++j)
                for (int k = j + 1; k < n && !triangle; ++k)
                    triangle = ok[i][j] && ok[j][k] && ok[i][k];
        fieldsWithTriangle += triangle;
        usable += n >= 3;
        segments.push_back(static_cast<double>(catchTotal));
        underLimit += catchTotal < kMaxSegmentos;
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    std::cout << "Database 1 (" << s.fields << " windows of " << s.window1
              << " degree, 10 brightest, magnitude sigma " << s.jitter << "; " << records
              << " ring records)\n"
              << "  stars per window (median): " << Median(starsPerField) << "\n"
              << "  screen pairs of 0.001-0.3 degree in the rings: " << present << " / " << pairs << " = "
              << Pct(present, pairs) << "\n"
              << "  windows with a whole triangle of stored pairs: " << fieldsWithTriangle << " / " << usable
              << " = " << Pct(fieldsWithTriangle, usable) << " (windows with 3 stars or more)\n"
              << "  segments fished by a 5 x 5 degree window: median " << Median(segments)
              << ", 95th percentile " << Quantile(segments, 0.95) << ", max " << Quantile(segments, 1.0)
              << "; under 15000: " << Pct(underLimit, s.fields) << "\n"
              << "  time per window (median): " << FormatNumber(Median(seconds) * 1000, "0.00") << " ms\n";
}

// ---------------------------------------------------------------- database 2

// Count of the tree's records in the box, and the place (from base + 1) of `want` among them.
void TreeQuery(const std::vector<TriangleRecord>& t, const float lo[3], const float hi[3],
               const std::array<int32_t, 3>& want, int64_t& count, int64_t& hitAt, int64_t base) {
    VisitBox(t, lo, hi, [&](int64_t n) {
        ++count;
        const auto& r = t[n - 1];
        std::array<int32_t, 3> got{r.Estrella1, r.Estrella2, r.Estrella3};
        std::sort(got.begin(), got.end());
        if (got == want && hitAt < 0) hitAt = base + count;
    });
}

struct QueryTriangle {
    int a, b, c;  // indices into the field, canonical order
    std::array<double, 3> side;
};

// The image triangles in the order the triangle search works through them.
std::vector<QueryTriangle> SearchOrder(const std::vector<std::pair<FieldStar, int32_t>>& field) {
    const int n = static_cast<int>(field.size());
    auto dist = [&](int i, int j) {
        return AngularDistance(field[i].first.ra, field[i].first.dec, field[j].first.ra, field[j].first.dec);
    };
    const double k = 0.03 / 2.18, cst = 0.0406 / 2.18;
    std::map<std::array<int, 3>, QueryTriangle> kept;
    std::vector<std::array<int, 3>> listT;
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j)
            for (int l = j + 1; l < n; ++l) {
                double sij = dist(i, j), sjl = dist(j, l), sil = dist(i, l);
                int a, b, c;
                if (sij <= sjl && sij <= sil)
                    a = l, b = i, c = j;
                else if (sjl <= sij && sjl <= sil)
                    a = i, b = j, c = l;
                else
                    a = j, b = l, c = i;
                auto P = [&](int p) { return field[p].first; };
                double prod = (P(b).x - P(a).x) * (P(c).y - P(a).y) - (P(b).y - P(a).y) * (P(c).x - P(a).x);
                if (!(prod > 0)) std::swap(b, c);
                QueryTriangle q{a, b, c, {dist(b, c), dist(c, a), dist(a, b)}};
                bool inRange = true;
                for (double sd : q.side)
                    inRange = inRange && (1 - k) * sd - cst < 2.28 && (1 + k) * sd + cst > 0.1;
                if (!inRange) continue;
                kept[{i, j, l}] = q;
                listT.push_back({i, j, l});
            }
    std::vector<QueryTriangle> order;
    std::set<std::array<int, 3>> used;
    auto add = [&](std::array<int, 3> t) {
        std::sort(t.begin(), t.end());
        if (!kept.count(t) || !used.insert(t).second) return;
        order.push_back(kept[t]);
    };
    std::vector<PlanePoint> pts;
    for (const auto& f : field)
        pts.push_back({std::round(f.first.x), std::round(f.first.y)});
    for (const auto& t : DelaunayTriangles(pts))
        add({t[0], t[1], t[2]});
    for (int m = 3; m <= n; ++m)
        for (const auto& t : DelaunayTriangles({pts.begin(), pts.begin() + m}))
            add({t[0], t[1], t[2]});
    for (const auto& t : listT)
        add(t);
    return order;
}

void MeasureDatabase2(const Settings& s, const Sky& sky, const SkyIndex& index) {
    std::vector<DecRecord> dec;
    std::vector<TriangleRecord> tri;
    ReadRecordFile(s.folder + "estDEC_ID1x1g.bin", dec);
    ReadRecordFile(s.folder + "tri2g02.bin", tri);
    std::unordered_map<int32_t, int32_t> recordOfId;
    for (size_t k = 0; k < dec.size(); ++k)
        recordOfId[dec[k].Id] = static_cast<int32_t>(k + 1);
    std::mt19937_64 rng(s.seed + 1);
    int64_t delaunay = 0, delaunayPresent = 0, anyPresent = 0, success = 0, starsKnown = 0, starsSeen = 0;
    std::vector<double> perQuery, rankAtHit, seconds;
    for (int f = 0; f < s.fields; ++f) {
        FieldGeometry g;
        RandomCentre(rng, g.ra, g.dec);
        g.angle = 360 * Uniform(rng);
        double side = s.minField2 + (s.maxField2 - s.minField2) * Uniform(rng);
        g.width = 1200, g.height = 900;
        g.arcsecPerPixel = side * 3600 / g.width;
        auto t0 = std::chrono::steady_clock::now();
        auto field = BrightestInField(sky, index, g, s.jitter, rng, 10);
        std::vector<int32_t> record(field.size(), 0);
        for (size_t i = 0; i < field.size(); ++i) {
            auto it = recordOfId.find(sky.stars[field[i].second].id);
            record[i] = it == recordOfId.end() ? 0 : it->second;
            starsKnown += record[i] > 0;
        }
        starsSeen += static_cast<int64_t>(field.size());
        auto order = SearchOrder(field);
        std::vector<PlanePoint> pts;
        for (const auto& fs : field)
            pts.push_back({fs.first.x, fs.first.y});
        const auto full = DelaunayTriangles(pts);
        int64_t cumulative = 0, hit = -1;
        bool present = false;
        for (size_t q = 0; q < order.size(); ++q) {
            const auto& t = order[q];
            std::array<int32_t, 3> want{record[t.a], record[t.b], record[t.c]};
            std::sort(want.begin(), want.end());
            if (want[0] == 0) want = {-1, -1, -1};
            float lo[3], hi[3];
            for (int d = 0; d < 3; ++d) {
                lo[d] = static_cast<float>((1 - 0.03 / 2.18) * t.side[d] - 0.0406 / 2.18);
                hi[d] = static_cast<float>((1 + 0.03 / 2.18) * t.side[d] + 0.0406 / 2.18);
            }
            int64_t count = 0, hitAt = -1;
            TreeQuery(tri, lo, hi, want, count, hitAt, cumulative);
            if (q < full.size()) perQuery.push_back(static_cast<double>(count));
            if (hitAt >= 0) {
                present = true;
                if (hit < 0) hit = hitAt;
            }
            cumulative += count;
            if (cumulative >= kMaxCandidatos && hit < 0) break;
        }
        for (const auto& t : full) {
            std::array<int32_t, 3> want{record[t[0]], record[t[1]], record[t[2]]};
            std::sort(want.begin(), want.end());
            double sides[3] = {AngularDistance(field[t[0]].first.ra, field[t[0]].first.dec,
                                               field[t[1]].first.ra, field[t[1]].first.dec),
                               AngularDistance(field[t[1]].first.ra, field[t[1]].first.dec,
                                               field[t[2]].first.ra, field[t[2]].first.dec),
                               AngularDistance(field[t[0]].first.ra, field[t[0]].first.dec,
                                               field[t[2]].first.ra, field[t[2]].first.dec)};
            if (*std::min_element(sides, sides + 3) < 0.1 || *std::max_element(sides, sides + 3) > 2.28)
                continue;
            ++delaunay;
            if (want[0] == 0) continue;
            TriangleRecord rec;
            if (!CanonicalTriangle(dec, want[0], want[1], want[2], rec)) continue;
            float lo[3] = {rec.Lado1, rec.Lado2, rec.Lado3};
            int64_t count = 0, hitAt = -1;
            TreeQuery(tri, lo, lo, want, count, hitAt, 0);
            delaunayPresent += hitAt >= 0;
        }
        anyPresent += present;
        if (hit >= 0 && hit <= kMaxCandidatos) {
            ++success;
            rankAtHit.push_back(static_cast<double>(hit));
        }
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    std::cout << "Database 2 (" << s.fields << " fields of " << s.minField2 << " to " << s.maxField2
              << " degrees, 10 brightest, magnitude sigma " << s.jitter << "; " << dec.size() << " stars, "
              << tri.size() << " triangles)\n"
              << "  field stars in estDEC_ID1x1g.bin: " << Pct(starsKnown, starsSeen) << "\n"
              << "  Delaunay triangles (sides 0.1-2.28) in tri2g02.bin: " << delaunayPresent << " / "
              << delaunay << " = " << Pct(delaunayPresent, delaunay) << "\n"
              << "  fields whose right triangle is met before 5000 candidates: " << success << " / "
              << s.fields << " = " << Pct(success, s.fields)
              << " (any right triangle returned: " << Pct(anyPresent, s.fields) << ")\n"
              << "  candidates per Delaunay query: median " << Median(perQuery) << ", 95th percentile "
              << Quantile(perQuery, 0.95) << "; candidates before the right one: median " << Median(rankAtHit)
              << ", 95th percentile " << Quantile(rankAtHit, 0.95) << "\n"
              << "  time per field (median): " << FormatNumber(Median(seconds) * 1000, "0.00") << " ms\n";
}

int Main(int argc, char** argv) {
    Settings s;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto next = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
        if (a == "--db")
            s.folder = next();
        else if (a == "--fields")
            s.fields = TextToLong(next());
        else if (a == "--seed")
            s.seed = static_cast<uint64_t>(TextToLong(next()));
        else if (a == "--jitter")
            s.jitter = TextToDouble(next());
        else if (a == "--only")
            (next() == "1" ? s.db2 : s.db1) = false;
        else
            s.inputs.push_back(a);
    }
    if (s.folder.empty() || s.inputs.empty()) {
        std::cerr << "Usage: tornel-db-fields --db DIR [--fields N] [--seed S] [--jitter SIGMA] [--only 1|2] "
                     "INPUT...\n"
                     "INPUT: the catalogues DIR was built from (for the magnitudes).\n";
        return 2;
    }
    if (s.folder.back() != '/') s.folder += '/';
    Sky sky;
    std::string error;
    if (!LoadSky(s, sky, error)) {
        std::cerr << error << "\n";
        return 1;
    }
    std::vector<double> ra, dec;
    for (const auto& st : sky.stars)
        ra.push_back(st.ra), dec.push_back(st.dec);
    SkyIndex index(ra, dec, 0.5);
    if (s.db1) MeasureDatabase1(s, sky, index);
    if (s.db2) MeasureDatabase2(s, sky, index);
    return 0;
}

}  // namespace
}  // namespace tornel::db

int main(int argc, char** argv) {
    return tornel::db::Main(argc, argv);
}
