#pragma once
// The small windows of the main window: the search centre, the spherical ring, the wait while the
// region index is rebuilt and the search summary.
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <string>

#include "comun/context.h"

class QLineEdit;
class QPlainTextEdit;

namespace tornel {

// The texts of the centre combos.
struct CentroCombos {
    std::string horas, minutosAR, segundos;  // right ascension
    std::string signo, grados, minutosDE;    // declination
};
// Checks the combos; a failure is told ("Invalid right ascention.", "Invalid declination.") and
// changes nothing. Accepted values go to gCentroCombosRA and gCentroCombosDEC.
bool AceptaCombos(Context& c, const CentroCombos& combos);
// The combos of a centre in degrees.
CentroCombos CombosDe(double ra, double dec);

// The ring's limits; a ring not higher than a degree is refused. On the user's yes the limits are
// stored and the search starts.
bool AceptaZona(Context& c, int32_t desde, int32_t hasta);

// "Search in a window arround ...": the approximate centre of the search.
class FormCentroBusqueda : public QDialog {
    Q_OBJECT
  public:
    FormCentroBusqueda(Context& c, QWidget* parent);
    void ActualizaIdioma();
    void CommandoAceptarCombos_Click();

  private:
    Context& c_;
    QLabel *title_, *ra_, *dec_;
    QComboBox *horas_, *minutosAR_, *segundos_, *signo_, *grados_, *minutosDE_;
    QPushButton *aceptar_, *cancelar_;
};

// "Search in a spherical ring ...": the declinations that bound the ring.
class FormZonaBusqueda : public QDialog {
    Q_OBJECT
  public:
    FormZonaBusqueda(Context& c, QWidget* parent);
    void CommandoAceptar_Click();

  private:
    Context& c_;
    QComboBox *desde_, *hasta_;
};

// The identifier of a telescope typed by hand, for one the chooser does not list.
class FormSelCOM : public QDialog {
    Q_OBJECT
  public:
    FormSelCOM(Context& c, QWidget* parent);
    void CommandoAceptar_Click();

  private:
    Context& c_;
    QLineEdit* identifier_;
};

// "Wait...", with no button, while region.bin is rebuilt.
class FormEspere : public QDialog {
    Q_OBJECT
  public:
    explicit FormEspere(QWidget* parent);
    void SetText(const QString& text);

  private:
    QLabel* label_;
};

}  // namespace tornel
