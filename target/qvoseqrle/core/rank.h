// The place that each of 32 elements has among those of them that are chosen: how many bits of a word lie below each.
#pragma once

#include "cpu.h"

#if QVO_WIDE_X86
#include <array>
#include <cstddef>

#include <immintrin.h>

namespace qvo {

inline constexpr size_t ranked = 32;

// By 16 bits: which of them an element belongs to, and those below it.
struct RankTable {
    uint16_t sixteen[ranked], below[ranked];
};
inline constexpr RankTable rank_table = [] {
    RankTable all{};
    for (size_t i = 0; i < ranked; ++i) {
        all.sixteen[i] = static_cast<uint16_t>(i / 16);
        all.below[i] = static_cast<uint16_t>((1U << i % 16) - 1);
    }
    return all;
}();

/// Words of 16 bits: `first` and the number of bits below.
QVO_AVX512 inline __m512i ranks(uint32_t bits, unsigned first) {
    const __m512i sixteen = _mm512_loadu_si512(rank_table.sixteen), below = _mm512_loadu_si512(rank_table.below);
    const __m512i words =
        _mm512_maskz_permutexvar_epi16(~uint32_t{0}, sixteen, _mm512_set1_epi32(static_cast<int>(bits)));
    const __m512i up = _mm512_popcnt_epi16(_mm512_and_si512(words, below));
    const auto in_first = static_cast<short>(_mm_popcnt_u32(bits & 0xffff));
    const __m512i from = _mm512_set1_epi16(static_cast<short>(first));
    const __m512i start = _mm512_mask_add_epi16(from, 0xffff0000U, from, _mm512_set1_epi16(in_first));
    return _mm512_add_epi16(up, start);
}

}  // namespace qvo
#endif
