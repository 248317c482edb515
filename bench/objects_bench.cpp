// The objects of $TORNEL_HOME's pgc.bin (made by `tornel-db default`) on a solved 3000 x 3000 image,
// found and drawn, for fields of 1, 5 and 20 degrees (the argument) at random places; and the whole
// drawing of such a solution made again, as a Show entry, the zoom or a level change makes it. Run
// with --benchmark_repetitions=5 and quote the medians.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "astrometria/plate_model.h"
#include "catalogo/deep_sky_objects.h"
#include "comun/quiet_platform.h"
#include "resultados/solution_drawing.h"
#include "tests/support/pointed_plate.h"

namespace tornel {
namespace {

constexpr double kRad = 3.14159265358979323846 / 180;

// Points the context at $TORNEL_HOME's database; false, with the benchmark skipped, without one.
bool OnTheDefaultDatabase(benchmark::State& state, Context& c) {
    const char* home = std::getenv("TORNEL_HOME");
    if (home == nullptr) {
        state.SkipWithError("needs TORNEL_HOME with the default database");
        return false;
    }
    c.gCarpetaEstrellas = std::string(home) + "/database/";
    return true;
}

void BM_ObjectsOnAnImage(benchmark::State& state) {
    QuietPlatform platform;
    Context c(platform);
    if (!OnTheDefaultDatabase(state, c)) return;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> ra(0, 360), z(-1, 1);
    for (auto _ : state) {
        state.PauseTiming();
        testing::PointPlate(c, ra(random), std::asin(z(random)) / kRad, static_cast<double>(state.range(0)),
                            3000);
        state.ResumeTiming();
        BuscaObjetosNGCdicotomica(c);
    }
}
BENCHMARK(BM_ObjectsOnAnImage)->Arg(1)->Arg(5)->Arg(20)->Unit(benchmark::kMillisecond);

// Every Show flag on, a safe pattern solution of 60 matched stars, the target on the image, the
// guidance labels: what a redraw costs.
void BM_SolutionRedrawn(benchmark::State& state) {
    QuietPlatform platform;
    Context c(platform);
    if (!OnTheDefaultDatabase(state, c)) return;
    c.gHaySolucion = c.gSolucionSegura = c.gAvisosGuiado = true;
    c.presentedRoad = SolutionRoad::Patterns;
    c.mAnioObs = 2024, c.mMesObs = 3, c.mDiaObs = 20;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> ra(0, 360), z(-1, 1), along(0.1, 0.9);
    const auto side = static_cast<double>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        const double r = ra(random), d = std::asin(z(random)) / kRad;
        testing::PointPlate(c, r, d, side, 3000);
        c.gARJ2000 = r, c.gDEJ2000 = d;
        c.gCentroBusquedaRA = r + side / 10, c.gCentroBusquedaDEC = std::clamp(d + side / 10, -89.0, 89.0);
        c.matchedStars.clear();
        for (int k = 0; k < 60; ++k) {
            MatchedStar m;
            m.x = along(random) * 3000, m.y = along(random) * 3000;
            CoordenadasImagenAesfericas(c, m.x, m.y);
            m.ra = c.mRAconvertida, m.dec = c.mDECconvertida;
            c.matchedStars.push_back(m);
        }
        state.ResumeTiming();
        PresentaSolucion(c);
    }
}
BENCHMARK(BM_SolutionRedrawn)->Arg(1)->Arg(5)->Arg(20)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
