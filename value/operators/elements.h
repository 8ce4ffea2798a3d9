// Elements in memory, with their runs: what functions hold that look at the whole of their input, and how they hand
// elements out again. Runs are longer here than operators have them: equal neighbours of a sequence with runs are one
// element, however many positions they cover, so whoever hands elements out cuts the runs into bytes again.
#pragma once

#include <algorithm>
#include <vector>

#include "evaluate/plan.h"

namespace qvo::value {

class Elements {
 public:
    explicit Elements(ValueType type = {}) : type_(type), width_(type.width) {}

    ValueType type() const { return type_; }
    size_t width() const { return width_; }
    size_t size() const { return n_; }
    uint64_t positions() const { return positions_; }
    const uint8_t* bytes() const { return values_.data(); }
    const uint8_t* element(size_t i) const { return values_.data() + i * width_; }
    template <class V> const V* values() const { return reinterpret_cast<const V*>(values_.data()); }

    /// Null if every run is 1.
    const uint32_t* runs() const { return single_ ? nullptr : runs_.data(); }
    uint32_t run(size_t i) const { return single_ ? 1 : runs_[i]; }
    /// The position at which each element begins, and the number of positions after the last.
    std::vector<uint64_t> starts() const;

    void reserve(size_t n) { values_.reserve(n * width_); }
    /// Adds elements as they lie in a tile.
    void put(const void* values, const uint8_t* first_run, size_t n);
    void put_one(const void* value, uint32_t run);
    /// Adds elements with runs of their own, or of 1.
    void put_array(const void* values, const uint32_t* runs, size_t n);
    /// Adds a series to its end; all positions held count against the budget. `expected` elements, if that is known.
    void collect(Plan& plan, const Series& series, size_t expected = 0);

 private:
    void give_runs() {
        if (single_) runs_.assign(n_, 1);
        single_ = false;
    }
    template <class Same> void put_joined(const uint8_t* values, const uint8_t* first_run, size_t n, Same same);

    ValueType type_;
    size_t width_;  // not that of the type, of whose small range the compiler makes slow copying loops
    Buffer values_;
    std::vector<uint32_t> runs_;  // empty as long as all are 1:
    bool single_ = true;
    size_t n_ = 0;
    uint64_t positions_ = 0;
};

/// Hands out n elements a tile at a time.
class Emission {
 public:
    /// fill(i, n, to) writes the values of n elements from i on; run_of(i) says their runs, unless all are 1.
    template <class Fill, class RunOf>
    QVO_RET next(qvo_seq_iterator_h it, size_t n, bool single, Fill fill, RunOf run_of) {
        const size_t width = it->elem_size;
        TileWriter out(it, capacity_of(width));
        if (single) {
            const size_t some = std::min(out.room(), n - at_);
            if (some != 0) fill(at_, some, it->tile.u.arr_char);
            out.put_equal_runs(some, 1);
            at_ += some;
        }
        while (out.room() != 0 && at_ < n) {
            const uint32_t left = static_cast<uint32_t>(run_of(at_)) - taken_;
            const unsigned run = std::min<uint32_t>(left, max_run);
            fill(at_, 1, it->tile.u.arr_char + out.size() * width);
            out.put_run(run);
            taken_ += run;
            if (run == left) ++at_, taken_ = 0;
        }
        return out.finish(out.room() == 0 ? QVO_S_OK : QVO_S_CURSOR_END);
    }

 private:
    size_t at_ = 0;
    uint32_t taken_ = 0;  // positions of the element there
};

/// Hands out elements as they are, which must outlive the plan.
Series elements_source(Plan& plan, const Elements& elements);

/// The elements as a type that they meet with others in.
Elements widened(Plan& plan, const Elements& elements, ValueType to);

/// Elements of a long loop after which the host is asked whether to go on.
constexpr size_t stretch = size_t{1} << 16;

/// Calls f(first, last) for stretches of 0 .. n - 1.
template <class F> void in_stretches(Plan& plan, size_t n, F f) {
    for (size_t i = 0; i < n; i += stretch) {
        plan.check_interrupt();
        f(i, std::min(n, i + stretch));
    }
}

/// Asks the host likewise within loops that have steps of their own, and say how far they have come.
class Milestones {
 public:
    explicit Milestones(Plan& plan) : plan_(plan) {}
    QVO_INLINE void pass(size_t i) {
        if (i < next_) return;
        plan_.check_interrupt();
        next_ = i + stretch;
    }

 private:
    Plan& plan_;
    size_t next_ = 0;
};

}  // namespace qvo::value
