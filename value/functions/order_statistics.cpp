// Aggregates that look at the order or the difference of all values: median, quantile, mode, distinct counts.
#include "functions/catalog.h"

namespace qvo::value {

std::span<const Function> order_statistic_functions() { return {}; }

}  // namespace qvo::value
