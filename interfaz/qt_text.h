#pragma once
// The engine's texts are UTF-8 std::strings; Qt's are QStrings.
#include <QString>
#include <string>

namespace tornel {

inline QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

}  // namespace tornel
