// Aggregates of two sequences: covariance and its kin.
#include "functions/catalog.h"

namespace qvo::value {

std::span<const Function> pair_functions() { return {}; }

}  // namespace qvo::value
