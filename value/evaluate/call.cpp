#include "evaluate/call.h"

#include "evaluate/deliver.h"

namespace qvo::value {

size_t Function::n_parameters() const {
    size_t n = 0;
    while (n < max_parameters && !parameters[n].name.empty()) ++n;
    return n;
}
size_t Function::fewest() const {
    size_t n = n_parameters();
    while (n > 0 && parameters[n - 1].optional) --n;
    return n;
}
size_t Function::most() const { return repeats ? max_parameters : n_parameters(); }

Series build_call(const Function& function, std::span<const Argument> arguments, Plan& plan) {
    const Plan::Naming naming(plan, function.name);
    try {
        Arguments checked(function, arguments, plan);
        if (checked.any_null()) throw Error(Fault::argument, "an argument is NULL");
        return function.build(plan, checked);
    } catch (Error& error) {
        error.name(function.name);
        throw;
    }
}

void call(const Function& function, std::span<const Argument> arguments, const Limits& limits, Result& result) {
    Plan plan(limits);
    Arguments checked(function, arguments, plan);
    if (checked.any_null()) return result.set_null();
    if (function.compute != nullptr) return function.compute(checked, result);
    const Plan::Naming naming(plan, function.name);
    result.set_bytes(to_result(plan, function.build(plan, checked)));
}

namespace {

/// Apart, as a plan is large: the stack is made ready for it on the way in.
[[gnu::noinline]] void step_checked(const Function& function, Aggregate& aggregate, std::span<const Argument> row,
                                    const Limits& limits) {
    Plan plan(limits);
    Arguments checked(function, row, plan);
    if (!checked.any_null()) aggregate.step(checked);
}

}  // namespace

void step(const Function& function, Aggregate& aggregate, std::span<const Argument> arguments, size_t n, size_t rows,
          const Limits& limits) {
    for (size_t i = 0; i < rows; ++i) {
        i += aggregate.step_alike(arguments.subspan(i * n), n);
        if (i < rows) step_checked(function, aggregate, arguments.subspan(i * n, n), limits);
    }
}

std::unique_ptr<Rows> open_rows(const Function& function, std::span<const Argument> arguments, Plan& plan) {
    Arguments checked(function, arguments, plan);
    return checked.any_null() ? nullptr : function.rows(checked);
}

Failure current_failure(std::string_view function) noexcept {
    try {
        try {
            throw;
        } catch (const Error& error) {
            const std::string_view named = error.function().empty() ? function : error.function();
            const std::string prefix = named.empty() ? "" : "seq_" + std::string(named) + ": ";
            return {error.fault() == Fault::interrupted ? Failure::Code::interrupted : Failure::Code::error,
                    error.fault(), prefix + error.what()};
        } catch (const std::bad_alloc&) { return {Failure::Code::memory, {}, {}}; } catch (const std::length_error&) {
            return {Failure::Code::memory, {}, {}};
        } catch (const std::exception& error) {
            return {Failure::Code::error, {}, "seq_" + std::string(function) + ": internal error: " + error.what()};
        }
    } catch (...) { return {Failure::Code::memory, {}, {}}; }
}

}  // namespace qvo::value
