// Widths of time as arguments.
#pragma once

#include "evaluate/arguments.h"
#include "evaluate/width.h"

namespace qvo::value {

/// The width that an argument names; an error if it names none.
inline Width width_argument(const Arguments& a, size_t i) {
    if (const std::optional<Width> width = width_named(a.text(i))) return *width;
    a.refuse(i, "width must be a number from 1 and a unit such as '15 minutes', '1 day' or '3 months', got " +
                    a.described(i));
}

}  // namespace qvo::value
