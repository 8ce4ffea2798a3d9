// Running results: of everything up to a position. Missing values are left out and stay missing in their places.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

/// Sums of int8, exactly (a sum that does not fit is an error), or of double.
Series cumulative_sum(Plan& plan, const Series& x);
/// Products of double.
Series cumulative_product(Plan& plan, const Series& x);
/// Of any type of fixed width.
Series cumulative_max(Plan& plan, const Series& x);
Series cumulative_min(Plan& plan, const Series& x);

}  // namespace qvo::value
