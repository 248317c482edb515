#pragma once
// A whole database folder built from star and object catalogues.
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "herramientas/db/catalog.h"
#include "herramientas/db/quad_file.h"
#include "herramientas/db/triangle_file.h"

namespace tornel {
class Platform;
}

namespace tornel::db {

// Every tunable of a build, at the defaults chosen on the field benchmark (see the README).
struct BuildOptions {
    double mergeRadiusArcsec = 30.0;  // stars of different inputs closer than this are one star
    double starMagLimit = 99;         // est.bin: faintest magnitude kept
    double regionBandHeight = 2.0;    // degrees: declination bands of the 9537 regions

    bool database1 = true;
    double ringCell = 0.25;        // degrees: cells of the ring star cap
    int32_t ringPerCell = 0;       // brightest stars per cell that enter the rings and poles; 0: all
    double ringMagLimit = 99;      // faintest magnitude that enters the rings and poles
    double poleTileRadius = 0.75;  // degrees: stars of a pole tile lie this close to its centre

    bool database2 = true;
    double db2Cell = 1.0;    // degrees: cells of the triangle-road star cap
    int32_t db2PerCell = 6;  // brightest stars per cell in estDEC_ID1x1g.bin
    double db2MagLimit = 99;
    double db2MinSeparation = 0.1;  // degrees, the least distance the triangle road resolves
    TriangleChoice triangles;

    bool quads = true;  // the pattern index, quads.bin
    QuadChoice quadChoice;
};

struct BuildInputs {
    std::vector<std::vector<CatalogStar>> stars;  // one list per input file
    std::vector<SkyObject> objects;
};

// Reads every input, recognised by its content. False with a sentence on the first failure.
bool LoadInputs(const std::vector<std::string>& paths, BuildInputs& inputs, std::string& error,
                std::ostream* log);

struct BuildReport {
    int64_t catalogueStars = 0, duplicates = 0, estStars = 0, ringStars = 0, ringPairs = 0, polePairs = 0;
    int64_t decStars = 0, triangles = 0, objects = 0, quadStars = 0, quads = 0;
    int64_t bytesDatabase1 = 0, bytesDatabase2 = 0, bytesCommon = 0, bytesQuads = 0;
    double seconds = 0;
};

// Builds into a staging folder beside the files and renames each into `folder` at the end, so that
// a build that fails or is interrupted leaves the old database as it was.
// region.bin is made by the program's own rebuild of the index, on `platform`.
bool BuildDatabase(Platform& platform, const BuildInputs& inputs, const BuildOptions& options,
                   const std::string& folder, std::ostream* log, std::string& error,
                   BuildReport* report = nullptr);

// pgc.bin records: sorted by declination, names blank-padded to 26 characters.
std::vector<ObjectRecord> ObjectRecords(std::vector<SkyObject> objects);

// The ring file name of ring r, "Ani" + "000" form + ".bin"; the pole file of pole 0 or 179.
std::string RingFileName(int32_t ring);
std::string PoleFileName(int32_t pole);

}  // namespace tornel::db
