#pragma once
// A small client of the INDI protocol: XML elements over TCP, one after another with no root. It
// keeps what the server has defined of each device and the device's messages, and waits for
// answers only while it is asked to, so that the engine stays on its one thread.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "telescopio/indi_stream.h"
#include "telescopio/link_wait.h"
#include "telescopio/tcp_stream.h"

namespace tornel {

class IndiClient {
  public:
    explicit IndiClient(LinkWait wait);
    ~IndiClient();
    IndiClient(const IndiClient&) = delete;
    IndiClient& operator=(const IndiClient&) = delete;

    void Open(const std::string& host, uint16_t port);
    void Close();
    bool IsOpen() const { return stream_.IsOpen(); }

    // Asks for the definitions of one device (its messages come along) or of all.
    void GetProperties(const std::string& device = {});
    void NewSwitch(const std::string& device, const std::string& vector, const std::string& member);
    void NewNumbers(const std::string& device, const std::string& vector,
                    const std::vector<std::pair<std::string, double>>& values);

    // Reads what the server sends until `done` holds or the wait's limit passes; answers `done`.
    bool WaitFor(const std::function<bool()>& done);
    // The same within `limit` when it is shorter than the wait's.
    bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds limit);
    // Reads for the whole limit (a chooser collecting every device).
    void Collect();

    const IndiVector* Find(const std::string& device, const std::string& vector) const;
    const std::map<std::string, IndiDevice>& Devices() const { return devices_; }
    std::vector<std::string> Messages(const std::string& device) const;

  private:
    void Feed(const std::string& data);

    LinkWait wait_;
    TcpStream stream_;
    std::unique_ptr<IndiStream> parser_;
    std::map<std::string, IndiDevice> devices_;
};

// The text with the five XML specials escaped, for attribute values.
std::string XmlEscape(const std::string& text);

}  // namespace tornel
