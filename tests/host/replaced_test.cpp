// A host that brings every service itself. Built against the shared and against the static library: in both, the
// library has to call and read what this program defines. Each service tells itself apart from the library's default,
// by a count of its calls or by another result.
#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "qvohost.h"

namespace {

std::map<std::string, int> called;
std::jmp_buf stopped;
const char* stop_file = nullptr;
int traced = 0;

int on_trace(int severity, int module, const char*, int, const char* message) {
    traced += severity == QVO_TRACE_FATAL && module == QVO_TRACE_SEQ && std::string(message) == "QVO_STOP";
    return 0;
}

}  // namespace

extern "C" {

int qvo_seq_check_bindings = 1;
int qvo_trace_level = 3;
unsigned int qvo_trace_modules_mask = 1U << QVO_TRACE_SEQ;
qvo_trace_message_handler_fn qvo_trace_callback = on_trace;

void qvo_stop__(int code, const char* file, int) {
    EXPECT_EQ(code, QVO_ERR_SEQ);
    ++called["stop"];
    stop_file = file;
    std::longjmp(stopped, 1);
}

QVO_RET qvo_seq_reset_iterator(qvo_seq_iterator_h iterator) {
    ++called["reset"];
    iterator->tile_size = iterator->tile_offs = 0;
    iterator->rle_offs = iterator->prepared = 0;
    iterator->next_seq_no = 0;
    return QVO_S_OK;
}

QVO_RET qvo_seq_reset_unary_iterator(qvo_seq_iterator_h iterator) {
    ++called["reset_unary"];
    const QVO_RET rc = qvo_seq_reset_iterator(iterator);
    return rc != QVO_S_OK ? rc : iterator->opd[0]->reset(iterator->opd[0]);
}

QVO_RET qvo_seq_reset_binary_iterator(qvo_seq_iterator_h iterator) {
    ++called["reset_binary"];
    const QVO_RET rc = qvo_seq_reset_unary_iterator(iterator);
    return rc != QVO_S_OK ? rc : iterator->opd[1]->reset(iterator->opd[1]);
}

// Of whole words, which is all that is asked for here.
void qvo_seq_copy_bitmap(qvo_bitmap_word_t* dst, qvo_size_t, const qvo_bitmap_word_t* src, qvo_size_t, qvo_size_t) {
    ++called["copy_bitmap"], *dst = *src;
}

void qvo_memnull(void* ptr, qvo_size_t size) { ++called["memnull"], std::memset(ptr, 0, size); }

void qvo_memmove(void* dst, const void* src, qvo_size_t size) { ++called["memmove"], std::memmove(dst, src, size); }

// This host orders strings backwards.
int qvo_memcmp(const void* a, const void* b, qvo_size_t size) { return ++called["memcmp"], std::memcmp(b, a, size); }

char* qvo_strchr(const char* str, int ch) { return ++called["strchr"], const_cast<char*>(std::strchr(str, ch)); }

// This host's tables begin small, entry 0 is 3, and stay small: the last one, 28, is 257.
uint32_t qvo_int_get_prime_number(int index) {
    ++called["prime"];
    static const uint32_t primes[] = {3,   5,   7,   11,  17,  31,  67,  127, 131, 137, 139, 149, 151, 157, 163,
                                      167, 173, 179, 181, 191, 193, 197, 199, 211, 223, 227, 229, 233, 257};
    EXPECT_LE(index, 28);
    return index <= 28 ? primes[index] : 0;
}

}  // extern "C"

namespace {

// Two columns of three values, and whether the library counts anything as bound.
struct Host : testing::Test {
    qvo_int4 left[3] = {1, 2, 3}, right[3] = {3, 2, 1};
    qvo_seq_iterator_t a, b, result;
    Host() {
        called.clear();
        qvo_seq_unget_int4(&a, left, 3);
        qvo_seq_unget_int4(&b, right, 3);
    }
};

TEST_F(Host, StopAndTraceGlobals) {
    a.next = [](qvo_seq_iterator_h it) -> QVO_RET { return it->tile_size = 0, QVO_S_OK; };
    ASSERT_EQ(qvo_seq_add_int4(&result, &a, &b), QVO_S_OK);
    const auto traces = [&] {
        traced = 0;
        called.clear();
        if (setjmp(stopped) == 0) result.next(&result);
        EXPECT_EQ(called["stop"], 1) << "the library went on";
        return traced;
    };
    constexpr unsigned own = 1U << QVO_TRACE_SEQ;
    const struct {
        int level;
        unsigned mask;
        qvo_trace_message_handler_fn handler;
    } settings[] = {{0, own, on_trace}, {3, ~own, on_trace}, {3, own, nullptr}, {3, own, on_trace}};
    for (const auto& s : settings) {
        qvo_trace_level = s.level;
        qvo_trace_modules_mask = s.mask;
        qvo_trace_callback = s.handler;
        EXPECT_EQ(traces(), s.level == 3 && s.mask == own && s.handler == on_trace);
    }
    EXPECT_NE(stop_file, nullptr);
}

TEST_F(Host, BindingSwitch) {
    qvo_seq_iterator_t second;
    ASSERT_EQ(qvo_seq_add_int4(&result, &a, &b), QVO_S_OK);
    EXPECT_EQ(qvo_seq_add_int4(&second, &a, &b), QVO_E_SEQ_BOUNDED) << "this host starts with the check on";
    EXPECT_EQ(qvo_seq_enable_check_bindings(0), 1);
    EXPECT_EQ(qvo_seq_check_bindings, 0);
    EXPECT_EQ(qvo_seq_add_int4(&second, &a, &b), QVO_S_OK);
    qvo_seq_check_bindings = 1;
    EXPECT_EQ(qvo_seq_add_int4(&second, &a, &b), QVO_E_SEQ_BOUNDED);
}

TEST_F(Host, Resets) {
    ASSERT_EQ(qvo_seq_add_int4(&result, &a, &b), QVO_S_OK);
    // What constructors install is the host's, and what the library calls itself too.
    EXPECT_EQ(result.reset, qvo_seq_reset_binary_iterator);
    EXPECT_EQ(result.reset(&result), QVO_S_OK);
    EXPECT_TRUE(called["reset_binary"] == 1 && called["reset"] == 3);
    called.clear();
    EXPECT_EQ(qvo_seq_unget_reset(&a), QVO_S_OK);
    EXPECT_EQ(called["reset"], 1);
    EXPECT_EQ(qvo_seq_reset_unary_agg_iterator(&result), QVO_S_OK);
    EXPECT_EQ(qvo_seq_reset_binary_agg_iterator(&result), QVO_S_OK);
    EXPECT_TRUE(called["reset_unary"] == 2 && called["reset_binary"] == 1);
}

TEST_F(Host, BitmapsAndClearing) {
    qvo_int4 values[3];
    qvo_size_t count = 3;
    qvo_bitmap_word_t nulls[1] = {~qvo_bitmap_word_t{0}};
    a.next = [](qvo_seq_iterator_h it) -> QVO_RET {
        it->tile_size = 3;
        it->tile.null_bitmap[0] = 5;
        it->tile.null_bitmap[1] = 0;
        return QVO_S_OK;
    };
    ASSERT_EQ(qvo_seq_get_nullable_int4(&a, values, &count, nulls), QVO_S_OK);
    EXPECT_EQ(nulls[0], 5U);
    EXPECT_EQ(called["memnull"], 1);
    EXPECT_EQ(called["copy_bitmap"], 1);
}

TEST_F(Host, StringOrder) {
    char low[] = "ab", high[] = "cd";
    qvo_seq_unget_char(&a, low, 1, 2);
    qvo_seq_unget_char(&b, high, 1, 2);
    ASSERT_EQ(qvo_seq_gt_char(&result, &a, &b), QVO_S_OK);
    ASSERT_EQ(result.next(&result), QVO_S_OK);
    EXPECT_EQ(result.tile.u.arr_qvo_seq_bool[0], 1) << "ab comes after cd for this host";
    EXPECT_EQ(called["memcmp"], 1);
}

TEST_F(Host, StringSearch) {
    char text[] = "{1,20}";
    const auto parser = [](const char* token, qvo_seq_tile_t* tile, int index) {
        tile->u.arr_int4[index] = std::atoi(token);
        return 1;
    };
    ASSERT_EQ(qvo_seq_custom_parse(&result, text, QVO_DD_INT4, 4, parser), QVO_S_OK);
    ASSERT_EQ(result.next(&result), QVO_S_OK);
    EXPECT_EQ(result.tile.u.arr_int4[1], 20);
    EXPECT_EQ(called["strchr"], 3) << "a comma, no comma, the brace";
}

// A table that has the largest size takes more groups than it is made for.
TEST_F(Host, GrowthEndsAtTheLastPrime) {
    qvo_int4 values[1000];
    for (int i = 0; i < 1000; ++i) values[i] = i;
    for (const qvo_size_t wanted : {1, 1000}) {
        qvo_seq_iterator_t input, keys;
        qvo_seq_unget_int4(&input, values, 1000);
        ASSERT_EQ(qvo_seq_hash_agg_count(&result, &keys, &input, wanted), QVO_S_OK);
        const auto* context = reinterpret_cast<const qvo_seq_hash_iterator_context_t*>(result.context);
        EXPECT_TRUE(context->n_groups == (wanted == 1 ? 3 : 257) && called["prime"] > 0);
        qvo_uint8 count = 0, groups = 0;
        for (; qvo_seq_next_uint8(&result, &count) == QVO_S_OK; ++groups) EXPECT_EQ(count, 1U);
        EXPECT_EQ(groups, 1000U);
        EXPECT_EQ(context->shared->hash->table_size, 257U);
        EXPECT_EQ(qvo_seq_free_hash(&result), 1);
    }
}

TEST_F(Host, Moving) {
    ASSERT_EQ(qvo_seq_top_max_int4(&result, &a, 2), QVO_S_OK);
    ASSERT_EQ(result.next(&result), QVO_S_OK);
    EXPECT_EQ(result.tile.u.arr_int4[0], 3);
    EXPECT_EQ(result.tile.u.arr_int4[1], 2);
    EXPECT_GT(called["memmove"], 0) << "1, 2, 3: each one comes before those that are kept";
}

}  // namespace
