#pragma once
// The records of the star files, little-endian and unpadded, and their decoding from bytes.
#include <bit>
#include <cstdint>
#include <cstring>

namespace tornel {

static_assert(std::endian::native == std::endian::little, "the catalogue files are little-endian");

// est.bin, 12 bytes: integral number (region x 100000 + number in the region), then right ascension
// and declination in millionths of a degree.
struct RegEstrella {
    int32_t Id = 0;
    int32_t Ar = 0;
    int32_t De = 0;
};

// estDEC_ID1x1g.bin, 16 bytes: integral number, the record that stands at this rank in ascending Id
// order, right ascension and declination in degrees.
struct RegEstrellaDEC {
    int32_t Id = 0;
    int32_t PosicionOrdenId = 0;
    float Ar = 0;
    float De = 0;
};

// region.bin, 20 bytes: extremes of a region's stars in millionths of a degree, and its number.
struct RegRegion {
    int32_t DeMin = 0;
    int32_t DeMax = 0;
    int32_t ArMin = 0;
    int32_t ArMax = 0;
    int32_t Region = 0;
    bool operator==(const RegRegion&) const = default;
};

constexpr int32_t kLongitudRegEstrella = 12;
constexpr int32_t kLongitudRegEstrellaDEC = 16;
constexpr int32_t kLongitudRegRegion = 20;
// region.bin holds exactly this many regions.
constexpr int32_t kNumRegiones = 9537;

// Every field is four bytes wide, so each struct is its record byte for byte.
template <class Record, int32_t Length>
Record DecodeRecord(const unsigned char* bytes) {
    static_assert(sizeof(Record) == Length, "record layout must match the file");
    Record r;
    std::memcpy(&r, bytes, Length);
    return r;
}

inline RegEstrella DecodeRegEstrella(const unsigned char* bytes) {
    return DecodeRecord<RegEstrella, kLongitudRegEstrella>(bytes);
}
inline RegEstrellaDEC DecodeRegEstrellaDEC(const unsigned char* bytes) {
    return DecodeRecord<RegEstrellaDEC, kLongitudRegEstrellaDEC>(bytes);
}
inline RegRegion DecodeRegRegion(const unsigned char* bytes) {
    return DecodeRecord<RegRegion, kLongitudRegRegion>(bytes);
}
inline void EncodeRegRegion(const RegRegion& r, unsigned char* bytes) {
    std::memcpy(bytes, &r, kLongitudRegRegion);
}

}  // namespace tornel
