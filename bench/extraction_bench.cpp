// Load and extraction of large rendered star fields: a 4096 x 4096 16-bit FITS at a fixed and at
// the automatic threshold, a 6000 x 4000 JPG, both also with the scan for the faint stars of the
// check of an answer, and the peak memory of one FITS analysis measured in
// a fresh process.
//
//   build/bench/tornel_extraction_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "comun/quiet_platform.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "herramientas/render/render.h"
#include "imagen/imagen.h"

namespace tornel {
namespace {

// The default threshold of the parameters.
constexpr double kFixedThreshold = 0.5;

// Loads and extracts as the analysis run does, and with `verification` scans for the faint stars of
// the check of an answer too; answers the number of selected stars.
int32_t LoadAndExtract(const std::string& path, int32_t width, bool automatic, bool verification = false) {
    QuietPlatform platform;
    Context c(platform);
    ParametrosPorDefecto(c);
    InicializaVariables(c);
    // A scale at which the whole picture is analysed.
    c.gGradosPorPixel = 0.4 / width;
    c.gUmbral = kFixedThreshold;
    c.gUmbralAutomatico = automatic ? 1 : 0;
    ExtraeNombreDeRuta(c, path);
    CargaImagen(c);
    CalculaBrilloDeFondoYumbral(c);
    const int32_t selected = ExtraeEstrellasLaberinto(c);
    if (verification) FindVerificationStars(c);
    return selected;
}

render::Field Sky(int32_t width, int32_t height, int32_t stars, uint32_t seed) {
    render::Field f;
    f.width = width, f.height = height;
    f.psfSigma = 1.8, f.sky = 1000, f.noise = 15, f.seed = seed;
    f.stars = render::RandomStars(stars, width, height, 20, 12, 3000, 600000, seed);
    return f;
}

void Extraction(benchmark::State& state, const std::string& path, int32_t width, bool automatic,
                bool verification) {
    int32_t selected = 0;
    for (auto _ : state) {
        selected = LoadAndExtract(path, width, automatic, verification);
        benchmark::DoNotOptimize(selected);
    }
    state.counters["selected"] = selected;
}

// Peak resident memory of one load and extraction, in a process of its own.
void PeakMemory(benchmark::State& state, const std::string& self, const std::string& path, int32_t pixels) {
    double peakKiB = 0;
    for (auto _ : state) {
        std::string command = "'" + self + "' --peak-of '" + path + "'";
        FILE* child = popen(command.c_str(), "r");
        if (child == nullptr || std::fscanf(child, "%lf", &peakKiB) != 1) state.SkipWithError("no answer");
        if (child != nullptr) pclose(child);
    }
    double bytes = peakKiB * 1024;
    state.counters["peak_MiB"] = bytes / (1024 * 1024);
    state.counters["budget_MiB"] = (8.0 * pixels + 64 * 1024 * 1024) / (1024 * 1024);
    state.counters["bytes_per_pixel"] = bytes / pixels;
}

}  // namespace
}  // namespace tornel

int main(int argc, char** argv) {
    using namespace tornel;
    if (argc == 3 && std::string(argv[1]) == "--peak-of") {
        LoadAndExtract(argv[2], 4096, true);
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("%ld\n", usage.ru_maxrss);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    auto folder = std::filesystem::temp_directory_path() / ("tornel-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string fits = (folder / "field.fit").string(), jpg = (folder / "field.jpg").string();
    render::WriteFits(fits, render::Render(Sky(4096, 4096, 3000, 1)), render::FitsStorage::Unsigned);
    render::WriteJpg(jpg, render::Render(Sky(6000, 4000, 4000, 2)), 90, true, 245.0 / 40000);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();

    benchmark::RegisterBenchmark("FitsLoadExtract/4096x4096/fixed", Extraction, fits, 4096, false, false)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("FitsLoadExtract/4096x4096/automatic", Extraction, fits, 4096, true, false)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("JpgDecodeExtract/6000x4000/automatic", Extraction, jpg, 6000, true, false)
        ->Unit(benchmark::kMillisecond);
    // The same with the scan for the faint stars that the first check of an answer makes.
    benchmark::RegisterBenchmark("FitsLoadExtract/4096x4096/automatic+verification_stars", Extraction, fits,
                                 4096, true, true)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("JpgDecodeExtract/6000x4000/automatic+verification_stars", Extraction, jpg,
                                 6000, true, true)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("FitsPeakMemory/4096x4096/automatic", PeakMemory, self, fits, 4096 * 4096)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::filesystem::remove_all(folder);
    return 0;
}
