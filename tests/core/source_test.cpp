// The caller's array and the constant as sequences, for every type.
#include "support/protocol.h"

namespace test {
namespace {

/// The values and the run bytes of a tile of n elements are these.
void expect_tile(const Record& it, size_t n, const std::string& values, char run) {
    ASSERT_EQ(it.it.tile_size, n);
    EXPECT_EQ(std::string(it.it.tile.u.arr_char, values.size()), values);
    EXPECT_EQ(std::string(it.it.tile.u.arr_char + 4096 - n, n), std::string(n, run));
}

void check_array(const char* name, uint8_t code, size_t width,
                 const std::function<QVO_RET(qvo_seq_iterator_h, void*, qvo_size_t)>& construct,
                 qvo_seq_iterator_next_t next) {
    SCOPED_TRACE(name);
    const size_t capacity = capacity_of(width);
    std::string values;
    Random random(static_cast<unsigned>(width));
    while (values.size() < 3 * capacity * width) values += static_cast<char>(random.below(256));

    Member member = unary_member(name, nullptr, next, code, width, qvo_seq_unget_reset);
    member.construct = [&](qvo_seq_iterator_h it, const Member::Operands&) {
        void* array = qvo_seq_malloc(it, values.size());  // the iterator keeps it
        std::memcpy(array, values.data(), values.size());
        return construct(it, array, 3 * capacity);
    };
    check_protocol(member);

    for (const size_t count : {size_t{0}, size_t{1}, capacity - 1, capacity, capacity + 1, 3 * capacity}) {
        Record it;
        ASSERT_EQ(construct(it.get(), &values[0], count), QVO_S_OK);
        EXPECT_TRUE(it->buf == &values[0] && it->buf_size == count * width && it->owned_buf == 1);
        EXPECT_EQ(it->last_seq_no, count - 1);
        for (size_t at = 0; at < count; at += capacity) {
            const size_t n = std::min(capacity, count - at);
            ASSERT_EQ(it->next(it.get()), QVO_S_OK);
            expect_tile(it, n, values.substr(at * width, n * width), 1);
            EXPECT_EQ(it->next_seq_no, at + n);
        }
        EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
        EXPECT_EQ(it->next_seq_no, count);
    }
}

void check_constant(const char* name, uint8_t code, const std::string& value,
                    const std::function<QVO_RET(qvo_seq_iterator_h)>& construct, qvo_seq_iterator_next_t next) {
    SCOPED_TRACE(name);
    const size_t capacity = capacity_of(value.size());
    Member member = unary_member(name, nullptr, next, code, value.size(), qvo_seq_reset_iterator);
    member.construct = [&](qvo_seq_iterator_h it, const Member::Operands&) { return construct(it); };
    member.endless = true;
    check_protocol(member);

    Record it;
    const qvo_seq_iterator_t before = it.it;
    ASSERT_EQ(construct(it.get()), QVO_S_OK);
    EXPECT_EQ(it->last_seq_no, ~qvo_seq_no_t{0});
    EXPECT_TRUE(it->buf == before.buf && it->owned_buf == before.owned_buf);
    std::string values;
    for (size_t i = 0; i < capacity; ++i) values += value;
    for (unsigned call = 1; call < 4; ++call) {
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        EXPECT_EQ(it->next_seq_no, call * capacity * 255);
        expect_tile(it, capacity, values, '\xff');
        EXPECT_EQ(it->tile.u.arr_uint1[values.size()], 4096 - capacity > values.size() ? 0xa5 : 0xff);
    }
}

template <class V> std::string bytes_of(V v) { return std::string(reinterpret_cast<const char*>(&v), sizeof v); }

#define TEST_MEMBER(type)                                                             \
    check_array(                                                                      \
        "unget " #type, t_##type::code, sizeof(qvo_##type),                           \
        [](qvo_seq_iterator_h it, void* values, qvo_size_t count) {                   \
            return qvo_seq_unget_##type(it, static_cast<qvo_##type*>(values), count); \
        },                                                                            \
        qvo_seq_unget_##type##_next);                                                 \
    for (const qvo_##type value : {qvo_##type{0}, static_cast<qvo_##type>(-57)})      \
        check_constant(                                                               \
            "const " #type, t_##type::code, bytes_of(value),                          \
            [value](qvo_seq_iterator_h it) { return qvo_seq_const_##type(it, value); }, qvo_seq_const_##type##_next);

TEST(Sources, DeliverTheirValues) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER)
    for (const size_t width : {1U, 2U, 7U, 8U, 15U, 280U, 4095U}) {
        const auto unget = [=](qvo_seq_iterator_h it, void* values, qvo_size_t count) {
            return qvo_seq_unget_char(it, static_cast<char*>(values), count, width);
        };
        check_array("unget char", QVO_DD_CHAR, width, unget, qvo_seq_unget_char_next);
        if (width > 280) continue;
        const std::string value = std::string(width - 1, 'x') + '\0';
        const auto constant = [&](qvo_seq_iterator_h it) { return qvo_seq_const_char(it, value.data(), width); };
        check_constant("const char", QVO_DD_CHAR, value, constant, qvo_seq_const_next_char);
    }
}

TEST(Sources, RefuseStringsThatAreTooWide) {
    Record it;
    const qvo_seq_iterator_t before = it.it;
    char value[4096] = {};
    EXPECT_EQ(qvo_seq_const_char(it.get(), value, 281), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(qvo_seq_unget_char(it.get(), value, 1, 4096), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
}

TEST(Sources, AnArrayPassesIntoTheIteratorsKeeping) {
    const Allocator allocator;
    Record it;
    auto* values = static_cast<qvo_int2*>(qvo_seq_malloc(nullptr, 10 * sizeof(qvo_int2)));
    ASSERT_EQ(qvo_seq_unget_int2(it.get(), values, 10), QVO_S_OK);
    qvo_seq_free_buffer(it.get());
    EXPECT_EQ(allocator.blocks(), 0U);
    EXPECT_TRUE(it->buf == nullptr && it->owned_buf == 0);
}

}  // namespace
}  // namespace test
