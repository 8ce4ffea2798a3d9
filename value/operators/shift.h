// Sequences moved against themselves: what stands at a position beside what stands some positions before it.
#pragma once

#include "evaluate/arguments.h"

namespace qvo::value {

/// `before` positions of a value, then x, then `after` positions of it. The value is of x's type; x's length is known.
Series framed(Plan& plan, const Series& x, uint64_t before, uint64_t after, const Scalar& value);

/// The parts of a sequence that lie on each other when it is moved on by n positions (back, if n is negative), and how
/// many positions have no partner, in front or after. The sequence is read twice, so it has to be a stored one; an
/// expression is evaluated first.
struct Moved {
    Series now, before;                      // of equal length
    uint64_t unpaired_first, unpaired_last;  // one of them is 0
};
Moved moved(Plan& plan, Arguments& arguments, size_t i, int64_t n);

/// NaN as a scalar of type double.
Scalar missing_double();

}  // namespace qvo::value
