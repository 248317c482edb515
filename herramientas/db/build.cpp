#include "herramientas/db/build.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <filesystem>

#include "catalogo/quad_index.h"
#include "catalogo/regions.h"
#include "comun/context.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/importers.h"
#include "herramientas/db/progress.h"
#include "herramientas/db/star_tables.h"

namespace tornel::db {
namespace fs = std::filesystem;

static_assert(std::endian::native == std::endian::little, "the database files are written little-endian");

namespace {

// Files written aside in a hidden folder of the destination, renamed into place on Commit.
class StagingFolder {
  public:
    explicit StagingFolder(const std::string& folder) : dest_(folder) {
        fs::create_directories(dest_);
        path_ = dest_ / (".tornel-db-build-" + std::to_string(::getpid()));
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~StagingFolder() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    std::string File(const std::string& name) {
        names_.push_back(name);
        return (path_ / name).string();
    }
    void Commit() {
        for (const auto& n : names_)
            fs::rename(path_ / n, dest_ / n);
    }
    std::string Folder() const { return path_.string() + "/"; }
    int64_t Bytes(const std::string& name) const {
        std::error_code ec;
        auto s = fs::file_size(path_ / name, ec);
        return ec ? 0 : static_cast<int64_t>(s);
    }

  private:
    fs::path dest_, path_;
    std::vector<std::string> names_;
};

std::string Padded3(int32_t n) {
    return FormatNumber(n, "000");
}

template <class R>
void Write(StagingFolder& staging, const std::string& name, const std::vector<R>& records, int64_t& bytes) {
    if (!WriteRecordFile(staging.File(name), records)) throw std::runtime_error("cannot write " + name);
    bytes += staging.Bytes(name);
}

}  // namespace

std::string RingFileName(int32_t ring) {
    return "Ani" + Padded3(ring) + ".bin";
}
std::string PoleFileName(int32_t pole) {
    return "pole" + Padded3(pole) + ".bin";
}

bool LoadInputs(const std::vector<std::string>& paths, BuildInputs& inputs, std::string& error,
                std::ostream* log) {
    for (const auto& p : paths) {
        InputKind kind = DetectInputKind(p);
        std::vector<CatalogStar> stars;
        size_t objectsBefore = inputs.objects.size();
        bool ok = false;
        switch (kind) {
            case InputKind::AstrometryIndex:
                ok = ReadAstrometryIndex(p, stars, error);
                break;
            case InputKind::StellariumStars:
                ok = ReadStellariumStars(p, stars, error);
                break;
            case InputKind::StarCsv:
                ok = ReadStarCsv(p, stars, error);
                break;
            case InputKind::OpenNgc:
                ok = ReadOpenNgc(p, inputs.objects, error);
                break;
            case InputKind::ObjectCsv:
                ok = ReadObjectCsv(p, inputs.objects, error);
                break;
            case InputKind::Unknown:
                error = p + ": not a catalogue this program reads";
                break;
        }
        if (!ok) return false;
        if (log)
            *log << "  " << p << ": " << InputKindName(kind) << ", "
                 << (stars.empty() ? inputs.objects.size() - objectsBefore : stars.size())
                 << (stars.empty() ? " objects\n" : " stars\n");
        if (!stars.empty()) inputs.stars.push_back(std::move(stars));
    }
    return true;
}

std::vector<ObjectRecord> ObjectRecords(std::vector<SkyObject> objects) {
    std::stable_sort(objects.begin(), objects.end(),
                     [](const SkyObject& a, const SkyObject& b) { return a.dec < b.dec; });
    std::vector<ObjectRecord> r(objects.size());
    for (size_t i = 0; i < objects.size(); ++i) {
        r[i].ObjetoRA = objects[i].ra, r[i].ObjetoDEC = objects[i].dec, r[i].ObjetoTamano = objects[i].size;
        std::string name = objects[i].name.substr(0, 26);
        name.resize(26, ' ');
        std::memcpy(r[i].ObjetoNombre, name.data(), 26);
    }
    return r;
}

bool BuildDatabase(Platform& platform, const BuildInputs& inputs, const BuildOptions& o,
                   const std::string& folder, std::ostream* log, std::string& error, BuildReport* reportOut) {
    BuildReport report;
    Progress total(nullptr, "", "");
    try {
        StagingFolder staging(folder);
        if (log) *log << "Merging " << inputs.stars.size() << " star lists\n";
        std::vector<CatalogStar> merged =
            MergeCatalogs(inputs.stars, o.mergeRadiusArcsec, &report.duplicates);
        report.catalogueStars = static_cast<int64_t>(merged.size());
        std::erase_if(merged, [&](const CatalogStar& s) { return s.mag > o.starMagLimit; });
        std::vector<NumberedStar> stars;
        if (!NumberStars(merged, o.regionBandHeight, stars, error)) return false;
        merged = {};
        report.estStars = static_cast<int64_t>(stars.size());
        if (log)
            *log << "  " << report.catalogueStars << " stars (" << report.duplicates
                 << " duplicates dropped), " << stars.size() << " in est.bin, " << kRegionCount
                 << " regions\n";
        auto est = EstRecords(stars);
        Write(staging, "est.bin", est, report.bytesCommon);
        {
            // The region index as the program itself rebuilds it from est.bin.
            Context c(platform);
            c.gMostrarAvisos = false;
            c.gCarpetaEstrellas = staging.Folder();
            if (!FabricaFicheroRegiones(c)) throw std::runtime_error("cannot write region.bin");
            staging.File("region.bin");
            report.bytesCommon += staging.Bytes("region.bin");
        }
        est = {};

        if (o.database1) {
            auto selection = SelectBrightest(stars, o.ringCell, o.ringPerCell, o.ringMagLimit, 0);
            report.ringStars = static_cast<int64_t>(selection.size());
            Progress p(log, "rings", "stars");
            auto rings = RingFiles(stars, selection, [&](int64_t d, int64_t t) { p.Update(d, t); });
            p.Finish(report.ringStars);
            for (int32_t r = kFirstRing; r <= kLastRing; ++r) {
                report.ringPairs += static_cast<int64_t>(rings[r].size());
                Write(staging, RingFileName(r), rings[r], report.bytesDatabase1);
                rings[r] = {};
            }
            for (int32_t pole : {0, 179}) {
                auto file = PoleFile(pole, stars, selection, o.poleTileRadius);
                report.polePairs += static_cast<int64_t>(file.size()) - 2 * kPoleTiles;
                Write(staging, PoleFileName(pole), file, report.bytesDatabase1);
            }
            if (log)
                *log << "  rings: " << report.ringPairs << " pairs of " << report.ringStars
                     << " stars; poles: " << report.polePairs << " pairs\n";
        }
        if (o.database2) {
            auto selection =
                SelectBrightest(stars, o.db2Cell, o.db2PerCell, o.db2MagLimit, o.db2MinSeparation);
            if (selection.size() >= (size_t{1} << 21))
                throw std::runtime_error("too many stars for the triangle road");
            auto dec = DecRecords(stars, selection);
            report.decStars = static_cast<int64_t>(dec.size());
            Write(staging, "estDEC_ID1x1g.bin", dec, report.bytesDatabase2);
            // Brightness rank of each record, from the magnitudes of est.bin stars.
            std::vector<int32_t> rank(dec.size() + 1, 0);
            {
                std::vector<std::pair<float, int32_t>> byMag;
                std::vector<std::pair<int32_t, int32_t>> idToRecord(dec.size());
                for (size_t k = 0; k < dec.size(); ++k)
                    idToRecord[k] = {dec[k].Id, static_cast<int32_t>(k + 1)};
                std::sort(idToRecord.begin(), idToRecord.end());
                for (int32_t s : selection) {  // selection ascends like the Ids
                    auto it = std::lower_bound(idToRecord.begin(), idToRecord.end(),
                                               std::make_pair(stars[s].id, 0));
                    byMag.push_back({stars[s].mag, it->second});
                }
                std::stable_sort(byMag.begin(), byMag.end(),
                                 [](auto a, auto b) { return a.first < b.first; });
                for (size_t k = 0; k < byMag.size(); ++k)
                    rank[byMag[k].second] = static_cast<int32_t>(k);
            }
            Progress p(log, "triangles", "fields");
            auto chosen =
                ChooseTriangles(dec, rank, o.triangles, [&](int64_t d, int64_t t) { p.Update(d, t); });
            p.Finish(static_cast<int64_t>(chosen.size()));
            report.triangles = static_cast<int64_t>(chosen.size());
            Write(staging, "tri2g02.bin", TriangleTree(std::move(chosen)), report.bytesDatabase2);
            // est.ele: one 32-bit value, the number of stars of the triangle road.
            std::vector<int32_t> ele{static_cast<int32_t>(dec.size())};
            if (!WriteFileAtomically(staging.File("est.ele"),
                                     std::string(reinterpret_cast<const char*>(ele.data()), 4)))
                throw std::runtime_error("cannot write est.ele");
            report.bytesDatabase2 += 4;
            if (log)
                *log << "  triangle road: " << report.decStars << " stars, " << report.triangles
                     << " triangles\n";
        }
        if (o.quads) {
            Progress p(log, "patterns", "cells");
            QuadReport quads;
            const std::string file =
                BuildQuadIndex(stars, o.quadChoice, quads, [&](int64_t d, int64_t t) { p.Update(d, t); });
            p.Finish(quads.cells);
            if (!WriteFileAtomically(staging.File(kQuadIndexFile), file))
                throw std::runtime_error(std::string("cannot write ") + kQuadIndexFile);
            report.quadStars = quads.stars;
            report.quads = quads.quads;
            report.bytesQuads = static_cast<int64_t>(file.size());
            if (log) {
                *log << "  patterns: " << quads.quads << " quads of " << quads.stars << " stars in "
                     << quads.quadsPerLevel.size() << " levels (";
                for (size_t l = 0; l < quads.quadsPerLevel.size(); ++l)
                    *log << (l ? " " : "") << quads.quadsPerLevel[l];
                *log << ")\n";
            }
        }
        if (!inputs.objects.empty()) {
            report.objects = static_cast<int64_t>(inputs.objects.size());
            Write(staging, "pgc.bin", ObjectRecords(inputs.objects), report.bytesCommon);
        }
        staging.Commit();
    } catch (const std::exception& e) {
        error = e.what();
        return false;
    }
    report.seconds = total.Seconds();
    if (reportOut) *reportOut = report;
    return true;
}

}  // namespace tornel::db
