// Reading two series by buckets of time: t says how many rows a bucket has, x is read by that many positions. Neither
// loses its runs: a bucket takes as many steps as there are elements in it.
#pragma once

#include <algorithm>

#include "evaluate/plan.h"
#include "evaluate/width.h"
#include "operators/ascending.h"

namespace qvo::value {

class Buckets {
 public:
    Buckets(Plan& plan, const Series& t, Width width) : plan_(plan), t_(t), width_(width) {}

    /// Moves to the next bucket that has rows; false after the last. The rows of the one before have all been taken.
    bool next() {
        if (index_ == size_ && !refill()) return false;
        const int64_t at = values_of<int64_t>(t_.it)[index_];
        if (!in_calendar(at)) fail_outside();
        const int64_t start = width_.floor(at);
        gap_ = first_ ? 0 : static_cast<uint64_t>(width_.steps(start_, start)) - 1;
        first_ = false;
        start_ = start;
        end_ = width_.next(start);
        return true;
    }
    int64_t start() const { return start_; }
    /// Buckets without rows before this one.
    uint64_t gap() const { return gap_; }

    /// Takes rows of the bucket, as many as are at hand; 0 if there are no more.
    unsigned rows() {
        if (index_ == size_ && !refill()) return 0;
        const int64_t* const t = values_of<int64_t>(t_.it);
        const size_t first = index_;
        if (t[size_ - 1] < end_)
            index_ = size_;
        else
            index_ = end_of_bucket(t);
        return sum_runs(runs_of(t_.it) - first, index_ - first);
    }

 private:
    bool refill() {
        const uint64_t position = t_.it->next_seq_no;
        index_ = size_ = 0;
        if (!plan_.pull(t_.it)) return false;
        size_ = t_.it->tile_size;
        ascending_.check(values_of<int64_t>(t_.it), runs_of(t_.it), size_, position);
        return true;
    }
    /// The first element of the tile that is not in the bucket: looked for in steps that grow, as buckets may be small.
    size_t end_of_bucket(const int64_t* t) const {
        size_t low = index_, step = 1;
        while (low + step < size_ && t[low + step] < end_) {
            low += step;
            step *= 2;
        }
        return static_cast<size_t>(std::lower_bound(t + low, t + std::min(low + step, size_), end_) - t);
    }
    [[noreturn]] void fail_outside() const {
        const uint64_t ahead = sum_runs(runs_of(t_.it) - index_, size_ - index_);
        throw Error(Fault::argument, "argument 1: the timestamp at position " +
                                         std::to_string(t_.it->next_seq_no - ahead) + " is outside the calendar");
    }

    Plan& plan_;
    Series t_;
    Width width_;
    Ascending<int64_t> ascending_{"argument 1: t"};
    size_t index_ = 0, size_ = 0;
    int64_t start_ = 0, end_ = 0;
    uint64_t gap_ = 0;
    bool first_ = true;
};

/// Reads a series by numbers of positions.
class ByPositions {
 public:
    ByPositions(Plan& plan, const Series& x) : plan_(plan), x_(x) {}

    /// Calls take(values, first_run, n) for the next `positions` positions. False if there are not as many.
    template <class Take> bool read(unsigned positions, Take take) {
        while (positions != 0) {
            if (index_ == size_) {
                if (!plan_.pull(x_.it)) return false;
                index_ = 0;
                size_ = x_.it->tile_size;
            }
            const uint8_t* const runs = runs_of(x_.it) - index_;
            const uint8_t* const values = values_of<uint8_t>(x_.it) + index_ * x_.type.width;
            if (taken_ == 0 && *runs <= positions) {
                const RunSpan whole = elements_within(runs, size_ - index_, positions);
                take(values, runs, whole.elements);
                index_ += whole.elements;
                positions -= whole.positions;
                continue;
            }
            const unsigned part = std::min(*runs - taken_, positions);
            uint8_t part_run[run_block] = {};
            part_run[run_block - 1] = static_cast<uint8_t>(part);
            take(values, part_run + run_block - 1, 1);
            positions -= part;
            taken_ += part;
            if (taken_ == *runs) {
                taken_ = 0;
                ++index_;
            }
        }
        return true;
    }

 private:
    Plan& plan_;
    Series x_;
    size_t index_ = 0, size_ = 0;
    unsigned taken_ = 0;  // positions of the current element
};

}  // namespace qvo::value
