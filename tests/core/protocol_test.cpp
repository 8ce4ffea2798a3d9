// The protocol helpers, buffers and resets, and the walk over two operands where runs are out of the ordinary.
#include <set>

#include "support/protocol.h"

namespace test {
namespace {

// ---- Buffers

TEST(Buffers, GoThroughTheHooks) {
    EXPECT_TRUE(qvo_seq_malloc == qvo_seq_sys_malloc && qvo_seq_free == qvo_seq_sys_free) << "the initial hooks";
    static struct {
        bool fails;
        unsigned calls;
        qvo_seq_iterator_h iterator;
        void* released;
        qvo_size_t size;
    } hooks;
    qvo_seq_redefine_allocator(
        [](qvo_seq_iterator_h iterator, qvo_size_t size) {
            // The record's fields are set before the hook is called.
            EXPECT_TRUE(iterator->owned_buf == 1 && iterator->buf_size == size);
            hooks.iterator = iterator;
            return hooks.fails ? nullptr : std::malloc(size);
        },
        [](qvo_seq_iterator_h iterator, void* ptr, qvo_size_t size) {
            hooks = {false, hooks.calls + 1, iterator, ptr, size};
            std::free(ptr);
        });
    for (const bool fails : {false, true}) {
        hooks = {fails, 0, nullptr, nullptr, 0};
        Record it;
        it->buf = &it;
        qvo_seq_free_buffer(it.get());
        EXPECT_TRUE(hooks.calls == 0 && it->buf == &it) << "a buffer that is not owned is not released";
        void* const buf = qvo_seq_alloc_buffer(it.get(), 1000);
        EXPECT_EQ(buf == nullptr, fails);
        EXPECT_TRUE(it->buf == buf && it->buf_size == 1000 && it->owned_buf == 1) << "also after a failure";
        EXPECT_EQ(std::exchange(hooks.iterator, nullptr), it.get());
        qvo_seq_free_buffer(it.get());
        EXPECT_TRUE(hooks.calls == 1 && hooks.iterator == it.get() && hooks.released == buf && hooks.size == 1000);
        EXPECT_TRUE(it->buf == nullptr && it->owned_buf == 0);
    }
    qvo_seq_redefine_allocator(qvo_seq_sys_malloc, qvo_seq_sys_free);
}

// ---- Null marks, counts, prepare

TEST(Helpers, NullMarks) {
    Record it;
    qvo_seq_reset_null_bitmap(it.get());
    EXPECT_EQ(qvo_seq_contains_nulls(it.get()), 0);
    for (const size_t bit : {0U, 31U, 32U, 63U, 64U, 127U}) {
        it->tile.null_bitmap[bit / 64] = uint64_t{1} << (bit % 64);
        EXPECT_EQ(qvo_seq_contains_nulls(it.get()), 1) << bit;
        qvo_seq_reset_null_bitmap(it.get());
        EXPECT_EQ(qvo_seq_contains_nulls(it.get()), 0) << bit;
    }
}

TEST(Helpers, CountsAreUnsignedAndNullIsNoBytes) {
    EXPECT_TRUE(min_count(3, 5) == 3 && min_count(5, 3) == 3 && min_count(~qvo_seq_count_t{0}, 1) == 1);
    qvo_memnull(nullptr, 0);
    qvo_memmove(nullptr, nullptr, 0);
    EXPECT_EQ(qvo_memcmp(nullptr, nullptr, 0), 0);
}

TEST(Helpers, CodesHaveTextsOfTheirOwn) {
    std::set<std::string> texts;
    for (const QVO_RET code :
         {12345, QVO_S_OK + 0, QVO_S_CURSOR_END + 0, QVO_E_NOMEM + 0, QVO_E_UNSUPPORTED + 0, QVO_E_ILLEGAL_TYPE + 0,
          QVO_E_ILLEGAL_PARAM + 0, QVO_E_SEQ_OUT_OF_ORDER + 0, QVO_E_SEQ_BOUNDED + 0, QVO_E_SEQ_LENGTH_MISMATCH + 0,
          QVO_E_SEQ_NULL_VALUE + 0, QVO_E_SEQ_NOT_ORDERED + 0, QVO_ERR_SEQ + 0})
        EXPECT_TRUE(texts.insert(qvo_seq_code_text(code)).second) << code;
}

TEST(Helpers, CheckTileFindsWhatIsWrong) {
    using Break = void (*)(qvo_seq_iterator_t&);
    const std::pair<int, Break> cases[] = {
        {QVO_SEQ_TILE_OK, [](auto&) {}},
        {QVO_SEQ_TILE_OK, [](auto& it) { it.last_seq_no = 204; }},
        {QVO_SEQ_TILE_OK, [](auto& it) { it.next_seq_no = 819; }},
        {QVO_SEQ_TILE_OK, [](auto& it) { it.elem_type = QVO_DD_CHAR, it.elem_size = 3; }},
        {QVO_SEQ_TILE_WIDTH, [](auto& it) { it.elem_size = 8; }},
        {QVO_SEQ_TILE_EMPTY, [](auto& it) { it.tile_size = 0; }},
        {QVO_SEQ_TILE_OVERFULL, [](auto& it) { it.tile_size = 820; }},
        {QVO_SEQ_TILE_OVERFULL, [](auto& it) { it.elem_type = QVO_DD_CHAR, it.elem_size = 5; }},
        {QVO_SEQ_TILE_RUN, [](auto& it) { it.tile.u.arr_uint1[4095] = 0; }},
        {QVO_SEQ_TILE_RUN, [](auto& it) { it.tile.u.arr_uint1[4096 - 819] = 0; }},
        {QVO_SEQ_TILE_COUNTER, [](auto& it) { it.next_seq_no = 818; }},
        {QVO_SEQ_TILE_COUNTER, [](auto& it) { it.last_seq_no = 208843; }},
    };
    Record it;
    for (const auto& [expected, breaks] : cases) {
        ASSERT_EQ(qvo_seq_const_int4(it.get(), 0), QVO_S_OK);  // 819 elements, 208845 positions
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        if (&breaks == &cases[1].second) it->next_seq_no = 205, it->tile_size = 200;
        breaks(it.it);
        EXPECT_EQ(qvo_seq_check_tile(it.get()), expected) << "case " << (&breaks - &cases[0].second);
    }
}

// ---- Resets

constexpr QVO_RET empty_slot = -1;

/// Resets an iterator in mid-stream over operands whose resets return the given codes, up to `n_resets` of them; the
/// iterator must be rewound, or as it was, and the count word cleared or not; nothing else may change.
void check_reset(qvo_seq_iterator_reset_t reset, const std::vector<QVO_RET>& codes, QVO_RET expected, size_t n_resets,
                 bool count_cleared, bool rewound = true) {
    std::vector<std::unique_ptr<Source>> sources;
    Record it;
    for (size_t i = 0; i < codes.size(); ++i) {
        sources.push_back(std::make_unique<Source>(t_int4{}, Items<t_int4>{{1}}, Script{{}, SIZE_MAX, 0, codes[i]}));
        if (codes[i] != empty_slot) it->opd[i] = sources[i]->get();
    }
    qvo_seq_iterator_t after = it.it;
    if (rewound) {
        after.tile_size = after.tile_offs = 0;
        after.rle_offs = after.prepared = 0;
        after.next_seq_no = 0;
    }
    if (count_cleared) after.context[1] = 0;
    EXPECT_EQ(reset(it.get()), expected);
    for (size_t i = 0; i < codes.size(); ++i)
        EXPECT_EQ(sources[i]->n_reset(), i < n_resets && codes[i] != empty_slot) << "operand " << i;
    EXPECT_EQ(std::memcmp(&after, &it.it, sizeof after), 0);
}

TEST(Resets, RewindTheIteratorThenItsOperandsUpToTheFirstFailure) {
    check_reset(qvo_seq_reset_iterator, {0, 0}, QVO_S_OK, 0, false);
    const qvo_seq_iterator_reset_t unary[] = {qvo_seq_reset_unary_iterator, qvo_seq_reset_unary_agg_iterator};
    const qvo_seq_iterator_reset_t binary[] = {qvo_seq_reset_binary_iterator, qvo_seq_reset_binary_agg_iterator};
    for (const bool aggregate : {false, true}) {
        check_reset(unary[aggregate], {0, 0}, QVO_S_OK, 1, aggregate);
        check_reset(unary[aggregate], {7}, 7, 1, aggregate);
        check_reset(binary[aggregate], {0, 0, 0}, QVO_S_OK, 2, aggregate);
        check_reset(binary[aggregate], {7, 8}, 7, 1, aggregate);
        check_reset(binary[aggregate], {0, 8}, 8, 2, aggregate);
    }
    check_reset(qvo_seq_reset_ternary_iterator, {0, 0, 0}, QVO_S_OK, 3, false);
    check_reset(qvo_seq_reset_ternary_iterator, {0, 7, 8}, 7, 2, false);
    check_reset(qvo_seq_reset_ternary_iterator, {0, 0, 8}, 8, 3, false);
}

TEST(Resets, TheTernaryAggregateRewindsItsOperandsFirst_deliberate) {
    const auto reset = qvo_seq_reset_ternary_agg_iterator;
    check_reset(reset, {0, empty_slot, 0}, QVO_S_OK, 3, true);
    check_reset(reset, {empty_slot, empty_slot, empty_slot}, QVO_S_OK, 3, true);
    check_reset(reset, {0, 7, 8}, 7, 2, true, false);
}

// Values are copied at the width that the constructor found: a text source without one is none to copy from.
TEST(Widths, CopiersRefuseATextThatGetsItsWidthLater) {
    static Source truth(t_bool{}, {{1, 9}});
    static constexpr qvo_seq_no_t first = 0;
    for (const ConstructUnary construct : {
             ConstructUnary([](auto it, auto text) { return qvo_seq_limit(it, text, 0, 9); }),
             ConstructUnary([](auto it, auto text) { return qvo_seq_filter_char(it, truth.get(), text); }),
             ConstructUnary([](auto it, auto text) { return qvo_seq_order_by_char(it, text, &first, 1, nullptr); }),
             ConstructUnary(qvo_seq_unique_char),
             ConstructUnary(qvo_seq_rle_decode),
         }) {
        TextSource text("{abc,de}");
        Record it;
        ASSERT_EQ(construct(it.get(), text.get()), QVO_S_OK);
        EXPECT_EQ(it->next(it.get()), QVO_E_ILLEGAL_TYPE);
    }
}

// ---- Overlaps: read positions inside a run, and run bytes that a producer left unwritten, zeros among them

TEST(Overlap, StartsInsideARunAndTakesUnwrittenRunBytesAsTheyAre) {
    Member member = binary_member(MEMBER(qvo_seq_sub_uint2), QVO_DD_UINT2, 2);
    const auto difference = [](qvo_seq_iterator_h it) {
        return literal_overlap_next(it, [it](size_t i) {
            const qvo_seq_iterator_h a = it->opd[0], b = it->opd[1];
            const int v = literal_value<uint16_t>(a, a->tile_offs) - literal_value<uint16_t>(b, b->tile_offs);
            literal_put(it, i, static_cast<uint16_t>(v));
            return true;
        });
    };
    for_seeds(100, [&](Random& random, unsigned seed) {
        Items<t_uint2> sides[] = {random_items<t_uint2>(random, 3000), random_items<t_uint2>(random, 3000)};
        const unsigned percent = seed % 2 * random.between(1, 60);
        for (auto& items : sides)
            for (auto& item : items)
                if (random.chance(percent)) item.run = 0;
        member.operands = {operand<t_uint2>(sides[0]), operand<t_uint2>(sides[1])};
        member.checks_tiles = percent == 0;
        check_steps(member, difference, {{random_tile_sizes(random)}, {random_tile_sizes(random)}},
                    [&](const Member::Operands& o) {
                        Random at(seed);
                        for (size_t k = 0; k < 2; ++k) {
                            ASSERT_EQ(o[k]->next(o[k]), QVO_S_OK);
                            o[k]->tile_offs = static_cast<uint16_t>(at.below(o[k]->tile_size));
                            const unsigned run = sides[k][o[k]->tile_offs].run;
                            o[k]->rle_offs = static_cast<uint8_t>(run == 0 ? 0 : at.below(run));
                        }
                    });
    });
}

}  // namespace
}  // namespace test
