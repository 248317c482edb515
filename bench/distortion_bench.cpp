// The SIP fit of a wide field: 300 matched stars of a 40 x 30 degree camera with barrel distortion,
// order 3 with its inverse, as the WCS writer fits it. Run with --benchmark_repetitions=5 and quote the
// medians.
#include <benchmark/benchmark.h>

#include <vector>

#include "astrometria/distortion.h"
#include "tests/support/wide_camera.h"

namespace tornel {
namespace {

void BM_FitSip(benchmark::State& state) {
    testing::WideCamera camera;
    const std::vector<SipStar> stars = camera.Stars<SipStar>(static_cast<int>(state.range(0)), 0.1);
    SipModel model;
    for (auto _ : state) {
        const int status = FitSip(stars, camera.width / 2, camera.height / 2, camera.ra0, camera.dec0,
                                  camera.width, camera.height, model);
        benchmark::DoNotOptimize(status);
        if (status != kSipFitted || model.order != 3) {
            state.SkipWithError("the fit gave no order 3 model");
            return;
        }
    }
    state.counters["inverse order"] = model.inverseOrder;
}
BENCHMARK(BM_FitSip)->Arg(300)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
