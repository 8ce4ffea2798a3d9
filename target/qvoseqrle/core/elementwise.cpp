// What element-wise operators have in common: the walk over their operands, and the runs of the result.
#include "core/elementwise.h"

#include "core/move.h"
#include "core/overlap.h"

namespace qvo {
namespace {

/// Sink of walk_overlaps that leaves the values to the member's loops. Single overlaps are collected, so that a
/// stretch of crossing runs costs one call too.
class LoopSink {
 public:
    struct Pairs {
        uint16_t left[most_single_steps];
        uint16_t right[most_single_steps];
    };

    QVO_INLINE LoopSink(qvo_seq_iterator_h it, TileWriter& out, const BinaryLoops& loops, Pairs& pairs)
        : it_(it),
          out_(out),
          loops_(loops),
          pairs_(pairs),
          left_runs_(runs_of(it->opd[0])),
          right_runs_(runs_of(it->opd[1])) {}

    QVO_INLINE size_t room() const { return out_.room(); }
    QVO_INLINE size_t reach() const { return out_.room(); }
    QVO_INLINE RunSpan lockstep(size_t left, size_t right, RunSpan span) {
        loops_.arrays(it_, out_.size(), left, right, span.elements);
        out_.put_runs(left_runs_ - left, span);
        return span;
    }
    QVO_INLINE RunSpan many_left(size_t left, size_t right, RunSpan span) {
        loops_.many_left(it_, out_.size(), left, right, span.elements);
        out_.put_runs(left_runs_ - left, span);
        return span;
    }
    QVO_INLINE RunSpan many_right(size_t left, size_t right, RunSpan span) {
        loops_.many_right(it_, out_.size(), left, right, span.elements);
        out_.put_runs(right_runs_ - right, span);
        return span;
    }
    QVO_INLINE void one(size_t k, size_t left, size_t right, unsigned run) {
        pairs_.left[k] = static_cast<uint16_t>(left);
        pairs_.right[k] = static_cast<uint16_t>(right);
        out_.set_run_ahead(k, run);
    }
    QVO_INLINE void end_singles(RunSpan span) {
        loops_.pairs(it_, out_.size(), pairs_.left, pairs_.right, span.elements);
        out_.advance(span);
    }

 private:
    qvo_seq_iterator_h it_;
    TileWriter& out_;
    const BinaryLoops& loops_;
    Pairs& pairs_;
    const uint8_t* left_runs_;
    const uint8_t* right_runs_;
};

}  // namespace

QVO_CPU_VARIANTS QVO_RET overlap_next(qvo_seq_iterator_h it, const BinaryLoops& loops, Where where) {
    Operand left(it->opd[0]), right(it->opd[1]);
    TileWriter out(it, capacity_of(it->elem_size));
    LoopSink::Pairs pairs;
    LoopSink sink(it, out, loops, pairs);
    return out.finish(walk_overlaps(left, right, sink, where));
}

QVO_CPU_VARIANTS QVO_RET elements_next(qvo_seq_iterator_h it, UnaryLoop loop, Where where) {
    Operand input(it->opd[0]);
    TileWriter out(it, capacity_of(it->elem_size));
    const uint8_t* runs = runs_of(it->opd[0]);
    return out.finish(walk_elements(
        input, out, where, [&](size_t index, size_t n) __attribute__((always_inline)) {
            loop(it, out.size(), index, n);
            out.put_runs(runs - index, n);
        }));
}

void copy_loop(qvo_seq_iterator_h it, size_t to, size_t from, size_t n) { copy_values(it, to, it->opd[0], from, n); }

}  // namespace qvo
