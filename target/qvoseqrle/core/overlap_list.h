// The steps of a walk over several operands as a list, for families that need them one by one: each step as the
// operands' element indexes and the positions shared. The list ends where a tile does, so that the indexes stay valid
// until it has been worked through, and the operands can be set back to any step of it.
#pragma once

#include "core/crossing.h"
#include "core/operand.h"

namespace qvo {

template <size_t Operands> struct OverlapList {
    // Short enough to stay in the nearest cache along with what families compute beside it.
    static constexpr size_t most = 256;
    static constexpr size_t slack = CrossingRow<Operands>::slack;  // steps are written many at a time

    uint16_t index[Operands][most + slack];
    uint8_t run[most + slack];
    size_t n = 0;
    unsigned taken[Operands];  // positions of the first elements that were taken before

    /// Lists the next overlaps, `room` at most, and moves the operands past them. No operand is used up; nothing is
    /// pulled.
    void collect(Operand* operands, size_t room = most);

    /// Sets the operands to where they were before overlap i.
    void set_back(Operand* operands, size_t i) const;
};

extern template struct OverlapList<2>;
extern template struct OverlapList<3>;

}  // namespace qvo
