// The planetarium's reply lines (the chart centre asked with GETRA F, GETDEC F, GETFOV F) and the
// lines the line service takes from its clients.
#include "comun/files.h"
#include "fuzz/fuzz_support.h"
#include "telescopio/telescopio.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string> lines = SplitLines(std::string(reinterpret_cast<const char*>(data), size));
    auto line = [&](size_t i) { return i < lines.size() ? lines[i] : std::string(); };
    double ra = 0, dec = 0;
    ChartCentreOfLabel(ChartCentreLabel(line(0), line(1), line(2)), ra, dec);
    ChartCentreOfLabel(line(0), ra, dec);
    fuzz::SilentPlatform platform;
    Context c(platform);
    for (const std::string& l : lines) {
        bool cancelar = false;
        Form_LinkExecute(c, l, cancelar);
    }
    return 0;
}
