#pragma once
// Numbered errors and the one trap pattern used by every procedure that can fail.
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "comun/numbers.h"

namespace tornel {

struct Context;

// Error numbers in use across the program.
enum ErrorNumber : int {
    kErrInvalidCall = 5,
    kErrOverflow = 6,
    kErrOutOfMemory = 7,
    kErrSubscript = 9,
    kErrDivisionByZero = 11,
    kErrTypeMismatch = 13,
    kErrBadFileName = 52,
    kErrFileNotFound = 53,
    kErrPastEndOfFile = 62,
    kErrPermissionDenied = 70,
    kErrPathFileAccess = 75,
    kErrPathNotFound = 76,
    kErrAutomation = 440,  // a telescope or planetarium link failed
};

// The standard English text of an error number.
std::string ErrorText(int number);

// A numbered error. It never crosses a procedure that has a trap.
class NumberedError : public std::runtime_error {
  public:
    explicit NumberedError(int number, std::string text = {})
        : std::runtime_error(text.empty() ? ErrorText(number) : text), number_(number) {}
    int number() const { return number_; }
    std::string text() const { return what(); }

  private:
    int number_;
};

[[noreturn]] void Raise(int number);
[[noreturn]] void Raise(int number, std::string text);

// "Error " + number + " " + text + " " + procedure.
std::string ErrorReport(const NumberedError& e, std::string_view procedure);

// Converts any exception in flight into a numbered error (bad_alloc is 7, the rest 5).
NumberedError CurrentAsNumbered();

// The trap of a long procedure: message box when gMostrarAvisos, mFinAnalisis set, title restored.
void ReportError(Context& c, const NumberedError& e, std::string_view procedure);

// Runs body under the trap of `procedure`. Answers true when the body ended without error.
template <class Body>
bool WithTrap(Context& c, std::string_view procedure, Body&& body) {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        ReportError(c, CurrentAsNumbered(), procedure);
        return false;
    }
}

// WithTrap for a numeric routine: a division by zero, an invalid operation or an overflow in the body
// becomes the routine's error (11, 5 or 6), as if the operation itself had raised it. The body gets
// the check, to call before it writes results that an error must leave alone; it is called again at
// the end in any case.
template <class Body>
bool WithCheckedTrap(Context& c, std::string_view procedure, Body&& body) {
    return WithTrap(c, procedure, [&] {
        FpCheck fp;
        std::forward<Body>(body)(static_cast<const FpCheck&>(fp));
        fp.Check();
    });
}

}  // namespace tornel
