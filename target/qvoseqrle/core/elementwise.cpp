// What element-wise operators have in common: the walk over their operands, and the runs of the result.
#include "core/elementwise.h"

#include "core/move.h"

namespace qvo {
namespace {

/// Sink of a walk that leaves the values to the member's loops. Single steps are collected, so that a stretch of
/// crossing runs costs one call too.
template <size_t N> class LoopSink {
 public:
    /// The steps of a row, and its runs if they do not go into the tile one by one.
    struct Row {
        static constexpr size_t most = 256;
        uint16_t index[N][most + CrossingRow<N>::slack];
        uint8_t run[most + CrossingRow<N>::slack];
    };

    QVO_INLINE LoopSink(qvo_seq_iterator_h it, TileWriter& out, const Loops<N>& loops, Row& row)
        : it_(it), out_(out), loops_(loops), row_(row) {}

    QVO_INLINE size_t room() const { return out_.room(); }
    QVO_INLINE size_t reach() const { return out_.room(); }
    QVO_INLINE QVO_RET look(const Operand (&operands)[N]) {
        each<N>([&](auto k) __attribute__((always_inline)) {
            values_[k] = operands[k].values();
            runs_[k] = operands[k].first_run();
        });
        return QVO_S_OK;
    }
    template <unsigned Set> QVO_INLINE RunSpan stretch(Moving<Set>, At<N> at, RunSpan span) {
        const auto values = values_;  // so that nobody else knows of the sink, which then stays in registers
        loops_.stretch[Set](it_, out_.size(), values, at, span.elements);
        const uint8_t* const runs = runs_[first_moving<Set>];
        if (runs == single_runs_of_stretch())
            out_.put_equal_runs(span.elements, 1);
        else
            out_.put_runs(runs - at[first_moving<Set>], span);
        return span;
    }
    QVO_INLINE void one(size_t i, At<N> at, unsigned run) {
        each<N>([&](auto k) __attribute__((always_inline)) { row_.index[k][i] = static_cast<uint16_t>(at[k]); });
        out_.set_run_ahead(i, run);
    }
    QVO_INLINE void end_singles(RunSpan span) {
        const auto values = values_;
        loops_.singles(it_, out_.size(), values, steps(), span.elements);
        out_.advance(span);
    }
    QVO_INLINE CrossingRow<N> crossing_row() {
        CrossingRow<N> row{{}, row_.run, Row::most};
        each<N>([&](auto k) __attribute__((always_inline)) { row.index[k] = row_.index[k]; });
        return row;
    }
    QVO_INLINE void end_crossings(RunSpan span) {
        put_in_tile(runs_of(it_) - out_.size(), row_.run, span.elements);
        end_singles(span);
    }

 private:
    QVO_INLINE typename Loops<N>::Steps steps() const {
        typename Loops<N>::Steps steps;
        each<N>([&](auto k) __attribute__((always_inline)) { steps.index[k] = row_.index[k]; });
        return steps;
    }

    qvo_seq_iterator_h it_;
    TileWriter& out_;
    const Loops<N>& loops_;
    Row& row_;
    typename Loops<N>::Values values_;
    const uint8_t* runs_[N];
};

template <class Rule, size_t N, size_t... Slot>
QVO_INLINE QVO_RET loops_over(qvo_seq_iterator_h it, const Loops<N>& loops, Where where, std::index_sequence<Slot...>) {
    const auto from = values_from(loops.from, it->opd[Slot]...);
    Operand operands[] = {Operand(it->opd[Slot], from)...};
    TileWriter out(it);
    typename LoopSink<N>::Row row;
    LoopSink<N> sink(it, out, loops, row);
    return out.finish(walk<Rule>(operands, sink, where));
}
template <class Rule, size_t N>
QVO_INLINE QVO_RET loops_next(qvo_seq_iterator_h it, const Loops<N>& loops, Where where) {
    return loops_over<Rule>(it, loops, where, std::make_index_sequence<N>{});
}

QVO_INLINE QVO_RET unary_next(qvo_seq_iterator_h it, UnaryLoop loop, Where where, Operand::Values from) {
    Operand input(it->opd[0], from);
    TileWriter out(it, capacity_of(it->elem_size));
    return out.finish(walk_elements(
        input, out, where, [&](size_t index, size_t n) __attribute__((always_inline)) {
            loop(it, out.size(), input.values(), index, n);
            input.single() ? out.put_equal_runs(n, 1) : out.put_runs(input.first_run() - index, n);
        }));
}

}  // namespace

QVO_RET overlap_next(qvo_seq_iterator_h it, const Loops<2>& loops, Where where) {
    return for_cpu<loops_next<RunsLeft, 2>>(it, loops, where);
}
QVO_RET overlap_next(qvo_seq_iterator_h it, const Loops<3>& loops, Where where) {
    return for_cpu<loops_next<RunsLeft, 3>>(it, loops, where);
}
QVO_RET whole_run_next(qvo_seq_iterator_h it, const Loops<3>& loops, Where where) {
    return for_cpu<loops_next<WholeRuns, 3>>(it, loops, where);
}
QVO_RET elements_next(qvo_seq_iterator_h it, UnaryLoop loop, Where where, Operand::Values from) {
    return for_cpu<unary_next>(it, loop, where, from);
}

void copy_loop(qvo_seq_iterator_h it, size_t to, const uint8_t* values, size_t from, size_t n) {
    const size_t width = it->elem_size;
    std::memcpy(values_of<uint8_t>(it) + to * width, values + from * width, n * width);
}

}  // namespace qvo
