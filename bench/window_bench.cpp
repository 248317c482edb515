// tornel-window-bench: how the desktop program answers. Under an X server (xvfb-run):
//   start  the time from starting the program to its window shown with the start-up done, five
//          runs of `tornel --quit-when-shown`;
//   pumps  the longest time between two event pumps while the window solves IMAGE, that is the
//          longest the window cannot answer, five solves in this process.
// Usage: tornel-window-bench TORNEL PROGRAM_FOLDER IMAGE (the folder's parameters set the search).
#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "core/analisis.h"
#include "interfaz/form_principal.h"
#include "interfaz/qt_platform.h"

namespace {

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "Usage: tornel-window-bench TORNEL PROGRAM_FOLDER IMAGE\n");
        return 2;
    }
    QApplication app(argc, argv);
    const QString program = argv[1];
    const std::string home = argv[2], image = argv[3];
    constexpr int kRuns = 5;

    std::vector<double> starts;
    for (int run = 0; run < kRuns; ++run) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("TORNEL_HOME", QString::fromStdString(home));
        p.setProcessEnvironment(env);
        QElapsedTimer t;
        t.start();
        p.start(program, {"--quit-when-shown"});
        double shown = -1;
        while (p.waitForReadyRead(10000)) {
            if (p.readAll().contains("shown")) {
                shown = static_cast<double>(t.nsecsElapsed()) / 1e6;
                break;
            }
        }
        p.waitForFinished(10000);
        if (shown < 0) {
            std::fprintf(stderr, "tornel-window-bench: the window did not show\n");
            return 1;
        }
        starts.push_back(shown);
    }
    std::printf("start to shown window: median %.0f ms of %d (min %.0f, max %.0f)\n", Median(starts), kRuns,
                *std::min_element(starts.begin(), starts.end()),
                *std::max_element(starts.begin(), starts.end()));

    std::vector<double> gaps, pumps, solves;
    for (int run = 0; run < kRuns; ++run) {
        tornel::QtPlatform platform;
        tornel::Context c(platform);
        c.gCarpetaPrograma = home;
        tornel::FormPrincipal window(c, platform);
        window.show();
        window.Form_Activate();
        window.AbreImagen(image);
        platform.ResetPumpGaps();
        QElapsedTimer t;
        t.start();
        tornel::CommandoAnalizar_Click(c);
        while (platform.Pumps() == 0 || c.gAnalizando)
            QTest::qWait(5);
        solves.push_back(static_cast<double>(t.nsecsElapsed()) / 1e6);
        gaps.push_back(platform.LongestPumpGap());
        pumps.push_back(static_cast<double>(platform.Pumps()));
        if (!c.gHaySolucion) {
            std::fprintf(stderr, "tornel-window-bench: the image was not solved\n");
            return 1;
        }
        window.close();
    }
    std::printf(
        "longest gap between event pumps while solving: median %.1f ms of %d (max %.1f); %.0f pumps, "
        "solve %.0f ms\n",
        Median(gaps), kRuns, *std::max_element(gaps.begin(), gaps.end()), Median(pumps), Median(solves));
    return 0;
}
