// Alpaca speaks HTTP through cpp-httplib, which brings TLS and compression libraries that would cost
// every start of every program several milliseconds to load and relocate. So the Alpaca link lives in
// a module of its own beside the pixel library, loaded the first time an Alpaca telescope is wanted.
#include <dlfcn.h>

#include "telescopio/alpaca_module.h"
#include "telescopio/telescope_link.h"

namespace tornel {

namespace {

// The entry `name` of the module. The module stays loaded: the links it made may outlive the call.
void* AlpacaEntry(const char* name) {
    void* module = dlopen(kAlpacaModule, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) throw LinkError(std::string("the Alpaca link cannot be loaded: ") + dlerror());
    void* entry = dlsym(module, name);
    if (entry == nullptr) throw LinkError(std::string("the Alpaca link is of another version: ") + dlerror());
    return entry;
}

}  // namespace

std::unique_ptr<TelescopeLink> CreateAlpacaTelescope(const LinkIdentifier& id, const LinkWait& wait) {
    auto* create = reinterpret_cast<AlpacaCreateEntry*>(AlpacaEntry(kAlpacaCreate));
    return std::unique_ptr<TelescopeLink>(create(id, wait));
}

std::vector<TelescopeEntry> ListAlpacaTelescopes(uint16_t discoveryPort, const LinkWait& wait) {
    auto* list = reinterpret_cast<AlpacaListEntry*>(AlpacaEntry(kAlpacaList));
    std::vector<TelescopeEntry> found;
    list(discoveryPort, wait, found);
    return found;
}

}  // namespace tornel
