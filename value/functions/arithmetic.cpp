// Element-wise arithmetic and functions of numbers.
#include "operators/arithmetic.h"
#include "functions/catalog.h"
#include "functions/inputs.h"

namespace qvo::value {
namespace {

constexpr ValueType int8{Type::int8, 8}, double_{Type::double_, 8}, timestamp{Type::timestamp, 8};

/// Numbers in int8 by an operation, in double by an operator of the library.
template <class Checked> Series arithmetic(Inputs& in, BinaryConstructor doubles) {
    if (in.computing_type() == double_) return in.compute(doubles, double_, double_);
    return in.compute<int64_t, int64_t, int64_t>(int8, int8, Checked{});
}

bool is_time(const Inputs& in, size_t i) { return in.type(i).type == Type::timestamp; }
void expect_integer(const Inputs& in, size_t i) {
    if (!is_integer(in.type(i).type)) in.refuse(i, "integers, microseconds, beside a timestamp");
}

/// What moves a timestamp: both sides as microseconds.
template <class Checked> Series moved(Inputs& in, ValueType result) {
    Plan& plan = in.plan();
    const Series both[] = {in.as(0, in.type(0)), in.as(1, in.type(1))};
    const Series wide[] = {widened(plan, both[0], is_time(in, 0) ? timestamp : int8),
                           widened(plan, both[1], is_time(in, 1) ? timestamp : int8)};
    return elementwise<int64_t, int64_t, int64_t>(plan, result, wide, Checked{});
}

Series add(Plan&, Arguments& a) {
    Inputs in(a);
    if (!is_time(in, 0) && !is_time(in, 1)) return arithmetic<CheckedAdd>(in, qvo_seq_add_double);
    expect_integer(in, is_time(in, 0) ? 1 : 0);
    return moved<CheckedAdd>(in, timestamp);
}
Series sub(Plan&, Arguments& a) {
    Inputs in(a);
    if (!is_time(in, 0)) return arithmetic<CheckedSubtract>(in, qvo_seq_sub_double);
    if (!is_time(in, 1)) expect_integer(in, 1);
    return moved<CheckedSubtract>(in, is_time(in, 1) ? int8 : timestamp);
}
Series mul(Plan&, Arguments& a) {
    Inputs in(a);
    return arithmetic<CheckedMultiply>(in, qvo_seq_mul_double);
}
Series div(Plan&, Arguments& a) {
    Inputs in(a);
    in.computing_type();
    return in.compute(qvo_seq_div_double, double_, double_);
}

template <class Op> Series divided(Plan&, Arguments& a) {
    Inputs in(a);
    if (in.computing_type() == double_) return in.compute<double, double, double>(double_, double_, Op{});
    return in.compute<int64_t, int64_t, int64_t>(int8, int8, Op{});
}

struct Power {
    double operator()(double a, double b) const { return std::pow(a, b); }
};

/// One function of doubles.
template <double (*F)(double)> struct Call {
    QVO_INLINE double operator()(double x) const { return F(x); }
};
template <double (*F)(double)> Series of_double(Plan&, Arguments& a) {
    Inputs in(a);
    in.computing_type();
    return in.compute<double, double>(double_, double_, Call<F>{});
}
double square_root(double x) { return std::sqrt(x); }
double exponential(double x) { return std::exp(x); }
double logarithm(double x) { return std::log(x); }
double decimal_logarithm(double x) { return std::log10(x); }

Series pow(Plan&, Arguments& a) {
    Inputs in(a);
    in.computing_type();
    return in.compute<double, double, double>(double_, double_, Power{});
}

Series neg(Plan& plan, Arguments& a) {
    Inputs in(a);
    if (in.computing_type() == int8) return in.compute<int64_t, int64_t>(int8, int8, Negate{});
    return wire(plan, qvo_seq_neg_double, in.as(0, double_), double_);
}

/// An operation that has a form for integers and one for doubles.
template <class Op> Series of_number(Plan&, Arguments& a) {
    Inputs in(a);
    if (in.computing_type() == int8) return in.compute<int64_t, int64_t>(int8, int8, Op{});
    return in.compute<double, double>(double_, double_, Op{});
}

struct Floor {
    QVO_INLINE double operator()(double x) const { return std::floor(x); }
    QVO_INLINE int64_t operator()(int64_t x) const { return x; }
};
struct Ceil {
    QVO_INLINE double operator()(double x) const { return std::ceil(x); }
    QVO_INLINE int64_t operator()(int64_t x) const { return x; }
};

Series round(Plan&, Arguments& a) {
    Inputs in(a, 1);
    const int64_t digits = a.has(1) ? a.integer(1) : 0, places = digits < 0 ? -digits : digits;
    if (in.computing_type() == double_)
        return in.compute<double, double>(double_, double_,
                                          RoundDouble{std::pow(10.0, static_cast<double>(places)), digits < 0});
    if (digits >= 0) return in.as(0, int8);
    int64_t unit = 1;
    for (int64_t i = 0; i < std::min<int64_t>(places, 19); ++i) unit = i < 18 ? unit * 10 : 0;
    if (places == 19) return in.compute<int64_t, int64_t>(int8, int8, RoundToTenToNineteen{});
    return in.compute<int64_t, int64_t>(int8, int8, RoundInteger{unit});
}

constexpr Parameter x_number{"x", Takes::operand, Of::number}, y_number{"y", Takes::operand, Of::number};
constexpr Parameter x_time{"x", Takes::operand, Of::ordered_number}, y_time{"y", Takes::operand, Of::ordered_number};
constexpr Parameter one_number{"x", Takes::sequence, Of::number};
constexpr std::string_view number = "int8, or double if an operand is floating";
constexpr std::string_view fails_beyond_int8 = "A result that int8 does not hold is an error with its position.";

const Function functions[] = {
    {.name = "add",
     .group = Group::element_wise,
     .summary = "x + y.",
     .parameters = {x_time, y_time},
     .result = "int8, or double if an operand is floating; a timestamp if one is",
     .rule =
         "A timestamp and an integer, its microseconds, give a timestamp. A result that int8 does not hold is an error "
         "with its position.",
     .example = {"add([1, 2], [0.5, null])", "[1.5,null]"},
     .python = "+",
     .build = add},
    {.name = "sub",
     .group = Group::element_wise,
     .summary = "x - y.",
     .parameters = {x_time, y_time},
     .result =
         "int8, or double if an operand is floating; timestamp less timestamp is int8, less an integer a timestamp",
     .rule =
         "The difference of two timestamps is in microseconds. A result that int8 does not hold is an error with its "
         "position.",
     .example = {"sub([5, 7], 2)", "[3,5]"},
     .python = "-",
     .build = sub},
    {.name = "mul",
     .group = Group::element_wise,
     .summary = "x · y.",
     .parameters = {x_number, y_number},
     .result = number,
     .rule = fails_beyond_int8,
     .example = {"mul([2, 3], 1.5)", "[3.0,4.5]"},
     .python = "*",
     .build = mul},
    {.name = "div",
     .group = Group::element_wise,
     .summary = "x / y.",
     .parameters = {x_number, y_number},
     .result = "double",
     .rule = "x / 0 is an infinity of the sign of x, 0 / 0 is missing.",
     .example = {"div([1, 3], 2)", "[0.5,1.5]"},
     .python = "/",
     .build = div},
    {.name = "floordiv",
     .group = Group::element_wise,
     .summary = "x / y rounded down.",
     .parameters = {x_number, y_number},
     .result = number,
     .rule =
         "As Python's //. Of integers, division by zero is an error with its position; of floating values it is x / 0.",
     .example = {"floordiv([7, -7], 2)", "[3,-4]"},
     .python = "//",
     .build = divided<FloorDivide>},
    {.name = "mod",
     .group = Group::element_wise,
     .summary = "The remainder of x // y.",
     .parameters = {x_number, y_number},
     .result = number,
     .rule = "It has the sign of y, as Python's %. Of integers, division by zero is an error with its position; of "
             "floating "
             "values the result is missing.",
     .example = {"mod([7, -7], 4)", "[3,1]"},
     .python = "%",
     .build = divided<FloorModulo>},
    {.name = "neg",
     .group = Group::element_wise,
     .summary = "-x.",
     .parameters = {one_number},
     .result = number,
     .rule = fails_beyond_int8,
     .example = {"neg([1, -2])", "[-1,2]"},
     .python = "-",
     .build = neg},
    {.name = "abs",
     .group = Group::element_wise,
     .summary = "The absolute value.",
     .parameters = {one_number},
     .result = number,
     .rule = fails_beyond_int8,
     .example = {"abs([1, -2])", "[1,2]"},
     .build = of_number<Absolute>},
    {.name = "sign",
     .group = Group::element_wise,
     .summary = "-1, 0 or 1, as x is below, at or above 0.",
     .parameters = {one_number},
     .result = number,
     .rule = "",
     .example = {"sign([-2.5, 0.0, null])", "[-1.0,0.0,null]"},
     .build = of_number<Sign>},
    {.name = "sqrt",
     .group = Group::element_wise,
     .summary = "The square root.",
     .parameters = {one_number},
     .result = "double",
     .rule = "Below 0 missing.",
     .example = {"sqrt([4, -1])", "[2.0,null]"},
     .build = of_double<square_root>},
    {.name = "exp",
     .group = Group::element_wise,
     .summary = "e to the power of x.",
     .parameters = {one_number},
     .result = "double",
     .rule = "",
     .example = {"exp([0])", "[1.0]"},
     .build = of_double<exponential>},
    {.name = "ln",
     .group = Group::element_wise,
     .summary = "The natural logarithm.",
     .parameters = {one_number},
     .result = "double",
     .rule = "Of 0 minus infinity, below 0 missing.",
     .example = {"ln([1, -1])", "[0.0,null]"},
     .build = of_double<logarithm>},
    {.name = "log10",
     .group = Group::element_wise,
     .summary = "The decimal logarithm.",
     .parameters = {one_number},
     .result = "double",
     .rule = "Of 0 minus infinity, below 0 missing.",
     .example = {"log10([1000])", "[3.0]"},
     .build = of_double<decimal_logarithm>},
    {.name = "pow",
     .group = Group::element_wise,
     .summary = "x to the power of y.",
     .parameters = {x_number, y_number},
     .result = "double",
     .rule = "Of a missing value to the power of 0, and of 1 to any power, it is 1.",
     .example = {"pow([2, 3], 2)", "[4.0,9.0]"},
     .python = "**",
     .build = pow},
    {.name = "round",
     .group = Group::element_wise,
     .summary = "Rounded to a number of decimal digits, half to even.",
     .parameters = {one_number, {"digits", Takes::integer, Of::any, -400, 400, true}},
     .result = number,
     .rule = "Of doubles rint(x·10^digits) / 10^digits, or x itself where that is not finite; 0 digits by default. "
             "Negative "
             "digits round before the point, integers exactly.",
     .example = {"round([2.675, 0.5, 1.5], 0)", "[3.0,0.0,2.0]"},
     .build = round},
    {.name = "floor",
     .group = Group::element_wise,
     .summary = "The largest whole number not above x.",
     .parameters = {one_number},
     .result = number,
     .rule = "",
     .example = {"floor([-1.5])", "[-2.0]"},
     .build = of_number<Floor>},
    {.name = "ceil",
     .group = Group::element_wise,
     .summary = "The smallest whole number not below x.",
     .parameters = {one_number},
     .result = number,
     .rule = "",
     .example = {"ceil([1.5])", "[2.0]"},
     .build = of_number<Ceil>},
};

}  // namespace

std::span<const Function> arithmetic_functions() { return functions; }

}  // namespace qvo::value
