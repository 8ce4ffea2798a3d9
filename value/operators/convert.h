// Types that meet, and bringing sequences to the type in which they meet.
#pragma once

#include "evaluate/plan.h"

namespace qvo::value {

/// The type that two meet in where values are only chosen or joined: equal types stay, char becomes as wide as the
/// wider, numbers meet as int8 or double. Nothing if they do not meet.
std::optional<ValueType> meet(ValueType a, ValueType b);

/// The type that numbers are computed in: int8, or double if one of them is floating.
ValueType computing_type(ValueType a, ValueType b);

/// The series as a type that it meets with others in. Unsigned integers beyond int8 are an overflow.
Series widened(Plan& plan, const Series& x, ValueType to);

/// Any conversion; an error at the first position whose value the type does not hold.
Series cast(Plan& plan, const Series& x, ValueType to);

}  // namespace qvo::value
