// Operators that go along one sequence and carry something from position to position: running sums, windows, fills.
//
// A scan is a step, a class that takes the input in order and writes results; the walk around it cuts the input. A step
// has the value types `In` and `Out` and
//   void singles(const In* x, size_t n, Out* results, uint64_t position)   n elements of run 1, one result for each
//   Taken take(In x, unsigned run, Out* results, size_t room, uint64_t position)   up to `run` positions of one value
// `take` writes at most `room` elements: either one for all the positions that it took, or one for each of them.
// Where results have no runs, taking runs one by one does not pay if they are short: up to a mean run that the step names
// (`written_out`, 0 for never, or not for now) `singles` gets them written out. A step whose results have runs may have
//   bool by_runs(unsigned run)   whether it takes what comes next, first an element of that run, itself:
//   void take_runs(Operand& input, const In* values, TileWriter& out, Out* results)   some of it, at least one element
// One that takes all runs but those of 1 so has no `take`.
#pragma once

#include <memory>

#include "core/tile.h"
#include "evaluate/plan.h"

namespace qvo::value {

struct Taken {
    size_t elements;
    unsigned positions;
};

template <class Step> class Scan final : public Operator {
    using In = typename Step::In;
    using Out = typename Step::Out;

 public:
    template <class... Settings>
    explicit Scan(const Series& x, Settings&&... settings) : x_(x), step_(std::forward<Settings>(settings)...) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        Operand input(x_.it, Operand::Values::anywhere);
        TileWriter out(it, capacity_of(sizeof(Out)));
        QVO_RET rc = QVO_S_OK;
        const size_t spare = step_.written_out() != 0 ? most_spare : 0;
        while (out.room() > spare) {
            if (rc = input.refill(Where::here()); rc != QVO_S_OK) break;
            if constexpr (takes_runs)
                if (step_.by_runs(input.run())) {
                    step_.take_runs(input, values_in(input), out, values_of<Out>(it));
                    continue;
                }
            const size_t most = std::min(out.room(), input.elements_left());
            const size_t singles = input.run() != 1 ? 0 : leading_single_runs(input.runs(), most);
            const uint64_t position = it->next_seq_no + out.positions();
            if (singles != 0)
                take_singles(it, input, out, singles, position);
            else if constexpr (takes_each)
                if (!write_out(it, input, out, position)) take_run(it, input, out, position);
        }
        input.leave();
        return out.finish(rc);
    }

 private:
    static constexpr size_t block = 64;       // elements whose runs are looked at together
    static constexpr unsigned short_run = 4;  // of what is written without a look at the run
    static constexpr size_t most_spare = 16;  // a tile is not filled to the last where that would cut up short runs
    static constexpr bool takes_runs = requires(Step step) { step.by_runs(1); };
    static constexpr bool takes_each = requires(Step step, In x, Out* results) { step.take(x, 1, results, 1, 0); };

    static const In* values_in(const Operand& input) { return reinterpret_cast<const In*>(input.values()); }

    void take_singles(qvo_seq_iterator_h it, Operand& input, TileWriter& out, size_t n, uint64_t position) {
        step_.singles(values_in(input) + input.index(), n, values_of<Out>(it) + out.size(), position);
        out.put_equal_runs(n, 1);
        input.skip(n);
    }
    bool write_out(qvo_seq_iterator_h it, Operand& input, TileWriter& out, uint64_t position) {
        const unsigned mean_run = step_.written_out();
        if (input.taken() != 0 || input.run() > mean_run) return false;
        const size_t n = std::min(block, input.elements_left());
        if (sum_runs(input.runs(), n) > mean_run * n) return false;
        In written[capacity_of(sizeof(Out)) + short_run];
        const In* const x = values_in(input) + input.index();
        size_t i = 0, k = 0;
        for (; i < n; ++i) {
            const unsigned run = get_run(input.runs(), i);
            if (k + run > out.room()) break;
            std::fill_n(written + k, short_run, x[i]);
            if (run > short_run) std::fill_n(written + k, run, x[i]);
            k += run;
        }
        if (k == 0) return false;
        step_.singles(written, k, values_of<Out>(it) + out.size(), position);
        out.put_equal_runs(k, 1);
        input.skip(i);
        return true;
    }
    void take_run(qvo_seq_iterator_h it, Operand& input, TileWriter& out, uint64_t position) {
        const In x = values_in(input)[input.index()];
        const Taken taken = step_.take(x, input.run_left(), values_of<Out>(it) + out.size(), out.room(), position);
        if (taken.elements == 1)
            out.put_run(taken.positions);
        else
            out.put_equal_runs(taken.elements, 1);
        input.take(taken.positions);
    }

    Series x_;
    Step step_;
};

/// A result of a type for every position of x, whose values are those that the step takes.
template <class Step, class... Settings>
Series scan(Plan& plan, const Series& x, ValueType type, Settings&&... settings) {
    return plan.make<Scan<Step>>(type, x.length, x, std::forward<Settings>(settings)...);
}

}  // namespace qvo::value
