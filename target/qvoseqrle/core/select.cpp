// Selection of values and runs, which families of any type share. Where there is AVX-512, elements are packed in
// registers, as many at a time as a vector holds.
#include "core/select.h"

#include "core/move.h"

#if QVO_WIDE_X86
#include <immintrin.h>
#endif

namespace qvo {

#if QVO_WIDE_X86
namespace {

/// Stores the lanes of a vector that are wanted, one after the other, and nothing after them.
template <size_t Width> QVO_AVX512 QVO_INLINE void store_packed(uint8_t* to, __m512i values, uint64_t wanted) {
    const uint64_t front = _bzhi_u64(~uint64_t{0}, static_cast<unsigned>(_mm_popcnt_u64(wanted)));
    // (Stores that pack by themselves take several times as long on some processors.)
    if constexpr (Width == 8)
        _mm512_mask_storeu_epi64(to, static_cast<__mmask8>(front),
                                 _mm512_maskz_compress_epi64(static_cast<__mmask8>(wanted), values));
    else if constexpr (Width == 4)
        _mm512_mask_storeu_epi32(to, static_cast<__mmask16>(front),
                                 _mm512_maskz_compress_epi32(static_cast<__mmask16>(wanted), values));
    else if constexpr (Width == 2)
        _mm512_mask_storeu_epi16(to, static_cast<__mmask32>(front),
                                 _mm512_maskz_compress_epi16(static_cast<__mmask32>(wanted), values));
    else
        _mm512_mask_storeu_epi8(to, front, _mm512_maskz_compress_epi8(wanted, values));
}

/// What is selected from: elements of an array, of which those that are not wanted are not even read, or positions.
template <size_t Width> struct ArrayElements {
    const uint8_t* values;
    QVO_AVX512 QVO_INLINE __m512i load(size_t i, uint64_t wanted) const {
        const uint8_t* const from = values + i * Width;
        if constexpr (Width == 8)
            return _mm512_maskz_loadu_epi64(static_cast<__mmask8>(wanted), from);
        else if constexpr (Width == 4)
            return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(wanted), from);
        else if constexpr (Width == 2)
            return _mm512_maskz_loadu_epi16(static_cast<__mmask32>(wanted), from);
        else
            return _mm512_maskz_loadu_epi8(wanted, from);
    }
};
struct Positions {
    uint64_t first;
    QVO_AVX512 QVO_INLINE __m512i load(size_t i, uint64_t) const {
        return _mm512_add_epi64(_mm512_set1_epi64(static_cast<long long>(first + i)),
                                _mm512_setr_epi64(0, 1, 2, 3, 4, 5, 6, 7));
    }
};

/// Stores the wanted ones of 64 elements from i on.
template <size_t Width, class Elements>
QVO_AVX512 QVO_INLINE void store_block(uint8_t* to, const Elements& elements, size_t i, uint64_t wanted) {
    constexpr size_t lanes = sizeof(__m512i) / Width;
    for (size_t k = 0; k < run_block; k += lanes) {
        const uint64_t here = _bzhi_u64(wanted >> k, lanes);
        store_packed<Width>(to, elements.load(i + k, here), here);
        to += static_cast<size_t>(_mm_popcnt_u64(here)) * Width;
    }
}

/// The selection of `select`.
template <size_t Width, class Elements>
QVO_AVX512 Selection select_packed(uint8_t* to, Elements elements, const uint8_t* conditions, size_t n, size_t room) {
    size_t kept = 0;
    if (room == 0) return {0, 0};
    for (size_t i = 0; i < n; i += run_block) {
        const uint64_t there = _bzhi_u64(~uint64_t{0}, static_cast<unsigned>(std::min(n - i, run_block)));
        const __m512i block = _mm512_maskz_loadu_epi8(there, conditions + i);
        uint64_t wanted = _mm512_test_epi8_mask(block, block);
        if (wanted == 0) continue;
        const size_t count = static_cast<size_t>(_mm_popcnt_u64(wanted)), left = room - kept;
        uint8_t* const at = to + kept * Width;
        if (count >= left) {
            const auto last = static_cast<unsigned>(_tzcnt_u64(_pdep_u64(uint64_t{1} << (left - 1), wanted)));
            store_block<Width>(at, elements, i, _bzhi_u64(wanted, last + 1));
            return {i + last + 1, room};
        }
        store_block<Width>(at, elements, i, wanted);
        kept += count;
    }
    return {n, kept};
}

}  // namespace
#endif

Selection select_values(qvo_seq_iterator_h it, size_t to, const uint8_t* values, const uint8_t* conditions, size_t n,
                        size_t room) {
    return with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) {
            const size_t width = mover.width();
            uint8_t* __restrict const result = values_of<uint8_t>(it) + to * width;
            const uint8_t* __restrict const input = values;
#if QVO_WIDE_X86
            if constexpr (constexpr size_t fixed = fixed_width<decltype(mover)>; fixed != 0)
                if (cpu_level >= CpuLevel::avx512)
                    return select_packed<fixed>(result, ArrayElements<fixed>{values}, conditions, n, room);
#endif
            return select(
                conditions, n, room, [=](size_t k, size_t i, auto count) __attribute__((always_inline)) {
                    if constexpr (count == 1)
                        mover.move(result, k, input, i);
                    else
                        std::memcpy(result + k * width, input + i * width, count * width);
                });
        });
}

Selection select_positions(uint64_t* to, const uint8_t* conditions, size_t n, size_t room, uint64_t first) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512)
        return select_packed<sizeof *to>(reinterpret_cast<uint8_t*>(to), Positions{first}, conditions, n, room);
#endif
    return select(
        conditions, n, room, [=](size_t k, size_t i, auto count) __attribute__((always_inline)) {
            for (size_t j = 0; j < count; ++j) to[k + j] = first + i + j;
        });
}

void select_runs(uint8_t* to, const uint8_t* runs, const uint8_t* conditions, size_t n) {
    select(
        conditions, n, n, [=](size_t k, size_t i, auto count) __attribute__((always_inline)) {
            if constexpr (count == 1)
                set_run(to, k, get_run(runs, i));
            else
                copy_runs(to - k, runs - i, count);
        });
}

}  // namespace qvo
