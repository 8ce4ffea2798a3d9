// Members that expand runs, against a statement of one step.
#pragma once

#include "support/number.h"

namespace test {

/// One position after the other: refill, take one position, step(value), which returns whether the tile is full. The
/// operand's end is QVO_S_OK if produced() is not 0.
inline QVO_RET literal_positions(qvo_seq_iterator_h it, const std::function<size_t()>& produced,
                                 const std::function<bool(Number)>& step) {
    const qvo_seq_iterator_h input = it->opd[0];
    for (;;) {
        QVO_RET rc = QVO_S_OK;
        if (!literal_refill(input, produced(), &rc)) return rc;
        const Number v = literal_number(input, input->tile_offs);
        literal_take(input, 1);
        if (step(v)) return QVO_S_OK;
    }
}

/// The same where each position gives an element.
inline QVO_RET literal_each_position(qvo_seq_iterator_h it, const std::function<Number(Number)>& element) {
    size_t n = 0;
    const QVO_RET rc = literal_positions(
        it, [&] { return n; },
        [&](Number v) {
            literal_put_number(it, n, it->elem_type, element(v));
            return ++n == capacity_of(it->elem_size);
        });
    if (rc != QVO_S_OK) return rc;
    it->next_seq_no += n;
    it->tile_size = static_cast<uint16_t>(n);
    return rc;
}

/// A member of elements of a type; `fresh` makes steps with a state of their own. The protocol is checked over so many
/// elements.
inline void check_positions(const Member& member, uint8_t type, unsigned seeds, const std::function<Steps()>& fresh,
                            unsigned of_protocol = 50) {
    check_random(member, seeds, [=](Random& random, unsigned seed, Member& m) {
        const auto draw = [=](Random& r) { return seed % 2 != 0 ? random_number(r, type) : Number(r.below(100)); };
        m.operands = {operand(random_elements(random, type, seed == 0 ? of_protocol : random.between(1, 300), draw))};
        m.before = [=](const Member::Operands& o) {
            if (seed % 3 == 0 && o[0]->next(o[0]) == QVO_S_OK) o[0]->tile_offs = o[0]->tile_size / 2;
        };
        return fresh();
    });
}

}  // namespace test
