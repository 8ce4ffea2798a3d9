#include "operators/ordered.h"

#include <cstring>
#include <limits>

#include "evaluate/deliver.h"
#include "operators/sort.h"

namespace qvo::value {
namespace {

/// Copies the elements with indexes index(0) .. index(n - 1).
template <class Index> void gather(const Elements& from, size_t n, Index index, char* to) {
    const uint8_t* const values = from.bytes();
    with_fixed_width(from.width(), [&](auto fixed) {
        const size_t width = fixed != 0 ? fixed : from.width();
        for (size_t i = 0; i < n; ++i) std::memcpy(to + i * width, values + index(i) * width, width);
    });
}

/// An operator that reads its operand to the end before it hands out the first element.
class Whole : public Operator {
 public:
    Whole(const Series& x, size_t expected) : elements_(x.type), x_(x), expected_(expected) {}
    QVO_RET next(qvo_seq_iterator_h it) final {
        if (!std::exchange(loaded_, true)) {
            elements_.collect(*plan, x_, expected_);
            load();
        }
        return emit(it);
    }

 protected:
    virtual void load() {}
    virtual QVO_RET emit(qvo_seq_iterator_h it) = 0;

    Elements elements_;

 private:
    Series x_;
    size_t expected_;
    bool loaded_ = false;
};

class Sorted final : public Whole {
 public:
    Sorted(const Series& x, bool descending, size_t expected) : Whole(x, expected), descending_(descending) {}

 private:
    void load() override { order_ = stable_order(*plan, elements_, descending_); }
    QVO_RET emit(qvo_seq_iterator_h it) override {
        const uint32_t* const order = order_.indexes();
        return emission_.next(
            it, order_.size(), elements_.runs() == nullptr,
            [&](size_t i, size_t n, char* to) {
                if (order == nullptr)
                    std::memcpy(to, elements_.element(i), n * elements_.width());
                else
                    gather(
                        elements_, n, [&](size_t k) { return order[i + k]; }, to);
            },
            [&](size_t i) { return elements_.run(order_.at(i)); });
    }
    bool descending_;
    Order order_{0};
    Emission emission_;
};

class SortedPositions final : public Whole {
 public:
    SortedPositions(const Series& x, bool descending, size_t expected) : Whole(x, expected), descending_(descending) {}

 private:
    void load() override {
        order_ = stable_order(*plan, elements_, descending_);
        if (elements_.runs() != nullptr) starts_ = elements_.starts();
    }
    QVO_RET emit(qvo_seq_iterator_h it) override {
        TileWriter out(it, capacity_of(sizeof(int64_t)));
        int64_t* const to = values_of<int64_t>(it);
        const uint32_t* const order = order_.indexes();
        if (starts_.empty()) {
            const size_t n = std::min(out.room(), order_.size() - at_);
            for (size_t i = 0; i < n; ++i) to[i] = static_cast<int64_t>(order == nullptr ? at_ + i : order[at_ + i]);
            out.put_equal_runs(n, 1);
            at_ += n;
        }
        while (out.room() != 0 && at_ < order_.size()) {
            const size_t element = order_.at(at_);
            const uint32_t left = elements_.run(element) - used_;
            const size_t n = std::min<size_t>(out.room(), left);
            const auto first = static_cast<int64_t>(starts_[element] + used_);
            for (size_t i = 0; i < n; ++i) to[out.size() + i] = first + static_cast<int64_t>(i);
            out.put_equal_runs(n, 1);
            used_ += static_cast<uint32_t>(n);
            if (n == left) ++at_, used_ = 0;
        }
        return out.finish(out.room() == 0 ? QVO_S_OK : QVO_S_CURSOR_END);
    }
    bool descending_;
    Order order_{0};
    std::vector<uint64_t> starts_;  // of elements with runs
    size_t at_ = 0;
    uint32_t used_ = 0;  // positions of the element there
};

class Ranks final : public Whole {
 public:
    using Whole::Whole;

 private:
    void load() override {
        const Order order = stable_order(*plan, elements_, false);
        ranks_.reset(new double[order.size()]);
        with_equality(elements_, [&](auto same) {
            Milestones milestones(*plan);
            uint64_t before = 0;  // positions
            for (size_t i = 0, end; i < order.size(); i = end) {
                milestones.pass(i);
                uint64_t equal = 0;
                for (end = i; end < order.size() && (end == i || same(order.at(i), order.at(end))); ++end)
                    equal += elements_.run(order.at(end));
                const double rank = static_cast<double>(before) + (static_cast<double>(equal) + 1) / 2;
                for (size_t k = i; k < end; ++k) ranks_[order.at(k)] = rank;
                before += equal;
            }
        });
        if (elements_.type().type == Type::double_) leave_out_missing(elements_.values<double>());
        if (elements_.type().type == Type::float_) leave_out_missing(elements_.values<float>());
    }
    template <class V> void leave_out_missing(const V* values) {
        for (size_t i = 0; i < elements_.size(); ++i)
            if (values[i] != values[i]) ranks_[i] = std::numeric_limits<double>::quiet_NaN();
    }
    QVO_RET emit(qvo_seq_iterator_h it) override {
        return emission_.next(
            it, elements_.size(), elements_.runs() == nullptr,
            [&](size_t i, size_t n, char* to) { std::memcpy(to, ranks_.get() + i, n * sizeof(double)); },
            [&](size_t i) { return elements_.run(i); });
    }
    std::unique_ptr<double[]> ranks_;
    Emission emission_;
};

class Reversed final : public Whole {
 public:
    using Whole::Whole;

 private:
    QVO_RET emit(qvo_seq_iterator_h it) override {
        const size_t last = elements_.size() - 1;
        return emission_.next(
            it, elements_.size(), elements_.runs() == nullptr,
            [&](size_t i, size_t n, char* to) {
                gather(
                    elements_, n, [&](size_t k) { return last - i - k; }, to);
            },
            [&](size_t i) { return elements_.run(last - i); });
    }
    Emission emission_;
};

class Different final : public Whole {
 public:
    using Whole::Whole;

 private:
    void load() override {
        const Order order = stable_order(*plan, elements_, false);
        with_equality(elements_, [&](auto same) {
            in_stretches(*plan, order.size(), [&](size_t first, size_t last) {
                for (size_t i = first; i < last; ++i)
                    if (i == 0 || !same(order.at(i - 1), order.at(i)))
                        firsts_.push_back(static_cast<uint32_t>(order.at(i)));
            });
        });
    }
    QVO_RET emit(qvo_seq_iterator_h it) override {
        return emission_.next(
            it, firsts_.size(), true,
            [&](size_t i, size_t n, char* to) {
                gather(
                    elements_, n, [&](size_t k) { return firsts_[i + k]; }, to);
            },
            [](size_t) { return 1; });
    }
    std::vector<uint32_t> firsts_;
    Emission emission_;
};

/// Holds the first n positions of the sorted sequence so far, and elements that may belong there; whenever these are
/// many, it keeps the first n, and what comes later must come before the last of them.
class Bottom final : public Operator {
 public:
    Bottom(const Series& x, uint64_t n, bool descending) : x_(x), wanted_(n), descending_(descending), held_(x.type) {}
    QVO_RET next(qvo_seq_iterator_h it) override {
        if (!std::exchange(loaded_, true)) load();
        return emission_.next(
            it, held_.size(), held_.runs() == nullptr,
            [&](size_t i, size_t n, char* to) { std::memcpy(to, held_.element(i), n * it->elem_size); },
            [&](size_t i) { return held_.run(i); });
    }

 private:
    void load() {
        if (wanted_ == 0) return;
        constexpr uint64_t fewest = 4096;
        for_each_tile(*plan, x_, [&](const char* values, const uint8_t* runs, size_t n) {
            take(values, runs, n);
            if (held_.size() >= fewest && held_.positions() / 2 >= wanted_) keep_first();
            plan->within_budget(held_.positions());
        });
        keep_first();
    }
    /// Sorts what is held and keeps the first positions that are wanted.
    void keep_first() {
        const Order order = stable_order(*plan, held_, descending_);
        Elements first(held_.type());
        for (size_t i = 0; i < order.size() && first.positions() < wanted_; ++i) {
            const size_t element = order.at(i);
            const uint64_t left = wanted_ - first.positions();
            first.put_one(held_.element(element), static_cast<uint32_t>(std::min<uint64_t>(left, held_.run(element))));
        }
        held_ = std::move(first);
        full_ = held_.positions() == wanted_;
        if (full_) last_.assign(held_.element(held_.size() - 1), held_.element(held_.size()));
    }
    void take(const char* values, const uint8_t* runs, size_t n) {
        if (!full_) return held_.put(values, runs, n);
        if (x_.type.type == Type::char_) {
            const size_t width = x_.type.width;
            return take_if(values, runs, n, width, [&](size_t i) {
                const int order = std::memcmp(values + i * width, last_.data(), width);
                return descending_ ? order > 0 : order < 0;
            });
        }
        with_fixed(x_.type.type, [&](auto tag) {
            using V = typename decltype(tag)::value;
            const auto* const typed = reinterpret_cast<const V*>(values);
            V last;
            std::memcpy(&last, last_.data(), sizeof last);
            const KeyOf<V> key = descending_ ? order_key<true>(last) : order_key<false>(last);
            if (descending_)
                take_if(values, runs, n, sizeof(V), [&](size_t i) { return order_key<true>(typed[i]) < key; });
            else
                take_if(values, runs, n, sizeof(V), [&](size_t i) { return order_key<false>(typed[i]) < key; });
        });
    }
    template <class Wanted>
    void take_if(const char* values, const uint8_t* runs, size_t n, size_t width, Wanted wanted) {
        for (size_t i = 0; i < n; ++i)
            if (wanted(i)) held_.put_one(values + i * width, get_run(runs, i));
    }

    Series x_;
    uint64_t wanted_;
    bool descending_, loaded_ = false, full_ = false;
    Elements held_;
    std::vector<uint8_t> last_;  // of the first positions, if there are as many as wanted
    Emission emission_;
};

class Taken final : public Operator {
 public:
    Taken(const Series& x, const Series& p, size_t expected) : x_(x), p_(p), expected_(expected), elements_(x.type) {}
    QVO_RET next(qvo_seq_iterator_h it) override {
        if (!std::exchange(loaded_, true)) {
            elements_.collect(*plan, x_, expected_);
            if (elements_.runs() != nullptr) starts_ = elements_.starts();
        }
        Operand input(p_.it);
        TileWriter out(it, capacity_of(it->elem_size));
        const uint8_t* const runs = runs_of(p_.it);
        uint32_t indexes[qvo::capacity_of(sizeof(int64_t))];
        const QVO_RET rc = walk_elements(input, out, Where::here(), [&](size_t index, size_t n) {
            const int64_t* const wanted = values_of<int64_t>(p_.it) + index;
            look_up(wanted, n, runs - index, it->next_seq_no + out.positions(), indexes);
            gather(
                elements_, n, [&](size_t i) { return indexes[i]; }, it->tile.u.arr_char + out.size() * it->elem_size);
            out.put_runs(runs - index, n);
        });
        return out.finish(rc);
    }

 private:
    /// The indexes of the elements at the wanted positions.
    void look_up(const int64_t* wanted, size_t n, const uint8_t* runs, uint64_t position, uint32_t* indexes) {
        const auto length = static_cast<int64_t>(elements_.positions());
        for (size_t i = 0; i < n; ++i) {
            const int64_t at = wanted[i] < 0 ? wanted[i] + length : wanted[i];
            if (at < 0 || at >= length) refuse(wanted[i], position + sum_runs(runs, i));
            indexes[i] = starts_.empty() ? static_cast<uint32_t>(at) : element_at(static_cast<uint64_t>(at));
        }
    }
    /// The element that covers a position; most often the one before, or the next.
    uint32_t element_at(uint64_t at) {
        if (at < starts_[near_] || at >= starts_[near_ + 1]) {
            if (at >= starts_[near_ + 1] && at < starts_[std::min<size_t>(near_ + 2, elements_.size())])
                ++near_;
            else
                near_ =
                    static_cast<uint32_t>(std::upper_bound(starts_.begin(), starts_.end(), at) - starts_.begin() - 1);
        }
        return near_;
    }
    [[noreturn]] void refuse(int64_t wanted, uint64_t position) const {
        throw Error(Fault::argument, "argument 2: " + std::to_string(wanted) + " at position " +
                                         std::to_string(position) + " is outside the " +
                                         std::to_string(elements_.positions()) + " positions of x");
    }

    Series x_, p_;
    size_t expected_;
    Elements elements_;
    std::vector<uint64_t> starts_;  // of elements with runs
    uint32_t near_ = 0;
    bool loaded_ = false;
};

}  // namespace

Series sorted(Plan& plan, const Series& x, bool descending, size_t expected) {
    return plan.make<Sorted>(x.type, x.length, x, descending, expected);
}
Series sorted_positions(Plan& plan, const Series& x, bool descending, size_t expected) {
    return plan.make<SortedPositions>(type_of(Type::int8), x.length, x, descending, expected);
}
Series ranks(Plan& plan, const Series& x, size_t expected) {
    return plan.make<Ranks>(type_of(Type::double_), x.length, x, expected);
}
Series reversed(Plan& plan, const Series& x, size_t expected) {
    return plan.make<Reversed>(x.type, x.length, x, expected);
}
Series different(Plan& plan, const Series& x, size_t expected) {
    return plan.make<Different>(x.type, std::nullopt, x, expected);
}
Series bottom(Plan& plan, const Series& x, uint64_t n, bool descending) {
    std::optional<uint64_t> length;
    if (x.length) length = std::min(*x.length, n);
    return plan.make<Bottom>(x.type, length, x, n, descending);
}
Series taken(Plan& plan, const Series& x, const Series& p, size_t expected) {
    return plan.make<Taken>(x.type, p.length, x, p, expected);
}

}  // namespace qvo::value
