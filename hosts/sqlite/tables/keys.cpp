#include "tables/keys.h"

#include <cstring>

namespace qvo::sqlite {
namespace {

void append_text(Key& key, std::string_view text) {
    const auto size = static_cast<uint32_t>(text.size());
    key.append(reinterpret_cast<const char*>(&size), sizeof size).append(text);
}
void append_integer(Key& key, int64_t value) { key.append(reinterpret_cast<const char*>(&value), sizeof value); }

/// Calls f for every value of a key, with its column and either its text or its integer.
template <class F> void for_each_value(const Declaration& declaration, const Key& key, F f) {
    const char* at = key.data();
    for (const size_t i : declaration.keys) {
        if (declaration.columns[i].is_text()) {
            uint32_t size;
            std::memcpy(&size, at, sizeof size);
            at += sizeof size;
            f(declaration.columns[i], std::string_view(at, size), int64_t{0});
            at += size;
        } else {
            int64_t value;
            std::memcpy(&value, at, sizeof value);
            at += sizeof value;
            f(declaration.columns[i], std::string_view(), value);
        }
    }
}

}  // namespace

void append_key(Key& key, const Column& column, sqlite3_value* value) {
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL) fail(SQLITE_CONSTRAINT_NOTNULL, "column " + column.name + ": KEY may not be NULL");
    if (column.is_text() && type != SQLITE_BLOB && column.width == 0) {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
        if (text == nullptr) throw std::bad_alloc();
        return append_text(key, {text, static_cast<size_t>(sqlite3_value_bytes(value))});
    }
    uint8_t element[256];
    const unsigned width = set_element(value, column, element);
    if (column.is_text())
        append_text(key, {reinterpret_cast<const char*>(element), strnlen(reinterpret_cast<char*>(element), width)});
    else
        append_integer(key, rank_at(column.type, element));
}

Key key_of(const Declaration& declaration, const Statement& row, int first) {
    Key key;
    for (const size_t i : declaration.keys) {
        const bool text = declaration.columns[i].is_text();
        // Another type would not compare as its key does, and the way through the keys would have no end.
        if (row.type(first) != (text ? SQLITE_TEXT : SQLITE_INTEGER))
            fail(SQLITE_CORRUPT_VTAB,
                 "column " + declaration.columns[i].name + ": a key of another type than the column's");
        if (text)
            append_text(key, row.text(first));
        else
            append_integer(key, row.integer(first));
        ++first;
    }
    return key;
}

int bind_key(const Declaration& declaration, Statement& statement, int first, const Key& key) {
    for_each_value(declaration, key, [&](const Column& column, std::string_view text, int64_t integer) {
        column.is_text() ? statement.bind_text(first, text) : statement.bind(first, integer);
        ++first;
    });
    return first;
}

size_t size_of_value(const Column& column, const Key& key, size_t at) {
    if (!column.is_text()) return sizeof(int64_t);
    uint32_t size;
    std::memcpy(&size, key.data() + at, sizeof size);
    return sizeof size + size;
}

int compare_values(const Column& column, std::string_view a, std::string_view b) {
    if (column.is_text()) return a.substr(sizeof(uint32_t)).compare(b.substr(sizeof(uint32_t)));
    int64_t x, y;
    std::memcpy(&x, a.data(), sizeof x);
    std::memcpy(&y, b.data(), sizeof y);
    return (x > y) - (x < y);
}

void result_key(sqlite3_context* context, const Declaration& declaration, size_t slot, const Key& key) {
    for_each_value(declaration, key, [&](const Column& column, std::string_view text, int64_t integer) {
        if (column.slot != slot) return;
        if (column.is_text())
            return sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
        if (column.type != QVO_TYPE_TIMESTAMP) return sqlite3_result_int64(context, integer);
        result_element(context, column.type, 8, reinterpret_cast<const uint8_t*>(&integer));
    });
}

}  // namespace qvo::sqlite
