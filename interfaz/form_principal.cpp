#include "interfaz/form_principal.h"
#include "interfaz/qt_text.h"

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
#include "resultados/results_report.h"
#include "resultados/resumen.h"
#include "resultados/solution_drawing.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace {

// The range of the level bars: the brightness of a 16-bit image, or one colour channel.
constexpr int kFitLevelMax = 32767;
constexpr int kPictureLevelMax = 255;
// The column of controls keeps its width; the frame of the image takes the rest.
constexpr int kColumnWidth = 340;

bool IsFit(const Context& c) {
    return Trim(c.gTipoImagen) == "fit";
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
    guidance_ = new GuidanceView(portillo_, view_);
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
    buttons->addWidget(button("CommandoResultados", [this] { CommandoResultados_Click(c_); }), 2, 1);
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
    // The overlay of a solution follows the Show flags, the zoom and the levels.
    PresentaSolucion(c_);
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
    guidance_->Hide();
    c_.presentedRoad = SolutionRoad::None;
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

}  // namespace tornel
