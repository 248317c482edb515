#pragma once
// Vectors whose storage comes from calloc, or for a whole-image plane from LargeAllocate: a large
// matrix costs no pass to clear it, since fresh pages from the system are already zero, and pages
// never written are never resident.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "comun/large_memory.h"

namespace tornel {

template <class T>
struct ZeroedAllocator {
    static_assert(std::is_trivially_copyable_v<T>);
    using value_type = T;
    ZeroedAllocator() = default;
    template <class U>
    ZeroedAllocator(const ZeroedAllocator<U>&) {}

    T* allocate(std::size_t n) {
        if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
        void* p = Large(n) ? LargeAllocate(n * sizeof(T)) : std::calloc(n, sizeof(T));
        if (p == nullptr) throw std::bad_alloc();
        return static_cast<T*>(p);
    }
    void deallocate(T* p, std::size_t n) {
        if (Large(n))
            LargeFree(p, n * sizeof(T));
        else
            std::free(p);
    }
    // Value-initialisation is a no-op: the memory is zero already.
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
        if constexpr (sizeof...(Args) > 0) ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
    static bool Large(std::size_t n) { return IsLargeBlock(n * sizeof(T)); }
    template <class U>
    bool operator==(const ZeroedAllocator<U>&) const {
        return true;
    }
};

template <class T>
using ZeroedVector = std::vector<T, ZeroedAllocator<T>>;

// Replaces the contents by n zeros; the old storage is released first, so that the peak is not
// the sum of both.
template <class T>
void ReallocateZeroed(ZeroedVector<T>& v, std::size_t n) {
    v = ZeroedVector<T>();
    v.resize(n);
}

}  // namespace tornel
