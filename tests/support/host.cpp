#include "support/host.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

std::jmp_buf* waiting = nullptr;
test::Stop caught;

int on_trace(int severity, int module, const char* file, int line, const char* message) {
    caught.traces += severity == QVO_TRACE_FATAL && module == QVO_TRACE_SEQ && std::string(message) == "QVO_STOP" &&
                     file != nullptr && line > 0;
    return 0;
}

struct {
    std::map<void*, qvo_size_t> blocks;
    size_t allocations = 0;
    size_t fail_at = SIZE_MAX;
    bool forever = false;
} heap;

void* counting_malloc(qvo_seq_iterator_h, qvo_size_t size) {
    const size_t n = heap.allocations++;
    if (n == heap.fail_at || (heap.forever && n > heap.fail_at)) return nullptr;
    void* block = std::malloc(size);
    heap.blocks[block] = size;
    return block;
}

void counting_free(qvo_seq_iterator_h, void* ptr, qvo_size_t size) {
    if (ptr == nullptr) return;
    const auto block = heap.blocks.find(ptr);
    if (block == heap.blocks.end()) {
        ADD_FAILURE() << "released a block that is not out";
        return;
    }
    EXPECT_EQ(block->second, size) << "a block goes back with the size that it was taken with";
    heap.blocks.erase(block);
    std::free(ptr);
}

}  // namespace

// Takes the place of the library's own: the library calls it through its exported name.
extern "C" void qvo_stop__(int code, const char* file, int line) {
    if (waiting == nullptr) {
        std::fprintf(stderr, "unexpected fatal stop %d at %s:%d\n", code, file, line);
        std::abort();
    }
    caught.stopped = true;
    caught.code = code;
    caught.file = file;
    caught.line = line;
    std::longjmp(*waiting, 1);
}

// A divide fault ends a program by its signal under the address sanitizer too, instead of by the sanitizer's report.
extern "C" const char* __asan_default_options() { return "handle_sigfpe=0"; }

namespace test {

Stop catch_stop(const std::function<void()>& action, bool tracing) {
    caught = Stop{};
    qvo_trace_level = tracing;
    qvo_trace_modules_mask = 1U << QVO_TRACE_SEQ;
    qvo_trace_callback = on_trace;
    std::jmp_buf here;
    waiting = &here;
    if (setjmp(here) == 0) action();
    waiting = nullptr;
    qvo_trace_level = 0;
    return caught;
}

Allocator::Allocator() {
    heap = {};
    qvo_seq_redefine_allocator(counting_malloc, counting_free);
}

Allocator::~Allocator() {
    EXPECT_EQ(heap.blocks.size(), 0U) << "blocks were not released";
    for (const auto& [block, size] : heap.blocks) std::free(block);
    heap = {};
    qvo_seq_redefine_allocator(qvo_seq_sys_malloc, qvo_seq_sys_free);
}

void Allocator::fail_at(size_t n, bool forever) {
    heap.fail_at = heap.allocations + n;
    heap.forever = forever;
}

void Allocator::never_fail() {
    heap.fail_at = SIZE_MAX;
    heap.forever = false;
}

size_t Allocator::blocks() const { return heap.blocks.size(); }
size_t Allocator::allocations() const { return heap.allocations; }

}  // namespace test
