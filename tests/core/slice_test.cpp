// Limit, tee and run-length decoding.
#include "support/protocol.h"

namespace test {
namespace {

// ---- Limit

QVO_RET literal_limit(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h operand = it->opd[0];
    unsigned trim = 0;
    if (it->next_seq_no < it->first_seq_no) {
        qvo_seq_no_t skipped = 0;
        while (operand->next_seq_no - operand->first_seq_no <= it->first_seq_no) {
            skipped = operand->next_seq_no - operand->first_seq_no;
            if (const QVO_RET rc = operand->next(operand); rc != QVO_S_OK) return rc;
        }
        for (; skipped + literal_run(operand, operand->tile_offs) <= it->first_seq_no; ++operand->tile_offs)
            skipped += literal_run(operand, operand->tile_offs);
        trim = static_cast<unsigned>(it->first_seq_no - skipped);
        it->next_seq_no = it->first_seq_no;
    }
    size_t i = 0;
    for (QVO_RET rc = QVO_S_OK; i < capacity_of(it->elem_size) && it->next_seq_no <= it->last_seq_no; ++i) {
        if (!literal_refill(operand, i, &rc)) return literal_end(it, i, rc);
        literal_copy(it, i, operand, operand->tile_offs);
        literal_put_run(it, i, literal_run(operand, operand->tile_offs++) - trim);
        it->next_seq_no += literal_run(it, i);
        trim = 0;
    }
    if (i == 0) return QVO_S_CURSOR_END;
    if (it->next_seq_no > it->last_seq_no) {
        const qvo_seq_no_t surplus = it->next_seq_no - it->last_seq_no - 1;
        literal_put_run(it, i - 1, literal_run(it, i - 1) - static_cast<unsigned>(surplus));
        it->next_seq_no -= surplus;
    }
    return literal_end(it, i, QVO_S_OK);
}

TEST(Limit, FollowsTheSteps) {
    for (const AnyType& type : all_types()) {
        Member member = unary_member("limit " + type.name, nullptr, qvo_seq_limit_next, type.code, type.width,
                                     qvo_seq_reset_unary_agg_iterator);
        member.type_checked = {false};
        check_random(member, 24, [&](Random& random, unsigned seed, Member& m) {
            const Items<t_char> items = type.items(random, random.between(4, 3000));
            const auto positions = static_cast<unsigned>(expand(items).size());
            const qvo_seq_no_t first = seed == 0 || random.chance(25) ? 0 : random.below(positions);
            const qvo_seq_no_t last =
                random.chance(25) ? ~qvo_seq_no_t{0}
                                  : first + random.below(2 * positions) - random.chance(5);  // last may be before first
            m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
                return qvo_seq_limit(it, o[0], first, last);
            };
            m.operands = {type.operand(items)};
            return literal_limit;
        });
    }
}

TEST(Limit, OverAConstantAndOverALimit) {
    Record constant, inner, outer;
    ASSERT_EQ(qvo_seq_const_int4(constant.get(), 42), QVO_S_OK);
    ASSERT_EQ(qvo_seq_limit(inner.get(), constant.get(), 5, 9), QVO_S_OK);
    ASSERT_EQ(inner->next(inner.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(inner.it), {{42, 5}});
    EXPECT_EQ(inner->next_seq_no, 10U);
    ASSERT_EQ(inner->reset(inner.get()), QVO_S_OK);
    // The inner one starts at position 5 and has produced nothing, not a negative number of positions.
    ASSERT_EQ(qvo_seq_limit(outer.get(), inner.get(), 2, 3), QVO_S_OK);
    ASSERT_EQ(outer->next(outer.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(outer.it), {{42, 2}});
    EXPECT_EQ(outer->next(outer.get()), QVO_S_CURSOR_END);
}

TEST(Limit, StopsWhereTheOperandHasCountedMoreThanItHolds) {
    Source source(t_int4{}, {{1, 10}, {2, 10}});
    Record it;
    ASSERT_EQ(qvo_seq_limit(it.get(), source.get(), 5, 20), QVO_S_OK);
    ASSERT_EQ(source->next(source.get()), QVO_S_OK);  // somebody else has read the operand
    source->tile_offs = 2;
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

// ---- Tee

struct Tee {
    Source source;
    Record readers[2];
    explicit Tee(const Items<t_int4>& items, Script script = {}) : source(t_int4{}, items, std::move(script)) {
        EXPECT_EQ(qvo_seq_tee(readers[0].get(), readers[1].get(), source.get()), QVO_S_OK);
    }
    QVO_RET next(size_t reader) { return readers[reader]->next(readers[reader].get()); }
};

TEST(Tee, BothReadersSeeTheWhole) {
    for_seeds(20, [](Random& random, unsigned) {
        Items<t_int4> items = random_items<t_int4>(random, random.between(1, 4000));
        for (auto& item : items) item.run = 1;
        Tee tee(items, {random_tile_sizes(random)});
        for (unsigned round = 0; round < 2; ++round) {
            Items<t_int4> seen[2];
            // A tile apart at most.
            for (int ahead = 0, ends = 0; ends < 2;) {
                const size_t reader = ahead > 0 ? 1 : ahead < 0 ? 0 : random.below(2);
                ahead += reader == 0 ? 1 : -1;
                const QVO_RET rc = tee.next(reader);
                ends += rc != QVO_S_OK;
                ASSERT_EQ(rc, ends == 0 ? QVO_S_OK : QVO_S_CURSOR_END);
                if (rc != QVO_S_OK) continue;
                for (const auto& item : tile_items<t_int4>(tee.readers[reader].it)) seen[reader].push_back(item);
                EXPECT_EQ(tee.readers[reader]->next_seq_no, seen[reader].size());
            }
            for (const auto& s : seen) check_items(s, items);
            for (Record& reader : tee.readers) reader->tile_offs = reader->rle_offs = 1;
            ASSERT_EQ(tee.readers[round]->reset(tee.readers[round].get()), QVO_S_OK);
            EXPECT_EQ(tee.source.n_reset(), round + 1);
            for (const auto& [it] : tee.readers)
                EXPECT_TRUE(it.tile_size == 0 && it.tile_offs == 0 && it.rle_offs == 0 && it.next_seq_no == 0);
        }
    });
}

TEST(Tee, FieldsErrorsAndStops) {
    Tee tee({{1}, {2}, {3}}, {{1}, 2, 4711, QVO_S_OK});
    for (size_t i = 0; i < 2; ++i) {
        const qvo_seq_iterator_t& it = tee.readers[i].it;
        EXPECT_TRUE(it.opd[0] == tee.source.get() && it.opd[1] == tee.readers[1 - i].get() && it.opd[2] == nullptr);
        EXPECT_TRUE(it.elem_type == QVO_DD_INT4 && it.elem_size == 4 && it.bounded == 0 && it.tile_size == 0);
        EXPECT_TRUE(it.next == qvo_seq_tee_next && it.reset == qvo_seq_reset_tee_iterator);
        EXPECT_TRUE(it.prepare == nullptr && it.merge == nullptr);
        EXPECT_TRUE(it.first_seq_no == 0 && it.next_seq_no == 0 && it.last_seq_no == ~qvo_seq_no_t{0});
    }
    EXPECT_EQ(tee.source->bounded, 1);
    {
        const BindingCheck check;
        Record second;
        expect_refused(QVO_E_SEQ_BOUNDED, qvo_seq_tee, second.get(), tee.source.get());
    }
    for (const QVO_RET code : {QVO_S_OK + 0, QVO_S_OK + 0, 4711}) EXPECT_EQ(tee.next(0), code);
    EXPECT_EQ(tee.next(1), QVO_S_OK) << "a reader that has produced nothing takes whatever tile the other one holds";
    EXPECT_EQ(tee.readers[1]->next_seq_no, 2U);

    Tee apart({{1}, {2}, {3}}, {{1}});
    for (const size_t reader : {0U, 1U, 0U, 0U}) EXPECT_EQ(apart.next(reader), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { apart.next(1); }).stopped) << "two tiles apart";
    Tee empty({{1}}, {{}, 0, QVO_S_OK, QVO_S_OK});
    EXPECT_TRUE(catch_stop([&] { empty.next(0); }).stopped);
}

TEST(Tee, ALaggingReaderStopsAtLongerRuns_deliberate) {
    Tee tee({{1, 5}, {2, 5}}, {{1}});
    for (const size_t reader : {0U, 1U, 0U}) EXPECT_EQ(tee.next(reader), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { tee.next(1); }).stopped);
}

// ---- Run-length decoding

QVO_RET literal_decode(qvo_seq_iterator_h it) {
    const auto step = [=](size_t i) {
        literal_copy(it, i, it->opd[0], it->opd[0]->tile_offs);
        literal_take(it->opd[0], 1);
        return true;
    };
    return literal_loop(it, 1, step, Counts::elements, 128);
}

void check_decode(const AnyType& type) {
    const auto construct = [](qvo_seq_iterator_h it, qvo_seq_iterator_h operand) {
        const qvo_seq_iterator_t before = *it;
        const QVO_RET rc = qvo_seq_rle_decode(it, operand);
        EXPECT_TRUE(it->elem_type == operand->elem_type &&
                    it->elem_size == operand->elem_size);  // of a refused one too
        if (rc != QVO_S_OK)
            it->elem_type = before.elem_type, it->elem_size = before.elem_size;
        else
            EXPECT_EQ(it->last_seq_no, operand->last_seq_no);
        return rc;
    };
    Member member = unary_member("rle_decode " + type.name + " " + std::to_string(type.width), construct,
                                 qvo_seq_rle_decode_next, type.code, type.width);
    member.type_checked = {false};
    check_random(member, 9, [&](Random& random, unsigned, Member& m) {
        m.operands = {type.operand(random, random.between(4, 500))};
        return literal_decode;
    });
}

TEST(RleDecode, OneElementPerPositionAndNoRunBytes_deliberate) {
    for (const AnyType& type : all_types()) check_decode(type);
    for (const size_t width : {1U, 3U, 4U, 31U, 200U}) check_decode(any_type<t_char>(width));
}

}  // namespace
}  // namespace test
