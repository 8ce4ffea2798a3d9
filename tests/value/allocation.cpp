// Replaces the program's operators new and delete, and malloc where it is called from inside the program (by the linker's
// --wrap), so that a test can let any allocation fail.
#include "allocation.h"

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <new>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t n, size_t size);
void __real_free(void* memory);
}

namespace test {
namespace {
thread_local Counted* counted = nullptr;
}

Counted::Counted(size_t fail_at, size_t most) : fail_at_(fail_at), most_(most) { counted = this; }
Counted::~Counted() { counted = nullptr; }

void* Counted::take(size_t size, size_t alignment) {
    Counted* const c = counted;
    if (c != nullptr && (c->taken_++ == c->fail_at_ || size > c->most_ || c->bytes_ > c->most_)) {
        c->failed_ = true;
        return nullptr;
    }
    void* const memory = alignment > alignof(std::max_align_t)
                             ? aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment)
                             : __real_malloc(size == 0 ? 1 : size);
    if (c != nullptr && memory != nullptr) {
        ++c->outstanding_;
        c->bytes_ += malloc_usable_size(memory);
        c->peak_ = c->bytes_ > c->peak_ ? c->bytes_ : c->peak_;
    }
    return memory;
}

void Counted::give(void* memory) {
    if (memory == nullptr) return;
    if (counted != nullptr) {
        --counted->outstanding_;
        counted->bytes_ -= malloc_usable_size(memory);
    }
    __real_free(memory);
}

}  // namespace test

using test::Counted;

extern "C" {
void* __wrap_malloc(size_t size) { return Counted::take(size, 1); }
void* __wrap_calloc(size_t n, size_t size) {
    void* const memory = Counted::take(n * size, 1);
    if (memory != nullptr) std::memset(memory, 0, n * size);
    return memory;
}
void __wrap_free(void* memory) { Counted::give(memory); }
}

void* operator new(size_t size) {
    if (void* const memory = Counted::take(size, 1)) return memory;
    throw std::bad_alloc();
}
void* operator new(size_t size, std::align_val_t alignment) {
    if (void* const memory = Counted::take(size, static_cast<size_t>(alignment))) return memory;
    throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Counted::take(size, 1); }
void operator delete(void* memory) noexcept { Counted::give(memory); }
void operator delete(void* memory, size_t) noexcept { Counted::give(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { Counted::give(memory); }
void operator delete(void* memory, size_t, std::align_val_t) noexcept { Counted::give(memory); }
