// Expressions: made of stored bytes, of arrays in place, and of calls; read as stored bytes or as an array.
#include <nanobind/ndarray.h>

#include "host.h"

namespace qvo::python {
namespace {

using Bytes = nb::ndarray<nb::numpy, uint8_t, nb::ndim<1>>;

Expression stored(nb::handle bytes) {
    Py_buffer* const buffer = buffer_of(bytes);
    qvo_expression_t* made = nullptr;
    qvo_error_t error{};
    const auto code =
        qvo_expression_stored(buffer->buf, static_cast<size_t>(buffer->len), release_buffer, buffer, &made, &error);
    if (code != QVO_VALUE_OK) release_buffer(buffer);
    check(code, error);
    return Expression(made);
}

Expression array(int type, unsigned width, nb::handle values) {
    Py_buffer* const buffer = buffer_of(values);
    qvo_expression_t* made = nullptr;
    qvo_error_t error{};
    const uint64_t count = static_cast<uint64_t>(buffer->len) / width;
    const auto code = qvo_expression_array(static_cast<qvo_type_t>(type), width, buffer->buf, count, release_buffer,
                                           buffer, &made, &error);
    if (code != QVO_VALUE_OK) release_buffer(buffer);
    check(code, error);
    return Expression(made);
}

Expression call(const Function& function, nb::tuple objects) {
    const Arguments arguments(function, std::move(objects));
    qvo_expression_t* made = nullptr;
    qvo_error_t error{};
    check(qvo_expression_call(function.handle, arguments.data(), arguments.size(), &made, &error), error);
    return Expression(made);
}

/// The stored sequence that an expression gives.
void evaluate_to(Result& result, const Expression& expression) {
    Evaluation().run([&](const qvo_limits_t* limits, qvo_error_t* error) {
        return qvo_expression_evaluate(expression.get(), limits, result.out(), error);
    });
}

nb::object evaluate(const Expression& expression) {
    Result result;
    evaluate_to(result, expression);
    return result.object();
}

/// The sequence with its values at hand: the bytes of the result are its own, and not copied.
Expression compute(const Expression& expression) {
    Result result;
    evaluate_to(result, expression);
    qvo_datum_t& bytes = *result.out();
    qvo_expression_t* made = nullptr;
    qvo_error_t error{};
    check(qvo_expression_stored(bytes.as.bytes.data, bytes.as.bytes.size, qvo_value_free,
                                const_cast<void*>(static_cast<const void*>(bytes.as.bytes.data)), &made, &error),
          error);
    bytes = {};  // whoever frees the expression frees them
    return Expression(made);
}

/// Memory of a result as an array that owns it.
Bytes array_of(void* memory, size_t size) {
    nb::capsule owner(memory, [](void* data) noexcept { qvo_value_free(data); });
    return Bytes(memory, {size}, owner);
}

struct Runs {
    Py_buffer *values = nullptr, *ends = nullptr;
    ~Runs() {
        for (Py_buffer* buffer : {values, ends})
            if (buffer != nullptr) release_buffer(buffer);
    }
};
void release_runs(void* runs) { delete static_cast<Runs*>(runs); }

/// The type, the width of a value and the bytes of all values.
nb::object read(const Expression& expression) {
    void* values = nullptr;
    qvo_type_t type{};
    unsigned width = 0;
    uint64_t count = 0;
    Evaluation().run([&](const qvo_limits_t* limits, qvo_error_t* error) {
        return qvo_expression_read(expression.get(), limits, &values, &type, &width, &count, error);
    });
    nb::object bytes = nb::none();
    if (count != 0) bytes = nb::cast(array_of(values, static_cast<size_t>(count * width)));
    return nb::make_tuple(static_cast<int>(type), width, bytes);
}

/// Runs of another owner: the values, and where each ends; positions first .. first + count - 1 are meant.
Expression runs(int type, unsigned width, nb::handle values, nb::handle ends, unsigned end_width, uint64_t first,
                uint64_t count) {
    auto held = std::make_unique<Runs>();
    held->values = buffer_of(values);
    held->ends = buffer_of(ends);
    const uint64_t n = static_cast<uint64_t>(held->ends->len) / end_width;
    if (static_cast<uint64_t>(held->values->len) / width < n) throw nb::value_error("fewer values than ends of runs");
    qvo_expression_t* made = nullptr;
    qvo_error_t error{};
    check(qvo_expression_runs(static_cast<qvo_type_t>(type), width, held->values->buf, held->ends->buf, end_width, n,
                              first, count, release_runs, held.get(), &made, &error),
          error);
    held.release();
    return Expression(made);
}

/// The type, the width of a value, the bytes of the values and those of the ends of their runs (int32).
nb::object read_runs(const Expression& expression) {
    void* values = nullptr;
    int32_t* ends = nullptr;
    qvo_type_t type{};
    unsigned width = 0;
    uint64_t n = 0;
    Evaluation().run([&](const qvo_limits_t* limits, qvo_error_t* error) {
        return qvo_expression_read_runs(expression.get(), limits, &values, &ends, &type, &width, &n, error);
    });
    if (n == 0) return nb::make_tuple(static_cast<int>(type), width, nb::none(), nb::none());
    const auto runs = static_cast<size_t>(n);
    return nb::make_tuple(static_cast<int>(type), width, array_of(values, runs * width),
                          array_of(ends, runs * sizeof(int32_t)));
}

/// The type and the width of a value.
nb::object type(const Expression& expression) {
    qvo_type_t type{};
    unsigned width = 0;
    Evaluation().run([&](const qvo_limits_t* limits, qvo_error_t* error) {
        return qvo_expression_type(expression.get(), limits, &type, &width, error);
    });
    return nb::make_tuple(static_cast<int>(type), width);
}

}  // namespace

void add_expressions(nb::module_& module) {
    nb::class_<Expression>(module, "Expression", "A sequence, or what one is computed from.")
        .def_static("stored", stored)
        .def_static("array", array)
        .def_static("runs", runs)
        .def_static("call", call)
        .def("evaluate", evaluate)
        .def("compute", compute)
        .def("type", type)
        .def("read", read)
        .def("read_runs", read_runs);
}

}  // namespace qvo::python
