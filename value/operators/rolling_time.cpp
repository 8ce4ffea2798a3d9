// A window is put together of two parts: the earlier positions, with the folds of each and all after it in that part, and
// the later ones with one running fold. When the earlier part has been used up, the later one takes its place, so that
// each position is folded twice, however wide the windows are.
//
// A tile's worth of positions is taken at once, so that what does not wait for the position before goes by loops over
// arrays.
#include "operators/rolling_time.h"

#include <algorithm>
#include <vector>

#include "core/tile.h"
#include "evaluate/source.h"
#include "operators/rolling_loops.h"

namespace qvo::value {
namespace {

template <class S> class RollingTime final : public Operator {
    using Fold = typename S::Fold;

 public:
    RollingTime(const Series& x, const Series& t, TimeWindow window)
        : x_(x),
          t_(t),
          width_(window.width),
          required_(static_cast<double>(std::max<uint64_t>(window.min_periods, S::least))) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        Operand x(x_.it), t(t_.it);
        TileWriter out(it, most_rolled);
        QVO_RET rc = QVO_S_OK;
        make_room();
        size_t n = 0;
        while (n != most_rolled) {
            if (rc = refill_both(x, t, Where::here()); rc != QVO_S_OK) break;
            n += take(x, t, end_ + n, most_rolled - n);
        }
        roll(n, it->next_seq_no, values_of<double>(it));
        out.put_equal_runs(n, 1);
        plan->within_budget(end_ - begin_);
        x.store();
        t.store();
        return out.finish(rc);
    }

 private:
    /// Room for a tile's positions, by moving what is still in a window to the front, or more of it.
    void make_room() {
        const size_t needed = end_ + most_rolled + 1;
        if (needed <= values_.size()) return;
        const auto move = [this](auto& array) {
            std::copy(array.begin() + static_cast<ptrdiff_t>(begin_),
                      array.begin() + static_cast<ptrdiff_t>(std::min(end_ + 1, array.size())), array.begin());
            // Moving is seldom if it makes room for a third as much as it moves, and the arrays are not small.
            const size_t kept = end_ - begin_ + most_rolled + 1;
            if (array.size() < small || 4 * kept > 3 * array.size()) array.resize(array.size() / 2 + 2 * kept);
        };
        move(times_);
        move(values_);
        move(folds_);
        move(present_);
        end_ -= begin_;
        split_ -= begin_;
        begin_ = 0;
        folds_[split_] = Fold::neutral();
    }
    /// Takes positions that both have next, single ones or those of one element, to a place in the arrays.
    size_t take(Operand& x, Operand& t, size_t at, size_t room) {
        const double* const value = values_of<double>(x_.it) + x.index();
        const int64_t* const time = values_of<int64_t>(t_.it) + t.index();
        size_t n = std::min({room, x.elements_left(), t.elements_left()});
        n = leading_single_runs(t.runs(), leading_single_runs(x.runs(), n));
        if (n != 0) {
            std::copy_n(value, n, values_.data() + at);
            std::copy_n(time, n, times_.data() + at);
            x.skip(n);
            t.skip(n);
            return n;
        }
        n = std::min<size_t>(room, std::min(x.run_left(), t.run_left()));
        std::fill_n(values_.data() + at, n, *value);
        std::fill_n(times_.data() + at, n, *time);
        x.take(static_cast<unsigned>(n));
        t.take(static_cast<unsigned>(n));
        return n;
    }

    /// The results of the next n positions, the first of which is at `position` of the sequence.
    void roll(size_t n, uint64_t position, double* results) {
        if (n == 0) return;
        check_ascent(n, position);
        size_t first[most_rolled];
        double folds[most_rolled], present[most_rolled];
        find_windows(n, first);
        fold_windows(n, first, folds);
        uint64_t so_far = present_[end_];
        for (size_t i = 0; i < n; ++i) present_[end_ + i + 1] = so_far += is_present(values_[end_ + i]);
        for (size_t i = 0; i < n; ++i) present[i] = unsigned_to_double(present_[end_ + i + 1] - present_[first[i]]);
        for_cpu<RollingLoops<S>::finish>(folds, present, n, required_, results);
        begin_ = first[n - 1];
        end_ += n;
    }
    void check_ascent(size_t n, uint64_t position) const {
        const auto from = times_.begin() + static_cast<ptrdiff_t>(end_ - (end_ != 0));
        const auto to = times_.begin() + static_cast<ptrdiff_t>(end_ + n);
        const auto falls = std::is_sorted_until(from, to);
        if (falls == to) return;
        throw Error(Fault::argument, "argument 2: t must ascend, but falls at position " +
                                         std::to_string(position + static_cast<size_t>(falls - times_.begin()) - end_));
    }
    /// The first position of each window. Several stretches side by side, as each window begins with a look at where the
    /// one before does; and two steps on without a branch, as times come at random.
    void find_windows(size_t n, size_t* first) const {
        const int64_t* const times = times_.data();
        const auto earliest = [&](size_t i) {
            int64_t before;
            return __builtin_sub_overflow(times[end_ + i], width_, &before) ? INT64_MIN : before + 1;
        };
        constexpr size_t stretches = 4;
        const size_t length = (n + stretches - 1) / stretches;
        size_t at[stretches];
        for (size_t k = 0; k < stretches; ++k) {
            const size_t i = std::min(k * length, n - 1);
            at[k] = static_cast<size_t>(std::lower_bound(times + begin_, times + end_ + i, earliest(i)) - times);
        }
        for (size_t j = 0; j < length; ++j) {
            for (size_t k = 0; k < stretches; ++k) {
                const size_t i = std::min(k * length + j, n - 1);
                const int64_t from = earliest(i);
                size_t here = at[k];
                here += times[here] < from;
                here += times[here] < from;
                while (times[here] < from) ++here;
                first[i] = at[k] = here;
            }
        }
    }
    void fold_windows(size_t n, const size_t* first, double* folds) {
        double* const earlier = folds_.data();
        const double* const values = values_.data();
        Fold later = later_;
        size_t split = split_;
        for (size_t i = 0; i < n; ++i) {
            if (first[i] <= split) {
                folds[i] = Fold::merge(earlier[first[i]], later.add(values[end_ + i]));
                continue;
            }
            // The later part, with this position, is the earlier one from now on.
            split = end_ + i + 1;
            Fold fold;
            for (size_t k = split; k-- > first[i];) earlier[k] = fold.add(values[k]);
            earlier[split] = Fold::neutral();
            folds[i] = earlier[first[i]];
            later = Fold();
        }
        later_ = later;
        split_ = split;
    }

    static constexpr size_t small = 16384;  // positions
    Series x_, t_;
    int64_t width_;
    double required_;
    // Positions, those in front of `begin_` in no window any more.
    std::vector<int64_t> times_;
    std::vector<double> values_;
    std::vector<double> folds_;      // of a position of the earlier part and all after it there
    std::vector<uint64_t> present_;  // how many values are present before a position
    size_t begin_ = 0, end_ = 0;
    size_t split_ = 0;  // where the later part begins; the fold there is that of nothing
    Fold later_;
};

template <class S> Series rolling(Plan& plan, const Series& x, const Series& t, TimeWindow window) {
    const Series both[] = {x, t};
    const std::optional<uint64_t> length = common_length(both);
    return with_equal_lengths(plan, plan.make<RollingTime<S>>(x.type, length, x, t, window), both);
}

}  // namespace

Series rolling_sum_time(Plan& plan, const Series& x, const Series& t, TimeWindow window) {
    return rolling<RollingSum>(plan, x, t, window);
}
Series rolling_mean_time(Plan& plan, const Series& x, const Series& t, TimeWindow window) {
    return rolling<RollingMean>(plan, x, t, window);
}
Series rolling_min_time(Plan& plan, const Series& x, const Series& t, TimeWindow window) {
    return rolling<RollingMin>(plan, x, t, window);
}
Series rolling_max_time(Plan& plan, const Series& x, const Series& t, TimeWindow window) {
    return rolling<RollingMax>(plan, x, t, window);
}

}  // namespace qvo::value
