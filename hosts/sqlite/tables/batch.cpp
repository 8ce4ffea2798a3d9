#include "tables/batch.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

#include "host.h"
#include "tables/sql.h"

namespace qvo::sqlite {
namespace {

/// Calls f with a value of the C type of a fixed type.
template <class F> auto with_type(qvo_type_t type, F f) {
    switch (type) {
        case QVO_TYPE_INT1:
            return f(int8_t{});
        case QVO_TYPE_INT2:
            return f(int16_t{});
        case QVO_TYPE_INT4:
            return f(int32_t{});
        case QVO_TYPE_BOOLEAN:
        case QVO_TYPE_UINT1:
            return f(uint8_t{});
        case QVO_TYPE_UINT2:
            return f(uint16_t{});
        case QVO_TYPE_UINT4:
            return f(uint32_t{});
        case QVO_TYPE_FLOAT:
            return f(float{});
        case QVO_TYPE_DOUBLE:
            return f(double{});
        default:
            return f(int64_t{});
    }
}

template <class V> V load(const uint8_t* from) {
    V value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

[[noreturn]] void refuse(const Column& column, const std::string& why, int code) {
    fail(code, "column " + column.name + ": " + why);
}

/// The value as what the column takes: an ordinary table's affinity.
qvo_datum_t with_affinity(sqlite3_value* value, const Column& column) {
    if (column.is_text()) {
        const int type = sqlite3_value_type(value);
        if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) sqlite3_value_text(value);
        qvo_datum_t datum = datum_of(value);
        if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) {
            datum.kind = QVO_DATUM_TEXT;
            datum.as.bytes.data = sqlite3_value_text(value);
            datum.as.bytes.size = static_cast<size_t>(sqlite3_value_bytes(value));
        }
        return datum;
    }
    if (sqlite3_value_type(value) == SQLITE_TEXT) sqlite3_value_numeric_type(value);
    return datum_of(value);
}

unsigned set_slowly(sqlite3_value* value, const Column& column, uint8_t* element) {
    const qvo_datum_t datum = with_affinity(value, column);
    const bool bytes = datum.kind == QVO_DATUM_TEXT || datum.kind == QVO_DATUM_BYTES;
    if (bytes && datum.as.bytes.data == nullptr && datum.as.bytes.size != 0) throw std::bad_alloc();
    if (datum.kind == QVO_DATUM_NULL && (!column.is_floating() || column.order))
        refuse(column,
               column.order ? "ORDER may not be NULL" : "NULL is for float and double alone; coalesce replaces it",
               SQLITE_CONSTRAINT_NOTNULL);
    unsigned width = column.width;
    if (column.is_text() && width == 0)
        width = bytes ? static_cast<unsigned>(std::clamp<size_t>(datum.as.bytes.size, 1, 255)) : 255;
    qvo_error_t error;
    const qvo_value_code_t code = qvo_element_set(&datum, column.type, width, element, &error);
    if (code == QVO_VALUE_ERROR) refuse(column, error.message, SQLITE_CONSTRAINT_DATATYPE);
    must(code, error, column.name);
    return width_of(column.type, width);
}

}  // namespace

int64_t rank_of(double value) {
    if (value == 0) return 0;
    const auto bits = std::bit_cast<int64_t>(value);
    return bits >= 0 ? bits : std::numeric_limits<int64_t>::min() - bits;
}

double real_of_rank(int64_t rank) {
    return std::bit_cast<double>(rank >= 0 ? rank : std::numeric_limits<int64_t>::min() - rank);
}

int64_t rank_at(qvo_type_t type, const uint8_t* element) {
    return with_type(type, [&](auto v) -> int64_t {
        const auto value = load<decltype(v)>(element);
        if constexpr (std::is_floating_point_v<decltype(v)>)
            return rank_of(static_cast<double>(value));
        else
            return static_cast<int64_t>(value);
    });
}

void put_rank(qvo_type_t type, int64_t rank, uint8_t* element) {
    with_type(type, [&](auto v) {
        using V = decltype(v);
        V value;
        if constexpr (std::is_floating_point_v<V>)
            value = static_cast<V>(real_of_rank(rank));
        else
            value = static_cast<V>(std::clamp<int64_t>(rank, static_cast<int64_t>(std::numeric_limits<V>::min()),
                                                       static_cast<int64_t>(std::numeric_limits<V>::max())));
        std::memcpy(element, &value, sizeof value);
    });
}

unsigned width_of(qvo_type_t type, unsigned width) {
    if (type == QVO_TYPE_CHAR) return width;
    return with_type(type, [](auto v) { return static_cast<unsigned>(sizeof v); });
}

namespace {
/// Copies text that needs no look at its characters: nothing but ASCII without zero bytes. 0 if it is another.
unsigned copy_ascii(sqlite3_value* value, const Column& column, uint8_t* element) {
    const auto* const text = sqlite3_value_text(value);
    const auto size = static_cast<unsigned>(sqlite3_value_bytes(value));
    if (text == nullptr || size == 0 || size > (column.width == 0 ? 255 : column.width)) return 0;
    for (unsigned i = 0; i < size; ++i) {
        if (text[i] == 0 || text[i] > 127) return 0;
        element[i] = text[i];
    }
    if (column.width == 0) return size;
    std::memset(element + size, 0, column.width - size);
    return column.width;
}
}  // namespace

unsigned set_element(sqlite3_value* value, const Column& column, uint8_t* element) {
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_TEXT && column.is_text())
        if (const unsigned width = copy_ascii(value, column, element); width != 0) return width;
    if (column.type == QVO_TYPE_DOUBLE && type == SQLITE_FLOAT) {
        const double real = sqlite3_value_double(value);
        std::memcpy(element, &real, sizeof real);
        return sizeof real;
    }
    const bool wide = column.type == QVO_TYPE_INT8 || column.type == QVO_TYPE_TIMESTAMP;
    if (type == SQLITE_INTEGER && (wide || column.type == QVO_TYPE_INT4)) {
        const int64_t integer = sqlite3_value_int64(value);
        if (wide) {
            std::memcpy(element, &integer, sizeof integer);
            return sizeof integer;
        }
        const auto narrow = static_cast<int32_t>(integer);
        if (narrow == integer) {
            std::memcpy(element, &narrow, sizeof narrow);
            return sizeof narrow;
        }
    }
    return set_slowly(value, column, element);
}

void result_element(sqlite3_context* context, qvo_type_t type, unsigned width, const uint8_t* element) {
    switch (type) {
        case QVO_TYPE_DOUBLE: {
            const auto value = load<double>(element);
            return value == value ? sqlite3_result_double(context, value) : sqlite3_result_null(context);
        }
        case QVO_TYPE_UINT8:
            // An integer as far as SQLite has one: an UPDATE of another column writes back what it has read.
            if (const auto integer = load<int64_t>(element); integer >= 0)
                return sqlite3_result_int64(context, integer);
            [[fallthrough]];
        case QVO_TYPE_FLOAT:
        case QVO_TYPE_TIMESTAMP: {
            qvo_datum_t result{};
            qvo_error_t error;
            if (qvo_element_get(type, width, element, &result, &error) == QVO_VALUE_OK)
                return set_result(context, result);
            return set_error(context, error);
        }
        case QVO_TYPE_CHAR: {
            const auto* const text = reinterpret_cast<const char*>(element);
            const auto size = static_cast<int>(strnlen(text, width));
            return sqlite3_result_text(context, text, size, SQLITE_TRANSIENT);
        }
        default:
            return sqlite3_result_int64(context, rank_at(type, element));
    }
}

void Vector::widen(unsigned to) {
    if (width != 0 && to > width) {
        const size_t n = bytes.size() / width;
        std::vector<uint8_t> wider(n * to);
        for (size_t i = 0; i < n; ++i) std::memcpy(wider.data() + i * to, at(i), width);
        bytes = std::move(wider);
    }
    width = std::max(width, to);
}

void Vector::append(const uint8_t* element, unsigned element_width) {
    if (element_width > width) widen(element_width);
    bytes.insert(bytes.end(), element, element + element_width);
    if (element_width < width) bytes.resize(bytes.size() + width - element_width);
}

void Vector::append(const Vector& other) {
    if (other.width == 0) return;
    widen(other.width);
    if (other.width == width) {
        bytes.insert(bytes.end(), other.bytes.begin(), other.bytes.end());
        return;
    }
    for (size_t i = 0; i * other.width < other.bytes.size(); ++i) append(other.at(i), other.width);
}

void Vector::take(std::span<const uint32_t> places) {
    std::vector<uint8_t> taken(places.size() * width);
    const auto move = [&](auto size) {
        for (size_t i = 0; i < places.size(); ++i)
            std::memcpy(taken.data() + i * size, bytes.data() + places[i] * size, size);
    };
    if (width == 8)
        move(std::integral_constant<size_t, 8>{});
    else if (width == 4)
        move(std::integral_constant<size_t, 4>{});
    else
        move(size_t{width});
    bytes = std::move(taken);
}

Packed::Packed(qvo_type_t type, const Vector& values, size_t n) {
    qvo_expression_t* array = nullptr;
    qvo_error_t error;
    const unsigned width = type == QVO_TYPE_CHAR ? std::max(values.width, 1u) : 0;
    must(qvo_expression_array(type, width, values.bytes.data(), n, nullptr, nullptr, &array, &error), error, "packing");
    const qvo_value_code_t code = qvo_expression_evaluate(array, nullptr, &datum_, &error);
    qvo_expression_release(array);
    must(code, error, "packing");
}

std::vector<int64_t> Batch::ranks() const {
    std::vector<int64_t> ranks(size_);
    if (!declaration_->has_order()) return ranks;
    const Vector& order = columns[declaration_->order_slot()];
    with_type(declaration_->order_column().type, [&](auto v) {
        for (size_t i = 0; i < size_; ++i) {
            const auto value = load<decltype(v)>(order.bytes.data() + i * sizeof v);
            if constexpr (std::is_floating_point_v<decltype(v)>)
                ranks[i] = rank_of(static_cast<double>(value));
            else
                ranks[i] = static_cast<int64_t>(value);
        }
    });
    return ranks;
}

std::optional<std::vector<uint32_t>> Batch::sort() {
    if (!declaration_->has_order()) return {};
    const std::vector<int64_t> rank = ranks();
    if (std::is_sorted(rank.begin(), rank.end())) return {};
    std::vector<uint32_t> places(size_);
    std::iota(places.begin(), places.end(), 0u);
    std::stable_sort(places.begin(), places.end(), [&](uint32_t a, uint32_t b) { return rank[a] < rank[b]; });
    take(places);
    return places;
}

void Batch::append(const Batch& other) {
    for (size_t i = 0; i < columns.size(); ++i) columns[i].append(other.columns[i]);
    size_ += other.size_;
}

Batch Batch::slice(size_t from, size_t n) const {
    Batch part(*declaration_);
    for (size_t i = 0; i < columns.size(); ++i) {
        const Vector& all = columns[i];
        part.columns[i].width = all.width;
        if (all.bytes.empty()) continue;
        part.columns[i].bytes.assign(all.at(from), all.at(from) + n * all.width);
    }
    part.size_ = n;
    return part;
}

void Batch::take(std::span<const uint32_t> places) {
    for (Vector& column : columns)
        if (!column.bytes.empty()) column.take(places);
    size_ = places.size();
}

}  // namespace qvo::sqlite
