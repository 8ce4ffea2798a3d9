// One sequence made of all sequences that the host's meta iterator yields. The members differ in the type and width of
// their elements; values are copied in blocks and not looked at.
#include "core/construct.h"
#include "core/protocol.h"

namespace qvo {
namespace {

// The read position goes back before the pull, and so also where that fails.
QVO_RET pull_embedded(qvo_seq_iterator_h from, Where where) {
    from->tile_offs = 0;
    return pull_tile(from, where);
}

// Appends what the embedded iterator's tile still holds, as much as there is room for. Its width is not checked
// anywhere, so a tile with more elements than fit one of this width must not be read.
void take_elements(qvo_seq_iterator_h it, TileWriter& out, qvo_seq_iterator_h from, Where where) {
    const size_t width = it->elem_size, at = from->tile_offs;
    if (at > from->tile_size || from->tile_size > capacity_of(width)) fatal_stop(where);
    const size_t n = std::min(from->tile_size - at, out.room());
    std::memcpy(values_of<uint8_t>(it) + out.size() * width, values_of<uint8_t>(from) + at * width, n * width);
    out.put_runs(runs_of(from) - at, n);
    from->tile_offs = static_cast<uint16_t>(at + n);
}

QVO_RET join_next(qvo_seq_iterator_h it, Where where) {
    auto& s = state<qvo_seq_meta_iterator_context_t>(it);
    if (s.pos_kind == AFTER_LAST) return QVO_S_CURSOR_END;
    const qvo_seq_meta_iterator_h meta = s.meta_iterator;
    const qvo_seq_iterator_h from = &meta->iterator;
    QVO_RET rc = QVO_S_OK;
    if (s.pos_kind == BEFORE_FIRST) {
        if (rc = meta->first(meta); rc != QVO_S_OK) return rc;
        s.pos_kind = AFTER_FIRST;
        rc = pull_embedded(from, where);
    } else if (from->tile_offs >= from->tile_size) {
        rc = pull_embedded(from, where);
    }
    TileWriter out(it, capacity_of(it->elem_size));
    for (;;) {
        // The next sequence comes with its first tile loaded, or with none: that one may be empty.
        if (rc == QVO_S_CURSOR_END) rc = meta->next(meta);
        if (rc != QVO_S_OK) break;
        do {
            take_elements(it, out, from, where);
            if (out.room() == 0) return out.finish(QVO_S_OK);
            rc = pull_embedded(from, where);
        } while (rc == QVO_S_OK);
        if (rc != QVO_S_CURSOR_END) break;
    }
    if (rc == QVO_S_CURSOR_END) s.pos_kind = AFTER_LAST;
    return out.finish(rc);
}

QVO_RET construct_join(qvo_seq_iterator_h result, qvo_seq_meta_iterator_h meta_iterator, ElementLayout layout) {
    fill_result(result, layout, {}, qvo_seq_meta_iterator_next, qvo_seq_meta_iterator_reset);
    state<qvo_seq_meta_iterator_context_t>(result) = {meta_iterator, BEFORE_FIRST};
    return QVO_S_OK;
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_meta_iterator_next(qvo_seq_iterator_h iterator) {
    return join_next(iterator, Where::here());
}

extern "C" QVO_API QVO_RET qvo_seq_meta_iterator_reset(qvo_seq_iterator_h iterator) {
    state<qvo_seq_meta_iterator_context_t>(iterator).pos_kind = BEFORE_FIRST;
    return qvo_seq_reset_iterator(iterator);
}

#define STAMP(type)                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_join_##type(qvo_seq_iterator_h result, qvo_seq_meta_iterator_h meta_iterator) { \
        return construct_join(result, meta_iterator, layout_of<elem_##type>);                                          \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

extern "C" QVO_API QVO_RET qvo_seq_join_char(qvo_seq_iterator_h result, qvo_seq_meta_iterator_h meta_iterator) {
    return construct_join(result, meta_iterator, {QVO_DD_CHAR, meta_iterator->iterator.elem_size});
}

}  // namespace qvo
