// Aggregates over the different values of all rows. Their entries are in order_statistics.cpp.
#pragma once

#include <memory>

#include "evaluate/function.h"

namespace qvo::value {

std::unique_ptr<Aggregate> make_mode(const Function& function);
std::unique_ptr<Aggregate> make_count_distinct(const Function& function);
std::unique_ptr<Aggregate> make_approx_distinct(const Function& function);

}  // namespace qvo::value
