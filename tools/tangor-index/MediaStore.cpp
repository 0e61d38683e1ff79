#include "MediaStore.h"

#include <sqlite3.h>
#include <tangor/database/DatabaseMgr.h>

#include <ios>

#include "IndexSql.h"
#include "Statement.h"

namespace tangor::index {

namespace {

// The stream binds texts and ints only; these bind the next parameter the same way, keeping to
// its state bits.
void bindInt64(sqlstl::sqlostream& stream, std::int64_t value) {
    if (!stream.good()) {
        return;
    }
    if (sqlite3_bind_int64(stream.stmt, stream.index, value) != SQLITE_OK) {
        stream.setstate(std::ios_base::failbit);
    }
    ++stream.index;
}

void bindBytes(sqlstl::sqlostream& stream, const char* text) {
    if (!stream.good()) {
        return;
    }
    if (Statement::bindBytes(stream.stmt, stream.index, text) != SQLITE_OK) {
        stream.setstate(std::ios_base::failbit);
    }
    ++stream.index;
}

std::unique_ptr<Statement> prepare(sqlite3* db, const char* sql) {
    return std::make_unique<Statement>(db, sql);
}

}  // namespace

MediaStore::MediaStore(const std::string& devId) {
    corvina::DatabaseMgr().open(devId, stream_, kBusyTimeoutMs);
    sqlite3* db = stream_.db;
    insertArtist_ = prepare(db, sql::kInsertArtist);
    insertAlbum_ = prepare(db, sql::kInsertAlbum);
    insertGenre_ = prepare(db, sql::kInsertGenre);
    insertComposer_ = prepare(db, sql::kInsertComposer);
    insertDirectory_ = prepare(db, sql::kInsertDirectory);
    insertPlaylistEntry_ = prepare(db, sql::kInsertPlaylistEntry);
    deleteSong_ = prepare(db, sql::kDeleteSong);
    deleteDirectory_ = prepare(db, sql::kDeleteDirectory);
    deletePlaylistEntry_ = prepare(db, sql::kDeletePlaylistEntry);
    prepareSongInsert();
}

MediaStore::~MediaStore() {
    // An open transaction here means the scan failed; closing the connection rolls it back, and
    // the statements must be gone before it closes.
    insertArtist_.reset();
    insertAlbum_.reset();
    insertGenre_.reset();
    insertComposer_.reset();
    insertDirectory_.reset();
    insertPlaylistEntry_.reset();
    deleteSong_.reset();
    deleteDirectory_.reset();
    deletePlaylistEntry_.reset();
    stream_ << sqlstl::finalize;
    stream_.close();
}

void MediaStore::prepareSongInsert() {
    stream_.query(sql::kInsertSong);
}

std::unordered_map<std::string, StoredSong> MediaStore::loadSongs(const std::string& partitionId) {
    std::unordered_map<std::string, StoredSong> songs;
    Statement select(stream_.db, sql::kSelectSongs);
    select.bind(1, partitionId);
    while (select.next()) {
        songs.emplace(select.text(1), StoredSong{select.integer(0), select.integer(2),
                                                 static_cast<int>(select.integer(3))});
    }
    return songs;
}

std::unordered_map<std::string, std::int64_t> MediaStore::loadDirectories(
    const std::string& partitionId) {
    std::unordered_map<std::string, std::int64_t> directories;
    Statement select(stream_.db, sql::kSelectDirectories);
    select.bind(1, partitionId);
    while (select.next()) {
        directories.emplace(select.text(1), select.integer(0));
    }
    return directories;
}

std::unordered_map<std::string, std::vector<StoredPlaylistEntry>> MediaStore::loadPlaylists(
    const std::string& partitionId) {
    std::unordered_map<std::string, std::vector<StoredPlaylistEntry>> playlists;
    Statement select(stream_.db, sql::kSelectPlaylistEntries);
    select.bind(1, partitionId);
    while (select.next()) {
        playlists[select.text(1)].push_back({select.integer(0), select.text(2), select.text(3),
                                             static_cast<int>(select.integer(4)),
                                             select.integer(5)});
    }
    return playlists;
}

void MediaStore::begin() {
    if (!inTransaction_) {
        stream_.exec(sql::kBegin);
        inTransaction_ = true;
    }
}

bool MediaStore::commit() {
    if (!inTransaction_) {
        return true;
    }
    inTransaction_ = false;
    stream_.exec(sql::kCommit);
    if (stream_.good()) {
        return true;
    }
    // The transaction's rows are gone, and with them names this connection believes written.
    lastError_ = sqlite3_errmsg(stream_.db);
    stream_.exec(sql::kRollback);
    namesWritten_.clear();
    return false;
}

bool MediaStore::insertSong(const corvina::MetaDataInfo& record) {
    const corvina::AsianFields* readings = record.asianFields;
    stream_ << record.partitionId.value.c_str() << record.path.c_str()
            << record.objectId.value.c_str() << record.directoryId.value.c_str()
            << record.name.c_str() << record.title.c_str() << record.artistId.value.c_str()
            << record.albumId.value.c_str() << record.genreId.value.c_str()
            << record.composerId.value.c_str() << record.audioType << 0;
    bindInt64(stream_, record.lastModified);
    stream_ << record.trackIndex << record.discNumber;
    bindBytes(stream_, readings ? readings->title : nullptr);
    stream_ << sqlstl::step;
    if (!stream_.good()) {
        lastError_ = sqlite3_errmsg(stream_.db);
        prepareSongInsert();  // a failed step leaves the stream without its statement
        return false;
    }
    return insertName(*insertArtist_, record.artistId, record.artist,
                      readings ? readings->artist : nullptr) &&
           insertName(*insertAlbum_, record.albumId, record.album,
                      readings ? readings->album : nullptr) &&
           insertName(*insertGenre_, record.genreId, record.genre,
                      readings ? readings->genre : nullptr) &&
           insertName(*insertComposer_, record.composerId, record.composer,
                      readings ? readings->composer : nullptr);
}

bool MediaStore::insertName(Statement& statement, const corvina::Md5& id, const std::string& name,
                            const char* reading) {
    if (namesWritten_.count(id.value) != 0) {
        return true;
    }
    statement.bind(1, id.value);
    statement.bind(2, name);
    statement.bindBytes(3, reading);
    if (!run(statement)) {
        return false;
    }
    namesWritten_.insert(id.value);
    return true;
}

bool MediaStore::deleteSong(std::int64_t id) {
    deleteSong_->bind(1, id);
    return run(*deleteSong_);
}

bool MediaStore::insertDirectory(const std::string& partitionId, const std::string& path,
                                 const std::string& name, const std::string& objectId,
                                 const std::string& parentId) {
    Statement& insert = *insertDirectory_;
    insert.bind(1, partitionId);
    insert.bind(2, path);
    insert.bind(3, name);
    insert.bind(4, objectId);
    insert.bind(5, parentId);
    return run(insert);
}

bool MediaStore::deleteDirectory(std::int64_t id) {
    deleteDirectory_->bind(1, id);
    return run(*deleteDirectory_);
}

bool MediaStore::insertPlaylistEntry(const std::string& partitionId,
                                     const std::string& playlistPath, const std::string& playlistId,
                                     const std::string& playlistName, const PlaylistEntry& entry,
                                     std::int64_t lastModified) {
    Statement& insert = *insertPlaylistEntry_;
    insert.bind(1, partitionId);
    insert.bind(2, playlistPath);
    insert.bind(3, playlistId);
    insert.bind(4, playlistName);
    insert.bind(5, entry.trackPath);
    insert.bind(6, entry.trackId);
    insert.bind(7, static_cast<std::int64_t>(entry.audioType));
    insert.bind(8, lastModified);
    return run(insert);
}

bool MediaStore::deletePlaylistEntry(std::int64_t id) {
    deletePlaylistEntry_->bind(1, id);
    return run(*deletePlaylistEntry_);
}

void MediaStore::writeStatus(const std::string& mountPoint, const char* value) {
    corvina::DatabaseMgr().insertStatus(stream_, mountPoint, value);
    prepareSongInsert();  // the status took the stream's statement
}

bool MediaStore::run(Statement& statement) {
    if (statement.run()) {
        return true;
    }
    lastError_ = statement.error();
    return false;
}

}  // namespace tangor::index
