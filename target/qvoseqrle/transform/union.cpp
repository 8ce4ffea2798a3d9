// The ordered merge of two ordered sequences, in which equal heads give one element.
#include "core/construct.h"
#include "core/move.h"
#include "core/operand.h"

namespace qvo {
namespace {

/// Writes result elements to .. to+n-1, moving *left and *right on; each takes at most one element of either side.
using MergeLoop = void (*)(qvo_seq_iterator_h it, size_t to, size_t* left, size_t* right, size_t n);

/// Without a branch per element: which side comes next is as good as random.
template <class V, bool descending>
void merge(qvo_seq_iterator_h it, size_t to, size_t* left, size_t* right, size_t n) {
    const V* __restrict a = values_of<V>(it->opd[0]) + *left;
    const V* __restrict b = values_of<V>(it->opd[1]) + *right;
    V* __restrict out = values_of<V>(it) + to;
    size_t i = 0, j = 0;
    for (size_t k = 0; k < n; ++k) {
        const V l = a[i], r = b[j];
        const bool from_left = descending ? l > r : l < r;
        out[k] = from_left ? l : r;
        i += static_cast<size_t>(from_left | (l == r));
        j += static_cast<size_t>(!from_left);
    }
    *left += i;
    *right += j;
}

/// Refills a side that has not ended. QVO_S_CURSOR_END: it has now.
QVO_INLINE QVO_RET refill_side(Operand& side, qvo_bool& ended, Where where) {
    if (ended != 0) return QVO_S_OK;
    const QVO_RET rc = side.refill(where);
    if (rc == QVO_S_CURSOR_END) ended = 1;
    return rc;
}

QVO_RET union_next(qvo_seq_iterator_h it, MergeLoop ascending, MergeLoop descending, Where where) {
    auto& s = state<qvo_seq_union_context_t>(it);
    if (s.left_end != 0 && s.right_end != 0) return QVO_S_CURSOR_END;
    const MergeLoop merge = s.order == QVO_SEQ_DESC_ORDER ? descending : ascending;
    Operand left(it->opd[0]), right(it->opd[1]);
    TileWriter out(it, capacity_of(it->elem_size));
    const auto take_rest = [&](Operand& side) {
        const size_t n = std::min(out.room(), side.elements_left());
        copy_values(it, out.size(), side.iterator(), side.index(), n);
        out.put_equal_runs(n, 1);
        side.skip(n);
    };
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        rc = refill_side(left, s.left_end, where);
        if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || s.right_end != 0)) break;
        rc = refill_side(right, s.right_end, where);
        if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || s.left_end != 0)) break;
        rc = QVO_S_OK;
        if (s.right_end != 0) {
            take_rest(left);
        } else if (s.left_end != 0) {
            take_rest(right);
        } else {
            const size_t n = std::min({out.room(), left.elements_left(), right.elements_left()});
            size_t i = left.index(), j = right.index();
            merge(it, out.size(), &i, &j, n);
            out.put_equal_runs(n, 1);
            left.move_to(i, left.taken());
            right.move_to(j, right.taken());
        }
    }
    left.store();
    right.store();
    return out.finish(rc, Counted::elements);
}

QVO_RET construct_union(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                        qvo_seq_order_t order, ElementLayout layout, qvo_seq_iterator_next_t next) {
    if (const QVO_RET rc =
            construct_typed(result, left, right, layout.type, layout, next, qvo_seq_reset_union_iterator);
        rc != QVO_S_OK)
        return rc;
    state<qvo_seq_union_context_t>(result) = {0, 0, order};
    return QVO_S_OK;
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_reset_union_iterator(qvo_seq_iterator_h iterator) {
    auto& s = state<qvo_seq_union_context_t>(iterator);
    s.left_end = s.right_end = 0;
    return qvo_seq_reset_binary_iterator(iterator);
}

#define STAMP(type)                                                                                              \
    extern "C" QVO_API QVO_RET qvo_seq_union_##type##_next(qvo_seq_iterator_h iterator) {                        \
        return union_next(iterator, merge<qvo_##type, false>, merge<qvo_##type, true>, Where::here());           \
    }                                                                                                            \
    extern "C" QVO_API QVO_RET qvo_seq_union_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left,          \
                                                    qvo_seq_iterator_h right, qvo_seq_order_t order) {           \
        return construct_union(result, left, right, order, layout_of<elem_##type>, qvo_seq_union_##type##_next); \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
