// Positions of an operand as an array.
#pragma once

#include "core/operand.h"

namespace qvo {

/// Writes the values of up to `wanted` positions from the operand's read position on to `to`, pulling it as needed;
/// *got is their number. QVO_S_OK, or the code that the operand stopped with; QVO_E_ILLEGAL_TYPE if its elements are
/// not as wide as expected. Nothing is written after the positions that were read; the operand's position is in its
/// record.
QVO_RET read_positions(qvo_seq_iterator_h operand, size_t width, uint8_t* to, uint64_t wanted, uint64_t* got,
                       Where where);

/// The same, through the operand's tiles also where it is an array: what has been read stays in the last one.
QVO_RET read_tiles(qvo_seq_iterator_h operand, size_t width, uint8_t* to, uint64_t wanted, uint64_t* got, Where where);

}  // namespace qvo
