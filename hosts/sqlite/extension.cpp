// The loadable extension: registers every function of the catalog. What the functions are stands nowhere here.
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "host.h"

SQLITE_EXTENSION_INIT1

namespace qvo::sqlite {
namespace {

// SQLite hands a function its arguments as an array; none of the catalog takes more.
constexpr int most_arguments = 16;

/// What SQLite keeps for a registered function.
struct Registered {
    const qvo_function_t* function;
    Connection* connection;

    Registered(const qvo_function_t* f, Connection* c) : function(f), connection(c) { c->retain(); }
    ~Registered() { connection->release(); }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;
};

Registered& registered(sqlite3_context* context) { return *static_cast<Registered*>(sqlite3_user_data(context)); }

void forget(void* data) { delete static_cast<Registered*>(data); }

/// The arguments of a call. Text or a blob that SQLite cannot convert for want of memory has no bytes.
struct Arguments {
    qvo_datum_t data[most_arguments];
    bool complete = true;
    Arguments(int n, sqlite3_value** values) {
        for (int i = 0; i < n; ++i) {
            read_datum(values[i], data[i]);
            const bool bytes = data[i].kind == QVO_DATUM_TEXT || data[i].kind == QVO_DATUM_BYTES;
            if (bytes && data[i].as.bytes.data == nullptr && data[i].as.bytes.size != 0) complete = false;
        }
    }
};

void call(sqlite3_context* context, int n, sqlite3_value** values) {
    const Registered& r = registered(context);
    const Arguments arguments(n, values);
    if (!arguments.complete) return sqlite3_result_error_nomem(context);
    qvo_datum_t result{};
    qvo_error_t error;
    if (qvo_call(r.function, arguments.data, static_cast<size_t>(n), CallLimits(*r.connection), &result, &error) ==
        QVO_VALUE_OK)
        set_result(context, result);
    else
        set_error(context, error);
}

/// The aggregate of a group, in the memory that SQLite keeps for it: zeros at first. Rows wait until one call takes them
/// all, with copies of short texts; blobs and long texts, which stay SQLite's, end the wait.
struct Group {
    qvo_aggregate_t* aggregate;
    size_t rows, used, copied;  // that wait, their data, and the bytes of their texts
    qvo_datum_t waiting[64];
    char texts[512];

    /// Takes a row; false if that failed.
    bool add(sqlite3_context* context, int n, sqlite3_value** values, qvo_error_t& error) {
        bool wait = true;
        for (int i = 0; i < n; ++i) {
            qvo_datum_t& datum = waiting[used++];
            read_datum(values[i], datum);
            if (datum.kind != QVO_DATUM_TEXT && datum.kind != QVO_DATUM_BYTES) continue;
            const auto [data, size] = datum.as.bytes;
            if (data == nullptr && size != 0) return out_of_memory(error);
            if (datum.kind == QVO_DATUM_BYTES || size > sizeof texts - copied) {
                wait = false;
            } else if (size != 0) {
                datum.as.bytes.data = std::memcpy(texts + copied, data, size);
                copied += size;
            }
        }
        ++rows;
        wait = wait && used + static_cast<size_t>(n) <= std::size(waiting);
        return wait || settle(registered(context), error);
    }

    /// Folds in what waits. A group without rows has no aggregate before.
    bool settle(const Registered& r, qvo_error_t& error) {
        if (aggregate == nullptr && qvo_aggregate_new(r.function, &aggregate, &error) != QVO_VALUE_OK) return false;
        const size_t n = rows;
        rows = copied = 0;
        return n == 0 || qvo_aggregate_step_rows(aggregate, waiting, std::exchange(used, 0) / n, n,
                                                 CallLimits(*r.connection), &error) == QVO_VALUE_OK;
    }

    /// After an error SQLite calls `finish` all the same, which is not to look at what the row left behind.
    void drop() {
        qvo_aggregate_free(std::exchange(aggregate, nullptr));
        rows = used = copied = 0;
    }

 private:
    static bool out_of_memory(qvo_error_t& error) {
        error.code = QVO_VALUE_NOMEM;
        return false;
    }
};

void step(sqlite3_context* context, int n, sqlite3_value** values) {
    auto* const group = static_cast<Group*>(sqlite3_aggregate_context(context, sizeof(Group)));
    if (group == nullptr) return sqlite3_result_error_nomem(context);
    qvo_error_t error;
    if (group->add(context, n, values, error)) return;
    group->drop();
    set_error(context, error);
}

void finish(sqlite3_context* context) {
    const Registered& r = registered(context);
    Group empty{};
    auto* group = static_cast<Group*>(sqlite3_aggregate_context(context, 0));
    if (group == nullptr) group = &empty;
    qvo_error_t error;
    qvo_datum_t result{};
    if (group->settle(r, error) &&
        qvo_aggregate_finish(group->aggregate, CallLimits(*r.connection), &result, &error) == QVO_VALUE_OK)
        set_result(context, result);
    else
        set_error(context, error);
    group->drop();
}

/// seq_budget(n): sets how many positions a call may read or expand, and returns the budget before.
void budget(sqlite3_context* context, int n, sqlite3_value** values) {
    Connection& connection = *registered(context).connection;
    const auto before = static_cast<int64_t>(connection.budget);
    if (n == 1) {
        const bool whole = sqlite3_value_type(values[0]) == SQLITE_INTEGER;
        if (!whole || sqlite3_value_int64(values[0]) < 1)
            return sqlite3_result_error(context, "seq_budget: argument 1: n must be an integer of at least 1", -1);
        connection.budget = static_cast<uint64_t>(sqlite3_value_int64(values[0]));
    }
    sqlite3_result_int64(context, before);
}

using Scalar = void (*)(sqlite3_context*, int, sqlite3_value**);
using Finish = void (*)(sqlite3_context*);

/// Registers a function for one number of arguments. SQLite calls `forget` also where it fails.
int register_one(sqlite3* db, const char* name, int n, int flags, const qvo_function_t* function,
                 Connection* connection, Scalar scalar, Scalar step_function, Finish final_function) {
    auto* const data = new (std::nothrow) Registered(function, connection);
    if (data == nullptr) return SQLITE_NOMEM;
    return sqlite3_create_function_v2(db, name, n, SQLITE_UTF8 | flags, data, scalar, step_function, final_function,
                                      forget);
}

int register_function(sqlite3* db, const qvo_function_t* function, Connection* connection) {
    qvo_function_info_t info;
    qvo_function_describe(function, &info);
    if (info.kind == QVO_TABLE_FUNCTION) return register_table(db, function, connection);
    char name[64];
    sqlite3_snprintf(sizeof name, name, "%s%s", prefix, info.name);
    const bool aggregate = info.kind == QVO_AGGREGATE_FUNCTION;
    const int flags = SQLITE_INNOCUOUS | (aggregate ? 0 : SQLITE_DETERMINISTIC);
    for (size_t n = info.fewest; n <= info.most; ++n)
        if (const int rc =
                register_one(db, name, static_cast<int>(n), flags, function, connection, aggregate ? nullptr : call,
                             aggregate ? step : nullptr, aggregate ? finish : nullptr);
            rc != SQLITE_OK)
            return rc;
    return SQLITE_OK;
}

int register_all(sqlite3* db, Connection* connection) {
    for (const int n : {0, 1})
        if (const int rc =
                register_one(db, "seq_budget", n, SQLITE_DIRECTONLY, nullptr, connection, budget, nullptr, nullptr);
            rc != SQLITE_OK)
            return rc;
    for (size_t i = 0; i < qvo_function_count(); ++i)
        if (const int rc = register_function(db, qvo_function_at(i), connection); rc != SQLITE_OK) return rc;
    return register_tables(db);
}

}  // namespace
}  // namespace qvo::sqlite

extern "C" __attribute__((visibility("default"))) int sqlite3_qvosqlite_init(sqlite3* db, char** message,
                                                                             const sqlite3_api_routines* api) {
    SQLITE_EXTENSION_INIT2(api)
    if (sqlite3_libversion_number() < 3038000) {
        *message = sqlite3_mprintf("qvosqlite needs SQLite 3.38 or later, this is %s", sqlite3_libversion());
        return SQLITE_ERROR;
    }
    using qvo::sqlite::Connection;
    auto* const connection = new (std::nothrow) Connection{db};
    if (connection == nullptr) return SQLITE_NOMEM;
    connection->retain();
    const int rc = qvo::sqlite::register_all(db, connection);
    connection->release();
    return rc;
}
