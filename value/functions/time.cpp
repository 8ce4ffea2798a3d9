// Time: buckets of time, and one series against the timestamps of another.
#include "evaluate/source.h"
#include "functions/catalog.h"
#include "functions/width_argument.h"
#include "operators/asof.h"
#include "operators/convert.h"
#include "operators/resample.h"

namespace qvo::value {
namespace {

// ---- Buckets ---------------------------------------------------------------------------------------------------

/// The place of a word among those that are accepted.
template <size_t n> size_t chosen(const Arguments& a, size_t i, const std::string_view (&words)[n]) {
    for (size_t k = 0; k < n; ++k)
        if (a.text(i) == words[k]) return k;
    std::string all;
    for (size_t k = 0; k < n; ++k) all += (k == 0 ? "'" : k + 1 == n ? " or '" : ", '") + std::string(words[k]) + "'";
    a.refuse(i, std::string(a.function().parameters[i].name) + " must be " + all + ", got " + a.described(i));
}

Fill fill_of(const Arguments& a, size_t i) {
    static constexpr std::string_view words[] = {"none", "null", "previous", "linear"};
    return a.has(i) ? static_cast<Fill>(chosen(a, i, words)) : Fill::none;
}

Series resample(Plan& plan, Arguments& a) {
    static constexpr std::string_view words[] = {"sum", "mean", "min", "max", "count", "first", "last"};
    const Width width = width_argument(a, 2);
    const auto how = static_cast<How>(chosen(a, 3, words));
    const Fill fill = fill_of(a, 4);
    const Series t = a.series(0), x = a.series(1);
    if ((how == How::sum || how == How::mean) && !is_number(x.type.type))
        a.refuse_type(1, "of numbers for " + std::string(a.text(3)), x.type);
    return resample(plan, t, x, width, how, fill);
}

Series resample_time(Plan& plan, Arguments& a) {
    const Width width = width_argument(a, 1);
    const Fill fill = fill_of(a, 2);
    return resample_time(plan, a.series(0), width, fill != Fill::none);
}

// ---- One series against another --------------------------------------------------------------------------------

/// t, u and y: t and u in the type in which their order is found.
struct TwoSeries {
    Series t, u, y;
    explicit TwoSeries(Arguments& a) : t(a.series(0)), u(a.series(1)), y(a.series(2)) {
        const std::optional<ValueType> met = meet(t.type, u.type);
        if (!met) a.refuse_type(1, "that meets " + name_of(t.type), u.type);
        ValueType type = *met;
        if (is_floating(type.type)) type = type_of(Type::double_);
        if (is_number(type.type) && !is_floating(type.type) && type.type != Type::uint8) type = type_of(Type::int8);
        t = widened(a.plan(), t, type);
        u = widened(a.plan(), u, type);
    }
};

AsofRule with_missing(AsofRule rule, const Series& y) {
    if (!is_floating(y.type.type)) return rule;
    rule.otherwise = scalar_of(y.type);
    rule.otherwise->real = std::numeric_limits<double>::quiet_NaN();
    return rule;
}

void set_tolerance(const Arguments& a, size_t i, ValueType type, AsofRule& rule) {
    const Datum& tolerance = a.datum(i);
    const bool times = type.type == Type::timestamp;
    rule.limited = true;
    if (times && a.is_scalar(i) && tolerance.kind == Datum::Kind::text) {
        const std::optional<Width> width = width_named(tolerance.text);
        if (width && width->unit == Width::Unit::microseconds) {
            rule.integer_tolerance = static_cast<uint64_t>(width->n);
            return;
        }
    }
    if (!a.is_scalar(i) || !tolerance.is_number() || !(a.real(i) >= 0))
        a.refuse(i, std::string("tolerance must be a number from 0") +
                        (times ? " of microseconds, or a fixed width such as '5 minutes'," : ",") + " got " +
                        a.described(i));
    rule.real_tolerance = a.real(i);
    rule.integer_tolerance = tolerance.kind == Datum::Kind::integer ? static_cast<uint64_t>(tolerance.integer)
                             : tolerance.real < 0x1p63              ? static_cast<uint64_t>(tolerance.real)
                                                                    : std::numeric_limits<uint64_t>::max();
}

Series asof(Plan& plan, Arguments& a) {
    static constexpr std::string_view words[] = {"backward", "forward", "nearest"};
    const TwoSeries s(a);
    AsofRule rule = with_missing({}, s.y);
    if (a.has(3) && !a.is_null(3)) set_tolerance(a, 3, s.t.type, rule);
    if (a.has(4)) rule.direction = static_cast<AsofRule::Direction>(chosen(a, 4, words));
    return asof(plan, s.t, s.u, s.y, rule);
}

Series align(Plan& plan, Arguments& a) {
    TwoSeries s(a);
    AsofRule rule = with_missing({}, s.y);
    rule.limited = true;
    if (a.has(3)) {
        if (s.y.type.type == Type::char_ && a.datum(3).kind == Datum::Kind::text)
            s.y = widened(plan, s.y, char_of(std::clamp<size_t>(a.text(3).size(), s.y.type.width, max_char)));
        rule.otherwise = a.scalar(3, s.y.type);
    }
    return asof(plan, s.t, s.u, s.y, rule);
}

constexpr Parameter times{"t", Takes::sequence, Of::timestamp};
constexpr Parameter width_parameter{"width", Takes::text};
constexpr Parameter fill_parameter{"fill", Takes::text, Of::any, {}, {}, true};

const Function functions[] = {
    {.name = "resample",
     .group = Group::time,
     .summary = "A value for each bucket of time.",
     .parameters = {times, {"x"}, width_parameter, {"how", Takes::text}, fill_parameter},
     .result = "count: int8; mean: double; sum: int8, or double of a floating x; the others as x",
     .rule =
         "Buckets are those of floor_time: closed at their start, by which resample_time names them. t ascends. how is "
         "'sum', 'mean', 'min', 'max', 'count', 'first' or 'last', over the values that are present; a bucket of "
         "nothing "
         "but missing ones has a missing value, and the count 0. fill says what becomes of buckets without a value: "
         "'none' (default) leaves those out that have no rows; 'null' makes them missing; 'previous' gives all of them "
         "the value before; 'linear' puts those between two values on the line between them. The count of an empty "
         "bucket is 0; else, where x is not floating and there is an empty bucket to fill, it is an error.",
     .example = {"resample(timestamp['2026-01-01 00:10', '2026-01-01 00:50', '2026-01-01 02:00'], [1.5, 2, 4], '1 "
                 "hour', 'sum', 'null')",
                 "[3.5,null,4.0]"},
     .build = resample},
    {.name = "resample_time",
     .group = Group::time,
     .summary = "The start of each bucket of time.",
     .parameters = {times, width_parameter, fill_parameter},
     .result = "timestamp",
     .rule = "The buckets of resample with the same arguments, in the same order.",
     .example = {"resample_time(timestamp['2026-01-01 00:10', '2026-01-01 02:00'], '1 hour', 'null')",
                 "[\"2026-01-01T00:00:00\",\"2026-01-01T01:00:00\",\"2026-01-01T02:00:00\"]"},
     .build = resample_time},
    {.name = "asof",
     .group = Group::time,
     .summary = "For every t the y of the last u that is not after it, or of the next or the nearest.",
     .parameters = {{"t", Takes::sequence, Of::ordered_number},
                    {"u", Takes::sequence, Of::ordered_number},
                    {"y"},
                    {"tolerance", Takes::nullable, Of::any, {}, {}, true},
                    {"direction", Takes::text, Of::any, {}, {}, true}},
     .result = "as y, of the length of t",
     .rule =
         "t and u are timestamps, or numbers, and ascend; u and y are of equal length. direction is 'backward' "
         "(default), "
         "'forward' or 'nearest'; of equal u the last one is meant, looking forward the first one, and of two equally "
         "near ones the earlier. A u further away than tolerance is no match: a number, of timestamps microseconds or "
         "a "
         "width such as '5 minutes'; NULL for any distance. Without a match the value is missing, and if y is not "
         "floating that is an error. A missing y is taken as it is.",
     .example = {"asof([1, 5, 10], [2, 4, 9], [0.2, 0.4, 0.9])", "[null,0.4,0.9]"},
     .build = asof},
    {.name = "align",
     .group = Group::time,
     .summary = "y where u is equal to t, else v.",
     .parameters = {{"t", Takes::sequence, Of::ordered_number},
                    {"u", Takes::sequence, Of::ordered_number},
                    {"y"},
                    {"v", Takes::scalar, Of::any, {}, {}, true}},
     .result = "as y, of the length of t",
     .rule = "As asof with the tolerance 0. v is of the type of y; without it the value is missing, and if y is not "
             "floating that is an error.",
     .example = {"align([1, 2, 3], [2, 3, 4], [20, 30, 40], 0)", "[0,20,30]"},
     .build = align},
};

}  // namespace

std::span<const Function> time_functions() { return functions; }

}  // namespace qvo::value
