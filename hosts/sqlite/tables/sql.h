// SQL that the extension runs itself, on the connection that called it, and how failures get out: C++ exceptions
// inside, SQLite's codes and messages at the edge of every method (guarded).
#pragma once

#include <sqlite3ext.h>

#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "qvovalue.h"

SQLITE_EXTENSION_INIT3

namespace qvo::sqlite {

/// An error on its way to SQLite.
struct Failure {
    int code;             // SQLite's, extended
    std::string message;  // empty: SQLite's own text for the code
};

/// As sqlite3_mprintf: %w doubles double quotes, %Q makes a literal.
std::string formatted(const char* format, ...);
[[noreturn]] void fail(int code, std::string message);
/// What the connection says of its last error.
[[noreturn]] void fail_as(sqlite3* db, int code);
/// Unless all is well, an error of the value layer, with words before it.
void must(qvo_value_code_t code, const qvo_error_t& error, std::string_view what);

/// A name in double quotes.
std::string quoted(std::string_view name);

void execute(sqlite3* db, const std::string& sql);

/// A prepared statement. Bound text and blobs stay the caller's until `reset`.
class Statement {
 public:
    Statement() = default;
    Statement(sqlite3* db, const std::string& sql);
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(Statement&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
    Statement& operator=(Statement&& other) noexcept {
        std::swap(statement_, other.statement_);
        return *this;
    }
    explicit operator bool() const { return statement_ != nullptr; }

    void bind(int i, int64_t value) { check(sqlite3_bind_int64(statement_, i, value)); }
    void bind(int i, double value) { check(sqlite3_bind_double(statement_, i, value)); }
    void bind_text(int i, std::string_view text);
    void bind_blob(int i, std::span<const uint8_t> bytes);
    /// To the next row; false after the last, and the statement is reset then.
    bool step();
    /// Runs a statement that has no rows.
    void run() {
        while (step()) {}
    }
    void reset() { sqlite3_reset(statement_); }

    int type(int i) const { return sqlite3_column_type(statement_, i); }
    int64_t integer(int i) const { return sqlite3_column_int64(statement_, i); }
    double real(int i) const { return sqlite3_column_double(statement_, i); }
    std::string_view text(int i) const;
    std::span<const uint8_t> blob(int i) const;
    sqlite3_value* value(int i) const { return sqlite3_column_value(statement_, i); }

 private:
    void check(int rc) const;
    sqlite3_stmt* statement_ = nullptr;
};

/// Resets a statement at the end of a scope, so that none is left in the midst of its rows.
class Resetting {
 public:
    explicit Resetting(Statement& statement) : statement_(statement) {}
    ~Resetting() { statement_.reset(); }
    Resetting(const Resetting&) = delete;
    Resetting& operator=(const Resetting&) = delete;

 private:
    Statement& statement_;
};

/// Runs what a method does, and turns what it throws into a code and a message.
template <class F> int guarded(char** message, F f) noexcept {
    try {
        f();
        return SQLITE_OK;
    } catch (const Failure& failure) {
        if (!failure.message.empty() && message != nullptr) {
            sqlite3_free(*message);
            *message = sqlite3_mprintf("%s", failure.message.c_str());
        }
        return failure.code;
    } catch (const std::bad_alloc&) { return SQLITE_NOMEM; } catch (...) {
        return SQLITE_ERROR;
    }
}

}  // namespace qvo::sqlite
