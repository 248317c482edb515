// Stand-ins for the image stages until the readers and the extraction land: an image cannot be
// loaded yet, and the run ends as a failed load.
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

void CargaImagen(Context& c) {
    if (c.mFinAnalisis) return;
    c.gImagenCargada = false;
    AvisoResulYresumen(c, "Imagen no cargada.", "Image non chargée.", "Image not loaded.");
    c.gUltimoError = "Image not loaded.";
    c.mFinAnalisis = true;
}

void CalculaBrilloDeFondoYumbral(Context&) {}

int32_t ExtraeEstrellasLaberinto(Context& c) {
    c.mFinAnalisis = true;
    return 0;
}

void CalculaDescentradoConAnterior(Context&) {}
void CalculaDescentradoConReferencia(Context&) {}
void AceptaReferencia(Context&) {}
void LineaDeriva(Context&) {}

}  // namespace tornel
