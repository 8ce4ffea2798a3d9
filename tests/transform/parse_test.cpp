// Text literals read as sequences.
#include <optional>

#include "support/protocol.h"

namespace test {
namespace {

/// A text in a block of just its size, so that reading past its end is noticed.
using Text = std::vector<char>;
Text text_of(const std::string& text) { return Text(text.c_str(), text.c_str() + text.size() + 1); }

Member parser_member(const char* name, const std::function<QVO_RET(qvo_seq_iterator_h)>& construct,
                     qvo_seq_iterator_next_t next, uint8_t type, size_t width,
                     qvo_seq_iterator_reset_t reset = qvo_seq_reset_parse_iterator) {
    Member member = unary_member(name, nullptr, next, type, width, reset);
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands&) { return construct(it); };
    return member;
}

// ---- Numbers ----------------------------------------------------------------------------------------------------

using ParseNumbers = QVO_RET (*)(qvo_seq_iterator_h, const char*);

template <class V> std::string number_text(Random& random, V v) {
    std::string text(random.chance(20) ? random.below(90) : 0, random.chance(50) ? ' ' : '\n');
    if (std::is_integral_v<V> && std::is_signed_v<V> && v >= 0 && random.chance(30)) {
        char digits[32];
        std::snprintf(digits, sizeof digits, random.chance(50) ? "0x%llX" : "0%llo",
                      static_cast<unsigned long long>(v));
        return text + digits;
    }
    return text + to_text(v);
}

/// The rules of a call, from the values and not from the text: `at` values have been delivered so far.
template <class V> QVO_RET literal_parse(qvo_seq_iterator_h it, const std::vector<V>& values, size_t* at) {
    const size_t capacity = capacity_of(sizeof(V));
    size_t count = 0, k = *at;
    unsigned run = 0;
    for (; k < values.size(); ++k) {
        if (count == 0 || values[k] != values[k - 1] || run == 255) {
            if (count == capacity) break;
            literal_put(it, count++, values[k]);
            run = 0;
        }
        ++run;
    }
    if (count == 0) return QVO_S_CURSOR_END;
    *at = k;
    it->tile_size = static_cast<uint16_t>(count);
    it->next_seq_no += count;
    literal_put_run(it, count - 1, run);
    return QVO_S_OK;
}

template <class T> void check_parse(const char* name, ParseNumbers construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    check_random(
        parser_member(name, nullptr, next, T::code, T::width), 6, [=](Random& random, unsigned seed, Member& m) {
            std::vector<V> values;
            std::string literal = random.chance(50) ? "{" : "";
            // The first text fits a tile: only the last run byte of each is written, so that no more can be compared.
            for (size_t n = seed == 0 ? 9 : random.between(1, 3000); n != 0;) {
                const V v = random.value<V>();
                for (size_t repeat = random.chance(10) ? random.below(600) + 1 : 1; repeat != 0 && n != 0;
                     --repeat, --n) {
                    literal += (values.empty() ? "" : ",") + number_text(random, v);
                    values.push_back(v);
                }
            }
            if (random.chance(50)) literal += random.chance(50) ? "}" : ",} ignored";
            m.construct = [=, text = text_of(literal)](qvo_seq_iterator_h it, const Member::Operands&) {
                return construct(it, text.data());
            };
            return [=, at = size_t{0}](qvo_seq_iterator_h it) mutable { return literal_parse(it, values, &at); };
        });
}

#define TEST_MEMBER(type) check_parse<t_##type>(MEMBER(qvo_seq_parse_##type));

TEST(Parse, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

/// All values, and then the code of the call that ends the text or fails.
template <class T>
std::pair<std::vector<typename T::value>, QVO_RET> values_of(ParseNumbers construct, const std::string& literal) {
    const Text text = text_of(literal);
    Record it;
    EXPECT_EQ(construct(it.get(), text.data()), QVO_S_OK);
    Items<T> items;
    const QVO_RET rc = read_items<T>(it.get(), items);
    std::vector<typename T::value> values;
    for (const auto& item : items) values.push_back(item.value);
    return {values, rc};
}

TEST(Parse, WorkedCases) {
    using Ints = std::pair<std::vector<qvo_int4>, QVO_RET>;
    const std::pair<const char*, Ints> cases[] = {
        {"", {{}, QVO_S_CURSOR_END}},         {"{}", {{}, QVO_S_CURSOR_END}},
        {"{1,x}", {{}, QVO_E_ILLEGAL_PARAM}}, {"{1,,2}", {{}, QVO_E_ILLEGAL_PARAM}},
        {"{1, }", {{}, QVO_E_ILLEGAL_PARAM}}, {"{1 ,2}", {{}, QVO_E_ILLEGAL_PARAM}},
        {"{{1}", {{}, QVO_E_ILLEGAL_PARAM}},  {"{ 1,\n-2,}3", {{1, -2}, QVO_S_CURSOR_END}},
        {"1 2", {{1, 2}, QVO_S_CURSOR_END}},  {"0x10,010,-0x10", {{16, 8, -16}, QVO_S_CURSOR_END}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(values_of<t_int4>(qvo_seq_parse_int4, text), expected) << text;
    EXPECT_EQ(values_of<t_uint1>(qvo_seq_parse_uint1, "{300,-1}").first, (std::vector<qvo_uint1>{44, 255}));
    EXPECT_EQ(values_of<t_int1>(qvo_seq_parse_int1, "{1,257,-255}").first, std::vector<qvo_int1>{1})
        << "after narrowing";
    EXPECT_EQ(values_of<t_float>(qvo_seq_parse_float, "{0x1p-2,1e300,.1}").first,
              (std::vector<qvo_float>{0.25F, HUGE_VALF, 0.1F}));
}

TEST(Parse, NumbersAreWhatTheScannerReads) {
    Random random(1);
    for (int round = 0; round < 20000; ++round) {
        std::string number = random.chance(30) ? "-" : "";
        for (unsigned n = random.between(1, 20); n != 0; --n) number += static_cast<char>('0' + random.below(10));
        long long integer = 0;
        ASSERT_EQ(std::sscanf(number.c_str(), "%lli", &integer), 1);
        ASSERT_EQ(values_of<t_int8>(qvo_seq_parse_int8, number).first.at(0), integer) << number;
        int narrow = 0;
        ASSERT_EQ(std::sscanf(number.c_str(), "%i", &narrow), 1);
        ASSERT_EQ(values_of<t_int4>(qvo_seq_parse_int4, number).first.at(0), narrow) << number;
        if (random.chance(80)) number += '.';
        for (unsigned n = random.below(20); n != 0; --n) number += static_cast<char>('0' + random.below(10));
        double floating = 0;
        ASSERT_EQ(std::sscanf(number.c_str(), "%lf", &floating), 1);
        ASSERT_TRUE(same_value(values_of<t_double>(qvo_seq_parse_double, number).first.at(0), floating)) << number;
    }
}

TEST(Parse, OnlyTheLastRunByteIsWritten_deliberate) {
    Record it;
    std::memset(&it->tile, 9, sizeof it->tile);
    ASSERT_EQ(qvo_seq_parse_int4(it.get(), "{1,1,1,2,2}"), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(it.it), {{1, 9}, {2, 2}});
    EXPECT_EQ(it->next_seq_no, 2U) << "elements, not positions";
}

TEST(Parse, ABadTokenBehindAFullTileFailsTheCall_deliberate) {
    std::string literal;
    for (int i = 0; i < 455; ++i) literal += std::to_string(i) + ",";
    EXPECT_EQ(values_of<t_int8>(qvo_seq_parse_int8, literal + "y"),
              (std::pair<std::vector<qvo_int8>, QVO_RET>{{}, QVO_E_ILLEGAL_PARAM}));
    const Text text = text_of(literal + "455,z");
    Record it;
    ASSERT_EQ(qvo_seq_parse_int8(it.get(), text.data()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    const qvo_seq_iterator_t before = it.it;
    for (int call = 0; call < 3; ++call) EXPECT_EQ(it->next(it.get()), QVO_E_ILLEGAL_PARAM);
    EXPECT_TRUE(it->tile_size == 455 && it->next_seq_no == 455);
    EXPECT_EQ(std::memcmp(before.context, it->context, sizeof before.context), 0) << "the position stays";
}

TEST(Parse, NumbersOfAnyLength) {
    // Longer than any piece that might be looked at alone; the exponent at the end decides the value.
    const std::string rest = ",7" + std::string(9000, ' ') + "8";
    static constexpr size_t lengths[] = {20, 45, 46,   47,   48,   49,   50,   60,   63,  64,
                                         65, 70, 4070, 4079, 4080, 4081, 4095, 4096, 8000};
    for (const size_t length : lengths) {
        const std::string number = std::string(length - 9, '0') + "12.5e+03" + "9";
        const auto [values, rc] = values_of<t_double>(qvo_seq_parse_double, number + rest);
        EXPECT_EQ(rc, QVO_S_CURSOR_END);
        EXPECT_EQ(values, (std::vector<double>{12.5e39, 7, 8})) << length;
        const std::string blank(length, '\t');
        EXPECT_EQ(values_of<t_int4>(qvo_seq_parse_int4, blank + "0x7ffffffe" + rest).first,
                  (std::vector<qvo_int4>{0x7ffffffe, 7, 8}));
        EXPECT_EQ(values_of<t_int4>(qvo_seq_parse_int4, blank + "x" + rest).second, QVO_E_ILLEGAL_PARAM);
    }
}

// ---- Strings ----------------------------------------------------------------------------------------------------

using String = std::optional<std::string>;

struct Strings {
    std::vector<String> strings;
    QVO_RET rc;
    std::vector<size_t> tile_sizes;
};

Strings strings_of(const std::string& literal, int width) {
    const Text text = text_of(literal);
    Record it;
    EXPECT_EQ(qvo_seq_parse_char(it.get(), text.data(), width), QVO_S_OK);
    EXPECT_EQ(it->elem_size, width);
    Strings all;
    uint64_t elements = 0;
    while ((all.rc = it->next(it.get())) == QVO_S_OK) {
        all.tile_sizes.push_back(it->tile_size);
        elements += it->tile_size;
        for (size_t i = 0; i < it->tile_size; ++i)
            if ((it->tile.null_bitmap[i / 64] >> i % 64 & 1) != 0)
                all.strings.push_back(std::nullopt);
            else
                all.strings.push_back(std::string(it->tile.u.arr_char + i * it->elem_size, it->elem_size));
        EXPECT_EQ(it->next_seq_no, elements);
    }
    EXPECT_TRUE(all.rc != QVO_S_CURSOR_END || (it->tile_size == 0 && !qvo_seq_contains_nulls(it.get())));
    return all;
}

TEST(ParseChar, WorkedCases) {
    const String null;
    const std::string zero(1, '\0');
    EXPECT_EQ(strings_of("{'ab',null,'c\\td'}", 3).strings, (std::vector<String>{{"ab" + zero}, null, {"c\td"}}));
    EXPECT_EQ(strings_of("{a,b}", 2).strings, (std::vector<String>{{"a" + zero}, {"b}"}})) << "a brace is a character";
    EXPECT_EQ(strings_of("'a' ,\"b\"c\\,\\0,d", 3).strings,
              (std::vector<String>{
                  {"a" + zero + zero}, {zero + zero + zero}, {"b" + zero + zero}, {"c," + zero}, {"d" + zero + zero}}))
        << "what follows a quote is the next value";
    EXPECT_EQ(strings_of("nullx, null", 4).strings, (std::vector<String>{null, {"x" + zero + zero + zero}, {"null"}}));
    EXPECT_EQ(strings_of("{\t'\\'\\n\\\\',}'z'", 3).strings, std::vector<String>{{"'\n\\"}});
    EXPECT_EQ(strings_of("{'','','abc',d}", 0).strings,
              (std::vector<String>{{zero + zero + zero}, {zero + zero + zero}, {"abc"}, {"d}" + zero}}))
        << "the first string that is not empty gives the width";
    for (const char* bad : {"{abc}", "'abc'", "'ab", "\"ab'", "'a\\", "a\\", "a,'\\'"}) {
        EXPECT_EQ(strings_of(bad, 2).rc, QVO_E_ILLEGAL_PARAM) << bad;
        EXPECT_TRUE(strings_of(bad, 2).strings.empty()) << bad;
    }
    EXPECT_EQ(strings_of("{null}", 0).rc, QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(strings_of("{'',null,'a'}", 0).rc, QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(strings_of("{'a','bc'}", 0).rc, QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(strings_of("", 5).rc, QVO_S_CURSOR_END);
}

TEST(ParseChar, WidthsAndTileSizes) {
    std::string literal;
    for (int i = 0; i < 300; ++i) literal += i % 3 == 0 ? "null," : "'x',";
    EXPECT_EQ(strings_of(literal, 1).tile_sizes, (std::vector<size_t>{128, 128, 44}));
    EXPECT_EQ(strings_of(literal, 200).tile_sizes.front(), 20U);
    EXPECT_EQ(strings_of("a,b", 4095).tile_sizes, (std::vector<size_t>{1, 1}));
    EXPECT_EQ(strings_of("'','','','" + std::string(2000, 'x') + "','y'", 0).tile_sizes, (std::vector<size_t>{3, 2}))
        << "a width that the tile's empty strings cannot take starts the next tile";
    EXPECT_EQ(strings_of(std::string(4095, 'x'), 0).strings[0], std::string(4095, 'x'));
    EXPECT_EQ(strings_of(std::string(4096, 'x'), 0).rc, QVO_E_ILLEGAL_PARAM);
    Record it;
    const qvo_seq_iterator_t before = it.it;
    for (const int width : {-1, 4096}) EXPECT_EQ(qvo_seq_parse_char(it.get(), "{a}", width), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
}

TEST(ParseChar, RandomStrings) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        Random random(seed);
        const size_t width = random.between(1, 60);
        std::string literal = "{";
        std::vector<String> expected;
        for (unsigned n = random.below(400); n != 0; --n) {
            expected.push_back(std::nullopt);
            if (random.chance(15)) {
                literal += "null,";
                continue;
            }
            std::string s;
            const char* const quote = random.chance(50) ? "'" : "\"";
            literal += quote;
            for (size_t k = random.below(static_cast<unsigned>(width) + 1); k != 0; --k) {
                const size_t c = random.below(12);
                s += "ab,{}\"'\\ \n\t\0"[c];
                if (c >= 9 || s.back() == *quote || s.back() == '\\') literal += '\\';
                literal += "ab,{}\"'\\ nt0"[c];
            }
            literal += std::string(quote) + ",";
            s.resize(width);
            expected.back() = s;
        }
        EXPECT_EQ(strings_of(literal + "}", static_cast<int>(width)).strings, expected) << "seed " << seed;
    }
}

TEST(ParseChar, Protocol) {
    check_protocol(parser_member(
        "qvo_seq_parse_char", [](qvo_seq_iterator_h it) { return qvo_seq_parse_char(it, "{a,b", 2); },
        qvo_seq_parse_char_next, QVO_DD_CHAR, 2));
}

// ---- Custom elements --------------------------------------------------------------------------------------------

std::vector<std::string> tokens;

int parse_length(const char* token, qvo_seq_tile_t* tile, int index) {
    tokens.push_back(token);
    tile->u.arr_int2[index] = static_cast<qvo_int2>(std::strlen(token));
    return std::strcmp(token, "bad") != 0;
}

TEST(CustomParse, WorkedCases) {
    const struct {
        const char* text;
        std::vector<std::string> tokens;
        QVO_RET rc;
    } cases[] = {
        {"{a,bc,def}", {"a", "bc", "def"}, QVO_S_CURSOR_END},
        {"a,bc", {"a", "bc"}, QVO_S_CURSOR_END},
        {"", {}, QVO_S_CURSOR_END},
        {"{}", {}, QVO_S_CURSOR_END},
        {"{a,}b,c", {"a"}, QVO_S_CURSOR_END},
        {"{a}b", {"a", "b"}, QVO_S_CURSOR_END},
        {",,a", {"", "", "a"}, QVO_S_CURSOR_END},
        {"{a,bad,c}", {"a", "bad"}, QVO_E_ILLEGAL_PARAM},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Text text = text_of(c.text);
        Record it;
        ASSERT_EQ(qvo_seq_custom_parse(it.get(), text.data(), QVO_DD_INT2, 2, parse_length), QVO_S_OK);
        const qvo_seq_iterator_t before = it.it;
        for (int repeat = 0; repeat < 2; ++repeat) {
            tokens.clear();
            Items<t_int2> expected;
            for (const std::string& token : c.tokens) expected.push_back({static_cast<qvo_int2>(token.size()), 1});
            QVO_RET rc = it->next(it.get());
            if (rc == QVO_S_OK) {
                check_items<t_int2>(tile_items<t_int2>(it.it), expected);
                EXPECT_EQ(it->next_seq_no, expected.size());
                rc = it->next(it.get());
                EXPECT_EQ(it->tile_size, 0);
            }
            EXPECT_EQ(rc, c.rc);
            EXPECT_EQ(tokens, c.tokens);
            EXPECT_STREQ(text.data(), c.text) << "the text is put back";
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_EQ(std::memcmp(before.context, it->context, sizeof before.context), 0);
        }
    }
}

TEST(CustomParse, TilesAndProtocol) {
    static char text[] = "{abc,d,ef}";
    check_protocol(parser_member(
        "qvo_seq_custom_parse",
        [](qvo_seq_iterator_h it) { return qvo_seq_custom_parse(it, text, QVO_DD_INT2, 2, parse_length); },
        qvo_seq_custom_parse_next, QVO_DD_INT2, 2, qvo_seq_reset_custom_parse_iterator));

    std::string literal;
    for (int i = 0; i < 1400; ++i) literal += "x,";
    Text many = text_of(literal);
    Record it;
    ASSERT_EQ(qvo_seq_custom_parse(it.get(), many.data(), QVO_DD_INT2, 2, parse_length), QVO_S_OK);
    for (const size_t n : {size_t{1365}, size_t{35}}) {
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        check_items<t_int2>(tile_items<t_int2>(it.it), Items<t_int2>(n, {1, 1}));
    }
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
    EXPECT_EQ(qvo_seq_custom_parse(it.get(), many.data(), 99, 4096, parse_length), QVO_E_ILLEGAL_PARAM);
}

}  // namespace
}  // namespace test
