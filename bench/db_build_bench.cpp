// Speed of the database builder's steps on a generated sky (no download): the whole build, the
// rings, the triangle choice and the tree layout. `tornel-db default` on the real catalogue is timed
// with /usr/bin/time (see the README).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <iostream>
#include <random>

#include "consola/console_platform.h"
#include "herramientas/db/build.h"
#include "herramientas/db/distance_files.h"
#include "herramientas/db/star_tables.h"
#include "herramientas/db/synth_catalog.h"
#include "herramientas/db/triangle_file.h"

namespace tornel::db {
namespace {

std::vector<NumberedStar> Numbered(int64_t n) {
    std::vector<NumberedStar> stars;
    std::string error;
    auto cat = SynthesizeCatalog({n, 3, 12.0, 2.0});
    SortByMagnitude(cat);
    NumberStars(cat, 2.0, stars, error);
    return stars;
}

void BM_WholeBuild(benchmark::State& state) {
    BuildInputs in;
    in.stars.push_back(SynthesizeCatalog({state.range(0), 3, 12.0, 2.0}));
    auto dir = std::filesystem::temp_directory_path() / "tornel-db-bench";
    ConsolePlatform platform(std::cout, std::cerr);
    for (auto _ : state) {
        std::string error;
        if (!BuildDatabase(platform, in, BuildOptions{}, dir.string(), nullptr, error))
            state.SkipWithError(error.c_str());
    }
    std::filesystem::remove_all(dir);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_WholeBuild)->Arg(100000)->Arg(400000)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_RingPairs(benchmark::State& state) {
    auto stars = Numbered(state.range(0));
    std::vector<int32_t> all(stars.size());
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<int32_t>(i);
    for (auto _ : state)
        benchmark::DoNotOptimize(RingFiles(stars, all));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RingPairs)->Arg(400000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_TriangleTree(benchmark::State& state) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> side(0.1f, 2.28f);
    std::vector<TriangleRecord> tri(static_cast<size_t>(state.range(0)));
    for (auto& t : tri)
        t.Lado1 = side(rng), t.Lado2 = side(rng), t.Lado3 = side(rng);
    for (auto _ : state)
        benchmark::DoNotOptimize(TriangleTree(tri));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_TriangleTree)->Arg(3000000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace tornel::db

BENCHMARK_MAIN();
