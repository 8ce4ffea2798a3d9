// Memory of the value library comes from PostgreSQL's current memory context: what a cancelled query leaves behind goes
// with its context. These operators stay inside the extension, as does the C++ library linked into it.
//
// Not to be forgotten: palloc aligns to 8 bytes, C++ expects 16; and an allocation that raised an error would jump over
// C++ frames. So blocks carry in front the address that PostgreSQL gave, and what cannot be had is std::bad_alloc.
extern "C" {
#include "postgres.h"

#include "utils/memutils.h"
}

#include <cstdint>
#include <new>

namespace {

void* allocate(std::size_t size, std::size_t alignment) {
    if (size > MaxAllocHugeSize - alignment - sizeof(void*)) throw std::bad_alloc();
    char* const given = static_cast<char*>(MemoryContextAllocExtended(
        CurrentMemoryContext, size + alignment + sizeof(void*), MCXT_ALLOC_HUGE | MCXT_ALLOC_NO_OOM));
    if (given == nullptr) throw std::bad_alloc();
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(given) + sizeof(void*);
    char* const aligned = given + sizeof(void*) + (alignment - first % alignment) % alignment;
    reinterpret_cast<void**>(aligned)[-1] = given;
    return aligned;
}

void release(void* block) noexcept {
    if (block != nullptr) pfree(static_cast<void**>(block)[-1]);
}

}  // namespace

// The other forms of the C++ library call these.
void* operator new(std::size_t size) { return allocate(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
