// The modules `qvoseq` and `qvoseq_sequences`: what a connection shares between their tables.
#pragma once

#include "host.h"
#include "tables/selection.h"
#include "tables/tail.h"

namespace qvo::sqlite {

struct Table;

/// The tables of chunks that a connection has open.
///
/// There may be several objects of one table: where SQLite reads the schema anew in a transaction, the table is opened
/// again, and the object that has changes stays until they are committed or rolled back.
struct Tables {
    sqlite3* db;
    std::vector<Table*> open{};
    Readers readers{};
    bool renames = false;  // a table, and its table of sequences with it

    /// The table of a name in a schema, if it is open.
    Table* find(const std::string& schema, const std::string& name) const;
    /// The same, opened if it is not; an error in the name of a function if there is none.
    Table& named(const char* function, sqlite3_value* name, sqlite3_value* schema) const;
    /// Writes what waits of a table, in all objects of it.
    void flush(const Store& store) const;
};

/// A table of chunks, seen as rows.
struct Table : sqlite3_vtab {
    Table(std::shared_ptr<Tables> shared, std::string schema, std::string name, Declaration declaration)
        : sqlite3_vtab{},
          tables(std::move(shared)),
          store(tables->db, tables->readers, std::move(schema), std::move(name), std::move(declaration)),
          tail(store) {
        tables->open.push_back(this);
    }
    ~Table() { std::erase(tables->open, this); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    /// The size, as far as costs need it.
    const Store::Size& size() {
        if (!known_size) known_size = store.size();
        return *known_size;
    }

    std::shared_ptr<Tables> tables;
    Store store;
    Tail tail;
    Tail::Row row;  // room for one
    std::optional<Store::Size> known_size;
};

/// The suffix of the table of sequences.
inline constexpr char sequences_suffix[] = "_seq";

int register_rows(sqlite3* db, const std::shared_ptr<Tables>& tables);
int register_sequences(sqlite3* db, const std::shared_ptr<Tables>& tables);
int register_check(sqlite3* db, const std::shared_ptr<Tables>& tables);
int register_pack_tail(sqlite3* db, const std::shared_ptr<Tables>& tables);

/// What SQLite calls when it lets go of a module or a function.
inline void forget_tables(void* data) { delete static_cast<std::shared_ptr<Tables>*>(data); }

}  // namespace qvo::sqlite
