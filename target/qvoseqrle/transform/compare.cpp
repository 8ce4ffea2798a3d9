// The six comparisons of two sequences, element by element, as booleans.
#include "core/elementwise.h"

namespace qvo {
namespace {

struct Eq {
    template <class V> QVO_INLINE static bool apply(V a, V b) { return a == b; }
};
struct Ne {
    template <class V> QVO_INLINE static bool apply(V a, V b) { return a != b; }
};
struct Ge {
    template <class V> QVO_INLINE static bool apply(V a, V b) { return a >= b; }
};
struct Le {
    template <class V> QVO_INLINE static bool apply(V a, V b) { return a <= b; }
};
struct Gt {
    template <class V> QVO_INLINE static bool apply(V a, V b) { return a > b; }
};
struct Lt {
    template <class V> QVO_INLINE static bool apply(V a, V b) { return a < b; }
};

/// The widths are equal at construction. A text parser learns its width with its first string, though; if that makes
/// them differ, the shorter one is compared, so that no read leaves an operand's tile.
template <class Op> struct CharCompare {
    const uint8_t* left;
    const uint8_t* right;
    size_t left_width, right_width;
    qvo_seq_bool* result;

    explicit CharCompare(qvo_seq_iterator_h it)
        : left(values_of<uint8_t>(it->opd[0])),
          right(values_of<uint8_t>(it->opd[1])),
          left_width(it->opd[0]->elem_size),
          right_width(it->opd[1]->elem_size),
          result(values_of<qvo_seq_bool>(it)) {}

    void operator()(size_t to, size_t a, size_t b) const {
        const size_t width = std::min(left_width, right_width);
        result[to] = Op::apply(qvo_memcmp(left + a * left_width, right + b * right_width, width), 0);
    }
};

QVO_RET construct_char_compare(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                               qvo_seq_iterator_next_t next) {
    if (!has_type(left, QVO_DD_CHAR) || !has_type(right, QVO_DD_CHAR)) return QVO_E_ILLEGAL_TYPE;
    if (left->elem_size != right->elem_size) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({left, right}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_of<elem_bool>, {left, right}, next, qvo_seq_reset_binary_iterator);
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type)                                                  \
    QVO_DEFINE_BINARY(qvo_seq_eq_##type, elem_##type, elem_bool, Eq) \
    QVO_DEFINE_BINARY(qvo_seq_ne_##type, elem_##type, elem_bool, Ne) \
    QVO_DEFINE_BINARY(qvo_seq_ge_##type, elem_##type, elem_bool, Ge) \
    QVO_DEFINE_BINARY(qvo_seq_le_##type, elem_##type, elem_bool, Le) \
    QVO_DEFINE_BINARY(qvo_seq_gt_##type, elem_##type, elem_bool, Gt) \
    QVO_DEFINE_BINARY(qvo_seq_lt_##type, elem_##type, elem_bool, Lt)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

#define STAMP_CHAR(name, Op)                                                                                        \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                           \
        return overlap_next(iterator, loops_of<MappedLoops<CharCompare<Op>>>, Where::here());                       \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) { \
        return construct_char_compare(result, left, right, name##_next);                                            \
    }
STAMP_CHAR(qvo_seq_eq_char, Eq)
STAMP_CHAR(qvo_seq_ne_char, Ne)
STAMP_CHAR(qvo_seq_ge_char, Ge)
STAMP_CHAR(qvo_seq_le_char, Le)
STAMP_CHAR(qvo_seq_gt_char, Gt)
STAMP_CHAR(qvo_seq_lt_char, Lt)
#undef STAMP_CHAR

}  // namespace qvo
