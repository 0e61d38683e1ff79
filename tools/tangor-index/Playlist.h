#pragma once

// Playlists (.m3u, .m3u8, .pls): their entries, and the paths those entries name.

#include <string>
#include <vector>

namespace tangor::index {

struct PlaylistLimits {
    std::size_t maxBytes = 1 << 20;  // of the file read; the rest is ignored
    std::size_t maxEntries = 10000;
    std::size_t maxPlaylists = 10000;  // of one partition; the rest are skipped
};

// What cut a playlist short: the rest of it was left out.
enum class PlaylistCut { None, Bytes, Entries };

// The entries in play order, as written (trimmed; comments and blank lines left out), and what
// cut them short. False when the file cannot be read.
bool readPlaylistEntries(const std::string& path, std::vector<std::string>& entries,
                         PlaylistCut& cut, const PlaylistLimits& limits = {});

// The path below the mount point that `entry` names from `folder`, with "." and ".." worked out;
// false when it leaves the partition or names nothing.
bool joinEntry(const std::string& folder, const std::string& entry, std::string& relative);

}  // namespace tangor::index
