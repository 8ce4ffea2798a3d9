// Text literals read as sequences.
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
            m.writes_runs = seed == 0;
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
    EXPECT_EQ(values_of<t_int1>(qvo_seq_parse_int1, "{1,257,-255}").first, std::vector<qvo_int1>{1}) << "one run";
    EXPECT_EQ(values_of<t_float>(qvo_seq_parse_float, "{0x1p-2,1e300,.1}").first,
              (std::vector<qvo_float>{0.25F, HUGE_VALF, 0.1F}));
}

std::string digits(Random& random, unsigned least, unsigned most) {
    return random_text(random, "0123456789", least, most);
}

template <class T, class V> void check_scan(ParseNumbers construct, const std::string& number, const char* format, V) {
    V value{};
    ASSERT_EQ(std::sscanf(number.c_str(), format, &value), 1);
    ASSERT_TRUE(same_value<V>(values_of<T>(construct, number).first.at(0), value)) << number;
}

TEST(Parse, NumbersAreWhatTheScannerReads) {
    Random random(1);
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        std::string number = (random.chance(30) ? "-" : "") + digits(random, 1, 20);
        check_scan<t_int8>(qvo_seq_parse_int8, number, "%lli", 0LL);
        check_scan<t_int4>(qvo_seq_parse_int4, number, "%i", 0);
        if (random.chance(80)) number += '.';
        check_scan<t_double>(qvo_seq_parse_double, number + digits(random, 0, 19), "%lf", 0.0);
    }
}

TEST(Parse, OnlyTheLastRunByteIsWritten_deliberate) {
    Record it;
    ASSERT_EQ(qvo_seq_parse_int4(it.get(), "{1,1,1,2,2}"), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(it.it), {{1, 0xa5}, {2, 2}});
    EXPECT_EQ(it->next_seq_no, 2U) << "elements, not positions";
}

TEST(Parse, ABadTokenAfterAFullTileFailsTheCall_deliberate) {
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
    for (const size_t length :
         {20, 45, 46, 47, 48, 49, 50, 60, 63, 64, 65, 70, 4070, 4079, 4080, 4081, 4095, 4096, 8000}) {
        const std::string number = std::string(length - 9, '0') + "12.5e+03" + "9", blank(length, '\t');
        EXPECT_EQ(values_of<t_double>(qvo_seq_parse_double, number + rest),
                  std::pair(std::vector<double>{12.5e39, 7, 8}, QVO_RET{QVO_S_CURSOR_END}));
        EXPECT_EQ(values_of<t_int4>(qvo_seq_parse_int4, blank + "0x7ffffffe" + rest).first,
                  (std::vector<qvo_int4>{0x7ffffffe, 7, 8}));
        EXPECT_EQ(values_of<t_int4>(qvo_seq_parse_int4, blank + "x" + rest).second, QVO_E_ILLEGAL_PARAM);
    }
}

// ---- Strings ----------------------------------------------------------------------------------------------------

/// How a call ends, as the expected results have it.
const char* ending(QVO_RET rc) { return rc == QVO_S_CURSOR_END ? "end" : rc == QVO_E_ILLEGAL_PARAM ? "bad" : "?"; }

/// All strings of a text, each between bars, with ~ for zero bytes, and how it ends; and the sizes of the tiles.
std::string strings_of(const std::string& literal, int width, std::vector<size_t>* tile_sizes = nullptr) {
    const Text text = text_of(literal);
    Record it;
    EXPECT_EQ(qvo_seq_parse_char(it.get(), text.data(), width), QVO_S_OK);
    EXPECT_EQ(it->elem_size, width);
    std::string all;
    uint64_t elements = 0;
    QVO_RET rc;
    while ((rc = it->next(it.get())) == QVO_S_OK) {
        if (tile_sizes != nullptr) tile_sizes->push_back(it->tile_size);
        for (size_t i = 0; i < it->tile_size; ++i)
            all += ((it->tile.null_bitmap[i / 64] >> i % 64 & 1) != 0 ? "NULL" : literal_bytes(it.get(), i)) + "|";
        EXPECT_EQ(it->next_seq_no, elements += it->tile_size);
    }
    EXPECT_TRUE(rc != QVO_S_CURSOR_END || (it->tile_size == 0 && !qvo_seq_contains_nulls(it.get())));
    std::replace(all.begin(), all.end(), '\0', '~');
    return all + ending(rc);
}

TEST(ParseChar, WorkedCases) {
    const struct {
        const char* text;
        int width;
        const char* expected;
    } cases[] = {
        {"{'ab',null,'c\\td'}", 3, "ab~|NULL|c\td|end"},
        {"{a,b}", 2, "a~|b}|end"},                              // a brace is a character
        {"'a' ,\"b\"c\\,\\0,d", 3, "a~~|~~~|b~~|c,~|d~~|end"},  // what follows a quote is the next value
        {"nullx, null", 4, "NULL|x~~~|null|end"},
        {"{\t'\\'\\n\\\\',}'z'", 3, "'\n\\|end"},
        {"{'','','abc',d}", 0, "~~~|~~~|abc|d}~|end"},  // the first string that is not empty gives the width
        {"{abc}", 2, "bad"},
        {"'abc'", 2, "bad"},
        {"'ab", 2, "bad"},
        {"\"ab'", 2, "bad"},
        {"'a\\", 2, "bad"},
        {"a\\", 2, "bad"},
        {"a,'\\'", 2, "bad"},
        {"{null}", 0, "bad"},
        {"{'',null,'a'}", 0, "bad"},
        {"{'a','bc'}", 0, "bad"},
        {"", 5, "end"},
    };
    for (const auto& c : cases) EXPECT_EQ(strings_of(c.text, c.width), c.expected) << c.text;
}

TEST(ParseChar, WidthsAndTileSizes) {
    const auto tiles = [](const std::string& literal, int width) {
        std::vector<size_t> sizes;
        strings_of(literal, width, &sizes);
        return sizes;
    };
    std::string literal;
    for (int i = 0; i < 300; ++i) literal += i % 3 == 0 ? "null," : "'x',";
    EXPECT_EQ(tiles(literal, 1), (std::vector<size_t>{128, 128, 44}));
    EXPECT_EQ(tiles(literal, 200).front(), 20U);
    EXPECT_EQ(tiles("a,b", 4095), (std::vector<size_t>{1, 1}));
    EXPECT_EQ(tiles("'','','','" + std::string(2000, 'x') + "','y'", 0), (std::vector<size_t>{3, 2}))
        << "a width that the tile's empty strings cannot take starts the next tile";
    EXPECT_EQ(strings_of(std::string(4095, 'x'), 0), std::string(4095, 'x') + "|end");
    EXPECT_EQ(strings_of(std::string(4096, 'x'), 0), "bad");
    for (const int width : {-1, 4096}) expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_parse_char, "{a}", width);
}

TEST(ParseChar, RandomStrings) {
    for_seeds(20, [](Random& random, unsigned) {
        const size_t width = random.between(1, 60);
        std::string literal = "{", expected;
        for (unsigned n = random.below(400); n != 0; --n) {
            if (random.chance(15)) {
                literal += "null,", expected += "NULL|";
                continue;
            }
            const char quote = random.chance(50) ? '\'' : '"';
            literal += quote;
            const size_t length = random.below(static_cast<unsigned>(width) + 1);
            for (size_t k = 0; k < length; ++k) {
                const size_t c = random.below(12);
                expected += "ab,{}\"'\\ \n\t~"[c];
                if (c >= 9 || expected.back() == quote || expected.back() == '\\') literal += '\\';
                literal += "ab,{}\"'\\ nt0"[c];
            }
            literal += std::string(1, quote) + ",";
            expected += std::string(width - length, '~') + "|";
        }
        EXPECT_EQ(strings_of(literal + "}", static_cast<int>(width)), expected + "end");
    });
    check_protocol(parser_member(
        "qvo_seq_parse_char", [](qvo_seq_iterator_h it) { return qvo_seq_parse_char(it, "{a,b", 2); },
        qvo_seq_parse_char_next, QVO_DD_CHAR, 2));
}

// ---- Custom elements --------------------------------------------------------------------------------------------

std::string tokens;

int parse_length(const char* token, qvo_seq_tile_t* tile, int index) {
    tokens += std::string(token) + "|";
    tile->u.arr_int2[index] = static_cast<qvo_int2>(std::strlen(token));
    return std::strcmp(token, "bad") != 0;
}

QVO_RET construct_lengths(qvo_seq_iterator_h it, char* text) {
    return qvo_seq_custom_parse(it, text, QVO_DD_INT2, 2, parse_length);
}

TEST(CustomParse, WorkedCases) {
    const std::pair<const char*, const char*> cases[] = {
        {"{a,bc,def}", "a|bc|def|end"}, {"a,bc", "a|bc|end"}, {"", "end"},        {"{}", "end"},
        {"{a,}b,c", "a|end"},           {"{a}b", "a|b|end"},  {",,a", "||a|end"}, {"{a,bad,c}", "a|bad|bad"},
    };
    for (const auto& [literal, expected] : cases) {
        SCOPED_TRACE(literal);
        Text text = text_of(literal);
        Record it;
        ASSERT_EQ(construct_lengths(it.get(), text.data()), QVO_S_OK);
        const qvo_seq_iterator_t before = it.it;
        for (int repeat = 0; repeat < 2; ++repeat) {
            tokens.clear();
            QVO_RET rc = it->next(it.get());
            if (rc == QVO_S_OK) {
                Items<t_int2> lengths;
                for (size_t at = 0, bar; (bar = tokens.find('|', at)) != std::string::npos; at = bar + 1)
                    lengths.push_back({static_cast<qvo_int2>(bar - at), 1});
                check_items<t_int2>(tile_items<t_int2>(it.it), lengths);
                EXPECT_EQ(it->next_seq_no, lengths.size());
                rc = it->next(it.get());
                EXPECT_EQ(it->tile_size, 0);
            }
            EXPECT_EQ(tokens + ending(rc), expected);
            EXPECT_STREQ(text.data(), literal) << "the text is put back";
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_EQ(std::memcmp(before.context, it->context, sizeof before.context), 0);
        }
    }
}

TEST(CustomParse, TilesAndProtocol) {
    static char text[] = "{abc,d,ef}";
    check_protocol(parser_member(
        "qvo_seq_custom_parse", [](qvo_seq_iterator_h it) { return construct_lengths(it, text); },
        qvo_seq_custom_parse_next, QVO_DD_INT2, 2, qvo_seq_reset_custom_parse_iterator));

    std::string literal;
    for (int i = 0; i < 1400; ++i) literal += "x,";
    Text many = text_of(literal);
    Record it;
    ASSERT_EQ(construct_lengths(it.get(), many.data()), QVO_S_OK);
    for (const size_t n : {size_t{1365}, size_t{35}}) {
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        check_items<t_int2>(tile_items<t_int2>(it.it), Items<t_int2>(n, {1, 1}));
    }
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_custom_parse, many.data(), uint8_t{99}, uint16_t{4096}, parse_length);
}

}  // namespace
}  // namespace test
