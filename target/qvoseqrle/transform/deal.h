// Dealing the values of two sides out to conditions of one run: each takes the next value of the side that it chooses.
#pragma once

#include "core/move.h"

#if QVO_WIDE_X86
#include <immintrin.h>
#endif

namespace qvo {

/// The values of a side from the next one on, and the bytes from one to the next: 0 where it is a value that repeats.
struct DealtValues {
    const uint8_t* next;
    size_t step;
};

/// One by one; returns how many were true.
template <class Mover>
QVO_INLINE size_t deal_in_turn(Mover mover, uint8_t* __restrict out, const uint8_t* __restrict conditions, size_t n,
                               DealtValues left, DealtValues right) {
    size_t n_left = 0;
    for (size_t i = 0; i < n; ++i) {
        const bool is_true = conditions[i] != 0;
        mover.move(out, i, is_true ? left.next : right.next, 0);
        left.next += is_true ? left.step : 0;
        right.next += is_true ? 0 : right.step;
        n_left += is_true;
    }
    return n_left;
}

#if QVO_WIDE_X86
template <class Bits> inline constexpr size_t dealt_at_once = sizeof(__m512i) / sizeof(Bits);

/// Puts the next values to the places of the mask, up to a vector of them.
template <class Bits> QVO_AVX512 inline void put_values(__m512i& places, uint64_t mask, const __m512i& values) {
    if constexpr (sizeof(Bits) == 1) places = _mm512_mask_expand_epi8(places, mask, values);
    if constexpr (sizeof(Bits) == 2) places = _mm512_mask_expand_epi16(places, static_cast<__mmask32>(mask), values);
    if constexpr (sizeof(Bits) == 4) places = _mm512_mask_expand_epi32(places, static_cast<__mmask16>(mask), values);
    if constexpr (sizeof(Bits) == 8) places = _mm512_mask_expand_epi64(places, static_cast<__mmask8>(mask), values);
}
template <class Bits> QVO_AVX512 inline __m512i next_values(const DealtValues& side) {
    if (side.step != 0) return _mm512_loadu_si512(side.next);
    Bits value;
    std::memcpy(&value, side.next, sizeof value);
    __m512i values;
    for (size_t k = 0; k < sizeof values; k += sizeof value)
        std::memcpy(reinterpret_cast<uint8_t*>(&values) + k, &value, sizeof value);
    return values;
}

/// A vector of conditions at a time. Reads as many values from a tile, some of which may be none.
template <class Bits>
QVO_AVX512 size_t deal_by_vectors(uint8_t* out, const uint8_t* conditions, size_t n, DealtValues left,
                                  DealtValues right) {
    size_t n_left = 0;
    for (size_t i = 0; i < n; i += dealt_at_once<Bits>) {
        const size_t some = std::min(n - i, dealt_at_once<Bits>);
        const uint64_t here = ~uint64_t{0} >> (64 - some);
        const __m512i chosen = _mm512_maskz_loadu_epi8(here, conditions + i);
        const uint64_t trues = _mm512_test_epi8_mask(chosen, chosen);
        const auto n_trues = static_cast<size_t>(_mm_popcnt_u64(trues));
        __m512i values = _mm512_setzero_si512();
        put_values<Bits>(values, trues, next_values<Bits>(left));
        put_values<Bits>(values, here & ~trues, next_values<Bits>(right));
        const size_t bytes = some * sizeof(Bits);
        _mm512_mask_storeu_epi8(out + i * sizeof(Bits), ~uint64_t{0} >> (64 - bytes), values);
        left.next += n_trues * left.step;
        right.next += (some - n_trues) * right.step;
        n_left += n_trues;
    }
    return n_left;
}
#endif

/// The values lie in tiles; returns how many were true.
QVO_INLINE size_t deal(size_t width, uint8_t* out, const uint8_t* conditions, size_t n, DealtValues left,
                       DealtValues right) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512 && (width == 1 || width == 2 || width == 4 || width == 8))
        return with_unsigned(
            width, [&](auto bits) { return deal_by_vectors<decltype(bits)>(out, conditions, n, left, right); },
            [] { return size_t{0}; });
#endif
    return with_mover(
        width, [&](auto mover)
                   __attribute__((always_inline)) { return deal_in_turn(mover, out, conditions, n, left, right); });
}

}  // namespace qvo
