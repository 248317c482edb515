#pragma once
// What the window tests share: a platform that answers for the user, a started program on its own
// folder, fields of a generated sky, and the test class whose functions two files define.
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <cmath>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>

#include "comun/files.h"
#include "core/parametros.h"
#include "imagen/imagen.h"
#include "interfaz/dialogs.h"
#include "interfaz/form_parametros.h"
#include "interfaz/form_principal.h"
#include "interfaz/qt_platform.h"
#include "tests/support/generated_sky.h"
#include "tests/support/temp_folder.h"
#include "tests/support/user_answers.h"

namespace tornel {

// The window's platform with the user's answers given in advance: boxes are recorded, questions and
// file dialogs answered from queues.
class AnsweringPlatform : public QtPlatform, public testing::UserAnswers {
  public:
    void MessageBox(const std::string& text) override { Box(text); }
    bool AskYesNo(const std::string& text, const std::string&, bool safeDefault) override {
        return Ask(text, safeDefault);
    }
    std::optional<std::string> ChooseFile(const FileDialogRequest& request) override {
        return Choose(request);
    }
    void DoEvents() override {
        QtPlatform::DoEvents();
        if (onPump) onPump();
    }
    bool Told(const std::string& text) const {
        for (const auto& m : messages)
            if (m.find(text) != std::string::npos) return true;
        return false;
    }
    std::function<void()> onPump;
};

// A program folder with its parameters, a context and the started window.
struct Program {
    explicit Program(const std::function<void(Context&)>& parameters = {}, StartOptions options = {},
                     bool start = true) {
        home.MakeFolder("messages");
        {
            AnsweringPlatform quiet;
            Context p(quiet);
            p.gCarpetaPrograma = home.Path();
            ParametrosPorDefecto(p);
            p.gCarpetaEstrellas = p.gCarpetaDistancias = home.Path();
            p.gCarpetaMensajes = home.Path() + "messages/";
            p.gUmbralAutomatico = 1;
            if (parameters) parameters(p);
            GrabaParametros(p);
        }
        c.gCarpetaPrograma = home.Path();
        window = std::make_unique<FormPrincipal>(c, platform, options);
        if (start) window->Form_Activate();
    }
    QString Caption(const char* name) const { return window->Action(name)->text(); }
    QPushButton* Button(const char* name) const { return window->findChild<QPushButton*>(name); }
    QLabel* Label(const char* name) const { return window->findChild<QLabel*>(name); }
    // Runs the event loop until `done` or a minute has passed.
    bool WaitFor(const std::function<bool()>& done) {
        QElapsedTimer t;
        t.start();
        while (!done() && t.elapsed() < 60000)
            QTest::qWait(20);
        return done();
    }

    testing::TempFolder home;
    AnsweringPlatform platform;
    Context c{platform};
    std::unique_ptr<FormPrincipal> window;
};

// A field of stars written as a FITS image of the given size.
inline std::string FieldImage(const testing::TempFolder& home, int width, int height) {
    db::FieldGeometry g{56.75, 24.12, 2.0, 0, width, height, false};
    std::vector<db::FieldStar> stars;
    for (int k = 0; k < 12; ++k)
        stars.push_back(
            {40.0 + 37 * k % (width - 80), 30.0 + 53 * k % (height - 60), 0, 0, 9.0f + k * 0.2f, true});
    std::string path = home.File("stars.fit"), error;
    db::SensorOptions sensor;
    if (!db::WriteFieldImage(path, g, stars, sensor, error)) return {};
    return path;
}

// The generated sky's database and a field of it, rendered at 2 arcsec per pixel.
struct SkyField {
    std::string database, image;
    db::FieldGeometry geometry{0.4, 10.3, 2.0, 0, 1024, 900, false};
};

inline SkyField BuildSky(const testing::TempFolder& home) {
    SkyField f;
    f.database = home.MakeFolder("database");
    db::BuildInputs inputs;
    inputs.stars.push_back(testing::GeneratedSky(3));
    db::BuildOptions options;
    options.database1 = true;
    options.database2 = false;
    std::string error;
    QuietPlatform quiet;
    if (!db::BuildDatabase(quiet, inputs, options, f.database, nullptr, error)) return {};
    f.image = home.File("field.fit");
    db::SensorOptions sensor;
    sensor.hotPixels = 20;
    sensor.seed = 5;
    if (!db::WriteFieldImage(f.image, f.geometry, db::ProjectField(inputs.stars[0], f.geometry, {}), sensor,
                             error))
        return {};
    return f;
}

inline void SkyParameters(Context& p, const SkyField& f) {
    p.gCarpetaEstrellas = p.gCarpetaDistancias = f.database;
    p.gSegundosPorPixelX = p.gSegundosPorPixelY = 2.0;
    p.gFocalEnPixeles = FocalDesdeEscala(2.0);
    CalculaValoresDerivados(p);
    p.gBaseDatosPedida = p.gBaseDatos = 1;
    p.gOrigenCoordenadas = 0;
    p.gCentroCombosRA = 0.9;
    p.gCentroCombosDEC = 10.0;
}

// Whether every menu that an analysis locks is enabled.
inline bool MenusFree(const FormPrincipal& w) {
    for (const char* name : {"mModo", "mImagen", "mCentro", "mCampoBusqueda", "mMostrar", "mVarios"})
        if (!w.Menu(name)->menuAction()->isEnabled()) return false;
    return w.findChild<QPushButton*>("CommandoFichero")->isEnabled();
}

inline bool MenusLocked(const FormPrincipal& w) {
    for (const char* name : {"mModo", "mImagen", "mCentro", "mCampoBusqueda", "mMostrar", "mVarios"})
        if (w.Menu(name)->menuAction()->isEnabled()) return false;
    return !w.findChild<QPushButton*>("CommandoFichero")->isEnabled() &&
           !w.findChild<QPushButton*>("CommandoResultados")->isEnabled();
}

class WindowTest : public QObject {
    Q_OBJECT
  private slots:
    void menusInThreeLanguages();
    void everyEntryHasItsCaptions();
    void solveFromTheWindow();
    void stopLabelStopsTheSearch();
    void waitingForImagesInsideTheWindow();
    void waitingModeLocksAnalyze();
    void rectangleAtZoomFourInImagePixels();
    void profileRoundTrip();
    void levelsAndRepaint();
    void parametersWindowUsesEngineChecks();
    void centreAndRingDialogs();
    void fileDialogFilters();
    void commandLineImageAndStoredWindow();
    void analyseAndCloseFromTheCommandLine();
    void regionIndexRebuiltUnderTheWaitWindow();
    void overlayStaysOnTheImageAtAnyZoom();
    void scriptCheckFromTheMenu();
    void telescopeSetupsAndIdentifier();
    void solutionDrawingFollowsShowZoomAndLevels();
    void resultsWindowAndResultButton();
};

}  // namespace tornel
