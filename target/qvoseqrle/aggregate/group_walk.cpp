#include "aggregate/group_walk.h"

#include <array>
#include <numeric>
#include <utility>

#include "core/move.h"
#include "core/overlap_list.h"

#if QVO_WIDE_X86
#include <immintrin.h>
#endif

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

// Values that are looked at in one go, and the parts in which those that are not all equal are gone through.
constexpr size_t block = 32, part = 8;

/// True if `n` values are all equal to the one before them.
template <size_t n, class V> QVO_INLINE bool repeats(const V* values) {
    typedef uint64_t Words __attribute__((vector_size(16)));
    constexpr size_t bytes = n * sizeof(V), step = std::min(bytes, sizeof(Words));
    Words any{};
    for (size_t k = 0; k < bytes; k += step) {
        Words a{}, b{};
        std::memcpy(&a, reinterpret_cast<const uint8_t*>(values) + k, step);
        std::memcpy(&b, reinterpret_cast<const uint8_t*>(values - 1) + k, step);
        any |= a ^ b;
    }
    return (any[0] | any[1]) == 0;
}

/// Where to look for ends among the keys of steps, and what has been found.
template <class Bits> struct KeySearch {
    const Bits* keys;
    const uint16_t* index;
    uint16_t* ends;
    size_t n_ends = 0;

    /// Looks at steps from i on, of which there is one before.
    QVO_INLINE void look(size_t i, size_t end) {
        const KeySearch here = *this;  // in registers
        size_t n = here.n_ends;
        for (Bits last = here.keys[here.index[i - 1]]; i < end; ++i) {
            const Bits key = here.keys[here.index[i]];
            here.ends[n] = static_cast<uint16_t>(i);
            n += key != last;
            last = key;
        }
        n_ends = n;
    }
};

/// With a key per step it is the keys that are compared, else their indexes. Where the last block had some ends the next
/// one is not asked, nor its parts.
template <class Bits> QVO_INLINE void look_by_blocks(KeySearch<Bits>& search, size_t i, size_t n) {
    const uint16_t* const index = search.index;
    const bool key_per_step = size_t{index[n - 1]} - index[0] == n - 1;
    const auto repeated = [&](auto some) __attribute__((always_inline)) {
        return key_per_step ? repeats<some()>(search.keys + index[i]) : repeats<some()>(index + i);
    };
    for (size_t before = 0; n - i >= block;) {
        const size_t found = search.n_ends - std::exchange(before, search.n_ends);
        if (found > 1) {
            search.look(i, i + block);
            i += block;
        } else if (repeated(std::integral_constant<size_t, block>{})) {
            i += block;
        } else {
            for (const size_t end = i + block; i != end; i += part)
                if (!repeated(std::integral_constant<size_t, part>{})) search.look(i, i + part);
        }
    }
    search.look(i, n);
}

#if QVO_WIDE_X86
constexpr std::array<uint16_t, block> numbers_up = [] {
    std::array<uint16_t, block> all{};
    std::iota(all.begin(), all.end(), uint16_t{0});
    return all;
}();

/// Which of 32 keys are other than the one before.
template <class Bits> QVO_AVX512 inline uint32_t changes(const Bits* keys) {
    uint64_t changed = 0;
    for (size_t k = 0; k < block * sizeof(Bits); k += sizeof(__m512i)) {
        const __m512i now = _mm512_loadu_si512(reinterpret_cast<const uint8_t*>(keys) + k);
        const __m512i before = _mm512_loadu_si512(reinterpret_cast<const uint8_t*>(keys - 1) + k);
        uint64_t here;
        if constexpr (sizeof(Bits) == 1) here = _mm512_cmpneq_epi8_mask(now, before);
        if constexpr (sizeof(Bits) == 2) here = _mm512_cmpneq_epi16_mask(now, before);
        if constexpr (sizeof(Bits) == 4) here = _mm512_cmpneq_epi32_mask(now, before);
        if constexpr (sizeof(Bits) == 8) here = _mm512_cmpneq_epi64_mask(now, before);
        changed |= here << k / sizeof(Bits);
    }
    return static_cast<uint32_t>(changed);
}

/// 32 steps at a time: steps with another element than the one before take the changes of these in turn, which are all of
/// them where the elements are neighbours. Reads up to 32 keys beyond (ArrayStretch::slack), and writes as many ends.
template <class Bits> QVO_AVX512 void look_by_vectors(KeySearch<Bits>& search, size_t i, size_t n) {
    const KeySearch<Bits> here = search;  // in registers
    const bool neighbours = size_t{here.index[n - 1]} - here.index[0] == n - 1;
    const __m512i numbers = _mm512_loadu_si512(numbers_up.data());
    size_t n_ends = here.n_ends;
    for (; i < n; i += block) {
        uint32_t found = changes(here.keys + here.index[i - 1] + 1);
        uint32_t moves = _bzhi_u32(~uint32_t{0}, static_cast<unsigned>(n - i));  // all if there are 32 or up to 255
        if (!neighbours) {
            const __m512i now = _mm512_loadu_si512(here.index + i), before = _mm512_loadu_si512(here.index + i - 1);
            moves &= _mm512_cmpneq_epi16_mask(now, before);
            found = _pdep_u32(found, moves);
        }
        found &= moves;
        const __m512i steps = _mm512_add_epi16(numbers, _mm512_set1_epi16(static_cast<short>(i)));
        _mm512_storeu_si512(here.ends + n_ends, _mm512_maskz_compress_epi16(found, steps));
        n_ends += static_cast<size_t>(_mm_popcnt_u32(found));
    }
    search.n_ends = n_ends;
}
#endif

template <class Bits> size_t find_ends_of(KeySteps& steps, uint8_t* kept_key, uint16_t* ends) {
    KeySearch<Bits> search{reinterpret_cast<const Bits*>(steps.values), steps.index, ends};
    const uint16_t* const index = steps.index;
    const size_t n = steps.n;
    Bits last = 0;
    std::memcpy(&last, kept_key, sizeof(Bits));
    size_t i = 0;
    if (steps.inside && search.keys[index[0]] != last)  // the group was not opened by it: a host has begun inside
        while (i != n && index[i] == index[0]) ++i;
    if (i == n) return 0;
    ends[0] = static_cast<uint16_t>(i);
    search.n_ends = (i != 0 || steps.open) && search.keys[index[i]] != last;
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512)
        look_by_vectors(search, i + 1, n);
    else
#endif
        for_cpu<look_by_blocks<Bits>>(search, i + 1, n);
    size_t n_ends = search.n_ends;
    last = search.keys[index[n - 1]];
    if (n_ends >= steps.room) {
        n_ends = steps.room;
        steps.n = ends[n_ends - 1];
        last = search.keys[index[steps.n]];
    }
    std::memcpy(kept_key, &last, sizeof(Bits));
    return n_ends;
}

/// Keys of other widths, and steps without positions, which neither open a group nor end one. Deliberately, the key of
/// other widths that is looked at is not the one of the step but the element whose index is the number of groups that
/// this call has closed.
size_t find_ends_step_by_step(KeySteps& steps, uint8_t* kept_key, uint16_t* ends, const uint8_t* runs, size_t closed,
                              bool whole) {
    size_t n_ends = 0;
    bool open = steps.open, inside = steps.inside;
    for (size_t i = 0; i != steps.n; ++i) {
        if (i != 0 && steps.index[i] != steps.index[i - 1]) inside = false;
        if (!inside) {
            const size_t at = whole ? steps.index[i] : closed + n_ends;
            const uint8_t* key = steps.values + at * steps.width;
            const bool differs = qvo_memcmp(key, kept_key, steps.width) != 0;
            std::memcpy(kept_key, key, steps.width);
            if (open && differs) {
                open = false;
                ends[n_ends++] = static_cast<uint16_t>(i);
                if (n_ends == steps.room) steps.n = i;
                if (n_ends == steps.room) break;
            }
        }
        open |= runs[i] != 0;
        inside |= runs[i] != 0;
    }
    return n_ends;
}

/// The groups that one call may close. Keys of other widths are looked at by the number of groups closed, and no
/// element lies beyond the payload.
size_t groups_per_call(qvo_seq_iterator_h it, size_t key_width) {
    const bool by_step = key_width == 0 || has_words(key_width);
    return std::min(capacity_of(it->elem_size), by_step ? payload_bytes : payload_bytes / key_width);
}

bool all_ones(const uint8_t* runs, size_t n) {
    unsigned any = 0;
    for (size_t i = 0; i < n; ++i) any |= runs[i] ^ 1U;
    return any == 0;
}

/// Lists the next steps, `most` of them or fewer. Where all operands have runs of 1 these are neighbours: true.
template <size_t N> bool collect(OverlapList<N>& list, Operand (&operands)[N], size_t most) {
    constexpr size_t fewest = 2 * block;
    size_t n = most;
    for (const Operand& operand : operands) n = operand.taken() != 0 ? 0 : std::min(n, operand.elements_left());
    for (const Operand& operand : operands)
        n = n < fewest ? 0 : operand.single() ? n : leading_single_runs(operand.runs(), n);
    if (n < fewest) {
        list.collect(operands, most);
        return N == 2 && size_t{list.index[0][list.n - 1]} - list.index[0][0] == list.n - 1 &&
               all_ones(list.run, list.n);
    }
    list.n = n;
    std::memset(list.run, 1, n);
    for (size_t k = 0; k < N; ++k) {
        list.taken[k] = 0;
        fill_indexes(list.index[k], operands[k].index(), n);
        operands[k].skip(n);
    }
    return true;
}

/// About as many steps as fill the room, where so many came before with so many ends of groups: those beyond come again
/// with the next call.
size_t steps_to_fill(size_t room, size_t ends_before, size_t steps_before) {
    if (ends_before == 0) return GroupSteps::most;
    return std::min(room * steps_before / ends_before + fewest_crossings, GroupSteps::most);
}

template <size_t N>
QVO_RET next_groups(qvo_seq_iterator_h it, Operand (&operands)[N], const GroupMember& member, KeptKey kept,
                    Where where) {
    static_assert(OverlapList<N>::most <= GroupSteps::most);
    Context& context = state<Context>(it);
    const qvo_seq_iterator_h group_by = operands[N - 1].iterator();
    OverlapList<N> list;
    uint16_t ends[GroupSteps::most + GroupSteps::slack];
    TileWriter out(it);
    size_t ends_before = 0, steps_before = 0;
    QVO_RET rc;
    while ((rc = refill_all(where, operands)) == QVO_S_OK) {
        const size_t k = out.size(), width = group_by->elem_size, most = groups_per_call(it, width);
        if (width > kept.widest) rc = QVO_E_ILLEGAL_PARAM;
        if (rc != QVO_S_OK || k >= most) break;
        const bool inside = operands[N - 1].taken() != 0;
        const bool plain = collect(list, operands, steps_to_fill(most - k, ends_before, steps_before));
        const bool any_empty = !plain && std::memchr(list.run, 0, list.n) != nullptr, words = has_words(width);
        const bool open = context.count != 0;
        KeySteps keys{operands[N - 1].values(), width, list.index[N - 1], list.n, inside, open, most - k};
        const size_t n_ends = words && !any_empty ? find_ends(keys, kept.bytes, ends)
                                                  : find_ends_step_by_step(keys, kept.bytes, ends, list.run, k, words);
        const bool mixed = !any_empty && n_ends > keys.n / (plain ? 4 : 32) + 1 && n_ends < keys.n - keys.n / 8;
        const auto elements = [&](size_t slot) { return StepElements{operands[slot].values(), list.index[slot]}; };
        member.fold(it, {elements(0), elements(1), list.run, keys.n, ends, n_ends, plain, mixed, any_empty}, k);
        out.put_equal_runs(n_ends, 1);
        ends_before = n_ends;
        steps_before = keys.n;
        if (n_ends != most - k) continue;
        // The step that opens the next group comes again in the next call.
        list.set_back(operands, keys.n);
        break;
    }
    for (const Operand& operand : operands) operand.leave();
    if (rc == QVO_S_CURSOR_END && context.count != 0) {
        member.close(it, out.size());
        context.count = 0;
        out.put_run(1);
    }
    return out.finish(rc);
}

}  // namespace

bool has_words(size_t width) {
    return with_unsigned(
        width, [](auto) { return true; }, [] { return false; });
}

size_t find_ends(KeySteps& steps, uint8_t* kept_key, uint16_t* ends) {
    return with_unsigned(
        steps.width, [&](auto bits) { return find_ends_of<decltype(bits)>(steps, kept_key, ends); },
        [] { return size_t{0}; });
}

uint64_t positions_left_open(const GroupSteps& steps, uint64_t before) {
    const size_t from = steps.n_ends == 0 ? 0 : steps.ends[steps.n_ends - 1];
    const uint8_t* const runs = steps.run + from;
    const size_t n = steps.n - from;
    return (steps.n_ends == 0 ? before : 0) + (steps.plain ? n : sum_runs(runs + n - 1, n));
}

QVO_RET fill_group(qvo_seq_iterator_h result, ElementLayout layout, std::initializer_list<qvo_seq_iterator_h> operands,
                   qvo_seq_iterator_h group_by, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    if (group_by->elem_size > key_in_history(result).widest) return QVO_E_ILLEGAL_PARAM;
    fill_result(result, layout, operands, next, reset);
    result->prepared = 0;
    start_groups(result);
    return QVO_S_OK;
}

QVO_RET group_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where) {
    const auto from = values_from(Operand::Values::anywhere_for_lists, it->opd[0], it->opd[1]);
    Operand operands[] = {Operand(it->opd[0], from), Operand(it->opd[1], from)};
    return next_groups(it, operands, member, kept, where);
}

QVO_RET group_pair_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where) {
    const auto from = values_from(Operand::Values::anywhere_for_lists, it->opd[0], it->opd[1], it->opd[2]);
    Operand operands[] = {Operand(it->opd[0], from), Operand(it->opd[1], from), Operand(it->opd[2], from)};
    return next_groups(it, operands, member, kept, where);
}

}  // namespace qvo
