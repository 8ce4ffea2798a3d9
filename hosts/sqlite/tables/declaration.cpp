#include "tables/declaration.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <utility>

#include "tables/sql.h"

namespace qvo::sqlite {
namespace {

bool same_name(std::string_view a, std::string_view b) {
    return a.size() == b.size() && sqlite3_strnicmp(a.data(), b.data(), static_cast<int>(a.size())) == 0;
}

[[noreturn]] void refuse(const std::string& what) { fail(SQLITE_ERROR, "qvoseq: " + what); }

/// Words, quoted names and single characters of an argument.
class Words {
 public:
    explicit Words(std::string_view text) : text_(text) {}

    bool at_end() {
        while (!text_.empty() && std::isspace(static_cast<unsigned char>(text_.front())) != 0) text_.remove_prefix(1);
        return text_.empty();
    }
    /// A name, maybe in quotes; `quoted` tells.
    std::string name(bool& quoted) {
        quoted = false;
        if (at_end()) return {};
        const char open = text_.front();
        const char close = open == '[' ? ']' : open;
        quoted = open == '"' || open == '`' || open == '[' || open == '\'';
        if (!quoted) return word();
        std::string result;
        size_t i = 1;
        for (;; ++i) {
            if (i == text_.size()) refuse("unfinished quotes: " + std::string(text_));
            if (text_[i] == close) {
                if (open == '[' || i + 1 == text_.size() || text_[i + 1] != close) break;
                ++i;
            }
            result += text_[i];
        }
        text_.remove_prefix(i + 1);
        return result;
    }
    /// Letters, digits and all that is not ASCII; else one character. Empty at the end.
    std::string word() {
        if (at_end()) return {};
        const auto inside = [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$' || (c & 0x80) != 0;
        };
        const auto end = std::find_if_not(text_.begin(), text_.end(), inside);
        const size_t n = std::max<size_t>(static_cast<size_t>(end - text_.begin()), 1);
        const std::string result(text_.substr(0, n));
        text_.remove_prefix(n);
        return result;
    }
    bool next_is(char c) { return !at_end() && text_.front() == c; }

 private:
    std::string_view text_;
};

struct Alias {
    std::string_view name;
    const char* type;
};
constexpr Alias aliases[] = {
    {"integer", "int8"}, {"int", "int8"},       {"bigint", "int8"},  {"smallint", "int2"},
    {"tinyint", "int1"}, {"real", "double"},    {"bool", "boolean"}, {"text", "char"},
    {"varchar", "char"}, {"character", "char"}, {"string", "char"},  {"datetime", "timestamp"},
};

bool is_type_name(const std::string& word, qvo_type_t& type, unsigned& width) {
    std::string lower = word;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const Alias& alias : aliases)
        if (lower == alias.name) lower = alias.type;
    if (qvo_type_named(lower.c_str(), &type, &width) == 0) return false;
    return true;
}

/// The number in brackets after a type, or 0 without one.
unsigned bracketed(Words& words, const std::string& column) {
    if (!words.next_is('(')) return 0;
    words.word();
    const std::string digits = words.word();
    unsigned width = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
    if (error != std::errc{} || end != digits.data() + digits.size() || width < 1 || width > 255 || words.word() != ")")
        refuse("column " + column + ": the width of char must be from 1 to 255");
    return width;
}

Column column_of(Words& words, std::string name) {
    Column column;
    column.name = std::move(name);
    const std::string type = words.word();
    if (!is_type_name(type, column.type, column.width))
        refuse("column " + column.name + " needs a type: boolean, int1 to int8, uint1 to uint8, float, double, " +
               "timestamp, text, char(n) or an alias of one" + (type.empty() ? "" : ", got " + type));
    if (column.is_text()) column.width = bracketed(words, column.name);
    if (same_name(type, "double")) {
        Words after = words;
        if (same_name(after.word(), "precision")) words = after;
    }
    while (!words.at_end()) {
        const std::string word = words.word();
        if (same_name(word, "key"))
            column.key = true;
        else if (same_name(word, "order"))
            column.order = true;
        else
            refuse("column " + column.name + ": unknown word " + word + ", known are KEY and ORDER");
    }
    return column;
}

void set_option(Declaration& declaration, const std::string& name, Words& words) {
    words.word();  // the sign
    bool in_quotes;
    const std::string value = words.name(in_quotes);
    if (!same_name(name, "chunk_rows")) refuse("unknown option " + name + ", known is chunk_rows");
    size_t rows = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), rows);
    if (error != std::errc{} || end != value.data() + value.size() || rows < 1 || rows > max_chunk_rows ||
        !words.at_end())
        refuse("chunk_rows must be an integer from 1 to " + std::to_string(max_chunk_rows) + ", got " + value);
    declaration.chunk_rows = rows;
}

void check(const Column& column) {
    if (column.key && column.order) refuse("column " + column.name + " cannot be KEY and ORDER");
    if (column.key && (column.is_floating() || column.type == QVO_TYPE_UINT8))
        refuse("column " + column.name + ": a KEY must be an integer, a boolean, a timestamp or text, and not uint8");
    if (column.order && (column.is_text() || column.type == QVO_TYPE_UINT8 || column.type == QVO_TYPE_BOOLEAN))
        refuse("column " + column.name + ": ORDER must be a timestamp or a number, and not uint8");
}

/// Places the columns; the ORDER column goes last among the packed.
void place(Declaration& d) {
    for (size_t i = 0; i < d.columns.size(); ++i) {
        check(d.columns[i]);
        if (d.columns[i].order && d.order >= 0)
            refuse("two ORDER columns, " + d.order_column().name + " and " + d.columns[i].name + "; one is allowed");
        if (d.columns[i].order) d.order = static_cast<int>(i);
        if (d.columns[i].key) d.keys.push_back(i);
        if (!d.columns[i].key && !d.columns[i].order) d.packed.push_back(i);
        for (size_t k = 0; k < i; ++k)
            if (same_name(d.columns[i].name, d.columns[k].name)) refuse("two columns " + d.columns[i].name);
    }
    if (d.has_order()) d.packed.push_back(static_cast<size_t>(d.order));
    if (d.packed.empty()) refuse("a table needs a column that is not a KEY");
    for (const auto* list : {&d.keys, &d.packed})
        for (size_t slot = 0; slot < list->size(); ++slot) d.columns[(*list)[slot]].slot = slot;
}

const char* declared_type(const Column& column) {
    if (column.is_text()) return "TEXT";
    if (column.is_floating()) return "REAL";
    if (column.type == QVO_TYPE_TIMESTAMP) return "TIMESTAMP";
    return column.type == QVO_TYPE_BOOLEAN ? "BOOLEAN" : "INTEGER";
}

}  // namespace

Declaration declaration_of(int n, const char* const* arguments) {
    Declaration declaration;
    bool has_option = false;
    for (int i = 0; i < n; ++i) {
        Words words(arguments[i]);
        bool in_quotes;
        std::string name = words.name(in_quotes);
        if (name.empty() || (!in_quotes && std::isalpha(static_cast<unsigned char>(name[0])) == 0 && name[0] != '_' &&
                             (name[0] & 0x80) == 0))
            refuse("expected the name of a column, got " + std::string(arguments[i]));
        if (in_quotes || !words.next_is('=')) {
            declaration.columns.push_back(column_of(words, std::move(name)));
            continue;
        }
        set_option(declaration, name, words);
        if (std::exchange(has_option, true)) refuse("two options chunk_rows; one is allowed");
    }
    place(declaration);
    return declaration;
}

std::string Declaration::free_name(std::string_view name) const {
    std::string result(name);
    const auto taken = [&](const Column& column) { return same_name(column.name, result); };
    while (std::any_of(columns.begin(), columns.end(), taken)) result += '_';
    return result;
}

std::string Declaration::schema_of_rows() const {
    std::string sql;
    for (const Column& column : columns)
        sql += (sql.empty() ? "CREATE TABLE x(" : ",") + quoted(column.name) + " " + declared_type(column);
    return sql + ")";
}

std::string Declaration::schema_of_sequences() const {
    std::string sql;
    for (const Column& column : columns)
        sql += (sql.empty() ? "CREATE TABLE x(" : ",") + quoted(column.name) + " " +
               (column.key ? declared_type(column) : "BLOB");
    if (has_order()) sql += "," + quoted(free_name("first")) + " HIDDEN," + quoted(free_name("last")) + " HIDDEN";
    return sql + ")";
}

}  // namespace qvo::sqlite
