// Deep-sky objects of OpenNGC, as packaged in an SQLite database, and the recognition of inputs.
#include <sqlite3.h>

#include <cstring>
#include <fstream>

#include "herramientas/db/importers.h"

namespace tornel::db {

InputKind DetectTextKind(const std::string& path);

bool ReadOpenNgc(const std::string& path, std::vector<SkyObject>& out, std::string& error) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        error = "cannot open " + path + ": " + (db ? sqlite3_errmsg(db) : "");
        sqlite3_close(db);
        return false;
    }
    sqlite3_stmt* st = nullptr;
    const char* sql = "SELECT ra, dec, major_axis, name FROM cat WHERE ra IS NOT NULL AND dec IS NOT NULL";
    bool ok = sqlite3_prepare_v2(db, sql, -1, &st, nullptr) == SQLITE_OK;
    if (ok) {
        int rc;
        while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
            SkyObject o;
            o.ra = static_cast<float>(sqlite3_column_double(st, 0));
            o.dec = static_cast<float>(sqlite3_column_double(st, 1));
            o.size = static_cast<float>(sqlite3_column_double(st, 2));  // NULL reads as 0
            const unsigned char* name = sqlite3_column_text(st, 3);
            o.name = name ? reinterpret_cast<const char*>(name) : "";
            out.push_back(o);
        }
        ok = rc == SQLITE_DONE;
    }
    if (!ok) error = path + ": " + sqlite3_errmsg(db);
    sqlite3_finalize(st);
    sqlite3_close(db);
    return ok;
}

const char* InputKindName(InputKind kind) {
    switch (kind) {
        case InputKind::AstrometryIndex:
            return "astrometry.net index";
        case InputKind::StellariumStars:
            return "Stellarium star file";
        case InputKind::StarCsv:
            return "star CSV";
        case InputKind::OpenNgc:
            return "OpenNGC database";
        case InputKind::ObjectCsv:
            return "object CSV";
        case InputKind::Unknown:
            break;
    }
    return "unknown";
}

InputKind DetectInputKind(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char head[80] = {};
    if (!in.read(head, sizeof head) && in.gcount() < 16) {
        if (in.gcount() <= 0) return InputKind::Unknown;
    }
    if (std::memcmp(head, "SIMPLE  =", 9) == 0) return InputKind::AstrometryIndex;
    if (std::memcmp(head, "SQLite format 3", 16) == 0) return InputKind::OpenNgc;
    uint32_t magic;
    std::memcpy(&magic, head, 4);
    if (magic == 0x835F040A) return InputKind::StellariumStars;
    return DetectTextKind(path);
}

}  // namespace tornel::db
