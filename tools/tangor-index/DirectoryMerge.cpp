#include "DirectoryMerge.h"

namespace tangor::index {

DirectoryMerge::DirectoryMerge(IndexDatabase& database, const MountPoint& mountPoint,
                               WriteBatch& batch)
    : database_(database),
      mountPoint_(mountPoint),
      batch_(batch),
      stored_(database.storedDirectories(mountPoint)) {
    advanceStored();
}

void DirectoryMerge::advanceStored() {
    while (stored_->next()) {
        if (mountPoint_.relative(stored_->text(1), storedPath_)) {
            storedId_ = stored_->integer(0);
            return;
        }
    }
    storedDone_ = true;
}

void DirectoryMerge::fileIndexed(const std::string& relativePath) {
    const std::string folder = parentOf(relativePath);
    while (!needed_.empty() && !isWithin(folder, needed_.back())) {
        needed_.pop_back();
    }
    // The folders from the deepest one already needed down to the file's own, top down.
    std::vector<std::string> missing;
    const std::string known = needed_.empty() ? std::string() : needed_.back();
    for (std::string at = folder; needed_.empty() || at.size() > known.size(); at = parentOf(at)) {
        missing.push_back(at);
        if (at.empty()) {
            break;
        }
    }
    for (auto it = missing.rbegin(); it != missing.rend(); ++it) {
        need(*it);
        needed_.push_back(*it);
    }
}

void DirectoryMerge::need(const std::string& folder) {
    // Bounded by the stored rows: each round consumes one.
    while (!storedDone_ && comparePaths(storedPath_, folder) < 0) {
        batch_.write();
        if (!database_.deleteDirectory(storedId_)) {
            batch_.fail(mountPoint_.absolute(storedPath_) + ": directory row cannot be deleted");
        }
        advanceStored();
    }
    if (!storedDone_ && storedPath_ == folder) {
        advanceStored();
        return;
    }
    batch_.write();
    if (!database_.insertDirectory(mountPoint_, folder)) {
        batch_.fail(mountPoint_.absolute(folder) + ": directory row cannot be written");
    }
}

void DirectoryMerge::finish() {
    while (!storedDone_) {
        batch_.write();
        if (!database_.deleteDirectory(storedId_)) {
            batch_.fail(mountPoint_.absolute(storedPath_) + ": directory row cannot be deleted");
        }
        advanceStored();
    }
    needed_.clear();
}

}  // namespace tangor::index
