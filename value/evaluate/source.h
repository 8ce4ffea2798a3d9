// Where sequences come from: stored values, arrays of the caller's, constants.
#pragma once

#include "evaluate/datum.h"
#include "evaluate/plan.h"
#include "stored/reader.h"

namespace qvo::value {

struct Array;
struct RunArray;

/// A stored sequence, tile by tile: decoded straight into operators' tiles, runs as they are stored. The bytes must
/// outlive the plan. With a range: only positions first .. last - 1.
Series stored_source(Plan& plan, const Stored& stored);
Series stored_source(Plan& plan, const Stored& stored, uint64_t first, uint64_t last);

/// An array, which must outlive the plan.
Series array_source(Plan& plan, const Array& array);

/// An array of runs, which must outlive the plan. Runs stay runs.
Series run_source(Plan& plan, const RunArray& runs);

/// A value at every position; it never ends.
Series constant_source(Plan& plan, const Scalar& scalar);

/// Hands on `series`, and when it ends makes sure that the operands it was made of, unless they are constants, ended at
/// the same position: an error with both lengths if not. Operators end with the shortest operand, so where lengths are
/// not known beforehand this is what finds the difference.
Series with_equal_lengths(Plan& plan, Series series, std::span<const Series> operands);

/// Pulls the operands to their ends, constants left out: an error with both lengths if those differ.
void check_equal_lengths(Plan& plan, std::span<const Series> operands);

/// The length that operands have in common, or nothing if that is not known yet; an error if they differ.
std::optional<uint64_t> common_length(std::span<const Series> operands);

}  // namespace qvo::value
