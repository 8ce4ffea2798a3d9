// The sizes of groups of consecutive positions with equal keys. Unlike the other aggregates of groups they take the
// elements of their one operand whole, whatever has been taken of the first.
#include <utility>

#include "aggregate/group_sum.h"
#include "core/move.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

// Neighbours that are worth a look at many keys at a time.
constexpr size_t fewest_neighbours = 32;

/// Counts the elements of the current tile from p on, until it is used up or the result is full; returns where it has
/// come to. `differs(p)` compares the key of element p with the kept one and keeps it.
template <class Differs>
QVO_INLINE size_t count_tile(qvo_seq_iterator_h it, TileWriter& out, uint64_t& count, size_t p, Differs differs) {
    const qvo_seq_iterator_h keys = it->opd[0];
    uint64_t* const counts = values_of<uint64_t>(it);
    const size_t size = keys->tile_size;
    for (; p < size; ++p) {
        if (differs(p) && count != 0) {
            counts[out.size()] = std::exchange(count, 0);
            out.put_run(1);
            if (out.room() == 0) break;  // the element comes again in the next call
        }
        count += get_run(runs_of(keys), p);
    }
    return p;
}

size_t count_tile(qvo_seq_iterator_h it, TileWriter& out, uint64_t& count, size_t p) {
    const qvo_seq_iterator_h group_by = it->opd[0];
    const size_t width = group_by->elem_size;
    const auto of_words = [&](auto bits) {
        using Bits = decltype(bits);
        uint8_t* const kept = key_in_accumulator(it).bytes;
        const Bits* const keys = values_of<Bits>(group_by);
        return count_tile(
            it, out, count, p, [=](size_t i) __attribute__((always_inline)) {
                Bits last;
                std::memcpy(&last, kept, sizeof last);
                std::memcpy(kept, &keys[i], sizeof last);
                return keys[i] != last;
            });
    };
    const auto of_bytes = [&] {
        uint8_t* const kept = key_in_history(it).bytes;
        const uint8_t* const keys = values_of<uint8_t>(group_by);
        return count_tile(it, out, count, p, [=](size_t i) {
            const bool differs = qvo_memcmp(keys + i * width, kept, width) != 0;
            std::memcpy(kept, keys + i * width, width);
            return differs;
        });
    };
    return with_unsigned(width, of_words, of_bytes);
}

/// The same of many elements at a time, where all have positions and keys that are words; else of all.
size_t count_some(qvo_seq_iterator_h it, TileWriter& out, uint64_t& count, size_t p) {
    const qvo_seq_iterator_h group_by = it->opd[0];
    // As many as fill the room if each is a group: those beyond come again with the next call.
    const size_t n =
        std::min({group_by->tile_size - p, GroupSteps::most, std::max(out.room() + 1, 2 * fewest_neighbours)});
    const uint8_t* const runs = runs_of(group_by) - p;
    if (n < fewest_neighbours || !has_words(group_by->elem_size) || std::memchr(runs + 1 - n, 0, n) != nullptr)
        return count_tile(it, out, count, p);

    uint16_t index[GroupSteps::most + GroupSteps::slack], ends[GroupSteps::most + GroupSteps::slack];
    uint8_t in_order[GroupSteps::most + GroupSteps::slack];
    fill_indexes(index, p, n);
    KeySteps keys{values_of<uint8_t>(group_by), group_by->elem_size, index, n, false, count != 0, out.room()};
    const size_t n_ends = find_ends(keys, key_in_accumulator(it).bytes, ends);
    uint64_t* const sizes = values_of<uint64_t>(it) + out.size();
    if (leading_single_runs(runs, n) == n) {
        if (n_ends != 0) sizes[0] = count + ends[0];
        for (size_t j = 1; j < n_ends; ++j) sizes[j] = uint64_t{ends[j]} - ends[j - 1];
        count = n_ends == 0 ? count + keys.n : keys.n - ends[n_ends - 1];
    } else {
        copy_in_order(in_order, runs, n);
        const GroupSteps steps{{}, {}, in_order, keys.n, ends, n_ends, false, false, false};
        const GroupBounds groups(steps, count != 0);
        GroupNumbers<uint64_t> counts;
        count_positions(steps, groups, count, counts);
        std::memcpy(sizes, counts.of, n_ends * sizeof(uint64_t));
        count = groups.n == groups.ended ? 0 : counts.of[groups.ended];
    }
    out.put_equal_runs(n_ends, 1);
    return p + keys.n;
}

QVO_RET next_counts(qvo_seq_iterator_h it, Where where) {
    const qvo_seq_iterator_h keys = it->opd[0];
    Context& context = state<Context>(it);
    TileWriter out(it);
    uint64_t count = context.count;
    size_t p = keys->tile_offs;
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (p >= keys->tile_size) {
            if (rc = pull_any_tile(keys, where); rc != QVO_S_OK) break;
            p = 0;
        }
        if (keys->elem_size > key_in_history(it).widest) rc = QVO_E_ILLEGAL_PARAM;
        if (rc != QVO_S_OK) break;
        p = count_some(it, out, count, p);
    }
    keys->tile_offs = static_cast<uint16_t>(p);
    if (rc == QVO_S_CURSOR_END && count != 0) {
        values_of<uint64_t>(it)[out.size()] = std::exchange(count, 0);
        out.put_run(1);
    }
    context.count = count;
    return out.finish(rc);
}

}  // namespace
}  // namespace qvo

extern "C" {

QVO_API QVO_RET qvo_seq_group_agg_count_next(qvo_seq_iterator_h iterator) {
    return qvo::next_counts(iterator, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_group_agg_count(qvo_seq_iterator_h result, qvo_seq_iterator_h group_by) {
    if (const QVO_RET rc = qvo::bind({group_by}); rc != QVO_S_OK) return rc;
    return qvo::fill_group(result, qvo::layout_of<qvo::elem_uint8>, {group_by}, group_by, qvo_seq_group_agg_count_next,
                           qvo_seq_reset_unary_agg_iterator);
}

}  // extern "C"
