// Large blocks of memory in large pages, where the system has them for who asks: a block is there in a fraction of the
// time, is gone as fast, and reading all over it does not wait for addresses to be looked up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace qvo::value {

/// Asks for large pages under a block that is new and will be used to its end. Small ones are left as they are.
inline void prefer_large_pages([[maybe_unused]] const void* block, [[maybe_unused]] size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr uintptr_t page = uintptr_t{1} << 21;
    const auto first = reinterpret_cast<uintptr_t>(block);
    const uintptr_t begin = (first + page - 1) & ~(page - 1), end = (first + bytes) & ~(page - 1);
    // Whether they are to be had makes no other difference.
    if (bytes >= 2 * page && begin < end)
        static_cast<void>(madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE));
#endif
}

/// For vectors that may become large.
template <class T> struct InLargePages {
    using value_type = T;
    InLargePages() = default;
    template <class U> InLargePages(const InLargePages<U>&) {}
    T* allocate(size_t n) {
        T* const block = std::allocator<T>().allocate(n);
        prefer_large_pages(block, n * sizeof(T));
        return block;
    }
    void deallocate(T* block, size_t n) { std::allocator<T>().deallocate(block, n); }
    bool operator==(const InLargePages&) const = default;
};
template <class T> using LargeVector = std::vector<T, InLargePages<T>>;

}  // namespace qvo::value
