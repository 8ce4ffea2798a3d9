// The arguments of one call, checked against the function's parameters. Whatever is wrong with an argument is said here,
// in one form: `argument 2: window must be at least 1, got 0`.
#pragma once

#include <array>
#include <optional>

#include "evaluate/function.h"
#include "stored/reader.h"

namespace qvo::value {

class Expression;
struct Array;

/// An argument as a host gives it: a datum, or an expression.
struct Argument {
    Datum datum;
    const Expression* expression = nullptr;
};

class Arguments {
 public:
    /// Throws unless the number of arguments, their kinds and their ranges fit. NULLs are not looked at: see any_null.
    Arguments(const Function& function, std::span<const Argument> arguments, Plan& plan);

    const Function& function() const { return function_; }
    Plan& plan() { return plan_; }
    size_t size() const { return arguments_.size(); }
    std::span<const Argument> all() const { return arguments_; }
    /// True for a stored sequence itself, whose directory can be asked.
    bool is_directly_stored(size_t i) const { return datum(i).kind == Datum::Kind::bytes; }
    bool has(size_t i) const { return i < arguments_.size(); }

    /// True if an argument is NULL whose parameter does not accept that. Then the result is NULL, a row left out.
    bool any_null() const { return any_null_; }

    bool is_null(size_t i) const { return arguments_[i].expression == nullptr && datum(i).is_null(); }
    /// True for a scalar, false for a sequence.
    bool is_scalar(size_t i) const {
        return arguments_[i].expression == nullptr && datum(i).kind != Datum::Kind::bytes;
    }
    const Datum& datum(size_t i) const { return arguments_[i].datum; }

    int64_t integer(size_t i) const { return datum(i).integer; }
    double real(size_t i) const;
    std::string_view text(size_t i) const { return datum(i).text; }

    /// A sequence argument as iterators. Once for each argument.
    Series series(size_t i);
    /// A sequence argument as a stored value, for functions that look at it as a whole. An expression is evaluated first.
    const Stored& stored(size_t i);
    /// An argument that is an array in memory, or null.
    const Array* array(size_t i) const;
    /// The type of a sequence argument, without reading it.
    ValueType type(size_t i);
    /// The scalar of an argument as a value of a type; an error if it does not fit.
    Scalar scalar(size_t i, ValueType type) const;
    /// An operand: the sequence, or the scalar as a constant sequence of the type that scalars of its kind have.
    Series operand(size_t i);

    /// What an argument is, for messages.
    std::string described(size_t i) const;
    /// An error about an argument: `argument 2: ` and the sentence.
    [[noreturn, gnu::cold]] void refuse(size_t i, const std::string& sentence, Fault fault = Fault::argument) const;
    /// An error about the type of a sequence: `argument 2: u must be a sequence`, what is wanted, what came.
    [[noreturn, gnu::cold]] void refuse_type(size_t i, const std::string& wanted, ValueType came) const;

 private:
    const Parameter& parameter(size_t i) const;
    /// The values of an argument that is the result of a call before, if they are still at hand.
    std::optional<Array> recent_values(size_t i) const;
    /// Says what is wrong with an argument of which something is.
    [[noreturn, gnu::cold]] void refuse_argument(size_t i) const;
    void check_type(size_t i, ValueType type) const;

    const Function& function_;
    std::span<const Argument> arguments_;
    Plan& plan_;
    bool any_null_ = false;
    // Headers that were read; none for a row of numbers, of which there are many.
    std::optional<std::array<std::optional<Stored>, max_parameters>> stored_;
};

/// What an argument is, for messages: `text 'abc'`, `a sequence of int4`.
std::string described(const Datum& datum);

/// The type that a scalar has by itself: integers int8, reals double, text char of its length.
ValueType type_of(const Datum& datum);

}  // namespace qvo::value
