// Calls of every function of the catalog, with the arguments of its example: what the tests of failures and of hostile
// bytes are driven by. An example's notation is host-neutral: [1, null] is a sequence, int4[1] one of a type.
#pragma once

#include <cctype>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "qvovalue.h"

namespace test {

/// A datum that owns its bytes.
struct Value {
    qvo_datum_kind_t kind = QVO_DATUM_NULL;
    int64_t integer = 0;
    double real = 0;
    std::string bytes;
    bool operator==(const Value&) const = default;

    qvo_datum_t datum() const {
        qvo_datum_t d{};
        d.kind = kind;
        if (kind == QVO_DATUM_INTEGER) d.as.integer = integer;
        if (kind == QVO_DATUM_REAL) d.as.real = real;
        if (kind == QVO_DATUM_TEXT || kind == QVO_DATUM_BYTES) {
            d.as.bytes.data = bytes.data();
            d.as.bytes.size = bytes.size();
        }
        return d;
    }
    static Value text(std::string content) { return {QVO_DATUM_TEXT, 0, 0, std::move(content)}; }
};

/// Takes what a result holds, and frees it.
inline Value take(qvo_datum_t& d) {
    Value v;
    v.kind = d.kind;
    if (d.kind == QVO_DATUM_INTEGER) v.integer = d.as.integer;
    if (d.kind == QVO_DATUM_REAL) v.real = d.as.real;
    if (d.kind == QVO_DATUM_TEXT || d.kind == QVO_DATUM_BYTES)
        v.bytes.assign(static_cast<const char*>(d.as.bytes.data), d.as.bytes.size);
    qvo_datum_free(&d);
    return v;
}

struct Outcome {
    qvo_value_code_t code = QVO_VALUE_OK;
    qvo_error_t error{};
    std::vector<qvo_datum_t> results;  // not yet freed, so that taking them is no part of the call

    bool take_code(qvo_value_code_t c) { return (code = c) == QVO_VALUE_OK; }
    std::vector<Value> values() {
        std::vector<Value> all;
        for (qvo_datum_t& result : results) all.push_back(take(result));
        results.clear();
        return all;
    }
};

inline qvo_function_info_t info_of(const qvo_function_t* function) {
    qvo_function_info_t info;
    qvo_function_describe(function, &info);
    return info;
}

inline const qvo_function_t* named(const std::string& name) {
    const qvo_function_t* const function = qvo_function_named(name.c_str());
    if (function == nullptr) throw std::logic_error("no function " + name);
    return function;
}

/// An aggregate over two rows: stepped, saved, merged into itself, finished before and after.
inline void fold(const qvo_function_t* function, const std::vector<qvo_datum_t>& row, const qvo_limits_t* limits,
                 Outcome& out) {
    qvo_aggregate_t* aggregate = nullptr;
    if (!out.take_code(qvo_aggregate_new(function, &aggregate, &out.error))) return;
    qvo_datum_t state{};
    bool good = true;
    for (int i = 0; i < 2 && good; ++i)
        good = out.take_code(qvo_aggregate_step(aggregate, row.data(), row.size(), limits, &out.error));
    for (int i = 0; i < 2 && good; ++i) {
        good = out.take_code(qvo_aggregate_finish(aggregate, limits, &out.results.emplace_back(), &out.error));
        if (!good || i != 0 || !info_of(function).has_state) continue;
        good = out.take_code(qvo_aggregate_state(aggregate, &state, &out.error)) &&
               out.take_code(qvo_aggregate_merge(aggregate, state.as.bytes.data, state.as.bytes.size, &out.error));
    }
    qvo_datum_free(&state);
    qvo_aggregate_free(aggregate);
}

inline void read_rows(const qvo_function_t* function, const std::vector<qvo_datum_t>& arguments,
                      const qvo_limits_t* limits, Outcome& out) {
    qvo_rows_t* rows = nullptr;
    if (!out.take_code(
            qvo_rows_open(function, arguments.data(), arguments.size(), 0, UINT64_MAX, limits, &rows, &out.error)))
        return;
    unsigned columns = 1;
    for (const char* at = info_of(function).columns; *at != 0; ++at) columns += *at == ' ';
    for (size_t n = 0; n < 100 && out.take_code(qvo_rows_next(rows, &out.error)); ++n)
        for (unsigned c = 0; c < columns && out.code == QVO_VALUE_OK; ++c)
            out.take_code(qvo_rows_column(rows, c, &out.results.emplace_back(), &out.error));
    if (out.code == QVO_VALUE_END) out.code = QVO_VALUE_OK;
    qvo_rows_free(rows);
}

/// Calls a function of any kind.
inline void call(const qvo_function_t* function, const std::vector<qvo_datum_t>& arguments, const qvo_limits_t* limits,
                 Outcome& out) {
    switch (info_of(function).kind) {
        case QVO_AGGREGATE_FUNCTION:
            return fold(function, arguments, limits, out);
        case QVO_TABLE_FUNCTION:
            return read_rows(function, arguments, limits, out);
        case QVO_SCALAR_FUNCTION:
            break;
    }
    out.take_code(
        qvo_call(function, arguments.data(), arguments.size(), limits, &out.results.emplace_back(), &out.error));
}

inline std::vector<qvo_datum_t> data_of(const std::vector<Value>& values) {
    std::vector<qvo_datum_t> data;
    for (const Value& value : values) data.push_back(value.datum());
    return data;
}

/// The last result of a call that is meant to succeed.
inline Value result_of(const std::string& name, const std::vector<Value>& arguments) {
    Outcome out;
    call(named(name), data_of(arguments), nullptr, out);
    if (out.code != QVO_VALUE_OK) throw std::logic_error(out.error.message);
    return out.values().front();
}

/// Reads an example's call.
class Example {
 public:
    /// times: how often the values of a sequence are laid end to end; times, which ascend, go on instead.
    Example(const char* call, size_t times) : at_(call), times_(times) {
        const char* const open = std::strchr(at_, '(');
        name = std::string(at_, open);
        at_ = open + 1;
        arguments = list();
    }
    std::string name;
    std::vector<Value> arguments;

 private:
    std::vector<Value> list() {
        std::vector<Value> values;
        for (skip(); *at_ != ')'; skip()) {
            values.push_back(value(values.size()));
            skip();
            if (*at_ == ',') ++at_;
        }
        ++at_;
        return values;
    }
    void skip() {
        while (*at_ == ' ' || *at_ == '\n') ++at_;
    }
    Value value(size_t index) {
        if (*at_ == '\'') {
            const char* const from = ++at_;
            at_ = std::strchr(at_, '\'');
            return Value::text(std::string(from, at_++));
        }
        const char* const from = at_;
        while (std::isalnum(static_cast<unsigned char>(*at_)) != 0 ||
               (*at_ != 0 && std::strchr("_.+-", *at_) != nullptr))
            ++at_;
        const std::string word(from, at_);
        if (*at_ == '(' && word != "char") return Example(from, times_, at_).result();
        if (*at_ == '(') at_ = std::strchr(at_, '[');
        if (*at_ == '[') return sequence(std::string(from, at_), index);
        if (word == "NULL" || word == "null") return {};
        if (word.find_first_of(".e") != std::string::npos) return {QVO_DATUM_REAL, 0, std::stod(word), {}};
        if (word.find_first_not_of("+-0123456789") != std::string::npos) {  // a column that a SELECT after it makes
            const char* const select = std::strstr(at_, "(SELECT ");
            if (select == nullptr) throw std::logic_error("an example that cannot be read: " + word);
            return Example(select + std::strlen("(SELECT "), times_).result();
        }
        return {QVO_DATUM_INTEGER, std::stoll(word), 0, {}};
    }
    Example(const char* from, size_t times, const char*& rest) : at_(rest + 1), times_(times) {
        name = std::string(from, rest);
        arguments = list();
        rest = at_;
    }
    Value result() const { return result_of(name, arguments); }

    Value sequence(const std::string& type, size_t index) {
        const char* const end = std::strchr(at_, ']');
        std::string body(at_ + 1, end);
        at_ = end + 1;
        for (char& c : body)
            if (c == '\'') c = '"';
        size_t n = body.empty() ? 0 : 1;
        for (const char c : body) n += c == ',';
        if (times_ > 1 && (type == "timestamp" || keys(index))) {
            const Value start = type == "timestamp" ? Value::text("2026-01-01") : Value{QVO_DATUM_INTEGER, 1, 0, {}};
            return result_of("range", {start,
                                       {QVO_DATUM_INTEGER, static_cast<int64_t>(n * times_), 0, {}},
                                       {QVO_DATUM_INTEGER, 1'000'003, 0, {}}});
        }
        std::string json = "[" + body;
        for (size_t i = 1; i < times_ && n != 0; ++i) json += "," + body;
        std::vector<Value> given{Value::text(json + "]")};
        if (!type.empty()) given.push_back(Value::text(type));
        return result_of("from_json", given);
    }
    /// Whether the parameter holds what a join goes by.
    bool keys(size_t index) const {
        const qvo_function_t* const function = named(name);
        if (index >= info_of(function).n_parameters) return false;
        qvo_parameter_info_t parameter;
        qvo_parameter_describe(function, index, &parameter);
        return std::strcmp(parameter.name, "t") == 0 || std::strcmp(parameter.name, "u") == 0;
    }

    const char* at_;
    size_t times_;
};

}  // namespace test
