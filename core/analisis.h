#pragma once
// The analysis run: from the wish for a position to the closing result, whichever way it starts.
#include <string>

#include "comun/context.h"

namespace tornel {

// One complete analysis up to the end of the search. Every caller calls DespuesDeAnalizaImagen next.
void AnalizaImagen(Context& c);
// Choice of the image, loading, background, extraction and square pixels.
void TratamientoDeLaImagen(Context& c);
// Cleans the screen and locks the controls before the long work.
void PreparaNuevaImagen(Context& c);
// Fixes gCentroBusquedaRA and gCentroBusquedaDEC from the source in force.
void DeterminaCoordenadasDeBusqueda(Context& c);
// Square-pixel copies of the candidates and the selected stars.
void CuadraPixeles(Context& c);
// Extraction with its reports, and the reference images.
void ExtraeEstrellas(Context& c);
// The close of an analysis: final words, status files, controls unlocked, end event.
void DespuesDeAnalizaImagen(Context& c);
// AnalizaImagen followed by DespuesDeAnalizaImagen.
void AnalisisGeneral(Context& c);
// Window search around the centre (sky zone 1).
void AnalizaAmbitoVentanaElemental(Context& c);

// The newest picture (".jpg", ".fit", ".fits", ".bmp") of the mailbox folder, or empty.
std::string ImagenMasReciente(Context& c);
// The image path of the last message in the mailbox folder, or empty.
std::string ObtieneRutaImagenDelMensaje(Context& c);
// The image path for the image origin in force, or empty.
std::string ObtieneRutaDeLaImagen(Context& c);

// The stop word in the result label ("Stop", Spanish "Detener"): a click on it now stops the run.
void ShowStopWord(Context& c);
// The result label was clicked: during a search it asks for a stop; while the mailbox is watched it
// ends the wait.
void LabelResultado_Click(Context& c);
// The analyse button and the blank key.
void CommandoAnalizar_Click(Context& c);

// The "Ended: " and "Elapsed time: " lines that close every run.
void ReportEndAndElapsed(Context& c);

}  // namespace tornel
