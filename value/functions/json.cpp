#include "functions/json.h"

#include <charconv>
#include <vector>

#include "base/text.h"
#include "evaluate/deliver.h"
#include "evaluate/scalar.h"

namespace qvo::value {
namespace {

/// One value of the array, its text unescaped.
struct Token {
    enum class Kind : uint8_t { null, boolean, integer, real, text } kind;
    std::string text;
};

class Parser {
 public:
    explicit Parser(std::string_view text) : text_(text) {}

    /// Calls take(token) for each value.
    template <class Take> void parse(Take take) {
        expect('[');
        if (!accept(']')) {
            do take(token());
            while (accept(','));
            expect(']');
        }
        skip_blanks();
        if (at_ != text_.size()) fail("the end");
    }

 private:
    void skip_blanks() {
        while (at_ < text_.size() && std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos) ++at_;
    }
    bool accept(char c) {
        skip_blanks();
        if (at_ >= text_.size() || text_[at_] != c) return false;
        ++at_;
        return true;
    }
    void expect(char c) {
        if (!accept(c)) fail("'" + std::string(1, c) + "'");
    }
    [[noreturn]] void fail(const std::string& wanted) const {
        throw Error(Fault::argument,
                    "argument 1: text must be a JSON array of numbers, strings, true, false or null; " + wanted +
                        " is missing at byte " + std::to_string(at_));
    }

    Token token() {
        skip_blanks();
        if (accept('"')) return {Token::Kind::text, string()};
        const size_t end = std::min(text_.find_first_of(",] \t\r\n", at_), text_.size());
        const std::string_view word = text_.substr(at_, end - at_);
        if (word == "null") return at_ = end, Token{Token::Kind::null, std::string(word)};
        if (word == "true" || word == "false") return at_ = end, Token{Token::Kind::boolean, std::string(word)};
        const bool whole = check_number(word);
        at_ = end;
        return {whole ? Token::Kind::integer : Token::Kind::real, std::string(word)};
    }

    /// Checks JSON's form of a number; true if it has neither point nor exponent.
    bool check_number(std::string_view word) const {
        size_t i = word.starts_with('-');
        const auto digits = [&] {
            const size_t from = i;
            while (i < word.size() && word[i] >= '0' && word[i] <= '9') ++i;
            if (i == from) fail("a value");
        };
        const bool zero = i < word.size() && word[i] == '0';
        const size_t first = i;
        digits();
        if (zero && i != first + 1) fail("a value");
        if (i == word.size()) return true;
        if (word[i] == '.') ++i, digits();
        if (i < word.size() && (word[i] == 'e' || word[i] == 'E')) {
            ++i;
            if (i < word.size() && (word[i] == '+' || word[i] == '-')) ++i;
            digits();
        }
        if (i != word.size()) fail("a value");
        return false;
    }

    std::string string() {
        std::string out;
        for (;;) {
            if (at_ >= text_.size()) fail("'\"'");
            const char c = text_[at_++];
            if (c == '"') return out;
            if (c == '\\') {
                escape(out);
            } else if (static_cast<unsigned char>(c) >= ' ') {
                out += c;
            } else {
                --at_;
                fail("an escape sequence");
            }
        }
    }
    void escape(std::string& out) {
        if (at_ >= text_.size()) fail("'\"'");
        const char c = text_[at_++];
        constexpr std::string_view from = "\"\\/bfnrt", to = "\"\\/\b\f\n\r\t";
        if (const size_t i = from.find(c); i != std::string_view::npos) {
            out += to[i];
            return;
        }
        if (c != 'u') fail("an escape sequence");
        unsigned code = hex();
        if (code >= 0xd800 && code < 0xdc00) {
            if (text_.substr(at_, 2) != "\\u") fail("the second half of a character");
            at_ += 2;
            const unsigned low = hex();
            if (low < 0xdc00 || low > 0xdfff) fail("the second half of a character");
            code = 0x10000 + ((code - 0xd800) << 10) + (low - 0xdc00);
        }
        put_utf8(out, code);
    }
    unsigned hex() {
        unsigned code = 0;
        const char* const from = text_.data() + at_;
        if (text_.size() - at_ < 4) fail("four hexadecimal digits");
        const auto [end, fault] = std::from_chars(from, from + 4, code, 16);
        if (fault != std::errc{} || end != from + 4) fail("four hexadecimal digits");
        at_ += 4;
        return code;
    }
    static void put_utf8(std::string& out, unsigned code) {
        const auto tail = [&](unsigned shift) { out += static_cast<char>(0x80 | ((code >> shift) & 0x3f)); };
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xc0 | (code >> 6));
            tail(0);
        } else if (code < 0x10000) {
            out += static_cast<char>(0xe0 | (code >> 12));
            tail(6);
            tail(0);
        } else {
            out += static_cast<char>(0xf0 | (code >> 18));
            tail(12);
            tail(6);
            tail(0);
        }
    }

    std::string_view text_;
    size_t at_ = 0;
};

/// The type of values that were not given one.
ValueType common_type(const std::vector<Token>& tokens) {
    bool any[5] = {};
    for (const Token& token : tokens) any[static_cast<size_t>(token.kind)] = true;
    const auto [null, boolean, integer, real, text] = any;
    const bool number = integer || real || null;
    if (boolean + text + number > 1)
        throw Error(Fault::argument,
                    "argument 1: text must hold values of one kind: numbers and null, strings, or true and false");
    if (boolean) return type_of(Type::boolean);
    if (text) return type_of(Type::char_);
    return type_of(integer && !real && !null ? Type::int8 : Type::double_);
}

size_t longest(const std::vector<Token>& tokens) {
    size_t most = 1;
    for (const Token& token : tokens) most = std::max(most, token.text.size());
    return most;
}

[[noreturn]] void refuse(const Token& token, size_t position, const std::string& fault) {
    throw Error(
        Fault::argument,
        "argument 1: " + (token.kind == Token::Kind::null ? "null does not fit a type without missing values" : fault) +
            " at position " + std::to_string(position));
}

}  // namespace

Buffer from_json(Plan& plan, std::string_view text, std::optional<ValueType> type) {
    std::vector<Token> tokens;
    Parser(text).parse([&](Token token) {
        tokens.push_back(std::move(token));
        plan.within_budget(tokens.size());
        plan.poll();
    });
    ValueType to = type ? *type : common_type(tokens);
    if (to.type == Type::char_ && to.width == 0) to = char_of(std::min<size_t>(longest(tokens), max_char));
    Writer writer(to);
    for (size_t i = 0; i < tokens.size(); ++i) {
        plan.poll();
        const Token& token = tokens[i];
        std::string fault;
        const bool quoted = token.kind == Token::Kind::text;
        const bool fits = quoted ? to.type == Type::char_ || to.type == Type::timestamp : to.type != Type::char_;
        std::optional<Scalar> scalar;
        if (!fits)
            fault = shown(token.text) + " does not fit " + name_of(to);
        else if (to.type == Type::timestamp && token.kind == Token::Kind::integer)
            scalar = fit_text(token.text, type_of(Type::int8), fault);
        else if (token.kind == Token::Kind::real && is_integer(to.type))
            scalar = fit(Datum(fit_text(token.text, type_of(Type::double_), fault)->real), to, fault);
        else if (token.kind == Token::Kind::integer && to.type == Type::boolean)
            scalar = fit_text(token.text == "1" ? "true" : token.text == "0" ? "false" : token.text, to, fault);
        else
            scalar = fit_text(token.text, to, fault);
        if (!scalar) refuse(token, i, fault);
        scalar->type = to;
        uint8_t element[max_char];
        put_element(*scalar, element);
        writer.put_single(element, 1);
    }
    return writer.finish();
}

std::string to_json(Plan& plan, const Series& series) {
    std::string text = "[";
    uint64_t positions = 0;
    for_each_tile(plan, series, [&](const char* values, const uint8_t* runs, size_t n) {
        plan.within_budget(positions += sum_runs(runs, n));
        std::string one;
        for (size_t i = 0; i < n; ++i) {
            one.clear();
            put_json(one, scalar_at(series.type, values + i * series.type.width));
            for (unsigned k = get_run(runs, i); k != 0; --k) {
                if (text.size() > 1) text += ',';
                text += one;
            }
        }
    });
    return text + "]";
}

}  // namespace qvo::value
