#include "comun/errors.h"

#include <new>

#include "comun/context.h"

namespace tornel {

std::string ErrorText(int number) {
    switch (number) {
        case kErrInvalidCall:
            return "Invalid procedure call or argument";
        case kErrOverflow:
            return "Overflow";
        case kErrOutOfMemory:
            return "Out of memory";
        case kErrSubscript:
            return "Subscript out of range";
        case kErrDivisionByZero:
            return "Division by zero";
        case kErrTypeMismatch:
            return "Type mismatch";
        case kErrBadFileName:
            return "Bad file name or number";
        case kErrFileNotFound:
            return "File not found";
        case kErrPastEndOfFile:
            return "Input past end of file";
        case kErrPermissionDenied:
            return "Permission denied";
        case kErrPathFileAccess:
            return "Path/File access error";
        case kErrPathNotFound:
            return "Path not found";
        case kErrAutomation:
            return "Automation error";
        default:
            return "Application-defined or object-defined error";
    }
}

void Raise(int number) {
    throw NumberedError(number);
}

void Raise(int number, std::string text) {
    throw NumberedError(number, std::move(text));
}

std::string ErrorReport(const NumberedError& e, std::string_view procedure) {
    return "Error " + std::to_string(e.number()) + " " + e.text() + " " + std::string(procedure);
}

NumberedError CurrentAsNumbered() {
    try {
        throw;
    } catch (const NumberedError& e) {
        return e;
    } catch (const std::bad_alloc&) {
        return NumberedError(kErrOutOfMemory);
    } catch (const std::out_of_range&) {
        return NumberedError(kErrSubscript);
    } catch (const std::exception& e) {
        return NumberedError(kErrInvalidCall, e.what());
    } catch (...) {
        return NumberedError(kErrInvalidCall);
    }
}

void ReportError(Context& c, const NumberedError& e, std::string_view procedure) {
    if (c.gMostrarAvisos) c.platform.MessageBox(ErrorReport(e, procedure));
    c.mFinAnalisis = true;
    c.platform.SetTitle(c.mTitulo);
}

}  // namespace tornel
