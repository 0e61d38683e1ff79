#pragma once

// The scan's one connection to a device's database (opened through DatabaseMgr::open, whose
// schema createDb has made), with every statement of the scan prepared once on it: the status,
// the rows of the media tables, and the cursors that read a partition's stored rows in walk order.
//
// Writes need an open transaction (WriteBatch); each returns false on failure, with SQLite's
// message in lastError(). Nothing here throws but the constructor.

#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/sqlstl/sqlstream.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

#include "MountPoint.h"
#include "Statement.h"

namespace tangor::index {

// One row of PLAYLISTS, as stored or as it is to be written.
struct PlaylistEntry {
    std::string trackPath;
    std::string trackId;
    int audioType = 0;
};

class IndexDatabase {
public:
    // Throws std::runtime_error "cannot open db" as DatabaseMgr does, or when the statements
    // cannot be prepared (no schema).
    explicit IndexDatabase(const std::string& devId);
    ~IndexDatabase();
    IndexDatabase(const IndexDatabase&) = delete;
    IndexDatabase& operator=(const IndexDatabase&) = delete;

    sqlite3* connection() const { return stream_.db; }

    // Transactions; commit() rolls back and returns false when the commit fails.
    bool begin();
    bool commit();
    void rollback() noexcept;

    // The stored status of exactly `mountPoint`, or "" when there is none.
    std::string status(const std::string& mountPoint);
    bool writeStatus(const MountPoint& mountPoint, const char* value);

    // The track's SONGS row, LASTMODIFIED from `lastModified` (the record keeps a long, which is
    // 32 bits on the target), and where missing its ARTISTS, ALBUMS, GENRES and COMPOSERS rows,
    // with the record's readings where it has a set.
    bool insertSong(const corvina::MetaDataInfo& record, std::int64_t lastModified);
    bool deleteSong(std::int64_t id);
    bool insertDirectory(const MountPoint& mountPoint, const std::string& relative);
    bool deleteDirectory(std::int64_t id);
    bool insertPlaylistEntry(const MountPoint& mountPoint, const std::string& playlistPath,
                             const PlaylistEntry& entry, std::int64_t lastModified);
    bool deletePlaylist(const MountPoint& mountPoint, const std::string& playlistPath);

    // Cursors over one partition's stored rows, in walk order (ID, PATH, LASTMODIFIED; ID, PATH;
    // PLAYPATH, TRACKPATH, TRACKID, AUDIOTYPE, LASTMODIFIED). The rows are sorted before the
    // first one comes, so writes made while a cursor is read do not show in it.
    std::unique_ptr<Statement> storedSongs(const MountPoint& mountPoint);
    std::unique_ptr<Statement> storedDirectories(const MountPoint& mountPoint);
    std::unique_ptr<Statement> storedPlaylists(const MountPoint& mountPoint);

    // The indexed track at `absolutePath` of the partition, an exact match before one that differs
    // in ASCII letter case only. False when there is none.
    bool findTrack(const MountPoint& mountPoint, const std::string& absolutePath,
                   PlaylistEntry& track);

    // SQLite's message for the last write that failed.
    const std::string& lastError() const { return lastError_; }

private:
    bool run(Statement& statement);
    bool insertName(Statement& statement, const corvina::Md5& id, const std::string& name,
                    const char* reading);
    std::unique_ptr<Statement> cursor(const char* sql, const MountPoint& mountPoint);

    sqlstl::sqlostream stream_;  // owns the connection; declared first, so it closes last
    Statement selectStatus_;
    Statement writeStatus_;
    Statement insertSong_;
    Statement insertArtist_;
    Statement insertAlbum_;
    Statement insertGenre_;
    Statement insertComposer_;
    Statement insertDirectory_;
    Statement insertPlaylistEntry_;
    Statement deleteSong_;
    Statement deleteDirectory_;
    Statement deletePlaylist_;
    Statement findTrack_;
    // Name identifiers written (or found present) by this connection: most tracks share them
    // with the track before. Bounded: past the bound it starts again, and INSERT OR IGNORE keeps
    // the rows right either way.
    std::unordered_set<std::string> namesWritten_;
    bool inTransaction_ = false;
    bool writeCacheSet_ = false;
    std::string lastError_;
};

}  // namespace tangor::index
