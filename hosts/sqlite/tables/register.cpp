// Registers all that has to do with tables of chunks.
#include <algorithm>

#include "tables/table.h"

namespace qvo::sqlite {

Table* Tables::find(const std::string& schema, const std::string& name) const {
    // The last one is that of the schema as it is now.
    for (auto table = open.rbegin(); table != open.rend(); ++table)
        if ((*table)->store.is_named(schema, name)) return *table;
    return nullptr;
}

void Tables::flush(const Store& store) const {
    const auto waits = [&](const Table* table) { return !table->tail.is_flushed() && table->store.same_tables(store); };
    // Objects may come and go while statements run.
    for (auto at = open.begin(); (at = std::find_if(open.begin(), open.end(), waits)) != open.end();)
        (*at)->tail.flush();
}

Table& Tables::named(const char* function, sqlite3_value* name, sqlite3_value* schema) const {
    const auto text = [&](sqlite3_value* value, const char* what) {
        if (sqlite3_value_type(value) != SQLITE_TEXT)
            fail(SQLITE_ERROR, std::string(function) + ": " + what + " must be text");
        return std::string(reinterpret_cast<const char*>(sqlite3_value_text(value)));
    };
    const std::string table = text(name, "argument 1: table");
    const std::string in = schema == nullptr ? "main" : text(schema, "argument 2: schema");
    // SQLite opens a table when a statement names it.
    if (find(in, table) == nullptr) {
        sqlite3_stmt* statement = nullptr;
        const std::string sql = "SELECT 1 FROM " + quoted(in) + "." + quoted(table);
        const int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
        sqlite3_finalize(statement);
        if (rc != SQLITE_OK) fail(rc, std::string(function) + ": " + sqlite3_errmsg(db));
    }
    Table* const found = find(in, table);
    if (found == nullptr) fail(SQLITE_ERROR, std::string(function) + ": " + table + " is not a table of qvoseq");
    return *found;
}

int register_tables(sqlite3* db) {
    return guarded(nullptr, [&] {
        const auto tables = std::make_shared<Tables>(Tables{db});
        for (const auto& each : {register_rows, register_sequences, register_check, register_pack_tail})
            if (const int rc = each(db, tables); rc != SQLITE_OK) fail(rc, {});
    });
}

}  // namespace qvo::sqlite
