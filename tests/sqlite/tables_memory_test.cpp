// Memory that runs out inside the extension while it works on tables of chunks: every allocation of its own fails once. The
// statement is an error then, nothing of the transaction is left after its end, and the connection goes on.
//
// The extension is part of this program, whose operator new is the test's.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "../value/allocation.h"

extern "C" int sqlite3_qvosqlite_init(sqlite3* db, char** message, const sqlite3_api_routines* api);

namespace {

class TablesMemoryTest : public ::testing::Test {
 protected:
    void SetUp() override {
        ASSERT_EQ(sqlite3_open(":memory:", &db_), SQLITE_OK);
        // SQLite hands an extension its functions; the one to find them by is part of SQLite.
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(sqlite3_qvosqlite_init));
        sqlite3_close(db_);
        ASSERT_EQ(sqlite3_open(":memory:", &db_), SQLITE_OK);
        must("CREATE VIRTUAL TABLE t USING qvoseq(k TEXT KEY, at INT ORDER, x DOUBLE, s TEXT, chunk_rows=40)");
        must("INSERT INTO t " + numbers + "SELECT 'key ' || i % 3, i, i / 4.0, 'text ' || i FROM c");
        before_ = contents();
    }
    void TearDown() override {
        sqlite3_close(db_);
        sqlite3_reset_auto_extension();
    }

    int run(const std::string& sql) { return sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr); }
    void must(const std::string& sql) { ASSERT_EQ(run(sql), SQLITE_OK) << sql << ": " << sqlite3_errmsg(db_); }
    std::string contents() {
        std::string all;
        const auto add = [](void* to, int n, char** values, char**) {
            for (int i = 0; i < n; ++i)
                *static_cast<std::string*>(to) += std::string(values[i] ? values[i] : "NULL") + "|";
            return 0;
        };
        EXPECT_EQ(
            sqlite3_exec(db_, "SELECT * FROM t ORDER BY k, at, x; SELECT * FROM seq_check('t')", add, &all, nullptr),
            SQLITE_OK)
            << sqlite3_errmsg(db_);
        return all;
    }

    const std::string numbers = "WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c LIMIT 200) ";
    sqlite3* db_ = nullptr;
    std::string before_;
};

TEST_F(TablesMemoryTest, EveryAllocationFailsOnce) {
    const std::vector<std::string> changes = {
        "INSERT INTO t " + numbers + "SELECT 'key ' || i % 5, 400 - i * 2, i, 'late ' || i FROM c",
        "INSERT INTO t VALUES ('key 1', 7, 7, 's'), ('new', 7, 7, 's'); SAVEPOINT s; INSERT INTO t VALUES ('new', 8, "
        "8, 's');"
        "SELECT * FROM t; ROLLBACK TO s; INSERT INTO t VALUES ('new', 9, 9, 's'), ('newer', 9, 9, 's')",
        "UPDATE t SET x = x + 1, at = at - 100 WHERE at % 3 = 1",
        "DELETE FROM t WHERE at < 100 AND k IN ('key 1', 'key 2'); DELETE FROM t_seq WHERE first = 120 AND last = 130",
        "INSERT INTO t VALUES ('key 1', 7, 7, 's'), ('new', 7, 7, 's'); SELECT seq_pack_tail('t')",
    };
    const std::vector<std::string> reads = {
        "SELECT DISTINCT k FROM t; SELECT * FROM t WHERE k IN ('key 2', 'no key', 'key 0') ORDER BY k, at DESC",
        "SELECT k, seq_to_json(x), seq_to_json(s) FROM t_seq(10, 90); SELECT * FROM seq_check('t')",
    };
    std::vector<std::string> all = changes;
    all.insert(all.end(), reads.begin(), reads.end());
    for (const std::string& sql : all) {
        bool failed = true;
        size_t failures = 0;
        for (size_t at = 0; failed; ++at) {
            must("BEGIN");
            int rc;
            {
                const test::Counted allocations(at);
                rc = run(sql);
                failed = allocations.failed();
            }
            // What is kept for another time alone may do without memory.
            failures += rc != SQLITE_OK;
            ASSERT_TRUE(rc == SQLITE_OK || (failed && rc == SQLITE_NOMEM))
                << sql << ", " << at << ": " << sqlite3_errmsg(db_);
            if (sqlite3_get_autocommit(db_) == 0) must("ROLLBACK");
            if (at % 16 == 0 || !failed) { ASSERT_EQ(contents(), before_) << sql << ", " << at; }
        }
        EXPECT_GT(failures, 20u) << sql;
    }
}

}  // namespace
