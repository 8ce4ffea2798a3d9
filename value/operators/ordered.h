// What selects and orders elements of a sequence as a whole. All but `bottom` hold their input in memory, with its runs.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

/// `expected`: how many elements x has, if that is known.
Series sorted(Plan& plan, const Series& x, bool descending, size_t expected);
/// The position of each value of the sorted sequence.
Series sorted_positions(Plan& plan, const Series& x, bool descending, size_t expected);
/// The rank of each value, counted from 1, the mean of them for equal values.
Series ranks(Plan& plan, const Series& x, size_t expected);
Series reversed(Plan& plan, const Series& x, size_t expected);
/// Each value once, sorted.
Series different(Plan& plan, const Series& x, size_t expected);
/// The first n positions of the sorted sequence. Holds no more than about twice as many.
Series bottom(Plan& plan, const Series& x, uint64_t n, bool descending);
/// The values of x at the positions in p, which is int8.
Series taken(Plan& plan, const Series& x, const Series& p, size_t expected);

}  // namespace qvo::value
