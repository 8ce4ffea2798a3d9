// Floating values that are an integer divided by a power of ten, bit by bit, as offsets of those integers: prices,
// measurements, and whole numbers. -0.0 is none of them; missing values may be, and come back as one NaN whatever their
// bits.
//
// Dividing gives the value that the decimal's text would be read as, which multiplying by a fraction would not.
#include <algorithm>
#include <cmath>
#include <limits>

#include "stored/offsets.h"

#if QVO_WIDE_X86
#include <immintrin.h>
#endif

namespace qvo::value {
namespace {

constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr unsigned max_digits = sizeof powers / sizeof *powers - 1;
// Integers stay below it, so that they are exact as doubles and `shifter` rounds them to the nearest.
constexpr double max_integer = 0x1p50;
// Adding it moves the integer part of a double into the lowest bits.
constexpr double shifter = 0x1.8p52;
constexpr uint64_t shifter_bits = std::bit_cast<uint64_t>(shifter);

template <class V> using BitsOf = std::conditional_t<sizeof(V) == 8, bits8, bits4>;

/// Quotients by a power of ten, correctly rounded.
struct Divided {
    double power;
    explicit Divided(unsigned digits) : power(powers[digits]) {}
    QVO_INLINE double operator()(double whole) const { return whole / power; }
};

#if QVO_WIDE_X86
/// The same quotients of integers below 2^52 by the inverse in two parts, which is off by less than 2^-105 of itself with
/// what the smaller product is rounded by. No quotient lies so close to the middle between two doubles: there it would be
/// at least 2^-104 away, for want of factors in 10^15, and none lies on it.
struct Fused {
    static bool is_supported() { return cpu_level >= CpuLevel::avx2 && __builtin_cpu_supports("fma"); }
    double power, inverse, rest;
    explicit Fused(unsigned digits) : power(powers[digits]), inverse(1 / power) {
        rest = std::fma(-inverse, power, 1.0) / power;
    }
    QVO_INLINE double operator()(double whole) const { return __builtin_fma(whole, inverse, whole * rest); }
};
#endif

QVO_INLINE double whole_of(uint64_t integer) { return std::bit_cast<double>(integer + shifter_bits) - shifter; }

template <class V, class Quotient> struct Loops {
    using Bits = BitsOf<V>;

    /// True if all are decimals; their integers, counted from `first`. Missing values become -1.
    template <bool any_missing, class Integer>
    QVO_INLINE static bool to_integers(const V* __restrict values, size_t n, unsigned digits, int64_t first,
                                       Integer* __restrict to) {
        const Quotient quotient(digits);
        const uint64_t origin = shifter_bits + static_cast<uint64_t>(first);
        Bits other = 0;
        for (size_t i = 0; i < n; ++i) {
            const double shifted = static_cast<double>(values[i]) * quotient.power + shifter;
            const auto back = std::bit_cast<Bits>(static_cast<V>(quotient(shifted - shifter)));
            const auto bits = std::bit_cast<Bits>(values[i]);
            const auto integer = static_cast<Integer>(std::bit_cast<uint64_t>(shifted) - origin);
            const bool none = any_missing && values[i] != values[i];
            to[i] = none ? Integer{-1} : integer;
            other |= none ? Bits{0} : static_cast<Bits>(back ^ bits);
        }
        return other == 0;
    }
};

/// The loops, compiled for what the machine has.
template <class V, bool any_missing, class Integer> struct Passes {
    static bool to_integers(const V* values, size_t n, unsigned digits, int64_t first, Integer* to) {
#if QVO_WIDE_X86
        if (cpu_level >= CpuLevel::avx512) return wide_to_integers(values, n, digits, first, to);
        if (Fused::is_supported()) return fused_to_integers(values, n, digits, first, to);
#endif
        return for_cpu<divided_to_integers>(values, n, digits, first, to);
    }

 private:
    QVO_INLINE static bool divided_to_integers(const V* values, size_t n, unsigned digits, int64_t first, Integer* to) {
        return Loops<V, Divided>::template to_integers<any_missing>(values, n, digits, first, to);
    }
#if QVO_WIDE_X86
    [[gnu::target("avx2,fma")]] static bool fused_to_integers(const V* values, size_t n, unsigned digits, int64_t first,
                                                              Integer* to) {
        return Loops<V, Fused>::template to_integers<any_missing>(values, n, digits, first, to);
    }
    QVO_AVX512 static bool wide_to_integers(const V* values, size_t n, unsigned digits, int64_t first, Integer* to) {
        return Loops<V, Fused>::template to_integers<any_missing>(values, n, digits, first, to);
    }
#endif
};

template <class V> bool is_exact(V value, unsigned digits) {
    const double scaled = static_cast<double>(value) * powers[digits];
    if (!(std::fabs(scaled) < max_integer)) return false;
    const double whole = (scaled + shifter) - shifter;
    return std::bit_cast<BitsOf<V>>(static_cast<V>(whole / powers[digits])) == std::bit_cast<BitsOf<V>>(value);
}

constexpr size_t n_samples = 16;
constexpr size_t block = 512;

/// Finds the digits that all values need, and their integers, counted from the smallest.
template <class V> class Search {
 public:
    Search(const Elements& e, const Profile& profile, Buffer& integers)
        : values_(e.as<V>()), n_(e.n), integers_(integers), any_missing_(profile.missing != 0) {
        smallest_ = static_cast<double>(profile.smallest.as<V>());
        largest_ = static_cast<double>(profile.largest.as<V>());
        const double most = std::max(std::fabs(smallest_), std::fabs(largest_)), range = largest_ - smallest_;
        const double most_range = sizeof(V) == 8 ? 0x1p32 : 0x1p16;
        // What is too much for offsets with so many digits is so with more of them, too; a range of infinities is.
        end_ = 0;
        while (end_ <= max_digits && most * powers[end_] < max_integer && range * powers[end_] < most_range) ++end_;
    }

    unsigned digits() const { return digits_; }
    /// Whether the integers, and so their differences, are below 2^31: they are int32_t then, else int64_t.
    bool is_short() const { return largest() - smallest() < INT32_MAX; }
    // Multiplying and rounding keeps the order.
    int64_t smallest() const { return integer_of(smallest_); }
    int64_t largest() const { return integer_of(largest_); }

    bool run() {
        if (end_ == 0) return false;
        for (size_t i = 0; i < n_samples; ++i)
            if (!raise_for(values_[i * (n_ - 1) / n_samples])) return false;
        // A value that needs more digits than the sample starts all over; that cannot go on for long.
        for (int attempt = 0; attempt < 4; ++attempt) {
            size_t i = 0;
            while (i < n_ && convert(i)) i += block;
            if (i >= n_) return true;
            for (const size_t end = std::min(n_, i + block); i < end; ++i)
                if (!raise_for(values_[i])) return false;
        }
        return false;
    }

 private:
    static bool is_missing(V value) { return value != value; }
    int64_t integer_of(double value) const { return static_cast<int64_t>(std::nearbyint(value * powers[digits_])); }

    bool convert(size_t i) { return is_short() ? convert_to<int32_t>(i) : convert_to<int64_t>(i); }
    template <class Integer> bool convert_to(size_t i) {
        auto* const to = reinterpret_cast<Integer*>(integers_.data()) + i;
        const size_t some = std::min(block, n_ - i);
        return any_missing_ ? Passes<V, true, Integer>::to_integers(values_ + i, some, digits_, smallest(), to)
                            : Passes<V, false, Integer>::to_integers(values_ + i, some, digits_, smallest(), to);
    }

    bool raise_for(V value) {
        if (is_missing(value)) return true;
        while (digits_ < end_ && !is_exact(value, digits_)) ++digits_;
        return digits_ < end_;
    }

    const V* values_;
    size_t n_;
    Buffer& integers_;
    bool any_missing_;
    double smallest_, largest_;
    unsigned digits_ = 0, end_;
};

/// Whether no integer of a tile can go beyond what `whole_of` takes, whatever its offsets.
bool stays_whole(const OffsetHeader& header, uint64_t n) {
    const double base = std::fabs(static_cast<double>(static_cast<int64_t>(header.base)));
    double most = static_cast<double>(header.unit) * std::ldexp(1.0, header.bits);
    if ((header.flags & offsets_of_deltas) != 0) {
        most += std::fabs(static_cast<double>(static_cast<int64_t>(header.extra)));
        most *= static_cast<double>(n);
    }
    return base + most <= 0x1p51;
}

/// Offsets of integers from 0 up to and with `largest`.
template <class Integer>
bool plan_offsets(const Elements& e, const Buffer& integers, int64_t largest, unsigned below, OffsetHeader& header) {
    return OffsetWriter<Integer>::plan(reinterpret_cast<const Integer*>(integers.data()), e.n, 0,
                                       static_cast<Integer>(largest), below, header);
}

template <class V> bool plan_as(const Elements& e, const Profile& profile, Scratch& scratch, Plan& plan) {
    if (scratch.integers.size() < e.n * sizeof(int64_t)) scratch.integers.resize(e.n * sizeof(int64_t));
    Search<V> search(e, profile, scratch.integers);
    if (!search.run()) return false;
    const int64_t range = search.largest() - search.smallest();
    const unsigned below = static_cast<unsigned>(8 * sizeof(V));
    OffsetHeader header{};
    if (profile.missing != 0) {
        // What is missing, -1, has the offset of all ones.
        header.bits = static_cast<uint8_t>(bits_for(static_cast<uint64_t>(range) + 1));
        header.unit = 1;
        header.extra = std::bit_cast<BitsOf<V>>(std::numeric_limits<V>::quiet_NaN());
        header.flags = offsets_with_missing;
        if (header.bits >= below) return false;
    } else if (!(search.is_short() ? plan_offsets<int32_t>(e, scratch.integers, range, below, header)
                                   : plan_offsets<int64_t>(e, scratch.integers, range, below, header))) {
        return false;
    }
    scratch.integers_from = search.smallest();
    scratch.short_integers = search.is_short();
    header.base += static_cast<uint64_t>(search.smallest());
    const size_t size = offsets_size(e.n, header.bits);
    if (size >= plan.size || !stays_whole(header, e.n)) return false;
    header.digits = static_cast<uint8_t>(search.digits());
    plan.encoding = Encoding::decimal;
    plan.size = size;
    plan.offsets = header;
    return true;
}

bool plan_decimal(const Elements& e, const Profile& profile, Scratch& scratch, Plan& plan) {
    if (e.type.type == Type::double_) return plan_as<double>(e, profile, scratch, plan);
    return e.type.type == Type::float_ && plan_as<float>(e, profile, scratch, plan);
}

void write_decimal(const Elements& e, const Plan& plan, Scratch& scratch, uint8_t* to) {
    const auto write = [&](auto zero) {
        using Integer = decltype(zero);
        const auto* const integers = reinterpret_cast<const Integer*>(scratch.integers.data());
        OffsetWriter<Integer>::write(integers, e.n, plan.offsets, scratch.integers_from, to);
    };
    scratch.short_integers ? write(int32_t{}) : write(int64_t{});
}

void open_decimal(OpenTile& tile) {
    if (!is_floating(tile.type.type)) damaged("coding of a tile");
    open_offsets(tile);
    if (tile.offsets.digits > max_digits || !stays_whole(tile.offsets, tile.n)) damaged("decimals of a tile");
}

/// Quotients of integers, and the missing value.
template <class V, class Quotient> struct Decimals {
    using Word = uint64_t;
    Quotient quotient;
    V missing;
    explicit Decimals(const OffsetHeader& header)
        : quotient(header.digits), missing(std::bit_cast<V>(static_cast<BitsOf<V>>(header.extra))) {}
    QVO_INLINE V operator()(Word word) const { return static_cast<V>(quotient(whole_of(word))); }
};

template <class V> struct DividedDecimals : Decimals<V, Divided> {
    using Decimals<V, Divided>::Decimals;
    template <class Loop, class From>
    static void run(const Loop& loop, const From* from, size_t n, const DividedDecimals& convert, V* to) {
        for_cpu<Loop::run>(loop, from, n, convert, to);
    }
};

#if QVO_WIDE_X86
QVO_AVX512 QVO_INLINE __m512i splat(uint64_t x) { return _mm512_set1_epi64(static_cast<long long>(x)); }

/// Eight neighbouring decimals, of integers that are `extra` apart but for the sums of offsets.
struct Group {
    static constexpr uint64_t adds_up = 0x0101010101010101U;  // bytes times it: their sums up to each
    __m512i origin;
    __m512d inverse, rest;

    QVO_AVX512 QVO_INLINE Group(const Fused& quotient, uint64_t first, uint64_t extra)
        : inverse(_mm512_set1_pd(quotient.inverse)), rest(_mm512_set1_pd(quotient.rest)) {
        const __m512i apart = _mm512_mullo_epi64(splat(extra), _mm512_setr_epi64(0, 1, 2, 3, 4, 5, 6, 7));
        origin = _mm512_add_epi64(splat(first + shifter_bits), apart);
    }
    QVO_AVX512 QVO_INLINE __m512d values(uint64_t sums, uint64_t before) const {
        const __m512i own = _mm512_maskz_cvtepu8_epi64(0xff, _mm_cvtsi64_si128(static_cast<long long>(sums)));
        const __m512i shifted = _mm512_add_epi64(_mm512_add_epi64(own, splat(before)), origin);
        const __m512d whole = _mm512_sub_pd(_mm512_castsi512_pd(shifted), _mm512_set1_pd(shifter));
        return _mm512_fmadd_pd(whole, inverse, _mm512_mul_pd(whole, rest));
    }
};

template <class V> struct FusedDecimals : Decimals<V, Fused> {
    using Decimals<V, Fused>::Decimals;
    template <class Loop, class From>
    static void run(const Loop& loop, const From* from, size_t n, const FusedDecimals& convert, V* to) {
        cpu_level >= CpuLevel::avx512 ? wide(loop, from, n, convert, to) : narrow(loop, from, n, convert, to);
    }

    /// Offsets of less than 8 bits, a group at a time: a product adds up those of one, whose sums are in a byte. `first` is
    /// the first integer without any offset, `sum` what the offsets before add to it; without them, integers are `extra`
    /// apart. Returns the sum of all offsets.
    QVO_AVX512 static uint64_t read_groups(const FusedDecimals& convert, uint64_t first, uint64_t extra, uint64_t sum,
                                           const uint8_t* offsets, size_t n,
                                           double* to) requires(std::is_same_v<V, double>) {
        const Group group(convert.quotient, first, extra);
        uint64_t before = sum;  // and what is added without offsets
        size_t i = 0;
        for (; i + bit_group <= n; i += bit_group, before += bit_group * extra) {
            const uint64_t sums = format::load<uint64_t>(offsets + i) * Group::adds_up;
            _mm512_storeu_pd(to + i, group.values(sums, before));
            before += sums >> 56;
        }
        if (const size_t left = n - i; left != 0) {
            uint64_t last = 0;
            std::memcpy(&last, offsets + i, left);
            const uint64_t sums = last * Group::adds_up;
            _mm512_mask_storeu_pd(to + i, static_cast<__mmask8>((1U << left) - 1), group.values(sums, before));
            before += (sums >> 56) + left * extra;
        }
        return before - n * extra;
    }

 private:
    template <class Loop, class From>
    [[gnu::target("avx2,fma")]] static void narrow(const Loop& loop, const From* from, size_t n,
                                                   const FusedDecimals& convert, V* to) {
        Loop::run(loop, from, n, convert, to);
    }
    template <class Loop, class From>
    QVO_AVX512 static void wide(const Loop& loop, const From* from, size_t n, const FusedDecimals& convert, V* to) {
        Loop::run(loop, from, n, convert, to);
    }
};
#endif

template <class Convert, class V> void read_by(OpenTile& tile, size_t n, void* to) {
    OffsetReader<Convert, V>::read(tile, n, Convert(tile.offsets), static_cast<V*>(to));
}

template <class V> void read_as(OpenTile& tile, size_t n, void* to) {
#if QVO_WIDE_X86
    if (Fused::is_supported()) return read_by<FusedDecimals<V>, V>(tile, n, to);
#endif
    read_by<DividedDecimals<V>, V>(tile, n, to);
}

void read_decimal(OpenTile& tile, size_t n, void* to) {
    tile.type.type == Type::double_ ? read_as<double>(tile, n, to) : read_as<float>(tile, n, to);
}

}  // namespace

const Coding decimal_coding = {"decimal", plan_decimal, write_decimal, open_decimal, read_decimal};

}  // namespace qvo::value
