// The simplest sources: the caller's array, and a constant. Both move values without looking at them, so that the
// members differ in what their constructors note down and share one `next`. (Arrays are not prefetched: processors see
// by themselves that they are read in order, and are held up by being told.)
#include "core/source.h"

#include "core/construct.h"
#include "core/move.h"

namespace qvo {
namespace {

// No element of a wider sequence fits into a tile.
constexpr qvo_size_t max_width = payload_bytes - 1;

// Nothing is ever written to the array; it is kept where buffers are.
void construct_array(qvo_seq_iterator_h result, ElementLayout layout, const void* values, qvo_size_t count,
                     qvo_seq_iterator_next_t next) {
    fill_result(result, layout, {}, next, qvo_seq_unget_reset);
    result->last_seq_no = count - 1;  // no elements: all ones
    result->buf = const_cast<void*>(values);
    result->buf_size = count * layout.width;
    result->owned_buf = 1;
}

QVO_RET array_next(qvo_seq_iterator_h it) {
    const qvo_seq_no_t from = it->next_seq_no, last = it->last_seq_no;
    if (last == ~qvo_seq_no_t{0} || from > last) return QVO_S_CURSOR_END;
    const size_t width = it->elem_size;
    const size_t n = std::min<qvo_seq_no_t>(capacity_of(width), last - from + 1);
    std::memcpy(values_of<uint8_t>(it), static_cast<const uint8_t*>(it->buf) + from * width, n * width);
    TileWriter out(it);
    out.put_equal_runs(n, 1);
    return out.finish(QVO_S_OK);
}

void construct_constant(qvo_seq_iterator_h result, ElementLayout layout, const void* value,
                        qvo_seq_iterator_next_t next) {
    fill_result(result, layout, {}, next, qvo_seq_reset_iterator);
    if (layout.width != 0) std::memcpy(result->context, value, layout.width);
}

[[gnu::noinline]] void fill_constant(qvo_seq_iterator_h it, size_t capacity) {
    with_mover(it->elem_size,
               [it, capacity](auto mover) { mover.fill(values_of<uint8_t>(it), 0, it->context, 0, capacity); });
    fill_runs(runs_of(it), capacity, max_run);
}

// The tile is filled once, after construction or a reset, and then handed out again and again.
QVO_RET constant_next(qvo_seq_iterator_h it) {
    const size_t capacity = capacity_of(it->elem_size);
    if (it->tile_size == 0) fill_constant(it, capacity);
    TileWriter out(it, capacity);
    out.advance({capacity, static_cast<unsigned>(capacity * max_run)});
    return out.finish(QVO_S_OK);
}

/// Whether an array source is as its constructor has made it, and its elements can be read where they lie.
bool can_be_read_in_place(const qvo_seq_iterator_t* it) {
    switch (it->elem_type) {
#define CASE(type)          \
    case elem_##type::code: \
        return it->elem_size == elem_##type::width && reinterpret_cast<uintptr_t>(it->buf) % alignof(qvo_##type) == 0;
        QVO_SEQ_FOR_FIXED_TYPES(CASE)
#undef CASE
        default:
            return false;
    }
}

}  // namespace

constexpr auto make_single_runs() {
    std::array<uint8_t, ArrayStretch::most + run_block> runs{};
    runs.fill(1);
    return runs;
}
const std::array<uint8_t, ArrayStretch::most + run_block> single_runs = make_single_runs();

constexpr auto make_source_nexts() {
    std::array<SourceNexts, QVO_DD_DATETIME + 1> nexts{};
#define ENTRY(type) nexts[elem_##type::code] = {qvo_seq_const_##type##_next, qvo_seq_unget_##type##_next};
    QVO_SEQ_FOR_FIXED_TYPES(ENTRY)
#undef ENTRY
    return nexts;
}
const std::array<SourceNexts, QVO_DD_DATETIME + 1> source_nexts = make_source_nexts();

ArrayStretch next_of_array(qvo_seq_iterator_h it, size_t slack) {
    const qvo_seq_no_t first = it->next_seq_no, last = it->last_seq_no;
    if (!can_be_read_in_place(it) || last == ~qvo_seq_no_t{0} || first > last) return {};
    const uint64_t left = last - first + 1;
    const size_t capacity = capacity_of(it->elem_size), whole_tiles = ArrayStretch::most / capacity * capacity;
    uint64_t taken = std::min<uint64_t>(whole_tiles, left);
    if (slack != 0) {
        taken = std::min<uint64_t>(taken, left < slack ? 0 : left - slack) / capacity * capacity;
        if (taken == 0) return {};
    }
    const size_t n = std::min<uint64_t>(capacity, left);
    fill_runs(runs_of(it), n, 1);
    it->tile_size = static_cast<uint16_t>(n);
    it->next_seq_no = first + n;
    return {static_cast<const uint8_t*>(it->buf) + first * it->elem_size, taken};
}

void store_in_array(qvo_seq_iterator_h it, ArrayStretch stretch, size_t index, bool asked_for) {
    const size_t capacity = capacity_of(it->elem_size), before = (index - !asked_for) / capacity * capacity;
    const uint64_t first = stretch.first(it) + before;
    const size_t n = std::min<uint64_t>(capacity, it->last_seq_no - first + 1);
    it->next_seq_no = first + n;
    it->tile_size = static_cast<uint16_t>(n);
    it->tile_offs = static_cast<uint16_t>(index - before);
}

void restore_tile(qvo_seq_iterator_h it, ArrayStretch stretch) {
    const size_t width = it->elem_size, at = it->tile_offs, n = it->tile_size;
    if (at >= n) return;
    const uint64_t first = it->next_seq_no - n;  // of the tile
    std::memcpy(values_of<uint8_t>(it) + at * width, stretch.values + (first - stretch.first(it) + at) * width,
                (n - at) * width);
}

ArrayTiles::ArrayTiles(qvo_seq_iterator_h it)
    : it_(it), it_values_(static_cast<const uint8_t*>(it->buf)), size_(capacity_of(it->elem_size)) {
    const qvo_seq_no_t first = it->next_seq_no, last = it->last_seq_no;
    if (is_array_source(it) && can_be_read_in_place(it) && last != ~qvo_seq_no_t{0} && first <= last)
        left_ = (last - first) / size_;
}

#define STAMP(type)                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_unget_##type##_next(qvo_seq_iterator_h iterator) {                \
        return array_next(iterator);                                                                     \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_unget_##type(qvo_seq_iterator_h result, const qvo_##type* values, \
                                                    qvo_size_t count) {                                  \
        construct_array(result, layout_of<elem_##type>, values, count, qvo_seq_unget_##type##_next);     \
        return QVO_S_OK;                                                                                 \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_const_##type##_next(qvo_seq_iterator_h iterator) {                \
        return constant_next(iterator);                                                                  \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_const_##type(qvo_seq_iterator_h result, qvo_##type value) {       \
        construct_constant(result, layout_of<elem_##type>, &value, qvo_seq_const_##type##_next);         \
        return QVO_S_OK;                                                                                 \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

extern "C" {

QVO_API QVO_RET qvo_seq_unget_reset(qvo_seq_iterator_h iterator) { return qvo_seq_reset_iterator(iterator); }

QVO_API QVO_RET qvo_seq_unget_char_next(qvo_seq_iterator_h iterator) { return array_next(iterator); }

QVO_API QVO_RET qvo_seq_unget_char(qvo_seq_iterator_h result, const char* values, qvo_size_t count, qvo_size_t width) {
    if (width > max_width) return QVO_E_ILLEGAL_PARAM;
    construct_array(result, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, values, count, qvo_seq_unget_char_next);
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_const_next_char(qvo_seq_iterator_h iterator) { return constant_next(iterator); }

QVO_API QVO_RET qvo_seq_const_char(qvo_seq_iterator_h result, const char* value, qvo_size_t width) {
    if (width > sizeof result->context) return QVO_E_ILLEGAL_PARAM;
    construct_constant(result, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, value, qvo_seq_const_next_char);
    return QVO_S_OK;
}

}  // extern "C"

}  // namespace qvo
