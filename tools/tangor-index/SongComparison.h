#pragma once

// The comparison stage: merges the walk with the partition's stored tracks, both in walk order,
// and tells for each path what is to be done (ScanItem). A file whose time differs from its row's,
// or that has no row, is read; a row whose file is gone is deleted; a row below a folder or file
// the walk could not read is kept, never taken for gone. Unreadable and skipped walk entries go to
// `problems`. A path stored more than once (old versions' concurrent scans inserted every track
// twice) keeps one row, the one whose time matches the file where one does; the others are deleted.
// Stored rows that cannot be read end the comparison with std::runtime_error.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "MountPoint.h"
#include "PartitionWalk.h"
#include "ScanItem.h"
#include "Statement.h"

namespace tangor::index {

class SongComparison {
public:
    // `stored`: ID, absolute PATH and LASTMODIFIED of the partition's tracks, in walk order
    // (IndexDatabase::storedSongs). Its first row is read here, before anything is written.
    SongComparison(const MountPoint& mountPoint, PartitionWalk& walk,
                   std::unique_ptr<Statement> stored,
                   std::function<void(const WalkEntry&)> problems);

    // The next item; false when both sides are done.
    bool next(ScanItem& item);

    // A folder or file could not be read (its rows were kept).
    bool incomplete() const { return incomplete_; }

private:
    struct Stored {
        std::int64_t id;
        std::string relativePath;
        std::int64_t lastModified;
    };
    void advanceWalk();
    void advanceStored();
    ScanItem fromStored(ScanItem::Action action) const;
    // The walk's head has a stored row (matched_): the next item of that path.
    void nextOfMatch(ScanItem& item);

    const MountPoint& mountPoint_;
    PartitionWalk& walk_;
    std::unique_ptr<Statement> stored_;
    std::function<void(const WalkEntry&)> problems_;
    bool walkDone_ = false;
    bool storedDone_ = false;
    WalkEntry walkHead_;
    Stored storedHead_{};
    // The row kept for the walk's head while the rows that follow it have the same path.
    std::optional<Stored> matched_;
    bool incomplete_ = false;
};

}  // namespace tangor::index
