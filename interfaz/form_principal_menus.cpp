// The main window's menus: the tree, its texts in the language in force, and the rules that
// check, enable and lock its entries.
#include "interfaz/form_principal.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFile>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "astrometria/angle_calibration.h"
#include "astrometria/plate_model.h"
#include "automatizacion/buzon.h"
#include "comun/build_info.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "core/analisis.h"
#include "core/parameter_dialog.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "imagen/imagen.h"
#include "interfaz/dialogs.h"
#include "interfaz/form_parametros.h"
#include "interfaz/menu_texts.h"
#include "interfaz/qt_platform.h"
#include "interfaz/qt_text.h"
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace {

bool IsFit(const Context& c) {
    return Trim(c.gTipoImagen) == "fit";
}

}  // namespace

QAction* FormPrincipal::Action(const std::string& name) const {
    auto it = actions_.find(name);
    return it == actions_.end() ? nullptr : it->second;
}

QMenu* FormPrincipal::Menu(const std::string& name) const {
    auto it = menus_.find(name);
    return it == menus_.end() ? nullptr : it->second;
}

QMenu* FormPrincipal::AddMenu(QWidget* parent, const std::string& name) {
    QMenu* menu = nullptr;
    if (auto* bar = qobject_cast<QMenuBar*>(parent))
        menu = bar->addMenu(Q(name));
    else
        menu = static_cast<QMenu*>(parent)->addMenu(Q(name));
    menu->setObjectName(Q(name));
    menu->menuAction()->setObjectName(Q(name));
    menus_[name] = menu;
    return menu;
}

QAction* FormPrincipal::AddEntry(QMenu* menu, const std::string& name, void (FormPrincipal::*handler)(),
                                 bool checkable) {
    QAction* a = menu->addAction(Q(name));
    a->setObjectName(Q(name));
    a->setCheckable(checkable);
    if (handler) connect(a, &QAction::triggered, this, [this, handler] { (this->*handler)(); });
    actions_[name] = a;
    return a;
}

QAction* FormPrincipal::AddTitle(QMenu* menu, const std::string& name) {
    QAction* a = AddEntry(menu, name);
    a->setEnabled(false);
    QFont bold = a->font();
    bold.setBold(true);
    a->setFont(bold);
    return a;
}

void FormPrincipal::BuildMenus() {
    using F = FormPrincipal;
    QMenuBar* bar = menuBar();
    QMenu* modo = AddMenu(bar, "mModo");
    QMenu* origen = AddMenu(modo, "mQueImagen");
    AddTitle(origen, "mManuales");
    AddEntry(origen, "mImagenRuta", &F::mImagenRuta_Click, true);
    AddEntry(origen, "mImagenMasReciente", &F::mImagenMasReciente_Click, true);
    AddEntry(origen, "mImagenUltimoMensaje", &F::mImagenUltimoMensaje_Click, true);
    origen->addSeparator();
    AddTitle(origen, "mAutomaticos");
    AddEntry(origen, "mEsperaImagenMasReciente", &F::mEsperaImagenMasReciente_Click, true);
    AddEntry(origen, "mEsperaImagenDelMensaje", &F::mEsperaImagenDelMensaje_Click, true);
    modo->addSeparator();
    AddEntry(modo, "mSalir", &F::mSalir_Click);

    QMenu* imagen = AddMenu(bar, "mImagen");
    AddTitle(imagen, "mParteDeImagen");
    AddEntry(imagen, "mTodaLaImagen", &F::mTodaLaImagen_Click, true);
    AddEntry(imagen, "mDentroDelRectangulo", &F::mDentroDelRectangulo_Click, true);
    AddEntry(imagen, "mFueraDelRectangulo", &F::mFueraDelRectangulo_Click, true);

    QMenu* centro = AddMenu(bar, "mCentro");
    AddTitle(centro, "mCoordenadas");
    AddEntry(centro, "mCoordenadasEnCabeceraFit", &F::mCoordenadasEnCabeceraFit_Click, true);
    AddEntry(centro, "mCoordenadasSeleccionadas", &F::mCoordenadasSeleccionadas_Click, true);
    AddEntry(centro, "mCoordenadasAscom", &F::mCoordenadasAscom_Click, true);
    AddEntry(centro, "mCoordenadasDeCartesDuCiel", &F::mCoordenadasDeCartesDuCiel_Click, true);
    AddEntry(centro, "mCoordenadasRecibidasPorDDE", &F::mCoordenadasRecibidasPorDDE_Click, true);
    centro->addSeparator();
    AddEntry(centro, "mEpocaJ2000", &F::mEpocaJ2000_Click, true);

    QMenu* campo = AddMenu(bar, "mCampoBusqueda");
    AddTitle(campo, "mCampoPara");
    AddEntry(campo, "mVentana5x5sinRotacion", &F::mVentana5x5sinRotacion_Click, true);
    AddEntry(campo, "mVentana5x5masOpuesto", &F::mVentana5x5masOpuesto_Click, true);
    AddEntry(campo, "mVentana2x2conRotacion", &F::mVentana2x2conRotacion_Click, true);
    AddEntry(campo, "mVentana40x40mconRotacion", &F::mVentana40x40mconRotacion_Click, true);
    campo->addSeparator();
    AddTitle(campo, "mEnGranCampo");
    AddTitle(campo, "mEnZonaCalibrado");
    AddEntry(campo, "mEnZonaMeridiano", &F::mEnZonaMeridiano_Click, true);
    AddEntry(campo, "mEnZonaParalelo", &F::mEnZonaParalelo_Click, true);
    AddEntry(campo, "mEnZona30x30", &F::mEnZona30x30_Click, true);
    AddEntry(campo, "mEnZonaEsferica", &F::mEnZonaEsferica_Click, true);
    AddEntry(campo, "mEnZonaTodoElCielo", &F::mEnZonaTodoElCielo_Click, true);

    QMenu* lince = AddMenu(bar, "mCampoBusquedaLince");
    AddEntry(lince, "mCieloVisible", &F::mCieloVisible_Click, true);
    AddEntry(lince, "mCieloTodo", &F::mCieloTodo_Click, true);

    QMenu* mostrar = AddMenu(bar, "mMostrar");
    AddTitle(mostrar, "mMostrarInformacion");
    AddEntry(mostrar, "mVerTodo", &F::mVerTodo_Click);
    AddEntry(mostrar, "mVerNada", &F::mVerNada_Click);
    AddEntry(mostrar, "mVerGSC", &F::mVerGSC_Click, true);
    AddEntry(mostrar, "mVerLineas", &F::mVerLineas_Click, true);
    AddEntry(mostrar, "mVerObjetos", &F::mVerObjetos_Click, true);
    AddEntry(mostrar, "mVerDestino", &F::mVerDestino_Click, true);
    mostrar->addSeparator();
    AddEntry(mostrar, "mVerGuiado", &F::mVerGuiado_Click, true);
    mostrar->addSeparator();
    AddEntry(mostrar, "mCabecera", &F::mCabecera_Click);
    AddEntry(mostrar, "mListaEstrellas", &F::mListaEstrellas_Click);
    mostrar->addSeparator();
    AddEntry(mostrar, "mImagen1", &F::mImagen1_Click, true);
    AddEntry(mostrar, "mImagen2", &F::mImagen2_Click, true);
    AddEntry(mostrar, "mImagen4", &F::mImagen4_Click, true);

    QMenu* sincro = AddMenu(bar, "mSincronizaciones");
    AddEntry(sincro, "mSincroniza", &F::mSincroniza_Click);
    QMenu* tipo = AddMenu(sincro, "mSincronizaTipo");
    AddEntry(tipo, "mSincronizaAscom", &F::mSincronizaAscom_Click, true);
    AddEntry(tipo, "mSincronizaCDC", &F::mSincronizaCDC_Click, true);
    AddEntry(tipo, "mSincronizaDDE", &F::mSincronizaDDE_Click, true);
    sincro->addSeparator();
    AddEntry(sincro, "mActualizaCombos", &F::mActualizaCombos_Click);

    // The link tests: kept out of sight, as the program has always had them.
    QMenu* ascom = AddMenu(bar, "mAscom");
    AddEntry(ascom, "mAscomLeeARDE", &F::mAscomLeeARDE_Click);
    AddEntry(ascom, "mAscomSyncTele", &F::mAscomSyncTele_Click);
    ascom->menuAction()->setVisible(false);

    QMenu* varios = AddMenu(bar, "mVarios");
    AddEntry(varios, "mParametros", &F::mParametros_Click);
    AddEntry(varios, "mPerfilCargar", &F::mPerfilCargar_Click);
    AddEntry(varios, "mPerfilSalvar", &F::mPerfilSalvar_Click);
    varios->addSeparator();
    AddEntry(varios, "mResultados", &F::mResultados_Click);
    varios->addSeparator();
    AddEntry(varios, "mCalibrarPixelYangulo", &F::mCalibrarPixelYangulo_Click);
    AddEntry(varios, "mInclinacion", &F::mInclinacion_Click);
    AddEntry(varios, "mBuscaOrientacionCamara", &F::mBuscaOrientacionCamara_Click);
    varios->addSeparator();
    AddEntry(varios, "mSelTelescopioCOM", &F::mSelTelescopioCOM_Click);
    AddEntry(varios, "mSelTelescopioASCOM", &F::mSelTelescopioASCOM_Click);
    varios->addSeparator();
    AddEntry(varios, "mRecentradoSolo", &F::mRecentradoSolo_Click, true);
    AddEntry(varios, "mRecentradoRef", &F::mRecentradoRef_Click);
    varios->addSeparator();
    AddEntry(varios, "mScriptCheck", &F::mScriptCheck_Click);
    varios->addSeparator();
    QMenu* idioma = AddMenu(varios, "mIdioma");
    AddEntry(idioma, "mIdiomaA", &F::mIdiomaA_Click);
    AddEntry(idioma, "mIdiomaB", &F::mIdiomaB_Click);
    AddEntry(idioma, "mIdiomaC", &F::mIdiomaC_Click);

    // Shown when telescop.txt names the setups of the user.
    QMenu* tele = AddMenu(bar, "mTelescopio");
    AddTitle(tele, "mTeleTitulos");
    for (int i = 1; i <= 10; ++i) {
        QAction* a = AddEntry(tele, "mTele" + std::to_string(i), nullptr, true);
        connect(a, &QAction::triggered, this, [this, i] { mTele_Click(i); });
        a->setText("-");
    }
    tele->menuAction()->setVisible(false);

    QAction* ayuda = bar->addAction("mAyuda");
    ayuda->setObjectName("mAyuda");
    connect(ayuda, &QAction::triggered, this, &FormPrincipal::mAyuda_Click);
    actions_["mAyuda"] = ayuda;

    // The popup of the image, never on the bar.
    popup_ = new QMenu(this);
    popup_->setObjectName("m2");
    menus_["m2"] = popup_;
    AddTitle(popup_, "mCentrado");
    AddEntry(popup_, "mAnalizarToda", &F::mTodaLaImagen_Click, true);
    AddEntry(popup_, "mAnalizarDentro", &F::mDentroDelRectangulo_Click, true);
    AddEntry(popup_, "mAnalizarFuera", &F::mFueraDelRectangulo_Click, true);
    popup_->addSeparator();
    AddTitle(popup_, "mCalibrarPasos2");
    AddEntry(popup_, "mExtraer2", &F::mExtraer2_Click);
    AddEntry(popup_, "mEstrellaA2", &F::mEstrellaA_Click);
    AddEntry(popup_, "mEstrellaB2", &F::mEstrellaB_Click);
    AddEntry(popup_, "mCalibrar2estrellas", &F::mCalibrar2estrellas_Click);
    popup_->addSeparator();
    AddTitle(popup_, "mCalibrarPasos3");
    AddEntry(popup_, "mExtraer3", &F::mExtraer_Click);
    AddEntry(popup_, "mEstrellaA3", &F::mEstrellaA_Click);
    AddEntry(popup_, "mEstrellaB3", &F::mEstrellaB_Click);
    AddEntry(popup_, "mEstrellaC3", &F::mEstrellaC_Click);
    AddEntry(popup_, "mCalibrar3estrellas", &F::mCalibrar3estrellas_Click);
    popup_->addSeparator();
    AddEntry(popup_, "mCalibrarInclinacion", &F::mInclinacion_Click);
}

// ---- Languages ----

void FormPrincipal::IdiomaMenus() {
    for (auto& [name, action] : actions_) {
        std::string caption = CaptionOf(c_, name);
        if (!caption.empty()) action->setText(Q(caption));
    }
    for (auto& [name, menu] : menus_) {
        std::string caption = CaptionOf(c_, name);
        if (!caption.empty()) menu->setTitle(Q(caption));
    }
    LanguageOrder order = LanguageMenu(c_.gIdioma);
    actions_["mIdiomaA"]->setText(Q(order.a));
    actions_["mIdiomaB"]->setText(Q(order.b));
    actions_["mIdiomaC"]->setText(Q(order.c));
}

void FormPrincipal::IdiomaControles() {
    for (auto& [name, widget] : controls_) {
        std::string caption = CaptionOf(c_, name);
        if (auto* b = qobject_cast<QPushButton*>(widget); b && !caption.empty()) b->setText(Q(caption));
        if (auto* l = qobject_cast<QLabel*>(widget); l && !caption.empty()) l->setText(Q(caption));
    }
    checkUmbralAuto_->setText(Q(CaptionOf(c_, "CheckUmbralAuto")));
    for (auto& [name, g] : groups_)
        g->setTitle(Q(CaptionOf(c_, name)));
    if (!c_.gHaySolucion) {
        labelAR_->setText(Q(Pick(c_, "AR= ", "AD= ", "RA= ")));
        labelDE_->setText(Q(Pick(c_, "DE= ", "DEC= ", "DEC= ")));
    }
    if (espere_) espere_->setWindowTitle(Q(Pick(c_, "Espere...", "Attendez...", "Wait...")));
}

// ---- Menu state ----

void FormPrincipal::Check(const std::string& name, bool checked) {
    if (QAction* a = Action(name)) a->setChecked(checked);
}

void FormPrincipal::Enable(const std::string& name, bool enabled) {
    if (QAction* a = Action(name)) a->setEnabled(enabled);
    if (QMenu* m = Menu(name)) m->menuAction()->setEnabled(enabled);
    auto it = controls_.find(name);
    if (it != controls_.end()) it->second->setEnabled(enabled);
}

void FormPrincipal::ActualizaMenusSegunModo() {
    const int16_t o = c_.gOrigenImagen;
    Check("mImagenRuta", o == 0);
    Check("mImagenUltimoMensaje", o == 1);
    Check("mImagenMasReciente", o == 2);
    Check("mEsperaImagenDelMensaje", o == 5);
    Check("mEsperaImagenMasReciente", o == 6);
    ApplyEnableRules();
}

void FormPrincipal::ActualizaMenusSegunTelescopioSincronizado() {
    Check("mSincronizaAscom", c_.gTelescopioSincro == 1);
    Check("mSincronizaCDC", c_.gTelescopioSincro == 2);
    Check("mSincronizaDDE", c_.gTelescopioSincro == 3);
}

void FormPrincipal::ActualizaMenusSegunOrigenCoordenadas() {
    const int16_t o = c_.gOrigenCoordenadas;
    Check("mCoordenadasSeleccionadas", o == 0);
    Check("mCoordenadasEnCabeceraFit", o == 1);
    Check("mCoordenadasDeCartesDuCiel", o == 2);
    Check("mCoordenadasRecibidasPorDDE", o == 3);
    Check("mCoordenadasAscom", o == 5);
    Check("mEpocaJ2000", c_.gDestinoJ2000);
}

void FormPrincipal::ActualizaMenusSegunDondeBuscar() {
    const int32_t z = c_.gZonaCielo, t = c_.gTipoVentana;
    Check("mVentana5x5sinRotacion", z == 1 && t == 0);
    Check("mVentana2x2conRotacion", z == 1 && t == 1);
    Check("mVentana40x40mconRotacion", z == 1 && t == 2);
    Check("mVentana5x5masOpuesto", z == 1 && t == 3);
    Check("mEnZonaEsferica", z == 2);
    Check("mEnZonaTodoElCielo", z == 3);
    Check("mEnZona30x30", z == 4);
    Check("mEnZonaParalelo", z == 8);
    Check("mEnZonaMeridiano", z == 9);
    Check("mCieloVisible", c_.gSoloCieloVisible);
    Check("mCieloTodo", !c_.gSoloCieloVisible);
}

void FormPrincipal::ActualizaMenusRectangulo() {
    const int32_t a = c_.gAreaImagen;
    for (auto [bar, pop, area] : {std::tuple{"mTodaLaImagen", "mAnalizarToda", 0},
                                  std::tuple{"mDentroDelRectangulo", "mAnalizarDentro", 1},
                                  std::tuple{"mFueraDelRectangulo", "mAnalizarFuera", 2}}) {
        Check(bar, a == area);
        Check(pop, a == area);
    }
    ApplyEnableRules();
}

void FormPrincipal::ActualizaMenusSegunMostrar() {
    Check("mVerGSC", c_.showStarNumbers);
    Check("mVerLineas", c_.showLines);
    Check("mVerObjetos", c_.showObjects);
    Check("mVerDestino", c_.showTarget);
    Check("mVerGuiado", c_.gAvisosGuiado);
    Check("mEpocaJ2000", c_.gDestinoJ2000);
    Check("mImagen1", c_.gFactorReduccion == 1);
    Check("mImagen2", c_.gFactorReduccion == 2);
    Check("mImagen4", c_.gFactorReduccion == 4);
}

void FormPrincipal::ActualizaMenusSegunBD() {
    const bool triangles = c_.gBaseDatos == 2;
    menus_["mCampoBusqueda"]->menuAction()->setVisible(!triangles);
    menus_["mCampoBusquedaLince"]->menuAction()->setVisible(triangles);
}

void FormPrincipal::PoneMenus(bool habilitados) {
    locked_ = !habilitados;
    ApplyEnableRules();
}

void FormPrincipal::ApplyEnableRules() {
    const bool waiting = c_.gOrigenImagen == 5 || c_.gOrigenImagen == 6;
    const bool free = !locked_;
    for (const char* name : {"mModo", "mImagen", "mCentro", "mMostrar", "mVarios", "mCampoBusquedaLince",
                             "CommandoFichero", "CommandoResultados"})
        Enable(name, free);
    Enable("mCampoBusqueda", free && !waiting);
    Enable("CommandoAnalizar", !waiting);
    for (const char* name : {"mEnZona30x30", "mEnZonaEsferica", "mEnZonaTodoElCielo"})
        Enable(name, !waiting);
    const bool solved = c_.gHaySolucion && free;
    for (const char* name : {"mActualizaCombos", "mSincroniza", "mSincronizaciones", "CommandoSincroniza"})
        Enable(name, solved || (std::string(name) == "mSincronizaciones" && free));
    Enable("mInclinacion", solved && !waiting);
    Enable("mCalibrarInclinacion", solved && !waiting);
    for (const char* name :
         {"mDentroDelRectangulo", "mFueraDelRectangulo", "mAnalizarDentro", "mAnalizarFuera"})
        Enable(name, hasRectangle_);
    // Their windows (telescope choice) are not part of the program yet.
    for (const char* name : {"mSelTelescopioCOM", "mSelTelescopioASCOM"})
        Enable(name, false);
    const bool image = c_.gImagenEnPantalla;
    for (const char* name : {"mCalibrar2estrellas", "mCalibrar3estrellas"})
        Enable(name, image && !waiting);
    for (const char* name : {"mExtraer2", "mExtraer3", "mEstrellaA2", "mEstrellaB2", "mEstrellaA3",
                             "mEstrellaB3", "mEstrellaC3", "CommandoVisuAuto"})
        Enable(name, image);
    Enable("mCabecera", IsFit(c_) && FileExists(c_.gRutaImagen));
}

void FormPrincipal::ActualizaFormularioSegunParametros() {
    ActualizaMenusSegunModo();
    ActualizaMenusSegunTelescopioSincronizado();
    ActualizaMenusSegunOrigenCoordenadas();
    ActualizaMenusSegunDondeBuscar();
    ActualizaMenusRectangulo();
    ActualizaMenusSegunMostrar();
    ActualizaMenusSegunBD();
    MuestraTelescopios();
    Check("mRecentradoSolo", c_.mSoloRecentrado);
    QSignalBlocker b1(checkUmbralAuto_), b2(vScrollUmbral_);
    checkUmbralAuto_->setChecked(c_.gUmbralAutomatico == 1);
    vScrollUmbral_->setEnabled(c_.gUmbralAutomatico != 1);
    vScrollUmbral_->setValue(static_cast<int>(std::lround(c_.gUmbral * 100)));
    labelUmbral_->setText(QString::number(vScrollUmbral_->value()) + " %");
    if (view_->Reduction() != c_.gFactorReduccion) view_->SetReduction(c_.gFactorReduccion);
    ApplyEnableRules();
}

}  // namespace tornel
