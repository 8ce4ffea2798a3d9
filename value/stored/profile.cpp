// One pass over the elements of a tile: extremes, missing values, equal neighbours.
//
// Vectors are spelled out, as compilers do not make one loop of all of it; a vector of the wider kind is cut by the
// compiler where the machine has only narrower ones.
#include <algorithm>
#include <limits>
#include <type_traits>

#include "stored/coding.h"

namespace qvo::value {
namespace {

template <class V, size_t bytes> struct VectorOf { typedef V type __attribute__((vector_size(bytes))); };
template <size_t> struct BitsOf;
template <> struct BitsOf<1> { using type = bits1; };
template <> struct BitsOf<2> { using type = bits2; };
template <> struct BitsOf<4> { using type = bits4; };
template <> struct BitsOf<8> { using type = bits8; };

template <class V, size_t vector_bytes> struct Scan {
    using B = typename BitsOf<sizeof(V)>::type;
    using Values = typename VectorOf<V, vector_bytes>::type;
    using Bits = typename VectorOf<B, vector_bytes>::type;
    static constexpr size_t lanes = vector_bytes / sizeof(V);
    static constexpr size_t chains = 3;
    static constexpr bool floating = std::is_floating_point_v<V>;
    // Steps after which a lane that counts may be full.
    static constexpr size_t block = sizeof(V) == 1 ? 255 : 65535;

    V smallest, largest;
    size_t equal = 0, missing = 0;

    /// Elements from 1 on.
    QVO_INLINE static void run(Scan& scan, const V* values, size_t n) {
        // Several chains, as a minimum takes longer than a step of the loop.
        Chain of[chains];
        for (Chain& chain : of)
            for (size_t k = 0; k < lanes; ++k) chain.low[k] = scan.smallest, chain.high[k] = scan.largest;
        const Bits all = reinterpret_cast<Bits>(Bits{} == Bits{});
        size_t i = 1;
        while (i + chains * lanes <= n) {
            for (size_t step = 0; step < block && i + chains * lanes <= n; ++step, i += chains * lanes)
                for (size_t c = 0; c < chains; ++c) of[c].look(values + i + c * lanes, all);
            for (Chain& chain : of) chain.count_for(scan);
        }
        for (; i + lanes <= n; i += lanes) of[0].look(values + i, all);
        if (i < n && n > lanes) {  // the last vector again, of which only what is new counts
            Bits fresh{};
            for (size_t k = 0; k < lanes; ++k) fresh[k] = static_cast<B>(k);
            of[0].look(values + n - lanes, reinterpret_cast<Bits>(fresh >= Bits{} + static_cast<B>(lanes - (n - i))));
            i = n;
        }
        of[0].count_for(scan);
        for (size_t c = 1; c < chains; ++c) of[0].join(of[c]);
        of[0].extremes_for(scan);
        for (; i < n; ++i) {
            scan.take(values[i], values[i]);
            if constexpr (floating) scan.missing += values[i] != values[i];
            scan.equal += std::memcmp(values + i, values + i - 1, sizeof(V)) == 0;
        }
    }

    /// What lanes have seen; those that count do so downwards.
    struct Chain {
        Values low, high;
        Bits equal{}, missing{};

        QVO_INLINE void look(const V* from, const Bits& counted) {
            Values x;
            Bits bits, before;
            std::memcpy(&x, from, sizeof x);
            std::memcpy(&bits, from, sizeof bits);
            std::memcpy(&before, from - 1, sizeof before);
            low = x < low ? x : low;
            high = x > high ? x : high;
            equal += reinterpret_cast<Bits>(bits == before) & counted;
            if constexpr (floating) missing += reinterpret_cast<Bits>(x != x) & counted;
        }
        QVO_INLINE void count_for(Scan& scan) {
            scan.equal += total(equal);
            if constexpr (floating) scan.missing += total(missing);
            equal = missing = Bits{};
        }
        QVO_INLINE void join(const Chain& other) {
            low = other.low < low ? other.low : low;
            high = other.high > high ? other.high : high;
        }
        /// By halves, so that it takes a few steps also where lanes are many.
        QVO_INLINE void extremes_for(Scan& scan) const {
            V lows[lanes], highs[lanes];
            std::memcpy(lows, &low, sizeof low);
            std::memcpy(highs, &high, sizeof high);
            for (size_t half = lanes / 2; half != 0; half /= 2) {
                for (size_t k = 0; k < half; ++k) {
                    lows[k] = lows[k + half] < lows[k] ? lows[k + half] : lows[k];
                    highs[k] = highs[k + half] > highs[k] ? highs[k + half] : highs[k];
                }
            }
            scan.take(lows[0], highs[0]);
        }
    };

    QVO_INLINE static size_t total(const Bits& counts) {
        B lane[lanes];
        std::memcpy(lane, &counts, sizeof lane);
        uint32_t sum = 0;  // of at most 64 lanes of 255, or fewer of 65535
        for (size_t k = 0; k < lanes; ++k) sum += static_cast<uint32_t>(static_cast<B>(B{0} - lane[k]));
        return sum;
    }

    QVO_INLINE void take(V low, V high) {
        if (low < smallest) smallest = low;
        if (high > largest) largest = high;
    }

    QVO_INLINE static size_t equal_only(const V* values, size_t from, size_t n) {
        size_t i = from, count = 0;
        while (i + lanes <= n) {
            Bits equal{};
            for (size_t step = 0; step < block && i + lanes <= n; ++step, i += lanes) {
                Bits bits, before;
                std::memcpy(&bits, values + i, sizeof bits);
                std::memcpy(&before, values + i - 1, sizeof before);
                equal += reinterpret_cast<Bits>(bits == before);
            }
            count += total(equal);
        }
        for (; i < n; ++i) count += std::memcmp(values + i, values + i - 1, sizeof(V)) == 0;
        return count;
    }
};

template <class V> void put(Extreme& to, V value) { std::memcpy(to.bytes, &value, sizeof value); }

template <class V, size_t vector_bytes, CpuLevel most> Profile profile_numbers(const V* values, size_t n) {
    Scan<V, vector_bytes> scan;
    constexpr bool floating = std::is_floating_point_v<V>;
    // Infinities stay only if nothing is there, or they themselves are.
    scan.smallest = floating ? std::numeric_limits<V>::infinity() : values[0];
    scan.largest = floating ? -std::numeric_limits<V>::infinity() : values[0];
    if constexpr (floating) {
        scan.take(values[0], values[0]);
        scan.missing = values[0] != values[0];
    }
    for_cpu<Scan<V, vector_bytes>::run, most>(scan, values, n);
    Profile profile;
    profile.equal = scan.equal;
    profile.missing = scan.missing;
    if (scan.missing != n) {
        put(profile.smallest, scan.smallest);
        put(profile.largest, scan.largest);
    }
    return profile;
}

/// Texts by their first eight bytes, as numbers that compare as the texts do.
class Prefixes {
 public:
    explicit Prefixes(const Elements& e) : e_(e), width_(e.type.width) {}
    uint64_t at(size_t i) const {
        const uint8_t* const text = e_.values + i * width_;
        if ((e_.n - i) * width_ < sizeof(uint64_t)) {
            uint64_t prefix = 0;
            std::memcpy(&prefix, text, std::min(width_, sizeof prefix));
            return __builtin_bswap64(prefix);
        }
        const uint64_t prefix = __builtin_bswap64(format::load<uint64_t>(text));
        return width_ < sizeof prefix ? prefix & ~(~uint64_t{0} >> (8 * width_)) : prefix;
    }
    /// Whether text i is that before it, which has the same prefix.
    bool rest_equal(size_t i) const {
        const uint8_t* const text = e_.values + i * width_ + sizeof(uint64_t);
        return width_ <= sizeof(uint64_t) || std::memcmp(text, text - width_, width_ - sizeof(uint64_t)) == 0;
    }

 private:
    const Elements& e_;
    size_t width_;
};

size_t equal_texts(const Elements& e, size_t from) {
    const Prefixes prefixes(e);
    size_t count = 0;
    uint64_t before = prefixes.at(from - 1);
    for (size_t i = from; i < e.n; ++i) {
        const uint64_t prefix = prefixes.at(i);
        if (prefix == before) count += prefixes.rest_equal(i);
        before = prefix;
    }
    return count;
}

Profile profile_texts(const Elements& e) {
    const Prefixes prefixes(e);
    uint64_t smallest = ~uint64_t{0}, largest = 0;
    for (size_t i = 0; i < e.n; ++i) {
        smallest = std::min(smallest, prefixes.at(i));
        largest = std::max(largest, prefixes.at(i));
    }
    Profile profile;
    put(profile.smallest, __builtin_bswap64(smallest));
    put(profile.largest, __builtin_bswap64(largest));
    profile.equal = equal_texts(e, 1);
    return profile;
}

template <class V, class Run> QVO_INLINE uint64_t sum_of_missing(const V* values, const Run* runs, size_t n) {
    uint64_t sum = 0;
    for (size_t i = 0; i < n; ++i) sum += values[i] != values[i] ? runs[i] : Run{0};
    return sum;
}

}  // namespace

Profile profile_of(const Elements& e) {
    if (e.type.type == Type::char_) return profile_texts(e);
    return with_fixed(e.type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        // Vectors are as wide as the machine has them.
        return cpu_level >= CpuLevel::avx512 ? profile_numbers<V, 64, CpuLevel::avx512>(e.as<V>(), e.n)
                                             : profile_numbers<V, 32, CpuLevel::avx2>(e.as<V>(), e.n);
    });
}

template <class Run> uint64_t missing_positions(const Elements& e, const Run* runs) {
    if (e.type.type == Type::float_) return for_cpu<sum_of_missing<float, Run>>(e.as<float>(), runs, e.n);
    if (e.type.type == Type::double_) return for_cpu<sum_of_missing<double, Run>>(e.as<double>(), runs, e.n);
    return 0;
}
template uint64_t missing_positions(const Elements& e, const uint32_t* runs);
template uint64_t missing_positions(const Elements& e, const uint64_t* runs);

size_t count_equal(const Elements& e, size_t from) {
    switch (e.type.type == Type::char_ ? 0 : e.type.width) {
        case 1:
            return for_cpu<Scan<bits1, 32>::equal_only>(e.as<bits1>(), from, e.n);
        case 2:
            return for_cpu<Scan<bits2, 32>::equal_only>(e.as<bits2>(), from, e.n);
        case 4:
            return for_cpu<Scan<bits4, 32>::equal_only>(e.as<bits4>(), from, e.n);
        case 8:
            return for_cpu<Scan<bits8, 32>::equal_only>(e.as<bits8>(), from, e.n);
        default:
            return equal_texts(e, from);
    }
}

}  // namespace qvo::value
