// The protocol between an operator and its operands, and between an aggregate and its caller: each rule once.
//
// Every family pulls through one of the two functions here, or through an Operand, which uses the first. Whoever calls
// an operand's `next` itself forgets one of three things: the tile that must not be empty, the tile that claims more
// elements than it can hold, and the read position, which is the consumer's to set back.
#pragma once

#include <optional>

#include "core/fatal.h"
#include "core/tile.h"

namespace qvo {

/// True if the tile has no more elements than one of its width can hold. Only a mislabelled sequence has more (an
/// extreme of narrow cells, a host's mistake), and none of it could be read or copied without leaving the record.
QVO_INLINE bool fits_its_width(const qvo_seq_iterator_t* it) {
    return it->tile_size * (it->elem_size + size_t{1}) <= payload_bytes;
}

/// Pulls the next tile, to be read from its first element on. For families to which an empty tile means nothing: they
/// pass it over, or hand it on.
QVO_INLINE QVO_RET pull_any_tile(qvo_seq_iterator_h operand, Where where) {
    if (const QVO_RET rc = operand->next(operand); rc != QVO_S_OK) return rc;
    if (!fits_its_width(operand)) fatal_stop(where);
    operand->tile_offs = 0;
    return QVO_S_OK;
}

/// The same for all others: success without an element breaks the protocol.
QVO_INLINE QVO_RET pull_tile(qvo_seq_iterator_h operand, Where where) {
    if (const QVO_RET rc = operand->next(operand); rc != QVO_S_OK) return rc;
    if (operand->tile_size == 0 || !fits_its_width(operand)) fatal_stop(where);
    operand->tile_offs = 0;
    return QVO_S_OK;
}

/// What `next` of a prepared or a delivered aggregate returns; nothing if it is fresh and has to compute.
inline std::optional<QVO_RET> answer_of(qvo_seq_iterator_h it) {
    if (it->prepared != 0) {
        // Also after a prepare that met an error or an empty input: there is nothing to deliver, now or later.
        if (it->next_seq_no == 0) return QVO_S_CURSOR_END;
        it->prepared = 0;
        return QVO_S_OK;
    }
    if (it->next_seq_no != 0) return QVO_S_CURSOR_END;
    return std::nullopt;
}

// Instead of a width: whatever that of the tile is, once it is there.
inline constexpr size_t any_width = SIZE_MAX;

/// QVO_E_ILLEGAL_TYPE unless the tile just pulled has the expected width. For families that copy values as they lie
/// into tiles whose width was fixed at construction: a text source learns its width from its first string.
QVO_INLINE QVO_RET check_width(qvo_seq_iterator_h operand, size_t width) {
    return width == any_width || operand->elem_size == width ? QVO_S_OK : QVO_E_ILLEGAL_TYPE;
}

}  // namespace qvo
