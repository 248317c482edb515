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
#include "resultados/resumen.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace {

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

// The range of the level bars: the brightness of a 16-bit image, or one colour channel.
constexpr int kFitLevelMax = 32767;
constexpr int kPictureLevelMax = 255;
// The column of controls keeps its width; the frame of the image takes the rest.
constexpr int kColumnWidth = 340;

bool IsFit(const Context& c) {
    return Trim(c.gTipoImagen) == "fit";
}

// The first 2880-byte blocks of a FITS file up to the END card, one card a line.
QString FitsHeaderText(const std::string& path) {
    QFile file(Q(path));
    if (!file.open(QIODevice::ReadOnly)) return {};
    QString text;
    while (true) {
        QByteArray block = file.read(2880);
        if (block.size() < 80) break;
        for (int at = 0; at + 80 <= block.size(); at += 80) {
            QString card = QString::fromLatin1(block.mid(at, 80)).trimmed();
            text += card + '\n';
            if (card == "END" || card.startsWith("END ")) return text;
        }
    }
    return text;
}

}  // namespace

void ClickableLabel::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) emit clicked();
    QLabel::mousePressEvent(event);
}

FormPrincipal::FormPrincipal(Context& c, QtPlatform& platform, StartOptions options)
    : c_(c), platform_(platform), options_(std::move(options)), timers_(c, this) {
    setObjectName("FormPrincipal");
    setWindowTitle("TORNEL");
    setWindowIcon(QIcon::fromTheme("tornel", QIcon(":/tornel.svg")));
    platform_.SetWindow(this);
    platform_.SetPumpHook([this] { timers_.Sync(); });
    timers_.SetOnEnd([this] { close(); });
    BuildControls();
    BuildMenus();
    IdiomaMenus();
    IdiomaControles();
    ApplyEnableRules();
    resize(1200, 820);
}

FormPrincipal::~FormPrincipal() {
    platform_.SetPumpHook({});
    platform_.SetWindow(nullptr);
}

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
    AddEntry(ascom, "mAscomLeeARDE");
    AddEntry(ascom, "mAscomSyncTele");
    ascom->menuAction()->setVisible(false);

    QMenu* varios = AddMenu(bar, "mVarios");
    AddEntry(varios, "mParametros", &F::mParametros_Click);
    AddEntry(varios, "mPerfilCargar", &F::mPerfilCargar_Click);
    AddEntry(varios, "mPerfilSalvar", &F::mPerfilSalvar_Click);
    varios->addSeparator();
    AddEntry(varios, "mResultados", &F::mResultados_Click);
    varios->addSeparator();
    AddEntry(varios, "mCalibrarPixelYangulo");
    AddEntry(varios, "mInclinacion", &F::mInclinacion_Click);
    AddEntry(varios, "mBuscaOrientacionCamara", &F::mBuscaOrientacionCamara_Click);
    varios->addSeparator();
    AddEntry(varios, "mSelTelescopioCOM");
    AddEntry(varios, "mSelTelescopioASCOM");
    varios->addSeparator();
    AddEntry(varios, "mRecentradoSolo", &F::mRecentradoSolo_Click, true);
    AddEntry(varios, "mRecentradoRef", &F::mRecentradoRef_Click);
    varios->addSeparator();
    AddEntry(varios, "mScriptCheck");
    varios->addSeparator();
    QMenu* idioma = AddMenu(varios, "mIdioma");
    AddEntry(idioma, "mIdiomaA", &F::mIdiomaA_Click);
    AddEntry(idioma, "mIdiomaB", &F::mIdiomaB_Click);
    AddEntry(idioma, "mIdiomaC", &F::mIdiomaC_Click);

    // Shown when telescop.txt names the setups of the user.
    QMenu* tele = AddMenu(bar, "mTelescopio");
    AddTitle(tele, "mTeleTitulos");
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
    AddEntry(popup_, "mExtraer2", &F::mExtraer_Click);
    AddEntry(popup_, "mEstrellaA2", &F::mEstrellaA_Click);
    AddEntry(popup_, "mEstrellaB2", &F::mEstrellaB_Click);
    AddEntry(popup_, "mCalibrar2estrellas");
    popup_->addSeparator();
    AddTitle(popup_, "mCalibrarPasos3");
    AddEntry(popup_, "mExtraer3", &F::mExtraer_Click);
    AddEntry(popup_, "mEstrellaA3", &F::mEstrellaA_Click);
    AddEntry(popup_, "mEstrellaB3", &F::mEstrellaB_Click);
    AddEntry(popup_, "mEstrellaC3", &F::mEstrellaC_Click);
    AddEntry(popup_, "mCalibrar3estrellas");
    popup_->addSeparator();
    AddEntry(popup_, "mCalibrarInclinacion", &F::mInclinacion_Click);
}

void FormPrincipal::BuildControls() {
    auto* central = new QWidget;
    auto* main = new QHBoxLayout(central);

    auto* left = new QVBoxLayout;
    view_ = new ImageView;
    view_->onPress = [this](Qt::MouseButton b, QPointF p) { PictureImagen_MouseDown(b, p); };
    view_->onMove = [this](Qt::MouseButton b, QPointF p) { PictureImagen_MouseMove(b, p); };
    view_->onRelease = [this](Qt::MouseButton b, QPointF p) { PictureImagen_MouseUp(b, p); };
    portillo_ = new QScrollArea;
    portillo_->setObjectName("PicturePortillo");
    portillo_->setWidget(view_);
    portillo_->setBackgroundRole(QPalette::Dark);
    portillo_->setAlignment(Qt::AlignCenter);
    left->addWidget(portillo_, 1);
    labelResultado_ = new ClickableLabel;
    labelResultado_->setObjectName("LabelResultado");
    labelResultado_->setWordWrap(true);
    labelResultado_->setMinimumHeight(40);
    labelResultado_->setFrameShape(QFrame::StyledPanel);
    labelResultado_->setCursor(Qt::PointingHandCursor);
    QFont big = labelResultado_->font();
    big.setPointSizeF(big.pointSizeF() * 1.15);
    big.setBold(true);
    labelResultado_->setFont(big);
    connect(labelResultado_, &ClickableLabel::clicked, this, [this] {
        LabelResultado_Click(c_);
        timers_.Sync();
    });
    left->addWidget(labelResultado_);
    main->addLayout(left, 1);

    auto* column = new QWidget;
    column->setFixedWidth(kColumnWidth);
    auto* col = new QVBoxLayout(column);
    col->setContentsMargins(0, 0, 0, 0);
    auto button = [&](const char* name, auto handler) {
        auto* b = new QPushButton;
        b->setObjectName(name);
        connect(b, &QPushButton::clicked, this, handler);
        controls_[name] = b;
        return b;
    };
    auto* buttons = new QGridLayout;
    QPushButton* analizar = button("CommandoAnalizar", [this] {
        CommandoAnalizar_Click(c_);
        timers_.Sync();
    });
    QFont bold = analizar->font();
    bold.setBold(true);
    analizar->setFont(bold);
    analizar->setMinimumHeight(36);
    buttons->addWidget(analizar, 0, 0, 1, 2);
    buttons->addWidget(button("CommandoFichero", [this] { DialogoFicheros(); }), 1, 0);
    buttons->addWidget(button("CommandoConfiguracion", [this] { mParametros_Click(); }), 1, 1);
    buttons->addWidget(button("CommandoVerBD", [this] { CommandoVerBD_Click(); }), 2, 0);
    buttons->addWidget(button("CommandoResultados", [this] { mResultados_Click(); }), 2, 1);
    buttons->addWidget(button("CommandoSincroniza", [this] { mSincroniza_Click(); }), 3, 0);
    buttons->addWidget(button("CommandoScrollCero", [this] { CommandoScrollCero_Click(); }), 3, 1);
    col->addLayout(buttons);

    auto group = [&](const char* name) {
        auto* g = new QGroupBox;
        g->setObjectName(name);
        groups_[name] = g;
        return g;
    };
    auto* levels = group("LevelsTitle");
    auto* lg = new QGridLayout(levels);
    hScrollNegro_ = new QScrollBar(Qt::Horizontal);
    hScrollNegro_->setObjectName("HScrollNegro");
    hScrollBlanco_ = new QScrollBar(Qt::Horizontal);
    hScrollBlanco_->setObjectName("HScrollBlanco");
    for (QScrollBar* bar : {hScrollNegro_, hScrollBlanco_}) {
        bar->setRange(0, kFitLevelMax);
        bar->setMinimumWidth(200);
    }
    labelNegro_ = new QLabel;
    labelNegro_->setObjectName("LabelNegro");
    labelBlanco_ = new QLabel;
    labelBlanco_->setObjectName("LabelBlanco");
    connect(hScrollNegro_, &QScrollBar::valueChanged, this, &FormPrincipal::HScrollNegro_Change);
    connect(hScrollBlanco_, &QScrollBar::valueChanged, this, &FormPrincipal::HScrollBlanco_Change);
    auto* blackTitle = new QLabel;
    blackTitle->setObjectName("BlackTitle");
    auto* whiteTitle = new QLabel;
    whiteTitle->setObjectName("WhiteTitle");
    controls_["BlackTitle"] = blackTitle;
    controls_["WhiteTitle"] = whiteTitle;
    lg->addWidget(blackTitle, 0, 0);
    lg->addWidget(hScrollNegro_, 0, 1);
    lg->addWidget(labelNegro_, 0, 2);
    lg->addWidget(whiteTitle, 1, 0);
    lg->addWidget(hScrollBlanco_, 1, 1);
    lg->addWidget(labelBlanco_, 1, 2);
    lg->addWidget(button("CommandoVisuAuto", [this] { CommandoVisuAuto_Click(); }), 2, 1, 1, 2);
    col->addWidget(levels);

    auto* threshold = group("ThresholdTitle");
    auto* tg = new QGridLayout(threshold);
    checkUmbralAuto_ = new QCheckBox;
    checkUmbralAuto_->setObjectName("CheckUmbralAuto");
    connect(checkUmbralAuto_, &QCheckBox::toggled, this, [this](bool on) {
        c_.gUmbralAutomatico = on ? 1 : 0;
        vScrollUmbral_->setEnabled(!on);
    });
    vScrollUmbral_ = new QScrollBar(Qt::Horizontal);
    vScrollUmbral_->setObjectName("VScrollUmbral");
    vScrollUmbral_->setRange(1, 99);
    labelUmbral_ = new QLabel;
    labelUmbral_->setObjectName("LabelUmbral");
    connect(vScrollUmbral_, &QScrollBar::valueChanged, this, [this](int v) {
        c_.gUmbral = v / 100.0;
        labelUmbral_->setText(QString::number(v) + " %");
    });
    tg->addWidget(checkUmbralAuto_, 0, 0, 1, 2);
    tg->addWidget(vScrollUmbral_, 1, 0);
    tg->addWidget(labelUmbral_, 1, 1);
    col->addWidget(threshold);

    auto label = [&](const char* name) {
        auto* l = new QLabel;
        l->setObjectName(name);
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        return l;
    };
    auto* cursor = group("CursorTitle");
    auto* cg = new QGridLayout(cursor);
    labelX_ = label("LabelX");
    labelY_ = label("LabelY");
    labelBrillo_ = label("LabelBrillo");
    labelAR_ = label("LabelAR");
    labelDE_ = label("LabelDE");
    labelRectangulo_ = label("LabelRectangulo");
    labelX_->setText("X= ");
    labelY_->setText("Y= ");
    labelBrillo_->setText("I= ");
    cg->addWidget(labelX_, 0, 0);
    cg->addWidget(labelY_, 0, 1);
    cg->addWidget(labelBrillo_, 0, 2);
    cg->addWidget(labelAR_, 1, 0, 1, 3);
    cg->addWidget(labelDE_, 2, 0, 1, 3);
    cg->addWidget(labelRectangulo_, 3, 0, 1, 3);
    col->addWidget(cursor);

    auto* centre = group("CentreTitle");
    auto* ctg = new QGridLayout(centre);
    labelAR2_ = label("LabelAR2");
    labelDE2_ = label("LabelDE2");
    labelDestinoX_ = label("LabelDestinoX");
    labelDestinoY_ = label("LabelDestinoY");
    auto* centreJ2000 = label("LabelCentroJ2000");
    controls_["LabelCentroJ2000"] = centreJ2000;
    ctg->addWidget(centreJ2000, 0, 0);
    ctg->addWidget(labelAR2_, 1, 0);
    ctg->addWidget(labelDE2_, 2, 0);
    ctg->addWidget(labelDestinoX_, 3, 0);
    ctg->addWidget(labelDestinoY_, 4, 0);
    labelDestinoX_->hide();
    labelDestinoY_->hide();
    col->addWidget(centre);

    auto* summaryBox = group("SummaryTitle");
    auto* sl = new QVBoxLayout(summaryBox);
    summary_ = new QPlainTextEdit;
    summary_->setObjectName("Resumen");
    summary_->setReadOnly(true);
    summary_->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    QFont mono("DejaVu Sans Mono");
    mono.setStyleHint(QFont::Monospace);
    mono.setPointSizeF(summary_->font().pointSizeF() * 0.85);
    summary_->setFont(mono);
    sl->addWidget(summary_);
    col->addWidget(summaryBox, 1);

    main->addWidget(column);
    setCentralWidget(central);
    espere_ = new FormEspere(this);
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
    // Their windows (star calibration, telescope choice, script check) are not part of the program yet.
    for (const char* name : {"mCalibrarPixelYangulo", "mCalibrar2estrellas", "mCalibrar3estrellas",
                             "mSelTelescopioCOM", "mSelTelescopioASCOM", "mScriptCheck"})
        Enable(name, false);
    const bool image = c_.gImagenEnPantalla;
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
    Check("mRecentradoSolo", c_.mSoloRecentrado);
    QSignalBlocker b1(checkUmbralAuto_), b2(vScrollUmbral_);
    checkUmbralAuto_->setChecked(c_.gUmbralAutomatico == 1);
    vScrollUmbral_->setEnabled(c_.gUmbralAutomatico != 1);
    vScrollUmbral_->setValue(static_cast<int>(std::lround(c_.gUmbral * 100)));
    labelUmbral_->setText(QString::number(vScrollUmbral_->value()) + " %");
    if (view_->Reduction() != c_.gFactorReduccion) view_->SetReduction(c_.gFactorReduccion);
    ApplyEnableRules();
}

// ---- What the platform shows ----

void FormPrincipal::SetResultLabel(const QString& text) {
    labelResultado_->setText(text);
}

void FormPrincipal::SetPosition(const QString& ra, const QString& dec, const QString& raOfDate,
                                const QString& decOfDate) {
    static_cast<QLabel*>(controls_["LabelCentroJ2000"])->setText(ra + "   " + dec);
    labelAR2_->setText(raOfDate);
    labelDE2_->setText(decOfDate);
}

void FormPrincipal::AppendSummary(const QString& line) {
    // A summary that the engine began anew holds only this line.
    if (c_.mResumen.size() == static_cast<size_t>(line.toUtf8().size()) + 2) summary_->clear();
    summary_->appendPlainText(line);
}

void FormPrincipal::ShowWait(const QString& text) {
    espere_->SetText(text);
    if (!espere_->isVisible()) espere_->show();
}

void FormPrincipal::HideWait() {
    espere_->hide();
}

// ---- The image view ----

void FormPrincipal::RepintaImagen() {
    if (c_.gPixelesX <= 0 || c_.gPixelesY <= 0) return;
    c_.mRepintando = true;
    QImage picture = IsFit(c_) ? VisualizaImagenFit(c_, c_.gNegroActual, c_.gBlancoActual)
                               : VisualizaImagenBMP(c_, c_.gNegroActual, c_.gBlancoActual);
    c_.mRepintando = false;
    if (picture.isNull()) {
        c_.gImagenEnPantalla = false;
        view_->ClearPicture();
        return;
    }
    view_->SetPicture(std::move(picture));
    if (!c_.gImagenEnPantalla) {
        c_.gImagenEnPantalla = true;
        ApplyEnableRules();
    }
    ShowLevels();
}

void FormPrincipal::InicializaScrolls() {
    if (IsFit(c_)) {
        c_.gNegroActual = c_.gNegroFit;
        c_.gBlancoActual = c_.gBlancoFit;
    } else {
        c_.gNegroActual = c_.gNegroBMP;
        c_.gBlancoActual = c_.gBlancoBMP;
    }
    ShowLevels();
}

void FormPrincipal::ShowLevels() {
    const int top = IsFit(c_) ? kFitLevelMax : kPictureLevelMax;
    QSignalBlocker b1(hScrollNegro_), b2(hScrollBlanco_);
    hScrollNegro_->setRange(0, top);
    hScrollBlanco_->setRange(0, top);
    hScrollNegro_->setValue(c_.gNegroActual);
    hScrollBlanco_->setValue(c_.gBlancoActual);
    labelNegro_->setNum(c_.gNegroActual);
    labelBlanco_->setNum(c_.gBlancoActual);
}

void FormPrincipal::HScrollBlanco_Change(int value) {
    // A change during a repaint, or with no image on show, is dropped: the bar goes back.
    if (c_.mRepintando || !c_.gImagenEnPantalla) {
        ShowLevels();
        return;
    }
    WithTrap(c_, "HScrollBlanco_Change", [&] {
        int32_t white = value;
        if (white == c_.gNegroActual) white += 1;
        c_.gBlancoActual = white;
        if (IsFit(c_))
            c_.gBlancoFit = white;
        else
            c_.gBlancoBMP = static_cast<int16_t>(white);
        RepintaImagen();
    });
    ShowLevels();
}

void FormPrincipal::HScrollNegro_Change(int value) {
    if (c_.mRepintando || !c_.gImagenEnPantalla) {
        ShowLevels();
        return;
    }
    WithTrap(c_, "HScrollNegro_Change", [&] {
        int32_t black = value;
        if (black == c_.gBlancoActual) black -= 1;
        c_.gNegroActual = black;
        if (IsFit(c_))
            c_.gNegroFit = black;
        else
            c_.gNegroBMP = static_cast<int16_t>(black);
        RepintaImagen();
    });
    ShowLevels();
}

void FormPrincipal::CommandoVisuAuto_Click() {
    if (!c_.gImagenEnPantalla || c_.mRepintando) return;
    WithTrap(c_, "CommandoVisuAuto_click", [&] {
        const int top = IsFit(c_) ? kFitLevelMax : kPictureLevelMax;
        int32_t black = std::clamp(c_.mBrilloFondo - 100, 0, top);
        int32_t white = std::clamp(c_.mBrilloFondo + (IsFit(c_) ? 2400 : 100), 0, top);
        if (black == white) black -= 1;
        c_.gNegroActual = black;
        c_.gBlancoActual = white;
        if (IsFit(c_)) {
            c_.gNegroFit = black;
            c_.gBlancoFit = white;
        } else {
            c_.gNegroBMP = static_cast<int16_t>(black);
            c_.gBlancoBMP = static_cast<int16_t>(white);
        }
        RepintaImagen();
    });
    ShowLevels();
}

void FormPrincipal::SetReduction(int reduction) {
    c_.gFactorReduccion = reduction == 2 || reduction == 4 ? reduction : 1;
    view_->SetReduction(c_.gFactorReduccion);
    ActualizaMenusSegunMostrar();
    if (c_.gImagenEnPantalla) RepintaImagen();
}

// ---- Images ----

void FormPrincipal::DialogoFicheros() {
    FileDialogRequest r;
    r.kind = FileDialogKind::Open;
    r.title = Pick(c_, "Ruta de la imagen", "Chemin de l'image", "Image path");
    r.filter =
        "FITS images (*.fit;*.fits;*.fts)|*.fit;*.fits;*.fts|BMP images (*.bmp)|*.bmp|JPG images "
        "(*.jpg)|*.jpg";
    r.defaultExtension = Trim(c_.gTipoImagen);
    r.proposedName = c_.gRutaImagen;
    std::optional<std::string> chosen = platform_.ChooseFile(r);
    if (!chosen) return;
    AbreImagen(*chosen);
}

void FormPrincipal::AbreImagen(const std::string& path) {
    if (c_.gAnalizando) return;
    ExtraeNombreDeRuta(c_, path);
    if (c_.gOrigenImagen == 5 || c_.gOrigenImagen == 6) PasaAlModoRutaImagen(c_);
    c_.gOrigenImagen = 0;
    c_.gImagenCargada = false;
    c_.gImagenEnPantalla = false;
    c_.mResumen.clear();
    summary_->clear();
    view_->BorraOverlay();
    const std::string kind = Trim(c_.gTipoImagen);
    CargaImagen(c_);
    CalculaBrilloDeFondoYumbral(c_);
    // A failed load ends no analysis: the next one starts afresh.
    c_.mFinAnalisis = false;
    if (Trim(c_.gTipoImagen) != kind) InicializaScrolls();
    c_.mTitulo = "TORNEL - " + path + " - ";
    PoneTitulo(c_, c_.mTitulo);
    GrabaParametros(c_);
    GrabaTornelSta(c_, kEstadoEsperando, 0);
    ActualizaMenusSegunModo();
    RepintaImagen();
}

// ---- The mouse ----

QPointF FormPrincipal::ViewToImage(QPointF at) const {
    // View y runs down from the top; the image's rows count up from the bottom.
    return {at.x(), c_.gPixelesY - at.y()};
}

void FormPrincipal::PictureImagen_MouseDown(Qt::MouseButton button, QPointF at) {
    if (c_.gAnalizando) return;
    if (button == Qt::LeftButton && c_.gImagenEnPantalla) {
        view_->BorraRectangulo();
        hasRectangle_ = false;
        c_.gAreaImagen = 0;
        c_.mRectanguloActivo = false;
        ActualizaMenusRectangulo();
        dragging_ = true;
        dragStart_ = at;
    } else if (button == Qt::RightButton) {
        popupAt_ = ViewToImage(at);
        ApplyEnableRules();
        popup_->popup(QCursor::pos());
    }
}

void FormPrincipal::PictureImagen_MouseMove(Qt::MouseButton button, QPointF at) {
    if (c_.gPixelesX <= 0) return;
    const QPointF p = ViewToImage(at);
    const int x = static_cast<int>(std::lround(p.x())), y = static_cast<int>(std::lround(p.y()));
    labelX_->setText("X= " + QString::number(x));
    labelY_->setText("Y= " + QString::number(y));
    if (x >= 0 && y >= 0 && x <= c_.gPixelesX && y <= c_.gPixelesY && !c_.mBrillo.empty()) {
        const size_t at1 =
            static_cast<size_t>(y) * (static_cast<size_t>(c_.gPixelesX) + 1) + static_cast<size_t>(x);
        if (at1 < c_.mBrillo.size()) labelBrillo_->setText("I= " + QString::number(c_.mBrillo[at1]));
    }
    if (c_.gHaySolucion && !c_.gAnalizando && c_.gRelacionPixel != 0) {
        const bool fin = c_.mFinAnalisis;
        CoordenadasImagenAesfericas(c_, p.x() + 1, p.y() / c_.gRelacionPixel);
        c_.mFinAnalisis = fin;
        std::string ra, dec;
        GradosAcadenas(c_.mRAconvertida, c_.mDECconvertida, ra, dec);
        labelAR_->setText(Q(Pick(c_, "AR= ", "AD= ", "RA= ") + ra + "  (" +
                            FormatNumber(c_.mRAconvertida, "0.0000") + "°)"));
        labelDE_->setText(Q(Pick(c_, "DE= ", "DEC= ", "DEC= ") + dec + "  (" +
                            FormatNumber(c_.mDECconvertida, "0.0000") + "°)"));
    }
    if (dragging_ && button == Qt::LeftButton) {
        view_->DibujaRectangulo(QRectF(dragStart_, at));
        const QRectF r = QRectF(dragStart_, at).normalized();
        labelRectangulo_->setText(QString::number(std::lround(r.width())) + " x " +
                                  QString::number(std::lround(r.height())));
    }
}

void FormPrincipal::PictureImagen_MouseUp(Qt::MouseButton button, QPointF at) {
    if (button != Qt::LeftButton || !dragging_) return;
    dragging_ = false;
    if (!c_.gImagenEnPantalla || c_.gAnalizando) return;
    const QPointF a = ViewToImage(dragStart_), b = ViewToImage(at);
    auto clampX = [&](double v) { return std::clamp(static_cast<int32_t>(std::lround(v)), 1, c_.gPixelesX); };
    auto clampY = [&](double v) { return std::clamp(static_cast<int32_t>(std::lround(v)), 1, c_.gPixelesY); };
    const int32_t x1 = clampX(std::min(a.x(), b.x())), x2 = clampX(std::max(a.x(), b.x()));
    const int32_t y1 = clampY(std::min(a.y(), b.y())), y2 = clampY(std::max(a.y(), b.y()));
    c_.mRectanguloX1 = x1;
    c_.mRectanguloX2 = x2;
    c_.mRectanguloY1 = y1;
    c_.mRectanguloY2 = y2;
    if (x1 == x2 || y1 == y2) {
        c_.gAreaImagen = 0;
        view_->BorraRectangulo();
        hasRectangle_ = false;
        labelRectangulo_->clear();
    } else {
        hasRectangle_ = true;
        view_->DibujaRectangulo(QRectF(QPointF(x1, c_.gPixelesY - y2), QPointF(x2, c_.gPixelesY - y1)));
        labelRectangulo_->setText(QString::number(x2 - x1) + " x " + QString::number(y2 - y1));
    }
    ActualizaMenusRectangulo();
}

// ---- Start and end ----

void FormPrincipal::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!started_) QTimer::singleShot(0, this, &FormPrincipal::Form_Activate);
}

void FormPrincipal::Form_Activate() {
    if (started_) return;
    started_ = true;
    const std::string image = options_.image;
    Form_Load(c_, options_.commandLine, [&image](Context& c) {
        if (image.empty()) return;
        ExtraeNombreDeRuta(c, image);
        c.gOrigenImagen = 0;
    });
    if (c_.gVentanaAncho > 200 && c_.gVentanaAlto > 150)
        setGeometry(c_.gVentanaIzquierda, c_.gVentanaArriba, c_.gVentanaAncho, c_.gVentanaAlto);
    view_->SetReduction(c_.gFactorReduccion);
    InicializaScrolls();
    ActualizaFormularioSegunParametros();
    IdiomaMenus();
    IdiomaControles();
    // The image of the command line is opened even when it is missing, so that the user is told.
    if (!c_.gAnalizaYsale && c_.gOrigenImagen == 0 && (FileExists(c_.gRutaImagen) || !options_.image.empty()))
        AbreImagen(c_.gRutaImagen);
    if (options_.analyze && !c_.gAnalizaYsale) CommandoAnalizar_Click(c_);
    timers_.Sync();
}

void FormPrincipal::closeEvent(QCloseEvent* event) {
    if (c_.gAnalizando) {
        // The analysis is on the stack below this event: it is stopped, and the window closes when it
        // has returned.
        c_.gDetenerAnalisis = true;
        c_.mProgramaTerminado = true;
        event->ignore();
        return;
    }
    if (started_ && !c_.endWithoutClosing) Form_Unload(c_);
    espere_->hide();
    event->accept();
}

void FormPrincipal::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        if (controls_["CommandoAnalizar"]->isEnabled() && !c_.gAnalizando && !c_.mRepintando) {
            CommandoAnalizar_Click(c_);
            timers_.Sync();
        }
        return;
    }
    QMainWindow::keyPressEvent(event);
}

// ---- Menu handlers ----

void FormPrincipal::SetOrigin(int16_t origin) {
    if (c_.gOrigenImagen == 5 || c_.gOrigenImagen == 6) PasaAlModoRutaImagen(c_);
    c_.gOrigenImagen = origin;
    GrabaTornelSta(c_, kEstadoEsperando, 0);
    tornel::ActualizaMenusSegunModo(c_);
    timers_.Sync();
}

void FormPrincipal::mImagenRuta_Click() {
    DialogoFicheros();
    ActualizaMenusSegunModo();
}

void FormPrincipal::mImagenMasReciente_Click() {
    SetOrigin(2);
}

void FormPrincipal::mImagenUltimoMensaje_Click() {
    SetOrigin(1);
}

void FormPrincipal::mEsperaImagenMasReciente_Click() {
    tornel::mEsperaImagenMasReciente_Click(c_);
    ActualizaMenusSegunModo();
    timers_.Sync();
}

void FormPrincipal::mEsperaImagenDelMensaje_Click() {
    tornel::mEsperaImagenDelMensaje_Click(c_);
    ActualizaMenusSegunModo();
    timers_.Sync();
}

void FormPrincipal::mSalir_Click() {
    close();
}

void FormPrincipal::SetArea(int32_t area) {
    if (area != 0 && !hasRectangle_) area = 0;
    c_.gAreaImagen = area;
    c_.mRectanguloActivo = area == 1;
    ActualizaMenusRectangulo();
}

void FormPrincipal::mTodaLaImagen_Click() {
    SetArea(0);
}

void FormPrincipal::mDentroDelRectangulo_Click() {
    SetArea(1);
}

void FormPrincipal::mFueraDelRectangulo_Click() {
    SetArea(2);
}

void FormPrincipal::SetCoordinateOrigin(int16_t origin) {
    c_.gOrigenCoordenadas = origin;
    ActualizaMenusSegunOrigenCoordenadas();
}

void FormPrincipal::mCoordenadasEnCabeceraFit_Click() {
    SetCoordinateOrigin(1);
}

void FormPrincipal::mCoordenadasSeleccionadas_Click() {
    FormCentroBusqueda form(c_, this);
    if (form.exec() == QDialog::Accepted) SetCoordinateOrigin(0);
    ActualizaMenusSegunOrigenCoordenadas();
}

void FormPrincipal::mCoordenadasAscom_Click() {
    SetCoordinateOrigin(5);
}

void FormPrincipal::mCoordenadasDeCartesDuCiel_Click() {
    SetCoordinateOrigin(2);
}

void FormPrincipal::mCoordenadasRecibidasPorDDE_Click() {
    SetCoordinateOrigin(3);
}

void FormPrincipal::mEpocaJ2000_Click() {
    c_.gDestinoJ2000 = !c_.gDestinoJ2000;
    ActualizaMenusSegunOrigenCoordenadas();
}

void FormPrincipal::SetWindowType(int32_t type) {
    c_.gTipoVentana = type;
    c_.gZonaCielo = 1;
    ActualizaMenusSegunDondeBuscar();
}

void FormPrincipal::mVentana5x5sinRotacion_Click() {
    SetWindowType(0);
}

void FormPrincipal::mVentana5x5masOpuesto_Click() {
    SetWindowType(3);
}

void FormPrincipal::mVentana2x2conRotacion_Click() {
    SetWindowType(1);
}

void FormPrincipal::mVentana40x40mconRotacion_Click() {
    SetWindowType(2);
}

void FormPrincipal::StartZoneSearch(int32_t zone) {
    c_.gZonaCielo = zone;
    ActualizaMenusSegunDondeBuscar();
    c_.timers.TimerAnalizaEnZonaGeneral.Enabled = true;
    timers_.Sync();
}

void FormPrincipal::mEnZonaMeridiano_Click() {
    StartZoneSearch(9);
}

void FormPrincipal::mEnZonaParalelo_Click() {
    StartZoneSearch(8);
}

void FormPrincipal::mEnZona30x30_Click() {
    c_.gZonaCielo = 4;
    ActualizaMenusSegunDondeBuscar();
    c_.timers.TimerAnalizaAmbito30x30gSinRotacion.Enabled = true;
    timers_.Sync();
}

void FormPrincipal::mEnZonaEsferica_Click() {
    FormZonaBusqueda form(c_, this);
    form.exec();
    ActualizaMenusSegunDondeBuscar();
    timers_.Sync();
}

void FormPrincipal::mEnZonaTodoElCielo_Click() {
    StartZoneSearch(3);
}

void FormPrincipal::mCieloVisible_Click() {
    c_.gSoloCieloVisible = true;
    ActualizaMenusSegunDondeBuscar();
}

void FormPrincipal::mCieloTodo_Click() {
    c_.gSoloCieloVisible = false;
    ActualizaMenusSegunDondeBuscar();
}

void FormPrincipal::mVerTodo_Click() {
    c_.showStarNumbers = c_.showLines = c_.showObjects = c_.showTarget = true;
    ActualizaMenusSegunMostrar();
    RepintaImagen();
}

void FormPrincipal::mVerNada_Click() {
    c_.showStarNumbers = c_.showLines = c_.showObjects = c_.showTarget = false;
    ActualizaMenusSegunMostrar();
    RepintaImagen();
}

void FormPrincipal::mVerGSC_Click() {
    c_.showStarNumbers = !c_.showStarNumbers;
    ActualizaMenusSegunMostrar();
    RepintaImagen();
}

void FormPrincipal::mVerLineas_Click() {
    c_.showLines = !c_.showLines;
    ActualizaMenusSegunMostrar();
    RepintaImagen();
}

void FormPrincipal::mVerObjetos_Click() {
    c_.showObjects = !c_.showObjects;
    ActualizaMenusSegunMostrar();
    RepintaImagen();
}

void FormPrincipal::mVerDestino_Click() {
    c_.showTarget = !c_.showTarget;
    ActualizaMenusSegunMostrar();
    RepintaImagen();
}

void FormPrincipal::mVerGuiado_Click() {
    c_.gAvisosGuiado = !c_.gAvisosGuiado;
    ActualizaMenusSegunMostrar();
}

void FormPrincipal::ShowText(const QString& title, const QString& text) {
    QDialog dialog(this);
    dialog.setWindowTitle(title);
    dialog.resize(640, 480);
    auto* edit = new QPlainTextEdit(text);
    edit->setReadOnly(true);
    edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    edit->setFont(summary_->font());
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(edit);
    dialog.exec();
}

void FormPrincipal::mCabecera_Click() {
    ShowText(Q(c_.gRutaImagen), FitsHeaderText(c_.gRutaImagen));
}

void FormPrincipal::mListaEstrellas_Click() {
    QString text;
    for (int32_t i = 1; i <= c_.mNumCandidatas && static_cast<size_t>(i) < c_.mEstrellas.size(); ++i) {
        const EstrellaImagen& e = c_.mEstrellas[static_cast<size_t>(i)];
        text += QString::asprintf("%4d  x=%9.2f  y=%9.2f  i=%10.0f\n", i, e.x, e.y, e.brillo);
    }
    ShowText(Q(Pick(c_, "Lista de estrellas", "Liste des étoiles", "Star list")), text);
}

void FormPrincipal::mImagen1_Click() {
    SetReduction(1);
}

void FormPrincipal::mImagen2_Click() {
    SetReduction(2);
}

void FormPrincipal::mImagen4_Click() {
    SetReduction(4);
}

void FormPrincipal::mSincroniza_Click() {
    Sincroniza(c_);
}

void FormPrincipal::mSincronizaAscom_Click() {
    c_.gTelescopioSincro = 1;
    ActualizaMenusSegunTelescopioSincronizado();
}

void FormPrincipal::mSincronizaCDC_Click() {
    c_.gTelescopioSincro = 2;
    ActualizaMenusSegunTelescopioSincronizado();
}

void FormPrincipal::mSincronizaDDE_Click() {
    c_.gTelescopioSincro = 3;
    ActualizaMenusSegunTelescopioSincronizado();
}

void FormPrincipal::mActualizaCombos_Click() {
    if (!c_.gHaySolucion) return;
    c_.gCentroCombosRA = c_.gCentroBusquedaRA = c_.gARJ2000;
    c_.gCentroCombosDEC = c_.gCentroBusquedaDEC = c_.gDEJ2000;
    if (c_.gOrigenCoordenadas != 0)
        AvisoIdioma(
            c_,
            "Tiene que activar la opción '- seleccionadas a mano ...' para hacer la próxima búsqueda "
            "alrededor de las coordenadas halladas.",
            "Vous devez activer l'option '- choisies à la main ...' pour faire la prochaine recherche "
            "autour des coordonnées trouvées.",
            "You have to activate the option '- selected coordinates ...' in order to do the next search "
            "aroud the found coordinates.");
}

void FormPrincipal::mParametros_Click() {
    FormParametros form(c_, this);
    form.exec();
    ActualizaFormularioSegunParametros();
}

void FormPrincipal::mPerfilCargar_Click() {
    tornel::mPerfilCargar_Click(c_);
    ActualizaFormularioSegunParametros();
    IdiomaMenus();
    IdiomaControles();
    timers_.Sync();
}

void FormPrincipal::mPerfilSalvar_Click() {
    tornel::mPerfilSalvar_Click(c_);
}

void FormPrincipal::mResultados_Click() {
    FormResultados form(c_, this);
    form.exec();
}

void FormPrincipal::mInclinacion_Click() {
    if (!c_.gHaySolucion) return;
    AutoCalibraAngulo(c_);
    SaveChangedParameters(c_);
}

void FormPrincipal::mBuscaOrientacionCamara_Click() {
    c_.timers.TimerAnalizaAmbito30x30gConRotacion.Enabled = true;
    timers_.Sync();
}

void FormPrincipal::mRecentradoSolo_Click() {
    c_.mSoloRecentrado = !c_.mSoloRecentrado;
    Check("mRecentradoSolo", c_.mSoloRecentrado);
}

void FormPrincipal::mRecentradoRef_Click() {
    AceptaReferencia(c_);
}

void FormPrincipal::mIdiomaA_Click() {}

void FormPrincipal::mIdiomaB_Click() {
    c_.gIdioma = LanguageOfB(c_.gIdioma);
    IdiomaMenus();
    IdiomaControles();
    GrabaParametros(c_);
}

void FormPrincipal::mIdiomaC_Click() {
    c_.gIdioma = LanguageOfC(c_.gIdioma);
    IdiomaMenus();
    IdiomaControles();
    GrabaParametros(c_);
}

QString FormPrincipal::HelpText() const {
    const Context& c = c_;
    std::string text =
        Pick(c, "Ayuda breve de Tornel:", "Aide brève de Tornel:", "Short help for Tornel:") + "\n\n";
    const Caption lines[] = {
        {"", "Trabaja con ficheros de imagen 'fits', 'bmp' y 'jpg'.",
         "Il travaille avec des fichiers d'image 'fits', 'bmp' et 'jpg'.",
         "It works with 'fits', 'bmp' and 'jpg' image files."},
        {"", "Vaya a 'A - Ruta de la imagen' en el menú 'Archivo' y elija la imagen que quiere analizar.",
         "Allez à 'A - Chemin de l'image' dans le menu 'Fichier' et choisissez l'image à analyser.",
         "Go to 'A - Image path' in the 'File' menu, and select the image you want to analyze."},
        {"",
         "En 'Coordenadas', '- seleccionadas a mano ...', introduzca las coordenadas aproximadas AR, DE del "
         "centro de la búsqueda.",
         "Dans 'Coordonnées', '- choisies à la main ...', entrez les coordonnées approchées AD, DEC du "
         "centre de "
         "la recherche.",
         "In 'Coordinates' , '- manually selected ...', introduce the approximate coordinates RA, DEC of the "
         "centre of the search."},
        {"",
         "Si no, si la imagen es FITS con las coordenadas en la cabecera, elija la opción 'de la cabecera "
         "FITS'.",
         "Sinon, si l'image est une image FITS avec les coordonnées dans l'entête, choisissez l'option 'de "
         "l'entête FITS'.",
         "Otherwise, if the image is a FITS image with the coordinates in the FITS header, select the option "
         "'from the FITS header'."},
        {"", "El botón 'Analizar' lanzará el cálculo de las coordenadas del centro de la imagen.",
         "Le bouton 'Analyser' lancera le calcul des coordonnées du centre de l'image.",
         "The 'Analyze' button will launch the calculus of the centre of the image coordinates."},
        {"", "Use la opción 'Otros', 'Editar los parámetros' para cambiar los parámetros si hace falta.",
         "Utilisez l'option 'Autres', 'Editer les paramètres' pour modifier les paramètres si besoin.",
         "Use the option 'Others', 'Edit parameters' to modify the working parameters if needed."},
        {"", "El texto completo de la ayuda está en el fichero README.md.",
         "Le texte complet de l'aide est dans le fichier README.md.",
         "The full help text is in the file README.md."},
    };
    for (const Caption& line : lines)
        text += Pick(c, line.es, line.fr, line.en) + "\n";
    text +=
        "\n" +
        Pick(c,
             "Versión ActiveX Tornel.exe: ", "Version ActiveX Tornel.exe: ", "Version ActiveX Tornel.exe: ") +
        TORNEL_VERSION_TEXT + "\n";
    text += Pick(c, "                 Versión Tornel.dll: ", "                 Version Tornel.dll: ",
                 "                 Version Tornel.dll: ") +
            c.gVersionDLL;
    return Q(text);
}

void FormPrincipal::mAyuda_Click() {
    platform_.MessageBox(HelpText().toStdString());
}

void FormPrincipal::mExtraer_Click() {
    c_.timers.TimerExtraer.Enabled = true;
    timers_.Sync();
}

void FormPrincipal::StoreCalibrationStar(int star) {
    double& x = star == 1 ? c_.mCalibracionX1 : star == 2 ? c_.mCalibracionX2 : c_.mCalibracionX3;
    double& y = star == 1 ? c_.mCalibracionY1 : star == 2 ? c_.mCalibracionY2 : c_.mCalibracionY3;
    x = popupAt_.x();
    y = popupAt_.y();
    view_->DibujaCirculo(popupAt_.x(), c_.gPixelesY - popupAt_.y(), 10, Qt::red, 2);
    view_->DibujaTexto(popupAt_.x() + 12, c_.gPixelesY - popupAt_.y(), QString(QChar('A' + star - 1)),
                       Qt::red);
}

void FormPrincipal::mEstrellaA_Click() {
    StoreCalibrationStar(1);
}

void FormPrincipal::mEstrellaB_Click() {
    StoreCalibrationStar(2);
}

void FormPrincipal::mEstrellaC_Click() {
    StoreCalibrationStar(3);
}

void FormPrincipal::CommandoVerBD_Click() {
    MensajeIdioma(c_, InformeConfiguracion(c_), InformeConfiguracion(c_), InformeConfiguracion(c_));
}

void FormPrincipal::CommandoScrollCero_Click() {
    portillo_->horizontalScrollBar()->setValue(0);
    portillo_->verticalScrollBar()->setValue(0);
}

}  // namespace tornel
