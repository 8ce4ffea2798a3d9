// Elements at given positions.
#include "support/protocol.h"

namespace test {
namespace {

struct Stopped {};

QVO_RET literal_map(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0], positions = it->opd[1];
    qvo_seq_no_t at = it->context[0];
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    for (; i < capacity_of(it->elem_size) && literal_refill(positions, i, &rc); ++i) {
        const auto p = literal_value<qvo_uint8>(positions, positions->tile_offs++);
        while (p >= input->next_seq_no) {
            at = input->next_seq_no;
            input->tile_offs = 0;
            if (rc = input->next(input); rc != QVO_S_OK) return rc;
        }
        if (p < at) return QVO_E_SEQ_OUT_OF_ORDER;
        for (;;) {
            if (input->tile_offs >= input->tile_size) throw Stopped{};
            const qvo_seq_no_t end = at + literal_run(input, input->tile_offs) - input->rle_offs;
            if (p < end) break;
            at = end;
            ++input->tile_offs;
            input->rle_offs = 0;
        }
        input->rle_offs = static_cast<uint8_t>(p - at);
        at = p;
        literal_copy(it, i, input, input->tile_offs);
        literal_put_run(it, i, 1);
    }
    if (rc != QVO_S_OK) return rc;
    it->context[0] = at;
    it->next_seq_no += i;
    return literal_end(it, i, rc);
}

/// Whether `next` comes to the fatal stop, in as many calls as check_steps makes.
bool stops(const Member& member, const std::vector<Script>& scripts, QVO_RET (*next)(qvo_seq_iterator_h)) {
    const auto input = member.operands[0](scripts[0]), positions = member.operands[1](scripts[1]);
    Record it;
    EXPECT_EQ(member.construct(it.get(), {input->get(), positions->get()}), QVO_S_OK);
    bool thrown = false;
    const Stop stop = catch_stop([&] {
        try {
            for (unsigned ends = 0; ends < 2;) ends += next(it.get()) != QVO_S_OK;
        } catch (Stopped) { thrown = true; }
    });
    return stop.stopped || thrown;
}

void check_map(const AnyType& type, const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next) {
    Member member = binary_member(name, construct, next, type.code, type.width, qvo_seq_map_reset);
    for_seeds(30, [&](Random& random, unsigned seed) {
        SCOPED_TRACE(member.name);
        Items<t_char> input = type.items(random, random.between(4, 3000));
        if (seed % 3 == 0)
            for (auto& item : input) item.run = 1;
        const uint64_t length = expand(input).size();
        Items<t_uint8> positions;
        const unsigned stride = random.chance(50) ? 3 : random.between(4, 300);
        for (uint64_t p = 0; (p < length && positions.size() < 4000) || positions.size() < 4; p += random.below(stride))
            positions.push_back({seed == 0 ? std::min(p, length - 1) : p, 1});
        if (seed != 0 && random.chance(20)) positions[random.below(static_cast<unsigned>(positions.size()))].value = 3;
        member.operands = {type.operand(input), operand<t_uint8>(positions)};
        if (seed == 0) check_protocol(member);
        const std::vector<Script> scripts{random_script(random, seed), random_script(random, seed + 1)};
        if (stops(member, scripts, literal_map))
            EXPECT_TRUE(stops(member, scripts, next));
        else
            check_steps(member, literal_map, scripts);
    });
}

#define TEST_MEMBER(type) check_map(any_type<t_##type>(), MEMBER(qvo_seq_map_##type));

TEST(Map, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) TEST_MEMBER(char) }

TEST(Map, CountsFromThePreviousPositionInsideARun_deliberate) {
    Source values(t_int4{}, {{7, 4}, {8, 9}}), positions(t_uint8{}, {{1}, {2}, {4}});
    check_items<t_int4>(drained<t_int4>(qvo_seq_map_int4, values.get(), positions.get()), {{7}, {7}, {7}});
}

TEST(Map, PositionsAreUint8AloneAndHaveNoRuns) {
    Source values(t_int4{}, {{1}, {2}, {3}}), times(t_datetime{}, {{0}}), positions(t_uint8{}, {{1, 2}});
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_map_int4, values.get(), times.get());
    Record it;
    ASSERT_EQ(qvo_seq_map_int4(it.get(), values.get(), positions.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

}  // namespace
}  // namespace test
