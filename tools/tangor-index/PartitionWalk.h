#pragma once

// The walk stage: the audio files and playlists of a partition, one at a time, in path order
// (comparePaths: each folder's entries sorted by name, everything below a folder right after it).
// Only the folders on the way down from the mount point are held, so memory does not grow with the
// partition. Hidden entries are skipped. A link to a file inside the partition counts as the file;
// a link to a folder is never followed (what it holds is walked where it lies), so a link loop
// cannot trap the walk; a link to a file or folder outside the partition is not followed either.
//
// Every folder or entry that cannot be read comes out as an Unreadable entry naming it, with the
// reason, in its place in the order: what is stored below it must be kept, not taken for gone.
// Every file or folder left out by a limit or a link that leaves the partition comes out as a
// Skipped entry naming it, with the reason: it is not indexed.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FileSystem.h"
#include "MountPoint.h"

namespace tangor::index {

struct WalkLimits {
    std::size_t maxFiles = 1000000;          // audio files and playlists together
    int maxDepth = 64;                       // folders below the mount point
    std::size_t maxFolderEntries = 1000000;  // entries of one folder
};

enum class FileKind { Other, Audio, Playlist };

// Tells the kind from the extension, in any letter case.
FileKind kindOfName(const std::string& name);

struct WalkEntry {
    enum class Kind { Audio, Playlist, Unreadable, Skipped };
    Kind kind = Kind::Audio;
    std::string relativePath;
    std::int64_t lastModified = 0;  // seconds since the epoch, 64 bits on every target
    std::string problem;            // Unreadable, Skipped: why
    bool link = false;  // Audio, Playlist: reached through a link (checked to stay inside)
};

class PartitionWalk {
public:
    PartitionWalk(const MountPoint& mountPoint, const WalkLimits& limits = {});
    ~PartitionWalk();
    PartitionWalk(const PartitionWalk&) = delete;
    PartitionWalk& operator=(const PartitionWalk&) = delete;

    // The next entry; false at the end.
    bool next(WalkEntry& entry);

private:
    struct Folder;
    bool enter(int parent, const char* name, const std::string& relative, int depth,
               WalkEntry& entry);
    bool visit(Folder& folder, const FolderEntry& item, WalkEntry& entry);
    bool fitsPathMax(const std::string& relative) const;
    bool liesInside(const std::string& relative, std::string& problem) const;

    const MountPoint mountPoint_;
    const WalkLimits limits_;
    std::string resolvedRoot_;  // the mount point with its links resolved; links must stay below
    std::vector<std::unique_ptr<Folder>> stack_;
    std::size_t files_ = 0;
    bool started_ = false;
};

}  // namespace tangor::index
