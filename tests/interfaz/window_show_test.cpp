// What a solved image shows in the window: the drawing by the Show menu, made again on a zoom or a
// level change, the guidance labels in the visible part of the image, and the results window.
#include <QApplication>
#include <QDir>
#include <QRegularExpression>

#include "herramientas/db/build.h"
#include "herramientas/db/records.h"
#include "interfaz/form_resultados.h"
#include "tests/interfaz/window_test.h"

namespace tornel {

namespace {

// One object in the middle of the generated field, as the database's pgc.bin.
void ObjectInTheField(const SkyField& f) {
    std::string bytes;
    for (const db::ObjectRecord& r : db::ObjectRecords({{0.45f, 10.32f, 4, "Object A"}})) {
        char record[db::ObjectRecord::kSize];
        db::Pack(r, record);
        bytes.append(record, sizeof record);
    }
    std::ofstream(f.database + "/pgc.bin", std::ios::binary) << bytes;
}

bool Inside(const QRect& outer, const QRect& inner) {
    return outer.contains(inner.topLeft()) && outer.contains(inner.bottomRight());
}

}  // namespace

void WindowTest::solutionDrawingFollowsShowZoomAndLevels() {
    testing::TempFolder sky;
    SkyField f = BuildSky(sky);
    QVERIFY(!f.image.empty());
    ObjectInTheField(f);
    Program p([&](Context& c) {
        SkyParameters(c, f);
        c.gTamanioAvisos = 2;
    });
    p.window->resize(900, 700);
    p.window->show();
    p.window->AbreImagen(f.image);
    QTest::mouseClick(p.Button("CommandoAnalizar"), Qt::LeftButton);
    QVERIFY(p.WaitFor([&] { return p.c.gHaySolucion && !p.c.gAnalizando; }));
    QVERIFY(p.c.gSolucionSegura);
    ImageView& view = p.window->View();
    const size_t all = view.OverlaySize(OverlayLayer::Solution),
                 marks = view.OverlaySize(OverlayLayer::Analysis);
    QVERIFY(all > 0);
    QVERIFY(view.OverlayTexts(OverlayLayer::Solution).contains("Object A"));
    QVERIFY(view.OverlayTexts(OverlayLayer::Solution).contains("Target >"));  // half a degree off

    // Each Show entry takes its items away and brings them back; the analysis's marks stay.
    for (const char* entry : {"mVerGSC", "mVerObjetos", "mVerDestino"}) {
        p.window->Action(entry)->trigger();
        QVERIFY2(view.OverlaySize(OverlayLayer::Solution) < all, entry);
        p.window->Action(entry)->trigger();
        QCOMPARE(view.OverlaySize(OverlayLayer::Solution), all);
    }
    p.window->Action("mVerNada")->trigger();
    QVERIFY(!view.OverlayTexts(OverlayLayer::Solution).contains("Object A"));
    QVERIFY(view.OverlayTexts(OverlayLayer::Solution).contains("N"));  // the compass stays
    p.window->Action("mVerTodo")->trigger();
    QCOMPARE(view.OverlaySize(OverlayLayer::Solution), all);

    // A zoom and a level change draw it again, neither doubled nor lost.
    p.window->Action("mImagen2")->trigger();
    QCOMPARE(view.OverlaySize(OverlayLayer::Solution), all);
    p.window->findChild<QScrollBar*>("HScrollBlanco")->setValue(p.c.gBlancoActual + 500);
    QCOMPARE(view.OverlaySize(OverlayLayer::Solution), all);
    QCOMPARE(view.OverlaySize(OverlayLayer::Analysis), marks);
    p.window->Action("mImagen1")->trigger();

    // The guidance: the search centre lies half a degree east and a third of a degree south.
    QLabel* x = p.Label("LabelDestinoX");
    QLabel* y = p.Label("LabelDestinoY");
    QVERIFY(x->isVisible() && y->isVisible());
    QVERIFY2(QRegularExpression("^RA (29\\.[5-9]|30\\.[0-4]) ' $").match(x->text()).hasMatch(),
             qPrintable(x->text()));
    QVERIFY(y->text().startsWith("DE -1"));
    QCOMPARE(x->font().pointSize(), 24);
    // Green under a degree, as painted.
    const QImage painted = x->grab().toImage();
    int green = 0;
    for (int i = 0; i < painted.width(); ++i)
        for (int j = 0; j < painted.height(); ++j) {
            const QColor pixel = painted.pixelColor(i, j);
            green += pixel.green() > 200 && pixel.red() < 80 && pixel.blue() < 80;
        }
    QVERIFY(green > 20);
    // Against the left and bottom edges of the part of the image in view, wherever it is scrolled.
    auto* frame = p.window->findChild<QScrollArea*>("PicturePortillo");
    for (int scrolled : {0, 1}) {
        frame->horizontalScrollBar()->setValue(scrolled ? frame->horizontalScrollBar()->maximum() : 0);
        frame->verticalScrollBar()->setValue(scrolled ? frame->verticalScrollBar()->maximum() : 0);
        QApplication::processEvents();
        const QRect visible = p.window->Guidance().VisiblePart();
        QVERIFY(Inside(visible, x->geometry()));
        QVERIFY(Inside(visible, y->geometry()));
        QVERIFY(x->geometry().left() - visible.left() < 20);
        QVERIFY(visible.bottom() - y->geometry().bottom() < 20);
        QVERIFY(std::abs(y->geometry().center().x() - visible.center().x()) < 3);
    }
    QVERIFY(frame->horizontalScrollBar()->maximum() > 0);

    // "Show guidance advices" takes the labels away and back.
    p.window->Action("mVerGuiado")->trigger();
    QVERIFY(!x->isVisible() && !y->isVisible());
    p.window->Action("mVerGuiado")->trigger();
    QVERIFY(x->isVisible());
    // A new image forgets the drawing of the last.
    p.window->AbreImagen(f.image);
    QCOMPARE(view.OverlaySize(OverlayLayer::Solution), size_t{0});
    QVERIFY(!x->isVisible());
}

void WindowTest::resultsWindowAndResultButton() {
    Program p([](Context& c) { c.gIdioma = 1; });
    p.c.mNumSeleccionadas = 2;
    p.c.mSeleccionadas[1] = {512.9, 300.2, 4100};
    p.c.mDistanciasPantalla[1][2] = 5.27;
    p.c.mResumen = "CENTRO: AR= 00h01m\r\nLados= 20\r\n";

    // The Result button shows the summary in a box.
    QTest::mouseClick(p.Button("CommandoResultados"), Qt::LeftButton);
    QVERIFY(p.platform.Told("CENTRO: AR= 00h01m"));

    FormResultados form(p.c, p.window.get());
    QCOMPARE(form.windowTitle(), QString("Resultados"));
    // The engine's report in its boxes (its lines are checked there).
    QCOMPARE(form.findChild<QLabel*>("selected")->text(), QString("2"));
    QVERIFY(form.findChild<QPlainTextEdit*>("positions")->toPlainText().startsWith("1: x=512     y=300"));
    QCOMPARE(form.findChild<QPlainTextEdit*>("distances")->toPlainText(), QString("1-2=05.3"));
    QCOMPARE(form.findChild<QPlainTextEdit*>("VeoFinales")->toPlainText(),
             QString("CENTRO: AR= 00h01m\nLados= 20"));
    QPushButton* save = form.findChild<QPushButton*>("CommandoGrabarLog");
    QCOMPARE(save->text(), QString("Grabar el fichero debug tornel_fecha_hora.log"));
    QCOMPARE(form.findChild<QPushButton*>("CommandoCancelar")->text(), QString("Cancelar"));
    // The log is the box's text with the summary's line ends.
    save->click();
    const QStringList logs = QDir(QString::fromStdString(p.c.gCarpetaMensajes)).entryList({"tornel_*.log"});
    QCOMPARE(logs.size(), 1);
    std::ifstream in(p.c.gCarpetaMensajes + logs[0].toStdString(), std::ios::binary);
    std::string saved((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    QCOMPARE(QString::fromStdString(saved), QString::fromStdString(p.c.mResumen));

    // The other two languages.
    p.c.gIdioma = 0;
    FormResultados english(p.c, p.window.get());
    QCOMPARE(english.windowTitle(), QString("Search summary"));
    QCOMPARE(english.findChild<QPushButton*>("CommandoGrabarLog")->text(),
             QString("Save tornel_date_hour.log debug file"));
    p.c.gIdioma = 2;
    FormResultados french(p.c, p.window.get());
    QCOMPARE(french.findChild<QPushButton*>("CommandoCancelar")->text(), QString("Annuler"));
}

}  // namespace tornel
