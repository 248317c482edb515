#pragma once
// The identifiers the user chooses or types for a telescope or a planetarium:
//   indi://host:port/Device Name     (port 7624 when left out; the name may be percent-encoded)
//   alpaca://host:port/N             (telescope number N of an Alpaca server; port 11111 when left out)
//   cdc://host:port                  (the planetarium's TCP server; port 3292 when left out)
#include <cstdint>
#include <optional>
#include <string>

namespace tornel {

enum class LinkKind : uint8_t { Indi, Alpaca, CartesDuCiel };

struct LinkIdentifier {
    LinkKind kind = LinkKind::Indi;
    std::string host;
    uint16_t port = 0;
    std::string device;  // INDI device name, decoded
    int number = 0;      // Alpaca device number
};

// Nothing when the text is none of the forms above.
std::optional<LinkIdentifier> ParseLinkIdentifier(const std::string& text);
// The text of an identifier, with the characters that would break it percent-encoded.
std::string LinkIdentifierText(const LinkIdentifier& id);

}  // namespace tornel
