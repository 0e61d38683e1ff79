#pragma once

// The indexer's connection to one device's database: what a partition's rows hold now, and the
// writes that bring them up to date. Statements are prepared once and reused for the whole scan.

#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/sqlstl/sqlstream.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tangor::index {

class Statement;

struct StoredSong {
    std::int64_t id;
    std::int64_t lastModified;
    int audioType;
};

struct StoredPlaylistEntry {
    std::int64_t id;
    std::string trackPath;
    std::string trackId;
    int audioType;
    std::int64_t lastModified;  // the playlist's
};

// One row of PLAYLISTS as it is to be written.
struct PlaylistEntry {
    std::string trackPath;
    std::string trackId;
    int audioType;
};

class MediaStore {
public:
    // Every connection of the indexer waits this long for a busy database, as the library's do.
    static constexpr int kBusyTimeoutMs = 3600000;

    // Opens the device's database, whose schema createDb has made; throws std::runtime_error
    // "cannot open db" as DatabaseMgr does.
    explicit MediaStore(const std::string& devId);
    ~MediaStore();
    MediaStore(const MediaStore&) = delete;
    MediaStore& operator=(const MediaStore&) = delete;

    // The rows of one partition, keyed by path.
    std::unordered_map<std::string, StoredSong> loadSongs(const std::string& partitionId);
    std::unordered_map<std::string, std::int64_t> loadDirectories(const std::string& partitionId);
    std::unordered_map<std::string, std::vector<StoredPlaylistEntry>> loadPlaylists(
        const std::string& partitionId);

    // Every write below needs an open transaction. Neither starts one twice. A failed commit
    // rolls the transaction back and returns false.
    void begin();
    bool commit();
    bool inTransaction() const { return inTransaction_; }

    // The track's SONGS row and, where missing, its ARTISTS, ALBUMS, GENRES and COMPOSERS rows,
    // with the record's readings where it has a set.
    bool insertSong(const corvina::MetaDataInfo& record);
    bool deleteSong(std::int64_t id);
    bool insertDirectory(const std::string& partitionId, const std::string& path,
                         const std::string& name, const std::string& objectId,
                         const std::string& parentId);
    bool deleteDirectory(std::int64_t id);
    bool insertPlaylistEntry(const std::string& partitionId, const std::string& playlistPath,
                             const std::string& playlistId, const std::string& playlistName,
                             const PlaylistEntry& entry, std::int64_t lastModified);
    bool deletePlaylistEntry(std::int64_t id);

    // Outside a transaction only: the status is written in one of its own.
    void writeStatus(const std::string& mountPoint, const char* value);

    // SQLite's message for the last write that failed.
    const std::string& lastError() const { return lastError_; }

private:
    bool run(Statement& statement);
    bool insertName(Statement& statement, const corvina::Md5& id, const std::string& name,
                    const char* reading);
    void prepareSongInsert();

    sqlstl::sqlostream stream_;  // owns the connection; carries the SONGS insertion
    std::unique_ptr<Statement> insertArtist_;
    std::unique_ptr<Statement> insertAlbum_;
    std::unique_ptr<Statement> insertGenre_;
    std::unique_ptr<Statement> insertComposer_;
    std::unique_ptr<Statement> insertDirectory_;
    std::unique_ptr<Statement> insertPlaylistEntry_;
    std::unique_ptr<Statement> deleteSong_;
    std::unique_ptr<Statement> deleteDirectory_;
    std::unique_ptr<Statement> deletePlaylistEntry_;
    // Artist, album, genre and composer identifiers written (or found present) by this
    // connection: most tracks share them with the track before.
    std::unordered_set<std::string> namesWritten_;
    bool inTransaction_ = false;
    std::string lastError_;
};

}  // namespace tangor::index
