#pragma once
// State of the mailbox and of the message commands.
#include <string>

namespace tornel {

struct AutomationState {
    std::string mUltimoComando;
    std::string mUltimoValor;
    // Dates of the last handled files of the mailbox, seconds since the epoch.
    double gUltimaFechaBuzon = 0;
    double mFechaUltimoTxt = 0;
    double mFechaUltimoMen = 0;
    double mFechaUltimaImagen = 0;
};

}  // namespace tornel
