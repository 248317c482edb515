#pragma once
// What the readers of image intake share: their refusals, and the image state of a 16-bit image.
#include <cstdint>
#include <functional>

#include "comun/context.h"
#include "resultados/resumen.h"

namespace tornel {

// Ends the analysis with the text in the summary, the caption and gUltimoError.
void RefuseImage(Context& c, Txt es, Txt fr, Txt en);
// Refuses a size past kMaxImagePixels or past kMaxImageSide, before anything is allocated; answers
// whether it did.
bool RefuseOversizedImage(Context& c, int64_t width, int64_t height);
// The size refusal of the 16-bit reader, for the other readers of 16-bit images: true when refused.
bool RefuseUndersizedImage(Context& c);

// A W x H image of 16-bit brightness into mImagenFit, which `fill` writes (row y = 1 first, W values
// a row), then mBrillo by the pixel library, with the 16-bit reader's check of the highest brightness.
// Sets gPixelesX, gPixelesY, the display size and gImagenCargada.
void StoreSixteenBitImage(Context& c, int32_t width, int32_t height,
                          const std::function<void(int16_t*)>& fill);
// mBrillo from the ancho x alto image in mImagenFit; an image whose highest brightness is below 50 ends
// the analysis, any other is loaded.
void BrightnessOfSixteenBitImage(Context& c, int16_t ancho, int16_t alto);

}  // namespace tornel
