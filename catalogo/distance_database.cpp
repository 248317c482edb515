#include "catalogo/distance_database.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "astrometria/pair_geometry.h"
#include "astrometria/sky_maths.h"
#include "busqueda/screen_geometry.h"
#include "catalogo/database_choice.h"
#include "catalogo/star_catalogue.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "comun/star_file.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// Tile centres around a pole: right ascension and distance from the pole, degrees.
constexpr std::array<std::array<double, 2>, kTejasPorPolo> kTejas{{{225, 1.06066},
                                                                   {251.565, 0.69597},
                                                                   {288.435, 0.69597},
                                                                   {315, 1.06066},
                                                                   {198.435, 0.69597},
                                                                   {225, 0.353553},
                                                                   {315, 0.353553},
                                                                   {341.565, 0.69597},
                                                                   {161.565, 0.69597},
                                                                   {135, 0.353553},
                                                                   {45, 0.353553},
                                                                   {18.435, 0.69597},
                                                                   {135, 1.06066},
                                                                   {108.435, 0.69597},
                                                                   {71.565, 0.69597},
                                                                   {45, 1.06066},
                                                                   {243.435, 1.118},
                                                                   {270, 1},
                                                                   {296.565, 1.118},
                                                                   {206.565, 1.118},
                                                                   {225, 0.7071},
                                                                   {270, 0.5},
                                                                   {315, 0.7071},
                                                                   {333.435, 1.118},
                                                                   {180, 1},
                                                                   {180, 0.5},
                                                                   {0, 0},
                                                                   {0, 0.5},
                                                                   {0, 1},
                                                                   {153.435, 1.118},
                                                                   {135, 0.7071},
                                                                   {90, 0.5},
                                                                   {45, 0.7071},
                                                                   {26.565, 1.118},
                                                                   {116.565, 1.118},
                                                                   {90, 1},
                                                                   {63.435, 1.118}}};

constexpr int32_t kMinUnidades = 100, kMaxUnidades = 29999;

// Reads record n when it lies within the file; false at the end.
bool ReadIfPresent(const StarFile& f, int64_t n, RegDistancia& r) {
    std::array<unsigned char, kLongitudRegDistancia> b{};
    if (!f.ReadRecord(n, b.data())) return false;
    std::memcpy(&r.Clave, &b[0], 4);
    std::memcpy(&r.EstrellaA, &b[4], 4);
    std::memcpy(&r.EstrellaB, &b[8], 4);
    std::memcpy(&r.ArMedia10, &b[12], 2);
    return true;
}

RegDistancia ReadRegDistancia(const StarFile& f, int64_t n) {
    RegDistancia r;
    if (!ReadIfPresent(f, n, r)) Raise(kErrPastEndOfFile);
    return r;
}

std::string Ring000(int32_t r) {
    return FormatNumber(r, "000");
}

std::string RingFile(const Context& c, const std::string& prefijo, int32_t r) {
    return DatabaseFilePath(c.gCarpetaDistancias, prefijo + Ring000(r) + ".bin");
}

// Database units of a screen distance (minutes of arc), and the band of distances fished for it.
struct DistanceBand {
    int32_t dMin = 0, dMax = 0;
    bool skip = false;
};

DistanceBand BandAround(int32_t d, double below, double above) {
    DistanceBand b;
    b.dMin = std::max(ToLong(below * d), kMinUnidades);
    b.dMax = std::min(ToLong(above * d), kMaxUnidades);
    b.skip = b.dMax <= 99 || b.dMin >= 30000;
    return b;
}

int32_t ScreenUnits(const Context& c, int32_t i, int32_t j) {
    return ToLong(c.mDistanciasPantalla[static_cast<size_t>(i)][static_cast<size_t>(j)] / 0.0006);
}

// One screen pair fished in one open ring, over the bands band - tol .. band + tol. `passes` tests a
// record's right ascension (degrees, single precision); `take` stores a catch and answers false to
// stop the ring.
template <class Passes, class Take>
bool FishPair(const StarFile& ring, int64_t count, int32_t band, int32_t tol, const DistanceBand& d,
              Passes&& passes, Take&& take) {
    for (int32_t k = -tol; k <= tol; ++k) {
        int32_t b = band + k;
        if (b < 0) b = 179;
        if (b > 179) b = 0;
        const int32_t keyMin = b * 100000 + d.dMin, keyMax = b * 100000 + d.dMax;
        SearchEnds e =
            NarrowSearch(keyMin, count, [&](int64_t n) { return ReadRegDistancia(ring, n).Clave; });
        RegDistancia r;
        for (int64_t n = e.lo; ReadIfPresent(ring, n, r) && r.Clave <= keyMax; ++n) {
            const int32_t distance = r.Clave % 100000;
            if (distance < d.dMin || distance > d.dMax) continue;
            if (!passes(static_cast<float>(r.ArMedia10) / 10.0f)) continue;
            if (!take(r)) return false;
        }
    }
    return true;
}

// The band of the screen pair (i, j): whole part of its inclination, brought into 0..179.
int32_t ScreenBand(const Context& c, int32_t i, int32_t j) {
    auto band = static_cast<int32_t>(
        IntFloor(c.mInclinacionesPantalla[static_cast<size_t>(i)][static_cast<size_t>(j)]));
    if (band > 179) band -= 180;
    if (band < 0) band += 180;
    return band;
}

Segmento MakeSegment(const Context& c, int32_t i, int32_t j, const RegDistancia& r) {
    Segmento s{};
    s.Pantalla1 = static_cast<int16_t>(i);
    s.Pantalla2 = static_cast<int16_t>(j);
    if (c.mOrdenPantalla[static_cast<size_t>(i)][static_cast<size_t>(j)] == 1) {
        s.Catalogo1 = r.EstrellaB;
        s.Catalogo2 = r.EstrellaA;
    } else {
        s.Catalogo1 = r.EstrellaA;
        s.Catalogo2 = r.EstrellaB;
    }
    return s;
}

// The checked append of PescaEnVentana and PescaEnTejas: past gMaxSegmentos it is a subscript error.
void AppendSegment(Context& c, const Segmento& s) {
    if (c.mNumSegmentos >= c.gMaxSegmentos) Raise(kErrSubscript);
    ++c.mNumSegmentos;
    c.mSegmentos.push_back(s);
}

void ReportTooMany(Context& c, bool tiles) {
    ParaResumen(c, "Demasiadas distancias seleccionadas.", "Trop de distances sélectionnées.",
                "Too many selected distances.");
    if (tiles)
        VisuTitulo(c, "Demasiadas distancias (vea Ayuda.doc).",
                   "Trop de distances sélectionnées (voyez Aide.doc).", "Too many distances (see Help.doc).");
    else
        VisuTitulo(c, "Demasiadas distancias (ver Ayuda.doc).",
                   "Trop de distances sélectionnées (voir Aide.doc).", "Too many distances (see Help.doc).");
}

// The trap of the fishing routines: a full segment array is told as too many distances, any other
// error by the standard report; both end the analysis.
template <class Body>
void WithFishingTrap(Context& c, std::string_view procedure, bool tiles, int32_t& resultado, Body&& body) {
    try {
        body();
    } catch (...) {
        NumberedError e = CurrentAsNumbered();
        resultado = 1;
        if (e.number() == kErrSubscript) {
            c.mFinAnalisis = true;
            ReportTooMany(c, tiles);
        } else {
            ReportError(c, e, procedure);
        }
    }
}

// The count of a window search's catch; an empty one ends the analysis.
void ReportCatch(Context& c, bool summaryOfNone) {
    std::string n = std::to_string(c.mNumSegmentos);
    ParaResumen(c, "**Segmentos encontrados: " + n, "**Distances trouvées: " + n, "**Distances found: " + n);
    VisuTitulo(c, n + " distancias encontradas ", n + " distances trouvées ", n + " distances found ");
    if (c.mNumSegmentos == 0) {
        c.mFinAnalisis = true;
        if (summaryOfNone)
            ParaResumen(c, "0 distancias encontradas.", "0 distance trouvée.", "0 distances found.");
        VisuTitulo(c, "0 distancias encontradas", "0 distance trouvée", "0 distances found");
    }
}

void ReportMissingRing(Context& c, const std::string& prefijo, int32_t r) {
    std::string name = prefijo + Ring000(r);
    ParaResumen(c, "Anillo " + name + ".bin no encontrado", "Anneau " + name + ".bin non trouvé",
                "Ring " + name + ".bin not found");
}

}  // namespace

void CentroDeTeja(int32_t polo, int32_t teja, double& ra, double& dec) {
    const auto& t = kTejas.at(static_cast<size_t>(teja - 1));
    ra = t[0];
    dec = polo == 0 ? t[1] - 90 : -(t[1] - 90);
}

void VaciaSegmentos(Context& c) {
    c.mSegmentos.assign(1, Segmento{});
    c.mNumSegmentos = 0;
}

void CalculaArDesdeHasta(Context& c, double anillo, double arCentro, double ancho, bool& hayDos,
                         double& desde1, double& hasta1, double& desde2, double& hasta2) {
    const double a = GradosEntre0y360(arCentro);
    const double declinacion = anillo < 90 ? anillo - 90 : anillo - 89;
    double w = std::fabs(ancho / (2 * std::cos(declinacion * c.gGradosARadianes)));
    if (w > 180) w = 180;
    const double desde = a - w, hasta = a + w;
    if (desde >= 0 && hasta <= 360) {
        hayDos = false;
        desde1 = desde2 = desde;
        hasta1 = hasta2 = hasta;
    } else if (desde >= 0) {
        hayDos = true;
        desde1 = desde;
        hasta1 = 360;
        desde2 = 0;
        hasta2 = hasta - 360;
    } else {
        hayDos = true;
        desde1 = 0;
        hasta1 = hasta;
        desde2 = desde + 360;
        hasta2 = 360;
    }
}

void PescaEnVentana(Context& c, double angulo, double arCentro, double anilloDesde, double anilloHasta,
                    int32_t& resultado) {
    resultado = 0;
    if (c.mFinAnalisis) return;
    c.mInicioPesca = static_cast<float>(Ahora(c));
    WithFishingTrap(c, "PescaEnVentana", false, resultado, [&] {
        const int32_t primero = ToLong(std::clamp(anilloDesde, 1.0, 178.0));
        const int32_t ultimo = ToLong(std::clamp(anilloHasta, 1.0, 178.0));
        const int32_t n = std::min<int32_t>(c.mNumSeleccionadas, 10);
        for (int32_t r = primero; r <= ultimo; ++r) {
            c.platform.DoEvents();
            if (c.mFinAnalisis) return;
            const StarFile* ring =
                c.distanceRings.Open(RingFile(c, c.gPrefijoDistancias, r), kLongitudRegDistancia);
            if (ring == nullptr) {
                ReportMissingRing(c, c.gPrefijoDistancias, r);
                continue;
            }
            c.mHayAnillo = true;
            if (c.gZonaCielo == 1)
                VisuTitulo(c, "Buscando distancias ... " + Ring000(r),
                           "Recherche des distances en cours ... " + Ring000(r),
                           "Searching distances ... " + Ring000(r));
            CalculaParametrosDeLasDistanciasEnPantalla(c, r - 89.5, angulo);
            if (c.mFinAnalisis) return;
            bool hayDos = false;
            double d1 = 0, h1 = 0, d2 = 0, h2 = 0;
            CalculaArDesdeHasta(c, r, arCentro, RoundHalfEven(c.gAnchoVentana), hayDos, d1, h1, d2, h2);
            const float fd1 = static_cast<float>(d1), fh1 = static_cast<float>(h1);
            const float fd2 = static_cast<float>(d2), fh2 = static_cast<float>(h2);
            auto passes = [&](float v) { return (fd1 <= v && v < fh1) || (hayDos && fd2 <= v && v < fh2); };
            const int64_t count = ring->RecordCount();
            for (int32_t i = 1; i < n; ++i)
                for (int32_t j = i + 1; j <= n; ++j) {
                    const int32_t d = ScreenUnits(c, i, j);
                    const DistanceBand band = BandAround(d, 1 - c.gErrorDistancias, c.gErrorDistancias + 1);
                    if (band.skip) continue;
                    int32_t tol = c.gErrorInclinacion;
                    if ((r < 3 || r > 176) && tol < 2) tol = 2;
                    FishPair(*ring, count, ScreenBand(c, i, j), tol, band, passes,
                             [&](const RegDistancia& rec) {
                                 AppendSegment(c, MakeSegment(c, i, j, rec));
                                 return true;
                             });
                }
        }
        if (c.gZonaCielo == 1) ReportCatch(c, true);
    });
}

int32_t PescaDLL_VB(Context& c, int32_t numEstrellas, const std::string& prefijo, int32_t& anilloFalta,
                    double arDesde, double arHasta, int32_t anilloDesde, int32_t anilloHasta, double error,
                    int32_t errorInclinacion, std::vector<Segmento>& segmentos, int32_t& numSegmentos,
                    int32_t maxSegmentos) {
    anilloFalta = -1000;
    if (prefijo.size() < 4) return 3;
    int32_t answer = 0;
    try {
        const auto slash = prefijo.find_last_of('/');
        const std::string folder = prefijo.substr(0, slash + 1), name = prefijo.substr(slash + 1);
        const int32_t n = std::min(numEstrellas, 10);
        const auto fd = static_cast<float>(arDesde), fh = static_cast<float>(arHasta);
        auto passes = [&](float v) { return fd <= v && v < fh; };
        int32_t tol = errorInclinacion;
        for (int32_t r = anilloDesde; r <= anilloHasta && answer == 0; ++r) {
            c.platform.DoEvents();
            const StarFile* ring = c.distanceRings.Open(DatabaseFilePath(folder, name + Ring000(r) + ".bin"),
                                                        kLongitudRegDistancia);
            if (ring == nullptr) {
                anilloFalta = (anilloFalta < 0 ? -1 : 1) * r;
                continue;
            }
            anilloFalta = std::abs(anilloFalta);
            // Once raised near a pole, the tolerance stays raised for the rest of the call.
            if ((r < 3 || r >= 177) && tol < 2) tol = 2;
            const int64_t count = ring->RecordCount();
            for (int32_t i = 1; i < n && answer == 0; ++i)
                for (int32_t j = i + 1; j <= n && answer == 0; ++j) {
                    const DistanceBand band = BandAround(ScreenUnits(c, i, j), 1 - error, error + 1);
                    if (band.skip) continue;
                    FishPair(*ring, count, ScreenBand(c, i, j), tol, band, passes,
                             [&](const RegDistancia& rec) {
                                 ++numSegmentos;
                                 if (numSegmentos > maxSegmentos) {
                                     answer = 2;
                                     return false;
                                 }
                                 segmentos.push_back(MakeSegment(c, i, j, rec));
                                 return true;
                             });
                }
        }
    } catch (...) {
        answer = 1;
    }
    return answer;
}

void AporPescaDLL(Context& c) {
    if (c.mFinAnalisis) return;
    if (c.gZonaCielo == 1 && (c.gTipoVentana == 0 || c.gTipoVentana == 3))
        VisuTitulo(c, "Buscando distancias ... " + Ring000(c.mAnilloDesde),
                   "Recherche des distances en cours ... " + Ring000(c.mAnilloDesde),
                   "Searching distances ... " + Ring000(c.mAnilloDesde));
    c.platform.DoEvents();
    const std::string prefijo = c.gCarpetaDistancias + c.gPrefijoDistancias;
    int32_t anilloFalta = -1000;
    const int32_t resultado = PescaDLL_VB(
        c, c.mNumSeleccionadas, prefijo, anilloFalta, c.mArDesde, c.mArHasta, c.mAnilloDesde, c.mAnilloHasta,
        c.gErrorDistancias, c.gErrorInclinacion, c.mSegmentos, c.mNumSegmentos, c.gMaxSegmentos);
    if (resultado > 0) c.mFinAnalisis = true;
    if (anilloFalta > 0) c.mHayAnillo = true;
    if (std::abs(anilloFalta) != 1000) ReportMissingRing(c, c.gPrefijoDistancias, std::abs(anilloFalta));
    switch (resultado) {
        case 1:
            SummaryAndTitle(c, "Error 1 en AporPescaDLL", "Erreur 1 à AporPescaDLL",
                            "Error 1 in AporPescaDLL");
            break;
        case 2:
            ReportTooMany(c, false);
            break;
        case 3:
            SummaryAndTitle(c, "Ruta de distancias '" + prefijo + "' erronea.",
                            "Chemin des distances '" + prefijo + "' incorrect.",
                            "Distances path '" + prefijo + "' too short.");
            break;
        default:
            break;
    }
    if ((resultado == 0 || resultado == 3) && c.gZonaCielo == 1) ReportCatch(c, false);
}

void RellenaCentrosDeTejasParaPolos(Context& c) {
    if (c.tileCentresFilled) return;
    for (int32_t t = 1; t <= kTejasPorPolo; ++t) {
        const auto k = static_cast<size_t>(t);
        CentroDeTeja(0, t, c.mCentrosTejasSurRA[k], c.mCentrosTejasSurDEC[k]);
        CentroDeTeja(179, t, c.mCentrosTejasNorteRA[k], c.mCentrosTejasNorteDEC[k]);
    }
    c.tileCentresFilled = true;
}

void CalculaOrdenDeTejasParaPolos(Context& c, int32_t polo) {
    RellenaCentrosDeTejasParaPolos(c);
    const auto& ra = polo == 0 ? c.mCentrosTejasSurRA : c.mCentrosTejasNorteRA;
    const auto& dec = polo == 0 ? c.mCentrosTejasSurDEC : c.mCentrosTejasNorteDEC;
    std::array<double, kTejasPorPolo + 1> distance{};
    for (size_t t = 1; t <= kTejasPorPolo; ++t)
        distance[t] = CalculaDistancia(c, c.gCentroBusquedaRA, c.gCentroBusquedaDEC, ra[t], dec[t]);
    for (size_t k = 1; k <= kTejasPorPolo; ++k) {
        double least = 999;
        size_t chosen = 0;
        for (size_t t = 1; t <= kTejasPorPolo; ++t)
            if (distance[t] < least) {
                least = distance[t];
                chosen = t;
            }
        c.mOrdenTejas[k] = static_cast<int32_t>(chosen);
        if (chosen > 0) distance[chosen] = 9999;
    }
}

void PescaEnTejas(Context& c, int32_t polo, int32_t teja, int32_t& resultado) {
    resultado = 0;
    if (c.mFinAnalisis) return;
    StarFile file;
    WithFishingTrap(c, "PescaEnTejas", true, resultado, [&] {
        const std::string name = "pole" + Ring000(polo) + ".bin";
        if (!file.Open(DatabaseFilePath(c.gCarpetaDistancias, name), kLongitudRegDistancia))
            Raise(kErrFileNotFound);
        const int64_t first = ReadRegDistancia(file, 2 * teja - 1).Clave;
        const int64_t last = ReadRegDistancia(file, 2 * teja).Clave;
        const int32_t n = std::min<int32_t>(c.mNumSeleccionadas, 10);
        for (int32_t i = 1; i < n; ++i)
            for (int32_t j = i + 1; j <= n; ++j) {
                c.platform.DoEvents();
                const DistanceBand d = BandAround(ScreenUnits(c, i, j), 0.99, 1.01);
                if (d.skip) continue;
                // The tile alone is searched: the same narrowing loop between its first and last records.
                int64_t lo = first, hi = last;
                while (hi - lo >= 2) {
                    const int64_t mid = (hi + lo) / 2;
                    if (d.dMin <= ReadRegDistancia(file, mid).Clave)
                        hi = mid;
                    else
                        lo = mid;
                }
                RegDistancia r;
                for (int64_t pos = lo; pos <= last && ReadIfPresent(file, pos, r) && r.Clave <= d.dMax;
                     ++pos) {
                    if (r.Clave < d.dMin) continue;
                    Segmento s{};
                    s.Pantalla1 = static_cast<int16_t>(i);
                    s.Pantalla2 = static_cast<int16_t>(j);
                    s.Catalogo1 = r.EstrellaB;
                    s.Catalogo2 = r.EstrellaA;
                    AppendSegment(c, s);
                    s.Catalogo1 = r.EstrellaA;
                    s.Catalogo2 = r.EstrellaB;
                    AppendSegment(c, s);
                }
            }
        file.Close();
        const std::string t = FormatNumber(teja, "00"), count = std::to_string(c.mNumSegmentos);
        ParaResumen(c, "**Teja " + t + "; segmentos encontrados: " + count,
                    "**Tuile " + t + "; distances trouvées: " + count,
                    "**Tile " + t + "; distances found: " + count);
        if (c.mNumSegmentos == 0) {
            c.mFinAnalisis = true;
            const std::string p = std::to_string(polo), tt = std::to_string(teja);
            ParaResumen(c, "0 distancias encontradas en polo " + p + " teja " + tt,
                        "0 distance trouvées dans pole " + p + " tuile " + tt,
                        "0 distances found in pole " + p + " tile " + tt);
            VisuTitulo(c, "0 distancias encontradas", "0 distance trouvée", "0 distances found");
        }
    });
}

}  // namespace tornel
