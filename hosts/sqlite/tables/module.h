// What the modules of tables do alike. A table and its cursors are objects; a cursor has the methods next, at_end, row and
// column, and what they throw is an error of the statement.
#pragma once

#include "tables/sql.h"

namespace qvo::sqlite {

template <class Table, class Cursor> struct Methods {
    static Table& of(sqlite3_vtab* table) { return *static_cast<Table*>(table); }
    static Cursor& of(sqlite3_vtab_cursor* cursor) { return *static_cast<Cursor*>(cursor); }

    static int disconnect(sqlite3_vtab* table) {
        delete &of(table);
        return SQLITE_OK;
    }
    static int open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
        return guarded(&table->zErrMsg, [&] { *cursor = new Cursor(of(table)); });
    }
    static int close(sqlite3_vtab_cursor* cursor) {
        delete &of(cursor);
        return SQLITE_OK;
    }
    static int next(sqlite3_vtab_cursor* cursor) {
        return guarded(&cursor->pVtab->zErrMsg, [&] { of(cursor).next(); });
    }
    static int eof(sqlite3_vtab_cursor* cursor) { return of(cursor).at_end(); }
    static int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int index) {
        return guarded(&cursor->pVtab->zErrMsg, [&] { of(cursor).column(context, static_cast<size_t>(index)); });
    }
    static int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* row) {
        return guarded(&cursor->pVtab->zErrMsg, [&] { *row = of(cursor).row(); });
    }

    static sqlite3_module module() {
        sqlite3_module m{};
        m.xDisconnect = disconnect;
        m.xOpen = open;
        m.xClose = close;
        m.xNext = next;
        m.xEof = eof;
        m.xColumn = column;
        m.xRowid = rowid;
        return m;
    }
};

}  // namespace qvo::sqlite
