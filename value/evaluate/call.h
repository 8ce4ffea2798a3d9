// Calls of functions of the catalog: by hosts one at a time, and nested within expressions.
#pragma once

#include "evaluate/arguments.h"

namespace qvo::value {

/// The iterators of a nested call, in the plan of the whole expression. An error names the inner function.
Series build_call(const Function& function, std::span<const Argument> arguments, Plan& plan);

/// Calls a scalar function. A NULL argument makes the result NULL, unless the parameter accepts it.
void call(const Function& function, std::span<const Argument> arguments, const Limits& limits, Result& result);

/// Folds rows of n arguments each into an aggregate; a row with a NULL argument is left out, unless the parameter accepts
/// it.
void step(const Function& function, Aggregate& aggregate, std::span<const Argument> arguments, size_t n, size_t rows,
          const Limits& limits);

/// Opens a table; null for a NULL argument: no rows.
std::unique_ptr<Rows> open_rows(const Function& function, std::span<const Argument> arguments, Plan& plan);

/// The current exception as a host sees it: what it is about, and `seq_name: sentence`.
struct Failure {
    enum class Code : uint8_t { error, memory, interrupted } code;
    Fault fault = Fault::argument;
    std::string message;
};
Failure current_failure(std::string_view function) noexcept;

}  // namespace qvo::value
