#pragma once
// The one context object: every program-wide value and every member of the main window lives here,
// under its own name, so that a test can make as many programs as it likes.
#include <cstdint>
#include <functional>

#include "comun/platform.h"
#include "comun/state/astrometry_state.h"
#include "comun/state/automation_state.h"
#include "comun/state/catalog_state.h"
#include "comun/state/core_state.h"
#include "comun/state/image_state.h"
#include "comun/state/parameters_state.h"
#include "comun/state/pattern_state.h"
#include "comun/state/results_state.h"
#include "comun/state/search_state.h"
#include "comun/state/telescope_state.h"
#include "comun/state/triangle_state.h"
#include "comun/state/window_state.h"

namespace tornel {

// Events that the automation object listens to.
struct AnalysisEvents {
    std::function<void(int32_t seconds)> AvisoTiempo;  // elapsed whole seconds of the analysis
    std::function<void()> AvisoTerminado;              // the analysis has closed
};

struct Context : CoreState,
                 ParameterState,
                 ImageState,
                 SearchState,
                 PatternState,
                 TriangleState,
                 CatalogState,
                 AstrometryState,
                 ResultsState,
                 AutomationState,
                 TelescopeState,
                 WindowState {
    explicit Context(Platform& p) : platform(p) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    Platform& platform;
    AnalysisEvents events;
};

}  // namespace tornel
