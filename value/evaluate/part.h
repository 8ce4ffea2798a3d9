// Reading a part of a stored sequence into memory, without a plan: what a host needs that keeps rows in sequences.
#pragma once

#include "stored/reader.h"

namespace qvo::value {

/// Positions first .. first + count - 1, one value after the other; they must exist. Only their tiles are read.
void read_part(const Stored& stored, uint64_t first, uint64_t count, void* to);

/// Of a sequence whose values ascend: how many are below the value, or `or_equal` to it. Reads at most one tile. Of any
/// type but char.
uint64_t count_below(const Stored& stored, const void* value, bool or_equal);

}  // namespace qvo::value
