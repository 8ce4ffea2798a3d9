// Extremes over windows of long runs, at a cost for each run.
//
// The values of a window that may still become its extreme wait in a queue: each is preferred to all that came after it.
// One that enters drives out those that it is preferred to or equals; the first in the queue is the extreme until it
// leaves the window. Where runs are short an array of all positions is cheaper; the window is handed over to one and back.
#pragma once

#include <algorithm>
#include <bit>
#include <optional>
#include <vector>

#include "operators/rolling.h"
#include "operators/rolling_loops.h"
#include "operators/scan.h"

namespace qvo::value {

/// A queue in an array that is reused.
template <class T> class Queue {
 public:
    bool empty() const { return first_ == items_.size(); }
    size_t size() const { return items_.size() - first_; }
    T& front() { return items_[first_]; }
    T& back() { return items_.back(); }
    const T& operator[](size_t i) const { return items_[first_ + i]; }
    void pop_front() { ++first_; }
    void pop_back() { items_.pop_back(); }
    void push_back(const T& item) {
        if (items_.size() == items_.capacity() && first_ > items_.size() / 2) {
            items_.erase(items_.begin(), items_.begin() + static_cast<ptrdiff_t>(first_));
            first_ = 0;
        }
        items_.push_back(item);
    }

 private:
    std::vector<T> items_;
    size_t first_ = 0;
};

/// A window that moves along runs. What came before the first position is missing.
template <class S> class ExtremeQueue {
    using Fold = typename S::Fold;

 public:
    explicit ExtremeQueue(Window window)
        : n_(window.positions), required_(std::max<uint64_t>(window.min_periods, S::least)), next_(n_) {
        gone_.push_back({0, n_});
        missing_ = n_;
    }

    /// Up to `run` positions of a value over which the result stays; returns how many.
    QVO_INLINE unsigned take(double x, unsigned run, double& result) {
        const uint64_t first = next_ + 1 - n_;  // position of the window
        const bool enters = is_present(x);
        uint64_t n = run;
        bool enough = true;
        if (!enters || !gone_.empty()) enough = enough_present(enters, first, n);
        if (enters) {
            while (!waiting_.empty() && Fold::merge(waiting_.back().value, x) == x) waiting_.pop_back();
            waiting_.push_back({x, never});
        }
        while (!waiting_.empty() && waiting_.front().end <= first) waiting_.pop_front();
        result = missing;
        if (!waiting_.empty()) {
            n = std::min(n, waiting_.front().end - first);
            if (enough) result = waiting_.front().value;
        }
        if (enters)
            waiting_.back().end = next_ + n;
        else
            note_missing(n);
        next_ += n;
        return static_cast<unsigned>(n);
    }
    /// Values that wait, and runs of missing ones.
    size_t size() const { return waiting_.size() + gone_.size(); }

    /// The last positions, as many as a window holds but for one, or all: calls `take(x, n)` for n of one value. In place
    /// of values that do not wait any more come those that outlast them.
    template <class Take> void replay(Take take) const {
        size_t value = 0, gap = 0;
        for (uint64_t at = std::max(next_ + 1 - n_, n_), end; at < next_; at = end) {
            while (value < waiting_.size() && waiting_[value].end <= at) ++value;
            while (gap < gone_.size() && gone_[gap].end <= at) ++gap;
            const bool gone = gap < gone_.size() && gone_[gap].begin <= at;
            end = gone ? gone_[gap].end : waiting_[value].end;
            if (!gone && gap < gone_.size()) end = std::min(end, gone_[gap].begin);
            take(gone ? missing : waiting_[value].value, end - at);
        }
    }

 private:
    static constexpr uint64_t never = std::numeric_limits<uint64_t>::max();
    struct Waiting {
        double value;
        uint64_t end;  // the position after its last one
    };
    struct Gap {
        uint64_t begin, end;
    };

    /// Whether enough values are present in a window from `first` on. Cuts n to the positions over which that stays.
    bool enough_present(bool enters, uint64_t first, uint64_t& n) {
        while (!gone_.empty() && gone_.front().end <= first) {
            missing_ -= gone_.front().end - gone_.front().begin;
            gone_.pop_front();
        }
        uint64_t here = missing_ + !enters;
        bool leaves = true;  // a value does
        if (!gone_.empty()) {
            const Gap gap = gone_.front();
            leaves = gap.begin > first;
            n = std::min(n, (leaves ? gap.begin : gap.end) - first);
            here -= leaves ? 0 : first - gap.begin;
        }
        const uint64_t present = n_ - here;
        const bool enough = present >= required_;
        if (!enough && enters && !leaves) n = std::min(n, required_ - present);
        if (enough && !enters && leaves) n = std::min(n, present - required_ + 1);
        return enough;
    }
    void note_missing(uint64_t n) {
        if (!gone_.empty() && gone_.back().end == next_)
            gone_.back().end += n;
        else
            gone_.push_back({next_, next_ + n});
        missing_ += n;
    }

    uint64_t n_, required_, next_;  // next_: position
    Queue<Waiting> waiting_;
    Queue<Gap> gone_;
    uint64_t missing_;  // positions of the gaps
};

/// Array is the step for what has no long runs.
template <class S, class Array> class RollingExtremes {
 public:
    using In = double;
    using Out = double;
    static unsigned written_out() { return long_run; }

    RollingExtremes(Plan& plan, Window window)
        : plan_(plan), window_(window), array_(std::in_place, plan, window), queue_(window) {}

    void singles(const double* x, size_t n, double* results, uint64_t position) {
        array_->singles(x, n, results, position);
        count({n, n});
    }
    Taken take(double x, unsigned run, double* results, size_t room, uint64_t position) {
        const Taken taken = array_->take(x, run, results, room, position);
        count({1, taken.positions});
        return taken;
    }

    /// Whether what comes next, first an element of some run, goes to `take_runs`.
    bool by_runs(unsigned run) {
        if (array_ && (taken_ == 0 ? run > long_run : due() && lately_.positions > long_run * lately_.elements))
            go_over_to_runs();
        return !array_;
    }
    QVO_INLINE void take_runs(Operand& input, const double* values, TileWriter& out, double* results) {
        double last = missing;
        unsigned positions = 0;
        const size_t before = input.index();
        const uint64_t before_positions = out.positions();
        const auto put = [&] {
            results[out.size()] = last;
            out.put_run(positions);
        };
        while (!input.used_up() && out.room() > 1) {
            double result;
            const unsigned n = queue_.take(values[input.index()], input.run_left(), result);
            input.take(n);
            if (positions + n <= max_run && std::bit_cast<uint64_t>(result) == std::bit_cast<uint64_t>(last)) {
                positions += n;
                continue;
            }
            if (positions != 0) put();
            last = result;
            positions = n;
        }
        if (positions != 0) put();
        plan_.within_budget(queue_.size());
        count({input.index() - before, static_cast<size_t>(out.positions() - before_positions)});
        if (due() && lately_.positions < short_run * lately_.elements) go_over_to_array();
    }

 private:
    static constexpr unsigned long_run = 12, short_run = 6;
    static constexpr uint64_t enough_to_judge = 1024;  // positions
    static constexpr size_t between_polls = 65536;
    struct Count {
        uint64_t elements, positions;
    };

    void count(Count taken) {
        if (lately_.positions >= enough_to_judge) lately_ = {};
        lately_.elements += taken.elements;
        lately_.positions += taken.positions;
        taken_ += taken.positions;
        since_change_ += taken.positions;
    }
    /// To go over takes as long as some positions of a window.
    bool due() const {
        return lately_.positions >= enough_to_judge && since_change_ >= std::min(window_.positions, taken_);
    }
    void go_over_to_runs() {
        queue_ = ExtremeQueue<S>(window_);
        size_t n = 0;
        double result;
        for (const double x : array_->last()) {
            queue_.take(x, 1, result);
            if (++n % between_polls == 0) plan_.poll();
        }
        array_.reset();
        since_change_ = 0;
    }
    void go_over_to_array() {
        array_.emplace(plan_, window_);
        queue_.replay([this](double x, uint64_t n) {
            double results[most_rolled];
            while (n != 0) {
                const auto here = static_cast<unsigned>(std::min<uint64_t>(n, max_run));
                n -= array_->take(x, here, results, most_rolled, 0).positions;
                plan_.poll();
            }
        });
        since_change_ = 0;
    }

    Plan& plan_;
    Window window_;
    std::optional<Array> array_;  // or none, where the queue has the window
    ExtremeQueue<S> queue_;
    Count lately_{};
    uint64_t taken_ = 0, since_change_ = 0;  // positions
};

}  // namespace qvo::value
