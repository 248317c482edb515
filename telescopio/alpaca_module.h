#pragma once
// The entries of the Alpaca module (tornel-alpaca.so), which the programs load when an Alpaca
// telescope is first wanted. Both sides are built from this header in one build.
#include <cstdint>
#include <vector>

#include "telescopio/telescope_link.h"

namespace tornel {

inline constexpr const char* kAlpacaModule = "tornel-alpaca.so";
inline constexpr const char* kAlpacaCreate = "tornel_alpaca_create";
inline constexpr const char* kAlpacaList = "tornel_alpaca_list";

// A new link to the telescope `id` (the caller owns it); throws LinkError as the link's calls do.
using AlpacaCreateEntry = TelescopeLink*(const LinkIdentifier& id, const LinkWait& wait);
// Appends the telescopes that the servers answering discovery on `discoveryPort` configure.
using AlpacaListEntry = void(uint16_t discoveryPort, const LinkWait& wait,
                             std::vector<TelescopeEntry>& found);

}  // namespace tornel
