#pragma once
// The main window: the image in its frame, the column of controls, the menus with their check marks
// and enable rules, the mouse on the image and the summary as it grows. Every command calls the
// engine; the window keeps only what it shows.
#include <QLabel>
#include <QMainWindow>
#include <QPointF>
#include <map>
#include <string>

#include "comun/context.h"
#include "interfaz/guidance_view.h"
#include "interfaz/image_view.h"
#include "interfaz/timer_driver.h"

class QAction;
class QCheckBox;
class QMenu;
class QPlainTextEdit;
class QPushButton;
class QScrollArea;
class QScrollBar;
class QGroupBox;

namespace tornel {

class QtPlatform;
class FormEspere;

// A label that answers a click: the result label, which stops a search or ends a wait.
class ClickableLabel : public QLabel {
    Q_OBJECT
  public:
    using QLabel::QLabel;
  signals:
    void clicked();

  protected:
    void mousePressEvent(QMouseEvent* event) override;
};

// What the program was started with, besides the engine's command line.
struct StartOptions {
    std::string commandLine;  // mode, image path, RA, DEC
    std::string image;        // an image to open at once (origin: image path)
    bool analyze = false;     // press Analyze once the image is open
};

class FormPrincipal : public QMainWindow {
    Q_OBJECT
  public:
    FormPrincipal(Context& c, QtPlatform& platform, StartOptions options = {});
    ~FormPrincipal() override;

    // The deferred start-up: the engine's Form_Load with the command line, then the window set from
    // the parameters. Runs once, on the first showing.
    void Form_Activate();
    bool Started() const { return started_; }

    // Entries and menus by their names.
    QAction* Action(const std::string& name) const;
    QMenu* Menu(const std::string& name) const;
    ImageView& View() { return *view_; }
    GuidanceView& Guidance() { return *guidance_; }
    TimerDriver& Timers() { return timers_; }

    // Captions of the menus and of the controls in the language in force.
    void IdiomaMenus();
    void IdiomaControles();

    // The menu state from the parameters; each is idempotent.
    void ActualizaMenusSegunModo();
    void ActualizaMenusSegunTelescopioSincronizado();
    void ActualizaMenusSegunOrigenCoordenadas();
    void ActualizaMenusSegunDondeBuscar();
    void ActualizaMenusRectangulo();
    void ActualizaMenusSegunMostrar();
    void ActualizaMenusSegunBD();
    void PoneMenus(bool habilitados);
    void ActualizaFormularioSegunParametros();

    // What the platform shows.
    void SetResultLabel(const QString& text);
    void SetPosition(const QString& ra, const QString& dec, const QString& raOfDate,
                     const QString& decOfDate);
    void AppendSummary(const QString& line);
    void ShowWait(const QString& text);
    void HideWait();

    // The picture of the image in memory at the levels in force, or none when nothing fits.
    void RepintaImagen();
    // The level handlers and the automatic levels.
    void HScrollBlanco_Change(int value);
    void HScrollNegro_Change(int value);
    void CommandoVisuAuto_Click();
    // Zoom: reduction 1, 2 or 4.
    void SetReduction(int reduction);

    // The image dialog, and opening an image without it.
    void DialogoFicheros();
    void AbreImagen(const std::string& path);

    // The mouse on the image, in view pixels (reduction 1, y down from the top of the picture).
    void PictureImagen_MouseDown(Qt::MouseButton button, QPointF at);
    void PictureImagen_MouseMove(Qt::MouseButton button, QPointF at);
    void PictureImagen_MouseUp(Qt::MouseButton button, QPointF at);

    // The short help text with the versions.
    QString HelpText() const;

  protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QAction* AddEntry(QMenu* menu, const std::string& name, void (FormPrincipal::*handler)() = nullptr,
                      bool checkable = false);
    QAction* AddTitle(QMenu* menu, const std::string& name);
    QMenu* AddMenu(QWidget* parent, const std::string& name);
    void BuildMenus();
    void BuildControls();
    void ApplyEnableRules();
    void Check(const std::string& name, bool checked);
    void Enable(const std::string& name, bool enabled);
    void InicializaScrolls();
    void ShowLevels();
    void SetOrigin(int16_t origin);
    void SetArea(int32_t area);
    void SetCoordinateOrigin(int16_t origin);
    void SetWindowType(int32_t type);
    void StartZoneSearch(int32_t zone);
    // The calibration entries (form_principal_calibration.cpp).
    void StoreCalibrationStar(int star);
    void OpenStarCalibration(bool tres);
    void mCalibrarPixelYangulo_Click();
    void mExtraer2_Click();
    void mCalibrar2estrellas_Click();
    void mCalibrar3estrellas_Click();
    QPointF ViewToImage(QPointF at) const;
    void ShowText(const QString& title, const QString& text);

    // Menu handlers.
    void mImagenRuta_Click();
    void mImagenMasReciente_Click();
    void mImagenUltimoMensaje_Click();
    void mEsperaImagenMasReciente_Click();
    void mEsperaImagenDelMensaje_Click();
    void mSalir_Click();
    void mTodaLaImagen_Click();
    void mDentroDelRectangulo_Click();
    void mFueraDelRectangulo_Click();
    void mCoordenadasEnCabeceraFit_Click();
    void mCoordenadasSeleccionadas_Click();
    void mCoordenadasAscom_Click();
    void mCoordenadasDeCartesDuCiel_Click();
    void mCoordenadasRecibidasPorDDE_Click();
    void mEpocaJ2000_Click();
    void mVentana5x5sinRotacion_Click();
    void mVentana5x5masOpuesto_Click();
    void mVentana2x2conRotacion_Click();
    void mVentana40x40mconRotacion_Click();
    void mEnZonaMeridiano_Click();
    void mEnZonaParalelo_Click();
    void mEnZona30x30_Click();
    void mEnZonaEsferica_Click();
    void mEnZonaTodoElCielo_Click();
    void mCieloVisible_Click();
    void mCieloTodo_Click();
    void mVerTodo_Click();
    void mVerNada_Click();
    void mVerGSC_Click();
    void mVerLineas_Click();
    void mVerObjetos_Click();
    void mVerDestino_Click();
    void mVerGuiado_Click();
    void mCabecera_Click();
    void mListaEstrellas_Click();
    void mImagen1_Click();
    void mImagen2_Click();
    void mImagen4_Click();
    void mSincroniza_Click();
    void mSincronizaAscom_Click();
    void mSincronizaCDC_Click();
    void mSincronizaDDE_Click();
    void SetSynchronised(int16_t tipo);
    // The telescope: choosing it, typing its identifier, the link tests, the setups of telescop.txt.
    void mSelTelescopioASCOM_Click();
    void mSelTelescopioCOM_Click();
    void mAscomLeeARDE_Click();
    void mAscomSyncTele_Click();
    void mTele_Click(int indice);
    void MuestraTelescopios();
    void mActualizaCombos_Click();
    void mParametros_Click();
    void mPerfilCargar_Click();
    void mPerfilSalvar_Click();
    void mResultados_Click();
    void mInclinacion_Click();
    void mBuscaOrientacionCamara_Click();
    void mRecentradoSolo_Click();
    void mScriptCheck_Click();
    void mRecentradoRef_Click();
    void mIdiomaA_Click();
    void mIdiomaB_Click();
    void mIdiomaC_Click();
    void mAyuda_Click();
    void mExtraer_Click();
    void mEstrellaA_Click();
    void mEstrellaB_Click();
    void mEstrellaC_Click();
    void CommandoVerBD_Click();
    void CommandoScrollCero_Click();

    Context& c_;
    QtPlatform& platform_;
    StartOptions options_;
    TimerDriver timers_;
    std::map<std::string, QAction*> actions_;
    std::map<std::string, QMenu*> menus_;
    std::map<std::string, QWidget*> controls_;
    QMenu* popup_ = nullptr;
    ImageView* view_ = nullptr;
    QScrollArea* portillo_ = nullptr;
    GuidanceView* guidance_ = nullptr;
    ClickableLabel* labelResultado_ = nullptr;
    QPlainTextEdit* summary_ = nullptr;
    QScrollBar* hScrollNegro_ = nullptr;
    QScrollBar* hScrollBlanco_ = nullptr;
    QScrollBar* vScrollUmbral_ = nullptr;
    QCheckBox* checkUmbralAuto_ = nullptr;
    QLabel *labelNegro_ = nullptr, *labelBlanco_ = nullptr, *labelUmbral_ = nullptr;
    QLabel *labelX_ = nullptr, *labelY_ = nullptr, *labelBrillo_ = nullptr;
    QLabel *labelAR_ = nullptr, *labelDE_ = nullptr, *labelAR2_ = nullptr, *labelDE2_ = nullptr;
    QLabel *labelDestinoX_ = nullptr, *labelDestinoY_ = nullptr, *labelRectangulo_ = nullptr;
    std::map<std::string, QGroupBox*> groups_;
    FormEspere* espere_ = nullptr;
    bool started_ = false;
    bool locked_ = false;
    bool dragging_ = false;
    bool hasRectangle_ = false;
    QPointF dragStart_;
    QPointF popupAt_;
};

}  // namespace tornel
