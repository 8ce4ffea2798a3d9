// The library's own sources as operators see through them: arrays, of which they read the elements where they lie, and
// constants.
//
// A tile of an array source is a copy of some elements of the caller's array, each with a run of 1. A consumer that can
// take its elements from anywhere leaves out the copy; it may then take more of them at once than a tile holds. The
// source's record is kept as if its tiles had been pulled one by one: the counters whenever anybody else may look at
// them, the elements that have not been taken, and all run bytes, when the consumer returns. Elements that have been
// taken are not in the tile.
#pragma once

#include <array>

#include "core/tile.h"

namespace qvo {

/// Elements of an array, as those of a tile. (It goes by value, and in registers: whose address is known does not stay in
/// them.)
struct ArrayStretch {
    const uint8_t* values = nullptr;
    size_t n = 0;

    static constexpr size_t most = 2048;
    static constexpr size_t slack = 64;  // for who reads beyond
    /// The number of the first one in the array of its source, which is of a fixed type.
    QVO_INLINE uint64_t first(const qvo_seq_iterator_t* source) const {
        const auto bytes = static_cast<uint64_t>(values - static_cast<const uint8_t*>(source->buf));
        return bytes >> std::countr_zero(source->elem_size);
    }
};

/// Run bytes of 1 for a stretch, with what functions of runs look at beyond them.
extern const std::array<uint8_t, ArrayStretch::most + run_block> single_runs;
QVO_INLINE const uint8_t* single_runs_of_stretch() { return single_runs.data() + single_runs.size() - 1; }

/// What the sources of a fixed type are known by.
struct SourceNexts {
    qvo_seq_iterator_next_t constant, array;
};
/// By the code of the type; of codes in between there are none.
extern const std::array<SourceNexts, QVO_DD_DATETIME + 1> source_nexts;

/// Whether the iterator is a constant of a fixed type: every element has the same value, and the longest run.
QVO_INLINE bool is_constant(const qvo_seq_iterator_t* it) {
    return it->elem_type < source_nexts.size() && it->next == source_nexts[it->elem_type].constant;
}
/// Whether it is an array source of a fixed type.
QVO_INLINE bool is_array_source(const qvo_seq_iterator_t* it) {
    return it->elem_type < source_nexts.size() && it->next == source_nexts[it->elem_type].array;
}

/// The elements of an array source that come next, if there are any and its array is aligned as its type asks; with
/// `slack` only such as have that many more behind them. Its record is then as after a call of its `next`, but for the
/// values in its tile. Else there are none, and nothing has changed.
ArrayStretch next_of_array(qvo_seq_iterator_h it, size_t slack);

/// Writes to the record that the consumer has come to an element of the stretch: where it is the first of a tile, to the
/// end of the tile before, or to that tile itself if it has been asked for.
void store_in_array(qvo_seq_iterator_h it, ArrayStretch stretch, size_t index, bool asked_for);

/// Puts those elements of the tile into it that have not been taken.
void restore_tile(qvo_seq_iterator_h it, ArrayStretch stretch);

/// The tiles that an array source has left but the last one, for consumers that take whole tiles and leave nothing
/// behind but the last. Its record moves on with them. None of other iterators.
class ArrayTiles {
 public:
    explicit ArrayTiles(qvo_seq_iterator_h it);
    QVO_INLINE bool next() {
        if (left_ == 0) return false;
        values_ = it_values_ + it_->next_seq_no * it_->elem_size;
        it_->next_seq_no += size_;
        --left_;
        return true;
    }
    QVO_INLINE const uint8_t* values() const { return values_; }
    QVO_INLINE size_t size() const { return size_; }

 private:
    qvo_seq_iterator_h it_;
    const uint8_t* it_values_;
    const uint8_t* values_ = nullptr;
    size_t size_;
    uint64_t left_ = 0;
};

}  // namespace qvo
