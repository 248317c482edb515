// What the run does when the automatic threshold keeps too few stars: the extraction again on the
// image with its local background removed. The image in memory is left as it was read.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// The outcome of one extraction, to go back to when a later one keeps fewer stars.
struct Extraction {
    int32_t resultado = -1;
    bool fin = false;
    double umbral = 0;
    int32_t fondo = 0, brilloUmbral = 0;
    int32_t contornos = 0, candidatas = 0, seleccionadas = 0;
    std::array<int32_t, kMaxContornosEscaneo + 1> contornoX{}, contornoY{}, contornoPerimetro{};
    std::vector<double> candidataX, candidataY, candidataBrillo;
    std::vector<int32_t> candidataEstado;
    std::vector<EstrellaImagen> estrellas, estrellasCuadradas, verificationStars;
    bool verificationScanDue = false;
    std::array<EstrellaImagen, 11> seleccionadas_{};

    Extraction(const Context& c, int32_t r)
        : resultado(r),
          fin(c.mFinAnalisis),
          umbral(c.gUmbral),
          fondo(c.mBrilloFondo),
          brilloUmbral(c.mBrilloUmbral),
          contornos(c.mNumContornos),
          candidatas(c.mNumCandidatas),
          seleccionadas(c.mNumSeleccionadas),
          contornoX(c.mContornoX),
          contornoY(c.mContornoY),
          contornoPerimetro(c.mContornoPerimetro),
          candidataX(c.mCandidataX),
          candidataY(c.mCandidataY),
          candidataBrillo(c.mCandidataBrillo),
          candidataEstado(c.mCandidataEstado),
          estrellas(c.mEstrellas),
          estrellasCuadradas(c.mEstrellasCuadradas),
          verificationStars(c.verificationStars),
          verificationScanDue(c.verificationScanDue),
          seleccionadas_(c.mSeleccionadas) {}

    int32_t Restore(Context& c) const {
        c.mFinAnalisis = fin, c.gUmbral = umbral, c.mBrilloFondo = fondo, c.mBrilloUmbral = brilloUmbral;
        c.mNumContornos = contornos, c.mNumCandidatas = candidatas, c.mNumSeleccionadas = seleccionadas;
        c.mContornoX = contornoX, c.mContornoY = contornoY, c.mContornoPerimetro = contornoPerimetro;
        c.mCandidataX = candidataX, c.mCandidataY = candidataY, c.mCandidataBrillo = candidataBrillo;
        c.mCandidataEstado = candidataEstado;
        c.mEstrellas = estrellas, c.mEstrellasCuadradas = estrellasCuadradas;
        c.verificationStars = verificationStars, c.verificationScanDue = verificationScanDue;
        c.mSeleccionadas = seleccionadas_;
        return resultado;
    }
};

class ImageKept {
  public:
    explicit ImageKept(Context& c)
        : c_(c), brillo_(c.mBrillo.begin(), c.mBrillo.end()), maximo_(c.gBrilloMaximo) {}
    ~ImageKept() {
        std::copy(brillo_.begin(), brillo_.end(), c_.mBrillo.begin());
        c_.gBrilloMaximo = maximo_;
    }
    ImageKept(const ImageKept&) = delete;
    ImageKept& operator=(const ImageKept&) = delete;

  private:
    Context& c_;
    std::vector<int16_t> brillo_;
    int32_t maximo_;
};

// The median of each cell of a coarse mesh, interpolated between cell centres, is the background;
// the image becomes brightness - background + the median of the cells, within 0 and 32767. Stars
// are far smaller than a cell and barely move its median; gradients, vignetting and glow are larger
// and go. Answers the new maximum brightness.
int32_t SubtractLocalBackground(Context& c) {
    const int32_t w = c.gPixelesX, h = c.gPixelesY;
    const size_t stride = static_cast<size_t>(w) + 1;
    const int32_t nx = std::max(1, (w + kLocalBackgroundCell / 2) / kLocalBackgroundCell),
                  ny = std::max(1, (h + kLocalBackgroundCell / 2) / kLocalBackgroundCell);
    const double cw = static_cast<double>(w) / nx, ch = static_cast<double>(h) / ny;
    std::vector<double> mesh(static_cast<size_t>(nx) * static_cast<size_t>(ny));
    std::vector<int16_t> cell;
    for (int32_t j = 0; j < ny; ++j)
        for (int32_t i = 0; i < nx; ++i) {
            const auto x0 = static_cast<int32_t>(i * cw) + 1, x1 = static_cast<int32_t>((i + 1) * cw);
            const auto y0 = static_cast<int32_t>(j * ch) + 1, y1 = static_cast<int32_t>((j + 1) * ch);
            cell.clear();
            for (int32_t y = y0; y <= y1; ++y)
                for (int32_t x = x0; x <= x1; ++x)
                    cell.push_back(c.mBrillo[static_cast<size_t>(y) * stride + static_cast<size_t>(x)]);
            auto middle = cell.begin() + static_cast<std::ptrdiff_t>(cell.size() / 2);
            std::nth_element(cell.begin(), middle, cell.end());
            mesh[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)] = *middle;
        }
    std::vector<double> sorted = mesh;
    auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    const double level = *middle;

    // Interpolation weights along one axis: the cell centres either side of pixel p, clamped at the ends.
    auto span = [](int32_t p, double size, int32_t cells, int32_t& a, int32_t& b, double& t) {
        const double u = std::clamp((p - 0.5) / size - 0.5, 0.0, static_cast<double>(cells - 1));
        a = static_cast<int32_t>(u);
        b = std::min(a + 1, cells - 1);
        t = u - a;
    };
    int32_t highest = 0;
    for (int32_t y = 1; y <= h; ++y) {
        int32_t ja = 0, jb = 0;
        double ty = 0;
        span(y, ch, ny, ja, jb, ty);
        const double* rowA = mesh.data() + static_cast<size_t>(ja) * static_cast<size_t>(nx);
        const double* rowB = mesh.data() + static_cast<size_t>(jb) * static_cast<size_t>(nx);
        int16_t* row = c.mBrillo.data() + static_cast<size_t>(y) * stride;
        for (int32_t x = 1; x <= w; ++x) {
            int32_t ia = 0, ib = 0;
            double tx = 0;
            span(x, cw, nx, ia, ib, tx);
            const double top = rowA[ia] + (rowA[ib] - rowA[ia]) * tx;
            const double bottom = rowB[ia] + (rowB[ib] - rowB[ia]) * tx;
            const double background = top + (bottom - top) * ty;
            const auto v = static_cast<int32_t>(std::clamp(row[x] - background + level, 0.0, 32767.0));
            row[x] = static_cast<int16_t>(v);
            highest = std::max(highest, v);
        }
    }
    return highest;
}

}  // namespace

int32_t ExtractStarsWithFallbacks(Context& c) {
    if (c.mFinAnalisis) return -1;
    const int32_t anteriores = c.mNumSeleccionadas;
    const int32_t resultado = ExtraeEstrellasLaberinto(c);
    if (c.gUmbralAutomatico != 1 || c.gDetenerAnalisis || c.mNumCandidatas >= kEnoughCandidates ||
        c.gPixelesX < kLocalBackgroundCell || c.gPixelesY < kLocalBackgroundCell)
        return resultado;
    const Extraction first(c, resultado);
    const std::string n = std::to_string(c.mNumCandidatas);
    ParaResumen(c, "Sólo " + n + " candidatas: nueva extracción sin el fondo local.",
                "Seulement " + n + " candidates: nouvelle extraction sans le fond local.",
                "Only " + n + " candidates: extracting again without the local background.");

    int32_t again = -1;
    {
        // The image goes back as it was read whatever happens: display and recentring use it.
        const ImageKept kept(c);
        c.mFinAnalisis = false;
        c.gBrilloMaximo = SubtractLocalBackground(c);
        // The area is fixed again, now perhaps narrowed to the centre: the user's stays the patterns'.
        const auto area =
            std::tuple{c.patternArea, c.patternXMin, c.patternXMax, c.patternYMin, c.patternYMax};
        CalculaBrilloDeFondoYumbral(c);
        std::tie(c.patternArea, c.patternXMin, c.patternXMax, c.patternYMin, c.patternYMax) = area;
        c.mNumSeleccionadas = anteriores;
        if (!c.mFinAnalisis) again = ExtraeEstrellasLaberinto(c);
        // The fainter stars for the check of an answer come from the image and the outlines these
        // candidates came from, which last only here.
        FindVerificationStars(c);
        if (c.mNumCandidatas < kEnoughCandidates && c.gPerimetroMin > kSmallStarPerimeter &&
            !c.gDetenerAnalisis) {
            // Faint stars of sharp small-sensor frames light 2 x 2 or 3 x 3 pixels, below the usual
            // shortest outline.
            const Extraction flattened(c, again);
            const int32_t shortest = c.gPerimetroMin;
            const std::string k = std::to_string(c.mNumCandidatas);
            ParaResumen(c, "Sólo " + k + " candidatas: se aceptan contornos más cortos.",
                        "Seulement " + k + " candidates: des contours plus courts sont acceptés.",
                        "Only " + k + " candidates: shorter contours are accepted.");
            c.gPerimetroMin = kSmallStarPerimeter;
            c.mFinAnalisis = false;
            c.mNumSeleccionadas = anteriores;
            again = ExtraeEstrellasLaberinto(c);
            FindVerificationStars(c);
            c.gPerimetroMin = shortest;
            if (c.mNumCandidatas <= flattened.candidatas) again = flattened.Restore(c);
        }
    }

    if (c.mNumCandidatas <= first.candidatas) {
        ParaResumen(c, "Se queda la primera extracción.", "La première extraction est gardée.",
                    "The first extraction is kept.");
        again = first.Restore(c);
    }
    c.mNumAnteriores = anteriores;
    return again;
}

}  // namespace tornel
