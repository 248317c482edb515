// tornel-calibration-shots: the README's pictures of the calibration windows. Under an X server
// (xvfb-run) it opens IMAGE in the window, extracts, picks three of the selected stars that the truth
// file of `tornel-db render` names, calibrates with their places typed in the three-star window, and
// saves the window with the marks, the calibration window and the angle search window in OUTDIR.
// Usage: tornel-calibration-shots PROGRAM_FOLDER IMAGE TRUTH OUTDIR
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "astrometria/calibration_entries.h"
#include "interfaz/calibration_dialogs.h"
#include "interfaz/form_principal.h"
#include "interfaz/qt_platform.h"

namespace {

struct TruthStar {
    double x = 0, y = 0, ra = 0, dec = 0;
};

std::vector<TruthStar> ReadTruth(const std::string& path) {
    std::vector<TruthStar> stars;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#' || line[0] == 'x') continue;
        std::istringstream fields(line);
        TruthStar s;
        char comma = 0;
        if (fields >> s.x >> comma >> s.y >> comma >> s.ra >> comma >> s.dec) stars.push_back(s);
    }
    return stars;
}

// The selected stars that a truth star stands on, with its place.
std::vector<TruthStar> Recognised(const tornel::Context& c, const std::vector<TruthStar>& truth) {
    std::vector<TruthStar> found;
    for (int32_t i = 1; i <= c.mNumSeleccionadas; ++i) {
        const auto& e = c.mSeleccionadas[static_cast<size_t>(i)];
        // Only stars well inside the part of the image the window shows, so that the marks show whole.
        if (e.x < 60 || e.x > 820 || e.y < 60 || c.gPixelesY - e.y < 60 || c.gPixelesY - e.y > 680) continue;
        // Only to know the star: the truth's rows may count either way.
        for (const TruthStar& t : truth)
            if (std::hypot(t.x - e.x, t.y - e.y) < 2 ||
                std::hypot(t.x - e.x, c.gPixelesY + 1 - t.y - e.y) < 2) {
                found.push_back({e.x, e.y, t.ra, t.dec});
                break;
            }
    }
    return found;
}

// The three that span the largest triangle.
std::vector<TruthStar> WidestThree(const std::vector<TruthStar>& s) {
    double best = -1;
    std::vector<TruthStar> three;
    for (size_t a = 0; a < s.size(); ++a)
        for (size_t b = a + 1; b < s.size(); ++b)
            for (size_t d = b + 1; d < s.size(); ++d) {
                const double area =
                    std::fabs((s[b].x - s[a].x) * (s[d].y - s[a].y) - (s[d].x - s[a].x) * (s[b].y - s[a].y));
                if (area > best) best = area, three = {s[a], s[b], s[d]};
            }
    return three;
}

void Type(tornel::FormCalibrar& form, int star, double ra, double dec) {
    const double h = ra / 15, d = std::fabs(dec);
    const double hm = (h - std::floor(h)) * 60, dm = (d - std::floor(d)) * 60;
    const QString texts[] = {QString::number(std::floor(h)),
                             QString::number(std::floor(hm)),
                             QString::number((hm - std::floor(hm)) * 60, 'f', 2),
                             (dec < 0 ? "-" : "") + QString::number(std::floor(d)),
                             QString::number(std::floor(dm)),
                             QString::number((dm - std::floor(dm)) * 60, 'f', 1)};
    for (int k = 0; k < 6; ++k)
        form.Field(tornel::CoordinateControl(star, k))->setText(texts[k]);
}

bool Save(QWidget& w, const std::string& path) {
    QTest::qWait(300);
    if (!w.grab().save(QString::fromStdString(path))) return false;
    std::printf("calibration-shots: %s\n", path.c_str());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "Usage: tornel-calibration-shots PROGRAM_FOLDER IMAGE TRUTH OUTDIR\n");
        return 2;
    }
    QApplication app(argc, argv);
    const std::string home = argv[1], image = argv[2], out = argv[4];
    tornel::QtPlatform platform;
    tornel::Context c(platform);
    c.gCarpetaPrograma = home;
    tornel::FormPrincipal window(c, platform);
    window.resize(1280, 860);
    window.show();
    window.Form_Activate();
    window.AbreImagen(image);
    window.Action("mExtraer3")->trigger();
    while (c.timers.TimerExtraer.Enabled || c.gAnalizando)
        QTest::qWait(20);
    const auto three = WidestThree(Recognised(c, ReadTruth(argv[3])));
    if (three.size() != 3) {
        std::fprintf(stderr,
                     "calibration-shots: fewer than three of the %d selected stars are in the truth file\n",
                     c.mNumSeleccionadas);
        return 1;
    }
    const char* entries[] = {"mEstrellaA3", "mEstrellaB3", "mEstrellaC3"};
    for (int i = 0; i < 3; ++i) {
        // A right click on the star's circle, then the popup's entry of its letter.
        window.PictureImagen_MouseDown(
            Qt::RightButton,
            QPointF(three[static_cast<size_t>(i)].x - 1, c.gPixelesY - three[static_cast<size_t>(i)].y));
        window.Menu("m2")->hide();
        window.Action(entries[i])->trigger();
    }
    if (!Save(window, out + "/calibration-stars.png")) return 1;

    tornel::FormCalibrar form(c, true, &window);
    for (int i = 0; i < 3; ++i)
        Type(form, i, three[static_cast<size_t>(i)].ra, three[static_cast<size_t>(i)].dec);
    form.show();
    form.findChild<QPushButton*>("CommandoCalibrar")->click();
    if (!Save(form, out + "/calibration-window.png")) return 1;
    form.close();

    tornel::FormBuscaInclinacion search(c, &window);
    search.findChild<QRadioButton*>("OptionAmplitud_10")->setChecked(true);
    search.show();
    return Save(search, out + "/angle-search-window.png") ? 0 : 1;
}
