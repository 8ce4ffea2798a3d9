// Sources that read a text literal such as {1,2,3}: numbers, strings, and elements that the caller's function reads.
//
// The text is the caller's and is read in place; the read position is saved only by a call that succeeds, so a text
// that does not scan fails again at the same place.
#include <langinfo.h>

#include <cstdio>

#include "core/construct.h"
#include "core/number.h"
#include "core/tile.h"

namespace qvo {
namespace {

/// The words of the context that all parsers share.
struct TextPosition {
    alignas(uint64_t) const char* at;     // where the next call reads on
    alignas(uint64_t) const char* start;  // the first value, after an opening brace
};

struct CustomParser {
    TextPosition position;
    alignas(uint64_t) qvo_seq_custom_parser_t parse;
};

// The widest element of which a tile holds one.
inline constexpr size_t max_width = payload_bytes - 1;

QVO_RET construct_parser(qvo_seq_iterator_h result, const char* text, ElementLayout layout,
                         qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    fill_result(result, layout, {}, next, reset);
    const char* const start = text + (*text == '{');
    state<TextPosition>(result) = {start, start};
    return QVO_S_OK;
}

bool at_end(const char* text) { return *text == '}' || *text == '\0'; }

/// Ends a call of the parsers of strings and of custom elements, which leave an empty tile behind at the end.
QVO_RET finish(qvo_seq_iterator_h it, const char* text, size_t count) {
    state<TextPosition>(it).at = text;
    TileWriter out(it, count);
    out.advance({count, 0});
    out.finish_at(it->next_seq_no + count);
    return count == 0 ? QVO_S_CURSOR_END : QVO_S_OK;
}

// ---- Numbers ----------------------------------------------------------------------------------------------------

// The platform's scanner decides what a number is: how many values were scanned, and characters consumed.
int scan(const char* text, int& value, int& length) { return std::sscanf(text, "%i%n", &value, &length); }
int scan(const char* text, long long& value, int& length) { return std::sscanf(text, "%lli%n", &value, &length); }
int scan(const char* text, unsigned& value, int& length) { return std::sscanf(text, "%u%n", &value, &length); }
int scan(const char* text, unsigned long long& value, int& length) {
    return std::sscanf(text, "%llu%n", &value, &length);
}
int scan(const char* text, double& value, int& length) { return std::sscanf(text, "%lf%n", &value, &length); }

template <class E>
using scanned = std::conditional_t<E::is_floating, double,
                                   std::conditional_t<E::is_signed, std::conditional_t<E::width == 8, long long, int>,
                                                      std::conditional_t<E::width == 8, unsigned long long, unsigned>>>;

// Characters that a scanner may look at after a number before it decides that the number has ended: a decimal point
// of several bytes, or the rest of a word.
inline constexpr size_t scan_ahead = 16;

/// Scans a copy of the first Window characters. Counts only if the number ends well before the end of the copy, so
/// that the whole text cannot give another result. (After a NaN, parentheses of any length might belong to it.)
template <size_t Window, class S> size_t scan_window(const char* text, S& value) {
    char copy[Window + 1];
    std::memcpy(copy, text, Window);
    copy[Window] = '\0';
    int length = 0;
    if (scan(copy, value, length) != 1) return 0;
    const size_t n = static_cast<size_t>(length);
    return n + scan_ahead <= Window && text[n] != '(' ? n : 0;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// Reads a decimal number of few digits without the scanner, where it is beyond doubt what that would make of it:
/// without a leading zero (but for 0 itself) and with so few digits that nothing overflows or, divided by an exact
/// power of ten, is rounded twice. Returns 0 for anything else.
template <class S> size_t read_plain(const char* text, S& value, bool has_point) {
    constexpr bool floating = std::is_floating_point_v<S>;
    constexpr ptrdiff_t most_digits = floating ? 15 : sizeof(S) == 8 ? 18 : 9;
    const bool negative = std::is_signed_v<S> && *text == '-';
    const char* const first = text + negative;
    const char* at = first;
    int64_t number = 0;
    while (is_digit(*at) && at - first < most_digits) number = number * 10 + (*at++ - '0');
    if (at == first || (*first == '0' && at - first > 1)) return 0;
    if constexpr (floating) {
        static constexpr double powers[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6, 1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
        if (!has_point) return 0;
        const char* const point = at;
        if (*at == '.')
            for (++at; is_digit(*at) && at - first <= most_digits; ++at) number = number * 10 + (*at - '0');
        const auto decimals = at == point ? 0 : at - point - 1;
        value = static_cast<double>(number) / powers[decimals];
        value = negative ? -value : value;
    } else {
        value = static_cast<S>(negative ? -number : number);
    }
    return *at == ',' || *at == '}' || *at == '\0' ? static_cast<size_t>(at - text) : 0;
}

/// Scans one number; returns the characters consumed, 0 if there is no number.
///
/// The scanner measures all of its text before it reads the first character, so scanning each number of a long text
/// in place would take time that grows with the square of its length. Numbers are scanned in a copy of a few
/// characters where that makes no difference, else in the text itself.
template <class S> size_t scan_number(const char* text, S& value) {
    constexpr size_t near = 64, far = 4096;
    if (std::memchr(text, '\0', near) == nullptr) {
        if (const size_t n = scan_window<near>(text, value); n != 0) return n;
        if (std::memchr(text, '\0', far) == nullptr)
            if (const size_t n = scan_window<far>(text, value); n != 0) return n;
    }
    int length = 0;
    return scan(text, value, length) == 1 ? static_cast<size_t>(length) : 0;
}

template <class E> QVO_RET parse_next(qvo_seq_iterator_h it) {
    using V = typename E::value;
    TextPosition& position = state<TextPosition>(it);
    V* const values = values_of<V>(it);
    const char* text = position.at;
    size_t count = 0;
    unsigned run = 0;
    V last{};
    const bool has_point = E::is_floating && std::strcmp(nl_langinfo(RADIXCHAR), ".") == 0;
    while (!at_end(text)) {
        scanned<E> number{};
        size_t length = read_plain(text, number, has_point);
        if (length == 0) length = scan_number(text, number);
        if (length == 0) return QVO_E_ILLEGAL_PARAM;
        const V value = convert<V>(number);
        if (count == 0 || value != last || run == max_run) {
            if (count == E::capacity) break;  // scanned again by the next call
            values[count++] = value;
            last = value;
            run = 0;
        }
        ++run;
        text += length;
        if (*text == ',') ++text;
    }
    if (count == 0) return QVO_S_CURSOR_END;
    position.at = text;
    // Deliberate: the run bytes of the elements before the last one are not written.
    TileWriter out(it);
    out.advance({count - 1, 0});
    out.put_run(run);
    return out.finish(QVO_S_OK, Counted::elements);
}

// ---- Strings ----------------------------------------------------------------------------------------------------

// A tile of strings has a null bit for every element.
inline constexpr size_t max_strings = 128;
size_t string_capacity(size_t width) { return std::min(max_strings, capacity_of(width)); }

struct StringToken {
    const char* begin;  // its first character, after a quote
    const char* end;    // its delimiter
    const char* next;   // where to read on
    size_t length;      // characters, with escapes as one each
};

/// Finds the string that starts at `text`. False if it does not end: no closing quote, or nothing to escape.
bool find_string(const char* text, StringToken& token) {
    while (*text == ' ' || *text == '\t') ++text;
    const bool quoted = *text == '\'' || *text == '"';
    const char delimiter = quoted ? *text++ : ',';
    token.begin = text;
    token.length = 0;
    for (; *text != '\0' && *text != delimiter; ++text, ++token.length)
        if (*text == '\\' && *++text == '\0') return false;
    if (quoted && *text == '\0') return false;
    token.end = text;
    token.next = text + quoted;
    return true;
}

void copy_string(const StringToken& token, char* to, size_t width) {
    const char* from = token.begin;
    for (size_t i = 0; i < token.length; ++i) {
        char c = *from++;
        if (c == '\\') {
            c = *from++;
            if (c == '0') c = '\0';
            if (c == 'n') c = '\n';
            if (c == 't') c = '\t';
        }
        to[i] = c;
    }
    std::memset(to + token.length, 0, width - token.length);
}

/// What becomes of a string as element `index` of the tile.
enum class Fit { ok, too_long, next_tile };

/// A sequence without a width takes that of the first string that is not empty; the empty ones of the same tile are
/// padded to it.
Fit fit_string(qvo_seq_iterator_h it, size_t index, size_t length) {
    if (it->elem_size != 0) return length <= it->elem_size ? Fit::ok : Fit::too_long;
    if (length == 0) return Fit::ok;
    if (length > max_width) return Fit::too_long;
    if (index >= string_capacity(length)) return Fit::next_tile;
    it->elem_size = static_cast<uint16_t>(length);
    std::memset(values_of<char>(it), 0, index * length);
    return Fit::ok;
}

}  // namespace

#define STAMP(type)                                                                                \
    extern "C" QVO_API QVO_RET qvo_seq_parse_##type##_next(qvo_seq_iterator_h iterator) {          \
        return parse_next<elem_##type>(iterator);                                                  \
    }                                                                                              \
    extern "C" QVO_API QVO_RET qvo_seq_parse_##type(qvo_seq_iterator_h result, const char* text) { \
        return construct_parser(result, text, layout_of<elem_##type>, qvo_seq_parse_##type##_next, \
                                qvo_seq_reset_parse_iterator);                                     \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

extern "C" {

QVO_API QVO_RET qvo_seq_reset_parse_iterator(qvo_seq_iterator_h iterator) {
    TextPosition& position = state<TextPosition>(iterator);
    position.at = position.start;
    return qvo_seq_reset_iterator(iterator);
}

QVO_API QVO_RET qvo_seq_reset_custom_parse_iterator(qvo_seq_iterator_h iterator) {
    return qvo_seq_reset_parse_iterator(iterator);
}

QVO_API QVO_RET qvo_seq_parse_char_next(qvo_seq_iterator_h iterator) {
    static constexpr char null_word[] = {'n', 'u', 'l', 'l'};
    char* const values = values_of<char>(iterator);
    const char* text = state<TextPosition>(iterator).at;
    qvo_seq_reset_null_bitmap(iterator);
    size_t i = 0;
    for (; i < string_capacity(iterator->elem_size) && !at_end(text); ++i) {
        if (std::strncmp(text, null_word, sizeof null_word) == 0) {
            if (iterator->elem_size == 0) return QVO_E_ILLEGAL_PARAM;
            iterator->tile.null_bitmap[i / 64] |= qvo_bitmap_word_t{1} << i % 64;
            text += sizeof null_word;
        } else {
            StringToken token;
            if (!find_string(text, token)) return QVO_E_ILLEGAL_PARAM;
            const Fit fit = fit_string(iterator, i, token.length);
            if (fit == Fit::too_long) return QVO_E_ILLEGAL_PARAM;
            if (fit == Fit::next_tile) break;
            copy_string(token, values + i * iterator->elem_size, iterator->elem_size);
            text = token.next;
        }
        if (*text == ',') ++text;
    }
    return finish(iterator, text, i);
}

QVO_API QVO_RET qvo_seq_parse_char(qvo_seq_iterator_h result, const char* text, int width) {
    if (width < 0 || static_cast<size_t>(width) > max_width) return QVO_E_ILLEGAL_PARAM;
    return construct_parser(result, text, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, qvo_seq_parse_char_next,
                            qvo_seq_reset_parse_iterator);
}

QVO_API QVO_RET qvo_seq_custom_parse_next(qvo_seq_iterator_h iterator) {
    const CustomParser& parser = state<CustomParser>(iterator);
    const size_t capacity = capacity_of(iterator->elem_size);
    char* text = const_cast<char*>(parser.position.at);  // the constructor took a text that may be written to
    size_t i = 0;
    while (i < capacity && !at_end(text)) {
        char* separator = qvo_strchr(text, ',');
        if (separator == nullptr) separator = qvo_strchr(text, '}');
        const char mark = separator != nullptr ? *separator : '\0';
        if (separator != nullptr) *separator = '\0';
        const int parsed = parser.parse(text, &iterator->tile, static_cast<int>(i));
        if (separator != nullptr) *separator = mark;
        if (parsed == 0) return QVO_E_ILLEGAL_PARAM;
        set_run(runs_of(iterator), i++, 1);
        // A token without a separator after it is the last one.
        text = separator != nullptr ? separator + 1 : text + std::strlen(text);
    }
    return finish(iterator, text, i);
}

QVO_API QVO_RET qvo_seq_custom_parse(qvo_seq_iterator_h result, char* text, uint8_t elem_type, uint16_t elem_size,
                                     qvo_seq_custom_parser_t parser) {
    if (elem_size > max_width) return QVO_E_ILLEGAL_PARAM;
    construct_parser(result, text, {elem_type, elem_size}, qvo_seq_custom_parse_next,
                     qvo_seq_reset_custom_parse_iterator);
    state<CustomParser>(result).parse = parser;
    return QVO_S_OK;
}

}  // extern "C"

}  // namespace qvo
