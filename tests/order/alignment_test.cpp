// Stretch, stretch0 and as-of join: all members against the literal steps, which are stated on bytes, so that one
// statement serves all types; and the oddities.
#include "support/number.h"

namespace test {
namespace {

/// One member, its filler (where it has one) as bytes.
struct Alignment {
    const char* name;
    uint8_t ts, type;
    QVO_RET (*construct)(qvo_seq_iterator_h, const Member::Operands&, const std::string& filler);
    qvo_seq_iterator_next_t next;
    qvo_seq_iterator_reset_t reset;
};

/// A member by the types of its timestamps and values; last a comma and `filler`, where it has one.
#define ALIGNMENT(stem, ts, type, ...)                                                         \
    Alignment {                                                                                \
#stem "_" #ts "_" #type, t_##ts::code, t_##type::code,                                       \
            [](qvo_seq_iterator_h it, const Member::Operands& o, const std::string& bytes) {         \
                qvo_##type filler;                                                                   \
                std::memcpy(&filler, bytes.data(), sizeof filler);                                   \
                return stem##_##ts##_##type(it, o[0], o[1], o[2] __VA_ARGS__);                       \
            },                                                                                       \
            stem##_##ts##_##type##_next, stem##_##ts##_##type##_reset \
    }

uint64_t literal_stamp(const qvo_seq_iterator_t* it) {
    const size_t i = it->tile_offs;
    return it->elem_size == 4 ? literal_value<uint32_t>(it, i) : literal_value<uint64_t>(it, i);
}
void literal_put_single(qvo_seq_iterator_h it, size_t i, const std::string& bytes) {
    literal_put_bytes(it, i, bytes);
    literal_put_run(it, i, 1);
}

/// Refills an operand; what it returns is up to the caller.
QVO_RET literal_pull(qvo_seq_iterator_h operand) {
    QVO_RET rc = QVO_S_OK;
    literal_refill(operand, 0, &rc);
    return rc;
}

/// The next position of the values.
QVO_RET literal_take_value(qvo_seq_iterator_h values, std::string* bytes) {
    if (const QVO_RET rc = literal_pull(values); rc != QVO_S_OK) return rc;
    *bytes = literal_bytes(values);
    literal_take(values, 1);
    return QVO_S_OK;
}

/// Ends a call that has produced n elements.
QVO_RET literal_deliver(qvo_seq_iterator_h it, size_t n) {
    it->next_seq_no += n;
    return literal_end(it, n, QVO_S_OK);
}

/// The steps of stretch and of as-of join, with their state. Both move the second timeline alone.
Steps literal_steps(const std::string& filler, bool asof) {
    const std::string zero(filler.size(), '\0');
    return [=, value = zero, previous = zero, timestamp = uint64_t{0},
            ended = false](qvo_seq_iterator_h it) mutable -> QVO_RET {
        const qvo_seq_iterator_h ts1 = it->opd[0], ts2 = it->opd[1];
        const size_t capacity = capacity_of(it->elem_size);
        bool delivered = ts2->tile_size != 0;
        for (size_t i = 0; i < capacity; ++i) {
            if (QVO_RET rc; !literal_refill(ts1, i, &rc)) return rc == QVO_S_OK ? literal_deliver(it, i) : rc;
            const uint64_t now = literal_stamp(ts1);
            if (!ended && now >= timestamp) {
                previous = value;
                ++ts2->tile_offs;
                QVO_RET rc = literal_pull(ts2);
                ended = rc == QVO_S_CURSOR_END && (delivered || !asof);
                if (rc != QVO_S_OK && !ended) return rc;
                if (ended && !asof) value = filler;
                if (!ended) {
                    delivered = true;
                    timestamp = literal_stamp(ts2);
                    if (rc = literal_take_value(it->opd[2], &value); rc != QVO_S_OK) return rc;
                }
            }
            literal_put_single(it, i, !asof || (!ended && timestamp <= now) ? value : previous);
        }
        return literal_deliver(it, capacity);
    };
}
Steps stretch_steps(const std::string& filler) { return literal_steps(filler, false); }
Steps asof_join_steps(const std::string& filler) { return literal_steps(filler, true); }

Steps stretch0_steps(const std::string& filler) {
    return [filler, left_end = false, right_end = false](qvo_seq_iterator_h it) mutable -> QVO_RET {
        const qvo_seq_iterator_h ts1 = it->opd[0], ts2 = it->opd[1], values = it->opd[2];
        const size_t capacity = capacity_of(it->elem_size);
        if (left_end && right_end) return QVO_S_CURSOR_END;
        for (size_t i = 0; i < capacity; ++i) {
            for (const auto& [ts, end] : {std::pair(ts1, &left_end), {ts2, &right_end}}) {
                if (*end) continue;
                const QVO_RET rc = literal_pull(ts);
                *end = rc == QVO_S_CURSOR_END;
                if (left_end && right_end) return i != 0 ? literal_deliver(it, i) : rc;
                if (rc != QVO_S_OK && !*end) return rc;
            }
            std::string bytes = filler;
            const bool fills = !left_end && (right_end || literal_stamp(ts1) < literal_stamp(ts2));
            if (!left_end && (fills || literal_stamp(ts1) == literal_stamp(ts2))) ++ts1->tile_offs;
            if (!left_end && !fills) ++ts2->tile_offs;
            if (!fills)
                if (const QVO_RET rc = literal_take_value(values, &bytes); rc != QVO_S_OK) return rc;
            literal_put_single(it, i, bytes);
        }
        return literal_deliver(it, capacity);
    };
}

/// Timestamps that mostly ascend, with equal ones among them, and the extremes.
Elements random_timeline(Random& random, uint8_t type, size_t n, unsigned most_apart) {
    std::vector<Number> stamps;
    Number at = random.below(4);
    for (size_t i = 0; i < n; ++i, at += random.below(most_apart + 1)) stamps.push_back(at);
    if (n != 0 && random.chance(20)) stamps.back() = wrapped(type, -1);
    if (n != 0 && random.chance(20)) stamps[random.below(unsigned(n))] = random_number(random, type);
    return elements_of(type, stamps);
}

/// A member against the literal steps; steps(filler) makes a fresh statement.
void check_alignment(const Alignment& alignment, bool endless, Steps (*steps)(const std::string& filler)) {
    Member member = unary_member(alignment.name, nullptr, alignment.next, alignment.type, width_of(alignment.type),
                                 alignment.reset);
    member.endless = endless;
    const auto draw = [&](Random& random, unsigned seed, Member& m) {
        const std::string filler = bytes_of(alignment.type, random_number(random, alignment.type));
        m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
            return alignment.construct(it, o, filler);
        };
        const auto set = [&](const Elements& ts1, const Elements& ts2, const Elements& values) {
            m.operands = {operand(ts1), operand(ts2), operand(values)};
            return steps(filler);
        };
        if (seed == 0)  // The last timestamp of ts1 is the largest, so that stretch0 ends with both.
            return set(elements_of(alignment.ts, {7, 8, 9, 12}), elements_of(alignment.ts, {1, 3, 8, 10}),
                       elements_of(alignment.type, {11, 22, 33, 44}));
        const size_t n1 = random.chance(5) ? 0 : random.between(1, 2500);
        const size_t n2 = random.chance(5) ? 0 : random.chance(30) ? 5 : random.between(1, 2500);
        const bool long_runs = random.chance(50);
        Elements values = random_elements(random, alignment.type, long_runs ? n2 : n2 + random.below(700));
        if (!long_runs)
            for (auto& item : values.items) item.run = random.chance(95) ? 1 : 3;
        if (random.chance(10)) values = values.cut(0, n2 / 2);
        const Number late = wrapped(alignment.ts, -1) / (1 + random.below(2));
        return set(endless && random.chance(50) ? elements_of(alignment.ts, {late})
                                                : random_timeline(random, alignment.ts, n1, 3),
                   random_timeline(random, alignment.ts, n2, random.between(1, 20)), values);
    };
    check_random(member, 20, draw, endless ? 12 : 10000);
}

TEST(Alignment, FollowsTheSteps) {
#define CHECK(ts, type)                                                                      \
    check_alignment(ALIGNMENT(qvo_seq_stretch, ts, type, , filler), true, stretch_steps);    \
    check_alignment(ALIGNMENT(qvo_seq_stretch0, ts, type, , filler), false, stretch0_steps); \
    check_alignment(ALIGNMENT(qvo_seq_asof_join, ts, type), true, asof_join_steps);
    QVO_SEQ_FOR_ALIGNED_TYPES(CHECK)
}

/// Three values and the last one again and again, in two tiles.
template <class Construct, class... Filler>
void check_tiles(Construct construct, Items<t_uint8> a, const std::vector<int>& expected, Filler... filler) {
    Source ts1(t_uint8{}, a), ts2(t_uint8{}, {{1}, {4}, {9}, {200}}), values(t_int4{}, {{10}, {40}, {90}, {99}});
    Record it;
    EXPECT_EQ(construct(it.get(), ts1.get(), ts2.get(), values.get(), filler...), QVO_S_OK);
    Items<t_int4> items, all(2 * 819, {expected.back()});
    for (size_t i = 0; i < expected.size(); ++i) all[i].value = expected[i];
    EXPECT_EQ(read_items<t_int4>(it.get(), items, 2 * 819), QVO_S_OK);
    check_items<t_int4>(items, all);
    EXPECT_EQ(ts1->tile_offs, 0);
}

TEST(Alignment, TheFirstTimelineNeverMovesOn_deliberate) {
    check_tiles(qvo_seq_stretch_uint8_int4, {{5}, {100}}, {10, 40, 90}, 0);
    check_tiles(qvo_seq_asof_join_uint8_int4, {{5}, {100}}, {10, 40, 40});
    check_tiles(qvo_seq_asof_join_uint8_int4, {{0}}, {0});
}

TEST(Stretch0, AfterTheFirstTimelineTheValuesDecide_deliberate) {
    Items<t_int4> v(1000, {7});
    v[0].value = 10;
    Source ts1(t_uint8{}, {{1}}), ts2(t_uint8{}, {{2}, {3, 7}}), values(t_int4{}, v);  // a run that is not looked at
    Record it;
    ASSERT_EQ(qvo_seq_stretch0_uint8_int4(it.get(), ts1.get(), ts2.get(), values.get(), 0), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->tile_size, 819);
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END) << "the other values are dropped";
    EXPECT_TRUE(it->next_seq_no == 819 && ts2->tile_offs == 0);
}

/// Four elements of each operand, with one run that is not 1: the fatal stop, at the latest in the second call.
bool stops_on_run(const Alignment& alignment, size_t which, size_t element) {
    Elements ts[] = {elements_of(alignment.ts, {5, 6, 7, 8}), elements_of(alignment.ts, {1, 2, 6, 7})};
    ts[which].items[element].run = 2;
    const auto ts1 = source_of(ts[0]), ts2 = source_of(ts[1]), values = source_of(elements_of<t_int4>({{1, 255}}));
    Record it;
    EXPECT_EQ(alignment.construct(it.get(), {ts1->get(), ts2->get(), values->get()}, std::string(4, '\0')), QVO_S_OK);
    return catch_stop([&] { it->next(it.get()); }).stopped;
}

TEST(Alignment, TimestampsThatMoveHaveRun1) {
    for (size_t element = 0; element < 3; ++element) {
        for (const Alignment& alignment :
             {ALIGNMENT(qvo_seq_stretch, uint4, int4, , filler), ALIGNMENT(qvo_seq_asof_join, uint8, int4)}) {
            EXPECT_TRUE(stops_on_run(alignment, 1, element));
            EXPECT_FALSE(stops_on_run(alignment, 0, element));
        }
        for (const size_t which : {0, 1})
            EXPECT_TRUE(stops_on_run(ALIGNMENT(qvo_seq_stretch0, datetime, int4, , filler), which, element));
    }
    // Also past the end of the other timeline.
    Source ts1(t_uint8{}, {{5}, {6, 2}}), ts2(t_uint8{}, {{1}}), values(t_int4{}, {{10}});
    Record it;
    EXPECT_EQ(qvo_seq_stretch0_uint8_int4(it.get(), ts1.get(), ts2.get(), values.get(), 0), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

}  // namespace
}  // namespace test
