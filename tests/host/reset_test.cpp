// A host that brings the plain reset alone, which may fail: the library's other resets build on it.
#include <gtest/gtest.h>

#include "qvohost.h"

namespace {

constexpr QVO_RET failure = 4711;
const qvo_seq_iterator_t* broken = nullptr;  // the iterator that cannot be rewound

}  // namespace

extern "C" QVO_RET qvo_seq_reset_iterator(qvo_seq_iterator_h iterator) {
    if (iterator == broken) return failure;
    iterator->next_seq_no = 0;
    return QVO_S_OK;
}

namespace {

TEST(Reset, EndsAtTheFirstThatFails) {
    const qvo_int4 values[3] = {1, 2, 3};
    qvo_seq_iterator_t a, b, result;
    qvo_seq_unget_int4(&a, values, 3);
    qvo_seq_unget_int4(&b, values, 3);
    ASSERT_EQ(qvo_seq_add_int4(&result, &a, &b), QVO_S_OK);
    const auto rewound = [&](QVO_RET (*reset)(qvo_seq_iterator_h), const qvo_seq_iterator_t* failing,
                             QVO_RET expected) {
        a.next_seq_no = b.next_seq_no = 1;
        broken = failing;
        EXPECT_EQ(reset(&result), expected);
        return std::pair(a.next_seq_no == 0, b.next_seq_no == 0);
    };
    for (const auto reset : {qvo_seq_reset_unary_iterator, qvo_seq_reset_binary_iterator}) {
        EXPECT_EQ(rewound(reset, nullptr, QVO_S_OK), std::pair(true, reset == qvo_seq_reset_binary_iterator));
        EXPECT_EQ(rewound(reset, &result, failure), std::pair(false, false));
        EXPECT_EQ(rewound(reset, &a, failure), std::pair(false, false));
    }
    EXPECT_EQ(rewound(qvo_seq_reset_binary_iterator, &b, failure), std::pair(true, false));
}

}  // namespace
