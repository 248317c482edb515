#pragma once
// Importers of published star and object catalogues. Each reads one file whole into memory-light
// lists; none throws: a failure answers false with a sentence in `error`.
#include <array>
#include <string>
#include <vector>

#include "herramientas/db/catalog.h"

namespace tornel::db {

enum class InputKind {
    Unknown,
    AstrometryIndex,  // FITS index file with a star tree and a magnitude column (Tycho-2 series)
    StellariumStars,  // stars_L_TvM_m.cat
    StarCsv,          // ra_deg, dec_deg, mag
    OpenNgc,          // SQLite database with the table "cat"
    ObjectCsv,        // ra_deg, dec_deg, size_arcmin, name
};

const char* InputKindName(InputKind kind);
// Recognises a file by its first bytes, never by its name.
InputKind DetectInputKind(const std::string& path);

bool ReadAstrometryIndex(const std::string& path, std::vector<CatalogStar>& out, std::string& error);
// The zones of Stellarium's geodesic grid at `level`, in zone order: three corners (unit vectors) each.
std::vector<std::array<std::array<double, 3>, 3>> GeodesicZones(int level);
bool ReadStellariumStars(const std::string& path, std::vector<CatalogStar>& out, std::string& error);
// Lines "ra_deg, dec_deg, mag" (commas, semicolons, blanks or tabs between fields); a first line that
// is not numeric is a heading; "#" starts a comment. A missing magnitude reads as 99.
bool ReadStarCsv(const std::string& path, std::vector<CatalogStar>& out, std::string& error);
bool ReadOpenNgc(const std::string& path, std::vector<SkyObject>& out, std::string& error);
// Lines "ra_deg, dec_deg, size_arcmin, name"; the name is the rest of the line.
bool ReadObjectCsv(const std::string& path, std::vector<SkyObject>& out, std::string& error);

}  // namespace tornel::db
