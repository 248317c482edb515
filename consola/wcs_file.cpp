#include "consola/wcs_file.h"

namespace tornel {
namespace {

constexpr size_t kCard = 80;
constexpr size_t kBlock = 2880;

// A fixed-format value, right-aligned to column 30.
std::string Pad(const std::string& value) {
    return value.size() >= 20 ? value : std::string(20 - value.size(), ' ') + value;
}

std::string Card(const std::string& text) {
    std::string card = text;
    card.resize(kCard, ' ');
    return card;
}

}  // namespace

std::string WithImageSides(const std::string& header, int width, int height) {
    size_t end = 0;
    while (end + kCard <= header.size() && header.compare(end, 8, "END     ") != 0)
        end += kCard;
    std::string out = header.substr(0, end);
    out += Card("IMAGEW  = " + Pad(std::to_string(width)) + " / image width, pixels");
    out += Card("IMAGEH  = " + Pad(std::to_string(height)) + " / image height, pixels");
    out += Card("END");
    out.resize((out.size() + kBlock - 1) / kBlock * kBlock, ' ');
    return out;
}

}  // namespace tornel
