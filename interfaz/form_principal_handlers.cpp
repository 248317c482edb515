// What each entry of the main window's menus does.
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
#include "automatizacion/script_checker.h"
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
#include "interfaz/form_resultados.h"
#include "interfaz/menu_texts.h"
#include "interfaz/qt_platform.h"
#include "interfaz/qt_text.h"
#include "resultados/resumen.h"
#include "resultados/solution_drawing.h"
#include "resultados/solution_presentation.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace {

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
    tornel::mCoordenadasAscom_Click(c_);
    ActualizaMenusSegunOrigenCoordenadas();
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
    PresentaSolucion(c_);
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
    SetSynchronised(1);
}

void FormPrincipal::mSincronizaCDC_Click() {
    SetSynchronised(2);
}

void FormPrincipal::mSincronizaDDE_Click() {
    SetSynchronised(3);
}

void FormPrincipal::SetSynchronised(int16_t tipo) {
    if (c_.gTelescopioSincro != tipo) {
        c_.gTelescopioSincro = tipo;
        PoneTitulo(c_, c_.mTitulo);
        PoneLabelResultado(c_, "");
        GrabaParametros(c_);
    }
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

void FormPrincipal::mScriptCheck_Click() {
    CompruebaScript(c_);
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
