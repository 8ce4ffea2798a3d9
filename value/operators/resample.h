// Rows of time cut into buckets of a width, and a value for each.
#pragma once

#include "evaluate/plan.h"
#include "evaluate/width.h"

namespace qvo::value {

enum class How : uint8_t { sum, mean, min, max, count, first, last };
/// What becomes of buckets without a value: left out where they have no rows at all; missing; the value before; on the
/// line between the values before and after.
enum class Fill : uint8_t { none, null, previous, linear };

/// The value of each bucket; t and x are of equal length, t ascends. x is a number for sum and mean.
Series resample(Plan& plan, const Series& t, const Series& x, Width width, How how, Fill fill);
/// The start of each bucket: of those that have rows, or with those between them.
Series resample_time(Plan& plan, const Series& t, Width width, bool all);

}  // namespace qvo::value
