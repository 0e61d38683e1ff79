#pragma once

// Media database management: one SQLite database file per device in one fixed directory.
//
// Error contract: an operation whose database cannot be opened logs warn "error opening db: %s" and
// throws std::runtime_error("cannot open db"); nothing in the library catches. Failed file
// operations (unlink, mkdir, fsync, fchmod) are logged or ignored, never thrown.
//
// DatabaseMgr keeps no state: any instance, a temporary included, serves, and every connection it
// opens is closed before the operation returns.
//
// A device identifier is used as the stem of a file name. One that holds "/" or a NUL byte would
// name another file; open() refuses it (warn record, "cannot open db"), and deleteDb() and sync()
// log a warn record and do nothing.

#include <string>

#include <tangor/export.h>
#include <tangor/sqlstl/sqlstream.h>

namespace corvina {

class TANGOR_EXPORT DatabaseMgr {
public:
    // "/var/opt/tangor/" + devId + ".tangor", as it comes; no file access.
    std::string getDbNameFromDevId(const std::string& devId);

    // Makes the database directory (mode 0766 less the umask) when it is missing. Returns 0.
    int createDirectory();

    // Removes the device's database file; a missing file is not an error.
    void deleteDb(const std::string& devId);

    // Flushes the device's database file to storage and opens up its permissions (0777).
    void sync(const std::string& devId);

    // Removes every database file: every name in the directory containing ".tangor" in any case.
    void reset();

    // Opens `stream` (sqlstl::sqlistream or sqlstl::sqlostream) on the device's database, making
    // the directory first; `timeout` is the busy timeout in milliseconds. Returns true or throws.
    template <typename T>
    bool open(const std::string& devId, T& stream, int timeout);
};

extern template TANGOR_EXPORT bool DatabaseMgr::open(const std::string&, sqlstl::sqlistream&, int);
extern template TANGOR_EXPORT bool DatabaseMgr::open(const std::string&, sqlstl::sqlostream&, int);

}  // namespace corvina
