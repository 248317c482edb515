// The window's file dialogs, its command line, the overlay at any zoom, the script check and the
// telescope setups, under Qt's offscreen platform.
#include "tests/interfaz/window_test.h"

namespace tornel {

void WindowTest::telescopeSetupsAndIdentifier() {
    {
        Program p;
        QVERIFY(!p.window->Menu("mTelescopio")->menuAction()->isVisible());
    }
    Program p({}, {}, false);
    std::string setups;
    for (int i = 1; i <= 10; ++i)
        setups += "Name:\nScope " + std::to_string(i) + "\nsec/pixel:\n" + std::to_string(i) +
                  ".5\nangle:\n" + std::to_string(10 * i) + ".25\n";
    p.home.Write("telescop.txt", setups);
    p.window->Form_Activate();
    QVERIFY(p.window->Menu("mTelescopio")->menuAction()->isVisible());
    QCOMPARE(p.Caption("mTele2"), QString("Scope 2 :   2.500 ,     20.25 "));
    p.window->Action("mTele2")->trigger();
    QVERIFY(p.window->Action("mTele2")->isChecked());
    QVERIFY(!p.window->Action("mTele1")->isChecked());
    QCOMPARE(p.c.gAnguloImagen, 20.25);

    // The identifier typed by hand is kept and saved; the box opens with the one in force.
    p.c.gTelescopioAscom = "alpaca://10.0.0.5:11111/0";
    FormSelCOM form(p.c, p.window.get());
    auto* box = form.findChild<QLineEdit*>("TextoDriver");
    QCOMPARE(box->text(), QString("alpaca://10.0.0.5:11111/0"));
    QCOMPARE(form.windowTitle(), QString("Introduce the driver ID of a COM telescope"));
    box->setText("indi://127.0.0.1:7624/Telescope Simulator");
    form.CommandoAceptar_Click();
    QCOMPARE(p.c.gTelescopioAscom, std::string("indi://127.0.0.1:7624/Telescope Simulator"));
    QVERIFY(p.home.Read("param.txt").find("indi://127.0.0.1:7624/Telescope Simulator") != std::string::npos);

    // Choosing the kind of link to synchronise keeps it in the parameters at once.
    p.window->Action("mSincronizaCDC")->trigger();
    QCOMPARE(p.c.gTelescopioSincro, int16_t{2});
    QVERIFY(p.window->Action("mSincronizaCDC")->isChecked());
    QVERIFY(p.home.Read("param.txt").find("telescope to synchronize (integer)\r\n2\r\n") !=
            std::string::npos);
}

void WindowTest::fileDialogFilters() {
    QCOMPARE(QtFilter("FITS images (*.fit;*.fits;*.fts)|*.fit;*.fits;*.fts|BMP images (*.bmp)|*.bmp"),
             QString("FITS images (*.fit *.fits *.fts);;BMP images (*.bmp)"));
    QCOMPARE(QtFilter("Profiles TXT (*.txt)|*.txt"), QString("Profiles TXT (*.txt)"));

    // The image dialog: its title and filter; a cancel changes nothing.
    Program p;
    p.c.gIdioma = 1;
    const std::string before = p.c.gRutaImagen;
    p.window->Action("mImagenRuta")->trigger();
    QCOMPARE(p.platform.dialogs.back().title, std::string("Ruta de la imagen"));
    QVERIFY(p.platform.dialogs.back().filter.find("BMP images (*.bmp)|*.bmp") != std::string::npos);
    QCOMPARE(p.c.gRutaImagen, before);
    QVERIFY(!p.c.gImagenEnPantalla);
    // A choice opens the image in path mode.
    p.window->Action("mEsperaImagenDelMensaje")->trigger();
    p.platform.chosenFiles.push_back(FieldImage(p.home, 300, 200));
    p.window->Action("mImagenRuta")->trigger();
    QCOMPARE(p.c.gOrigenImagen, int16_t{0});
    QVERIFY(p.c.gImagenEnPantalla);
    QVERIFY(p.window->Action("mImagenRuta")->isChecked());
    QVERIFY(p.Button("CommandoAnalizar")->isEnabled());
}

void WindowTest::commandLineImageAndStoredWindow() {
    // `tornel IMAGE`: the window opens on the image, in the image-path mode, at the stored size.
    testing::TempFolder files;
    const std::string image = FieldImage(files, 640, 480);
    Program p(
        [](Context& c) {
            c.gOrigenImagen = 2;
            c.gVentanaIzquierda = 40;
            c.gVentanaArriba = 30;
            c.gVentanaAncho = 900;
            c.gVentanaAlto = 700;
        },
        StartOptions{"", image, false});
    QCOMPARE(p.c.gRutaImagen, image);
    QCOMPARE(p.c.gOrigenImagen, int16_t{0});
    QVERIFY(p.c.gImagenEnPantalla);
    QCOMPARE(p.window->View().width(), 640);
    QVERIFY(p.window->windowTitle().contains(QString::fromStdString(image)));
    QCOMPARE(p.window->size(), QSize(900, 700));

    // A missing image is told, and nothing is shown.
    Program missing({}, StartOptions{"", files.File("none.fit"), false});
    QVERIFY(!missing.c.gImagenEnPantalla);
    QCOMPARE(missing.Label("LabelResultado")->text(), QString("Can't find the image file."));
}

void WindowTest::analyseAndCloseFromTheCommandLine() {
    // `tornel 8 IMAGE RA DEC`: on its first showing the window starts, solves around the position given
    // and closes, saving the parameters.
    testing::TempFolder sky;
    SkyField f = BuildSky(sky);
    Program p([&](Context& c) { SkyParameters(c, f); }, StartOptions{"8 " + f.image + " 0.9 10.0", "", false},
              false);
    p.window->show();
    QVERIFY(p.WaitFor([&] { return p.window->Started() && !p.window->isVisible(); }));
    QVERIFY(p.c.gHaySolucion);
    QVERIFY(std::fabs(p.c.gARJ2000 - f.geometry.ra) < 0.01);
    std::string saved;
    QVERIFY(ReadWholeFile(RutaParametros(p.c), saved));
    QVERIFY(saved.find(f.image) != std::string::npos);
}

void WindowTest::regionIndexRebuiltUnderTheWaitWindow() {
    testing::TempFolder sky;
    SkyField f = BuildSky(sky);
    std::filesystem::remove(f.database + "region.bin");
    bool waitShown = false;
    Program p([&](Context& c) { SkyParameters(c, f); }, {}, false);
    p.platform.onPump = [&] {
        if (auto* wait = p.window->findChild<QDialog*>("FormEspere"); wait && wait->isVisible())
            waitShown = true;
    };
    p.window->Form_Activate();
    QVERIFY(p.c.timers.TimerVarios.Enabled);
    QVERIFY(
        p.WaitFor([&] { return FileExists(f.database + "region.bin") && !p.c.timers.TimerVarios.Enabled; }));
    QVERIFY(p.platform.Told("The region.bin file has not be found."));
    QVERIFY(waitShown);
    QVERIFY(!p.window->findChild<QDialog*>("FormEspere")->isVisible());
    QVERIFY(MenusFree(*p.window));
}

void WindowTest::overlayStaysOnTheImageAtAnyZoom() {
    Program p;
    p.window->AbreImagen(FieldImage(p.home, 400, 300));
    p.window->Action("mImagen2")->trigger();
    // At zoom 2 the engine draws in halved pixels: (50, 60) is image pixel (100, 120).
    p.platform.DrawCircle(50, 60, 6, OverlayColour::Red, 2);
    p.platform.DrawLine(10, 10, 60, 10, OverlayColour::Yellow);
    auto reddish = [](const QImage& shot, int x, int y) {
        for (int dx = -2; dx <= 2; ++dx)
            for (int dy = -2; dy <= 2; ++dy) {
                const QColor c = shot.pixelColor(x + dx, y + dy);
                if (c.red() > 150 && c.green() < 100 && c.blue() < 100) return true;
            }
        return false;
    };
    auto yellowish = [](const QImage& shot, int x, int y) {
        for (int dy = -1; dy <= 1; ++dy) {
            const QColor c = shot.pixelColor(x, y + dy);
            if (c.red() > 100 && c.green() > 100 && c.blue() < 60) return true;
        }
        return false;
    };
    QImage shot = p.window->View().grab().toImage();
    QVERIFY(reddish(shot, 56, 60));
    QVERIFY(yellowish(shot, 35, 10));
    // At zoom 1 the same marks stand on the same stars: positions doubled, the circle's size kept.
    p.window->Action("mImagen1")->trigger();
    shot = p.window->View().grab().toImage();
    QVERIFY(reddish(shot, 106, 120));
    QVERIFY(!reddish(shot, 56, 60));
    QVERIFY(yellowish(shot, 70, 20));
    // A new analysis clears them.
    p.platform.ClearOverlay();
    QCOMPARE(p.window->View().OverlaySize(), size_t{0});
}

// Others / Check a script file: enabled, it asks for the script and leaves the report beside it.
void WindowTest::scriptCheckFromTheMenu() {
    Program p;
    QAction* entry = p.window->Action("mScriptCheck");
    QVERIFY(entry->isEnabled());
    QCOMPARE(p.Caption("mScriptCheck"), QString("Check a script file"));
    const std::string script =
        p.home.Write("run.vbs", "Set s = CreateObject(\"Tornel.ImageSolver\")\ns.Analyse\n");
    p.platform.chosenFiles.push_back(script);
    entry->trigger();
    QCOMPARE(p.platform.dialogs.back().title, std::string("Load the script file to be checked"));
    QVERIFY(p.home.Read("runCHECK.txt").find("NOT A METHOD NOR A PROPERTY") != std::string::npos);
    QVERIFY(
        p.platform.Told("Script file checked. See the errors in the file " + p.home.File("runCHECK.txt")));
}

}  // namespace tornel
