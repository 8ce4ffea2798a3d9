#include "tables/pieces.h"

#include <algorithm>

namespace qvo::sqlite {
namespace {

/// Below as many rows a source of the tail is kept raw.
constexpr size_t raw_rows = 64;

std::string marks(size_t n) {
    std::string text;
    for (size_t i = 0; i < n; ++i) text += i == 0 ? "?" : ",?";
    return text;
}

std::string key_condition(const Declaration& declaration) {
    std::string sql;
    for (const size_t i : declaration.keys) sql += quoted(declaration.columns[i].name) + "=? AND ";
    return sql;
}

}  // namespace

std::string Store::key_names() const {
    std::string names;
    for (const size_t i : declaration_.keys) names += quoted(declaration_.columns[i].name) + ",";
    return names;
}

// The index of the constraint holds all that is asked without looking at a sequence, and follows a renamed table.
std::string Store::definition(bool tail) const {
    const auto named = [&](const char* name) { return quoted(declaration_.free_name(name)); };
    std::string sql = "CREATE TABLE " + table_of(tail) + "(" + named("id") + " INTEGER PRIMARY KEY,";
    for (const size_t i : declaration_.keys) sql += quoted(declaration_.columns[i].name) + " NOT NULL,";
    const std::string bounds = named("first") + "," + named("last") + "," + named("number");
    sql += named("first") + " NOT NULL," + named("last") + " NOT NULL," + named("number") + " INTEGER NOT NULL,";
    if (tail) sql += named("raw") + " INTEGER NOT NULL,";
    for (const size_t i : declaration_.packed) sql += quoted(declaration_.columns[i].name) + " BLOB NOT NULL,";
    return sql + "UNIQUE(" + key_names() + bounds + (tail ? "," + named("raw") : "") + "," + named("id") + "))";
}

void Store::create() {
    execute(db_, definition(false));
    execute(db_, definition(true));
    execute(db_, "CREATE TABLE " + shadow("_meta") + "(name TEXT PRIMARY KEY, value) WITHOUT ROWID");
    execute(db_, "INSERT INTO " + shadow("_meta") + " VALUES ('version', " + std::to_string(schema_version) + ")");
}

void Store::drop() {
    close();
    for (const char* suffix : {"_chunks", "_tail", "_meta"}) execute(db_, "DROP TABLE IF EXISTS " + shadow(suffix));
}

void Store::rename(const std::string& name) {
    close();
    for (const char* suffix : {"_chunks", "_tail", "_meta"})
        execute(db_, "ALTER TABLE " + shadow(suffix) + " RENAME TO " + quoted(name + suffix));
}

void Store::check_version() {
    if (version_is_known_) return;
    Statement version(db_, "SELECT value FROM " + shadow("_meta") + " WHERE name = 'version'");
    if (!version.step() || version.integer(0) < 1) fail(SQLITE_CORRUPT_VTAB, name_ + ": the version is not known");
    if (version.integer(0) > schema_version)
        fail(SQLITE_ERROR, name_ + ": written by a newer version of qvoseq: its tables are of version " +
                               std::to_string(version.integer(0)) + ", this extension reads up to " +
                               std::to_string(schema_version));
    version_is_known_ = true;
}

void Store::close() {
    for (auto* list : {sources_, find_, insert_, remove_, first_key_, next_key_, key_from_})
        for (int i = 0; i < 2; ++i) list[i] = Statement();
    is_before_ = Statement();
    readers_.clear();
}

/// A statement that is prepared once, with the text that `sql` makes then.
template <class F> Statement& Store::kept(Statement& statement, F sql) {
    if (!statement) statement = Statement(db_, sql());
    return statement;
}

std::string Store::about(const Source& source, const std::string& what) const {
    return name_ + (source.tail ? "_tail " : "_chunks ") + std::to_string(source.id) + ": " + what;
}

void Store::damaged(const Source& source, const std::string& what) const {
    fail(SQLITE_CORRUPT_VTAB, about(source, what));
}

Source Store::source_of(const Statement& row, int first, bool tail) const {
    Source source;
    source.tail = tail;
    source.id = row.integer(first);
    const bool real = declaration_.has_order() && declaration_.order_column().is_floating();
    source.first = real ? rank_of(row.real(first + 1)) : row.integer(first + 1);
    source.last = real ? rank_of(row.real(first + 2)) : row.integer(first + 2);
    source.number = static_cast<size_t>(row.integer(first + 3));
    source.raw = tail && row.integer(first + 4) != 0;
    // Rowids have room for so many positions; none that was written here has more.
    if (source.number < 1 || source.number > 4 * max_chunk_rows || source.id < 1 || source.id >> 38 != 0)
        damaged(source, "a number of rows or an id that cannot be");
    return source;
}

int Store::bind_rank(Statement& statement, int i, int64_t rank) const {
    if (!declaration_.has_order() || !declaration_.order_column().is_floating())
        statement.bind(i, rank);
    else if (rank == lowest_rank || rank == highest_rank)
        statement.bind(i, rank == lowest_rank ? -std::numeric_limits<double>::infinity()
                                              : std::numeric_limits<double>::infinity());
    else
        statement.bind(i, real_of_rank(rank));
    return i + 1;
}

std::string Store::select_sources(bool tail) const {
    const auto named = [&](const char* name) { return quoted(declaration_.free_name(name)); };
    const std::string first = named("first"), last = named("last"), condition = key_condition(declaration_);
    const std::string columns = first + "," + last + "," + named("number") + (tail ? "," + named("raw") : "");
    std::string sql = "SELECT " + named("id") + "," + columns + " FROM " + table_of(tail) + " WHERE " + condition;
    // Chunks do not overlap: of those that begin below the range only the last can reach into it.
    if (!tail)
        sql += first + ">=coalesce((SELECT max(" + first + ") FROM " + table_of(tail) + " WHERE " + condition + first +
               "<?),?) AND ";
    return sql + last + ">=? AND " + first + "<=? ORDER BY " + columns + "," + named("id");
}

std::vector<Source> Store::sources(bool tail, const Key& key, const Range& range) {
    Statement& statement = kept(sources_[tail], [&] { return select_sources(tail); });
    const Resetting resetting(statement);
    int at = bind_key(declaration_, statement, 1, key);
    if (!tail) {
        at = bind_rank(statement, bind_key(declaration_, statement, at, key), range.first);
        at = bind_rank(statement, at, lowest_rank);
    }
    bind_rank(statement, bind_rank(statement, at, range.first), range.last);
    std::vector<Source> found;
    while (statement.step()) found.push_back(source_of(statement, 0, tail));
    return found;
}

bool Store::find(bool tail, int64_t id, Source& source, Key& key) {
    Statement& statement = kept(find_[tail], [&] {
        const auto named = [&](const char* name) { return quoted(declaration_.free_name(name)); };
        return "SELECT " + key_names() + named("id") + "," + named("first") + "," + named("last") + "," +
               named("number") + (tail ? "," + named("raw") : "") + " FROM " + table_of(tail) + " WHERE " +
               named("id") + "=?";
    });
    const Resetting resetting(statement);
    statement.bind(1, id);
    if (!statement.step()) return false;
    key = key_of(declaration_, statement, 0);
    source = source_of(statement, static_cast<int>(declaration_.keys.size()), tail);
    return true;
}

std::string Store::select_key(bool tail, const char* comparison) const {
    std::string names = key_names();
    names.pop_back();
    std::string sql = "SELECT " + names + " FROM " + table_of(tail);
    if (comparison != nullptr)
        sql += " WHERE (" + names + ")" + comparison + "(" + marks(declaration_.keys.size()) + ")";
    return sql + " ORDER BY " + names + " LIMIT 1";
}

std::optional<Key> Store::next_key(const Key* after) {
    if (declaration_.keys.empty()) return after == nullptr ? std::optional<Key>(Key()) : std::nullopt;
    return after == nullptr ? lesser_key(first_key_, nullptr, nullptr) : lesser_key(next_key_, ">", after);
}

std::optional<Key> Store::key_from(const Key& key) { return lesser_key(key_from_, ">=", &key); }

/// The lesser of the two tables' first keys of those that compare so with another. One index tells each; a statement over
/// both would make tables of its own to merge them.
std::optional<Key> Store::lesser_key(Statement (&statements)[2], const char* comparison, const Key* bound) {
    std::optional<Key> found[2];
    for (const bool tail : {false, true}) {
        Statement& statement = kept(statements[tail], [&] { return select_key(tail, comparison); });
        const Resetting resetting(statement);
        if (bound != nullptr) bind_key(declaration_, statement, 1, *bound);
        if (statement.step()) found[tail] = key_of(declaration_, statement, 0);
    }
    if (!found[0] || !found[1]) return found[0] ? found[0] : found[1];
    return found[is_before(*found[1], *found[0])];
}

/// By SQLite, which knows how they compare.
bool Store::is_before(const Key& a, const Key& b) {
    Statement& statement = kept(is_before_, [&] {
        const std::string key = "(" + marks(declaration_.keys.size()) + ")";
        return "SELECT " + key + "<" + key;
    });
    const Resetting resetting(statement);
    bind_key(declaration_, statement, bind_key(declaration_, statement, 1, a), b);
    return statement.step() && statement.integer(0) != 0;
}

Source Store::insert(bool tail, const Key& key, const Batch& rows, int64_t place) {
    Source source{tail, tail && rows.size() < raw_rows, 0, place, place, rows.size()};
    if (declaration_.has_order()) {
        const Vector& order = rows.columns[declaration_.order_slot()];
        source.first = rank_at(declaration_.order_column().type, order.at(0));
        source.last = rank_at(declaration_.order_column().type, order.at(rows.size() - 1));
    }
    Statement& statement = kept(insert_[tail], [&] {
        const size_t n = declaration_.keys.size() + declaration_.packed.size() + (tail ? 5 : 4);
        return "INSERT INTO " + table_of(tail) + " VALUES (" + marks(n) + ")";
    });
    const Resetting resetting(statement);
    int at = bind_key(declaration_, statement, 2, key);
    at = bind_rank(statement, at, source.first);
    at = bind_rank(statement, at, source.last);
    statement.bind(at++, static_cast<int64_t>(rows.size()));
    if (tail) statement.bind(at++, int64_t{source.raw});
    std::vector<Packed> packed;
    packed.reserve(declaration_.packed.size());
    for (size_t slot = 0; slot < declaration_.packed.size(); ++slot) {
        if (source.raw) {
            statement.bind_blob(at++, rows.columns[slot].bytes);
        } else {
            packed.emplace_back(declaration_.packed_column(slot).type, rows.columns[slot], rows.size());
            statement.bind_blob(at++, packed.back().bytes());
        }
    }
    statement.run();
    source.id = sqlite3_last_insert_rowid(db_);
    return source;
}

bool Store::is_named(const std::string& schema, const std::string& name) const {
    return sqlite3_stricmp(schema_.c_str(), schema.c_str()) == 0 && sqlite3_stricmp(name_.c_str(), name.c_str()) == 0;
}

/// Lets those who are to read a source take its row before it changes: what they see is as it was when they began.
void Store::before_change(const Source& source) {
    for (Pieces* const pieces : reading_)
        if (pieces->reads(*this)) pieces->take(source);
}

void Store::remove(const Source& source) {
    before_change(source);
    Statement& statement = kept(remove_[source.tail], [&] {
        return "DELETE FROM " + table_of(source.tail) + " WHERE " + quoted(declaration_.free_name("id")) + "=?";
    });
    const Resetting resetting(statement);
    statement.bind(1, source.id);
    statement.run();
}

void Store::update(const Source& source, const Slots& slots, const Batch& rows) {
    before_change(source);
    std::string sql;
    for (const size_t slot : slots)
        sql += (sql.empty() ? "UPDATE " + table_of(source.tail) + " SET " : ",") +
               quoted(declaration_.packed_column(slot).name) + "=?";
    Statement statement(db_, sql + " WHERE " + quoted(declaration_.free_name("id")) + "=?");
    std::vector<Packed> packed;
    packed.reserve(slots.size());
    int at = 1;
    for (const size_t slot : slots) {
        if (!source.raw) packed.emplace_back(declaration_.packed_column(slot).type, rows.columns[slot], rows.size());
        statement.bind_blob(at++,
                            source.raw ? std::span<const uint8_t>(rows.columns[slot].bytes) : packed.back().bytes());
    }
    statement.bind(at, source.id);
    statement.run();
}

Store::Size Store::size() {
    Size size;
    const std::string number = quoted(declaration_.free_name("number"));
    std::string names = key_names();
    if (!names.empty()) names.pop_back();
    for (const bool tail : {false, true}) {
        Statement count(db_, "SELECT count(*),sum(" + number + ") FROM " + table_of(tail));
        count.step();
        size.sources += count.integer(0);
        size.rows += std::clamp<int64_t>(count.integer(1), 0, int64_t{1} << 52);  // whatever somebody wrote there
        if (names.empty()) continue;
        Statement keys(db_, "SELECT count(*) FROM (SELECT DISTINCT " + names + " FROM " + table_of(tail) + ")");
        keys.step();
        size.keys = std::max(size.keys, keys.integer(0));
    }
    size.keys = std::max<int64_t>(size.keys, 1);
    Statement encoding(db_, "PRAGMA encoding");
    size.utf8 = encoding.step() && encoding.text(0) == "UTF-8";
    return size;
}

}  // namespace qvo::sqlite
