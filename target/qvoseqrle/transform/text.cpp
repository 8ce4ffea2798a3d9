// Joining the bytes of two sequences: strings end to end, and values of any type as they lie in memory.
//
// Both results are char sequences whose width is fixed by the constructor. An operand may still be without a width
// then (a text source that takes it from its first string), so widths are read again for each stretch and what does not
// fit the result's elements is cut off.
#include "core/bytes.h"
#include "core/elementwise.h"

namespace qvo {
namespace {

inline constexpr size_t max_joined_width = 32;

/// The elements of both operands and of the result, as bytes.
struct JoinedTiles {
    const uint8_t* left;
    const uint8_t* right;
    uint8_t* result;
    size_t left_stride, right_stride, width;
    size_t left_width, right_width;  // what of an element fits the result's

    explicit JoinedTiles(qvo_seq_iterator_h it)
        : left(values_of<uint8_t>(it->opd[0])),
          right(values_of<uint8_t>(it->opd[1])),
          result(values_of<uint8_t>(it)),
          left_stride(it->opd[0]->elem_size),
          right_stride(it->opd[1]->elem_size),
          width(it->elem_size),
          left_width(std::min(left_stride, width)),
          right_width(std::min(right_stride, width - left_width)) {}
};

/// The raw bytes of both elements, one after the other.
struct Cat : JoinedTiles {
    using JoinedTiles::JoinedTiles;

    void operator()(size_t to, size_t a, size_t b) const {
        uint8_t* const out = result + to * width;
        copy_bytes(out, left + a * left_stride, left_width);
        copy_bytes(out + left_width, right + b * right_stride, right_width);
    }
};

size_t string_length(const uint8_t* bytes, size_t width) {
    const void* const zero = std::memchr(bytes, 0, width);
    return zero == nullptr ? width : static_cast<size_t>(static_cast<const uint8_t*>(zero) - bytes);
}

/// Two strings without what follows their first zero byte, padded with zero bytes to the joint width.
struct AddChar : JoinedTiles {
    using JoinedTiles::JoinedTiles;

    void operator()(size_t to, size_t a, size_t b) const {
        const uint8_t* const first = left + a * left_stride;
        const uint8_t* const second = right + b * right_stride;
        uint8_t* const out = result + to * width;
        // Whole elements are copied, since their widths do not change from one to the next; the second string, and
        // then the padding, overwrites what is too much.
        const size_t end_first = string_length(first, left_width);
        const size_t end = end_first + string_length(second, right_width);
        copy_bytes(out, first, left_width);
        copy_bytes(out + end_first, second, right_width);
        std::memset(out + end, 0, width - end);
    }
};

QVO_RET construct_join(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                       qvo_seq_iterator_next_t next) {
    const size_t width = size_t{left->elem_size} + right->elem_size;
    if (width > max_joined_width) return QVO_E_ILLEGAL_TYPE;  // deliberate: not QVO_E_ILLEGAL_PARAM
    if (const QVO_RET rc = bind({left, right}); rc != QVO_S_OK) return rc;
    fill_result(result, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, {left, right}, next,
                qvo_seq_reset_binary_iterator);
    return QVO_S_OK;
}

}  // namespace
}  // namespace qvo

extern "C" {

QVO_API QVO_RET qvo_seq_add_char_next(qvo_seq_iterator_h iterator) {
    return qvo::overlap_next(iterator, qvo::loops_of<qvo::MappedLoops<qvo::AddChar>>, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_add_char(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) {
    if (!qvo::has_type(left, QVO_DD_CHAR) || !qvo::has_type(right, QVO_DD_CHAR)) return QVO_E_ILLEGAL_TYPE;
    return qvo::construct_join(result, left, right, qvo_seq_add_char_next);
}

QVO_API QVO_RET qvo_seq_cat_next(qvo_seq_iterator_h iterator) {
    return qvo::overlap_next(iterator, qvo::loops_of<qvo::MappedLoops<qvo::Cat>>, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_cat(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) {
    return qvo::construct_join(result, left, right, qvo_seq_cat_next);
}

}  // extern "C"
