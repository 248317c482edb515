#pragma once
// The lengths of the database files against what their records and tables say, checked when the
// databases are put in force: a file cut short, grown or overwritten is refused by name there,
// rather than read as stars at the first search.
#include <cstdint>
#include <string>

#include "comun/context.h"
#include "resultados/resumen.h"

namespace tornel {

enum class DatabaseFileLayout : uint8_t {
    Stars,               // est.bin, 12-byte records
    StarsByDeclination,  // estDEC_ID1x1g.bin, 16-byte records
    Regions,             // region.bin, exactly kNumRegiones records of 20 bytes
    Ring,                // the distance rings, 14-byte records
    Pole,                // pole000.bin and pole179.bin: 14-byte records, the first 74 the tiles' bounds
    Triangles,           // tri2g02.bin, 24-byte records
    Objects,             // pgc.bin, 38-byte records
};

// What is wrong with the file `path`, which must be laid out as `layout`: empty when it agrees with
// its length or cannot be opened (a missing file is told elsewhere); otherwise the reason, in three
// languages, to follow the file's name.
struct DatabaseFileFault {
    std::string es, fr, en;
    bool Found() const { return !en.empty(); }
};
DatabaseFileFault CheckDatabaseFile(const std::string& path, DatabaseFileLayout layout);

// Checks the files of both databases that the presence table (gFicherosBD) holds and every other file
// they read; a damaged one is told in a box naming it, and its database is marked as lacking its
// star file so that it cannot be put in force. A damaged pgc.bin only loses the objects. Answers the
// number of damaged files.
int RefuseDamagedDatabaseFiles(Context& c);

}  // namespace tornel
