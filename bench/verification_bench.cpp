// The cost of verifying one candidate against the whole field, on the default database of
// $TORNEL_HOME (made by `tornel-db default`): fields of 0.5 to 5 degrees at random places, 300 image
// stars. Run with --benchmark_repetitions=5 and quote the medians.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "busqueda/verification.h"
#include "catalogo/database_choice.h"
#include "comun/quiet_platform.h"
#include "tests/support/pointed_plate.h"

namespace tornel {
namespace {

constexpr double kRad = 3.14159265358979323846 / 180;

void BM_VerifyPlate(benchmark::State& state) {
    const char* home = std::getenv("TORNEL_HOME");
    if (home == nullptr) {
        state.SkipWithError("TORNEL_HOME names no program folder with a default database");
        return;
    }
    QuietPlatform platform;
    Context c(platform);
    c.gCarpetaEstrellas = c.gCarpetaDistancias = std::string(home) + "/database/";
    CompruebaFicherosBDs(c);
    const auto base = static_cast<int>(state.range(1));
    if (!CambioBaseDatos(c, 0, base)) {
        state.SkipWithError("the default database cannot be opened");
        return;
    }
    c.gBaseDatos = base;
    c.gZonaCielo = base == 1 ? 1 : 3;
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> u(0, 1);
    c.mEstrellasCuadradas.assign(1, {});
    for (int k = 0; k < kMaxVerificationStars; ++k)
        c.mEstrellasCuadradas.push_back({1000 * u(rng), 1000 * u(rng), 100.0 - k * 0.1});
    c.mNumCandidatas = kMaxVerificationStars;
    const double side = static_cast<double>(state.range(0)) / 10;
    int64_t tested = 0;
    for (auto _ : state) {
        state.PauseTiming();
        testing::PointPlate(c, 360 * u(rng), std::asin(1.6 * u(rng) - 0.8) / kRad, side, 1000);
        c.mFinAnalisis = false;
        state.ResumeTiming();
        const Verification v = VerifyPlate(c, {}, {});
        tested += v.tested;
        benchmark::DoNotOptimize(v.log10Odds);
    }
    state.counters["catalogue_stars"] =
        benchmark::Counter(static_cast<double>(tested), benchmark::Counter::kAvgIterations);
}
// Field width in tenths of a degree, database.
BENCHMARK(BM_VerifyPlate)
    ->Args({5, 1})
    ->Args({20, 1})
    ->Args({20, 2})
    ->Args({50, 2})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
