#include "servicio/solver_values.h"

#include <cmath>
#include <limits>

namespace tornel {

QVariant ToBusValue(const SolverValue& value) {
    return std::visit(
        [](const auto& v) -> QVariant {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>)
                return Q(v);
            else
                return QVariant::fromValue(v);
        },
        value);
}

namespace {

bool IsInteger(const QVariant& v) {
    switch (v.metaType().id()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::UChar:
            return true;
        default:
            return false;
    }
}

std::optional<SolverValue> AsLong(const QVariant& v) {
    if (!IsInteger(v)) return std::nullopt;
    if (v.metaType().id() == QMetaType::ULongLong) {
        qulonglong u = v.toULongLong();
        if (u > static_cast<qulonglong>(std::numeric_limits<int32_t>::max())) return std::nullopt;
        return static_cast<int32_t>(u);
    }
    qlonglong x = v.toLongLong();
    if (x < std::numeric_limits<int32_t>::min() || x > std::numeric_limits<int32_t>::max())
        return std::nullopt;
    return static_cast<int32_t>(x);
}

}  // namespace

std::optional<SolverValue> FromBusValue(const QVariant& value, SolverType type) {
    switch (type) {
        case SolverType::Long:
            return AsLong(value);
        case SolverType::Boolean:
            if (value.metaType().id() != QMetaType::Bool) return std::nullopt;
            return value.toBool();
        case SolverType::Double:
            if (value.metaType().id() == QMetaType::Double) return value.toDouble();
            if (IsInteger(value)) return static_cast<double>(value.toLongLong());
            return std::nullopt;
        case SolverType::Text:
            if (value.metaType().id() != QMetaType::QString) return std::nullopt;
            return value.toString().toStdString();
    }
    return std::nullopt;
}

QString BusSignature(SolverType type) {
    switch (type) {
        case SolverType::Long:
            return "i";
        case SolverType::Boolean:
            return "b";
        case SolverType::Double:
            return "d";
        case SolverType::Text:
            return "s";
    }
    return {};
}

}  // namespace tornel
