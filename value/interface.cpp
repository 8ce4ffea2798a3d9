// The C interface: every call ends the exceptions of what is beneath it.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>

#include "evaluate/call.h"
#include "evaluate/deliver.h"
#include "evaluate/expression.h"
#include "evaluate/part.h"
#include "evaluate/recent.h"
#include "evaluate/scalar.h"
#include "evaluate/state.h"
#include "qvovalue.h"

using namespace qvo::value;

struct qvo_expression {
    std::shared_ptr<const Expression> expression;
    std::atomic<size_t> references{1};
};

struct qvo_aggregate {
    const Function* function;
    std::unique_ptr<Aggregate> aggregate;
};

struct qvo_rows {
    qvo_rows(const Function& f, Limits limits) : function(&f), plan(lasting(limits)) {}
    const Function* function;
    std::vector<Argument> arguments;
    Plan plan;
    std::unique_ptr<Rows> rows;  // none: no rows

 private:
    /// Rows outlive the call, and other calls' results may take the place of what is remembered.
    static Limits lasting(Limits limits) {
        limits.recent = nullptr;
        return limits;
    }
};

namespace {

const Function* function_of(const qvo_function_t* function) { return reinterpret_cast<const Function*>(function); }
const qvo_function_t* handle_of(const Function* function) { return reinterpret_cast<const qvo_function_t*>(function); }

Limits limits_of(const qvo_limits_t* limits) {
    Limits result;
    if (limits == nullptr) return result;
    if (limits->budget != 0) result.budget = limits->budget;
    result.interrupted = limits->interrupted;
    result.data = limits->data;
    result.recent = reinterpret_cast<Recent*>(limits->recent);
    return result;
}

qvo_value_code_t code_of(Failure::Code code) {
    switch (code) {
        case Failure::Code::memory:
            return QVO_VALUE_NOMEM;
        case Failure::Code::interrupted:
            return QVO_VALUE_INTERRUPTED;
        case Failure::Code::error:
            break;
    }
    return QVO_VALUE_ERROR;
}

qvo_fault_t fault_of(Fault fault) {
    switch (fault) {
        case Fault::type:
            return QVO_FAULT_TYPE;
        case Fault::overflow:
            return QVO_FAULT_OVERFLOW;
        case Fault::limit:
            return QVO_FAULT_LIMIT;
        case Fault::argument:
        case Fault::value:
        case Fault::interrupted:
            break;
    }
    return QVO_FAULT_VALUE;
}

/// Tells the caller of the current exception.
qvo_value_code_t report(std::string_view function, qvo_error_t* error) noexcept {
    const Failure failure = current_failure(function);
    const qvo_value_code_t code = code_of(failure.code);
    if (error == nullptr) return code;
    error->code = code;
    error->fault = fault_of(failure.fault);
    const std::string_view text =
        failure.code == Failure::Code::memory ? std::string_view("out of memory") : std::string_view(failure.message);
    size_t n = std::min(text.size(), sizeof error->message - 1);
    while (n < text.size() && n > 0 && (text[n] & 0xc0) == 0x80) --n;  // not within a character
    std::memcpy(error->message, text.data(), n);
    error->message[n] = '\0';
    return code;
}

template <class F> qvo_value_code_t guarded(std::string_view function, qvo_error_t* error, F f) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(f())>) {
            f();
            return QVO_VALUE_OK;
        } else {
            return f();
        }
    } catch (...) { return report(function, error); }
}

Datum datum_of_argument(const qvo_datum_t& d) {
    switch (d.kind) {
        case QVO_DATUM_INTEGER:
            return Datum(int64_t{d.as.integer});
        case QVO_DATUM_REAL:
            return Datum(d.as.real);
        case QVO_DATUM_TEXT:
            return Datum(std::string_view(static_cast<const char*>(d.as.bytes.data), d.as.bytes.size));
        case QVO_DATUM_BYTES:
            return Datum(std::span(static_cast<const uint8_t*>(d.as.bytes.data), d.as.bytes.size));
        case QVO_DATUM_NULL:
        case QVO_DATUM_EXPRESSION:
            break;
    }
    return {};
}

Argument argument_of(const qvo_datum_t& d) {
    if (d.kind != QVO_DATUM_EXPRESSION) return {datum_of_argument(d), nullptr};
    const Expression* const expression = d.as.expression->expression.get();
    if (expression->is_scalar() || expression->is_stored()) return {expression->datum(), nullptr};
    return {{}, expression};
}

/// The arguments of a call. Hosts with more than any function takes are told by the check of their number.
class ArgumentList {
 public:
    ArgumentList(const qvo_datum_t* arguments, size_t n) : n_(std::min(n, most)) {
        for (size_t i = 0; i < n_; ++i) new (storage_ + i * sizeof(Argument)) Argument(argument_of(arguments[i]));
    }
    operator std::span<const Argument>() const {
        return {std::launder(reinterpret_cast<const Argument*>(storage_)), n_};
    }
    size_t size() const { return n_; }
    /// How many rows of n arguments it holds; one of them in any case, as far as it holds that.
    static size_t rows_of(size_t n) { return std::max<size_t>(1, most / std::max<size_t>(1, n)); }

 private:
    static constexpr size_t most = 64;
    static_assert(most > max_parameters && std::is_trivially_destructible_v<Argument>);
    // Only as many as there are are made: this is run for every row.
    alignas(Argument) std::byte storage_[most * sizeof(Argument)];
    size_t n_;
};

void give(qvo_datum_t* to, Result& from) {
    switch (from.kind()) {
        case Datum::Kind::null:
            to->kind = QVO_DATUM_NULL;
            return;
        case Datum::Kind::integer:
            to->kind = QVO_DATUM_INTEGER;
            to->as.integer = from.integer();
            return;
        case Datum::Kind::real:
            to->kind = QVO_DATUM_REAL;
            to->as.real = from.real();
            return;
        case Datum::Kind::text:
        case Datum::Kind::bytes:
            break;
    }
    to->kind = from.kind() == Datum::Kind::text ? QVO_DATUM_TEXT : QVO_DATUM_BYTES;
    to->as.bytes.size = from.bytes().size();
    to->as.bytes.data = from.bytes().release();
}
void give(qvo_datum_t* to, Buffer bytes) {
    Result result;
    result.set_bytes(std::move(bytes));
    give(to, result);
}

const char* text_of(std::string_view literal) { return literal.empty() ? "" : literal.data(); }

const char* name_of_section(Group group) {
    switch (group) {
        case Group::make:
            return "Make and read";
        case Group::element_wise:
            return "Element-wise";
        case Group::along:
            return "Along the sequence";
        case Group::select:
            return "Select and order";
        case Group::aggregates:
            return "Aggregates";
        case Group::time:
            break;
    }
    return "Time";
}

const char* name_of_sequences(Of of) {
    switch (of) {
        case Of::any:
            return "";
        case Of::number:
            return "number";
        case Of::ordered_number:
            return "number or timestamp";
        case Of::floating:
            return "float or double";
        case Of::integer:
            return "integer";
        case Of::boolean:
            return "boolean";
        case Of::timestamp:
            return "timestamp";
        case Of::text:
            return "char";
    }
    return "";
}

std::span<const uint8_t> span_of(const void* bytes, size_t size) { return {static_cast<const uint8_t*>(bytes), size}; }

/// The type of an array of the caller's.
ValueType type_of_array(qvo_type_t type, unsigned width) {
    if (static_cast<unsigned>(type) >= n_types) throw Error(Fault::argument, "the type does not exist");
    const ValueType of = type_of(static_cast<Type>(type));
    if (of.type != Type::char_) return of;
    if (width < 1 || width > max_char) throw Error(Fault::argument, "the width of char must be 1 to 255");
    return char_of(width);
}

/// What the owner of an expression's bytes wants called in the end. It is armed when nothing can fail any more, so that
/// after an error the bytes are still the caller's.
struct Owner {
    void (*release)(void*) = nullptr;
    void* owner = nullptr;
    Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() {
        if (release != nullptr) release(owner);
    }
};

std::shared_ptr<const Expression> made_of(std::span<const uint8_t> bytes, Expression::Keep keep) {
    return Expression::of_stored(bytes, std::move(keep));
}
std::shared_ptr<const Expression> made_of(const Array& array, Expression::Keep keep) {
    return Expression::of_array(array, std::move(keep));
}
std::shared_ptr<const Expression> made_of(const RunArray& runs, Expression::Keep keep) {
    return Expression::of_runs(runs, std::move(keep));
}

/// An expression of what belongs to an owner.
template <class Source> qvo_expression_t* owned(const Source& source, void (*release)(void*), void* owner) {
    const auto kept = std::make_shared<Owner>();
    auto made = std::make_unique<qvo_expression>();
    made->expression = made_of(source, kept);
    kept->release = release;
    kept->owner = owner;
    return made.release();
}

}  // namespace

extern "C" {

QVO_VALUE_API void qvo_value_free(void* data) { ::operator delete(data); }

QVO_VALUE_API void qvo_datum_free(qvo_datum_t* datum) {
    if (datum->kind == QVO_DATUM_TEXT || datum->kind == QVO_DATUM_BYTES)
        qvo_value_free(const_cast<void*>(datum->as.bytes.data));
    datum->kind = QVO_DATUM_NULL;
}

QVO_VALUE_API qvo_recent_t* qvo_recent_new(void) { return reinterpret_cast<qvo_recent_t*>(new (std::nothrow) Recent); }

QVO_VALUE_API void qvo_recent_free(qvo_recent_t* recent) { delete reinterpret_cast<Recent*>(recent); }

QVO_VALUE_API const char* qvo_value_version(void) { return QVO_VERSION; }

QVO_VALUE_API size_t qvo_function_count(void) { return catalog().size(); }

QVO_VALUE_API const qvo_function_t* qvo_function_at(size_t index) { return handle_of(catalog()[index]); }

QVO_VALUE_API const qvo_function_t* qvo_function_named(const char* name) { return handle_of(find_function(name)); }

QVO_VALUE_API void qvo_function_describe(const qvo_function_t* function, qvo_function_info_t* info) {
    const Function& f = *function_of(function);
    *info = {};
    info->name = text_of(f.name);
    info->section = name_of_section(f.group);
    info->kind = static_cast<qvo_function_kind_t>(f.kind);
    info->gives = f.build != nullptr ? QVO_GIVES_SEQUENCE : QVO_GIVES_VALUE;
    info->has_state = f.has_state;
    info->in_order = f.in_order;
    info->n_parameters = f.n_parameters();
    info->fewest = f.fewest();
    info->most = f.most();
    info->summary = text_of(f.summary);
    info->result = text_of(f.result);
    info->rule = text_of(f.rule);
    info->example = text_of(f.example.call);
    info->example_result = text_of(f.example.result);
    info->columns = text_of(f.columns);
    info->python = text_of(f.python);
}

QVO_VALUE_API void qvo_parameter_describe(const qvo_function_t* function, size_t index, qvo_parameter_info_t* info) {
    const Parameter& p = function_of(function)->parameters[index];
    *info = {};
    info->name = text_of(p.name);
    info->takes = static_cast<qvo_takes_t>(p.takes);
    info->of = name_of_sequences(p.of);
    info->optional = p.optional;
    info->lowest = p.lowest;
    info->highest = p.highest;
}

QVO_VALUE_API qvo_value_code_t qvo_call(const qvo_function_t* function, const qvo_datum_t* arguments, size_t n,
                                        const qvo_limits_t* limits, qvo_datum_t* result, qvo_error_t* error) {
    const Function& f = *function_of(function);
    return guarded(f.name, error, [&] {
        Result value;
        call(f, ArgumentList(arguments, n), limits_of(limits), value);
        give(result, value);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_aggregate_new(const qvo_function_t* function, qvo_aggregate_t** aggregate,
                                                 qvo_error_t* error) {
    const Function& f = *function_of(function);
    return guarded(f.name, error, [&] {
        if (f.aggregate == nullptr) throw Error(Fault::argument, "the function is not an aggregate");
        *aggregate = new qvo_aggregate{&f, f.aggregate(f)};
    });
}

QVO_VALUE_API void qvo_aggregate_free(qvo_aggregate_t* aggregate) { delete aggregate; }

QVO_VALUE_API qvo_value_code_t qvo_aggregate_step(qvo_aggregate_t* aggregate, const qvo_datum_t* arguments, size_t n,
                                                  const qvo_limits_t* limits, qvo_error_t* error) {
    return qvo_aggregate_step_rows(aggregate, arguments, n, 1, limits, error);
}

QVO_VALUE_API qvo_value_code_t qvo_aggregate_step_rows(qvo_aggregate_t* aggregate, const qvo_datum_t* arguments,
                                                       size_t n, size_t rows, const qvo_limits_t* limits,
                                                       qvo_error_t* error) {
    return guarded(aggregate->function->name, error, [&] {
        const size_t at_once = ArgumentList::rows_of(n);
        for (size_t i = 0; i < rows; i += at_once) {
            const size_t here = std::min(at_once, rows - i);
            const ArgumentList list(arguments + i * n, here * n);
            step(*aggregate->function, *aggregate->aggregate, list, list.size() / here, here, limits_of(limits));
        }
    });
}

QVO_VALUE_API qvo_value_code_t qvo_aggregate_finish(const qvo_aggregate_t* aggregate, const qvo_limits_t* limits,
                                                    qvo_datum_t* result, qvo_error_t* error) {
    return guarded(aggregate->function->name, error, [&] {
        Result value;
        aggregate->aggregate->finish(value, limits_of(limits));
        give(result, value);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_aggregate_state(const qvo_aggregate_t* aggregate, qvo_datum_t* state,
                                                   qvo_error_t* error) {
    return guarded(aggregate->function->name, error,
                   [&] { give(state, save_state(*aggregate->function, *aggregate->aggregate)); });
}

QVO_VALUE_API qvo_value_code_t qvo_aggregate_merge(qvo_aggregate_t* aggregate, const void* state, size_t size,
                                                   qvo_error_t* error) {
    return guarded(aggregate->function->name, error, [&] {
        const SavedState saved = read_state({static_cast<const uint8_t*>(state), size});
        if (saved.function != aggregate->function)
            throw Error(Fault::argument, "argument 1: state must be one of this function, got one of " +
                                             std::string(saved.function->name));
        merge_state(*aggregate->aggregate, saved);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_rows_open(const qvo_function_t* function, const qvo_datum_t* arguments, size_t n,
                                             uint64_t first, uint64_t last, const qvo_limits_t* limits,
                                             qvo_rows_t** rows, qvo_error_t* error) {
    const Function& f = *function_of(function);
    return guarded(f.name, error, [&] {
        if (f.rows == nullptr) throw Error(Fault::argument, "the function is not a table");
        auto opened = std::make_unique<qvo_rows>(f, limits_of(limits));
        const ArgumentList given(arguments, n);
        const std::span<const Argument> list = given;
        opened->arguments.assign(list.begin(), list.end());
        opened->rows = open_rows(f, opened->arguments, opened->plan);
        if (opened->rows != nullptr) opened->rows->limit(first, last);
        *rows = opened.release();
    });
}

QVO_VALUE_API void qvo_rows_free(qvo_rows_t* rows) { delete rows; }

QVO_VALUE_API qvo_value_code_t qvo_rows_next(qvo_rows_t* rows, qvo_error_t* error) {
    return guarded(rows->function->name, error,
                   [&] { return rows->rows != nullptr && rows->rows->next() ? QVO_VALUE_OK : QVO_VALUE_END; });
}

QVO_VALUE_API qvo_value_code_t qvo_rows_column(qvo_rows_t* rows, unsigned column, qvo_datum_t* result,
                                               qvo_error_t* error) {
    return guarded(rows->function->name, error, [&] {
        Result value;
        rows->rows->column(column, value);
        give(result, value);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_stored(const void* bytes, size_t size, void (*release)(void* owner),
                                                     void* owner, qvo_expression_t** expression, qvo_error_t* error) {
    return guarded({}, error, [&] { *expression = owned(span_of(bytes, size), release, owner); });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_array(qvo_type_t type, unsigned width, const void* values, uint64_t count,
                                                    void (*release)(void* owner), void* owner,
                                                    qvo_expression_t** expression, qvo_error_t* error) {
    return guarded({}, error, [&] {
        *expression = owned(Array{type_of_array(type, width), values, count}, release, owner);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_runs(qvo_type_t type, unsigned width, const void* values,
                                                   const void* ends, unsigned end_width, uint64_t n_runs,
                                                   uint64_t first, uint64_t count, void (*release)(void* owner),
                                                   void* owner, qvo_expression_t** expression, qvo_error_t* error) {
    return guarded({}, error, [&] {
        if (end_width != 2 && end_width != 4 && end_width != 8)
            throw Error(Fault::argument, "the ends of runs must be of 2, 4 or 8 bytes");
        const RunArray runs{type_of_array(type, width), values, ends, end_width, n_runs, first, count};
        *expression = owned(runs, release, owner);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_call(const qvo_function_t* function, const qvo_datum_t* arguments,
                                                   size_t n, qvo_expression_t** expression, qvo_error_t* error) {
    const Function& f = *function_of(function);
    return guarded(f.name, error, [&] {
        std::vector<std::shared_ptr<const Expression>> list;
        for (size_t i = 0; i < n; ++i)
            list.push_back(arguments[i].kind == QVO_DATUM_EXPRESSION
                               ? arguments[i].as.expression->expression
                               : Expression::of_scalar(datum_of_argument(arguments[i])));
        auto made = std::make_unique<qvo_expression>();
        made->expression = Expression::of_call(f, std::move(list));
        *expression = made.release();
    });
}

QVO_VALUE_API void qvo_expression_retain(qvo_expression_t* expression) { ++expression->references; }

QVO_VALUE_API void qvo_expression_release(qvo_expression_t* expression) {
    if (expression != nullptr && --expression->references == 0) delete expression;
}

QVO_VALUE_API qvo_value_code_t qvo_expression_type(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                   qvo_type_t* type, unsigned* width, qvo_error_t* error) {
    return guarded({}, error, [&] {
        Plan plan(limits_of(limits));
        const ValueType of = expression->expression->type(plan);
        *type = static_cast<qvo_type_t>(of.type);
        if (width != nullptr) *width = of.width;
    });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_evaluate(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                       qvo_datum_t* result, qvo_error_t* error) {
    return guarded({}, error, [&] {
        Plan plan(limits_of(limits));
        if (expression->expression->is_stored())
            give(result, checked_copy(plan, Stored(expression->expression->datum().bytes)));
        else
            give(result, to_stored(plan, expression->expression->build(plan)));
    });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_read(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                   void** values, qvo_type_t* type, unsigned* width, uint64_t* count,
                                                   qvo_error_t* error) {
    return guarded({}, error, [&] {
        Plan plan(limits_of(limits));
        const Series series = expression->expression->build(plan);
        Buffer all = to_array(plan, series);
        if (type != nullptr) *type = static_cast<qvo_type_t>(series.type.type);
        if (width != nullptr) *width = series.type.width;
        if (count != nullptr) *count = all.size() / series.type.width;
        *values = all.release();
    });
}

QVO_VALUE_API qvo_value_code_t qvo_expression_read_runs(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                        void** values, int32_t** ends, qvo_type_t* type,
                                                        unsigned* width, uint64_t* n_runs, qvo_error_t* error) {
    return guarded({}, error, [&] {
        Plan plan(limits_of(limits));
        const Series series = expression->expression->build(plan);
        RunBuffers all = to_runs(plan, series);
        if (type != nullptr) *type = static_cast<qvo_type_t>(series.type.type);
        if (width != nullptr) *width = series.type.width;
        *n_runs = all.n;
        *values = all.values.release();
        *ends = reinterpret_cast<int32_t*>(all.ends.release());
    });
}

QVO_VALUE_API qvo_value_code_t qvo_stored_describe(const void* bytes, size_t size, qvo_type_t* type, unsigned* width,
                                                   uint64_t* positions, qvo_error_t* error) {
    return guarded({}, error, [&] {
        const Stored stored(span_of(bytes, size));
        *type = static_cast<qvo_type_t>(stored.type().type);
        *width = stored.type().width;
        *positions = stored.positions();
    });
}

QVO_VALUE_API qvo_value_code_t qvo_stored_read(const void* bytes, size_t size, uint64_t first, uint64_t count,
                                               void* values, qvo_error_t* error) {
    return guarded({}, error, [&] { read_part(Stored(span_of(bytes, size)), first, count, values); });
}

QVO_VALUE_API qvo_value_code_t qvo_stored_find(const void* bytes, size_t size, const void* value, int or_equal,
                                               uint64_t* position, qvo_error_t* error) {
    return guarded({}, error, [&] { *position = count_below(Stored(span_of(bytes, size)), value, or_equal != 0); });
}

QVO_VALUE_API int qvo_type_named(const char* name, qvo_type_t* type, unsigned* width) {
    const std::optional<ValueType> found = type_named(name);
    if (!found) return 0;
    *type = static_cast<qvo_type_t>(found->type);
    *width = found->width;
    return 1;
}

QVO_VALUE_API qvo_value_code_t qvo_element_set(const qvo_datum_t* datum, qvo_type_t type, unsigned width, void* element,
                                               qvo_error_t* error) {
    return guarded({}, error, [&] {
        const ValueType of = type_of_array(type, width);
        Datum value = datum_of_argument(*datum);
        if (value.is_null() && is_floating(of.type)) value = Datum(std::numeric_limits<double>::quiet_NaN());
        std::string fault;
        const std::optional<Scalar> scalar = fit(value, of, fault);
        if (!scalar) throw Error(Fault::argument, fault);
        put_element(*scalar, element);
    });
}

QVO_VALUE_API qvo_value_code_t qvo_element_get(qvo_type_t type, unsigned width, const void* element,
                                               qvo_datum_t* result, qvo_error_t* error) {
    return guarded({}, error, [&] {
        Result value;
        set_result(value, scalar_at(type_of_array(type, width), element));
        give(result, value);
    });
}

}  // extern "C"
