// Boolean logic: every member against a model.
#include "support/protocol.h"

namespace test {
namespace {

qvo_seq_bool draw_bool(Random& random) {
    return random.chance(80) ? static_cast<qvo_seq_bool>(random.below(2)) : random.value<qvo_seq_bool>();
}

#define TEST_BINARY(name, op)     \
    check_binary<t_bool, t_bool>( \
        #name, name, name##_qvo_seq_bool_next, [](unsigned a, unsigned b) { return a op b; }, draw_bool);

TEST(Logic, WorksOnTheBytes){TEST_BINARY(qvo_seq_and, &) TEST_BINARY(qvo_seq_or, |) TEST_BINARY(qvo_seq_xor, ^)}

TEST(Logic, NotTakesWholeElementsWhereverTheReaderStands_deliberate) {
    Member member;
    member.name = "qvo_seq_not";
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) { return qvo_seq_not(it, o[0]); };
    member.type = QVO_DD_UINT1;
    member.width = 1;
    member.next = qvo_seq_not_qvo_seq_bool_next;
    member.reset = qvo_seq_reset_unary_iterator;
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto source = operand<t_bool>(random_items<t_bool>(random, random.between(4, 5000), draw_bool));
        const auto rle_offs = static_cast<uint8_t>(random.below(2) * random.below(255));
        member.operands = {[&](Script script) {
            auto made = source(std::move(script));
            (*made)->rle_offs = rle_offs;
            return made;
        }};
        if (seed == 0) check_protocol(member);
        const auto literal = [](qvo_seq_iterator_h it) {
            const qvo_seq_iterator_h a = it->opd[0];
            size_t i = 0;
            QVO_RET rc = QVO_S_OK;
            for (; i < 2048; ++i, ++a->tile_offs) {
                if (!literal_refill(a, i, &rc)) break;
                literal_put<qvo_seq_bool>(it, i, literal_value<qvo_seq_bool>(a, a->tile_offs) == 0);
                literal_put_run(it, i, literal_run(a, a->tile_offs));
                it->next_seq_no += literal_run(a, a->tile_offs);
            }
            if (rc == QVO_S_OK) it->tile_size = static_cast<uint16_t>(i);
            return rc;
        };
        Script script{random_tile_sizes(random)};
        if (seed % 4 == 3) script.stop_at = random.below(3000), script.stop_code = 4711;
        check_steps(member, literal, {script});
    }
}

}  // namespace
}  // namespace test
