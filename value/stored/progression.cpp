// Regular values: start, start + step, start + 2 * step, ... of any number, in 16 bytes.
#include <cmath>
#include <limits>
#include <type_traits>

#include "stored/coding.h"

namespace qvo::value {
namespace {

using namespace format;

__extension__ typedef __int128 Wide;

/// Position i of a progression of doubles. The multiplication and the addition round, one after the other.
QVO_INLINE double double_at(double start, double step, uint64_t i) { return start + static_cast<double>(i) * step; }

template <class V> QVO_INLINE V value_at(const Progression& p, uint64_t i) {
    if constexpr (std::is_floating_point_v<V>) {
        return static_cast<V>(double_at(std::bit_cast<double>(p.start), std::bit_cast<double>(p.step), i));
    } else {
        return static_cast<V>(p.start + i * p.step);
    }
}

template <class V> struct Loop {
    using Bits =
        std::conditional_t<sizeof(V) == 8, bits8,
                           std::conditional_t<sizeof(V) == 4, bits4, std::conditional_t<sizeof(V) == 2, bits2, bits1>>>;

    QVO_INLINE static void fill(const Progression& p, uint64_t from, size_t n, V* __restrict to) {
        for (size_t i = 0; i < n; ++i) to[i] = value_at<V>(p, from + i);
    }
    QVO_INLINE static bool matches(const Progression& p, uint64_t from, size_t n, const V* values) {
        Bits other = 0;
        for (size_t i = 0; i < n; ++i)
            other |= static_cast<Bits>(std::bit_cast<Bits>(value_at<V>(p, from + i)) ^ std::bit_cast<Bits>(values[i]));
        return other == 0;
    }
};

template <class F> decltype(auto) with_value(Type type, F&& f) {
    return with_fixed(type, [&](auto tag) { return f(typename decltype(tag)::value{}); });
}

// Beyond it, numbers of positions are not doubles.
constexpr uint64_t max_double_positions = uint64_t{1} << 53;

bool plan_progression(const Elements& e, const Profile&, Scratch&, Plan& plan) {
    if (!Progression::allows(e.type.type) || e.n < 3 || Progression::stored_size >= plan.size) return false;
    Progression p;
    with_value(e.type.type, [&](auto zero) {
        using V = decltype(zero);
        const V* const values = e.as<V>();
        if constexpr (std::is_floating_point_v<V>) {
            p.start = std::bit_cast<uint64_t>(static_cast<double>(values[0]));
            p.step = std::bit_cast<uint64_t>(static_cast<double>(values[1]) - static_cast<double>(values[0]));
        } else {
            p.start = static_cast<uint64_t>(values[0]);
            p.step = static_cast<uint64_t>(values[1]) - static_cast<uint64_t>(values[0]);
        }
    });
    if (!p.matches(e, 0) || !p.fits(e.type.type, e.n)) return false;
    plan.encoding = Encoding::progression;
    plan.size = Progression::stored_size;
    plan.progression = p;
    return true;
}

void write_progression(const Elements&, const Plan& plan, Scratch&, uint8_t* to) { store(to, plan.progression); }

void open_progression(OpenTile& tile) {
    if (tile.size != Progression::stored_size || !Progression::allows(tile.type.type)) damaged("size of a tile");
    tile.progression = load<Progression>(tile.payload);
    if (!tile.progression.fits(tile.type.type, tile.n)) damaged("progression");
}

void read_progression(OpenTile& tile, size_t n, void* to) {
    if (to != nullptr) tile.progression.fill(tile.type.type, tile.at, n, to);
    tile.at += n;
}

}  // namespace

void Progression::fill(Type type, uint64_t from, size_t n, void* to) const {
    with_value(type, [&](auto zero) {
        for_cpu<Loop<decltype(zero)>::fill>(*this, from, n, static_cast<decltype(zero)*>(to));
    });
}

bool Progression::matches(const Elements& e, uint64_t from) const {
    return with_value(e.type.type, [&](auto zero) {
        using V = decltype(zero);
        // The last value tells nearly always, without a look at the others.
        const V* const values = e.as<V>();
        const size_t last = e.n - 1;
        if (!for_cpu<Loop<V>::matches>(*this, from + last, 1, values + last) ||
            !for_cpu<Loop<V>::matches>(*this, from + e.n / 2, 1, values + e.n / 2))
            return false;
        return for_cpu<Loop<V>::matches>(*this, from, e.n, values) && fits(e.type.type, from + e.n);
    });
}

bool Progression::continued_by(Type type, const Progression& other, uint64_t from, uint64_t n) const {
    // Of doubles the sums would have to be compared one by one: they round.
    return type != Type::double_ && step == other.step && start + from * step == other.start && fits(type, from + n);
}

bool Progression::fits(Type type, uint64_t n) const {
    if (type == Type::double_) {
        // What lies between finite ends is finite.
        const double first = std::bit_cast<double>(start), each = std::bit_cast<double>(step);
        return n <= max_double_positions && std::isfinite(first) && std::isfinite(each) &&
               std::isfinite(double_at(first, each, n - 1));
    }
    return with_value(type, [&](auto zero) {
        using V = decltype(zero);
        if constexpr (std::is_floating_point_v<V>) {
            return false;
        } else {
            // Steps are signed; 128 bits hold any product of a step and a number of positions.
            const bool is_signed = std::is_signed_v<V>;
            const auto first = is_signed ? Wide{static_cast<int64_t>(start)} : Wide{start};
            const auto last = first + Wide{static_cast<int64_t>(step)} * static_cast<Wide>(n - 1);
            const auto within = [](Wide x) {
                return x >= std::numeric_limits<V>::min() && x <= std::numeric_limits<V>::max();
            };
            return within(first) && within(last);
        }
    });
}

const Coding progression_coding = {"progression", plan_progression, write_progression, open_progression,
                                   read_progression};

}  // namespace qvo::value
