#pragma once
// The largest image the engine takes in. It keeps at least 8 bytes a pixel (the image, its brightness
// and the contour marks), and 1 GiB of them is the limit: a file whose header claims more is refused
// before anything is allocated, so that a damaged or hostile header cannot exhaust the memory.
#include <cstdint>

namespace tornel {

inline constexpr int64_t kMaxImageBytes = int64_t{1} << 30;
inline constexpr int64_t kImageBytesPerPixel = 8;
inline constexpr int64_t kMaxImagePixels = kMaxImageBytes / kImageBytesPerPixel;
// The pixel library takes 16-bit sizes.
inline constexpr int64_t kMaxImageSide = 32767;

inline bool ImageTooLarge(int64_t width, int64_t height, int64_t maxPixels = kMaxImagePixels) {
    return width > 0 && height > 0 && width > maxPixels / height;
}

}  // namespace tornel
