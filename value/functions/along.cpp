// Along the sequence: functions that look at neighbours.
#include "core/number.h"
#include "evaluate/width.h"
#include "functions/catalog.h"
#include "functions/inputs.h"
#include "operators/cumulative.h"
#include "operators/gaps.h"
#include "operators/neighbours.h"
#include "operators/rolling.h"
#include "operators/shift.h"
#include "operators/smoothing.h"

namespace qvo::value {
namespace {

constexpr ValueType int8{Type::int8, 8}, double_{Type::double_, 8};

// ---- Neighbours ------------------------------------------------------------------------------------------------

/// Of what was exact before it was subtracted, the difference is rounded once.
struct Difference {
    QVO_INLINE double operator()(double a, double b) const { return a - b; }
    QVO_INLINE double operator()(int64_t a, int64_t b) const {
        const uint64_t up = static_cast<uint64_t>(a) - static_cast<uint64_t>(b);
        return a >= b ? unsigned_to_double(up) : -unsigned_to_double(0 - up);
    }
    QVO_INLINE double operator()(uint64_t a, uint64_t b) const {
        return a >= b ? unsigned_to_double(a - b) : -unsigned_to_double(b - a);
    }
};
struct Change {
    QVO_INLINE double operator()(double a, double b) const { return a / b - 1.0; }
};
struct Before {
    QVO_INLINE double operator()(double, double b) const { return b; }
};

/// What Op makes of values and those n positions before them; missing where there are none.
template <class V, class Op> Series paired(Plan& plan, Arguments& a, ValueType type, int64_t n) {
    if (n == 1) return of_neighbours<V, Op>(plan, widened(plan, a.series(0), type));
    const Moved x = moved(plan, a, 0, n);
    const Series both[] = {widened(plan, x.now, type), widened(plan, x.before, type)};
    const Series made = elementwise<double, V, V>(plan, double_, both, Op{});
    return framed(plan, made, x.unpaired_first, x.unpaired_last, missing_double());
}

int64_t distance(const Arguments& a) { return a.has(1) ? a.integer(1) : 1; }

Series diff(Plan& plan, Arguments& a) {
    const ValueType type = a.type(0);
    if (type.type == Type::int8 || type.type == Type::timestamp)
        return paired<int64_t, Difference>(plan, a, type, distance(a));
    if (type.type == Type::uint8) return paired<uint64_t, Difference>(plan, a, type, distance(a));
    return paired<double, Difference>(plan, a, double_, distance(a));
}

Series pct_change(Plan& plan, Arguments& a) { return paired<double, Change>(plan, a, double_, distance(a)); }

Series shift(Plan& plan, Arguments& a) {
    const Moved x = moved(plan, a, 0, a.integer(1));
    if (a.has(2)) return framed(plan, x.before, x.unpaired_first, x.unpaired_last, a.scalar(2, x.before.type));
    if (!is_number(x.before.type.type))
        a.refuse_type(0, "of numbers if no third argument says what to fill in", x.before.type);
    return framed(plan, widened(plan, x.before, double_), x.unpaired_first, x.unpaired_last, missing_double());
}

// ---- Running results -------------------------------------------------------------------------------------------

Series cumsum(Plan& plan, Arguments& a) {
    const Series x = a.series(0);
    return cumulative_sum(plan, widened(plan, x, is_floating(x.type.type) ? double_ : int8));
}
Series cumprod(Plan& plan, Arguments& a) { return cumulative_product(plan, as_double(plan, a, 0)); }
Series cummax(Plan& plan, Arguments& a) { return cumulative_max(plan, a.series(0)); }
Series cummin(Plan& plan, Arguments& a) { return cumulative_min(plan, a.series(0)); }

// ---- Gaps ------------------------------------------------------------------------------------------------------

uint64_t limit_of(const Arguments& a) { return a.has(1) ? static_cast<uint64_t>(a.integer(1)) : UINT64_MAX; }
Series ffill(Plan& plan, Arguments& a) { return filled_forward(plan, a.series(0), limit_of(a)); }
Series bfill(Plan& plan, Arguments& a) { return filled_backward(plan, a.series(0), limit_of(a)); }
Series interpolate(Plan& plan, Arguments& a) { return interpolated(plan, as_double(plan, a, 0)); }

// ---- Smoothing -------------------------------------------------------------------------------------------------

Series ema(Plan& plan, Arguments& a) {
    const double span = a.real(1);
    if (!(span >= 1)) a.refuse(1, "span must be at least 1, got " + a.described(1));
    return smoothed(plan, as_double(plan, a, 0), 2.0 / (span + 1.0), 1);
}

Series averaged(Plan& plan, const Series& x, int64_t n) {
    return smoothed(plan, x, 1.0 / static_cast<double>(n), static_cast<uint64_t>(n));
}
Series wilder(Plan& plan, Arguments& a) { return averaged(plan, as_double(plan, a, 0), a.integer(1)); }

/// The largest of the three distances between a period's extremes and the close before it.
struct TrueRange {
    QVO_INLINE double operator()(double high, double low, double close) const {
        const double spread = high - low, up = std::fabs(high - close), down = std::fabs(low - close);
        const double other = up > down ? up : down;
        return other > spread ? other : spread;  // also where there is no close; missing where the spread is
    }
};
Series atr(Plan& plan, Arguments& a) {
    const Series before = of_neighbours<double, Before>(plan, as_double(plan, a, 2));
    const Series operands[] = {as_double(plan, a, 0), as_double(plan, a, 1), before};
    const Series ranges = elementwise<double, double, double, double>(plan, double_, operands, TrueRange{});
    return averaged(plan, ranges, a.integer(3));
}
Series rsi(Plan& plan, Arguments& a) {
    const Series differences = of_neighbours<double, Difference>(plan, as_double(plan, a, 0));
    return relative_strength(plan, differences, static_cast<uint64_t>(a.integer(1)));
}

// ---- The entries -----------------------------------------------------------------------------------------------

constexpr Parameter x_number{"x", Takes::sequence, Of::number}, x_ordered{"x", Takes::sequence, Of::ordered_number};
constexpr Parameter n_before{"n", Takes::integer, Of::any, -INT64_MAX, INT64_MAX, true};
constexpr Parameter n_periods{"n", Takes::integer, Of::any, 1, max_window};
constexpr Parameter limit{"limit", Takes::integer, Of::any, 1, INT64_MAX, true};

const Function functions[] = {
    {.name = "diff",
     .group = Group::along,
     .summary = "The difference to the value n positions before.",
     .parameters = {x_ordered, n_before},
     .result = "double",
     .rule =
         "n is 1 if it is left out; a negative n looks ahead. Missing where there is no such position. Integers are "
         "subtracted exactly, then rounded to double; timestamps give microseconds.",
     .example = {"diff([1, 4, 9])", "[null,3.0,5.0]"},
     .build = diff},
    {.name = "pct_change",
     .group = Group::along,
     .summary = "The relative change from the value n positions before.",
     .parameters = {x_number, n_before},
     .result = "double",
     .rule =
         "x / before - 1. n is 1 if it is left out; a negative n looks ahead. Missing where there is no such position, "
         "or either value is missing.",
     .example = {"pct_change([1, 2, 3])", "[null,1.0,0.5]"},
     .build = pct_change},
    {.name = "shift",
     .group = Group::along,
     .summary = "The value n positions before.",
     .parameters = {{"x"},
                    {"n", Takes::integer, Of::any, -INT64_MAX, INT64_MAX},
                    {"v", Takes::scalar, Of::any, {}, {}, true}},
     .result = "double; with v the type of x",
     .rule = "A negative n looks ahead. Where there is no such position, v, or missing if v is left out. Text and "
             "timestamps, which have no missing value, need a v.",
     .example = {"shift([1, 2, 3], 1, 0)", "[0,1,2]"},
     .build = shift},
    {.name = "cumsum",
     .group = Group::along,
     .summary = "The sum of all values up to each position.",
     .parameters = {x_number},
     .result = "int8; of floating values double",
     .rule =
         "Missing values are left out and stay missing in their places. Integers are added exactly; a sum that int8 "
         "does not hold is an error.",
     .example = {"cumsum([1, 2, 3])", "[1,3,6]"},
     .build = cumsum},
    {.name = "cumprod",
     .group = Group::along,
     .summary = "The product of all values up to each position.",
     .parameters = {x_number},
     .result = "double",
     .rule = "Missing values are left out and stay missing in their places.",
     .example = {"cumprod([1, 2, null, 3])", "[1.0,2.0,null,6.0]"},
     .build = cumprod},
    {.name = "cummax",
     .group = Group::along,
     .summary = "The largest value up to each position.",
     .parameters = {x_ordered},
     .result = "as x",
     .rule = "Missing values are left out and stay missing in their places.",
     .example = {"cummax([1, 3, 2])", "[1,3,3]"},
     .build = cummax},
    {.name = "cummin",
     .group = Group::along,
     .summary = "The smallest value up to each position.",
     .parameters = {x_ordered},
     .result = "as x",
     .rule = "Missing values are left out and stay missing in their places.",
     .example = {"cummin([2, 3, 1])", "[2,2,1]"},
     .build = cummin},
    {.name = "ffill",
     .group = Group::along,
     .summary = "Missing values replaced with the last value before them.",
     .parameters = {{"x"}, limit},
     .result = "as x",
     .rule = "Of each gap at most limit positions, if that is given. What is not floating has no gaps.",
     .example = {"ffill([1.5, null, null, 2], 1)", "[1.5,1.5,null,2.0]"},
     .build = ffill},
    {.name = "bfill",
     .group = Group::along,
     .summary = "Missing values replaced with the next value after them.",
     .parameters = {{"x"}, limit},
     .result = "as x",
     .rule = "Of each gap at most limit positions, the last ones, if that is given. What is not floating has no gaps.",
     .example = {"bfill([null, null, 2.5], 1)", "[null,2.5,2.5]"},
     .build = bfill},
    {.name = "interpolate",
     .group = Group::along,
     .summary = "Missing values replaced with the straight line between the values around them.",
     .parameters = {x_number},
     .result = "double",
     .rule = "By position. Missing values before the first value and after the last one stay.",
     .example = {"interpolate([1, null, null, 4, null])", "[1.0,2.0,3.0,4.0,null]"},
     .build = interpolate},
    {.name = "ema",
     .group = Group::along,
     .summary = "The exponential moving average of a span.",
     .parameters = {x_number, {"span", Takes::real}},
     .result = "double",
     .rule = "It begins with the first value; every further one moves it by 2 / (span + 1) of the way to itself. span "
             "is at least 1. Missing and infinite values are left out: the last result is repeated, and the next value "
             "weighs as much more as the mean has aged.",
     .example = {"ema([1, 2, 4], 3)", "[1.0,1.5,2.75]"},
     .build = ema},
    {.name = "wilder",
     .group = Group::along,
     .summary = "Wilder's moving average over n positions.",
     .parameters = {x_number, n_periods},
     .result = "double",
     .rule = "Missing up to the n-th value that is present; there it is the mean of the first n. Every further one "
             "moves it by 1 / n of the way to itself. Missing and infinite values are left out: the last result is "
             "repeated, and the next value weighs as much more as the mean has aged.",
     .example = {"wilder([1, 3, 4], 2)", "[null,2.0,3.0]"},
     .build = wilder},
    {.name = "atr",
     .group = Group::along,
     .summary = "Wilder's average true range over n positions.",
     .parameters = {{"high", Takes::sequence, Of::number},
                    {"low", Takes::sequence, Of::number},
                    {"close", Takes::sequence, Of::number},
                    n_periods},
     .result = "double",
     .rule = "wilder of the true range, which is the largest of high - low and the distances of both from the close "
             "before; high - low where that close is missing, missing where high or low is.",
     .example = {"atr([3, 5], [1, 4], [2, 4], 2)", "[null,2.5]"},
     .build = atr},
    {.name = "rsi",
     .group = Group::along,
     .summary = "Wilder's relative strength index over n positions.",
     .parameters = {x_number, n_periods},
     .result = "double",
     .rule = "100 g / (g + l), where g is wilder of the rises from position to position and l of the falls, 0 where "
             "there is none. The first result is at position n; where nothing has moved it is missing.",
     .example = {"rsi([1, 3, 2], 2)", "[null,null,66.66666666666667]"},
     .build = rsi},
};

}  // namespace

std::span<const Function> along_functions() { return functions; }

}  // namespace qvo::value
