// The protocol is parsed with expat, the XML library every Debian system carries, fed as the bytes
// arrive; the stream has no root element, so the parser is given one first.
#include "telescopio/indi_stream.h"

#include <expat.h>

#include <charconv>
#include <cstring>
#include <utility>

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
    bool inVector = false, inMember = false;
    // Bytes given to expat, and where its last event ended: what lies between is held by expat.
    int64_t fed = 0, lastEvent = 0;
    std::string refusal;  // why the stream was stopped from a handler

    explicit Parser(std::map<std::string, IndiDevice>& d) : devices(&d) {
        xml = XML_ParserCreate(nullptr);
        XML_SetUserData(xml, this);
        XML_SetElementHandler(xml, &Parser::Start, &Parser::End);
        XML_SetCharacterDataHandler(xml, &Parser::Characters);
        static const char root[] = "<INDI>";
        XML_Parse(xml, root, sizeof root - 1, XML_FALSE);
        fed = sizeof root - 1;
    }
    ~Parser() { XML_ParserFree(xml); }

    // Stops expat from inside a handler, which must not throw through it; Feed throws.
    void Refuse(std::string why) {
        if (refusal.empty()) refusal = std::move(why);
        XML_StopParser(xml, XML_FALSE);
    }

    void Seen() { lastEvent = XML_GetCurrentByteIndex(xml) + XML_GetCurrentByteCount(xml); }

    static void Start(void* data, const XML_Char* name, const XML_Char** attributes) {
        auto* p = static_cast<Parser*>(data);
        p->Seen();
        if (++p->depth > kMaxIndiDepth)
            return p->Refuse("The INDI server sent elements nested deeper than " +
                             std::to_string(kMaxIndiDepth) + ".");
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
        p->Seen();
        if (p->depth == 3 && p->inMember) {
            (*p->devices)[p->device].vectors[p->vector].members[p->member] = Trim(p->text);
            p->inMember = false;
        }
        if (p->depth == 2) p->inVector = false;
        --p->depth;
    }

    static void Characters(void* data, const XML_Char* s, int length) {
        auto* p = static_cast<Parser*>(data);
        p->Seen();
        if (!p->inMember) return;
        if (p->text.size() + static_cast<size_t>(length) > kMaxIndiText)
            return p->Refuse("The INDI server sent a member's text longer than " +
                             std::to_string(kMaxIndiText) + " bytes.");
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
        const bool failed =
            XML_Parse(p.xml, piece.data(), static_cast<int>(piece.size()), XML_FALSE) == XML_STATUS_ERROR;
        p.fed += static_cast<int64_t>(piece.size());
        if (!p.refusal.empty()) throw LinkError(p.refusal);
        if (failed)
            throw LinkError(std::string("The INDI server sent malformed XML (") +
                            XML_ErrorString(XML_GetErrorCode(p.xml)) + ").");
        if (p.fed - p.lastEvent > static_cast<int64_t>(kMaxIndiPending)) {
            p.refusal =
                "The INDI server sent a tag longer than " + std::to_string(kMaxIndiPending) + " bytes.";
            XML_StopParser(p.xml, XML_FALSE);
            throw LinkError(p.refusal);
        }
    }
}

}  // namespace tornel
