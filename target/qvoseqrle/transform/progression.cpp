// Arithmetic progressions.
#include "core/construct.h"
#include "core/number.h"
#include "core/tile.h"

namespace qvo {
namespace {

template <class V> struct ProgressionState { V init_value, step; };

/// Result elements 0 .. n-1 from position `first` on. Each is computed from its position: adding the step over and over
/// would round floating values differently.
using ProgressionLoop = void (*)(qvo_seq_iterator_h it, qvo_seq_no_t first, size_t n);

template <class V> QVO_INLINE void fill_progression(qvo_seq_iterator_h it, qvo_seq_no_t first, size_t n) {
    const ProgressionState<V> s = state<ProgressionState<V>>(it);
    V* __restrict out = values_of<V>(it);
    if constexpr (std::is_integral_v<V>) {
        const auto step = static_cast<modular<V>>(s.step);
        const auto start =
            static_cast<modular<V>>(static_cast<modular<V>>(first) * step + static_cast<modular<V>>(s.init_value));
        for (size_t i = 0; i < n; ++i) out[i] = static_cast<V>(start + static_cast<modular<V>>(i) * step);
    } else if (first < uint64_t{1} << 52) {
        // Positions are exact in double, and conversions of small numbers to it can be vectorised.
        const auto base = static_cast<double>(first);
        const auto count = static_cast<int32_t>(n);
        for (int32_t i = 0; i < count; ++i)
            out[i] = static_cast<V>(base + static_cast<double>(i)) * s.step + s.init_value;
    } else {
        for (size_t i = 0; i < n; ++i) out[i] = convert<V>(first + i) * s.step + s.init_value;
    }
}

QVO_RET progression_next(qvo_seq_iterator_h it, ProgressionLoop loop) {
    const qvo_seq_no_t at = it->next_seq_no, count = it->last_seq_no;
    TileWriter out(it);
    const size_t n = at < count ? std::min<qvo_seq_no_t>(count - at, out.room()) : 0;
    if (n != 0) loop(it, at, n);
    out.put_equal_runs(n, 1);
    out.finish_at(at + n);  // at the end as well, with an empty tile
    return n != 0 ? QVO_S_OK : QVO_S_CURSOR_END;
}

template <class E>
QVO_RET construct_progression(qvo_seq_iterator_h result, typename E::value init_value, typename E::value step,
                              uint64_t count, qvo_seq_iterator_next_t next) {
    fill_result(result, layout_of<E>, {}, next, qvo_seq_reset_iterator);
    result->last_seq_no = count;
    state<ProgressionState<typename E::value>>(result) = {init_value, step};
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type)                                                                                                 \
    extern "C" QVO_API QVO_RET qvo_seq_aprogres_##type##_next(qvo_seq_iterator_h iterator) {                        \
        return progression_next(iterator, for_cpu<fill_progression<qvo_##type>>);                                   \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET qvo_seq_aprogres_##type(qvo_seq_iterator_h result, qvo_##type init_value,            \
                                                       qvo_##type step, uint64_t count) {                           \
        return construct_progression<elem_##type>(result, init_value, step, count, qvo_seq_aprogres_##type##_next); \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
