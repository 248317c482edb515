// Stand-ins until the status files land: nothing is written yet.
#include "resultados/status_files.h"

namespace tornel {

void GrabaTornelPos(Context&) {}
void GrabaTornelSta(Context&, int) {}

}  // namespace tornel
