#include <tangor/sqlstl/sqlstream.h>

#include <sqlite3.h>

#include <climits>
#include <cstring>

#include "internal/Logging.h"

namespace sqlstl {

namespace {

// sqlite3_step's primary error codes; 0, 27 (notice), 28 (warning) and the rest are not failures.
bool isErrorCode(int rc) {
    return rc >= SQLITE_ERROR && rc <= SQLITE_NOTADB;
}

void finalizeStatement(sqlite3_stmt*& stmt) {
    sqlite3_finalize(stmt);
    stmt = nullptr;
}

}  // namespace

// ---- basic_sqlstream ----------------------------------------------------------------------------

template <class charT, class traits>
basic_sqlstream<charT, traits>::basic_sqlstream(int firstIndex)
    : db(nullptr), index(firstIndex), stmt(nullptr) {
    this->init(&buffer);
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::open(const char* filename, int timeout) {
    release();
    if (filename == nullptr) {
        this->setstate(std::ios_base::badbit);
        return;
    }
    const int rc = sqlite3_open(filename, &db);
    if (rc != SQLITE_OK) {
        // sqlite3_open usually hands out a handle even when it fails; it would leak otherwise.
        sqlite3_close(db);
        db = nullptr;
        this->setstate(std::ios_base::badbit);
        return;
    }
    TANGOR_LOG(DLT_LOG_INFO, "Set timeout to %d ms", timeout);
    sqlite3_busy_timeout(db, timeout);
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::close() {
    const int rc = sqlite3_close(db);
    if (rc != SQLITE_OK) {
        TANGOR_LOG(DLT_LOG_ERROR, "Could not close db connection: %d %s", rc, sqlite3_errmsg(db));
        // A statement is still held. Leave the connection to SQLite as a zombie that goes away
        // with that statement's finalize (at the latest in the stream's destructor).
        sqlite3_close_v2(db);
    }
    db = nullptr;
}

template <class charT, class traits>
int basic_sqlstream<charT, traits>::prepare(const char* sql) {
    this->clear();
    finalizeStatement(stmt);
    const int rc = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
    if (rc != SQLITE_OK) {
        this->setstate(std::ios_base::badbit);
    }
    return rc;
}

template <class charT, class traits>
bool basic_sqlstream<charT, traits>::stepBlocked() const {
    return (this->rdstate() & (std::ios_base::badbit | std::ios_base::failbit)) != 0;
}

template <class charT, class traits>
void basic_sqlstream<charT, traits>::release() {
    finalizeStatement(stmt);
    // A caller may have prepared statements of its own on the public db; the connection then
    // goes once they are finalized instead of being left open for good.
    sqlite3_close_v2(db);
    db = nullptr;
}

// ---- basic_sqlistream ---------------------------------------------------------------------------

template <class charT, class traits>
basic_sqlistream<charT, traits>::basic_sqlistream() : basic_sqlstream<charT, traits>(0) {}

template <class charT, class traits>
basic_sqlistream<charT, traits>::~basic_sqlistream() {
    this->release();
}

template <class charT, class traits>
void basic_sqlistream<charT, traits>::query(const char* sql) {
    const int rc = this->prepare(sql);
    if (rc != SQLITE_OK) {
        TANGOR_LOG(DLT_LOG_ERROR, "exec failed: %d %s", rc, sqlite3_errmsg(this->db));
        return;
    }
    this->index = 0;
    step();
}

template <class charT, class traits>
void basic_sqlistream<charT, traits>::step() {
    if (this->stepBlocked()) {
        TANGOR_LOG(DLT_LOG_ERROR, "step failed");
        return;
    }
    const int rc = sqlite3_step(this->stmt);
    if (isErrorCode(rc)) {
        this->setstate(std::ios_base::badbit);
        TANGOR_LOG(DLT_LOG_ERROR, "exec failed: %d %s", rc, sqlite3_errmsg(this->db));
        finalizeStatement(this->stmt);
    } else if (rc == SQLITE_DONE) {
        this->setstate(std::ios_base::eofbit);
    }
    this->index = 0;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(
    std::basic_string<charT, traits>& value) {
    if (this->rdstate() != std::ios_base::goodbit) {
        return *this;
    }
    const unsigned char* text = sqlite3_column_text(this->stmt, this->index);
    if (text == nullptr) {
        this->setstate(std::ios_base::failbit);
    } else {
        value.assign(reinterpret_cast<const char*>(text));
    }
    ++this->index;
    return *this;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(int& value) {
    if (this->rdstate() != std::ios_base::goodbit) {
        return *this;
    }
    value = sqlite3_column_int(this->stmt, this->index);
    ++this->index;
    return *this;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& basic_sqlistream<charT, traits>::operator>>(
    basic_sqlistream& (*manipulator)(basic_sqlistream&)) {
    return manipulator(*this);
}

// ---- basic_sqlostream ---------------------------------------------------------------------------

template <class charT, class traits>
basic_sqlostream<charT, traits>::basic_sqlostream() : basic_sqlstream<charT, traits>(1) {}

template <class charT, class traits>
basic_sqlostream<charT, traits>::~basic_sqlostream() {
    this->release();
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::exec(const char* sql) {
    this->clear();
    const int rc = sqlite3_exec(this->db, sql, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        TANGOR_LOG(DLT_LOG_ERROR, "exec failed: %d %s", rc, sqlite3_errmsg(this->db));
        this->setstate(std::ios_base::badbit);
    }
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::query(const char* sql) {
    const int rc = this->prepare(sql);
    if (rc != SQLITE_OK) {
        TANGOR_LOG(DLT_LOG_ERROR, "exec failed: %d %s", rc, sqlite3_errmsg(this->db));
        return;
    }
    this->index = 1;
}

template <class charT, class traits>
void basic_sqlostream<charT, traits>::step() {
    if (this->stepBlocked()) {
        TANGOR_LOG(DLT_LOG_ERROR, "step failed");
        return;
    }
    const int rc = sqlite3_step(this->stmt);
    if (rc == SQLITE_DONE) {
        sqlite3_reset(this->stmt);
    } else if (rc == SQLITE_ROW || isErrorCode(rc)) {
        // A writing statement that yields a row counts as failed.
        TANGOR_LOG(DLT_LOG_ERROR, "exec failed: %d %s", rc, sqlite3_errmsg(this->db));
        this->setstate(std::ios_base::badbit);
        finalizeStatement(this->stmt);
    }
    this->index = 1;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(const charT* text) {
    if (this->rdstate() != std::ios_base::goodbit) {
        return *this;
    }
    // A negative length makes SQLite read up to the NUL itself, which is what a huge text needs.
    const std::size_t bytes = text ? std::strlen(text) : 0;
    const int length = bytes > static_cast<std::size_t>(INT_MAX) ? -1 : static_cast<int>(bytes);
    if (sqlite3_bind_text(this->stmt, this->index, text, length, SQLITE_STATIC) != SQLITE_OK) {
        this->setstate(std::ios_base::failbit);
    }
    ++this->index;
    return *this;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(int value) {
    if (this->rdstate() != std::ios_base::goodbit) {
        return *this;
    }
    if (sqlite3_bind_int(this->stmt, this->index, value) != SQLITE_OK) {
        this->setstate(std::ios_base::failbit);
    }
    ++this->index;
    return *this;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& basic_sqlostream<charT, traits>::operator<<(
    basic_sqlostream& (*manipulator)(basic_sqlostream&)) {
    return manipulator(*this);
}

// ---- manipulators -------------------------------------------------------------------------------

template <class charT, class traits>
basic_sqlistream<charT, traits>& step(basic_sqlistream<charT, traits>& stream) {
    stream.step();
    return stream;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& step(basic_sqlostream<charT, traits>& stream) {
    stream.step();
    return stream;
}

template <class charT, class traits>
basic_sqlistream<charT, traits>& finalize(basic_sqlistream<charT, traits>& stream) {
    finalizeStatement(stream.stmt);
    return stream;
}

template <class charT, class traits>
basic_sqlostream<charT, traits>& finalize(basic_sqlostream<charT, traits>& stream) {
    finalizeStatement(stream.stmt);
    return stream;
}

template class basic_sqlstream<char>;
template class basic_sqlistream<char>;
template class basic_sqlostream<char>;
template sqlistream& step(sqlistream&);
template sqlostream& step(sqlostream&);
template sqlistream& finalize(sqlistream&);
template sqlostream& finalize(sqlostream&);

}  // namespace sqlstl
