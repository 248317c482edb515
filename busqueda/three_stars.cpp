#include "busqueda/three_stars.h"

#include <algorithm>
#include <limits>
#include <string>

#include "astrometria/pair_geometry.h"
#include "astrometria/sky_vectors.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

int32_t SelectedCount(const Context& c) {
    return std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10);
}

// Failure of a catalogue read inside a filter: the analysis ends with its own line.
void EndWithError(Context& c, Txt es, Txt fr, Txt en) {
    c.mFinAnalisis = true;
    ParaResumen(c, es, fr, en);
    if (c.events.AvisoTerminado) c.events.AvisoTerminado();
}

// Keeps the three-stars for which `keep` is true, in order.
template <class Keep>
void Filter(Context& c, Keep&& keep) {
    std::vector<Poligono> survivors(1);
    survivors.reserve(static_cast<size_t>(c.mNumTresEstrellas) + 1);
    for (int32_t t = 1; t <= c.mNumTresEstrellas; ++t) {
        Poligono& p = c.mTresEstrellas[static_cast<size_t>(t)];
        int verdict = keep(p);
        if (verdict < 0) return;  // the analysis ended: nothing changes
        if (verdict > 0) survivors.push_back(p);
    }
    c.mTresEstrellas = std::move(survivors);
    c.mNumTresEstrellas = static_cast<int32_t>(c.mTresEstrellas.size()) - 1;
}

}  // namespace

void Construye3estrellas(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "Construye3estrellas", [&] {
        if ((c.gTipoVentana == 0 || c.gTipoVentana == 3) && c.gZonaCielo == 1 && !c.gEnPolos)
            VisuTitulo(c, "Buscando ...", "Recherche en cours ...", "Searching ...");
        c.mNumTresEstrellas = 0;
        c.mTresEstrellas.assign(1, Poligono{});
        if (c.mNumSegmentos == 0) return;
        if (c.mNumSegmentos > std::numeric_limits<int16_t>::max() ||
            c.mSegmentos.size() < static_cast<size_t>(c.mNumSegmentos) + 1)
            Raise(kErrOverflow);
        c.mTresEstrellas.assign(2 * static_cast<size_t>(c.mNumSegmentos) + 1, Poligono{});
        const int16_t found =
            construye_3_estrellas(&c.mSegmentos[1], static_cast<int16_t>(c.mNumSegmentos),
                                  &c.mTresEstrellas[1], static_cast<int16_t>(SelectedCount(c)));
        if (found < 0) Raise(kErrSubscript);
        c.mNumTresEstrellas = found;
        c.mTresEstrellas.resize(static_cast<size_t>(found) + 1);
        if (c.gZonaCielo == 1) {
            std::string n = std::to_string(found);
            ParaResumen(c, "3-estrellas encontradas: " + n, "3-étoiles trouvés: " + n, "3-stars found: " + n);
        }
    });
}

void CompruebaTercerLado(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CompruebaTercerLado", [&] {
        const int32_t n = SelectedCount(c);
        const double e = c.gErrorDistancias;
        Filter(c, [&](Poligono& p) {
            bool bueno = true;
            for (int32_t i = 1; i < n; ++i)
                for (int32_t j = i + 1; j <= n; ++j) {
                    if (Lado(p, i, j) != 0 || Estrella(p, i) <= 0 || Estrella(p, j) <= 0) continue;
                    if (CalculaDistanciaDeCatalogo(c, Estrella(p, i), Estrella(p, j)) > 0) {
                        EndWithError(c, "Error en CompruebaTercerLado", "Erreur dans CompruebaTercerLado",
                                     "Error in CompruebaTercerLado");
                        return -1;
                    }
                    const double catalogue = c.gDistanciaAngular * 100000;
                    const double screen =
                        c.mDistanciasPantalla[static_cast<size_t>(i)][static_cast<size_t>(j)] / 0.0006;
                    if ((1 - (e + e)) * screen <= catalogue && catalogue < (e + e + 1) * screen)
                        Lado(p, i, j) = 2;
                    else
                        bueno = false;
                }
            return bueno ? 1 : 0;
        });
        if (c.mFinAnalisis) return;
        if (c.gZonaCielo == 1) {
            std::string n3 = std::to_string(c.mNumTresEstrellas);
            ParaResumen(c, "3-estrellas con tercer lado: " + n3, "3-étoiles avec trois côtés: " + n3,
                        "3-stars with three sides: " + n3);
        }
    });
}

void ProductoVectorialPantalla(const Context& c, int32_t a, int32_t b, int32_t k, double& resultado) {
    const auto& s = c.mSeleccionadasCuadradas;
    const EstrellaImagen &pa = s.at(static_cast<size_t>(a)), &pb = s.at(static_cast<size_t>(b)),
                         &pc = s.at(static_cast<size_t>(k));
    resultado = (pb.x - pa.x) * (pc.y - pa.y) - (pb.y - pa.y) * (pc.x - pa.x);
}

void ProductoVectorialEspacio(Context& c, int32_t a, int32_t b, int32_t k, double& resultado) {
    Vector3 v[3];
    const int32_t stars[3] = {a, b, k};
    for (int m = 0; m < 3; ++m) {
        LeeCoordenadasEstrella(c, stars[m]);
        v[m] = SkyVector(c, c.gEstrellaRA, c.gEstrellaDEC);
    }
    resultado = Determinant(v[0], v[1], v[2]);
}

void CompruebaOrientacion(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CompruebaOrientacion", [&] {
        const int32_t n = SelectedCount(c);
        Filter(c, [&](const Poligono& p) {
            int32_t screen[3] = {}, found = 0;
            for (int32_t k = 1; k <= n && found < 3; ++k)
                if (Estrella(p, k) > 0) screen[found++] = k;
            if (found < 3) return 0;
            double onScreen = 0, onSky = 0;
            ProductoVectorialPantalla(c, screen[0], screen[1], screen[2], onScreen);
            ProductoVectorialEspacio(c, Estrella(p, screen[0]), Estrella(p, screen[1]),
                                     Estrella(p, screen[2]), onSky);
            // The sky is seen from inside: a true figure turns one way on the screen, the other on the sky.
            return onScreen * onSky < 0 ? 1 : 0;
        });
        if (c.gZonaCielo == 1 && c.traceOn)
            c.mTrazaAnalisis +=
                "3-estrellas con orientacion ok: " + std::to_string(c.mNumTresEstrellas) + "\r\n";
    });
}

}  // namespace tornel
