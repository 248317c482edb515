// The objects of $TORNEL_HOME's pgc.bin (made by `tornel-db default`) on a solved 3000 x 3000 image,
// found and drawn, for fields of 1, 5 and 20 degrees (the argument) at random places. Run with
// --benchmark_repetitions=5 and quote the medians.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "catalogo/deep_sky_objects.h"
#include "comun/quiet_platform.h"
#include "tests/support/pointed_plate.h"

namespace tornel {
namespace {

constexpr double kRad = 3.14159265358979323846 / 180;

void BM_ObjectsOnAnImage(benchmark::State& state) {
    const char* home = std::getenv("TORNEL_HOME");
    if (home == nullptr) {
        state.SkipWithError("needs TORNEL_HOME with the default database");
        return;
    }
    QuietPlatform platform;
    Context c(platform);
    c.gCarpetaEstrellas = std::string(home) + "/database/";
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

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
