// Sequences as JSON arrays.
#pragma once

#include "evaluate/plan.h"
#include "stored/writer.h"

namespace qvo::value {

/// `[1.5,null,3.0]` as a stored sequence, of a type or of the one that its values have.
Buffer from_json(Plan& plan, std::string_view text, std::optional<ValueType> type);

/// The series as text.
std::string to_json(Plan& plan, const Series& series);

}  // namespace qvo::value
