// Every element with its run multiplied. Values are copied as a block, so all members share their code.
#include "core/construct.h"
#include "core/move.h"
#include "core/protocol.h"

namespace qvo {
namespace {

/// Each of `n` run bytes times `factor`. Deliberate: only the low 8 bits are kept, nothing is carried into elements.
QVO_INLINE void multiply_runs(uint8_t* __restrict to, const uint8_t* __restrict from, size_t n, uint8_t factor) {
    for (size_t i = 0; i < n; ++i) to[i] = static_cast<uint8_t>(from[i] * factor);
}

// Whole tiles are handed through, whatever the input's read position; so no Operand here.
QVO_RET repeat_next(qvo_seq_iterator_h it, Where where) {
    const qvo_seq_iterator_h input = it->opd[0];
    if (const QVO_RET rc = pull_any_tile(input, where); rc != QVO_S_OK) return rc;
    const qvo_size_t n_times = state<qvo_seq_repeat_context_t>(it).n_times;
    const size_t n = input->tile_size;
    copy_values(it, 0, input, 0, n);
    for_cpu<multiply_runs>(runs_of(it) - n + 1, runs_of(input) - n + 1, n, static_cast<uint8_t>(n_times));
    TileWriter out(it, n);
    out.advance({n, 0});
    return out.finish_at(input->next_seq_no * n_times);
}

QVO_RET construct_repeat(qvo_seq_iterator_h result, qvo_seq_iterator_h input, ElementLayout layout, int n_times,
                         qvo_seq_iterator_next_t next) {
    if (const QVO_RET rc = construct_typed(result, input, layout.type, layout, next, qvo_seq_reset_repeat_iterator);
        rc != QVO_S_OK)
        return rc;
    state<qvo_seq_repeat_context_t>(result) = {static_cast<qvo_size_t>(int64_t{n_times})};
    return QVO_S_OK;
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_reset_repeat_iterator(qvo_seq_iterator_h iterator) {
    return qvo_seq_reset_unary_iterator(iterator);
}

#define STAMP(type, code, width)                                                                          \
    extern "C" QVO_API QVO_RET qvo_seq_repeat_##type##_next(qvo_seq_iterator_h iterator) {                \
        return repeat_next(iterator, Where::here());                                                      \
    }                                                                                                     \
    extern "C" QVO_API QVO_RET qvo_seq_repeat_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                                     int n_times) {                                       \
        return construct_repeat(result, input, {code, width}, n_times, qvo_seq_repeat_##type##_next);     \
    }
#define STAMP_FIXED(type) STAMP(type, elem_##type::code, elem_##type::width)
QVO_SEQ_FOR_FIXED_TYPES(STAMP_FIXED)
STAMP(char, QVO_DD_CHAR, input->elem_size)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo
