#pragma once
// A TCP client over plain sockets with a time limit on every wait; the links of the engine use it
// so that they need no toolkit.
#include <cstdint>
#include <string>

#include "telescopio/link_wait.h"

namespace tornel {

class TcpStream {
  public:
    TcpStream() = default;
    ~TcpStream();
    TcpStream(const TcpStream&) = delete;
    TcpStream& operator=(const TcpStream&) = delete;

    // Connects within the wait's limit; LinkError when the host refuses or stays silent.
    void Connect(const std::string& host, uint16_t port, const LinkWait& wait);
    bool IsOpen() const { return fd_ >= 0; }
    void Close();
    // Sends the whole text; LinkError when the peer has gone.
    void Send(const std::string& data);
    // Waits until data arrives or the deadline passes. Answers what came (empty at the deadline);
    // LinkError when the peer closed.
    std::string Receive(LinkWait::Clock::time_point deadline, const LinkWait& wait);

  private:
    int fd_ = -1;
    std::string peer_;
};

}  // namespace tornel
