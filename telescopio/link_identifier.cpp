#include "telescopio/link_identifier.h"

#include <cctype>
#include <charconv>

namespace tornel {
namespace {

constexpr uint16_t kIndiPort = 7624, kAlpacaPort = 11111, kCdcPort = 3292;

int HexValue(char h) {
    if (h >= '0' && h <= '9') return h - '0';
    h = static_cast<char>(std::tolower(static_cast<unsigned char>(h)));
    if (h >= 'a' && h <= 'f') return h - 'a' + 10;
    return -1;
}

std::optional<std::string> PercentDecode(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return std::nullopt;
        int hi = HexValue(text[i + 1]), lo = HexValue(text[i + 2]);
        if (hi < 0 || lo < 0) return std::nullopt;
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
    }
    return out;
}

bool ParseNumber(const std::string& text, int& value) {
    if (text.empty()) return false;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size();
}

}  // namespace

std::optional<LinkIdentifier> ParseLinkIdentifier(const std::string& raw) {
    std::string text = raw;
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.pop_back();
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.erase(0, 1);
    LinkIdentifier id;
    std::string rest;
    auto starts = [&](const char* scheme, LinkKind kind, uint16_t port) {
        const std::string s = scheme;
        if (text.size() < s.size()) return false;
        for (size_t i = 0; i < s.size(); ++i)
            if (std::tolower(static_cast<unsigned char>(text[i])) != s[i]) return false;
        id.kind = kind;
        id.port = port;
        rest = text.substr(s.size());
        return true;
    };
    if (!starts("indi://", LinkKind::Indi, kIndiPort) &&
        !starts("alpaca://", LinkKind::Alpaca, kAlpacaPort) &&
        !starts("cdc://", LinkKind::CartesDuCiel, kCdcPort))
        return std::nullopt;

    const size_t slash = rest.find('/');
    std::string authority = rest.substr(0, slash);
    std::string path = slash == std::string::npos ? "" : rest.substr(slash + 1);
    // A port follows the last colon, unless that colon is inside an IPv6 address in brackets.
    const size_t colon = authority.rfind(':');
    const size_t bracket = authority.rfind(']');
    if (colon != std::string::npos && (bracket == std::string::npos || colon > bracket)) {
        int port = 0;
        if (!ParseNumber(authority.substr(colon + 1), port) || port < 1 || port > 65535) return std::nullopt;
        id.port = static_cast<uint16_t>(port);
        authority.resize(colon);
    }
    if (authority.size() > 1 && authority.front() == '[' && authority.back() == ']')
        authority = authority.substr(1, authority.size() - 2);
    if (authority.empty()) return std::nullopt;
    id.host = authority;

    switch (id.kind) {
        case LinkKind::Indi: {
            auto name = PercentDecode(path);
            if (!name || name->empty()) return std::nullopt;
            id.device = *name;
            break;
        }
        case LinkKind::Alpaca:
            if (!ParseNumber(path, id.number) || id.number < 0) return std::nullopt;
            break;
        case LinkKind::CartesDuCiel:
            if (!path.empty()) return std::nullopt;
            break;
    }
    return id;
}

std::string LinkIdentifierText(const LinkIdentifier& id) {
    const std::string host = id.host.find(':') != std::string::npos ? "[" + id.host + "]" : id.host;
    const std::string authority = host + ":" + std::to_string(id.port);
    switch (id.kind) {
        case LinkKind::Indi: {
            std::string name;
            for (unsigned char ch : id.device) {
                if (ch == '%' || ch == '/' || ch < 0x20 || ch == 0x7f) {
                    static const char* digits = "0123456789ABCDEF";
                    name += '%';
                    name += digits[ch >> 4];
                    name += digits[ch & 15];
                } else {
                    name += static_cast<char>(ch);
                }
            }
            return "indi://" + authority + "/" + name;
        }
        case LinkKind::Alpaca:
            return "alpaca://" + authority + "/" + std::to_string(id.number);
        case LinkKind::CartesDuCiel:
            return "cdc://" + authority;
    }
    return {};
}

}  // namespace tornel
