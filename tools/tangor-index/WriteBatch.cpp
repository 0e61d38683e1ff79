#include "WriteBatch.h"

#include <algorithm>

namespace tangor::index {

namespace {

constexpr std::size_t kFirstBatch = 32;

}  // namespace

WriteBatch::WriteBatch(IndexDatabase& database, const MountPoint& mountPoint,
                       std::size_t filesPerCommit)
    : database_(database),
      mountPoint_(mountPoint),
      filesPerCommit_(std::max<std::size_t>(filesPerCommit, 1)),
      batchSize_(std::min(kFirstBatch, filesPerCommit_)) {}

WriteBatch::~WriteBatch() {
    if (open_) {
        database_.rollback();
    }
}

void WriteBatch::write() {
    if (open_) {
        return;
    }
    if (!database_.begin()) {
        fail("a transaction cannot begin");
    }
    open_ = true;
    if (!started_) {
        started_ = true;
        if (!database_.writeStatus(mountPoint_, kStatusScanning)) {
            fail("the status cannot be written");
        }
    }
}

void WriteBatch::fileWritten() {
    if (++filesInBatch_ >= batchSize_) {
        commit();
        batchSize_ = filesPerCommit_;
    }
}

void WriteBatch::commit() {
    filesInBatch_ = 0;
    if (!open_) {
        return;
    }
    open_ = false;
    if (!database_.commit()) {
        fail("a commit failed");
    }
}

void throwDatabaseDeleted(IndexDatabase& database, const std::string& mountPoint) {
    const bool journal = database.checkFile() == IndexDatabase::FileState::JournalDeleted;
    database.rollback();
    if (journal) {
        throw DatabaseDeleted(
            "the journal of the database file was deleted during the scan (another device's "
            "storage budget?): " +
            database.path() + "-journal; " + mountPoint +
            ": the batch was rolled back and the next scan writes its files again");
    }
    throw DatabaseDeleted(
        "the database file was deleted during the scan (another device's storage budget?): " +
        database.path() + "; " + mountPoint +
        ": the batch was rolled back and the next scan makes the database anew");
}

void WriteBatch::fail(const std::string& what) {
    const std::string reason = database_.lastError();
    open_ = false;
    // A write into a deleted file fails as read-only (SQLITE_READONLY_DBMOVED): say why.
    if (database_.checkFile() != IndexDatabase::FileState::Intact) {
        throwDatabaseDeleted(database_, mountPoint_.path());
    }
    database_.rollback();
    throw WriteFailed(mountPoint_.path() + ": " + what + " (" + reason +
                      "); the batch was rolled back and the next scan writes its files again");
}

void WriteBatch::finish(const char* status, const std::string& previous) {
    // A scan that writes nothing must not end well over a file that is gone either.
    if (database_.checkFile() != IndexDatabase::FileState::Intact) {
        open_ = false;
        throwDatabaseDeleted(database_, mountPoint_.path());
    }
    if (started_ || previous != status) {
        write();
        if (!database_.writeStatus(mountPoint_, status)) {
            fail("the status cannot be written");
        }
    }
    commit();
}

}  // namespace tangor::index
