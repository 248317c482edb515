#include "interfaz/form_parametros.h"
#include "interfaz/qt_text.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <tuple>

#include "comun/build_info.h"
#include "comun/language.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

std::string Text(const QLineEdit* e) {
    return e->text().toStdString();
}

}  // namespace

FormParametros::FormParametros(Context& c, QWidget* parent) : QDialog(parent), c_(c) {
    setObjectName("FormParametros");
    setModal(true);
    setWindowTitle(Q(Pick(c, "Parámetros", "Paramètres", "Parameters")));
    const CamposParametros f = FormParametros_Load(c);
    const CamposAvanzados a = FormParametrosAvanzados_Load(c);

    auto* plain = new QGroupBox(Q(Pick(c, "Parámetros", "Paramètres", "Parameters")));
    auto* grid = new QGridLayout(plain);
    int row = 0;
    AddField(plain, grid, row++, "VeoAnguloPixelX", "Segundos de arco por pixel X",
             "Secondes d'arc par pixel X", "Arcsec per pixel X", f.VeoAnguloPixelX);
    AddField(plain, grid, row++, "VeoAnguloPixelY", "Segundos de arco por pixel Y",
             "Secondes d'arc par pixel Y", "Arcsec per pixel Y", f.VeoAnguloPixelY);
    AddField(plain, grid, row++, "VeoNorteCamara", "Ángulo de la imagen (grados)",
             "Angle de l'image (degrés)", "Image angle (degrees)", f.VeoNorteCamara);
    AddField(plain, grid, row++, "VeoLadosSuficientes", "Lados para parar la búsqueda (15 a 45)",
             "Côtés pour arrêter la recherche (15 à 45)", "Sides to stop the search (15 to 45)",
             f.VeoLadosSuficientes);
    AddField(plain, grid, row++, "VeoLadosSincro", "Lados para sincronizar (10 a 45)",
             "Côtés pour synchroniser (10 à 45)", "Sides to synchronize (10 to 45)", f.VeoLadosSincro);
    AddField(plain, grid, row++, "VeoLadosWCS", "Lados para escribir el WCS (10 a 45)",
             "Côtés pour écrire le WCS (10 à 45)", "Sides to write the WCS (10 to 45)", f.VeoLadosWCS);
    for (auto [name, es, fr, en, value] :
         {std::tuple{"VeoCarpetaBDdistancias", "Carpeta de la base de distancias",
                     "Dossier de la base des distances", "Distances database folder",
                     f.VeoCarpetaBDdistancias},
          std::tuple{"VeoCarpetaBdEstrellas", "Carpeta de las bases de estrellas",
                     "Dossier des bases d'étoiles", "Stars databases folder", f.VeoCarpetaBdEstrellas},
          std::tuple{"VeoCarpetaAutomatico", "Carpeta de los modos automáticos",
                     "Dossier des modes automatiques", "Folder of the automatic modes",
                     f.VeoCarpetaAutomatico}}) {
        QLineEdit* field = AddField(plain, grid, row, name, es, fr, en, value);
        auto* browse = new QPushButton("...");
        browse->setObjectName(QString("CommandoDialogo") + name);
        browse->setMaximumWidth(32);
        connect(browse, &QPushButton::clicked, this, [this, field] { ChooseFolder(field); });
        grid->addWidget(browse, row++, 2);
    }
    AddField(plain, grid, row++, "VeoLongitud", "Longitud del observatorio", "Longitude de l'observatoire",
             "Observatory longitude", f.VeoLongitud);
    AddField(plain, grid, row++, "VeoLatitud", "Latitud del observatorio", "Latitude de l'observatoire",
             "Observatory latitude", f.VeoLatitud);
    AddField(plain, grid, row++, "VeoZonaH", "Zona horaria", "Fuseau horaire", "Time zone", f.VeoZonaH);
    AddField(plain, grid, row++, "VeoHorizonte", "Horizonte útil (0 a 40)", "Horizon utile (0 à 40)",
             "Useful horizon (0 to 40)", f.VeoHorizonte);
    AddField(plain, grid, row++, "VeoTamanioAvisos", "Tamaño de los consejos (1 a 3)",
             "Taille des conseils (1 à 3)", "Size of the advices (1 to 3)", f.VeoTamanioAvisos);

    auto check = [&](const char* name, const char* es, const char* fr, const char* en, bool on) {
        auto* box = new QCheckBox(Q(Pick(c, es, fr, en)));
        box->setObjectName(name);
        box->setChecked(on);
        grid->addWidget(box, row++, 0, 1, 3);
        return box;
    };
    imagenInvertida_ = check("CheckImagenInvertida", "La imagen está invertida", "L'image est inversée",
                             "The image is reversed", f.CheckImagenInvertida);
    sincroniza_ = check("CheckSincronizaTelescopio", "Sincronizar el telescopio automáticamente",
                        "Synchroniser le télescope automatiquement",
                        "Synchronize the telescope automatically", f.CheckSincronizaTelescopio);
    sincronizaEquinoccio_ =
        check("CheckSincronizaEquinoccio", "Sincronizar con coordenadas del equinoccio actual",
              "Synchroniser avec les coordonnées de l'équinoxe actuel",
              "Synchronize the scope using current equinox coordinates", f.CheckSincronizaEquinoccio);
    ponerWCS_ = check("CheckPonerWCSenCabecera", "Escribir el WCS en la cabecera FITS automáticamente",
                      "Ecrire le WCS dans l'entête FITS automatiquement",
                      "Add the WCS to the FITS header automatically", f.CheckPonerWCSenCabecera);
    quitarMsgBox_ = check("CheckQuitarMsgBox", "No mostrar cuadros de mensajes",
                          "Ne pas afficher de messages", "Do not show message boxes", f.CheckQuitarMsgBox);

    auto* bases = new QHBoxLayout;
    bd1_ =
        new QRadioButton(Q(Pick(c, "Base 1 (distancias)", "Base 1 (distances)", "Database 1 (distances)")));
    bd2_ =
        new QRadioButton(Q(Pick(c, "Base 2 (triángulos)", "Base 2 (triangles)", "Database 2 (triangles)")));
    bd3_ = new QRadioButton(Q(Pick(c, "Base 3", "Base 3", "Database 3")));
    bd1_->setObjectName("OptionBD1");
    bd2_->setObjectName("OptionBD2");
    bd3_->setObjectName("OptionBD3");
    (f.OptionBD == 2 ? bd2_ : bd1_)->setChecked(true);
    bases->addWidget(bd1_);
    bases->addWidget(bd2_);
    bases->addWidget(bd3_);
    auto* basesBox = new QGroupBox;
    basesBox->setLayout(bases);
    grid->addWidget(basesBox, row++, 0, 1, 3);
    auto* mounts = new QHBoxLayout;
    ecuatorial_ =
        new QRadioButton(Q(Pick(c, "Montura ecuatorial", "Monture équatoriale", "Equatorial mount")));
    altaz_ = new QRadioButton(Q(Pick(c, "Montura altazimutal", "Monture altazimutale", "Alt-Az mount")));
    altaz_->setObjectName("OptionAltaz");
    (f.OptionAltaz ? altaz_ : ecuatorial_)->setChecked(true);
    mounts->addWidget(ecuatorial_);
    mounts->addWidget(altaz_);
    auto* mountBox = new QGroupBox;
    mountBox->setLayout(mounts);
    grid->addWidget(mountBox, row++, 0, 1, 3);

    advanced_ =
        new QGroupBox(Q(Pick(c, "Parámetros avanzados", "Paramètres avancés", "Advanced parameters")));
    auto* ag = new QGridLayout(advanced_);
    int arow = 0;
    AddField(advanced_, ag, arow++, "VeoMargenDistancia", "Porcentaje de error de distancias",
             "Pourcentage d'erreur des distances", "Distances percent error", a.VeoMargenDistancia);
    AddField(advanced_, ag, arow++, "VeoMargenInclinacion", "Error de inclinación (grados)",
             "Erreur d'inclinaison (degrés)", "Inclination error (degrees)", a.VeoMargenInclinacion);
    AddField(advanced_, ag, arow++, "VeoVentanaAncho", "Anchura de la ventana de búsqueda (grados)",
             "Largeur de la fenêtre de recherche (degrés)", "Width of the searching window (degrees)",
             a.VeoVentanaAncho);
    AddField(advanced_, ag, arow++, "VeoVentanaAlto", "Altura de la ventana de búsqueda (grados)",
             "Hauteur de la fenêtre de recherche (degrés)", "Height of the searching window (degrees)",
             a.VeoVentanaAlto);
    auto scroll = [&](const char* name, const char* es, const char* fr, const char* en, int lo, int hi,
                      int value, QLabel*& shown) {
        auto* bar = new QScrollBar(Qt::Horizontal);
        bar->setObjectName(name);
        bar->setRange(lo, hi);
        bar->setValue(std::clamp(value, lo, hi));
        shown = new QLabel(QString::number(bar->value()));
        connect(bar, &QScrollBar::valueChanged, shown, [shown](int v) { shown->setNum(v); });
        ag->addWidget(new QLabel(Q(Pick(c, es, fr, en))), arow, 0);
        ag->addWidget(bar, arow, 1);
        ag->addWidget(shown, arow++, 2);
        return bar;
    };
    numEstrellas_ = scroll("HScrollNumEstrellas", "Estrellas a seleccionar", "Etoiles à sélectionner",
                           "Stars to be selected", 5, 10, a.HScrollNumEstrellas, numEstrellasLabel_);
    perimetro_ =
        scroll("HScrollPerimetro", "Perímetro máximo de los contornos", "Périmètre maximal des contours",
               "Max contours perimeter", 10, 100, a.HScrollPerimetro, perimetroLabel_);
    auto* aceptarAvanzados =
        new QPushButton(Q(Pick(c, "Aceptar avanzados", "Accepter avancés", "Accept advanced")));
    aceptarAvanzados->setObjectName("CommandoAceptarAvanzados");
    auto* fabrica = new QPushButton(Q(Pick(c, "Valores de fábrica", "Valeurs d'usine", "Factory values")));
    fabrica->setObjectName("CommandoFabrica");
    connect(aceptarAvanzados, &QPushButton::clicked, this, &FormParametros::CommandoAceptarAvanzados_Click);
    connect(fabrica, &QPushButton::clicked, this, &FormParametros::CommandoFabrica_Click);
    ag->addWidget(fabrica, arow, 0);
    ag->addWidget(aceptarAvanzados, arow, 1, 1, 2);
    advanced_->setVisible(false);

    toggle_ = new QPushButton;
    toggle_->setObjectName("CommandoParamAvanzados");
    connect(toggle_, &QPushButton::clicked, this, &FormParametros::CommandoParamAvanzados_Click);
    auto* aceptar = new QPushButton(Q(Pick(c, "Aceptar", "Accepter", "OK")));
    aceptar->setObjectName("CommandoAceptar");
    aceptar->setDefault(true);
    auto* salir = new QPushButton(Q(Pick(c, "Salir", "Quitter", "Exit")));
    salir->setObjectName("CommandoSalir");
    connect(aceptar, &QPushButton::clicked, this, &FormParametros::CommandoAceptar_Click);
    connect(salir, &QPushButton::clicked, this, &QDialog::reject);

    auto* versions = new QLabel(
        Q(Pick(c, "Versión de Tornel: ", "Version de Tornel: ", "Tornel version: ") + TORNEL_VERSION_TEXT +
          "    " + Pick(c, "Versión de tornel.dll: ", "Version de tornel.dll: ", "tornel.dll version: ") +
          c.gVersionDLL));
    versions->setObjectName("LabelVersionExe");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(toggle_);
    buttons->addStretch();
    buttons->addWidget(aceptar);
    buttons->addWidget(salir);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(plain);
    layout->addWidget(advanced_);
    layout->addWidget(versions);
    layout->addLayout(buttons);
    CommandoParamAvanzados_Click();
    CommandoParamAvanzados_Click();
}

QLineEdit* FormParametros::AddField(QWidget*, QGridLayout* grid, int row, const std::string& name,
                                    const char* es, const char* fr, const char* en,
                                    const std::string& value) {
    auto* edit = new QLineEdit(Q(value));
    edit->setObjectName(Q(name));
    edit->setMinimumWidth(220);
    // The program reads numbers with the point: a typed comma becomes one.
    if (name.find("Carpeta") == std::string::npos)
        connect(edit, &QLineEdit::textEdited, edit, [edit](const QString& text) {
            if (!text.contains(',')) return;
            int at = edit->cursorPosition();
            QString fixed = text;
            edit->setText(fixed.replace(',', '.'));
            edit->setCursorPosition(at);
        });
    grid->addWidget(new QLabel(Q(Pick(c_, es, fr, en))), row, 0);
    grid->addWidget(edit, row, 1);
    fields_[name] = edit;
    return edit;
}

QLineEdit* FormParametros::Field(const std::string& name) const {
    auto it = fields_.find(name);
    return it == fields_.end() ? nullptr : it->second;
}

bool FormParametros::AdvancedShown() const {
    return !advanced_->isHidden();
}

CamposParametros FormParametros::Plain() const {
    CamposParametros f;
    f.VeoAnguloPixelX = Text(Field("VeoAnguloPixelX"));
    f.VeoAnguloPixelY = Text(Field("VeoAnguloPixelY"));
    f.VeoLadosSuficientes = Text(Field("VeoLadosSuficientes"));
    f.VeoLadosSincro = Text(Field("VeoLadosSincro"));
    f.VeoLadosWCS = Text(Field("VeoLadosWCS"));
    f.VeoNorteCamara = Text(Field("VeoNorteCamara"));
    f.VeoCarpetaBDdistancias = Text(Field("VeoCarpetaBDdistancias"));
    f.VeoCarpetaBdEstrellas = Text(Field("VeoCarpetaBdEstrellas"));
    f.VeoCarpetaAutomatico = Text(Field("VeoCarpetaAutomatico"));
    f.VeoLongitud = Text(Field("VeoLongitud"));
    f.VeoLatitud = Text(Field("VeoLatitud"));
    f.VeoZonaH = Text(Field("VeoZonaH"));
    f.VeoHorizonte = Text(Field("VeoHorizonte"));
    f.VeoTamanioAvisos = Text(Field("VeoTamanioAvisos"));
    f.CheckImagenInvertida = imagenInvertida_->isChecked();
    f.CheckSincronizaTelescopio = sincroniza_->isChecked();
    f.CheckQuitarMsgBox = quitarMsgBox_->isChecked();
    f.CheckSincronizaEquinoccio = sincronizaEquinoccio_->isChecked();
    f.CheckPonerWCSenCabecera = ponerWCS_->isChecked();
    f.OptionBD = bd2_->isChecked() ? 2 : bd3_->isChecked() ? 3 : 1;
    f.OptionAltaz = altaz_->isChecked();
    return f;
}

CamposAvanzados FormParametros::Advanced() const {
    CamposAvanzados a;
    a.VeoMargenDistancia = Text(Field("VeoMargenDistancia"));
    a.VeoMargenInclinacion = Text(Field("VeoMargenInclinacion"));
    a.VeoVentanaAncho = Text(Field("VeoVentanaAncho"));
    a.VeoVentanaAlto = Text(Field("VeoVentanaAlto"));
    a.HScrollNumEstrellas = numEstrellas_->value();
    a.HScrollPerimetro = perimetro_->value();
    return a;
}

void FormParametros::Focus(const std::string& campo) {
    if (QLineEdit* field = Field(campo)) {
        field->setFocus();
        field->selectAll();
    }
}

void FormParametros::CommandoAceptar_Click() {
    Aceptacion r = AceptaParametros(c_, Plain());
    if (r.ok)
        accept();
    else
        Focus(r.campo);
}

void FormParametros::CommandoAceptarAvanzados_Click() {
    Aceptacion r = AceptaParametrosAvanzados(c_, Advanced());
    if (!r.ok) Focus(r.campo);
}

void FormParametros::CommandoFabrica_Click() {
    Field("VeoMargenDistancia")->setText("2");
    Field("VeoMargenInclinacion")->setText("1");
    Field("VeoVentanaAlto")->setText("5");
    Field("VeoVentanaAncho")->setText("5");
    numEstrellas_->setValue(10);
    perimetro_->setValue(100);
    tornel::CommandoFabrica_Click(c_);
}

void FormParametros::CommandoParamAvanzados_Click() {
    advanced_->setVisible(advanced_->isHidden());
    toggle_->setText(Q(AdvancedShown()
                           ? Pick(c_, "Ocultar los parámetros 'avanzados'", "Cacher les paramètres 'avancés'",
                                  "Hide the 'advanced' parameters")
                           : Pick(c_, "Mostrar los parámetros 'avanzados'",
                                  "Afficher les paramètres 'avancés'", "Show the 'advanced' parameters")));
    adjustSize();
}

void FormParametros::ChooseFolder(QLineEdit* field) {
    QString folder = QFileDialog::getExistingDirectory(this, windowTitle(), field->text());
    if (!folder.isEmpty()) field->setText(folder.endsWith('/') ? folder : folder + '/');
}

}  // namespace tornel
