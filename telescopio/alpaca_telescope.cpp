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
#include <nlohmann/json.hpp>
#include <set>
#include <type_traits>

#include "telescopio/alpaca_module.h"
#include "telescopio/alpaca_replies.h"
#include "telescopio/telescope_link.h"

namespace tornel {
namespace {

using Json = nlohmann::json;

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

// The Value of an answer, after the checks every answer needs.
Json Checked(const httplib::Result& result, const std::string& where) {
    if (!result)
        throw LinkError("No Alpaca server answers at " + where + " (" + httplib::to_string(result.error()) +
                        ").");
    return AlpacaValue(result->status, result->body);
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

    bool Bool(const std::string& name) { return AlpacaBool(Get(name), name); }

    double Number(const std::string& name) { return AlpacaNumber(Get(name), name); }

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
            const auto port = DiscoveryAnswerPort(std::string(buffer, static_cast<size_t>(n)));
            if (!port) continue;
            char text[INET_ADDRSTRLEN];
            inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
            servers.insert({text, *port});
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
        for (const auto& [number, name] : ConfiguredTelescopes(devices)) {
            LinkIdentifier id{LinkKind::Alpaca, host, port, {}, number};
            found.push_back({LinkIdentifierText(id), "Alpaca " + name});
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
