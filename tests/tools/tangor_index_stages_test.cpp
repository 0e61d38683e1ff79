// The indexer's stages one at a time, on real trees and a real database: the walk and its limits,
// the comparison with stored tracks, the directories and the resolution of playlist entries.

#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tangor/database/DatabaseMgr.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "DirectoryMerge.h"
#include "IndexDatabase.h"
#include "PartitionWalk.h"
#include "PlaylistStage.h"
#include "SongComparison.h"
#include "WriteBatch.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;
using index::MountPoint;
using index::ScanItem;
using index::WalkEntry;

// Makes a folder unreadable for the walk. As root, permissions are not checked: this thread's
// file-system user becomes "nobody" for the object's lifetime, which drops that privilege.
class UnreadableFolder {
public:
    explicit UnreadableFolder(const std::string& path) : path_(path) {
        chmod(path_.c_str(), 0);
        if (geteuid() == 0) {
            setfsuid(65534);
        }
    }
    ~UnreadableFolder() {
        if (geteuid() == 0) {
            setfsuid(0);
        }
        chmod(path_.c_str(), 0755);
    }

private:
    std::string path_;
};

// A tree with every kind of entry the walk meets.
class Tree {
public:
    Tree() : mount(dir.file("usb")) {
        chmod(dir.path().c_str(), 0755);  // for "nobody" too
        for (const char* file : {"B.flac", "a/x.mp3", "a/deep/er/y.mp3", "a-b.mp3", "a.mp3",
                                 "list.m3u", "notes.txt", ".hidden.mp3", ".h/z.mp3"}) {
            fs::create_directories(fs::path(mount + "/" + file).parent_path());
            writeFile(mount + "/" + file, "x");
        }
        fs::create_directory_symlink("a", mount + "/link-to-folder");  // never followed
        fs::create_directory_symlink("..", mount + "/a/loop");
        fs::create_symlink("a.mp3", mount + "/link.mp3");            // a file through a link counts
        fs::create_symlink("../usb/a.mp3", mount + "/back-in.mp3");  // out and back in: inside
        fs::create_symlink("none.mp3", mount + "/dangling.mp3");
        // Outside: beside the mount point, one with a name that starts like it.
        writeFile(dir.file("usb.mp3"), "x");
        fs::create_directories(dir.file("usb-other"));
        writeFile(dir.file("usb-other/z.mp3"), "x");
        fs::create_symlink(dir.file("usb.mp3"), mount + "/outside.mp3");
        fs::create_directory_symlink("../usb-other", mount + "/outside-folder");
    }

    TempDir dir;
    std::string mount;
};

std::vector<std::string> walkAll(const MountPoint& mountPoint, const index::WalkLimits& limits) {
    index::PartitionWalk walk(mountPoint, limits);
    std::vector<std::string> found;
    WalkEntry entry;
    while (walk.next(entry) && found.size() < 100) {
        const char* kind = entry.kind == WalkEntry::Kind::Audio      ? ""
                           : entry.kind == WalkEntry::Kind::Playlist ? "playlist "
                           : entry.kind == WalkEntry::Kind::Skipped  ? "skipped "
                                                                     : "unreadable ";
        found.push_back(kind + entry.relativePath + (entry.link ? " (link)" : ""));
    }
    return found;
}

// What a limit or a link out of the partition leaves out comes out as a skipped entry in its place.
TEST(PartitionWalk, FindsAudioAndPlaylistsInPathOrderWithinItsLimits) {
    const Tree tree;
    const MountPoint mountPoint(tree.mount);
    struct Row {
        const char* what;
        index::WalkLimits limits;
        std::vector<std::string> expected;
    };
    const std::vector<std::string> all = {"B.flac",
                                          "a/deep/er/y.mp3",
                                          "a/x.mp3",
                                          "a-b.mp3",
                                          "a.mp3",
                                          "back-in.mp3 (link)",
                                          "link.mp3 (link)",
                                          "playlist list.m3u",
                                          "skipped outside-folder",
                                          "skipped outside.mp3"};
    const std::vector<std::string> afterA(all.begin() + 3, all.end());
    auto with = [&afterA](std::vector<std::string> first) {
        first.insert(first.end(), afterA.begin(), afterA.end());
        return first;
    };
    const Row rows[] = {
        {"no limit reached", {}, all},
        {"two files", {2, 64, 1000}, {"B.flac", "a/deep/er/y.mp3", "skipped a/x.mp3"}},
        {"one folder deep", {100, 1, 1000}, with({"B.flac", "skipped a/deep", "a/x.mp3"})},
        {"the mount point only", {100, 0, 1000}, with({"B.flac", "skipped a"})},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(walkAll(mountPoint, row.limits), row.expected) << row.what;
    }
    // Two entries a folder: the mount point is named first, as cut short.
    const std::vector<std::string> cut = walkAll(mountPoint, {100, 64, 2});
    ASSERT_FALSE(cut.empty());
    EXPECT_EQ(cut.front(), "skipped ");
    EXPECT_LE(cut.size(), 6u);
    // A mount point named through a link is walked all the same.
    const std::string linked = tree.dir.file("linked");
    fs::create_directory_symlink(tree.mount, linked);
    EXPECT_EQ(walkAll(MountPoint(linked), {}), all);
}

TEST(PartitionWalk, NamesAFolderItCannotReadInItsPlace) {
    const Tree tree;
    const UnreadableFolder unreadable(tree.mount + "/a");
    index::PartitionWalk walk(MountPoint(tree.mount));
    std::vector<WalkEntry> entries;
    WalkEntry entry;
    while (walk.next(entry) && entries.size() < 100) {
        entries.push_back(entry);
    }
    ASSERT_GE(entries.size(), 2u) << (entries.empty()
                                          ? "nothing"
                                          : entries[0].relativePath + ": " + entries[0].problem);
    EXPECT_EQ(entries[1].kind, WalkEntry::Kind::Unreadable);
    EXPECT_EQ(entries[1].relativePath, "a");
    EXPECT_EQ(entries[1].problem, "folder cannot be opened: Permission denied");
    // The two files below "a" are not seen; the other six and the two links that leave are.
    EXPECT_EQ(entries.size(), 9u);
}

// A database with the schema, and one partition's stored rows written straight in.
class StoredRowsTest : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        corvina::DatabaseMgr().createDb("usb", tree.mount, true);
        database = databaseDirectory() + "usb.tangor";
    }

    void storeSong(const std::string& relative, long long lastModified) const {
        execSql(database,
                "INSERT INTO SONGS(PARTITION_ID, PATH, OBJECTID, DIRECTORYID, NAME, "
                "TITLE, ARTISTID, ALBUMID, GENREID, COMPOSERID, AUDIOTYPE, BOOKMARK, "
                "LASTMODIFIED, TRACKIND, DISCNUM) VALUES ('" +
                    mountPoint.partitionId() + "', '" + mountPoint.absolute(relative) +
                    "', 'o', 'd', 'n', 't', 'a', 'b', 'g', 'c', 1, 0, " +
                    std::to_string(lastModified) + ", 0, 0)");
    }

    long long modified(const std::string& relative) const {
        struct stat status {};
        EXPECT_EQ(stat(mountPoint.absolute(relative).c_str(), &status), 0) << relative;
        return status.st_mtime;
    }

    Tree tree;
    MountPoint mountPoint{tree.mount};
    std::string database;
};

// The comparison's items in order, "problem" for each entry the walk could not take; a stored row
// is shown as " (stored)", or with `ids` by its ID.
std::vector<std::string> compareAll(index::IndexDatabase& db, const MountPoint& mountPoint,
                                    bool ids = false) {
    index::PartitionWalk walk(mountPoint);
    std::vector<std::string> problems;
    index::SongComparison comparison(mountPoint, walk, db.storedSongs(mountPoint),
                                     [&problems](const WalkEntry& entry) {
                                         problems.push_back("problem " + entry.relativePath);
                                     });
    std::vector<std::string> items = problems;
    ScanItem item;
    for (int round = 0; round < 100 && comparison.next(item); ++round) {
        items.insert(items.end(), problems.begin(), problems.end());
        problems.clear();
        const char* action[] = {"keep ", "read ", "delete ", "playlist "};
        const std::string stored = !item.storedId ? ""
                                   : ids          ? " #" + std::to_string(item.storedId)
                                                  : " (stored)";
        items.push_back(action[static_cast<int>(item.action)] + item.relativePath + stored);
    }
    items.insert(items.end(), problems.begin(), problems.end());
    return items;
}

TEST_F(StoredRowsTest, ComparisonReadsWhatChangedAndDeletesWhatIsGone) {
    storeSong("a.mp3", modified("a.mp3"));
    storeSong("B.flac", modified("B.flac") - 1);
    storeSong("A.MP3", modified("a.mp3"));  // differs from a file only in case: another file
    storeSong("a/gone.mp3", 1);
    storeSong("outside.mp3", 1);  // indexed through its link once; no more
    storeSong("zzz/old.mp3", 1);  // its folder is gone
    index::IndexDatabase db("usb");
    const std::vector<std::string> expected = {"delete A.MP3 (stored)",
                                               "read B.flac (stored)",
                                               "read a/deep/er/y.mp3",
                                               "delete a/gone.mp3 (stored)",
                                               "read a/x.mp3",
                                               "read a-b.mp3",
                                               "keep a.mp3 (stored)",
                                               "read back-in.mp3",
                                               "read link.mp3",
                                               "playlist list.m3u",
                                               "problem outside-folder",
                                               "problem outside.mp3",
                                               "delete outside.mp3 (stored)",
                                               "delete zzz/old.mp3 (stored)"};
    EXPECT_EQ(compareAll(db, mountPoint), expected);
}

// Rows that old versions' concurrent scans stored twice: one row of each path stays, the one whose
// time is the file's where one is, and the others are deleted, one item each.
TEST_F(StoredRowsTest, ComparisonKeepsOneRowOfAPathStoredMoreThanOnce) {
    storeSong("B.flac", modified("B.flac") - 1);  // 1: neither row matches, the first stays
    storeSong("B.flac", modified("B.flac") - 1);  // 2
    storeSong("a.mp3", modified("a.mp3") - 1);    // 3
    storeSong("a.mp3", modified("a.mp3"));        // 4: matches, stays
    storeSong("a.mp3", modified("a.mp3"));        // 5: matches too, comes later
    index::IndexDatabase db("usb");
    const std::vector<std::string> expected = {
        "delete B.flac #2",   "read B.flac #1",  "read a/deep/er/y.mp3", "read a/x.mp3",
        "read a-b.mp3",       "delete a.mp3 #3", "delete a.mp3 #5",      "keep a.mp3 #4",
        "read back-in.mp3",   "read link.mp3",   "playlist list.m3u",    "problem outside-folder",
        "problem outside.mp3"};
    EXPECT_EQ(compareAll(db, mountPoint, true), expected);
}

TEST_F(StoredRowsTest, ComparisonKeepsWhatIsStoredBelowAnUnreadableFolder) {
    storeSong("a/x.mp3", 1);
    storeSong("a/deep/er/y.mp3", 1);
    storeSong("a-b.mp3", 1);
    index::IndexDatabase db("usb");
    const UnreadableFolder unreadable(tree.mount + "/a");
    const std::vector<std::string> expected = {
        "read B.flac",           "keep a/deep/er/y.mp3 (stored)",
        "keep a/x.mp3 (stored)", "problem a",
        "read a-b.mp3 (stored)", "read a.mp3",
        "read back-in.mp3",      "read link.mp3",
        "playlist list.m3u",     "problem outside-folder",
        "problem outside.mp3"};
    EXPECT_EQ(compareAll(db, mountPoint), expected);
}

TEST_F(StoredRowsTest, ComparisonStopsWhenTheStoredTracksCannotBeRead) {
    storeSong("a.mp3", 1);
    // A SONGS page that is no B-tree page: SQLite reports the file corrupt when it reads it.
    const long long root = std::stoll(
        queryRows(database, "SELECT rootpage FROM sqlite_master WHERE name = 'SONGS'").at(0));
    const long long pageSize = std::stoll(queryRows(database, "PRAGMA page_size").at(0));
    std::string content = readFile(database);
    ASSERT_LE(root * pageSize, static_cast<long long>(content.size()));
    content.replace(static_cast<std::size_t>((root - 1) * pageSize),
                    static_cast<std::size_t>(pageSize), static_cast<std::size_t>(pageSize), '\xFF');
    writeFile(database, content);
    index::IndexDatabase db("usb");
    index::PartitionWalk walk(mountPoint);
    EXPECT_THROW(index::SongComparison(mountPoint, walk, db.storedSongs(mountPoint),
                                       [](const WalkEntry&) {}),
                 std::runtime_error);
}

TEST_F(StoredRowsTest, DirectoriesFollowTheIndexedFiles) {
    index::IndexDatabase db("usb");
    const auto paths = [this] {
        return queryRows(database, "SELECT PATH FROM DIRECTORIES ORDER BY PATH");
    };
    const auto runStage = [&db, this](const std::vector<std::string>& files) {
        index::WriteBatch batch(db, mountPoint, 100);
        index::DirectoryMerge directories(db, mountPoint, batch);
        for (const std::string& file : files) {
            directories.fileIndexed(file);
        }
        directories.finish();
        batch.finish(index::kStatusDone, "");
    };
    runStage({"a/b/c/x.mp3", "a/b/c/y.mp3", "a/d.mp3", "e/f.mp3"});
    const std::string root = tree.mount;
    EXPECT_EQ(paths(), (std::vector<std::string>{root, root + "/a", root + "/a/b", root + "/a/b/c",
                                                 root + "/e"}));
    // The root is its own parent and has the partition's identifier; every other row's parent
    // is there.
    EXPECT_EQ(queryRows(database,
                        "SELECT OBJECTID = PARTITION_ID AND PARENT_ID = PARTITION_ID "
                        "FROM DIRECTORIES WHERE PATH = '" +
                            root + "'"),
              std::vector<std::string>{"1"});
    EXPECT_EQ(queryRows(database, "SELECT COUNT(*) FROM DIRECTORIES d WHERE PATH <> '" + root +
                                      "' AND NOT EXISTS (SELECT 1 FROM DIRECTORIES p "
                                      "WHERE p.OBJECTID = d.PARENT_ID)"),
              std::vector<std::string>{"0"});
    const std::vector<std::string> idOfA =
        queryRows(database, "SELECT ID FROM DIRECTORIES WHERE PATH = '" + root + "/a'");

    runStage({"a/d.mp3", "a-z/g.mp3"});  // a/b, a/b/c and e are gone; a stays as it was
    EXPECT_EQ(paths(), (std::vector<std::string>{root, root + "/a", root + "/a-z"}));
    EXPECT_EQ(queryRows(database, "SELECT ID FROM DIRECTORIES WHERE PATH = '" + root + "/a'"),
              idOfA);
}

TEST_F(StoredRowsTest, PlaylistEntriesAreResolvedByQueries) {
    for (const char* track :
         {"Music/A/song.mp3", "Music/A/SONG.mp3", "Music/B/other.flac", "top.mp3"}) {
        storeSong(track, 1);
    }
    index::IndexDatabase db("usb");
    const std::string absoluteEntry = tree.mount + "/top.mp3";
    struct Row {
        const char* folder;
        const char* entry;
        const char* expected;  // null: no track
    };
    const Row rows[] = {
        {"Music/A", "song.mp3", "Music/A/song.mp3"},
        {"Music/A", "SONG.mp3", "Music/A/SONG.mp3"},  // exact match wins over the folding
        {"Music/A", "Song.MP3", "Music/A/SONG.mp3"},  // first of the foldings in walk order
        {"Playlists", "..\\Music\\.\\B\\\\other.flac", "Music/B/other.flac"},
        {"Music/A", "E:\\top.mp3", "top.mp3"},          // drive letter: from the root
        {"Music/A", "/top.mp3", "top.mp3"},             // from the root
        {"Music/A", absoluteEntry.c_str(), "top.mp3"},  // absolute
        {"", "file:///Music/B/oth%65r.flac", "Music/B/other.flac"},
        {"Music", "../../top.mp3", nullptr},  // leaves the partition
        {"Music", "A", nullptr},              // a folder, not a track
        {"Music/A", "missing.mp3", nullptr},
    };
    for (const Row& row : rows) {
        index::PlaylistEntry track;
        const bool found = index::resolveEntry(db, mountPoint, row.folder, row.entry, track);
        std::string relative = "<none>";
        if (found) {
            EXPECT_TRUE(mountPoint.relative(track.trackPath, relative));
        }
        EXPECT_EQ(relative, row.expected ? row.expected : "<none>")
            << row.folder << " + " << row.entry;
    }
}

}  // namespace

}  // namespace tangor::test
