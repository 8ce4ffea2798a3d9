// What the parts of the SQLite extension share: data on its way in and out, and what belongs to one connection.
#pragma once

#include <sqlite3ext.h>

#include <string>

#include "qvovalue.h"

SQLITE_EXTENSION_INIT3

namespace qvo::sqlite {

/// The prefix of every name in SQL.
inline constexpr char prefix[] = "seq_";

/// One connection's settings. Every function that is registered holds a reference; the last one to go frees it.
struct Connection {
    sqlite3* db;
    unsigned references = 0;
    uint64_t budget = uint64_t{1} << 27;
    qvo_recent_t* recent = qvo_recent_new();  // null without memory: results are decoded then

    explicit Connection(sqlite3* of) : db(of) {}
    ~Connection() { qvo_recent_free(recent); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void retain() { ++references; }
    void release() {
        if (--references == 0) delete this;
    }
};

/// The limits of one call, and how long ago the host was asked whether it goes on.
class CallLimits {
 public:
    explicit CallLimits(const Connection& connection);
    CallLimits(const CallLimits&) = delete;
    CallLimits& operator=(const CallLimits&) = delete;
    operator const qvo_limits_t*() const { return &limits_; }

 private:
    static int interrupted(void* self);
    sqlite3* db_;
    int64_t asked_ = 0;  // nanoseconds of a steady clock; 0: not yet
    qvo_limits_t limits_;
};

/// Sets an argument as the value layer sees it; bytes stay the database's. In place, member by member: a copy of what has
/// just been written would wait for it, in every row.
inline void read_datum(sqlite3_value* value, qvo_datum_t& datum) {
    switch (sqlite3_value_type(value)) {
        case SQLITE_INTEGER:
            datum.as.integer = sqlite3_value_int64(value);
            datum.kind = QVO_DATUM_INTEGER;
            break;
        case SQLITE_FLOAT:
            datum.as.real = sqlite3_value_double(value);
            datum.kind = QVO_DATUM_REAL;
            break;
        case SQLITE_TEXT:
            datum.as.bytes.data = sqlite3_value_text(value);
            datum.as.bytes.size = static_cast<size_t>(sqlite3_value_bytes(value));
            datum.kind = QVO_DATUM_TEXT;
            break;
        case SQLITE_BLOB:
            datum.as.bytes.data = sqlite3_value_blob(value);
            datum.as.bytes.size = static_cast<size_t>(sqlite3_value_bytes(value));
            datum.kind = QVO_DATUM_BYTES;
            break;
        default:
            datum.kind = QVO_DATUM_NULL;
    }
}
inline qvo_datum_t datum_of(sqlite3_value* value) {
    qvo_datum_t datum;
    read_datum(value, datum);
    return datum;
}

/// Hands a result over, with its memory.
void set_result(sqlite3_context* context, qvo_datum_t& result);

/// Hands an error over as SQLite's own kind of error.
void set_error(sqlite3_context* context, const qvo_error_t& error);

/// SQLite's code of an error.
int code_of(const qvo_error_t& error);

/// Registers the table functions of the catalog. SQLITE_OK or what SQLite said.
int register_table(sqlite3* db, const qvo_function_t* function, Connection* connection);

/// Registers the tables that chunk themselves.
int register_tables(sqlite3* db);

}  // namespace qvo::sqlite
