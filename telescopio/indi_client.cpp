// The client's side of the protocol: requests written by hand, replies parsed by IndiStream.
#include "telescopio/indi_client.h"

#include <algorithm>
#include <cstdio>

namespace tornel {

std::string XmlEscape(const std::string& text) {
    std::string out;
    for (char ch : text) {
        switch (ch) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&apos;";
                break;
            default:
                out += ch;
        }
    }
    return out;
}

IndiClient::IndiClient(LinkWait wait) : wait_(std::move(wait)) {}

IndiClient::~IndiClient() = default;

void IndiClient::Open(const std::string& host, uint16_t port) {
    Close();
    stream_.Connect(host, port, wait_);
    parser_ = std::make_unique<IndiStream>(devices_);
}

void IndiClient::Close() {
    stream_.Close();
    parser_.reset();
    devices_.clear();
}

void IndiClient::GetProperties(const std::string& device) {
    std::string request = "<getProperties version=\"1.7\"";
    if (!device.empty()) request += " device=\"" + XmlEscape(device) + "\"";
    stream_.Send(request + "/>\n");
}

void IndiClient::NewSwitch(const std::string& device, const std::string& vector, const std::string& member) {
    stream_.Send("<newSwitchVector device=\"" + XmlEscape(device) + "\" name=\"" + XmlEscape(vector) +
                 "\"><oneSwitch name=\"" + XmlEscape(member) + "\">On</oneSwitch></newSwitchVector>\n");
}

void IndiClient::NewNumbers(const std::string& device, const std::string& vector,
                            const std::vector<std::pair<std::string, double>>& values) {
    std::string message =
        "<newNumberVector device=\"" + XmlEscape(device) + "\" name=\"" + XmlEscape(vector) + "\">";
    for (const auto& [name, value] : values) {
        char number[64];
        std::snprintf(number, sizeof number, "%.10f", value);
        message += "<oneNumber name=\"" + XmlEscape(name) + "\">" + number + "</oneNumber>";
    }
    stream_.Send(message + "</newNumberVector>\n");
}

void IndiClient::Feed(const std::string& data) {
    if (!parser_) return;
    try {
        parser_->Feed(data);
    } catch (const LinkError&) {
        Close();
        throw;
    }
}

bool IndiClient::WaitFor(const std::function<bool()>& done) {
    return WaitFor(done, wait_.limit);
}

bool IndiClient::WaitFor(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = LinkWait::Clock::now() + std::min(limit, wait_.limit);
    while (!done()) {
        if (LinkWait::Clock::now() >= deadline) return false;
        Feed(stream_.Receive(deadline, wait_));
    }
    return true;
}

void IndiClient::Collect() {
    const auto deadline = wait_.Deadline();
    while (LinkWait::Clock::now() < deadline)
        Feed(stream_.Receive(deadline, wait_));
}

const IndiVector* IndiClient::Find(const std::string& device, const std::string& vector) const {
    auto d = devices_.find(device);
    if (d == devices_.end()) return nullptr;
    auto v = d->second.vectors.find(vector);
    return v == d->second.vectors.end() ? nullptr : &v->second;
}

std::vector<std::string> IndiClient::Messages(const std::string& device) const {
    auto d = devices_.find(device);
    return d == devices_.end() ? std::vector<std::string>{} : d->second.messages;
}

}  // namespace tornel
