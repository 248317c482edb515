// The main window's calibration entries: the steps of the star calibration on the image's popup,
// the calibration windows, and the search for the image angle.
#include <QMenu>

#include "astrometria/calibration_entries.h"
#include "comun/language.h"
#include "core/timers.h"
#include "interfaz/calibration_dialogs.h"
#include "interfaz/form_principal.h"
#include "interfaz/qt_platform.h"
#include "resultados/resumen.h"

namespace tornel {

void FormPrincipal::mCalibrarPixelYangulo_Click() {
    MensajeIdioma(
        c_,
        "El tamaño del pixel y el ángulo de la imagen se calibran sobre una imagen con dos o tres estrellas "
        "conocidas. Con el botón derecho del ratón sobre la imagen:\n1- extraer las estrellas\n2- elegir "
        "las estrellas A, B (y C), cada una en un círculo rojo\n3- calibrar con dos o tres estrellas, y "
        "guardar el resultado.",
        "La taille du pixel et l'angle de l'image se calibrent sur une image avec deux ou trois étoiles "
        "connues. Avec le bouton droit de la souris sur l'image :\n1- extraire les étoiles\n2- choisir les "
        "étoiles A, B (et C), chacune dans un cercle rouge\n3- calibrer avec deux ou trois étoiles, et "
        "enregistrer le résultat.",
        "Pixel size and image angle are calibrated on an image with two or three known stars. With the "
        "right mouse button on the image:\n1- extract the stars\n2- pick stars A, B (and C), each in a red "
        "circle\n3- calibrate with two or three stars, and save the result.");
}

void FormPrincipal::mExtraer2_Click() {
    const std::string text = Pick(
        c_,
        "ATENCIÓN:\nLa calibración con DOS estrellas usa el valor de 'Imagen invertida'\n de la ventana "
        "'Editar los parámetros'.\nSi no está seguro, haga la calibración con TRES estrellas.\n ¿ Continuar "
        "?",
        "ATTENTION :\nLe calibrage avec DEUX étoiles utilise la valeur 'Image inversée'\n de la fenêtre "
        "'Editer les paramètres'.\nEn cas de doute, faites le calibrage avec TROIS étoiles.\n Continuer ?",
        "ATTENTION:\nThe TWO stars calibration uses the 'Reversed image'\n value in the 'Edit parameters' "
        "window.\nIf not sure, please do the THREE stars calibration.\n Continue ?");
    if (!platform_.AskYesNo(
            text,
            Pick(c_, "Extraer para la calibración con dos estrellas",
                 "Extraire pour le calibrage avec deux étoiles", "Extract fot two stars calibration"),
            false))
        return;
    mExtraer_Click();
}

void FormPrincipal::StoreCalibrationStar(int star) {
    const char* const letters[] = {"a", "b", "c"};
    const auto picked = EstrellaClick(c_, letters[star - 1], popupAt_.x(), popupAt_.y());
    if (!picked) return;
    // Drawn where the extraction drew the star's circle.
    view_->MarcaEstrella(QString(QChar('A' + star - 1)), picked->x - 1, c_.gPixelesY - picked->y, Qt::yellow);
}

void FormPrincipal::OpenStarCalibration(bool tres) {
    FormCalibrar form(c_, tres, this);
    form.exec();
}

void FormPrincipal::mCalibrar2estrellas_Click() {
    OpenStarCalibration(false);
}

void FormPrincipal::mCalibrar3estrellas_Click() {
    OpenStarCalibration(true);
}

void FormPrincipal::mBuscaOrientacionCamara_Click() {
    if (!AngleSearchMayOpen(c_)) return;
    FormBuscaInclinacion form(c_, this);
    if (form.exec() == QDialog::Accepted) timers_.Sync();
}

}  // namespace tornel
