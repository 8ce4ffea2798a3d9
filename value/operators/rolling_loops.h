// What windows of a fixed number of positions have in common: loops over values, folds and results.
#pragma once

#include <type_traits>

#include "core/number.h"
#include "evaluate/plan.h"
#include "operators/fold.h"
#include "operators/quotient.h"

namespace qvo::value {

/// The most values that loops take at once.
inline constexpr size_t most_rolled = capacity_of(sizeof(double));

template <class S> struct RollingLoops {
    using Fold = typename S::Fold;
    using Value = typename Fold::Value;

    /// to[i] becomes the fold of what has been folded before and the values up to x[i].
    template <bool whole>
    QVO_INLINE static void prefixes(Fold& fold, const double* __restrict x, size_t n, Value* __restrict to) {
        Fold here = fold;
        here.template add<1, whole>(
            x, n, [to](ptrdiff_t at, const auto& folds) __attribute__((always_inline)) { store(folds, to + at); });
        fold = here;
    }
    QVO_INLINE static void merge(const Value* __restrict earlier, Value* __restrict folds, size_t n) {
        for (size_t i = 0; i < n; ++i) folds[i] = Fold::merge(earlier[i], folds[i]);
    }
    /// The same after earlier[i], where folds are numbers and nothing is missing.
    QVO_INLINE static void continued(Fold& fold, const double* __restrict x, size_t n, const Value* __restrict earlier,
                                     Value* __restrict to) {
        Fold here = fold;
        here.template add<1, true>(
            x, n, [ earlier, to ](ptrdiff_t at, const auto& folds) __attribute__((always_inline)) {
                auto all = folds;
                std::memcpy(&all, earlier + at, sizeof all);
                Fold::fold(all, folds);
                store(all, to + at);
            });
        fold = here;
    }
    /// to[i] becomes the fold of x[i], all after it up to x[n - 1], and what has been folded before.
    template <bool whole>
    QVO_INLINE static void suffixes(Fold& fold, const double* __restrict x, size_t n, Value* __restrict to) {
        Fold here = fold;
        Value* const last = to + n - 1;
        here.template add<-1, whole>(
            x + n - 1,
            n, [last](ptrdiff_t at, const auto& folds) __attribute__((always_inline)) { store(folds, last + at); });
        fold = here;
    }
    /// Writes minus the number of values missing up to each, `gone` of them before the first.
    QVO_INLINE static void count_present(const double* __restrict x, size_t n, uint64_t gone,
                                         double* __restrict present) {
        uint64_t counts[most_rolled];
        for (size_t i = 0; i < n; ++i) counts[i] = gone += !is_present(x[i]);
        for (size_t i = 0; i < n; ++i) present[i] = -unsigned_to_double(counts[i]);
    }
    QVO_INLINE static void add_rows(uint64_t rows, const uint64_t* __restrict gone, size_t n,
                                    double* __restrict present) {
        for (size_t i = 0; i < n; ++i) present[i] += unsigned_to_double(gone == nullptr ? rows : rows - gone[i]);
    }
    /// All windows are complete and nothing is missing.
    template <class FoldAt>
    QVO_INLINE static void finish_full(FoldAt fold_at, size_t n, double present, double* __restrict results) {
        if constexpr (std::is_same_v<S, RollingMean>) {
            if (cpu_level >= CpuLevel::avx512) {
                const Quotient mean(present);
                uint64_t beyond = 0;
                for (size_t i = 0; i < n; ++i) {
                    const double sum = fold_at(i);
                    results[i] = mean(sum);
                    beyond |= uint64_t{!Quotient::takes(sum)};
                }
                if (beyond == 0) return;
            }
        }
        for (size_t i = 0; i < n; ++i) results[i] = S::finish(fold_at(i), present);
    }
    /// Such windows, each of a suffix and a prefix.
    QVO_INLINE static void merge_full(const Value* __restrict earlier, const Value* __restrict folds, size_t n,
                                      double present, double* __restrict results) {
        finish_full(
            [=](size_t i) __attribute__((always_inline)) { return Fold::merge(earlier[i], folds[i]); }, n, present,
            results);
    }
    QVO_INLINE static void finish(const Value* __restrict folds, const double* __restrict present, size_t n,
                                  double required, double* __restrict results) {
        for (size_t i = 0; i < n; ++i) {
            const double result = S::finish(folds[i], present[i]);
            results[i] = present[i] >= required ? result : missing;
        }
    }
};

QVO_INLINE bool alike(double a, double b) { return a == b || (!is_present(a) && !is_present(b)); }

/// The result of a window of nothing but one value.
template <class S> double result_of_constant(double x, double n, double required) {
    const double present = is_present(x) ? n : 0.0;
    if (present < required) return missing;
    if constexpr (std::is_same_v<S, RollingMean>) return x;
    return S::finish(S::Fold::power(x, n), present);
}

}  // namespace qvo::value
