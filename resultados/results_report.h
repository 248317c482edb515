#pragma once
// What FormResultados shows of the last extraction, and the Result button's box.
#include <string>

#include "comun/context.h"

namespace tornel {

struct ResultsReport {
    std::string background, threshold, maximum, contours, candidates, selected;
    // One line a selected star: "1: x=512     y=300     i=4100      ", lines ending in CR LF.
    std::string positions;
    // A row a selected star: "1-2=05.3  1-3=12.0" for each star after it, minutes of arc.
    std::string distances;
};

ResultsReport InformeResultados(const Context& c);

// The search summary in a message box.
void CommandoResultados_Click(Context& c);

}  // namespace tornel
