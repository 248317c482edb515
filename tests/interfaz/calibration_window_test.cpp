// The calibration windows on Qt's offscreen platform: their refusals, a three-star calibration from
// stars picked with the mouse that saves scale and angle into the parameters, the search for the
// image angle, and the recentering entries.
#include <QRadioButton>

#include "core/timers.h"
#include "herramientas/db/projection.h"
#include "interfaz/calibration_dialogs.h"
#include "tests/interfaz/window_test.h"

namespace tornel {

class CalibrationWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void starCalibrationRefusals();
    void threeStarsPickedWithTheMouseSaveScaleAndAngle();
    void angleSearchWindow();
    void recenteringEntries();
};

namespace {

// Three bright stars far apart and a few faint ones, at 2 arc seconds per pixel, turned 20 degrees.
const db::FieldGeometry kField{56.75, 24.12, 2.0, 20, 600, 500, false};
const double kBright[3][2] = {{100, 80}, {500, 120}, {320, 420}};

std::string CalibrationImage(const testing::TempFolder& home) {
    std::vector<db::FieldStar> stars;
    for (const auto& xy : kBright)
        stars.push_back({xy[0], xy[1], 0, 0, 8.0f, true});
    for (int k = 0; k < 6; ++k)
        stars.push_back({60.0 + 83 * k, 250.0 + 31 * (k % 3), 0, 0, 10.5f, true});
    std::string path = home.File("calibration.fit"), error;
    db::SensorOptions sensor;
    if (!db::WriteFieldImage(path, kField, stars, sensor, error)) return {};
    return path;
}

// Hours, minutes, seconds; degrees, minutes, seconds.
std::array<std::string, 6> Typed(double ra, double dec) {
    const double h = ra / 15, d = std::fabs(dec);
    const double hm = (h - std::floor(h)) * 60, dm = (d - std::floor(d)) * 60;
    return {std::to_string(static_cast<int>(h)),
            std::to_string(static_cast<int>(hm)),
            std::to_string((hm - std::floor(hm)) * 60),
            (dec < 0 ? "-" : "") + std::to_string(static_cast<int>(d)),
            std::to_string(static_cast<int>(dm)),
            std::to_string((dm - std::floor(dm)) * 60)};
}

void Type(FormCalibrar& form, int star, double ra, double dec) {
    const auto typed = Typed(ra, dec);
    for (int k = 0; k < 6; ++k)
        form.Field(CoordinateControl(star, k))
            ->setText(QString::fromStdString(typed[static_cast<size_t>(k)]));
}

void Click(QWidget* w) {
    qobject_cast<QAbstractButton*>(w)->click();
}

}  // namespace

void CalibrationWindowTest::starCalibrationRefusals() {
    Program p;
    p.c.gPixelesX = 600, p.c.gPixelesY = 500;
    const int32_t focal = p.c.gFocalEnPixeles;
    FormCalibrar form(p.c, false, p.window.get());
    auto* guardar = form.findChild<QPushButton*>("CommandoGuardar");
    QVERIFY(!guardar->isEnabled());
    QVERIFY(form.Field("VeoEstrellaC") == nullptr);  // two stars only
    // No star picked yet.
    Click(form.findChild<QPushButton*>("CommandoCalibrar"));
    QVERIFY(p.platform.Told("Star A is not marked on the image: pick it with the right mouse button."));
    p.c.mCalibracionX1 = 100, p.c.mCalibracionY1 = 80;
    p.c.mCalibracionX2 = 500, p.c.mCalibracionY2 = 120;
    // A bad field: its box gets the focus back and nothing is computed.
    Type(form, 0, 56.0, 24.0);
    Type(form, 1, 56.2, 24.1);
    form.Field("VeoEstrellaBm")->setText("61");
    Click(form.findChild<QPushButton*>("CommandoCalibrar"));
    QVERIFY(p.platform.Told("Invalid value"));
    QCOMPARE(form.focusWidget(), static_cast<QWidget*>(form.Field("VeoEstrellaBm")));
    QVERIFY(!guardar->isEnabled());
    // Rectangular pixels with a size beyond reason.
    Click(form.findChild<QRadioButton*>("OptionRectangular"));
    QVERIFY(form.Field("VeoAnchoPixel")->isEnabled());
    form.Field("VeoAnchoPixel")->setText("9");
    form.Field("VeoAltoPixel")->setText("0");
    Click(form.findChild<QPushButton*>("CommandoCalibrar"));
    QVERIFY(p.platform.Told("Not reasonable values"));
    // Star numbers of a catalogue the database does not hold.
    form.findChild<QRadioButton*>("OptionCuadrado")->setChecked(true);
    form.findChild<QRadioButton*>("OptionGSC")->setChecked(true);
    QVERIFY(form.Field("VeoEstrellaA")->isEnabled());
    QVERIFY(!form.Field("VeoEstrellaAh")->isEnabled());
    form.Field("VeoEstrellaA")->setText("HR 1025");
    Click(form.findChild<QPushButton*>("CommandoCalibrar"));
    QVERIFY(p.platform.Told("The database holds no HR catalogue"));
    QCOMPARE(form.focusWidget(), static_cast<QWidget*>(form.Field("VeoEstrellaA")));
    QVERIFY(!guardar->isEnabled());
    QCOMPARE(p.c.gFocalEnPixeles, focal);

    // The numbers alone: Enter passes on, and on the last box is OK, which checks them.
    FormIDsEstrellas ids(p.c, 3, p.window.get());
    QCOMPARE(ids.windowTitle(), QString("Tornel.  *** Calibration ***"));
    ids.Box(0)->setText("158254");
    ids.Box(1)->setText("158 254");
    ids.Box(2)->setText("160 3");
    QTest::keyClick(ids.Box(2), Qt::Key_Return);
    QVERIFY(p.platform.Told(
        "The region number and the star number must be separated by a space. No calibration done."));
    QCOMPARE(ids.focusWidget(), static_cast<QWidget*>(ids.Box(0)));
    QVERIFY(ids.result() != QDialog::Accepted);
}

void CalibrationWindowTest::threeStarsPickedWithTheMouseSaveScaleAndAngle() {
    Program p([](Context& c) {
        c.gSegundosPorPixelX = c.gSegundosPorPixelY = 5;
        c.gAnguloImagen = 100;
        c.gImagenInvertida = 1;
    });
    p.window->AbreImagen(CalibrationImage(p.home));
    QVERIFY(p.c.gImagenEnPantalla);
    QAction* extract = p.window->Action("mExtraer3");
    QVERIFY(extract->isEnabled());
    QVERIFY(p.window->Action("mCalibrar3estrellas")->isEnabled());
    extract->trigger();
    QVERIFY(p.WaitFor([&] { return !p.c.gAnalizando && p.c.mNumSeleccionadas >= 3; }));
    QVERIFY(p.WaitFor([&] { return !p.c.timers.TimerExtraer.Enabled && !p.c.gAnalizando; }));

    // A right click beside each bright star, then the popup's entry of its letter. The view counts y
    // down from the top; the image's rows count up.
    const char* entries[] = {"mEstrellaA3", "mEstrellaB3", "mEstrellaC3"};
    auto pick = [&](int star, double x, double y) {
        p.window->PictureImagen_MouseDown(Qt::RightButton, QPointF(x - 1 + 2, y - 1 - 2));
        p.window->Menu("m2")->hide();
        p.window->Action(entries[star])->trigger();
    };
    // Far from every star: told, nothing kept.
    pick(0, 250, 200);
    QVERIFY(p.platform.Told("There is no selected star near the click."));
    QCOMPARE(p.c.mCalibracionX1, 0.0);
    for (int i = 0; i < 3; ++i)
        pick(i, kBright[i][0], kBright[i][1]);
    // Taken as reversed, the image is loaded with its rows the other way up.
    QVERIFY(std::fabs(p.c.mCalibracionX2 - kBright[1][0]) < 1.5);
    QVERIFY(std::fabs(p.c.mCalibracionY3 - (kField.height + 1 - kBright[2][1])) < 1.5);
    QCOMPARE(p.window->View().MarkCount(), size_t{9});
    pick(1, kBright[1][0], kBright[1][1]);  // picked again: the mark moves, none is added
    QCOMPARE(p.window->View().MarkCount(), size_t{9});
    // While stars are being picked, the fine adjustment of the angle follows whether a solution stands.
    p.window->PictureImagen_MouseDown(Qt::RightButton, QPointF(10, 10));
    p.window->Menu("m2")->hide();
    QVERIFY(!p.window->Action("mInclinacion")->isEnabled());
    p.c.gHaySolucion = true;
    p.window->PictureImagen_MouseDown(Qt::RightButton, QPointF(10, 10));
    p.window->Menu("m2")->hide();
    QVERIFY(p.window->Action("mInclinacion")->isEnabled());
    QVERIFY(p.window->Action("mCalibrarInclinacion")->isEnabled());
    p.c.gHaySolucion = false;

    FormCalibrar form(p.c, true, p.window.get());
    for (int i = 0; i < 3; ++i) {
        double ra = 0, dec = 0;
        db::PixelToSky(kField, kBright[i][0], kBright[i][1], ra, dec);
        Type(form, i, ra, dec);
    }
    Click(form.findChild<QPushButton*>("CommandoCalibrar"));
    QVERIFY(form.findChild<QPushButton*>("CommandoGuardar")->isEnabled());
    QVERIFY(std::fabs(form.Field("VeoAnguloPixelX")->text().toDouble() - 2.0) < 0.02);
    QVERIFY(std::fabs(std::remainder(form.Field("VeoIncliCamara")->text().toDouble() - 20, 360.0)) < 0.3);
    QCOMPARE(form.Field("VeoInvertida")->text(), QString("no"));
    QCOMPARE(p.c.gSegundosPorPixelX, 5.0);  // nothing kept before Save
    Click(form.findChild<QPushButton*>("CommandoGuardar"));

    // The parameter file keeps what the window found.
    AnsweringPlatform quiet;
    Context saved(quiet);
    saved.gCarpetaPrograma = p.home.Path();
    CargaParametros(saved, RutaParametros(saved));
    QVERIFY(std::fabs(saved.gSegundosPorPixelX - 2.0) < 0.02);
    QVERIFY(std::fabs(saved.gSegundosPorPixelY - saved.gSegundosPorPixelX) < 1e-9);
    QVERIFY(std::fabs(std::remainder(saved.gAnguloImagen - 20, 360.0)) < 0.3);
    QCOMPARE(saved.gImagenInvertida, int16_t{0});
    QVERIFY(std::fabs(p.c.gGradosPorPixel - p.c.gSegundosPorPixelX / 3600) < 1e-12);
}

void CalibrationWindowTest::angleSearchWindow() {
    Program p;
    // An invalid pixel size keeps the window closed.
    p.c.gSegundosPorPixelX = 0;
    QVERIFY(!AngleSearchMayOpen(p.c));
    QVERIFY(p.platform.Told("Invalid pixel size."));
    p.c.gSegundosPorPixelX = p.c.gSegundosPorPixelY = 2;
    p.c.gAnguloImagen = 42;
    FormBuscaInclinacion form(p.c, p.window.get());
    QCOMPARE(form.findChild<QLineEdit*>("VeoAnguloSupuesto")->text(), QString("42.00"));
    auto* accept = form.findChild<QPushButton*>("CommandoAceptar");
    Click(accept);
    QVERIFY(p.platform.Told("You must choose an error amplitude for the image angle search."));
    QVERIFY(!p.c.timers.TimerAnalizaAmbito30x30gConRotacion.Enabled);
    form.findChild<QRadioButton*>("OptionAmplitud_10")->setChecked(true);
    p.platform.answers.push_back(false);
    Click(accept);
    QVERIFY(!p.c.timers.TimerAnalizaAmbito30x30gConRotacion.Enabled);
    QVERIFY(form.result() != QDialog::Accepted);
    p.platform.answers.push_back(true);
    Click(accept);
    QCOMPARE(
        p.platform.questions.back(),
        std::string("This search can last several minutes. Press 'Stop' label to cancel.\nOK to begin ?"));
    QCOMPARE(form.result(), int(QDialog::Accepted));
    QCOMPARE(p.c.gAmplitudAngulo, 10);
    QVERIFY(p.c.timers.TimerAnalizaAmbito30x30gConRotacion.Enabled);
    // Without an image the search ends at once and tells so; the zone chosen before stays.
    p.c.gZonaCielo = 4;
    TimerAnalizaAmbito30x30gConRotacion_Timer(p.c);
    QVERIFY(p.platform.Told("No solution found."));
    QCOMPARE(p.c.gZonaCielo, 4);
}

void CalibrationWindowTest::recenteringEntries() {
    Program p;
    QAction* solo = p.window->Action("mRecentradoSolo");
    QVERIFY(solo->isCheckable());
    QVERIFY(solo->isEnabled());
    QVERIFY(!solo->isChecked());
    solo->trigger();
    QVERIFY(p.c.mSoloRecentrado);
    QVERIFY(solo->isChecked());
    // Kept through a change of language and the menus set again from the parameters.
    p.window->Action("mIdiomaB")->trigger();
    p.window->ActualizaFormularioSegunParametros();
    QVERIFY(solo->isChecked());
    solo->trigger();
    QVERIFY(!p.c.mSoloRecentrado);
    QVERIFY(!solo->isChecked());
    // A reference needs three selected stars.
    p.window->Action("mRecentradoRef")->trigger();
    QCOMPARE(p.c.mNumReferencia, 0);
}

}  // namespace tornel

QTEST_MAIN(tornel::CalibrationWindowTest)
#include "calibration_window_test.moc"
