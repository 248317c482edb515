#pragma once
// What an Alpaca server answers, read apart from the HTTP and the datagrams that carry it.
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tornel {

// The Value of an answer of HTTP status `status` (null when it has none), after the checks every
// answer needs: HTTP 200 is not success, ErrorNumber decides. A LinkError otherwise, NotTrackingError
// for the telescope's "cannot do this now".
nlohmann::json AlpacaValue(int status, const std::string& body);
// A Value that must be true or false, or a number, for the member `name`; LinkError otherwise.
bool AlpacaBool(const nlohmann::json& value, const std::string& name);
double AlpacaNumber(const nlohmann::json& value, const std::string& name);
// The HTTP port of a discovery answer; none for any other datagram.
std::optional<uint16_t> DiscoveryAnswerPort(const std::string& datagram);
// The telescopes of a server's configured devices: device number and name.
std::vector<std::pair<int, std::string>> ConfiguredTelescopes(const nlohmann::json& devices);

}  // namespace tornel
