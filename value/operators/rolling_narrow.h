// Narrow windows: each is folded anew, many at a time.
#pragma once

#include <algorithm>
#include <iterator>
#include <span>

#include "operators/rolling.h"
#include "operators/rolling_loops.h"
#include "operators/scan.h"

namespace qvo::value {

/// What came before the first position is missing.
template <class S> class RollingNarrow {
    using Fold = typename S::Fold;
    static constexpr bool doubles = std::is_same_v<typename Fold::Value, double>;

 public:
    using In = double;
    using Out = double;
    // Up to here it is cheaper.
    static constexpr size_t widest = doubles ? 48 : 24;
    static unsigned written_out() { return 16; }
    static constexpr size_t beyond = doubles ? 0 : 16;  // positions that loops may go beyond the last

    RollingNarrow(Plan&, Window window)
        : n_(window.positions), required_(static_cast<double>(std::max<uint64_t>(window.min_periods, S::least))) {
        std::fill(std::begin(values_), std::end(values_), missing);
    }

    void singles(const double* x, size_t n, double* results, uint64_t) {
        tail_ = 0;
        std::copy_n(x, n, values_ + n_ - 1);
        for_cpu<windows, CpuLevel::avx512>(values_, n_, n, required_, results);
        std::copy(values_ + n, values_ + n + n_ - 1, values_);
    }
    Taken take(double x, unsigned run, double* results, size_t room, uint64_t position) {
        const uint64_t tail = tail_ != 0 && alike(x, tail_value_) ? tail_ : 0;
        if (tail != 0 && tail + 1 >= n_) {
            results[0] = result_of_constant<S>(x, static_cast<double>(n_), required_);
            return {1, run};  // the values stay what they are
        }
        tail_value_ = x;
        double same[widest];
        const size_t varied = n_ - std::min<size_t>(n_, tail + 1);
        const size_t n = std::min({size_t{run}, room, std::max<size_t>(varied, 1)});
        std::fill_n(same, n, x);
        singles(same, n, results, position);
        tail_ = tail + n;
        return {n, static_cast<unsigned>(n)};
    }
    /// The last of what came, as many as a window holds but for one.
    std::span<const double> last() const { return {values_, n_ - 1}; }

 private:
    /// x holds `width` - 1 values more than there are windows.
    QVO_INLINE static void windows(const double* __restrict x, size_t width, size_t n, double required,
                                   double* __restrict results) {
        typename Fold::Value folds[most_rolled + beyond];
        const double all = static_cast<double>(width);
        if (all >= required && count_missing(x, n + width - 1) == 0) {
            fold(x, width, n, folds);
            RollingLoops<S>::finish_full(
                [&](size_t i) __attribute__((always_inline)) { return folds[i]; }, n, all, results);
            return;
        }
        double present[most_rolled];
        std::fill_n(present, n, all);
        for (size_t j = 0; j < width; ++j)
            for (size_t i = 0; i < n; ++i) present[i] -= is_present(x[i + j]) ? 0.0 : 1.0;
        if constexpr (doubles)
            fold(x, width, n, folds);
        else
            fold_present(x, width, n, present, folds);
        RollingLoops<S>::finish(folds, present, n, required, results);
    }
    /// Folds of 1, 2, 4, … neighbours, each put together of two of half as many; a window, of those that its width is
    /// the sum of. What is missing is folded as nothing.
    QVO_INLINE static void fold(const double* __restrict x, size_t width, size_t n, double* __restrict folds) {
        double spans[2][widest + most_rolled];
        size_t length = n + width - 1, before = 0;
        for (size_t i = 0; i < length; ++i) spans[0][i] = Fold::power(x[i], 1);
        std::fill_n(folds, n, Fold::neutral());
        for (size_t span = 1, k = 0;; span *= 2, k ^= 1) {
            const double* __restrict const from = spans[k];
            double* __restrict const to = spans[k ^ 1];
            if ((width & span) != 0) {
                for (size_t i = 0; i < n; ++i) folds[i] = Fold::merge(folds[i], from[i + before]);
                before += span;
            }
            if (2 * span > width) break;
            length -= span;
            for (size_t i = 0; i < length; ++i) to[i] = Fold::merge(from[i], from[i + span]);
        }
    }
    /// In two passes over the differences to one value of the window, which of a constant are 0.
    QVO_INLINE static void fold_present(const double* __restrict x, size_t width, size_t n, const double* present,
                                        Moments* __restrict folds) {
        double near[most_rolled] = {}, mean[most_rolled] = {}, squares[most_rolled] = {};
        for (size_t j = 0; j < width; ++j)
            for (size_t i = 0; i < n; ++i) near[i] = is_present(x[i + j]) ? x[i + j] : near[i];
        for (size_t j = 0; j < width; ++j)
            for (size_t i = 0; i < n; ++i) mean[i] += is_present(x[i + j]) ? x[i + j] - near[i] : 0.0;
        for (size_t i = 0; i < n; ++i) mean[i] /= present[i];
        for (size_t j = 0; j < width; ++j)
            for (size_t i = 0; i < n; ++i) {
                const double apart = x[i + j] - near[i] - mean[i];
                squares[i] += is_present(x[i + j]) ? apart * apart : 0.0;
            }
        for (size_t i = 0; i < n; ++i) folds[i].squares = squares[i];
    }
    /// The same where nothing is missing: some windows at a time, up to `beyond` more than there are.
    QVO_INLINE static void fold(const double* __restrict x, size_t width, size_t n, Moments* __restrict folds) {
        typedef double Lanes __attribute__((vector_size(64)));
        constexpr size_t lanes = sizeof(Lanes) / sizeof(double), parts = beyond / lanes;
        for (size_t i = 0; i < n; i += beyond) {
            Lanes value[parts], near[parts], mean[parts] = {}, squares[parts] = {};
            std::memcpy(near, x + i + width - 1, sizeof near);
            for (size_t j = 0; j < width; ++j) {
                std::memcpy(value, x + i + j, sizeof value);
                for (size_t k = 0; k < parts; ++k) mean[k] += value[k] - near[k];
            }
            for (size_t k = 0; k < parts; ++k) mean[k] /= static_cast<double>(width);
            for (size_t j = 0; j < width; ++j) {
                std::memcpy(value, x + i + j, sizeof value);
                for (size_t k = 0; k < parts; ++k) {
                    const Lanes apart = value[k] - near[k] - mean[k];
                    squares[k] += apart * apart;
                }
            }
            for (size_t k = 0; k < beyond; ++k) folds[i + k].squares = squares[k / lanes][k % lanes];
        }
    }

    size_t n_;
    double required_;
    double tail_value_ = missing;
    uint64_t tail_ = 0;
    double values_[widest + most_rolled + beyond];  // the last n - 1, then those to come
};

}  // namespace qvo::value
