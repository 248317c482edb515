// The protocol is parsed with expat, the XML library every Debian system carries, fed as the bytes
// arrive; the stream has no root element, so the parser is given one first.
#include "telescopio/indi_client.h"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace tornel {
namespace {

std::string Trim(const std::string& s) {
    const char* blanks = " \t\r\n";
    const size_t a = s.find_first_not_of(blanks);
    if (a == std::string::npos) return {};
    return s.substr(a, s.find_last_not_of(blanks) - a + 1);
}

bool StartsWith(const char* s, const char* prefix) {
    return std::strncmp(s, prefix, std::strlen(prefix)) == 0;
}

const char* Attribute(const XML_Char** attributes, const char* name) {
    for (int i = 0; attributes[i]; i += 2)
        if (std::strcmp(attributes[i], name) == 0) return attributes[i + 1];
    return "";
}

}  // namespace

bool IndiVector::Is(const std::string& member, const std::string& value) const {
    auto it = members.find(member);
    return it != members.end() && it->second == value;
}

double IndiVector::Number(const std::string& member) const {
    auto it = members.find(member);
    double value = 0;
    if (it != members.end()) {
        const std::string& t = it->second;
        auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
        if (ec == std::errc() && end == t.data() + t.size()) return value;
    }
    throw LinkError("The INDI server sent no number " + member + ".");
}

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

// Depth 1 is the invented root, 2 a vector or message, 3 a member.
struct IndiClient::Parser {
    XML_Parser xml = nullptr;
    std::map<std::string, IndiDevice>* devices = nullptr;
    int depth = 0;
    std::string device, vector, member, text;
    bool inVector = false, inMember = false;

    explicit Parser(std::map<std::string, IndiDevice>& d) : devices(&d) {
        xml = XML_ParserCreate(nullptr);
        XML_SetUserData(xml, this);
        XML_SetElementHandler(xml, &Parser::Start, &Parser::End);
        XML_SetCharacterDataHandler(xml, &Parser::Characters);
        static const char root[] = "<INDI>";
        XML_Parse(xml, root, sizeof root - 1, XML_FALSE);
    }
    ~Parser() { XML_ParserFree(xml); }

    static void Start(void* data, const XML_Char* name, const XML_Char** attributes) {
        auto* p = static_cast<Parser*>(data);
        ++p->depth;
        if (p->depth == 2) p->StartTop(name, attributes);
        if (p->depth == 3 && p->inVector) {
            p->member = Attribute(attributes, "name");
            p->text.clear();
            p->inMember = true;
        }
    }

    void StartTop(const char* name, const XML_Char** attributes) {
        device = Attribute(attributes, "device");
        vector = Attribute(attributes, "name");
        if (StartsWith(name, "def") || StartsWith(name, "set")) {
            IndiVector& v = (*devices)[device].vectors[vector];
            // A definition replaces what was known; an update keeps the members it does not name.
            if (StartsWith(name, "def")) v.members.clear();
            const char* state = Attribute(attributes, "state");
            if (*state) v.state = state;
            ++v.updates;
            inVector = true;
        } else if (std::strcmp(name, "delProperty") == 0) {
            auto it = devices->find(device);
            if (it != devices->end()) {
                if (vector.empty())
                    devices->erase(it);
                else
                    it->second.vectors.erase(vector);
            }
        } else if (std::strcmp(name, "message") == 0) {
            const char* said = Attribute(attributes, "message");
            if (*said) (*devices)[device].messages.push_back(said);
        }
    }

    static void End(void* data, const XML_Char*) {
        auto* p = static_cast<Parser*>(data);
        if (p->depth == 3 && p->inMember) {
            (*p->devices)[p->device].vectors[p->vector].members[p->member] = Trim(p->text);
            p->inMember = false;
        }
        if (p->depth == 2) p->inVector = false;
        --p->depth;
    }

    static void Characters(void* data, const XML_Char* s, int length) {
        auto* p = static_cast<Parser*>(data);
        if (p->inMember) p->text.append(s, static_cast<size_t>(length));
    }
};

IndiClient::IndiClient(LinkWait wait) : wait_(std::move(wait)) {}

IndiClient::~IndiClient() = default;

void IndiClient::Open(const std::string& host, uint16_t port) {
    Close();
    stream_.Connect(host, port, wait_);
    parser_ = std::make_unique<Parser>(devices_);
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
    if (XML_Parse(parser_->xml, data.data(), static_cast<int>(data.size()), XML_FALSE) == XML_STATUS_ERROR) {
        std::string why = XML_ErrorString(XML_GetErrorCode(parser_->xml));
        Close();
        throw LinkError("The INDI server sent malformed XML (" + why + ").");
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
