#pragma once

// The write stage's transactions for one partition. Nothing is written until the first write:
// that begins a transaction and marks the partition "SCANNING" in it. Every `filesPerCommit`
// files (fewer for the first batch, so that the first rows show soon) the batch commits and a
// new transaction begins at the next write. finish() commits the rest with the final status. An
// exception that leaves the scan rolls back what was not committed, and the partition stays
// "SCANNING" for the next scan to complete.
//
// A write that fails (a full disk, a read-only or deleted file) is never followed by others outside
// the batch: fail() rolls the batch back and throws WriteFailed, which ends the scan; what was
// committed before stays, and the next scan completes it. The database file deleted under the scan
// (SQLite would go on writing it unlinked) or the journal of the open batch deleted (its commit
// could no longer be undone) is looked for before each commit and at finish(), and ends the scan
// the same way with DatabaseDeleted.

#include <cstddef>
#include <stdexcept>
#include <string>

#include "IndexDatabase.h"

namespace tangor::index {

inline constexpr const char* kStatusScanning = "SCANNING";
inline constexpr const char* kStatusDone = "DONE";
// The walk could not read some folders or files; their stored rows were kept.
inline constexpr const char* kStatusIncomplete = "INCOMPLETE";

// A statement, a commit or a status write failed; the batch is rolled back.
class WriteFailed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The database file, or the journal of the open batch, was deleted during the scan; the batch is
// rolled back. what() names the file and says so.
class DatabaseDeleted : public WriteFailed {
public:
    using WriteFailed::WriteFailed;
};

// Throws DatabaseDeleted for `database` (not Intact), whose batch for `mountPoint` was rolled back.
[[noreturn]] void throwDatabaseDeleted(IndexDatabase& database, const std::string& mountPoint);

class WriteBatch {
public:
    WriteBatch(IndexDatabase& database, const MountPoint& mountPoint, std::size_t filesPerCommit);
    ~WriteBatch();
    WriteBatch(const WriteBatch&) = delete;
    WriteBatch& operator=(const WriteBatch&) = delete;

    // Before every write: begins a transaction where none is open.
    void write();
    // After a file's rows are written: commits when the batch is full.
    void fileWritten();
    // Commits what is open; the status is written (in the same transaction) when anything was
    // written in this scan or `status` differs from `previous`. Throws DatabaseDeleted when the
    // file is gone, whether or not anything was written.
    void finish(const char* status, const std::string& previous);

    bool wroteAnything() const { return started_; }

    // Rolls back what is open and throws WriteFailed: `what` failed, with SQLite's reason; or
    // DatabaseDeleted when the file or the batch's journal is gone.
    [[noreturn]] void fail(const std::string& what);

private:
    void commit();

    IndexDatabase& database_;
    const MountPoint& mountPoint_;
    const std::size_t filesPerCommit_;
    std::size_t filesInBatch_ = 0;
    std::size_t batchSize_;
    bool open_ = false;
    bool started_ = false;
};

}  // namespace tangor::index
