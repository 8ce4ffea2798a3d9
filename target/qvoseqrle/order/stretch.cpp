// Stretching a series of values to another timeline, and the union of two timelines with values of one of them.
#include "core/expand.h"
#include "order/timeline.h"

namespace qvo {
namespace {

// The states, by width: the same layout as the public records of the members.
template <class Value, class Stamp> struct StretchState {
    Value default_value, next_value;
    Stamp next_timestamp;
    qvo_bool end_of_seq;
};
template <class Value> struct Stretch0State {
    Value default_value;
    qvo_bool left_end, right_end;
};

/// One step of ts2 per element, as long as the timestamp of ts1 is not below that of ts2.
///
/// Deliberate: ts1 is never moved on. Every element is compared with the same timestamp, and the result goes on with
/// the last value, or the filler, for as long as it is pulled.
template <class Value, class Stamp> QVO_RET stretch_next(qvo_seq_iterator_h it, Where where) {
    Alignment<Value, Stamp> all(it, where);
    if (const QVO_RET rc = all.refill(all.ts1); rc != QVO_S_OK) return rc;
    const Stamp now = all.stamp(all.ts1);

    auto& state = qvo::state<StretchState<Value, Stamp>>(it);
    auto [filler, value, timestamp, ended] = state;
    QVO_RET rc = QVO_S_OK;
    while (all.room() != 0 && !ended && now >= timestamp) {
        rc = all.step(&timestamp);
        if (rc == QVO_S_OK) {
            rc = all.take_value(&value);
        } else if (rc == QVO_S_CURSOR_END) {
            rc = QVO_S_OK;
            ended = 1;
            value = filler;
        }
        if (rc != QVO_S_OK) break;
        all.put(value);
    }
    if (rc == QVO_S_OK) all.put(value, all.room());
    state = {filler, value, timestamp, ended};
    all.store();
    return all.finish(rc);
}

// A stretch shorter than this goes one by one.
constexpr size_t shortest_merge = 8;

/// The number of merge steps that need no look at ends and runs: each takes at most one timestamp of run 1 from either
/// side and one position of the values, from neighbouring elements of run 1 or from inside one run.
template <class Value, class Stamp>
QVO_INLINE size_t plain_steps(const Alignment<Value, Stamp>& all, bool single_values) {
    const Operand &a = all.ts1, &b = all.ts2, &v = all.values;
    if (v.used_up() || v.taken() >= v.run()) return 0;  // a run byte of 0: see take_value
    size_t n = std::min({all.room(), a.elements_left(), b.elements_left()});
    n = std::min<size_t>(n, single_values ? v.elements_left() : v.run_left());
    if (n < shortest_merge) return 0;
    if (single_values) n = leading_single_runs(v.runs(), n);
    if (n < shortest_merge) return 0;
    n = leading_single_runs(a.runs(), n);
    return leading_single_runs(b.runs(), n);
}

/// So many steps at once, without a branch per element.
template <class Value, class Stamp>
QVO_INLINE void merge(Alignment<Value, Stamp>& all, Value filler, bool single_values, size_t n) {
    const auto load = [](auto* to, const uint8_t* from, size_t i) {
        std::memcpy(to, from + i * sizeof *to, sizeof *to);
    };
    const uint8_t* const stamps1 = values_of<uint8_t>(all.ts1.iterator()) + all.ts1.index() * sizeof(Stamp);
    const uint8_t* const stamps2 = values_of<uint8_t>(all.ts2.iterator()) + all.ts2.index() * sizeof(Stamp);
    const uint8_t* const from = values_of<uint8_t>(all.values.iterator()) + all.values.index() * sizeof(Value);
    const size_t stride = single_values ? 1 : 0;
    uint8_t* const to = all.end();
    size_t i = 0, j = 0;
    for (size_t k = 0; k < n; ++k) {
        Stamp a, b;
        Value value;
        load(&a, stamps1, i);
        load(&b, stamps2, j);
        load(&value, from, j * stride);
        const bool fill = a < b;
        value = fill ? filler : value;
        std::memcpy(to + k * sizeof value, &value, sizeof value);
        i += a <= b;
        j += !fill;
    }
    all.advance(n);
    all.ts1.skip(i);
    all.ts2.skip(j);
    if (single_values)
        all.values.skip(j);
    else
        all.values.take(static_cast<unsigned>(j));
}

/// The timelines side by side: a timestamp of ts2 yields the next value, one of ts1 alone the filler.
template <class Value, class Stamp> QVO_RET stretch0_next(qvo_seq_iterator_h it, Where where) {
    auto& state = qvo::state<Stretch0State<Value>>(it);
    if (state.left_end && state.right_end) return QVO_S_CURSOR_END;
    const Value filler = state.default_value;
    Alignment<Value, Stamp> all(it, where);
    QVO_RET rc = QVO_S_OK;
    while (all.room() != 0) {
        if (!state.left_end) {
            rc = all.refill(all.ts1);
            if (rc == QVO_S_CURSOR_END) state.left_end = 1;
        }
        if (!state.right_end && (rc == QVO_S_OK || rc == QVO_S_CURSOR_END)) {
            rc = all.refill(all.ts2);
            if (rc == QVO_S_CURSOR_END) state.right_end = 1;
        }
        if (rc != QVO_S_OK && rc != QVO_S_CURSOR_END) break;
        if (state.left_end && state.right_end) {
            rc = all.size() != 0 ? QVO_S_OK : QVO_S_CURSOR_END;
            break;
        }
        rc = QVO_S_OK;

        if (state.left_end) {
            // Deliberate: ts2 stays where it is, and is not looked at. The values decide how long this goes on; their
            // end drops the tile that was begun.
            all.store();
            uint64_t got;
            rc = read_positions(it->opd[2], sizeof(Value), all.end(), all.room(), &got, where);
            all.advance(got);
            return all.finish(rc);
        }
        if (state.right_end) {
            const size_t n = leading_single_runs(all.ts1.runs(), std::min(all.room(), all.ts1.elements_left()));
            if (n == 0) fatal_stop(where);
            all.put(filler, n);
            all.ts1.skip(n);
            continue;
        }
        const bool single_values = !all.values.used_up() && all.values.run() == 1;
        if (const size_t n = plain_steps(all, single_values); n != 0) {
            merge(all, filler, single_values, n);
            continue;
        }
        all.check_run(all.ts1);
        all.check_run(all.ts2);
        const Stamp a = all.stamp(all.ts1), b = all.stamp(all.ts2);
        if (a <= b) all.ts1.skip(1);
        if (a < b) {
            all.put(filler);
            continue;
        }
        all.ts2.skip(1);
        Value value;
        rc = all.take_value(&value);
        if (rc != QVO_S_OK) break;
        all.put(value);
    }
    all.store();
    return all.finish(rc);
}

template <class Value, class Stamp> QVO_RET stretch_reset(qvo_seq_iterator_h it) {
    auto& state = qvo::state<StretchState<Value, Stamp>>(it);
    QVO_RET rc;
    if (reset_alignment(it, &rc)) state = {state.default_value, 0, 0, 0};
    return rc;
}

template <class Value> QVO_RET stretch0_reset(qvo_seq_iterator_h it) {
    auto& state = qvo::state<Stretch0State<Value>>(it);
    QVO_RET rc;
    if (reset_alignment(it, &rc)) state = {state.default_value, 0, 0};
    return rc;
}

/// The record of a member is that of its state, of values and timestamps of the same widths.
template <class E, class T, class Record>
QVO_RET construct_stretch(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1, qvo_seq_iterator_h ts2,
                          qvo_seq_iterator_h values, typename E::value filler, qvo_seq_iterator_next_t next,
                          qvo_seq_iterator_reset_t reset) {
    using State = StretchState<typename E::bits, typename T::bits>;
    static_assert(sizeof(State) == sizeof(Record) && offsetof(State, next_value) == offsetof(Record, next_value));
    static_assert(offsetof(State, next_timestamp) == offsetof(Record, next_timestamp));
    static_assert(offsetof(State, end_of_seq) == offsetof(Record, end_of_seq));
    const QVO_RET rc = construct_alignment(result, ts1, ts2, values, T::code, layout_of<E>, next, reset);
    if (rc == QVO_S_OK) state<State>(result) = {std::bit_cast<typename E::bits>(filler), 0, 0, 0};
    return rc;
}
template <class E, class T, class Record>
QVO_RET construct_stretch0(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1, qvo_seq_iterator_h ts2,
                           qvo_seq_iterator_h values, typename E::value filler, qvo_seq_iterator_next_t next,
                           qvo_seq_iterator_reset_t reset) {
    using State = Stretch0State<typename E::bits>;
    static_assert(sizeof(State) == sizeof(Record) && offsetof(State, left_end) == offsetof(Record, left_end));
    static_assert(offsetof(State, right_end) == offsetof(Record, right_end));
    const QVO_RET rc = construct_alignment(result, ts1, ts2, values, T::code, layout_of<E>, next, reset);
    if (rc == QVO_S_OK) state<State>(result) = {std::bit_cast<typename E::bits>(filler), 0, 0};
    return rc;
}

}  // namespace

#define DEFINE(name, ts, type, construct, next_of, reset_of)                                                         \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) { return next_of(iterator, Where::here()); } \
    extern "C" QVO_API QVO_RET name##_reset(qvo_seq_iterator_h iterator) { return reset_of(iterator); }              \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1, qvo_seq_iterator_h ts2,       \
                                    qvo_seq_iterator_h values, qvo_##type filler) {                                  \
        return construct<elem_##type, elem_##ts, name##_context_t>(result, ts1, ts2, values, filler, name##_next,    \
                                                                   name##_reset);                                    \
    }
#define STAMP(ts, type)                                                                                             \
    DEFINE(qvo_seq_stretch_##ts##_##type, ts, type, construct_stretch,                                              \
           (stretch_next<elem_##type::bits, elem_##ts::bits>), (stretch_reset<elem_##type::bits, elem_##ts::bits>)) \
    DEFINE(qvo_seq_stretch0_##ts##_##type, ts, type, construct_stretch0,                                            \
           (stretch0_next<elem_##type::bits, elem_##ts::bits>), (stretch0_reset<elem_##type::bits>))
QVO_SEQ_FOR_ALIGNED_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
