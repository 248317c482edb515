#include "interfaz/calibration_dialogs.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "comun/language.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "core/timers.h"
#include "interfaz/button_row.h"
#include "interfaz/qt_text.h"

namespace tornel {

namespace {

const char* const kLetters[] = {"A", "B", "C"};

QString Text(const Context& c, std::string_view es, std::string_view fr, std::string_view en) {
    return Q(Pick(c, es, fr, en));
}

// Enter passes to the next control, as in every entry box of these windows.
void EnterMovesOn(QDialog* dialog, QLineEdit* box) {
    QObject::connect(box, &QLineEdit::returnPressed, dialog, [box] {
        for (QWidget* next = box->nextInFocusChain(); next != box; next = next->nextInFocusChain())
            if ((next->focusPolicy() & Qt::TabFocus) && next->isEnabled()) {
                next->setFocus();
                return;
            }
    });
}

QPushButton* Button(const QString& text, const char* name) {
    auto* b = new QPushButton(text);
    b->setObjectName(name);
    // No button takes Enter: Enter moves between the boxes.
    b->setAutoDefault(false);
    return b;
}

QString ReadOnlyText(const std::string& text) {
    return Q(text);
}

}  // namespace

// ---- FormCalibrar, FormCalibrar3 ----

QLineEdit* FormCalibrar::AddField(const std::string& name, int width) {
    auto* box = new QLineEdit;
    box->setObjectName(Q(name));
    box->setMaximumWidth(width);
    fields_[name] = box;
    EnterMovesOn(this, box);
    return box;
}

QLineEdit* FormCalibrar::Field(const std::string& name) const {
    const auto it = fields_.find(name);
    return it == fields_.end() ? nullptr : it->second;
}

FormCalibrar::FormCalibrar(Context& c, bool tres, QWidget* parent) : QDialog(parent), c_(c), tres_(tres) {
    setObjectName(tres ? "FormCalibrar3" : "FormCalibrar");
    setModal(true);
    setWindowTitle(tres ? Text(c, "Tornel.  *** Calibración con tres estrellas ***",
                               "Tornel.  *** Calibrage avec trois étoiles ***",
                               "Tornel.  *** Three stars calibration ***")
                        : Text(c, "Tornel.  *** Calibración con dos estrellas ***",
                               "Tornel.  *** Calibrage avec deux étoiles ***",
                               "Tornel.  *** Two stars calibration ***"));

    auto* pixel = new QGroupBox(Text(c, "Forma del pixel", "Forme du pixel", "Pixel shape"));
    cuadrado_ = new QRadioButton(Text(c, "Pixeles cuadrados", "Pixels carrés", "Square pixels"));
    cuadrado_->setObjectName("OptionCuadrado");
    rectangular_ = new QRadioButton(
        Text(c, "Pixeles rectangulares, ancho y alto:", "Pixels rectangulaires, largeur et hauteur :",
             "Rectangular pixels, width and height:"));
    rectangular_->setObjectName("OptionRectangular");
    cuadrado_->setChecked(true);
    auto* pixelRow = new QHBoxLayout(pixel);
    pixelRow->addWidget(cuadrado_);
    pixelRow->addWidget(rectangular_);
    pixelRow->addWidget(AddField("VeoAnchoPixel", 60));
    pixelRow->addWidget(new QLabel("x"));
    pixelRow->addWidget(AddField("VeoAltoPixel", 60));
    pixelRow->addStretch();

    auto* given =
        new QGroupBox(Text(c, "Las estrellas se dan por", "Les étoiles sont données par", "Stars given by"));
    coordenadas_ = new QRadioButton(
        Text(c, "sus coordenadas J2000", "leurs coordonnées J2000", "their J2000 coordinates"));
    coordenadas_->setObjectName("OptionCoordenadas");
    numeros_ = new QRadioButton(Text(c, "sus números ...", "leurs numéros ...", "their numbers ..."));
    numeros_->setObjectName("OptionGSC");
    coordenadas_->setChecked(true);
    auto* givenRow = new QHBoxLayout(given);
    givenRow->addWidget(coordenadas_);
    givenRow->addWidget(numeros_);
    givenRow->addStretch();

    auto* stars = new QGridLayout;
    const QString heads[] = {Text(c, "Número", "Numéro", "Number"), "AR h", "m", "s", "DE °", "'", "\""};
    for (int k = 0; k < 7; ++k)
        stars->addWidget(new QLabel(heads[k]), 0, k + 1);
    for (int i = 0; i < (tres ? 3 : 2); ++i) {
        stars->addWidget(new QLabel(Text(c, "Estrella ", "Etoile ", "Star ") + kLetters[i]), i + 1, 0);
        stars->addWidget(AddField(NumberControl(i), 130), i + 1, 1);
        for (int k = 0; k < 6; ++k)
            stars->addWidget(AddField(CoordinateControl(i, k), 60), i + 1, k + 2);
    }

    auto* results = new QGroupBox(Text(c, "Resultado", "Résultat", "Result"));
    auto* grid = new QGridLayout(results);
    auto shown = [&](const char* name, const QString& label, int row) {
        grid->addWidget(new QLabel(label), row, 0);
        QLineEdit* box = AddField(name, 120);
        box->setReadOnly(true);
        grid->addWidget(box, row, 1);
    };
    shown("VeoAnguloPixelX",
          Text(c, "Segundos por pixel en X:", "Secondes par pixel en X :", "Arcsec per pixel X:"), 0);
    shown("VeoAnguloPixelY",
          Text(c, "Segundos por pixel en Y:", "Secondes par pixel en Y :", "Arcsec per pixel Y:"), 1);
    shown("VeoIncliCamara", Text(c, "Ángulo de la imagen:", "Angle de l'image :", "Image angle:"), 2);
    if (tres) shown("VeoInvertida", Text(c, "Imagen invertida:", "Image inversée :", "Reversed image:"), 3);
    grid->addWidget(new QLabel(Text(c, "Altura de la imagen (minutos):", "Hauteur de l'image (minutes) :",
                                    "Image height (arcmin):")),
                    4, 0);
    altoImagen_ = new QLabel;
    altoImagen_->setObjectName("LabelAltoImagen");
    grid->addWidget(altoImagen_, 4, 1);

    calibrar_ = Button(Text(c, "Calibrar", "Calibrer", "Calibrate"), "CommandoCalibrar");
    guardar_ = Button(Text(c, "Guardar", "Enregistrer", "Save"), "CommandoGuardar");
    guardar_->setEnabled(false);
    auto* salir = Button(Text(c, "Salir", "Sortir", "Exit"), "CommandoSalir");
    connect(calibrar_, &QPushButton::clicked, this, &FormCalibrar::CommandoCalibrar_Click);
    connect(guardar_, &QPushButton::clicked, this, &FormCalibrar::CommandoGuardar_Click);
    connect(salir, &QPushButton::clicked, this, &QDialog::reject);
    connect(rectangular_, &QRadioButton::toggled, this, &FormCalibrar::EnableEntries);
    connect(coordenadas_, &QRadioButton::toggled, this, &FormCalibrar::EnableEntries);
    connect(numeros_, &QRadioButton::clicked, this, &FormCalibrar::AskNumbers);
    auto* buttons = ButtonRow({calibrar_, guardar_, salir});

    auto* steps = new QLabel(Text(c,
                                  "Las estrellas A, B" + std::string(tres ? " y C" : "") +
                                      " se eligen antes sobre la imagen, con el botón derecho del ratón.",
                                  "Les étoiles A, B" + std::string(tres ? " et C" : "") +
                                      " se choisissent avant sur l'image, avec le bouton droit de la souris.",
                                  "Stars A, B" + std::string(tres ? " and C" : "") +
                                      " are picked on the image first, with the right mouse button."));
    steps->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(steps);
    layout->addWidget(pixel);
    layout->addWidget(given);
    layout->addLayout(stars);
    layout->addWidget(results);
    layout->addLayout(buttons);
    EnableEntries();
}

void FormCalibrar::EnableEntries() {
    Field("VeoAnchoPixel")->setEnabled(rectangular_->isChecked());
    Field("VeoAltoPixel")->setEnabled(rectangular_->isChecked());
    for (int i = 0; i < (tres_ ? 3 : 2); ++i) {
        Field(NumberControl(i))->setEnabled(!coordenadas_->isChecked());
        for (int k = 0; k < 6; ++k)
            Field(CoordinateControl(i, k))->setEnabled(coordenadas_->isChecked());
    }
}

void FormCalibrar::AskNumbers() {
    FormIDsEstrellas ids(c_, tres_ ? 3 : 2, this);
    for (int i = 0; i < (tres_ ? 3 : 2); ++i)
        ids.Box(i)->setText(Field(NumberControl(i))->text());
    if (ids.exec() != QDialog::Accepted) return;
    const auto numbers = ids.Numbers();
    for (int i = 0; i < (tres_ ? 3 : 2); ++i)
        Field(NumberControl(i))->setText(Q(numbers[static_cast<size_t>(i)]));
}

CalibrationForm FormCalibrar::Controls() const {
    CalibrationForm f;
    f.tresEstrellas = tres_;
    f.cuadrado = cuadrado_->isChecked();
    f.anchoPixel = Field("VeoAnchoPixel")->text().toStdString();
    f.altoPixel = Field("VeoAltoPixel")->text().toStdString();
    f.coordenadas = coordenadas_->isChecked();
    for (int i = 0; i < (tres_ ? 3 : 2); ++i) {
        f.numero[static_cast<size_t>(i)] = Field(NumberControl(i))->text().toStdString();
        for (int k = 0; k < 6; ++k)
            f.coordenada[static_cast<size_t>(i)][static_cast<size_t>(k)] =
                Field(CoordinateControl(i, k))->text().toStdString();
    }
    return f;
}

void FormCalibrar::CommandoCalibrar_Click() {
    std::string control;
    const int32_t code = CalibraFormulario(c_, Controls(), k_, c_.gPixelesX, c_.gPixelesY, control);
    if (code != kCalibracionHecha) {
        guardar_->setEnabled(false);
        if (QLineEdit* box = Field(control)) box->setFocus();
        return;
    }
    ShowResult();
    guardar_->setEnabled(true);
    guardar_->setFocus();
}

void FormCalibrar::ShowResult() {
    Field("VeoAnguloPixelX")->setText(ReadOnlyText(FormatNumber(k_.segundosPorPixelX, "0.000")));
    Field("VeoAnguloPixelY")->setText(ReadOnlyText(FormatNumber(k_.segundosPorPixelY, "0.000")));
    Field("VeoIncliCamara")->setText(ReadOnlyText(FormatNumber(k_.mAnguloCamara, "0.00")));
    altoImagen_->setText(ReadOnlyText(FormatNumber(k_.minutosAltoImagen, "0.00")));
    if (tres_)
        Field("VeoInvertida")
            ->setText(k_.mInvertida == 1 ? Text(c_, "sí", "oui", "yes") : Text(c_, "no", "non", "no"));
}

void FormCalibrar::CommandoGuardar_Click() {
    GuardaCalibracion(c_, k_, tres_);
    CalculaValoresDerivados(c_);
    SaveChangedParameters(c_);
    guardar_->setEnabled(false);
}

// ---- FormIDsEstrellas ----

FormIDsEstrellas::FormIDsEstrellas(Context& c, int stars, QWidget* parent)
    : QDialog(parent), c_(c), stars_(stars) {
    setObjectName("FormIDsEstrellas");
    setModal(true);
    setWindowTitle("Tornel.  *** Calibration ***");
    auto* layout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    for (int i = 0; i < stars; ++i) {
        const std::string l = kLetters[i];
        auto* prompt = new QLabel(Text(
            c,
            "Escriba el número GSC de la estrella " + l +
                ". Deje un espacio entre el número de la región y el de la estrella (por ejemplo:  158 254).",
            "Tapez le numéro GSC de l'étoile " + l +
                ". Laissez un espace entre le numéro de la région et celui de l'étoile (par exemple :  158 "
                "254).",
            "Type the GSC number of the " + l +
                " star. Leave a space between the region number and the star number (for example:  158 "
                "254)."));
        prompt->setWordWrap(true);
        grid->addWidget(prompt, 2 * i, 0, 1, 2);
        grid->addWidget(new QLabel(Text(c, "Número de la estrella " + l + ":",
                                        "Numéro de l'étoile " + l + " :", "Number of the " + l + " star:")),
                        2 * i + 1, 0);
        auto* box = new QLineEdit;
        box->setObjectName(Q(NumberControl(i)));
        boxes_[static_cast<size_t>(i)] = box;
        grid->addWidget(box, 2 * i + 1, 1);
        if (i + 1 < stars)
            EnterMovesOn(this, box);
        else
            connect(box, &QLineEdit::returnPressed, this, &FormIDsEstrellas::CommandoAceptar_Click);
    }
    layout->addLayout(grid);
    layout->addWidget(new QLabel(Text(c, "Luego pulse Intro o haga clic en 'Aceptar'.",
                                      "Puis appuyez sur Entrée ou cliquez sur 'Accepter'.",
                                      "Then press Enter or click on 'OK'.")));
    auto* aceptar = Button(Text(c, "Aceptar", "Accepter", "OK"), "CommandoAceptar");
    auto* cancelar = Button(Text(c, "Cancelar", "Annuler", "Cancel"), "CommandoCancelar");
    connect(aceptar, &QPushButton::clicked, this, &FormIDsEstrellas::CommandoAceptar_Click);
    connect(cancelar, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = ButtonRow({aceptar, cancelar});
    layout->addLayout(buttons);
}

std::array<std::string, 3> FormIDsEstrellas::Numbers() const {
    std::array<std::string, 3> numbers;
    for (int i = 0; i < stars_; ++i)
        numbers[static_cast<size_t>(i)] = boxes_[static_cast<size_t>(i)]->text().toStdString();
    return numbers;
}

void FormIDsEstrellas::CommandoAceptar_Click() {
    CalibrationForm f;
    f.tresEstrellas = stars_ == 3;
    f.coordenadas = false;
    f.numero = Numbers();
    std::array<CalibrationStar, 3> places{};
    std::string control;
    if (EntradasDeEstrellasOK(c_, f, places, control)) {
        accept();
        return;
    }
    for (int i = 0; i < stars_; ++i)
        if (NumberControl(i) == control) boxes_[static_cast<size_t>(i)]->setFocus();
}

// ---- FormBuscaInclinacion ----

FormBuscaInclinacion::FormBuscaInclinacion(Context& c, QWidget* parent) : QDialog(parent), c_(c) {
    setObjectName("FormBuscaInclinacion");
    setModal(true);
    setWindowTitle(Text(c, "Ayuda para calibrar el ángulo de la imagen",
                        "Aide pour calibrer l'angle de l'image", "Help in calibrating the image angle"));
    auto* grid = new QGridLayout;
    grid->addWidget(new QLabel(Text(c, "Parámetro:", "Paramètre :", "Parameter:")), 0, 0);
    grid->addWidget(new QLabel(Text(c, "Para cambiar su valor, vaya a la opción:",
                                    "Pour changer sa valeur, allez à l'option :",
                                    "To change the parameter value, go to option:")),
                    0, 2);
    int row = 1;
    auto line = [&](const char* name, const QString& label, const std::string& value, const QString& hint) {
        grid->addWidget(new QLabel(label), row, 0);
        auto* box = new QLineEdit(Q(value));
        box->setObjectName(name);
        box->setReadOnly(true);
        grid->addWidget(box, row, 1);
        grid->addWidget(new QLabel(hint), row, 2);
        ++row;
    };
    const QString parameters =
        Text(c, "Opción:  Otros / Editar los parámetros", "Option :  Autres / Editer les paramètres",
             "Option:  Others / Edit parameters");
    const QString centre =
        Text(c, "Opción:  Coordenadas / seleccionadas a mano", "Option :  Coordonnées / choisies à la main",
             "Option:  Coordinates / manually selected");
    line("VeoImagen", Text(c, "Imagen:", "Image :", "Image:"), c.gRutaImagen,
         Text(c, "Opción:  Modo / A - Ruta de la imagen", "Option :  Mode / A - Chemin de l'image",
              "Option:  Mode / A - Image path"));
    line("VeoSegundosPixel", Text(c, "Segundos por pixel:", "Secondes par pixel :", "Arcsec per pixel:"),
         FormatNumber(c.gSegundosPorPixelX, "0.000"), parameters);
    line("VeoARcentro",
         Text(c, "AR del centro de búsqueda:", "AD du centre de recherche :", "Searching center RA:"),
         FormatNumber(c.gCentroCombosRA, "0.000"), centre);
    line("VeoDEcentro",
         Text(c, "DE del centro de búsqueda:", "DEC du centre de recherche :", "Searching center DEC:"),
         FormatNumber(c.gCentroCombosDEC, "0.000"), centre);
    line("VeoAnguloSupuesto",
         Text(c, "Ángulo supuesto de la imagen:", "Angle supposé de l'image :", "Supposed image angle:"),
         FormatNumber(c.gAnguloImagen, "0.00"), parameters);
    line("VeoInvertida",
         Text(c, "La imagen está invertida:", "L'image est inversée :", "The image is reversed:"),
         c.gImagenInvertida == 1 ? Pick(c, "sí", "oui", "yes") : Pick(c, "no", "non", "no"),
         Text(c, "Opción:  Imagen / Imagen invertida", "Option :  Image / Image inversée",
              "Option:  Image / Reversed image"));

    auto* margin = new QGroupBox(
        Text(c, "Elija un margen de error:", "Choisissez une marge d'erreur :", "Choose an error margin:"));
    auto* marginRow = new QVBoxLayout(margin);
    const std::string angle = FormatNumber(c.gAnguloImagen, "0.00");
    marginRow->addWidget(new QLabel(Text(c, "Margen de error alrededor del ángulo supuesto (" + angle + "):",
                                         "Marge d'erreur autour de l'angle supposé (" + angle + ") :",
                                         "Error margin around the supposed position (" + angle + "):")));
    const int sizes[] = {5, 10, 15};
    for (size_t k = 0; k < 3; ++k) {
        const std::string n = std::to_string(sizes[k]);
        amplitud_[k] = new QRadioButton(
            Text(c, "+/- " + n + " grados", "+/- " + n + " degrés", "+/- " + n + " degrees"));
        amplitud_[k]->setObjectName(Q("OptionAmplitud_" + n));
        marginRow->addWidget(amplitud_[k]);
    }
    auto* aceptar = Button(Text(c, "Aceptar", "Accepter", "Accept"), "CommandoAceptar");
    auto* cancelar = Button(Text(c, "Cancelar", "Annuler", "Cancel"), "CommandoCancelar");
    connect(aceptar, &QPushButton::clicked, this, &FormBuscaInclinacion::CommandoAceptar_Click);
    connect(cancelar, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = ButtonRow({aceptar, cancelar});

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addWidget(margin);
    layout->addWidget(new QLabel(Text(
        c, "La búsqueda se hará en una zona de cielo de 30 x 30 grados alrededor del centro de búsqueda.",
        "La recherche se fera dans une zone de ciel de 30 x 30 degrés autour du centre de recherche.",
        "The search will be done in a 30 x 30 degrees sky area around the searching center.")));
    layout->addWidget(
        new QLabel(Text(c, "Haga clic en 'Aceptar' para empezar la búsqueda del ángulo de la imagen.",
                        "Cliquez sur 'Accepter' pour commencer la recherche de l'angle de l'image.",
                        "Clic on 'Accept' to begin the image angle search.")));
    layout->addLayout(buttons);
}

void FormBuscaInclinacion::CommandoAceptar_Click() {
    const int sizes[] = {5, 10, 15};
    int32_t chosen = 0;
    for (size_t k = 0; k < 3; ++k)
        if (amplitud_[k]->isChecked()) chosen = sizes[k];
    if (StartAngleSearch(c_, chosen)) accept();
}

}  // namespace tornel
