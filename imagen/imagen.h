#pragma once
// Stages of the analysis run that image intake and star extraction provide.
#include <cstdint>

#include "core/context.h"

namespace tornel {

// Reads the image file of gRutaImagen into the brightness matrix; failures set mFinAnalisis.
void CargaImagen(Context& c);
// Analysis rectangle, background and threshold of the image in memory.
void CalculaBrilloDeFondoYumbral(Context& c);
// Contours, candidates and selected stars. -1 when a stage ended the analysis, otherwise the
// number of selected stars.
int32_t ExtraeEstrellasLaberinto(Context& c);

// Drift against the image before and against the reference image.
void CalculaDescentradoConAnterior(Context& c);
void CalculaDescentradoConReferencia(Context& c);
void AceptaReferencia(Context& c);
// The summary line of the drift against the reference.
void LineaDeriva(Context& c);

}  // namespace tornel
