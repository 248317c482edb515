// Zeroed vectors, small and large: the large ones come from whole mappings aligned for huge pages,
// trimmed by hand, so their edges and their growth are where a fault would hide.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "comun/zeroed_allocator.h"

namespace tornel {
namespace {

TEST(ZeroedVector, EverySizeStartsAtZeroAndKeepsWhatIsWrittenToItsLastElement) {
    // Below the large threshold, at it, and sizes that are no multiple of a huge page.
    for (size_t n :
         {size_t{1000}, size_t{1} << 17, (size_t{1} << 19) + 3, (size_t{3} << 20) + 12345, size_t{5} << 20}) {
        ZeroedVector<uint32_t> v(n);
        ASSERT_EQ(v.size(), n);
        EXPECT_TRUE(std::all_of(v.begin(), v.end(), [](uint32_t x) { return x == 0; })) << n;
        for (size_t k = 0; k < n; k += 4093)
            v[k] = static_cast<uint32_t>(k);
        v.back() = 7;
        for (size_t k = 0; k + 1 < n; k += 4093)
            ASSERT_EQ(v[k], k);
        EXPECT_EQ(v.back(), 7u);
        // Large blocks start on a huge page, so that the system can back them with one.
        if (n * sizeof(uint32_t) >= (size_t{1} << 19)) {
            EXPECT_EQ(reinterpret_cast<uintptr_t>(v.data()) % (uintptr_t{1} << 21), 0u) << n;
        }
    }
}

TEST(ZeroedVector, GrowingAcrossTheLargeThresholdKeepsTheContentsAndReallocatingClearsThem) {
    ZeroedVector<uint16_t> v;
    for (uint32_t k = 0; k < 3'000'000; ++k)
        v.push_back(static_cast<uint16_t>(k * 7));
    for (uint32_t k = 0; k < 3'000'000; k += 999)
        ASSERT_EQ(v[k], static_cast<uint16_t>(k * 7));
    ReallocateZeroed(v, 2'500'000);
    EXPECT_EQ(v.size(), 2'500'000u);
    EXPECT_TRUE(std::all_of(v.begin(), v.end(), [](uint16_t x) { return x == 0; }));
    ZeroedVector<uint16_t> copy = v;
    copy[1] = 3;
    EXPECT_EQ(v[1], 0);
}

}  // namespace
}  // namespace tornel
