// Rendering the bytes of an element as text, by a small format language.
//
// The element is a record: each directive of the format takes the next bytes of it. Three things are unlike printf, and
// all three are deliberate: after %h, %hh, %l and %L the type letter is copied to the output as well; the operand does
// not move on; and a tile is always full, so every element of the result is the same text.
#include <cstdio>

#include "core/construct.h"
#include "core/operand.h"

namespace qvo {
namespace {

inline constexpr size_t max_text_width = 32;

struct Format {
    alignas(uint64_t) const char* text;
};

/// The bytes of an element, taken from the front. Takes that would go past its end fail.
class ElementBytes {
 public:
    ElementBytes(const uint8_t* bytes, size_t n) : at_(bytes), left_(n) {}

    /// The next n bytes; null if there are fewer.
    const uint8_t* take(size_t n) {
        if (n > left_) return nullptr;
        const uint8_t* const bytes = at_;
        at_ += n;
        left_ -= n;
        return bytes;
    }
    /// The next bytes up to a zero byte, which is taken as well; null if there is none.
    const char* take_string() {
        const void* const zero = std::memchr(at_, 0, left_);
        if (zero == nullptr) return nullptr;
        return reinterpret_cast<const char*>(take(static_cast<size_t>(static_cast<const uint8_t*>(zero) - at_) + 1));
    }

 private:
    const uint8_t* at_;
    size_t left_;
};

/// The text of one element, which always leaves room for its terminating zero byte. Writing fails if it cannot.
class TextWriter {
 public:
    explicit TextWriter(size_t width) : width_(width) {}

    bool put(char c) {
        if (size_ + 1 >= width_) return false;
        text_[size_++] = c;
        return true;
    }
    /// Prints one value with one of printf's conversions.
    template <class... Values> bool print(const char* conversion, Values... values) {
        const size_t room = width_ - size_;
        const int n = std::snprintf(text_ + size_, room, conversion, values...);
        if (n < 0 || static_cast<size_t>(n) >= room) return false;
        size_ += static_cast<size_t>(n);
        return true;
    }
    void end() { text_[size_++] = '\0'; }

    const char* text() const { return text_; }
    size_t size() const { return size_; }

 private:
    size_t width_;
    size_t size_ = 0;
    char text_[max_text_width];
};

template <class V> bool print_value(const char* conversion, ElementBytes& bytes, TextWriter& out) {
    const uint8_t* const from = bytes.take(sizeof(V));
    if (from == nullptr) return false;
    V value;
    std::memcpy(&value, from, sizeof value);
    return out.print(conversion, value);
}

/// A number of a width that the directive names: the type letters of its signed, unsigned and floating forms.
template <class Signed, class Unsigned>
bool print_number(char letter, const char* as_signed, const char* as_unsigned, ElementBytes& bytes, TextWriter& out) {
    if (letter == 'd' || letter == 'i') return print_value<Signed>(as_signed, bytes, out);
    return letter == 'u' && print_value<Unsigned>(as_unsigned, bytes, out);
}
template <class Floating> bool print_floating(char letter, ElementBytes& bytes, TextWriter& out) {
    if (letter == 'e') return print_value<Floating>("%e", bytes, out);
    return letter == 'f' && print_value<Floating>("%f", bytes, out);
}

bool print_limited(const char*& format, ElementBytes& bytes, TextWriter& out) {
    int limit = 0, digits = 0;
    if (std::sscanf(format, "%d%n", &limit, &digits) != 1 || limit < 0) return false;
    format += digits;
    if (*format++ != 's') return false;
    const uint8_t* const string = bytes.take(static_cast<size_t>(limit));
    return string != nullptr && out.print("%.*s", limit, reinterpret_cast<const char*>(string));
}

/// Expands one directive; `format` is after its percent sign, and moves on. The type letters of the last four forms
/// stay for the caller, who copies them to the output: deliberate.
bool print_directive(const char*& format, ElementBytes& bytes, TextWriter& out) {
    switch (const char letter = *format++) {
        case '%':
            return out.put('%');
        case '.':
            return print_limited(format, bytes, out);
        case 'c': {
            const uint8_t* const c = bytes.take(1);
            return c != nullptr && out.put(static_cast<char>(*c));
        }
        case 's': {
            const char* const string = bytes.take_string();
            return string != nullptr && out.print("%s", string);
        }
        case 'e':
        case 'f':
            return print_floating<float>(letter, bytes, out);
        case 'h':
            if (*format != 'h') return print_number<int16_t, uint16_t>(*format, "%hd", "%hu", bytes, out);
            ++format;
            return print_number<int8_t, uint8_t>(*format, "%hhd", "%hhu", bytes, out);
        case 'l':
        case 'L':
            if (*format == '\0') return false;
            ++format;  // whatever it is
            if (*format == 'e' || *format == 'f') return print_floating<double>(*format, bytes, out);
            return print_number<long long, unsigned long long>(*format, "%lld", "%llu", bytes, out);
        default:
            return print_number<int32_t, uint32_t>(letter, "%d", "%u", bytes, out);
    }
}

bool print_element(const char* format, ElementBytes bytes, TextWriter& out) {
    while (*format != '\0') {
        const char c = *format++;
        if (!(c == '%' ? print_directive(format, bytes, out) : out.put(c))) return false;
    }
    out.end();
    return true;
}

/// Writes n bytes of text `count` times, `stride` bytes apart, as two overlapping blocks of n / 2 to n bytes: what lies
/// after a text stays.
template <size_t Block>
void fill_texts(char* __restrict to, size_t stride, const char* __restrict text, size_t n, size_t count) {
    for (; count != 0; --count, to += stride) {
        std::memcpy(to, text, Block);
        std::memcpy(to + n - Block, text + n - Block, Block);
    }
}
void fill_texts(char* to, size_t stride, const char* text, size_t n, size_t count) {
    static_assert(max_text_width <= 2 * 16);
    switch (std::bit_floor(n)) {
        case 1:
            return fill_texts<1>(to, stride, text, n, count);
        case 2:
            return fill_texts<2>(to, stride, text, n, count);
        case 4:
            return fill_texts<4>(to, stride, text, n, count);
        case 8:
            return fill_texts<8>(to, stride, text, n, count);
        default:
            return fill_texts<16>(to, stride, text, n, count);
    }
}

}  // namespace

extern "C" {

QVO_API QVO_RET qvo_seq_print_char_next(qvo_seq_iterator_h iterator) {
    const qvo_seq_iterator_h operand = iterator->opd[0];
    Operand input(operand);
    if (const QVO_RET rc = input.refill(Where::here()); rc != QVO_S_OK) return rc;

    // The operand does not move on, so all elements of the tile are the same text.
    TextWriter out(iterator->elem_size);
    const uint8_t* const element = values_of<uint8_t>(operand) + input.index() * operand->elem_size;
    if (!print_element(state<Format>(iterator).text, {element, operand->elem_size}, out)) return QVO_E_ILLEGAL_PARAM;
    TileWriter tile(iterator);
    const size_t capacity = tile.room();
    fill_texts(values_of<char>(iterator), iterator->elem_size, out.text(), out.size(), capacity);
    tile.advance({capacity, 0});
    return tile.finish(QVO_S_OK, Counted::elements);
}

QVO_API QVO_RET qvo_seq_print_char(qvo_seq_iterator_h result, qvo_seq_iterator_h input, int width, const char* format) {
    if (!has_type(input, QVO_DD_CHAR)) return QVO_E_ILLEGAL_TYPE;
    // Before the binding check, unlike other parameters.
    if (width < 1 || static_cast<size_t>(width) > max_text_width) return QVO_E_ILLEGAL_PARAM;
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    fill_result(result, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, {input}, qvo_seq_print_char_next,
                qvo_seq_reset_unary_iterator);
    state<Format>(result).text = format;
    return QVO_S_OK;
}

}  // extern "C"

}  // namespace qvo
