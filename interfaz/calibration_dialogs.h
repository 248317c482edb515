#pragma once
// The calibration windows: pixel scale and image angle from two or three stars picked on the image
// (`FormCalibrar`, `FormCalibrar3`), their numbers typed alone (`FormIDsEstrellas`), and the search
// for the image angle (`FormBuscaInclinacion`). They copy their controls into the engine's records
// and show what the engine answers; the checks are the engine's (astrometria/calibration_entries.h).
#include <QDialog>
#include <array>
#include <map>
#include <string>

#include "astrometria/calibration_entries.h"
#include "comun/context.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace tornel {

class FormCalibrar : public QDialog {
    Q_OBJECT
  public:
    // `tres`: the three-star form, which also tells whether the image is mirrored.
    FormCalibrar(Context& c, bool tres, QWidget* parent);
    QLineEdit* Field(const std::string& name) const;
    const StarCalibration& Result() const { return k_; }

    void CommandoCalibrar_Click();
    void CommandoGuardar_Click();

  private:
    CalibrationForm Controls() const;
    void ShowResult();
    void EnableEntries();
    void AskNumbers();
    QLineEdit* AddField(const std::string& name, int width);

    Context& c_;
    bool tres_;
    StarCalibration k_;
    std::map<std::string, QLineEdit*> fields_;
    QRadioButton *cuadrado_, *rectangular_, *coordenadas_, *numeros_;
    QLabel* altoImagen_;
    QPushButton *calibrar_, *guardar_;
};

// The star numbers alone, one box a star; Enter passes to the next box, and on the last is OK.
class FormIDsEstrellas : public QDialog {
    Q_OBJECT
  public:
    FormIDsEstrellas(Context& c, int stars, QWidget* parent);
    QLineEdit* Box(int star) const { return boxes_[static_cast<size_t>(star)]; }
    std::array<std::string, 3> Numbers() const;
    void CommandoAceptar_Click();

  private:
    Context& c_;
    int stars_;
    std::array<QLineEdit*, 3> boxes_{};
};

// What the search for the image angle will use, and the margin about the angle in force.
class FormBuscaInclinacion : public QDialog {
    Q_OBJECT
  public:
    FormBuscaInclinacion(Context& c, QWidget* parent);
    void CommandoAceptar_Click();

  private:
    Context& c_;
    std::array<QRadioButton*, 3> amplitud_{};
};

}  // namespace tornel
