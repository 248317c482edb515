#include "telescopio/alpaca_replies.h"

#include <algorithm>
#include <cctype>

#include "telescopio/link_wait.h"

namespace tornel {
namespace {

using Json = nlohmann::json;

// ASCOM's reserved error numbers that a user may meet.
std::string ErrorMeaning(int number) {
    switch (number) {
        case 0x400:
            return "The telescope does not implement this operation.";
        case 0x401:
            return "The telescope refused the value as invalid.";
        case 0x407:
            return "The telescope is not connected.";
        case 0x408:
            return "The telescope is parked.";
        case 0x409:
            return "The telescope is slaved.";
        case 0x40B:
            return "The telescope cannot do this now.";
        default:
            return "The telescope reported error " + std::to_string(number) + ".";
    }
}

// A key of an Alpaca answer, whatever its case.
const Json* Key(const Json& object, const std::string& name) {
    if (!object.is_object()) return nullptr;
    for (auto it = object.begin(); it != object.end(); ++it) {
        const std::string& k = it.key();
        if (k.size() == name.size() && std::equal(k.begin(), k.end(), name.begin(), [](char a, char b) {
                return std::tolower(static_cast<unsigned char>(a)) ==
                       std::tolower(static_cast<unsigned char>(b));
            }))
            return &it.value();
    }
    return nullptr;
}

}  // namespace

Json AlpacaValue(int status, const std::string& body) {
    if (status != 200)
        throw LinkError("The Alpaca server answered HTTP " + std::to_string(status) + ": " + body);
    Json answer = Json::parse(body, nullptr, false);
    if (answer.is_discarded()) throw LinkError("The Alpaca server sent no JSON.");
    const Json* number = Key(answer, "ErrorNumber");
    if (number && number->is_number_integer() && number->get<int64_t>() != 0) {
        // Error numbers are small; a wild one is reported as it stands, not folded into another.
        const int64_t n = number->get<int64_t>();
        const Json* text = Key(answer, "ErrorMessage");
        std::string message = n == static_cast<int>(n)
                                  ? ErrorMeaning(static_cast<int>(n))
                                  : "The telescope reported error " + std::to_string(n) + ".";
        if (text && text->is_string() && !text->get<std::string>().empty())
            message += " (" + text->get<std::string>() + ")";
        if (n == 0x40B) throw NotTrackingError(message);
        throw LinkError(message);
    }
    const Json* value = Key(answer, "Value");
    return value ? *value : Json();
}

bool AlpacaBool(const Json& value, const std::string& name) {
    if (!value.is_boolean()) throw LinkError("The Alpaca server sent no true or false for " + name + ".");
    return value.get<bool>();
}

double AlpacaNumber(const Json& value, const std::string& name) {
    if (!value.is_number()) throw LinkError("The Alpaca server sent no number for " + name + ".");
    return value.get<double>();
}

std::optional<uint16_t> DiscoveryAnswerPort(const std::string& datagram) {
    const Json answer = Json::parse(datagram, nullptr, false);
    const Json* port = Key(answer, "AlpacaPort");
    if (!port || !port->is_number_integer()) return std::nullopt;
    const int64_t p = port->get<int64_t>();
    if (p < 1 || p > 65535) return std::nullopt;
    return static_cast<uint16_t>(p);
}

std::vector<std::pair<int, std::string>> ConfiguredTelescopes(const Json& devices) {
    std::vector<std::pair<int, std::string>> out;
    if (!devices.is_array()) return out;
    for (const Json& d : devices) {
        const Json* type = Key(d, "DeviceType");
        const Json* number = Key(d, "DeviceNumber");
        const Json* name = Key(d, "DeviceName");
        if (!type || !type->is_string() || !number || !number->is_number_integer()) continue;
        const int64_t n = number->get<int64_t>();
        if (n < 0 || n > 0x7fffffff) continue;
        std::string kind = type->get<std::string>();
        for (char& ch : kind)
            ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        if (kind != "telescope") continue;
        out.emplace_back(static_cast<int>(n),
                         name && name->is_string() ? name->get<std::string>() : "telescope");
    }
    return out;
}

}  // namespace tornel
