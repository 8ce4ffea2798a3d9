// The aggregate that counts values by buckets of equal width.
#pragma once

#include "evaluate/function.h"

namespace qvo::value {

std::unique_ptr<Aggregate> make_histogram(const Function& function);

}  // namespace qvo::value
