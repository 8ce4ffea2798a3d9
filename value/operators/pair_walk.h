// Two series side by side, for whoever works on pairs of values: element k of both, and for how many positions they
// share them. Where runs line up the arrays are those of the tiles themselves.
#pragma once

#include "evaluate/plan.h"
#include "operators/overlaps.h"

namespace qvo::value {

/// Elements of both sides. The positions that the i-th ones share are first_run[-i], as the runs of tiles lie.
struct PairBatch {
    const void* a = nullptr;
    const void* b = nullptr;
    const uint8_t* first_run = nullptr;
    size_t n = 0;
};

class PairWalk {
 public:
    /// Neither may be a constant.
    PairWalk(Plan& plan, const Series& a, const Series& b);

    /// The next elements, valid until the next call. False where one side ends: an error if the other does not.
    bool next(PairBatch& batch);

 private:
    void line_up(Operand* operands, RunSpan span, PairBatch& batch) const;
    bool expand(Operand* operands, size_t single, PairBatch& batch);
    void overlaps(Operand* operands, PairBatch& batch);

    Plan& plan_;
    Series series_[2];
    Gathered gathered_[2];
    OverlapList<2> list_;
    uint8_t runs_[run_block + OverlapList<2>::most];  // run bytes are read in blocks, beyond the last one
};

/// Calls take(a, b, first_run, n) for all pairs of two series.
template <class A, class B, class Take> void for_each_pair(Plan& plan, const Series& a, const Series& b, Take take) {
    PairWalk walk(plan, a, b);
    for (PairBatch batch; walk.next(batch);)
        take(static_cast<const A*>(batch.a), static_cast<const B*>(batch.b), batch.first_run, batch.n);
}

}  // namespace qvo::value
