#pragma once

// The directories stage: keeps a partition's DIRECTORIES rows to the folders that hold an indexed
// track or a playlist, with every folder above them up to the mount point. It is told of each such
// file in walk order and merges the folders with the stored rows, read in the same order: a stored
// folder passed without being needed is deleted, a needed one that is not stored is inserted.
// Only the folders above the current file are held.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "IndexDatabase.h"
#include "WriteBatch.h"

namespace tangor::index {

class DirectoryMerge {
public:
    // Reads the first stored row now, before anything is written.
    DirectoryMerge(IndexDatabase& database, const MountPoint& mountPoint, WriteBatch& batch);

    // A file that stays in the index, at `relativePath`; calls come in walk order.
    void fileIndexed(const std::string& relativePath);
    // Deletes the stored folders that were not needed.
    void finish();

private:
    void need(const std::string& folder);
    void advanceStored();

    IndexDatabase& database_;
    const MountPoint& mountPoint_;
    WriteBatch& batch_;
    std::unique_ptr<Statement> stored_;
    bool storedDone_ = false;
    std::int64_t storedId_ = 0;
    std::string storedPath_;           // relative
    std::vector<std::string> needed_;  // the folders needed so far on the current branch
};

}  // namespace tangor::index
