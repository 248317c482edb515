// Solves an image through Tornel's automation object with the Qt proxy that qdbusxml2cpp generates
// from the interface file (qt_add_dbus_interface). The first call starts tornel-cli when no Tornel
// runs.
// Usage: tornel-solve-example IMAGE ARCSEC_PER_PIXEL RA_HOURS DEC_DEGREES
#include <QCoreApplication>
#include <QDir>
#include <cstdio>

#include "imagesolver1_interface.h"

namespace {

// A property written through the proxy leaves a refusal in lastError().
bool Refused(const OrgTornelImageSolver1Interface& solver) {
    if (!solver.lastError().isValid()) return false;
    std::fprintf(stderr, "%s\n", qPrintable(solver.lastError().message()));
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const bool given = args.size() > 4;
    const QString image = given ? args[1] : QDir::current().absoluteFilePath("build/sample/pleiades.fit");
    const double scale = given ? args[2].toDouble() : 1.5401;
    const double ra = given ? args[3].toDouble() : 3.8333;
    const double dec = given ? args[4].toDouble() : 23.5;

    OrgTornelImageSolver1Interface solver("org.tornel.ImageSolver", "/org/tornel/ImageSolver",
                                          QDBusConnection::sessionBus());
    solver.setImagePath(image);
    if (Refused(solver)) return 2;
    solver.setArcSecPerPixel(scale);
    solver.setEstimatedRA(ra);
    solver.setEstimatedDEC(dec);
    if (Refused(solver)) return 2;
    // Analyze answers when the analysis has ended: wait up to 10 minutes, not the usual 25 s.
    solver.setTimeout(10 * 60 * 1000);
    QDBusPendingReply<> analysis = solver.Analyze();
    analysis.waitForFinished();
    if (analysis.isError()) {
        std::fprintf(stderr, "%s\n", qPrintable(analysis.error().message()));
        return 2;
    }
    if (!solver.solved()) {
        std::printf("Not solved: %s\n", qPrintable(solver.failureCause()));
        return 1;
    }
    std::printf("Solved: RA %.5f h, DEC %.4f degrees, %d sides\n", solver.rightAscension(), solver.declination(),
                solver.sides());
    return 0;
}
