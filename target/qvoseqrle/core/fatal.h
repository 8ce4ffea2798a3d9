// The fatal stop, and the source position that it reports.
#pragma once

namespace qvo {

/// A source position. As a default argument it is that of the call, so a family's stamp is what the stop names. (Not a
/// std::source_location, which clang 14 has not got over this standard library.)
struct Where {
    const char* file;
    int line;
    static constexpr Where here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
        return {file, line};
    }
};

/// A broken invariant: traces if tracing is on, then stops the process. Never returns.
[[noreturn, gnu::cold]] void fatal_stop(Where where);

}  // namespace qvo
