// The positions of local maxima and minima.
//
// A member is the loop that compares neighbours; what follows from the directions is compiled once.
#include "core/construct.h"
#include "core/operand.h"

namespace qvo {
namespace {

/// The context record of any type: its value lies at the start of prev_val, and pos after it.
struct ExtremaState {
    int first_extremum;
    int prev_trend;     // the last direction other than 0; 0: none so far
    uint64_t prev_val;  // the last value consumed
    qvo_seq_no_t pos;   // positions consumed
};

/// Whether each of the operand's elements from .. from+n-1 is above (1) or below (-1) the one before it, the first one
/// compared with *previous; 0 for equal values and next to NaNs.
using DirectionLoop = void (*)(qvo_seq_iterator_h it, size_t from, size_t n, const uint64_t* previous,
                               int8_t* directions);

template <class V>
QVO_INLINE void find_directions(qvo_seq_iterator_h it, size_t from, size_t n, const uint64_t* previous,
                                int8_t* __restrict directions) {
    const V* __restrict values = values_of<V>(it->opd[0]) + from;
    V first;
    std::memcpy(&first, previous, sizeof first);
    directions[0] = static_cast<int8_t>((values[0] > first) - (first > values[0]));
    for (size_t i = 1; i < n; ++i)
        directions[i] = static_cast<int8_t>((values[i] > values[i - 1]) - (values[i - 1] > values[i]));
}

/// Walks over directions and writes the positions of turning points.
class TurningPoints {
 public:
    TurningPoints(qvo_seq_iterator_h it, TileWriter& out)
        : out_(out),
          positions_(values_of<qvo_uint8>(it)),
          // It is not used up by the first extremum: deliberately, it filters all of them.
          only_(state<ExtremaState>(it).first_extremum),
          trend_(state<ExtremaState>(it).prev_trend),
          pos_(state<ExtremaState>(it).pos) {}

    void take(const int8_t* directions, const uint8_t* runs, size_t n) {
        size_t i = 0;
        while (i < n) {
            // Eight elements that go on in the same direction.
            if (n - i >= run_word && load_word(reinterpret_cast<const uint8_t*>(directions + i)) ==
                                         static_cast<uint8_t>(trend_) * ones_word) {
                pos_ += lane_sum(pair_sums(load_runs(runs - i)));
                i += run_word;
                continue;
            }
            for (const size_t end = std::min(n, i + run_word); i < end; ++i) take(directions[i], get_run(runs, i));
        }
    }

    int trend() const { return trend_; }
    qvo_seq_no_t pos() const { return pos_; }

 private:
    void take(int direction, unsigned run) {
        if (direction != trend_) {
            if ((trend_ & direction) != 0 && (only_ == 0 || trend_ == only_)) {
                positions_[out_.size()] = pos_ - 1;
                out_.put_run(1);
            }
            if (direction != 0) trend_ = direction;
        }
        pos_ += run;
    }

    TileWriter& out_;
    qvo_uint8* positions_;
    const int only_;
    int trend_;
    qvo_seq_no_t pos_;
};

QVO_RET extrema_next(qvo_seq_iterator_h it, DirectionLoop loop, Where where) {
    const qvo_seq_iterator_h from = it->opd[0];
    const size_t width = from->elem_size;
    Operand input(from);
    TileWriter out(it, elem_uint8::capacity);
    TurningPoints points(it, out);
    uint64_t previous = state<ExtremaState>(it).prev_val;
    // The first element has nothing before it. Nothing is counted before a call has delivered, so that this holds for
    // the first one of every call until then.
    bool first = it->next_seq_no == 0;
    int8_t directions[elem_uint8::capacity];
    // As many elements at a time as there is room for positions: there is at most one for each.
    QVO_RET rc = walk_elements(input, out, where, [&](size_t index, size_t n) {
        loop(it, index, n, &previous, directions);
        if (first) directions[0] = 0;
        first = false;
        points.take(directions, input.runs(), n);
        std::memcpy(&previous, values_of<uint8_t>(from) + (index + n - 1) * width, width);
    });
    if (rc = out.finish(rc, Counted::elements); rc != QVO_S_OK) return rc;
    auto& s = state<ExtremaState>(it);
    s = {s.first_extremum, points.trend(), previous, points.pos()};
    return QVO_S_OK;
}

QVO_RET extrema_reset(qvo_seq_iterator_h it) {
    state<ExtremaState>(it).prev_trend = 0;
    state<ExtremaState>(it).pos = 0;
    return qvo_seq_reset_unary_iterator(it);
}

QVO_RET construct_extrema(qvo_seq_iterator_h result, qvo_seq_iterator_h input, int first_extremum, uint8_t code,
                          qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    if (const QVO_RET rc = construct_typed(result, input, code, layout_of<elem_uint8>, next, reset); rc != QVO_S_OK)
        return rc;
    state<ExtremaState>(result) = {first_extremum, 0, 0, 0};
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type)                                                                                               \
    extern "C" QVO_API QVO_RET qvo_seq_extrema_##type##_next(qvo_seq_iterator_h iterator) {                       \
        return extrema_next(iterator, for_cpu<find_directions<qvo_##type>>, Where::here());                       \
    }                                                                                                             \
    extern "C" QVO_API QVO_RET qvo_seq_extrema_##type##_reset_iterator(qvo_seq_iterator_h iterator) {             \
        return extrema_reset(iterator);                                                                           \
    }                                                                                                             \
    extern "C" QVO_API QVO_RET qvo_seq_extrema_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,        \
                                                      int first_extremum) {                                       \
        using Record = qvo_seq_extrema_##type##_context_t;                                                        \
        static_assert(sizeof(ExtremaState) == sizeof(Record) &&                                                   \
                      offsetof(ExtremaState, pos) == offsetof(Record, pos) &&                                     \
                      offsetof(ExtremaState, prev_val) == offsetof(Record, prev_val));                            \
        return construct_extrema(result, input, first_extremum, elem_##type::code, qvo_seq_extrema_##type##_next, \
                                 qvo_seq_extrema_##type##_reset_iterator);                                        \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
