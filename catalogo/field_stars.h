#pragma once
// The catalogue stars that an image shows: every star of the star file in force inside the view of a
// solved plate, for checking a solution against the whole field rather than the stars that found it.
#include <array>
#include <cstdint>
#include <vector>

#include "catalogo/star_records.h"
#include "comun/context.h"

namespace tornel {

struct CatalogueStar {
    int32_t id = 0;          // the star's number as the searches give it: a record number of the star
                             // file while gIdsSonPosiciones, else its integral number
    double ra = 0, dec = 0;  // degrees
};

// The stars of the star file in force (est.bin through region.bin, or the declination-sorted
// estDEC_ID1x1g.bin) inside the view of the image through Cij, each once. Empty after an error, which
// the routine's trap reports. Nothing is done when mFinAnalisis is set.
std::vector<CatalogueStar> CatalogueStarsInView(Context& c);

// Calls `visit` for each record of est.bin (gCanalEstrellas) from record `first` while its Id is at
// most `lastId`: the stars of one region.
template <class Visit>
void ScanRegion(const Context& c, int32_t first, int64_t lastId, Visit&& visit) {
    constexpr size_t kChunk = 256;
    std::array<unsigned char, kChunk * kLongitudRegEstrella> buffer{};
    int64_t offset = static_cast<int64_t>(first - 1) * kLongitudRegEstrella;
    while (true) {
        const size_t got = c.gCanalEstrellas->ReadAt(offset, buffer.data(), buffer.size());
        const size_t records = got / kLongitudRegEstrella;
        if (records == 0) return;
        for (size_t k = 0; k < records; ++k) {
            const RegEstrella s = DecodeRegEstrella(&buffer[k * kLongitudRegEstrella]);
            if (s.Id > lastId) return;
            visit(s);
        }
        offset += static_cast<int64_t>(records) * kLongitudRegEstrella;
    }
}

}  // namespace tornel
