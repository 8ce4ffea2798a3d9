#include "aggregate/group_walk.h"

#include "core/move.h"
#include "core/overlap_list.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

/// The keys of a batch of steps: where groups end, up to `room` of them.
struct KeySteps {
    const uint8_t* values;  // the tile of the keys
    size_t width;
    const uint16_t* index;
    size_t n;
    bool inside;    // the first step goes on with an element whose key has been looked at
    bool open;      // a group is open
    size_t closed;  // groups that ended in this call before
    size_t room;
};

// Values that are looked at in one go: enough to pay, few enough that short groups do not always break them.
constexpr size_t block_bytes = sizeof(RunVector);

/// True if the values of a block are all equal to the one before it.
template <class V> QVO_INLINE bool repeats(const V* values) {
    RunVector a, b;
    std::memcpy(&a, values, block_bytes);
    std::memcpy(&b, values - 1, block_bytes);
    a ^= b;
    return (a[0] | a[1] | a[2] | a[3]) == 0;
}

/// Writes the ends and returns their number; cuts steps.n after the last one that there is room for.
template <class Bits> QVO_CPU_VARIANTS size_t find_ends(KeySteps& steps, uint8_t* kept_key, uint16_t* ends) {
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
    // With a key per step it is the keys that are compared, else their indexes.
    const bool key_per_step = size_t{index[n - 1]} - index[0] == n - 1;
    const size_t block = block_bytes / (key_per_step ? sizeof(Bits) : sizeof *index);
    while (n - i >= block)
        if (key_per_step ? repeats(keys + index[i]) : repeats(index + i))
            i += block;
        else
            look(i + block);
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
size_t find_ends_step_by_step(KeySteps& steps, uint8_t* kept_key, uint16_t* ends, const uint8_t* runs, bool whole) {
    size_t n_ends = 0;
    bool open = steps.open, inside = steps.inside;
    for (size_t i = 0; i != steps.n; ++i) {
        if (i != 0 && steps.index[i] != steps.index[i - 1]) inside = false;
        if (!inside) {
            const size_t at = whole ? steps.index[i] : steps.closed + n_ends;
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

size_t find_ends(KeySteps& steps, uint8_t* kept_key, uint16_t* ends, const uint8_t* runs) {
    const bool any_empty = std::memchr(runs, 0, steps.n) != nullptr;
    return with_unsigned(
        steps.width,
        [&](auto bits) {
            return any_empty ? find_ends_step_by_step(steps, kept_key, ends, runs, true)
                             : find_ends<decltype(bits)>(steps, kept_key, ends);
        },
        [&] { return find_ends_step_by_step(steps, kept_key, ends, runs, false); });
}

/// The groups that one call may close. Keys of other widths are looked at by the number of groups closed, and no
/// element lies beyond the payload.
size_t groups_per_call(qvo_seq_iterator_h it, size_t key_width) {
    const bool by_step = key_width == 0 || key_width == 1 || key_width == 2 || key_width == 4 || key_width == 8;
    return std::min(capacity_of(it->elem_size), by_step ? payload_bytes : payload_bytes / key_width);
}

bool all_ones(const uint8_t* runs, size_t n) {
    unsigned any = 0;
    for (size_t i = 0; i < n; ++i) any |= runs[i] ^ 1U;
    return any == 0;
}

template <size_t N>
QVO_RET next_groups(qvo_seq_iterator_h it, Operand (&operands)[N], const GroupMember& member, KeptKey kept,
                    Where where) {
    Context& context = state<Context>(it);
    const qvo_seq_iterator_h group_by = operands[N - 1].iterator();
    OverlapList<N> list;
    uint16_t ends[OverlapList<N>::most + 1];
    TileWriter out(it);
    QVO_RET rc;
    while ((rc = refill_all(where, operands)) == QVO_S_OK) {
        const size_t k = out.size(), width = group_by->elem_size, most = groups_per_call(it, width);
        if (width > kept.widest) rc = QVO_E_ILLEGAL_PARAM;
        if (rc != QVO_S_OK || k >= most) break;
        const bool inside = operands[N - 1].taken() != 0;
        list.collect(operands);
        KeySteps keys{values_of<uint8_t>(group_by), width, list.index[N - 1], list.n, inside,
                      context.count != 0,           k,     most - k};
        const size_t n_ends = find_ends(keys, kept.bytes, ends, list.run);
        const uint16_t* values = list.index[0];
        const bool plain = N == 2 && size_t{values[list.n - 1]} - values[0] == list.n - 1 && all_ones(list.run, list.n);
        member.fold(it, {values, N == 3 ? list.index[1] : nullptr, list.run, keys.n, ends, n_ends, plain}, k);
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

QVO_RET group_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1])};
    return next_groups(it, operands, member, kept, where);
}

QVO_RET group_pair_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1]), Operand(it->opd[2])};
    return next_groups(it, operands, member, kept, where);
}

}  // namespace qvo
