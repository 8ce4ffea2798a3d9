#include "operators/pair_walk.h"

#include "evaluate/source.h"

namespace qvo::value {

PairWalk::PairWalk(Plan& plan, const Series& a, const Series& b)
    : plan_(plan), series_{a, b}, gathered_{Gathered(a.type.width), Gathered(b.type.width)} {
    common_length(series_);
    std::memset(runs_, 0, sizeof runs_);
}

bool PairWalk::next(PairBatch& batch) {
    plan_.poll();
    Operand operands[2] = {Operand(series_[0].it), Operand(series_[1].it)};
    if (const QVO_RET rc = refill_both(operands[0], operands[1], Where::here()); rc != QVO_S_OK) {
        if (rc != QVO_S_CURSOR_END) plan_.fail(rc);
        check_equal_lengths(plan_, series_);
        return false;
    }
    if (const RunSpan span = lined_up<2>(operands, capacity_of(1)); span.elements != 0)
        line_up(operands, span, batch);
    else
        overlaps(operands, batch);
    operands[0].store();
    operands[1].store();
    return true;
}

void PairWalk::line_up(Operand* operands, RunSpan span, PairBatch& batch) const {
    const auto elements = [&](size_t k) {
        return series_[k].it->tile.u.arr_uint1 + operands[k].index() * series_[k].type.width;
    };
    batch = {elements(0), elements(1), operands[0].runs(), span.elements};
    operands[0].skip(span.elements);
    operands[1].skip(span.elements);
}

void PairWalk::overlaps(Operand* operands, PairBatch& batch) {
    list_.collect(operands);
    const size_t n = list_.n;
    uint8_t* const first_run = runs_ + sizeof runs_ - 1;
    for (size_t i = 0; i < n; ++i) set_run(first_run, i, list_.run[i]);
    batch = {gathered_[0].gather(series_[0].it, list_.index[0], n),
             gathered_[1].gather(series_[1].it, list_.index[1], n), first_run, n};
}

}  // namespace qvo::value
