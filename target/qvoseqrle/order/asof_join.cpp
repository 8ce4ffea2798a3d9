// As-of join: the values of one timeline as they stand at the timestamps of another.
#include "order/timeline.h"

namespace qvo {
namespace {

// The state, by width: the same layout as the public records of the members.
template <class Value, class Stamp> struct AsofState {
    Value next_value, prev_value;
    Stamp next_timestamp, prev_timestamp;
    qvo_bool end_of_seq;
};

/// One step of ts2 per element, as long as the timestamp of ts1 is not below that of ts2.
///
/// Deliberate: ts1 is never moved on. Every element is compared with the same timestamp, and the result goes on with
/// the last value for as long as it is pulled.
template <class Value, class Stamp> QVO_RET asof_join_next(qvo_seq_iterator_h it, Where where) {
    bool delivered = it->opd[1]->tile_size != 0;  // ts2, before this call or in it
    Alignment<Value, Stamp> all(it, where);
    if (const QVO_RET rc = all.refill(all.ts1); rc != QVO_S_OK) return rc;
    const Stamp now = all.stamp(all.ts1);

    auto& state = qvo::state<AsofState<Value, Stamp>>(it);
    auto [value, previous, timestamp, previous_timestamp, ended] = state;
    QVO_RET rc = QVO_S_OK;
    while (all.room() != 0 && !ended && now >= timestamp) {
        previous_timestamp = timestamp;
        previous = value;
        rc = all.step(&timestamp);
        if (rc == QVO_S_OK) {
            delivered = true;
            rc = all.take_value(&value);
        } else if (rc == QVO_S_CURSOR_END && delivered) {
            rc = QVO_S_OK;
            ended = 1;
        }
        if (rc != QVO_S_OK) break;
        all.put(!ended && timestamp <= now ? value : previous);
    }
    // From here on ts2 has ended, or its next timestamp is yet to come.
    if (rc == QVO_S_OK) all.put(previous, all.room());
    state = {value, previous, timestamp, previous_timestamp, ended};
    all.store();
    return all.finish(rc);
}

template <class Value, class Stamp> QVO_RET asof_join_reset(qvo_seq_iterator_h it) {
    QVO_RET rc;
    if (reset_alignment(it, &rc)) state<AsofState<Value, Stamp>>(it) = {};
    return rc;
}

/// The record of a member is that of its state, of values and timestamps of the same widths.
template <class E, class T, class Record>
QVO_RET construct_asof_join(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1, qvo_seq_iterator_h ts2,
                            qvo_seq_iterator_h values, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    using State = AsofState<typename E::bits, typename T::bits>;
    static_assert(sizeof(State) == sizeof(Record) && offsetof(State, prev_value) == offsetof(Record, prev_value));
    static_assert(offsetof(State, next_timestamp) == offsetof(Record, next_timestamp));
    static_assert(offsetof(State, prev_timestamp) == offsetof(Record, prev_timestamp));
    static_assert(offsetof(State, end_of_seq) == offsetof(Record, end_of_seq));
    const QVO_RET rc = construct_alignment(result, ts1, ts2, values, T::code, layout_of<E>, next, reset);
    if (rc == QVO_S_OK) state<State>(result) = {};
    return rc;
}

}  // namespace

#define DEFINE(name, ts, type)                                                                                      \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                           \
        return asof_join_next<elem_##type::bits, elem_##ts::bits>(iterator, Where::here());                         \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name##_reset(qvo_seq_iterator_h iterator) {                                          \
        return asof_join_reset<elem_##type::bits, elem_##ts::bits>(iterator);                                       \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1, qvo_seq_iterator_h ts2,      \
                                    qvo_seq_iterator_h values) {                                                    \
        return construct_asof_join<elem_##type, elem_##ts, name##_context_t>(result, ts1, ts2, values, name##_next, \
                                                                             name##_reset);                         \
    }
#define STAMP(ts, type) DEFINE(qvo_seq_asof_join_##ts##_##type, ts, type)
QVO_SEQ_FOR_ALIGNED_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
