#include "aggregate/group_walk.h"

#include <utility>

#include "core/move.h"
#include "core/overlap_list.h"

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

template <class Bits> QVO_INLINE size_t find_ends_of(KeySteps& steps, uint8_t* kept_key, uint16_t* ends) {
    const Bits* const keys = reinterpret_cast<const Bits*>(steps.values);
    const uint16_t* const index = steps.index;
    const size_t n = steps.n;
    size_t i = 0;
    if (steps.inside)
        while (i != n && index[i] == index[0]) ++i;
    if (i == n) return 0;
    Bits last = 0;
    std::memcpy(&last, kept_key, sizeof(Bits));
    if (i == 0 && !steps.open) last = keys[index[0]];
    size_t n_ends = 0;
    const auto look = [&](size_t end) __attribute__((always_inline)) {
        for (; i != end; ++i) {
            const Bits key = keys[index[i]];
            ends[n_ends] = static_cast<uint16_t>(i);
            n_ends += key != last;
            last = key;
        }
    };
    look(i + 1);
    // With a key per step it is the keys that are compared, else their indexes. Where the last block had some ends the
    // next one is not asked, nor its parts.
    const bool key_per_step = size_t{index[n - 1]} - index[0] == n - 1;
    const auto repeated = [&](auto some) __attribute__((always_inline)) {
        return key_per_step ? repeats<some()>(keys + index[i]) : repeats<some()>(index + i);
    };
    for (size_t before = 0; n - i >= block;) {
        const size_t found = n_ends - std::exchange(before, n_ends);
        if (found > 1) {
            look(i + block);
        } else if (repeated(std::integral_constant<size_t, block>{})) {
            i += block;
        } else {
            for (const size_t end = i + block; i != end;)
                if (repeated(std::integral_constant<size_t, part>{}))
                    i += part;
                else
                    look(i + part);
        }
    }
    look(n);
    if (n_ends >= steps.room) {
        n_ends = steps.room;
        steps.n = ends[n_ends - 1];
        last = keys[index[steps.n]];
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

/// Lists the next steps. Where all operands have runs of 1 these are neighbours: true.
template <size_t N> bool collect(OverlapList<N>& list, Operand (&operands)[N]) {
    constexpr size_t fewest = 2 * block;
    size_t n = OverlapList<N>::most;
    for (const Operand& operand : operands) n = operand.taken() != 0 ? 0 : std::min(n, operand.elements_left());
    for (const Operand& operand : operands) n = n < fewest ? 0 : leading_single_runs(operand.runs(), n);
    if (n < fewest) {
        list.collect(operands);
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

/// Repeats the last step, for what reads beyond it.
template <size_t N> void pad(OverlapList<N>& list) {
    static_assert(brief_group <= OverlapList<N>::slack);
    for (size_t i = list.n; i != list.n + brief_group; ++i) {
        for (uint16_t* index : list.index) index[i] = index[list.n - 1];
        list.run[i] = list.run[list.n - 1];
    }
}

template <size_t N>
QVO_RET next_groups(qvo_seq_iterator_h it, Operand (&operands)[N], const GroupMember& member, KeptKey kept,
                    Where where) {
    static_assert(OverlapList<N>::most <= GroupSteps::most);
    Context& context = state<Context>(it);
    const qvo_seq_iterator_h group_by = operands[N - 1].iterator();
    OverlapList<N> list;
    uint16_t ends[GroupSteps::most + 1];
    TileWriter out(it);
    QVO_RET rc;
    while ((rc = refill_all(where, operands)) == QVO_S_OK) {
        const size_t k = out.size(), width = group_by->elem_size, most = groups_per_call(it, width);
        if (width > kept.widest) rc = QVO_E_ILLEGAL_PARAM;
        if (rc != QVO_S_OK || k >= most) break;
        const bool inside = operands[N - 1].taken() != 0;
        const bool plain = collect(list, operands);
        const bool any_empty = !plain && std::memchr(list.run, 0, list.n) != nullptr, words = has_words(width);
        const bool open = context.count != 0;
        KeySteps keys{values_of<uint8_t>(group_by), width, list.index[N - 1], list.n, inside, open, most - k};
        const size_t n_ends = words && !any_empty ? find_ends(keys, kept.bytes, ends)
                                                  : find_ends_step_by_step(keys, kept.bytes, ends, list.run, k, words);
        // Nearly all groups of one step can be foretold again.
        const bool brief = N == 2 && !any_empty && n_ends > keys.n / (brief_group + 1) && n_ends < keys.n - keys.n / 8;
        if (brief) pad(list);
        member.fold(it, {list.index[0], N == 3 ? list.index[1] : nullptr, list.run, keys.n, ends, n_ends, plain, brief},
                    k);
        out.put_equal_runs(n_ends, 1);
        if (n_ends != most - k) continue;
        // The step that opens the next group comes again in the next call.
        list.set_back(operands, keys.n);
        break;
    }
    for (const Operand& operand : operands) operand.store();
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
        steps.width, [&](auto bits) { return for_cpu<find_ends_of<decltype(bits)>>(steps, kept_key, ends); },
        [] { return size_t{0}; });
}

QVO_RET group_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1])};
    return next_groups(it, operands, member, kept, where);
}

QVO_RET group_pair_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1]), Operand(it->opd[2])};
    return next_groups(it, operands, member, kept, where);
}

}  // namespace qvo
