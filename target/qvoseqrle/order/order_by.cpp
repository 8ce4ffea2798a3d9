// A sequence in the order of a permutation. It reads its input whole, on the first pull, and then picks from it. Values
// are moved without looking at them, so that all members share one `next`.
#include "core/construct.h"
#include "core/expand.h"
#include "core/move.h"

namespace qvo {
namespace {

/// Reads the input into a buffer of its own. Whatever fails leaves no buffer, so that the next pull loads again.
QVO_RET load(qvo_seq_iterator_h it, Where where) {
    const qvo_size_t n_elems = state<qvo_seq_order_by_context>(it).n_elems;
    const size_t width = it->elem_size;
    qvo_size_t bytes;
    if (__builtin_mul_overflow(n_elems, width, &bytes)) return QVO_E_NOMEM;
    if (qvo_seq_alloc_buffer(it, bytes) == nullptr) return QVO_E_NOMEM;
    it->reset = qvo_seq_order_by_reset;

    const qvo_seq_iterator_h input = it->opd[0];
    qvo_size_t got = 0;
    // The input is read like any iterator by a caller: one that feeds an operator must not be.
    QVO_RET rc = is_bound(input) ? QVO_E_SEQ_BOUNDED : QVO_S_OK;
    if (rc == QVO_S_OK) rc = read_positions(input, width, static_cast<uint8_t*>(it->buf), n_elems, &got, where);
    if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || got == 0)) {
        qvo_seq_free_buffer(it);
        return rc;
    }
    if (got != n_elems) fatal_stop(where);
    return QVO_S_OK;
}

// Values that are read before the first of them is written: what is written could, for all the compiler knows, be part
// of what is read next.
constexpr size_t batch = 8;

template <size_t Width>
QVO_INLINE void gather(FixedMover<Width> mover, uint8_t* to, const void* values, const qvo_seq_no_t* permutation,
                       size_t n) {
    size_t i = 0;
    for (; i + batch <= n; i += batch) {
        unsigned_of<Width> picked[batch];
        for (size_t k = 0; k < batch; ++k) mover.move(picked, k, values, permutation[i + k]);
        for (size_t k = 0; k < batch; ++k) mover.move(to, i + k, picked, k);
    }
    for (; i < n; ++i) mover.move(to, i, values, permutation[i]);
}
void gather(ByteMover mover, uint8_t* to, const void* values, const qvo_seq_no_t* permutation, size_t n) {
    for (size_t i = 0; i < n; ++i) mover.move(to, i, values, permutation[i]);
}

QVO_RET order_by_next(qvo_seq_iterator_h it, Where where) {
    const qvo_seq_order_by_context& order = state<qvo_seq_order_by_context>(it);
    TileWriter out(it);
    const size_t n = std::min<qvo_size_t>(out.room(), order.n_elems - it->next_seq_no);
    if (n == 0) return QVO_S_CURSOR_END;
    if (it->buf == nullptr)
        if (const QVO_RET rc = load(it, where); rc != QVO_S_OK) return rc;

    const qvo_seq_no_t* const permutation = order.permutation + it->next_seq_no;
    const void* const values = it->buf;
    uint8_t* const to = values_of<uint8_t>(it);
    with_mover(it->elem_size, [=](auto mover) { gather(mover, to, values, permutation, n); });
    out.put_equal_runs(n, 1);
    return out.finish(QVO_S_OK);
}

// Deliberate: the input is neither checked for nor marked as feeding an operator here.
QVO_RET construct_order_by(qvo_seq_iterator_h result, ElementLayout layout, qvo_seq_iterator_h input,
                           const qvo_seq_no_t* permutation, qvo_size_t n_elems, const void* data,
                           qvo_seq_iterator_next_t next) {
    if (!has_type(input, layout.type)) return QVO_E_ILLEGAL_TYPE;
    fill_result(result, layout, {input}, next, qvo_seq_reset_unary_iterator);
    result->prepared = 0;
    result->last_seq_no = n_elems - 1;
    result->buf = const_cast<void*>(data);  // only read, but kept where buffers are
    result->buf_size = n_elems * layout.width;
    result->owned_buf = 1;
    state<qvo_seq_order_by_context>(result) = {permutation, n_elems};
    return QVO_S_OK;
}

}  // namespace

#define STAMP_ORDER_BY(type, value_type, layout)                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_order_by_##type##_next(qvo_seq_iterator_h iterator) {                          \
        return order_by_next(iterator, Where::here());                                                                \
    }                                                                                                                 \
    extern "C" QVO_API QVO_RET qvo_seq_order_by_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,           \
                                                       const qvo_seq_no_t* permutation, qvo_size_t n_elems,           \
                                                       const value_type* data) {                                      \
        return construct_order_by(result, layout, input, permutation, n_elems, data, qvo_seq_order_by_##type##_next); \
    }
#define STAMP(type) STAMP_ORDER_BY(type, qvo_##type, layout_of<elem_##type>)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
STAMP_ORDER_BY(char, char, (ElementLayout{QVO_DD_CHAR, input->elem_size}))
#undef STAMP_ORDER_BY

}  // namespace qvo

extern "C" QVO_API QVO_RET qvo_seq_order_by_reset(qvo_seq_iterator_h iterator) {
    qvo_seq_free_buffer(iterator);
    return qvo_seq_reset_unary_iterator(iterator);
}
