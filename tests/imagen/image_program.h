#pragma once
// A program under test with an image loaded from a file: defaults, a scale at which the whole image
// is analysed, and the stages of the run called one after the other.
#include <string>
#include <vector>

#include "core/parametros.h"
#include "core/startup.h"
#include "herramientas/render/render.h"
#include "imagen/imagen.h"
#include "tests/support/test_program.h"

namespace tornel::testing {

struct ImageProgram : TestProgram {
    ImageProgram() {
        ParametrosPorDefecto(c);
        InicializaVariables(c);
        c.gMostrarAvisos = true;
        // One second of arc per pixel; fields up to ten degrees are analysed whole.
        c.gGradosPorPixel = 1.0 / 3600;
        c.gMinutosPorPixel = 1.0 / 60;
        c.gLadoMaximoGrados = 10;
    }

    // CargaImagen of `path` as a new analysis does it; true when the image is in memory.
    bool Load(const std::string& path) {
        c.mFinAnalisis = false;
        ExtraeNombreDeRuta(c, path);
        CargaImagen(c);
        return c.gImagenCargada && !c.mFinAnalisis;
    }
    // Background, threshold and extraction, as the analysis run does them; the selected stars.
    std::vector<EstrellaImagen> Extract() {
        CalculaBrilloDeFondoYumbral(c);
        int32_t n = ExtraeEstrellasLaberinto(c);
        std::vector<EstrellaImagen> stars;
        for (int32_t i = 1; i <= n; ++i)
            stars.push_back(c.mSeleccionadas[static_cast<size_t>(i)]);
        return stars;
    }
    std::string Write(const std::string& name, const std::string& bytes) { return home.Write(name, bytes); }
};

// Distance in pixels from a star of the image to the nearest star of the truth, with its index.
inline double Nearest(const EstrellaImagen& e, const std::vector<render::Star>& truth, size_t& index) {
    double best = 1e300;
    for (size_t i = 0; i < truth.size(); ++i) {
        double d = std::hypot(e.x - truth[i].x, e.y - truth[i].y);
        if (d < best) best = d, index = i;
    }
    return best;
}

}  // namespace tornel::testing
