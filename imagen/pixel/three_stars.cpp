// Three-stars from segments. Every pair of segments is tested (the loop is quadratic by nature), but
// nothing is allocated and a figure found again is located through a hash of its stars, so that the
// merge costs the same whatever the number of figures already written.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "imagen/pixel/tornel_pixel.h"

namespace {

constexpr int32_t kBucketBits = 14;
constexpr int32_t kBuckets = 1 << kBucketBits;
constexpr int32_t kNone = -1;

inline int32_t Cell(int32_t i, int32_t j) {
    return (i - 1) + 10 * (j - 1);
}

inline void MarkSide(Poligono& p, int32_t i, int32_t j) {
    if (i > j) {
        int32_t t = i;
        i = j;
        j = t;
    }
    p.Lados[Cell(i, j)] = 1;
}

// Whether two segments join into a three-star; the first case that applies decides.
inline bool Join(const Segmento& s, const Segmento& t) {
    if (s.Pantalla1 == t.Pantalla1 && s.Catalogo1 == t.Catalogo1)
        return s.Pantalla2 != t.Pantalla2 && s.Catalogo2 != t.Catalogo2;
    if (s.Pantalla1 == t.Pantalla2 && s.Catalogo1 == t.Catalogo2)
        return s.Pantalla2 != t.Pantalla1 && s.Catalogo2 != t.Catalogo1;
    if (s.Pantalla2 == t.Pantalla2 && s.Catalogo2 == t.Catalogo2)
        return s.Pantalla1 != t.Pantalla1 && s.Catalogo1 != t.Catalogo1;
    if (s.Pantalla2 == t.Pantalla1 && s.Catalogo2 == t.Catalogo1)
        return s.Pantalla1 != t.Pantalla2 && s.Catalogo1 != t.Catalogo2;
    return false;
}

inline bool ValidScreenStar(int32_t k) {
    return k >= 1 && k <= 10;
}

uint32_t HashStars(const int32_t* estrellas, int32_t n) {
    uint32_t h = 2166136261u;
    for (int32_t k = 0; k < n; ++k) {
        h ^= static_cast<uint32_t>(estrellas[k]);
        h *= 16777619u;
        h ^= h >> 15;
    }
    return h & (kBuckets - 1);
}

bool SameStars(const int32_t* a, const int32_t* b, int32_t n) {
    return std::memcmp(a, b, static_cast<size_t>(n) * sizeof(int32_t)) == 0;
}

}  // namespace

extern "C" int16_t construye_3_estrellas(const Segmento* segmentos, int16_t numSegmentos,
                                         Poligono* tresEstrellas, int16_t numEstrellas) {
    if (segmentos == nullptr || tresEstrellas == nullptr || numSegmentos < 1) return 0;
    const int32_t n = numEstrellas < 0 ? 0 : numEstrellas > 10 ? 10 : numEstrellas;
    const int32_t capacity = 2 * static_cast<int32_t>(numSegmentos);
    // Chains of the hash run through NumLados, which the construction leaves at 0 otherwise.
    int32_t heads[kBuckets];
    for (int32_t& h : heads)
        h = kNone;
    int32_t count = 0;
    for (int32_t s = 0; s < numSegmentos; ++s) {
        const Segmento& a = segmentos[s];
        for (int32_t t = s + 1; t < numSegmentos; ++t) {
            const Segmento& b = segmentos[t];
            if (!Join(a, b)) continue;
            if (!ValidScreenStar(a.Pantalla1) || !ValidScreenStar(a.Pantalla2) ||
                !ValidScreenStar(b.Pantalla1) || !ValidScreenStar(b.Pantalla2))
                continue;
            Poligono figure;
            std::memset(&figure, 0, sizeof figure);
            figure.Estrellas[a.Pantalla1 - 1] = a.Catalogo1;
            figure.Estrellas[a.Pantalla2 - 1] = a.Catalogo2;
            figure.Estrellas[b.Pantalla1 - 1] = b.Catalogo1;
            figure.Estrellas[b.Pantalla2 - 1] = b.Catalogo2;
            const uint32_t h = HashStars(figure.Estrellas, n);
            int32_t found = heads[h];
            while (found != kNone && !SameStars(tresEstrellas[found].Estrellas, figure.Estrellas, n))
                found = tresEstrellas[found].NumLados;
            if (found != kNone) {
                MarkSide(tresEstrellas[found], a.Pantalla1, a.Pantalla2);
                MarkSide(tresEstrellas[found], b.Pantalla1, b.Pantalla2);
                continue;
            }
            if (count >= capacity || count >= 32767) return -1;
            Poligono& p = tresEstrellas[count];
            std::memcpy(p.Estrellas, figure.Estrellas, sizeof p.Estrellas);
            MarkSide(p, a.Pantalla1, a.Pantalla2);
            MarkSide(p, b.Pantalla1, b.Pantalla2);
            p.NumLados = heads[h];
            heads[h] = count;
            ++count;
        }
    }
    for (int32_t k = 0; k < count; ++k)
        tresEstrellas[k].NumLados = 0;
    return static_cast<int16_t>(count);
}
