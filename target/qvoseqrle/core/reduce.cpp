// Pulling the operands of aggregates: the same for all of them.
#include "core/reduce.h"

#include "core/overlap.h"

namespace qvo {
namespace {

/// Sink of walk_overlaps that leaves the pairs to the reducer's loops.
class FoldSink {
 public:
    QVO_INLINE FoldSink(qvo_seq_iterator_h it, void* state, const FoldPairs& fold)
        : it_(it), state_(state), fold_(fold), left_runs_(runs_of(it->opd[0])), right_runs_(runs_of(it->opd[1])) {}

    QVO_INLINE static size_t room() { return SIZE_MAX; }
    QVO_INLINE static size_t reach() { return SIZE_MAX; }
    QVO_INLINE RunSpan lockstep(size_t left, size_t right, RunSpan span) {
        return stretch(left, 1, right, 1, left_runs_ - left, span);
    }
    QVO_INLINE RunSpan many_left(size_t left, size_t right, RunSpan span) {
        return stretch(left, 1, right, 0, left_runs_ - left, span);
    }
    QVO_INLINE RunSpan many_right(size_t left, size_t right, RunSpan span) {
        return stretch(left, 0, right, 1, right_runs_ - right, span);
    }
    QVO_INLINE void one(size_t k, size_t left, size_t right, unsigned run) {
        left_[k] = static_cast<uint16_t>(left);
        right_[k] = static_cast<uint16_t>(right);
        runs_[k] = static_cast<uint8_t>(run);
    }
    QVO_INLINE void end_singles(RunSpan span) {
        fold_.list(state_, it_, left_, right_, runs_, span.elements);
        positions_ += span.positions;
    }
    qvo_seq_count_t positions() const { return positions_; }

 private:
    QVO_INLINE RunSpan stretch(size_t left, size_t left_step, size_t right, size_t right_step, const uint8_t* runs,
                               RunSpan span) {
        fold_.stretch(state_, it_, left, left_step, right, right_step, runs, span.elements);
        positions_ += span.positions;
        return span;
    }

    qvo_seq_iterator_h it_;
    void* state_;
    const FoldPairs& fold_;
    const uint8_t* left_runs_;
    const uint8_t* right_runs_;
    qvo_seq_count_t positions_ = 0;
    uint16_t left_[most_single_steps];
    uint16_t right_[most_single_steps];
    uint8_t runs_[most_single_steps];
};

}  // namespace

QVO_CPU_VARIANTS QVO_RET reduce_overlaps(qvo_seq_iterator_h it, void* state, qvo_seq_count_t& count,
                                         const FoldPairs& fold, Where where) {
    Operand left(it->opd[0]), right(it->opd[1]);
    FoldSink sink(it, state, fold);
    const QVO_RET rc = walk_overlaps(left, right, sink, where);
    if (rc != QVO_S_CURSOR_END || sink.positions() == 0) return rc;
    count += sink.positions();
    return QVO_S_OK;
}

QVO_CPU_VARIANTS QVO_RET reduce_tiles(qvo_seq_iterator_h operand, void* state, qvo_seq_count_t& count, FoldTile fold) {
    const uint8_t* runs = runs_of(operand);
    qvo_seq_count_t positions = 0;
    QVO_RET rc;
    while ((rc = operand->next(operand)) == QVO_S_OK) {
        const size_t n = operand->tile_size;
        if (n == 0) continue;
        const size_t singles = leading_single_runs(runs, n);
        fold(state, operand, positions == 0, singles == n);
        positions += singles + sum_runs(runs - singles, n - singles);
    }
    if (rc != QVO_S_CURSOR_END || positions == 0) return rc;
    count += positions;
    return QVO_S_OK;
}

}  // namespace qvo
