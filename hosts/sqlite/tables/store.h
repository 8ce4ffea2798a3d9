// The ordinary tables that a table of chunks keeps: <name>_chunks, <name>_tail and <name>_meta.
//
// Both of the former have a row for each *source* of rows: the key, the first and last value of the ORDER column, the
// number of rows, and a value for each packed column. In <name>_chunks they are stored sequences, and sources of a
// key do not overlap. In <name>_tail they may, and few rows are kept `raw`, as arrays, since a stored sequence has a
// price of its own. Without an ORDER column, first and last number a key's sources in the order in which their rows
// came.
#pragma once

#include <map>
#include <memory>

#include "tables/keys.h"

namespace qvo::sqlite {

/// Numbers of the first version, and of those that this extension reads.
inline constexpr int schema_version = 1;

struct Source {
    bool tail = false, raw = false;
    int64_t id = 0;
    int64_t first = 0, last = 0;  // ranks
    size_t number = 0;            // rows
    bool operator==(const Source&) const = default;
};

/// Ranks from the first up to and with the last.
struct Range {
    int64_t first = lowest_rank, last = highest_rank;
    bool empty() const { return first > last; }
    bool is_all() const { return first == lowest_rank && last == highest_rank; }
};

/// Which columns of a source are wanted, by slot, ascending.
using Slots = std::vector<size_t>;

class Store;
class Pieces;

/// Those who are reading sources, in all tables of a connection.
using Readers = std::vector<Pieces*>;

/// A row of a source with the columns asked for. Their bytes stay in place as long as it lives.
class StoredRow {
 public:
    StoredRow(Store& store, const Source& source, const Slots& slots);
    ~StoredRow();
    StoredRow(StoredRow&&) noexcept;
    StoredRow& operator=(StoredRow&&) = delete;

    const Source& source() const { return source_; }
    /// The bytes of a column: a stored sequence, or an array if the source is raw.
    std::span<const uint8_t> bytes(size_t slot) const;
    sqlite3_value* value(size_t slot) const;
    /// Appends positions from `from` up to `to` to a vector.
    void read(size_t slot, size_t from, size_t to, Vector& values) const;
    /// The first position whose value in the ORDER column is at least the rank, or above it.
    size_t find(int64_t rank, bool above) const;

 private:
    int column_of(size_t slot) const;
    Store* store_;
    Source source_;
    Slots slots_;
    Statement statement_;
};

class Store {
 public:
    Store(sqlite3* db, Readers& readers, std::string schema, std::string name, Declaration declaration)
        : db_(db),
          reading_(readers),
          schema_(std::move(schema)),
          name_(std::move(name)),
          declaration_(std::move(declaration)) {}
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    sqlite3* db() const { return db_; }
    Readers& reading() const { return reading_; }
    bool is_named(const std::string& schema, const std::string& name) const;
    /// True of the same tables in another object.
    bool same_tables(const Store& other) const { return is_named(other.schema_, other.name_); }
    const std::string& schema() const { return schema_; }
    const std::string& name() const { return name_; }
    const Declaration& declaration() const { return declaration_; }

    void create();
    void drop();
    /// Renames the tables. The object keeps the name: SQLite makes another one, and may come back to this one if it
    /// rolls back.
    void rename(const std::string& name);
    /// Throws if the tables are of a version that this extension does not read. Not while the schema is read, when the
    /// tables may be on their way to another name.
    void check_version();

    /// Sources of a key that may hold rows of a range, in the order of their first rows; of chunks alone, or of the
    /// tail.
    std::vector<Source> sources(bool tail, const Key& key, const Range& range);
    /// The source of a number with its key, if there is one.
    bool find(bool tail, int64_t id, Source& source, Key& key);
    /// The first key after another one, or the first of all without one. Nothing at the end.
    std::optional<Key> next_key(const Key* after);
    /// The first key that is not before another one.
    std::optional<Key> key_from(const Key& key);

    /// Writes a source; returns it with its number.
    Source insert(bool tail, const Key& key, const Batch& rows, int64_t place);
    void remove(const Source& source);
    /// Writes columns of a source anew.
    void update(const Source& source, const Slots& slots, const Batch& rows);

    /// What is known of the whole.
    struct Size {
        int64_t rows = 0, sources = 0, keys = 0;
        bool utf8 = true;  // text compares by the bytes that a key has of it
    };
    Size size();

    std::string shadow(const char* suffix) const { return quoted(schema_) + "." + quoted(name_ + suffix); }
    /// Lets go of all statements.
    void close();

    /// Words about a source, as a message.
    std::string about(const Source& source, const std::string& what) const;
    [[noreturn]] void damaged(const Source& source, const std::string& what) const;

 private:
    friend class StoredRow;
    std::string key_names() const;
    std::string table_of(bool tail) const { return shadow(tail ? "_tail" : "_chunks"); }
    std::string definition(bool tail) const;
    Source source_of(const Statement& row, int first, bool tail) const;
    int bind_rank(Statement& statement, int i, int64_t rank) const;
    std::string select_sources(bool tail) const;
    std::string select_key(bool tail, const char* comparison) const;
    std::optional<Key> lesser_key(Statement (&statements)[2], const char* comparison, const Key* bound);
    bool is_before(const Key& a, const Key& b);
    template <class F> Statement& kept(Statement& statement, F sql);

    void before_change(const Source& source);

    sqlite3* db_;
    Readers& reading_;
    std::string schema_, name_;
    Declaration declaration_;
    Statement sources_[2], find_[2], insert_[2], remove_[2], first_key_[2], next_key_[2], key_from_[2], is_before_;
    bool version_is_known_ = false;
    // Statements that read columns, which many cursors may want at once.
    std::map<std::pair<bool, Slots>, std::vector<Statement>> readers_;
};

}  // namespace qvo::sqlite
