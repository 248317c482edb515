// An Alpaca server's answers: the body of an HTTP answer (the first byte chooses success or another
// status), the values read from it, the list of configured devices, and a discovery datagram.
#include "telescopio/alpaca_replies.h"
#include "telescopio/link_wait.h"

using namespace tornel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string body(reinterpret_cast<const char*>(data) + 1, size - 1);
    DiscoveryAnswerPort(body);
    try {
        const nlohmann::json value = AlpacaValue(data[0] < 240 ? 200 : 400 + data[0] % 100, body);
        ConfiguredTelescopes(value);
        try {
            AlpacaBool(value, "tracking");
        } catch (const LinkError&) {
        }
        AlpacaNumber(value, "rightascension");
    } catch (const LinkError&) {
    }
    return 0;
}
