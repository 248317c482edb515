// The INDI back end: a device of an INDI server, reached through the standard telescope
// properties. Coordinates go through EQUATORIAL_EOD_COORD, which every mount driver offers.
#include <cmath>
#include <cstdlib>
#include <set>

#include "telescopio/indi_client.h"
#include "telescopio/telescope_link.h"

namespace tornel {
namespace {

constexpr const char* kConnection = "CONNECTION";
constexpr const char* kCoordinates = "EQUATORIAL_EOD_COORD";
constexpr const char* kCoordSet = "ON_COORD_SET";
constexpr int kTelescopeInterface = 1;
constexpr auto kOptionalWait = std::chrono::milliseconds(500);

class IndiTelescope : public TelescopeLink {
  public:
    IndiTelescope(LinkIdentifier id, const LinkWait& wait) : id_(std::move(id)), client_(wait) {}

    void SetConnected(bool on) override {
        if (!on) {
            // Only our link goes: the device stays connected for the other clients of the server.
            client_.Close();
            return;
        }
        Reach();
        if (Connected()) return;
        client_.NewSwitch(id_.device, kConnection, "CONNECT");
        client_.WaitFor([&] {
            const IndiVector* v = client_.Find(id_.device, kConnection);
            return v && (v->state == "Alert" || (v->Is("CONNECT", "On") && v->state != "Busy"));
        });
    }

    bool Connected() override {
        if (!client_.IsOpen()) return false;
        const IndiVector* v = client_.Find(id_.device, kConnection);
        return v && v->Is("CONNECT", "On") && v->state != "Alert";
    }

    bool Tracking() override {
        RequireConnected();
        const IndiVector* v = Optional("TELESCOPE_TRACK_STATE");
        // A mount that offers no tracking switch tracks by itself.
        return !v || v->Is("TRACK_ON", "On");
    }

    double RightAscension() override { return Coordinates().Number("RA"); }
    double Declination() override { return Coordinates().Number("DEC"); }

    void SyncToCoordinates(double hours, double degrees) override {
        RequireConnected();
        Coordinates();
        const IndiVector* park = Optional("TELESCOPE_PARK");
        if (park && park->Is("PARK", "On")) throw LinkError("The telescope is parked.");
        const std::string previous = OnSwitch(kCoordSet);
        // Answers that come after a request, not what was known before it, tell what the driver did.
        const uint64_t modeBefore = Updates(kCoordSet);
        client_.NewSwitch(id_.device, kCoordSet, "SYNC");
        if (!client_.WaitFor(
                [&] { return Updates(kCoordSet) > modeBefore && OnSwitch(kCoordSet) == "SYNC"; }))
            throw LinkError("The telescope did not take the sync mode.");
        const size_t heard = client_.Messages(id_.device).size();
        const uint64_t before = Updates(kCoordinates);
        client_.NewNumbers(id_.device, kCoordinates, {{"RA", hours}, {"DEC", degrees}});
        std::string refusal;
        const bool taken = client_.WaitFor([&] {
            refusal = Refusal(heard);
            return !refusal.empty() || (Updates(kCoordinates) > before && At(hours, degrees));
        });
        // The mode is shared by every client of the device: the next goto must not become a sync.
        // The driver confirms it before this link goes.
        if (!previous.empty() && previous != "SYNC") {
            const uint64_t restoreBefore = Updates(kCoordSet);
            client_.NewSwitch(id_.device, kCoordSet, previous);
            client_.WaitFor(
                [&] { return Updates(kCoordSet) > restoreBefore && OnSwitch(kCoordSet) == previous; });
        }
        if (!refusal.empty()) throw LinkError(refusal);
        if (!taken) throw LinkError("The telescope did not take the coordinates within the time limit.");
    }

  private:
    void Reach() {
        if (client_.IsOpen()) return;
        client_.Open(id_.host, id_.port);
        // Asked by device, so that the driver's messages come too.
        client_.GetProperties(id_.device);
        if (!client_.WaitFor([&] { return client_.Find(id_.device, kConnection) != nullptr; }))
            throw LinkError("The INDI server at " + id_.host + ":" + std::to_string(id_.port) +
                            " offers no device \"" + id_.device + "\".");
    }

    void RequireConnected() {
        // A driver may obey a command after its device was disconnected: never rely on it refusing.
        if (!Connected()) throw LinkError("The device \"" + id_.device + "\" is not connected.");
    }

    const IndiVector& Coordinates() {
        RequireConnected();
        // A device just connected defines its telescope properties a moment later.
        client_.WaitFor([&] { return client_.Find(id_.device, kCoordinates) != nullptr; });
        const IndiVector* v = client_.Find(id_.device, kCoordinates);
        if (!v) throw LinkError("The device \"" + id_.device + "\" gives no equatorial coordinates.");
        return *v;
    }

    // A property the device may lack. The definitions come in a burst with no end marker, so a
    // missing one is waited for a little, once.
    const IndiVector* Optional(const char* vector) {
        if (!client_.Find(id_.device, vector) && waitedForOptional_.insert(vector).second)
            client_.WaitFor([&] { return client_.Find(id_.device, vector) != nullptr; }, kOptionalWait);
        return client_.Find(id_.device, vector);
    }

    uint64_t Updates(const char* vector) const {
        const IndiVector* v = client_.Find(id_.device, vector);
        return v ? v->updates : 0;
    }

    std::string OnSwitch(const char* vector) const {
        const IndiVector* v = client_.Find(id_.device, vector);
        if (!v) return {};
        for (const auto& [name, value] : v->members)
            if (value == "On") return name;
        return {};
    }

    // A warning or an error of the driver since `heard` messages, or the coordinates in alert.
    std::string Refusal(size_t heard) const {
        const auto messages = client_.Messages(id_.device);
        for (size_t i = heard; i < messages.size(); ++i)
            if (messages[i].find("[WARNING]") != std::string::npos ||
                messages[i].find("[ERROR]") != std::string::npos)
                return messages[i];
        const IndiVector* v = client_.Find(id_.device, kCoordinates);
        if (v && v->state == "Alert") return "The telescope refused the coordinates.";
        return {};
    }

    bool At(double hours, double degrees) const {
        const IndiVector* v = client_.Find(id_.device, kCoordinates);
        if (!v) return false;
        try {
            double dRa = std::fabs(v->Number("RA") - hours);
            if (dRa > 12) dRa = 24 - dRa;
            // The driver reports its own reckoning of the new position, a few seconds of arc off.
            return dRa < 3e-4 && std::fabs(v->Number("DEC") - degrees) < 1e-3;
        } catch (const LinkError&) {
            return false;
        }
    }

    LinkIdentifier id_;
    IndiClient client_;
    std::set<std::string> waitedForOptional_;
};

}  // namespace

std::unique_ptr<TelescopeLink> CreateIndiTelescope(const LinkIdentifier& id, const LinkWait& wait) {
    return std::make_unique<IndiTelescope>(id, wait);
}

std::vector<TelescopeEntry> ListIndiTelescopes(const std::string& host, uint16_t port, const LinkWait& wait) {
    std::vector<TelescopeEntry> found;
    IndiClient client(wait);
    try {
        client.Open(host, port);
        client.GetProperties();
        client.Collect();
    } catch (const LinkError&) {
        // A server that is absent or goes away offers what it has sent, maybe nothing.
    }
    for (const auto& [name, device] : client.Devices()) {
        auto info = device.vectors.find("DRIVER_INFO");
        if (info == device.vectors.end()) continue;
        auto bits = info->second.members.find("DRIVER_INTERFACE");
        if (bits == info->second.members.end()) continue;
        if ((std::atoi(bits->second.c_str()) & kTelescopeInterface) == 0) continue;
        LinkIdentifier id{LinkKind::Indi, host, port, name, 0};
        auto exec = info->second.members.find("DRIVER_EXEC");
        std::string description = "INDI " + name;
        if (exec != info->second.members.end()) description += " (" + exec->second + ")";
        found.push_back({LinkIdentifierText(id), description});
    }
    return found;
}

}  // namespace tornel
