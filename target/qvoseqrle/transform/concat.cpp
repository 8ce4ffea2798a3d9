// One sequence after another. Whole tiles are copied: no tile holds elements of both operands.
#include "core/construct.h"
#include "core/move.h"
#include "core/protocol.h"

namespace qvo {
namespace {

// The operands' read positions play no part: what is left of a tile that was pulled before is not delivered.
QVO_RET concat_next(qvo_seq_iterator_h it, Where where) {
    const qvo_seq_iterator_h left = it->opd[0], right = it->opd[1];
    qvo_bool& left_array = state<qvo_seq_concat_context_t>(it).left_array;
    if (left_array != 0) {
        const QVO_RET rc = pull_tile(left, where);
        if (rc == QVO_S_OK) return deliver_copy(it, left, left->next_seq_no);
        if (rc != QVO_S_CURSOR_END) return rc;
        left_array = 0;
    }
    const qvo_seq_no_t before = right->next_seq_no;
    if (const QVO_RET rc = pull_tile(right, where); rc != QVO_S_OK) return rc;
    return deliver_copy(it, right, it->next_seq_no + (right->next_seq_no - before));
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_concat_next(qvo_seq_iterator_h iterator) {
    return concat_next(iterator, Where::here());
}

extern "C" QVO_API QVO_RET qvo_seq_concat_reset(qvo_seq_iterator_h iterator) {
    state<qvo_seq_concat_context_t>(iterator).left_array = 1;
    return qvo_seq_reset_binary_iterator(iterator);
}

extern "C" QVO_API QVO_RET qvo_seq_concat(qvo_seq_iterator_h result, qvo_seq_iterator_h left,
                                          qvo_seq_iterator_h right) {
    if (!has_type(right, left->elem_type)) return QVO_E_ILLEGAL_TYPE;
    if (has_type(left, QVO_DD_CHAR) && left->elem_size != right->elem_size) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({left, right}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_like(left), {left, right}, qvo_seq_concat_next, qvo_seq_concat_reset);
    state<qvo_seq_concat_context_t>(result).left_array = 1;
    return QVO_S_OK;
}

}  // namespace qvo
