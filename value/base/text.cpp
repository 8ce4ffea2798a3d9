#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

namespace qvo::value {
namespace {

template <class V> void put_number(std::string& to, V value) {
    char digits[64];
    const auto [end, fault] = std::to_chars(digits, digits + sizeof digits, value);
    to.append(digits, end);
}

template <class V> void put_floating(std::string& to, V value) {
    if (std::isinf(value)) {
        to += value > 0 ? "9e999" : "-9e999";
        return;
    }
    if (std::isnan(value)) {
        to += "null";
        return;
    }
    const size_t from = to.size();
    put_number(to, value);
    if (to.find_first_of(".e", from) == std::string::npos) to += ".0";
}

/// The last so many decimal digits; returns their end.
char* put_digits(char* to, unsigned value, unsigned digits) {
    for (unsigned i = digits; i-- != 0; value /= 10) to[i] = static_cast<char>('0' + value % 10);
    return to + digits;
}

constexpr int64_t second = 1'000'000;

/// Reads a timestamp from left to right.
class Scanner {
 public:
    explicit Scanner(std::string_view text) : rest_(text) {}
    bool done() const { return rest_.empty(); }
    bool take(char c) {
        if (rest_.empty() || rest_.front() != c) return false;
        rest_.remove_prefix(1);
        return true;
    }
    /// Exactly n digits.
    std::optional<unsigned> digits(size_t n) {
        if (rest_.size() < n) return std::nullopt;
        unsigned value = 0;
        for (const char c : rest_.substr(0, n)) {
            if (c < '0' || c > '9') return std::nullopt;
            value = value * 10 + static_cast<unsigned>(c - '0');
        }
        rest_.remove_prefix(n);
        return value;
    }
    size_t leading_digits() const { return std::min(rest_.find_first_not_of("0123456789"), rest_.size()); }

 private:
    std::string_view rest_;
};

std::optional<int64_t> scan_date(Scanner& in) {
    const auto y = in.digits(4);
    if (!y || !in.take('-')) return std::nullopt;
    const auto m = in.digits(2);
    if (!m || !in.take('-')) return std::nullopt;
    const auto d = in.digits(2);
    if (!d) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*y)), std::chrono::month(*m),
                                           std::chrono::day(*d)};
    if (!date.ok() || *y == 0) return std::nullopt;
    return std::chrono::sys_days(date).time_since_epoch().count() * (86400 * second);
}

/// A fraction of a second, in microseconds.
std::optional<int64_t> scan_fraction(Scanner& in) {
    const size_t n = in.leading_digits();
    if (n < 1 || n > 6) return std::nullopt;
    int64_t value = *in.digits(n);
    for (size_t i = n; i < 6; ++i) value *= 10;
    return value;
}

std::optional<int64_t> scan_clock(Scanner& in) {
    const auto h = in.digits(2);
    if (!h || *h > 23 || !in.take(':')) return std::nullopt;
    const auto m = in.digits(2);
    if (!m || *m > 59) return std::nullopt;
    int64_t value = (int64_t{*h} * 3600 + int64_t{*m} * 60) * second;
    if (!in.take(':')) return value;
    const auto s = in.digits(2);
    if (!s || *s > 59) return std::nullopt;
    value += *s * second;
    if (!in.take('.')) return value;
    const auto fraction = scan_fraction(in);
    if (!fraction) return std::nullopt;
    return value + *fraction;
}

/// What an offset takes away: 02:00, 0200 or 02 after its sign.
std::optional<int64_t> scan_offset(Scanner& in) {
    const bool west = in.take('-');
    if (!west && !in.take('+')) return std::nullopt;
    const auto h = in.digits(2);
    if (!h || *h > 23) return std::nullopt;
    unsigned m = 0;
    if (!in.done()) {
        in.take(':');
        const auto minutes = in.digits(2);
        if (!minutes || *minutes > 59) return std::nullopt;
        m = *minutes;
    }
    const int64_t east = (int64_t{*h} * 3600 + int64_t{m} * 60) * second;
    return west ? -east : east;
}

}  // namespace

void put_double(std::string& to, double value) { put_floating(to, value); }
void put_float(std::string& to, float value) { put_floating(to, value); }
void put_integer(std::string& to, int64_t value) { put_number(to, value); }
void put_natural(std::string& to, uint64_t value) { put_number(to, value); }

void put_timestamp(std::string& to, int64_t microseconds) {
    using namespace std::chrono;
    const sys_time<std::chrono::microseconds> at{std::chrono::microseconds(microseconds)};
    const sys_days day = floor<days>(at);
    // Far outside the years that are read back, the calendar's type would wrap around.
    const int64_t years = day.time_since_epoch().count() / 366 + 1970;
    if (years < -30000 || years > 30000) return put_integer(to, microseconds);
    const year_month_day date(day);
    const hh_mm_ss clock(at - day);
    const int y = static_cast<int>(date.year());
    const unsigned year = static_cast<unsigned>(y < 0 ? -y : y);
    char text[32];
    char* end = text;
    if (y < 0) *end++ = '-';
    end = put_digits(end, year, year < 10'000 ? 4 : 5);
    const std::pair<char, unsigned> parts[] = {{'-', static_cast<unsigned>(date.month())},
                                               {'-', static_cast<unsigned>(date.day())},
                                               {'T', static_cast<unsigned>(clock.hours().count())},
                                               {':', static_cast<unsigned>(clock.minutes().count())},
                                               {':', static_cast<unsigned>(clock.seconds().count())}};
    for (const auto& [mark, value] : parts) {
        *end++ = mark;
        end = put_digits(end, value, 2);
    }
    if (const auto fraction = clock.subseconds().count(); fraction != 0) {
        *end++ = '.';
        end = put_digits(end, static_cast<unsigned>(fraction), 6);
    }
    to.append(text, end);
}

std::string timestamp_text(int64_t microseconds) {
    std::string text;
    put_timestamp(text, microseconds);
    return text;
}

std::optional<int64_t> parse_timestamp(std::string_view text) {
    Scanner in(text);
    const auto date = scan_date(in);
    if (!date || in.done()) return date;
    if (!in.take('T') && !in.take(' ')) return std::nullopt;
    const auto clock = scan_clock(in);
    if (!clock) return std::nullopt;
    const int64_t at = *date + *clock;
    if (in.done()) return at;
    if (in.take('Z')) return in.done() ? std::optional(at) : std::nullopt;
    const auto offset = scan_offset(in);
    if (!offset || !in.done()) return std::nullopt;
    return at - *offset;
}

void put_quoted(std::string& to, std::string_view text) {
    to += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            to += '\\';
            to += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            constexpr char hex[] = "0123456789abcdef";
            to += "\\u00";
            to += hex[c >> 4];
            to += hex[c & 15];
        } else {
            to += c;
        }
    }
    to += '"';
}

std::string shown(std::string_view text) {
    constexpr size_t most = 40;
    size_t cut = std::min(text.size(), most);
    while (cut < text.size() && cut > 0 && (text[cut] & 0xc0) == 0x80) --cut;  // not within a character
    const bool readable = is_utf8(text);
    std::string result = "'";
    for (const char c : text.substr(0, cut)) {
        // Messages are zero-terminated, one line, and UTF-8: a host may refuse to read others.
        constexpr char digits[] = "0123456789abcdef";
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && (byte < 0x80 || readable))
            result += c;
        else
            result += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
    }
    return result + (cut < text.size() ? "…'" : "'");
}

std::string shown(double value) {
    std::string text;
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    put_double(text, value);
    return text;
}

bool is_utf8(std::string_view text) {
    size_t i = 0;
    while (i < text.size()) {
        const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
        const unsigned lead = byte(i);
        const size_t more = lead < 0x80 ? 0 : lead < 0xc2 ? 9 : lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : lead < 0xf5 ? 3 : 9;
        if (more == 9 || i + more >= text.size() + (more == 0)) return false;
        for (size_t k = 1; k <= more; ++k)
            if ((byte(i + k) & 0xc0) != 0x80) return false;
        if (lead == 0xe0 && byte(i + 1) < 0xa0) return false;  // overlong
        if (lead == 0xed && byte(i + 1) > 0x9f) return false;  // surrogates
        if (lead == 0xf0 && byte(i + 1) < 0x90) return false;  // overlong
        if (lead == 0xf4 && byte(i + 1) > 0x8f) return false;  // beyond U+10FFFF
        i += more + 1;
    }
    return true;
}

}  // namespace qvo::value
