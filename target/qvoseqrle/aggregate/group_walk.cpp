#include "aggregate/group_walk.h"

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

/// Writes the ends and returns their number; cuts steps.n behind the last one that there is room for.
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

/// Keys of other widths. Deliberately, the key that is looked at is not the one of the step but the element whose index
/// is the number of groups that this call has closed.
size_t find_ends_of_bytes(KeySteps& steps, uint8_t* kept_key, uint16_t* ends) {
    size_t n_ends = 0;
    for (size_t i = 0; i != steps.n; ++i) {
        if (i == 0 ? steps.inside : steps.index[i] == steps.index[i - 1]) continue;
        const uint8_t* key = steps.values + (steps.closed + n_ends) * steps.width;
        const bool differs = qvo_memcmp(key, kept_key, steps.width) != 0;
        std::memcpy(kept_key, key, steps.width);
        if (!differs || (i == 0 && !steps.open)) continue;
        ends[n_ends++] = static_cast<uint16_t>(i);
        if (n_ends == steps.room) steps.n = i;
        if (n_ends == steps.room) break;
    }
    return n_ends;
}

size_t find_ends(KeySteps& steps, uint8_t* kept_key, uint16_t* ends) {
    switch (steps.width) {
        case 1:
            return find_ends<bits1>(steps, kept_key, ends);
        case 2:
            return find_ends<bits2>(steps, kept_key, ends);
        case 4:
            return find_ends<bits4>(steps, kept_key, ends);
        case 8:
            return find_ends<bits8>(steps, kept_key, ends);
        default:
            return find_ends_of_bytes(steps, kept_key, ends);
    }
}

/// The groups that one call may close. Keys of other widths are looked at by the number of groups closed, and no
/// element lies behind the payload.
size_t groups_per_call(qvo_seq_iterator_h it, size_t key_width) {
    const bool by_bytes = key_width != 1 && key_width != 2 && key_width != 4 && key_width != 8;
    return std::min(capacity_of(it->elem_size), by_bytes ? payload_bytes / key_width : payload_bytes);
}

template <size_t N> QVO_RET refill_all(Operand (&operands)[N], Where where) {
    bool used_up = false;
    for (const Operand& operand : operands) used_up |= operand.used_up();
    if (!used_up) return QVO_S_OK;
    for (const Operand& operand : operands) operand.store();
    for (Operand& operand : operands)
        if (operand.used_up())
            if (const QVO_RET rc = operand.pull(where); rc != QVO_S_OK) return rc;
    return QVO_S_OK;
}

bool all_ones(const uint8_t* runs, size_t n) {
    unsigned any = 0;
    for (size_t i = 0; i < n; ++i) any |= runs[i] ^ 1U;
    return any == 0;
}

template <size_t N>
QVO_RET next_groups(qvo_seq_iterator_h it, Operand (&operands)[N], const GroupMember& member, uint8_t* kept_key,
                    Where where) {
    Context& context = state<Context>(it);
    const qvo_seq_iterator_h group_by = operands[N - 1].iterator();
    const size_t most = groups_per_call(it, group_by->elem_size);
    OverlapList<N> list;
    uint16_t ends[OverlapList<N>::most + 1];
    size_t k = 0;
    const auto count_groups = [&](size_t n) {
        if (n != 0) fill_runs(runs_of(it) - k, n, 1);
        it->next_seq_no += n;
        k += n;
    };
    for (;;) {
        if (const QVO_RET rc = refill_all(operands, where); rc != QVO_S_OK) {
            if (rc != QVO_S_CURSOR_END || k + context.count == 0) return rc;
            break;
        }
        const bool inside = operands[N - 1].taken() != 0;
        list.collect(operands);
        KeySteps keys{values_of<uint8_t>(group_by),
                      group_by->elem_size,
                      list.index[N - 1],
                      list.n,
                      inside,
                      context.count != 0,
                      k,
                      most - k};
        const size_t n_ends = find_ends(keys, kept_key, ends);
        const uint16_t* values = list.index[0];
        const bool plain = N == 2 && size_t{values[list.n - 1]} - values[0] == list.n - 1 && all_ones(list.run, list.n);
        member.fold(it, {values, N == 3 ? list.index[1] : nullptr, list.run, keys.n, ends, n_ends, plain}, k);
        count_groups(n_ends);
        if (k == most) {
            // The step that opens the next group comes again in the next call.
            list.set_back(operands, keys.n);
            for (const Operand& operand : operands) operand.store();
            it->tile_size = static_cast<uint16_t>(k);
            return QVO_S_OK;
        }
    }
    if (context.count != 0) {
        member.close(it, k);
        context.count = 0;
        count_groups(1);
    }
    it->tile_size = static_cast<uint16_t>(k);
    return QVO_S_OK;
}

}  // namespace

QVO_RET group_next(qvo_seq_iterator_h it, const GroupMember& member, uint8_t* kept_key, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1])};
    return next_groups(it, operands, member, kept_key, where);
}

QVO_RET group_pair_next(qvo_seq_iterator_h it, const GroupMember& member, uint8_t* kept_key, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1]), Operand(it->opd[2])};
    return next_groups(it, operands, member, kept_key, where);
}

}  // namespace qvo
