#include "tables/sql.h"

#include <cstdarg>
#include <memory>

namespace qvo::sqlite {

std::string formatted(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::unique_ptr<char, void (*)(void*)> text(sqlite3_vmprintf(format, arguments), sqlite3_free);
    va_end(arguments);
    if (text == nullptr) throw std::bad_alloc();
    return text.get();
}

void fail(int code, std::string message) { throw Failure{code, std::move(message)}; }

void fail_as(sqlite3* db, int code) {
    if ((code & 0xff) == SQLITE_NOMEM) throw std::bad_alloc();
    // An interrupt has SQLite's own text, and must keep it.
    fail(code, (code & 0xff) == SQLITE_INTERRUPT ? std::string() : std::string(sqlite3_errmsg(db)));
}

void must(qvo_value_code_t code, const qvo_error_t& error, std::string_view what) {
    if (code == QVO_VALUE_OK) return;
    if (code == QVO_VALUE_NOMEM) throw std::bad_alloc();
    if (code == QVO_VALUE_INTERRUPTED) fail(SQLITE_INTERRUPT, {});
    fail(SQLITE_ERROR, std::string(what) + ": " + error.message);
}

std::string quoted(std::string_view name) { return formatted("\"%w\"", std::string(name).c_str()); }

void execute(sqlite3* db, const std::string& sql) {
    if (const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr); rc != SQLITE_OK) fail_as(db, rc);
}

Statement::Statement(sqlite3* db, const std::string& sql) {
    const int rc = sqlite3_prepare_v3(db, sql.c_str(), static_cast<int>(sql.size()) + 1, SQLITE_PREPARE_PERSISTENT,
                                      &statement_, nullptr);
    if (rc != SQLITE_OK) fail_as(db, rc);
}

void Statement::check(int rc) const {
    if (rc != SQLITE_OK) fail_as(sqlite3_db_handle(statement_), rc);
}

void Statement::bind_text(int i, std::string_view text) {
    const char* const data = text.data() == nullptr ? "" : text.data();
    check(sqlite3_bind_text64(statement_, i, data, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Statement::bind_blob(int i, std::span<const uint8_t> bytes) {
    check(sqlite3_bind_blob64(statement_, i, bytes.empty() ? static_cast<const void*>("") : bytes.data(), bytes.size(),
                              SQLITE_STATIC));
}

bool Statement::step() {
    const int rc = sqlite3_step(statement_);
    if (rc == SQLITE_ROW) return true;
    sqlite3* const db = sqlite3_db_handle(statement_);
    if (rc != SQLITE_DONE) {
        const int extended = sqlite3_extended_errcode(db);
        const Failure failure{extended, sqlite3_errmsg(db)};
        sqlite3_reset(statement_);
        if ((rc & 0xff) == SQLITE_NOMEM) throw std::bad_alloc();
        if ((rc & 0xff) == SQLITE_INTERRUPT) fail(SQLITE_INTERRUPT, {});
        throw failure;
    }
    sqlite3_reset(statement_);
    return false;
}

std::string_view Statement::text(int i) const {
    const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, i));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(statement_, i));
    if (text == nullptr) {
        if (type(i) != SQLITE_NULL) throw std::bad_alloc();
        return {};
    }
    return {text, size};
}

std::span<const uint8_t> Statement::blob(int i) const {
    const auto* const bytes = static_cast<const uint8_t*>(sqlite3_column_blob(statement_, i));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(statement_, i));
    if (bytes == nullptr && size != 0) throw std::bad_alloc();
    return {bytes, size};
}

}  // namespace qvo::sqlite
