#include "catalogo/regions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <string>

#include "astrometria/plate_model.h"
#include "catalogo/database_choice.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr double kSentinel = 1.0e30;

// Regions of a scan, as the region index is read: one record at a time, in file order.
class RegionReader {
  public:
    explicit RegionReader(const std::string& path) : in_(path, std::ios::binary) {
        if (!in_) Raise(kErrFileNotFound);
    }
    bool Next(RegRegion& r) {
        std::array<unsigned char, kLongitudRegRegion> bytes{};
        if (!in_.read(reinterpret_cast<char*>(bytes.data()), kLongitudRegRegion)) return false;
        r = DecodeRegRegion(bytes.data());
        return true;
    }

  private:
    std::ifstream in_;
};

void AppendRegion(std::vector<int32_t>& regiones, int32_t region) {
    regiones.push_back(ToLong(region * 100000.0));
}

std::string WaitText(Context& c) {
    return Pick(c, "Espere...", "Attendez...", "Wait...");
}

}  // namespace

bool ViewOfImage(Context& c, SkyView& v) {
    const double w = c.gAnchoImagen, h = c.gAltoImagen;
    const double points[8][2] = {{1, 1},     {w, 1},     {1, h},     {w, h},
                                 {w / 2, 1}, {w / 2, h}, {1, h / 2}, {w, h / 2}};
    std::array<double, 8> ra{}, de{};
    for (int i = 0; i < 8; ++i) {
        CoordenadasImagenAesfericas(c, points[i][0], points[i][1]);
        if (c.mFinAnalisis) return false;
        ra[static_cast<size_t>(i)] = c.mRAconvertida;
        de[static_cast<size_t>(i)] = c.mDECconvertida;
    }
    v.arMin = std::min(MinimoDe({ra[0], ra[1], ra[2], ra[3], ra[4], ra[5], ra[6], ra[7]}), 360.0);
    v.arMax = std::min(MaximoDe({ra[0], ra[1], ra[2], ra[3], ra[4], ra[5], ra[6], ra[7]}), 360.0);
    v.deMin = MinimoDe({de[0], de[1], de[2], de[3], de[4], de[5], de[6], de[7]});
    v.deMax = MaximoDe({de[0], de[1], de[2], de[3], de[4], de[5], de[6], de[7]});
    double diagonal = std::sqrt(w * w + h * h) * c.gGradosPorPixel;
    if (90 - diagonal < v.deMax) {
        // The north pole is near: every right ascension.
        v.arMin = 0;
        v.arMax = 360;
        v.deMax = 90;
    } else if (diagonal - 90 > v.deMin) {
        v.arMin = 0;
        v.arMax = 360;
        v.deMin = -90;
    } else if (std::fabs(v.arMax - v.arMin) > 180) {
        v.wrap = true;  // the view straddles right ascension 0
    }
    return true;
}

double MinimoDe(std::initializer_list<double> values) {
    double m = kSentinel;
    for (double v : values)
        if (v < m) m = v;
    return m;
}

double MaximoDe(std::initializer_list<double> values) {
    double m = -kSentinel;
    for (double v : values)
        if (v > m) m = v;
    return m;
}

std::string RegionFilePath(const Context& c) {
    return DatabaseFilePath(c.gCarpetaEstrellas, "region.bin");
}

int32_t PosicionEmpiezaRegion(Context& c, int32_t regionPorCienMil) {
    if (c.mFinAnalisis) return 0;
    int32_t answer = 0;
    WithTrap(c, "PosicionEmpiezaRegion", [&] {
        // Database 1's layout, counted from the file as it is now.
        int64_t count = static_cast<int64_t>(
            RoundHalfEven(static_cast<double>(c.gCanalEstrellas->Length()) / kLongitudRegEstrella));
        auto idAt = [&](int64_t n) { return ReadRegEstrella(c, n).Id; };
        if (count >= 1) {
            SearchEnds e = NarrowSearch(regionPorCienMil, count, idAt);
            if (regionPorCienMil < idAt(e.lo)) {
                answer = static_cast<int32_t>(e.lo);
                return;
            }
            if (regionPorCienMil < idAt(e.hi)) {
                answer = static_cast<int32_t>(e.hi);
                return;
            }
        }
        std::string r = std::to_string(regionPorCienMil);
        AvisoIdioma(c, "No encuentra la region " + r, "Région non trouvée " + r, "Region not found " + r);
    });
    return answer;
}

void DeterminaRegionesPorMirar(Context& c, std::vector<int32_t>& regiones, double& arMin, double& arMax,
                               double& deMin, double& deMax) {
    regiones.assign(1, 0);
    WithTrap(c, "DeterminaRegionesPorMirar", [&] {
        SkyView v;
        if (!ViewOfImage(c, v)) return;
        arMin = v.arMin;
        arMax = v.arMax;
        deMin = v.deMin;
        deMax = v.deMax;
        // The index is in millionths of a degree; the limits stay doubles.
        const double a1 = v.arMin * 1000000, a2 = v.arMax * 1000000;
        const double d1 = v.deMin * 1000000, d2 = v.deMax * 1000000;
        RegionReader index(RegionFilePath(c));
        RegRegion r;
        // The index ascends on DeMin: past the view's north edge nothing more can touch it.
        while (index.Next(r) && !(d2 < r.DeMin)) {
            if (d2 <= r.DeMin || d1 >= r.DeMax) continue;
            if (!v.wrap) {
                if (a2 <= r.ArMin || a1 >= r.ArMax) continue;
                AppendRegion(regiones, r.Region);
            } else {
                // Each side of right ascension 0 is its own test: a region on both stands twice.
                if (a2 < r.ArMax) AppendRegion(regiones, r.Region);
                if (a1 > r.ArMin) AppendRegion(regiones, r.Region);
            }
        }
    });
    regiones[0] = static_cast<int32_t>(regiones.size() - 1);
}

bool FabricaFicheroRegiones(Context& c) {
    bool written = WithTrap(c, "FabricaFicheroRegiones", [&] {
        std::vector<RegRegion> work(kNumRegiones + 1);
        StarFile est;
        if (!est.Open(DatabaseFilePath(c.gCarpetaEstrellas, "est.bin"), kLongitudRegEstrella))
            Raise(kErrFileNotFound);
        int64_t region = 0;
        int32_t count = 0;
        RegRegion run{};
        constexpr size_t kChunk = 4096;
        std::vector<unsigned char> buffer(kChunk * kLongitudRegEstrella);
        int64_t offset = 0;
        while (size_t got = est.ReadAt(offset, buffer.data(), buffer.size())) {
            size_t records = got / kLongitudRegEstrella;
            if (records == 0) break;  // a partial last record is not a star
            for (size_t k = 0; k < records; ++k) {
                RegEstrella s = DecodeRegEstrella(&buffer[k * kLongitudRegEstrella]);
                if (s.Id > region * 100000 + 99999) {
                    c.platform.DoEvents();
                    if (region > 0) {
                        ++count;
                        run.Region = static_cast<int32_t>(region);
                        work.at(static_cast<size_t>(count)) = run;
                    }
                    // -900 (not -90000000) on purpose: a southern region then reaches the equator,
                    // which widens every scan and never narrows one.
                    run = {90000000, -900, 360000000, 0, 0};
                    region = ToLong(s.Id / 100000.0);
                    if (count % 100 == 0)
                        c.platform.ShowWait(WaitText(c) + " " + std::to_string((9745 - count) / 100));
                }
                run.ArMin = std::min(run.ArMin, s.Ar);
                run.ArMax = std::max(run.ArMax, s.Ar);
                run.DeMin = std::min(run.DeMin, s.De);
                run.DeMax = std::max(run.DeMax, s.De);
            }
            offset += static_cast<int64_t>(records) * kLongitudRegEstrella;
        }
        run.Region = static_cast<int32_t>(region);
        work.at(static_cast<size_t>(count) + 1) = run;
        est.Close();
        OrdenaRegiones(work, 1, kNumRegiones);
        std::string bytes(static_cast<size_t>(kNumRegiones) * kLongitudRegRegion, '\0');
        for (size_t i = 1; i <= kNumRegiones; ++i)
            EncodeRegRegion(work[i], reinterpret_cast<unsigned char*>(&bytes[(i - 1) * kLongitudRegRegion]));
        if (!WriteFileAtomically(c.gCarpetaEstrellas + "region.bin", bytes)) Raise(kErrPathFileAccess);
    });
    c.platform.HideWait();
    return written;
}

void OrdenaRegiones(std::vector<RegRegion>& regiones, int32_t desde, int32_t hasta) {
    const int32_t pivot = regiones.at(static_cast<size_t>(ToLong((desde + hasta) / 2.0))).DeMin;
    int32_t i = desde, j = hasta;
    auto at = [&](int32_t n) -> RegRegion& { return regiones[static_cast<size_t>(n)]; };
    do {
        while (at(i).DeMin < pivot)
            ++i;
        while (at(j).DeMin > pivot)
            --j;
        if (i <= j) {
            std::swap(at(i), at(j));
            ++i;
            --j;
        }
    } while (i <= j);
    if (desde < j) OrdenaRegiones(regiones, desde, j);
    if (i < hasta) OrdenaRegiones(regiones, i, hasta);
}

}  // namespace tornel
