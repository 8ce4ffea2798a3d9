// Tile geometry: where values and run bytes live, and writing a result tile.
#pragma once

#include "core/runs.h"
#include "qvowseq.h"

namespace qvo {

/// The values of an iterator's tile. T is the value type of an element tag, its `bits`, or char.
template <class T> QVO_INLINE T* values_of(qvo_seq_iterator_h it) { return reinterpret_cast<T*>(it->tile.u.arr_uint1); }

/// The run byte of element 0; that of element i lies i bytes lower.
QVO_INLINE uint8_t* runs_of(qvo_seq_iterator_h it) { return it->tile.u.arr_uint1 + (payload_bytes - 1); }

QVO_INLINE void set_run(uint8_t* runs, size_t i, unsigned run) {
    runs[-static_cast<ptrdiff_t>(i)] = static_cast<uint8_t>(run);
}

QVO_INLINE unsigned get_run(const uint8_t* runs, size_t i) { return runs[-static_cast<ptrdiff_t>(i)]; }

/// Copies the run bytes of `n` elements; both addresses are those of the first element's byte.
QVO_INLINE void copy_runs(uint8_t* to, const uint8_t* from, size_t n) { std::memcpy(to - n + 1, from - n + 1, n); }

/// Gives `n` elements the same run.
QVO_INLINE void fill_runs(uint8_t* to, size_t n, unsigned run) {
    uint8_t* const lowest = to - n + 1;
    // A compiler that knows it to be small has a string instruction for it, which starts slowly.
    if (!__builtin_constant_p(n)) __asm__("" : "+r"(n));
    std::memset(lowest, static_cast<int>(run), n);
}

/// How a family counts in next_seq_no what a call has produced.
enum class Counted {
    at_once,    // positions, as they are written: an error drops the elements, but they stay counted
    delivered,  // positions, when the tile is delivered: an error leaves next_seq_no alone
    elements,   // elements, when the tile is delivered
};

/// Writes the elements of one `next` into the result tile, and their runs; nothing else writes tile_size.
///
/// The counters stay out of the record until `finish`: a store of a 1-byte value or run could alias them, and
/// the loops would reload them after every element. Values are written by the family, at values + size().
class TileWriter {
 public:
    QVO_INLINE TileWriter(qvo_seq_iterator_h it, size_t capacity) : it_(it), runs_(runs_of(it)), capacity_(capacity) {}
    /// Of as many elements as a tile of the iterator's width holds.
    QVO_INLINE explicit TileWriter(qvo_seq_iterator_h it) : TileWriter(it, capacity_of(it->elem_size)) {}

    QVO_INLINE size_t size() const { return size_; }
    QVO_INLINE size_t room() const { return capacity_ - size_; }
    /// Positions produced by this call.
    QVO_INLINE uint64_t positions() const { return positions_; }

    /// Accounts for one element, whose value is at size().
    QVO_INLINE void put_run(unsigned run) {
        set_run(runs_, size_, run);
        ++size_;
        positions_ += run;
    }

    /// Writes the run of the k-th element after size(); `advance` then accounts for the elements written so.
    QVO_INLINE void set_run_ahead(size_t k, unsigned run) { set_run(runs_ - size_, k, run); }
    QVO_INLINE void advance(RunSpan span) {
        size_ += span.elements;
        positions_ += span.positions;
    }

    /// Accounts for a span of elements with the given runs.
    QVO_INLINE void put_runs(const uint8_t* from, RunSpan span) {
        copy_runs(runs_ - size_, from, span.elements);
        advance(span);
    }
    QVO_INLINE void put_runs(const uint8_t* from, size_t n) { put_runs(from, {n, sum_runs(from, n)}); }

    /// Accounts for `n` elements with the same run each.
    QVO_INLINE void put_equal_runs(size_t n, unsigned run) {
        fill_runs(runs_ - size_, n, run);
        positions_ += n * run;
        size_ += n;
    }

    /// Ends the call: `rc` is QVO_S_OK for a full tile, else the code that an operand stopped with. The end of an
    /// operand delivers what there is, if there is anything; an error drops it.
    QVO_INLINE QVO_RET finish(QVO_RET rc, Counted counted = Counted::at_once) {
        if (counted == Counted::at_once) it_->next_seq_no += positions_;
        if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || size_ == 0)) return rc;
        if (counted == Counted::delivered) it_->next_seq_no += positions_;
        if (counted == Counted::elements) it_->next_seq_no += size_;
        it_->tile_size = static_cast<uint16_t>(size_);
        return QVO_S_OK;
    }

    /// Ends a call of a family that sets next_seq_no outright: it takes it over from an operand, or always delivers the
    /// same number. There may be no element at all where an operand's empty tile is handed on.
    QVO_INLINE QVO_RET finish_at(uint64_t next_seq_no) {
        it_->next_seq_no = next_seq_no;
        it_->tile_size = static_cast<uint16_t>(size_);
        return QVO_S_OK;
    }

 private:
    qvo_seq_iterator_h it_;
    uint8_t* runs_;
    size_t capacity_;
    size_t size_ = 0;  // elements
    uint64_t positions_ = 0;
};

}  // namespace qvo
