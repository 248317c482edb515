// The window's telescope entries: choosing the telescope, typing its identifier, the hidden link
// tests, and the setups of telescop.txt. The work is the engine's; these only forward and show.
#include <QAction>
#include <QMenu>

#include "core/parametros.h"
#include "interfaz/dialogs.h"
#include "interfaz/form_principal.h"
#include "interfaz/qt_text.h"
#include "telescopio/telescopio.h"

namespace tornel {

void FormPrincipal::mSelTelescopioASCOM_Click() {
    AscomSelScope(c_);
    SaveChangedParameters(c_);
}

void FormPrincipal::mSelTelescopioCOM_Click() {
    FormSelCOM form(c_, this);
    form.exec();
}

void FormPrincipal::mAscomLeeARDE_Click() {
    int32_t codigo = 0;
    AscomLeeArDe(c_, codigo);
}

void FormPrincipal::mAscomSyncTele_Click() {
    int32_t codigo = 0;
    AscomSyncTele(c_, codigo);
}

void FormPrincipal::mTele_Click(int indice) {
    tornel::mTele_Click(c_, indice);
    MuestraTelescopios();
}

void FormPrincipal::MuestraTelescopios() {
    QMenu* menu = Menu("mTelescopio");
    if (!menu) return;
    menu->menuAction()->setVisible(c_.mTelescopioVisible);
    for (int i = 1; i <= 10; ++i) {
        QAction* a = Action("mTele" + std::to_string(i));
        const TelescopeSetup& setup = c_.mTele[static_cast<size_t>(i)];
        a->setVisible(setup.present);
        if (setup.present) a->setText(Q(TelescopeCaption(setup)));
        a->setChecked(c_.mTeleMarcado == i);
    }
}

}  // namespace tornel
