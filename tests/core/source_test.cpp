// Sources for every type: the caller's array, the constant, arithmetic progressions.
#include "support/number.h"

namespace test {
namespace {

void check_array(const char* name, uint8_t code, size_t width,
                 const std::function<QVO_RET(qvo_seq_iterator_h, void*, qvo_size_t)>& construct,
                 qvo_seq_iterator_next_t next) {
    SCOPED_TRACE(name);
    const size_t capacity = capacity_of(width);
    Random random(static_cast<unsigned>(width));
    std::string values(3 * capacity * width, '\0');
    for (char& byte : values) byte = static_cast<char>(random.below(256));
    Member member = unary_member(name, nullptr, next, code, width, qvo_seq_unget_reset);
    const auto literal = [&](qvo_seq_iterator_h it) -> QVO_RET {
        const size_t at = it->next_seq_no, n = std::min(capacity, it->buf_size / width - at);
        if (n == 0) return QVO_S_CURSOR_END;
        std::memcpy(it->tile.u.arr_char, &values[at * width], n * width);
        for (size_t i = 0; i < n; ++i) literal_put_counted(it, i, 1);
        return literal_end(it, n, QVO_S_OK);
    };
    for (const size_t count : {3 * capacity, size_t{0}, size_t{1}, capacity - 1, capacity, capacity + 1}) {
        member.construct = [&](qvo_seq_iterator_h it, const Member::Operands&) {
            void* const array = qvo_seq_malloc(it, values.size());  // the iterator keeps it
            std::memcpy(array, values.data(), values.size());
            const QVO_RET rc = construct(it, array, count);
            EXPECT_TRUE(it->buf == array && it->buf_size == count * width && it->owned_buf == 1);
            EXPECT_EQ(it->last_seq_no, count - 1);
            return rc;
        };
        if (count == 3 * capacity) check_protocol(member);
        check_steps(member, literal, {});
    }
}

void check_constant(const char* name, uint8_t code, const std::string& value,
                    const std::function<QVO_RET(qvo_seq_iterator_h)>& construct, qvo_seq_iterator_next_t next) {
    Member member = unary_member(name, nullptr, next, code, value.size(), qvo_seq_reset_iterator);
    member.construct = [&](qvo_seq_iterator_h it, const Member::Operands&) {
        const qvo_seq_iterator_t before = *it;
        const QVO_RET rc = construct(it);
        EXPECT_TRUE(it->buf == before.buf && it->owned_buf == before.owned_buf && it->last_seq_no == ~qvo_seq_no_t{0});
        return rc;
    };
    member.endless = true;
    check_protocol(member);
    const auto literal = [&](qvo_seq_iterator_h it) {
        const size_t capacity = capacity_of(value.size());
        for (size_t i = 0; i < capacity; ++i) {
            literal_put_bytes(it, i, value);
            literal_put_counted(it, i, 255);
        }
        return literal_end(it, capacity, QVO_S_OK);
    };
    check_steps(member, literal, {}, nullptr, 4);
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
    char value[4096] = {};
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_const_char, value, 281);
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_unget_char, value, 1, 4096);
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

// ---- Arithmetic progressions ---------------------------------------------------------------------------------------

template <class V> V model(uint64_t position, V init, V step) {
    if constexpr (std::is_floating_point_v<V>) {
        const V product = static_cast<V>(position) * step;
        return product + init;
    } else {
        return static_cast<V>(position * static_cast<uint64_t>(step) + static_cast<uint64_t>(init));  // modulo 2^64
    }
}

template <class T> using Constructor = QVO_RET (*)(qvo_seq_iterator_h, typename T::value, typename T::value, uint64_t);

template <class T> void check_progression(const char* name, Constructor<T> construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    const size_t capacity = capacity_of(T::width);
    Member member = unary_member(name, nullptr, next, T::code, T::width, qvo_seq_reset_iterator);
    for_seeds(28, [&](Random& random, unsigned seed) {
        const V init = random.value<V>(), step = seed == 0 ? V{0} : random.value<V>();  // without an end: a constant
        const uint64_t counts[] = {~uint64_t{0}, 0, 1, capacity - 1, capacity, capacity + 1, 5 * capacity};
        const uint64_t count = counts[seed % 7];
        // From the start, and from positions that are not exact in a float or in a double.
        const uint64_t starts[] = {0, (uint64_t{1} << 24) - 5, (uint64_t{1} << 52) - 7, ~uint64_t{0} - 6 * capacity};
        member.construct = [=](qvo_seq_iterator_h it, const Member::Operands&) {
            const QVO_RET rc = construct(it, init, step, count);
            EXPECT_EQ(it->last_seq_no, count);
            if (seed % 7 == 0) it->next_seq_no = starts[seed / 7];
            return rc;
        };
        member.endless = seed == 0;
        if (seed == 0) check_protocol(member);
        const auto literal = [=](qvo_seq_iterator_h it) -> QVO_RET {
            const uint64_t n = std::min<uint64_t>(capacity, count - it->next_seq_no);
            it->tile_size = static_cast<uint16_t>(n);
            if (n == 0) return QVO_S_CURSOR_END;
            for (size_t i = 0; i < n; ++i) {
                literal_put(it, i, model(it->next_seq_no++, init, step));
                literal_put_run(it, i, 1);
            }
            return QVO_S_OK;
        };
        check_steps(member, literal, {}, nullptr, 7);
    });
}

#define TEST_PROGRESSION(type) check_progression<t_##type>(MEMBER(qvo_seq_aprogres_##type));

TEST(Progression, FollowsTheModelAndEndsWithAnEmptyTile_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_PROGRESSION) }

}  // namespace
}  // namespace test
