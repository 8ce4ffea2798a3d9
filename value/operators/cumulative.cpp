#include "operators/cumulative.h"

#include "operators/arithmetic.h"
#include "operators/fold.h"
#include "operators/scan.h"
#include "operators/sums.h"

namespace qvo::value {
namespace {

/// What runs are taken in that have a result of their own at every position: an array of the value.
template <class Step, class V>
Taken take_each(Step& step, V x, unsigned run, auto* results, size_t room, uint64_t position) {
    V same[max_run];
    const size_t n = std::min<size_t>(run, room);
    std::fill_n(same, n, x);
    step.singles(same, n, results, position);
    return {n, static_cast<unsigned>(n)};
}

/// What the additions lose is kept and added to each result, so that the error does not grow with the length.
class DoubleSums {
 public:
    using In = double;
    using Out = double;
    static unsigned written_out() { return 16; }

    void singles(const double* x, size_t n, double* results, uint64_t) { sum_ = run(sum_, x, n, results); }
    Taken take(double x, unsigned run, double* results, size_t room, uint64_t position) {
        if (x != x || x == 0) {
            results[0] = x == x ? sum_.total() : x;
            return {1, run};
        }
        DoubleSum after = sum_;
        const auto n = static_cast<unsigned>(std::min<size_t>(run, room));
        after.add(x, n);
        if (!std::isfinite(after.high)) return take_each(*this, x, run, results, room, position);
        for_cpu<multiples>(sum_, x, n, results);
        sum_ = after;
        return {n, n};
    }

 private:
    /// None of the results waits for the one before.
    QVO_INLINE static void multiples(DoubleSum sum, double x, unsigned n, double* __restrict results) {
        for (unsigned i = 0; i < n; ++i) {
            DoubleSum here = sum;
            here.add(x * static_cast<int>(i + 1));
            results[i] = here.high + here.low;
        }
    }
    /// Blocks of finite values without a look at each, so that an addition waits for nothing but the one before.
    static DoubleSum run(DoubleSum sum, const double* __restrict x, size_t n, double* __restrict results) {
        constexpr size_t block = 64;
        for (size_t i = 0, some; i < n; i += some) {
            some = std::min(n - i, block);
            if (for_cpu<count_missing>(x + i, some) == 0) {
                const DoubleSum after = finite(sum, x + i, some, results + i);
                if (std::isfinite(after.high)) {
                    sum = after;
                    continue;
                }
            }
            sum = any(sum, x + i, some, results + i);
        }
        return sum;
    }
    static DoubleSum finite(DoubleSum sum, const double* __restrict x, size_t n, double* __restrict results) {
        for (size_t i = 0; i < n; ++i) {
            sum.add(x[i]);
            results[i] = sum.high + sum.low;
        }
        return sum;
    }
    static DoubleSum any(DoubleSum sum, const double* __restrict x, size_t n, double* __restrict results) {
        for (size_t i = 0; i < n; ++i) {
            sum.add(x[i] == x[i] ? x[i] : 0.0);
            results[i] = x[i] == x[i] ? sum.total() : x[i];
        }
        return sum;
    }
    DoubleSum sum_;
};

class IntegerSums {
 public:
    using In = int64_t;
    using Out = int64_t;
    static unsigned written_out() { return 16; }

    void singles(const int64_t* x, size_t n, int64_t* results, uint64_t position) {
        int64_t sum = sum_, failed = 0;
        for (size_t i = 0; i < n; ++i) {
            failed |= CheckedAdd{}(sum, x[i], results[i]) ? -1 : 0;
            sum = results[i];
        }
        if (failed != 0) fail(x, position);
        sum_ = sum;
    }
    Taken take(int64_t x, unsigned run, int64_t* results, size_t room, uint64_t position) {
        if (x == 0) {
            results[0] = sum_;
            return {1, run};
        }
        const auto n = static_cast<unsigned>(std::min<size_t>(run, room));
        int64_t sum = 0;
        if (CheckedMultiply{}(x, int64_t{n}, sum) || CheckedAdd{}(sum_, sum, sum))
            return take_each(*this, x, run, results, room, position);
        for (unsigned i = 0; i < n; ++i) results[i] = sum_ + x * (i + 1);
        sum_ = sum;
        return {n, n};
    }

 private:
    [[noreturn]] void fail(const int64_t* x, uint64_t position) const {
        int64_t sum = sum_;
        size_t i = 0;
        while (!CheckedAdd{}(sum, x[i], sum)) ++i;
        throw Error(Fault::overflow, std::string(does_not_fit_int8) + " at position " + std::to_string(position + i));
    }
    int64_t sum_ = 0;
};

class Products {
 public:
    using In = double;
    using Out = double;
    static unsigned written_out() { return 16; }

    void singles(const double* x, size_t n, double* results, uint64_t) {
        double product = product_;
        for (size_t i = 0; i < n; ++i) {
            product *= x[i] == x[i] ? x[i] : 1.0;
            results[i] = x[i] == x[i] ? product : x[i];
        }
        product_ = product;
    }
    Taken take(double x, unsigned run, double* results, size_t room, uint64_t position) {
        const double last = product_ * x;
        // Nothing changes any more: a factor of 1, or a product of 0, or an infinite one that keeps its sign.
        if (x == x && (last != product_ || last * x != last)) return take_each(*this, x, run, results, room, position);
        results[0] = last;
        if (x == x) product_ = last;
        return {1, run};
    }

 private:
    double product_ = 1;
};

template <class V, bool largest> class Extremes {
 public:
    using In = V;
    using Out = V;
    static unsigned written_out() { return 0; }

    void singles(const V* x, size_t n, V* results, uint64_t) {
        size_t i = 0;
        for (; i < n && !any_; ++i) take(x[i], 1, results + i, 1, 0);
        V best = best_;
        for (; i < n; ++i) {
            best = beats(x[i], best) ? x[i] : best;
            results[i] = x[i] == x[i] ? best : x[i];
        }
        best_ = best;
    }
    Taken take(V x, unsigned run, V* results, size_t, uint64_t) {
        if (x == x) best_ = !any_ || beats(x, best_) ? x : best_;
        any_ |= x == x;
        results[0] = x == x ? best_ : x;
        return {1, run};
    }

 private:
    QVO_INLINE static bool beats(V a, V b) { return largest ? a > b : a < b; }
    V best_ = 0;
    bool any_ = false;
};

template <bool largest> Series extremes(Plan& plan, const Series& x) {
    return with_fixed(
        x.type.type, [&](auto tag) { return scan<Extremes<typename decltype(tag)::value, largest>>(plan, x, x.type); });
}

}  // namespace

Series cumulative_sum(Plan& plan, const Series& x) {
    if (x.type.type == Type::int8) return scan<IntegerSums>(plan, x, x.type);
    return scan<DoubleSums>(plan, x, x.type);
}
Series cumulative_product(Plan& plan, const Series& x) { return scan<Products>(plan, x, x.type); }
Series cumulative_max(Plan& plan, const Series& x) { return extremes<true>(plan, x); }
Series cumulative_min(Plan& plan, const Series& x) { return extremes<false>(plan, x); }

}  // namespace qvo::value
