// Windows, running prefixes and cells: the operand's positions are laid out as an array, and a member is a loop over
// that array.
#pragma once

#include "core/construct.h"
#include "core/expand.h"
#include "core/number.h"
#include "core/tile.h"

namespace qvo {

// Room for the positions that one call reads: no more of them than a result tile holds, and results are no narrower
// than operands.
using Positions = uint64_t[payload_bytes / sizeof(uint64_t)];

/// The running sum or extreme of a context, in its first bytes.
template <class A> QVO_INLINE A load_accumulator(const qvo_seq_agg_context_t& context) {
    A value;
    std::memcpy(&value, &context.accumulator, sizeof value);
    return value;
}
template <class A> QVO_INLINE void store_accumulator(qvo_seq_agg_context_t& context, A value) {
    std::memcpy(&context.accumulator, &value, sizeof value);
}

/// Reads the positions for one result tile and has loop(n) turn them into results, also those before an error: results
/// of an error's call are not delivered, but they have moved the state on.
template <class Loop>
QVO_INLINE QVO_RET run_positions(qvo_seq_iterator_h it, Positions& positions, size_t width, Counted counted,
                                 Where where, Loop loop) {
    TileWriter out(it);
    uint64_t n;
    const QVO_RET rc = read_positions(it->opd[0], width, reinterpret_cast<uint8_t*>(positions), out.room(), &n, where);
    if (n != 0) {
        loop(n);
        out.put_equal_runs(n, 1);
    }
    return out.finish(rc, counted);
}

}  // namespace qvo
