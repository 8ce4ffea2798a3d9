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
QVO_INLINE void fill_runs(uint8_t* to, size_t n, unsigned run) { std::memset(to - n + 1, static_cast<int>(run), n); }

/// Writes the elements of one `next` into the result tile, and their runs.
///
/// The counters stay out of the record until `finish`: a store of a 1-byte value or run could alias them, and
/// the loops would reload them after every element. Values are written by the family, at values + size().
class TileWriter {
 public:
    QVO_INLINE TileWriter(qvo_seq_iterator_h it, size_t capacity) : it_(it), runs_(runs_of(it)), capacity_(capacity) {}

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

    /// Writes the run of the k-th element behind size(); `advance` then accounts for the elements written so.
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
    /// operand delivers what there is; an error drops it, but the positions stay counted.
    QVO_INLINE QVO_RET finish(QVO_RET rc) {
        it_->next_seq_no += positions_;
        return finish_tile(rc);
    }

    /// The same for families that count elements, when the tile is delivered: an error leaves next_seq_no alone.
    QVO_INLINE QVO_RET finish_counting_elements(QVO_RET rc) {
        rc = finish_tile(rc);
        if (rc == QVO_S_OK) it_->next_seq_no += size_;
        return rc;
    }

 private:
    QVO_INLINE QVO_RET finish_tile(QVO_RET rc) {
        if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || size_ == 0)) return rc;
        it_->tile_size = static_cast<uint16_t>(size_);
        return QVO_S_OK;
    }

    qvo_seq_iterator_h it_;
    uint8_t* runs_;
    size_t capacity_;
    size_t size_ = 0;  // elements
    uint64_t positions_ = 0;
};

}  // namespace qvo
