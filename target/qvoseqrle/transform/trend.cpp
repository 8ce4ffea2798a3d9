// Each element against the one before it: the difference, and the direction of change.
#include "core/elementwise.h"
#include "core/number.h"
#include "core/operand.h"

namespace qvo {
namespace {

/// The value before the next one, in the context. It is part of a union: moved by memcpy.
template <class V> V previous_value(qvo_seq_iterator_h it) {
    V value;
    std::memcpy(&value, &state<qvo_seq_agg_context_t>(it).accumulator, sizeof value);
    return value;
}
template <class V> void set_previous(qvo_seq_iterator_h it, V value) {
    std::memcpy(&state<qvo_seq_agg_context_t>(it).accumulator, &value, sizeof value);
}

// ---- diff ----

// Elements of any runs between two looks for a stretch of runs of 1.
constexpr size_t most_pairs = 64;

/// The loops of a member. Both read the previous value and leave the last one.
struct DiffLoops {
    UnaryLoop differences;  // of neighbouring elements, one result element each
    // From n elements with any runs, each taken from its start: a difference with run 1, then 0 for the rest of the
    // run, if there is one. There is room for two result elements each; their number is returned.
    size_t (*with_rests)(qvo_seq_iterator_h it, size_t to, size_t from, size_t n);
};

template <class V> struct DiffOf {
    QVO_INLINE static void differences(qvo_seq_iterator_h it, size_t to, const uint8_t* from, size_t first, size_t n) {
        const V* const values = reinterpret_cast<const V*>(from) + first;
        V* const out = values_of<V>(it) + to;
        out[0] = wrapping_sub(values[0], previous_value<V>(it));
        apply<1, 1, Subtract>(out + 1, values + 1, values, n - 1);
        set_previous(it, values[n - 1]);
    }

    static size_t with_rests(qvo_seq_iterator_h it, size_t to, size_t from, size_t n) {
        const V* __restrict const values = values_of<V>(it->opd[0]) + from;
        const uint8_t* const runs = runs_of(it->opd[0]) - from;
        V* __restrict const out = values_of<V>(it) + to;
        uint8_t* const out_runs = runs_of(it) - to;
        size_t k = 0;
        // Without a branch, and as pairs, which take a store each: a rest that is none is overwritten by the next
        // difference. After the last one there is no next, so it is written only if it is one.
        const auto put_pair = [&](size_t i, V previous) __attribute__((always_inline)) {
            const unsigned rest = static_cast<uint8_t>(get_run(runs, i) - 1);
            const V pair[] = {wrapping_sub(values[i], previous), V{0}};
            const uint8_t pair_runs[] = {static_cast<uint8_t>(rest), 1};  // run bytes grow downwards
            std::memcpy(out + k, pair, sizeof pair);
            std::memcpy(out_runs - k - 1, pair_runs, sizeof pair_runs);
            k += 1 + ((rest + max_run) >> 8);  // 1 if there is no rest, else 2; a comparison would become a branch
        };
        const V previous = previous_value<V>(it), last = values[n - 1];
        if (n > 1) put_pair(0, previous);
        for (size_t i = 1; i + 1 < n; ++i) put_pair(i, values[i - 1]);
        if (get_run(runs, n - 1) != 1) {
            put_pair(n - 1, n > 1 ? values[n - 2] : previous);
        } else {
            out[k] = wrapping_sub(last, n > 1 ? values[n - 2] : previous);
            set_run(out_runs, k++, 1);
        }
        set_previous(it, last);
        return k;
    }
};

// Runs are split here into a first position and a rest, deliberately by rle_offs alone: wherever in a run the read
// position stands, the rest is all but one of the whole run. So this walks its operand on its own.
QVO_RET diff_next(qvo_seq_iterator_h it, const DiffLoops& loops, Where where) {
    const qvo_seq_iterator_h operand = it->opd[0];
    const size_t width = it->elem_size;
    Operand input(operand);
    TileWriter out(it, capacity_of(width));
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        if (it->next_seq_no + out.positions() == 0)
            std::memcpy(&state<qvo_seq_agg_context_t>(it).accumulator, values_of<uint8_t>(operand), width);
        if (input.taken() != 0) {
            std::memset(values_of<uint8_t>(it) + out.size() * width, 0, width);
            out.put_run(static_cast<uint8_t>(input.run() - 1));
            input.move_to(input.index() + 1, 0);
            continue;
        }
        const size_t n = std::min(out.room(), input.elements_left());
        if (const size_t singles = leading_single_runs(input.runs(), n); singles == n || singles >= run_word) {
            loops.differences(it, out.size(), input.values(), input.index(), singles);
            out.put_equal_runs(singles, 1);
            input.skip(singles);
        } else if (const size_t pairs = std::min({out.room() / 2, n, most_pairs}); pairs != 0) {
            const uint8_t* const runs = runs_of(it) - out.size();
            const size_t written = loops.with_rests(it, out.size(), input.index(), pairs);
            out.advance({written, sum_runs(runs, written)});
            input.skip(pairs);
        } else {
            loops.differences(it, out.size(), input.values(), input.index(), 1);
            out.put_run(1);
            input.take(1);
        }
    }
    input.store();
    return out.finish(rc);
}

// ---- trend ----

template <class V> struct TrendOf {
    /// The signs of the differences of the tile's elements from those before them.
    QVO_INLINE static void signs(qvo_seq_iterator_h it, size_t n) {
        const V* __restrict const values = values_of<V>(it->opd[0]);
        int8_t* __restrict const out = values_of<int8_t>(it);
        const V previous = previous_value<V>(it);
        out[0] = static_cast<int8_t>((values[0] > previous) - (values[0] < previous));
        for (size_t i = 1; i < n; ++i)
            out[i] = static_cast<int8_t>((values[i] > values[i - 1]) - (values[i] < values[i - 1]));
        set_previous(it, values[n - 1]);
    }
};

/// A zero takes the direction before it; returns the last one. Eight at a time: from those one, two and four before.
int8_t fill_flat_stretches(int8_t* directions, size_t n, int8_t last) {
    constexpr size_t many = sizeof(uint64_t);
    const auto fill = [](uint64_t to, uint64_t from) __attribute__((always_inline)) {
        return to | (from & ~((to & ones_word) * 0xff));  // a direction is odd
    };
    size_t i = 0;
    if constexpr (std::endian::native == std::endian::little)
        for (; i + many <= n; i += many) {
            uint64_t some;
            std::memcpy(&some, directions + i, many);
            for (const unsigned bits : {8U, 16U, 32U}) some = fill(some, some << bits);
            some = fill(some, ones_word * static_cast<uint8_t>(last));
            std::memcpy(directions + i, &some, many);
            last = static_cast<int8_t>(some >> 56);
        }
    for (; i < n; ++i) {
        last = directions[i] != 0 ? directions[i] : last;
        directions[i] = last;
    }
    return last;
}

// A result tile per input tile, whatever the input's read position; so no Operand here.
QVO_RET trend_next(qvo_seq_iterator_h it, void (*signs)(qvo_seq_iterator_h it, size_t n), Where where) {
    const qvo_seq_iterator_h input = it->opd[0];
    if (const QVO_RET rc = pull_any_tile(input, where); rc != QVO_S_OK) return rc;
    qvo_seq_agg_context_t& s = state<qvo_seq_agg_context_t>(it);
    if (it->next_seq_no == 0) {
        std::memcpy(&s.accumulator, values_of<uint8_t>(input), input->elem_size);
        s.history.trend = 0;
    }
    const size_t n = input->tile_size;
    TileWriter out(it);
    if (n != 0) {
        signs(it, n);
        s.history.trend = fill_flat_stretches(values_of<int8_t>(it), n, s.history.trend);
        out.put_runs(runs_of(input), n);
    }
    return out.finish(QVO_S_OK);
}

}  // namespace

#define STAMP(type)                                                                                        \
    extern "C" QVO_API QVO_RET qvo_seq_diff_##type##_next(qvo_seq_iterator_h iterator) {                   \
        using Loops = DiffOf<elem_##type::value>;                                                          \
        return diff_next(iterator, {for_cpu<Loops::differences>, Loops::with_rests}, Where::here());       \
    }                                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_diff_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {  \
        return construct_unary<elem_##type, elem_##type>(result, input, qvo_seq_diff_##type##_next);       \
    }                                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_trend_##type##_next(qvo_seq_iterator_h iterator) {                  \
        return trend_next(iterator, for_cpu<TrendOf<elem_##type::value>::signs>, Where::here());           \
    }                                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_trend_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_unary<elem_##type, elem_int1>(result, input, qvo_seq_trend_##type##_next);        \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
