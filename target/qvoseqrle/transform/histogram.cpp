// How many positions of a sequence fall into each of a number of equal intervals.
//
// A member is the loop that finds the intervals of its values; the counting is compiled once.
#include "core/construct.h"
#include "core/number.h"
#include "core/protocol.h"

namespace qvo {
namespace {

template <class V> struct HistogramState {
    V min_value, max_value;
    uint64_t n_intervals;
};

constexpr uint64_t most_intervals = elem_uint8::capacity;

// Elements whose intervals are found at once.
constexpr size_t block = 512;

/// The intervals of the operand's elements from .. from+n-1, up to the first one that lies in none: returns the number
/// of elements before it.
using IntervalLoop = size_t (*)(qvo_seq_iterator_h it, size_t from, size_t n, uint16_t* intervals);

/// Integers as floor(distance * n_intervals / range), with a distance and a range that are exact in their unsigned
/// type. As long as distance * n_intervals stays below 2^53 a floating division gives the same, and faster: the product
/// is exact, and a quotient that is not a whole number is farther below the next one than it can be rounded. Above that
/// the product is taken modulo 2^64.
template <class V>
QVO_INLINE void integer_intervals(const HistogramState<V>& s, const V* __restrict values, size_t n,
                                  uint16_t* __restrict intervals) {
    using Unsigned = std::make_unsigned_t<V>;
    const auto range = static_cast<Unsigned>(wrapping_sub(s.max_value, s.min_value));
    const auto distance = [&](size_t i) { return static_cast<Unsigned>(wrapping_sub(values[i], s.min_value)); };
    if (sizeof(V) <= sizeof(uint32_t) || range < (uint64_t{1} << 53) / most_intervals) {
        // 64-bit numbers become floating ones faster as signed ones, and these are small enough.
        using Exact = std::conditional_t<sizeof(V) == sizeof(int64_t), int64_t, Unsigned>;
        const auto count = static_cast<double>(s.n_intervals), divisor = static_cast<double>(range);
        for (size_t i = 0; i < n; ++i)
            intervals[i] = static_cast<uint16_t>(
                static_cast<int32_t>(static_cast<double>(static_cast<Exact>(distance(i))) * count / divisor));
    } else {
        for (size_t i = 0; i < n; ++i)
            intervals[i] = static_cast<uint16_t>(uint64_t{distance(i)} * s.n_intervals / range);
    }
}

template <class V>
QVO_INLINE void floating_intervals(const HistogramState<V>& s, const V* __restrict values, size_t n,
                                   uint16_t* __restrict intervals) {
    const double low = s.min_value, range = static_cast<double>(s.max_value) - low;
    const auto count = static_cast<double>(s.n_intervals), last = count - 1;
    for (size_t i = 0; i < n; ++i) {
        // Rounding may lead to the end of the range; NaNs, and what infinite bounds make of numbers, count below.
        double at = (static_cast<double>(values[i]) - low) * count / range;
        at = at >= 0 ? at : 0;
        intervals[i] = static_cast<uint16_t>(static_cast<int32_t>(at < last ? at : last));
    }
}

template <class V> QVO_INLINE size_t find_intervals(qvo_seq_iterator_h it, size_t from, size_t n, uint16_t* intervals) {
    const HistogramState<V> s = state<HistogramState<V>>(it);
    const V* __restrict values = values_of<V>(it->opd[0]) + from;
    unsigned outside = 0;
    for (size_t i = 0; i < n; ++i) outside |= unsigned{values[i] < s.min_value} | unsigned{values[i] >= s.max_value};
    if (outside != 0) [[unlikely]]
        for (size_t i = n; i-- != 0;)
            if (values[i] < s.min_value || values[i] >= s.max_value) n = i;
    if constexpr (std::is_floating_point_v<V>)
        floating_intervals(s, values, n, intervals);
    else
        integer_intervals(s, values, n, intervals);
    return n;
}

QVO_RET histogram_next(qvo_seq_iterator_h it, IntervalLoop loop, uint64_t n_intervals, Where where) {
    if (it->next_seq_no != 0) return QVO_S_CURSOR_END;
    const qvo_seq_iterator_h input = it->opd[0];
    qvo_uint8* const counts = values_of<qvo_uint8>(it);
    const uint8_t* const runs = runs_of(input);
    qvo_memnull(counts, n_intervals * sizeof *counts);
    uint16_t intervals[block];
    QVO_RET rc;
    // Every tile from its first element; an empty one is as good as any.
    while ((rc = pull_any_tile(input, where)) == QVO_S_OK) {
        const size_t size = input->tile_size;
        for (size_t from = 0; from < size; from += block) {
            const size_t n = std::min(size - from, block), inside = loop(it, from, n, intervals);
            for (size_t i = 0; i < inside; ++i) counts[intervals[i]] += get_run(runs, from + i);
            if (inside != n) return QVO_E_ILLEGAL_PARAM;
        }
    }
    TileWriter out(it);
    out.put_equal_runs(n_intervals, 1);
    out.finish_at(n_intervals);
    return rc == QVO_S_CURSOR_END ? QVO_S_OK : rc;  // after an error the tile is filled all the same
}

/// The parameters are checked before the binding.
template <class E>
QVO_RET construct_histogram(qvo_seq_iterator_h result, qvo_seq_iterator_h input, typename E::value min_value,
                            typename E::value max_value, uint64_t n_intervals, qvo_seq_iterator_next_t next) {
    if (!has_type(input, E::code)) return QVO_E_ILLEGAL_TYPE;
    if (n_intervals < 1 || n_intervals > most_intervals) return QVO_E_ILLEGAL_PARAM;
    if (!(max_value > min_value)) return QVO_E_ILLEGAL_PARAM;  // nor with a NaN on either side
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_of<elem_uint8>, {input}, next, qvo_seq_reset_unary_iterator);
    result->last_seq_no = n_intervals - 1;
    state<HistogramState<typename E::value>>(result) = {min_value, max_value, n_intervals};
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type)                                                                                          \
    extern "C" QVO_API QVO_RET qvo_seq_histogram_##type##_next(qvo_seq_iterator_h iterator) {                \
        return histogram_next(iterator, for_cpu<find_intervals<qvo_##type>>,                                 \
                              state<HistogramState<qvo_##type>>(iterator).n_intervals, Where::here());       \
    }                                                                                                        \
    extern "C" QVO_API QVO_RET qvo_seq_histogram_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                                        qvo_##type min_value, qvo_##type max_value,          \
                                                        uint64_t n_intervals) {                              \
        return construct_histogram<elem_##type>(result, input, min_value, max_value, n_intervals,            \
                                                qvo_seq_histogram_##type##_next);                            \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
