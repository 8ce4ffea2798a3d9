// What the tests of the shaping operators share.
#pragma once

#include "support/protocol.h"

namespace test {

using ShapingConstruct = std::function<QVO_RET(qvo_seq_iterator_h result, qvo_seq_iterator_h input)>;

/// A one-operand member that does not look for empty tiles; `construct` knows its parameters.
inline Member shaping_member(const char* name, uint8_t type, size_t width, const ShapingConstruct& construct,
                             qvo_seq_iterator_next_t next) {
    Member member = unary_member(name, construct, next, type, width);
    member.stops_on_empty = {false};
    return member;
}

/// The member against its steps; for every other seed also from a read position in a run.
template <class T>
void check_shaping(Member member, const Steps& literal, unsigned longest_run = 255, bool starts_in_run = false) {
    check_random(std::move(member), 9, [&](Random& random, unsigned seed, Member& m) {
        Items<T> items = draw_items<T>(random, seed == 0 ? 5 : random.between(4, 3000));
        for (auto& item : items) item.run = std::min(item.run, longest_run);
        m.operands = {operand<T>(items, test_width<T>)};
        m.before = [=](const Member::Operands& o) {
            if (!starts_in_run || seed % 2 == 0 || o[0]->next(o[0]) != QVO_S_OK) return;
            o[0]->tile_offs = o[0]->tile_size / 2;
            o[0]->rle_offs = static_cast<uint8_t>(literal_run(o[0], o[0]->tile_offs) - 1);
        };
        return literal;
    });
}

template <class T, class R = T>
Items<R> shape(const ShapingConstruct& construct, const Items<T>& items, std::vector<size_t> tile_sizes = {}) {
    return drained<R>(construct, Source(T{}, items, {std::move(tile_sizes)}).get());
}

}  // namespace test
