// A window is a queue of two parts: the earlier positions, with the folds of each and all after it in that part, and
// the later ones with one running fold. When the earlier part has been used up, the later one takes its place, so that
// each position is folded twice, however wide the windows are.
#include "operators/rolling_time.h"

#include <algorithm>

#include "core/tile.h"
#include "evaluate/source.h"
#include "operators/fold.h"

namespace qvo::value {
namespace {

template <class S> class RollingTime final : public Operator {
    using Fold = typename S::Fold;

 public:
    RollingTime(const Series& x, const Series& t, TimeWindow window)
        : x_(x), t_(t), width_(window.width), required_(std::max<uint64_t>(window.min_periods, S::least)) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        Operand x(x_.it), t(t_.it);
        TileWriter out(it, capacity_of(sizeof(double)));
        QVO_RET rc = QVO_S_OK;
        double* const results = values_of<double>(it);
        while (out.room() != 0) {
            if (rc = refill_both(x, t, Where::here()); rc != QVO_S_OK) break;
            const size_t n = std::min<size_t>(out.room(), std::min(x.run_left(), t.run_left()));
            const double value = values_of<double>(x_.it)[x.index()];
            const int64_t time = values_of<int64_t>(t_.it)[t.index()];
            if (time < last_) descends(it->next_seq_no + out.positions());
            last_ = time;
            for (size_t i = 0; i < n; ++i) results[out.size() + i] = add(value, time);
            out.put_equal_runs(n, 1);
            x.take(static_cast<unsigned>(n));
            t.take(static_cast<unsigned>(n));
        }
        plan->within_budget(earlier_.size() + later_.size());
        x.store();
        t.store();
        return out.finish(rc);
    }

 private:
    struct Entry {
        int64_t time;
        double value;
        double fold;  // of it and all after it in the earlier part
    };

    [[noreturn]] static void descends(uint64_t position) {
        throw Error(Fault::argument, "argument 2: t must ascend, but falls at position " + std::to_string(position));
    }
    double add(double x, int64_t time) {
        double later = fold_.add(x);
        later_.push_back({time, x, 0});
        present_ += is_present(x);
        int64_t before;  // times up to this one have left the window
        if (__builtin_sub_overflow(time, width_, &before)) before = INT64_MIN;
        drop(before, later);
        const double fold = first_ == earlier_.size() ? later : Fold::merge(earlier_[first_].fold, later);
        return present_ >= required_ ? S::finish(fold, static_cast<double>(present_)) : missing;
    }
    void drop(int64_t before, double& later) {
        for (;;) {
            for (; first_ != earlier_.size() && earlier_[first_].time <= before; ++first_)
                present_ -= is_present(earlier_[first_].value);
            if (first_ != earlier_.size() || later_.front().time > before) return;
            exchange();
            later = Fold::neutral();
        }
    }
    void exchange() {
        earlier_.swap(later_);
        later_.clear();
        first_ = 0;
        Fold fold;
        for (size_t i = earlier_.size(); i-- > 0;) earlier_[i].fold = fold.add(earlier_[i].value);
        fold_ = Fold();
    }

    Series x_, t_;
    int64_t width_;
    uint64_t required_;
    int64_t last_ = INT64_MIN;
    std::vector<Entry> earlier_, later_;
    size_t first_ = 0;  // of the earlier part that is in the window
    Fold fold_;         // of the later part
    uint64_t present_ = 0;
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
