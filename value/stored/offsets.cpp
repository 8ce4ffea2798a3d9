// Planning and writing integers as offsets.
//
// Full passes are made only for what a sample promises: a common divisor (time stamps of whole seconds), or differences
// of neighbours that lie closer together than the integers themselves.
#include "stored/offsets.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace qvo::value {
namespace {

using namespace format;

/// Division without a remainder: a shift, and a product modulo 2^64.
struct ExactDivisor {
    uint64_t inverse = 1;
    int shift;

    explicit ExactDivisor(uint64_t divisor) : shift(std::countr_zero(divisor)) {
        const uint64_t odd = divisor >> shift;
        for (int i = 0; i < 6; ++i) inverse *= 2 - odd * inverse;  // each round doubles the bits that are right
    }
    /// The quotient of a multiple; of other numbers more than that of any multiple.
    QVO_INLINE uint64_t operator()(uint64_t x) const {
        const uint64_t product = x * inverse;
        return shift == 0 ? product : product >> shift | product << (64 - shift);
    }
    /// The quotient of a multiple, which is below 2^32: its low bits are those of a product of low bits.
    QVO_INLINE uint32_t small(uint64_t x) const {
        return static_cast<uint32_t>(x >> shift) * static_cast<uint32_t>(inverse);
    }
};

template <class V> struct Passes {
    using Word = WordOf<V>;
    using Signed = std::make_signed_t<Word>;

    QVO_INLINE static Word difference(const V* values, size_t i) {
        return static_cast<Word>(values[i]) - static_cast<Word>(values[i - 1]);
    }

    struct Range {
        Signed smallest, largest;
        Word width() const { return static_cast<Word>(largest) - static_cast<Word>(smallest); }
    };
    /// Of the differences between neighbours, in several chains, as a minimum takes longer than a step of the loop.
    QVO_INLINE static Range differences(const V* values, size_t n) {
        constexpr size_t chains = 128 / sizeof(Word);
        Signed smallest[chains], largest[chains];
        std::fill_n(smallest, chains, static_cast<Signed>(difference(values, 1)));
        std::fill_n(largest, chains, smallest[0]);
        size_t i = 1;
        for (; i + chains <= n; i += chains)
            for (size_t c = 0; c < chains; ++c) {
                const auto d = static_cast<Signed>(difference(values, i + c));
                smallest[c] = d < smallest[c] ? d : smallest[c];
                largest[c] = d > largest[c] ? d : largest[c];
            }
        for (; i < n; ++i) {
            const auto d = static_cast<Signed>(difference(values, i));
            smallest[0] = std::min(smallest[0], d);
            largest[0] = std::max(largest[0], d);
        }
        return {*std::min_element(smallest, smallest + chains), *std::max_element(largest, largest + chains)};
    }

    /// The largest quotient of the values, or of their differences, less `base`.
    QVO_INLINE static uint64_t largest_quotient(const V* values, size_t n, Word base, const ExactDivisor& by) {
        const ExactDivisor divide = by;
        uint64_t largest = 0;
        for (size_t i = 0; i < n; ++i)
            largest = std::max(largest, divide(static_cast<Word>(static_cast<Word>(values[i]) - base)));
        return largest;
    }
    QVO_INLINE static uint64_t largest_delta(const V* values, size_t n, Word base, const ExactDivisor& by) {
        const ExactDivisor divide = by;
        uint64_t largest = 0;
        for (size_t i = 1; i < n; ++i)
            largest = std::max(largest, divide(static_cast<Word>(difference(values, i) - base)));
        return largest;
    }

    template <class Offset> struct To {
        QVO_INLINE static void of_one(const V* __restrict values, size_t n, Word base, Offset* __restrict to) {
            for (size_t i = 0; i < n; ++i) to[i] = static_cast<Offset>(static_cast<Word>(values[i]) - base);
        }
        QVO_INLINE static void of_units(const V* __restrict values, size_t n, Word base, const ExactDivisor& by,
                                        Offset* __restrict to) {
            const ExactDivisor divide = by;
            for (size_t i = 0; i < n; ++i)
                to[i] = static_cast<Offset>(divide.small(static_cast<Word>(static_cast<Word>(values[i]) - base)));
        }
        /// Differences to the value before, from the second on.
        QVO_INLINE static void of_deltas(const V* __restrict values, size_t n, Word extra, const ExactDivisor& by,
                                         Offset* __restrict to) {
            const ExactDivisor divide = by;
            for (size_t i = 1; i < n; ++i)
                to[i] = static_cast<Offset>(divide.small(static_cast<Word>(difference(values, i) - extra)));
        }
        QVO_INLINE static void of_deltas_of_one(const V* __restrict values, size_t n, Word extra,
                                                Offset* __restrict to) {
            for (size_t i = 1; i < n; ++i) to[i] = static_cast<Offset>(difference(values, i) - extra);
        }
    };
};

constexpr size_t n_samples = 24;
constexpr size_t sample_at(size_t i, size_t n) { return i * (n - 1) / n_samples; }

}  // namespace

namespace {

/// What the differences of neighbours look like, from a sample.
template <class V> struct Sample {
    typename Passes<V>::Range differences{};
    uint64_t unit_of_values = 0, unit_of_differences = 0;  // common divisors

    Sample(const V* values, size_t n, V smallest) {
        using P = Passes<V>;
        using Signed = typename P::Signed;
        const auto first = static_cast<Signed>(P::difference(values, 1));
        differences = {first, first};
        for (size_t k = 0; k < n_samples; ++k) {
            const size_t i = sample_at(k, n);
            const auto d = static_cast<Signed>(P::difference(values, i + 1));
            differences.smallest = std::min(differences.smallest, d);
            differences.largest = std::max(differences.largest, d);
            const auto above = static_cast<typename P::Word>(
                d < first ? static_cast<typename P::Word>(first) - static_cast<typename P::Word>(d)
                          : static_cast<typename P::Word>(d) - static_cast<typename P::Word>(first));
            if (unit_of_differences != 1) unit_of_differences = std::gcd(unit_of_differences, uint64_t{above});
            const auto offset = static_cast<typename P::Word>(static_cast<typename P::Word>(values[i]) -
                                                              static_cast<typename P::Word>(smallest));
            if (unit_of_values != 1) unit_of_values = std::gcd(unit_of_values, uint64_t{offset});
        }
        unit_of_values = std::max<uint64_t>(1, unit_of_values);
        unit_of_differences = std::max<uint64_t>(1, unit_of_differences);
    }
};

/// Writes offsets that are packed, a block at a time.
template <class Offset, class F> void write_packed(unsigned bits, size_t n, uint8_t* to, F&& f) {
    Offset offsets[unpack_block];
    for (size_t i = 0; i < n; i += unpack_block) {
        const size_t some = std::min(n - i, unpack_block);
        std::fill(offsets + some - some % bit_group, offsets + (some + bit_group - 1) / bit_group * bit_group,
                  Offset{0});
        f(offsets, i, some);
        pack(offsets, bits, n, i, some, to);
    }
}

/// Writes n offsets, by `f(array, first, n)`.
template <class F> void write_as(unsigned bits, size_t n, uint8_t* to, F&& f) {
    switch (bits) {
        case 8:
            return f(to, size_t{0}, n);
        case 12:
            return write_packed<uint16_t>(bits, n, to, f);
        case 16:
            return f(reinterpret_cast<uint16_t*>(to), size_t{0}, n);
        case 24:
            return write_packed<uint32_t>(bits, n, to, f);
        case 32:
            return f(reinterpret_cast<uint32_t*>(to), size_t{0}, n);
        default:
            return write_packed<uint8_t>(bits, n, to, f);
    }
}

}  // namespace

template <class V>
bool OffsetWriter<V>::plan(const V* values, size_t n, V smallest, V largest, unsigned below, OffsetHeader& header) {
    using P = Passes<V>;
    using Word = WordOf<V>;
    const Word range = static_cast<Word>(largest) - static_cast<Word>(smallest);
    header = {};
    header.unit = 1;
    header.base = static_cast<uint64_t>(smallest);
    unsigned bits = bits_for(range);
    // Small tiles gain nothing worth a look, nor do offsets that are small already.
    if (bits >= 8 && sizeof(V) > 1 && n > n_samples) {
        const Sample<V> sample(values, n, smallest);
        if (bits_for(sample.differences.width() / sample.unit_of_differences) < bits) {
            const auto differences = for_cpu<P::differences, CpuLevel::avx512>(values, n);
            const auto extra = static_cast<Word>(differences.smallest);
            uint64_t unit = sample.unit_of_differences;
            if (unit != 1 && for_cpu<P::largest_delta, CpuLevel::avx512>(values, n, extra, ExactDivisor(unit)) >
                                 differences.width() / unit)
                unit = 1;
            if (const unsigned delta_bits = bits_for(differences.width() / unit); delta_bits < bits) {
                bits = delta_bits;
                header.flags = offsets_of_deltas;
                header.unit = unit;
                header.extra = static_cast<uint64_t>(differences.smallest);
                header.base = static_cast<uint64_t>(values[0]) - header.extra;
            }
        }
        if (const uint64_t unit = sample.unit_of_values; unit != 1 && bits_for(range / unit) < bits) {
            const uint64_t most = for_cpu<P::largest_quotient, CpuLevel::avx512>(values, n, static_cast<Word>(smallest),
                                                                                 ExactDivisor(unit));
            if (most <= range / unit) {
                header = {};
                header.base = static_cast<uint64_t>(smallest);
                header.unit = unit;
                bits = bits_for(most);
            }
        }
    }
    header.bits = static_cast<uint8_t>(bits);
    return bits < below;
}

template <class V>
void OffsetWriter<V>::write(const V* values, size_t n, const OffsetHeader& header, int64_t from, uint8_t* to) {
    using Word = WordOf<V>;
    store(to, header);
    const ExactDivisor divide(header.unit);
    const auto base = static_cast<Word>(header.base - static_cast<uint64_t>(from));
    const auto extra = static_cast<Word>(header.extra);
    write_as(header.bits, n, to + sizeof header, [&](auto* offsets, size_t first, size_t some) {
        using To = typename Passes<V>::template To<std::remove_pointer_t<decltype(offsets)>>;
        if ((header.flags & offsets_of_deltas) != 0) {
            // The first of all is base + extra; the others have one before them.
            if (first == 0) offsets[0] = 0;
            const size_t skip = first == 0 ? 0 : 1;
            if (header.unit == 1)
                for_cpu<To::of_deltas_of_one, CpuLevel::avx512>(values + first - skip, some + skip, extra,
                                                                offsets - skip);
            else
                for_cpu<To::of_deltas, CpuLevel::avx512>(values + first - skip, some + skip, extra, divide,
                                                         offsets - skip);
        } else if (header.unit == 1) {
            for_cpu<To::of_one, CpuLevel::avx512>(values + first, some, base, offsets);
        } else {
            for_cpu<To::of_units, CpuLevel::avx512>(values + first, some, base, divide, offsets);
        }
    });
}

template struct OffsetWriter<int8_t>;
template struct OffsetWriter<int16_t>;
template struct OffsetWriter<int32_t>;
template struct OffsetWriter<int64_t>;
template struct OffsetWriter<uint8_t>;
template struct OffsetWriter<uint16_t>;
template struct OffsetWriter<uint32_t>;
template struct OffsetWriter<uint64_t>;

namespace {

typedef uint64_t Words __attribute__((vector_size(32)));

/// Eight offsets at a time: a product adds up those of a group, while the sum of all is in a byte.
QVO_INLINE uint64_t sums_of_groups(uint64_t sum, const uint8_t* __restrict offsets, size_t n, uint64_t* __restrict to) {
    for (size_t i = 0; i < n; i += bit_group) {
        const uint64_t group = load<uint64_t>(offsets + i) * 0x0101010101010101U;
        const Words low = ((Words{} + group) >> Words{0, 8, 16, 24} & 0xff) + sum;
        const Words high = ((Words{} + group) >> Words{32, 40, 48, 56} & 0xff) + sum;
        std::memcpy(to + i, &low, sizeof low);
        std::memcpy(to + i + 4, &high, sizeof high);
        sum += group >> 56;
    }
    return sum;
}

/// Four at a time, as it is one addition after the other that takes time.
template <class Offset> uint64_t sums_of(uint64_t sum, const Offset* offsets, size_t n, uint64_t* __restrict to) {
    const auto offset = [bytes = reinterpret_cast<const uint8_t*>(offsets)](size_t i) -> uint64_t {
        return load<Offset>(bytes + i * sizeof(Offset));
    };
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint64_t one = offset(i), two = one + offset(i + 1);
        const uint64_t three = two + offset(i + 2), four = three + offset(i + 3);
        to[i] = sum + one;
        to[i + 1] = sum + two;
        to[i + 2] = sum + three;
        to[i + 3] = sum += four;
    }
    for (; i < n; ++i) to[i] = sum += offset(i);
    return sum;
}

}  // namespace

uint64_t running_sums(uint64_t sum, const uint8_t* offsets, size_t n, unsigned bits, uint64_t* to) {
    const size_t whole = bits < 8 ? n / bit_group * bit_group : 0;
    sum = for_cpu<sums_of_groups, CpuLevel::avx512>(sum, offsets, whole, to);
    return sums_of(sum, offsets + whole, n - whole, to + whole);
}
uint64_t running_sums(uint64_t sum, const uint16_t* offsets, size_t n, unsigned, uint64_t* to) {
    return sums_of(sum, offsets, n, to);
}
uint64_t running_sums(uint64_t sum, const uint32_t* offsets, size_t n, unsigned, uint64_t* to) {
    return sums_of(sum, offsets, n, to);
}

void open_offsets(OpenTile& tile) {
    if (tile.size < sizeof(OffsetHeader)) damaged("size of a tile");
    const auto h = load<OffsetHeader>(tile.payload);
    const bool known_bits = is_width(h.bits) && h.bits < 8 * tile.type.width;
    const bool reserved = std::any_of(std::begin(h.reserved), std::end(h.reserved), [](uint8_t b) { return b != 0; });
    if (!known_bits || reserved || h.unit == 0 || h.flags > offsets_with_missing) damaged("offsets of a tile");
    if (tile.size != offsets_size(tile.n, h.bits)) damaged("size of a tile");
    tile.offsets = h;
    tile.body = tile.payload + sizeof h;
    tile.sum = 0;
}

}  // namespace qvo::value
