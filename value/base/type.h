// The types of values. A type is what a user names; what operators see of it is an element tag: boolean is carried as
// uint1 of 0 and 1, timestamp as int8 (microseconds since 1970-01-01 UTC, so it may be negative).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "qvowseq.h"

namespace qvo::value {

/// The numbers are part of the stored form.
enum class Type : uint8_t {
    boolean = 0,
    int1 = 1,
    int2 = 2,
    int4 = 3,
    int8 = 4,
    uint1 = 5,
    uint2 = 6,
    uint4 = 7,
    uint8 = 8,
    float_ = 9,
    double_ = 10,
    timestamp = 11,
    char_ = 12,
};
inline constexpr unsigned n_types = 13;

/// Longest char, in bytes.
inline constexpr unsigned max_char = 255;

/// A type with its width in bytes, which only char needs to be told.
struct ValueType {
    Type type = Type::double_;
    uint8_t width = 8;
    bool operator==(const ValueType&) const = default;
};

struct elem_timestamp : Element<qvo_int8, QVO_DD_INT8> {
    using bits = bits8;
};

constexpr bool is_integer(Type t) { return t >= Type::int1 && t <= Type::uint8; }
constexpr bool is_floating(Type t) { return t == Type::float_ || t == Type::double_; }
/// Integers, floating types and booleans, which count as 0 and 1.
constexpr bool is_number(Type t) { return t <= Type::double_; }

/// Calls f with the element tag of a type of fixed width.
template <class F> decltype(auto) with_fixed(Type type, F&& f) {
    switch (type) {
        case Type::boolean:
            return f(elem_bool{});
        case Type::int1:
            return f(elem_int1{});
        case Type::int2:
            return f(elem_int2{});
        case Type::int4:
            return f(elem_int4{});
        case Type::int8:
            return f(elem_int8{});
        case Type::uint1:
            return f(elem_uint1{});
        case Type::uint2:
            return f(elem_uint2{});
        case Type::uint4:
            return f(elem_uint4{});
        case Type::uint8:
            return f(elem_uint8{});
        case Type::float_:
            return f(elem_float{});
        case Type::timestamp:
            return f(elem_timestamp{});
        case Type::double_:
        case Type::char_:
            break;
    }
    return f(elem_double{});
}

/// Calls f with a width of up to eight bytes as a constant, 0 for wider ones.
template <size_t fixed = 8, class F> auto with_fixed_width(size_t width, const F& f) {
    if constexpr (fixed == 0)
        return f(std::integral_constant<size_t, 0>{});
    else
        return width == fixed ? f(std::integral_constant<size_t, fixed>{}) : with_fixed_width<fixed - 1>(width, f);
}

/// The type with its width; char has none until it is told.
ValueType type_of(Type type);
ValueType char_of(size_t width);

/// `int4`, `timestamp`, `char(7)`; the second without the width.
std::string name_of(ValueType type);
std::string_view name_of(Type type);

/// The type of a name. Width 0 stands for a char without one: as wide as its values need.
std::optional<ValueType> type_named(std::string_view name);

}  // namespace qvo::value
