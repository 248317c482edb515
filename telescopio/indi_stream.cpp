// The protocol is parsed with expat, the XML library every Debian system carries, fed as the bytes
// arrive; the stream has no root element, so the parser is given one first.
#include "telescopio/indi_stream.h"

#include <expat.h>

#include <charconv>
#include <cstring>
#include <string>

#include "telescopio/link_wait.h"

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

// What a server may send is bounded, so that one that misbehaves cannot grow the program without end. A
// telescope's properties are a few hundred short texts; pictures (BLOBs) are never asked for.
constexpr size_t kMostMemberText = 64 * 1024;
constexpr size_t kMostMessages = 200;
constexpr size_t kMostDevices = 64, kMostVectors = 2048;
constexpr int kMostDepth = 8;
constexpr uint64_t kMostElementBytes = 8 * 1024 * 1024;

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

// Depth 1 is the invented root, 2 a vector or message, 3 a member.
struct IndiStream::Parser {
    XML_Parser xml = nullptr;
    std::map<std::string, IndiDevice>* devices = nullptr;
    int depth = 0;
    std::string device, vector, member, text;
    bool inVector = false, inMember = false, textTooLong = false;
    uint64_t fed = 0, lastEnd = 0;  // bytes given to expat; where the last top element ended
    std::string refusal;            // why the stream was stopped, when it was

    explicit Parser(std::map<std::string, IndiDevice>& d) : devices(&d) {
        xml = XML_ParserCreate(nullptr);
        XML_SetUserData(xml, this);
        XML_SetElementHandler(xml, &Parser::Start, &Parser::End);
        XML_SetCharacterDataHandler(xml, &Parser::Characters);
        static const char root[] = "<INDI>";
        XML_Parse(xml, root, sizeof root - 1, XML_FALSE);
        fed = lastEnd = sizeof root - 1;
    }

    void Refuse(const std::string& why) {
        if (refusal.empty()) refusal = why;
        XML_StopParser(xml, XML_FALSE);
    }

    // The vector an element names, made when it is new and there is room for it; null otherwise.
    IndiVector* VectorNamed() {
        auto d = devices->find(device);
        if (d == devices->end()) {
            if (devices->size() >= kMostDevices) return nullptr;
            d = devices->emplace(device, IndiDevice{}).first;
        }
        auto v = d->second.vectors.find(vector);
        if (v == d->second.vectors.end()) {
            if (d->second.vectors.size() >= kMostVectors) return nullptr;
            v = d->second.vectors.emplace(vector, IndiVector{}).first;
        }
        return &v->second;
    }
    ~Parser() { XML_ParserFree(xml); }

    static void Start(void* data, const XML_Char* name, const XML_Char** attributes) {
        auto* p = static_cast<Parser*>(data);
        if (++p->depth > kMostDepth) {
            p->Refuse("The INDI server sent elements nested more than " + std::to_string(kMostDepth) +
                      " deep.");
            return;
        }
        if (p->depth == 2) p->StartTop(name, attributes);
        if (p->depth == 3 && p->inVector) {
            p->member = Attribute(attributes, "name");
            p->text.clear();
            p->inMember = true;
            p->textTooLong = false;
        }
    }

    void StartTop(const char* name, const XML_Char** attributes) {
        device = Attribute(attributes, "device");
        vector = Attribute(attributes, "name");
        if (StartsWith(name, "def") || StartsWith(name, "set")) {
            IndiVector* v = VectorNamed();
            if (v == nullptr) return;
            // A definition replaces what was known; an update keeps the members it does not name.
            if (StartsWith(name, "def")) v->members.clear();
            const char* state = Attribute(attributes, "state");
            if (*state) v->state = state;
            ++v->updates;
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
            auto d = devices->find(device);
            if (*said && (d != devices->end() || devices->size() < kMostDevices)) {
                std::vector<std::string>& messages = (*devices)[device].messages;
                messages.push_back(said);
                // The newest are kept.
                if (messages.size() > kMostMessages) messages.erase(messages.begin());
            }
        }
    }

    static void End(void* data, const XML_Char*) {
        auto* p = static_cast<Parser*>(data);
        if (p->depth == 3 && p->inMember) {
            // A text cut at the bound would be a wrong value: the member keeps what it had.
            if (!p->textTooLong)
                (*p->devices)[p->device].vectors[p->vector].members[p->member] = Trim(p->text);
            p->inMember = false;
        }
        if (p->depth == 2) {
            p->inVector = false;
            p->lastEnd = static_cast<uint64_t>(XML_GetCurrentByteIndex(p->xml));
        }
        --p->depth;
    }

    static void Characters(void* data, const XML_Char* s, int length) {
        auto* p = static_cast<Parser*>(data);
        if (!p->inMember || p->textTooLong) return;
        if (p->text.size() + static_cast<size_t>(length) > kMostMemberText) {
            p->textTooLong = true;
            p->text.clear();
            p->text.shrink_to_fit();
            return;
        }
        p->text.append(s, static_cast<size_t>(length));
    }
};

IndiStream::IndiStream(std::map<std::string, IndiDevice>& devices)
    : parser_(std::make_unique<Parser>(devices)) {}

IndiStream::~IndiStream() = default;

void IndiStream::Feed(std::string_view data) {
    // expat takes int lengths; a receive is far shorter, but any length is taken in pieces.
    constexpr size_t kPiece = 1 << 20;
    for (size_t at = 0; at < data.size(); at += kPiece) {
        const std::string_view piece = data.substr(at, kPiece);
        Parser& p = *parser_;
        if (!p.refusal.empty()) throw LinkError(p.refusal);
        const XML_Status status = XML_Parse(p.xml, piece.data(), static_cast<int>(piece.size()), XML_FALSE);
        p.fed += piece.size();
        if (!p.refusal.empty()) throw LinkError(p.refusal);
        if (status == XML_STATUS_ERROR)
            throw LinkError(std::string("The INDI server sent malformed XML (") +
                            XML_ErrorString(XML_GetErrorCode(p.xml)) + ").");
        // An element that never ends (expat keeps what it has not finished) is refused in time.
        if (p.fed - p.lastEnd > kMostElementBytes) {
            p.refusal = "The INDI server sent an element longer than " +
                        std::to_string(kMostElementBytes / (1024 * 1024)) + " MiB.";
            throw LinkError(p.refusal);
        }
    }
}

}  // namespace tornel
