#pragma once
// The records of the database files, packed little-endian with no padding, and whole-file I/O.
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "catalogo/star_records.h"

namespace tornel::db {

// The star files' records are the readers' own.
using EstRecord = RegEstrella;     // est.bin
using RegionRecord = RegRegion;    // region.bin
using DecRecord = RegEstrellaDEC;  // estDEC_ID1x1g.bin

// Ani001.bin .. Ani178.bin, pole000.bin, pole179.bin
struct DistanceRecord {
    static constexpr int kSize = 14;
    int32_t Clave = 0, EstrellaA = 0, EstrellaB = 0;
    int16_t ArMedia10 = 0;
};
// tri2g02.bin
struct TriangleRecord {
    static constexpr int kSize = 24;
    float Lado1 = 0, Lado2 = 0, Lado3 = 0;  // degrees
    int32_t Estrella1 = 0, Estrella2 = 0, Estrella3 = 0;
};
// pgc.bin
struct ObjectRecord {
    static constexpr int kSize = 38;
    float ObjetoRA = 0, ObjetoDEC = 0, ObjetoTamano = 0;
    char ObjetoNombre[26] = {};
};

// Length of a record in its file.
template <class R>
constexpr int kRecordSize = R::kSize;
template <>
inline constexpr int kRecordSize<EstRecord> = kLongitudRegEstrella;
template <>
inline constexpr int kRecordSize<RegionRecord> = kLongitudRegRegion;
template <>
inline constexpr int kRecordSize<DecRecord> = kLongitudRegEstrellaDEC;

namespace packing {
template <class T>
void Put(char*& p, const T& v) {
    std::memcpy(p, &v, sizeof v);  // the build machines are little-endian (checked at start)
    p += sizeof v;
}
template <class T>
void Get(const char*& p, T& v) {
    std::memcpy(&v, p, sizeof v);
    p += sizeof v;
}
}  // namespace packing

inline void Pack(const EstRecord& r, char* p) {
    packing::Put(p, r.Id), packing::Put(p, r.Ar), packing::Put(p, r.De);
}
inline void Unpack(const char* p, EstRecord& r) {
    packing::Get(p, r.Id), packing::Get(p, r.Ar), packing::Get(p, r.De);
}
inline void Pack(const RegionRecord& r, char* p) {
    EncodeRegRegion(r, reinterpret_cast<unsigned char*>(p));
}
inline void Unpack(const char* p, RegionRecord& r) {
    r = DecodeRegRegion(reinterpret_cast<const unsigned char*>(p));
}
inline void Pack(const DistanceRecord& r, char* p) {
    packing::Put(p, r.Clave), packing::Put(p, r.EstrellaA), packing::Put(p, r.EstrellaB),
        packing::Put(p, r.ArMedia10);
}
inline void Unpack(const char* p, DistanceRecord& r) {
    packing::Get(p, r.Clave), packing::Get(p, r.EstrellaA), packing::Get(p, r.EstrellaB),
        packing::Get(p, r.ArMedia10);
}
inline void Pack(const DecRecord& r, char* p) {
    packing::Put(p, r.Id), packing::Put(p, r.PosicionOrdenId), packing::Put(p, r.Ar), packing::Put(p, r.De);
}
inline void Unpack(const char* p, DecRecord& r) {
    packing::Get(p, r.Id), packing::Get(p, r.PosicionOrdenId), packing::Get(p, r.Ar), packing::Get(p, r.De);
}
inline void Pack(const TriangleRecord& r, char* p) {
    packing::Put(p, r.Lado1), packing::Put(p, r.Lado2), packing::Put(p, r.Lado3);
    packing::Put(p, r.Estrella1), packing::Put(p, r.Estrella2), packing::Put(p, r.Estrella3);
}
inline void Unpack(const char* p, TriangleRecord& r) {
    packing::Get(p, r.Lado1), packing::Get(p, r.Lado2), packing::Get(p, r.Lado3);
    packing::Get(p, r.Estrella1), packing::Get(p, r.Estrella2), packing::Get(p, r.Estrella3);
}
inline void Pack(const ObjectRecord& r, char* p) {
    packing::Put(p, r.ObjetoRA), packing::Put(p, r.ObjetoDEC), packing::Put(p, r.ObjetoTamano);
    std::memcpy(p, r.ObjetoNombre, 26);
}
inline void Unpack(const char* p, ObjectRecord& r) {
    packing::Get(p, r.ObjetoRA), packing::Get(p, r.ObjetoDEC), packing::Get(p, r.ObjetoTamano);
    std::memcpy(r.ObjetoNombre, p, 26);
}

// Writes the records in order; false on any failure.
template <class R>
bool WriteRecordFile(const std::string& path, const R* records, size_t count) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    std::vector<char> buf;
    const size_t chunk = 1 << 16;
    for (size_t first = 0; first < count; first += chunk) {
        size_t n = std::min(chunk, count - first);
        buf.resize(n * kRecordSize<R>);
        for (size_t i = 0; i < n; ++i)
            Pack(records[first + i], buf.data() + i * kRecordSize<R>);
        out.write(buf.data(), static_cast<std::streamsize>(buf.size()));
    }
    out.close();
    return static_cast<bool>(out);
}
template <class R>
bool WriteRecordFile(const std::string& path, const std::vector<R>& records) {
    return WriteRecordFile(path, records.data(), records.size());
}

// Reads a whole record file; false when it cannot be read or its length is not a whole number of
// records.
template <class R>
bool ReadRecordFile(const std::string& path, std::vector<R>& records) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) return false;
    auto size = static_cast<size_t>(in.tellg());
    if (size % kRecordSize<R>) return false;
    in.seekg(0);
    std::vector<char> buf(size);
    if (size && !in.read(buf.data(), static_cast<std::streamsize>(size))) return false;
    records.resize(size / kRecordSize<R>);
    for (size_t i = 0; i < records.size(); ++i)
        Unpack(buf.data() + i * kRecordSize<R>, records[i]);
    return true;
}

}  // namespace tornel::db
