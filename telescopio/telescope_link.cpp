#include "telescopio/telescope_link.h"

#include <charconv>

namespace tornel {

std::unique_ptr<TelescopeLink> CreateTelescope(const std::string& identifier, const LinkWait& wait) {
    auto id = ParseLinkIdentifier(identifier);
    if (!id) return nullptr;
    switch (id->kind) {
        case LinkKind::Indi:
            return CreateIndiTelescope(*id, wait);
        case LinkKind::Alpaca:
            return CreateAlpacaTelescope(*id, wait);
        case LinkKind::CartesDuCiel:
            return nullptr;
    }
    return nullptr;
}

std::vector<TelescopeEntry> ListTelescopes(const TelescopeSearch& where, const LinkWait& wait) {
    std::vector<TelescopeEntry> found;
    for (const std::string& server : where.indiServers) {
        const size_t colon = server.rfind(':');
        std::string host = server.substr(0, colon);
        int port = 7624;
        if (colon != std::string::npos) {
            const std::string p = server.substr(colon + 1);
            std::from_chars(p.data(), p.data() + p.size(), port);
        }
        if (port < 1 || port > 65535 || host.empty()) continue;
        for (auto& e : ListIndiTelescopes(host, static_cast<uint16_t>(port), wait))
            found.push_back(e);
    }
    if (where.alpacaDiscovery)
        for (auto& e : ListAlpacaTelescopes(where.alpacaDiscoveryPort, wait))
            found.push_back(e);
    return found;
}

}  // namespace tornel
