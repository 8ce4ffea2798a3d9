// The walk over two operands where runs are out of the ordinary: read positions inside a run, and run bytes that a
// producer left unwritten, zeros among them.
#include "support/protocol.h"

namespace test {
namespace {

QVO_RET literal_subtraction(qvo_seq_iterator_h it) {
    return literal_overlap_next(it, [it](size_t i) {
        const qvo_seq_iterator_h a = it->opd[0], b = it->opd[1];
        const auto left = literal_value<uint16_t>(a, a->tile_offs), right = literal_value<uint16_t>(b, b->tile_offs);
        literal_put(it, i, static_cast<uint16_t>(left - right));
    });
}

Member subtraction(Items<t_uint2> left, Items<t_uint2> right) {
    Member member;
    member.name = "qvo_seq_sub_uint2";
    member.operands = {operand<t_uint2>(std::move(left)), operand<t_uint2>(std::move(right))};
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) {
        return qvo_seq_sub_uint2(it, o[0], o[1]);
    };
    return member;
}

TEST(Overlap, StartsInsideARun) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto left = random_items<t_uint2>(random, 2000), right = random_items<t_uint2>(random, 2000);
        const size_t skipped_left = random.below(30), skipped_right = random.below(30);
        const unsigned taken_left = random.below(left[skipped_left].run);
        const unsigned taken_right = random.below(right[skipped_right].run);
        check_steps(subtraction(left, right), literal_subtraction, {}, [&](const Member::Operands& o) {
            for (qvo_seq_iterator_h it : o) ASSERT_EQ(it->next(it), QVO_S_OK);
            o[0]->tile_offs = static_cast<uint16_t>(skipped_left);
            o[0]->rle_offs = static_cast<uint8_t>(taken_left);
            o[1]->tile_offs = static_cast<uint16_t>(skipped_right);
            o[1]->rle_offs = static_cast<uint8_t>(taken_right);
        });
    }
}

TEST(Overlap, TakesUnwrittenRunBytesAsTheyAre) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        auto left = random_items<t_uint2>(random, 3000), right = random_items<t_uint2>(random, 3000);
        const unsigned percent = random.between(1, 60);
        for (auto* items : {&left, &right})
            for (auto& item : *items)
                if (random.chance(percent)) item.run = 0;
        check_steps(subtraction(left, right), literal_subtraction,
                    {{random_tile_sizes(random)}, {random_tile_sizes(random)}});
    }
}

}  // namespace
}  // namespace test
