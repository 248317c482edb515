#pragma once
// An open catalogue file: fixed-length records read by number, from 1, with pread (or from a copy in
// memory), so that a file that shrinks under the reader answers a failed read rather than a fault.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tornel {

class StarFile {
  public:
    StarFile() = default;
    StarFile(const StarFile&) = delete;
    StarFile& operator=(const StarFile&) = delete;
    ~StarFile() { Close(); }

    // Opens read-only; false when the file cannot be opened.
    bool Open(const std::string& path, int32_t recordLength);
    // Reads the whole file into memory, from which every later read is served: for a small file that a
    // search reads record by record. False, leaving reads on the file, when it cannot be read whole.
    bool KeepInMemory();
    // Closing a closed file does nothing.
    void Close();
    bool IsOpen() const { return fd_ >= 0; }
    const std::string& Path() const { return path_; }
    int32_t RecordLength() const { return recordLength_; }
    // Length in bytes, as the file stands now.
    int64_t Length() const;
    // Length divided by the record length, rounded half to even.
    int32_t RecordCount() const;
    // Reads record n (from 1) into dst; false when the record lies beyond the end of the file.
    bool ReadRecord(int64_t n, void* dst) const;
    // Reads up to `bytes` bytes from `offset`; the number read, short at the end of the file, and 0
    // beyond it or on failure. A file cut short under the reader gives a short count, never a fault.
    size_t ReadAt(int64_t offset, void* dst, size_t bytes) const;

  private:
    int fd_ = -1;
    std::vector<char> memory_;
    bool inMemory_ = false;
    int32_t recordLength_ = 0;
    std::string path_;
};

// The last few files a search opened, each held whole in memory: a search that turns through angles
// fishes the same rings hundreds of times. Cleared at each analysis, so that a database rebuilt
// meanwhile is read anew.
class StarFileCache {
  public:
    explicit StarFileCache(size_t capacity) : capacity_(capacity) {}
    // The file open and in memory, or read in memory when it cannot be; nullptr when it cannot be opened.
    const StarFile* Open(const std::string& path, int32_t recordLength);
    void Clear() { files_.clear(); }

  private:
    size_t capacity_;
    std::vector<std::unique_ptr<StarFile>> files_;  // the most recent last
};

}  // namespace tornel
