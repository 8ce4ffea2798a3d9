// Arguments, results, errors, limits and buffers; and the module that is made of the parts.
#include "host.h"

#include <atomic>

namespace qvo::python {
namespace {

// How often an evaluation looks for signals, which takes the interpreter's lock: often enough for Ctrl-C, seldom enough
// where other threads hold the lock for long.
constexpr std::chrono::milliseconds asking_interval{20};

std::atomic<uint64_t> most_positions{uint64_t{1} << 31};
unsigned long signal_thread;  // the one in which Python handles signals; set once, when the module is made

[[noreturn]] void refuse(const Function& function, size_t index, const char* sentence) {
    PyErr_Format(PyExc_OverflowError, "seq_%s: argument %zu: %s", function.info.name, index + 1, sentence);
    throw nb::python_error();
}

qvo_datum_t datum_of(const Function& function, size_t index, nb::handle object) {
    qvo_datum_t datum{};
    if (object.is_none()) return datum;
    if (nb::isinstance<Expression>(object)) {
        datum.kind = QVO_DATUM_EXPRESSION;
        datum.as.expression = nb::cast<const Expression&>(object).get();
    } else if (PyFloat_Check(object.ptr())) {
        datum.kind = QVO_DATUM_REAL;
        datum.as.real = PyFloat_AsDouble(object.ptr());
    } else if (PyLong_Check(object.ptr())) {
        int overflow = 0;
        datum.kind = QVO_DATUM_INTEGER;
        datum.as.integer = PyLong_AsLongLongAndOverflow(object.ptr(), &overflow);
        if (overflow != 0) refuse(function, index, "the integer does not fit int8");
    } else if (PyUnicode_Check(object.ptr())) {
        Py_ssize_t size = 0;
        datum.kind = QVO_DATUM_TEXT;
        datum.as.bytes.data = PyUnicode_AsUTF8AndSize(object.ptr(), &size);
        if (datum.as.bytes.data == nullptr) throw nb::python_error();
        datum.as.bytes.size = static_cast<size_t>(size);
    } else {
        char* bytes = nullptr;
        Py_ssize_t size = 0;
        datum.kind = QVO_DATUM_BYTES;
        if (PyBytes_AsStringAndSize(object.ptr(), &bytes, &size) != 0) throw nb::python_error();
        datum.as.bytes = {bytes, static_cast<size_t>(size)};
    }
    return datum;
}

}  // namespace

Arguments::Arguments(const Function& function, nb::tuple objects) : objects_(std::move(objects)) {
    data_.reserve(objects_.size());
    for (nb::handle object : objects_) data_.push_back(datum_of(function, data_.size(), object));
}

nb::object Result::object() const {
    switch (datum_.kind) {
        case QVO_DATUM_INTEGER:
            return nb::int_(datum_.as.integer);
        case QVO_DATUM_REAL:
            return nb::float_(datum_.as.real);
        case QVO_DATUM_TEXT:
            return nb::str(static_cast<const char*>(datum_.as.bytes.data), datum_.as.bytes.size);
        case QVO_DATUM_BYTES:
            return nb::bytes(datum_.as.bytes.data, datum_.as.bytes.size);
        case QVO_DATUM_NULL:
        case QVO_DATUM_EXPRESSION:
            break;
    }
    return nb::none();
}

uint64_t budget() { return most_positions; }
uint64_t set_budget(uint64_t positions) { return most_positions.exchange(positions); }

Evaluation::Evaluation()
    : limits_{budget(), PyThread_get_thread_ident() == signal_thread ? interrupted : nullptr, this, nullptr},
      asked_(std::chrono::steady_clock::now()) {}

int Evaluation::interrupted(void* self) {
    auto& evaluation = *static_cast<Evaluation*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (evaluation.raised_) return 1;
    if (now - evaluation.asked_ < asking_interval) return 0;
    nb::gil_scoped_acquire locked;
    evaluation.asked_ = now;
    if (PyErr_CheckSignals() == 0) return 0;
    evaluation.raised_.emplace();
    return 1;
}

void Evaluation::raise(const qvo_error_t& error) {
    if (!raised_) raise_error(error);
    nb::python_error raised = std::move(*raised_);
    raised_.reset();
    throw raised;
}

void raise_error(const qvo_error_t& error) {
    PyObject* kind = PyExc_ValueError;
    if (error.fault == QVO_FAULT_TYPE) kind = PyExc_TypeError;
    if (error.fault == QVO_FAULT_OVERFLOW) kind = PyExc_OverflowError;
    if (error.code == QVO_VALUE_NOMEM) kind = PyExc_MemoryError;
    if (error.code == QVO_VALUE_INTERRUPTED) kind = PyExc_KeyboardInterrupt;
    PyErr_SetString(kind, error.message);
    throw nb::python_error();
}

Py_buffer* buffer_of(nb::handle object) {
    auto buffer = std::make_unique<Py_buffer>();
    if (PyObject_GetBuffer(object.ptr(), buffer.get(), PyBUF_SIMPLE) != 0) throw nb::python_error();
    return buffer.release();
}

void release_buffer(void* buffer) {
    nb::gil_scoped_acquire locked;
    auto* const held = static_cast<Py_buffer*>(buffer);
    PyBuffer_Release(held);
    delete held;
}

NB_MODULE(_qvoseq, module) {
    nb::set_leak_warnings(false);  // Python does not empty all modules at its end, and the catalog lives in them
    signal_thread = nb::cast<unsigned long>(nb::module_::import_("threading").attr("main_thread")().attr("ident"));
    module.doc() = "The value library; what the package qvoseq is made of.";
    module.def("budget", budget);
    module.def("set_budget", set_budget);
    module.attr("version") = qvo_value_version();
    add_catalog(module);
    add_expressions(module);
    add_calls(module);
    add_arrow(module);
}

}  // namespace qvo::python
