#pragma once

// Playlists (.m3u, .m3u8, .pls): their entries, and the indexed tracks those entries name.

#include <string>
#include <unordered_map>
#include <vector>

namespace tangor::index {

struct PlaylistLimits {
    std::size_t maxBytes = 1 << 20;  // of the file read; the rest is ignored
    std::size_t maxEntries = 10000;
};

// The entries in play order, as written (trimmed; comments and blank lines left out). False when
// the file cannot be read.
bool readPlaylistEntries(const std::string& path, std::vector<std::string>& entries,
                         const PlaylistLimits& limits = {});

// Finds the track an entry names among the files of one partition, given by their paths below
// its mount point.
class TrackResolver {
public:
    // `relativePaths` must outlive the resolver unchanged; entries may also name a track by its
    // absolute path below `mountPoint`.
    TrackResolver(const std::string& mountPoint, const std::vector<std::string>& relativePaths);

    // The relative path of the track, or null. `entry` is taken relative to `playlistFolder` (a
    // path below the mount point, "" for the root), or to the root when it starts with a separator
    // or a drive letter. "/" and "\" both separate; an exact match wins over one that differs only
    // in ASCII letter case.
    const std::string* resolve(const std::string& playlistFolder, const std::string& entry) const;

private:
    std::string mountPrefix_;  // the mount point and "/"
    std::unordered_map<std::string, const std::string*> exact_;
    std::unordered_map<std::string, const std::string*> folded_;
};

// The path below the mount point that `entry` names from `folder`, with "." and ".." worked out;
// false when it leaves the partition or names nothing.
bool joinEntry(const std::string& folder, const std::string& entry, std::string& relative);

}  // namespace tangor::index
