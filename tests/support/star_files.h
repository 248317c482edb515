#pragma once
// Small star databases of known content, written byte by byte in the files' little-endian layouts,
// and a program that has one of them in force.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "catalogo/database_choice.h"
#include "tests/support/test_program.h"

namespace tornel::testing {

// est.bin record: integral number, right ascension and declination in millionths of a degree.
struct Star12 {
    int32_t id, ar, de;
};
// estDEC_ID1x1g.bin record: integral number, record of rank k in Id order, degrees as floats.
struct Star16 {
    int32_t id, orden;
    float ar, de;
};
// region.bin record.
struct Region20 {
    int32_t deMin, deMax, arMin, arMax, region;
    bool operator==(const Region20&) const = default;
};

inline void PutInt32(std::string& out, int32_t v) {
    auto u = static_cast<uint32_t>(v);
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<char>((u >> (8 * i)) & 0xFF));
}
inline void PutFloat(std::string& out, float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    PutInt32(out, static_cast<int32_t>(u));
}
inline int32_t GetInt32(const std::string& in, size_t at) {
    uint32_t u = 0;
    for (int i = 0; i < 4; ++i)
        u |= static_cast<uint32_t>(static_cast<unsigned char>(in[at + static_cast<size_t>(i)])) << (8 * i);
    return static_cast<int32_t>(u);
}

inline std::string EstBin(const std::vector<Star12>& stars) {
    std::string out;
    for (const auto& s : stars) {
        PutInt32(out, s.id);
        PutInt32(out, s.ar);
        PutInt32(out, s.de);
    }
    return out;
}
inline std::string EstDecBin(const std::vector<Star16>& stars) {
    std::string out;
    for (const auto& s : stars) {
        PutInt32(out, s.id);
        PutInt32(out, s.orden);
        PutFloat(out, s.ar);
        PutFloat(out, s.de);
    }
    return out;
}
inline std::string RegionBin(const std::vector<Region20>& regions) {
    std::string out;
    for (const auto& r : regions)
        for (int32_t v : {r.deMin, r.deMax, r.arMin, r.arMax, r.region})
            PutInt32(out, v);
    return out;
}
inline std::vector<Region20> ParseRegionBin(const std::string& bytes) {
    std::vector<Region20> out;
    for (size_t at = 0; at + 20 <= bytes.size(); at += 20)
        out.push_back({GetInt32(bytes, at), GetInt32(bytes, at + 4), GetInt32(bytes, at + 8),
                       GetInt32(bytes, at + 12), GetInt32(bytes, at + 16)});
    return out;
}

// A program whose stars and distances folders are its own, with a database put in force through the
// start-up's own presence test and change of database.
struct CatalogueProgram : TestProgram {
    CatalogueProgram() {
        c.gCarpetaEstrellas = home.MakeFolder("stars");
        c.gCarpetaDistancias = home.MakeFolder("rings");
    }
    // Database 1 on these est.bin stars; true when it is in force.
    bool UseDatabaseOne(const std::vector<Star12>& stars) {
        home.Write("stars/est.bin", EstBin(stars));
        home.Write("rings/Ani090.bin", "");
        return Apply(1);
    }
    // Database 2 on these estDEC_ID1x1g.bin records.
    bool UseDatabaseTwo(const std::vector<Star16>& stars) {
        home.Write("stars/estDEC_ID1x1g.bin", EstDecBin(stars));
        home.Write("rings/tri2g02.bin", "");
        return Apply(2);
    }
    bool Apply(int base) {
        CompruebaFicherosBDs(c);
        return CambioBaseDatos(c, 0, base);  // from none, so that the file is opened afresh
    }
};

}  // namespace tornel::testing
