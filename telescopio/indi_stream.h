#pragma once
// What an INDI server sends, parsed as the bytes arrive: the definitions, updates and messages of
// each device. Apart from the socket, so that any bytes can be fed to it.
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tornel {

struct IndiVector {
    std::string state;                           // Idle, Ok, Busy or Alert
    std::map<std::string, std::string> members;  // trimmed texts: "On"/"Off", numbers, texts
    uint64_t updates = 0;                        // definitions and updates received so far
    bool Is(const std::string& member, const std::string& value) const;
    double Number(const std::string& member) const;  // LinkError when absent or not a number
};

struct IndiDevice {
    std::map<std::string, IndiVector> vectors;
    std::vector<std::string> messages;  // in order of arrival
};

// One server's stream, cut anywhere: what it defines lands in `devices`. A server that sends what no
// INDI server sends (a member's text past kMaxIndiText, elements nested past kMaxIndiDepth, a single
// tag or attribute past kMaxIndiPending bytes) is refused, so that it cannot grow memory without bound.
inline constexpr size_t kMaxIndiText = size_t{1} << 20;
inline constexpr int kMaxIndiDepth = 32;
inline constexpr size_t kMaxIndiPending = size_t{1} << 20;

class IndiStream {
  public:
    explicit IndiStream(std::map<std::string, IndiDevice>& devices);
    ~IndiStream();
    IndiStream(const IndiStream&) = delete;
    IndiStream& operator=(const IndiStream&) = delete;
    // The next bytes; LinkError when they are not well-formed XML or pass a limit above, after which the
    // stream is spent.
    void Feed(std::string_view data);

  private:
    struct Parser;
    std::unique_ptr<Parser> parser_;
};

}  // namespace tornel
