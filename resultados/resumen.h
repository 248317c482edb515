#pragma once
// How the program talks to the user: result label, search summary, caption and message boxes, each
// given the same text in Spanish, French and English.
#include <string>
#include <string_view>

#include "comun/context.h"

namespace tornel {

using Txt = std::string_view;

// Caption of the result label, then events run.
void LabelResul(Context& c, Txt es, Txt fr, Txt en);
// Appends the text and CR LF to the summary, then events run.
void ParaResumen(Context& c, Txt es, Txt fr, Txt en);
// Both, with no yield between them.
void AvisoResulYresumen(Context& c, Txt es, Txt fr, Txt en);
// Window caption, then events run.
void VisuTitulo(Context& c, Txt es, Txt fr, Txt en);
// The same text to the summary and the caption.
void SummaryAndTitle(Context& c, Txt es, Txt fr, Txt en);
// Message box, shown only when gMostrarAvisos.
void AvisoIdioma(Context& c, Txt es, Txt fr, Txt en);
// Message box, always shown.
void MensajeIdioma(Context& c, Txt es, Txt fr, Txt en);

// The same for a text that has one form in every language.
inline void ParaResumen(Context& c, Txt all) {
    ParaResumen(c, all, all, all);
}
inline void VisuTitulo(Context& c, Txt all) {
    VisuTitulo(c, all, all, all);
}

// Sets the caption and the label directly, without a yield.
void PoneTitulo(Context& c, const std::string& text);
void PoneLabelResultado(Context& c, const std::string& text);

// Writes the summary to `ruta` in one write; false on any failure, with no report.
bool SalvaResumen(const Context& c, const std::string& ruta);

// "tornel_yyyymmdd_hh_mm_ss.log" for the present moment.
std::string NombreFicheroLog(Context& c);
// Writes `texto` as a log into the mailbox folder; reports an error through the trap.
bool CommandoGrabarLog_Click(Context& c, const std::string& texto);

// The configuration report, one item a line, in the language in force.
std::string InformeConfiguracion(const Context& c);

}  // namespace tornel
