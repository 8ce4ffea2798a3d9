// Joining a series to another one by time: for every t the y of the nearest u.
#pragma once

#include "evaluate/datum.h"
#include "evaluate/plan.h"

namespace qvo::value {

struct AsofRule {
    enum class Direction : uint8_t { backward, forward, nearest } direction = Direction::backward;
    // How far a u may be away: in integers of the type of t and u, or as a real where these are.
    bool limited = false;
    uint64_t integer_tolerance = 0;
    double real_tolerance = 0;
    // What stands where nothing is near enough, of the type of y. Without it that is an error.
    std::optional<Scalar> otherwise{};
};

/// Of every t, y at the u that the rule names. t and u are of one type: int8, uint8, double or timestamp; each ascends.
/// u and y are of equal length. Of equal u the last one is meant, looking forward the first one.
Series asof(Plan& plan, const Series& t, const Series& u, const Series& y, const AsofRule& rule);

}  // namespace qvo::value
