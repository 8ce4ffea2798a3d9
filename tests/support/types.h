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

template <class Value, uint8_t Code> struct Type {
    using value = Value;
    static constexpr uint8_t code = Code;
    static constexpr uint16_t width = sizeof(Value);
};
struct t_int1 : Type<qvo_int1, QVO_DD_INT1> {
    static constexpr const char* name = "int1";
};
struct t_int2 : Type<qvo_int2, QVO_DD_INT2> {
    static constexpr const char* name = "int2";
};
struct t_int4 : Type<qvo_int4, QVO_DD_INT4> {
    static constexpr const char* name = "int4";
};
struct t_int8 : Type<qvo_int8, QVO_DD_INT8> {
    static constexpr const char* name = "int8";
};
struct t_uint1 : Type<qvo_uint1, QVO_DD_UINT1> {
    static constexpr const char* name = "uint1";
};
struct t_uint2 : Type<qvo_uint2, QVO_DD_UINT2> {
    static constexpr const char* name = "uint2";
};
struct t_uint4 : Type<qvo_uint4, QVO_DD_UINT4> {
    static constexpr const char* name = "uint4";
};
struct t_uint8 : Type<qvo_uint8, QVO_DD_UINT8> {
    static constexpr const char* name = "uint8";
};
struct t_float : Type<qvo_float, QVO_DD_FLOAT> {
    static constexpr const char* name = "float";
};
struct t_double : Type<qvo_double, QVO_DD_DOUBLE> {
    static constexpr const char* name = "double";
};
struct t_datetime : Type<qvo_datetime, QVO_DD_DATETIME> {
    static constexpr const char* name = "datetime";
};
struct t_bool : Type<qvo_seq_bool, QVO_DD_UINT1> {
    static constexpr const char* name = "bool";
};
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

template <class T> std::string to_text(const Items<T>& items) {
    std::string text = "{";
    for (const auto& item : items) text += " " + to_text(item.value) + "x" + std::to_string(item.run);
    return text + " }";
}

/// The elements are the expected ones: values and runs.
template <class T> void check_items(const Items<T>& actual, const Items<T>& expected) {
    bool same = actual.size() == expected.size();
    for (size_t i = 0; same && i < actual.size(); ++i)
        same = actual[i].run == expected[i].run && same_value(actual[i].value, expected[i].value);
    if (same) return;
    if (actual.size() + expected.size() < 40) {
        ADD_FAILURE() << T::name << "\n  expected " << to_text<T>(expected) << "\n  actual   " << to_text<T>(actual);
        return;
    }
    size_t i = 0;
    while (i < actual.size() && i < expected.size() && actual[i].run == expected[i].run &&
           same_value(actual[i].value, expected[i].value))
        ++i;
    const auto at = [i](const Items<T>& items) {
        return i < items.size() ? to_text(items[i].value) + "x" + std::to_string(items[i].run) : "no element";
    };
    ADD_FAILURE() << T::name << ": " << actual.size() << " elements, expected " << expected.size() << "; element " << i
                  << " is " << at(actual) << ", expected " << at(expected);
}

/// Draws values that hurt: extremes, zeros, and for floating types NaN, infinities and signed zeros; else small ones.
class Random {
 public:
    explicit Random(unsigned seed) : engine_(seed) {}

    unsigned below(unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(engine_); }
    unsigned between(unsigned low, unsigned high) { return low + below(high - low + 1); }
    bool chance(unsigned percent) { return below(100) < percent; }

    template <class V> V value() {
        using Limits = std::numeric_limits<V>;
        if constexpr (std::is_floating_point_v<V>) {
            switch (below(24)) {
                case 0:
                    return Limits::quiet_NaN();
                case 1:
                    return Limits::infinity();
                case 2:
                    return -Limits::infinity();
                case 3:
                    return V{0};
                case 4:
                    return -V{0};
                case 5:
                    return Limits::max();
                case 6:
                    return Limits::denorm_min();
                case 7:
                    return Limits::lowest();
                default:
                    return static_cast<V>(std::uniform_real_distribution<double>(-1000, 1000)(engine_));
            }
        } else {
            switch (below(12)) {
                case 0:
                    return Limits::min();
                case 1:
                    return Limits::max();
                case 2:
                    return V{0};
                case 3:
                    return static_cast<V>(-1);
                case 4:
                    return static_cast<V>(std::uniform_int_distribution<uint64_t>()(engine_));
                default:
                    return static_cast<V>(std::uniform_int_distribution<int>(-100, 100)(engine_));
            }
        }
    }

 private:
    std::mt19937 engine_;
};

}  // namespace test
