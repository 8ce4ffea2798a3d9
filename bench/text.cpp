// Text: reading numbers and strings from literals, writing elements as text, matching patterns. Beside each stands the
// C library's function for one item, called in a plain loop.
#include <cstdio>
#include <cstdlib>

#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_values = 10'000;

// ---- Parsing ----

/// A literal of random values without equal neighbours, whose elements are then the values.
struct Literal {
    std::string text = "{";
    std::vector<double> values;

    Literal(const char* format, double scale) {
        std::mt19937 random(1);
        for (size_t i = 0; i < n_values; ++i) {
            char item[40];
            std::snprintf(item, sizeof item, format, static_cast<double>(random() % 100'000 * 2 + i % 2) / scale);
            if (i != 0) text += ',';
            text += item;
            values.push_back(std::atof(item));
        }
        text += "}";
    }
};

template <class V> V read_number(const char* text, char** end) {
    if constexpr (std::is_floating_point_v<V>)
        return static_cast<V>(std::strtod(text, end));
    else
        return static_cast<V>(std::strtol(text, end, 0));
}

template <class V> void read_flat(benchmark::State& state, const Literal& literal) {
    std::vector<V> out(n_values);
    double elements = 0;
    for (auto _ : state) {
        char* text = const_cast<char*>(literal.text.c_str());
        for (size_t i = 0; i < n_values; ++i) out[i] = read_number<V>(text + 1, &text);
        benchmark::DoNotOptimize(out.data());
        elements += n_values;
    }
    count(state, elements, elements);
}

template <class V>
void run_parse(benchmark::State& state, QVO_RET (*construct)(qvo_seq_iterator_h, const char*), const Literal& literal) {
    qvo_seq_iterator_t it{};
    const std::vector<V> expected(literal.values.begin(), literal.values.end());
    if (construct(&it, literal.text.c_str()) != QVO_S_OK || !delivers(it, expected)) return fail(state);
    double elements = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) elements += it.tile_size;
    }
    count(state, elements, elements);
}

template <class V>
void add_parser(const char* type, QVO_RET (*construct)(qvo_seq_iterator_h, const char*), const Literal& literal) {
    add_case("parse", type, "flat", [=](benchmark::State& state) { read_flat<V>(state, literal); });
    add_case("parse", type, "single", [=](benchmark::State& state) { run_parse<V>(state, construct, literal); });
}

/// The caller's function reads each number.
void run_custom_parse(benchmark::State& state, const Literal& literal) {
    qvo_seq_iterator_t it{};
    std::string text = literal.text.substr(1);
    const auto read = [](const char* token, qvo_seq_tile_t* tile, int index) {
        tile->u.arr_double[index] = std::strtod(token, nullptr);
        return 1;
    };
    if (qvo_seq_custom_parse(&it, text.data(), QVO_DD_DOUBLE, sizeof(double), read) != QVO_S_OK ||
        !delivers(it, literal.values))
        return fail(state);
    double elements = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) elements += it.tile_size;
    }
    count(state, elements, elements);
}

// Quoted words of up to 8 letters, no two neighbours the same, in strings of 8 bytes.
constexpr size_t word_width = 8;
std::string quoted_words() {
    std::string text = "{";
    for (size_t i = 0; i < n_values; ++i) text.append("'").append(1 + i % word_width, 'w').append("',");
    return text;
}

size_t copy_words(char* out, const char* text) {
    std::memset(out, 0, n_values * word_width);
    size_t n = 0;
    for (const char* begin = text + 2; n < n_values; ++n) {
        const char* const end = std::strchr(begin, '\'');
        std::memcpy(out + n * word_width, begin, static_cast<size_t>(end - begin));
        begin = end + 3;
    }
    return n;
}

void copy_flat(benchmark::State& state) {
    const std::string text = quoted_words();
    std::vector<char> out(n_values * word_width);
    double elements = 0;
    for (auto _ : state) {
        elements += static_cast<double>(copy_words(out.data(), text.c_str()));
        benchmark::DoNotOptimize(out.data());
    }
    count(state, elements, elements);
}

void run_parse_char(benchmark::State& state) {
    const std::string text = quoted_words();
    std::vector<char> expected(n_values * word_width), actual;
    copy_words(expected.data(), text.c_str());
    qvo_seq_iterator_t it{};
    if (qvo_seq_parse_char(&it, text.c_str(), word_width) != QVO_S_OK) return fail(state);
    while (it.next(&it) == QVO_S_OK)
        actual.insert(actual.end(), it.tile.u.arr_char, it.tile.u.arr_char + it.tile_size * word_width);
    if (actual != expected) return fail(state);
    double elements = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) elements += it.tile_size;
    }
    count(state, elements, elements);
}

// ---- Printing ----

// A call gives the text of one element as often as a tile holds it; an element here is a call.
constexpr int printed = 123'456'789;
constexpr size_t text_width = 15, texts = sizeof(qvo_seq_payload_t) / (text_width + 1);

void print_flat(benchmark::State& state) {
    char tile[texts * text_width];
    double elements = 0;
    for (auto _ : state) {
        char text[text_width];
        const int n = std::snprintf(text, sizeof text, "%d", printed);
        for (size_t i = 0; i < texts; ++i) std::memcpy(tile + i * text_width, text, static_cast<size_t>(n) + 1);
        benchmark::DoNotOptimize(tile);
        ++elements;
    }
    count(state, elements, elements);
}

void run_print(benchmark::State& state) {
    qvo_seq_iterator_t bytes{}, it{};
    if (qvo_seq_const_char(&bytes, reinterpret_cast<const char*>(&printed), sizeof printed) != QVO_S_OK ||
        qvo_seq_print_char(&it, &bytes, text_width, "%d") != QVO_S_OK || it.next(&it) != QVO_S_OK ||
        it.tile_size != texts || std::to_string(printed) != it.tile.u.arr_char + (texts - 1) * text_width)
        return fail(state);
    double elements = 0;
    for (auto _ : state) elements += it.next(&it) == QVO_S_OK;
    count(state, elements, elements);
}

// ---- Matching ----

constexpr size_t width = 64;

/// Strings of small letters, one after the other; every 4th holds the word.
std::string random_strings() {
    std::mt19937 random(1);
    std::string all(n_values * width, ' ');
    for (char& c : all) c = static_cast<char>('a' + random() % 20);
    for (size_t i = 0; i < n_values; i += 4) all.replace(i * width + random() % (width - 8), 8, "sequence");
    return all;
}

void find_flat(benchmark::State& state) {
    const std::string strings = random_strings();
    double elements = 0;
    size_t found = 0;
    for (auto _ : state) {
        for (size_t i = 0; i < n_values; ++i) found += memmem(&strings[i * width], width, "sequence", 8) != nullptr;
        benchmark::DoNotOptimize(found);
        elements += n_values;
    }
    count(state, elements, elements);
}

/// Compared as a whole with one that only the words' first letters tell from it.
const std::string sought = std::string(width - 8, 'z') + "sequence";
std::string equal_strings() {
    std::string all;
    for (size_t i = 0; i < n_values; ++i) all += i % 4 == 0 ? sought : std::string(width - 8, 'z') + "parallel";
    return all;
}
void compare_flat(benchmark::State& state) {
    const std::string strings = equal_strings();
    double elements = 0;
    size_t found = 0;
    for (auto _ : state) {
        for (size_t i = 0; i < n_values; ++i) found += strncmp(&strings[i * width], sought.c_str(), width) == 0;
        benchmark::DoNotOptimize(found);
        elements += n_values;
    }
    count(state, elements, elements);
}

void run_matcher(benchmark::State& state, const char* pattern, const std::string& strings = random_strings()) {
    Column<char> column{{'a'}, {1}};
    Source<char> source(column);
    source.get()->elem_size = width;
    qvo_seq_iterator_t it{};
    if (qvo_seq_match(&it, source.get(), pattern) != QVO_S_OK) return fail(state);
    const auto* matcher = reinterpret_cast<const qvo_seq_match_context_t*>(it.context);
    double elements = 0;
    for (auto _ : state) {
        size_t found = 0;
        for (size_t i = 0; i < n_values; ++i) found += matcher->match(matcher, &strings[i * width]) != 0;
        if (found != n_values / 4) return fail(state);
        elements += n_values;
    }
    count(state, elements, elements);
}

QVO_BENCH_FAMILIES(text) {
    add_parser<qvo_int4>("int4", qvo_seq_parse_int4, {"%.0f", 1});
    add_parser<double>("double", qvo_seq_parse_double, {"%.2f", 100});
    const Literal literal("%.2f", 100);
    add_case("custom_parse", "double", "flat", [=](benchmark::State& s) { read_flat<double>(s, literal); });
    add_case("custom_parse", "double", "single", [=](benchmark::State& s) { run_custom_parse(s, literal); });
    add_case("parse", "char8", "flat", copy_flat);
    add_case("parse", "char8", "single", run_parse_char);
    add_case("print", "char15", "flat", print_flat);
    add_case("print", "char15", "single", run_print);
    add_case("match_substring", "char64", "flat", find_flat);
    add_case("match_substring", "char64", "single", [](benchmark::State& s) { run_matcher(s, "%sequence%"); });
    add_case("match_exact", "char64", "flat", compare_flat);
    add_case("match_exact", "char64", "single",
             [](benchmark::State& s) { run_matcher(s, sought.c_str(), equal_strings()); });
    add_case("match_regex", "char64", "flat", find_flat);
    add_case("match_regex", "char64", "single", [](benchmark::State& s) { run_matcher(s, "%seq_ence%"); });
}

}  // namespace
}  // namespace qvo::bench
