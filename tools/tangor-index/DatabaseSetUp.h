#pragma once

// The set-up of a device's database before a scan reads anything, around the library's createDb
// (whose behaviour other callers rely on, and which stays as it is):
//
// - A current file (the schema version of the library loaded, the market's coding, every table,
//   index and view of the schema) is not handed to createDb. There createDb would only enforce the
//   storage budget and mark the partitions present again, rewriting rows that are already there in
//   two commits; the set-up enforces the budget itself, and markPresence changes the marks only
//   where they differ. So a rescan that finds nothing changed writes nothing.
// - Any other file (missing, new, of another version or coding, not a database) goes to createDb
//   for each partition, never as the device's first: with `isFirst` createDb empties
//   PARTITION_PRESENCE in a commit of its own, and VIEW_SONGS shows no track to a reader until the
//   next one. markPresence then sets the marks in one transaction.
// - A file createDb cannot validate is deleted and made anew once, with a notice, unless the
//   database folder does not take a write of the schema's size (disk full, read-only, I/O error):
//   then nothing is deleted and WriteFailed names SQLite's reason.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "IndexDatabase.h"
#include "MountPoint.h"

namespace tangor::index {

// The storage budget that createDb enforces over all database files (the library's own constant).
inline constexpr std::int64_t kStorageBudget = 68157440;

// The tables, indexes and views that createDb's schema makes (the library's schema).
inline constexpr const char* kSchemaObjects[] = {
    "SONGS",
    "ARTISTS",
    "ALBUMS",
    "GENRES",
    "COMPOSERS",
    "DIRECTORIES",
    "PLAYLISTS",
    "VERSION",
    "CODING",
    "STATUS",
    "PARTITION_PRESENCE",
    "IDX_PATH",
    "IDX_OBJECTID",
    "IDX_ARTISTID",
    "IDX_ALBUMID",
    "IDX_GENREID",
    "IDX_COMPOSERID",
    "IDX_DIRECTORYID",
    "IDX_AUDIOTYPE",
    "VIEW_SONGS",
    "VIEW_PLAYLISTSONGS",
    "VIEW_PLAYLISTNAMES",
};

// Sets up the database of `devId` for `mountPoints` (at least one); `notice` hears of a database
// made anew. Returns whether createDb ran (it writes). Throws WriteFailed when the database folder
// cannot be written, and what createDb throws otherwise.
bool setUpDatabase(const std::string& devId, const std::vector<MountPoint>& mountPoints,
                   const std::function<void(const std::string&)>& notice);

// Marks exactly `mountPoints` present, in one transaction, when that changes anything; returns
// whether it wrote. Throws WriteFailed (DatabaseDeleted) when the marks cannot be written.
bool markPresence(IndexDatabase& database, const std::vector<MountPoint>& mountPoints);

}  // namespace tangor::index
