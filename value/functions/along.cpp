// Along the sequence: functions that look at neighbours.
#include "functions/catalog.h"

namespace qvo::value {

std::span<const Function> along_functions() { return {}; }

}  // namespace qvo::value
