#pragma once

// The indexer's one prepared-statement wrapper, on a connection that IndexDatabase owns. Binding
// copies the values, so they may go away before the step.

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>

namespace tangor::index {

class Statement {
public:
    // Prepares `sql` on `db`; a failure leaves the statement empty (see valid()), with SQLite's
    // message in error().
    Statement(sqlite3* db, const char* sql);

    bool valid() const { return statement_ != nullptr; }
    const std::string& error() const { return error_; }

    // Binders, by 1-based index. A null text binds NULL.
    void bind(int index, const std::string& text);
    void bind(int index, const char* text);
    void bind(int index, std::int64_t value);
    void bind(int index, int value) { bind(index, static_cast<std::int64_t>(value)); }
    // The bytes of `text` without its terminator, as a blob, or NULL when `text` is null.
    void bindBytes(int index, const char* text);

    // Runs to the next row: true while there is one. An error ends it like the last row does; it
    // is kept in error() and failed().
    bool next();
    // Runs a statement that yields no row and makes it ready to run again; false on an error.
    bool run();
    // Makes a statement that was stopped before its end ready to run again.
    void reset();
    bool failed() const { return !error_.empty(); }

    std::string text(int column) const;
    std::int64_t integer(int column) const;

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    void recordError();

    sqlite3* db_;
    std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
    std::string error_;
};

}  // namespace tangor::index
