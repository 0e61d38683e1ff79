#include "PlaylistStage.h"

#include "FileSystem.h"

namespace tangor::index {

bool resolveEntry(IndexDatabase& database, const MountPoint& mountPoint,
                  const std::string& playlistFolder, const std::string& entry,
                  PlaylistEntry& track) {
    const std::string prefix = mountPoint.path() == "/" ? "/" : mountPoint.path() + "/";
    const bool underMountPoint = prefix != "/" && entry.compare(0, prefix.size(), prefix) == 0;
    // Keeps the leading "/", so that the rest is taken from the root.
    const std::string named = underMountPoint ? entry.substr(prefix.size() - 1) : entry;
    std::string relative;
    return joinEntry(playlistFolder, named, relative) &&
           database.findTrack(mountPoint, mountPoint.absolute(relative), track);
}

PlaylistStage::PlaylistStage(IndexDatabase& database, const MountPoint& mountPoint,
                             WriteBatch& batch, std::function<void(const std::string&)> warn,
                             const PlaylistLimits& limits)
    : database_(database),
      mountPoint_(mountPoint),
      batch_(batch),
      warn_(std::move(warn)),
      limits_(limits) {}

bool PlaylistStage::found(const std::string& relativePath, std::int64_t lastModified) {
    if (found_.size() >= limits_.maxPlaylists) {
        return false;
    }
    found_.push_back({relativePath, lastModified});
    return true;
}

void PlaylistStage::advanceStored() {
    storedDone_ = !stored_->next();
    if (!storedDone_) {
        storedPath_ = stored_->text(0);
        storedRow_ = {{stored_->text(1), stored_->text(2), static_cast<int>(stored_->integer(3))},
                      stored_->integer(4)};
    }
}

// The rows of the current stored playlist, at most one more than a playlist may have; the cursor
// is left on the next playlist's first row.
std::vector<PlaylistStage::StoredRow> PlaylistStage::takeStoredGroup() {
    std::vector<StoredRow> rows;
    const std::string path = storedPath_;
    while (!storedDone_ && storedPath_ == path) {
        if (rows.size() <= limits_.maxEntries) {
            rows.push_back(storedRow_);
        }
        advanceStored();
    }
    return rows;
}

void PlaylistStage::finish(bool recheck) {
    // Read from here on: the stored rows are sorted before this stage writes any.
    stored_ = database_.storedPlaylists(mountPoint_);
    advanceStored();
    for (const Found& playlist : found_) {
        const std::string path = mountPoint_.absolute(playlist.relativePath);
        while (!storedDone_ && comparePaths(storedPath_, path) < 0) {
            const std::string gone = storedPath_;
            takeStoredGroup();
            replace(gone, {}, 0);
        }
        const bool stored = !storedDone_ && storedPath_ == path;
        update(playlist, stored ? takeStoredGroup() : std::vector<StoredRow>(), recheck);
    }
    while (!storedDone_) {
        const std::string gone = storedPath_;
        takeStoredGroup();
        replace(gone, {}, 0);
    }
    found_.clear();
    stored_.reset();
}

void PlaylistStage::update(const Found& playlist, const std::vector<StoredRow>& rows,
                           bool recheck) {
    const std::string path = mountPoint_.absolute(playlist.relativePath);
    const bool unchanged = !rows.empty() && rows.front().lastModified == playlist.lastModified;
    if (unchanged && !recheck) {
        return;
    }
    std::vector<std::string> entries;
    PlaylistCut cut = PlaylistCut::None;
    if (!readPlaylistEntries(path, entries, cut, limits_)) {
        if (fileStatus(path).type == FileStatus::Type::Missing) {
            replace(path, {}, 0);  // gone since the walk
        } else {
            warn_(path + ": playlist cannot be read");  // its rows stay as they were
        }
        return;
    }
    reportCut(path, cut);
    const std::string folder = parentOf(playlist.relativePath);
    std::vector<PlaylistEntry> resolved;
    for (const std::string& entry : entries) {
        PlaylistEntry track;
        if (resolveEntry(database_, mountPoint_, folder, entry, track)) {
            resolved.push_back(std::move(track));
        }
    }
    if (!same(rows, resolved, playlist.lastModified)) {
        replace(path, resolved, playlist.lastModified);
    }
}

void PlaylistStage::reportCut(const std::string& path, PlaylistCut cut) {
    if (cut == PlaylistCut::None) {
        return;
    }
    ++skipped_;
    warn_(path + (cut == PlaylistCut::Entries
                      ? ": playlist has more than " + std::to_string(limits_.maxEntries) +
                            " entries; the rest are left out"
                      : ": playlist is longer than " + std::to_string(limits_.maxBytes) +
                            " bytes; the rest is left out"));
}

bool PlaylistStage::same(const std::vector<StoredRow>& rows,
                         const std::vector<PlaylistEntry>& resolved, std::int64_t lastModified) {
    if (rows.size() != resolved.size()) {
        return false;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const PlaylistEntry& row = rows[i].entry;
        if (row.trackPath != resolved[i].trackPath || row.trackId != resolved[i].trackId ||
            row.audioType != resolved[i].audioType || rows[i].lastModified != lastModified) {
            return false;
        }
    }
    return true;
}

void PlaylistStage::replace(const std::string& path, const std::vector<PlaylistEntry>& entries,
                            std::int64_t lastModified) {
    batch_.write();
    bool ok = database_.deletePlaylist(mountPoint_, path);
    for (const PlaylistEntry& entry : entries) {
        ok = database_.insertPlaylistEntry(mountPoint_, path, entry, lastModified) && ok;
    }
    if (!ok) {
        batch_.fail(path + ": playlist rows cannot be written");
    }
}

}  // namespace tangor::index
