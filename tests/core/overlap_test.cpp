// The walk over two operands where runs are out of the ordinary: read positions inside a run, and run bytes that a
// producer left unwritten, zeros among them.
#include "support/protocol.h"

namespace test {
namespace {

void check_subtraction(const Items<t_uint2>& left, const Items<t_uint2>& right, const std::vector<Script>& scripts,
                       const std::function<void(const Member::Operands&)>& before = nullptr) {
    Member member = binary_member(MEMBER(qvo_seq_sub_uint2), QVO_DD_UINT2, 2);
    member.checks_tiles = before != nullptr;  // without, runs of 0 are among them
    member.operands = {operand<t_uint2>(left), operand<t_uint2>(right)};
    member.before = before;
    const auto difference = [](qvo_seq_iterator_h it) {
        return literal_overlap_next(it, [it](size_t i) {
            const qvo_seq_iterator_h a = it->opd[0], b = it->opd[1];
            const int v = literal_value<uint16_t>(a, a->tile_offs) - literal_value<uint16_t>(b, b->tile_offs);
            literal_put(it, i, static_cast<uint16_t>(v));
            return true;
        });
    };
    check_steps(member, difference, scripts);
}

TEST(Overlap, StartsInsideARun) {
    for_seeds(40, [](Random& random, unsigned seed) {
        const Items<t_uint2> items[] = {random_items<t_uint2>(random, 2000), random_items<t_uint2>(random, 2000)};
        check_subtraction(items[0], items[1], {}, [&](const Member::Operands& o) {
            Random at(seed);
            for (size_t k = 0; k < 2; ++k) {
                ASSERT_EQ(o[k]->next(o[k]), QVO_S_OK);
                o[k]->tile_offs = static_cast<uint16_t>(at.below(30));
                o[k]->rle_offs = static_cast<uint8_t>(at.below(items[k][o[k]->tile_offs].run));
            }
        });
    });
}

TEST(Overlap, TakesUnwrittenRunBytesAsTheyAre) {
    for_seeds(60, [](Random& random, unsigned) {
        auto left = random_items<t_uint2>(random, 3000), right = random_items<t_uint2>(random, 3000);
        const unsigned percent = random.between(1, 60);
        for (auto* items : {&left, &right})
            for (auto& item : *items)
                if (random.chance(percent)) item.run = 0;
        check_subtraction(left, right, {{random_tile_sizes(random)}, {random_tile_sizes(random)}});
    });
}

}  // namespace
}  // namespace test
