// The module `qvoseq_sequences`: the table of sequences beside a table of chunks, a row for each piece of a series. A
// chunk that a query wants whole is handed on as it is stored.
//
// To delete such a row is to delete all that it holds, without looking at it.
#include <algorithm>
#include <cstring>

#include "tables/module.h"
#include "tables/table.h"

namespace qvo::sqlite {
namespace {

class Cursor;

/// A table of sequences reads the tables of another one, whose name is its own without the suffix.
struct Sequences : sqlite3_vtab {
    Sequences(std::shared_ptr<Tables> shared, std::string schema, std::string own_name, Declaration declaration)
        : sqlite3_vtab{},
          tables(std::move(shared)),
          name(std::move(own_name)),
          store(tables->db, tables->readers, std::move(schema),
                name.substr(0, name.size() - std::strlen(sequences_suffix)), std::move(declaration)) {}
    std::shared_ptr<Tables> tables;
    std::string name;
    Store store;
    std::optional<Store::Size> known_size;
    std::vector<Cursor*> cursors{};
    sqlite3_int64 last_row = 0;

    void remove(sqlite3_int64 row);

 private:
    void remove(const Part& part);
};

class Cursor : public sqlite3_vtab_cursor {
 public:
    explicit Cursor(Sequences& table) : sqlite3_vtab_cursor{}, table_(table), store_(table.store) {
        store_.check_version();
        table.cursors.push_back(this);
    }
    ~Cursor() { std::erase(table_.cursors, this); }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    void start(Selection selection) {
        selection_ = std::move(selection);
        slots_ = selection_.slots(store_.declaration());
        keys_.emplace(store_, selection_);
        pieces_.reset();
        named_.clear();
        next();
    }
    void next() {
        merged_.reset();
        row_ = 0;
        while (!pieces_ || !pieces_->next()) {
            if ((key_ = keys_->next()) == nullptr) return;
            pieces_.emplace(store_, *key_, selection_.range, slots_);
        }
    }
    bool at_end() const { return key_ == nullptr; }
    /// A number by which the row can be deleted as long as the cursor is open.
    sqlite3_int64 row() {
        if (row_ != 0) return row_;
        Piece piece = pieces_->piece();
        for (Part& part : piece) part.row.reset();
        row_ = ++table_.last_row;
        named_.emplace(row_, std::move(piece));
        return row_;
    }
    std::map<sqlite3_int64, Piece>& named() { return named_; }

    void column(sqlite3_context* context, size_t index) {
        const Declaration& declaration = store_.declaration();
        if (index >= declaration.columns.size()) return;  // a bound: NULL
        const Column& c = declaration.columns[index];
        if (c.key) return result_key(context, declaration, c.slot, *key_);
        const Piece& piece = pieces_->piece();
        if (piece.size() == 1 && !piece[0].source.raw) return stored(context, piece[0], c.slot);
        if (!merged_) merged_ = read_rows(*pieces_);
        Packed packed(c.type, merged_->batch.columns[c.slot], merged_->batch.size());
        set_result(context, packed.datum());
        packed.datum().kind = QVO_DATUM_NULL;
    }

 private:
    void stored(sqlite3_context* context, const Part& part, size_t slot) {
        const StoredRow& row = pieces_->row(part);
        if (part.is_whole()) return sqlite3_result_value(context, row.value(slot));
        static const qvo_function_t* const slice = qvo_function_named("slice");
        const std::span<const uint8_t> bytes = row.bytes(slot);
        qvo_datum_t arguments[3] = {}, result{};
        arguments[0].kind = QVO_DATUM_BYTES;
        arguments[0].as.bytes = {bytes.data(), bytes.size()};
        arguments[1].kind = arguments[2].kind = QVO_DATUM_INTEGER;
        arguments[1].as.integer = static_cast<int64_t>(part.from);
        arguments[2].as.integer = static_cast<int64_t>(part.to);
        qvo_error_t error;
        must(qvo_call(slice, arguments, 3, nullptr, &result, &error), error, table_.name);
        set_result(context, result);
    }

    Sequences& table_;
    Store& store_;
    Selection selection_;
    Slots slots_;
    std::optional<KeyWalk> keys_;
    const Key* key_ = nullptr;
    std::optional<Pieces> pieces_;
    std::optional<Rows> merged_;
    std::map<sqlite3_int64, Piece> named_;  // rows whose number was asked for
    sqlite3_int64 row_ = 0;
};

void Sequences::remove(sqlite3_int64 row) {
    for (Cursor* const cursor : cursors) {
        const auto found = cursor->named().find(row);
        if (found == cursor->named().end()) continue;
        const Piece piece = std::move(found->second);
        cursor->named().erase(found);
        for (const Part& part : piece) remove(part);
        return;
    }
    fail(SQLITE_ERROR, name + ": the row is not known any longer");
}

/// What is left of a source gets another number, by which other rows find their parts of it.
void Sequences::remove(const Part& part) {
    const Source& source = part.source;
    if (part.is_whole()) return store.remove(source);
    Source found;
    Key key;
    if (!store.find(source.tail, source.id, found, key)) store.damaged(source, "the row is gone");
    std::vector<uint32_t> kept;
    for (size_t i = 0; i < source.number; ++i)
        if (i < part.from || i >= part.to) kept.push_back(static_cast<uint32_t>(i));
    // Parts overlap in a damaged table alone.
    if (kept.empty()) return store.remove(source);
    Batch rows = read_source(store, source);
    rows.take(kept);
    const Source left = store.insert(source.tail, key, rows, source.first);
    store.remove(source);
    for (Cursor* const cursor : cursors)
        for (auto& [row, piece] : cursor->named())
            for (Part& other : piece) {
                if (other.source.tail != source.tail || other.source.id != source.id) continue;
                other.source = left;
                if (other.from < part.to) continue;
                other.from -= part.to - part.from;
                other.to -= part.to - part.from;
            }
}

using SequenceMethods = Methods<Sequences, Cursor>;

Sequences& table_of(sqlite3_vtab* table) { return SequenceMethods::of(table); }

int connect(sqlite3* db, void* data, int n, const char* const* arguments, sqlite3_vtab** made, char** message) {
    return guarded(message, [&] {
        const auto& tables = *static_cast<std::shared_ptr<Tables>*>(data);
        const std::string name = arguments[2];
        const size_t suffix = std::strlen(sequences_suffix);
        if (name.size() <= suffix || sqlite3_stricmp(name.c_str() + name.size() - suffix, sequences_suffix) != 0)
            fail(SQLITE_ERROR,
                 "qvoseq_sequences: is made by USING qvoseq(…), and its name ends in " + std::string(sequences_suffix));
        auto table = std::make_unique<Sequences>(tables, arguments[1], name, declaration_of(n - 3, arguments + 3));
        const std::string schema = table->store.declaration().schema_of_sequences();
        if (const int rc = sqlite3_declare_vtab(db, schema.c_str()); rc != SQLITE_OK) fail_as(db, rc);
        sqlite3_vtab_config(db, SQLITE_VTAB_INNOCUOUS);
        *made = table.release();
    });
}

int best_index(sqlite3_vtab* table, sqlite3_index_info* info) {
    Sequences& t = table_of(table);
    return guarded(&t.zErrMsg, [&] {
        if (!t.known_size) t.known_size = t.store.size();
        plan_sequences(t.store.declaration(), *t.known_size, info);
    });
}

int filter(sqlite3_vtab_cursor* cursor, int, const char* plan, int, sqlite3_value** values) {
    Sequences& t = table_of(cursor->pVtab);
    return guarded(&t.zErrMsg, [&] {
        t.tables->flush(t.store);
        SequenceMethods::of(cursor).start(selection_of(t.store.declaration(), plan, values));
    });
}

int update(sqlite3_vtab* table, int n, sqlite3_value** values, sqlite3_int64*) {
    Sequences& t = table_of(table);
    return guarded(&t.zErrMsg, [&] {
        if (n != 1)
            fail(SQLITE_READONLY, t.name + ": rows are inserted into " + t.store.name() + ", and changed there");
        t.remove(sqlite3_value_int64(values[0]));
        if (Table* const rows = t.tables->find(t.store.schema(), t.store.name())) rows->tail.forget_known();
    });
}

int rename(sqlite3_vtab* table, const char*) {
    Sequences& t = table_of(table);
    return guarded(&t.zErrMsg, [&] {
        if (!t.tables->renames) fail(SQLITE_ERROR, t.name + ": is renamed with " + t.store.name());
        t.store.close();
    });
}

sqlite3_module methods() {
    sqlite3_module m = SequenceMethods::module();
    m.xCreate = connect;
    m.xConnect = connect;
    m.xBestIndex = best_index;
    m.xDestroy = SequenceMethods::disconnect;
    m.xFilter = filter;
    m.xUpdate = update;
    m.xRename = rename;
    return m;
}

}  // namespace

int register_sequences(sqlite3* db, const std::shared_ptr<Tables>& tables) {
    static const sqlite3_module sequences = methods();
    return sqlite3_create_module_v2(db, "qvoseq_sequences", &sequences, new std::shared_ptr<Tables>(tables),
                                    forget_tables);
}

}  // namespace qvo::sqlite
