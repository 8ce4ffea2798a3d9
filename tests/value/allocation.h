// Memory that is counted, and that runs out when a test says so: operator new, and what zstd takes from malloc.
#pragma once

#include <cstddef>
#include <cstdint>

namespace test {

/// Allocations by the thread that started the counting, until it is destroyed.
class Counted {
 public:
    /// The allocation number `fail_at`, from 0, fails, and so does one beyond `most` bytes at a time.
    explicit Counted(size_t fail_at = SIZE_MAX, size_t most = SIZE_MAX);
    ~Counted();
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    bool failed() const { return failed_; }
    int64_t outstanding() const { return outstanding_; }
    size_t peak() const { return peak_; }

    static void* take(size_t size, size_t alignment);
    static void give(void* memory);

 private:
    size_t fail_at_, most_, taken_ = 0, bytes_ = 0, peak_ = 0;
    int64_t outstanding_ = 0;
    bool failed_ = false;
};

}  // namespace test
