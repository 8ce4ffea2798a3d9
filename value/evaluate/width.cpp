#include "evaluate/width.h"

#include <charconv>
#include <chrono>

namespace qvo::value {
namespace {

constexpr int64_t second = 1'000'000, day = 86'400 * second;
constexpr int64_t first_monday = 4 * day;  // 1970-01-05

struct UnitName {
    std::string_view name;
    int64_t n;
    Width::Unit unit;
    int64_t origin;
};
using enum Width::Unit;
constexpr UnitName units[] = {
    {"microsecond", 1, microseconds, 0},
    {"millisecond", 1000, microseconds, 0},
    {"second", second, microseconds, 0},
    {"minute", 60 * second, microseconds, 0},
    {"hour", 3600 * second, microseconds, 0},
    {"day", day, microseconds, 0},
    {"week", 7 * day, microseconds, first_monday},
    {"month", 1, months, 0},
    {"year", 12, months, 0},
};

int64_t floor_divide(int64_t a, int64_t b) { return a / b - (a % b < 0); }

/// The months from January of year 0 up to a time, and back.
int64_t month_of(int64_t at) {
    using namespace std::chrono;
    const year_month_day date(sys_days(days(floor_divide(at, day))));
    return int64_t{static_cast<int>(date.year())} * 12 + static_cast<unsigned>(date.month()) - 1;
}
int64_t start_of_month(int64_t month) {
    using namespace std::chrono;
    const int64_t y = floor_divide(month, 12);
    const sys_days date = year(static_cast<int>(y)) / std::chrono::month(static_cast<unsigned>(month - y * 12 + 1)) / 1;
    return date.time_since_epoch().count() * day;
}

}  // namespace

int64_t Width::floor(int64_t at) const {
    if (unit == Unit::months) return start_of_month(floor_divide(month_of(at), n) * n);
    const int64_t from = at - origin;
    return origin + floor_divide(from, n) * n;
}

int64_t Width::next(int64_t start) const {
    return unit == Unit::months ? start_of_month(month_of(start) + n) : start + n;
}

int64_t Width::steps(int64_t from, int64_t to) const {
    return unit == Unit::months ? (month_of(to) - month_of(from)) / n : (to - from) / n;
}

std::optional<Width> width_named(std::string_view text) {
    int64_t n = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (fault != std::errc{} || n < 1) return std::nullopt;
    std::string_view name = text.substr(static_cast<size_t>(end - text.data()));
    if (!name.starts_with(' ')) return std::nullopt;
    name.remove_prefix(name.find_first_not_of(' ') == std::string_view::npos ? name.size()
                                                                             : name.find_first_not_of(' '));
    if (name.ends_with('s')) name.remove_suffix(1);
    for (const UnitName& unit : units) {
        if (unit.name != name) continue;
        constexpr int64_t most = int64_t{1} << 56;  // microseconds: 2283 years
        if (n > most / unit.n || (unit.unit == months && n * unit.n > 12 * 10000)) return std::nullopt;
        return Width{unit.unit, n * unit.n, unit.origin};
    }
    return std::nullopt;
}

}  // namespace qvo::value
