// Windows of any width, at the same cost.
//
// Positions are cut into blocks as long as the window. A window is then the end of one block and the beginning of the
// next: a suffix fold, computed for all positions of a block when it is complete, and the running fold.
//
// Once a window holds nothing but one value its result stays; nothing is kept then, and blocks begin anew after one that
// is all that value.
#pragma once

#include <algorithm>
#include <vector>

#include "operators/rolling.h"
#include "operators/rolling_loops.h"
#include "operators/scan.h"

namespace qvo::value {

template <class S> class RollingBlocks {
    using Fold = typename S::Fold;
    using Value = typename Fold::Value;
    using Loops = RollingLoops<S>;

 public:
    using In = double;
    using Out = double;
    unsigned written_out() const {
        if (tail_ + 1 >= n_) return 0;
        return static_cast<unsigned>(std::min<uint64_t>(std::max<uint64_t>(n_ / 2, 16), max_run));
    }

    RollingBlocks(Plan& plan, Window window)
        : plan_(plan), n_(window.positions), required_(std::max<uint64_t>(window.min_periods, S::least)) {}

    void singles(const double* x, size_t n, double* results, uint64_t) {
        size_t i = 0;
        if (tail_ + 1 >= n_)
            for (; i < n && alike(x[i], tail_value_); ++i) results[i] = stay_constant(x[i]);
        if (i == n) return;
        begin_anew();
        note_tail(x + i, n - i);
        while (i < n) {
            const size_t here = static_cast<size_t>(std::min<uint64_t>(std::min(n - i, most_rolled), n_ - offset_));
            take_some(x + i, here, results + i);
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
        double same[max_run];
        const size_t n = static_cast<size_t>(std::min<uint64_t>(std::min<size_t>(run, room), varied));
        std::fill_n(same, n, x);
        singles(same, n, results, position);
        return {n, static_cast<unsigned>(n)};
    }
    /// The last of what came, as many as a window holds but for one, or all.
    std::vector<double> last() const {
        if (constant_) return std::vector<double>(n_ - 1, tail_value_);
        const auto middle = values_.begin() + static_cast<ptrdiff_t>(offset_);
        std::vector<double> values(complete_ ? middle + 1 : values_.end(), values_.end());
        values.insert(values.end(), values_.begin(), middle);
        return values;
    }

 private:
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
        values_.assign(n_, tail_value_);
        missing_ = is_present(tail_value_) ? 0 : n_;
        complete();
    }

    /// Positions of the current block.
    void take_some(const double* x, size_t n, double* results) {
        const size_t gone = for_cpu<count_missing>(x, n);
        const Value* const earlier = complete_ ? suffixes_.data() + offset_ + 1 : nullptr;
        Value folds[most_rolled];
        if (complete_ && gone + missing_ == 0 && gone_.empty() && n_ >= required_) {
            if constexpr (S::is_fold) {
                for_cpu<Loops::continued>(fold_, x, n, earlier, results);
            } else {
                for_cpu<Loops::template prefixes<true>>(fold_, x, n, folds);
                for_cpu<Loops::merge_full, CpuLevel::avx512>(earlier, folds, n, static_cast<double>(n_), results);
            }
        } else {
            for_cpu<Loops::template prefixes<false>>(fold_, x, n, folds);
            if (complete_) for_cpu<Loops::merge>(earlier, folds, n);
            double present[most_rolled];
            count_present(x, n, present);
            for_cpu<Loops::finish>(folds, present, n, static_cast<double>(required_), results);
        }
        keep(x, n);
        missing_ += gone;
        if ((offset_ += n) == n_) complete();
    }
    void count_present(const double* x, size_t n, double* present) const {
        const uint64_t* const gone = gone_.empty() ? nullptr : gone_.data() + offset_ + 1;
        for_cpu<Loops::count_present>(x, n, missing_, present);
        if (!complete_)
            for (size_t i = 0; i < n; ++i) present[i] += static_cast<double>(offset_ + i + 1);
        else
            for_cpu<Loops::add_rows>(n_, gone, n, present);
    }
    void keep(const double* x, size_t n) {
        if (complete_) {
            std::copy_n(x, n, values_.begin() + static_cast<ptrdiff_t>(offset_));
        } else {
            values_.insert(values_.end(), x, x + n);
            plan_.within_budget(values_.size());
        }
    }

    void complete() {
        suffixes_.resize(n_ + 1);
        suffixes_.back() = Fold::neutral();
        Fold fold;
        const auto suffixes =
            missing_ == 0 ? for_cpu<Loops::template suffixes<true>> : for_cpu<Loops::template suffixes<false>>;
        for (size_t n = n_; n != 0;) {
            const size_t here = std::min(n, between_polls);
            n -= here;
            suffixes(fold, values_.data() + n, here, suffixes_.data() + n);
            plan_.poll();
        }
        count_gone();
        complete_ = true;
        offset_ = missing_ = 0;
        fold_ = Fold();
    }
    void count_gone() {
        gone_.clear();
        if (missing_ == 0) return;
        gone_.resize(n_ + 1);
        for (size_t i = n_; i-- > 0;) gone_[i] = gone_[i + 1] + !is_present(values_[i]);
    }

    Plan& plan_;
    uint64_t n_, required_;
    // Up to offset_ of the current block, from there on of the one before it, if one is complete.
    std::vector<double> values_;
    bool complete_ = false;
    // Of the block before the current one.
    std::vector<Value> suffixes_;
    std::vector<uint64_t> gone_;  // missing positions from each one on; empty if none is missing
    // Of the current block.
    uint64_t offset_ = 0, missing_ = 0;  // positions, and how many of them are missing
    Fold fold_;
    double tail_value_ = missing;
    uint64_t tail_ = 0;  // positions of that value, and nothing else, at the end of what came; 0 if not known
    bool constant_ = false;
};

}  // namespace qvo::value
