// Strings: patterns matched over them, strings and raw bytes joined, text printed from the bytes of elements.
#include <memory>

#include "support/protocol.h"

namespace test {
namespace {

// ---- Patterns -------------------------------------------------------------------------------------------------------

/// What a pattern means for a string without zero bytes, stated without regard to how it is found out.
bool like(const char* pattern, std::string_view string) {
    if (*pattern == '\0') return string.empty();
    if (*pattern == '%') return like(pattern + 1, string) || (!string.empty() && like(pattern, string.substr(1)));
    const bool escaped = *pattern == '\\';
    if (escaped) ++pattern;
    if (string.empty() || *pattern == '\0') return false;
    return (*pattern == string[0] || (*pattern == '_' && !escaped)) && like(pattern + 1, string.substr(1));
}

bool model(const std::string& pattern, std::string string, qvo_seq_match_func_t* matcher = nullptr) {
    string = string.c_str();
    int wildcards = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%' || pattern[i] == '_') ++wildcards;
        if (pattern[i] == '\\') ++i;
    }
    const bool contains = wildcards == 2 && pattern.front() == '%' && pattern.back() == '%';
    if (matcher != nullptr)
        *matcher = wildcards == 0 ? qvo_seq_exact_match : contains ? qvo_seq_match_substring : qvo_seq_match_regex;
    if (wildcards == 0) return string == pattern;
    if (contains) return string.find(pattern.substr(1, pattern.size() - 2)) != std::string::npos;
    return like(pattern.c_str(), string);
}

/// A constructed match, whose matcher is called on single strings. All are in blocks of just their size, so that
/// reading after them is noticed.
class Matcher {
 public:
    /// `filler` is what the record holds before.
    Matcher(const std::string& pattern, size_t width, int filler = 0)
        : pattern_(pattern.c_str(), pattern.c_str() + pattern.size() + 1), input_(t_char{}, {{"x"}}, {}, width) {
        std::memset(it_->context, filler, sizeof it_->context);
        EXPECT_EQ(qvo_seq_match(it_.get(), input_.get(), pattern_.data()), QVO_S_OK);
        EXPECT_EQ(context().pn, static_cast<int>(pattern.size()));
    }
    bool operator()(const std::string& string) const {
        std::vector<char> exact(string.begin(), string.end());
        exact.resize(it_.it.opd[0]->elem_size);
        exact.shrink_to_fit();
        return context().match(&context(), exact.data()) != 0;
    }
    const qvo_seq_match_context_t& context() const {
        return *reinterpret_cast<const qvo_seq_match_context_t*>(it_.it.context);
    }

 private:
    std::vector<char> pattern_;
    Source input_;
    Record it_;
};

TEST(Match, FollowsTheModel) {
    Random random(1);
    for (int round = 0; round < 2000; ++round) {
        const std::string pattern = random_text(random, "aab%%_\\", 0, 8);
        if (pattern.ends_with('\\')) continue;
        const size_t width = random.between(1, 12);
        const Matcher match(pattern, width);
        for (int i = 0; i < 30; ++i) {
            const std::string string = random_text(random, "aab%_\\", 0, width);
            qvo_seq_match_func_t matcher;
            ASSERT_EQ(match(string), model(pattern, string, &matcher)) << pattern << " " << string;
            ASSERT_EQ(match.context().match, matcher) << pattern;
        }
    }
    EXPECT_FALSE(Matcher("%b\\", 9)("ab\\")) << "an escape at the end matches nothing";
}

/// The search step by step: it moves on by the byte under the needle's last one.
bool found(const qvo_seq_match_context_t& context, const std::string& string) {
    const std::string needle(context.pattern + 1, static_cast<size_t>(context.pn) - 2);
    for (size_t end = needle.size() - 1; end < string.size() && string[end] != '\0';) {
        if (string.compare(end + 1 - needle.size(), needle.size(), needle) == 0) return true;
        end += std::max<size_t>(1, context.shift[static_cast<uint8_t>(string[end])]);
    }
    return false;
}

// The matcher, and the operator over tiles. Zero bytes may be stepped over, and byte 255 leads astray.
TEST(Match, SubstringsLikeTheSearchStepByStep_deliberate) {
    const std::string_view alphabets[] = {"ab", "abcdefgh", {"aab\0", 4}, "abc\xff", {"abcdef\0\xff", 8}};
    for_seeds(600, [&](Random& random, unsigned seed) {
        const std::string_view letters = alphabets[random.below(std::size(alphabets))];
        std::string needle = random_text(random, letters, 1, seed % 4 == 0 ? 30 : 4);
        std::replace(needle.begin(), needle.end(), '\0', 'a');
        const std::string pattern = "%" + needle + "%";
        const size_t width = seed % 10 == 0 ? 1 : random.between(1, seed % 3 == 0 ? 1500 : seed % 3 == 1 ? 70 : 9);
        const int filler = int(random.below(5));
        const Matcher match(pattern, width, filler);
        const bool plain = letters.find('\0') == letters.npos && letters.find('\xff') == letters.npos;
        Items<t_char> strings(random.between(1, seed % 3 == 2 ? 5 : unsigned(capacity_of(width))));
        for (size_t i = 0; i < strings.size(); ++i) {
            const std::string& string = strings[i].value = random_text(random, letters, width, width);
            if (i > 30) continue;
            ASSERT_EQ(match(string), found(match.context(), string)) << needle << " in string " << i;
            ASSERT_TRUE(!plain || match(string) == (string.find(needle) != std::string::npos)) << needle;
        }
        Source source(t_char{}, strings, {}, width);
        Record it;
        std::memset(it->context, filler, sizeof it->context);
        ASSERT_EQ(qvo_seq_match(it.get(), source.get(), pattern.c_str()), QVO_S_OK);
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        for (size_t i = 0; i < it->tile_size; ++i) {
            const std::string rest(source->tile.u.arr_char + i, std::min(width, sizeof(qvo_seq_payload_t) - i));
            ASSERT_EQ(it->tile.u.arr_uint1[i] != 0, found(match.context(), rest)) << "element " << i;
        }
    });
    for (const size_t length : {size_t{255}, size_t{257}, size_t{600}}) {
        const Matcher match("%" + std::string(length - 1, 'a') + "b%", 1500);
        EXPECT_TRUE(match(std::string(800, 'a').replace(700, 1, "b")));
        EXPECT_FALSE(match(std::string(800, 'a').replace(length - 2, 1, "b")));
    }
}

TEST(Match, ShiftOfByte255IsNotFilledAndZeroBytesAreSteppedOver_deliberate) {
    const Matcher match("%ab%", 9, 7);
    for (int c = 0; c < 256; ++c) EXPECT_EQ(match.context().shift[c], c == 255 ? 7 : c == 'a' ? 1 : 2) << "byte " << c;
    EXPECT_FALSE(match("x\377ab")) << "skipped";
    EXPECT_EQ(Matcher("%\377bc%", 9, 7).context().shift[255], 2);
    EXPECT_TRUE(Matcher("%cd%", 9)(std::string("\0xcd", 4)));
    EXPECT_FALSE(Matcher("%cd%", 9)(std::string("x\0cd", 4)));
}

/// The i-th match of a call is tried on what follows byte i of the operand's tile, which ends with the tile.
void check_match(const char* pattern, size_t width) {
    const auto construct = [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) {
        return qvo_seq_match(it, input, pattern);
    };
    const auto draw_strings = [=](Random& random, size_t n) {
        // The substring search may step over a zero byte: it gets none to see.
        const auto word = [=](Random& r) {
            std::string text = random_text(r, "aabc", 0, std::min<size_t>(width, 7));
            if (std::string(pattern).ends_with('%')) text.resize(width, 'c');
            return text;
        };
        return operand<t_char>(random_items<t_char>(random, n, word), width);
    };
    check_unary(unary_member("qvo_seq_match", construct, qvo_seq_match_next, QVO_DD_UINT1, 1), draw_strings,
                [=](qvo_seq_iterator_h it, size_t i, size_t) {
                    const size_t n = std::min(width, sizeof(qvo_seq_payload_t) - i);
                    it->tile.u.arr_uint1[i] = model(pattern, std::string(it->opd[0]->tile.u.arr_char + i, n));
                });
}

TEST(Match, TheStringMovesByOneByteFromTheFirstOneInEachCall_deliberate) {
    for (const auto& [pattern, width] :
         {std::pair("a", 1), {"ab", 2}, {"a%b_c", 7}, {"%ab%", 7}, {"%\2_%", 3000}, {"%\2%", 3000}})
        check_match(pattern, size_t(width));
}

// ---- Joining --------------------------------------------------------------------------------------------------------

/// A member against `model` of the elements' bytes.
template <class Model>
void check_joining(const Member& member, const DrawOperand& draw_left, const DrawOperand& draw_right, Model model) {
    check_binary(member, draw_left, draw_right, [=](qvo_seq_iterator_h it, size_t i) {
        literal_put_bytes(it, i, model(literal_bytes(it->opd[0]), literal_bytes(it->opd[1])));
    });
}

TEST(Text, AddCharFollowsTheModel) {
    static constexpr unsigned widths[][2] = {{1, 1}, {2, 3}, {4, 3}, {8, 8}, {15, 17}, {1, 31}, {31, 1}, {7, 20}};
    const auto draw = [](size_t width) {
        return [=](Random& random, size_t n) {
            return operand<t_char>(random_strings(random, n, std::string_view("ab\xff\0", 4), 0, width), width);
        };
    };
    for (const auto& w : widths)
        check_joining(binary_member(MEMBER(qvo_seq_add_char), QVO_DD_CHAR, w[0] + w[1]), draw(w[0]), draw(w[1]),
                      [](const std::string& a, const std::string& b) {
                          std::string joined = std::string(a.c_str()) + b.c_str();
                          joined.resize(a.size() + b.size());
                          return joined;
                      });
}

TEST(Text, CatJoinsTheBytesOfAnyTypes) {
    const auto draw = [](const AnyType& type) {
        return [=](Random& random, size_t n) { return type.operand(random, n); };
    };
    for (const AnyType& a : {any_type<t_int2>(), any_type<t_double>(), any_type<t_char>(7)})
        for (const AnyType& b : all_types()) {
            SCOPED_TRACE(a.name + " and " + b.name);
            Member member = binary_member(MEMBER(qvo_seq_cat), QVO_DD_CHAR, a.width + b.width);
            member.type_checked = {false, false};
            check_joining(member, draw(a), draw(b), [](const std::string& x, const std::string& y) { return x + y; });
        }
}

TEST(Text, JointWidthAbove32IsAnIllegalTypeAndWhatWidensLaterIsCutOff_deliberate) {
    for (const ConstructBinary construct : {qvo_seq_add_char, qvo_seq_cat}) {
        Source a(t_char{}, {{"a"}}, {}, 20), b(t_char{}, {{"b"}}, {}, 13), c(t_char{}, {{"c"}}, {}, 12);
        expect_refused(QVO_E_ILLEGAL_TYPE, construct, a.get(), b.get());
        EXPECT_TRUE(a->bounded == 0 && b->bounded == 0);
        Record it;
        EXPECT_EQ(construct(it.get(), a.get(), c.get()), QVO_S_OK);
        EXPECT_EQ(it->elem_size, 32);
        // Like a text source that learns its width from its first string.
        Source late(t_char{}, {{"abcdefgh", 255}}, {}, 8), xyz(t_char{}, {{"xyz"}, {"uvw"}}, {}, 3);
        late->elem_size = 0;
        ASSERT_EQ(construct(it.get(), late.get(), xyz.get()), QVO_S_OK);
        late->elem_size = 8;
        check_items<t_char>(drain<t_char>(it.get()), {{"abc", 1}, {"abc", 1}});
    }
}

// ---- Printing -------------------------------------------------------------------------------------------------------

/// The bytes of values one after the other.
template <class... Values> std::string bytes_of(Values... values) {
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

constexpr char untouched = '\xa5';  // what Record fills tiles with

/// The text of an element without its zero byte, or "refused"; checks all elements of the tile.
std::string printed(const std::string& element, const char* format, int width = 32) {
    Source source(t_char{}, {{element, 3}}, {}, element.size());
    Record it;
    EXPECT_EQ(qvo_seq_print_char(it.get(), source.get(), width, format), QVO_S_OK);
    const QVO_RET rc = it->next(it.get());
    EXPECT_EQ(source->tile_offs, 0) << "the operand does not move on";
    if (rc == QVO_E_ILLEGAL_PARAM) return it->tile_size == 0 && it->next_seq_no == 0 ? "refused" : "in part";
    EXPECT_EQ(rc, QVO_S_OK);
    const size_t capacity = capacity_of(it->elem_size);
    EXPECT_TRUE(it->tile_size == capacity && it->next_seq_no == capacity);
    const std::string first = literal_bytes(it.get(), 0);
    for (size_t i = 0; i < capacity; ++i) {
        EXPECT_EQ(literal_bytes(it.get(), i), first);
        EXPECT_EQ(literal_run(it.get(), i), static_cast<uint8_t>(untouched)) << "no run bytes";
    }
    const size_t end = first.find_last_not_of(untouched);
    EXPECT_EQ(first[end], '\0');
    return first.substr(0, end);
}

TEST(Print, Directives) {
    EXPECT_EQ(printed(bytes_of(-7, 8U, -9), "%d,%u;%i"), "-7,8;-9");
    EXPECT_EQ(printed(bytes_of('x', 4000000000U), "%c%u%%"), "x4000000000%");
    EXPECT_EQ(printed(bytes_of(0.5F, -2.0F), "%f %e"), "0.500000 -2.000000e+00");
    EXPECT_EQ(printed(std::string("ab\0cdef\0g\0", 10), "<%s|%.4s|%.0s%s>"), "<ab|cdef|>");
    EXPECT_EQ(printed(std::string("ab\0c", 4), "%.3s%c"), "abc") << "takes n bytes even after a zero byte";
    EXPECT_EQ(printed(std::string("\0b", 2), "%c%c"), std::string("\0b", 2));
    EXPECT_EQ(printed("x", ""), "");
}

TEST(Print, TypeLettersOfLongAndShortFormsAreCopied_deliberate) {
    EXPECT_EQ(printed(bytes_of(qvo_int8{-7}, qvo_uint8{8}), "%lld %Lxu"), "-7d 8u");
    EXPECT_EQ(printed(bytes_of(0.5, 0.25), "%llf%lle"), "0.500000f2.500000e-01e");
    EXPECT_EQ(printed(bytes_of(qvo_int2{-3}, qvo_uint2{65535}, qvo_int1{-4}, qvo_uint1{200}), "%hd%hu%hhi%hhu"),
              "-3d65535u-4i200u");
}

TEST(Print, Refusals) {
    for (const char* bad : {"%", "%x", "%.s", "%.2d", "%.-1s", "%h", "%hx", "%hhf", "%l", "%L", "%ll", "%llx", "%ld"})
        EXPECT_EQ(printed(std::string(20, 'x'), bad), "refused") << bad;
    // A directive never reads beyond the element.
    for (const char* bad : {"%c%c%c%c", "%d", "%u", "%f", "%s", "%.4s", "%h%d", "%lld", "%llf", "%.2s%hd"})
        EXPECT_EQ(printed("abc", bad), "refused") << bad;
    // The text leaves room for a zero byte.
    EXPECT_EQ(printed("abc", "%.3s", 4), "abc");
    for (const char* bad : {"%.3s", "abc", "ab%c", "%c%%%c"}) EXPECT_EQ(printed("abc", bad, 3), "refused") << bad;
    EXPECT_EQ(printed(bytes_of('a', 'b', 'c', '\0'), "%s", 3), "refused");
    EXPECT_EQ(printed("abc", "x", 1), "refused");
    EXPECT_EQ(printed("abc", "", 1), "");
    EXPECT_EQ(printed(bytes_of(1e300), "%llf"), "refused");
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
    const BindingCheck check;
    Source source(t_char{}, {{"a"}});
    for (const uint8_t bounded : {uint8_t{0}, uint8_t{1}}) {
        source->bounded = bounded;
        for (const int width : {33, 0, -1})
            expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_print_char, source.get(), width, "");
        EXPECT_EQ(source->bounded, bounded);
    }
    source->elem_type = QVO_DD_UINT1;
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_print_char, source.get(), 33, "");
}

}  // namespace
}  // namespace test
