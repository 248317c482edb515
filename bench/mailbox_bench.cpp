// What leaves the program and what the mailbox costs: the status files, the WCS rewrite of a real
// 1.6 MB FITS image, and the one-second tick idle and with a command message to read. Run with
// --benchmark_repetitions=5 and quote the medians.
#include <benchmark/benchmark.h>

#include <string>

#include "automatizacion/buzon.h"
#include "comun/files.h"
#include "core/parametros.h"
#include "resultados/status_files.h"
#include "resultados/wcs.h"
#include "tests/automatizacion/mailbox_program.h"

namespace tornel {
namespace {

using testing::MailboxProgram;

void BM_StatusFiles(benchmark::State& state) {
    MailboxProgram p;
    p.c.gARJ2000 = 83.82, p.c.gDEJ2000 = -5.39;
    for (auto _ : state) {
        GrabaTornelPos(p.c, 1, 21);
        GrabaTornelSta(p.c, kEstadoSolucion, 21);
    }
}
BENCHMARK(BM_StatusFiles)->Unit(benchmark::kMicrosecond);

// The header of dss_horsehead.fits (162 cards) rewritten with the block of an ideal plate.
void BM_GrehacerCabeceraFits(benchmark::State& state) {
    MailboxProgram p;
    std::string original;
    if (!ReadWholeFile(std::string(TORNEL_SOURCE_DIR) + "/../shared/validation/dss_horsehead.fits", original))
        state.SkipWithError("validation image");
    Context& c = p.c;
    c.gAnchoImagen = 891, c.gAltoImagen = 893, c.gFocalEnPixeles = 204437;
    c.Cij[1] = {0, 1, 0, 0};
    c.Cij[2] = {0, 0, 0, 1};
    c.Cij[3] = {0, 0, 1, 0};
    c.gARJ2000 = 90, c.gDEJ2000 = 0;
    std::string path = p.home.Write("image.fit", original);
    ExtraeNombreDeRuta(c, path);
    for (auto _ : state) {
        GrehacerCabeceraFits(c);
        state.PauseTiming();
        p.home.Write("image.fit", original);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * original.size()));
}
BENCHMARK(BM_GrehacerCabeceraFits)->Unit(benchmark::kMillisecond);

void BM_TickIdle(benchmark::State& state) {
    MailboxProgram p;
    p.Commands({"GET   mode", ""}, 30);
    p.Tick();  // dealt with: every later tick finds nothing new
    for (auto _ : state)
        p.Tick();
}
BENCHMARK(BM_TickIdle)->Unit(benchmark::kMicrosecond);

// A command message found, checked for a writer, read, answered in tornel.sta.
void BM_TickWithMessage(benchmark::State& state) {
    MailboxProgram p;
    std::string path = p.Commands({"SET   skyZone", "1", "GET   language", ""}, 30);
    for (auto _ : state) {
        p.c.gUltimaFechaBuzon = testing::SecondsNow() - 60;
        p.Tick();
    }
}
BENCHMARK(BM_TickWithMessage)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tornel

BENCHMARK_MAIN();
