// Positions are cut into blocks as long as the window. A window is then the end of one block and the beginning of the
// next: a suffix fold, computed for all positions of a block when it is complete, and the running fold.
//
// Results are computed as arrays, since most differ from their neighbours. Only an extreme may stay over a run: runs of
// some length are kept as such for it, and results computed per stretch, over which one value enters the window and one
// leaves it. Once a window holds nothing but one value any result stays; nothing is kept then, and blocks begin anew
// after a block that is all that value.
#include "operators/rolling.h"

#include <algorithm>
#include <numeric>

#include "core/number.h"
#include "operators/fold.h"
#include "operators/quotient.h"
#include "operators/scan.h"

namespace qvo::value {
namespace {

constexpr size_t most = capacity_of(sizeof(double));

template <class S> struct Loops {
    using Fold = typename S::Fold;
    using Value = typename Fold::Value;

    QVO_INLINE static void prefixes(Fold& fold, const double* __restrict x, size_t n, Value* __restrict to) {
        Fold here = fold;
        here.template add<1>(x, n, to);
        fold = here;
    }
    /// to[i] becomes the fold of x[i], all after it up to x[n - 1], and what has been folded before.
    QVO_INLINE static void suffixes(Fold& fold, const double* __restrict x, size_t n, Value* __restrict to) {
        Fold here = fold;
        here.template add<-1>(x + n - 1, n, to + n - 1);
        fold = here;
    }
    QVO_INLINE static void merge(const Value* __restrict earlier, Value* __restrict folds, size_t n) {
        for (size_t i = 0; i < n; ++i) folds[i] = Fold::merge(earlier[i], folds[i]);
    }
    QVO_INLINE static size_t count_missing(const double* x, size_t n) {
        size_t count = 0;
        for (size_t i = 0; i < n; ++i) count += !is_present(x[i]);
        return count;
    }
    /// Writes minus the number of values missing up to each, `gone` of them before the first.
    QVO_INLINE static void count_present(const double* __restrict x, size_t n, uint64_t gone,
                                         double* __restrict present) {
        uint64_t counts[most];
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

/// The block before the current one.
template <class Fold> struct Complete {
    std::vector<double> values;
    std::vector<uint64_t> ends;  // the position after each element; empty if all runs are 1
    std::vector<typename Fold::Value> suffixes;
    std::vector<uint64_t> gone;  // missing positions from each element on; empty if none is missing
    bool exists = false;

    uint64_t end_of(size_t element) const { return ends.empty() ? element + 1 : ends[element]; }
    uint64_t gone_from(size_t element) const { return gone.empty() ? 0 : gone[element]; }
};

template <class S> class Rolling {
    using Fold = typename S::Fold;
    using Value = typename Fold::Value;
    using Loop = Loops<S>;

 public:
    using In = double;
    using Out = double;
    unsigned written_out() const {
        if (tail_ + 1 >= n_) return 0;
        return keeps_runs ? 12 : static_cast<unsigned>(std::min<uint64_t>(std::max<uint64_t>(n_ / 2, 16), max_run));
    }

    Rolling(Plan& plan, Window window)
        : plan_(plan), n_(window.positions), required_(std::max<uint64_t>(window.min_periods, S::least)) {}

    void singles(const double* x, size_t n, double* results, uint64_t) {
        size_t i = 0;
        if (tail_ + 1 >= n_)
            for (; i < n && alike(x[i], tail_value_); ++i) results[i] = stay_constant(x[i]);
        if (i == n) return;
        begin_anew();
        note_tail(x + i, n - i);
        while (i < n) {
            if constexpr (keeps_runs)
                if (!ends_.empty() || !earlier_.ends.empty()) {
                    take_stretch(x[i], 1, results[i]);
                    ++i;
                    continue;
                }
            const size_t here = static_cast<size_t>(std::min<uint64_t>(n - i, n_ - offset_));
            take_array(x + i, here, results + i);
            i += here;
        }
    }

    Taken take(double x, unsigned run, double* results, size_t room, uint64_t position) {
        const uint64_t tail = tail_ != 0 && alike(x, tail_value_) ? tail_ : 0;
        if (tail != 0 && tail + 1 >= n_) {
            results[0] = stay_constant(x);
            return {1, run};
        }
        // The window is full of the value once all but one of its positions are.
        const uint64_t varied = std::max<uint64_t>(n_ - std::min(n_, tail + 1), 1);
        unsigned n = static_cast<unsigned>(std::min<uint64_t>(run, varied));
        size_t elements = 1;
        if constexpr (keeps_runs) {
            begin_anew();
            n = static_cast<unsigned>(take_stretch(x, n, results[0]));
            tail_value_ = x;
            tail_ = tail + n;
        } else {
            double same[max_run];
            n = static_cast<unsigned>(std::min<size_t>(n, room));
            std::fill_n(same, n, x);
            singles(same, n, results, position);
            elements = n;
        }
        return {elements, n};
    }

 private:
    static constexpr bool keeps_runs = !Fold::repeats_change;
    static constexpr size_t between_polls = 65536;  // positions

    double stay_constant(double x) {
        constant_ = true;
        return result_of_constant<S>(x, static_cast<double>(n_), static_cast<double>(required_));
    }
    void note_tail(const double* x, size_t n) {
        size_t same = 1;
        while (same < n && alike(x[n - 1 - same], x[n - 1])) ++same;
        tail_ = same == n && tail_ != 0 && alike(tail_value_, x[0]) ? tail_ + n : same;
        tail_value_ = x[n - 1];
    }
    /// Begins a block after one of nothing but the value that has filled the window.
    void begin_anew() {
        if (!constant_) return;
        constant_ = false;
        earlier_.values.assign(keeps_runs ? 1 : n_, tail_value_);
        earlier_.ends.assign(keeps_runs ? 1 : 0, n_);
        missing_ = is_present(tail_value_) ? 0 : n_;
        complete_folds();
        clear();
    }
    void clear() {
        values_.clear();
        ends_.clear();
        offset_ = 0;
        missing_ = 0;
        cursor_ = 0;
        fold_ = Fold();
    }

    /// Positions of run 1 of the current block, where all runs of this and the earlier one are.
    void take_array(const double* x, size_t n, double* results) {
        while (n > most) {
            take_array(x, most, results);
            x += most;
            results += most;
            n -= most;
        }
        Value folds[most];
        const size_t gone = for_cpu<Loop::count_missing>(x, n);
        for_cpu<Loop::prefixes>(fold_, x, n, folds);
        values_.insert(values_.end(), x, x + n);
        const Value* const earlier = earlier_.exists ? earlier_.suffixes.data() + offset_ + 1 : nullptr;
        if (earlier != nullptr && gone + missing_ == 0 && earlier_.gone.empty() && n_ >= required_) {
            for_cpu<Loop::merge_full, CpuLevel::avx512>(earlier, folds, n, static_cast<double>(n_), results);
        } else {
            if (earlier != nullptr) for_cpu<Loop::merge>(earlier, folds, n);
            double present[most];
            count_present(x, n, present);
            for_cpu<Loop::finish>(folds, present, n, static_cast<double>(required_), results);
        }
        missing_ += gone;
        advance(n);
    }
    void count_present(const double* x, size_t n, double* present) const {
        const uint64_t* const gone = earlier_.gone.empty() ? nullptr : earlier_.gone.data() + offset_ + 1;
        for_cpu<Loop::count_present>(x, n, missing_, present);
        if (!earlier_.exists)
            for (size_t i = 0; i < n; ++i) present[i] += static_cast<double>(offset_ + i + 1);
        else
            for_cpu<Loop::add_rows>(n_, gone, n, present);
    }

    void advance(uint64_t positions) {
        plan_.within_budget(values_.size());
        offset_ += positions;
        if (offset_ == n_) complete();
    }
    void complete() {
        earlier_.values.swap(values_);
        earlier_.ends.swap(ends_);
        expand_short_runs();
        complete_folds();
        clear();
    }
    /// Writes out the runs of a block most of whose runs are short, so that those that follow may be taken as arrays.
    void expand_short_runs() {
        std::vector<uint64_t>& ends = earlier_.ends;
        if (ends.empty() || ends.size() < n_ / 4) return;
        std::vector<double> expanded;
        expanded.reserve(n_);
        for (size_t i = 0; i < ends.size(); ++i) expanded.resize(ends[i], earlier_.values[i]);
        earlier_.values.swap(expanded);
        ends.clear();
    }
    void complete_folds() {
        const std::vector<double>& values = earlier_.values;
        earlier_.exists = true;
        earlier_.suffixes.resize(values.size() + 1);
        earlier_.suffixes.back() = Fold::neutral();
        Fold fold;
        if (earlier_.ends.empty()) {
            for (size_t n = values.size(); n != 0;) {
                const size_t here = std::min(n, between_polls);
                n -= here;
                for_cpu<Loop::suffixes>(fold, values.data() + n, here, earlier_.suffixes.data() + n);
                plan_.poll();
            }
        } else {
            for (size_t i = values.size(); i-- > 0;) {
                fold.add(values[i], run_of_earlier(i));
                earlier_.suffixes[i] = fold.value();
            }
        }
        count_gone();
    }
    uint64_t run_of_earlier(size_t i) const { return earlier_.end_of(i) - (i == 0 ? 0 : earlier_.end_of(i - 1)); }
    void count_gone() {
        const std::vector<double>& values = earlier_.values;
        earlier_.gone.clear();
        if (missing_ == 0) return;
        earlier_.gone.resize(values.size() + 1);
        for (size_t i = values.size(); i-- > 0;)
            earlier_.gone[i] = earlier_.gone[i + 1] + (is_present(values[i]) ? 0 : run_of_earlier(i));
    }

    /// Up to `run` positions over which one value enters, one leaves, and the result stays.
    uint64_t take_stretch(double x, uint64_t run, double& result) {
        uint64_t positions = std::min(run, n_ - offset_), present = offset_ - missing_ + is_present(x);
        double fold = Fold::merge(fold_.value(), Fold::power(x, 1)), leaving = missing;
        if (earlier_.exists && offset_ + 1 == n_) {
            positions = 1;
        } else if (earlier_.exists) {
            const uint64_t first = offset_ + 1;
            if (earlier_.ends.empty()) cursor_ = first;
            while (earlier_.end_of(cursor_) <= first) ++cursor_;
            const uint64_t end = earlier_.end_of(cursor_);
            positions = std::min(positions, end - first);
            leaving = earlier_.values[cursor_];
            fold = Fold::merge(fold, Fold::merge(Fold::power(leaving, 1), earlier_.suffixes[cursor_ + 1]));
            present += (n_ - end) - earlier_.gone_from(cursor_ + 1) + (is_present(leaving) ? end - first : 0);
        }
        // The number of values present may rise or fall over the stretch, and with it cross what is required.
        const bool enough = present >= required_;
        if (!enough && is_present(x) && !is_present(leaving)) positions = std::min(positions, required_ - present);
        if (enough && !is_present(x) && is_present(leaving)) positions = std::min(positions, present - required_ + 1);
        result = enough ? S::finish(fold, 0) : missing;
        append(x, positions);
        return positions;
    }

    /// Notes the positions taken.
    void append(double x, uint64_t positions) {
        if (positions != 1 && ends_.empty()) {
            ends_.resize(values_.size());
            std::iota(ends_.begin(), ends_.end(), uint64_t{1});
        }
        const bool runs = !ends_.empty() || positions != 1;
        if (runs && !values_.empty() && values_.back() == x) {
            ends_.back() += positions;
        } else {
            values_.push_back(x);
            if (runs) ends_.push_back(offset_ + positions);
        }
        missing_ += is_present(x) ? 0 : positions;
        fold_.add(x, positions);
        advance(positions);
    }

    Plan& plan_;
    uint64_t n_, required_;
    Complete<Fold> earlier_;
    std::vector<double> values_;  // of the current block
    std::vector<uint64_t> ends_;
    uint64_t offset_ = 0, missing_ = 0;  // positions of the current block
    size_t cursor_ = 0;                  // element of the earlier block that leaves the window next
    Fold fold_;
    double tail_value_ = missing;
    uint64_t tail_ = 0;  // positions of that value, and nothing else, at the end of what came; 0 if not known
    bool constant_ = false;
};

/// Windows of some positions: each is folded anew, many at a time. What came before the first is missing.
template <class S> class Narrow {
    using Fold = typename S::Fold;
    static constexpr bool doubles = std::is_same_v<typename Fold::Value, double>;

 public:
    using In = double;
    using Out = double;
    // Up to here it is cheaper.
    static constexpr size_t widest = doubles ? 32 : 24;
    static unsigned written_out() { return 16; }

    explicit Narrow(Window window)
        : n_(window.positions), required_(static_cast<double>(std::max<uint64_t>(window.min_periods, S::least))) {
        std::fill_n(values_, widest, missing);
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
        if constexpr (!Fold::repeats_change)
            if (n_ > 1 && tail == 0 && tail_ + 1 >= n_ && is_present(x) && is_present(tail_value_))
                return take_change(x, run, results[0]);
        tail_value_ = x;
        double same[widest];
        const size_t varied = n_ - std::min<size_t>(n_, tail + 1);
        const size_t n = std::min({size_t{run}, room, std::max<size_t>(varied, 1)});
        std::fill_n(same, n, x);
        singles(same, n, results, position);
        tail_ = tail + n;
        return {n, static_cast<unsigned>(n)};
    }

 private:
    /// A value after one that has filled the window: as long as there is something of both in it, the extreme stays.
    Taken take_change(double x, unsigned run, double& result) {
        const size_t n = std::min<size_t>(run, n_ - 1);
        const double both = Fold::merge(Fold::power(tail_value_, 1), Fold::power(x, 1));
        result = S::finish(both, static_cast<double>(n_));
        std::fill_n(values_ + n_ - 1 - n, n, x);
        tail_value_ = x;
        tail_ = n;
        return {1, static_cast<unsigned>(n)};
    }
    /// x holds `width` - 1 values more than there are windows.
    QVO_INLINE static void windows(const double* __restrict x, size_t width, size_t n, double required,
                                   double* __restrict results) {
        typename Fold::Value folds[most];
        double present[most];
        const double all = static_cast<double>(width);
        const bool full = all >= required && Loops<S>::count_missing(x, n + width - 1) == 0;
        std::fill_n(present, n, all);
        if (!full)
            for (size_t j = 0; j < width; ++j)
                for (size_t i = 0; i < n; ++i) present[i] -= is_present(x[i + j]) ? 0.0 : 1.0;
        fold(x, width, n, present, folds);
        if (full)
            Loops<S>::finish_full(
                [&](size_t i) __attribute__((always_inline)) { return folds[i]; }, n, all, results);
        else
            Loops<S>::finish(folds, present, n, required, results);
    }
    /// Folds of 1, 2, 4, … neighbours, each put together of two of half as many; a window, of those that its width is
    /// the sum of.
    QVO_INLINE static void fold(const double* __restrict x, size_t width, size_t n, const double*,
                                double* __restrict folds) {
        double spans[2][widest + most];
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
    QVO_INLINE static void fold(const double* __restrict x, size_t width, size_t n, const double* present,
                                Moments* __restrict folds) {
        double near[most] = {}, mean[most] = {}, squares[most] = {};
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

    size_t n_;
    double required_;
    double tail_value_ = missing;
    uint64_t tail_ = 0;
    double values_[widest + most];  // the last n - 1, then those to come
};

template <class S> Series rolling(Plan& plan, const Series& x, Window window) {
    const ValueType type = type_of(Type::double_);
    if (window.positions <= Narrow<S>::widest) return scan<Narrow<S>>(plan, x, type, window);
    return scan<Rolling<S>>(plan, x, type, plan, window);
}

}  // namespace

Series rolling_sum(Plan& plan, const Series& x, Window window) { return rolling<RollingSum>(plan, x, window); }
Series rolling_mean(Plan& plan, const Series& x, Window window) { return rolling<RollingMean>(plan, x, window); }
Series rolling_min(Plan& plan, const Series& x, Window window) { return rolling<RollingMin>(plan, x, window); }
Series rolling_max(Plan& plan, const Series& x, Window window) { return rolling<RollingMax>(plan, x, window); }
Series rolling_var(Plan& plan, const Series& x, Window window) { return rolling<RollingVar>(plan, x, window); }
Series rolling_std(Plan& plan, const Series& x, Window window) { return rolling<RollingStd>(plan, x, window); }

}  // namespace qvo::value
