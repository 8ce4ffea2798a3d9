#include "aggregate/group_sum.h"

#include "core/move.h"

#if QVO_WIDE_X86
// Its operations start from vectors that are left undefined on purpose.
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#endif

namespace qvo {
namespace {

/// One group after the other. Where most are of up to three terms no branch depends on how long they are, as none could
/// be foretold: terms beyond are added and left out.
template <class T> QVO_INLINE void add_in_turn(const T* terms, const uint16_t* bounds, size_t n, T* sums) {
    constexpr size_t brief = 3;
    const size_t n_terms = size_t{bounds[n]} - bounds[0];
    const bool all_brief = n_terms < (brief + 1) * n && n_terms > n + n / 8;
    for (size_t j = 0; j < n; ++j) {
        const T* const first = terms + bounds[j];
        const size_t length = size_t{bounds[j + 1]} - bounds[j];
        T sum = *first;
        size_t i = 1;
        if (all_brief)
            for (; i < brief; ++i) sum = opened_or(length <= i, sum, static_cast<T>(sum + first[i]));
        for (; i < length; ++i) sum += first[i];
        sums[j] = sum;
    }
}

/// Both sums, whose additions do not wait for each other. `open_square` stands for the square of term 0.
QVO_INLINE void add_squares_in_turn(const double* terms, double open_square, const uint16_t* bounds, size_t n,
                                    double* sums, double* squares) {
    for (size_t j = 0; j < n; ++j) {
        double sum = terms[bounds[j]], square = bounds[j] == 0 ? open_square : sum * sum;
        for (size_t i = bounds[j] + size_t{1}; i < bounds[j + 1]; ++i) {
            sum += terms[i];
            square += terms[i] * terms[i];
        }
        sums[j] = sum;
        squares[j] = square;
    }
}

#if QVO_WIDE_X86
constexpr size_t lanes = 8;

/// The terms from the given places on in the lanes of the mask.
QVO_AVX512 inline __m512d take(__mmask8 some, __m256i at, const double* terms) {
    return _mm512_mask_i32gather_pd(_mm512_setzero_pd(), some, at, terms, sizeof *terms);
}
QVO_AVX512 inline __m512i take(__mmask8 some, __m256i at, const uint64_t* terms) {
    return _mm512_mask_i32gather_epi64(_mm512_setzero_si512(), some, at, terms, sizeof *terms);
}
QVO_AVX512 inline __m512d add(__m512d sums, __mmask8 some, __m512d terms) {
    return _mm512_mask_add_pd(sums, some, sums, terms);
}
QVO_AVX512 inline __m512i add(__m512i sums, __mmask8 some, __m512i terms) {
    return _mm512_mask_add_epi64(sums, some, sums, terms);
}

/// Up to eight groups side by side, a lane for each, and where their next terms are.
struct GroupLanes {
    __m256i at, left;  // terms left, or none
    __mmask8 all;
    int longest;

    QVO_AVX512 QVO_INLINE GroupLanes(const uint16_t* bounds, size_t n) : all(static_cast<__mmask8>((1U << n) - 1)) {
        at = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bounds)));
        const __m256i end = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bounds + 1)));
        left = _mm256_maskz_sub_epi32(all, end, at);
        longest = _mm512_reduce_max_epi32(_mm512_zextsi256_si512(left));
    }
    /// Whether the longest is much longer than the others, so that they are sooner added up in turn, with `term` cycles for
    /// each of their terms.
    QVO_AVX512 QVO_INLINE bool uneven(const uint16_t* bounds, size_t n, int term) const {
        constexpr int round = 6, group = 15;  // about as many cycles: all lanes once, and a group besides its terms
        return round * longest > term * (bounds[n] - bounds[0]) + group * static_cast<int>(n);
    }
    /// Goes on to the next terms; which lanes have one.
    QVO_AVX512 QVO_INLINE __mmask8 next() {
        const __m256i one = _mm256_set1_epi32(1);
        at = _mm256_add_epi32(at, one);
        left = _mm256_sub_epi32(left, one);
        return _mm256_cmpgt_epi32_mask(left, _mm256_setzero_si256());
    }
};

/// As many rounds as the longest group has terms.
template <class T> QVO_AVX512 void add_in_lanes(const T* terms, const uint16_t* bounds, size_t n, T* sums) {
    for (size_t j = 0; j < n; j += lanes) {
        const size_t here = std::min(n - j, lanes);
        GroupLanes groups(bounds + j, here);
        if (groups.uneven(bounds + j, here, std::is_integral_v<T> ? 1 : 2)) {
            add_in_turn(terms, bounds + j, here, sums + j);
            continue;
        }
        auto sum = take(groups.all, groups.at, terms);
        for (int k = 1; k < groups.longest; ++k) {
            const __mmask8 some = groups.next();
            sum = add(sum, some, take(some, groups.at, terms));
        }
        std::memcpy(sums + j, &sum, sizeof sum);
    }
}

QVO_AVX512 void add_squares_in_lanes(const double* terms, double open_square, const uint16_t* bounds, size_t n,
                                     double* sums, double* squares) {
    for (size_t j = 0; j < n; j += lanes) {
        const size_t here = std::min(n - j, lanes);
        GroupLanes groups(bounds + j, here);
        if (groups.uneven(bounds + j, here, 2)) {
            add_squares_in_turn(terms, open_square, bounds + j, here, sums + j, squares + j);
            continue;
        }
        __m512d sum = take(groups.all, groups.at, terms), square = _mm512_mul_pd(sum, sum);
        if (bounds[j] == 0) square = _mm512_mask_mov_pd(square, 1, _mm512_set1_pd(open_square));
        for (int k = 1; k < groups.longest; ++k) {
            const __mmask8 some = groups.next();
            const __m512d term = take(some, groups.at, terms);
            sum = add(sum, some, term);
            square = add(square, some, _mm512_mul_pd(term, term));
        }
        std::memcpy(sums + j, &sum, sizeof sum);
        std::memcpy(squares + j, &square, sizeof square);
    }
}

/// Neighbouring values move by none or one from step to step: those of a vector of steps are all in one vector.
template <class Bits>
QVO_AVX512 void spread_by_vectors(const uint8_t* values, const uint16_t* index, size_t n, uint8_t* out) {
    constexpr size_t step = std::min<size_t>(sizeof(__m512i) / sizeof(Bits), 32);
    for (size_t i = 0; i < n; i += step) {
        const __m512i from = _mm512_loadu_si512(values + index[i] * sizeof(Bits));
        const __m512i moved =
            _mm512_sub_epi16(_mm512_loadu_si512(index + i), _mm512_set1_epi16(static_cast<short>(index[i])));
        __m512i there;
        if constexpr (sizeof(Bits) == 8)
            there = _mm512_permutexvar_epi64(_mm512_cvtepu16_epi64(_mm512_castsi512_si128(moved)), from);
        else if constexpr (sizeof(Bits) == 4)
            there = _mm512_permutexvar_epi32(_mm512_cvtepu16_epi32(_mm512_castsi512_si256(moved)), from);
        else if constexpr (sizeof(Bits) == 2)
            there = _mm512_permutexvar_epi16(moved, from);
        else
            there = _mm512_permutexvar_epi8(_mm512_zextsi256_si512(_mm512_cvtepi16_epi8(moved)), from);
        std::memcpy(out + i * sizeof(Bits), &there, step * sizeof(Bits));
    }
}
#endif

/// sums[i] = runs[0] + ... + runs[i]
QVO_INLINE void add_runs_in_turn(const uint8_t* runs, size_t n, uint16_t* sums) {
    unsigned sum = 0;
    for (size_t i = 0; i < n; ++i) sums[i] = static_cast<uint16_t>(sum += runs[i]);
}

/// counts[j] = sums[bounds[j + 1]] - sums[bounds[j]]; the first is 0.
QVO_INLINE void subtract_in_turn(const uint16_t* sums, const uint16_t* bounds, size_t n, uint64_t* counts) {
    uint16_t last = 0;
    for (size_t j = 0; j < n; ++j) {
        const uint16_t now = sums[bounds[j + 1]];
        counts[j] = static_cast<uint16_t>(now - last);
        last = now;
    }
}

#if QVO_WIDE_X86
QVO_AVX512 void subtract_by_vectors(const uint16_t* sums, const uint16_t* bounds, size_t n, uint64_t* counts) {
    constexpr size_t step = 16;
    const __m512i zero = _mm512_setzero_si512();
    __m512i last = zero;
    for (size_t j = 0; j < n; j += step) {
        const auto some = static_cast<__mmask16>((1U << std::min(n - j, step)) - 1);
        const __m256i bound = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bounds + j + 1));
        __m512i now = _mm512_mask_i32gather_epi32(zero, some, _mm512_cvtepu16_epi32(bound), sums, sizeof *sums);
        now = _mm512_and_si512(now, _mm512_set1_epi32(0xffff));
        const __m512i differences = _mm512_sub_epi32(now, _mm512_alignr_epi32(now, last, step - 1));
        last = now;
        _mm512_storeu_si512(counts + j, _mm512_cvtepu32_epi64(_mm512_castsi512_si256(differences)));
        _mm512_storeu_si512(counts + j + step / 2, _mm512_cvtepu32_epi64(_mm512_extracti64x4_epi64(differences, 1)));
    }
}

/// 32 at a time: each adds the one before it, then the two before, and so on.
QVO_AVX512 void add_runs_by_vectors(const uint8_t* runs, size_t n, uint16_t* sums) {
    __m512i total = _mm512_setzero_si512();
    for (size_t i = 0; i < n; i += 32) {
        const __m512i zero = _mm512_setzero_si512();
        __m512i sum = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(runs + i)));
        // Within 128 bits, then by these.
        sum = _mm512_add_epi16(sum, _mm512_bslli_epi128(sum, 2));
        sum = _mm512_add_epi16(sum, _mm512_bslli_epi128(sum, 4));
        sum = _mm512_add_epi16(sum, _mm512_bslli_epi128(sum, 8));
        __m512i last = _mm512_shuffle_epi8(sum, _mm512_set1_epi16(0x0f0e));
        last = _mm512_add_epi16(last, _mm512_alignr_epi64(last, zero, 6));
        last = _mm512_add_epi16(last, _mm512_alignr_epi64(last, zero, 4));
        sum = _mm512_add_epi16(_mm512_add_epi16(sum, total), _mm512_alignr_epi64(last, zero, 6));
        total = _mm512_add_epi16(total, _mm512_shuffle_i64x2(last, last, 0xff));
        _mm512_storeu_si512(sums + i, sum);
    }
}
#endif

void add_runs(const uint8_t* runs, size_t n, uint16_t* sums) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512) return add_runs_by_vectors(runs, n, sums);
#endif
    add_runs_in_turn(runs, n, sums);
}

template <class T> void add_all(const GroupNumbers<T>& terms, const GroupBounds& groups, GroupNumbers<T>& sums) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512) return add_in_lanes(terms.of, groups.bounds, groups.n, sums.of);
#endif
    for_cpu<add_in_turn<T>>(terms.of, groups.bounds, groups.n, sums.of);
}

}  // namespace

GroupBounds::GroupBounds(const GroupSteps& steps, bool open) : n(steps.n_ends), ended(steps.n_ends) {
    bounds[0] = open ? 0 : 1;
    for (size_t j = 0; j < ended; ++j) bounds[j + 1] = static_cast<uint16_t>(steps.ends[j] + 1);
    if (bounds[n] <= steps.n) bounds[++n] = static_cast<uint16_t>(steps.n + 1);
}

void add_terms(const GroupNumbers<double>& terms, const GroupBounds& groups, GroupNumbers<double>& sums) {
    add_all(terms, groups, sums);
}
void add_terms(const GroupNumbers<uint64_t>& terms, const GroupBounds& groups, GroupNumbers<uint64_t>& sums) {
    add_all(terms, groups, sums);
}

void add_squares(const GroupNumbers<double>& terms, double open_square, const GroupBounds& groups,
                 GroupNumbers<double>& sums, GroupNumbers<double>& squares) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512)
        return add_squares_in_lanes(terms.of, open_square, groups.bounds, groups.n, sums.of, squares.of);
#endif
    add_squares_in_turn(terms.of, open_square, groups.bounds, groups.n, sums.of, squares.of);
}

void count_positions(const GroupSteps& steps, const GroupBounds& groups, uint64_t open,
                     GroupNumbers<uint64_t>& counts) {
    if (steps.plain) {
        for (size_t j = 0; j < groups.n; ++j) counts.of[j] = uint64_t{groups.bounds[j + 1]} - groups.bounds[j];
        counts.of[0] += open - (groups.bounds[0] == 0);
        return;
    }
    uint16_t before[GroupBounds::most_terms + 1 + GroupSteps::slack];  // each term
    static_assert(GroupSteps::most * max_run < 65536);
    before[0] = before[1] = 0;
    add_runs(steps.run, steps.n, before + 2);
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512)
        subtract_by_vectors(before, groups.bounds, groups.n, counts.of);
    else
#endif
        subtract_in_turn(before, groups.bounds, groups.n, counts.of);
    counts.of[0] += open;
}

void forget_empty_steps(const GroupSteps& steps, const GroupBounds& groups, double* terms) {
    for (size_t j = 0; j < groups.n; ++j)
        if (groups.bounds[j] != 0)
            for (size_t i = groups.bounds[j]; i + 1 < groups.bounds[j + 1] && steps.run[i - 1] == 0; ++i)
                terms[i] = -0.0;
}

void spread_values(const uint8_t* values, size_t width, const uint16_t* index, size_t n, uint8_t* out) {
    with_unsigned(
        width,
        [&](auto bits) {
            using Bits = decltype(bits);
#if QVO_WIDE_X86
            if (cpu_level >= CpuLevel::avx512) return spread_by_vectors<Bits>(values, index, n, out);
#endif
            for (size_t i = 0; i < n; ++i)
                std::memcpy(out + i * sizeof(Bits), values + index[i] * sizeof(Bits), sizeof(Bits));
        },
        [] {});
}

}  // namespace qvo
