// Element-wise functions of numbers, conditions and missing values. Those of text and of time are in files of their own.
#include "functions/element_wise.h"

#include <cstring>

#include "functions/catalog.h"
#include "functions/inputs.h"
#include "operators/arithmetic.h"

namespace qvo::value {
namespace {

constexpr ValueType int8{Type::int8, 8}, double_{Type::double_, 8}, boolean{Type::boolean, 1},
    timestamp{Type::timestamp, 8};

// ---- Arithmetic ------------------------------------------------------------------------------------------------

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

// ---- Choosing among values -------------------------------------------------------------------------------------

/// Text is chosen whole: Pick says which operand's.
template <class Pick> struct TextLoop {
    size_t width, n;
    static LoopFault run(const Batch& batch, const void* operation) {
        const TextLoop& loop = *static_cast<const TextLoop*>(operation);
        for (size_t i = 0; i < batch.n; ++i) {
            const char* at[most_operands];
            for (size_t k = 0; k < loop.n; ++k) at[k] = static_cast<const char*>(batch.in[k]) + i * loop.width;
            std::memcpy(static_cast<char*>(batch.out) + i * loop.width, at[Pick::pick(at, loop.width)], loop.width);
        }
        return {};
    }
};
struct PickLeast {
    static size_t pick(const char* const* at, size_t width) { return std::memcmp(at[0], at[1], width) > 0; }
};
struct PickGreatest {
    static size_t pick(const char* const* at, size_t width) { return std::memcmp(at[0], at[1], width) < 0; }
};
struct PickClipped {
    static size_t pick(const char* const* at, size_t width) {
        const size_t raised = std::memcmp(at[0], at[1], width) < 0;
        return std::memcmp(at[raised], at[2], width) > 0 ? 2 : raised;
    }
};

template <class Op, class Pick, size_t N> Series chosen(Plan& plan, Arguments& a) {
    Inputs in(a);
    const ValueType type = in.meeting_type();
    if (type.type == Type::char_) {
        Series series[N];
        for (size_t i = 0; i < N; ++i) series[i] = in.as(i, type);
        const TextLoop<Pick> loop{type.width, N};
        return elementwise(plan, type, series, TextLoop<Pick>::run, &loop, sizeof loop);
    }
    return with_fixed(type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        if constexpr (N == 2)
            return in.compute<V, V, V>(type, type, Op{});
        else
            return in.compute<V, V, V, V>(type, type, Op{});
    });
}

struct Where {
    template <class V> QVO_INLINE V operator()(uint8_t c, V x, V y) const { return c != 0 ? x : y; }
};
struct WhereText {
    size_t width;
    static LoopFault run(const Batch& batch, const void* operation) {
        const size_t width = static_cast<const WhereText*>(operation)->width;
        for (size_t i = 0; i < batch.n; ++i) {
            const size_t k = static_cast<const uint8_t*>(batch.in[0])[i] != 0 ? 1 : 2;
            std::memcpy(static_cast<char*>(batch.out) + i * width, static_cast<const char*>(batch.in[k]) + i * width,
                        width);
        }
        return {};
    }
};

Series where(Plan& plan, Arguments& a) {
    Inputs in(a);
    if (!in.is_scalar(0) && in.type(0) != boolean) in.refuse(0, "boolean (cast converts it)");
    const ValueType type = in.meeting_type(1);
    const Series series[] = {in.as(0, boolean), in.as(1, type), in.as(2, type)};
    if (type.type == Type::char_) {
        const WhereText loop{type.width};
        return elementwise(plan, type, series, WhereText::run, &loop, sizeof loop);
    }
    return with_bits(type.width, [&](auto bits) {
        using V = decltype(bits);
        return elementwise<V, uint8_t, V, V>(plan, type, series, Where{});
    });
}

struct IsMissing {
    template <class V> QVO_INLINE bool operator()(V x) const { return x != x; }
};
Series is_missing(Plan& plan, Arguments& a) {
    const Series x = a.series(0);
    if (x.type.type == Type::double_) return elementwise<uint8_t, double>(plan, boolean, std::span(&x, 1), IsMissing{});
    if (x.type.type == Type::float_) return elementwise<uint8_t, float>(plan, boolean, std::span(&x, 1), IsMissing{});
    const auto none = [](const Batch& batch, const void*) -> LoopFault {
        std::memset(batch.out, 0, batch.n);
        return {};
    };
    return elementwise(plan, boolean, std::span(&x, 1), none, nullptr, 0);
}

struct Fill {
    template <class V> QVO_INLINE V operator()(V x, V v) const { return x == x ? x : v; }
};
Series fill(Plan&, Arguments& a) {
    Inputs in(a);
    if (in.is_scalar(0)) in.refuse(0, "a sequence");
    ValueType type = in.type(0);
    if (!in.is_scalar(1)) {
        const ValueType met = in.meeting_type();
        if (is_floating(type.type)) type = met;
    }
    if (type.type == Type::double_) return in.compute<double, double, double>(type, type, Fill{});
    if (type.type == Type::float_) return in.compute<float, float, float>(type, type, Fill{});
    // Nothing is missing; still the values must fit, or the sequence be as long.
    const Series both[] = {in.as(0, type), in.as(1, in.is_scalar(1) ? type : in.type(1))};
    return with_equal_lengths(in.plan(), both[0], both);
}

// ---- Comparison and logic --------------------------------------------------------------------------------------

/// The type in which a comparison is exact; nothing for uint8 beside other integers.
std::optional<ValueType> comparing_type(const Inputs& in, const Arguments& a) {
    // Scalars are compared in the sequences' own type, if there is one and it holds them.
    std::optional<ValueType> own;
    bool several = false, natural = false, other = false;
    for (size_t i = 0; i < a.size(); ++i) {
        natural |= in.type(i).type == Type::uint8;
        other |= in.type(i).type != Type::uint8;
        if (in.is_scalar(i)) continue;
        several |= own && *own != in.type(i);
        own = in.type(i);
    }
    if (!several && own->type != Type::char_ && own->type != Type::float_) {
        bool fits = true;
        std::string fault;
        for (size_t i = 0; i < a.size(); ++i) {
            if (!in.is_scalar(i)) continue;
            const bool whole = a.datum(i).kind != Datum::Kind::real || is_floating(own->type);
            fits = fits && whole && fit(a.datum(i), *own, fault);
        }
        if (fits) return own;
    }
    const ValueType type = in.meeting_type();
    if (natural && other && type == int8) return std::nullopt;
    return type;
}

/// An operation on integers, those of uint8 as such and all others as int8.
template <size_t N, class Op, class... V>
Series mixed(Inputs& in, const Op& op, std::array<Series, N> sides = std::array<Series, N>()) {
    constexpr size_t i = sizeof...(V);
    if constexpr (i == N) {
        return elementwise<uint8_t, V...>(in.plan(), boolean, sides, op);
    } else {
        const bool natural = in.type(i).type == Type::uint8;
        sides[i] = in.as(i, natural ? in.type(i) : int8);
        return natural ? mixed<N, Op, V..., uint64_t>(in, op, sides) : mixed<N, Op, V..., int64_t>(in, op, sides);
    }
}

/// A signed and an unsigned side: below 0 is below everything; the relation of the signs, else of the numbers.
template <class Relation> struct MixedSigns {
    template <class A, class B> QVO_INLINE bool operator()(A a, B b) const {
        return Relation{}(std::cmp_less(a, b) ? -1 : std::cmp_less(b, a) ? 1 : 0, 0);
    }
};
struct MixedBetween {
    template <class X, class L, class H> QVO_INLINE bool operator()(X x, L low, H high) const {
        return std::cmp_greater_equal(x, low) && std::cmp_less_equal(x, high);
    }
};

template <class Relation> Series compared(Plan&, Arguments& a, const BinaryMembers& members) {
    Inputs in(a);
    const std::optional<ValueType> type = comparing_type(in, a);
    if (!type) return mixed<2>(in, MixedSigns<Relation>{});
    return in.compute(members[static_cast<size_t>(type->type)], boolean, *type);
}

#define EQ(type) qvo_seq_eq_##type
#define NE(type) qvo_seq_ne_##type
#define LT(type) qvo_seq_lt_##type
#define LE(type) qvo_seq_le_##type
#define GT(type) qvo_seq_gt_##type
#define GE(type) qvo_seq_ge_##type
constexpr BinaryMembers eq_members = QVO_VALUE_MEMBERS(EQ, qvo_seq_eq_char);
constexpr BinaryMembers ne_members = QVO_VALUE_MEMBERS(NE, qvo_seq_ne_char);
constexpr BinaryMembers lt_members = QVO_VALUE_MEMBERS(LT, qvo_seq_lt_char);
constexpr BinaryMembers le_members = QVO_VALUE_MEMBERS(LE, qvo_seq_le_char);
constexpr BinaryMembers gt_members = QVO_VALUE_MEMBERS(GT, qvo_seq_gt_char);
constexpr BinaryMembers ge_members = QVO_VALUE_MEMBERS(GE, qvo_seq_ge_char);
#undef EQ
#undef NE
#undef LT
#undef LE
#undef GT
#undef GE

Series eq(Plan& plan, Arguments& a) { return compared<std::equal_to<int>>(plan, a, eq_members); }
Series ne(Plan& plan, Arguments& a) { return compared<std::not_equal_to<int>>(plan, a, ne_members); }
Series lt(Plan& plan, Arguments& a) { return compared<std::less<int>>(plan, a, lt_members); }
Series le(Plan& plan, Arguments& a) { return compared<std::less_equal<int>>(plan, a, le_members); }
Series gt(Plan& plan, Arguments& a) { return compared<std::greater<int>>(plan, a, gt_members); }
Series ge(Plan& plan, Arguments& a) { return compared<std::greater_equal<int>>(plan, a, ge_members); }

struct BetweenText {
    size_t width;
    static LoopFault run(const Batch& batch, const void* operation) {
        const size_t width = static_cast<const BetweenText*>(operation)->width;
        for (size_t i = 0; i < batch.n; ++i) {
            const auto at = [&](size_t k) { return static_cast<const char*>(batch.in[k]) + i * width; };
            static_cast<uint8_t*>(batch.out)[i] =
                std::memcmp(at(0), at(1), width) >= 0 && std::memcmp(at(0), at(2), width) <= 0;
        }
        return {};
    }
};

Series between(Plan& plan, Arguments& a) {
    Inputs in(a);
    const std::optional<ValueType> common = comparing_type(in, a);
    if (!common) return mixed<3>(in, MixedBetween{});
    const ValueType type = *common;
    if (type.type == Type::char_) {
        const Series series[] = {in.as(0, type), in.as(1, type), in.as(2, type)};
        const BetweenText loop{type.width};
        return elementwise(plan, boolean, series, BetweenText::run, &loop, sizeof loop);
    }
    return with_fixed(type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        return in.compute<uint8_t, V, V, V>(boolean, type, Between{});
    });
}

Series logic(Arguments& a, BinaryConstructor construct) {
    Inputs in(a);
    for (size_t i = 0; i < 2; ++i)
        if (!in.is_scalar(i) && in.type(i) != boolean) in.refuse(i, "boolean (cast converts it)");
    return in.compute(construct, boolean, boolean);
}
Series and_(Plan&, Arguments& a) { return logic(a, qvo_seq_and); }
Series or_(Plan&, Arguments& a) { return logic(a, qvo_seq_or); }
Series xor_(Plan&, Arguments& a) { return logic(a, qvo_seq_xor); }
Series not_(Plan& plan, Arguments& a) { return wire(plan, qvo_seq_not, a.series(0), boolean); }

// ---- The entries -----------------------------------------------------------------------------------------------

constexpr Parameter x_number{"x", Takes::operand, Of::number}, y_number{"y", Takes::operand, Of::number};
constexpr Parameter x_any{"x", Takes::operand}, y_any{"y", Takes::operand};
constexpr Parameter x_time{"x", Takes::operand, Of::ordered_number}, y_time{"y", Takes::operand, Of::ordered_number};
constexpr Parameter c_boolean{"c", Takes::operand, Of::boolean}, d_boolean{"d", Takes::operand, Of::boolean};
constexpr Parameter one_number{"x", Takes::sequence, Of::number};

constexpr std::string_view number = "int8, or double if an operand is floating";
constexpr std::string_view fails_beyond_int8 = "A result that int8 does not hold is an error with its position.";
constexpr std::string_view compares =
    "Integers are compared exactly, integers with floating values as doubles, text by its bytes. A missing value "
    "compares "
    "false";

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
    {.name = "least",
     .group = Group::element_wise,
     .summary = "The smaller of x and y.",
     .parameters = {x_any, y_any},
     .result = "the type of both; numbers of different types int8 or double",
     .rule = "Missing where one of them is.",
     .example = {"least([1, 5], [4, 2])", "[1,2]"},
     .build = chosen<Least, PickLeast, 2>},
    {.name = "greatest",
     .group = Group::element_wise,
     .summary = "The larger of x and y.",
     .parameters = {x_any, y_any},
     .result = "the type of both; numbers of different types int8 or double",
     .rule = "Missing where one of them is.",
     .example = {"greatest([1, 5], 3)", "[3,5]"},
     .build = chosen<Greatest, PickGreatest, 2>},
    {.name = "clip",
     .group = Group::element_wise,
     .summary = "x, but not below lo and not above hi.",
     .parameters = {x_any, {"lo", Takes::operand}, {"hi", Takes::operand}},
     .result = "the type of all; numbers of different types int8 or double",
     .rule = "least(greatest(x, lo), hi).",
     .example = {"clip([1, 5, 9], 2, 6)", "[2,5,6]"},
     .build = chosen<Clip, PickClipped, 3>},
    {.name = "eq",
     .group = Group::element_wise,
     .summary = "x = y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"eq([1, 2], 2.0)", "[false,true]"},
     .python = "==",
     .build = eq},
    {.name = "ne",
     .group = Group::element_wise,
     .summary = "x ≠ y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = "Where one of them is missing, true; else the opposite of eq.",
     .example = {"ne(['a', 'b'], 'b')", "[true,false]"},
     .python = "!=",
     .build = ne},
    {.name = "lt",
     .group = Group::element_wise,
     .summary = "x < y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"lt([1, 2, 3], 2)", "[true,false,false]"},
     .python = "<",
     .build = lt},
    {.name = "le",
     .group = Group::element_wise,
     .summary = "x ≤ y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"le([1, 2, 3], 2)", "[true,true,false]"},
     .python = "<=",
     .build = le},
    {.name = "gt",
     .group = Group::element_wise,
     .summary = "x > y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"gt([1.5, null], 1)", "[true,false]"},
     .python = ">",
     .build = gt},
    {.name = "ge",
     .group = Group::element_wise,
     .summary = "x ≥ y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"ge([1, 2, 3], [3, 2, 1])", "[false,true,true]"},
     .python = ">=",
     .build = ge},
    {.name = "between",
     .group = Group::element_wise,
     .summary = "lo ≤ x and x ≤ hi.",
     .parameters = {x_any, {"lo", Takes::operand}, {"hi", Takes::operand}},
     .result = "boolean",
     .rule = compares,
     .example = {"between([1, 2, 3], 2, 3)", "[false,true,true]"},
     .build = between},
    {.name = "and",
     .group = Group::element_wise,
     .summary = "True where both are.",
     .parameters = {c_boolean, d_boolean},
     .result = "boolean",
     .rule = "The scalars 0 and 1 are booleans here.",
     .example = {"and([true, true], [true, false])", "[true,false]"},
     .python = "&",
     .build = and_},
    {.name = "or",
     .group = Group::element_wise,
     .summary = "True where one or both are.",
     .parameters = {c_boolean, d_boolean},
     .result = "boolean",
     .rule = "The scalars 0 and 1 are booleans here.",
     .example = {"or([true, false], [false, false])", "[true,false]"},
     .python = "|",
     .build = or_},
    {.name = "xor",
     .group = Group::element_wise,
     .summary = "True where exactly one is.",
     .parameters = {c_boolean, d_boolean},
     .result = "boolean",
     .rule = "The scalars 0 and 1 are booleans here.",
     .example = {"xor([true, true], [true, false])", "[false,true]"},
     .python = "^",
     .build = xor_},
    {.name = "not",
     .group = Group::element_wise,
     .summary = "True where c is false.",
     .parameters = {{"c", Takes::sequence, Of::boolean}},
     .result = "boolean",
     .rule = "",
     .example = {"not([true, false])", "[false,true]"},
     .python = "~",
     .build = not_},
    {.name = "like",
     .group = Group::element_wise,
     .summary = "True where the text matches a pattern.",
     .parameters = {{"x", Takes::sequence, Of::text}, {"pattern", Takes::text}},
     .result = "boolean",
     .rule =
         "% stands for any text, also none, _ for one character; the case of all letters counts. There is no escape "
         "character.",
     .example = {"like(['sun', 'rain'], 's%')", "[true,false]"},
     .build = like},
    {.name = "is_missing",
     .group = Group::element_wise,
     .summary = "True where the value is missing.",
     .parameters = {{"x"}},
     .result = "boolean",
     .rule = "Only float and double have missing values.",
     .example = {"is_missing([1.5, null])", "[false,true]"},
     .build = is_missing},
    {.name = "fill",
     .group = Group::element_wise,
     .summary = "x, with v where it is missing.",
     .parameters = {x_any, {"v", Takes::operand}},
     .result = "the type of x; of two floating sequences the one in which they meet",
     .rule = "What is not floating has nothing to fill.",
     .example = {"fill([1.5, null], 0)", "[1.5,0.0]"},
     .build = fill},
    {.name = "where",
     .group = Group::element_wise,
     .summary = "x where c is true, else y.",
     .parameters = {{"c", Takes::operand}, x_any, y_any},
     .result = "the type in which x and y meet, as in least",
     .rule = "Missing values of a scalar cannot be said here, as NULL makes the result NULL: see mask.",
     .example = {"where([true, false], [1, 2], 0)", "[1,0]"},
     .build = where},
    {.name = "year",
     .group = Group::element_wise,
     .summary = "The year.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "Of the proleptic Gregorian calendar, in UTC.",
     .example = {"year(timestamp['2026-02-03T04:05:06'])", "[2026]"},
     .build = year},
    {.name = "month",
     .group = Group::element_wise,
     .summary = "The month, from 1.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "",
     .example = {"month(timestamp['2026-02-03T04:05:06'])", "[2]"},
     .build = month},
    {.name = "day",
     .group = Group::element_wise,
     .summary = "The day of the month, from 1.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "",
     .example = {"day(timestamp['2026-02-03T04:05:06'])", "[3]"},
     .build = day},
    {.name = "hour",
     .group = Group::element_wise,
     .summary = "The hour, from 0.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "",
     .example = {"hour(timestamp['2026-02-03T04:05:06'])", "[4]"},
     .build = hour},
    {.name = "minute",
     .group = Group::element_wise,
     .summary = "The minute, from 0.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "",
     .example = {"minute(timestamp['2026-02-03T04:05:06'])", "[5]"},
     .build = minute},
    {.name = "second",
     .group = Group::element_wise,
     .summary = "The second, from 0, without its fraction.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "",
     .example = {"second(timestamp['2026-02-03T04:05:06'])", "[6]"},
     .build = second},
    {.name = "weekday",
     .group = Group::element_wise,
     .summary = "The day of the week: Monday is 0.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}},
     .result = "int8",
     .rule = "",
     .example = {"weekday(timestamp['2026-02-03T04:05:06'])", "[1]"},
     .build = weekday},
    {.name = "floor_time",
     .group = Group::element_wise,
     .summary = "The start of the bucket of time that holds t.",
     .parameters = {{"t", Takes::sequence, Of::timestamp}, {"width", Takes::text}},
     .result = "timestamp",
     .rule =
         "width is a number from 1 and a unit: microsecond, millisecond, second, minute, hour, day, week, month or "
         "year, "
         "singular or plural. Fixed widths are counted from 1970-01-01, weeks from Monday 1970-01-05, months and years "
         "from January of the year 0: '3 months' are quarters.",
     .example = {"floor_time(timestamp['2026-02-03T04:05:06'], '1 hour')", "[\"2026-02-03T04:00:00\"]"},
     .build = floor_time},
};

}  // namespace

std::span<const Function> element_wise_functions() { return functions; }

}  // namespace qvo::value
