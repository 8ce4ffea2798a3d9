// The module `qvoseq`: CREATE VIRTUAL TABLE … USING qvoseq(…), a table whose rows lie in chunks.
#include <algorithm>
#include <cstring>

#include "tables/module.h"
#include "tables/row_cursor.h"

namespace qvo::sqlite {
namespace {

struct Cursor : sqlite3_vtab_cursor, RowCursor {
    explicit Cursor(Table& table) : sqlite3_vtab_cursor{}, RowCursor(table.store) { table.store.check_version(); }
};
using RowMethods = Methods<Table, Cursor>;

Table& table_of(sqlite3_vtab* table) { return RowMethods::of(table); }

// Arguments of a module: its name, the schema, the table, and what stands between the brackets.
constexpr int first_argument = 3;

void open_table(void* data, int n, const char* const* arguments, sqlite3_vtab** made, bool create) {
    const auto& tables = *static_cast<std::shared_ptr<Tables>*>(data);
    auto table = std::make_unique<Table>(tables, arguments[1], arguments[2],
                                         declaration_of(n - first_argument, arguments + first_argument));
    Store& store = table->store;
    if (create) {
        store.create();
        std::string sql = "CREATE VIRTUAL TABLE " + store.shadow(sequences_suffix) + " USING qvoseq_sequences(";
        for (int i = first_argument; i < n; ++i) sql += (i == first_argument ? "" : ",") + std::string(arguments[i]);
        execute(tables->db, sql + ")");
    }
    if (const int rc = sqlite3_declare_vtab(tables->db, store.declaration().schema_of_rows().c_str()); rc != SQLITE_OK)
        fail_as(tables->db, rc);
    sqlite3_vtab_config(tables->db, SQLITE_VTAB_CONSTRAINT_SUPPORT, 1);
    sqlite3_vtab_config(tables->db, SQLITE_VTAB_INNOCUOUS);
    *made = table.release();
}

int create(sqlite3*, void* data, int n, const char* const* arguments, sqlite3_vtab** table, char** message) {
    return guarded(message, [&] { open_table(data, n, arguments, table, true); });
}
int connect(sqlite3*, void* data, int n, const char* const* arguments, sqlite3_vtab** table, char** message) {
    return guarded(message, [&] { open_table(data, n, arguments, table, false); });
}

int destroy(sqlite3_vtab* table) {
    Table& t = table_of(table);
    const int rc = guarded(&t.zErrMsg, [&] {
        if (t.tail.is_needed()) fail(SQLITE_LOCKED, {});
        execute(t.store.db(), "DROP TABLE IF EXISTS " + t.store.shadow(sequences_suffix));
        t.store.drop();
        for (Table* const other : t.tables->open)
            if (other != &t && other->store.same_tables(t.store)) other->tail.set_aside();
    });
    if (rc == SQLITE_OK) delete &t;
    return rc;
}

int best_index(sqlite3_vtab* table, sqlite3_index_info* info) {
    Table& t = table_of(table);
    return guarded(&t.zErrMsg, [&] { plan_rows(t.store.declaration(), t.size(), info); });
}

int filter(sqlite3_vtab_cursor* cursor, int, const char* plan, int, sqlite3_value** values) {
    Table& t = table_of(cursor->pVtab);
    return guarded(&t.zErrMsg, [&] {
        t.tables->flush(t.store);
        RowMethods::of(cursor).start(selection_of(t.store.declaration(), plan, values));
    });
}

/// The values of a row as elements and key.
Key take_row(Table& table, sqlite3_value** values) {
    const Declaration& declaration = table.store.declaration();
    table.row.elements.resize(declaration.packed.size());
    table.row.widths.resize(declaration.packed.size());
    Key key;
    for (const size_t i : declaration.keys) append_key(key, declaration.columns[i], values[i]);
    for (size_t slot = 0; slot < declaration.packed.size(); ++slot)
        table.row.widths[slot] = set_element(values[declaration.packed[slot]], declaration.packed_column(slot),
                                             table.row.elements[slot].data());
    return key;
}

int update(sqlite3_vtab* table, int n, sqlite3_value** values, sqlite3_int64* rowid) {
    Table& t = table_of(table);
    return guarded(&t.zErrMsg, [&] {
        if (n == 1) return t.tail.remove(place_of(sqlite3_value_int64(values[0])));
        const bool insert = sqlite3_value_type(values[0]) == SQLITE_NULL;
        const bool other_rowid = insert ? sqlite3_value_type(values[1]) != SQLITE_NULL
                                        : sqlite3_value_int64(values[0]) != sqlite3_value_int64(values[1]);
        if (other_rowid)
            fail(SQLITE_CONSTRAINT, t.store.name() + ": a rowid says where a row lies and cannot be chosen");
        try {
            const Key key = take_row(t, values + 2);
            if (!insert) return t.tail.update(place_of(sqlite3_value_int64(values[0])), key, t.row);
            t.tail.insert(key, t.row);
            *rowid = 0;  // none before it is written
        } catch (Failure& failure) {
            if ((failure.code & 0xff) == SQLITE_CONSTRAINT) failure.message = t.store.name() + ": " + failure.message;
            throw;
        }
    });
}

int begin(sqlite3_vtab* table) {
    Table& t = table_of(table);
    return guarded(&t.zErrMsg, [&] { t.store.check_version(); });
}
int commit(sqlite3_vtab* table) {
    table_of(table).tail.end();
    return SQLITE_OK;
}

int flush(sqlite3_vtab* table) {
    Table& t = table_of(table);
    t.known_size.reset();
    return guarded(&t.zErrMsg, [&] { t.tail.flush(); });
}

int rollback(sqlite3_vtab* table) {
    table_of(table).tail.end();
    table_of(table).known_size.reset();
    return SQLITE_OK;
}

int savepoint(sqlite3_vtab* table, int number) {
    Table& t = table_of(table);
    return guarded(&t.zErrMsg, [&] { t.tail.savepoint(number); });
}
int release(sqlite3_vtab* table, int number) {
    table_of(table).tail.release(number);
    return SQLITE_OK;
}
int rollback_to(sqlite3_vtab* table, int number) {
    Table& t = table_of(table);
    t.known_size.reset();
    return guarded(&t.zErrMsg, [&] { t.tail.roll_back_to(number); });
}

int rename(sqlite3_vtab* table, const char* name) {
    Table& t = table_of(table);
    return guarded(&t.zErrMsg, [&] {
        t.tables->flush(t.store);
        t.store.rename(name);
        t.tables->renames = true;
        const int rc = guarded(&t.zErrMsg, [&] {
            execute(t.store.db(), "ALTER TABLE " + t.store.shadow(sequences_suffix) + " RENAME TO " +
                                      quoted(name + std::string(sequences_suffix)));
        });
        t.tables->renames = false;
        if (rc != SQLITE_OK) fail(rc, {});
    });
}

int shadow_name(const char* suffix) {
    for (const char* const mine : {"chunks", "tail", "meta"})
        if (sqlite3_stricmp(suffix, mine) == 0) return 1;
    return 0;
}

sqlite3_module methods() {
    sqlite3_module m = RowMethods::module();
    m.iVersion = 3;
    m.xCreate = create;
    m.xConnect = connect;
    m.xBestIndex = best_index;
    m.xDestroy = destroy;
    m.xFilter = filter;
    m.xUpdate = update;
    m.xBegin = begin;
    m.xSync = flush;
    m.xCommit = commit;
    m.xRollback = rollback;
    m.xRename = rename;
    m.xSavepoint = savepoint;
    m.xRelease = release;
    m.xRollbackTo = rollback_to;
    m.xShadowName = shadow_name;
    return m;
}

}  // namespace

int register_rows(sqlite3* db, const std::shared_ptr<Tables>& tables) {
    static const sqlite3_module rows = methods();
    return sqlite3_create_module_v2(db, "qvoseq", &rows, new std::shared_ptr<Tables>(tables), forget_tables);
}

}  // namespace qvo::sqlite
