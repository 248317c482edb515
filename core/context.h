#pragma once
// The one context object: every program-wide value and every member of the main window lives here,
// under its own name, so that a test can make as many programs as it likes.
#include <cstdint>
#include <functional>

#include "astrometria/astrometry_state.h"
#include "automatizacion/automation_state.h"
#include "busqueda/search_state.h"
#include "busqueda/triangle_state.h"
#include "catalogo/catalog_state.h"
#include "core/core_state.h"
#include "core/parameters_state.h"
#include "core/platform.h"
#include "imagen/image_state.h"
#include "resultados/results_state.h"

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
                 TriangleState,
                 CatalogState,
                 AstrometryState,
                 ResultsState,
                 AutomationState {
    explicit Context(Platform& p) : platform(p) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    Platform& platform;
    AnalysisEvents events;
};

}  // namespace tornel
