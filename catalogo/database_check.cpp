#include "catalogo/database_check.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "catalogo/database_choice.h"
#include "catalogo/deep_sky_objects.h"
#include "catalogo/distance_database.h"
#include "catalogo/star_records.h"

namespace tornel {

namespace {

constexpr int64_t kTriangleRecordBytes = 24;
constexpr int64_t kPoleHeadRecords = 2 * kTejasPorPolo;

int64_t RecordBytes(DatabaseFileLayout layout) {
    switch (layout) {
        case DatabaseFileLayout::Stars:
            return kLongitudRegEstrella;
        case DatabaseFileLayout::StarsByDeclination:
            return kLongitudRegEstrellaDEC;
        case DatabaseFileLayout::Regions:
            return kLongitudRegRegion;
        case DatabaseFileLayout::Ring:
        case DatabaseFileLayout::Pole:
            return kLongitudRegDistancia;
        case DatabaseFileLayout::Triangles:
            return kTriangleRecordBytes;
        case DatabaseFileLayout::Objects:
            return static_cast<int64_t>(kObjectRecordBytes);
    }
    return 1;
}

DatabaseFileFault LengthFault(int64_t length, int64_t record) {
    const std::string n = std::to_string(length), r = std::to_string(record);
    return {"su longitud, " + n + " bytes, no es un número entero de registros de " + r + " bytes",
            "sa longueur, " + n + " octets, n'est pas un nombre entier d'enregistrements de " + r + " octets",
            "its length, " + n + " bytes, is not a whole number of " + r + "-byte records"};
}

// The first 74 records of a pole file bound the records of its 37 tiles: first and last of each.
DatabaseFileFault PoleHeadFault(const std::string& path, int64_t records) {
    // An empty file names no tiles, and no search can take a star from it.
    if (records == 0) return {};
    if (records < kPoleHeadRecords)
        return {"le faltan los límites de sus teselas", "il lui manque les bornes de ses tuiles",
                "it lacks the bounds of its tiles"};
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return {};
    std::array<unsigned char, kPoleHeadRecords * kLongitudRegDistancia> head{};
    const bool read = std::fread(head.data(), 1, head.size(), f) == head.size();
    std::fclose(f);
    if (!read) return {};
    for (int64_t t = 0; t < kTejasPorPolo; ++t) {
        int32_t first = 0, last = 0;
        std::memcpy(&first, head.data() + 2 * t * kLongitudRegDistancia, sizeof first);
        std::memcpy(&last, head.data() + (2 * t + 1) * kLongitudRegDistancia, sizeof last);
        // An empty tile has its last record just before its first.
        if (first <= kPoleHeadRecords || last > records || last < first - 1)
            return {"los límites de sus teselas no caben en su longitud",
                    "les bornes de ses tuiles dépassent sa longueur",
                    "the bounds of its tiles lie past its end"};
    }
    return {};
}

void TellDamaged(Context& c, const std::string& path, const DatabaseFileFault& fault) {
    AvisoIdioma(c, "El fichero de la base de datos " + path + " está dañado: " + fault.es + ".",
                "Le fichier de la base de données " + path + " est endommagé : " + fault.fr + ".",
                "The database file " + path + " is damaged: " + fault.en + ".");
}

}  // namespace

DatabaseFileFault CheckDatabaseFile(const std::string& path, DatabaseFileLayout layout) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return {};
    const int64_t length = st.st_size, record = RecordBytes(layout);
    if (length % record != 0) return LengthFault(length, record);
    if (layout == DatabaseFileLayout::Regions && length != int64_t{kNumRegiones} * record) {
        const std::string n = std::to_string(length), want = std::to_string(int64_t{kNumRegiones} * record);
        return {"su longitud, " + n + " bytes, no es la de sus " + std::to_string(kNumRegiones) +
                    " regiones, " + want,
                "sa longueur, " + n + " octets, n'est pas celle de ses " + std::to_string(kNumRegiones) +
                    " régions, " + want,
                "its length, " + n + " bytes, is not that of its " + std::to_string(kNumRegiones) +
                    " regions, " + want};
    }
    if (layout == DatabaseFileLayout::Pole) return PoleHeadFault(path, length / record);
    return {};
}

int RefuseDamagedDatabaseFiles(Context& c) {
    int damaged = 0;
    // Answers whether the file is damaged, telling it when it is.
    auto check = [&](const DatabaseFolder& folder, const std::string& name, DatabaseFileLayout layout) {
        const std::string path = folder.Find(name);
        if (path.empty()) return false;
        const DatabaseFileFault fault = CheckDatabaseFile(path, layout);
        if (!fault.Found()) return false;
        TellDamaged(c, path, fault);
        ++damaged;
        return true;
    };
    const DatabaseFolder s(c.gCarpetaEstrellas), d(c.gCarpetaDistancias);
    bool one = check(s, "est.bin", DatabaseFileLayout::Stars);
    one = check(s, "region.bin", DatabaseFileLayout::Regions) || one;
    one = check(d, "pole000.bin", DatabaseFileLayout::Pole) || one;
    one = check(d, "pole179.bin", DatabaseFileLayout::Pole) || one;
    // The rings are database 1's, whatever prefix is in force.
    for (int32_t r = 1; r <= 178; ++r) {
        char name[16];
        std::snprintf(name, sizeof name, "Ani%03d.bin", r);
        one = check(d, name, DatabaseFileLayout::Ring) || one;
    }
    if (one) c.gFicherosBD[1][kStarsFile] = 0;
    bool two = check(s, "estDEC_ID1x1g.bin", DatabaseFileLayout::StarsByDeclination);
    two = check(d, "tri2g02.bin", DatabaseFileLayout::Triangles) || two;
    if (two) c.gFicherosBD[2][kStarsFile] = 0;
    if (check(s, "pgc.bin", DatabaseFileLayout::Objects))
        c.gFicherosBD[1][kObjectsFile] = c.gFicherosBD[2][kObjectsFile] = 0;
    return damaged;
}

}  // namespace tornel
