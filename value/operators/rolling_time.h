// Windows of a width of time.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

/// The positions whose times are in (t - width, t], up to and with the position of the result.
struct TimeWindow {
    int64_t width;  // microseconds
    uint64_t min_periods;
};

// Of doubles and ascending timestamps, of equal length.
Series rolling_sum_time(Plan& plan, const Series& x, const Series& t, TimeWindow window);
Series rolling_mean_time(Plan& plan, const Series& x, const Series& t, TimeWindow window);
Series rolling_min_time(Plan& plan, const Series& x, const Series& t, TimeWindow window);
Series rolling_max_time(Plan& plan, const Series& x, const Series& t, TimeWindow window);

}  // namespace qvo::value
