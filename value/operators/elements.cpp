#include "operators/elements.h"

#include <cstring>
#include <limits>

#include "evaluate/deliver.h"
#include "operators/convert.h"

namespace qvo::value {
namespace {

class FromElements final : public Operator {
 public:
    explicit FromElements(const Elements& elements) : elements_(elements) {}
    QVO_RET next(qvo_seq_iterator_h it) override {
        const size_t width = it->elem_size;
        return emission_.next(
            it, elements_.size(), elements_.runs() == nullptr,
            [&](size_t i, size_t n, char* to) { std::memcpy(to, elements_.element(i), n * width); },
            [&](size_t i) { return elements_.run(i); });
    }

 private:
    const Elements& elements_;
    Emission emission_;
};

}  // namespace

std::vector<uint64_t> Elements::starts() const {
    std::vector<uint64_t> starts(n_ + 1);
    for (size_t i = 0; i < n_; ++i) starts[i + 1] = starts[i] + run(i);
    return starts;
}

/// Joins what is equal to its neighbour, bit by bit, so that the positions of a long run are held once.
template <class Same> void Elements::put_joined(const uint8_t* values, const uint8_t* first_run, size_t n, Same same) {
    const size_t width = width_;
    for (size_t i = 0; i < n; ++i, values += width) {
        const unsigned run = get_run(first_run, i);
        positions_ += run;
        if (n_ != 0 && same(values, element(n_ - 1)) && runs_[n_ - 1] <= std::numeric_limits<uint32_t>::max() - run) {
            runs_[n_ - 1] += run;
            continue;
        }
        values_.append(values, width);
        runs_.push_back(run);
        ++n_;
    }
}

void Elements::put(const void* values, const uint8_t* first_run, size_t n) {
    if (leading_single_runs(first_run, n) == n) return put_array(values, nullptr, n);
    give_runs();
    const auto* bytes = static_cast<const uint8_t*>(values);
    const size_t width = width_;
    if (width == sizeof(uint64_t))
        put_joined(bytes, first_run, n,
                   [](const uint8_t* a, const uint8_t* b) { return load_word(a) == load_word(b); });
    else
        put_joined(bytes, first_run, n,
                   [width](const uint8_t* a, const uint8_t* b) { return std::memcmp(a, b, width) == 0; });
}

void Elements::put_one(const void* value, uint32_t run) { put_array(value, &run, 1); }

void Elements::put_array(const void* values, const uint32_t* runs, size_t n) {
    if (runs != nullptr && std::any_of(runs, runs + n, [](uint32_t run) { return run != 1; })) give_runs();
    values_.append(values, n * width_);
    n_ += n;
    if (!single_ && runs != nullptr)
        runs_.insert(runs_.end(), runs, runs + n);
    else if (!single_)
        runs_.resize(n_, 1);
    if (runs == nullptr)
        positions_ += n;
    else
        for (size_t i = 0; i < n; ++i) positions_ += runs[i];
}

void Elements::collect(Plan& plan, const Series& series, size_t expected) {
    // A known length is only the most that there are: runs may need far fewer elements. Where so many have come without
    // any, the others get their room at once, too, instead of being moved whenever it has doubled.
    constexpr uint64_t worth_a_guess = uint64_t{1} << 22;
    constexpr uint64_t most_ahead = uint64_t{1} << 28;  // bytes
    const uint64_t last = positions_ + series.length.value_or(0);
    bool is_open = false;
    if (series.length) {
        plan.within_budget(last);
        is_open = expected == 0 && *series.length > worth_a_guess;
        if (expected == 0 && !is_open) expected = *series.length;
    }
    reserve(std::min<size_t>(expected, plan.limits().budget));
    for_each_tile(plan, series, [&](const void* values, const uint8_t* runs, size_t n) {
        put(values, runs, n);
        plan.within_budget(positions_);
        if (is_open && n_ >= worth_a_guess) {
            is_open = false;
            if (single_) reserve(std::min<uint64_t>(last - positions_, most_ahead / width_));
        }
    });
}

Series elements_source(Plan& plan, const Elements& elements) {
    return plan.make<FromElements>(elements.type(), elements.positions(), elements);
}

Elements widened(Plan& plan, const Elements& elements, ValueType to) {
    Elements wide(to);
    wide.collect(plan, widened(plan, elements_source(plan, elements), to), elements.size());
    return wide;
}

}  // namespace qvo::value
