#include "resultados/results_report.h"

#include <algorithm>
#include <cmath>

#include "comun/numbers.h"

namespace tornel {

ResultsReport InformeResultados(const Context& c) {
    ResultsReport r;
    r.background = std::to_string(c.mBrilloFondo);
    r.threshold = std::to_string(c.mBrilloUmbral);
    r.maximum = std::to_string(c.gBrilloMaximo);
    r.contours = std::to_string(c.mNumContornos);
    r.candidates = std::to_string(c.mNumCandidatas);
    r.selected = std::to_string(c.mNumSeleccionadas);
    const int32_t n = std::clamp<int32_t>(c.mNumSeleccionadas, 0, 10);
    for (int32_t i = 1; i <= n; ++i) {
        const EstrellaImagen& e = c.mSeleccionadas[static_cast<size_t>(i)];
        r.positions += std::to_string(i) + ": x=" + FormatNumber(std::trunc(e.x), "0") + "    " +
                       " y=" + FormatNumber(std::trunc(e.y), "0") + "    " +
                       " i=" + FormatNumber(e.brillo, "0") + "      \r\n";
    }
    for (int32_t i = 1; i < n; ++i) {
        std::string row;
        for (int32_t j = i + 1; j <= n; ++j) {
            if (!row.empty()) row += "  ";
            row +=
                std::to_string(i) + "-" + std::to_string(j) + "=" +
                FormatNumber(c.mDistanciasPantalla[static_cast<size_t>(i)][static_cast<size_t>(j)], "#00.0");
        }
        r.distances += row + "\r\n";
    }
    return r;
}

void CommandoResultados_Click(Context& c) {
    c.platform.MessageBox(c.mResumen);
}

}  // namespace tornel
