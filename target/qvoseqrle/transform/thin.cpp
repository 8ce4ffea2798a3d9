// Every step-th position of a sequence, from `origin` on.
//
// Values are moved and never looked at, so all members share their code.
#include "core/construct.h"
#include "core/move.h"
#include "core/operand.h"

namespace qvo {
namespace {

/// The walk over the input of one call.
///
/// Deliberate: the read position within a run is set to the distance from the last taken position, not from the start
/// of the run, and it is kept when the next tile is pulled. So with several taken positions in a run, or a run cut by
/// the end of a tile, the elements after it are found at shifted positions. With runs of 1 the count is exact.
class ThinWalk {
 public:
    ThinWalk(qvo_seq_iterator_h it, qvo_seq_thin_context_t& s)
        : input_(it->opd[0]), s_(s), next_pos_(it->next_seq_no * s.step + s.origin) {}

    /// Pulls until the tile covers the next position. A tile without elements is passed over.
    QVO_RET pull(Where where) {
        while (next_pos_ >= input_->next_seq_no) {
            s_.curr_pos = input_->next_seq_no;
            if (const QVO_RET rc = pull_any_tile(input_, where); rc != QVO_S_OK) return rc;
        }
        return QVO_S_OK;
    }

    /// Moves the read position to the element that holds the next position.
    void find(Where where) {
        const uint8_t* const runs = runs_of(input_);
        size_t index = input_->tile_offs;
        uint64_t taken = input_->rle_offs, at = s_.curr_pos;
        for (;;) {
            // Shifted positions can lead beyond the last element, where run bytes of earlier tiles still lie; but not
            // out of the payload.
            if (index >= payload_bytes || (index + 1) * input_->elem_size > payload_bytes) fatal_stop(where);
            const uint64_t end = at + get_run(runs, index) - taken;
            if (next_pos_ < end) break;
            at = end;
            taken = 0;
            index = skip_words(runs, index + 1, at);
        }
        s_.curr_pos = at;
        input_->tile_offs = static_cast<uint16_t>(index);
        input_->rle_offs = static_cast<uint8_t>(taken);
    }

    size_t index() const { return input_->tile_offs; }
    uint64_t step() const { return s_.step; }

    /// How many positions, `room` at most, can be taken from elements of run 1 that follow each other.
    size_t n_singles(size_t room) const {
        const size_t size = input_->tile_size;
        if (input_->rle_offs != 0 || index() >= size || s_.curr_pos != next_pos_) return 1;
        const size_t n = leading_single_runs(runs_of(input_) - index(), size - index());
        if (n == 0) return 1;
        if (s_.step == 0) return room;
        const uint64_t covered = std::min<uint64_t>(n, input_->next_seq_no - next_pos_);
        return static_cast<size_t>(std::min<uint64_t>(room, (covered - 1) / s_.step + 1));
    }

    /// Takes `n` positions, of which all but the first lie in elements of run 1.
    void take(size_t n) {
        const uint64_t ahead = (n - 1) * s_.step;
        if (n == 1) {
            input_->rle_offs = static_cast<uint8_t>(next_pos_ - s_.curr_pos);
        } else {
            input_->tile_offs = static_cast<uint16_t>(index() + ahead);
            input_->rle_offs = 0;
        }
        s_.curr_pos = next_pos_ + ahead;
        next_pos_ = s_.curr_pos + s_.step;
    }

 private:
    /// Passes over elements that end before the next position, eight at a time.
    size_t skip_words(const uint8_t* runs, size_t index, uint64_t& at) const {
        for (; index + run_word <= input_->tile_size; index += run_word) {
            const uint64_t positions = lane_sum(pair_sums(load_runs(runs - index)));
            if (next_pos_ < at + positions) break;
            at += positions;
        }
        return index;
    }

    qvo_seq_iterator_h input_;
    qvo_seq_thin_context_t& s_;
    qvo_seq_no_t next_pos_;
};

/// Every step-th element from `index` on, n of them. Some at a time are read before any is written: where both tiles lie
/// at about the same place of their pages, a processor takes the next read for one of what was just written.
template <class Mover>
QVO_INLINE void move_every(Mover mover, uint8_t* to, size_t at, const uint8_t* in, size_t index, size_t step,
                           size_t n) {
    constexpr size_t width = fixed_width<Mover>;
    size_t k = 0;
    if constexpr (width != 0) {
        constexpr size_t some = 8;
        for (; k + some <= n; k += some) {
            uint8_t values[some * width];
            for (size_t j = 0; j < some; ++j) mover.move(values, j, in, index + (k + j) * step);
            std::memcpy(to + (at + k) * width, values, sizeof values);
        }
    }
    for (; k < n; ++k) mover.move(to, at + k, in, index + k * step);
}

QVO_RET thin_next(qvo_seq_iterator_h it, Where where) {
    ThinWalk walk(it, state<qvo_seq_thin_context_t>(it));
    TileWriter out(it);
    uint8_t* const to = values_of<uint8_t>(it);
    const uint8_t* const in = values_of<uint8_t>(it->opd[0]);
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (rc = walk.pull(where); rc != QVO_S_OK) break;
        walk.find(where);
        const size_t size = out.size(), n = walk.n_singles(out.room()), index = walk.index(), step = walk.step();
        with_mover(
            it->elem_size, [=](auto mover)
                               __attribute__((always_inline)) { move_every(mover, to, size, in, index, step, n); });
        out.put_equal_runs(n, 1);
        walk.take(n);
    }
    return out.finish(rc, Counted::delivered);
}

QVO_RET construct_thin(qvo_seq_iterator_h result, qvo_seq_iterator_h input, ElementLayout layout, qvo_size_t origin,
                       qvo_size_t step, qvo_seq_iterator_next_t next) {
    if (const QVO_RET rc = construct_typed(result, input, layout.type, layout, next); rc != QVO_S_OK) return rc;
    state<qvo_seq_thin_context_t>(result) = {origin, step, 0};
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type, code, width)                                                                        \
    extern "C" QVO_API QVO_RET qvo_seq_thin_##type##_next(qvo_seq_iterator_h iterator) {                \
        return thin_next(iterator, Where::here());                                                      \
    }                                                                                                   \
    extern "C" QVO_API QVO_RET qvo_seq_thin_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                                   qvo_size_t origin, qvo_size_t step) {                \
        return construct_thin(result, input, {code, width}, origin, step, qvo_seq_thin_##type##_next);  \
    }
#define STAMP_FIXED(type) STAMP(type, elem_##type::code, elem_##type::width)
QVO_SEQ_FOR_FIXED_TYPES(STAMP_FIXED)
STAMP(char, QVO_DD_CHAR, input->elem_size)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo
