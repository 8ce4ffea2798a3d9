// Reading one operand: refilling its tile, and the position in it.
#pragma once

#include <utility>

#include "core/protocol.h"

namespace qvo {

/// The read position in an operand's tile. It is the record's own while the operand's `next` runs and when the
/// consumer returns; in between it is kept here, in registers (see TileWriter). Whoever moves it calls `store`.
///
/// Values are not its business: a family reads them at values_of<T>(it)[index()].
class Operand {
 public:
    QVO_INLINE explicit Operand(qvo_seq_iterator_h it)
        : it_(it), runs_(runs_of(it)), index_(it->tile_offs), size_(it->tile_size), taken_(it->rle_offs) {}

    QVO_INLINE qvo_seq_iterator_h iterator() const { return it_; }
    QVO_INLINE bool used_up() const { return index_ >= size_; }
    QVO_INLINE size_t index() const { return index_; }
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

    /// Sets the position outright.
    QVO_INLINE void move_to(size_t index, unsigned taken) {
        index_ = index;
        taken_ = taken;
    }

    /// Writes the position to the record.
    QVO_INLINE void store() const {
        it_->tile_offs = static_cast<uint16_t>(index_);
        it_->rle_offs = static_cast<uint8_t>(taken_);
    }

    /// Pulls the next tile. The position must have been stored. On a failure it stays.
    QVO_INLINE QVO_RET pull(Where where) {
        if (const QVO_RET rc = pull_tile(it_, where); rc != QVO_S_OK) return rc;
        index_ = 0;
        size_ = it_->tile_size;
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
};

/// Refills the operands in order, up to the first that stops. An operand's `next` finds the positions of all of them in
/// the records.
template <class... Operands> QVO_INLINE QVO_RET refill_all(Where where, Operands&... operands) {
    if (!(operands.used_up() || ...)) [[likely]]
        return QVO_S_OK;
    (operands.store(), ...);
    QVO_RET rc = QVO_S_OK;
    static_cast<void>(((!operands.used_up() || (rc = operands.pull(where)) == QVO_S_OK) && ...));
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
    input.store();
    return rc;
}

}  // namespace qvo
