#pragma once
// Stages of the analysis run that image intake and star extraction provide. Each does nothing when
// mFinAnalisis is set on entry, and sets it, with its message, when it fails.
#include <cstdint>
#include <string>
#include <vector>

#include "comun/context.h"

namespace tornel {

// Fixes gXMin, gXMax, gYMin, gYMax, the rectangle of the image that is analysed.
void DeterminaRectanguloDeAnalisis(Context& c);

// Reads the image file of gRutaImagen into the brightness matrix, by its extension.
void CargaImagen(Context& c);
// A BMP or JPG picture (`tipo` "bmp" or "jpg") into mPixelesBMP and mBrillo.
void CargaBmp(Context& c, const std::string& ruta, const std::string& tipo);

// Analysis rectangle, background (mean of the diagonals) and threshold of the image in memory.
void CalculaBrilloDeFondoYumbral(Context& c);

// Contours, candidates and selected stars, at the threshold in force or by the automatic
// threshold. -1 when a stage ended the analysis, otherwise the number of selected stars.
int32_t ExtraeEstrellasLaberinto(Context& c);
// Fewer candidates than this under the automatic threshold call for the fallbacks below.
inline constexpr int32_t kEnoughCandidates = 10;
// Side in pixels of the cells of the local background.
inline constexpr int32_t kLocalBackgroundCell = 64;
// The shortest outline kept by the last fallback: p <= 3 goes, so a 2 x 2 blob stays.
inline constexpr int32_t kSmallStarPerimeter = 3;
// The extraction of the run: ExtraeEstrellasLaberinto, and when under the automatic threshold it keeps
// fewer than kEnoughCandidates candidates, the same again on the image with its local background (the
// medians of a coarse mesh) removed, and if still too few, there with outlines down to
// kSmallStarPerimeter; the extraction with the most candidates stands. The image in memory
// is left as it was read. Answers as ExtraeEstrellasLaberinto.
int32_t ExtractStarsWithFallbacks(Context& c);
// One scan at mBrilloUmbral: ExtraeContornosDentro in area 1, otherwise ExtraeContornosFueraYtoda.
void ExtraeContornos(Context& c);
void ExtraeContornosDentro(Context& c);
void ExtraeContornosFueraYtoda(Context& c);
// The largest contours, up to gMaxContornos, to candidates.
void TrataContornos(Context& c);
// Contour n (from 1) to a candidate with its brightness-weighted centroid; a walk that does not close
// ends the analysis here, while TrataContornos passes over that contour.
void TrataEstrella(Context& c, int32_t n);
// The fainter stars of the whole image for the check of an answer, into verificationStars, once after
// each extraction that kept stars, while its image is in memory: the candidates stop at the few
// brightest of the analysed part, while the catalogue's fainter stars need the image's. A scan at
// the noise floor (the median and five sigmas of the sky's noise), or where a crowded field gives
// too many outlines there a bisection up to the candidates' threshold, aims at no more than twice
// kMaxVerificationStars outlines; the last scan that kept a whole count stands. At a low threshold
// bright stars swell past the longest outline or merge, so the candidates stay first and what
// stands on them goes.
void FindVerificationStars(Context& c);
// The stars of the whole image for the pattern search, brightest first, at most
// kMaxVerificationStars, in image pixels: found over a background and a noise measured cell by cell,
// so that one threshold does not serve a dark sky and a lit tree alike. Within the part of the
// image the user chose, whatever the distance road narrowed it to.
std::vector<EstrellaImagen> PatternSources(const Context& c);
// Candidates to mEstrellas, brightest first, and the brightest few to mSeleccionadas.
void SeleccionaEstrellas(Context& c);

// Drift against the image before and against the reference image.
void CalculaDescentradoConAnterior(Context& c);
void CalculaDescentradoConReferencia(Context& c);
void AceptaReferencia(Context& c);
// The summary line of the drift against the reference.
void LineaDeriva(Context& c);

}  // namespace tornel
