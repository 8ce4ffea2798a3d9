// Pattern matching over strings.
#include <memory>
#include <string_view>

#include "support/protocol.h"

namespace test {
namespace {

/// What a pattern means for a string without zero bytes, stated without regard to how it is found out.
bool like(const char* pattern, std::string_view string) {
    if (*pattern == '\0') return string.empty();
    if (*pattern == '%') return like(pattern + 1, string) || (!string.empty() && like(pattern, string.substr(1)));
    const bool escaped = *pattern == '\\';
    if (escaped) ++pattern;
    if (string.empty() || *pattern == '\0') return false;
    return (*pattern == string[0] || (*pattern == '_' && !escaped)) && like(pattern + 1, string.substr(1));
}

bool model(const std::string& pattern, std::string string) {
    string = string.c_str();
    int wildcards = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%' || pattern[i] == '_') ++wildcards;
        if (pattern[i] == '\\') ++i;
    }
    if (wildcards == 0) return string == pattern;
    if (wildcards == 2 && pattern.front() == '%' && pattern.back() == '%')
        return string.find(pattern.substr(1, pattern.size() - 2)) != std::string::npos;
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

TEST(Match, WorkedCases) {
    const struct {
        const char* pattern;
        qvo_seq_match_func_t matcher;
        std::vector<const char*> matches, others;
    } cases[] = {
        {"abc", qvo_seq_exact_match, {"abc"}, {"abcd", "ab", "ABC", ""}},
        {"", qvo_seq_exact_match, {""}, {"a"}},
        {"a\\_c", qvo_seq_exact_match, {"a\\_c"}, {"a_c", "abc"}},
        {"%abc%", qvo_seq_match_substring, {"xxabcyy", "abc", "ababc"}, {"ab", "abxc", "ABC", ""}},
        {"%a\\%b%", qvo_seq_match_substring, {"xa\\%b"}, {"a%b", "a\\b"}},
        {"%%", qvo_seq_match_substring, {"", "abc"}, {}},
        {"a_c", qvo_seq_match_regex, {"abc", "axc"}, {"ac", "abcd", "abbc"}},
        {"a%c", qvo_seq_match_regex, {"ac", "abbbc", "abcbc"}, {"a", "abcb", "bc"}},
        {"%", qvo_seq_match_regex, {"", "abc"}, {}},
        {"_%", qvo_seq_match_regex, {"a", "abc"}, {""}},
        {"%_%", qvo_seq_match_regex, {"a", "abc"}, {""}},
        {"a\\_c%", qvo_seq_match_regex, {"a_c", "a_cx"}, {"abcx"}},
        {"%b\\", qvo_seq_match_regex, {}, {"ab", "ab\\"}},
    };
    for (const auto& c : cases) {
        const Matcher match(c.pattern, 9);
        EXPECT_EQ(match.context().match, c.matcher) << c.pattern;
        EXPECT_EQ(match.context().pn, static_cast<int>(std::strlen(c.pattern)));
        for (const char* string : c.matches) EXPECT_TRUE(match(string)) << c.pattern << " " << string;
        for (const char* string : c.others) EXPECT_FALSE(match(string)) << c.pattern << " " << string;
    }
    EXPECT_TRUE(Matcher("abc", 3)("abc")) << "as wide as the string";
    EXPECT_FALSE(Matcher("abcd", 3)("abc"));
}

std::string random_text(Random& random, const char* letters, size_t n, unsigned longest) {
    std::string text;
    for (unsigned k = random.below(longest + 1); k != 0; --k) text += letters[random.below(static_cast<unsigned>(n))];
    return text;
}

TEST(Match, FollowsTheModel) {
    Random random(1);
    for (int round = 0; round < 2000; ++round) {
        const std::string pattern = random_text(random, "aab%%_\\", 7, 8);
        if (pattern.ends_with('\\')) continue;
        const size_t width = random.between(1, 12);
        const Matcher match(pattern, width);
        for (int i = 0; i < 30; ++i) {
            const std::string string = random_text(random, "aab%_\\", 6, static_cast<unsigned>(width));
            ASSERT_EQ(match(string), model(pattern, string)) << pattern << " " << string;
        }
    }
}

TEST(Match, SubstringsLikeANaiveSearch) {
    Random random(2);
    for (unsigned round = 0; round < 1500; ++round) {
        const size_t width = random.between(1, 40);
        const std::string needle = random_text(random, "abc\xff", 4, 10);
        // With the entry of byte 255 at 0 or 1 the search goes on by 1 from there.
        const Matcher match("%" + needle + "%", width, round % 2 == 0 ? 0 : 1);
        for (int i = 0; i < 30; ++i) {
            const std::string string = random_text(random, "abc\xff", 4, static_cast<unsigned>(width));
            ASSERT_EQ(match(string), string.find(needle) != std::string::npos) << needle << " in " << string;
        }
    }
    for (const size_t length : {size_t{255}, size_t{257}, size_t{600}}) {
        const std::string needle = std::string(length - 1, 'a') + "b";
        const Matcher match("%" + needle + "%", 1500);
        EXPECT_TRUE(match(std::string(800, 'a').replace(700, 1, "b")));
        EXPECT_FALSE(match(std::string(800, 'a').replace(length - 2, 1, "b")));
    }
}

TEST(Match, ShiftOfByte255IsNotFilled_deliberate) {
    const Matcher match("%ab%", 9, 7);
    for (int c = 0; c < 256; ++c) EXPECT_EQ(match.context().shift[c], c == 255 ? 7 : c == 'a' ? 1 : 2) << "byte " << c;
    const std::string byte_255 = "\xff";
    EXPECT_FALSE(match("x" + byte_255 + "ab")) << "skipped";
    EXPECT_EQ(Matcher("%" + byte_255 + "bc%", 9, 7).context().shift[255], 2);
}

TEST(Match, SubstringSearchStepsOverZeroBytes_deliberate) {
    const Matcher match("%cd%", 9);
    EXPECT_TRUE(match(std::string("\0xcd", 4)));
    EXPECT_FALSE(match(std::string("x\0cd", 4)));
}

// ---- The operator -------------------------------------------------------------------------------------------------

/// The i-th match of a call is tried on what follows byte i of the operand's tile, which ends with the tile.
void check_match(const char* pattern, size_t width) {
    const auto construct = [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) {
        return qvo_seq_match(it, input, pattern);
    };
    const auto draw_strings = [=](Random& random, size_t n) {
        // The substring search may step over a zero byte: it gets none to see.
        const auto word = [=](Random& r) {
            std::string text = random_text(r, "aabc", 4, static_cast<unsigned>(std::min<size_t>(width, 7)));
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

TEST(Match, TheStringMovesByOneByte_deliberate) {
    check_match("a", 1);
    check_match("ab", 2);
    check_match("a%b_c", 7);
    check_match("%ab%", 7);
    check_match("%a", 3000);
}

TEST(Match, EachCallStartsAtTheFirstByte_deliberate) {
    Source source(t_char{}, {{"ab", 3}, {"cd", 4}, {"bc", 5}}, {}, 2);
    Record it;
    ASSERT_EQ(qvo_seq_match(it.get(), source.get(), "bc"), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_bool>(tile_items<t_bool>(it.it), {{0, 3}, {1, 4}, {0, 5}});
}

}  // namespace
}  // namespace test
