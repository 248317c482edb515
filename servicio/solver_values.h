#pragma once
// The object's values on the bus: long "i", boolean "b", double "d", text "s".
#include <QString>
#include <QVariant>
#include <optional>

#include "automatizacion/image_solver.h"

namespace tornel {

QVariant ToBusValue(const SolverValue& value);
// The value a client sent, as the property's type; none when it does not fit that type. A double
// also takes an integer, a long any integer that fits in 32 bits.
std::optional<SolverValue> FromBusValue(const QVariant& value, SolverType type);
// The D-Bus signature of a type: "i", "b", "d" or "s".
QString BusSignature(SolverType type);

inline QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

}  // namespace tornel
