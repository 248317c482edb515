// The cost of looking one image quad up in the pattern index of $TORNEL_HOME's database (made by
// `tornel-db default`), every size at once, as the search does: codes of random quads, the
// tolerance in thousandths as the argument. Run with --benchmark_repetitions=5 and quote
// the medians.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "catalogo/quad_index.h"

namespace tornel {
namespace {

std::vector<QuadCode> RandomCodes(size_t count) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(0, 1000);
    std::vector<QuadCode> codes;
    while (codes.size() < count) {
        std::array<PlanePoint, 4> p;
        for (PlanePoint& q : p)
            q = {coordinate(random), coordinate(random)};
        Quad quad;
        if (MakeQuad(p, quad)) codes.push_back(quad.code);
    }
    return codes;
}

void BM_LookupAnyScale(benchmark::State& state) {
    const char* home = std::getenv("TORNEL_HOME");
    QuadIndex index;
    std::string error;
    if (home == nullptr || !index.Open(std::string(home) + "/database/" + kQuadIndexFile, error)) {
        state.SkipWithError("needs TORNEL_HOME with a pattern index");
        return;
    }
    const double tolerance = static_cast<double>(state.range(0)) / 1000;
    const std::vector<QuadCode> codes = RandomCodes(4096);
    std::vector<QuadHit> hits;
    size_t next = 0, found = 0;
    for (auto _ : state) {
        const QuadCode& code = codes[next++ % codes.size()];
        hits.clear();
        index.Lookup(code, tolerance, hits, 1024);
        found += hits.size();
    }
    state.counters["hits"] =
        benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_LookupAnyScale)->Arg(6)->Arg(15)->Arg(25)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
