#include "interfaz/dialogs.h"
#include "interfaz/button_row.h"
#include "interfaz/qt_text.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

#include "comun/language.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "resultados/resumen.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace {

// A whole number within [lo, hi] from a combo's text.
bool Whole(const std::string& text, int lo, int hi, int& value) {
    if (!IsNumeric(text)) return false;
    double v = TextToDouble(text);
    if (v != std::floor(v) || v < lo || v > hi) return false;
    value = static_cast<int>(v);
    return true;
}

void Fill(QComboBox* box, int from, int to) {
    for (int i = from; i <= to; ++i)
        box->addItem(QString::number(i));
    box->setEditable(true);
}

}  // namespace

bool AceptaCombos(Context& c, const CentroCombos& k) {
    int h = 0, m = 0, s = 0;
    if (!Whole(k.horas, 0, 23, h) || !Whole(k.minutosAR, 0, 59, m) || !Whole(k.segundos, 0, 59, s)) {
        MensajeIdioma(c, "Ascensión recta no válida.", "Ascension droite non valable.",
                      "Invalid right ascention.");
        return false;
    }
    int g = 0, mi = 0;
    bool sign = k.signo == "+" || k.signo == "-";
    if (!sign || !Whole(k.grados, 0, 90, g) || !Whole(k.minutosDE, 0, 59, mi) || (g == 90 && mi > 0)) {
        MensajeIdioma(c, "Declinación no válida.", "Déclinaison non valable.", "Invalid declination.");
        return false;
    }
    c.gCentroCombosRA = 15.0 * (h + m / 60.0 + s / 3600.0);
    c.gCentroCombosDEC = (k.signo == "-" ? -1 : 1) * (g + mi / 60.0);
    return true;
}

CentroCombos CombosDe(double ra, double dec) {
    // Rounded to the combos' steps: whole seconds of time and whole minutes of arc.
    long seconds = std::lround(ra / 15.0 * 3600.0) % 86400;
    long minutes = std::lround(std::fabs(dec) * 60.0);
    return {std::to_string(seconds / 3600), std::to_string(seconds / 60 % 60),
            std::to_string(seconds % 60),   dec < 0 ? "-" : "+",
            std::to_string(minutes / 60),   std::to_string(minutes % 60)};
}

bool AceptaZona(Context& c, int32_t desde, int32_t hasta) {
    if (hasta - desde <= 1) {
        MensajeIdioma(c, "La altura del anillo esférico debe ser > un grado.",
                      "La hauteur de l'anneau sphérique doit être > un degré.",
                      "The height of spherical ring must be > one degree.");
        return false;
    }
    if (!c.platform.AskYesNo(
            Pick(c, "Esta búsqueda en un anillo esférico puede durar varios segundos. ¿Empezar?",
                 "Cette recherche dans un anneau sphérique peut durer plusieurs secondes. "
                 "Commencer ?",
                 "This search in a spherical ring can last several seconds. OK to begin ?"),
            Pick(c, "Búsqueda en un anillo esférico", "Recherche dans un anneau sphérique",
                 "Searching in a spherical ring"),
            false))
        return false;
    c.gAnilloDesde = static_cast<int16_t>(desde);
    c.gAnilloHasta = static_cast<int16_t>(hasta);
    c.timers.TimerAnalizaAmbitoZonaEsferica.Enabled = true;
    return true;
}

FormCentroBusqueda::FormCentroBusqueda(Context& c, QWidget* parent) : QDialog(parent), c_(c) {
    setObjectName("FormCentroBusqueda");
    setModal(true);
    title_ = new QLabel;
    ra_ = new QLabel;
    dec_ = new QLabel;
    horas_ = new QComboBox;
    minutosAR_ = new QComboBox;
    segundos_ = new QComboBox;
    signo_ = new QComboBox;
    grados_ = new QComboBox;
    minutosDE_ = new QComboBox;
    horas_->setObjectName("ComboARhoras");
    minutosAR_->setObjectName("ComboARmin");
    segundos_->setObjectName("ComboARsec");
    signo_->setObjectName("ComboDEsigno");
    grados_->setObjectName("ComboDEgrados");
    minutosDE_->setObjectName("ComboDEmin");
    Fill(horas_, 0, 23);
    Fill(minutosAR_, 0, 59);
    Fill(segundos_, 0, 59);
    signo_->addItems({"+", "-"});
    Fill(grados_, 0, 90);
    Fill(minutosDE_, 0, 59);
    CentroCombos now = CombosDe(c.gCentroCombosRA, c.gCentroCombosDEC);
    horas_->setCurrentText(Q(now.horas));
    minutosAR_->setCurrentText(Q(now.minutosAR));
    segundos_->setCurrentText(Q(now.segundos));
    signo_->setCurrentText(Q(now.signo));
    grados_->setCurrentText(Q(now.grados));
    minutosDE_->setCurrentText(Q(now.minutosDE));

    aceptar_ = new QPushButton;
    aceptar_->setObjectName("CommandoAceptarCombos");
    aceptar_->setDefault(true);
    cancelar_ = new QPushButton;
    cancelar_->setObjectName("CommandoCancelar");
    connect(aceptar_, &QPushButton::clicked, this, &FormCentroBusqueda::CommandoAceptarCombos_Click);
    connect(cancelar_, &QPushButton::clicked, this, &QDialog::reject);

    auto* grid = new QGridLayout;
    grid->addWidget(ra_, 0, 0);
    grid->addWidget(horas_, 0, 1);
    grid->addWidget(new QLabel("h"), 0, 2);
    grid->addWidget(minutosAR_, 0, 3);
    grid->addWidget(new QLabel("m"), 0, 4);
    grid->addWidget(segundos_, 0, 5);
    grid->addWidget(new QLabel("s"), 0, 6);
    grid->addWidget(dec_, 1, 0);
    grid->addWidget(signo_, 1, 1);
    grid->addWidget(grados_, 1, 3);
    grid->addWidget(new QLabel("°"), 1, 4);
    grid->addWidget(minutosDE_, 1, 5);
    grid->addWidget(new QLabel("'"), 1, 6);
    auto* buttons = ButtonRow({aceptar_, cancelar_});
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title_);
    layout->addLayout(grid);
    layout->addLayout(buttons);
    ActualizaIdioma();
}

void FormCentroBusqueda::ActualizaIdioma() {
    setWindowTitle(Q(Pick(c_, "Buscar en una ventana alrededor de ...",
                          "Chercher dans une fenêtre autour de ...", "Search in a window arround ...")));
    title_->setText(Q(Pick(c_, "Seleccione las coordenadas aproximadas del centro de búsqueda:",
                           "Choisissez les coordonnées approchées du centre de recherche:",
                           "Select the approximate coordinates of the searching centre:")));
    ra_->setText(Q(Pick(c_, "AR =", "AD =", "RA =")));
    dec_->setText(Q(Pick(c_, "DE =", "DEC =", "DEC =")));
    aceptar_->setText(Q(Pick(c_, "Aceptar", "Accepter", "OK")));
    cancelar_->setText(Q(Pick(c_, "Cancelar", "Annuler", "Cancel")));
}

void FormCentroBusqueda::CommandoAceptarCombos_Click() {
    CentroCombos k{horas_->currentText().toStdString(),    minutosAR_->currentText().toStdString(),
                   segundos_->currentText().toStdString(), signo_->currentText().toStdString(),
                   grados_->currentText().toStdString(),   minutosDE_->currentText().toStdString()};
    if (AceptaCombos(c_, k)) accept();
}

FormZonaBusqueda::FormZonaBusqueda(Context& c, QWidget* parent) : QDialog(parent), c_(c) {
    setObjectName("FormZonaBusqueda");
    setModal(true);
    setWindowTitle(Q(Pick(c, "Buscar en un anillo esférico  ...", "Chercher dans un anneau sphérique  ...",
                          "Search in a spherical ring  ...")));
    desde_ = new QComboBox;
    hasta_ = new QComboBox;
    desde_->setObjectName("ComboZonaDesde");
    hasta_->setObjectName("ComboZonaHasta");
    Fill(desde_, -90, 90);
    Fill(hasta_, -90, 90);
    desde_->setCurrentText(QString::number(c.gAnilloDesde));
    hasta_->setCurrentText(QString::number(c.gAnilloHasta));
    auto* grid = new QGridLayout;
    grid->addWidget(new QLabel(Q(Pick(c, "Desde DE=", "De DEC=", "From DEC="))), 0, 0);
    grid->addWidget(desde_, 0, 1);
    grid->addWidget(new QLabel(Q(Pick(c, "grados", "degrés", "degrees"))), 0, 2);
    grid->addWidget(new QLabel(Q(Pick(c, "hasta DE=", "à DEC=", "to DEC="))), 1, 0);
    grid->addWidget(hasta_, 1, 1);
    grid->addWidget(new QLabel(Q(Pick(c, "grados", "degrés", "degrees"))), 1, 2);
    auto* aceptar = new QPushButton(Q(Pick(c, "Aceptar", "Accepter", "OK")));
    aceptar->setObjectName("CommandoAceptar");
    auto* cancelar = new QPushButton(Q(Pick(c, "Cancelar", "Annuler", "Cancel")));
    connect(aceptar, &QPushButton::clicked, this, &FormZonaBusqueda::CommandoAceptar_Click);
    connect(cancelar, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = ButtonRow({aceptar, cancelar});
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(Q(Pick(c, "Seleccione los límites del anillo esférico de la búsqueda",
                                        "Choisissez les limites de l'anneau sphérique de la recherche",
                                        "Select then boundaries of the spherical ring for the search"))));
    layout->addLayout(grid);
    layout->addLayout(buttons);
}

void FormZonaBusqueda::CommandoAceptar_Click() {
    bool ok1 = false, ok2 = false;
    int desde = desde_->currentText().toInt(&ok1), hasta = hasta_->currentText().toInt(&ok2);
    if (!ok1 || !ok2 || desde < -90 || hasta > 90) {
        MensajeIdioma(c_, "Declinación no válida.", "Déclinaison non valable.", "Invalid declination.");
        return;
    }
    if (AceptaZona(c_, desde, hasta)) accept();
}

FormEspere::FormEspere(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint) {
    setObjectName("FormEspere");
    setWindowTitle("Tornel");
    label_ = new QLabel;
    label_->setMinimumWidth(260);
    label_->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label_);
}

void FormEspere::SetText(const QString& text) {
    label_->setText(text);
}

FormSelCOM::FormSelCOM(Context& c, QWidget* parent) : QDialog(parent), c_(c) {
    setObjectName("FormSelCOM");
    setModal(true);
    setWindowTitle(
        Q(Pick(c, "Introducir el ID del driver del telescopio COM",
               "Introduire le ID du driver du telescope COM", "Introduce the driver ID of a COM telescope")));
    identifier_ = new QLineEdit(Q(c.gTelescopioAscom));
    identifier_->setObjectName("TextoDriver");
    identifier_->setMinimumWidth(420);
    identifier_->setPlaceholderText("indi://127.0.0.1:7624/Telescope Simulator");
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &FormSelCOM::CommandoAceptar_Click);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(identifier_);
    layout->addWidget(buttons);
}

void FormSelCOM::CommandoAceptar_Click() {
    AcceptTelescopeIdentifier(c_, identifier_->text().trimmed().toStdString());
    SaveChangedParameters(c_);
    accept();
}

}  // namespace tornel
