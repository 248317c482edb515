#pragma once
// The whole-sky identification by triangles: the image's stars turned into query triangles in order
// of merit, the catalogue triangles of the same sides, and each of these grown into a solution by
// predicting the other image stars and looking for them in the star file. The run itself,
// BusquedaPorTriangulos, is declared with the other searches.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// Angular distances between the selected stars (square pixels, focal gFocalEnPixeles) into
// mDistanciasPantalla, in minutes of arc as the pair tables hold them.
void CalculaDistanciasEnPantalla(Context& c);
// Every triangle of the selected stars whose sides the database may hold, in canonical order and
// with its box, into mTriangulosImagen in order of merit: triangles of the Delaunay triangulation of
// all the stars, then of those of the brightest 3, 4, ... stars, then the rest.
void Tri_CalculaTriangulosDeLaImagen(Context& c);
// The database search over mTriangulosImagen and the trial of the candidates that wait, nearer zone
// first. lados: the sides of the solution that stopped the search, else 0.
void Tri_BusquedaEnBD(Context& c, int32_t& lados);
// Tries one candidate: the plate Dij of its largest triangle predicts the other selected stars and
// the further image stars; a total above 6 sides is kept in mSolucionesTriangulo. lados: the total.
void ConstruyePosibleSolucion(Context& c, CandidatoTriangulo& candidato, int32_t& lados);
// The selected stars I < J < K with catalogue stars in `candidato` whose triangle has the largest
// area in pixels; the first of equal ones wins. 0, 0, 0 when there are not three.
void EscogeTrianguloMayor(const Context& c, const CandidatoTriangulo& candidato, int32_t& i, int32_t& j,
                          int32_t& k);
// `candidato` with every other selected star that Dij puts on a catalogue star; each found star joins
// I, J and K by sides of value 2. lados: the sides of the result.
void AmpliaSolucionParaSelecConCoefDij(Context& c, int32_t i, int32_t j, int32_t k,
                                       const CandidatoTriangulo& candidato, CandidatoTriangulo& ampliado,
                                       int32_t& lados);
// The solution record of `candidato` with base I, J, K: the image centre by Dij and the further image
// stars found in the catalogue, 3 sides each. total: LadosTotales.
void AmpliaSolucionParaCandiConCoefDij(Context& c, int32_t i, int32_t j, int32_t k,
                                       const CandidatoTriangulo& candidato, SolucionTriangulo& solucion,
                                       int32_t& total);
// Looks for a catalogue star within gSemiVentanaTriangulo of where Dij puts pixel (x, y) (square
// pixels), by declination in the star file. estrella: its record number when found.
void ExisteEstrellaEnBDConCoefDij(Context& c, double x, double y, int32_t& estrella, bool& encontrada);
// The best solution of mSolucionesTriangulo published: position, image angle, status files,
// presentation, synchronisation and WCS; "Position not found." when there is none.
void Tri_AnalisisFinal(Context& c);

// " Looking for a solution ... " with the counters, in the title.
void ShowTrial(Context& c);
// "Solution with n sides, for the triangle m" in the summary and the title.
void ReportSolutionFound(Context& c, int32_t lados, int32_t triangulo);

// Reads the one value of est.ele and clears mEsperaTriangulo.
void TimerEsperaTriangle_Timer(Context& c);

}  // namespace tornel
