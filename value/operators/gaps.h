// Filling gaps, the missing values between others.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

// Of floating sequences; others have no gaps.
/// The last value before; up to `limit` positions of each gap.
Series filled_forward(Plan& plan, const Series& x, uint64_t limit);
/// The next value after it; up to `limit` positions of each gap, the last ones.
Series filled_backward(Plan& plan, const Series& x, uint64_t limit);
/// A straight line between the values around a gap of doubles; gaps at either end stay.
Series interpolated(Plan& plan, const Series& x);

}  // namespace qvo::value
