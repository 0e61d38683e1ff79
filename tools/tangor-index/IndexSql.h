#pragma once

// Every statement of the indexer, next to each other. Rows are always selected for one partition.
// "PATHORDER" is the walk's path order (comparePaths), registered on the indexer's connection, so
// that stored rows come in the order in which the walk finds the files.

namespace tangor::index::sql {

inline constexpr const char* kPathCollation = "PATHORDER";

// The library's own synchronous setting.
inline constexpr const char* kConnectionSettings = "PRAGMA synchronous=NORMAL;";
// Set at the first write: a page cache (4 MiB, twice the default) that holds more of SONGS' eight
// indexes. Keyed by digests, a batch of inserts touches their pages all over, and each page that
// does not fit is written out and synced before the commit. Not before: SQLite sizes the sorts of
// the walk-order cursors by the cache, and those run before any write.
inline constexpr const char* kWriteCacheSettings = "PRAGMA cache_size=-4096;";

inline constexpr const char* kBegin = "BEGIN TRANSACTION;";
inline constexpr const char* kCommit = "COMMIT;";
inline constexpr const char* kRollback = "ROLLBACK;";

// The partitions marked present: the library's createDb marks them one transaction at a time, after
// marking all absent, which leaves VIEW_SONGS empty in between; the indexer sets them in one.
inline constexpr const char* kSelectPresence = "SELECT PARTITION_ID FROM PARTITION_PRESENCE;";
inline constexpr const char* kInsertPresence =
    "INSERT OR IGNORE INTO PARTITION_PRESENCE(PARTITION_ID) VALUES (?);";
inline constexpr const char* kDeletePresence =
    "DELETE FROM PARTITION_PRESENCE WHERE PARTITION_ID = ?;";

// The names of the schema's tables, indexes and views, to tell whether createDb would add any.
inline constexpr const char* kSelectSchemaNames = "SELECT name FROM sqlite_master;";

// A write of about what createDb's schema takes in a new file (28 pages of 4 KiB), on a scratch
// file: whether the database folder takes it when createDb has failed.
inline constexpr const char* kWriteProbe =
    "BEGIN TRANSACTION; CREATE TABLE PROBE(VALUE BLOB); "
    "INSERT INTO PROBE(VALUE) VALUES (zeroblob(131072)); COMMIT;";

inline constexpr const char* kSelectStatus = "SELECT VALUE FROM STATUS WHERE MOUNTPOINT = ?;";
inline constexpr const char* kWriteStatus =
    "REPLACE INTO STATUS(MOUNTPOINT, PARTITION_ID, VALUE) VALUES (?, ?, ?);";

inline constexpr const char* kInsertSong =
    "INSERT INTO SONGS(PARTITION_ID, PATH, OBJECTID, DIRECTORYID, NAME, TITLE, ARTISTID, ALBUMID, "
    "GENREID, COMPOSERID, AUDIOTYPE, BOOKMARK, LASTMODIFIED, TRACKIND, DISCNUM, ASIANTITLE) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0, ?, ?, ?, ?);";
inline constexpr const char* kInsertArtist =
    "INSERT OR IGNORE INTO ARTISTS(ARTISTID, ARTIST, ASIANARTIST) VALUES (?, ?, ?);";
inline constexpr const char* kInsertAlbum =
    "INSERT OR IGNORE INTO ALBUMS(ALBUMID, ALBUM, ASIANALBUM) VALUES (?, ?, ?);";
inline constexpr const char* kInsertGenre =
    "INSERT OR IGNORE INTO GENRES(GENREID, GENRE, ASIANGENRE) VALUES (?, ?, ?);";
inline constexpr const char* kInsertComposer =
    "INSERT OR IGNORE INTO COMPOSERS(COMPOSERID, COMPOSER, ASIANCOMPOSER) VALUES (?, ?, ?);";
inline constexpr const char* kInsertDirectory =
    "INSERT OR IGNORE INTO DIRECTORIES(PARTITION_ID, PATH, NAME, OBJECTID, PARENT_ID) "
    "VALUES (?, ?, ?, ?, ?);";
inline constexpr const char* kInsertPlaylistEntry =
    "INSERT INTO PLAYLISTS(PARTITION_ID, PLAYPATH, PLAYID, PLAYNAME, TRACKPATH, TRACKID, "
    "AUDIOTYPE, LASTMODIFIED) VALUES (?, ?, ?, ?, ?, ?, ?, ?);";

// Rows are deleted by ID or by exact path: the path columns compare without regard to case, and a
// partition may hold two files whose names differ only in case.
inline constexpr const char* kDeleteSong = "DELETE FROM SONGS WHERE ID = ?;";
inline constexpr const char* kDeleteDirectory = "DELETE FROM DIRECTORIES WHERE ID = ?;";
inline constexpr const char* kDeletePlaylist =
    "DELETE FROM PLAYLISTS WHERE PARTITION_ID = ? AND PLAYPATH = ? COLLATE BINARY;";

// In the walk's order; the sort is SQLite's, which spills to temporary files rather than grow.
inline constexpr const char* kSelectSongs =
    "SELECT ID, PATH, LASTMODIFIED FROM SONGS WHERE PARTITION_ID = ? "
    "ORDER BY PATH COLLATE PATHORDER, ID;";
inline constexpr const char* kSelectDirectories =
    "SELECT ID, PATH FROM DIRECTORIES WHERE PARTITION_ID = ? ORDER BY PATH COLLATE PATHORDER, ID;";
inline constexpr const char* kSelectPlaylistEntries =
    "SELECT PLAYPATH, TRACKPATH, TRACKID, AUDIOTYPE, LASTMODIFIED FROM PLAYLISTS "
    "WHERE PARTITION_ID = ? ORDER BY PLAYPATH COLLATE PATHORDER, ID;";

// The track a playlist entry names: IDX_PATH finds the paths equal but for ASCII letter case; the
// exact one wins, else the first in walk order.
inline constexpr const char* kFindTrack =
    "SELECT PATH, OBJECTID, AUDIOTYPE FROM SONGS WHERE PATH = ?1 AND PARTITION_ID = ?2 "
    "ORDER BY PATH = ?1 COLLATE BINARY DESC, PATH COLLATE PATHORDER LIMIT 1;";

// The listing: readings sort before names where there are some; CAST, because a blob would sort
// after every text.
inline constexpr const char* kListSongs =
    "SELECT ARTIST, ALBUM, TITLE, AUDIOTYPE, PATH, IFNULL(CAST(ASIANARTIST AS TEXT), ''), "
    "IFNULL(CAST(ASIANALBUM AS TEXT), ''), IFNULL(CAST(ASIANTITLE AS TEXT), '') FROM VIEW_SONGS "
    "ORDER BY IFNULL(CAST(ASIANARTIST AS TEXT), ARTIST) COLLATE NOCASE, "
    "IFNULL(CAST(ASIANALBUM AS TEXT), ALBUM) COLLATE NOCASE, DISCNUM, TRACKIND, "
    "IFNULL(CAST(ASIANTITLE AS TEXT), TITLE) COLLATE NOCASE, PATH;";

}  // namespace tangor::index::sql
