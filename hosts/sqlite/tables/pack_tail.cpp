// seq_pack_tail(table [, schema]): packs all rows of the tail into chunks, and returns how many there were.
#include "tables/table.h"

namespace qvo::sqlite {
namespace {

/// A savepoint, which is a transaction where there is none: what is written in it is written as a whole.
class Savepoint {
 public:
    explicit Savepoint(sqlite3* db) : db_(db) { execute(db, "SAVEPOINT qvoseq"); }
    ~Savepoint() {
        if (done_) return;
        sqlite3_exec(db_, "ROLLBACK TO qvoseq", nullptr, nullptr, nullptr);
        sqlite3_exec(db_, "RELEASE qvoseq", nullptr, nullptr, nullptr);
    }
    Savepoint(const Savepoint&) = delete;
    Savepoint& operator=(const Savepoint&) = delete;
    void release() {
        execute(db_, "RELEASE qvoseq");
        done_ = true;
    }

 private:
    sqlite3* db_;
    bool done_ = false;
};

void pack_tail(sqlite3_context* context, int n, sqlite3_value** values) {
    const Tables& tables = **static_cast<std::shared_ptr<Tables>*>(sqlite3_user_data(context));
    char* message = nullptr;
    int64_t rows = 0;
    const int rc = guarded(&message, [&] {
        Table& table = tables.named("seq_pack_tail", values[0], n > 1 ? values[1] : nullptr);
        table.store.check_version();
        tables.flush(table.store);
        table.known_size.reset();
        try {
            Savepoint savepoint(tables.db);
            rows = table.tail.pack_all();
            savepoint.release();
        } catch (...) {
            table.tail.discard();  // the tables are as they were before the savepoint
            throw;
        }
    });
    if (rc == SQLITE_OK) return sqlite3_result_int64(context, rows);
    if (message != nullptr) sqlite3_result_error(context, message, -1);
    sqlite3_result_error_code(context, rc);
    sqlite3_free(message);
}

}  // namespace

int register_pack_tail(sqlite3* db, const std::shared_ptr<Tables>& tables) {
    for (const int n : {1, 2})
        if (const int rc = sqlite3_create_function_v2(db, "seq_pack_tail", n, SQLITE_UTF8 | SQLITE_DIRECTONLY,
                                                      new std::shared_ptr<Tables>(tables), pack_tail, nullptr, nullptr,
                                                      forget_tables);
            rc != SQLITE_OK)
            return rc;
    return SQLITE_OK;
}

}  // namespace qvo::sqlite
