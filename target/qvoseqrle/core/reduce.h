// Aggregates that deliver one element: folding whole tiles, or pairs of elements, and joining parts.
//
// A family supplies a reducer R:
//   R::Accumulation    the loops, shared by the members that gather the same sums. It has
//     Value, State     the element's value; the state, which `context` keeps once the result is computed. A State has
//                      a field `count`, the positions folded, which is kept here
//     start(state, value, run)               the first element
//     fold(state, values, runs, n, single)   n further elements; `single` if all their runs are 1
//     merge(state, other)                    everything but `count`
//   R::Result          the value delivered
//   R::finish(state)   computes it
#pragma once

#include "core/construct.h"
#include "core/protocol.h"

namespace qvo {

/// Folds `n` elements, a tile at most, into a state; `first` if there were none before them.
using FoldTile = void (*)(void* state, const uint8_t* values, const uint8_t* runs, size_t n, bool first, bool single);

/// Pulls the operand to its end and folds every tile from its element 0 on, whatever tile_offs and rle_offs say.
/// QVO_S_OK if there was any element; then `count` has grown by the positions, of which there are none if all runs are
/// 0. An empty tile is passed over.
QVO_RET reduce_tiles(qvo_seq_iterator_h operand, void* state, qvo_seq_count_t& count, FoldTile fold, Where where);

template <class Accumulation>
void fold_tile(void* erased, const uint8_t* from, const uint8_t* runs, size_t n, bool first, bool single) {
    auto& state = *static_cast<typename Accumulation::State*>(erased);
    const auto* values = reinterpret_cast<const typename Accumulation::Value*>(from);
    if (first) Accumulation::start(state, *values, *runs);
    Accumulation::fold(state, values + first, runs - first, n - size_t{first}, single);
}

/// Folds `n` pairs of elements of a reducer of two operands, with the positions that they share: all three as arrays.
using FoldPairs = void (*)(void* state, const void* left, const void* right, const int32_t* runs, size_t n);

/// Walks the iterator's two operands until one of them ends. QVO_S_OK if there was any pair; then `count` has grown
/// by the positions.
QVO_RET reduce_overlaps(qvo_seq_iterator_h it, void* state, qvo_seq_count_t& count, FoldPairs fold, Where where);

/// `next` of a reducer: gather(state) pulls the operands. Nothing is stored unless there is a result.
template <class R, class State, class Gather> QVO_RET reduce_by(qvo_seq_iterator_h it, Gather gather) {
    if (const std::optional<QVO_RET> answer = answer_of(it)) return *answer;
    State result{};
    if (const QVO_RET rc = gather(result); rc != QVO_S_OK) return rc;
    if (result.count == 0) return QVO_S_CURSOR_END;
    *values_of<typename R::Result>(it) = R::finish(result);
    state<State>(it) = result;
    TileWriter out(it);
    out.put_run(1);
    return out.finish_at(1);
}

template <class R> QVO_RET reduce_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    using State = typename R::Accumulation::State;
    return reduce_by<R, State>(it, [=](State& result) {
        return reduce_tiles(it->opd[0], &result, result.count, fold_tile<typename R::Accumulation>, where);
    });
}

/// `merge`: folds the state of `from` into that of `into`. A part without elements has no state to fold: as the
/// source it changes nothing, as the target it takes the source's state over (and stays undelivered).
template <class R> QVO_RET reduce_merge(qvo_seq_iterator_h into, qvo_seq_iterator_h from) {
    using State = typename R::Accumulation::State;
    State& target = state<State>(into);
    const State source = state<State>(from);
    if (source.count == 0) return QVO_S_OK;
    if (target.count == 0) {
        target = source;
    } else {
        R::Accumulation::merge(target, source);
        target.count += source.count;
    }
    *values_of<typename R::Result>(into) = R::finish(target);
    return QVO_S_OK;
}

/// Constructor of an aggregate over one operand of E with a result of Result.
template <class E, class Result, class R>
QVO_RET construct_reducer(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_next_t next,
                          qvo_seq_iterator_merge_t merge) {
    if (const QVO_RET rc = construct_unary<E, Result>(result, input, next); rc != QVO_S_OK) return rc;
    fill_aggregate(result, merge);
    state<typename R::Accumulation::State>(result).count = 0;
    return QVO_S_OK;
}

}  // namespace qvo

// A member: operand of Element, result of Result; then the reducer.
#define QVO_DEFINE_REDUCER(name, Element, Result, ...)                                                                 \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) { return reduce_next<__VA_ARGS__>(iterator); } \
    extern "C" QVO_API QVO_RET name##_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other) {                   \
        return reduce_merge<__VA_ARGS__>(iterator, other);                                                             \
    }                                                                                                                  \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {                             \
        return construct_reducer<Element, Result, __VA_ARGS__>(result, input, name##_next, name##_merge);              \
    }
