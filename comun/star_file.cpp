#include "comun/star_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "comun/numbers.h"

namespace tornel {

bool StarFile::Open(const std::string& path, int32_t recordLength) {
    Close();
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    fd_ = fd;
    recordLength_ = recordLength;
    path_ = path;
    return true;
}

void StarFile::Close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    path_.clear();
    memory_ = {};
    inMemory_ = false;
}

bool StarFile::KeepInMemory() {
    if (fd_ < 0) return false;
    std::vector<char> copy(static_cast<size_t>(Length()));
    if (ReadAt(0, copy.data(), copy.size()) != copy.size()) return false;
    memory_ = std::move(copy);
    inMemory_ = true;
    return true;
}

int64_t StarFile::Length() const {
    if (inMemory_) return static_cast<int64_t>(memory_.size());
    struct stat st {};
    if (fd_ < 0 || ::fstat(fd_, &st) != 0) return 0;
    return static_cast<int64_t>(st.st_size);
}

int32_t StarFile::RecordCount() const {
    if (recordLength_ <= 0) return 0;
    return ToLong(static_cast<double>(Length()) / recordLength_);
}

bool StarFile::ReadRecord(int64_t n, void* dst) const {
    if (n < 1 || recordLength_ <= 0) return false;
    auto want = static_cast<size_t>(recordLength_);
    return ReadAt((n - 1) * recordLength_, dst, want) == want;
}

size_t StarFile::ReadAt(int64_t offset, void* dst, size_t bytes) const {
    if (fd_ < 0 || offset < 0) return 0;
    if (inMemory_) {
        const auto size = static_cast<int64_t>(memory_.size());
        if (offset >= size) return 0;
        const auto n = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(bytes), size - offset));
        std::memcpy(dst, memory_.data() + offset, n);
        return n;
    }
    auto* out = static_cast<char*>(dst);
    size_t got = 0;
    while (got < bytes) {
        ssize_t r =
            ::pread(fd_, out + got, bytes - got, static_cast<off_t>(offset) + static_cast<off_t>(got));
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) break;
        got += static_cast<size_t>(r);
    }
    return got;
}

const StarFile* StarFileCache::Open(const std::string& path, int32_t recordLength) {
    for (auto it = files_.begin(); it != files_.end(); ++it)
        if ((*it)->Path() == path && (*it)->RecordLength() == recordLength) {
            std::rotate(it, it + 1, files_.end());
            return files_.back().get();
        }
    auto file = std::make_unique<StarFile>();
    if (!file->Open(path, recordLength)) return nullptr;
    file->KeepInMemory();
    if (files_.size() >= capacity_ && !files_.empty()) files_.erase(files_.begin());
    files_.push_back(std::move(file));
    return files_.back().get();
}

}  // namespace tornel
