// Members that expand runs, against a statement of one step.
#pragma once

#include "support/number.h"

namespace test {

/// A member whose result is not of the operand's type, or has an interval.
inline Member stepwise_member(const char* name,
                              std::function<QVO_RET(qvo_seq_iterator_h, qvo_seq_iterator_h)> construct, uint8_t type,
                              qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.type = type;
    member.width = width_of(type);
    member.next = next;
    member.reset = reset;
    return member;
}

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

/// The literal next against the member's, over random elements, tile sizes and errors. `fresh` makes a literal next
/// with a state of its own. The protocol is checked over so many elements.
inline void check_random_steps(Member member, uint8_t type, unsigned seeds,
                               const std::function<std::function<QVO_RET(qvo_seq_iterator_h)>()>& fresh,
                               unsigned of_protocol = 50) {
    for (unsigned seed = 0; seed < seeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto draw = [=](Random& r) { return seed % 2 != 0 ? random_number(r, type) : Number(r.below(100)); };
        member.operands = {
            operand(random_elements(random, type, seed == 0 ? of_protocol : random.between(1, 300), draw))};
        if (seed == 0) check_protocol(member);
        Script script{random_tile_sizes(random)};
        if (seed % 4 == 3) script.stop_at = random.below(200), script.stop_code = 4711;
        std::function<void(const Member::Operands&)> before;
        if (seed % 3 == 0)
            before = [](const Member::Operands& o) {
                if (o[0]->next(o[0]) == QVO_S_OK) o[0]->tile_offs = static_cast<uint16_t>(o[0]->tile_size / 2);
            };
        check_steps(member, fresh(), {script}, before);
        if (testing::Test::HasFailure()) return;
    }
}

}  // namespace test
