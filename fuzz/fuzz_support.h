#pragma once
// What the fuzz targets share: a platform with nobody at it, and scratch files for the readers
// that take a path. Each fuzzing process has a scratch folder of its own, on a memory file system
// when there is one, so that a target pays little for writing its input.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "comun/quiet_platform.h"

namespace tornel::fuzz {

// The picture readers' limit in the fuzz targets, in place of the engine's 134 million pixels.
inline constexpr int64_t kMaxPicturePixels = int64_t{1} << 18;

class SilentPlatform : public QuietPlatform {
  public:
    // Ahead of the wall clock, so that a file just written is not taken for one still being written.
    std::chrono::system_clock::time_point Now() override {
        return std::chrono::system_clock::now() + std::chrono::seconds(10);
    }
};

// The process's scratch folder, ending in "/".
inline const std::string& ScratchFolder() {
    static const std::string folder = [] {
        const char* base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::getenv("TMPDIR");
        std::string pattern = std::string(base ? base : "/tmp") + "/tornel-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) std::abort();
        return pattern + "/";
    }();
    return folder;
}

// Writes the input to `name` in the scratch folder and answers its path.
inline std::string WriteScratch(const std::string& name, const uint8_t* data, size_t size) {
    const std::string path = ScratchFolder() + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    return path;
}

}  // namespace tornel::fuzz
