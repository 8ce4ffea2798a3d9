// Exponentially weighted means, and the averages of technical analysis that are made of them.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

/// mean += alpha * (x - mean), from the mean of the first `seed` values present on; missing before it. Over missing
/// values the mean stays and its weight decays. Of doubles; what is infinite counts as missing.
Series smoothed(Plan& plan, const Series& x, double alpha, uint64_t seed);

/// 100 g / (g + l): the smoothed rises and falls (J. W. Wilder, "New concepts in technical trading systems", 1978).
/// Of the differences of neighbours.
Series relative_strength(Plan& plan, const Series& differences, uint64_t n);

}  // namespace qvo::value
