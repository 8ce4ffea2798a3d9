// Aligning a series of values, indexed by one timeline, to another: the three operands and the steps that the families
// share.
//
// Values are only moved and timestamps only compared, all of them unsigned. So the loops know both by their width, and
// eight of them serve the 33 members of a family: Value is uint8_t .. uint64_t, Stamp uint32_t or uint64_t.
#pragma once

#include <bit>

#include "core/construct.h"
#include "core/move.h"
#include "core/operand.h"

namespace qvo {

/// The operands ts1, ts2 and values of one call of `next`, and the result tile. All elements of the result have run 1.
template <class Value, class Stamp> class Alignment {
 public:
    static constexpr size_t capacity = capacity_of(sizeof(Value));

    QVO_INLINE Alignment(qvo_seq_iterator_h it, Where where)
        : ts1(it->opd[0]), ts2(it->opd[1]), values(it->opd[2]), it_(it), out_(it, capacity), where_(where) {}

    Operand ts1, ts2, values;

    QVO_INLINE size_t size() const { return out_.size(); }
    QVO_INLINE size_t room() const { return out_.room(); }
    QVO_INLINE void put(Value value) {
        write(size(), value);
        advance(1);
    }
    QVO_INLINE void put(Value value, size_t n) {
        for (size_t i = 0; i < n; ++i) write(size() + i, value);
        advance(n);
    }

    QVO_INLINE static Stamp stamp(const Operand& timeline) { return read<Stamp>(timeline, timeline.index()); }

    /// Timestamps must have run 1.
    QVO_INLINE void check_run(const Operand& timeline) const {
        if (timeline.run() != 1) fatal_stop(where_);
    }

    /// Pulls an operand if its tile is used up. An operand's `next` finds the positions of all of them in the records.
    QVO_INLINE QVO_RET refill(Operand& operand) {
        if (!operand.used_up()) return QVO_S_OK;
        store();
        return operand.pull(where_);
    }

    /// Moves ts2 on to its next timestamp. On a failure it stays after the last one.
    QVO_INLINE QVO_RET step(Stamp* timestamp) {
        ts2.skip(1);
        if (const QVO_RET rc = refill(ts2); rc != QVO_S_OK) return rc;
        check_run(ts2);
        *timestamp = stamp(ts2);
        return QVO_S_OK;
    }

    /// Takes one position of the values. Positions are counted in a byte, as rle_offs is: a run byte of 0, which can
    /// stand in the tiles of rle_decode, is a run of 256.
    QVO_INLINE QVO_RET take_value(Value* value) {
        if (const QVO_RET rc = refill(values); rc != QVO_S_OK) return rc;
        *value = read<Value>(values, values.index());
        const unsigned taken = static_cast<uint8_t>(values.taken() + 1);
        if (taken == values.run())
            values.move_to(values.index() + 1, 0);
        else
            values.move_to(values.index(), taken);
        return QVO_S_OK;
    }

    /// The result tile as it stands: for loops that write n elements at once and then account for them.
    QVO_INLINE uint8_t* end() const { return values_of<uint8_t>(it_) + size() * sizeof(Value); }
    QVO_INLINE void advance(size_t n) { out_.advance({n, 0}); }  // the runs are written at the end

    QVO_INLINE void store() const {
        ts1.store();
        ts2.store();
        values.store();
    }

    /// Ends the call, after the positions have been stored. Unlike in most families, next_seq_no grows only when the
    /// tile is delivered.
    QVO_INLINE QVO_RET finish(QVO_RET rc) {
        fill_runs(runs_of(it_), size(), 1);
        return rc != QVO_S_OK ? rc : out_.finish(rc, Counted::elements);
    }

 private:
    template <class V> QVO_INLINE static V read(const Operand& operand, size_t i) {
        V value;
        std::memcpy(&value, values_of<uint8_t>(operand.iterator()) + i * sizeof value, sizeof value);
        return value;
    }
    QVO_INLINE void write(size_t i, Value value) {
        std::memcpy(values_of<uint8_t>(it_) + i * sizeof value, &value, sizeof value);
    }

    qvo_seq_iterator_h it_;
    TileWriter out_;
    Where where_;
};

/// What the constructors of the three families share; the family's state comes after it.
[[gnu::noinline]] inline QVO_RET construct_alignment(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1,
                                                     qvo_seq_iterator_h ts2, qvo_seq_iterator_h values,
                                                     uint8_t stamp_code, ElementLayout layout,
                                                     qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    if (!has_type(ts1, stamp_code) || !has_type(ts2, stamp_code) || !has_type(values, layout.type))
        return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({ts1, ts2, values}); rc != QVO_S_OK) return rc;
    fill_result(result, layout, {ts1, ts2, values}, next, reset);
    return QVO_S_OK;
}

/// Rewinds the values, then the iterator with both timelines. False: the values failed, with *rc, and the family's
/// state is to be left as it is; else it is to be cleared whatever *rc is.
inline bool reset_alignment(qvo_seq_iterator_h it, QVO_RET* rc) {
    *rc = it->opd[2]->reset(it->opd[2]);
    if (*rc != QVO_S_OK) return false;
    *rc = qvo_seq_reset_binary_iterator(it);
    return true;
}

}  // namespace qvo
