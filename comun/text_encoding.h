#pragma once
// Status and message files are single-byte Latin-1; the program works in UTF-8 and converts at the
// file boundary.
#include <string>
#include <string_view>

namespace tornel {

std::string Latin1ToUtf8(std::string_view latin1);
// Characters outside Latin-1 become "?".
std::string Utf8ToLatin1(std::string_view utf8);

}  // namespace tornel
