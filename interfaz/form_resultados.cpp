#include "interfaz/form_resultados.h"

#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "comun/language.h"
#include "interfaz/button_row.h"
#include "interfaz/qt_text.h"
#include "resultados/results_report.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

QPlainTextEdit* TextBox(const std::string& text, const char* name) {
    auto* box = new QPlainTextEdit;
    box->setObjectName(name);
    box->setReadOnly(true);
    box->setLineWrapMode(QPlainTextEdit::NoWrap);
    box->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    QString shown = Q(text);
    shown.replace("\r\n", "\n");
    if (shown.endsWith('\n')) shown.chop(1);
    box->setPlainText(shown);
    return box;
}

}  // namespace

FormResultados::FormResultados(Context& c, QWidget* parent) : QDialog(parent), c_(c) {
    setObjectName("FormResultados");
    setWindowTitle(Q(Pick(c, "Resultados", "Résultats", "Search summary")));
    resize(760, 640);
    const ResultsReport r = InformeResultados(c);
    auto* figures = new QGridLayout;
    const struct {
        const char *name, *es, *fr, *en;
        const std::string& value;
    } rows[] = {
        {"background", "Brillo del fondo:", "Luminosité du fond:", "Background brightness:", r.background},
        {"threshold", "Umbral de brillo:", "Seuil de luminosité:", "Brightness threshold:", r.threshold},
        {"maximum", "Brillo  máximo:", "Luminosité  maximale:", "Maximal  brightness:", r.maximum},
        {"contours", "Contornos iniciales:", "Contours initiaux:", "Initial contours:", r.contours},
        {"candidates", "Estrellas candidatas:", "Étoiles candidates:", "Candidate stars:", r.candidates},
        {"selected", "Estrellas seleccionadas:", "Étoiles sélectionnées:", "Selected stars:", r.selected},
    };
    int row = 0;
    for (const auto& item : rows) {
        figures->addWidget(new QLabel(Q(Pick(c, item.es, item.fr, item.en))), row, 0);
        auto* value = new QLabel(Q(item.value));
        value->setObjectName(item.name);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        figures->addWidget(value, row++, 1);
    }
    figures->setColumnStretch(2, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(figures);
    auto caption = [&](const char* es, const char* fr, const char* en) {
        layout->addWidget(new QLabel(Q(Pick(c, es, fr, en))));
    };
    caption("Posición X  Y en la imagen:", "Position X  Y dans l'image:", "X  Y position in the image:");
    layout->addWidget(TextBox(r.positions, "positions"), 1);
    caption("Distancias en minutos:", "Distances en minutes:", "Distances in minutes:");
    layout->addWidget(TextBox(r.distances, "distances"), 1);
    caption("Log:", "Log:", "Log:");
    veoFinales_ = TextBox(c.mResumen, "VeoFinales");
    layout->addWidget(veoFinales_, 2);

    auto* grabar = new QPushButton(
        Q(Pick(c, "Grabar el fichero debug tornel_fecha_hora.log",
               "Sauver le fichier debug tornel_date_heure.log", "Save tornel_date_hour.log debug file")));
    grabar->setObjectName("CommandoGrabarLog");
    connect(grabar, &QPushButton::clicked, this, &FormResultados::CommandoGrabarLog_Click);
    auto* cancelar = new QPushButton(Q(Pick(c, "Cancelar", "Annuler", "Cancel")));
    cancelar->setObjectName("CommandoCancelar");
    connect(cancelar, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = ButtonRow({grabar, cancelar});
    layout->addLayout(buttons);
}

void FormResultados::CommandoGrabarLog_Click() {
    // The log is what the box shows, with the summary's own line ends.
    QString text = veoFinales_->toPlainText();
    text.replace("\n", "\r\n");
    if (!text.isEmpty()) text += "\r\n";
    if (tornel::CommandoGrabarLog_Click(c_, text.toStdString()))
        MensajeIdioma(c_, "Resumen grabado en " + c_.gCarpetaMensajes,
                      "Résumé enregistré dans " + c_.gCarpetaMensajes,
                      "Summary saved in " + c_.gCarpetaMensajes);
}

}  // namespace tornel
