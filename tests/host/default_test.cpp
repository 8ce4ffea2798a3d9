// A host that brings nothing: the library's own services. Built against the shared and against the static library.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "qvohost.h"

namespace {

TEST(Defaults, StopSaysWhatHappenedAndAborts) {
    EXPECT_EXIT(qvo_stop__(QVO_ERR_SEQ, "some/file.cpp", 42), testing::KilledBySignal(SIGABRT),
                "fatal error 1060000 at some/file.cpp:42.*invariant");

    const auto pull_from_nothing = [] {
        qvo_seq_iterator_t source, result;
        qvo_int4 values[1] = {1};
        qvo_seq_unget_int4(&source, values, 1);
        source.next = [](qvo_seq_iterator_h) -> QVO_RET { return QVO_S_OK; };
        qvo_seq_iterator_t other;
        qvo_seq_const_int4(&other, 1);
        qvo_seq_add_int4(&result, &source, &other);
        result.next(&result);
    };
    EXPECT_EXIT(pull_from_nothing(), testing::KilledBySignal(SIGABRT), "fatal error 1060000");
}

TEST(Defaults, GlobalsAreOff) {
    EXPECT_EQ(qvo_seq_check_bindings, 0);
    EXPECT_EQ(qvo_trace_level, 0);
    EXPECT_EQ(qvo_trace_modules_mask, 0U);
    EXPECT_EQ(qvo_trace_callback, nullptr);
}

TEST(Defaults, CopyBitmapMovesExactlyTheRange) {
    std::mt19937_64 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::vector<qvo_bitmap_word_t> src(4), dst(4);
        for (auto& word : src) word = random();
        for (auto& word : dst) word = random();
        const auto bit = [](const std::vector<qvo_bitmap_word_t>& map, size_t i) {
            return map[i / 64] >> (i % 64) & 1;
        };
        const size_t n = random() % 130, to = random() % (256 - n), from = random() % (256 - n);
        const std::vector<qvo_bitmap_word_t> before = dst;
        qvo_seq_copy_bitmap(dst.data(), to, src.data(), from, n);
        for (size_t i = 0; i < 256; ++i)
            ASSERT_EQ(bit(dst, i), i >= to && i < to + n ? bit(src, from + i - to) : bit(before, i))
                << "bit " << i << " of " << n << " bits from " << from << " to " << to;
    }
}

TEST(Defaults, MemoryAndStrings) {
    char text[] = "abcdef";
    qvo_memmove(text + 1, text, 4);
    EXPECT_STREQ(text, "aabcdf");
    qvo_memmove(text, text + 2, 3);
    EXPECT_STREQ(text, "bcdcdf");
    qvo_memnull(text + 1, 2);
    EXPECT_EQ(std::memcmp(text, "b\0\0cdf", 6), 0);
    EXPECT_LT(qvo_memcmp("\x01", "\xff", 1), 0) << "bytes are unsigned";
    EXPECT_GT(qvo_memcmp("a\0c", "a\0b", 3), 0) << "a zero byte does not end it";
    EXPECT_EQ(qvo_memcmp("ab", "ac", 1), 0);
    const char* list = "1,2}";
    EXPECT_EQ(qvo_strchr(list, ','), list + 1);
    EXPECT_EQ(qvo_strchr(list, 'x'), nullptr);
}

TEST(Defaults, PrimesAscend) {
    for (int i = 0; i <= 28; ++i) {
        const uint32_t p = qvo_int_get_prime_number(i);
        EXPECT_GT(p, i == 0 ? 1 : qvo_int_get_prime_number(i - 1));
        for (uint64_t d = 2; d * d <= p; ++d) ASSERT_NE(p % d, 0U) << p;
    }
}

}  // namespace
