// Functions of the calendar: the parts of a timestamp, and the buckets of time.
#include <chrono>

#include "evaluate/arguments.h"
#include "evaluate/width.h"
#include "functions/element_wise.h"
#include "operators/elementwise.h"

namespace qvo::value {
namespace {

constexpr int64_t us_per_second = 1'000'000, us_per_day = 86'400 * us_per_second;

// The calendar's type holds years up to 32767; beyond that there is no answer.
constexpr int64_t farthest = 30'000 * 365 * us_per_day;
constexpr const char* outside = "the timestamp is outside the calendar";

QVO_INLINE int64_t floor_divide(int64_t a, int64_t b) { return a / b - (a % b < 0); }
QVO_INLINE int64_t day_number(int64_t at) { return floor_divide(at, us_per_day); }
QVO_INLINE int64_t within_day(int64_t at) { return at - day_number(at) * us_per_day; }
std::chrono::year_month_day date_of(int64_t at) {
    return std::chrono::year_month_day(std::chrono::sys_days(std::chrono::days(day_number(at))));
}

int64_t year_of(int64_t at) { return static_cast<int>(date_of(at).year()); }
int64_t month_of(int64_t at) { return static_cast<unsigned>(date_of(at).month()); }
int64_t day_of(int64_t at) { return static_cast<unsigned>(date_of(at).day()); }
int64_t hour_of(int64_t at) { return within_day(at) / (3600 * us_per_second); }
int64_t minute_of(int64_t at) { return within_day(at) / (60 * us_per_second) % 60; }
int64_t second_of(int64_t at) { return within_day(at) / us_per_second % 60; }
int64_t weekday_of(int64_t at) {
    const int64_t since_thursday = day_number(at) % 7;  // 1970-01-01
    return (since_thursday + 10) % 7;
}

template <int64_t (*PartOf)(int64_t)> struct Part {
    QVO_INLINE bool operator()(int64_t at, int64_t& r) const {
        const bool inside = at > -farthest && at < farthest;
        r = PartOf(inside ? at : 0);
        return !inside;
    }
    const char* fault(int64_t) const { return outside; }
};

struct FloorTime {
    Width width;
    QVO_INLINE bool operator()(int64_t at, int64_t& r) const {
        const bool inside = at > -farthest && at < farthest;
        r = width.floor(inside ? at : 0);
        return !inside;
    }
    const char* fault(int64_t) const { return outside; }
};

template <int64_t (*PartOf)(int64_t)> Series part(Plan& plan, Arguments& a) {
    const Series t = a.series(0);
    return elementwise<int64_t, int64_t>(plan, {Type::int8, 8}, std::span(&t, 1), Part<PartOf>{});
}

}  // namespace

Series year(Plan& plan, Arguments& a) { return part<year_of>(plan, a); }
Series month(Plan& plan, Arguments& a) { return part<month_of>(plan, a); }
Series day(Plan& plan, Arguments& a) { return part<day_of>(plan, a); }
Series hour(Plan& plan, Arguments& a) { return part<hour_of>(plan, a); }
Series minute(Plan& plan, Arguments& a) { return part<minute_of>(plan, a); }
Series second(Plan& plan, Arguments& a) { return part<second_of>(plan, a); }
Series weekday(Plan& plan, Arguments& a) { return part<weekday_of>(plan, a); }

Series floor_time(Plan& plan, Arguments& a) {
    const std::optional<Width> width = width_named(a.text(1));
    if (!width)
        a.refuse(1, "width must be a number from 1 and a unit such as '15 minutes', '1 day' or '3 months', got " +
                        described(a.datum(1)));
    const Series t = a.series(0);
    return elementwise<int64_t, int64_t>(plan, t.type, std::span(&t, 1), FloorTime{*width});
}

}  // namespace qvo::value
