// One sequence behind another. Whole tiles are copied: no tile holds elements of both operands.
#include "core/construct.h"
#include "core/fatal.h"
#include "core/move.h"

namespace qvo {
namespace {

struct qvo_seq_concat_context_t {
    qvo_bool left_array;  // still reading the left operand
};

// The operand's read position plays no part: what is left of a tile that was pulled before is not delivered.
QVO_RET copy_next_tile(qvo_seq_iterator_h it, qvo_seq_iterator_h operand, Where where) {
    if (const QVO_RET rc = operand->next(operand); rc != QVO_S_OK) return rc;
    if (operand->tile_size == 0) fatal_stop(where);
    copy_tile(it, operand);
    return QVO_S_OK;
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_concat_next(qvo_seq_iterator_h iterator) {
    const qvo_seq_iterator_h left = iterator->opd[0], right = iterator->opd[1];
    qvo_bool& left_array = state<qvo_seq_concat_context_t>(iterator).left_array;
    if (left_array != 0) {
        const QVO_RET rc = copy_next_tile(iterator, left, Where::here());
        if (rc == QVO_S_OK) iterator->next_seq_no = left->next_seq_no;
        if (rc != QVO_S_CURSOR_END) return rc;
        left_array = 0;
    }
    const qvo_seq_no_t before = right->next_seq_no;
    const QVO_RET rc = copy_next_tile(iterator, right, Where::here());
    if (rc == QVO_S_OK) iterator->next_seq_no += right->next_seq_no - before;
    return rc;
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
