#pragma once

// The playlists stage: once a partition's tracks are written, brings its PLAYLISTS rows up to date
// with the playlist files the walk found. Each entry is resolved by a query on the indexed tracks,
// so no table of the partition's tracks is held; the stored rows are read one playlist at a time,
// in walk order, beside the list of playlists found.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "IndexDatabase.h"
#include "Playlist.h"
#include "WriteBatch.h"

namespace tangor::index {

// The indexed track that `entry` of a playlist in `playlistFolder` (relative, "" for the root)
// names: relative to that folder, or to the root when it starts with a separator or a drive
// letter, or by its absolute path below the mount point; "/" and "\" both separate; an exact
// match wins over one that differs only in ASCII letter case. False when none is indexed.
bool resolveEntry(IndexDatabase& database, const MountPoint& mountPoint,
                  const std::string& playlistFolder, const std::string& entry,
                  PlaylistEntry& track);

class PlaylistStage {
public:
    PlaylistStage(IndexDatabase& database, const MountPoint& mountPoint, WriteBatch& batch,
                  std::function<void(const std::string&)> warn, const PlaylistLimits& limits = {});

    // A playlist file the walk found; calls come in walk order. False when there are more than
    // the limit allows: the playlist is then left out.
    bool found(const std::string& relativePath, std::int64_t lastModified);

    // Writes the rows. `recheck`: resolve unchanged playlists again too, since the tracks they
    // name changed or the last scan was cut short.
    void finish(bool recheck);

    // The playlists that finish read cut short (entries or bytes beyond the limits), each named in
    // a warning.
    std::size_t skipped() const { return skipped_; }

private:
    struct Found {
        std::string relativePath;
        std::int64_t lastModified;
    };
    struct StoredRow {
        PlaylistEntry entry;
        std::int64_t lastModified;
    };
    void advanceStored();
    std::vector<StoredRow> takeStoredGroup();
    void update(const Found& playlist, const std::vector<StoredRow>& rows, bool recheck);
    void reportCut(const std::string& path, PlaylistCut cut);
    static bool same(const std::vector<StoredRow>& rows, const std::vector<PlaylistEntry>& resolved,
                     std::int64_t lastModified);
    void replace(const std::string& path, const std::vector<PlaylistEntry>& entries,
                 std::int64_t lastModified);

    IndexDatabase& database_;
    const MountPoint& mountPoint_;
    WriteBatch& batch_;
    std::function<void(const std::string&)> warn_;
    const PlaylistLimits limits_;
    std::vector<Found> found_;
    std::unique_ptr<Statement> stored_;
    bool storedDone_ = false;
    std::string storedPath_;  // absolute, the PLAYPATH of the current stored row
    StoredRow storedRow_;
    std::size_t skipped_ = 0;
};

}  // namespace tangor::index
