// Functions of windows that move along a sequence, of positions or of time.
#include "evaluate/width.h"
#include "functions/catalog.h"
#include "functions/inputs.h"
#include "operators/rolling.h"
#include "operators/rolling_time.h"

namespace qvo::value {
namespace {

constexpr ValueType double_{Type::double_, 8};

Window window_of(const Arguments& a, bool count = false) {
    const int64_t positions = a.integer(1), min_periods = a.has(2) ? a.integer(2) : count ? 0 : positions;
    if (min_periods > positions)
        a.refuse(2, "min_periods must be at most the window, " + std::to_string(positions) + ", got " +
                        std::to_string(min_periods));
    return {static_cast<uint64_t>(positions), static_cast<uint64_t>(min_periods)};
}

template <Series (*rolling)(Plan&, const Series&, Window)> Series windowed(Plan& plan, Arguments& a) {
    const Window window = window_of(a);
    return rolling(plan, as_double(plan, a, 0), window);
}

/// 1 where a value is present, infinite ones too: the sum of a window is their number.
struct IsPresent {
    QVO_INLINE double operator()(double x) const { return x == x ? 1.0 : 0.0; }
};
Series presence(Plan& plan, Arguments& a) {
    const Series x = as_double(plan, a, 0);
    return elementwise<double, double>(plan, double_, std::span(&x, 1), IsPresent{});
}
Series rolling_count(Plan& plan, Arguments& a) {
    const Window window = window_of(a, true);
    return rolling_sum(plan, presence(plan, a), window);
}

TimeWindow time_window_of(const Arguments& a) {
    const std::optional<Width> width = width_named(a.text(2));
    if (!width || width->unit != Width::Unit::microseconds)
        a.refuse(2, "width must be a fixed width of time such as '15 minutes' or '1 day', got " + a.described(2));
    return {width->n, a.has(3) ? static_cast<uint64_t>(a.integer(3)) : 1};
}
template <Series (*rolling)(Plan&, const Series&, const Series&, TimeWindow)>
Series windowed_by_time(Plan& plan, Arguments& a) {
    const TimeWindow window = time_window_of(a);
    const Series x = as_double(plan, a, 0);
    return rolling(plan, x, a.series(1), window);
}
Series rolling_count_time(Plan& plan, Arguments& a) {
    const TimeWindow window = time_window_of(a);
    const Series x = presence(plan, a);
    return rolling_sum_time(plan, x, a.series(1), window);
}

constexpr Parameter x_number{"x", Takes::sequence, Of::number};
constexpr Parameter window{"window", Takes::integer, Of::any, 1, max_window};
constexpr Parameter t_time{"t", Takes::sequence, Of::timestamp}, width{"width", Takes::text};
constexpr Parameter min_periods{"min_periods", Takes::integer, Of::any, 0, max_window, true};

const Function functions[] = {
    {.name = "rolling_sum",
     .group = Group::along,
     .summary = "The sum of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "window is a number of positions. Missing and infinite values are left out; with fewer than min_periods "
             "values (the window, if left out) the result is missing. With min_periods 0 the sum of nothing is 0. "
             "Every window is computed by itself: nothing is left of values that are no longer in it.",
     .example = {"rolling_sum([1, 2, 4], 2)", "[null,3.0,6.0]"},
     .build = windowed<rolling_sum>},
    {.name = "rolling_mean",
     .group = Group::along,
     .summary = "The mean of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "window is a number of positions. Missing and infinite values are left out; with fewer than min_periods "
             "values (the window, if left out) the result is missing. Every window is computed by itself: nothing is "
             "left of values that are no longer in it.",
     .example = {"rolling_mean([1, 2, 4], 2)", "[null,1.5,3.0]"},
     .build = windowed<rolling_mean>},
    {.name = "rolling_min",
     .group = Group::along,
     .summary = "The smallest of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "window is a number of positions. Missing and infinite values are left out; with fewer than min_periods "
             "values (the window, if left out) the result is missing.",
     .example = {"rolling_min([2, 1, 4], 2)", "[null,1.0,1.0]"},
     .build = windowed<rolling_min>},
    {.name = "rolling_max",
     .group = Group::along,
     .summary = "The largest of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "window is a number of positions. Missing and infinite values are left out; with fewer than min_periods "
             "values (the window, if left out) the result is missing.",
     .example = {"rolling_max([2, 1, 4], 2)", "[null,2.0,4.0]"},
     .build = windowed<rolling_max>},
    {.name = "rolling_var",
     .group = Group::along,
     .summary = "The sample variance of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "Its denominator is the number of values less 1. window is a number of positions. Missing and infinite "
             "values are left out; with fewer than min_periods values (the window, if left out) the result is missing. "
             "Missing for fewer than two values; of a constant exactly 0. Every window is computed by itself: nothing "
             "is left of values that are no longer in it.",
     .example = {"rolling_var([1, 3, 3], 2)", "[null,2.0,0.0]"},
     .build = windowed<rolling_var>},
    {.name = "rolling_std",
     .group = Group::along,
     .summary = "The sample standard deviation of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "The square root of rolling_var.",
     .example = {"rolling_std([1, 3, 3], 2)", "[null,1.4142135623730951,0.0]"},
     .build = windowed<rolling_std>},
    {.name = "rolling_count",
     .group = Group::along,
     .summary = "The number of values present among the last ones at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "window is a number of positions. Infinite values count. Unlike elsewhere min_periods counts positions, "
             "whether or not a value is present, and is 0 if it is left out.",
     .example = {"rolling_count([1, null, 3], 3)", "[1.0,1.0,2.0]"},
     .build = rolling_count},
    {.name = "rolling_median",
     .group = Group::along,
     .summary = "The median of the last values at each position.",
     .parameters = {x_number, window, min_periods},
     .result = "double",
     .rule = "Of an even number of values the mean of the two in the middle. window is a number of positions. Missing "
             "and infinite values are left out; with fewer than min_periods values (the window, if left out) the "
             "result is missing.",
     .example = {"rolling_median([1, 5, 2], 3, 1)", "[1.0,3.0,2.0]"},
     .build = windowed<rolling_median>},
    {.name = "rolling_sum_time",
     .group = Group::along,
     .summary = "The sum of the values of the last width of time at each position.",
     .parameters = {x_number, t_time, width, min_periods},
     .result = "double",
     .rule = "The window at t holds the positions up to this one whose times are after t - width. t must ascend; equal "
             "times are allowed. width is as in floor_time, without months and years. Missing and infinite values are "
             "left out; with fewer than min_periods values (1, if left out) the result is missing.",
     .example = {"rolling_sum_time([1, 2, 4], timestamp['2026-01-01T00:00:00', '2026-01-01T00:01:00', "
                 "'2026-01-01T00:05:00'], '2 minutes')",
                 "[1.0,3.0,4.0]"},
     .build = windowed_by_time<rolling_sum_time>},
    {.name = "rolling_mean_time",
     .group = Group::along,
     .summary = "The mean of the values of the last width of time at each position.",
     .parameters = {x_number, t_time, width, min_periods},
     .result = "double",
     .rule = "The windows are those of rolling_sum_time. Missing and infinite values are left out; with fewer than "
             "min_periods values (1, if left out) the result is missing.",
     .example = {"rolling_mean_time([1, 2, 4], timestamp['2026-01-01T00:00:00', '2026-01-01T00:01:00', "
                 "'2026-01-01T00:05:00'], '2 minutes')",
                 "[1.0,1.5,4.0]"},
     .build = windowed_by_time<rolling_mean_time>},
    {.name = "rolling_min_time",
     .group = Group::along,
     .summary = "The smallest of the values of the last width of time at each position.",
     .parameters = {x_number, t_time, width, min_periods},
     .result = "double",
     .rule = "The windows are those of rolling_sum_time. Missing and infinite values are left out; with fewer than "
             "min_periods values (1, if left out) the result is missing.",
     .example = {"rolling_min_time([1, 2, 4], timestamp['2026-01-01T00:00:00', '2026-01-01T00:01:00', "
                 "'2026-01-01T00:05:00'], '2 minutes')",
                 "[1.0,1.0,4.0]"},
     .build = windowed_by_time<rolling_min_time>},
    {.name = "rolling_max_time",
     .group = Group::along,
     .summary = "The largest of the values of the last width of time at each position.",
     .parameters = {x_number, t_time, width, min_periods},
     .result = "double",
     .rule = "The windows are those of rolling_sum_time. Missing and infinite values are left out; with fewer than "
             "min_periods values (1, if left out) the result is missing.",
     .example = {"rolling_max_time([1, 2, 4], timestamp['2026-01-01T00:00:00', '2026-01-01T00:01:00', "
                 "'2026-01-01T00:05:00'], '2 minutes')",
                 "[1.0,2.0,4.0]"},
     .build = windowed_by_time<rolling_max_time>},
    {.name = "rolling_count_time",
     .group = Group::along,
     .summary = "The number of values present in the last width of time at each position.",
     .parameters = {x_number, t_time, width, min_periods},
     .result = "double",
     .rule = "The windows are those of rolling_sum_time. Infinite values count. min_periods counts positions, whether "
             "or not a value is present.",
     .example = {"rolling_count_time([1, 2, 4], timestamp['2026-01-01T00:00:00', '2026-01-01T00:01:00', "
                 "'2026-01-01T00:05:00'], '2 minutes')",
                 "[1.0,2.0,1.0]"},
     .build = rolling_count_time},
};

}  // namespace

std::span<const Function> window_functions() { return functions; }

}  // namespace qvo::value
