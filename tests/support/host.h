// The test host: its own fatal stop and trace, and an allocator that counts and fails on demand.
#pragma once

#include <functional>
#include <string>

#include "qvohost.h"

namespace test {

struct Stop {
    bool stopped = false;
    int code = 0;
    std::string file;  // as handed to qvo_stop__
    int line = 0;
    int traces = 0;  // calls of the trace handler, with exactly the arguments that belong to a fatal stop
};

/// Calls `action` and says whether the library stopped. A stop that nobody waits for ends the test program.
Stop catch_stop(const std::function<void()>& action, bool tracing = false);

/// While it lives: the binding check is on.
struct BindingCheck {
    BindingCheck() : previous_(qvo_seq_enable_check_bindings(1)) {}
    ~BindingCheck() { qvo_seq_enable_check_bindings(previous_); }

 private:
    int previous_;
};

/// While it lives: the allocation hooks count, check that sizes match, and fail as told.
class Allocator {
 public:
    Allocator();
    ~Allocator();  // fails the test if a block is still out

    /// The n-th allocation from now on (0 is the next) fails; with `forever`, all after it too.
    void fail_at(size_t n, bool forever = false);
    void never_fail();
    size_t blocks() const;       // blocks that are out
    size_t allocations() const;  // asked for so far, failed ones included
};

}  // namespace test
