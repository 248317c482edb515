#include "catalogo/deep_sky_objects.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>
#include <limits>

#include "astrometria/planets.h"
#include "astrometria/plate_model.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"

namespace tornel {

namespace {

struct Limits {
    double decLow = 90, decHigh = -90;
    // Right ascension pieces: [low1, high1] and, across 0, [low2, high2].
    double low1 = 0, high1 = 360, low2 = 1, high2 = 0;
};

bool InPieces(const Limits& l, double ra) {
    return (ra >= l.low1 && ra <= l.high1) || (ra >= l.low2 && ra <= l.high2);
}

// The sky that the image covers, from points along its edges (the corners alone miss the bulge of a
// wide field's edges toward a pole); with a pole on the image, every right ascension.
Limits SkyLimits(Context& c) {
    const double w = c.gAnchoImagen, h = c.gAltoImagen;
    std::vector<double> ras;
    Limits l;
    constexpr int kSteps = 8;
    for (int k = 0; k <= kSteps; ++k) {
        const double f = static_cast<double>(k) / kSteps;
        for (const auto& [x, y] : {std::pair{1 + f * (w - 1), 1.0}, std::pair{1 + f * (w - 1), h},
                                   std::pair{1.0, 1 + f * (h - 1)}, std::pair{w, 1 + f * (h - 1)}}) {
            CoordenadasImagenAesfericas(c, x, y);
            ras.push_back(c.mRAconvertida);
            l.decLow = std::min(l.decLow, c.mDECconvertida);
            l.decHigh = std::max(l.decHigh, c.mDECconvertida);
        }
    }
    const PlateInverse inverse = InvertPlate(c.Cij);
    for (double pole : {90.0, -90.0}) {
        double x = 0, y = 0;
        if (SkyToPixel(c, inverse, 0, pole, x, y) && x >= 0 && y >= 0 && x <= w && y <= h) {
            (pole > 0 ? l.decHigh : l.decLow) = pole;
            return l;  // every right ascension
        }
    }
    std::sort(ras.begin(), ras.end());
    // The widest gap between neighbouring right ascensions, round the circle, is the sky left out.
    double gap = ras.front() + 360 - ras.back(), from = ras.back(), to = ras.front();
    for (size_t k = 1; k < ras.size(); ++k)
        if (ras[k] - ras[k - 1] > gap) gap = ras[k] - ras[k - 1], from = ras[k - 1], to = ras[k];
    // The image spans from `to` round to `from`.
    if (to <= from) {
        l.low1 = to, l.high1 = from;
    } else {
        l.low1 = to, l.high1 = 360, l.low2 = 0, l.high2 = from;
    }
    return l;
}

struct Record {
    float ra = 0, dec = 0, size = 0;
    std::string name;
};

// The record where the stream stands.
bool ReadNext(std::ifstream& in, Record& r) {
    char bytes[kObjectRecordBytes];
    if (!in.read(bytes, sizeof bytes)) return false;
    std::memcpy(&r.ra, bytes, 4);
    std::memcpy(&r.dec, bytes + 4, 4);
    std::memcpy(&r.size, bytes + 8, 4);
    r.name.assign(bytes + 12, 26);
    r.name.erase(r.name.find_last_not_of(' ') + 1);
    r.name.erase(0, std::min(r.name.size(), r.name.find_first_not_of(' ')));
    return true;
}

bool ReadRecord(std::ifstream& in, int64_t n, Record& r) {
    in.seekg(static_cast<std::streamoff>(n) * static_cast<std::streamoff>(kObjectRecordBytes));
    return ReadNext(in, r);
}

}  // namespace

bool ObjectsInImage(Context& c, const std::string& path, std::vector<ObjectInImage>& objects) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    in.seekg(0, std::ios::end);
    const auto count = static_cast<int64_t>(in.tellg()) / static_cast<int64_t>(kObjectRecordBytes);
    const Limits l = SkyLimits(c);
    // The first record at the lower declination: the lowest whose declination is not below it.
    int64_t low = 0, high = count;
    Record r;
    while (low < high) {
        const int64_t mid = low + (high - low) / 2;
        if (!ReadRecord(in, mid, r)) return false;
        if (r.dec < l.decLow)
            low = mid + 1;
        else
            high = mid;
    }
    const PlateInverse inverse = InvertPlate(c.Cij);
    // From there on in order: a seek for every record would empty the stream's buffer each time.
    in.clear();
    in.seekg(static_cast<std::streamoff>(low) * static_cast<std::streamoff>(kObjectRecordBytes));
    for (int64_t n = low; n < count && ReadNext(in, r) && r.dec <= l.decHigh; ++n) {
        if (!InPieces(l, r.ra)) continue;
        double x = 0, y = 0;
        if (SkyToPixel(c, inverse, r.ra, r.dec, x, y) && x >= 0 && y >= 0 && x <= c.gAnchoImagen &&
            y <= c.gAltoImagen)
            objects.push_back({r.name, r.ra, r.dec, x, y});
    }
    return true;
}

void DibujaObjeto(Context& c, double ra, double dec, const std::string& name) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "DibujaObjeto", [&] {
        double x = 0, y = 0;
        CoordenadasCatalogoAimagen(c, ra, dec, x, y);
        if (!(x >= 0 && y >= 0 && x <= c.gAnchoImagen && y <= c.gAltoImagen)) return;
        double dx = 0, dy = 0;
        ToDisplay(c, x, y, dx, dy);
        c.platform.DrawCircle(dx, dy, 10, OverlayColour::Cyan, 1);
        const double width = c.gPixelesX / static_cast<double>(c.gFactorReduccion);
        const double height = c.gPixelesY / static_cast<double>(c.gFactorReduccion);
        const double tx = dx > width - 80 ? dx - 60 : dx + 12, ty = dy > height - 20 ? dy - 15 : dy;
        c.platform.DrawText(tx, ty, name, OverlayColour::Cyan);
    });
}

void BuscaObjetosNGCdicotomica(Context& c) {
    if (c.mFinAnalisis) return;
    const std::string path = c.gCarpetaEstrellas + "pgc.bin";
    if (!FileExists(path)) {
        ParaResumen(c, "No existe Base de Datos de objetos.", "Base de données des Objets non trouvée.",
                    "Objects DataBase not found.");
        return;
    }
    WithTrap(c, "BuscaObjetosNGCdicotomica", [&] {
        std::vector<ObjectInImage> objects;
        if (!ObjectsInImage(c, path, objects)) Raise(kErrPathFileAccess);
        for (const ObjectInImage& o : objects)
            DibujaObjeto(c, o.ra, o.dec, o.name);
    });
}

void BuscaPlanetas(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "BuscaPlanetas", [&] {
        int32_t year = c.mAnioObs, month = c.mMesObs, day = c.mDiaObs;
        double hour = c.mHoraObs + c.mMinutoObs / 60.0 + c.mSegundoObs / 3600.0;
        if (year == 0) {
            // An image that does not say when it was taken is taken to be of now.
            const std::time_t now = std::chrono::system_clock::to_time_t(c.platform.Now());
            std::tm utc{};
            gmtime_r(&now, &utc);
            year = utc.tm_year + 1900, month = utc.tm_mon + 1, day = utc.tm_mday;
            hour = utc.tm_hour + utc.tm_min / 60.0 + utc.tm_sec / 3600.0;
        }
        const auto places = PlanetPlaces(year, month, day, hour);
        for (size_t k = 0; k < places.size(); ++k)
            DibujaObjeto(c, places[k].ra, places[k].dec, kPlanetNames[k]);
    });
}

}  // namespace tornel
