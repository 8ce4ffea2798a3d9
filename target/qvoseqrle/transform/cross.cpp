// The positions at which a sequence changes its sign.
//
// A member is the loop that finds the signs of its values; what follows from them is compiled once.
#include "core/construct.h"
#include "core/operand.h"

namespace qvo {
namespace {

/// The signs of the operand's elements from .. from+n-1: 1, -1, and 0 for zeros and NaNs.
using SignLoop = void (*)(qvo_seq_iterator_h it, size_t from, size_t n, int8_t* signs);

template <class V> QVO_INLINE void find_signs(qvo_seq_iterator_h it, size_t from, size_t n, int8_t* __restrict signs) {
    const V* __restrict values = values_of<V>(it->opd[0]) + from;
    for (size_t i = 0; i < n; ++i) signs[i] = static_cast<int8_t>((values[i] > 0) - (values[i] < 0));
}

/// Walks over signs and writes the positions of crossings.
class Crossings {
 public:
    Crossings(qvo_seq_iterator_h it, TileWriter& out)
        : s_(state<qvo_seq_cross_context_t>(it)),
          out_(out),
          positions_(values_of<qvo_uint8>(it)),
          // Nothing is counted before the first call is over, so that the direction filters all of its crossings.
          only_(it->next_seq_no == 0 ? s_.first_sign : 0),
          prev_sign_(s_.prev_sign),
          pos_(s_.pos) {}

    void take(const int8_t* signs, const uint8_t* runs, size_t n) {
        size_t i = 0;
        while (i < n) {
            if (n - i >= run_word && load_word(reinterpret_cast<const uint8_t*>(signs + i)) == steady()) {
                pos_ += lane_sum(pair_sums(load_runs(runs - i)));
                i += run_word;
                continue;
            }
            for (const size_t end = std::min(n, i + run_word); i < end; ++i) take(signs[i], get_run(runs, i));
        }
    }

    void store() const {
        s_.pos = pos_;
        s_.prev_sign = prev_sign_;
    }

 private:
    /// Eight elements that do not change anything.
    uint64_t steady() const { return static_cast<uint8_t>(prev_sign_) * ones_word; }

    void take(int sign, unsigned run) {
        if (sign != prev_sign_) {
            if ((sign & prev_sign_) != 0 && (only_ == 0 || sign == only_)) {
                positions_[out_.size()] = pos_ - static_cast<qvo_seq_no_t>(s_.n_zeros);
                out_.put_run(1);
            }
            if (sign != 0) {
                prev_sign_ = sign;
                s_.n_zeros = 0;
            } else {
                s_.n_zeros = static_cast<int>(static_cast<unsigned>(s_.n_zeros) + run);
            }
        }
        pos_ += run;
    }

    qvo_seq_cross_context_t& s_;
    TileWriter& out_;
    qvo_uint8* positions_;
    const int only_;
    int prev_sign_;
    qvo_seq_no_t pos_;
};

QVO_RET cross_next(qvo_seq_iterator_h it, SignLoop loop, Where where) {
    Operand input(it->opd[0]);
    TileWriter out(it, elem_uint8::capacity);
    Crossings crossings(it, out);
    int8_t signs[elem_uint8::capacity];
    // As many elements at a time as there is room for positions: there is at most one for each.
    QVO_RET rc = walk_elements(input, out, where, [&](size_t index, size_t n) {
        loop(it, index, n, signs);
        crossings.take(signs, input.runs(), n);
    });
    if (rc = out.finish(rc, Counted::elements); rc == QVO_S_OK) crossings.store();
    return rc;
}

QVO_RET construct_cross(qvo_seq_iterator_h result, qvo_seq_iterator_h input, int first_cross_direction, uint8_t code,
                        qvo_seq_iterator_next_t next) {
    if (const QVO_RET rc =
            construct_typed(result, input, code, layout_of<elem_uint8>, next, qvo_seq_cross_reset_iterator);
        rc != QVO_S_OK)
        return rc;
    state<qvo_seq_cross_context_t>(result) = {0, first_cross_direction, 0, 0};
    return QVO_S_OK;
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_cross_reset_iterator(qvo_seq_iterator_h iterator) {
    auto& s = state<qvo_seq_cross_context_t>(iterator);
    s.prev_sign = s.n_zeros = 0;
    s.pos = 0;
    return qvo_seq_reset_unary_iterator(iterator);
}

#define STAMP(type)                                                                                                   \
    extern "C" QVO_API QVO_RET qvo_seq_cross_##type##_next(qvo_seq_iterator_h iterator) {                             \
        return cross_next(iterator, for_cpu<find_signs<qvo_##type>>, Where::here());                                  \
    }                                                                                                                 \
    extern "C" QVO_API QVO_RET qvo_seq_cross_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,              \
                                                    int first_cross_direction) {                                      \
        return construct_cross(result, input, first_cross_direction, elem_##type::code, qvo_seq_cross_##type##_next); \
    }
STAMP(int1)
STAMP(int2)
STAMP(int4)
STAMP(int8)
STAMP(float)
STAMP(double)
STAMP(datetime)
#undef STAMP

// Values without a sign have nothing to cross. (datetime has a member all the same, which finds no position.)
#define STAMP(type)                                                                                \
    extern "C" QVO_API QVO_RET qvo_seq_cross_##type(qvo_seq_iterator_h, qvo_seq_iterator_h, int) { \
        return QVO_E_UNSUPPORTED;                                                                  \
    }
STAMP(uint1)
STAMP(uint2)
STAMP(uint4)
STAMP(uint8)
#undef STAMP

}  // namespace qvo
