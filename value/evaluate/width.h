// Widths of time: '15 minutes', '1 week', '3 months'.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qvo::value {

/// Where the calendar ends, in microseconds from 1970 in both directions: some 30000 years away. Beyond there are no
/// dates and no buckets.
inline constexpr int64_t calendar_end = int64_t{30'000} * 365 * 86'400 * 1'000'000;
constexpr bool in_calendar(int64_t microseconds) { return microseconds > -calendar_end && microseconds < calendar_end; }

/// A number of microseconds or of months; years are twelve months each, weeks seven days.
struct Width {
    enum class Unit : uint8_t { microseconds, months } unit = Unit::microseconds;
    int64_t n = 1;
    int64_t origin = 0;  // where buckets of this width are counted from: 1970-01-01, for weeks the Monday after it

    /// The start of the bucket that holds a time.
    int64_t floor(int64_t microseconds) const;
    /// The start of the next bucket.
    int64_t next(int64_t start) const;
    /// How many buckets on from one start another one is.
    int64_t steps(int64_t from_start, int64_t to_start) const;
};

/// A number from 1 and a unit from microsecond to year, singular or plural. Nothing if it is none, or too wide for a
/// timestamp.
std::optional<Width> width_named(std::string_view text);

}  // namespace qvo::value
