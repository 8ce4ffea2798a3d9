// Text from the bytes of elements.
#include "support/protocol.h"

namespace test {
namespace {

/// The bytes of values one after the other.
template <class... Values> std::string bytes_of(Values... values) {
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

constexpr char untouched = '\xa5';  // what Record fills tiles with

/// The text of an element with the zero byte, or nothing if it is refused; checks all elements of the tile.
std::string printed(const std::string& element, const char* format, int width = 32) {
    Source source(t_char{}, {{element, 3}}, {}, element.size());
    Record it;
    EXPECT_EQ(qvo_seq_print_char(it.get(), source.get(), width, format), QVO_S_OK);
    const QVO_RET rc = it->next(it.get());
    EXPECT_EQ(source->tile_offs, 0) << "the operand does not move on";
    if (rc == QVO_E_ILLEGAL_PARAM) {
        EXPECT_TRUE(it->tile_size == 0 && it->next_seq_no == 0);
        return "";
    }
    EXPECT_EQ(rc, QVO_S_OK);
    const size_t capacity = capacity_of(it->elem_size);
    EXPECT_TRUE(it->tile_size == capacity && it->next_seq_no == capacity);
    const std::string first(it->tile.u.arr_char, it->elem_size);
    for (size_t i = 0; i < capacity; ++i) {
        EXPECT_EQ(std::string(it->tile.u.arr_char + i * it->elem_size, it->elem_size), first);
        EXPECT_EQ(literal_run(it.get(), i), static_cast<uint8_t>(untouched)) << "no run bytes";
    }
    const size_t end = first.find_last_not_of(untouched);
    EXPECT_EQ(first[end], '\0');
    return first.substr(0, end + 1);
}

std::string with_zero(const char* text) { return std::string(text, std::strlen(text) + 1); }

TEST(Print, Directives) {
    EXPECT_EQ(printed(bytes_of(7), "%d"), with_zero("7"));
    EXPECT_EQ(printed(bytes_of(-7, 8U, -9), "%d,%u;%i"), with_zero("-7,8;-9"));
    EXPECT_EQ(printed(bytes_of('x', 4000000000U), "%c%u%%"), with_zero("x4000000000%"));
    EXPECT_EQ(printed(bytes_of(0.5F, -2.0F), "%f %e"), with_zero("0.500000 -2.000000e+00"));
    EXPECT_EQ(printed(std::string("ab\0cdef\0g\0", 10), "<%s|%.4s|%.0s%s>"), with_zero("<ab|cdef|>"));
    EXPECT_EQ(printed(std::string("ab\0c", 4), "%.3s%c"), with_zero("abc")) << "takes n bytes even after a zero byte";
    EXPECT_EQ(printed(std::string("\0b", 2), "%c%c"), std::string("\0b\0", 3));
    EXPECT_EQ(printed("x", ""), with_zero(""));
}

TEST(Print, TypeLettersOfLongAndShortFormsAreCopied_deliberate) {
    EXPECT_EQ(printed(bytes_of(qvo_int8{-7}, qvo_uint8{8}), "%lld %Lxu"), with_zero("-7d 8u"));
    EXPECT_EQ(printed(bytes_of(0.5, 0.25), "%llf%lle"), with_zero("0.500000f2.500000e-01e"));
    EXPECT_EQ(printed(bytes_of(qvo_int2{-3}, qvo_uint2{65535}, qvo_int1{-4}, qvo_uint1{200}), "%hd%hu%hhi%hhu"),
              with_zero("-3d65535u-4i200u"));
}

TEST(Print, Refusals) {
    for (const char* bad : {"%", "%x", "%.s", "%.2d", "%.-1s", "%h", "%hx", "%hhf", "%l", "%L", "%ll", "%llx", "%ld"})
        EXPECT_EQ(printed(std::string(20, 'x'), bad), "") << bad;
    // A directive never reads beyond the element.
    for (const char* bad : {"%c%c%c%c", "%d", "%u", "%f", "%s", "%.4s", "%h%d", "%lld", "%llf", "%.2s%hd"})
        EXPECT_EQ(printed("abc", bad), "") << bad;
    // The text leaves room for a zero byte.
    EXPECT_EQ(printed("abc", "%.3s", 4), with_zero("abc"));
    for (const char* bad : {"%.3s", "abc", "ab%c", "%c%%%c"}) EXPECT_EQ(printed("abc", bad, 3), "") << bad;
    EXPECT_EQ(printed(with_zero("abc"), "%s", 3), "");
    EXPECT_EQ(printed("abc", "x", 1), "");
    EXPECT_EQ(printed("abc", "", 1), with_zero(""));
    EXPECT_EQ(printed(bytes_of(1e300), "%llf"), "");
}

TEST(Print, TheOperandIsMovedByTheCaller_deliberate) {
    Source source(t_char{}, {{"a"}, {"b"}, {"c"}}, {{2}}, 1);
    Record it;
    ASSERT_EQ(qvo_seq_print_char(it.get(), source.get(), 2, "%c"), QVO_S_OK);
    for (const char* expected : {"a", "b", "c"}) {
        for (int repeat = 0; repeat < 2; ++repeat) {
            ASSERT_EQ(it->next(it.get()), QVO_S_OK);
            EXPECT_STREQ(it->tile.u.arr_char, expected);
        }
        ++source->tile_offs;
    }
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
}

TEST(Print, Protocol) {
    const auto construct = [](qvo_seq_iterator_h it, qvo_seq_iterator_h input) {
        return qvo_seq_print_char(it, input, 5, "%c");
    };
    Member member = unary_member("qvo_seq_print_char", construct, qvo_seq_print_char_next, QVO_DD_CHAR, 5);
    member.operands = {operand<t_char>({{"a"}, {"b"}, {"c"}, {"d"}})};
    member.endless = true;
    check_protocol(member);

    // The width is checked after the type, but before the binding.
    Source source(t_char{}, {{"a"}});
    Record it;
    for (const int width : {33, 0, -1}) {
        EXPECT_EQ(qvo_seq_print_char(it.get(), source.get(), width, ""), QVO_E_ILLEGAL_PARAM);
        EXPECT_EQ(source->bounded, 0);
        const BindingCheck check;
        source->bounded = 1;
        EXPECT_EQ(qvo_seq_print_char(it.get(), source.get(), width, ""), QVO_E_ILLEGAL_PARAM);
        source->bounded = 0;
    }
    source->elem_type = QVO_DD_UINT1;
    EXPECT_EQ(qvo_seq_print_char(it.get(), source.get(), 33, ""), QVO_E_ILLEGAL_TYPE);
}

}  // namespace
}  // namespace test
