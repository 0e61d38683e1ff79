#pragma once

// The one shape of every single-row insertion of the library: its own transaction, run directly on
// the stream's connection, around the prepared statement. Failures are logged by the stream and
// otherwise ignored; the statement is finalized in every case.

#include <sqlite3.h>
#include <tangor/sqlstl/sqlstream.h>

#include "database/Schema.h"

namespace corvina {

// Texts are bound without a copy: each must outlive this call.
template <typename... Values>
void insertSingleRow(sqlstl::sqlostream& os, const char* sql, const Values&... values) {
    sqlite3_exec(os.db, kBeginTransactionSql, nullptr, nullptr, nullptr);
    os.query(sql);
    (os << ... << values) << sqlstl::step;
    sqlite3_exec(os.db, kEndTransactionSql, nullptr, nullptr, nullptr);
    os << sqlstl::finalize;
}

}  // namespace corvina
