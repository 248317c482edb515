// telescop.txt: up to ten camera and telescope setups, six lines each (label, name, label, seconds
// per pixel, label, image angle), shown in the Telescope menu and applied from it.
#include <cmath>

#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"
#include "telescopio/telescopio.h"

namespace tornel {

void CargaTelescopios(Context& c) {
    for (auto& setup : c.mTele)
        setup = TelescopeSetup{};
    c.mTeleMarcado = 0;
    std::string text;
    c.mTelescopioVisible = ReadWholeFile(c.gCarpetaPrograma + "telescop.txt", text);
    if (!c.mTelescopioVisible) return;
    const std::vector<std::string> lines = SplitLines(text);
    try {
        // Always ten records: a shorter file stops at its end with the entries read so far.
        for (size_t i = 1; i <= 10; ++i) {
            const size_t first = (i - 1) * 6;
            if (first + 5 >= lines.size()) Raise(kErrPastEndOfFile);
            TelescopeSetup setup;
            setup.name = lines[first + 1].substr(0, 15);
            setup.segundosPorPixel = TextToDouble(lines[first + 3]);
            setup.angulo = TextToDouble(lines[first + 5]);
            setup.present = true;
            c.mTele[i] = setup;
        }
    } catch (const NumberedError& e) {
        const std::string report = ErrorReport(e, "CargaTelescopios");
        AvisoIdioma(c, report, report, report);
    }
}

std::string TelescopeCaption(const TelescopeSetup& setup) {
    return setup.name + " :   " + FormatNumber(setup.segundosPorPixel, "0.000") + " ,     " +
           FormatNumber(setup.angulo, "0.00") + " ";
}

void mTele_Click(Context& c, int indice) {
    if (indice < 1 || indice > 10 || !c.mTele[static_cast<size_t>(indice)].present) return;
    const TelescopeSetup& setup = c.mTele[static_cast<size_t>(indice)];
    const double t = std::tan(setup.segundosPorPixel / 206265);
    if (t < 4e-7 || t > 0.004) return;
    c.gFocalEnPixeles = static_cast<int32_t>(RoundHalfEven(1 / t));
    // The rounded focal length gives back a slightly different scale, and that one is used.
    const double scale = std::atan(1.0 / c.gFocalEnPixeles) * 206265;
    c.gSegundosPorPixelX = scale;
    c.gSegundosPorPixelY = scale;
    c.gMinutosPorPixel = scale / 60;
    c.gGradosPorPixel = scale / 3600;
    c.gRelacionPixel = 1;
    c.gRelacionPixel2 = 1;
    c.gAnguloImagen = setup.angulo;
    c.mTeleMarcado = static_cast<int16_t>(indice);
}

}  // namespace tornel
