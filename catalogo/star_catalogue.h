#pragma once
// Readers of the star file in force (gCanalEstrellas): coordinates of a star by its number, and the
// printed catalogue identifiers. Star numbers are 32-bit: an integral number (region x 100000 +
// number in the region) or, while gIdsSonPosiciones, a record number of the star file.
#include <cstdint>
#include <string>

#include "catalogo/star_records.h"
#include "comun/context.h"

namespace tornel {

// Coordinates (degrees) of star `id` into gEstrellaRA, gEstrellaDEC; both 0 when it is not found,
// with the box "Star not found " + id when gMostrarAvisos. A failed read is reported by the trap.
void LeeCoordenadasEstrella(Context& c, int32_t id);
// The same for an integral star number in either database; in database 2 through PosicionOrdenId.
void LeeCoordenadasEstrellaIDintegral(Context& c, int32_t id);

// Printed catalogue identifier of a working star number: "GSC 158 254".
std::string IdTrabajo_A_IdCatalogo(Context& c, int32_t id);
// Identifier in the USNO zone form of the est.bin record at `posicion`; "?" when there is none.
std::string IdTornel_A_IdCatalogo(Context& c, int32_t posicion);
// "UA2 zzzz.nnnnnnnn" of a running number through the 24 USNO zones.
std::string ZonaUSNO_A_Texto(int32_t id);
// Working number of a USNO identifier: numero + 1000000000 + the zone's offset; 0 for a zone that
// is not one of the 24.
int32_t ZonaUSNO_A_Numero(int32_t zona, int32_t numero);

// The one binary search of the catalogue readers, over ranks 1..count whose keys ascend: lo = 1,
// hi = count; while hi - lo is 2 or more, mid = floor((hi + lo) / 2), hi = mid when `key` is at or
// below the key of mid, else lo = mid. The caller then tests lo and hi. keyAt(rank) reads a key.
struct SearchEnds {
    int64_t lo = 1, hi = 0;
};
template <class KeyAt>
SearchEnds NarrowSearch(int64_t key, int64_t count, KeyAt&& keyAt) {
    SearchEnds e{1, count};
    while (e.hi - e.lo >= 2) {
        int64_t mid = (e.hi + e.lo) / 2;
        if (key <= keyAt(mid))
            e.hi = mid;
        else
            e.lo = mid;
    }
    return e;
}

// Record n (from 1) of the star file in force, read with the est.bin or the estDEC_ID1x1g.bin layout
// whatever the database; error 62 when it cannot be read whole.
RegEstrella ReadRegEstrella(const Context& c, int64_t n);
RegEstrellaDEC ReadRegEstrellaDEC(const Context& c, int64_t n);

}  // namespace tornel
