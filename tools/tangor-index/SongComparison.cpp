#include "SongComparison.h"

#include <stdexcept>

namespace tangor::index {

SongComparison::SongComparison(const MountPoint& mountPoint, PartitionWalk& walk,
                               std::unique_ptr<Statement> stored,
                               std::function<void(const WalkEntry&)> problems)
    : mountPoint_(mountPoint),
      walk_(walk),
      stored_(std::move(stored)),
      problems_(std::move(problems)) {
    advanceStored();
    advanceWalk();
}

void SongComparison::advanceWalk() {
    walkDone_ = !walk_.next(walkHead_);
}

void SongComparison::advanceStored() {
    while (stored_->next()) {
        Stored row{stored_->integer(0), {}, stored_->integer(2)};
        if (mountPoint_.relative(stored_->text(1), row.relativePath)) {
            storedHead_ = std::move(row);
            return;
        }
        // A row of this partition outside its mount point cannot be matched to a file; it stays.
    }
    if (stored_->failed()) {
        // Going on, every file not yet met would look new and be written a second time.
        throw std::runtime_error(mountPoint_.path() +
                                 ": the stored tracks cannot be read: " + stored_->error());
    }
    storedDone_ = true;
}

ScanItem SongComparison::fromStored(ScanItem::Action action) const {
    ScanItem item;
    item.action = action;
    item.relativePath = storedHead_.relativePath;
    item.lastModified = storedHead_.lastModified;
    item.storedId = storedHead_.id;
    return item;
}

bool SongComparison::next(ScanItem& item) {
    if (matched_) {
        nextOfMatch(item);
        return true;
    }
    // Each round either returns an item or passes an unreadable or skipped walk entry.
    while (!walkDone_ && (walkHead_.kind == WalkEntry::Kind::Unreadable ||
                          walkHead_.kind == WalkEntry::Kind::Skipped)) {
        if (walkHead_.kind == WalkEntry::Kind::Skipped) {
            // Not indexed: a stored row at its path is deleted like that of a file that is gone.
            problems_(walkHead_);
            advanceWalk();
            continue;
        }
        // What is stored below it, or at it, stays; what comes before it in order is gone.
        if (!storedDone_ && (isWithin(storedHead_.relativePath, walkHead_.relativePath) ||
                             comparePaths(storedHead_.relativePath, walkHead_.relativePath) < 0)) {
            const bool within = isWithin(storedHead_.relativePath, walkHead_.relativePath);
            item = fromStored(within ? ScanItem::Action::Keep : ScanItem::Action::Delete);
            advanceStored();
            return true;
        }
        incomplete_ = true;
        problems_(walkHead_);
        advanceWalk();
    }
    if (walkDone_ && storedDone_) {
        return false;
    }
    // A playlist has no stored track to meet; it goes on in its place.
    if (!walkDone_ && walkHead_.kind == WalkEntry::Kind::Playlist) {
        item = ScanItem{
            ScanItem::Action::Playlist, walkHead_.relativePath, walkHead_.lastModified, 0, {},
            TagResult::Unreadable};
        advanceWalk();
        return true;
    }
    const int order = walkDone_ ? 1
                      : storedDone_
                          ? -1
                          : comparePaths(walkHead_.relativePath, storedHead_.relativePath);
    if (order > 0) {
        item = fromStored(ScanItem::Action::Delete);
        advanceStored();
        return true;
    }
    if (order < 0) {
        item =
            ScanItem{ScanItem::Action::Read, walkHead_.relativePath, walkHead_.lastModified, 0, {},
                     TagResult::Unreadable,  walkHead_.link};
        advanceWalk();
        return true;
    }
    matched_ = std::move(storedHead_);
    advanceStored();
    nextOfMatch(item);
    return true;
}

void SongComparison::nextOfMatch(ScanItem& item) {
    // One more row of the same path: one of the two goes, one item at a time, so that any number
    // of them costs no memory.
    if (!storedDone_ && comparePaths(storedHead_.relativePath, matched_->relativePath) == 0) {
        if (storedHead_.lastModified == walkHead_.lastModified &&
            matched_->lastModified != walkHead_.lastModified) {
            std::swap(*matched_, storedHead_);
        }
        item = fromStored(ScanItem::Action::Delete);
        advanceStored();
        return;
    }
    item = ScanItem{
        ScanItem::Action::Read, walkHead_.relativePath, walkHead_.lastModified, matched_->id, {},
        TagResult::Unreadable,  walkHead_.link};
    if (matched_->lastModified == walkHead_.lastModified) {
        item.action = ScanItem::Action::Keep;
    }
    matched_.reset();
    advanceWalk();
}

}  // namespace tangor::index
