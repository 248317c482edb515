// The Alpaca back end: a telescope of an ASCOM Alpaca server, over HTTP with cpp-httplib and JSON
// with nlohmann-json (both Debian packages, neither a toolkit). Each request is bounded by the
// link's time limit; it does not pump events, but a dead server costs at most that limit.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <httplib.h>
#include <atomic>
#include <cctype>
#include <nlohmann/json.hpp>
#include <set>
#include <type_traits>

#include "telescopio/alpaca_module.h"
#include "telescopio/telescope_link.h"

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

uint32_t ThisClientId() {
    // Chosen once per program; 0 is reserved by the protocol.
    return static_cast<uint32_t>(::getpid() % 65534) + 1;
}

void Bound(httplib::Client& http, std::chrono::milliseconds limit) {
    const auto seconds = static_cast<time_t>(limit.count() / 1000);
    const auto micro = static_cast<time_t>((limit.count() % 1000) * 1000);
    http.set_connection_timeout(seconds, micro);
    http.set_read_timeout(seconds, micro);
    http.set_write_timeout(seconds, micro);
}

// The Value of an answer, after the checks every answer needs: HTTP 200 is not success.
Json Checked(const httplib::Result& result, const std::string& where) {
    if (!result)
        throw LinkError("No Alpaca server answers at " + where + " (" + httplib::to_string(result.error()) +
                        ").");
    if (result->status != 200)
        throw LinkError("The Alpaca server answered HTTP " + std::to_string(result->status) + ": " +
                        result->body);
    Json body = Json::parse(result->body, nullptr, false);
    if (body.is_discarded()) throw LinkError("The Alpaca server sent no JSON.");
    const Json* number = Key(body, "ErrorNumber");
    if (number && number->is_number_integer() && number->get<int>() != 0) {
        const Json* text = Key(body, "ErrorMessage");
        std::string message = ErrorMeaning(number->get<int>());
        if (text && text->is_string() && !text->get<std::string>().empty())
            message += " (" + text->get<std::string>() + ")";
        if (number->get<int>() == 0x40B) throw NotTrackingError(message);
        throw LinkError(message);
    }
    const Json* value = Key(body, "Value");
    return value ? *value : Json();
}

class AlpacaTelescope : public TelescopeLink {
  public:
    AlpacaTelescope(const LinkIdentifier& id, const LinkWait& wait)
        : http_(id.host, id.port),
          base_("/api/v1/telescope/" + std::to_string(id.number) + "/"),
          where_(id.host + ":" + std::to_string(id.port)) {
        Bound(http_, wait.limit);
    }

    void SetConnected(bool on) override { Put("connected", {{"Connected", on ? "True" : "False"}}); }
    bool Connected() override { return Bool("connected"); }
    bool Tracking() override { return Bool("tracking"); }
    double RightAscension() override { return Number("rightascension"); }
    double Declination() override { return Number("declination"); }

    void SyncToCoordinates(double hours, double degrees) override {
        char ra[32], dec[32];
        std::snprintf(ra, sizeof ra, "%.10f", hours);
        std::snprintf(dec, sizeof dec, "%.10f", degrees);
        Put("synctocoordinates", {{"RightAscension", ra}, {"Declination", dec}});
    }

  private:
    httplib::Params Common() {
        return {{"ClientID", std::to_string(ThisClientId())},
                {"ClientTransactionID", std::to_string(++transaction_)}};
    }

    Json Get(const std::string& name) {
        const std::string query = httplib::detail::params_to_query_str(Common());
        return Checked(http_.Get(base_ + name + "?" + query), where_);
    }

    void Put(const std::string& name, httplib::Params form) {
        for (auto& p : Common())
            form.insert(p);
        Checked(http_.Put(base_ + name, form), where_);
    }

    bool Bool(const std::string& name) {
        Json v = Get(name);
        if (!v.is_boolean()) throw LinkError("The Alpaca server sent no true or false for " + name + ".");
        return v.get<bool>();
    }

    double Number(const std::string& name) {
        Json v = Get(name);
        if (!v.is_number()) throw LinkError("The Alpaca server sent no number for " + name + ".");
        return v.get<double>();
    }

    httplib::Client http_;
    std::string base_, where_;
    uint32_t transaction_ = 0;
};

// Addresses that discovery broadcasts to: loopback's and every interface's broadcast address.
std::set<std::string> BroadcastAddresses() {
    std::set<std::string> out{"127.255.255.255", "255.255.255.255"};
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return out;
    for (ifaddrs* a = list; a; a = a->ifa_next) {
        if (!a->ifa_addr || a->ifa_addr->sa_family != AF_INET || !(a->ifa_flags & IFF_BROADCAST) ||
            !a->ifa_broadaddr)
            continue;
        char text[INET_ADDRSTRLEN];
        auto* b = reinterpret_cast<sockaddr_in*>(a->ifa_broadaddr);
        if (inet_ntop(AF_INET, &b->sin_addr, text, sizeof text)) out.insert(text);
    }
    freeifaddrs(list);
    return out;
}

// Alpaca servers that answer the discovery datagram within the wait: (address, HTTP port).
std::set<std::pair<std::string, uint16_t>> Discover(uint16_t discoveryPort, const LinkWait& wait) {
    std::set<std::pair<std::string, uint16_t>> servers;
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return servers;
    int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
    const std::string query = "alpacadiscovery1";
    auto ask = [&] {
        for (const std::string& address : BroadcastAddresses()) {
            sockaddr_in to{};
            to.sin_family = AF_INET;
            to.sin_port = htons(discoveryPort);
            inet_pton(AF_INET, address.c_str(), &to.sin_addr);
            ::sendto(fd, query.data(), query.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
        }
    };
    // Datagrams get lost: ask twice, and let duplicate answers fold together.
    ask();
    const auto deadline = wait.Deadline();
    bool askedAgain = false;
    while (LinkWait::Clock::now() < deadline) {
        if (!askedAgain && LinkWait::Clock::now() > deadline - wait.limit / 2) {
            ask();
            askedAgain = true;
        }
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 40) > 0) {
            char buffer[1024];
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t n =
                ::recvfrom(fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &length);
            if (n <= 0) continue;
            Json answer = Json::parse(std::string(buffer, static_cast<size_t>(n)), nullptr, false);
            const Json* port = Key(answer, "AlpacaPort");
            if (!port || !port->is_number_integer()) continue;
            char text[INET_ADDRSTRLEN];
            inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
            servers.insert({text, static_cast<uint16_t>(port->get<int>())});
        } else {
            wait.Pump();
        }
    }
    ::close(fd);
    return servers;
}

void ListConfigured(uint16_t discoveryPort, const LinkWait& wait, std::vector<TelescopeEntry>& found) {
    for (const auto& [host, port] : Discover(discoveryPort, wait)) {
        httplib::Client http(host, port);
        Bound(http, wait.limit);
        Json devices;
        try {
            devices = Checked(http.Get("/management/v1/configureddevices"), host);
        } catch (const LinkError&) {
            continue;
        }
        if (!devices.is_array()) continue;
        for (const Json& d : devices) {
            const Json* type = Key(d, "DeviceType");
            const Json* number = Key(d, "DeviceNumber");
            const Json* name = Key(d, "DeviceName");
            if (!type || !type->is_string() || !number || !number->is_number_integer()) continue;
            std::string kind = type->get<std::string>();
            for (char& ch : kind)
                ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
            if (kind != "telescope") continue;
            LinkIdentifier id{LinkKind::Alpaca, host, port, {}, number->get<int>()};
            found.push_back(
                {LinkIdentifierText(id), "Alpaca " + (name && name->is_string() ? name->get<std::string>()
                                                                                : std::string("telescope"))});
        }
    }
}

}  // namespace
}  // namespace tornel

// The module's entries (telescopio/alpaca_module.h); the only symbols it shows.
extern "C" __attribute__((visibility("default"))) tornel::TelescopeLink* tornel_alpaca_create(
    const tornel::LinkIdentifier& id, const tornel::LinkWait& wait) {
    return new tornel::AlpacaTelescope(id, wait);
}

extern "C" __attribute__((visibility("default"))) void tornel_alpaca_list(
    uint16_t discoveryPort, const tornel::LinkWait& wait, std::vector<tornel::TelescopeEntry>& found) {
    tornel::ListConfigured(discoveryPort, wait, found);
}

static_assert(std::is_same_v<decltype(tornel_alpaca_create), tornel::AlpacaCreateEntry>);
static_assert(std::is_same_v<decltype(tornel_alpaca_list), tornel::AlpacaListEntry>);
