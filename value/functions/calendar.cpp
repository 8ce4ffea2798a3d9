// Functions of the calendar: the parts of a timestamp, and the buckets of time.
//
// Parts are computed in doubles, in which the loops become vector code: there is no vector division of integers. It is
// exact. A day is 2^13 * 10546875 microseconds, so what is divided has fewer than 48 bits, and a quotient of such
// integers is never rounded up to a whole number that it does not reach.
#include <bit>

#include "evaluate/arguments.h"
#include "evaluate/width.h"
#include "functions/catalog.h"
#include "functions/width_argument.h"
#include "operators/elementwise.h"

namespace qvo::value {
namespace {

constexpr const char* outside = "the timestamp is outside the calendar";

// Added to a double below 2^51 in size, it leaves the nearest integer in the lowest bits.
constexpr double shifter = 0x1.8p52;
constexpr uint64_t shifter_bits = std::bit_cast<uint64_t>(shifter);

QVO_INLINE double as_double(int64_t v) {
    return std::bit_cast<double>(static_cast<uint64_t>(v) + shifter_bits) - shifter;
}
QVO_INLINE int64_t as_integer(double v) {
    return static_cast<int64_t>(std::bit_cast<uint64_t>(v + shifter) - shifter_bits);
}
QVO_INLINE double floor_of(double v) {
    const double nearest = (v + shifter) - shifter;
    return nearest - (nearest > v ? 1.0 : 0.0);
}

constexpr unsigned day_shift = 13;
constexpr double day_units = 86'400'000'000.0 / (1 << day_shift);

/// Days since 1970-01-01.
QVO_INLINE double day_number(int64_t at) { return floor_of(as_double(at >> day_shift) / day_units); }
/// Whole seconds since midnight.
QVO_INLINE double second_of_day(int64_t at) {
    const double units = as_double(at >> day_shift) - day_number(at) * day_units;
    const double microseconds = units * (1 << day_shift) + as_double(at & ((1 << day_shift) - 1));
    return floor_of(microseconds / 1e6);
}
QVO_INLINE double modulo(double v, double by) { return v - by * floor_of(v / by); }

struct Hour {
    QVO_INLINE static int64_t of(int64_t at) { return as_integer(floor_of(second_of_day(at) / 3600)); }
};
struct Minute {
    QVO_INLINE static int64_t of(int64_t at) { return as_integer(modulo(floor_of(second_of_day(at) / 60), 60)); }
};
struct Second {
    QVO_INLINE static int64_t of(int64_t at) { return as_integer(modulo(second_of_day(at), 60)); }
};
struct Weekday {
    QVO_INLINE static int64_t of(int64_t at) { return as_integer(modulo(day_number(at) + 3, 7)); }  // a Thursday
};

/// A date (C. Neri, L. Schneider, "Euclidean affine functions and their application to calendar algorithms", 2022).
/// Years begin in March there, and are counted from the start of 400 years long before.
struct Date {
    uint32_t year, month, day;
    bool next_year;  // January and February

    QVO_INLINE explicit Date(int64_t at) {
        const auto days = static_cast<uint32_t>(as_integer(day_number(at)) + 719'468 + 146'097 * eras);
        const uint32_t quarters = 4 * days + 3, century = quarters / 146'097;
        const uint64_t scaled = uint64_t{2'939'745} * ((quarters % 146'097) | 3);
        const uint32_t day_of_year = static_cast<uint32_t>(scaled) / 2'939'745 / 4;
        const uint32_t months = 2141 * day_of_year + 197'913;
        year = 100 * century + static_cast<uint32_t>(scaled >> 32);
        month = months >> 16;
        day = (months & 0xffff) / 2141 + 1;
        next_year = day_of_year >= 306;
    }
    static constexpr int64_t eras = 82;  // of 400 years
};
struct Year {
    QVO_INLINE static int64_t of(int64_t at) {
        const Date date(at);
        return int64_t{date.year} - 400 * Date::eras + date.next_year;
    }
};
struct Month {
    QVO_INLINE static int64_t of(int64_t at) {
        const Date date(at);
        return int64_t{date.month} - (date.next_year ? 12 : 0);
    }
};
struct Day {
    QVO_INLINE static int64_t of(int64_t at) { return int64_t{Date(at).day}; }
};

template <class P> struct Part {
    QVO_INLINE bool operator()(int64_t at, int64_t& r) const {
        const bool inside = in_calendar(at);
        r = P::of(inside ? at : 0);
        return !inside;
    }
    const char* fault(int64_t) const { return outside; }
};
template <class P> Series part(Plan& plan, Arguments& a) {
    const Series t = a.series(0);
    return elementwise<int64_t, int64_t>(plan, {Type::int8, 8}, std::span(&t, 1), Part<P>{});
}

/// Neighbours are often in the same bucket.
LoopFault floor_all(const Batch& batch, const void* operation) {
    const Width width = *static_cast<const Width*>(operation);
    const auto* const t = static_cast<const int64_t*>(batch.in[0]);
    auto* const out = static_cast<int64_t*>(batch.out);
    int64_t start = 0, end = 0;
    for (size_t i = 0; i < batch.n; ++i) {
        if (t[i] < start || t[i] >= end) {
            if (!in_calendar(t[i])) return {i, outside};
            start = width.floor(t[i]);
            end = width.next(start);
        }
        out[i] = start;
    }
    return {};
}

Series year(Plan& plan, Arguments& a) { return part<Year>(plan, a); }
Series month(Plan& plan, Arguments& a) { return part<Month>(plan, a); }
Series day(Plan& plan, Arguments& a) { return part<Day>(plan, a); }
Series hour(Plan& plan, Arguments& a) { return part<Hour>(plan, a); }
Series minute(Plan& plan, Arguments& a) { return part<Minute>(plan, a); }
Series second(Plan& plan, Arguments& a) { return part<Second>(plan, a); }
Series weekday(Plan& plan, Arguments& a) { return part<Weekday>(plan, a); }

Series floor_time(Plan& plan, Arguments& a) {
    const Width width = width_argument(a, 1);
    const Series t = a.series(0);
    return elementwise(plan, t.type, std::span(&t, 1), floor_all, &width, sizeof width);
}

const Function functions[] = {
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
         "year, singular or plural. Fixed widths are counted from 1970-01-01, weeks from Monday 1970-01-05, months and "
         "years from January of the year 0: '3 months' are quarters. A fixed width is at most 2^56 microseconds, 2283 "
         "years; months and years are at most 10000 years.",
     .example = {"floor_time(timestamp['2026-02-03T04:05:06'], '1 hour')", "[\"2026-02-03T04:00:00\"]"},
     .build = floor_time},
};

}  // namespace

std::span<const Function> calendar_functions() { return functions; }

}  // namespace qvo::value
