// Sequences shaped anew: repeat, thin, diff and trend, norm, concat, reverse.
#include "support/protocol.h"

namespace test {
namespace {

/// A one-operand member that does not look for empty tiles.
Member shaping_member(const char* name, const std::function<std::remove_pointer_t<ConstructUnary>>& construct,
                      qvo_seq_iterator_next_t next, const AnyType& type) {
    Member member = unary_member(name, construct, next, type.code, type.width);
    member.stops_on_empty = {false};
    return member;
}

/// The member against its steps; for every other seed also from a read position in a run.
void check_shaping(const Member& member, const AnyType& type, const Steps& literal, unsigned longest_run = 255,
                   bool starts_in_run = false) {
    check_random(member, 9, [&](Random& random, unsigned seed, Member& m) {
        Items<t_char> items = type.items(random, seed == 0 ? 5 : random.between(4, 3000));
        for (auto& item : items) item.run = std::min(item.run, longest_run);
        m.operands = {type.operand(items)};
        m.before = [=](const Member::Operands& o) {
            if (!starts_in_run || seed % 2 == 0 || o[0]->next(o[0]) != QVO_S_OK) return;
            o[0]->tile_offs = o[0]->tile_size / 2;
            o[0]->rle_offs = static_cast<uint8_t>(literal_run(o[0], o[0]->tile_offs) - 1);
        };
        return literal;
    });
}

// ---- Repeated positions ---------------------------------------------------------------------------------------------

QVO_RET literal_repeat(qvo_seq_iterator_h it, int n_times) {
    const qvo_seq_iterator_h input = it->opd[0];
    const QVO_RET rc = literal_tile_next(it, input, [=](size_t i) {
        literal_copy(it, i, input, i);
        literal_put_run(it, i, literal_run(input, i) * static_cast<unsigned>(n_times));
    });
    if (rc == QVO_S_OK) it->next_seq_no = input->next_seq_no * static_cast<uint64_t>(int64_t{n_times});
    return rc;
}

template <class Construct>
void check_repeat(const AnyType& type, const char* name, Construct repeat, qvo_seq_iterator_next_t next) {
    for (const int n_times : {3, 0, 1000, -2}) {
        Member member = shaping_member(
            name, [=](auto it, auto input) { return repeat(it, input, n_times); }, next, type);
        member.reset = qvo_seq_reset_repeat_iterator;
        member.checks_tiles = false;  // runs of 0, where the low bits are
        check_shaping(member, type, [=](qvo_seq_iterator_h it) { return literal_repeat(it, n_times); });
    }
}

#define TEST_REPEAT(type) check_repeat(any_type<t_##type>(), MEMBER(qvo_seq_repeat_##type));

TEST(Repeat, KeepsTheLowBitsOfALongRun_deliberate){QVO_SEQ_FOR_FIXED_TYPES(TEST_REPEAT) TEST_REPEAT(char)}

// ---- Every step-th position -----------------------------------------------------------------------------------------

// The context holds origin, step and the position of the read point.
QVO_RET literal_thin(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    const uint64_t origin = it->context[0], step = it->context[1];
    uint64_t& curr_pos = it->context[2];
    uint64_t next_pos = it->next_seq_no * step + origin;
    size_t i = 0;
    for (; i < capacity_of(it->elem_size); ++i) {
        while (next_pos >= input->next_seq_no) {
            curr_pos = input->next_seq_no;
            if (const QVO_RET rc = input->next(input); rc == QVO_S_CURSOR_END && i != 0)
                return it->next_seq_no += i, literal_end(it, i, QVO_S_OK);
            else if (rc != QVO_S_OK)
                return rc;
            input->tile_offs = 0;
        }
        for (;; ++input->tile_offs) {
            const uint64_t end = curr_pos + literal_run(input, input->tile_offs) - input->rle_offs;
            if (next_pos < end) break;
            curr_pos = end;
            input->rle_offs = 0;
        }
        literal_copy(it, i, input, input->tile_offs);
        literal_put_run(it, i, 1);
        input->rle_offs = static_cast<uint8_t>(next_pos - curr_pos);
        curr_pos = next_pos;
        next_pos += step;
    }
    return it->next_seq_no += i, literal_end(it, i, QVO_S_OK);
}

template <class Construct>
Member thin_member(const AnyType& type, const char* name, Construct thin, qvo_seq_iterator_next_t next, uint64_t origin,
                   uint64_t step) {
    return shaping_member(
        name, [=](auto it, auto input) { return thin(it, input, origin, step); }, next, type);
}

#define TEST_THIN(type)                                                                             \
    for (const auto& [origin, step] : {std::pair(0, 1), {1, 2}, {3, 7}, {2, 500}})                  \
        check_shaping(thin_member(any_type<t_##type>(), MEMBER(qvo_seq_thin_##type), origin, step), \
                      any_type<t_##type>(), literal_thin, 1);

TEST(Thin, FollowsTheSteps){QVO_SEQ_FOR_FIXED_TYPES(TEST_THIN) TEST_THIN(char)}

// In tiles of at most 100 elements positions that were shifted beyond the last one still find run bytes.
TEST(Thin, KeepsThePositionInARunAsItStands_deliberate) {
    for_seeds(60, [](Random& random, unsigned) {
        Member member =
            thin_member(any_type<t_int1>(), MEMBER(qvo_seq_thin_int1), random.below(300), random.between(1, 400));
        member.operands = {operand<t_int1>(random_items<t_int1>(random, 1000))};
        check_steps(member, literal_thin, {{{random.between(1, 100), random.between(1, 100)}}}, nullptr, 40);
    });
}

TEST(Thin, AStepOfZeroRepeatsOneElement_deliberate) {
    Source source(t_int4{}, {{1}, {2}, {3}});
    Record it;
    ASSERT_EQ(qvo_seq_thin_int4(it.get(), source.get(), 1, 0), QVO_S_OK);
    Items<t_int4> items;
    EXPECT_EQ(read_items<t_int4>(it.get(), items, 3 * 819), QVO_S_OK);
    check_items<t_int4>(items, Items<t_int4>(3 * 819, {2, 1}));
}

TEST(Thin, PositionsThatLeaveTheTileStop) {
    // The last run of the first tile was taken up to its last position; the second tile is full, and read to its end.
    Items<t_double> items(456, {0, 1});
    items[0].run = 255;
    Source source(t_double{}, items, {{1, 455}});
    Record it;
    ASSERT_EQ(qvo_seq_thin_double(it.get(), source.get(), 254, 455), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

// ---- Differences and directions of change ---------------------------------------------------------------------------

// Both keep the previous value in the accumulator of their context, and trend the direction after it and the norm.
qvo_seq_agg_context_t& context_of(qvo_seq_iterator_h it) {
    return *reinterpret_cast<qvo_seq_agg_context_t*>(it->context);
}
template <class V> V previous(qvo_seq_iterator_h it) {
    V v;
    std::memcpy(&v, &context_of(it).accumulator, sizeof v);
    return v;
}
template <class V> void set_previous(qvo_seq_iterator_h it, V v) {
    std::memcpy(&context_of(it).accumulator, &v, sizeof v);
}

template <class V> V subtract(V a, V b) {
    if constexpr (std::is_floating_point_v<V>)
        return a - b;
    else
        return static_cast<V>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

template <class V> QVO_RET literal_diff(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    return literal_loop(it, 1, [=](size_t i) {
        if (it->next_seq_no == 0) set_previous(it, literal_value<V>(input, 0));
        const V value = literal_value<V>(input, input->tile_offs);
        if (input->rle_offs != 0) {
            literal_put(it, i, V{0});
            literal_put_counted(it, i, literal_run(input, input->tile_offs++) - 1);
            input->rle_offs = 0;
        } else {
            literal_put(it, i, subtract(value, previous<V>(it)));
            literal_put_counted(it, i, 1);
            set_previous(it, value);
            literal_take(input, 1);
        }
        return true;
    });
}

template <class V> QVO_RET literal_trend(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    qvo_int1& trend = context_of(it).history.trend;
    return literal_tile_next(it, input, [&](size_t i) {
        const V value = literal_value<V>(input, i);
        if (it->next_seq_no == 0) {
            set_previous(it, value);
            trend = 0;
        }
        if (value < previous<V>(it)) trend = -1;
        if (value > previous<V>(it)) trend = 1;
        set_previous(it, value);
        literal_put(it, i, trend);
        literal_put_counted(it, i, literal_run(input, i));
    });
}

#define TEST_TREND(type)                                                                                               \
    check_shaping(unary_member<t_##type>(MEMBER(qvo_seq_diff_##type)), any_type<t_##type>(), literal_diff<qvo_##type>, \
                  255, true);                                                                                          \
    check_shaping(shaping_member(MEMBER(qvo_seq_trend_##type), any_type<t_int1>()), any_type<t_##type>(),              \
                  literal_trend<qvo_##type>);

TEST(Trend, DiffTakesARunThatWasEnteredBeforeForItsRest_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_TREND) }

// ---- Division by the norm -------------------------------------------------------------------------------------------

// The norm is the first word of the context.
template <class V> QVO_RET literal_norm(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    double norm = 0;
    if (it->next_seq_no == 0) {
        QVO_RET rc;
        while ((rc = input->next(input)) == QVO_S_OK) {
            input->tile_offs = 0;
            double sum = 0;
            for (size_t i = 0; i < input->tile_size; ++i) {
                const double value = static_cast<double>(literal_value<V>(input, i));
                sum += literal_run(input, i) * (value * value);
            }
            norm = std::sqrt(norm + sum);
            std::memcpy(it->context, &norm, sizeof norm);
        }
        if (rc != QVO_S_CURSOR_END) return rc;
        if (rc = input->reset(input); rc != QVO_S_OK) return rc;
    }
    std::memcpy(&norm, it->context, sizeof norm);
    return literal_elements_next(
        it, [&](size_t i, size_t k) { literal_put(it, i, static_cast<double>(literal_value<V>(input, k)) / norm); });
}

#define TEST_NORM(type) \
    check_shaping(unary_member<t_double>(MEMBER(qvo_seq_norm_##type)), any_type<t_##type>(), literal_norm<qvo_##type>);

TEST(Norm, TakesARootAfterEveryTile_deliberate) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_NORM)
    Source source(t_int4{}, {{3}, {4}, {2}}, {{2, 1}});
    check_items<t_double>(drained<t_double>(qvo_seq_norm_int4, source.get()), {{3 / 3.0}, {4 / 3.0}, {2 / 3.0}});
    source.set_script({{}, SIZE_MAX, QVO_S_OK, 4712});
    source->reset(source.get());
    Record it;
    ASSERT_EQ(qvo_seq_norm_int4(it.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), 4712) << "the input's reset fails";
}

// ---- Concatenation --------------------------------------------------------------------------------------------------

QVO_RET literal_concat(qvo_seq_iterator_h it, bool& in_left) {
    const auto copy = [=](qvo_seq_iterator_h from) {
        return literal_tile_next(it, from, [=](size_t i) {
            literal_copy(it, i, from, i);
            literal_put_run(it, i, literal_run(from, i));
        });
    };
    if (in_left) {
        const QVO_RET rc = copy(it->opd[0]);
        if (rc == QVO_S_OK) it->next_seq_no = it->opd[0]->next_seq_no;
        if (rc != QVO_S_CURSOR_END) return rc;
        in_left = false;
    }
    const qvo_seq_no_t before = it->opd[1]->next_seq_no;
    const QVO_RET rc = copy(it->opd[1]);
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
    Source ints(t_int8{}, {{1}}), times(t_datetime{}, {{1}}), three(t_char{}, {}, {}, 3), four(t_char{}, {}, {}, 4);
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_concat, ints.get(), times.get());
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_concat, three.get(), four.get());
    EXPECT_EQ(three->bounded, 0);
}

// ---- Reversed sequences: in one tile, and by way of a buffer --------------------------------------------------------

void check_reverse(const AnyType& type, const char* name, ConstructUnary reverse, qvo_seq_iterator_next_t next,
                   qvo_seq_iterator_reset_t buffer_reset) {
    SCOPED_TRACE(name);
    Member member = shaping_member(name, reverse, next, type);
    member.operands = {type.operand(Items<t_char>(4, {std::string(type.width, 'x'), 3}))};
    check_protocol(member);
    const Allocator allocator;
    const BindingCheck check;
    for (const size_t n : {1, 47, 300, 301, 3000}) {
        const bool one_tile = n <= 300;
        Random random(static_cast<unsigned>(n));
        const auto items = type.items(random, n);
        auto expected = one_tile ? items : singles<t_char>(expand(items));
        std::reverse(expected.begin(), expected.end());
        const auto source = type.operand(items)({{300}});
        Record it;
        ASSERT_EQ(reverse(it.get(), source->get()), QVO_S_OK);
        for (int round = 0; round < 2; ++round) {
            check_items<t_char>(drain<t_char>(it.get()), expected);
            EXPECT_EQ(it->reset, one_tile ? qvo_seq_reset_unary_iterator : buffer_reset);
            EXPECT_EQ(allocator.blocks(), one_tile ? 0U : 1U);
            EXPECT_EQ(source->get()->bounded, 1);
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_TRUE(it->next == next && it->reset == qvo_seq_reset_unary_iterator && it->next_seq_no == 0);
            EXPECT_EQ(allocator.blocks(), 0U);
        }
    }
}

#define TEST_REVERSE(type) \
    check_reverse(any_type<t_##type>(), MEMBER(qvo_seq_reverse_##type), qvo_seq_reverse_##type##_reset);

TEST(Reverse, TurnsSequencesRound){QVO_SEQ_FOR_FIXED_TYPES(TEST_REVERSE) TEST_REVERSE(char)}

TEST(Reverse, FailuresLeaveNothingBehind) {
    Allocator allocator;
    Source source(t_int4{}, {{1}, {2}, {3}, {4}, {5}}, {{2}});
    Record it;
    it->owned_buf = 1;  // over a buffer that is none
    ASSERT_EQ(qvo_seq_reverse_int4(it.get(), source.get()), QVO_S_OK);
    qvo_seq_free_buffer(it.get());
    allocator.fail_at(0);
    EXPECT_EQ(it->next(it.get()), QVO_E_NOMEM);
    allocator.never_fail();
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    check_items<t_int4>(drain<t_int4>(it.get()), {{5}, {4}, {3}, {2}, {1}});
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    // The input's reset, an error right after the first tile, and one after the count, which ends there without
    // reporting it, and the reader does not come so far.
    for (const auto& [script, code] : {std::pair(Script{{2}, SIZE_MAX, QVO_S_OK, 4712}, 4712),
                                       {{{2}, 2, 4711, QVO_S_OK}, 4711},
                                       {{{1}, 3, 4711, QVO_S_OK}, QVO_S_OK}}) {
        source.set_script(script);
        EXPECT_EQ(it->next(it.get()), code);
        source.set_script({});
        if (code == QVO_S_OK) check_items<t_int4>(tile_items<t_int4>(it.it), {{3}, {2}, {1}});
        ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    }
    EXPECT_EQ(allocator.blocks(), 0U);

    Source widens(t_char{}, {{"a"}, {"b"}}, {{1}});
    ASSERT_EQ(qvo_seq_reverse_char(it.get(), widens.get()), QVO_S_OK);
    widens->elem_size = 2;
    EXPECT_EQ(it->next(it.get()), QVO_E_ILLEGAL_TYPE);
}

TEST(Reverse, AnInputThatShrinksIsASuccessWithoutATile_deliberate) {
    const Allocator allocator;
    Source source(t_int4{}, {{1}});
    // A tile of one position each: one less after every reset.
    source->context[0] = 5;
    source->next = [](qvo_seq_iterator_h it) -> QVO_RET {
        if (it->next_seq_no >= it->context[0]) return QVO_S_CURSOR_END;
        ++it->next_seq_no;
        literal_put_run(it, 0, 1);
        it->tile_size = 1;
        return QVO_S_OK;
    };
    source->reset = [](qvo_seq_iterator_h it) { return --it->context[0], qvo_seq_reset_iterator(it); };
    Record it;
    ASSERT_EQ(qvo_seq_reverse_int4(it.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->tile_size, 0);
    EXPECT_EQ(source->bounded, 1);
}

}  // namespace
}  // namespace test
