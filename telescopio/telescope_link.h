#pragma once
// The telescope as the solver sees it, whatever drives it. The engine's procedures know only this
// interface; each back end (INDI, Alpaca) maps it to its protocol. Every call may throw LinkError.
#include <memory>
#include <string>
#include <vector>

#include "telescopio/link_identifier.h"
#include "telescopio/link_wait.h"

namespace tornel {

class TelescopeLink {
  public:
    virtual ~TelescopeLink() = default;
    // True reaches the server and the device, connecting it when it is not; false lets go of this
    // program's link only, since other programs may share the device.
    virtual void SetConnected(bool on) = 0;
    virtual bool Connected() = 0;
    virtual bool Tracking() = 0;
    virtual double RightAscension() = 0;  // hours, in the telescope's own equinox
    virtual double Declination() = 0;     // degrees
    virtual void SyncToCoordinates(double hours, double degrees) = 0;
};

// The back end an identifier names; nothing when the identifier names no telescope. Creating it
// touches no network.
std::unique_ptr<TelescopeLink> CreateTelescope(const std::string& identifier, const LinkWait& wait);

// A telescope in reach, as the chooser lists it.
struct TelescopeEntry {
    std::string identifier;
    std::string description;
};

// Where the chooser looks: INDI servers (host:port) and whether Alpaca discovery runs.
struct TelescopeSearch {
    std::vector<std::string> indiServers{"127.0.0.1:7624"};
    bool alpacaDiscovery = true;
    uint16_t alpacaDiscoveryPort = 32227;
};

// Telescopes that the INDI servers and Alpaca devices in reach offer, collected for about the wait's
// limit. Servers that do not answer are left out.
std::vector<TelescopeEntry> ListTelescopes(const TelescopeSearch& where, const LinkWait& wait);

// Back ends, for the factory and the chooser.
std::unique_ptr<TelescopeLink> CreateIndiTelescope(const LinkIdentifier& id, const LinkWait& wait);
std::unique_ptr<TelescopeLink> CreateAlpacaTelescope(const LinkIdentifier& id, const LinkWait& wait);
std::vector<TelescopeEntry> ListIndiTelescopes(const std::string& host, uint16_t port, const LinkWait& wait);
std::vector<TelescopeEntry> ListAlpacaTelescopes(uint16_t discoveryPort, const LinkWait& wait);

}  // namespace tornel
