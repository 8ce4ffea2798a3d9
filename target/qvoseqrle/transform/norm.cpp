// Every element divided by a norm of the whole sequence: a pass over the input to find the norm, a reset of the input,
// and a second pass.
#include "core/elementwise.h"
#include "core/number.h"
#include "core/operand.h"

namespace qvo {
namespace {

/// The sum of the squares of a tile's elements, each as often as its run says, in the order of the elements.
using SumSquares = double (*)(qvo_seq_iterator_h input, size_t n);

template <class V> struct NormLoops {
    static double sum_squares(qvo_seq_iterator_h input, size_t n) {
        const V* const values = values_of<V>(input);
        const uint8_t* const runs = runs_of(input);
        double sum = 0;
        for (size_t i = 0; i < n; ++i) {
            const double value = convert<double>(values[i]);
            sum += static_cast<double>(get_run(runs, i)) * (value * value);
        }
        return sum;
    }

    QVO_INLINE static void divide(qvo_seq_iterator_h it, size_t to, const uint8_t* values, size_t from, size_t n) {
        const V* __restrict const in = reinterpret_cast<const V*>(values) + from;
        double* __restrict const out = values_of<double>(it) + to;
        const double norm = state<qvo_seq_norm_context_t>(it).norm;
        for (size_t i = 0; i < n; ++i) out[i] = convert<double>(in[i]) / norm;
    }
};

/// The first pass. Deliberate: the root is taken after every tile, so that over several tiles the norm is a nested root
/// and not the Euclidean norm of the sequence.
QVO_RET find_norm(qvo_seq_iterator_h it, SumSquares sum_squares, Where where) {
    const qvo_seq_iterator_h input = it->opd[0];
    double& norm = state<qvo_seq_norm_context_t>(it).norm;
    norm = 0;
    for (;;) {
        const QVO_RET rc = pull_tile(input, where);
        if (rc == QVO_S_CURSOR_END) return input->reset(input);
        if (rc != QVO_S_OK) return rc;
        norm = std::sqrt(norm + sum_squares(input, input->tile_size));
    }
}

QVO_RET norm_next(qvo_seq_iterator_h it, SumSquares sum_squares, UnaryLoop divide, Where where) {
    if (it->next_seq_no == 0)
        if (const QVO_RET rc = find_norm(it, sum_squares, where); rc != QVO_S_OK) return rc;
    return elements_next(it, divide, where, Operand::Values::anywhere);
}

}  // namespace

#define STAMP(type)                                                                                       \
    extern "C" QVO_API QVO_RET qvo_seq_norm_##type##_next(qvo_seq_iterator_h iterator) {                  \
        using Loops = NormLoops<elem_##type::value>;                                                      \
        return norm_next(iterator, Loops::sum_squares, for_cpu<Loops::divide>, Where::here());            \
    }                                                                                                     \
    extern "C" QVO_API QVO_RET qvo_seq_norm_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_unary<elem_##type, elem_double>(result, input, qvo_seq_norm_##type##_next);      \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
