// Data between SQLite and the value layer, and the limits of a call.
#include <chrono>

#include "host.h"

namespace qvo::sqlite {
namespace {

// A long call asks its host this often, and no call shorter than that asks at all.
constexpr int64_t interval = 5'000'000;  // nanoseconds

int64_t now() { return std::chrono::steady_clock::now().time_since_epoch().count(); }

/// Runs a little statement, which SQLite ends with SQLITE_INTERRUPT if sqlite3_interrupt was called (not even its text is
/// read to the end then), or if a progress handler says so: it is called while statements run, and functions are not.
/// (sqlite3_is_interrupted tells of the former alone, and only from 3.41 on.)
bool wants_an_end(sqlite3* db) {
    constexpr char count[] =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100) SELECT max(i) FROM n";
    sqlite3_stmt* statement = nullptr;
    int rc = sqlite3_prepare_v2(db, count, -1, &statement, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_step(statement);
    sqlite3_finalize(statement);
    return rc == SQLITE_INTERRUPT;
}

}  // namespace

CallLimits::CallLimits(const Connection& connection)
    : db_(connection.db), limits_{connection.budget, interrupted, this, connection.recent} {}

int CallLimits::interrupted(void* self) {
    CallLimits& limits = *static_cast<CallLimits*>(self);
    const int64_t at = now();
    if (limits.asked_ == 0) limits.asked_ = at;
    if (at - limits.asked_ < interval) return 0;
    const bool end = wants_an_end(limits.db_);
    limits.asked_ = now();
    return end ? 1 : 0;
}

void set_result(sqlite3_context* context, qvo_datum_t& result) {
    void* const data = const_cast<void*>(result.as.bytes.data);
    switch (result.kind) {
        case QVO_DATUM_INTEGER:
            sqlite3_result_int64(context, result.as.integer);
            break;
        case QVO_DATUM_REAL:
            sqlite3_result_double(context, result.as.real);
            break;
        case QVO_DATUM_TEXT:
            sqlite3_result_text64(context, static_cast<const char*>(data == nullptr ? "" : data), result.as.bytes.size,
                                  data == nullptr ? SQLITE_STATIC : qvo_value_free, SQLITE_UTF8);
            break;
        case QVO_DATUM_BYTES:
            sqlite3_result_blob64(context, data, result.as.bytes.size, qvo_value_free);
            break;
        default:
            sqlite3_result_null(context);
    }
}

int code_of(const qvo_error_t& error) {
    if (error.code == QVO_VALUE_NOMEM) return SQLITE_NOMEM;
    return error.code == QVO_VALUE_INTERRUPTED ? SQLITE_INTERRUPT : SQLITE_ERROR;
}

void set_error(sqlite3_context* context, const qvo_error_t& error) {
    if (error.code == QVO_VALUE_NOMEM) return sqlite3_result_error_nomem(context);
    sqlite3_result_error(context, error.message, -1);
    if (error.code == QVO_VALUE_INTERRUPTED) sqlite3_result_error_code(context, SQLITE_INTERRUPT);
}

}  // namespace qvo::sqlite
