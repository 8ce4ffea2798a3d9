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
    else if (!expand(operands, 0, batch) && !expand(operands, 1, batch))
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

/// Where one side has runs of 1 and the other long ones: those as they lie, and of the other each position.
bool PairWalk::expand(Operand* operands, size_t single, PairBatch& batch) {
    constexpr size_t few = 32, looked_at = 8, long_run = 16;
    Operand &ones = operands[single], &other = operands[1 - single];
    const size_t n = leading_single_runs(ones.runs(), std::min(ones.elements_left(), Gathered::most));
    const size_t ahead = std::min(other.elements_left(), looked_at);
    if (n < few || sum_runs(other.runs(), ahead) < ahead * long_run) return false;
    batch.n = gathered_[1 - single].expand(other, n);
    batch.first_run = ones.runs();
    const uint8_t* const lying = series_[single].it->tile.u.arr_uint1 + ones.index() * series_[single].type.width;
    const void* const expanded = gathered_[1 - single].values();
    batch.a = single == 0 ? lying : expanded;
    batch.b = single == 0 ? expanded : lying;
    ones.skip(batch.n);
    return true;
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
