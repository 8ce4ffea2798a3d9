// Columns of the value layer for benchmarks, and calls of its functions as a database makes them.
#pragma once

#include <vector>

#include "qvovalue.h"

namespace qvo::bench {

/// An array in memory as an expression, which does not copy it.
class ArrayColumn {
 public:
    template <class V> ArrayColumn(qvo_type_t type, const std::vector<V>& values) {
        static_assert(sizeof(V) == 8);
        qvo_expression_array(type, 0, values.data(), values.size(), nullptr, nullptr, &array_, nullptr);
    }
    ~ArrayColumn() { qvo_expression_release(array_); }
    ArrayColumn(ArrayColumn&& other) noexcept : array_(other.array_) { other.array_ = nullptr; }
    ArrayColumn& operator=(const ArrayColumn&) = delete;
    const qvo_expression_t* expression() const { return array_; }
    qvo_datum_t datum() const {
        qvo_datum_t datum{};
        datum.kind = QVO_DATUM_EXPRESSION;
        datum.as.expression = array_;
        return datum;
    }

 private:
    qvo_expression_t* array_ = nullptr;
};

/// A stored sequence, made of an array.
class StoredColumn {
 public:
    template <class V> StoredColumn(qvo_type_t type, const std::vector<V>& values) {
        qvo_expression_evaluate(ArrayColumn(type, values).expression(), nullptr, &datum_, nullptr);
    }
    ~StoredColumn() { qvo_datum_free(&datum_); }
    StoredColumn(StoredColumn&& other) noexcept : datum_(other.datum_) { other.datum_ = {}; }
    StoredColumn& operator=(const StoredColumn&) = delete;
    const qvo_datum_t& datum() const { return datum_; }

 private:
    qvo_datum_t datum_{};
};

inline qvo_datum_t real(double value) {
    qvo_datum_t datum{};
    datum.kind = QVO_DATUM_REAL;
    datum.as.real = value;
    return datum;
}
inline qvo_datum_t integer(int64_t value) {
    qvo_datum_t datum{};
    datum.kind = QVO_DATUM_INTEGER;
    datum.as.integer = value;
    return datum;
}

/// Calls a function, or an aggregate with one row. False if that fails.
inline bool call(const qvo_function_t* function, const std::vector<qvo_datum_t>& arguments) {
    qvo_function_info_t info;
    qvo_function_describe(function, &info);
    qvo_datum_t result{};
    qvo_value_code_t rc;
    if (info.kind == QVO_AGGREGATE_FUNCTION) {
        qvo_aggregate_t* folded = nullptr;
        rc = qvo_aggregate_new(function, &folded, nullptr);
        if (rc == QVO_VALUE_OK) rc = qvo_aggregate_step(folded, arguments.data(), arguments.size(), nullptr, nullptr);
        if (rc == QVO_VALUE_OK) rc = qvo_aggregate_finish(folded, nullptr, &result, nullptr);
        qvo_aggregate_free(folded);
    } else {
        rc = qvo_call(function, arguments.data(), arguments.size(), nullptr, &result, nullptr);
    }
    qvo_datum_free(&result);
    return rc == QVO_VALUE_OK;
}

}  // namespace qvo::bench
