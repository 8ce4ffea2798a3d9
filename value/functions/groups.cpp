// Groups: one sequence by the keys of another.
#include "functions/catalog.h"

namespace qvo::value {

std::span<const Function> group_functions() { return {}; }

}  // namespace qvo::value
