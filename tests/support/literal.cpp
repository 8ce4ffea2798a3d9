// Parts of the numbered steps, stated literally on the records.
#include <algorithm>

#include "support/protocol.h"

namespace test {

bool literal_refill(qvo_seq_iterator_h operand, size_t produced, QVO_RET* rc) {
    if (operand->tile_offs < operand->tile_size) return true;
    *rc = operand->next(operand);
    if (*rc == QVO_S_CURSOR_END && produced != 0)
        *rc = QVO_S_OK;
    else if (*rc == QVO_S_OK) {
        operand->tile_offs = 0;
        return true;
    }
    return false;
}

unsigned literal_run(const qvo_seq_iterator_t* it, size_t i) { return it->tile.u.arr_uint1[4095 - i]; }

void literal_put_run(qvo_seq_iterator_h it, size_t i, unsigned run) {
    it->tile.u.arr_uint1[4095 - i] = static_cast<uint8_t>(run);
}

void literal_put_counted(qvo_seq_iterator_h it, size_t i, unsigned run) {
    literal_put_run(it, i, run);
    it->next_seq_no += run;
}

unsigned literal_run_left(const qvo_seq_iterator_t* it) { return literal_run(it, it->tile_offs) - it->rle_offs; }

void literal_take(qvo_seq_iterator_h it, unsigned positions) {
    it->rle_offs = static_cast<uint8_t>(it->rle_offs + positions);
    if (it->rle_offs == literal_run(it, it->tile_offs)) {
        it->rle_offs = 0;
        ++it->tile_offs;
    }
}

void literal_copy(qvo_seq_iterator_h it, size_t to, const qvo_seq_iterator_t* operand, size_t from) {
    const size_t width = operand->elem_size;
    std::memcpy(it->tile.u.arr_uint1 + to * width, operand->tile.u.arr_uint1 + from * width, width);
}

std::string literal_bytes(const qvo_seq_iterator_t* it, size_t i) {
    return std::string(it->tile.u.arr_char + i * it->elem_size, it->elem_size);
}

void literal_put_bytes(qvo_seq_iterator_h it, size_t i, const std::string& bytes) {
    std::memcpy(it->tile.u.arr_char + i * it->elem_size, bytes.data(), bytes.size());
}

QVO_RET literal_end(qvo_seq_iterator_h it, size_t produced, QVO_RET rc) {
    if (rc == QVO_S_OK) it->tile_size = static_cast<uint16_t>(produced);
    return rc;
}

QVO_RET literal_loop(qvo_seq_iterator_h it, size_t n_operands, const std::function<bool(size_t i)>& step, Counts counts,
                     size_t capacity) {
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    const auto refill = [&](qvo_seq_iterator_h operand) { return literal_refill(operand, i, &rc); };
    while (i < std::min(capacity, capacity_of(it->elem_size)) && std::all_of(it->opd, it->opd + n_operands, refill))
        i += step(i);
    if (rc == QVO_S_OK && counts == Counts::elements) it->next_seq_no += i;
    return literal_end(it, i, rc);
}

QVO_RET literal_selected_next(qvo_seq_iterator_h it, const std::function<bool(size_t i, size_t k)>& element) {
    return literal_loop(
        it, 1, [&](size_t i) { return element(i, it->opd[0]->tile_offs++); }, Counts::elements);
}

QVO_RET literal_tile_next(qvo_seq_iterator_h it, qvo_seq_iterator_h operand,
                          const std::function<void(size_t i)>& element) {
    if (const QVO_RET rc = operand->next(operand); rc != QVO_S_OK) return rc;
    operand->tile_offs = 0;
    for (size_t i = 0; i < operand->tile_size; ++i) element(i);
    return literal_end(it, operand->tile_size, QVO_S_OK);
}

QVO_RET literal_elements_next(qvo_seq_iterator_h it, const std::function<void(size_t i, size_t k)>& element) {
    return literal_loop(it, 1, [&](size_t i) {
        const size_t k = it->opd[0]->tile_offs;
        element(i, k);
        literal_put_counted(it, i, literal_run(it->opd[0], k));
        ++it->opd[0]->tile_offs;
        return true;
    });
}

QVO_RET literal_overlap_next(qvo_seq_iterator_h it, const std::function<bool(size_t i)>& element, size_t n_operands) {
    return literal_loop(it, n_operands, [&](size_t i) {
        unsigned run = 255;
        for (size_t k = 0; k < n_operands; ++k) run = std::min(run, literal_run_left(it->opd[k]));
        const bool writes = element(i);
        if (writes) literal_put_counted(it, i, run);
        for (size_t k = 0; k < n_operands; ++k) literal_take(it->opd[k], run);
        return writes;
    });
}

}  // namespace test
