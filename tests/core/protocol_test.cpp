// The protocol helpers, buffers, and the host services that the library brings itself.
#include "support/protocol.h"

namespace test {
namespace {

TEST(Settings, TheBindingSwitchReturnsWhatItWas) {
    EXPECT_EQ(qvo_seq_enable_check_bindings(1), 0);
    EXPECT_EQ(qvo_seq_check_bindings, 1);
    EXPECT_EQ(qvo_seq_enable_check_bindings(0), 1);
    EXPECT_EQ(qvo_seq_enable_check_bindings(0), 0);
}

// ---- Buffers

struct {
    bool fails = false;
    unsigned calls = 0;
    qvo_seq_iterator_h iterator = nullptr;
    void* released = nullptr;
    qvo_size_t size = 0;
} hooks;

void* test_malloc(qvo_seq_iterator_h iterator, qvo_size_t size) {
    // The record's fields are set before the hook is called.
    EXPECT_TRUE(iterator->owned_buf == 1 && iterator->buf_size == size);
    hooks.iterator = iterator;
    return hooks.fails ? nullptr : std::malloc(size);
}

void test_free(qvo_seq_iterator_h iterator, void* ptr, qvo_size_t size) {
    ++hooks.calls;
    hooks.iterator = iterator;
    hooks.released = ptr;
    hooks.size = size;
    std::free(ptr);
}

TEST(Buffers, GoThroughTheHooks) {
    EXPECT_TRUE(qvo_seq_malloc == qvo_seq_sys_malloc && qvo_seq_free == qvo_seq_sys_free) << "the initial hooks";
    qvo_seq_redefine_allocator(test_malloc, test_free);
    for (const bool fails : {false, true}) {
        hooks = {};
        hooks.fails = fails;
        Record it;
        it->buf = &it;
        qvo_seq_free_buffer(it.get());
        EXPECT_EQ(hooks.calls, 0U) << "a buffer that is not owned is not released";
        EXPECT_EQ(it->buf, &it);

        void* const buf = qvo_seq_alloc_buffer(it.get(), 1000);
        EXPECT_EQ(buf == nullptr, fails);
        EXPECT_TRUE(it->buf == buf && it->buf_size == 1000 && it->owned_buf == 1) << "also after a failure";
        EXPECT_EQ(hooks.iterator, it.get());
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

TEST(Helpers, MinCountIsUnsigned) {
    EXPECT_EQ(min_count(3, 5), 3U);
    EXPECT_EQ(min_count(5, 3), 3U);
    EXPECT_EQ(min_count(~qvo_seq_count_t{0}, 1), 1U);
}

TEST(Helpers, PrepareMarksWhateverCameOfIt) {
    for (const QVO_RET code : {QVO_RET{QVO_S_OK}, QVO_RET{QVO_S_CURSOR_END}, 4711}) {
        Source source(t_int4{}, {{1}}, {{}, code == QVO_S_OK ? SIZE_MAX : 0, code, QVO_S_OK});
        EXPECT_EQ(qvo_seq_prepare_aggregate(source.get()), code);
        EXPECT_EQ(source->prepared, 1);
    }
}

// ---- Resets

using Reset = QVO_RET (*)(qvo_seq_iterator_h);

/// An iterator in mid-stream over operands whose resets return the given codes; an empty slot for SLOT_EMPTY.
constexpr QVO_RET slot_empty = -1;
struct Chain {
    std::vector<std::unique_ptr<Source>> sources;
    Record it;
    explicit Chain(const std::vector<QVO_RET>& codes) {
        for (size_t i = 0; i < codes.size(); ++i) {
            Script script;
            script.reset_code = codes[i];
            sources.push_back(std::make_unique<Source>(t_int4{}, Items<t_int4>{{1}}, script));
            if (codes[i] != slot_empty) it->opd[i] = sources[i]->get();
        }
    }
    std::vector<unsigned> n_resets() const {
        std::vector<unsigned> n;
        for (const auto& source : sources) n.push_back(source->n_reset());
        return n;
    }
};

/// Resets; the iterator must be rewound, or as it was, and the count word cleared or not; nothing else may change.
void check_reset(Reset reset, const std::vector<QVO_RET>& codes, QVO_RET expected,
                 const std::vector<unsigned>& expected_resets, bool rewound, bool count_cleared) {
    Chain chain(codes);
    qvo_seq_iterator_t after = chain.it.it;
    if (rewound) {
        after.tile_size = after.tile_offs = 0;
        after.rle_offs = after.prepared = 0;
        after.next_seq_no = 0;
    }
    if (count_cleared) after.context[1] = 0;
    EXPECT_EQ(reset(chain.it.get()), expected);
    EXPECT_EQ(chain.n_resets(), expected_resets);
    EXPECT_EQ(std::memcmp(&after, &chain.it.it, sizeof after), 0);
}

TEST(Resets, RewindTheIteratorThenItsOperandsUpToTheFirstFailure) {
    check_reset(qvo_seq_reset_iterator, {0, 0}, QVO_S_OK, {0, 0}, true, false);
    check_reset(qvo_seq_reset_unary_iterator, {0, 0}, QVO_S_OK, {1, 0}, true, false);
    check_reset(qvo_seq_reset_unary_iterator, {7}, 7, {1}, true, false);
    check_reset(qvo_seq_reset_binary_iterator, {0, 0, 0}, QVO_S_OK, {1, 1, 0}, true, false);
    check_reset(qvo_seq_reset_binary_iterator, {7, 8}, 7, {1, 0}, true, false);
    check_reset(qvo_seq_reset_binary_iterator, {0, 8}, 8, {1, 1}, true, false);
    check_reset(qvo_seq_reset_unary_agg_iterator, {0, 0}, QVO_S_OK, {1, 0}, true, true);
    check_reset(qvo_seq_reset_unary_agg_iterator, {7}, 7, {1}, true, true);
    check_reset(qvo_seq_reset_binary_agg_iterator, {0, 0, 0}, QVO_S_OK, {1, 1, 0}, true, true);
    check_reset(qvo_seq_reset_binary_agg_iterator, {7, 8}, 7, {1, 0}, true, true);
}

TEST(Resets, TheTernaryOneRewindsItsOperandsFirst_deliberate) {
    const Reset reset = qvo_seq_reset_ternary_agg_iterator;
    check_reset(reset, {0, 0, 0}, QVO_S_OK, {1, 1, 1}, true, true);
    check_reset(reset, {0, slot_empty, 0}, QVO_S_OK, {1, 0, 1}, true, true);
    check_reset(reset, {slot_empty, slot_empty, slot_empty}, QVO_S_OK, {0, 0, 0}, true, true);
    check_reset(reset, {0, 7, 8}, 7, {1, 1, 0}, false, true);
}

// ---- The fatal stop

TEST(FatalStop, TracesOnlyWhereTracingIsOn) {
    Source empty(t_int4{}, {}, {{}, 0, QVO_S_OK, QVO_S_OK});
    qvo_int4 value;
    const auto pull = [&] { qvo_seq_next_int4(empty.get(), &value); };
    const std::function<void()> cases[] = {
        pull,
        [&] { qvo_trace_level = 0, pull(); },
        [&] { qvo_trace_modules_mask = ~(1U << QVO_TRACE_SEQ), pull(); },
        [&] { qvo_trace_callback = nullptr, pull(); },
    };
    for (size_t i = 0; i < 4; ++i) {
        const Stop stop = catch_stop(cases[i], true);
        EXPECT_TRUE(stop.stopped && stop.code == QVO_ERR_SEQ) << i;
        EXPECT_EQ(stop.traces, i == 0) << i;
    }
}

// ---- Host services

bool is_prime(uint32_t n) {
    for (uint64_t d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    return n > 1;
}

TEST(HostServices, PrimesAscend) {
    for (int i = 0; i < 29; ++i) {
        EXPECT_TRUE(is_prime(qvo_int_get_prime_number(i))) << i;
        if (i > 0) { EXPECT_LT(qvo_int_get_prime_number(i - 1), qvo_int_get_prime_number(i)); }
    }
}

TEST(HostServices, CopyBitmapMovesBits) {
    Random random(1);
    const auto bit = [](const std::vector<uint64_t>& words, size_t i) { return words[i / 64] >> (i % 64) & 1; };
    for (unsigned round = 0; round < 1000; ++round) {
        std::vector<uint64_t> from(5), to(5);
        for (size_t i = 0; i < 5; ++i) {
            from[i] = random.value<uint64_t>() * 0x9e3779b97f4a7c15U;
            to[i] = random.value<uint64_t>() * 0x9e3779b97f4a7c15U;
        }
        const unsigned n = random.chance(30) ? 64 * random.below(3) : random.below(190);
        const unsigned at = random.chance(30) ? 64 : random.below(321 - n), source = random.below(321 - n);
        std::vector<uint64_t> expected = to;
        for (unsigned i = 0; i < n; ++i) {
            expected[(at + i) / 64] &= ~(uint64_t{1} << ((at + i) % 64));
            expected[(at + i) / 64] |= bit(from, source + i) << ((at + i) % 64);
        }
        qvo_seq_copy_bitmap(to.data(), at, from.data(), source, n);
        ASSERT_EQ(to, expected) << n << " bits from " << source << " to " << at;
    }
}

TEST(HostServices, Memory) {
    char text[] = "abcdef";
    qvo_memmove(text + 1, text, 5);
    EXPECT_STREQ(text, "aabcde");
    qvo_memmove(text, text + 2, 4);
    EXPECT_STREQ(text, "bcdede");
    EXPECT_GT(qvo_memcmp("\xff", "a", 1), 0) << "bytes are unsigned";
    EXPECT_LT(qvo_memcmp("a\0a", "a\0b", 3), 0) << "zero bytes do not end it";
    EXPECT_EQ(qvo_memcmp("ax", "ay", 1), 0);
    EXPECT_EQ(qvo_strchr(text, 'd'), text + 2);
    EXPECT_EQ(qvo_strchr(text, 'x'), nullptr);
    qvo_memnull(text + 1, 2);
    EXPECT_EQ(std::string(text, 6), std::string("b\0\0ede", 6));
}

}  // namespace
}  // namespace test
