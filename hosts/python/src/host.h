// What the parts of the module share: Python objects as arguments of the value library, results and errors as Python's,
// and the limits of an evaluation. Whatever may take long runs without the interpreter's lock.
#pragma once

#include <nanobind/nanobind.h>

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "qvovalue.h"

namespace qvo::python {

namespace nb = nanobind;

/// An expression of the value library, counted there; Python's `_qvoseq.Expression`.
class Expression {
 public:
    explicit Expression(qvo_expression_t* owned) : expression_(owned) {}
    Expression(Expression&& other) noexcept : expression_(std::exchange(other.expression_, nullptr)) {}
    Expression& operator=(Expression&&) = delete;
    ~Expression() { qvo_expression_release(expression_); }
    qvo_expression_t* get() const { return expression_; }

 private:
    qvo_expression_t* expression_;
};

/// A function of the catalog; Python's `_qvoseq.Function`.
struct Function {
    const qvo_function_t* handle;
    qvo_function_info_t info;
};

/// The arguments of a call: None, numbers, text, bytes and expressions. The tuple keeps what they point to.
class Arguments {
 public:
    Arguments(const Function& function, nb::tuple objects);
    const qvo_datum_t* data() const { return data_.data(); }
    size_t size() const { return data_.size(); }

 private:
    nb::tuple objects_;
    std::vector<qvo_datum_t> data_;
};

/// A result on its way to Python; frees what is not taken.
class Result {
 public:
    Result() = default;
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
    ~Result() { qvo_datum_free(&datum_); }
    qvo_datum_t* out() { return &datum_; }
    nb::object object() const;

 private:
    qvo_datum_t datum_{};
};

/// The positions that a call may read or expand, for all threads.
uint64_t budget();
uint64_t set_budget(uint64_t positions);

/// The limits of one evaluation. Signals, such as that of Ctrl-C, are heeded while it runs, in the thread that Python
/// handles them in; what their handler raised is then what the evaluation raises.
class Evaluation {
 public:
    Evaluation();
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

    /// Runs `f(limits, error)`, which answers with a code, without the interpreter's lock; raises what it says.
    template <class F> qvo_value_code_t run(F f) {
        qvo_error_t error{};
        qvo_value_code_t code;
        {
            nb::gil_scoped_release unlocked;
            code = f(&limits_, &error);
        }
        check(code, error);
        return code;
    }
    /// Raises what an answer says that was given under these limits.
    void check(qvo_value_code_t code, const qvo_error_t& error) {
        if (code != QVO_VALUE_OK && code != QVO_VALUE_END) raise(error);
    }

 private:
    static int interrupted(void* self);
    [[noreturn]] void raise(const qvo_error_t& error);

    qvo_limits_t limits_;
    std::chrono::steady_clock::time_point asked_;
    std::optional<nb::python_error> raised_;  // by the handler of a signal
};

/// Raises an error of the value library as Python's.
[[noreturn]] void raise_error(const qvo_error_t& error);
inline void check(qvo_value_code_t code, const qvo_error_t& error) {
    if (code != QVO_VALUE_OK) raise_error(error);
}

/// A buffer of some Python object that an expression reads in place: given to the value library together with
/// `release_buffer`, which lets it go in any thread.
Py_buffer* buffer_of(nb::handle object);
void release_buffer(void* buffer);

void add_catalog(nb::module_& module);
void add_expressions(nb::module_& module);
void add_calls(nb::module_& module);
void add_arrow(nb::module_& module);

}  // namespace qvo::python
