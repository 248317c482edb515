#pragma once
// FakeCartesDuCielServer: the planetarium does not run here, so this answers as its TCP server does:
// a greeting line, one reply line a command ending in CR LF, "Bye!" to QUIT. It can also greet
// with a refusal, or greet and then say nothing, as a busy program would.
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/telescopio/indi_simulator.h"

namespace tornel::testing {

class FakeCartesDuCielServer {
  public:
    enum class Manner { Answers, Refuses, Silent };

    explicit FakeCartesDuCielServer(Manner manner = Manner::Answers) : manner_(manner) {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        int yes = 1;
        setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof a;
        ::bind(listener_, reinterpret_cast<sockaddr*>(&a), sizeof a);
        ::listen(listener_, 4);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&a), &length);
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~FakeCartesDuCielServer() {
        stop_ = true;
        thread_.join();
        ::close(listener_);
    }

    std::string Address() const { return "cdc://127.0.0.1:" + std::to_string(port_); }
    std::vector<std::string> Commands() {
        std::lock_guard<std::mutex> lock(mutex_);
        return commands_;
    }
    // The commands once the client has said goodbye: the server reads them on its own thread.
    std::vector<std::string> CommandsUntilQuit() {
        for (int i = 0; i < 200; ++i) {
            auto all = Commands();
            if (!all.empty() && all.back() == "QUIT") return all;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return Commands();
    }

  private:
    std::string Reply(const std::string& command) {
        if (command == "GETRA F") return "OK! 5.58814";
        if (command == "GETDEC F") return "OK! -22.01444";
        if (command == "GETFOV F") return "OK! 1.50000";
        if (command.rfind("MOVE ", 0) == 0) return "OK!";
        if (command == "QUIT") return "Bye!";
        return "Failed! Bad command name";
    }

    void Serve() {
        while (!stop_) {
            pollfd p{listener_, POLLIN, 0};
            if (::poll(&p, 1, 50) <= 0) continue;
            const int client = ::accept(listener_, nullptr, nullptr);
            if (client < 0) continue;
            Talk(client);
            ::close(client);
        }
    }

    void Talk(int client) {
        auto send = [&](const std::string& line) {
            ::send(client, (line + "\r\n").data(), line.size() + 2, MSG_NOSIGNAL);
        };
        send(manner_ == Manner::Refuses ? "Failed! Cannot activate a chart." : "OK! id=1 chart=Chart_1");
        std::string pending;
        while (!stop_) {
            pollfd p{client, POLLIN, 0};
            if (::poll(&p, 1, 50) <= 0) continue;
            char buffer[1024];
            const ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
            if (n <= 0) return;
            pending.append(buffer, static_cast<size_t>(n));
            size_t end;
            while ((end = pending.find("\r\n")) != std::string::npos) {
                const std::string command = pending.substr(0, end);
                pending.erase(0, end + 2);
                {
                    std::lock_guard<std::mutex> lock(mutex_);
                    commands_.push_back(command);
                }
                if (manner_ == Manner::Silent) continue;
                send(Reply(command));
                if (command == "QUIT") return;
            }
        }
    }

    Manner manner_;
    int listener_ = -1;
    uint16_t port_ = 0;
    std::thread thread_;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::vector<std::string> commands_;
};

}  // namespace tornel::testing
