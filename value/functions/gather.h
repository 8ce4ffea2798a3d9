// The aggregates that gather rows into one sequence.
#pragma once

#include "evaluate/function.h"

namespace qvo::value {

std::unique_ptr<Aggregate> make_pack(const Function& function);
std::unique_ptr<Aggregate> make_join(const Function& function);

}  // namespace qvo::value
