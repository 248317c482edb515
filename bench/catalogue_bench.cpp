// Speed of the star readers, the region index rebuild and the sky formulas that the searches call
// for every candidate: run with --benchmark_repetitions=5 and quote the medians.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "astrometria/pair_geometry.h"
#include "astrometria/plate_model.h"
#include "catalogo/regions.h"
#include "catalogo/star_catalogue.h"
#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::Star12;

// A catalogue of `perRegion` stars in each of the 9537 regions, Ids ascending.
std::vector<Star12> Catalogue(int32_t perRegion) {
    std::vector<Star12> stars;
    stars.reserve(static_cast<size_t>(9537 * perRegion));
    uint32_t seed = 1;
    auto next = [&](uint32_t range) {
        seed = seed * 1664525u + 1013904223u;
        return static_cast<int32_t>((seed >> 4) % range);
    };
    for (int32_t r = 1; r <= 9537; ++r)
        for (int32_t k = 1; k <= perRegion; ++k)
            stars.push_back({r * 100000 + k, next(360000000), next(180000000) - 90000000});
    return stars;
}

// One lookup by integral number in a catalogue of 9537 x 100 stars (11 MB): a binary search of
// about 20 reads of 12 bytes.
void BM_LeeCoordenadasEstrella(benchmark::State& state) {
    CatalogueProgram p;
    std::vector<Star12> stars = Catalogue(100);
    if (!p.UseDatabaseOne(stars)) state.SkipWithError("database");
    size_t i = 0;
    for (auto _ : state) {
        i = (i + 7919) % stars.size();
        LeeCoordenadasEstrella(p.c, stars[i].id);
        benchmark::DoNotOptimize(p.c.gEstrellaRA);
    }
}
BENCHMARK(BM_LeeCoordenadasEstrella);

// The rebuild of region.bin from that catalogue, as at a start-up that finds it missing.
void BM_FabricaFicheroRegiones(benchmark::State& state) {
    CatalogueProgram p;
    if (!p.UseDatabaseOne(Catalogue(static_cast<int32_t>(state.range(0))))) state.SkipWithError("database");
    for (auto _ : state)
        if (!FabricaFicheroRegiones(p.c)) state.SkipWithError("build");
    state.SetItemsProcessed(state.iterations() * 9537 * state.range(0));
}
BENCHMARK(BM_FabricaFicheroRegiones)->Arg(100)->Unit(benchmark::kMillisecond);

// Distance, inclination and tan(d/2) of one pair: the inner step of the screen-pair tables.
void BM_CalculaAnguloEinclinacion_0a360(benchmark::State& state) {
    testing::TestProgram p;
    double ra = 10;
    for (auto _ : state) {
        ra = ra < 350 ? ra + 0.001 : 10;
        benchmark::DoNotOptimize(CalculaAnguloEinclinacion_0a360_DeCoordenadas(p.c, ra, 20, ra + 0.2, 20.1));
    }
}
BENCHMARK(BM_CalculaAnguloEinclinacion_0a360);

// One pixel to the sky through a solved plate: the step of the mesh extension per screen star.
void BM_CoordenadasImagenAesfericas(benchmark::State& state) {
    testing::TestProgram p;
    p.c.gAnchoImagen = 1024;
    p.c.gAltoImagen = 768;
    p.c.gFocalEnPixeles = 3000;
    ResuelveSistema(
        p.c, {PlateStar{100, 100, 149, 34}, PlateStar{900, 200, 151, 34.5}, PlateStar{500, 700, 150, 36}});
    double x = 0;
    for (auto _ : state) {
        x = x < 1024 ? x + 1 : 0;
        CoordenadasImagenAesfericas(p.c, x, 384);
        benchmark::DoNotOptimize(p.c.mRAconvertida);
    }
}
BENCHMARK(BM_CoordenadasImagenAesfericas);

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
