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

/// Adds up lanes that count down from 0.
template <class Vector> QVO_INLINE size_t total(const Vector& counts) {
    using B = std::remove_cvref_t<decltype(counts[0])>;
    size_t sum = 0;
    for (size_t i = 0; i < sizeof(Vector) / sizeof(B); ++i) sum += static_cast<B>(B{0} - counts[i]);
    return sum;
}

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

    /// Elements from 1 on; those before and after whole vectors go one by one.
    QVO_INLINE static void run(Scan& scan, const V* values, size_t n) {
        // Several chains, as a minimum takes longer than a step of the loop.
        Values low[chains], high[chains];
        for (size_t c = 0; c < chains; ++c)
            for (size_t k = 0; k < lanes; ++k) low[c][k] = scan.smallest, high[c][k] = scan.largest;
        size_t i = 1;
        while (i + chains * lanes <= n) {
            Bits equal[chains]{}, missing[chains]{};
            for (size_t step = 0; step < block && i + chains * lanes <= n; ++step, i += chains * lanes) {
                for (size_t c = 0; c < chains; ++c) {
                    const V* const from = values + i + c * lanes;
                    Values x;
                    Bits bits, before;
                    std::memcpy(&x, from, sizeof x);
                    std::memcpy(&bits, from, sizeof bits);
                    std::memcpy(&before, from - 1, sizeof before);
                    low[c] = x < low[c] ? x : low[c];
                    high[c] = x > high[c] ? x : high[c];
                    equal[c] += reinterpret_cast<Bits>(bits == before);
                    if constexpr (floating) missing[c] += reinterpret_cast<Bits>(x != x);
                }
            }
            for (size_t c = 0; c < chains; ++c) {
                scan.equal += total(equal[c]);
                scan.missing += total(missing[c]);
            }
        }
        for (size_t c = 0; c < chains; ++c)
            for (size_t k = 0; k < lanes; ++k) scan.take(low[c][k], high[c][k]);
        for (; i < n; ++i) {
            scan.take(values[i], values[i]);
            if constexpr (floating) scan.missing += values[i] != values[i];
            scan.equal += std::memcmp(values + i, values + i - 1, sizeof(V)) == 0;
        }
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

bool is_missing(const Elements& e, size_t i) {
    if (e.type.type == Type::float_) return e.as<float>()[i] != e.as<float>()[i];
    return e.type.type == Type::double_ && e.as<double>()[i] != e.as<double>()[i];
}

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
