// The operands of an element-wise function, brought to the type in which they are computed.
#pragma once

#include <array>

#include "evaluate/arguments.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "operators/convert.h"
#include "operators/elementwise.h"
#include "operators/library.h"

namespace qvo::value {

class Inputs {
 public:
    /// The first n arguments, or all. At least one must be a sequence.
    explicit Inputs(Arguments& arguments, size_t n = most_operands);

    Plan& plan() const { return arguments_.plan(); }
    bool is_scalar(size_t i) const { return inputs_[i].scalar; }
    /// The type of a sequence; of a scalar the one that it has by itself, which for text beside a timestamp is timestamp.
    ValueType type(size_t i) const { return inputs_[i].type; }

    /// The type of the inputs from `first` on where values are only chosen: see meet.
    ValueType meeting_type(size_t first = 0) const;
    /// int8 or double; an error if an input is no number.
    ValueType computing_type() const;

    /// The input as a type that it was asked for.
    Series as(size_t i, ValueType type);

    /// A result for every position.
    template <class R, class... V, class Op> Series compute(ValueType result, ValueType each, const Op& op) {
        for (size_t i = 0; i < n_; ++i) series_[i] = as(i, each);
        return elementwise<R, V...>(arguments_.plan(), result, {series_.data(), n_}, op);
    }
    /// The same with an operator of the library.
    Series compute(BinaryConstructor construct, ValueType result, ValueType each);

    [[noreturn]] void refuse(size_t i, const std::string& wanted) const;

 private:
    /// Whether an input is stored with runs that are worth some pains.
    bool has_runs(size_t i) const;

    struct Input {
        bool scalar = false;
        ValueType type;
        Series series;
    };
    Arguments& arguments_;
    size_t n_;
    std::array<Input, most_operands> inputs_;
    std::array<Series, most_operands> series_;
};

/// An argument that is a sequence of numbers, as doubles.
inline Series as_double(Plan& plan, Arguments& a, size_t i) {
    return widened(plan, a.series(i), type_of(Type::double_));
}

/// Calls f with a value of the unsigned type of a fixed width, for operations that only move values.
template <class F> decltype(auto) with_bits(size_t width, F f) {
    switch (width) {
        case 1:
            return f(uint8_t{});
        case 2:
            return f(uint16_t{});
        case 4:
            return f(uint32_t{});
        default:
            return f(uint64_t{});
    }
}

}  // namespace qvo::value
