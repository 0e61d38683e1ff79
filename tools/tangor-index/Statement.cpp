#include "Statement.h"

#include <cstring>

namespace tangor::index {

Statement::Statement(sqlite3* db, const char* sql) : db_(db) {
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &prepared, nullptr) != SQLITE_OK) {
        recordError();
    }
    statement_.reset(prepared);
}

void Statement::bind(int index, const std::string& text) {
    sqlite3_bind_text(statement_.get(), index, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
}

void Statement::bind(int index, const char* text) {
    if (text == nullptr) {
        sqlite3_bind_null(statement_.get(), index);
        return;
    }
    sqlite3_bind_text(statement_.get(), index, text, -1, SQLITE_TRANSIENT);
}

void Statement::bind(int index, std::int64_t value) {
    sqlite3_bind_int64(statement_.get(), index, value);
}

void Statement::bindBytes(int index, const char* text) {
    if (text == nullptr) {
        sqlite3_bind_null(statement_.get(), index);
        return;
    }
    sqlite3_bind_blob(statement_.get(), index, text, static_cast<int>(std::strlen(text)),
                      SQLITE_TRANSIENT);
}

bool Statement::next() {
    if (!statement_) {
        return false;
    }
    error_.clear();
    const int rc = sqlite3_step(statement_.get());
    if (rc == SQLITE_ROW) {
        return true;
    }
    if (rc != SQLITE_DONE) {
        recordError();
    }
    sqlite3_reset(statement_.get());
    return false;
}

bool Statement::run() {
    if (!statement_) {
        return false;
    }
    error_.clear();
    const int rc = sqlite3_step(statement_.get());
    if (rc != SQLITE_DONE && rc != SQLITE_ROW) {
        recordError();
    }
    sqlite3_reset(statement_.get());
    return !failed();
}

void Statement::reset() {
    if (statement_) {
        sqlite3_reset(statement_.get());
    }
}

std::string Statement::text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
    const int size = sqlite3_column_bytes(statement_.get(), column);
    return bytes ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

void Statement::recordError() {
    error_ = sqlite3_errmsg(db_);
}

}  // namespace tangor::index
