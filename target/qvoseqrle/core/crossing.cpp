#include "core/crossing.h"

#include <array>

#include "core/rank.h"

namespace qvo {

#if QVO_WIDE_X86
namespace {

constexpr unsigned window = 64;
constexpr unsigned most_positions = 1024, fewest_positions = 192;

/// A byte for each position: 1 at the last one of a run. Marks are set for eight runs at a time, however long they are.
struct Marks {
    alignas(window) uint8_t bytes[most_positions + run_word * max_run + window];
};

QVO_INLINE uint64_t first_bits(unsigned n) { return ~uint64_t{0} >> (window - std::min(n, window)); }

/// Marks the ends of the runs of a side; returns the positions for which that is complete. A run byte of 0, which
/// unwritten ones may be, ends them.
QVO_INLINE unsigned mark_ends(Marks& marks, const CrossingSide& side, unsigned positions) {
    const auto holds_zero = [](uint64_t runs) { return ((runs - ones_word) & ~runs & ones_word << 7) != 0; };
    for (unsigned i = 0; i < positions; i += window)
        std::memset(marks.bytes + i, 0, window);  // not by a string operation
    const uint8_t* run = side.runs;
    size_t left = side.left, at = size_t{*run} - side.taken - 1;
    for (; left > run_word && at < positions && !holds_zero(load_runs(run - 1)); left -= run_word, run -= run_word)
        for (ptrdiff_t k = 1; k <= ptrdiff_t{run_word}; ++k) {
            marks.bytes[at] = 1;
            at += run[-k];
        }
    while (at < positions) {
        marks.bytes[at] = 1;
        if (--left == 0 || *--run == 0) return static_cast<unsigned>(at) + 1;
        at += *run;
    }
    return positions;
}

/// About as many positions as have `n` overlaps: an end of each run for as many positions as it is long.
template <size_t N> QVO_INLINE unsigned positions_of(size_t n, const CrossingSide (&sides)[N]) {
    float ends = 0;  // a position
    for (const CrossingSide& side : sides)
        ends += float{run_word} / static_cast<float>(lane_sum(pair_sums(load_runs(side.runs))) + 1);
    const auto positions = static_cast<unsigned>(static_cast<float>(n) / ends) + window;
    return std::clamp(positions / window * window, fewest_positions, most_positions);
}

/// Overlaps listed so far, and the positions up to the end of the last one.
struct Listed {
    size_t n = 0;
    unsigned positions = 0;
};

/// The marks of 64 positions as words: those of each side, and of all together.
template <size_t N> struct Ends {
    uint64_t of[N];
    uint64_t any = 0;
};

/// Lists the overlaps that end in the first `limit` positions, one by one. index[k] are the elements that come next.
template <size_t N>
QVO_AVX2 Listed list_by_bits(const CrossingRow<N>& row, const Marks (&marks)[N], unsigned limit, unsigned (&index)[N]) {
    Listed listed;
    for (unsigned at = 0; at < limit && listed.n < row.room; at += window) {
        Ends<N> ends;
        for (size_t k = 0; k < N; ++k) {
            const auto* from = reinterpret_cast<const __m256i*>(marks[k].bytes + at);
            // The lowest bit of a byte becomes the one that is looked at.
            const auto low = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_slli_epi16(from[0], 7)));
            const auto high = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_slli_epi16(from[1], 7)));
            ends.of[k] = (low | uint64_t{high} << 32) & first_bits(limit - at);
            ends.any |= ends.of[k];
        }
        for (uint64_t left = ends.any; left != 0; left = _blsr_u64(left)) {
            const uint64_t end = _tzcnt_u64(left);
            const unsigned positions = at + static_cast<unsigned>(end) + 1;
            row.run[listed.n] = static_cast<uint8_t>(positions - listed.positions);
            listed.positions = positions;
            for (size_t k = 0; k < N; ++k) {
                row.index[k][listed.n] = static_cast<uint16_t>(index[k]);
                index[k] += static_cast<unsigned>(ends.of[k] >> end) & 1;
            }
            ++listed.n;
        }
    }
    return listed;
}

constexpr std::array<uint8_t, window> numbers_up = [] {
    std::array<uint8_t, window> all{};
    for (size_t i = 0; i < window; ++i) all[i] = static_cast<uint8_t>(i);
    return all;
}();

/// Lists the elements of a side for 32 overlaps: it goes up by one after each that ends a run of the side.
QVO_AVX512 inline unsigned list_elements(uint16_t* to, unsigned index, uint32_t ended) {
    _mm512_storeu_si512(to, ranks(ended, index));
    return index + static_cast<unsigned>(_mm_popcnt_u32(ended));
}

/// The same for 64 positions at a time: the ends are packed, and the elements of a side are counted by its ends before.
template <size_t N>
QVO_AVX512 Listed list_by_vectors(const CrossingRow<N> row, const Marks (&marks)[N], unsigned limit,
                                  unsigned (&all_indexes)[N]) {
    const __m512i numbers = _mm512_loadu_si512(numbers_up.data());
    const __m512i one_before = _mm512_sub_epi8(numbers, _mm512_set1_epi8(1));
    unsigned index[N];
    std::copy_n(all_indexes, N, index);
    Listed listed;
    for (unsigned at = 0; at < limit && listed.n < row.room; at += window) {
        Ends<N> ends;
        for (size_t k = 0; k < N; ++k) {
            const __m512i bytes = _mm512_load_si512(marks[k].bytes + at);
            ends.of[k] = _mm512_test_epi8_mask(bytes, bytes) & first_bits(limit - at);
            ends.any |= ends.of[k];
        }
        if (ends.any == 0) continue;
        const __m512i end = _mm512_maskz_compress_epi8(ends.any, numbers);
        const __m512i before = _mm512_mask_set1_epi8(_mm512_maskz_permutexvar_epi8(~uint64_t{0}, one_before, end), 1,
                                                     static_cast<char>(listed.positions - at - 1));
        _mm512_storeu_si512(row.run + listed.n, _mm512_sub_epi8(end, before));
        const auto n = static_cast<size_t>(_mm_popcnt_u64(ends.any));
        for (size_t k = 0; k < N; ++k) {
            const uint64_t ended = _pext_u64(ends.of[k], ends.any);  // whether each overlap ends a run of this side
            uint16_t* const to = row.index[k] + listed.n;
            index[k] = list_elements(to, index[k], static_cast<uint32_t>(ended));
            if (n > ranked) index[k] = list_elements(to + ranked, index[k], static_cast<uint32_t>(ended >> ranked));
        }
        listed.n += n;
        listed.positions = at + window - static_cast<unsigned>(std::countl_zero(ends.any));
    }
    std::copy_n(index, N, all_indexes);
    return listed;
}

/// Moves the sides to the end of the n overlaps listed; the elements that come then are listed as the n-th.
template <size_t N> RunSpan move_on(const CrossingRow<N>& row, CrossingSide (&sides)[N], Listed listed) {
    const size_t n = listed.n;
    for (size_t k = 0; k < N; ++k) {
        const uint16_t* const index = row.index[k];
        unsigned taken = index[n] == sides[k].index ? sides[k].taken : 0;
        for (size_t i = n; i != 0 && index[i - 1] == index[n]; --i) taken += row.run[i - 1];
        sides[k].index = index[n];
        sides[k].taken = taken;
    }
    return {n, listed.positions};
}

/// `list` for the instruction set of the caller.
template <size_t N, class List>
QVO_INLINE RunSpan cross(const CrossingRow<N>& row, CrossingSide (&sides)[N], List list) {
    Marks marks[N];
    unsigned index[N];
    const unsigned positions = positions_of(row.room, sides);
    unsigned limit = positions;
    for (size_t k = 0; k < N; ++k) {
        limit = std::min(limit, mark_ends(marks[k], sides[k], positions));
        index[k] = static_cast<unsigned>(sides[k].index);
    }
    Listed listed = list(row, marks, limit, index);
    for (size_t k = 0; k < N; ++k) row.index[k][listed.n] = static_cast<uint16_t>(index[k]);
    if (listed.n > row.room) {
        listed = {row.room, 0};
        for (size_t i = 0; i < listed.n; ++i) listed.positions += row.run[i];
    }
    return move_on(row, sides, listed);
}
template <size_t N> QVO_AVX2 RunSpan cross_by_bits(const CrossingRow<N>& row, CrossingSide (&sides)[N]) {
    return cross(row, sides, list_by_bits<N>);
}
template <size_t N> QVO_AVX512 RunSpan cross_by_vectors(const CrossingRow<N>& row, CrossingSide (&sides)[N]) {
    return cross(row, sides, list_by_vectors<N>);
}

/// keep_true for 32 overlaps at a time, which have no more conditions than that.
QVO_AVX512 RunSpan keep_true_by_vectors(const CrossingRow<2> row, const uint8_t* conditions, size_t n) {
    uint16_t *const condition = row.index[0], *const element = row.index[1];
    RunSpan kept{0, 0};
    for (size_t i = 0; i < n; i += ranked) {
        const size_t some = std::min(n - i, ranked);
        const unsigned first = condition[i], last = condition[i + some - 1];
        const auto there = static_cast<uint32_t>(first_bits(static_cast<unsigned>(some)));
        const __m256i near =
            _mm256_maskz_loadu_epi8(static_cast<uint32_t>(first_bits(last - first + 1)), conditions + first);
        const __m512i offsets =
            _mm512_sub_epi16(_mm512_loadu_si512(condition + i), _mm512_set1_epi16(static_cast<short>(first)));
        const __m256i each = _mm256_maskz_permutexvar_epi8(there, _mm512_maskz_cvtepi16_epi8(there, offsets), near);
        const uint32_t trues = _mm256_test_epi8_mask(each, each);
        const __m512i elements = _mm512_maskz_compress_epi16(trues, _mm512_loadu_si512(element + i));
        const __m256i runs =
            _mm256_maskz_compress_epi8(trues, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row.run + i)));
        _mm512_storeu_si512(element + kept.elements, elements);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row.run + kept.elements), runs);
        const __m256i sums = _mm256_sad_epu8(runs, _mm256_setzero_si256());
        const __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
        kept.positions += static_cast<unsigned>(_mm_extract_epi64(halves, 0) + _mm_extract_epi64(halves, 1));
        kept.elements += static_cast<size_t>(_mm_popcnt_u32(trues));
    }
    return kept;
}

}  // namespace

template <size_t N> RunSpan cross_runs(const CrossingRow<N>& row, CrossingSide (&sides)[N]) {
    return cpu_level >= CpuLevel::avx512 ? cross_by_vectors(row, sides) : cross_by_bits(row, sides);
}
#else
template <size_t N> RunSpan cross_runs(const CrossingRow<N>&, CrossingSide (&)[N]) { return {0, 0}; }
#endif

RunSpan keep_true(const CrossingRow<2>& row, const uint8_t* conditions, size_t n) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512) return keep_true_by_vectors(row, conditions, n);
#endif
    RunSpan kept{0, 0};
    for (size_t i = 0; i < n; ++i) {
        const uint16_t element = row.index[1][i];
        const uint8_t run = row.run[i];
        const bool is_true = conditions[row.index[0][i]] != 0;
        row.index[1][kept.elements] = element;
        row.run[kept.elements] = run;
        kept.elements += is_true;
        kept.positions += is_true ? run : 0;
    }
    return kept;
}

template RunSpan cross_runs(const CrossingRow<2>& row, CrossingSide (&sides)[2]);
template RunSpan cross_runs(const CrossingRow<3>& row, CrossingSide (&sides)[3]);

}  // namespace qvo
