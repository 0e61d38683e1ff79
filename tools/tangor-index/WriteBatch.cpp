#include "WriteBatch.h"

#include <algorithm>

namespace tangor::index {

namespace {

constexpr std::size_t kFirstBatch = 32;

}  // namespace

WriteBatch::WriteBatch(IndexDatabase& database, const MountPoint& mountPoint,
                       std::size_t filesPerCommit, std::function<void(const std::string&)> warn)
    : database_(database),
      mountPoint_(mountPoint),
      filesPerCommit_(std::max<std::size_t>(filesPerCommit, 1)),
      warn_(std::move(warn)),
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
        warn_(mountPoint_.path() + ": a transaction cannot begin (" + database_.lastError() + ")");
        return;  // the writes then go in one of SQLite's own, row by row
    }
    open_ = true;
    if (!started_) {
        started_ = true;
        if (!database_.writeStatus(mountPoint_, kStatusScanning)) {
            warn_(mountPoint_.path() + ": status cannot be written (" + database_.lastError() +
                  ")");
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
        warn_(mountPoint_.path() + ": a transaction failed and was rolled back (" +
              database_.lastError() + "); the next scan writes its files again");
    }
}

void WriteBatch::finish(const char* status, const std::string& previous) {
    if (started_ || previous != status) {
        write();
        if (!database_.writeStatus(mountPoint_, status)) {
            warn_(mountPoint_.path() + ": status cannot be written (" + database_.lastError() +
                  ")");
        }
    }
    commit();
}

}  // namespace tangor::index
