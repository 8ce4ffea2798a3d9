// Sequences from several: the ordered union of two, elements at given positions, and a series joined.
#include <algorithm>

#include "support/protocol.h"

namespace test {
namespace {

// ---- The ordered union ---------------------------------------------------------------------------------------------

struct Ends {
    bool left = false, right = false;
};

template <class V> QVO_RET literal_union(qvo_seq_iterator_h it, qvo_seq_order_t order, Ends& ends) {
    const qvo_seq_iterator_h left = it->opd[0], right = it->opd[1];
    if (ends.left && ends.right) return QVO_S_CURSOR_END;
    size_t i = 0;
    for (; i < capacity_of(it->elem_size); ++i) {
        for (const auto& [side, ended] : {std::pair{left, &ends.left}, {right, &ends.right}}) {
            if (*ended || side->tile_offs < side->tile_size) continue;
            const QVO_RET rc = side->next(side);
            if (rc != QVO_S_OK && rc != QVO_S_CURSOR_END) return rc;
            *ended = rc == QVO_S_CURSOR_END;
            if (!*ended) side->tile_offs = 0;
        }
        if (ends.left && ends.right) {
            if (i == 0) return QVO_S_CURSOR_END;
            break;
        }
        const V l = ends.left ? V{} : literal_value<V>(left, left->tile_offs);
        const V r = ends.right ? V{} : literal_value<V>(right, right->tile_offs);
        const bool before = order == QVO_SEQ_DESC_ORDER ? l > r : l < r;
        if (!ends.left && (ends.right || before)) {
            literal_put(it, i, l);
            ++left->tile_offs;
        } else {
            if (!ends.left && !ends.right && l == r) ++left->tile_offs;
            literal_put(it, i, r);
            ++right->tile_offs;
        }
        literal_put_run(it, i, 1);
    }
    it->next_seq_no += i;
    return literal_end(it, i, QVO_S_OK);
}

using Union = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_order_t);

template <class T> MakeSource draw_ordered(Random& random, qvo_seq_order_t order, bool sorted) {
    Items<T> items = random_items<T>(random, random.between(4, 3000));
    if (sorted)
        std::sort(items.begin(), items.end(), [order](const Item<T>& a, const Item<T>& b) {
            if (a.value != a.value || b.value != b.value) return a.value == a.value;  // NaNs after
            return order == QVO_SEQ_DESC_ORDER ? a.value > b.value : a.value < b.value;
        });
    return operand<T>(items);
}

template <class T> void check_union(const char* name, Union construct, qvo_seq_iterator_next_t next) {
    check_random(binary_member(name, nullptr, next, T::code, T::width, qvo_seq_reset_union_iterator), 24,
                 [=](Random& random, unsigned seed, Member& m) {
                     static constexpr qvo_seq_order_t orders[] = {QVO_SEQ_ASC_ORDER, QVO_SEQ_DESC_ORDER,
                                                                  QVO_SEQ_NO_ORDER, 77};  // any other: ascending
                     const qvo_seq_order_t order = orders[seed % 4];
                     m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
                         return construct(it, o[0], o[1], order);
                     };
                     // Ordered as they should be, or not: the steps do not depend on it.
                     m.operands.clear();
                     for (int side = 0; side < 2; ++side)
                         m.operands.push_back(draw_ordered<T>(random, order, seed % 5 != 3));
                     return [=, ends = Ends{}](qvo_seq_iterator_h it) mutable {
                         return literal_union<typename T::value>(it, order, ends);
                     };
                 });
}

#define TEST_UNION(type) check_union<t_##type>(MEMBER(qvo_seq_union_##type));

TEST(Union, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_UNION) }

// ---- Elements at given positions -----------------------------------------------------------------------------------

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

#define TEST_MAP(type) check_map(any_type<t_##type>(), MEMBER(qvo_seq_map_##type));

TEST(Map, FollowsTheSteps){QVO_SEQ_FOR_FIXED_TYPES(TEST_MAP) TEST_MAP(char)}

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

// ---- A series of sequences joined ----------------------------------------------------------------------------------

/// A host's series over given sequences. Moving on loads the first tile of a sequence, as hosts may, or leaves an empty
/// one.
class Series {
 public:
    explicit Series(std::vector<std::unique_ptr<Source>> sequences, const AnyType& type = any_type<t_int4>(),
                    bool loads = false, size_t fail_at_sequence = SIZE_MAX)
        : sequences_(std::move(sequences)), loads_(loads), fail_at_sequence_(fail_at_sequence) {
        std::memset(static_cast<void*>(&meta_), 0xb6, sizeof meta_);
        meta_.user_data = meta_.iterator.buf = this;
        meta_.first = [](qvo_seq_meta_iterator_h meta) { return static_cast<Series*>(meta->user_data)->move(0); };
        meta_.next = [](qvo_seq_meta_iterator_h meta) {
            Series* const s = static_cast<Series*>(meta->user_data);
            const QVO_RET rc = s->move(s->sequence_ + 1);
            return rc == QVO_S_OK && s->loads_ ? s->load(), rc : rc;
        };
        meta_.iterator.next = [](qvo_seq_iterator_h it) { return static_cast<Series*>(it->buf)->load(); };
        meta_.iterator.elem_type = type.code;
        meta_.iterator.elem_size = static_cast<uint16_t>(type.width);
        meta_.iterator.rle_offs = 3;  // not consulted
    }
    qvo_seq_meta_iterator_h get() { return &meta_; }

 private:
    QVO_RET move(size_t sequence) {
        if (sequence == fail_at_sequence_) return 4711;
        if (sequence >= sequences_.size()) return QVO_S_CURSOR_END;
        sequence_ = sequence;
        meta_.iterator.tile_size = meta_.iterator.tile_offs = 0;
        return sequences_[sequence]->get()->reset(sequences_[sequence]->get());
    }
    QVO_RET load() {
        const qvo_seq_iterator_h source = sequences_[sequence_]->get();
        const QVO_RET rc = source->next(source);
        if (rc != QVO_S_OK) return rc;
        meta_.iterator.tile = source->tile;
        meta_.iterator.tile_size = source->tile_size;
        return QVO_S_OK;
    }

    std::vector<std::unique_ptr<Source>> sequences_;
    bool loads_;
    size_t fail_at_sequence_, sequence_ = 0;
    qvo_seq_meta_iterator_t meta_;
};

void check_join(const AnyType& type, QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_meta_iterator_h)) {
    SCOPED_TRACE(type.name);
    for_seeds(12, [&](Random& random, unsigned seed) {
        std::vector<std::unique_ptr<Source>> sequences;
        Items<t_char> all;
        for (unsigned n = seed == 0 ? 0 : random.between(1, 6); n != 0; --n) {
            const auto items = type.items(random, random.chance(30) ? 0 : random.between(1, 2500));
            all.insert(all.end(), items.begin(), items.end());
            sequences.push_back(type.operand(items)({random_tile_sizes(random)}));
        }
        Series series(std::move(sequences), type, random.chance(50));
        Record it;
        ASSERT_EQ(construct(it.get(), series.get()), QVO_S_OK);
        EXPECT_TRUE(it->elem_type == type.code && it->elem_size == type.width && it->opd[0] == nullptr);
        EXPECT_TRUE(it->next == qvo_seq_meta_iterator_next && it->reset == qvo_seq_meta_iterator_reset);
        EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->last_seq_no == ~qvo_seq_no_t{0});
        EXPECT_NE(series.get()->iterator.bounded, 1);
        for (unsigned round = 0; round < 2; ++round) {
            check_items<t_char>(drain<t_char>(it.get()), all);
            // All tiles but the last are full.
            const size_t capacity = capacity_of(type.width), rest = all.size() % capacity;
            if (!all.empty()) { EXPECT_EQ(it->tile_size, rest == 0 ? capacity : rest); }
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_TRUE(it->tile_size == 0 && it->next_seq_no == 0);
        }
    });
}

#define TEST_JOIN(type) check_join(any_type<t_##type>(), qvo_seq_join_##type);

TEST(Join, AllSequencesInFullTiles){QVO_SEQ_FOR_FIXED_TYPES(TEST_JOIN) TEST_JOIN(char)}

std::vector<std::unique_ptr<Source>> sequences_of(const AnyType& type, const std::vector<size_t>& sizes,
                                                  size_t failing = SIZE_MAX, QVO_RET code = 4711) {
    std::vector<std::unique_ptr<Source>> all;
    for (const size_t n : sizes)
        all.push_back(type.operand(Items<t_char>(n, {std::string(type.width, 'x'), 2}))(
            {{}, all.size() == failing ? 0 : SIZE_MAX, code}));
    return all;
}

TEST(Join, FailuresPassThrough) {
    const struct {
        size_t at_sequence, at_tile_of;
        std::vector<QVO_RET> codes;
        qvo_seq_no_t positions;
    } cases[] = {
        // 500 and 400 elements of run 2: an error drops what the call has produced, but its positions stay counted.
        {0, SIZE_MAX, {4711, 4711}, 0},
        {SIZE_MAX, 0, {4711}, 0},
        {1, SIZE_MAX, {4711}, 1000},
        {SIZE_MAX, 1, {4711}, 1000},
        {2, SIZE_MAX, {QVO_S_OK, 4711}, 1800},
        {SIZE_MAX, SIZE_MAX, {QVO_S_OK, QVO_S_OK, QVO_S_CURSOR_END, QVO_S_CURSOR_END}, 1800},
    };
    for (const auto& c : cases) {
        Series series(sequences_of(any_type<t_int4>(), {500, 400}, c.at_tile_of), any_type<t_int4>(), false,
                      c.at_sequence);
        Record it;
        ASSERT_EQ(qvo_seq_join_int4(it.get(), series.get()), QVO_S_OK);
        for (const QVO_RET code : c.codes) EXPECT_EQ(it->next(it.get()), code);
        EXPECT_EQ(it->next_seq_no, c.positions);
        if (c.at_tile_of != SIZE_MAX) { EXPECT_EQ(series.get()->iterator.tile_offs, 0) << "set back before the pull"; }
    }
}

TEST(Join, StopsOnBrokenTiles) {
    Series empty(sequences_of(any_type<t_int4>(), {3}, 0, QVO_S_OK));
    Record it;
    ASSERT_EQ(qvo_seq_join_int4(it.get(), empty.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped) << "success with an empty tile";
    // Sequences of a narrower type, whose tiles hold more elements than can be read at this width.
    Series narrow(sequences_of(any_type<t_int1>(), {2000}), any_type<t_int1>());
    ASSERT_EQ(qvo_seq_join_int8(it.get(), narrow.get()), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

}  // namespace
}  // namespace test
