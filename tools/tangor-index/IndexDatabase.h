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
#include <vector>

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
    // The database file's path.
    const std::string& path() const { return path_; }

    // What became of the file since the connection opened it. Another device's createDb enforces
    // the storage budget by deleting files whose names hold ".tangor", this device's journal
    // included, and the connection goes on writing an unlinked file without an error.
    enum class FileState {
        Intact,
        Deleted,         // the database file was deleted, or another file put in its place
        JournalDeleted,  // the open transaction's journal: a crash could no longer undo it
    };
    // Looks now (a stat of the file and, in a transaction, of its journal); once found other than
    // Intact, the state stays so. commit() looks before it commits.
    FileState checkFile();

    // Transactions; commit() rolls back and returns false when the commit fails or the file is not
    // intact (checkFile).
    bool begin();
    bool commit();
    void rollback() noexcept;

    // The stored status of exactly `mountPoint`, or "" when there is none.
    std::string status(const std::string& mountPoint);
    bool writeStatus(const MountPoint& mountPoint, const char* value);

    // PARTITION_PRESENCE: the partitions marked present (false when they cannot be read), and the
    // marks.
    bool presentPartitions(std::vector<std::string>& partitions);
    bool markPresent(const std::string& partitionId);
    bool markAbsent(const std::string& partitionId);

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

    // SQLite's message for the last write or read that failed.
    const std::string& lastError() const { return lastError_; }

private:
    bool run(Statement& statement);
    bool insertName(Statement& statement, const corvina::Md5& id, const std::string& name,
                    const char* reading);
    std::unique_ptr<Statement> cursor(const char* sql, const MountPoint& mountPoint);
    bool journalOpen() const;

    sqlstl::sqlostream stream_;  // owns the connection; declared first, so it closes last
    std::string path_;
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
    Statement selectPresence_;
    Statement insertPresence_;
    Statement deletePresence_;
    // Name identifiers written (or found present) by this connection: most tracks share them
    // with the track before. Bounded: past the bound it starts again, and INSERT OR IGNORE keeps
    // the rows right either way.
    std::unordered_set<std::string> namesWritten_;
    bool inTransaction_ = false;
    bool writeCacheSet_ = false;
    FileState fileState_ = FileState::Intact;
    std::string lastError_;
};

}  // namespace tangor::index
