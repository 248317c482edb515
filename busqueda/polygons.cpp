#include "busqueda/polygons.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "astrometria/pair_geometry.h"
#include "busqueda/screen_geometry.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

int32_t SelectedCount(const Context& c) {
    return std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10);
}

// The stars of a figure over the selected stars, as a key: figures are equal by their stars alone.
using StarsKey = std::array<int32_t, 10>;

StarsKey KeyOf(const Poligono& p, int32_t n) {
    StarsKey k{};
    std::copy(p.Estrellas, p.Estrellas + n, k.begin());
    return k;
}

struct StarsKeyHash {
    size_t operator()(const StarsKey& k) const {
        uint64_t h = 1469598103934665603ull;
        for (int32_t v : k) {
            h ^= static_cast<uint32_t>(v);
            h *= 1099511628211ull;
        }
        return static_cast<size_t>(h ^ (h >> 29));
    }
};

using StarsKeySet = std::unordered_set<StarsKey, StarsKeyHash>;

bool HasStars(const Poligono& p, int32_t n) {
    for (int32_t k = 1; k <= n; ++k)
        if (Estrella(p, k) != 0) return true;
    return false;
}

// Adds the found sides and the stars of `q` to `p`.
void MergeInto(Poligono& p, const Poligono& q) {
    for (int32_t j = 2; j <= 10; ++j)
        for (int32_t i = 1; i < j; ++i)
            if (Lado(q, i, j) == 1) Lado(p, i, j) = 1;
    for (int32_t k = 1; k <= 10; ++k)
        if (Estrella(p, k) == 0) Estrella(p, k) = Estrella(q, k);
}

void EndWithError(Context& c, Txt es, Txt fr, Txt en) {
    c.mFinAnalisis = true;
    ParaResumen(c, es, fr, en);
    if (c.events.AvisoTerminado) c.events.AvisoTerminado();
}

// The three-stars that share a selected star and its catalogue star, by that pair: a figure can only
// be compatible with those that share one of its pairs.
class SharedStarIndex {
  public:
    SharedStarIndex(const std::vector<Poligono>& figures, int32_t count, int32_t n) : n_(n) {
        for (int32_t t = 1; t <= count; ++t)
            for (int32_t k = 1; k <= n; ++k)
                if (int32_t s = Estrella(figures[static_cast<size_t>(t)], k); s > 0)
                    byPair_[{k, s}].push_back(t);
    }
    // Figures other than `self` that share a pair with `p`, ascending.
    void Neighbours(const Poligono& p, int32_t self, std::vector<int32_t>& out) const {
        out.clear();
        for (int32_t k = 1; k <= n_; ++k) {
            int32_t s = Estrella(p, k);
            if (s <= 0) continue;
            auto it = byPair_.find({k, s});
            if (it != byPair_.end()) out.insert(out.end(), it->second.begin(), it->second.end());
        }
        std::sort(out.begin(), out.end());
        out.erase(std::unique(out.begin(), out.end()), out.end());
        out.erase(std::remove(out.begin(), out.end(), self), out.end());
    }

  private:
    int32_t n_;
    std::map<std::pair<int32_t, int32_t>, std::vector<int32_t>> byPair_;
};

// Counts the sides of a polygon (cells 1 or 2).
int32_t CountSides(const Poligono& p) {
    int32_t sides = 0;
    for (int32_t j = 2; j <= 10; ++j)
        for (int32_t i = 1; i < j; ++i)
            if (Lado(p, i, j) == 1 || Lado(p, i, j) == 2) ++sides;
    return sides;
}

// Whether a screen inclination band around `inc` (degrees, 0..180) with tolerance `tol` holds the
// catalogue band g, on the circle of 180 degrees.
bool InclinationAgrees(double inc, int32_t tol, double g) {
    const double lo = inc - tol, hi = inc + tol;
    if (lo < 0) return g >= lo + 180 || g <= hi;
    if (hi <= 179) return lo <= g && g <= hi;
    return g <= hi - 180 || g >= lo;
}

// A missing side of a polygon as the completion tests it: the pair of selected stars and their
// catalogue stars. The answer depends on nothing else within one completion.
struct SideKey {
    int32_t i = 0, j = 0, a = 0, b = 0;
    bool operator==(const SideKey&) const = default;
};
struct SideKeyHash {
    size_t operator()(const SideKey& k) const {
        uint64_t h = (static_cast<uint64_t>(static_cast<uint32_t>(k.a)) << 32) ^ static_cast<uint32_t>(k.b);
        h ^= static_cast<uint64_t>(k.i * 11 + k.j) * 0x9E3779B97F4A7C15ull;
        return static_cast<size_t>(h ^ (h >> 31));
    }
};

// The completion shared by both forms: each missing side between two stars of a polygon becomes a
// checked side when `agrees` says so. `agrees` answers -1 when the analysis ended.
template <class Agrees>
void Complete(Context& c, Agrees&& agrees) {
    const int32_t n = SelectedCount(c);
    std::unordered_map<SideKey, int8_t, SideKeyHash> known;
    for (int32_t t = 1; t <= c.mNumPoligonos; ++t) {
        Poligono& p = c.mPoligonos[static_cast<size_t>(t)];
        for (int32_t i = 1; i < n; ++i)
            for (int32_t j = i + 1; j <= n; ++j) {
                if (Lado(p, i, j) != 0 || Estrella(p, i) <= 0 || Estrella(p, j) <= 0) continue;
                const SideKey key{i, j, Estrella(p, i), Estrella(p, j)};
                auto it = known.find(key);
                int8_t verdict =
                    it != known.end() ? it->second : static_cast<int8_t>(agrees(i, j, key.a, key.b));
                if (verdict < 0) return;
                known.emplace(key, verdict);
                if (verdict > 0) Lado(p, i, j) = 2;
            }
    }
}

void CompletionTail(Context& c) {
    LimpiaPoligonos(c);
    QuitaDuplicados(c);
    if (c.mFinAnalisis) return;
    for (int32_t t = 1; t <= c.mNumPoligonosLimpios; ++t) {
        Poligono& p = c.mPoligonosLimpios[static_cast<size_t>(t)];
        p.NumLados = CountSides(p);
    }
    if (c.gZonaCielo == 1) {
        std::string n = std::to_string(c.mNumPoligonosLimpios);
        ParaResumen(c, "Poligonos completados: " + n, "Polygones complétés: " + n,
                    "Completed polygons: " + n);
    }
}

void ReportPolygonsFound(Context& c) {
    if (c.gZonaCielo != 1) return;
    std::string n = std::to_string(c.mNumPoligonos);
    ParaResumen(c, "Poligonos encontrados: " + n, "Polygones trouvés: " + n, "Polygons found: " + n);
}

}  // namespace

bool PoligonosCompatibles(const Poligono& a, const Poligono& b, int32_t numEstrellas) {
    const int32_t n = std::clamp<int32_t>(numEstrellas, 0, 10);
    bool overlap = false;
    for (int32_t s = 1; s <= n; ++s) {
        const int32_t x = Estrella(a, s), y = Estrella(b, s);
        if (x > 0 && y > 0) {
            if (x != y) return false;
            overlap = true;
        }
    }
    if (!overlap) return false;
    for (int32_t s = 1; s <= n; ++s) {
        const int32_t y = Estrella(b, s);
        if (y <= 0 || Estrella(a, s) == y) continue;
        for (int32_t t = 1; t <= n; ++t)
            if (t != s && Estrella(a, t) == y) return false;
    }
    return true;
}

void ConstruyePoligonos(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "ConstruyePoligonos", [&] {
        const int32_t n = SelectedCount(c);
        const int32_t count = c.mNumTresEstrellas;
        const auto& figures = c.mTresEstrellas;
        SharedStarIndex index(figures, count, n);
        std::vector<Poligono> polygons(1);
        StarsKeySet seen;
        std::vector<Poligono> list;
        std::vector<int32_t> neighbours;
        int64_t raw = 0;
        for (int32_t b = 1; b <= count; ++b) {
            const Poligono& base = figures[static_cast<size_t>(b)];
            list.assign(1, base);
            index.Neighbours(base, b, neighbours);
            for (int32_t q : neighbours)
                if (PoligonosCompatibles(figures[static_cast<size_t>(q)], base, n))
                    list.push_back(figures[static_cast<size_t>(q)]);
            // Greedy passes in list order; a member that conflicts with the grown figure waits for
            // the next pass, which starts from the base again.
            bool again = true;
            while (again) {
                again = false;
                Poligono p = list[0];
                for (size_t k = 1; k < list.size(); ++k) {
                    Poligono& q = list[k];
                    if (Estrella(q, 1) == -1) continue;
                    if (PoligonosCompatibles(q, p, n)) {
                        MergeInto(p, q);
                        Estrella(q, 1) = -1;
                    } else {
                        again = true;
                    }
                }
                ++raw;
                if (seen.insert(KeyOf(p, n)).second) polygons.push_back(p);
            }
        }
        c.mPoligonos = std::move(polygons);
        c.mNumPoligonos = static_cast<int32_t>(c.mPoligonos.size()) - 1;
        if (c.gZonaCielo == 1 && c.traceOn)
            c.mTrazaAnalisis += "ConstruyePoligonos : " + std::to_string(c.mNumPoligonos) + "\r\n";
    });
}

void ConstruyePoligonosFinales(Context& c) {
    if (c.mFinAnalisis) return;
    ConstruyePoligonos(c);
    for (int32_t rounds = 1; !c.mFinAnalisis;) {
        if (c.mNumPoligonos == 1) break;
        if (c.mNumTresEstrellas <= c.mNumPoligonos) break;
        if (++rounds > 10) break;
        c.mTresEstrellas = c.mPoligonos;
        c.mNumTresEstrellas = c.mNumPoligonos;
        ConstruyePoligonos(c);
    }
}

void CompletaPoligonos(Context& c, double angulo) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CompletaPoligonos", [&] {
        ReportPolygonsFound(c);
        const double e = c.gErrorDistancias;
        bool computed = false;
        double lastDeclination = 0;
        Complete(c, [&](int32_t i, int32_t j, int32_t a, int32_t b) {
            if (CalculaAnguloEinclinacion_0a180_DeCatalogo(c, a, b) > 0) {
                EndWithError(c, "Error en 1", "Erreur à 1", "Error in 1");
                return -1;
            }
            const double catalogue = c.gDistanciaAngular * 100000;
            // The inclination of this pair measured at its own midpoint's declination.
            lastDeclination = c.gDeclinacionMedia;
            computed = true;
            ComputeScreenPair(c, lastDeclination, angulo, i, j);
            if (c.mFinAnalisis) return -1;
            const auto si = static_cast<size_t>(i), sj = static_cast<size_t>(j);
            const double screen = c.mDistanciasPantalla[si][sj] / 0.0006;
            double inc = c.mInclinacionesPantalla[si][sj];
            if (inc > 179) inc -= 180;
            if (inc < 0) inc += 180;
            if (!((1 - e) * screen <= catalogue && catalogue < (e + 1) * screen)) return 0;
            return InclinationAgrees(inc, c.gErrorInclinacion, IntFloor(c.gInclinacion)) ? 1 : 0;
        });
        if (c.mFinAnalisis) return;
        // The tables end as the last recomputation leaves them.
        if (computed) CalculaParametrosDeLasDistanciasEnPantalla(c, lastDeclination, angulo);
        CompletionTail(c);
    });
}

void CompletaPoligonosSoloDistancias(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CompletaPoligonosSoloDistancias", [&] {
        ReportPolygonsFound(c);
        const double e = c.gErrorDistancias;
        Complete(c, [&](int32_t i, int32_t j, int32_t a, int32_t b) {
            if (CalculaAnguloEinclinacion_0a180_DeCatalogo(c, a, b) > 0) {
                EndWithError(c, "Error en 1", "Erreur à 1", "Error in 1");
                return -1;
            }
            const double catalogue = c.gDistanciaAngular * 100000;
            ComputeScreenPair(c, c.gDeclinacionMedia, c.gAnguloImagen, i, j);
            if (c.mFinAnalisis) return -1;
            const double screen =
                c.mDistanciasPantalla[static_cast<size_t>(i)][static_cast<size_t>(j)] / 0.0006;
            return (1 - e) * screen <= catalogue && catalogue < (e + 1) * screen ? 1 : 0;
        });
        if (c.mFinAnalisis) return;
        CompletionTail(c);
    });
}

void LimpiaPoligonos(Context& c) {
    if (c.mFinAnalisis) return;
    for (int32_t t = 1; t <= c.mNumPoligonos; ++t) {
        Poligono& p = c.mPoligonos[static_cast<size_t>(t)];
        for (bool changed = true; changed;) {
            changed = false;
            for (int32_t k = 1; k <= 10; ++k) {
                if (Estrella(p, k) <= 0) continue;
                int32_t touching = 0;
                for (int32_t m = 1; m <= 10; ++m)
                    if (m != k && Lado(p, std::min(k, m), std::max(k, m)) > 0) ++touching;
                if (touching >= 2) continue;
                Estrella(p, k) = 0;
                for (int32_t m = 1; m <= 10; ++m)
                    if (m != k) Lado(p, std::min(k, m), std::max(k, m)) = 0;
                changed = true;
            }
        }
    }
}

void QuitaDuplicados(Context& c) {
    if (c.mFinAnalisis) return;
    const int32_t n = SelectedCount(c);
    std::vector<Poligono> clean(1);
    StarsKeySet seen;
    for (int32_t t = 1; t <= c.mNumPoligonos; ++t) {
        const Poligono& p = c.mPoligonos[static_cast<size_t>(t)];
        if (!HasStars(p, n)) continue;
        if (seen.insert(KeyOf(p, n)).second) clean.push_back(p);
    }
    c.mPoligonosLimpios = std::move(clean);
    c.mNumPoligonosLimpios = static_cast<int32_t>(c.mPoligonosLimpios.size()) - 1;
}

void AnalisisParcial(Context& c) {
    if (c.mFinAnalisis || c.mNumPoligonosLimpios == 0) return;
    c.platform.DoEvents();
    const int32_t n = SelectedCount(c);
    int32_t best = 0;
    for (int32_t t = 1; t <= c.mNumPoligonosLimpios; ++t)
        best = std::max(best, c.mPoligonosLimpios[static_cast<size_t>(t)].NumLados);
    if (best > c.mMejorLados) {
        c.mNumMejores = 0;
        c.mMejores.resize(1);
        c.mMejorLados = best;
    }
    if (best != c.mMejorLados) return;
    for (int32_t t = 1; t <= c.mNumPoligonosLimpios; ++t) {
        const Poligono& p = c.mPoligonosLimpios[static_cast<size_t>(t)];
        if (p.NumLados != best) continue;
        const StarsKey key = KeyOf(p, n);
        bool known = false;
        for (int32_t m = 1; m <= c.mNumMejores && !known; ++m)
            known = KeyOf(c.mMejores[static_cast<size_t>(m)], n) == key;
        if (known) continue;
        if (c.mMejores.empty()) c.mMejores.resize(1);
        c.mMejores.resize(static_cast<size_t>(c.mNumMejores) + 1);
        c.mMejores.push_back(p);
        ++c.mNumMejores;
    }
}

void CambiaIDsAnumerosID_GSC(Context& c) {
    if (c.mFinAnalisis || c.mNumPoligonosLimpios == 0) return;
    WithTrap(c, "CambiaIDsAnumerosID_GSC", [&] {
        const int64_t stars = ToLong(static_cast<double>(c.gCanalEstrellas->Length()) / kLongitudRegEstrella);
        for (int32_t t = 1; t <= c.mNumPoligonosLimpios; ++t) {
            Poligono& p = c.mPoligonosLimpios[static_cast<size_t>(t)];
            for (int32_t k = 1; k <= 10; ++k) {
                const int32_t number = Estrella(p, k);
                if (number <= 0) continue;
                if (number > stars) {
                    const std::string s = std::to_string(number);
                    AvisoIdioma(c, "No encuentra la estrella " + s, "Etoile non trouvée " + s,
                                "Star not found " + s);
                    return;
                }
                Estrella(p, k) = ReadRegEstrella(c, number).Id;
            }
        }
    });
}

}  // namespace tornel
