// Rows of steps of a choice over short runs that cross. A condition takes nothing from the side that it does not choose:
// so the conditions of each side are crossed with its elements by themselves (core/crossing.h), and each step is put at
// its place among those of both.
#pragma once

#include "core/crossing.h"
#include "core/operand.h"

namespace qvo {

struct ChoiceRow {
    static constexpr size_t most_conditions = 128, most_of_side = 256;
    static constexpr size_t most_at_once = 32;  // that are written, some of them beyond the last one

    /// The steps of a side: the elements, the positions, and the condition, counted among those of the side.
    struct Side {
        static constexpr size_t most = most_of_side + CrossingRow<2>::slack;
        uint16_t condition[most], element[most];
        uint8_t run[most];
        size_t n = 0;
        uint16_t others[most_conditions + most_at_once];  // the steps of the other side before those of a condition

        QVO_INLINE size_t place(size_t i) const { return i + others[condition[i]]; }
    };
    Side sides[2];  // that where the condition is false, that where it is true
    RunSpan span{0, 0};
};

/// Lists the next steps of a condition and the two sides, that where it is true first, and moves the operands past them:
/// whole conditions, `room` steps at most, so that no operand is used up. Lists nothing where the runs are not short, or
/// not all of them have positions.
void cross_choices(Operand (&operands)[3], size_t room, ChoiceRow& row);

}  // namespace qvo
