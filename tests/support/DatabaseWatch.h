#pragma once

// Watches one database file through SQLite itself: a VFS over the default one, made the default for
// the watch's lifetime, so that every connection the process opens meanwhile (the library's
// included) goes through it. It counts the writes and syncs of the database file and of its
// rollback journal, and each time a journal is deleted (a write transaction has ended, committed or
// rolled back) it copies the database file as it stands then: every state a reader could have seen.
//
// One watch at a time; the connections opened through it must be closed before it ends.

#include <atomic>
#include <string>
#include <vector>

namespace tangor::test {

class DatabaseWatch {
public:
    // Copies go to `snapshotFolder` (0.db, 1.db, ...); none when it is empty.
    DatabaseWatch(const std::string& database, const std::string& snapshotFolder);
    ~DatabaseWatch();
    DatabaseWatch(const DatabaseWatch&) = delete;
    DatabaseWatch& operator=(const DatabaseWatch&) = delete;

    int writes() const { return writes_; }  // xWrite and xTruncate
    int syncs() const { return syncs_; }
    int transactions() const { return transactions_; }  // journals deleted
    std::vector<std::string> snapshots() const;

private:
    friend struct WatchVfs;
    void journalDeleted();

    std::string database_;
    std::string journal_;
    std::string snapshotFolder_;
    std::atomic<int> writes_{0};
    std::atomic<int> syncs_{0};
    std::atomic<int> transactions_{0};
};

}  // namespace tangor::test
