// What an operation makes of each value and the one before it, in one pass.
//
// An operation is a struct with `double operator()(V now, V before) const`. Within a run its result is the same everywhere
// but at the first position.
#pragma once

#include <limits>

#include "operators/scan.h"

namespace qvo::value {

template <class V, class Op> class OfNeighbours {
 public:
    using In = V;
    using Out = double;
    static unsigned written_out() { return 1; }

    void singles(const V* x, size_t n, double* results, uint64_t) {
        results[0] = first(x[0]);
        for_cpu<pairs>(x, n, results);
        before_ = x[n - 1];
    }
    static bool by_runs(unsigned run) { return run != 1; }
    void take_runs(Operand& input, const V* values, TileWriter& out, double* results) {
        const size_t n = std::min({input.elements_left(), out.room() / 2, block});
        const V* const x = values + input.index();
        double* const to = results + out.size();
        RunSpan made{};
        for (size_t i = 0; i < n; ++i) {
            const unsigned run = get_run(input.runs(), i);
            to[made.elements] = first(x[i]);
            out.set_run_ahead(made.elements, 1);
            // What is left of the run; where nothing is, the next element is written over it.
            to[made.elements + 1] = Op{}(x[i], x[i]);
            out.set_run_ahead(made.elements + 1, run - 1);
            made.elements += run == 1 ? 1 : 2;
            made.positions += run;
            before_ = x[i];
        }
        out.advance(made);
        input.skip(n);
    }

 private:
    static constexpr size_t block = 64;  // elements after which single ones may be taken together again

    double first(V x) {
        if (any_) return Op{}(x, before_);
        any_ = true;
        return std::numeric_limits<double>::quiet_NaN();
    }
    QVO_INLINE static void pairs(const V* __restrict x, size_t n, double* __restrict results) {
        for (size_t i = 1; i < n; ++i) results[i] = Op{}(x[i], x[i - 1]);
    }
    V before_ = 0;
    bool any_ = false;
};

/// Missing at the first position, which has none before it.
template <class V, class Op> Series of_neighbours(Plan& plan, const Series& x) {
    return scan<OfNeighbours<V, Op>>(plan, x, ValueType{Type::double_, sizeof(double)});
}

}  // namespace qvo::value
