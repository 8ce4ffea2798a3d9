#include "core/runs.h"

#include <array>

#if QVO_WIDE_X86
#include <immintrin.h>
#endif

namespace qvo {
namespace {

unsigned sum_blocks(const uint8_t* lowest, size_t n) {
    BlockSum sum;
    size_t i = 0;
    for (; i + run_block <= n; i += run_block) sum.add(lowest + i);
    return sum.total() + sum_words(lowest + i, n - i);
}

#if QVO_WIDE_X86
QVO_AVX2 QVO_INLINE __m256i load_vector(const uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

/// One instruction adds up eight bytes in each lane of a vector.
QVO_AVX2 unsigned sum_vectors(const uint8_t* lowest, size_t n) {
    constexpr size_t width = sizeof(__m256i);
    static constexpr auto mask = [] {
        std::array<uint8_t, 2 * width> bytes{};
        std::fill_n(bytes.begin() + width, width, uint8_t{0xff});
        return bytes;
    }();
    const __m256i zero = _mm256_setzero_si256();
    // The last vector reaches back over bytes that are in the sum already, which count as 0.
    const __m256i last = _mm256_and_si256(load_vector(lowest + n - width), load_vector(mask.data() + n % width));
    __m256i sums = _mm256_sad_epu8(last, zero);
    for (size_t i = 0; i + width <= n; i += width)
        sums = _mm256_add_epi64(sums, _mm256_sad_epu8(load_vector(lowest + i), zero));
    const __m128i half = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return static_cast<unsigned>(_mm_cvtsi128_si64(half) + _mm_extract_epi64(half, 1));
}

/// A bit for each of 32 bytes, whether they are equal.
QVO_AVX2 QVO_INLINE uint32_t equal_bytes(const uint8_t* from, __m256i to) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(load_vector(from), to)));
}

/// Four vectors at a time as long as all are equal, then one by one.
QVO_AVX2 size_t leading_same_by_vectors(const uint8_t* runs, unsigned run, size_t n) {
    constexpr size_t width = sizeof(__m256i), many = 4 * width;
    const __m256i wanted = _mm256_set1_epi8(static_cast<char>(run));
    size_t i = 0;
    for (; i + many <= n; i += many) {
        const uint8_t* const lowest = runs - (i + many - 1);
        __m256i differs = _mm256_setzero_si256();
        for (size_t k = 0; k < many; k += width)
            differs = _mm256_or_si256(differs, _mm256_xor_si256(load_vector(lowest + k), wanted));
        if (!_mm256_testz_si256(differs, differs)) break;
    }
    for (; i < n; i += width)
        if (const uint32_t equal = equal_bytes(runs - (i + width - 1), wanted); ~equal != 0)
            return std::min(n, i + static_cast<size_t>(std::countl_one(equal)));
    return n;
}

/// A bit for each of 64 bytes, whether they are not equal.
QVO_AVX512 QVO_INLINE uint64_t other_bytes(const uint8_t* from, __m512i to) {
    return _mm512_cmpneq_epi8_mask(_mm512_loadu_si512(from), to);
}

/// The same by wide vectors, two at a time.
QVO_AVX512 size_t leading_same_by_wide_vectors(const uint8_t* runs, unsigned run, size_t n) {
    constexpr size_t width = sizeof(__m512i);
    const __m512i wanted = _mm512_set1_epi8(static_cast<char>(run));
    const uint8_t* const last = runs - (width - 1);  // of the first vector, the lowest byte
    size_t i = 0;
    while (i + 2 * width <= n && (other_bytes(last - i, wanted) | other_bytes(last - i - width, wanted)) == 0)
        i += 2 * width;
    for (; i < n; i += width)
        if (const uint64_t other = other_bytes(last - i, wanted); other != 0)
            return std::min(n, i + static_cast<size_t>(std::countl_zero(other)));
    return n;
}
#endif

}  // namespace

unsigned sum_many(const uint8_t* lowest, size_t n) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx2) return sum_vectors(lowest, n);
#endif
    return sum_blocks(lowest, n);
}

size_t leading_same_of_many(const uint8_t* runs, unsigned run, size_t n) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512) return leading_same_by_wide_vectors(runs, run, n);
    if (cpu_level >= CpuLevel::avx2) return leading_same_by_vectors(runs, run, n);
#endif
    return leading_equal(runs, SameRun{ones_word * run}, n);
}

}  // namespace qvo
