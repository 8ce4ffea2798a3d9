// The element types as the tests know them, and printing and comparing their values.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "qvohost.h"
#include "qvoseq.h"

namespace test {

constexpr const char* type_names[] = {"uint1", "uint2", "uint4",  "uint8", "int1", "int2",    "int4",
                                      "int8",  "float", "double", "",      "",     "datetime"};

template <class Value, uint8_t Code> struct Type {
    using value = Value;
    static constexpr uint8_t code = Code;
    static constexpr uint16_t width = sizeof(Value);
    static constexpr const char* name = type_names[Code];
};
using t_int1 = Type<qvo_int1, QVO_DD_INT1>;
using t_int2 = Type<qvo_int2, QVO_DD_INT2>;
using t_int4 = Type<qvo_int4, QVO_DD_INT4>;
using t_int8 = Type<qvo_int8, QVO_DD_INT8>;
using t_uint1 = Type<qvo_uint1, QVO_DD_UINT1>;
using t_uint2 = Type<qvo_uint2, QVO_DD_UINT2>;
using t_uint4 = Type<qvo_uint4, QVO_DD_UINT4>;
using t_uint8 = Type<qvo_uint8, QVO_DD_UINT8>;
using t_float = Type<qvo_float, QVO_DD_FLOAT>;
using t_double = Type<qvo_double, QVO_DD_DOUBLE>;
using t_datetime = Type<qvo_datetime, QVO_DD_DATETIME>;
using t_bool = t_uint1;
/// Fixed-width strings; the values are padded with zero bytes to the width of the sequence.
struct t_char {
    using value = std::string;
    static constexpr uint8_t code = QVO_DD_CHAR;
    static constexpr const char* name = "char";
};

/// One element of a tile: a value and its run.
template <class T> struct Item {
    typename T::value value;
    unsigned run = 1;
};
template <class T> using Items = std::vector<Item<T>>;

/// Equal to the bit, but that any NaN equals any other: the bits of a fresh one differ between machines.
template <class V> bool same_value(const V& a, const V& b) {
    if constexpr (std::is_floating_point_v<V>)
        return a == b ? std::signbit(a) == std::signbit(b) : std::isnan(a) && std::isnan(b);
    else
        return a == b;
}

template <class V> std::string to_text(const V& v) {
    if constexpr (std::is_same_v<V, std::string>) {
        return testing::PrintToString(v);
    } else if constexpr (std::is_floating_point_v<V>) {
        char text[40];
        std::snprintf(text, sizeof text, "%.*Lg", sizeof v > 8 ? 20 : 17, static_cast<long double>(v));
        return text;
    } else {
        return std::to_string(v);
    }
}

/// The elements are the expected ones: values and runs.
template <class T> void check_items(const Items<T>& actual, const Items<T>& expected);

/// Draws values that hurt: extremes, zeros, and for floating types NaN, infinities and signed zeros; else small ones.
class Random {
 public:
    explicit Random(unsigned seed) : engine_(seed) {}

    unsigned below(unsigned n);
    unsigned between(unsigned low, unsigned high) { return low + below(high - low + 1); }
    bool chance(unsigned percent) { return below(100) < percent; }
    template <class V> V value() {
        using Limits = std::numeric_limits<V>;
        if constexpr (std::is_floating_point_v<V>) {
            static constexpr V hard[] = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), V{0}, -V{0},
                                         Limits::max(),       Limits::lowest(),   Limits::denorm_min()};
            const unsigned k = below(24);
            return k < std::size(hard) ? hard[k] : static_cast<V>(small_real());
        } else {
            static constexpr V hard[] = {Limits::min(), Limits::max(), V{0}, static_cast<V>(-1)};
            const unsigned k = below(12);
            return k < std::size(hard) ? hard[k] : static_cast<V>(k == 4 ? word() : small());
        }
    }

 private:
    uint64_t word();
    uint64_t small();  // -100 to 100
    double small_real();

    std::mt19937 engine_;
};

}  // namespace test
