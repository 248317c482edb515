#include "herramientas/db/check.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>

#include <unistd.h>

#include "catalogo/regions.h"
#include "comun/context.h"
#include "comun/numbers.h"
#include "herramientas/db/build.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/records.h"
#include "herramientas/db/sky_geometry.h"
#include "herramientas/db/sky_index.h"
#include "herramientas/db/star_tables.h"
#include "herramientas/db/triangle_file.h"

namespace tornel::db {
namespace fs = std::filesystem;

bool FolderReport::AllHold() const {
    return std::all_of(invariants.begin(), invariants.end(), [](const Invariant& i) { return i.holds; });
}

namespace {

constexpr double kSkyArea = 41252.96;

// Collects the faults of one invariant; the first is kept as its detail.
class Fault {
  public:
    explicit Fault(std::string name) : name_(std::move(name)) {}
    void Check(bool ok, const std::function<std::string()>& what) {
        if (ok) return;
        if (count_++ == 0) first_ = what();
    }
    Invariant Done(const std::string& okDetail = {}) const {
        Invariant i{name_, count_ == 0, okDetail};
        if (count_) i.detail = std::to_string(count_) + " faults; first: " + first_;
        return i;
    }

  private:
    std::string name_, first_;
    int64_t count_ = 0;
};

std::string MiB(int64_t bytes) {
    return FormatNumber(bytes / 1048576.0, "0.0") + " MiB";
}

int64_t SizeOf(const fs::path& p) {
    std::error_code ec;
    auto s = fs::file_size(p, ec);
    return ec ? -1 : static_cast<int64_t>(s);
}

std::string Text(int64_t v) {
    return std::to_string(v);
}

// Record number (from 1) of est.bin holding `id`, or 0.
int32_t FindId(const std::vector<EstRecord>& est, int32_t id) {
    auto it =
        std::lower_bound(est.begin(), est.end(), id, [](const EstRecord& r, int32_t v) { return r.Id < v; });
    return it != est.end() && it->Id == id ? static_cast<int32_t>(it - est.begin() + 1) : 0;
}

NumberedStar StarOf(const EstRecord& r) {
    return {r.Id, r.Ar / 1e6, r.De / 1e6, 99};
}

void CheckStars(const std::vector<EstRecord>& est, FolderReport& out) {
    Fault order("est.bin: records in strictly ascending Id"),
        numbers("est.bin: star numbers region x 100000 + 1..99999");
    Fault coords("est.bin: Ar within 0..360000000 and De within -90000000..90000000");
    std::vector<int32_t> perRegion(kRegionCount + 1, 0);
    for (size_t i = 0; i < est.size(); ++i) {
        const auto& r = est[i];
        order.Check(i == 0 || est[i - 1].Id < r.Id, [&] { return "record " + Text(i + 1); });
        int32_t region = r.Id / 100000, rank = r.Id % 100000;
        bool okNumber = region >= 1 && region <= kRegionCount && rank >= 1;
        numbers.Check(okNumber, [&] { return "Id " + Text(r.Id); });
        if (okNumber) ++perRegion[region];
        coords.Check(r.Ar >= 0 && r.Ar <= 360000000 && r.De >= -90000000 && r.De <= 90000000,
                     [&] { return "record " + Text(i + 1); });
    }
    Fault regions("est.bin: regions 1 to 9537 each hold at least one star");
    for (int32_t g = 1; g <= kRegionCount; ++g)
        regions.Check(perRegion[g] > 0, [&] { return "region " + Text(g) + " is empty"; });
    for (auto* f : {&order, &numbers, &coords, &regions})
        out.invariants.push_back(f->Done());
}

void CheckRegions(Platform& platform, const std::string& dir, FolderReport& out) {
    std::vector<RegionRecord> reg;
    Fault f("region.bin: 9537 records in ascending DeMin, as the program rebuilds it from est.bin");
    if (!ReadRecordFile(dir + "region.bin", reg)) {
        f.Check(false, [] { return std::string("region.bin missing or of a bad length"); });
        out.invariants.push_back(f.Done());
        return;
    }
    f.Check(reg.size() == static_cast<size_t>(kRegionCount), [&] { return Text(reg.size()) + " records"; });
    for (size_t i = 1; i < reg.size(); ++i)
        f.Check(reg[i - 1].DeMin <= reg[i].DeMin, [&] { return "record " + Text(i + 1) + " out of order"; });
    // The program's rebuild, in a folder of its own that sees the same est.bin.
    std::vector<RegionRecord> rebuilt;
    {
        fs::path aside = fs::temp_directory_path() / ("tornel-db-info-" + std::to_string(::getpid()));
        fs::remove_all(aside);
        fs::create_directories(aside);
        fs::create_symlink(fs::absolute(dir + "est.bin"), aside / "est.bin");
        Context c(platform);
        c.gMostrarAvisos = false;
        c.gCarpetaEstrellas = aside.string() + "/";
        if (!FabricaFicheroRegiones(c) || !ReadRecordFile(c.gCarpetaEstrellas + "region.bin", rebuilt))
            f.Check(false, [] { return std::string("the program could not rebuild the index"); });
        fs::remove_all(aside);
    }
    for (size_t i = 0; i < std::min(reg.size(), rebuilt.size()); ++i) {
        const auto &a = reg[i], &b = rebuilt[i];
        f.Check(a.DeMin == b.DeMin && a.DeMax == b.DeMax && a.ArMin == b.ArMin && a.ArMax == b.ArMax &&
                    a.Region == b.Region,
                [&] { return "record " + Text(i + 1) + " differs from the rebuilt index"; });
    }
    out.invariants.push_back(f.Done());
}

// Distance and inclination band of a stored pair against the stars' coordinates.
bool PairMatches(PairMeter& meter, const NumberedStar& a, const NumberedStar& b, int32_t units, int32_t band,
                 int32_t ring, int16_t ar10, std::string& why) {
    DistanceRecord rec;
    int32_t r;
    if (!RingRecord(meter, a, b, rec, r)) {
        why = "pair not measurable";
        return false;
    }
    if (rec.Clave % 100000 != units)
        why = "distance " + Text(units) + " against " + Text(rec.Clave % 100000);
    else if (band >= 0 && rec.Clave / 100000 != band)
        why = "band " + Text(band) + " against " + Text(rec.Clave / 100000);
    else if (ring >= 0 && r != ring)
        why = "midpoint in ring " + Text(r);
    else if (rec.ArMedia10 != ar10)
        why = "ArMedia10 " + Text(ar10) + " against " + Text(rec.ArMedia10);
    else if (rec.EstrellaA != a.id)
        why = "EstrellaA is nearer the north pole";
    return why.empty();
}

void CheckRings(const std::string& dir, const std::vector<EstRecord>& est, FolderReport& out, int64_t& pairs,
                int64_t& bytes) {
    PairMeter meter;
    Fault present("rings: Ani001.bin to Ani178.bin present"), sorted("rings: records in ascending Clave");
    Fault ranges("rings: band 0..179, distance 100..29999, ArMedia10 0..3599");
    Fault stars("rings: both stars are in est.bin"),
        measure("rings: distance, band, ring, ArMedia10 and EstrellaA recomputed from the stars");
    for (int32_t ring = kFirstRing; ring <= kLastRing; ++ring) {
        std::vector<DistanceRecord> recs;
        std::string name = RingFileName(ring);
        bool ok = ReadRecordFile(dir + name, recs);
        present.Check(ok, [&] { return name; });
        if (!ok) continue;
        bytes += SizeOf(dir + name);
        pairs += static_cast<int64_t>(recs.size());
        for (size_t i = 0; i < recs.size(); ++i) {
            const auto& r = recs[i];
            auto where = [&] { return name + " record " + Text(i + 1); };
            sorted.Check(i == 0 || recs[i - 1].Clave <= r.Clave, where);
            int32_t band = r.Clave / 100000, units = r.Clave % 100000;
            ranges.Check(band >= 0 && band <= 179 && units >= kMinDistanceUnits &&
                             units <= kMaxDistanceUnits && r.ArMedia10 >= 0 && r.ArMedia10 < 3600,
                         where);
            int32_t ia = FindId(est, r.EstrellaA), ib = FindId(est, r.EstrellaB);
            stars.Check(ia && ib, where);
            if (!ia || !ib) continue;
            std::string why;
            measure.Check(PairMatches(meter, StarOf(est[ia - 1]), StarOf(est[ib - 1]), units, band, ring,
                                      r.ArMedia10, why),
                          [&] { return where() + ": " + why; });
        }
    }
    for (auto* f : {&present, &sorted, &ranges, &stars, &measure})
        out.invariants.push_back(f->Done());
}

void CheckPole(const std::string& dir, int32_t pole, const std::vector<EstRecord>& est, FolderReport& out,
               int64_t& pairs, int64_t& bytes) {
    PairMeter meter;
    std::string name = PoleFileName(pole);
    std::vector<DistanceRecord> recs;
    Fault head(name + ": 74-record head naming contiguous tiles"),
        body(name + ": tiles in ascending distance, stars in est.bin, distances recomputed");
    if (!ReadRecordFile(dir + name, recs) || recs.size() < 2 * kPoleTiles) {
        head.Check(false, [&] { return name + " missing or shorter than its head"; });
        out.invariants.push_back(head.Done());
        return;
    }
    bytes += SizeOf(dir + name);
    pairs += static_cast<int64_t>(recs.size()) - 2 * kPoleTiles;
    int32_t expected = 2 * kPoleTiles + 1;
    for (int32_t t = 1; t <= kPoleTiles; ++t) {
        int32_t first = recs[2 * t - 2].Clave, last = recs[2 * t - 1].Clave;
        head.Check(first == expected && last >= first - 1 && last <= static_cast<int32_t>(recs.size()),
                   [&] { return "tile " + Text(t) + ": " + Text(first) + " to " + Text(last); });
        expected = last + 1;
        for (int32_t n = std::max(first, 2 * kPoleTiles + 1);
             n <= std::min<int32_t>(last, static_cast<int32_t>(recs.size())); ++n) {
            const auto& r = recs[n - 1];
            auto where = [&] { return "tile " + Text(t) + " record " + Text(n); };
            body.Check(n == first || recs[n - 2].Clave <= r.Clave, where);
            bool inFile = r.EstrellaA >= 1 && r.EstrellaB >= 1 &&
                          r.EstrellaA <= static_cast<int32_t>(est.size()) &&
                          r.EstrellaB <= static_cast<int32_t>(est.size());
            body.Check(inFile, where);
            if (!inFile) continue;
            std::string why;
            body.Check(PairMatches(meter, StarOf(est[r.EstrellaA - 1]), StarOf(est[r.EstrellaB - 1]), r.Clave,
                                   -1, -1, r.ArMedia10, why),
                       [&] { return where() + ": " + why; });
        }
    }
    head.Check(expected == static_cast<int32_t>(recs.size()) + 1,
               [&] { return std::string("records after the last tile"); });
    out.invariants.push_back(head.Done());
    out.invariants.push_back(body.Done());
}

void CheckDecFile(const std::vector<DecRecord>& dec, const std::vector<EstRecord>& est, FolderReport& out) {
    Fault sorted("estDEC_ID1x1g.bin: records in ascending declination"),
        perm("estDEC_ID1x1g.bin: PosicionOrdenId is a permutation to ascending Id");
    Fault same("estDEC_ID1x1g.bin: every star is the est.bin star of its Id"),
        apart("estDEC_ID1x1g.bin: no two stars closer than 0.1 degree");
    std::vector<char> used(dec.size() + 1, 0);
    int32_t prevId = INT32_MIN;
    for (size_t k = 0; k < dec.size(); ++k) {
        sorted.Check(k == 0 || dec[k - 1].De <= dec[k].De, [&] { return "record " + Text(k + 1); });
        int32_t p = dec[k].PosicionOrdenId;
        bool ok = p >= 1 && p <= static_cast<int32_t>(dec.size()) && !used[p];
        perm.Check(ok, [&] { return "rank " + Text(k + 1) + " names record " + Text(p); });
        if (!ok) continue;
        used[p] = 1;
        perm.Check(dec[p - 1].Id > prevId, [&] { return "rank " + Text(k + 1); });
        prevId = dec[p - 1].Id;
        int32_t e = FindId(est, dec[k].Id);
        same.Check(e && static_cast<float>(est[e - 1].Ar / 1e6) == dec[k].Ar &&
                       static_cast<float>(est[e - 1].De / 1e6) == dec[k].De,
                   [&] { return "Id " + Text(dec[k].Id); });
    }
    std::vector<double> ra(dec.size()), de(dec.size());
    for (size_t k = 0; k < dec.size(); ++k)
        ra[k] = dec[k].Ar, de[k] = dec[k].De;
    SkyIndex index(ra, de, 0.5);
    index.ForEachPair(0.0999, [&](int32_t a, int32_t b) {
        apart.Check(AngularDistance(ra[a], de[a], ra[b], de[b]) >= 0.1 - 1e-6,
                    [&] { return "records " + Text(a + 1) + " and " + Text(b + 1); });
    });
    for (auto* f : {&sorted, &perm, &same, &apart})
        out.invariants.push_back(f->Done());
}

void CheckTriangles(const std::vector<TriangleRecord>& tri, const std::vector<DecRecord>& dec,
                    FolderReport& out, int64_t& filled) {
    Fault tree("tri2g02.bin: the tree property at every node, nothing below an empty slot");
    Fault shape("tri2g02.bin: sides 0.1..2.28, Lado1 the smallest, stars of estDEC_ID1x1g.bin");
    Fault canon("tri2g02.bin: canonical vertex order and sides recomputed from the stars");
    struct Bounds {
        float lo[3], hi[3];
        bool empty;
    };
    // Walk from the root carrying the limits that the ancestors' splits put on each side.
    std::vector<std::pair<size_t, Bounds>> stack;
    if (!tri.empty()) stack.push_back({1, {{-1e30f, -1e30f, -1e30f}, {1e30f, 1e30f, 1e30f}, false}});
    filled = 0;
    while (!stack.empty()) {
        // Named copies, not a structured binding: clang 14 cannot capture one in the lambdas below.
        const size_t node = stack.back().first;
        const Bounds b = stack.back().second;
        stack.pop_back();
        const auto& t = tri[node - 1];
        int level = 0;
        while ((size_t{2} << level) <= node)
            ++level;
        int k = level % 3;
        float s[3] = {t.Lado1, t.Lado2, t.Lado3};
        bool isEmpty = s[k] == 0;
        auto where = [&] { return "record " + Text(node); };
        if (b.empty) {
            tree.Check(s[0] == 0 && s[1] == 0 && s[2] == 0,
                       [&] { return where() + " hangs below an empty slot"; });
        } else if (!isEmpty) {
            ++filled;
            for (int d = 0; d < 3; ++d)
                tree.Check(s[d] >= b.lo[d] && s[d] <= b.hi[d], where);
            shape.Check(s[0] >= kMinTriangleSide - 1e-6 && s[2] <= kMaxTriangleSide + 1e-6 &&
                            s[1] <= kMaxTriangleSide + 1e-6 && s[0] <= s[1] && s[0] <= s[2] &&
                            t.Estrella1 >= 1 && t.Estrella2 >= 1 && t.Estrella3 >= 1 &&
                            t.Estrella1 <= static_cast<int32_t>(dec.size()) &&
                            t.Estrella2 <= static_cast<int32_t>(dec.size()) &&
                            t.Estrella3 <= static_cast<int32_t>(dec.size()),
                        where);
            TriangleRecord again;
            bool ok = t.Estrella1 >= 1 && t.Estrella2 >= 1 && t.Estrella3 >= 1 &&
                      std::max({t.Estrella1, t.Estrella2, t.Estrella3}) <= static_cast<int32_t>(dec.size()) &&
                      CanonicalTriangle(dec, t.Estrella1, t.Estrella2, t.Estrella3, again) &&
                      again.Estrella1 == t.Estrella1 && again.Estrella2 == t.Estrella2 &&
                      again.Estrella3 == t.Estrella3 && again.Lado1 == t.Lado1 && again.Lado2 == t.Lado2 &&
                      again.Lado3 == t.Lado3;
            canon.Check(ok, where);
        }
        Bounds left = b, right = b;
        if (isEmpty || b.empty)
            left.empty = right.empty = true;
        else
            left.hi[k] = std::min(left.hi[k], s[k]), right.lo[k] = std::max(right.lo[k], s[k]);
        if (2 * node <= tri.size()) stack.push_back({2 * node, left});
        if (2 * node + 1 <= tri.size()) stack.push_back({2 * node + 1, right});
    }
    for (auto* f : {&tree, &shape, &canon})
        out.invariants.push_back(f->Done());
}

}  // namespace

FolderReport InspectDatabase(Platform& platform, const std::string& folderIn) {
    FolderReport out;
    std::string dir = folderIn.empty() || folderIn.back() == '/' ? folderIn : folderIn + "/";
    std::vector<EstRecord> est;
    if (!ReadRecordFile(dir + "est.bin", est)) {
        out.invariants.push_back({"est.bin present", false, dir + "est.bin missing or of a bad length"});
        return out;
    }
    out.facts.push_back("est.bin: " + Text(est.size()) + " stars, " + MiB(SizeOf(dir + "est.bin")) + ", " +
                        FormatNumber(est.size() / kSkyArea, "0.0") + " stars per square degree, " +
                        Text(kRegionCount) + " regions (" +
                        FormatNumber(static_cast<double>(est.size()) / kRegionCount, "0.0") +
                        " stars per region)");
    CheckStars(est, out);
    CheckRegions(platform, dir, out);

    bool db1 = fs::exists(dir + RingFileName(90)) || fs::exists(dir + PoleFileName(0));
    if (db1) {
        int64_t pairs = 0, bytes = 0, polePairs = 0;
        CheckRings(dir, est, out, pairs, bytes);
        int64_t before = bytes;
        CheckPole(dir, 0, est, out, polePairs, bytes);
        CheckPole(dir, 179, est, out, polePairs, bytes);
        out.facts.push_back("distance rings: " + Text(pairs) + " pairs, " + MiB(before) + ", " +
                            FormatNumber(pairs / kSkyArea, "0") + " pairs per square degree");
        out.facts.push_back("pole files: " + Text(polePairs) + " pairs, " + MiB(bytes - before));
        out.facts.push_back("database 1: " +
                            MiB(bytes + SizeOf(dir + "est.bin") + SizeOf(dir + "region.bin")));
    } else {
        out.facts.push_back("database 1 (distance rings): not built");
    }
    bool db2 = fs::exists(dir + "estDEC_ID1x1g.bin") || fs::exists(dir + "tri2g02.bin");
    if (db2) {
        std::vector<DecRecord> dec;
        std::vector<TriangleRecord> tri;
        bool okDec = ReadRecordFile(dir + "estDEC_ID1x1g.bin", dec),
             okTri = ReadRecordFile(dir + "tri2g02.bin", tri);
        out.invariants.push_back({"estDEC_ID1x1g.bin and tri2g02.bin present", okDec && okTri, {}});
        out.invariants.push_back({"est.ele present", SizeOf(dir + "est.ele") >= 4, {}});
        if (okDec) CheckDecFile(dec, est, out);
        int64_t filled = 0;
        if (okDec && okTri) CheckTriangles(tri, dec, out, filled);
        out.facts.push_back("estDEC_ID1x1g.bin: " + Text(dec.size()) + " stars, " +
                            MiB(SizeOf(dir + "estDEC_ID1x1g.bin")) + ", " +
                            FormatNumber(dec.size() / kSkyArea, "0.00") + " stars per square degree");
        out.facts.push_back(
            "tri2g02.bin: " + Text(filled) + " triangles in " + Text(tri.size()) + " records, " +
            MiB(SizeOf(dir + "tri2g02.bin")) + ", " +
            FormatNumber(dec.empty() ? 0.0 : static_cast<double>(filled) / dec.size(), "0.0") + " per star");
        out.facts.push_back("database 2: " + MiB(SizeOf(dir + "estDEC_ID1x1g.bin") +
                                                 SizeOf(dir + "tri2g02.bin") + SizeOf(dir + "est.ele")));
    } else {
        out.facts.push_back("database 2 (triangles): not built");
    }
    std::vector<ObjectRecord> obj;
    if (fs::exists(dir + "pgc.bin")) {
        bool ok = ReadRecordFile(dir + "pgc.bin", obj);
        Fault f("pgc.bin: 38-byte records in ascending declination");
        f.Check(ok, [] { return std::string("length is not a whole number of records"); });
        for (size_t i = 1; i < obj.size(); ++i)
            f.Check(obj[i - 1].ObjetoDEC <= obj[i].ObjetoDEC, [&] { return "record " + Text(i + 1); });
        out.invariants.push_back(f.Done());
        out.facts.push_back("pgc.bin: " + Text(obj.size()) + " objects, " + MiB(SizeOf(dir + "pgc.bin")));
    } else {
        out.facts.push_back("pgc.bin: not built");
    }
    return out;
}

}  // namespace tornel::db
