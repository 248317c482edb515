#include "comun/large_memory.h"

#include <sys/mman.h>

#include <cstdint>

namespace tornel {

namespace {

// Huge pages are 2 MiB on the machines this runs on; a block is rounded up to a whole number of them.
constexpr std::size_t kLargeBlockBytes = std::size_t{1} << 21;
// Below this a block is left to malloc: rounding it up would waste more than it saves.
constexpr std::size_t kLeastLargeBytes = std::size_t{1} << 19;

std::size_t RoundedUp(std::size_t bytes) {
    return (bytes + kLargeBlockBytes - 1) & ~(kLargeBlockBytes - 1);
}

}  // namespace

bool IsLargeBlock(std::size_t bytes) {
    return bytes >= kLeastLargeBytes;
}

void* LargeAllocate(std::size_t bytes) {
    const std::size_t size = RoundedUp(bytes);
    if (size < bytes || size == 0) return nullptr;
    // Over-map by one alignment and trim both ends, so that the block starts on a 2 MiB boundary.
    const std::size_t mapped = size + kLargeBlockBytes;
    void* raw = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) return nullptr;
    const auto start = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t aligned = (start + kLargeBlockBytes - 1) & ~(kLargeBlockBytes - 1);
    if (aligned > start) munmap(raw, aligned - start);
    const std::size_t tail = start + mapped - (aligned + size);
    if (tail > 0) munmap(reinterpret_cast<void*>(aligned + size), tail);
    void* block = reinterpret_cast<void*>(aligned);
    madvise(block, size, MADV_HUGEPAGE);
    return block;
}

void LargeFree(void* block, std::size_t bytes) {
    if (block != nullptr) munmap(block, RoundedUp(bytes));
}

}  // namespace tornel
