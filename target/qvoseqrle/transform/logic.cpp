// Boolean logic: and, or, exclusive or of two sequences, and negation of one.
#include "core/elementwise.h"

namespace qvo {
namespace {

// On the bytes: values other than 0 and 1 are not normalised.
struct And {
    QVO_INLINE static int apply(qvo_seq_bool a, qvo_seq_bool b) { return a & b; }
};
struct Or {
    QVO_INLINE static int apply(qvo_seq_bool a, qvo_seq_bool b) { return a | b; }
};
struct Xor {
    QVO_INLINE static int apply(qvo_seq_bool a, qvo_seq_bool b) { return a ^ b; }
};
struct Not {
    QVO_INLINE static bool apply(qvo_seq_bool a) { return a == 0; }
};

}  // namespace

QVO_DEFINE_BINARY_NAMED(qvo_seq_and, qvo_seq_and_qvo_seq_bool_next, elem_bool, elem_bool, And)
QVO_DEFINE_BINARY_NAMED(qvo_seq_or, qvo_seq_or_qvo_seq_bool_next, elem_bool, elem_bool, Or)
QVO_DEFINE_BINARY_NAMED(qvo_seq_xor, qvo_seq_xor_qvo_seq_bool_next, elem_bool, elem_bool, Xor)
QVO_DEFINE_UNARY_NAMED(qvo_seq_not, qvo_seq_not_qvo_seq_bool_next, elem_bool, elem_bool, Not)

}  // namespace qvo
