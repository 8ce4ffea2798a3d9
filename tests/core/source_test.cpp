// The caller's array and the constant as sequences, for every type.
#include "support/protocol.h"

namespace test {
namespace {

void check_array(const char* name, uint8_t code, size_t width,
                 const std::function<QVO_RET(qvo_seq_iterator_h, void*, qvo_size_t)>& construct,
                 qvo_seq_iterator_next_t next) {
    SCOPED_TRACE(name);
    const size_t capacity = capacity_of(width);
    std::string values;
    Random random(static_cast<unsigned>(width));
    for (size_t i = 0; i < 3 * capacity * width; ++i) values += static_cast<char>(random.below(256));

    Member member;
    member.name = name;
    member.construct = [&](qvo_seq_iterator_h it, const Member::Operands&) {
        void* array = qvo_seq_malloc(it, 1000 * width);  // the iterator keeps it
        std::memcpy(array, values.data(), 1000 * width);
        return construct(it, array, 1000);
    };
    member.type = code;
    member.width = width;
    member.next = next;
    member.reset = qvo_seq_unget_reset;
    if (3 * capacity >= 1000) check_protocol(member);

    for (const size_t count : {size_t{0}, size_t{1}, capacity - 1, capacity, capacity + 1, 3 * capacity}) {
        Record it;
        it->owned_buf = 0;
        ASSERT_EQ(construct(it.get(), &values[0], count), QVO_S_OK);
        EXPECT_TRUE(it->buf == &values[0] && it->buf_size == count * width && it->owned_buf == 1);
        EXPECT_EQ(it->last_seq_no, count - 1);
        for (size_t at = 0; at < count;) {
            const size_t n = std::min(capacity, count - at);
            ASSERT_EQ(it->next(it.get()), QVO_S_OK);
            ASSERT_EQ(it->tile_size, n);
            const char* payload = it->tile.u.arr_char;
            EXPECT_EQ(std::string(payload, n * width), values.substr(at * width, n * width));
            EXPECT_EQ(std::string(payload + 4096 - n, n), std::string(n, 1));
            at += n;
            EXPECT_EQ(it->next_seq_no, at);
        }
        EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
        EXPECT_EQ(it->next_seq_no, count);
    }
}

void check_constant(const char* name, uint8_t code, const std::string& value,
                    const std::function<QVO_RET(qvo_seq_iterator_h)>& construct, qvo_seq_iterator_next_t next) {
    SCOPED_TRACE(name);
    const size_t width = value.size(), capacity = capacity_of(width);
    Record it;
    const qvo_seq_iterator_t before = it.it;
    ASSERT_EQ(construct(it.get()), QVO_S_OK);
    EXPECT_TRUE(it->elem_type == code && it->elem_size == width && it->bounded == 0 && it->tile_size == 0);
    EXPECT_TRUE(it->first_seq_no == 0 && it->next_seq_no == 0 && it->last_seq_no == ~qvo_seq_no_t{0});
    EXPECT_TRUE(it->next == next && it->reset == qvo_seq_reset_iterator);
    EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->opd[0] == nullptr);
    EXPECT_TRUE(it->buf == before.buf && it->owned_buf == before.owned_buf && it->prepared == before.prepared);
    std::string values;
    for (size_t i = 0; i < capacity; ++i) values += value;
    for (unsigned round = 0; round < 2; ++round) {
        for (unsigned call = 1; call < 4; ++call) {
            ASSERT_EQ(it->next(it.get()), QVO_S_OK);
            EXPECT_EQ(it->tile_size, capacity);
            EXPECT_EQ(it->next_seq_no, call * capacity * 255);
            const char* payload = it->tile.u.arr_char;
            EXPECT_EQ(std::string(payload, values.size()), values);
            EXPECT_EQ(std::string(payload + 4096 - capacity, capacity), std::string(capacity, '\xff'));
            EXPECT_EQ(static_cast<uint8_t>(payload[values.size()]), 4096 - capacity > values.size() ? 0xa5 : 0xff);
        }
        ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
        EXPECT_EQ(it->next_seq_no, 0U);
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
    for (const size_t width : {1U, 2U, 7U, 8U, 15U, 280U, 4095U})
        check_array(
            "unget char", QVO_DD_CHAR, width,
            [width](qvo_seq_iterator_h it, void* values, qvo_size_t count) {
                return qvo_seq_unget_char(it, static_cast<char*>(values), count, width);
            },
            qvo_seq_unget_char_next);
    for (const size_t width : {1U, 2U, 7U, 8U, 15U, 280U}) {
        std::string value(width, 'x');
        value.back() = '\0';
        check_constant(
            "const char", QVO_DD_CHAR, value,
            [&](qvo_seq_iterator_h it) { return qvo_seq_const_char(it, value.data(), value.size()); },
            qvo_seq_const_next_char);
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
