// Windows of a fixed number of positions.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

inline constexpr int64_t max_window = int64_t{1} << 31;

/// A number of positions, the last of them at the position of the result, and how many values have to be present.
struct Window {
    uint64_t positions;
    uint64_t min_periods;
};

// Of doubles; see fold.h for what is computed.
Series rolling_sum(Plan& plan, const Series& x, Window window);
Series rolling_mean(Plan& plan, const Series& x, Window window);
Series rolling_min(Plan& plan, const Series& x, Window window);
Series rolling_max(Plan& plan, const Series& x, Window window);
Series rolling_var(Plan& plan, const Series& x, Window window);
Series rolling_std(Plan& plan, const Series& x, Window window);
// In time that grows with the logarithm of the window.
Series rolling_median(Plan& plan, const Series& x, Window window);

}  // namespace qvo::value
