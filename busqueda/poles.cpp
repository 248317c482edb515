// The pole caps: the tiles of a pole file searched nearest the search centre first.
#include <string>

#include "busqueda/busqueda.h"
#include "busqueda/polygons.h"
#include "busqueda/three_stars.h"
#include "catalogo/distance_database.h"
#include "resultados/resumen.h"

namespace tornel {

void TrataPolos(Context& c, int32_t polo, int32_t& resultado) {
    resultado = 0;
    if (c.mFinAnalisis || c.gDetenerAnalisis) return;
    if (polo != 0 && polo != 179) return;
    const int kind = polo == 0 ? kPole000 : kPole179;
    if (c.gFicherosBD[1][static_cast<size_t>(kind)] != 1) {
        const std::string name = polo == 0 ? "pole000.bin" : "pole179.bin";
        ParaResumen(c, "No existe el fichero " + name, "Le fichier " + name + " n'existe pas.",
                    "File " + name + " not found.");
        return;
    }
    CalculaOrdenDeTejasParaPolos(c, polo);
    for (size_t k = 1; k <= kTejasPorPolo; ++k) {
        const std::string n = std::to_string(k) + " / 37";
        VisuTitulo(c, "Buscando cerca del polo ..." + n, "Recherche près du pôle ..." + n,
                   "Searching near the pole ..." + n);
        VaciaSegmentos(c);
        int32_t fished = 0;
        PescaEnTejas(c, polo, c.mOrdenTejas[k], fished);
        if (c.mFinAnalisis) return;
        if (c.mNumSegmentos > 0) {
            c.platform.DoEvents();
            // Pole segments hold record numbers of the star file until they are turned back.
            c.gEnPolos = true;
            c.gIdsSonPosiciones = true;
            Construye3estrellas(c);
            CompruebaTercerLado(c);
            CompruebaOrientacion(c);
            ConstruyePoligonosFinales(c);
            CompletaPoligonosSoloDistancias(c);
            CambiaIDsAnumerosID_GSC(c);
            c.gEnPolos = false;
            c.gIdsSonPosiciones = false;
            AnalisisParcial(c);
        }
        if (c.mFinAnalisis || c.gDetenerAnalisis || c.mMejorLados >= c.gLadosParaParar) return;
    }
}

}  // namespace tornel
