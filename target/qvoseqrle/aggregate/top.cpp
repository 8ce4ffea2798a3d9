// The largest or smallest values of a sequence in order, or their positions.
//
// Once the array of kept values is full, almost every candidate is turned down. They are compared many at a time with
// the value that a candidate must beat, and only blocks with one that does are looked at one by one.
#include <cmath>

#include "core/construct.h"
#include "core/number.h"
#include "core/protocol.h"

namespace qvo {
namespace {

using Context = qvo_seq_top_context_t;

/// The first of the values from i on that comes before `limit`, or n.
template <class Order, class V> QVO_INLINE size_t find_better(const V* values, size_t i, size_t n, V limit) {
    constexpr size_t block = 256 / sizeof(V);
    for (; i + block <= n; i += block) {
        unsigned any = 0;
        for (size_t k = 0; k < block; ++k) any |= Order::beats(values[i + k], limit);
        if (any != 0) break;
    }
    while (i != n && !Order::beats(values[i], limit)) ++i;
    return i;
}

/// The kept values, best first; with Positions the position of each beside it.
template <class Order, class V> struct Kept {
    V* values;
    uint64_t* positions;  // null for members that deliver the values
    size_t top;
    size_t n;

    /// Where a candidate goes: after the values that it does not come before.
    size_t place(V x) const {
        size_t low = 0, high = n;
        while (low < high) {
            const size_t middle = (low + high) / 2;
            if (Order::beats(x, values[middle]))
                high = middle;
            else
                low = middle + 1;
        }
        return low;
    }
    void insert(V x, uint64_t position) {
        const size_t at = place(x);
        if (at == top) return;  // after a full array
        if (n < top) ++n;
        qvo_memmove(values + at + 1, values + at, (n - 1 - at) * sizeof(V));
        values[at] = x;
        if (positions == nullptr) return;
        qvo_memmove(positions + at + 1, positions + at, (n - 1 - at) * sizeof(uint64_t));
        positions[at] = position;
    }
    /// What a candidate must come before to enter the full array. False if none can.
    ///
    /// That is the last value, unless it is not a number. It then turns nobody down, but the search meets other values
    /// on its way to the end, and whoever comes before none of them is after the array.
    bool limit(V& value) const {
        value = values[top - 1];
        if constexpr (std::is_floating_point_v<V>) {
            if (!std::isnan(value)) return true;
            bool any = false;
            for (size_t low = 0; low < n;) {
                const size_t middle = (low + n) / 2;
                const V met = values[middle];
                if (!std::isnan(met) && (!any || Order::beats(value, met))) value = met;
                any |= !std::isnan(met);
                low = middle + 1;
            }
            return any;
        }
        return true;
    }
    void add(const V* from, size_t size, uint64_t first_position) {
        size_t i = 0;
        for (; i != size && n < top; ++i) insert(from[i], first_position + i);
        V beaten;
        while (i != size && limit(beaten)) {
            i = for_cpu<find_better<Order, V>>(from, i, size, beaten);
            if (i == size) break;
            insert(from[i], first_position + i);
            ++i;
        }
    }
};

/// Pulls the input to its end. Tiles are taken whole and runs do not count.
template <class Order, class V> QVO_RET keep_top(qvo_seq_iterator_h input, Kept<Order, V>& kept, Where where) {
    uint64_t elements = 0;
    QVO_RET rc;
    while ((rc = pull_any_tile(input, where)) == QVO_S_OK) {
        if (kept.top != 0) kept.add(values_of<V>(input), input->tile_size, elements);
        elements += input->tile_size;
    }
    return rc;
}

template <class Order, class V> QVO_RET next_values(qvo_seq_iterator_h it, Where where) {
    if (const std::optional<QVO_RET> answer = answer_of(it)) return *answer;
    Kept<Order, V> kept{values_of<V>(it), nullptr, state<Context>(it).top, 0};
    const QVO_RET rc = keep_top(it->opd[0], kept, where);
    TileWriter out(it);
    if (kept.n != 0) out.put_equal_runs(kept.n, 1);
    return out.finish(rc, Counted::delivered);
}

template <class Order, class V> QVO_RET next_positions(qvo_seq_iterator_h it, Where where) {
    TileWriter out(it);
    if (it->next_seq_no != 0) {
        out.finish_at(it->next_seq_no);  // with an empty tile
        return QVO_S_CURSOR_END;
    }
    V values[elem_uint8::capacity];
    Kept<Order, V> kept{values, values_of<uint64_t>(it), state<Context>(it).top, 0};
    const QVO_RET rc = keep_top(it->opd[0], kept, where);
    if (kept.n != 0) out.put_equal_runs(kept.n, 1);
    out.finish_at(kept.n);  // after an error too
    return rc == QVO_S_CURSOR_END && kept.n != 0 ? QVO_S_OK : rc;
}

/// Merges two sorted tiles. Deliberately, a value of src that dst has as well is dropped, though `next` keeps both; and
/// what is left of src when an insertion was the last step is not looked at.
template <class Order, class V> QVO_RET merge_values(qvo_seq_iterator_h dst, qvo_seq_iterator_h src, Where where) {
    size_t n = dst->tile_size;
    const size_t m = src->tile_size, top = state<Context>(dst).top;
    if (n == 0 || m == 0) fatal_stop(where);
    V* a = values_of<V>(dst);
    const V* b = values_of<V>(src);
    for (size_t i = 0, j = 0;;) {
        if (a[i] == b[j] || Order::beats(a[i], b[j])) {
            if (a[i] == b[j] && ++j == m) break;
            if (++i < n) continue;
            for (; i < top && j < m; ++n) a[i++] = b[j++];
            break;
        }
        if (n < top) ++n;
        qvo_memmove(a + i + 1, a + i, (n - 1 - i) * sizeof(V));
        a[i++] = b[j++];
        if (i == n || j == m) break;
    }
    TileWriter out(dst);
    out.put_equal_runs(n, 1);
    return out.finish_at(n);
}

/// Binds the input, which stays marked if `top` is refused.
QVO_RET construct_top(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top, ElementLayout from,
                      ElementLayout to, qvo_seq_iterator_next_t next) {
    if (!has_type(input, from.type)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    if (top > std::min(capacity_of(from.width), capacity_of(to.width))) return QVO_E_ILLEGAL_PARAM;
    fill_result(result, to, {input}, next, qvo_seq_reset_unary_iterator);
    state<Context>(result).top = top;
    return QVO_S_OK;
}

template <class E>
QVO_RET construct_values(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top,
                         qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge) {
    const QVO_RET rc = construct_top(result, input, top, layout_of<E>, layout_of<E>, next);
    if (rc == QVO_S_OK) fill_aggregate(result, merge);
    return rc;
}

template <class E>
QVO_RET construct_positions(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top,
                            qvo_seq_iterator_next_t next) {
    return construct_top(result, input, top, layout_of<E>, layout_of<elem_uint8>, next);
}

}  // namespace

#define DEFINE_TOP(name, type, Order)                                                                      \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                  \
        return next_values<Order, qvo_##type>(iterator, Where::here());                                    \
    }                                                                                                      \
    extern "C" QVO_API QVO_RET name##_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src) {              \
        return merge_values<Order, qvo_##type>(dst, src, Where::here());                                   \
    }                                                                                                      \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top) { \
        return construct_values<elem_##type>(result, input, top, name##_next, name##_merge);               \
    }
#define DEFINE_TOP_POS(name, type, Order)                                                                  \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                  \
        return next_positions<Order, qvo_##type>(iterator, Where::here());                                 \
    }                                                                                                      \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top) { \
        return construct_positions<elem_##type>(result, input, top, name##_next);                          \
    }
#define STAMP(type)                                           \
    DEFINE_TOP(qvo_seq_top_max_##type, type, Greater)         \
    DEFINE_TOP(qvo_seq_top_min_##type, type, Less)            \
    DEFINE_TOP_POS(qvo_seq_top_pos_max_##type, type, Greater) \
    DEFINE_TOP_POS(qvo_seq_top_pos_min_##type, type, Less)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
#undef DEFINE_TOP_POS
#undef DEFINE_TOP

}  // namespace qvo
