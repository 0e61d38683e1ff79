#pragma once

// Lists what a partition holds for the index: its audio files and playlists, found by a recursive
// walk that skips hidden entries and never follows a symbolic link into a directory, so a link
// loop cannot trap it.

#include <cstdint>
#include <string>
#include <vector>

namespace tangor::index {

struct FoundFile {
    std::string relativePath;   // below the mount point, "/"-separated, no leading "/"
    std::int64_t lastModified;  // seconds
};

struct PartitionListing {
    std::vector<FoundFile> audioFiles;  // in walk order: each directory's entries sorted by name
    std::vector<FoundFile> playlists;
    std::vector<std::string> unreadableDirectories;  // relative paths ("" for the root)
    bool truncated = false;                          // the walk stopped at a limit below
};

struct WalkLimits {
    std::size_t maxFiles = 1000000;  // audio files and playlists together
    int maxDepth = 64;               // directories below the mount point
};

enum class FileKind { Other, Audio, Playlist };

// Tells the kind from the extension, in any letter case.
FileKind kindOfName(const std::string& name);

PartitionListing walkPartition(const std::string& mountPoint, const WalkLimits& limits = {});

}  // namespace tangor::index
