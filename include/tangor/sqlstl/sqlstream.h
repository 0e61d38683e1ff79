#pragma once

// Statement streams: one SQLite connection and one prepared statement wrapped as a standard stream.
//
// Error contract: nothing here throws and exceptions() stays empty. A failed SQLite call is logged
// and recorded in the state bits:
//   badbit  - opening, preparing, executing or stepping failed;
//   failbit - binding a parameter failed, or a text column read was NULL;
//   eofbit  - a reading stream's step found no (further) row.
// Any set bit makes insertion and extraction do nothing; badbit and failbit make step() log
// "step failed" and do nothing. query() and exec() clear all bits first, so a stream can go on
// with its next statement after a failure.
//
// Texts are bound without a copy (SQLITE_STATIC): an inserted text must stay valid and unchanged
// until the statement has been stepped.
//
// Only the instances for char are provided (sqlistream and sqlostream); they are built into the
// library. A stream belongs to one thread and is never copied.

#include <ios>
#include <streambuf>
#include <string>

#include <tangor/export.h>

struct sqlite3;
struct sqlite3_stmt;

namespace sqlstl {

template <class charT, class traits = std::char_traits<charT>>
class TANGOR_EXPORT basic_sqlstream : public std::basic_ios<charT, traits> {
public:
    // A standard stream whose buffer is null always reports failbit; this one holds nothing.
    class sqlstreambuf : public std::basic_streambuf<charT, traits> {};

    basic_sqlstream(const basic_sqlstream&) = delete;
    basic_sqlstream& operator=(const basic_sqlstream&) = delete;

    // Opens the connection and sets its busy timeout (milliseconds). The state bits are not
    // cleared; a failure (a null filename included) sets badbit and leaves db null. A connection
    // already open is released first.
    void open(const char* filename, int timeout);

    // Closes the connection; db is null afterwards in every case and the state bits are untouched.
    void close();

    sqlstreambuf buffer;
    sqlite3* db;
    // Next parameter to bind (writing, from 1) or next column to read (reading, from 0).
    int index;
    sqlite3_stmt* stmt;

protected:
    explicit basic_sqlstream(int firstIndex);
    ~basic_sqlstream() = default;

    // Finalizes a statement still held and closes the connection, silently.
    void release();
    // Clears the state bits and replaces the statement with `sql` prepared; returns SQLite's
    // result, with badbit set when it is not SQLITE_OK. The caller logs.
    int prepare(const char* sql);
    // badbit and failbit keep a statement from running; eofbit does not.
    bool stepBlocked() const;
};

template <class charT, class traits = std::char_traits<charT>>
class TANGOR_EXPORT basic_sqlistream : public basic_sqlstream<charT, traits> {
public:
    basic_sqlistream();
    ~basic_sqlistream();

    // Prepares `sql` and steps to its first row.
    void query(const char* sql);
    void step();

    // Reads the current row's next column.
    basic_sqlistream& operator>>(std::basic_string<charT, traits>& value);
    basic_sqlistream& operator>>(int& value);
    basic_sqlistream& operator>>(basic_sqlistream& (*manipulator)(basic_sqlistream&));
};

template <class charT, class traits = std::char_traits<charT>>
class TANGOR_EXPORT basic_sqlostream : public basic_sqlstream<charT, traits> {
public:
    basic_sqlostream();
    ~basic_sqlostream();

    // Runs a whole script; binds nothing and leaves stmt and index alone.
    void exec(const char* sql);
    // Prepares `sql`; nothing runs until step().
    void query(const char* sql);
    // Runs the statement; a finished statement is reset so that it can be bound and run again.
    void step();

    // Binds the next parameter. The text is not copied.
    basic_sqlostream& operator<<(const charT* text);
    basic_sqlostream& operator<<(int value);
    basic_sqlostream& operator<<(basic_sqlostream& (*manipulator)(basic_sqlostream&));
};

using sqlistream = basic_sqlistream<char>;
using sqlostream = basic_sqlostream<char>;

// Manipulators, usable in an insertion or extraction chain: `os << "text" << step << finalize`.
template <class charT, class traits>
TANGOR_EXPORT basic_sqlistream<charT, traits>& step(basic_sqlistream<charT, traits>& stream);
template <class charT, class traits>
TANGOR_EXPORT basic_sqlostream<charT, traits>& step(basic_sqlostream<charT, traits>& stream);

// Finalizes the statement, if any; logs nothing and leaves the state bits alone.
template <class charT, class traits>
TANGOR_EXPORT basic_sqlistream<charT, traits>& finalize(basic_sqlistream<charT, traits>& stream);
template <class charT, class traits>
TANGOR_EXPORT basic_sqlostream<charT, traits>& finalize(basic_sqlostream<charT, traits>& stream);

extern template class basic_sqlstream<char>;
extern template class basic_sqlistream<char>;
extern template class basic_sqlostream<char>;
extern template sqlistream& step(sqlistream&);
extern template sqlostream& step(sqlostream&);
extern template sqlistream& finalize(sqlistream&);
extern template sqlostream& finalize(sqlostream&);

}  // namespace sqlstl
