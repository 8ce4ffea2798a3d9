// Concatenation of two sequences.
#include "support/protocol.h"

namespace test {
namespace {

QVO_RET literal_copy_tile(qvo_seq_iterator_h it, qvo_seq_iterator_h from) {
    const QVO_RET rc = from->next(from);
    if (rc != QVO_S_OK) return rc;
    from->tile_offs = 0;
    for (size_t i = 0; i < from->tile_size; ++i) {
        literal_copy(it, i, from, i);
        literal_put_run(it, i, literal_run(from, i));
    }
    it->tile_size = from->tile_size;
    return QVO_S_OK;
}

QVO_RET literal_concat(qvo_seq_iterator_h it, bool& in_left) {
    if (in_left) {
        const QVO_RET rc = literal_copy_tile(it, it->opd[0]);
        if (rc == QVO_S_OK) it->next_seq_no = it->opd[0]->next_seq_no;
        if (rc != QVO_S_CURSOR_END) return rc;
        in_left = false;
    }
    const qvo_seq_no_t before = it->opd[1]->next_seq_no;
    const QVO_RET rc = literal_copy_tile(it, it->opd[1]);
    if (rc == QVO_S_OK) it->next_seq_no += it->opd[1]->next_seq_no - before;
    return rc;
}

TEST(Concat, FollowsTheSteps) {
    for (const AnyType& type : all_types()) {
        Member member = binary_member("concat " + type.name, qvo_seq_concat, qvo_seq_concat_next, type.code, type.width,
                                      qvo_seq_concat_reset);
        member.before = [](const Member::Operands& o) { o[0]->tile_offs = 1; };  // read positions are not used
        check_random(member, 9, [&](Random& random, unsigned, Member& m) {
            m.operands = {type.operand(random, random.between(4, 3000)), type.operand(random, random.between(4, 3000))};
            return [in_left = true](qvo_seq_iterator_h it) mutable { return literal_concat(it, in_left); };
        });
    }
}

TEST(Concat, TilesOfBothOperandsStayApart) {
    Source left(t_int2{}, {{1, 4}, {2, 3}}), right(t_int2{}, {{3, 2}});
    Record it;
    ASSERT_EQ(qvo_seq_concat(it.get(), left.get(), right.get()), QVO_S_OK);
    for (unsigned round = 0; round < 2; ++round) {
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        check_items<t_int2>(tile_items<t_int2>(it.it), {{1, 4}, {2, 3}});
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        check_items<t_int2>(tile_items<t_int2>(it.it), {{3, 2}});
        EXPECT_EQ(it->next_seq_no, 9U);
        EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
        EXPECT_EQ(it->reset(it.get()), QVO_S_OK);
    }
}

TEST(Concat, RefusesDifferentElements) {
    Source ints(t_int8{}, {{1}}), times(t_datetime{}, {{1}});
    Source narrow(t_char{}, {{"a"}}, {}, 3), wide(t_char{}, {{"a"}}, {}, 4);
    Record it;
    EXPECT_EQ(qvo_seq_concat(it.get(), ints.get(), times.get()), QVO_E_ILLEGAL_TYPE);
    EXPECT_EQ(qvo_seq_concat(it.get(), narrow.get(), wide.get()), QVO_E_ILLEGAL_TYPE);
    EXPECT_EQ(narrow->bounded, 0);
}

}  // namespace
}  // namespace test
