#pragma once
// Whether another program is still writing a file of the mailbox: the file is open for writing by
// some process, or it changed during the last second. A writer that closed its file more than a
// second ago is done with it.
#include <string>

namespace tornel {

// `ahora` is the present moment in seconds since the epoch.
bool FileBeingWritten(const std::string& path, double ahora);

}  // namespace tornel
