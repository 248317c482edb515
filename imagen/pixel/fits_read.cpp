// Reading the 16-bit data of a FITS file: one pass, through a fixed buffer on the stack.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "imagen/pixel/tornel_pixel.h"

namespace {

enum ReadStatus : int32_t { kOk = 0, kCannotOpen = 1, kShortFile = 2, kBadArgument = 3 };

// How a stored big-endian value becomes a brightness of the image.
enum class Storage { Signed, Unsigned };

inline int16_t Convert(unsigned char hi, unsigned char lo, Storage storage) {
    auto raw = static_cast<uint16_t>((hi << 8) | lo);
    if (storage == Storage::Signed) return static_cast<int16_t>(raw);
    // Stored v means u = v + 32768 (0 to 65535). Below 16384 u is kept as it is, so that faint data
    // keeps its resolution; above, the rest of the range is compressed by 3 into 16384..32767.
    uint32_t u = raw ^ 0x8000u;
    return static_cast<int16_t>(u < 16384 ? u : 16384 + (u - 16384) / 3);
}

class Descriptor {
  public:
    explicit Descriptor(const char* path) : fd_(::open(path, O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

  private:
    int fd_;
};

// Fills buf from offset; answers the bytes read, fewer only at the end of the file, -1 on error.
ssize_t ReadAt(int fd, unsigned char* buf, size_t size, off_t offset) {
    size_t done = 0;
    while (done < size) {
        ssize_t n = ::pread(fd, buf + done, size - done, offset + static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return -1;
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(done);
}

int32_t ReadData(const char* path, int32_t offset, int16_t width, int16_t height, int16_t* image,
                 int16_t reversed, Storage storage) {
    if (path == nullptr || image == nullptr || width < 1 || height < 1 || offset < 0) return kBadArgument;
    Descriptor file(path);
    if (file.get() < 0) return kCannotOpen;

    const size_t w = static_cast<size_t>(width), h = static_cast<size_t>(height);
    const size_t rowBytes = 2 * w;
    // Whole rows per read; a row of 32767 values is 64 KiB, so the buffer always holds one.
    constexpr size_t kBuffer = 1 << 17;
    unsigned char buf[kBuffer];
    const size_t rowsPerRead = kBuffer / rowBytes;

    off_t position = offset;
    for (size_t row = 0; row < h;) {
        size_t rows = rowsPerRead < h - row ? rowsPerRead : h - row;
        size_t bytes = rows * rowBytes;
        ssize_t got = ReadAt(file.get(), buf, bytes, position);
        if (got < 0 || static_cast<size_t>(got) != bytes) return kShortFile;
        position += static_cast<off_t>(bytes);
        for (size_t r = 0; r < rows; ++r, ++row) {
            // File row `row` is image row y = row + 1, or y = H - row when reversed.
            size_t y0 = reversed == 1 ? h - 1 - row : row;
            int16_t* out = image + y0 * w;
            const unsigned char* in = buf + r * rowBytes;
            for (size_t x = 0; x < w; ++x)
                out[x] = Convert(in[2 * x], in[2 * x + 1], storage);
        }
    }
    return kOk;
}

}  // namespace

extern "C" int32_t lee_fit_2(const char* ruta, int32_t desplazamiento, int16_t ancho, int16_t alto,
                             int16_t* imagen, int16_t invertida) {
    return ReadData(ruta, desplazamiento, ancho, alto, imagen, invertida, Storage::Signed);
}

extern "C" int32_t lee_fit_con_signo_2(const char* ruta, int32_t desplazamiento, int16_t ancho, int16_t alto,
                                       int16_t* imagen, int16_t invertida) {
    return ReadData(ruta, desplazamiento, ancho, alto, imagen, invertida, Storage::Unsigned);
}
