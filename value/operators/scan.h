// Operators that go along one sequence and carry something from position to position: running sums, windows, fills.
//
// A scan is a step, a class that takes the input in order and writes results; the walk around it cuts the input. A step
// has the value types `In` and `Out` and
//   void singles(const In* x, size_t n, Out* results, uint64_t position)   n elements of run 1, one result for each
//   Taken take(In x, unsigned run, Out* results, size_t room, uint64_t position)   up to `run` positions of one value
// `take` writes at most `room` elements: either one for all the positions that it took, or one for each of them.
// Where most runs are short, and results have none (`Step::expands`), `singles` gets them written out.
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
        Operand input(x_.it);
        TileWriter out(it, capacity_of(sizeof(Out)));
        QVO_RET rc = QVO_S_OK;
        while (out.room() > spare) {
            if (rc = input.refill(Where::here()); rc != QVO_S_OK) break;
            const size_t most = std::min(out.room(), input.elements_left());
            const size_t singles = input.taken() != 0 ? 0 : leading_single_runs(input.runs(), most);
            const uint64_t position = it->next_seq_no + out.positions();
            if (singles != 0)
                take_singles(it, input, out, singles, position);
            else if (!Step::expands || !take_short_runs(it, input, out, position))
                take_run(it, input, out, position);
        }
        input.store();
        return out.finish(rc);
    }

 private:
    static constexpr size_t block = 64;       // elements whose runs are looked at together
    static constexpr unsigned short_run = 4;  // a mean run up to which positions are taken one by one
    // A tile is not filled to the last where that would cut up a short run.
    static constexpr size_t spare = Step::expands ? short_run : 0;

    const In* values() const { return values_of<In>(x_.it); }

    void take_singles(qvo_seq_iterator_h it, Operand& input, TileWriter& out, size_t n, uint64_t position) {
        step_.singles(values() + input.index(), n, values_of<Out>(it) + out.size(), position);
        out.put_equal_runs(n, 1);
        input.skip(n);
    }
    bool take_short_runs(qvo_seq_iterator_h it, Operand& input, TileWriter& out, uint64_t position) {
        if (input.taken() != 0) return false;
        const size_t n = std::min({block, input.elements_left(), out.room() / short_run});
        if (sum_runs(input.runs(), n) > short_run * n) return false;
        In expanded[short_run * block + short_run];
        const In* const x = values() + input.index();
        In* to = expanded;
        for (size_t i = 0; i < n; ++i) {
            const unsigned run = get_run(input.runs(), i);
            std::fill_n(to, short_run, x[i]);  // most often that is enough
            if (run > short_run) std::fill_n(to, run, x[i]);
            to += run;
        }
        const size_t k = static_cast<size_t>(to - expanded);
        step_.singles(expanded, k, values_of<Out>(it) + out.size(), position);
        out.put_equal_runs(k, 1);
        input.skip(n);
        return true;
    }
    void take_run(qvo_seq_iterator_h it, Operand& input, TileWriter& out, uint64_t position) {
        const In x = values()[input.index()];
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
