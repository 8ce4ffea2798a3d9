// Reading one operand: refilling its tile, and the position in it.
#pragma once

#include <utility>

#include "core/protocol.h"
#include "core/source.h"

namespace qvo {

/// The read position in an operand's tile. It is the record's own while the operand's `next` runs and when the
/// consumer returns; in between it is kept here, in registers (see TileWriter). Whoever moves it calls `store`.
///
/// A family reads the values at values_of<T>(it)[index()]; or, if it says so, at values(), which need not be in the tile
/// (core/source.h): then it takes the run bytes from here as well, and ends with `leave`. For lists of steps,
/// ArrayStretch::slack elements beyond the last can be read, and constants are as their tiles are, a step within a run.
class Operand {
 public:
    enum class Values { in_tile, anywhere, anywhere_for_lists };

    QVO_INLINE explicit Operand(qvo_seq_iterator_h it, Values values = Values::in_tile)
        : it_(it),
          runs_(runs_of(it)),
          index_(it->tile_offs),
          size_(it->tile_size),
          taken_(it->rle_offs),
          anywhere_(values != Values::in_tile),
          slack_(values == Values::anywhere_for_lists ? ArrayStretch::slack : 0),
          constant_(values == Values::anywhere && is_constant(it)) {}

    QVO_INLINE qvo_seq_iterator_h iterator() const { return it_; }
    QVO_INLINE bool used_up() const { return index_ >= size_; }
    QVO_INLINE size_t index() const { return index_; }
    /// The values and the run byte of element 0.
    QVO_INLINE const uint8_t* values() const { return stretch_.n != 0 ? stretch_.values : values_of<uint8_t>(it_); }
    QVO_INLINE const uint8_t* first_run() const { return runs_; }
    /// Whether all runs are known to be 1, without a look at them.
    QVO_INLINE bool single() const { return runs_ == single_runs_of_stretch(); }
    QVO_INLINE size_t elements_left() const { return size_ - index_; }
    /// The run byte of the current element; those of the next ones lie below.
    QVO_INLINE const uint8_t* runs() const { return runs_ - index_; }
    QVO_INLINE unsigned run() const { return *runs(); }
    /// Positions of the current element taken so far, and left.
    QVO_INLINE unsigned taken() const { return taken_; }
    QVO_INLINE unsigned run_left() const { return run() - taken_; }

    /// Moves on by whole elements.
    QVO_INLINE void skip(size_t elements) { index_ += elements; }

    /// Takes positions of the current element, moving on when its run is used up exactly. They are counted in a byte,
    /// which comes round if it has passed the run.
    QVO_INLINE void take(unsigned positions) {
        taken_ = static_cast<uint8_t>(taken_ + positions);
        if (taken_ == run()) {
            taken_ = 0;
            ++index_;
        }
    }

    /// The positions that are left of the value of the current element: in the tile, of a constant.
    QVO_INLINE size_t value_left() const { return constant_ ? elements_left() * max_run - taken_ : size_t{run_left()}; }
    /// Takes some of them.
    QVO_INLINE void take_of_value(unsigned positions) {
        if (!constant_) return take(positions);
        index_ += (taken_ + positions) / max_run;
        taken_ = (taken_ + positions) % max_run;
    }

    /// Goes back to the first element of a tile, or further: it has been asked for, as those behind it have.
    QVO_INLINE void set_back_to(size_t index, unsigned taken) {
        asked_for_ = index;
        move_to(index, taken);
    }
    /// Sets the position outright.
    QVO_INLINE void move_to(size_t index, unsigned taken) {
        index_ = index;
        taken_ = taken;
    }

    /// Writes the position to the record.
    QVO_INLINE void store() const {
        if (stretch_.n != 0)
            store_in_array(it_, stretch_, index_, index_ == asked_for_);
        else
            it_->tile_offs = static_cast<uint16_t>(index_);
        it_->rle_offs = static_cast<uint8_t>(taken_);
    }
    /// The same at the end of a call, when others may read the tile.
    QVO_INLINE void leave() const {
        store();
        if (stretch_.n != 0) restore_tile(it_, stretch_);
    }

    /// Pulls the next tile. The position must have been stored. On a failure it stays.
    QVO_INLINE QVO_RET pull(Where where) {
        if (anywhere_ && is_array_source(it_))
            if (const ArrayStretch next = next_of_array(it_, slack_); next.n != 0) {
                stretch_ = next;
                runs_ = single_runs_of_stretch();
                index_ = it_->tile_offs = 0;
                asked_for_ = 0;
                size_ = next.n;
                return QVO_S_OK;
            }
        if (const QVO_RET rc = pull_tile(it_, where); rc != QVO_S_OK) return rc;
        stretch_.n = 0;
        runs_ = runs_of(it_);
        index_ = 0;
        size_ = it_->tile_size;
        return QVO_S_OK;
    }

    /// Pulls if the tile is used up; where one would be used up whose copy is left out, says so in the record.
    QVO_INLINE QVO_RET pull_if_used_up(Where where) {
        if (used_up()) return pull(where);
        if (stretch_.n != 0 && index_ % capacity_of(it_->elem_size) == 0) {
            asked_for_ = index_;
            store();
        }
        return QVO_S_OK;
    }

    /// Pulls if the tile is used up. For one operand; several are refilled together (refill_all).
    QVO_INLINE QVO_RET refill(Where where) {
        if (!used_up()) return QVO_S_OK;
        store();
        return pull(where);
    }

 private:
    qvo_seq_iterator_h it_;
    const uint8_t* runs_;
    size_t index_;
    size_t size_;
    unsigned taken_;
    bool anywhere_;
    size_t slack_;
    bool constant_;
    ArrayStretch stretch_;  // empty: the elements are in the tile
    size_t asked_for_ = 0;  // the element of the stretch at which a tile was last asked for
};

/// Where the operands of one operator take their values from, if it can do with `from`. An iterator that is there twice
/// gives each side a part of its tiles: each pull changes what the other side reads.
QVO_INLINE Operand::Values values_from(Operand::Values from, qvo_seq_iterator_h a, qvo_seq_iterator_h b) {
    return a == b ? Operand::Values::in_tile : from;
}
QVO_INLINE Operand::Values values_from(Operand::Values from, qvo_seq_iterator_h a, qvo_seq_iterator_h b,
                                       qvo_seq_iterator_h c) {
    return a == c || b == c ? Operand::Values::in_tile : values_from(from, a, b);
}

/// Refills the operands in order, up to the first that stops. An operand's `next` finds the positions of all of them in
/// the records.
template <class... Operands> QVO_INLINE QVO_RET refill_all(Where where, Operands&... operands) {
    if (!(operands.used_up() || ...)) [[likely]]
        return QVO_S_OK;
    (operands.store(), ...);
    QVO_RET rc = QVO_S_OK;
    static_cast<void>((((rc = operands.pull_if_used_up(where)) == QVO_S_OK) && ...));
    return rc;
}
template <size_t N> QVO_INLINE QVO_RET refill_all(Where where, Operand (&operands)[N]) {
    return [&]<size_t... K>(std::index_sequence<K...>) __attribute__((always_inline)) {
        return refill_all(where, operands[K]...);
    }
    (std::make_index_sequence<N>{});
}

QVO_INLINE QVO_RET refill_both(Operand& a, Operand& b, Where where) { return refill_all(where, a, b); }

/// Hands out whole elements of one operand until the result is full or the operand stops: take(index, n) writes a
/// result for each of the n elements from index on. Runs are not split and rle_offs is not consulted. Elements of
/// another than the expected width end the walk.
template <class Take>
QVO_INLINE QVO_RET walk_elements(Operand& input, const TileWriter& out, Where where, Take take,
                                 size_t width = any_width) {
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        if (rc = check_width(input.iterator(), width); rc != QVO_S_OK) break;
        const size_t n = std::min(out.room(), input.elements_left());
        take(input.index(), n);
        input.skip(n);
    }
    input.leave();
    return rc;
}

}  // namespace qvo
