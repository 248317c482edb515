#pragma once
// A program under test: a context on a recording platform with its own program folder.
#include "comun/context.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel::testing {

struct TestProgram {
    TestProgram() { c.gCarpetaPrograma = home.Path(); }
    TempFolder home;
    RecordingPlatform platform;
    Context c{platform};
};

}  // namespace tornel::testing
