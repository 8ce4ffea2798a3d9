#include "operators/smoothing.h"

#include <algorithm>
#include <cmath>

#include "operators/fold.h"
#include "operators/scan.h"
#include "operators/sums.h"

namespace qvo::value {
namespace {

class Mean {
 public:
    Mean(double alpha, uint64_t seed)
        : alpha_(alpha), decay_(1.0 - alpha), seed_(static_cast<double>(seed)), left_(seed) {
        double power = 1;
        for (double& p : powers_) p = power *= decay_;
    }

    double mean() const { return mean_; }
    /// True if every value moves the mean by alpha: it has been seeded, and no value was missing before the next one.
    bool running() const { return left_ == 0 && weight_ == 1.0; }

    double next(double x) {
        if (!is_present(x)) {
            skip(1);
        } else if (left_ != 0) {
            seeds_.add(x);
            if (--left_ == 0) mean_ = seed_ == 1.0 ? x : seeds_.total() / seed_;
        } else {
            const double before = weight_ * decay_;
            // A constant stays as it is.
            if (mean_ != x) mean_ = (before * mean_ + alpha_ * x) / (before + alpha_);
            weight_ = 1;
        }
        return mean_;
    }
    void skip(unsigned missing_values) {
        if (left_ == 0) weight_ *= share_after(missing_values);
    }
    /// The share that is left of the mean after n zeros, while running.
    double share_after(unsigned n) const {
        return n <= most_powers       ? powers_[n - 1]
               : n <= 2 * most_powers ? powers_[most_powers - 1] * powers_[n - most_powers - 1]
                                      : std::pow(decay_, n);
    }
    void scale(double share) { mean_ *= share; }

    static constexpr size_t block = 8, most_at_once = 16 * block;  // values: one that is missing slows down the others
    /// Blocks while running, of values none of which is missing; if `keeps_constants`, up to one that begins with the mean
    /// itself, as a constant stays as it is. Each mean is a power of the decay times the mean before the block and what the
    /// block itself adds, so that blocks wait for each other once, not at every value. Returns how many values that were.
    template <bool keeps_constants>
    QVO_INLINE static size_t next_blocks(Mean& mean, const double* x, size_t n, double* means) {
        Block powers;
        std::memcpy(&powers, mean.powers_, sizeof powers);
        const Block none{};
        double last = mean.mean_;
        size_t i = 0;
        for (; i + block <= n && (!keeps_constants || x[i] != last); i += block) {
            Block added;
            std::memcpy(&added, x + i, sizeof added);
            // The shares of one value, of two neighbours, of four, of all eight.
            added *= mean.alpha_;
            added += powers[0] * __builtin_shufflevector(none, added, 0, 8, 9, 10, 11, 12, 13, 14);
            added += powers[1] * __builtin_shufflevector(none, added, 0, 0, 8, 9, 10, 11, 12, 13);
            added += powers[3] * __builtin_shufflevector(none, added, 0, 0, 0, 0, 8, 9, 10, 11);
            added += powers * last;
            std::memcpy(means + i, &added, sizeof added);
            last = added[block - 1];
        }
        mean.mean_ = last;
        return i;
    }
    /// n values x while running.
    void repeat(double x, size_t n, double* means) {
        for (size_t i = 0; i < n;) {
            const size_t here = std::min(n - i, most_powers);
            const double apart = mean_ - x;
            for (size_t k = 0; k < here; ++k) means[i + k] = x + powers_[k] * apart;
            mean_ = means[(i += here) - 1];
        }
    }

 private:
    typedef double Block __attribute__((vector_size(block * sizeof(double))));
    static constexpr size_t most_powers = 64;
    double alpha_, decay_, seed_;
    uint64_t left_;  // values that the seed still needs
    DoubleSum seeds_;
    double mean_ = missing, weight_ = 1;  // weight: of the mean, before the decay of the next position
    double powers_[most_powers];
};

class Smoothing {
 public:
    using In = double;
    using Out = double;
    static unsigned written_out() { return 16; }

    Smoothing(double alpha, uint64_t seed) : mean_(alpha, seed) {}

    void singles(const double* x, size_t n, double* results, uint64_t) { mean_ = run(mean_, x, n, results); }
    Taken take(double x, unsigned run, double* results, size_t room, uint64_t) {
        if (!is_present(x)) {
            mean_.skip(run);
            results[0] = mean_.mean();
            return {1, run};
        }
        if (!mean_.running()) {
            results[0] = mean_.next(x);
            return {1, 1};
        }
        if (mean_.mean() == x) {
            results[0] = x;
            return {1, run};
        }
        const size_t n = std::min<size_t>(run, room);
        mean_.repeat(x, n, results);
        return {n, static_cast<unsigned>(n)};
    }

 private:
    static Mean run(Mean mean, const double* __restrict x, size_t n, double* __restrict results) {
        for (size_t i = 0; i < n;) {
            const size_t here = std::min(n - i, Mean::most_at_once);
            size_t taken = 0;
            if (mean.running() && for_cpu<count_missing>(x + i, here) == 0)
                taken = for_cpu<Mean::next_blocks<true>, CpuLevel::avx512>(mean, x + i, here, results + i);
            for (const size_t end = std::min(here, taken + Mean::block); taken < end; ++taken)
                results[i + taken] = mean.next(x[i + taken]);
            i += taken;
        }
        return mean;
    }
    Mean mean_;
};

class Strength {
 public:
    using In = double;
    using Out = double;
    static unsigned written_out() { return 16; }

    explicit Strength(uint64_t n) : rises_(1.0 / static_cast<double>(n), n), falls_(1.0 / static_cast<double>(n), n) {}

    void singles(const double* d, size_t n, double* results, uint64_t) {
        for (size_t i = 0; i < n;) {
            const size_t here = std::min(n - i, Mean::most_at_once);
            size_t taken = 0;
            if (rises_.running() && rises_.mean() + falls_.mean() > 1e-200 && for_cpu<count_missing>(d + i, here) == 0)
                taken = for_cpu<next_blocks, CpuLevel::avx512>(*this, d + i, here, results + i);
            if (taken != 0) strength_ = results[i + taken - 1];
            for (; taken < here; ++taken) results[i + taken] = next(d[i + taken]);
            i += here;
        }
    }
    Taken take(double d, unsigned run, double* results, size_t room, uint64_t) {
        if (stays(d, run)) {
            results[0] = strength_;
            return {1, run};
        }
        const size_t n = std::min<size_t>(run, room);
        for (size_t i = 0; i < n; ++i) results[i] = next(d);
        return {n, static_cast<unsigned>(n)};
    }

 private:
    /// Whole blocks of both means, which are far from too small.
    QVO_INLINE static size_t next_blocks(Strength& strength, const double* d, size_t n, double* __restrict results) {
        double rises[Mean::most_at_once], falls[Mean::most_at_once];
        for (size_t i = 0; i < n; ++i) {
            rises[i] = d[i] > 0 ? d[i] : 0.0;
            falls[i] = d[i] < 0 ? -d[i] : 0.0;
        }
        const size_t taken = Mean::next_blocks<false>(strength.rises_, rises, n, rises);
        Mean::next_blocks<false>(strength.falls_, falls, n, falls);
        for (size_t i = 0; i < taken; ++i) results[i] = 100.0 * rises[i] / (rises[i] + falls[i]);
        return taken;
    }
    /// Both means shrink alike, and the strength stays; but not so far that their ratio would suffer: they are as good as
    /// nothing then beside any movement to come.
    void stand_still(unsigned n) {
        const double share = rises_.share_after(n);
        if (share == 0) strength_ = missing;  // over one difference: nothing is left of both
        if (share != 0 && (rises_.mean() + falls_.mean()) * share < 1e-280) return;
        rises_.scale(share);
        falls_.scale(share);
    }
    /// Takes n differences that leave the strength as it is, if they do: none there, or no movement.
    bool stays(double d, unsigned n) {
        if (!is_present(d)) {
            rises_.skip(n);
            falls_.skip(n);
            return true;
        }
        if (d != 0 || !rises_.running()) return false;
        stand_still(n);
        return true;
    }
    double next(double d) {
        if (stays(d, 1)) return strength_;
        const double rise = rises_.next(std::max(d, 0.0)), fall = falls_.next(std::max(-d, 0.0));
        return strength_ = 100.0 * rise / (rise + fall);
    }
    Mean rises_, falls_;
    double strength_ = missing;  // the latest
};

}  // namespace

Series smoothed(Plan& plan, const Series& x, double alpha, uint64_t seed) {
    return scan<Smoothing>(plan, x, x.type, alpha, seed);
}
Series relative_strength(Plan& plan, const Series& differences, uint64_t n) {
    return scan<Strength>(plan, differences, differences.type, n);
}

}  // namespace qvo::value
