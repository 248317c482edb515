#pragma once
// What the mailbox procedures share: reading a message file that another program may still be
// writing, and their trap.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "comun/context.h"
#include "comun/errors.h"

namespace tornel {

// The present moment of the program's clock, seconds since the epoch, as file stamps are.
double NowSeconds(Context& c);

// The keywords of a message's first line, Spanish or English, compared case-sensitively.
bool IsImageMessageLine(const std::string& first);
bool IsParameterMessageLine(const std::string& first);
bool IsCommandMessageLine(const std::string& first);

// The lines of a message file, Latin-1 read into UTF-8, CR LF or LF ends. Raises error 70 while
// another program is still writing the file, 53 when it cannot be read.
std::vector<std::string> ReadMailboxLines(Context& c, const std::string& ruta);

// The trap of a mailbox procedure. Error 70 is a file still being written: no word, result 70.
// Any other error is reported (Error n text procedure) and gives -1. No analysis runs while the
// mailbox reads a message, so the flags of the run are left as they were.
template <class Body>
int32_t MailboxTrap(Context& c, std::string_view procedure, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        NumberedError e = CurrentAsNumbered();
        if (e.number() == kErrPermissionDenied) return kErrPermissionDenied;
        bool finAnalisis = c.mFinAnalisis;
        ReportError(c, e, procedure);
        c.mFinAnalisis = finAnalisis;
        return -1;
    }
}

}  // namespace tornel
