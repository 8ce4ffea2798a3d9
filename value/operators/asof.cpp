// One pass over both series. The u and y at hand lie in buffers whose slot 0 holds the last pair before them, so that a
// match that was read earlier is found like any other, and after which u is larger than anything, so that looking for
// the place of a t needs no test for the end.
#include "operators/asof.h"

#include <limits>

#include "evaluate/scalar.h"
#include "operators/ascending.h"
#include "operators/pair_walk.h"

namespace qvo::value {
namespace {

constexpr size_t most_pairs = capacity_of(sizeof(uint64_t));
constexpr size_t stride = 4;  // u that are compared at once
constexpr size_t none = most_pairs + 1 + stride;

using Direction = AsofRule::Direction;

template <class V> class Asof final : public Operator {
 public:
    Asof(Plan& to, const Series& t, const Series& u, const Series& y, const AsofRule& rule)
        : t_(t), pairs_(to, u, y), y_type_(y.type), rule_(rule), y_(new uint8_t[(none + 1) * y.type.width]) {
        if (rule.otherwise) put_element(*rule.otherwise, y_.get() + none * y_type_.width);
        close_buffer();
    }

    QVO_RET next(qvo_seq_iterator_h it) override {
        Operand input(t_.it);
        TileWriter out(it, capacity_of(y_type_.width));
        const QVO_RET rc = walk_elements(input, out, Where::here(), [&](size_t index, size_t n) {
            const uint8_t* const runs = runs_of(t_.it) - index;
            const uint64_t position = it->next_seq_no + out.positions();
            const V* const t = values_of<V>(t_.it) + index;
            ascending_t_.check(t, runs, n, position);
            join(t, runs, n, position, it->tile.u.arr_uint1 + out.size() * y_type_.width);
            out.put_runs(runs, n);
        });
        // What no t asks for has to be in order too.
        if (rc == QVO_S_CURSOR_END)
            while (!exhausted_) exhausted_ = !refill();
        return out.finish(rc);
    }

 private:
    /// Writes the y of n values of t.
    void join(const V* t, const uint8_t* runs, size_t n, uint64_t position, uint8_t* to) {
        uint16_t place[capacity_of(sizeof(V))];
        for (size_t done = 0; done < n;) {
            const size_t found = rule_.direction == Direction::forward ? find<false>(t + done, n - done, place)
                                                                       : find<true>(t + done, n - done, place);
            resolve(t + done, found, place);
            if (!rule_.otherwise)
                for (size_t i = 0; i < found; ++i)
                    if (place[i] == none) fail(position + sum_runs(runs, done + i));
            with_mover(y_type_.width, [&](auto mover) {
                for (size_t i = 0; i < found; ++i) mover.move(to, done + i, y_.get(), place[i]);
            });
            done += found;
            if (done < n) exhausted_ = !refill();
        }
    }

    /// Of the leading t, the slot of the first u above them (not below them, without `equal`). Ends with the first t
    /// that is above all u at hand, unless there are no more.
    template <bool equal> size_t find(const V* __restrict t, size_t n, uint16_t* __restrict place) {
        const V* const u = u_;
        const size_t end = end_;
        size_t at = at_, i = 0;
        for (; i < n; ++i) {
            const V now = t[i];
            size_t passed;
            do {
                passed = 0;
                for (size_t k = 0; k < stride; ++k) passed += equal ? u[at + k] <= now : u[at + k] < now;
                at += passed;
            } while (passed == stride && at < end);
            if (at >= end) [[unlikely]] {
                at = end;
                if (!exhausted_) break;
            }
            place[i] = static_cast<uint16_t>(at);
        }
        at_ = at;
        return i;
    }

    /// Turns places into the slots of matches, or `none`.
    void resolve(const V* t, size_t n, uint16_t* place) const {
        switch (rule_.direction) {
            case Direction::backward:
                return rule_.limited ? resolve<Direction::backward, true>(t, n, place)
                                     : resolve<Direction::backward, false>(t, n, place);
            case Direction::forward:
                return rule_.limited ? resolve<Direction::forward, true>(t, n, place)
                                     : resolve<Direction::forward, false>(t, n, place);
            case Direction::nearest:
                break;
        }
        rule_.limited ? resolve<Direction::nearest, true>(t, n, place)
                      : resolve<Direction::nearest, false>(t, n, place);
    }
    /// Without branches, as which way they would go is anybody's guess. Slots 0 and end_ can be read, whatever is in
    /// them.
    template <Direction direction, bool limited>
    void resolve(const V* __restrict t, size_t n, uint16_t* __restrict place) const {
        const size_t first = before_ ? 0 : 1, end = end_;
        for (size_t i = 0; i < n; ++i) {
            const size_t above = place[i], below = above - 1;
            const bool has_above = above < end, has_below = below >= first;
            bool forward = direction == Direction::forward;
            if (direction == Direction::nearest)
                forward = has_above & (!has_below | (distance(t[i], u_[above]) < distance(u_[below], t[i])));
            const size_t slot = below + forward;
            bool found = forward ? has_above : has_below;
            if (limited) found &= near(t[i], u_[slot]);
            place[i] = static_cast<uint16_t>(found ? slot : none);
        }
    }
    /// The distance from a value to one that is not below it.
    QVO_INLINE static auto distance(V low, V high) {
        if constexpr (std::is_floating_point_v<V>)
            return high - low;
        else
            return static_cast<uint64_t>(high) - static_cast<uint64_t>(low);
    }
    QVO_INLINE bool near(V t, V u) const {
        const auto apart = u < t ? distance(u, t) : distance(t, u);
        if constexpr (std::is_floating_point_v<V>)
            return !(apart > rule_.real_tolerance);
        else
            return apart <= rule_.integer_tolerance;
    }

    /// Reads the next pairs; false if there are none.
    bool refill() {
        PairBatch batch;
        if (!pairs_.next(batch)) return false;
        const V* const u = static_cast<const V*>(batch.a);
        ascending_u_.check(u, batch.first_run, batch.n, passed_);
        passed_ += sum_runs(batch.first_run, batch.n);
        const size_t width = y_type_.width;
        if (end_ > 1) {
            before_ = true;
            u_[0] = u_[end_ - 1];
            std::memcpy(y_.get(), y_.get() + (end_ - 1) * width, width);
        }
        std::memcpy(u_ + 1, u, batch.n * sizeof(V));
        std::memcpy(y_.get() + width, batch.b, batch.n * width);
        end_ = batch.n + 1;
        at_ = 1;
        close_buffer();
        return true;
    }
    void close_buffer() {
        for (size_t k = 0; k < stride; ++k)
            u_[end_ + k] =
                std::is_floating_point_v<V> ? std::numeric_limits<V>::infinity() : std::numeric_limits<V>::max();
    }

    [[noreturn]] void fail(uint64_t position) const {
        throw Error(Fault::argument, "no match at position " + std::to_string(position) + ", and y is of " +
                                         name_of(y_type_) +
                                         ", which has no missing values; float and double have (cast converts)");
    }

    Series t_;
    PairWalk pairs_;
    ValueType y_type_;
    AsofRule rule_;
    Ascending<V> ascending_t_{"argument 1: t"}, ascending_u_{"argument 2: u"};
    uint64_t passed_ = 0;      // positions of u
    size_t at_ = 1, end_ = 1;  // the first slot that may match next, and the one after the last
    bool before_ = false;      // that slot 0 is in use
    bool exhausted_ = false;
    V u_[1 + most_pairs + stride] = {};
    std::unique_ptr<uint8_t[]> y_;
};

}  // namespace

Series asof(Plan& plan, const Series& t, const Series& u, const Series& y, const AsofRule& rule) {
    if (t.type.type == Type::double_) return plan.make<Asof<double>>(y.type, t.length, plan, t, u, y, rule);
    if (t.type.type == Type::uint8) return plan.make<Asof<uint64_t>>(y.type, t.length, plan, t, u, y, rule);
    return plan.make<Asof<int64_t>>(y.type, t.length, plan, t, u, y, rule);
}

}  // namespace qvo::value
