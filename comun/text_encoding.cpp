#include "comun/text_encoding.h"

namespace tornel {

std::string Latin1ToUtf8(std::string_view latin1) {
    std::string out;
    out.reserve(latin1.size());
    for (unsigned char ch : latin1) {
        if (ch < 0x80) {
            out += static_cast<char>(ch);
        } else {
            out += static_cast<char>(0xC0 | (ch >> 6));
            out += static_cast<char>(0x80 | (ch & 0x3F));
        }
    }
    return out;
}

std::string Utf8ToLatin1(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (size_t i = 0; i < utf8.size();) {
        auto ch = static_cast<unsigned char>(utf8[i]);
        if (ch < 0x80) {
            out += static_cast<char>(ch);
            ++i;
            continue;
        }
        size_t len = (ch & 0xE0) == 0xC0 ? 2 : (ch & 0xF0) == 0xE0 ? 3 : (ch & 0xF8) == 0xF0 ? 4 : 1;
        unsigned code = 0;
        bool valid = i + len <= utf8.size() && len > 1;
        if (valid) {
            code = ch & (0x7F >> len);
            for (size_t k = 1; k < len; ++k) {
                auto cont = static_cast<unsigned char>(utf8[i + k]);
                if ((cont & 0xC0) != 0x80) {
                    valid = false;
                    break;
                }
                code = (code << 6) | (cont & 0x3F);
            }
        }
        out += valid && code <= 0xFF ? static_cast<char>(code) : '?';
        i += valid ? len : 1;
    }
    return out;
}

}  // namespace tornel
