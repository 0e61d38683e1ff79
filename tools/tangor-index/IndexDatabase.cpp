#include "IndexDatabase.h"

#include <tangor/database/DatabaseMgr.h>

#include <stdexcept>

#include "FileSystem.h"
#include "IndexSql.h"

namespace tangor::index {

namespace {

constexpr std::size_t kMaxNamesRemembered = 4096;

int pathOrder(void*, int aSize, const void* a, int bSize, const void* b) {
    return comparePaths(static_cast<const char*>(a), static_cast<std::size_t>(aSize),
                        static_cast<const char*>(b), static_cast<std::size_t>(bSize));
}

// Opens the connection before the statements are prepared on it.
sqlite3* openConnection(const std::string& devId, sqlstl::sqlostream& stream) {
    corvina::DatabaseMgr().open(devId, stream, corvina::dbBusyTimeoutMs);
    if (sqlite3_create_collation_v2(stream.db, sql::kPathCollation, SQLITE_UTF8, nullptr, pathOrder,
                                    nullptr) != SQLITE_OK) {
        throw std::runtime_error("cannot register the path order");
    }
    // Settings only: a connection that cannot take them works, more slowly.
    sqlite3_exec(stream.db, sql::kConnectionSettings, nullptr, nullptr, nullptr);
    return stream.db;
}

}  // namespace

IndexDatabase::IndexDatabase(const std::string& devId)
    : path_(sqlite3_db_filename(openConnection(devId, stream_), "main")),
      selectStatus_(stream_.db, sql::kSelectStatus),
      writeStatus_(stream_.db, sql::kWriteStatus),
      insertSong_(stream_.db, sql::kInsertSong),
      insertArtist_(stream_.db, sql::kInsertArtist),
      insertAlbum_(stream_.db, sql::kInsertAlbum),
      insertGenre_(stream_.db, sql::kInsertGenre),
      insertComposer_(stream_.db, sql::kInsertComposer),
      insertDirectory_(stream_.db, sql::kInsertDirectory),
      insertPlaylistEntry_(stream_.db, sql::kInsertPlaylistEntry),
      deleteSong_(stream_.db, sql::kDeleteSong),
      deleteDirectory_(stream_.db, sql::kDeleteDirectory),
      deletePlaylist_(stream_.db, sql::kDeletePlaylist),
      findTrack_(stream_.db, sql::kFindTrack),
      selectPresence_(stream_.db, sql::kSelectPresence),
      insertPresence_(stream_.db, sql::kInsertPresence),
      deletePresence_(stream_.db, sql::kDeletePresence) {
    for (const Statement* statement :
         {&selectStatus_, &writeStatus_, &insertSong_, &insertArtist_, &insertAlbum_, &insertGenre_,
          &insertComposer_, &insertDirectory_, &insertPlaylistEntry_, &deleteSong_,
          &deleteDirectory_, &deletePlaylist_, &findTrack_, &selectPresence_, &insertPresence_,
          &deletePresence_}) {
        if (!statement->valid()) {
            throw std::runtime_error("the database has not the expected tables: " +
                                     statement->error());
        }
    }
}

IndexDatabase::~IndexDatabase() {
    // An open transaction here means the scan failed; it is rolled back, as closing would.
    rollback();
}

bool IndexDatabase::begin() {
    if (inTransaction_) {
        return true;
    }
    if (!writeCacheSet_) {
        writeCacheSet_ = true;
        sqlite3_exec(stream_.db, sql::kWriteCacheSettings, nullptr, nullptr, nullptr);
    }
    if (sqlite3_exec(stream_.db, sql::kBegin, nullptr, nullptr, nullptr) != SQLITE_OK) {
        lastError_ = sqlite3_errmsg(stream_.db);
        return false;
    }
    inTransaction_ = true;
    return true;
}

bool IndexDatabase::commit() {
    if (!inTransaction_) {
        return true;
    }
    // SQLite commits into a deleted file without an error, and commits without its journal.
    if (checkFile() != FileState::Intact) {
        lastError_ = fileState_ == FileState::Deleted ? "the database file was deleted"
                                                      : "its journal was deleted";
        rollback();
        return false;
    }
    if (sqlite3_exec(stream_.db, sql::kCommit, nullptr, nullptr, nullptr) == SQLITE_OK) {
        inTransaction_ = false;
        return true;
    }
    lastError_ = sqlite3_errmsg(stream_.db);
    rollback();
    return false;
}

void IndexDatabase::rollback() noexcept {
    if (inTransaction_) {
        inTransaction_ = false;
        namesWritten_.clear();
        sqlite3_exec(stream_.db, sql::kRollback, nullptr, nullptr, nullptr);
    }
}

bool IndexDatabase::journalOpen() const {
    sqlite3_file* journal = nullptr;
    return sqlite3_file_control(stream_.db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &journal) ==
               SQLITE_OK &&
           journal != nullptr && journal->pMethods != nullptr;
}

IndexDatabase::FileState IndexDatabase::checkFile() {
    if (fileState_ != FileState::Intact) {
        return fileState_;
    }
    // The unix VFS compares the inode at the path with the open file's.
    int moved = 0;
    if (sqlite3_file_control(stream_.db, "main", SQLITE_FCNTL_HAS_MOVED, &moved) != SQLITE_OK) {
        moved = fileStatus(path_).type == FileStatus::Type::Missing;
    }
    if (moved) {
        fileState_ = FileState::Deleted;
    } else if (inTransaction_ && journalOpen() &&
               fileStatus(sqlite3_filename_journal(sqlite3_db_filename(stream_.db, "main"))).type ==
                   FileStatus::Type::Missing) {
        // Only a transaction that has changed pages has its journal open.
        fileState_ = FileState::JournalDeleted;
    }
    return fileState_;
}

bool IndexDatabase::presentPartitions(std::vector<std::string>& partitions) {
    partitions.clear();
    while (selectPresence_.next()) {
        partitions.push_back(selectPresence_.text(0));
    }
    if (selectPresence_.failed()) {
        lastError_ = selectPresence_.error();
        return false;
    }
    return true;
}

bool IndexDatabase::markPresent(const std::string& partitionId) {
    insertPresence_.bind(1, partitionId);
    return run(insertPresence_);
}

bool IndexDatabase::markAbsent(const std::string& partitionId) {
    deletePresence_.bind(1, partitionId);
    return run(deletePresence_);
}

std::string IndexDatabase::status(const std::string& mountPoint) {
    selectStatus_.bind(1, mountPoint);
    std::string value;
    if (selectStatus_.next()) {
        value = selectStatus_.text(0);
    }
    selectStatus_.reset();
    return value;
}

bool IndexDatabase::writeStatus(const MountPoint& mountPoint, const char* value) {
    writeStatus_.bind(1, mountPoint.path());
    writeStatus_.bind(2, mountPoint.partitionId());
    writeStatus_.bind(3, value);
    return run(writeStatus_);
}

bool IndexDatabase::insertSong(const corvina::MetaDataInfo& record, std::int64_t lastModified) {
    const corvina::AsianFields* readings = record.asianFields;
    Statement& insert = insertSong_;
    insert.bind(1, record.partitionId.value);
    insert.bind(2, record.path);
    insert.bind(3, record.objectId.value);
    insert.bind(4, record.directoryId.value);
    insert.bind(5, record.name);
    insert.bind(6, record.title);
    insert.bind(7, record.artistId.value);
    insert.bind(8, record.albumId.value);
    insert.bind(9, record.genreId.value);
    insert.bind(10, record.composerId.value);
    insert.bind(11, record.audioType);
    insert.bind(12, lastModified);
    insert.bind(13, record.trackIndex);
    insert.bind(14, record.discNumber);
    insert.bindBytes(15, readings ? readings->title : nullptr);
    return run(insert) &&
           insertName(insertArtist_, record.artistId, record.artist,
                      readings ? readings->artist : nullptr) &&
           insertName(insertAlbum_, record.albumId, record.album,
                      readings ? readings->album : nullptr) &&
           insertName(insertGenre_, record.genreId, record.genre,
                      readings ? readings->genre : nullptr) &&
           insertName(insertComposer_, record.composerId, record.composer,
                      readings ? readings->composer : nullptr);
}

bool IndexDatabase::insertName(Statement& statement, const corvina::Md5& id,
                               const std::string& name, const char* reading) {
    if (namesWritten_.count(id.value) != 0) {
        return true;
    }
    statement.bind(1, id.value);
    statement.bind(2, name);
    statement.bindBytes(3, reading);
    if (!run(statement)) {
        return false;
    }
    if (namesWritten_.size() >= kMaxNamesRemembered) {
        namesWritten_.clear();
    }
    namesWritten_.insert(id.value);
    return true;
}

bool IndexDatabase::deleteSong(std::int64_t id) {
    deleteSong_.bind(1, id);
    return run(deleteSong_);
}

bool IndexDatabase::insertDirectory(const MountPoint& mountPoint, const std::string& relative) {
    const std::string path = mountPoint.absolute(relative);
    Statement& insert = insertDirectory_;
    insert.bind(1, mountPoint.partitionId());
    insert.bind(2, path);
    insert.bind(3, lastComponent(path));
    // The root's object is the partition itself, and its own parent.
    if (relative.empty()) {
        insert.bind(4, mountPoint.partitionId());
        insert.bind(5, mountPoint.partitionId());
    } else {
        insert.bind(4, corvina::Md5(corvina::Md5::Directory, path).value);
        insert.bind(
            5,
            corvina::Md5(corvina::Md5::Directory, mountPoint.absolute(parentOf(relative))).value);
    }
    return run(insert);
}

bool IndexDatabase::deleteDirectory(std::int64_t id) {
    deleteDirectory_.bind(1, id);
    return run(deleteDirectory_);
}

bool IndexDatabase::insertPlaylistEntry(const MountPoint& mountPoint,
                                        const std::string& playlistPath, const PlaylistEntry& entry,
                                        std::int64_t lastModified) {
    const std::string name = lastComponent(playlistPath);
    const std::size_t dot = name.rfind('.');
    Statement& insert = insertPlaylistEntry_;
    insert.bind(1, mountPoint.partitionId());
    insert.bind(2, playlistPath);
    insert.bind(3, corvina::Md5(corvina::Md5::Playlist, playlistPath).value);
    insert.bind(4, dot == std::string::npos || dot == 0 ? name : name.substr(0, dot));
    insert.bind(5, entry.trackPath);
    insert.bind(6, entry.trackId);
    insert.bind(7, entry.audioType);
    insert.bind(8, lastModified);
    return run(insert);
}

bool IndexDatabase::deletePlaylist(const MountPoint& mountPoint, const std::string& playlistPath) {
    deletePlaylist_.bind(1, mountPoint.partitionId());
    deletePlaylist_.bind(2, playlistPath);
    return run(deletePlaylist_);
}

std::unique_ptr<Statement> IndexDatabase::cursor(const char* sql, const MountPoint& mountPoint) {
    auto statement = std::make_unique<Statement>(stream_.db, sql);
    statement->bind(1, mountPoint.partitionId());
    return statement;
}

std::unique_ptr<Statement> IndexDatabase::storedSongs(const MountPoint& mountPoint) {
    return cursor(sql::kSelectSongs, mountPoint);
}

std::unique_ptr<Statement> IndexDatabase::storedDirectories(const MountPoint& mountPoint) {
    return cursor(sql::kSelectDirectories, mountPoint);
}

std::unique_ptr<Statement> IndexDatabase::storedPlaylists(const MountPoint& mountPoint) {
    return cursor(sql::kSelectPlaylistEntries, mountPoint);
}

bool IndexDatabase::findTrack(const MountPoint& mountPoint, const std::string& absolutePath,
                              PlaylistEntry& track) {
    findTrack_.bind(1, absolutePath);
    findTrack_.bind(2, mountPoint.partitionId());
    const bool found = findTrack_.next();
    if (found) {
        track = {findTrack_.text(0), findTrack_.text(1), static_cast<int>(findTrack_.integer(2))};
    }
    findTrack_.reset();
    return found;
}

bool IndexDatabase::run(Statement& statement) {
    if (statement.run()) {
        return true;
    }
    lastError_ = statement.error();
    return false;
}

}  // namespace tangor::index
