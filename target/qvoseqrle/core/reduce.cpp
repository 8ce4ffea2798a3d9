// Pulling the operands of aggregates: the same for all of them.
#include "core/reduce.h"

#include "core/move.h"
#include "core/walk.h"

namespace qvo {
namespace {

/// Run bytes in the order of their elements, as numbers.
QVO_INLINE void widen_runs(int32_t* __restrict to, const uint8_t* __restrict runs, size_t n) {
    for (size_t i = 0; i < n; ++i) to[i] = static_cast<int32_t>(get_run(runs, i));
}

/// Sink of a walk that hands the pairs to the reducer as arrays: those of the tiles where many are neighbours,
/// else a batch of copies.
template <class Mover> class FoldSink {
 public:
    QVO_INLINE FoldSink(void* state, FoldPairs fold, Mover mover) : state_(state), fold_(fold), mover_(mover) {}

    QVO_INLINE static size_t room() { return most_single_steps; }
    QVO_INLINE static size_t reach() { return SIZE_MAX; }
    QVO_INLINE QVO_RET look(const Operand (&operands)[2]) {
        left_ = operands[0].values();
        right_ = operands[1].values();
        left_runs_ = operands[0].first_run();
        right_runs_ = operands[1].first_run();
        return QVO_S_OK;
    }
    template <unsigned Set> QVO_INLINE RunSpan stretch(Moving<Set>, At<2> at, RunSpan span) {
        const uint8_t* const runs = (Set & 1) != 0 ? left_runs_ - at[0] : right_runs_ - at[1];
        return fold_stretch(at[0], Set & 1, at[1], Set >> 1, runs, span);
    }
    QVO_INLINE void one(size_t i, At<2> at, unsigned run) {
        mover_.move(left_batch_, n_ + i, left_, at[0]);
        mover_.move(right_batch_, n_ + i, right_, at[1]);
        runs_[n_ + i] = static_cast<int32_t>(run);
    }
    QVO_INLINE void end_singles(RunSpan span) {
        positions_ += span.positions;
        join(span.elements);
    }
    QVO_INLINE CrossingRow<2> crossing_row() { return {{row_.left, row_.right}, row_.run, most_single_steps}; }
    QVO_INLINE void end_crossings(RunSpan span) {
        for (size_t i = 0; i < span.elements; ++i) one(i, {row_.left[i], row_.right[i]}, row_.run[i]);
        end_singles(span);
    }
    void flush() {
        if (n_ != 0) fold_(state_, left_batch_, right_batch_, runs_, n_);
        n_ = 0;
    }
    qvo_seq_count_t positions() const { return positions_; }

 private:
    static constexpr size_t most_pairs = 2 * most_single_steps;
    static constexpr size_t shortest_alone = 32;  // a stretch of fewer pairs joins the batch
    static_assert(shortest_alone <= most_single_steps);

    [[gnu::noinline]] RunSpan fold_stretch(size_t left, size_t left_step, size_t right, size_t right_step,
                                           const uint8_t* runs, RunSpan span) {
        const bool alone = span.elements >= shortest_alone;
        if (alone) flush();
        for (size_t at = 0; at < span.elements; at += most_pairs) {
            const size_t n = std::min(most_pairs, span.elements - at), width = mover_.width();
            const uint8_t* from_left = left_ + (left + at * left_step) * width;
            const uint8_t* from_right = right_ + (right + at * right_step) * width;
            if (!alone || left_step == 0) copy(left_batch_, from_left, left_step, n);
            if (!alone || right_step == 0) copy(right_batch_, from_right, right_step, n);
            for_cpu<widen_runs>(runs_ + n_, runs - at, n);
            if (alone)
                fold_(state_, left_step == 0 ? batch(left_batch_) : from_left,
                      right_step == 0 ? batch(right_batch_) : from_right, runs_, n);
        }
        if (!alone) join(span.elements);
        positions_ += span.positions;
        return span;
    }
    /// Accounts for pairs at the end of the batch. There is room for a row of single overlaps then, or any short
    /// stretch.
    QVO_INLINE void join(size_t n) {
        n_ += n;
        if (n_ > most_pairs - most_single_steps) flush();
    }
    void copy(uint64_t* to, const uint8_t* from, size_t step, size_t n) {
        if (step == 0)
            mover_.fill(to, n_, from, 0, n);
        else
            std::memcpy(reinterpret_cast<uint8_t*>(to) + n_ * mover_.width(), from, n * mover_.width());
    }
    static const uint8_t* batch(const uint64_t* values) { return reinterpret_cast<const uint8_t*>(values); }

    struct Row {
        uint16_t left[most_single_steps + CrossingRow<2>::slack], right[most_single_steps + CrossingRow<2>::slack];
        uint8_t run[most_single_steps + CrossingRow<2>::slack];
    };

    void* state_;
    FoldPairs fold_;
    Mover mover_;
    const uint8_t *left_, *right_, *left_runs_, *right_runs_;
    qvo_seq_count_t positions_ = 0;
    size_t n_ = 0;  // pairs of the batch
    uint64_t left_batch_[most_pairs];
    uint64_t right_batch_[most_pairs];
    int32_t runs_[most_pairs];
    Row row_;
};

template <class Mover>
QVO_INLINE QVO_RET reduce_with(Mover mover, qvo_seq_iterator_h it, void* state, qvo_seq_count_t& count, FoldPairs fold,
                               Where where) {
    const auto from = values_from(Operand::Values::anywhere, it->opd[0], it->opd[1]);
    Operand operands[] = {Operand(it->opd[0], from), Operand(it->opd[1], from)};
    FoldSink sink(state, fold, mover);
    const QVO_RET rc = walk(operands, sink, where);
    if (rc != QVO_S_CURSOR_END || sink.positions() == 0) return rc;
    sink.flush();
    count += sink.positions();
    return QVO_S_OK;
}

QVO_INLINE QVO_RET fold_tiles(qvo_seq_iterator_h operand, void* state, qvo_seq_count_t& count, FoldTile fold,
                              Where where) {
    const uint8_t* runs = runs_of(operand);
    qvo_seq_count_t positions = 0;
    bool first = true;
    for (ArrayTiles tiles(operand); tiles.next(); first = false) {
        fold(state, tiles.values(), single_runs_of_stretch(), tiles.size(), first, true);
        positions += tiles.size();
    }
    QVO_RET rc;
    while ((rc = pull_any_tile(operand, where)) == QVO_S_OK) {
        const size_t n = operand->tile_size;
        if (n == 0) continue;
        const size_t singles = leading_single_runs(runs, n);
        fold(state, values_of<uint8_t>(operand), runs, n, first, singles == n);
        first = false;
        positions += singles + sum_runs(runs - singles, n - singles);
    }
    if (rc != QVO_S_CURSOR_END || first) return rc;
    count += positions;
    return QVO_S_OK;
}

}  // namespace

QVO_RET reduce_overlaps(qvo_seq_iterator_h it, void* state, qvo_seq_count_t& count, FoldPairs fold, Where where) {
    const auto reduce = [&](auto bits) {
        return for_cpu<reduce_with<FixedMover<sizeof bits>>>(FixedMover<sizeof bits>{}, it, state, count, fold, where);
    };
    return with_unsigned(it->opd[0]->elem_size, reduce, [&] { return reduce(bits8{}); });
}

QVO_RET reduce_tiles(qvo_seq_iterator_h operand, void* state, qvo_seq_count_t& count, FoldTile fold, Where where) {
    return for_cpu<fold_tiles>(operand, state, count, fold, where);
}

}  // namespace qvo
