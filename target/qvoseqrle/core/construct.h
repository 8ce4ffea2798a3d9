// What every constructor does, in the order in which it is done: type checks by the caller, then the binding check
// and the marks (bind), then the family's parameters, then the fields that every result has (fill_result).
#pragma once

#include <initializer_list>
#include <new>

#include "qvowseq.h"

namespace qvo {

inline bool has_type(qvo_seq_iterator_h operand, uint8_t code) { return operand->elem_type == code; }

/// True if an operand already feeds a consumer and the binding check is on.
inline bool is_bound(qvo_seq_iterator_h operand) { return qvo_seq_check_bindings != 0 && operand->bounded == 1; }

/// Marks the operands as bound, all or none: QVO_E_SEQ_BOUNDED if the check finds one that already is.
inline QVO_RET bind(std::initializer_list<qvo_seq_iterator_h> operands) {
    for (qvo_seq_iterator_h operand : operands)
        if (is_bound(operand)) return QVO_E_SEQ_BOUNDED;
    for (qvo_seq_iterator_h operand : operands) operand->bounded = 1;
    return QVO_S_OK;
}

struct ElementLayout {
    uint8_t type;
    uint16_t width;
};

template <class E> inline constexpr ElementLayout layout_of{E::code, E::width};

inline ElementLayout layout_like(qvo_seq_iterator_h operand) { return {operand->elem_type, operand->elem_size}; }

/// The fields of a result: its elements, its operands (further slots stay), the operations; positions at the start,
/// no bounds, no prepare and merge. `prepared`, buf and context stay; aggregates and sources set theirs afterwards.
inline void fill_result(qvo_seq_iterator_h result, ElementLayout layout,
                        std::initializer_list<qvo_seq_iterator_h> operands, qvo_seq_iterator_next_t next,
                        qvo_seq_iterator_reset_t reset) {
    result->elem_type = layout.type;
    result->elem_size = layout.width;
    result->bounded = 0;
    result->tile_size = 0;
    result->tile_offs = 0;
    result->rle_offs = 0;
    result->first_seq_no = 0;
    result->next_seq_no = 0;
    result->last_seq_no = ~qvo_seq_no_t{0};
    qvo_seq_iterator_h* slot = result->opd;
    for (qvo_seq_iterator_h operand : operands) *slot++ = operand;
    result->next = next;
    result->reset = reset;
    result->prepare = nullptr;
    result->merge = nullptr;
}

/// What an aggregate adds to fill_result.
inline void fill_aggregate(qvo_seq_iterator_h result, qvo_seq_iterator_merge_t merge) {
    result->prepared = 0;
    result->prepare = qvo_seq_prepare_aggregate;
    result->merge = merge;
}

/// A family's parameters and state: a record laid over the start of `context`. Constructors write it with
/// store_state; `next` and the resets use it in place.
template <class State> State& state(qvo_seq_iterator_h it) {
    static_assert(sizeof(State) <= sizeof(it->context), "a family's state must fit the context");
    static_assert(alignof(State) <= alignof(uint64_t) && std::is_trivially_copyable_v<State>);
    return *std::launder(reinterpret_cast<State*>(it->context));
}

// The constructors of families whose operands are of one type and whose parameters, if any, are not checked. Compiled
// once; a member only says what is its own.
[[gnu::noinline]] inline QVO_RET construct_over(std::initializer_list<qvo_seq_iterator_h> operands,
                                                qvo_seq_iterator_h result, uint8_t code, ElementLayout layout,
                                                qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    for (qvo_seq_iterator_h operand : operands)
        if (!has_type(operand, code)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind(operands); rc != QVO_S_OK) return rc;
    fill_result(result, layout, operands, next, reset);
    return QVO_S_OK;
}
inline QVO_RET construct_typed(qvo_seq_iterator_h result, qvo_seq_iterator_h first, qvo_seq_iterator_h second,
                               qvo_seq_iterator_h third, uint8_t code, ElementLayout layout,
                               qvo_seq_iterator_next_t next,
                               qvo_seq_iterator_reset_t reset = qvo_seq_reset_ternary_iterator) {
    return construct_over({first, second, third}, result, code, layout, next, reset);
}
inline QVO_RET construct_typed(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                               uint8_t code, ElementLayout layout, qvo_seq_iterator_next_t next,
                               qvo_seq_iterator_reset_t reset = qvo_seq_reset_binary_iterator) {
    return construct_over({left, right}, result, code, layout, next, reset);
}
inline QVO_RET construct_typed(qvo_seq_iterator_h result, qvo_seq_iterator_h input, uint8_t code, ElementLayout layout,
                               qvo_seq_iterator_next_t next,
                               qvo_seq_iterator_reset_t reset = qvo_seq_reset_unary_iterator) {
    return construct_over({input}, result, code, layout, next, reset);
}

template <class E, class R>
QVO_RET construct_ternary(qvo_seq_iterator_h result, qvo_seq_iterator_h first, qvo_seq_iterator_h second,
                          qvo_seq_iterator_h third, qvo_seq_iterator_next_t next) {
    return construct_typed(result, first, second, third, E::code, layout_of<R>, next);
}

template <class E, class R>
QVO_RET construct_binary(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                         qvo_seq_iterator_next_t next) {
    return construct_typed(result, left, right, E::code, layout_of<R>, next);
}

template <class E, class R>
QVO_RET construct_unary(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_next_t next) {
    return construct_typed(result, input, E::code, layout_of<R>, next);
}

}  // namespace qvo
