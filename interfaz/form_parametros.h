#pragma once
// The parameters window: a plain page and an advanced one. It copies its controls into the engine's
// records of the fields and lets the engine check them, with the engine's limits and messages; a
// refused field gets the focus.
#include <QDialog>
#include <map>
#include <string>

#include "comun/context.h"
#include "core/parameter_dialog.h"

class QCheckBox;
class QGridLayout;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;
class QLabel;

namespace tornel {

class FormParametros : public QDialog {
    Q_OBJECT
  public:
    FormParametros(Context& c, QWidget* parent);

    // A field by its name ("VeoLadosSuficientes"), for the tests and the focus.
    QLineEdit* Field(const std::string& name) const;
    bool AdvancedShown() const;

    void CommandoAceptar_Click();
    void CommandoAceptarAvanzados_Click();
    void CommandoFabrica_Click();
    void CommandoParamAvanzados_Click();

  private:
    QLineEdit* AddField(QWidget* page, QGridLayout* grid, int row, const std::string& name, const char* es,
                        const char* fr, const char* en, const std::string& value);
    void Load();
    CamposParametros Plain() const;
    CamposAvanzados Advanced() const;
    void Focus(const std::string& campo);
    void ChooseFolder(QLineEdit* field);
    Context& c_;
    std::map<std::string, QLineEdit*> fields_;
    QCheckBox *imagenInvertida_, *sincroniza_, *quitarMsgBox_, *sincronizaEquinoccio_, *ponerWCS_;
    QRadioButton *bd1_, *bd2_, *bd3_, *ecuatorial_, *altaz_;
    QScrollBar *numEstrellas_, *perimetro_;
    QLabel *numEstrellasLabel_, *perimetroLabel_;
    QGroupBox* advanced_;
    QPushButton* toggle_;
};

}  // namespace tornel
