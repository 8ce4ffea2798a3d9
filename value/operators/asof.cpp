// One pass over both series. The u and y at hand lie in buffers whose slot 0 holds the last pair before them, so that a
// match that was read earlier is found like any other.
#include "operators/asof.h"

#include <algorithm>

#include "evaluate/scalar.h"
#include "operators/ascending.h"
#include "operators/pair_walk.h"

namespace qvo::value {
namespace {

constexpr size_t most_pairs = capacity_of(sizeof(uint64_t));
constexpr size_t none = most_pairs + 2;

using Direction = AsofRule::Direction;

template <class V> class Asof final : public Operator {
 public:
    Asof(Plan& to, const Series& t, const Series& u, const Series& y, const AsofRule& rule)
        : t_(t), pairs_(to, u, y), y_type_(y.type), rule_(rule), y_(new uint8_t[(none + 1) * y.type.width]) {
        if (rule.otherwise) put_element(*rule.otherwise, y_.get() + none * y_type_.width);
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

    /// Whether a u lies at or before a t; before it, without `equal`.
    template <bool equal> QVO_INLINE static bool precedes(V u, V t) { return equal ? u <= t : u < t; }

    /// Of the leading t, the slot of the first u that does not precede them. Ends with the first t that all u at hand
    /// precede, unless there are no more.
    template <bool equal> size_t find(const V* t, size_t n, uint16_t* place) {
        size_t inside = 0;
        if (at_ < end_) {
            const V last = u_[end_ - 1];
            inside = static_cast<size_t>(
                std::partition_point(t, t + n, [&](V now) { return !precedes<equal>(last, now); }) - t);
        }
        if (inside != 0) {
            const V now = t[inside - 1];
            const V* const above =
                std::partition_point(u_ + at_, u_ + end_, [&](V u) { return precedes<equal>(u, now); });
            merge<equal>(t, inside, static_cast<size_t>(above - u_), place);
        }
        if (inside == n) return n;
        at_ = end_;
        if (!exhausted_) return inside;
        std::fill(place + inside, place + n, static_cast<uint16_t>(end_));
        return n;
    }

    /// Merges n values of t with the u up to slot `to`, where the last t belongs: a step places a t or passes a u. As every
    /// step waits for the one before and which it is cannot be foreseen, stretches of equally many steps go side by side.
    template <bool equal> void merge(const V* t, size_t n, size_t to, uint16_t* place) {
        constexpr size_t stretches = 4;
        // Each stretch writes beyond its last t, too.
        uint16_t placed[most_pairs + stretches];
        size_t first[stretches], now[stretches];
        const size_t all = n + (to - at_), each = all / stretches;
        for (size_t k = 0; k < stretches; ++k) now[k] = first[k] = placed_after<equal>(k * each, t, n, to);
        // What has been placed and what has been passed make up the steps: one of them is enough to count.
        const auto step = [&](size_t k, size_t steps) {
            const size_t slot = at_ + steps - now[k];
            placed[now[k] + k] = static_cast<uint16_t>(slot);
            now[k] += !precedes<equal>(u_[slot], t[now[k]]);
        };
        for (size_t i = 0; i < each; ++i)
            for (size_t k = 0; k < stretches; ++k) step(k, k * each + i);
        for (size_t i = stretches * each; i < all; ++i) step(stretches - 1, i);
        for (size_t k = 0; k < stretches; ++k) std::copy_n(placed + first[k] + k, now[k] - first[k], place + first[k]);
        at_ = to;
    }
    /// How many t are placed after so many steps (O. Green, R. McColl, D. Bader, "GPU merge path", 2012).
    template <bool equal> size_t placed_after(size_t steps, const V* t, size_t n, size_t to) const {
        size_t low = steps - std::min(steps, to - at_), high = std::min(steps, n);
        while (low < high) {
            const size_t middle = (low + high) / 2;
            if (precedes<equal>(u_[at_ + steps - 1 - middle], t[middle]))
                high = middle;
            else
                low = middle + 1;
        }
        return low;
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
        if (direction == Direction::backward && !limited) return for_cpu<one_before>(place, n, first);
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
    QVO_INLINE static void one_before(uint16_t* __restrict place, size_t n, size_t first) {
        const auto lowest = static_cast<uint16_t>(first);
        for (size_t i = 0; i < n; ++i) {
            const auto below = static_cast<uint16_t>(place[i] - 1);
            place[i] = below >= lowest ? below : static_cast<uint16_t>(none);
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
        return true;
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
    V u_[none] = {};
    std::unique_ptr<uint8_t[]> y_;
};

}  // namespace

Series asof(Plan& plan, const Series& t, const Series& u, const Series& y, const AsofRule& rule) {
    if (t.type.type == Type::double_) return plan.make<Asof<double>>(y.type, t.length, plan, t, u, y, rule);
    if (t.type.type == Type::uint8) return plan.make<Asof<uint64_t>>(y.type, t.length, plan, t, u, y, rule);
    return plan.make<Asof<int64_t>>(y.type, t.length, plan, t, u, y, rule);
}

}  // namespace qvo::value
