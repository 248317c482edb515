// What an INDI server sends, cut in two at a place the first byte chooses, as a socket may cut it;
// then the numbers of every member read as the telescope reads them.
#include "telescopio/indi_stream.h"
#include "telescopio/link_wait.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t cut = std::min<size_t>(data[0], bytes.size());
    std::map<std::string, IndiDevice> devices;
    try {
        IndiStream stream(devices);
        stream.Feed(bytes.substr(0, cut));
        stream.Feed(bytes.substr(cut));
    } catch (const LinkError&) {
    }
    for (const auto& [name, device] : devices)
        for (const auto& [vector, v] : device.vectors)
            for (const auto& [member, text] : v.members)
                try {
                    v.Number(member);
                } catch (const LinkError&) {
                }
    return 0;
}
