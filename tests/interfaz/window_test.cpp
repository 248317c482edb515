// The desktop program under Qt's offscreen platform: menus and captions, the state rules, the mouse
// on the image, profiles, levels and the parameters window, and whole solves from the window on a
// field of a generated sky (the file dialogs, the command line, the overlay, the script check and the
// telescopes in window_files_test.cpp).
#include "tests/interfaz/window_test.h"

namespace tornel {

void WindowTest::menusInThreeLanguages() {
    Program p;
    struct Expected {
        int32_t idioma;
        const char *file, *path, *analyze, *db, *result, *a, *b, *c;
    };
    const Expected cases[] = {
        {0, "File", " A-  Image path ...", "Analyze", "Show DB", "Result", "English", "Français", "Español"},
        {1, "Archivo", " A-  Ruta de la imagen ...", "Analizar", "Ver BD", "Resultado", "Español", "English",
         "Français"},
        {2, "Fichier", " A-  Chemin de l'image ...", "Analyser", "Voir BD", "Resultat", "Français", "English",
         "Español"},
        {7, "File", " A-  Image path ...", "Analyze", "Show DB", "Result", "English", "Français", "Español"},
    };
    for (const Expected& e : cases) {
        p.c.gIdioma = e.idioma;
        p.window->IdiomaMenus();
        p.window->IdiomaControles();
        QCOMPARE(p.window->Menu("mModo")->title(), QString(e.file));
        QCOMPARE(p.Caption("mImagenRuta"), QString(e.path));
        QCOMPARE(p.Button("CommandoAnalizar")->text(), QString(e.analyze));
        QCOMPARE(p.Button("CommandoVerBD")->text(), QString(e.db));
        QCOMPARE(p.Button("CommandoResultados")->text(), QString(e.result));
        QCOMPARE(p.Caption("mIdiomaA"), QString(e.a));
        QCOMPARE(p.Caption("mIdiomaB"), QString(e.b));
        QCOMPARE(p.Caption("mIdiomaC"), QString(e.c));
    }

    // The language menu applies at once and is saved; the summary keeps the words it was written in.
    p.c.gIdioma = 0;
    p.window->IdiomaMenus();
    p.window->AppendSummary("Image loaded.");
    p.window->Action("mIdiomaC")->trigger();  // English -> Spanish
    QCOMPARE(p.c.gIdioma, 1);
    QCOMPARE(p.window->Menu("mVarios")->title(), QString("Otros"));
    QCOMPARE(p.Button("CommandoAnalizar")->text(), QString("Analizar"));
    QVERIFY(p.window->findChild<QPlainTextEdit*>("Resumen")->toPlainText().contains("Image loaded."));
    std::string saved;
    QVERIFY(ReadWholeFile(RutaParametros(p.c), saved));
    QVERIFY(saved.find("spanish = 1 ; english = 0 ; french = 2\r\n1\r\n") != std::string::npos);
    p.window->Action("mIdiomaC")->trigger();  // Spanish -> French
    QCOMPARE(p.c.gIdioma, 2);
    QCOMPARE(p.window->Menu("mCentro")->title(), QString("Coordonnées"));
    p.window->Action("mIdiomaA")->trigger();  // the language in force: nothing
    QCOMPARE(p.c.gIdioma, 2);
    p.window->Action("mIdiomaB")->trigger();  // French -> English
    QCOMPARE(p.c.gIdioma, 0);
    QCOMPARE(p.window->Menu("mMostrar")->title(), QString("Show"));
    QVERIFY(p.window->HelpText().contains("Version ActiveX Tornel.exe: "));
}

void WindowTest::everyEntryHasItsCaptions() {
    Program p;
    // Every entry of the bar, of its submenus and of the popup carries a caption of its own in each
    // language, never its bare name.
    for (int32_t idioma : {0, 1, 2}) {
        p.c.gIdioma = idioma;
        p.window->IdiomaMenus();
        for (QAction* a : p.window->findChildren<QAction*>()) {
            const QString name = a->objectName();
            if (!name.startsWith('m') || a->isSeparator()) continue;
            QVERIFY2(!a->text().isEmpty() && a->text() != name, qPrintable(name));
        }
    }
    // The check marks mirror the parameters.
    p.c.gOrigenCoordenadas = 5;
    p.c.gTipoVentana = 3;
    p.c.gTelescopioSincro = 2;
    p.c.gFactorReduccion = 2;
    p.window->ActualizaFormularioSegunParametros();
    QVERIFY(p.window->Action("mCoordenadasAscom")->isChecked());
    QVERIFY(!p.window->Action("mCoordenadasEnCabeceraFit")->isChecked());
    QVERIFY(p.window->Action("mVentana5x5masOpuesto")->isChecked());
    QVERIFY(p.window->Action("mSincronizaCDC")->isChecked());
    QVERIFY(p.window->Action("mImagen2")->isChecked());
    QVERIFY(!p.window->Action("mImagen1")->isChecked());
    // The show menu: all, nothing, one.
    p.window->Action("mVerNada")->trigger();
    QVERIFY(!p.c.showStarNumbers && !p.c.showLines && !p.c.showObjects && !p.c.showTarget);
    p.window->Action("mVerLineas")->trigger();
    QVERIFY(p.c.showLines && p.window->Action("mVerLineas")->isChecked() &&
            !p.window->Action("mVerGSC")->isChecked());
    p.window->Action("mVerTodo")->trigger();
    QVERIFY(p.c.showStarNumbers && p.c.showObjects && p.c.showTarget);
    // The triangle database shows its own search menu.
    p.c.gBaseDatos = 2;
    p.window->ActualizaMenusSegunBD();
    QVERIFY(!p.window->Menu("mCampoBusqueda")->menuAction()->isVisible());
    QVERIFY(p.window->Menu("mCampoBusquedaLince")->menuAction()->isVisible());
}

void WindowTest::solveFromTheWindow() {
    testing::TempFolder sky;
    SkyField f = BuildSky(sky);
    QVERIFY(!f.image.empty());
    Program p([&](Context& c) { SkyParameters(c, f); });
    QVERIFY(p.c.gBasesOK);
    p.window->AbreImagen(f.image);
    QVERIFY(p.c.gImagenEnPantalla);
    QVERIFY(MenusFree(*p.window));

    int lockedPumps = 0, freePumps = 0;
    std::vector<int> summaryLines;
    auto* summary = p.window->findChild<QPlainTextEdit*>("Resumen");
    p.platform.onPump = [&] {
        if (!p.c.gAnalizando) return;
        (MenusLocked(*p.window) ? lockedPumps : freePumps)++;
        summaryLines.push_back(summary->blockCount());
    };
    QTest::mouseClick(p.Button("CommandoAnalizar"), Qt::LeftButton);
    // The analysis runs from the event loop, inside the wait.
    QVERIFY(p.WaitFor([&] { return lockedPumps > 0 && !p.c.gAnalizando; }));
    p.platform.onPump = {};

    // Locked for the whole search, free again after it; the summary grew on screen as it ran.
    QVERIFY(lockedPumps > 5);
    QCOMPARE(freePumps, 0);
    QVERIFY(MenusFree(*p.window));
    QVERIFY(summaryLines.size() > 5 && summaryLines.back() > summaryLines.front() + 5);
    QVERIFY(p.c.gHaySolucion);
    QVERIFY(p.Label("LabelResultado")->text().startsWith("Image centre: RA= 00h01m"));
    QVERIFY(std::fabs(p.c.gARJ2000 - f.geometry.ra) < 0.01);
    QVERIFY(std::fabs(p.c.gDEJ2000 - f.geometry.dec) < 0.01);
    QVERIFY(p.window->View().OverlaySize() > 0);
    QVERIFY(p.window->Action("mActualizaCombos")->isEnabled());

    // The solution under the cursor, and its centre copied to the combos.
    p.window->PictureImagen_MouseMove(Qt::NoButton, QPointF(512, 450));
    QVERIFY(p.Label("LabelAR")->text().startsWith("RA= 00h01m"));
    p.window->Action("mActualizaCombos")->trigger();
    QCOMPARE(p.c.gCentroCombosRA, p.c.gARJ2000);
}

void WindowTest::stopLabelStopsTheSearch() {
    testing::TempFolder sky;
    SkyField f = BuildSky(sky);
    // Far from the field: the search goes on window after window until it is stopped.
    Program p([&](Context& c) {
        SkyParameters(c, f);
        c.gCentroCombosRA = 150;
        c.gCentroCombosDEC = -30;
    });
    p.window->AbreImagen(f.image);
    bool clicked = false;
    p.platform.onPump = [&] {
        if (clicked || p.Label("LabelResultado")->text() != "Stop") return;
        clicked = true;
        QTest::mouseClick(p.Label("LabelResultado"), Qt::LeftButton);
    };
    p.window->findChild<QPushButton*>("CommandoAnalizar")->click();
    QVERIFY(p.WaitFor([&] { return clicked && !p.c.gAnalizando; }));
    p.platform.onPump = {};
    QVERIFY(!p.c.gHaySolucion);
    QVERIFY(p.Label("LabelResultado")->text() == "Position not found." ||
            p.Label("LabelResultado")->text() == "Search interrupted by the user.");
    QVERIFY(p.c.mResumen.find("Elapsed time: ") != std::string::npos);
    QVERIFY(!p.c.gDetenerAnalisis);
    QVERIFY(MenusFree(*p.window));
}

void WindowTest::waitingForImagesInsideTheWindow() {
    testing::TempFolder sky;
    SkyField f = BuildSky(sky);
    Program p([&](Context& c) { SkyParameters(c, f); });
    p.window->Action("mEsperaImagenMasReciente")->trigger();
    QCOMPARE(p.c.gOrigenImagen, int16_t{6});
    QVERIFY(p.c.timers.TimerBuzon.Enabled);
    // An image written into the mailbox folder is analysed by the window's own timer.
    QTest::qWait(1100);
    std::filesystem::copy_file(f.image, p.home.File("messages/new.fit"));
    QVERIFY(p.WaitFor([&] { return p.c.gHaySolucion && !p.c.gAnalizando; }));
    std::string status;
    QVERIFY(p.WaitFor([&] {
        return ReadWholeFile(p.home.File("messages/tornel.sta"), status) &&
               status.find("solution found") != std::string::npos;
    }));
    // Still waiting, with Analyze locked, until the label is clicked.
    QVERIFY(p.c.timers.TimerBuzon.Enabled);
    QVERIFY(!p.Button("CommandoAnalizar")->isEnabled());
    QVERIFY(p.WaitFor([&] { return p.Label("LabelResultado")->text().startsWith("Waiting for an image"); }));
    QTest::mouseClick(p.Label("LabelResultado"), Qt::LeftButton);
    QCOMPARE(p.c.gOrigenImagen, int16_t{0});
    QVERIFY(p.Button("CommandoAnalizar")->isEnabled());
}

void WindowTest::waitingModeLocksAnalyze() {
    Program p;
    QVERIFY(p.Button("CommandoAnalizar")->isEnabled());
    p.window->Action("mEsperaImagenDelMensaje")->trigger();
    QVERIFY(p.window->Action("mEsperaImagenDelMensaje")->isChecked());
    QVERIFY(!p.window->Action("mImagenRuta")->isChecked());
    QVERIFY(!p.Button("CommandoAnalizar")->isEnabled());
    for (const char* name : {"mEnZona30x30", "mEnZonaEsferica", "mEnZonaTodoElCielo"})
        QVERIFY(!p.window->Action(name)->isEnabled());
    QVERIFY(!p.window->Menu("mCampoBusqueda")->menuAction()->isEnabled());
    QVERIFY(p.c.timers.TimerBuzon.Enabled);
    // The space bar starts nothing while the mailbox is watched.
    QTest::keyClick(p.window.get(), Qt::Key_Space);
    QVERIFY(!p.c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled);
    // Mode 6 likewise; back to the image path, everything comes back.
    p.window->Action("mEsperaImagenMasReciente")->trigger();
    QCOMPARE(p.c.gOrigenImagen, int16_t{6});
    QVERIFY(!p.Button("CommandoAnalizar")->isEnabled());
    p.window->Action("mImagenMasReciente")->trigger();
    QCOMPARE(p.c.gOrigenImagen, int16_t{2});
    QVERIFY(!p.c.timers.TimerBuzon.Enabled);
    QVERIFY(p.Button("CommandoAnalizar")->isEnabled());
    QVERIFY(p.window->Menu("mCampoBusqueda")->menuAction()->isEnabled());
    QVERIFY(p.window->Action("mImagenMasReciente")->isChecked());
    QTest::keyClick(p.window.get(), Qt::Key_Space);
    QVERIFY(p.c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled);
}

void WindowTest::rectangleAtZoomFourInImagePixels() {
    Program p;
    const std::string image = FieldImage(p.home, 1200, 1000);
    QVERIFY(!image.empty());
    p.window->AbreImagen(image);
    QVERIFY(p.c.gImagenEnPantalla);
    p.window->Action("mImagen4")->trigger();
    QCOMPARE(p.c.gFactorReduccion, 4);
    ImageView& view = p.window->View();
    QCOMPARE(view.width(), 300);
    QVERIFY(!p.window->Action("mDentroDelRectangulo")->isEnabled());

    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(60, 80));
    QTest::mouseMove(&view, QPoint(10, 20));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(10, 20));
    // Four times the screen values; rows counted up from the bottom of the picture.
    QCOMPARE(p.c.mRectanguloX1, 40);
    QCOMPARE(p.c.mRectanguloX2, 240);
    QCOMPARE(p.c.mRectanguloY1, 1000 - 320);
    QCOMPARE(p.c.mRectanguloY2, 1000 - 80);
    QVERIFY(view.HasRectangle());
    QCOMPARE(view.Rectangle(), QRectF(40, 80, 200, 240));
    QVERIFY(p.window->Action("mDentroDelRectangulo")->isEnabled());
    QVERIFY(p.window->Action("mAnalizarFuera")->isEnabled());
    p.window->Action("mDentroDelRectangulo")->trigger();
    QCOMPARE(p.c.gAreaImagen, 1);
    QVERIFY(p.window->Action("mAnalizarDentro")->isChecked());
    // The engine draws the analysis rectangle from the stored corners where the user drew it.
    view.BorraRectangulo();
    DeterminaRectanguloDeAnalisis(p.c);
    QCOMPARE(p.c.gAreaImagen, 1);
    QCOMPARE(view.Rectangle(), QRectF(40, 80, 200, 240));

    // The same rectangle at zoom 1 stays where it was on the image.
    p.window->Action("mImagen1")->trigger();
    QCOMPARE(view.width(), 1200);
    QCOMPARE(view.Rectangle(), QRectF(40, 80, 200, 240));

    // A click without a drag: an empty rectangle, the whole image again.
    QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(500, 500));
    QCOMPARE(p.c.gAreaImagen, 0);
    QVERIFY(!view.HasRectangle());
    QVERIFY(p.window->Action("mTodaLaImagen")->isChecked());
    QVERIFY(!p.window->Action("mDentroDelRectangulo")->isEnabled());

    // The cursor's coordinates are image pixels at any zoom.
    p.window->Action("mImagen2")->trigger();
    QMouseEvent hover(QEvent::MouseMove, QPointF(100, 50), view.mapToGlobal(QPointF(100, 50)), Qt::NoButton,
                      Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&view, &hover);
    QCOMPARE(p.Label("LabelX")->text(), QString("X= 200"));
    QCOMPARE(p.Label("LabelY")->text(), QString("Y= 900"));
}

void WindowTest::profileRoundTrip() {
    Program p;
    p.c.gLadosParaParar = 33;
    p.c.gIdioma = 2;
    p.c.gOrigenCoordenadas = 0;
    const std::string profile = p.home.File("night.txt");
    p.platform.chosenFiles.push_back(profile);
    p.window->Action("mPerfilSalvar")->trigger();
    QVERIFY(FileExists(profile));
    QCOMPARE(p.platform.dialogs.back().kind, FileDialogKind::Save);
    QCOMPARE(p.platform.dialogs.back().title, std::string("Sauver le profil de paramètres"));

    p.c.gLadosParaParar = 25;
    p.c.gIdioma = 0;
    p.c.gOrigenCoordenadas = 1;
    p.window->IdiomaMenus();
    p.platform.chosenFiles.push_back(profile);
    p.window->Action("mPerfilCargar")->trigger();
    QCOMPARE(p.c.gLadosParaParar, 33);
    QCOMPARE(p.c.gIdioma, 2);
    // Applied at once: the French menus and the coordinate origin's mark.
    QCOMPARE(p.window->Menu("mModo")->title(), QString("Fichier"));
    QVERIFY(p.window->Action("mCoordenadasSeleccionadas")->isChecked());
    QVERIFY(p.window->windowTitle().endsWith("night.txt"));

    // A file that is not a profile is refused and changes nothing; a cancelled dialog neither.
    const std::string notes = p.home.File("notes.txt");
    std::ofstream(notes) << "clear night\r\n";
    p.platform.chosenFiles.push_back(notes);
    p.c.gLadosParaParar = 40;
    p.window->Action("mPerfilCargar")->trigger();
    QVERIFY(p.platform.Told(notes + " n'est pas un fichier de paramètres."));
    QCOMPARE(p.c.gLadosParaParar, 40);
    const size_t told = p.platform.messages.size();
    p.window->Action("mPerfilCargar")->trigger();
    QCOMPARE(p.c.gLadosParaParar, 40);
    QCOMPARE(p.platform.messages.size(), told);
}

void WindowTest::levelsAndRepaint() {
    Program p;
    p.window->AbreImagen(FieldImage(p.home, 400, 300));
    QVERIFY(p.c.gImagenEnPantalla);
    auto* white = p.window->findChild<QScrollBar*>("HScrollBlanco");
    auto* black = p.window->findChild<QScrollBar*>("HScrollNegro");
    const int32_t before = p.c.gBlancoActual;

    // A change that comes while a repaint is under way is dropped, not queued: the bar goes back.
    p.c.mRepintando = true;
    white->setValue(5000);
    QCOMPARE(p.c.gBlancoActual, before);
    QCOMPARE(white->value(), before);
    p.c.mRepintando = false;
    QCOMPARE(p.c.gBlancoActual, before);
    white->setValue(5000);
    QCOMPARE(p.c.gBlancoActual, 5000);
    QCOMPARE(p.c.gBlancoFit, 5000);
    QCOMPARE(p.Label("LabelBlanco")->text(), QString("5000"));

    // White dragged onto black shows black + 1.
    black->setValue(800);
    white->setValue(800);
    QCOMPARE(p.Label("LabelBlanco")->text(), QString("801"));
    QCOMPARE(p.c.gBlancoFit, 801);

    // Equal levels paint as 10 and 100.
    QCOMPARE(VisualizaImagenFit(p.c, 50, 50), VisualizaImagenFit(p.c, 10, 100));
    QVERIFY(VisualizaImagenFit(p.c, 10, 100) != VisualizaImagenFit(p.c, 10, 2000));

    // Automatic levels around the background.
    p.window->findChild<QPushButton*>("CommandoVisuAuto")->click();
    QCOMPARE(p.c.gNegroActual, std::max(0, p.c.mBrilloFondo - 100));
    QCOMPARE(p.c.gBlancoActual, p.c.mBrilloFondo + 2400);

    // The first row of the image is the bottom of the picture.
    const QImage picture = VisualizaImagenFit(p.c, 0, 255);
    QCOMPARE(picture.height(), 300);
    const int16_t bottomLeft = p.c.mImagenFit[0];
    QCOMPARE(qGray(picture.pixel(0, 299)), std::clamp<int>(bottomLeft, 0, 255));
}

void WindowTest::parametersWindowUsesEngineChecks() {
    Program p;
    FormParametros form(p.c, p.window.get());
    QLineEdit* sides = form.Field("VeoLadosSuficientes");
    QVERIFY(sides != nullptr);
    sides->setText("50");
    form.findChild<QPushButton*>("CommandoAceptar")->click();
    QVERIFY(p.platform.Told("Sides number must be between 15 and 45."));
    QVERIFY(form.result() != QDialog::Accepted);
    QCOMPARE(form.focusWidget(), static_cast<QWidget*>(sides));
    QCOMPARE(p.c.gLadosParaParar, 20);

    // A typed comma is the program's point.
    QLineEdit* scale = form.Field("VeoAnguloPixelX");
    scale->clear();
    QTest::keyClicks(scale, "1,75");
    QCOMPARE(scale->text(), QString("1.75"));
    form.Field("VeoAnguloPixelY")->setText("0");
    sides->setText("30");
    form.findChild<QPushButton*>("CommandoAceptar")->click();
    QCOMPARE(form.result(), int(QDialog::Accepted));
    QCOMPARE(p.c.gLadosParaParar, 30);
    QCOMPARE(p.c.gSegundosPorPixelY, 1.75);
    std::string saved;
    QVERIFY(ReadWholeFile(RutaParametros(p.c), saved));
    QVERIFY(saved.find("stop the search\r\n30\r\n") != std::string::npos);

    // The advanced page, with the engine's limit on the distances error.
    FormParametros advanced(p.c, p.window.get());
    QVERIFY(!advanced.AdvancedShown());
    advanced.findChild<QPushButton*>("CommandoParamAvanzados")->click();
    QVERIFY(advanced.AdvancedShown());
    advanced.Field("VeoMargenDistancia")->setText("9");
    advanced.findChild<QPushButton*>("CommandoAceptarAvanzados")->click();
    QCOMPARE(p.c.gPorcentajeError, int16_t{5});
    advanced.Field("VeoVentanaAlto")->setText("high");
    advanced.findChild<QPushButton*>("CommandoAceptarAvanzados")->click();
    QVERIFY(p.platform.Told("The height of the Searching window is not valid."));
    advanced.findChild<QPushButton*>("CommandoFabrica")->click();
    QCOMPARE(p.c.gPorcentajeError, int16_t{2});
    QCOMPARE(advanced.Field("VeoVentanaAlto")->text(), QString("5"));
}

void WindowTest::centreAndRingDialogs() {
    Program p;
    QVERIFY(!AceptaCombos(p.c, {"24", "0", "0", "+", "10", "0"}));
    QVERIFY(p.platform.Told("Invalid right ascention."));
    QVERIFY(!AceptaCombos(p.c, {"1", "0", "0", "+", "90", "30"}));
    QVERIFY(p.platform.Told("Invalid declination."));
    QCOMPARE(p.c.gCentroCombosRA, 0.0);
    QVERIFY(AceptaCombos(p.c, {"3", "47", "0", "+", "24", "7"}));
    QCOMPARE(p.c.gCentroCombosRA, 56.75);
    QVERIFY(std::fabs(p.c.gCentroCombosDEC - (24 + 7 / 60.0)) < 1e-12);
    const CentroCombos back = CombosDe(p.c.gCentroCombosRA, -p.c.gCentroCombosDEC);
    QCOMPARE(back.horas + back.minutosAR + back.signo + back.grados + back.minutosDE, std::string("347-247"));

    // A ring of one degree is refused; a taller one asks first and starts only on yes.
    QVERIFY(!AceptaZona(p.c, 10, 11));
    QVERIFY(p.platform.Told("The height of spherical ring must be > one degree."));
    p.platform.answers.push_back(false);
    QVERIFY(!AceptaZona(p.c, 10, 20));
    QVERIFY(!p.c.timers.TimerAnalizaAmbitoZonaEsferica.Enabled);
    p.platform.answers.push_back(true);
    QVERIFY(AceptaZona(p.c, 10, 20));
    QCOMPARE(p.c.gAnilloDesde, int16_t{10});
    QCOMPARE(p.c.gAnilloHasta, int16_t{20});
    QVERIFY(p.c.timers.TimerAnalizaAmbitoZonaEsferica.Enabled);
    QCOMPARE(p.platform.questions.back(),
             std::string("This search in a spherical ring can last several seconds. OK to begin ?"));
}

}  // namespace tornel

QTEST_MAIN(tornel::WindowTest)
