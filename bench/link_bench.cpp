// What a telescope link costs the one thread: reading the pointing and a sync against the real INDI
// simulator, and a server that hangs, which costs its time limit and no more.
#include <benchmark/benchmark.h>

#include "comun/quiet_platform.h"
#include "telescopio/telescopio.h"
#include "tests/telescopio/indi_simulator.h"

namespace tornel {
namespace {

struct Bench {
    Bench() {
        simulator.PointAt(5.5, 22.25);
        c.gTelescopioAscom = simulator.Identifier();
        c.gHaySolucion = true;
        c.gTelescopioSincro = 1;
        c.gARJ2000 = 84, c.gDEJ2000 = 23;
    }
    testing::IndiSimulator simulator;
    QuietPlatform platform;
    Context c{platform};
};

void BM_ReadPointing(benchmark::State& state) {
    Bench b;
    for (auto _ : state) {
        int32_t codigo = 0;
        AscomLeeArDe(b.c, codigo);
        if (codigo != 0) state.SkipWithError("the simulator was not read");
    }
}
BENCHMARK(BM_ReadPointing)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();

void BM_Synchronise(benchmark::State& state) {
    Bench b;
    for (auto _ : state) {
        // Alternate positions, so that every sync moves the mount.
        b.c.gDEJ2000 = b.c.gDEJ2000 == 23 ? 23.5 : 23;
        Sincroniza(b.c);
    }
}
BENCHMARK(BM_Synchronise)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();

void BM_HungServer(benchmark::State& state) {
    Bench b;
    b.c.linkTimeoutMs = static_cast<int32_t>(state.range(0));
    b.simulator.Freeze();
    for (auto _ : state) {
        int32_t codigo = 0;
        AscomLeeArDe(b.c, codigo);
    }
    b.simulator.Thaw();
}
BENCHMARK(BM_HungServer)
    ->Arg(500)
    ->Arg(3000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(3)
    ->ReportAggregatesOnly();

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
