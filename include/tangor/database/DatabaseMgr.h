#pragma once

// Media database management: one SQLite database file per device in one fixed directory, its
// creation and validation, partition presence and status, clean-up and the storage budget.
//
// Error contract: an operation whose database cannot be opened logs warn "error opening db: %s" and
// throws std::runtime_error("cannot open db"); the validation of createDb throws
// "COULD NOT GET DB VERSION", "COULD NOT GET DB CODING" or "COULD NOT RECREATE DB"; nothing in the
// library catches. The three validation texts come as DbValidationError, a std::runtime_error, so a
// caller can tell a file to make anew from one it cannot open. Failed insertions are only logged
// (by the statement streams); failed file operations (unlink, mkdir, fsync, fchmod) are logged or
// ignored, never thrown.
//
// DatabaseMgr keeps no state: any instance, a temporary included, serves, and every connection it
// opens is closed before the operation returns.
//
// A device identifier is used as the stem of a file name. One that holds "/" or a NUL byte would
// name another file; open() refuses it (warn record, "cannot open db"), and deleteDb() and sync()
// log a warn record and do nothing.

#include <sys/types.h>

#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include <tangor/export.h>
#include <tangor/sqlstl/sqlstream.h>

namespace corvina {

// The busy timeout of every connection the library opens, in milliseconds.
inline constexpr int dbBusyTimeoutMs = 3600000;

// A database file that could not be validated ("COULD NOT GET DB VERSION", "COULD NOT GET DB
// CODING", "COULD NOT RECREATE DB"); what() is that text.
class TANGOR_EXPORT DbValidationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~DbValidationError() override;
};

class TANGOR_EXPORT DatabaseMgr {
public:
    // One database file as listed by getDatabaseInfo.
    struct DbFile {
        std::string path;   // the database directory followed by the entry's name
        off_t size;         // st_size
        time_t accessTime;  // st_atime: last access, not last change
    };

    // Sets up the device's database for a mounted partition: enforces the storage budget (sparing
    // this device's file), makes the file with the schema when needed, deletes and makes it anew
    // when its schema version or market coding differs (once per call), and marks the partition
    // present, after marking all absent when `isFirst`. A new file gets the status "NEW".
    void createDb(const std::string& devId, const std::string& mountPoint, bool isFirst);

    // Single-row insertions on a writing stream that the caller has opened, each in a transaction
    // of its own; failures are only logged.
    void insertVersion(sqlstl::sqlostream& os);
    void insertCoding(sqlstl::sqlostream& os);
    void insertPresence(sqlstl::sqlostream& os, const std::string& mountPoint);

    // The stored schema version, or "" when there is none. Throws "COULD NOT GET DB VERSION" when
    // the query fails.
    std::string getVersion(sqlstl::sqlistream& is);
    // The stored country code, or -1 when there is none. Throws "COULD NOT GET DB CODING" when the
    // query fails.
    int getCoding(sqlstl::sqlistream& is);

    // Writes `value` (not null) as the status of `mountPoint`, replacing an earlier one. The stream
    // form uses the caller's connection, which must not be inside a transaction.
    void insertStatus(sqlstl::sqlostream& stream, const std::string& mountPoint, const char* value);
    void insertStatus(const std::string& devId, const std::string& mountPoint, const char* value);

    // The status stored for exactly `mountPoint`, or "" when there is none or the query fails.
    // The mount point is placed between double quotes in the statement text as it comes; the
    // statement is a single SELECT, so no mount point can change the database.
    std::string getStatus(const std::string& devId, const std::string& mountPoint);

    // Deletes the songs, playlists, statuses and directories of every partition that is not marked
    // present, all or none. `mountPoint` is only logged.
    void removeDanglingPartitions(const std::string& devId, const std::string& mountPoint);

    // The database files in the directory (every name containing ".tangor" in any case), least
    // recently accessed first; empty when the directory cannot be read.
    std::vector<DbFile> getDatabaseInfo();

    // Deletes database files, least recently accessed first, until their total size is at most
    // `limit` bytes; the device's own file is never deleted. The total is kept in 64 bits.
    void checkAndDelete(const std::string& devId, off_t limit);

    // True when the file at `path` is larger than 78,643,200 bytes; false when it cannot be read.
    bool dbSizeHasReachLimit(const std::string& path);

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

// Orders database files by ascending access time, least recently accessed first.
struct DbFileSorter {
    bool operator()(const DatabaseMgr::DbFile& first, const DatabaseMgr::DbFile& second) const {
        return first.accessTime < second.accessTime;
    }
};

extern template TANGOR_EXPORT bool DatabaseMgr::open(const std::string&, sqlstl::sqlistream&, int);
extern template TANGOR_EXPORT bool DatabaseMgr::open(const std::string&, sqlstl::sqlostream&, int);

}  // namespace corvina
