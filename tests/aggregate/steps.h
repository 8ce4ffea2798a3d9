// Members that expand runs, against a statement of one step.
#pragma once

#include "support/protocol.h"

namespace test {

using Construct = std::function<QVO_RET(qvo_seq_iterator_h, qvo_seq_iterator_h)>;

template <class T>
Member unary_member(const char* name, const Construct& construct, uint8_t type, size_t width,
                    qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    Member member;
    member.name = name;
    member.operands = {operand<T>(Items<T>{{1, 2}, {5}, {2, 255}, {5}, {3}})};
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.type = type;
    member.width = width;
    member.next = next;
    member.reset = reset;
    return member;
}

/// One position after the other: refill, take one position, step(value), which returns whether the tile is full. The
/// operand's end is QVO_S_OK if produced() is not 0.
template <class V>
QVO_RET literal_positions(qvo_seq_iterator_h it, const std::function<size_t()>& produced,
                          const std::function<bool(V)>& step) {
    const qvo_seq_iterator_h input = it->opd[0];
    for (;;) {
        QVO_RET rc = QVO_S_OK;
        if (!literal_refill(input, produced(), &rc)) return rc;
        const V v = literal_value<V>(input, input->tile_offs);
        literal_take(input, 1);
        if (step(v)) return QVO_S_OK;
    }
}

/// The literal next against the member's, over random elements, tile sizes and errors. `fresh` makes a literal next
/// with a state of its own.
template <class T>
void check_random_steps(Member member, unsigned seeds,
                        const std::function<std::function<QVO_RET(qvo_seq_iterator_h)>()>& fresh) {
    using V = typename T::value;
    for (unsigned seed = 0; seed < seeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto draw = [seed](Random& r) {
            return seed % 2 != 0 ? r.template value<V>() : static_cast<V>(r.below(100));
        };
        member.operands = {operand<T>(random_items<T>(random, random.between(1, 300), draw))};
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
