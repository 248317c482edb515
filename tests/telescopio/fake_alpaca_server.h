#pragma once
// FakeAlpacaServer: no Alpaca telescope runs here, so this stands in for one. It answers the
// device and management API and the UDP discovery as the published protocol says, with its error
// replies: lower-case paths only (HTTP 400 otherwise), ErrorNumber 1031 when not connected, 1032
// when parked, 1035 for a sync while not tracking, 1025 for coordinates out of range.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <httplib.h>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "tests/telescopio/indi_simulator.h"

namespace tornel::testing {

class FakeAlpacaServer {
  public:
    struct Mount {
        bool connected = false, tracking = true, parked = false;
        double ra = 5.5, dec = 22.25;  // hours, degrees
        int requests = 0;
        std::string lastClientId;
    };

    FakeAlpacaServer() : port_(FreeLoopbackPort()), discoveryPort_(FreeLoopbackPort()) {
        Routes();
        http_thread_ = std::thread([this] { http_.listen("127.0.0.1", port_); });
        for (int i = 0; i < 200 && !Accepts(port_); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        udp_ = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_ANY);
        a.sin_port = htons(discoveryPort_);
        ::bind(udp_, reinterpret_cast<sockaddr*>(&a), sizeof a);
        udp_thread_ = std::thread([this] { AnswerDiscovery(); });
    }
    ~FakeAlpacaServer() {
        stop_ = true;
        http_.stop();
        http_thread_.join();
        udp_thread_.join();
        ::close(udp_);
    }

    uint16_t Port() const { return port_; }
    uint16_t DiscoveryPort() const { return discoveryPort_; }
    std::string Identifier(int n = 0) const {
        return "alpaca://127.0.0.1:" + std::to_string(port_) + "/" + std::to_string(n);
    }
    Mount State() {
        std::lock_guard<std::mutex> lock(mutex_);
        return mount_;
    }
    template <class Edit>
    void Change(Edit change) {
        std::lock_guard<std::mutex> lock(mutex_);
        change(mount_);
    }

  private:
    static std::string Answer(const httplib::Request& req, int error, const std::string& message,
                              const std::string& value = "") {
        std::string body =
            "{\"ClientTransactionID\":" +
            (req.has_param("ClientTransactionID") ? req.get_param_value("ClientTransactionID") : "0") +
            ",\"ServerTransactionID\":1,\"ErrorNumber\":" + std::to_string(error) + ",\"ErrorMessage\":\"" +
            message + "\"";
        if (!value.empty()) body += ",\"Value\":" + value;
        return body + "}";
    }

    void Routes() {
        http_.Get("/management/v1/configureddevices",
                  [](const httplib::Request& req, httplib::Response& res) {
                      res.set_content(Answer(req, 0, "",
                                             "[{\"DeviceName\":\"Fake Mount\",\"DeviceType\":\"Telescope\","
                                             "\"DeviceNumber\":0,\"UniqueID\":\"fake-0\"}]"),
                                      "application/json");
                  });
        http_.Get(R"(/api/v1/telescope/0/([a-z]+))",
                  [this](const httplib::Request& req, httplib::Response& res) {
                      std::lock_guard<std::mutex> lock(mutex_);
                      Count(req);
                      const std::string name = req.matches[1];
                      auto text = [](bool b) { return std::string(b ? "true" : "false"); };
                      if (name == "connected") return Reply(res, Answer(req, 0, "", text(mount_.connected)));
                      if (!mount_.connected) return Reply(res, Answer(req, 1031, "Not connected"));
                      if (name == "tracking") return Reply(res, Answer(req, 0, "", text(mount_.tracking)));
                      if (name == "rightascension")
                          return Reply(res, Answer(req, 0, "", std::to_string(mount_.ra)));
                      if (name == "declination")
                          return Reply(res, Answer(req, 0, "", std::to_string(mount_.dec)));
                      Reply(res, Answer(req, 1024, "Not implemented"));
                  });
        http_.Put(R"(/api/v1/telescope/0/([a-z]+))",
                  [this](const httplib::Request& req, httplib::Response& res) {
                      std::lock_guard<std::mutex> lock(mutex_);
                      Count(req);
                      const std::string name = req.matches[1];
                      if (name == "connected") {
                          mount_.connected = req.get_param_value("Connected") == "True";
                          return Reply(res, Answer(req, 0, ""));
                      }
                      if (!mount_.connected) return Reply(res, Answer(req, 1031, "Not connected"));
                      if (name != "synctocoordinates")
                          return Reply(res, Answer(req, 1024, "Not implemented"));
                      if (mount_.parked) return Reply(res, Answer(req, 1032, "Parked"));
                      if (!mount_.tracking) return Reply(res, Answer(req, 1035, "Sync requires tracking"));
                      const double ra = std::atof(req.get_param_value("RightAscension").c_str());
                      const double dec = std::atof(req.get_param_value("Declination").c_str());
                      if (ra < 0 || ra >= 24 || dec < -90 || dec > 90)
                          return Reply(res, Answer(req, 1025, "Invalid value"));
                      mount_.ra = ra;
                      mount_.dec = dec;
                      Reply(res, Answer(req, 0, ""));
                  });
        // Anything else (another device, a capitalised path) is a bad request with a plain text body.
        http_.set_error_handler([](const httplib::Request&, httplib::Response& res) {
            if (res.status == 404) res.status = 400;
            res.set_content("Bad request", "text/plain");
        });
    }

    void Count(const httplib::Request& req) {
        ++mount_.requests;
        mount_.lastClientId = req.get_param_value("ClientID");
    }
    static void Reply(httplib::Response& res, const std::string& body) {
        res.set_content(body, "application/json");
    }

    void AnswerDiscovery() {
        while (!stop_) {
            pollfd p{udp_, POLLIN, 0};
            if (::poll(&p, 1, 50) <= 0) continue;
            char buffer[256];
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t n =
                ::recvfrom(udp_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &length);
            if (n != 16 || std::string(buffer, 16) != "alpacadiscovery1") continue;
            const std::string answer = "{\"AlpacaPort\": " + std::to_string(port_) + "}";
            ::sendto(udp_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), length);
        }
    }

    uint16_t port_, discoveryPort_;
    httplib::Server http_;
    std::thread http_thread_, udp_thread_;
    int udp_ = -1;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    Mount mount_;
};

}  // namespace tornel::testing
