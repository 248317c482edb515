// The BMP reader: file header, the bitmap header in its several sizes, palette, bit fields, rows
// padded to 4 bytes, bottom-up or top-down, and the run-length streams of 4 and 8 bits.
#include <array>
#include <cstdint>
#include <fstream>
#include <vector>

#include "imagen/image_limits.h"
#include "imagen/picture_files.h"

namespace tornel {

namespace {

constexpr uint32_t kRgb = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kAlphaBitFields = 6;

uint32_t Le32(const unsigned char* p) {
    return uint32_t{p[0]} | (uint32_t{p[1]} << 8) | (uint32_t{p[2]} << 16) | (uint32_t{p[3]} << 24);
}
uint16_t Le16(const unsigned char* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

// A channel given by a bit mask, scaled to 8 bits.
struct Channel {
    uint32_t mask = 0;
    int shift = 0;
    uint32_t max = 0;
    explicit Channel(uint32_t m = 0) : mask(m) {
        if (mask == 0) return;
        while (((mask >> shift) & 1u) == 0)
            ++shift;
        max = mask >> shift;
    }
    uint32_t Take(uint32_t v) const { return max == 0 ? 0 : ((v & mask) >> shift) * 255u / max; }
};

struct Layout {
    int32_t width = 0, height = 0;
    bool topDown = false;
    uint16_t bits = 0;
    uint32_t compression = kRgb;
    uint32_t dataOffset = 0;
    std::vector<uint32_t> palette;  // 0x00RRGGBB
    Channel red, green, blue;
};

bool ReadLayout(std::ifstream& in, uint64_t fileSize, Layout& l) {
    std::array<unsigned char, 14 + 124> head{};
    if (fileSize < 14 + 12 || !in.read(reinterpret_cast<char*>(head.data()), 14 + 4)) return false;
    if (head[0] != 'B' || head[1] != 'M') return false;
    l.dataOffset = Le32(&head[10]);
    uint32_t headerSize = Le32(&head[14]);
    if (headerSize != 12 && (headerSize < 40 || headerSize > 124)) return false;
    if (!in.read(reinterpret_cast<char*>(&head[18]), headerSize - 4)) return false;
    const unsigned char* h = &head[14];
    uint32_t colours = 0;
    if (headerSize == 12) {
        l.width = Le16(h + 4);
        l.height = Le16(h + 6);
        l.bits = Le16(h + 10);
    } else {
        l.width = static_cast<int32_t>(Le32(h + 4));
        l.height = static_cast<int32_t>(Le32(h + 8));
        l.bits = Le16(h + 14);
        l.compression = Le32(h + 16);
        colours = Le32(h + 32);
    }
    if (l.width < 0 || l.height == INT32_MIN) return false;
    l.topDown = l.height < 0;
    if (l.topDown) l.height = -l.height;

    // Masks stand inside the larger headers, or follow a 40-byte one.
    if (l.compression == kBitFields || l.compression == kAlphaBitFields) {
        std::array<unsigned char, 12> masks{};
        if (headerSize >= 52) {
            std::copy(h + 40, h + 52, masks.begin());
        } else if (!in.read(reinterpret_cast<char*>(masks.data()), 12)) {
            return false;
        }
        l.red = Channel(Le32(&masks[0]));
        l.green = Channel(Le32(&masks[4]));
        l.blue = Channel(Le32(&masks[8]));
        if (l.bits != 16 && l.bits != 32) return false;
    } else if (l.compression == kRle8 || l.compression == kRle4) {
        // Runs are of palette indices, and a run-length bitmap is always stored bottom-up.
        if (l.bits != (l.compression == kRle8 ? 8 : 4) || l.topDown) return false;
    } else if (l.compression != kRgb) {
        return false;
    } else if (l.bits == 16) {
        l.red = Channel(0x7C00), l.green = Channel(0x03E0), l.blue = Channel(0x001F);
    } else if (l.bits == 32) {
        l.red = Channel(0xFF0000), l.green = Channel(0xFF00), l.blue = Channel(0xFF);
    }

    if (l.bits <= 8) {
        if (l.bits != 1 && l.bits != 4 && l.bits != 8) return false;
        uint32_t count = colours == 0 || colours > (1u << l.bits) ? (1u << l.bits) : colours;
        size_t entry = headerSize == 12 ? 3 : 4;
        std::vector<unsigned char> raw(count * entry);
        if (!in.read(reinterpret_cast<char*>(raw.data()), static_cast<std::streamsize>(raw.size())))
            return false;
        l.palette.resize(count);
        for (uint32_t i = 0; i < count; ++i) {
            const unsigned char* e = &raw[i * entry];
            l.palette[i] = (uint32_t{e[2]} << 16) | (uint32_t{e[1]} << 8) | e[0];
        }
    } else if (l.bits != 16 && l.bits != 24 && l.bits != 32) {
        return false;
    }
    return true;
}

void DecodeRow(const Layout& l, const unsigned char* src, uint32_t* dst) {
    const auto w = static_cast<size_t>(l.width);
    auto fromPalette = [&](uint32_t index) { return index < l.palette.size() ? l.palette[index] : 0u; };
    switch (l.bits) {
        case 1:
            for (size_t x = 0; x < w; ++x)
                dst[x] = fromPalette((src[x / 8] >> (7 - x % 8)) & 1u);
            break;
        case 4:
            for (size_t x = 0; x < w; ++x)
                dst[x] = fromPalette((src[x / 2] >> (x % 2 == 0 ? 4 : 0)) & 0xFu);
            break;
        case 8:
            for (size_t x = 0; x < w; ++x)
                dst[x] = fromPalette(src[x]);
            break;
        case 24:
            for (size_t x = 0; x < w; ++x, src += 3)
                dst[x] = (uint32_t{src[2]} << 16) | (uint32_t{src[1]} << 8) | src[0];
            break;
        default: {
            const size_t bytes = l.bits / 8;
            for (size_t x = 0; x < w; ++x, src += bytes) {
                uint32_t v = bytes == 2 ? Le16(src) : Le32(src);
                dst[x] = (l.red.Take(v) << 16) | (l.green.Take(v) << 8) | l.blue.Take(v);
            }
            break;
        }
    }
}

// Decodes a run-length stream into `pixels` (zeroed, W x H in `order`): pairs of a count and a
// palette index (two alternating indices in a byte for 4 bits), or a zero and an escape: 0 end of line,
// 1 end of bitmap, 2 a move right and up by the next two bytes, 3 or more that many indices given
// one by one, padded to a 16-bit word. Pixels the stream skips stay black. False for a stream that
// would place a pixel or a move outside the picture, or that ends, without its end of bitmap, before
// its last row is complete.
bool DecodeRunLength(const Layout& l, const std::vector<unsigned char>& s, RowOrder order, uint32_t* pixels) {
    const auto w = static_cast<uint64_t>(l.width), h = static_cast<uint64_t>(l.height);
    const bool four = l.compression == kRle4;
    uint64_t x = 0, y = 0;
    size_t at = 0;
    auto colour = [&](uint32_t index) { return index < l.palette.size() ? l.palette[index] : 0u; };
    // Places `count` pixels from x on, the k-th of index `indexAt(k)`, unless they leave the row.
    auto place = [&](uint64_t count, auto indexAt) {
        if (y >= h || x + count > w) return false;
        uint32_t* row = pixels + (order == RowOrder::BottomFirst ? y : h - 1 - y) * w;
        for (uint64_t k = 0; k < count; ++k)
            row[x + k] = colour(indexAt(k));
        x += count;
        return true;
    };
    while (true) {
        if (at + 2 > s.size()) return y >= h || (y + 1 == h && x == w);
        const uint32_t count = s[at], value = s[at + 1];
        at += 2;
        if (count > 0) {
            if (!place(count,
                       [&](uint64_t k) { return four ? (k % 2 == 0 ? value >> 4 : value & 0xFu) : value; }))
                return false;
            continue;
        }
        switch (value) {
            case 0:
                x = 0;
                ++y;
                break;
            case 1:
                return true;
            case 2:
                if (at + 2 > s.size()) return false;
                x += s[at];
                y += s[at + 1];
                at += 2;
                if (x > w || y > h) return false;
                break;
            default: {
                const size_t bytes = four ? (value + 1) / 2 : value;
                if (at + bytes > s.size()) return false;
                const unsigned char* run = &s[at];
                if (!place(value, [&](uint64_t k) {
                        return four ? (run[k / 2] >> (k % 2 == 0 ? 4 : 0)) & 0xFu : uint32_t{run[k]};
                    }))
                    return false;
                at += bytes + bytes % 2;
                break;
            }
        }
    }
}

}  // namespace

bool ReadBmp(const std::string& path, RowOrder order, Picture& out, int64_t maxPixels) {
    out = Picture{};
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    in.seekg(0, std::ios::end);
    const auto fileSize = static_cast<uint64_t>(in.tellg());
    in.seekg(0);
    Layout l;
    if (!ReadLayout(in, fileSize, l)) return false;
    out.width = l.width;
    out.height = l.height;
    if (l.width == 0 || l.height == 0) return true;
    if (ImageTooLarge(l.width, l.height, maxPixels)) return false;

    if (l.compression == kRle8 || l.compression == kRle4) {
        if (l.dataOffset >= fileSize) return false;
        std::vector<unsigned char> stream(fileSize - l.dataOffset);
        in.seekg(l.dataOffset);
        if (!in.read(reinterpret_cast<char*>(stream.data()), static_cast<std::streamsize>(stream.size())))
            return false;
        out.pixels.resize(static_cast<size_t>(l.width) * static_cast<size_t>(l.height));
        return DecodeRunLength(l, stream, order, out.pixels.data());
    }

    const uint64_t rowBytes = (uint64_t{l.bits} * static_cast<uint64_t>(l.width) + 31) / 32 * 4;
    const auto h = static_cast<uint64_t>(l.height);
    if (uint64_t{l.dataOffset} + rowBytes * h > fileSize) return false;

    const auto w = static_cast<size_t>(l.width);
    out.pixels.resize(w * h);
    std::vector<unsigned char> row(rowBytes);
    in.seekg(l.dataOffset);
    for (uint64_t r = 0; r < h; ++r) {
        if (!in.read(reinterpret_cast<char*>(row.data()), static_cast<std::streamsize>(rowBytes)))
            return false;
        // File row r is picture row r from the top in a top-down file, from the bottom otherwise.
        uint64_t fromBottom = l.topDown ? h - 1 - r : r;
        uint64_t target = order == RowOrder::BottomFirst ? fromBottom : h - 1 - fromBottom;
        DecodeRow(l, row.data(), out.pixels.data() + target * w);
    }
    return true;
}

}  // namespace tornel
