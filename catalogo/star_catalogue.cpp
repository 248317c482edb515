#include "catalogo/star_catalogue.h"

#include <array>

#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

template <class Record, int32_t Length, Record (*Decode)(const unsigned char*)>
Record ReadRecordAs(const Context& c, int64_t n) {
    std::array<unsigned char, Length> bytes{};
    if (n < 1 || c.gCanalEstrellas->ReadAt((n - 1) * Length, bytes.data(), Length) != Length)
        Raise(kErrPastEndOfFile);
    return Decode(bytes.data());
}

void StarNotFound(Context& c, int64_t id) {
    std::string n = std::to_string(id);
    AvisoIdioma(c, "No encuentra la estrella " + n, "Etoile non trouvée " + n, "Star not found " + n);
}

void SetFromRegEstrella(Context& c, const RegEstrella& r) {
    c.gEstrellaRA = r.Ar / 1000000.0;
    c.gEstrellaDEC = r.De / 1000000.0;
}

void SetFromRegEstrellaDEC(Context& c, const RegEstrellaDEC& r) {
    c.gEstrellaRA = static_cast<double>(r.Ar);
    c.gEstrellaDEC = static_cast<double>(r.De);
}

// Rank of `id` among the est.bin records, testing both ends of the narrowed search; 0 when missing.
int64_t FindInStarFile(const Context& c, int32_t id) {
    int64_t count = c.gNumEstrellasBD;
    if (count < 1) return 0;
    auto idAt = [&](int64_t n) { return ReadRegEstrella(c, n).Id; };
    SearchEnds e = NarrowSearch(id, count, idAt);
    if (idAt(e.lo) == id) return e.lo;
    if (idAt(e.hi) == id) return e.hi;
    return 0;
}

// Record of estDEC_ID1x1g.bin that holds `id`, through the permutation PosicionOrdenId; 0 when missing.
int64_t FindInDeclinationFile(const Context& c, int32_t id) {
    int64_t count = c.gNumEstrellasBD;
    if (count < 1) return 0;
    auto recordAt = [&](int64_t rank) { return int64_t{ReadRegEstrellaDEC(c, rank).PosicionOrdenId}; };
    auto idAt = [&](int64_t rank) { return ReadRegEstrellaDEC(c, recordAt(rank)).Id; };
    SearchEnds e = NarrowSearch(id, count, idAt);
    if (idAt(e.lo) == id) return recordAt(e.lo);
    if (idAt(e.hi) == id) return recordAt(e.hi);
    return 0;
}

// Reads the star at record `n` of the file in force when it lies within the file; false otherwise.
bool ReadByPosition(Context& c, int32_t n) {
    if (n < 1 || n > c.gNumEstrellasBD) return false;
    if (c.gBaseDatos == 2)
        SetFromRegEstrellaDEC(c, ReadRegEstrellaDEC(c, n));
    else
        SetFromRegEstrella(c, ReadRegEstrella(c, n));
    return true;
}

std::string GscText(int64_t id) {
    auto region = static_cast<long long>(IntFloor(static_cast<double>(id) / 100000));
    return "GSC " + std::to_string(region) + " " + std::to_string(id % 100000);
}

struct UsnoZone {
    int32_t upTo;      // last running number of the zone
    int32_t zone;      // zone name, a declination band
    int32_t subtract;  // running numbers before the zone
};

constexpr UsnoZone kUsnoZones[] = {
    {1992564, 0, 0},
    {9182250, 75, 1992564},
    {29706947, 150, 9182250},
    {61701947, 225, 29706947},
    {99868074, 300, 61701947},
    {140324903, 375, 99868074},
    {181148256, 450, 140324903},
    {225593052, 525, 181148256},
    {270411471, 600, 225593052},
    {308041743, 675, 270411471},
    {329651232, 750, 308041743},
    {349727196, 825, 329651232},
    {370272618, 900, 349727196},
    {391705181, 975, 370272618},
    {412570881, 1050, 391705181},
    {432595277, 1125, 412570881},
    {452738357, 1200, 432595277},
    {471505805, 1275, 452738357},
    {490436587, 1350, 471505805},
    {506349802, 1425, 490436587},
    {516621382, 1500, 506349802},
    {522583074, 1575, 516621382},
    {525485802, 1650, 522583074},
    {526280881, 1725, 525485802},
};

}  // namespace

RegEstrella ReadRegEstrella(const Context& c, int64_t n) {
    return ReadRecordAs<RegEstrella, kLongitudRegEstrella, DecodeRegEstrella>(c, n);
}

RegEstrellaDEC ReadRegEstrellaDEC(const Context& c, int64_t n) {
    return ReadRecordAs<RegEstrellaDEC, kLongitudRegEstrellaDEC, DecodeRegEstrellaDEC>(c, n);
}

void LeeCoordenadasEstrella(Context& c, int32_t id) {
    c.gEstrellaRA = 0;
    c.gEstrellaDEC = 0;
    WithTrap(c, "LeeCoordenadasEstrella", [&] {
        bool found;
        if (!c.gIdsSonPosiciones) {
            int64_t n = FindInStarFile(c, id);
            found = n > 0;
            if (found) SetFromRegEstrella(c, ReadRegEstrella(c, n));
        } else {
            found = ReadByPosition(c, id);
        }
        if (!found) StarNotFound(c, id);
    });
}

void LeeCoordenadasEstrellaIDintegral(Context& c, int32_t id) {
    if (c.gBaseDatos != 2) {
        LeeCoordenadasEstrella(c, id);
        return;
    }
    c.gEstrellaRA = 0;
    c.gEstrellaDEC = 0;
    WithTrap(c, "LeeCoordenadasEstrellaIDintegral", [&] {
        int64_t n = FindInDeclinationFile(c, id);
        if (n > 0)
            SetFromRegEstrellaDEC(c, ReadRegEstrellaDEC(c, n));
        else
            StarNotFound(c, id);
    });
}

std::string IdTrabajo_A_IdCatalogo(Context& c, int32_t id) {
    std::string text = "?";
    WithTrap(c, "IdTrabajo_A_IdCatalogo", [&] {
        if (c.gBaseDatos == 2)
            text = GscText(ReadRegEstrellaDEC(c, id).Id);
        else if (c.gIdsFormatoGSC)
            text = GscText(id);
        else
            text = IdTornel_A_IdCatalogo(c, id);
    });
    return text;
}

std::string IdTornel_A_IdCatalogo(Context& c, int32_t posicion) {
    std::string text = "?";
    WithTrap(c, "IdTornel_A_IdCatalogo", [&] {
        if (posicion > c.gNumEstrellasBD) {
            StarNotFound(c, posicion);
            return;
        }
        RegEstrella r = ReadRegEstrella(c, posicion);
        if (r.Id > 0) text = ZonaUSNO_A_Texto(r.Id);
    });
    return text;
}

std::string ZonaUSNO_A_Texto(int32_t id) {
    // Past the last zone the number prints as zone 0, unchanged, without any error.
    int32_t zone = 0, number = id;
    for (const UsnoZone& z : kUsnoZones) {
        if (id <= z.upTo) {
            zone = z.zone;
            number = id - z.subtract;
            break;
        }
    }
    return "UA2 " + FormatNumber(zone, "0000") + "." + FormatNumber(number, "00000000");
}

int32_t ZonaUSNO_A_Numero(int32_t zona, int32_t numero) {
    for (const UsnoZone& z : kUsnoZones)
        if (z.zone == zona) return ToLong(static_cast<double>(numero) + 1000000000.0 + z.subtract);
    return 0;
}

}  // namespace tornel
