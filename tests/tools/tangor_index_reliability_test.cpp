// What must hold when a scan meets more than its input: a second scan of the same device, mount
// points whose names are SQL, a disk that fills up, a database deleted under the scan, readers
// during a scan, rows that old versions left twice, files that are not what their names say, links
// out of the partition and what lies beyond the limits.

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <tangor/database/DatabaseMgr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "AudioHead.h"
#include "DatabaseSetUp.h"
#include "ScanLock.h"
#include "Scanner.h"
#include "TagReader.h"
#include "WriteBatch.h"
#include "database/Schema.h"
#include "support/DatabaseWatch.h"
#include "support/IndexerTest.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;

class ReliabilityTest : public IndexerTest {
protected:
    static std::string journal() { return database() + "-journal"; }

    // The tracks of the partition at `mountPoint` that VIEW_SONGS shows.
    static std::string tracksShown(const std::string& mountPoint,
                                   const std::string& file = database()) {
        return value("SELECT COUNT(*) FROM VIEW_SONGS WHERE substr(PATH, 1, " +
                         std::to_string(mountPoint.size() + 1) + ") = '" + mountPoint + "/'",
                     file);
    }

    // A file of `size` zero bytes, sparse: it takes no room.
    static void makeZeroFile(const std::string& path, off_t size) {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        EXPECT_EQ(ftruncate(fd, size), 0);
        close(fd);
    }

    // A folder below `parent` whose path ends just short of PATH_MAX: a short name still fits in
    // it, a long one does not.
    static std::string makeNearlyFullFolder(const std::string& parent) {
        const std::size_t end = PATH_MAX - 100;
        std::string folder = parent;
        while (folder.size() + 1 + 250 < end) {
            folder += "/" + std::string(250, 'd');
        }
        folder += "/" + std::string(end - folder.size() - 1, 'd');
        fs::create_directories(folder);
        return folder;
    }

    // The entry `name` in `folder`, made through the folder's descriptor: its path may not fit.
    static void makeInFolder(const std::string& folder, const std::string& name, bool isFolder) {
        const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
        ASSERT_GE(fd, 0);
        if (isFolder) {
            EXPECT_EQ(mkdirat(fd, name.c_str(), 0755), 0);
        } else {
            const int file = openat(fd, name.c_str(), O_WRONLY | O_CREAT, 0644);
            EXPECT_GE(file, 0);
            close(file);
        }
        close(fd);
    }
};

// Each mount point reads its own status and no other's, whatever quotes its name holds.
TEST_F(ReliabilityTest, StatusOfACraftedMountPointIsItsOwn) {
    const std::string injection = tree.file(R"(x" OR "1"="1)");
    const std::string quote = tree.file(R"(q"q)");
    fs::create_directories(injection);
    fs::create_directories(quote);
    ASSERT_EQ(scan({mount, quote}).status, 0);

    struct Row {
        std::string mountPoint;
        int exitStatus;
        const char* output;
    };
    const Row rows[] = {
        {mount, 0, "DONE\n"},
        {quote, 0, "DONE\n"},  // the quote must not break the query
        {injection, 1, ""},    // never scanned: it has no status, and must not read another's
        {mount + "\"", 1, ""},
    };
    for (const Row& row : rows) {
        const ProgramResult result =
            runProgram({TANGOR_INDEX, "status", "--device", "usb", row.mountPoint});
        EXPECT_EQ(result.status, row.exitStatus) << row.mountPoint;
        EXPECT_EQ(result.standardOutput, row.output) << row.mountPoint;
    }
    // A rescan of the quoted partition where nothing changed finds its status and writes nothing.
    const std::string before = value("SELECT group_concat(rowid) FROM STATUS");
    ASSERT_EQ(scan({mount, quote}).status, 0);
    EXPECT_EQ(value("SELECT group_concat(rowid) FROM STATUS"), before);
}

// Two mount events of one device at once: the second scan waits for the first, so neither inserts
// a track the other has inserted.
TEST_F(ReliabilityTest, TwoScansAtOnceWriteEveryTrackOnce) {
    const std::string big = tree.file("big");
    makeLibrary(big, 200);
    for (int round = 0; round < 3; ++round) {
        removeTree(databaseDirectory());
        ProgramResult first, second;
        std::thread other([&big, &second] { second = scan({big}); });
        first = scan({big});
        other.join();
        EXPECT_EQ(first.status, 0) << first.standardError;
        EXPECT_EQ(second.status, 0) << second.standardError;
        EXPECT_EQ(value("SELECT COUNT(*) - COUNT(DISTINCT PATH) FROM SONGS"), "0")
            << "round " << round;
        EXPECT_EQ(value("SELECT COUNT(*) FROM VIEW_SONGS"), value("SELECT COUNT(*) FROM SONGS"));
    }
}

class Notices : public index::ScanObserver {
public:
    void notice(const std::string& message) override { messages.push_back(message); }
    void warning(const std::string& message) override { warnings.push_back(message); }
    std::vector<std::string> messages;
    std::vector<std::string> warnings;
};

TEST_F(ReliabilityTest, ScanWaitsForTheLockThenGivesUp) {
    index::ScanOptions options;
    options.lockWait = std::chrono::milliseconds(300);
    Notices notices;
    {
        const index::ScanLock held("usb", options.lockWait, [](const std::string&) {});
        EXPECT_THROW(index::scanDevice("usb", {mount}, notices, options), index::ScanLockTimeout);
        EXPECT_FALSE(exists(database())) << "nothing is read or made before the lock";
    }
    ASSERT_EQ(notices.messages.size(), 1u);
    EXPECT_NE(notices.messages[0].find("another scan of device usb is running"), std::string::npos);
    index::ScanObserver quiet;
    EXPECT_EQ(index::scanDevice("usb", {mount}, quiet, options).indexed,
              static_cast<std::size_t>(sample::kMinimumFiles));
}

TEST_F(ReliabilityTest, LockFileIsNoDatabaseFile) {
    for (const char* device : {"usb", "a.tangor", "B.TANGOR.x"}) {
        std::string name = fs::path(index::ScanLock::path(device)).filename().string();
        for (char& c : name) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        EXPECT_EQ(name.find(".tangor"), std::string::npos) << name;
        EXPECT_EQ(fs::path(index::ScanLock::path(device)).parent_path().string() + "/",
                  databaseDirectory());
    }
}

// A small tmpfs over the database folder (root only) that the scan fills up.
class FullDisk {
public:
    explicit FullDisk(const std::string& folder) : folder_(folder) {
        fs::create_directories(folder);
        mounted_ = mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=4m") == 0;
    }
    ~FullDisk() {
        if (mounted_) {
            umount2(folder_.c_str(), MNT_DETACH);
        }
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

    bool mounted() const { return mounted_; }
    // Takes every free block.
    void fill() const {
        const int fd = open((folder_ + "/filler").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const std::vector<char> block(4096, 'x');
        while (fd >= 0 && write(fd, block.data(), block.size()) > 0) {
        }
        if (fd >= 0) {
            close(fd);
        }
    }
    // Takes every free block but `bytes`.
    void leave(off_t bytes) const {
        fill();
        const std::string filler = folder_ + "/filler";
        const auto size = static_cast<off_t>(fs::file_size(filler));
        EXPECT_EQ(truncate(filler.c_str(), std::max<off_t>(size - bytes, 0)), 0);
    }
    void empty() const { fs::remove(folder_ + "/filler"); }

private:
    std::string folder_;
    bool mounted_ = false;
};

// Fills the disk as the first file is read: its batch cannot commit.
class DiskFiller : public index::ScanObserver {
public:
    explicit DiskFiller(const FullDisk& disk) : disk_(disk) {}
    void fileStarting(const std::string&) override {
        if (!filled_) {
            filled_ = true;
            disk_.fill();
        }
    }

private:
    const FullDisk& disk_;
    bool filled_ = false;
};

TEST_F(ReliabilityTest, FullDiskEndsTheScanWithNothingHalfWritten) {
    const FullDisk disk(databaseDirectory());
    if (!disk.mounted()) {
        GTEST_SKIP() << "a tmpfs cannot be mounted here (not root)";
    }
    DiskFiller filler(disk);
    EXPECT_THROW(index::scanDevice("usb", {mount}, filler), index::WriteFailed);
    disk.empty();
    EXPECT_NE(value("SELECT VALUE FROM STATUS"), "DONE");
    EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS"), value("SELECT COUNT(*) FROM VIEW_SONGS"));

    index::ScanObserver quiet;
    const index::ScanTotals totals = index::scanDevice("usb", {mount}, quiet);
    EXPECT_EQ(totals.indexed, static_cast<std::size_t>(sample::kMinimumFiles));
    EXPECT_EQ(value("SELECT VALUE FROM STATUS"), "DONE");
    EXPECT_EQ(value("SELECT COUNT(*) FROM VIEW_SONGS"), std::to_string(sample::kMinimumFiles));
}

// A disk with little or no room left: the message names it, whether the database is to be made
// (the library reports only that it cannot validate the file) or only written, and nothing is
// deleted. A scan with nothing to write needs no room.
TEST_F(ReliabilityTest, NearlyFullDiskIsNamedAndNotTakenForAnInvalidDatabase) {
    struct Row {
        const char* name;
        bool existing;  // scanned before the disk fills
        bool changed;   // a file to write
        off_t free;
        int status;
    };
    const Row rows[] = {
        {"new database, 64 KiB free", false, false, 64 << 10, 1},
        {"new database, no room", false, false, 0, 1},
        {"a file to write, no room", true, true, 0, 1},
        {"nothing to write, no room", true, false, 0, 0},
    };
    const std::string added = mount + "/Added.mp3";
    for (const Row& row : rows) {
        const FullDisk disk(databaseDirectory());
        if (!disk.mounted()) {
            GTEST_SKIP() << "a tmpfs cannot be mounted here (not root)";
        }
        fs::remove(added);
        if (row.existing) {
            ASSERT_EQ(scan({mount}).status, 0) << row.name;
        }
        if (row.changed) {
            fs::copy_file(path(0), added);
        }
        disk.leave(row.free);
        const ProgramResult result = scan({mount});
        EXPECT_EQ(result.status, row.status) << row.name << "\n" << result.standardError;
        EXPECT_EQ(result.standardError.find("cannot be validated"), std::string::npos)
            << row.name << "\n"
            << result.standardError;
        if (row.status != 0) {
            EXPECT_NE(result.standardError.find("(database or disk is full"), std::string::npos)
                << row.name << "\n"
                << result.standardError;
        }
        if (!row.existing) {
            EXPECT_NE(result.standardError.find("64 KiB free"), row.free == 0) << row.name;
        }

        disk.empty();
        const ProgramResult next = scan({mount});
        EXPECT_EQ(next.status, 0) << row.name << "\n" << next.standardError;
        EXPECT_EQ(tracksShown(mount), std::to_string(sample::kMinimumFiles + (row.changed ? 1 : 0)))
            << row.name;
    }
}

// Deletes the database file, its journal or both, as another device's storage budget would, once
// the scan has written `afterFiles` files, or as its partition starts.
class Deleter : public index::ScanObserver {
public:
    Deleter(std::vector<std::string> files, int afterFiles)
        : files_(std::move(files)), afterFiles_(afterFiles) {}
    void partitionStarted(const std::string&) override {
        if (afterFiles_ < 0) {
            remove();
        }
    }
    void fileDone() override {
        if (afterFiles_ >= 0 && afterFiles_-- == 0) {
            remove();
        }
    }

private:
    void remove() const {
        for (const std::string& file : files_) {
            EXPECT_EQ(unlink(file.c_str()), 0) << file;
        }
    }
    std::vector<std::string> files_;
    int afterFiles_;
};

TEST_F(ReliabilityTest, DatabaseDeletedUnderTheScanEndsItAndTheNextScanMakesItAnew) {
    constexpr int kFiles = 100;
    const std::string big = tree.file("big");
    makeLibrary(big, kFiles);
    index::ScanOptions options;
    options.filesPerTransaction = 16;
    options.jobs = 1;
    struct Row {
        const char* name;
        std::vector<std::string> deleted;
        int afterFiles;  // -1: as the partition starts
        bool rescan;     // of an indexed tree: nothing to write
        const char* message;
    };
    const char* const fileDeleted =
        "the database file was deleted during the scan (another "
        "device's storage budget?): ";
    const char* const journalDeleted =
        "the journal of the database file was deleted during the "
        "scan (another device's storage budget?): ";
    const Row rows[] = {
        {"file, mid-way", {database()}, 40, false, fileDeleted},
        {"file and journal, mid-way", {database(), journal()}, 40, false, fileDeleted},
        {"journal, mid-way", {journal()}, 40, false, journalDeleted},
        {"file, in the last batch", {database()}, kFiles - 1, false, fileDeleted},
        {"journal, in the last batch", {journal()}, kFiles - 1, false, journalDeleted},
        {"file, nothing to write", {database()}, -1, true, fileDeleted},
    };
    index::ScanObserver quiet;
    for (const Row& row : rows) {
        removeTree(databaseDirectory());
        if (row.rescan) {
            index::scanDevice("usb", {big}, quiet, options);
        }
        Deleter deleter(row.deleted, row.afterFiles);
        try {
            index::scanDevice("usb", {big}, deleter, options);
            ADD_FAILURE() << row.name << ": the scan ended well";
        } catch (const index::DatabaseDeleted& error) {
            EXPECT_EQ(std::string(error.what()).rfind(row.message, 0), 0u)
                << row.name << ": " << error.what();
        } catch (const std::exception& error) {
            ADD_FAILURE() << row.name << ": " << error.what();
        }
        if (row.deleted.front() == database()) {
            // Nothing made a new, empty file in its place.
            EXPECT_FALSE(exists(database())) << row.name;
        } else {
            // The batches before stay; the one whose journal went was rolled back.
            EXPECT_EQ(value("PRAGMA integrity_check"), "ok") << row.name;
            EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS"), std::to_string(row.afterFiles / 16 * 16))
                << row.name;
        }
        const index::ScanTotals totals = index::scanDevice("usb", {big}, quiet, options);
        EXPECT_EQ(totals.indexed, static_cast<std::size_t>(kFiles)) << row.name;
        EXPECT_EQ(tracksShown(big), std::to_string(kFiles)) << row.name;
        EXPECT_EQ(value("SELECT VALUE FROM STATUS"), "DONE") << row.name;
    }
}

// The tracks stored, read on a connection of the test's own that waits for the scan's commits;
// -1 while the file is missing or has no tables.
int storedTracks(const std::string& file) {
    sqlite3* db = nullptr;
    int count = -1;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_busy_timeout(db, 10000);
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, "SELECT COUNT(*) FROM SONGS", -1, &statement, nullptr) ==
                SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW) {
            count = sqlite3_column_int(statement, 0);
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return count;
}

// The same through the program, from another process: once the first batch is committed the test
// deletes the file, far from the scan's end.
TEST_F(ReliabilityTest, DatabaseDeletedUnderTheProgramEndsItWithStatus1) {
    constexpr int kFiles = 1000;
    const std::string big = tree.file("big");
    makeLibrary(big, kFiles);
    ProgramResult result;
    std::thread scanning([&big, &result] {
        result =
            runProgram({TANGOR_INDEX, "scan", "--device", "usb", "--quiet", "--jobs", "1", big});
    });
    bool deleted = false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!deleted && std::chrono::steady_clock::now() < deadline) {
        if (storedTracks(database()) > 0) {
            deleted = unlink(database().c_str()) == 0;
            unlink(journal().c_str());  // when a batch is open
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    scanning.join();
    ASSERT_TRUE(deleted) << result.standardError;
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.standardError.find("tangor-index: device usb: the database file was deleted "
                                        "during the scan (another device's storage budget?): " +
                                        database()),
              std::string::npos)
        << result.standardError;
    EXPECT_FALSE(exists(database()));

    const ProgramResult next = scan({big});
    EXPECT_EQ(next.status, 0) << next.standardError;
    EXPECT_EQ(tracksShown(big), std::to_string(kFiles));
}

// Every state of the file that a reader could see during a rescan (one copy per write transaction,
// taken through SQLite's own file layer) shows every track of a partition that stays present.
TEST_F(ReliabilityTest, PresentPartitionNeverLeavesTheViewDuringARescan) {
    const std::string other = tree.file("other");
    makeLibrary(other, sample::kMinimumFiles);
    struct Row {
        const char* name;
        std::vector<std::string> before;
        std::vector<std::string> after;
        bool fileChanged;
    };
    const Row rows[] = {
        {"another partition gone", {mount, other}, {mount}, false},
        {"another partition named first", {mount}, {other, mount}, false},
        {"a file changed", {mount}, {mount}, true},
    };
    index::ScanObserver quiet;
    for (const Row& row : rows) {
        removeTree(databaseDirectory());
        index::scanDevice("usb", row.before, quiet);
        if (row.fileChanged) {
            const utimbuf later{1700000000, 1700000000};
            ASSERT_EQ(utime(path(1).c_str(), &later), 0);
        }
        const TempDir copies;
        std::vector<std::string> states;
        {
            const DatabaseWatch watch(database(), copies.path());
            index::scanDevice("usb", row.after, quiet);
            states = watch.snapshots();
            // The counts that show a rescan wrote nothing see these writes.
            EXPECT_GT(watch.writes(), 0) << row.name;
            EXPECT_GT(watch.syncs(), 0) << row.name;
        }
        EXPECT_FALSE(states.empty()) << row.name;
        for (const std::string& state : states) {
            EXPECT_EQ(tracksShown(mount, state), std::to_string(sample::kMinimumFiles))
                << row.name << ": " << state;
        }
        EXPECT_EQ(tracksShown(other), row.after.size() > 1 ? "12" : "0") << row.name;
    }
}

// Not a write, not a sync through SQLite, not a change of the file's times or mode, and nothing
// that a reader's data version would show: not even the set-up or the end of the scan.
TEST_F(ReliabilityTest, RescanThatFindsNothingChangedWritesNothing) {
    const std::string other = tree.file("other");
    makeLibrary(other, sample::kMinimumFiles);
    const std::vector<std::string> rows[] = {{mount}, {mount, other}};
    index::ScanObserver quiet;
    for (const std::vector<std::string>& mountPoints : rows) {
        removeTree(databaseDirectory());
        index::scanDevice("usb", mountPoints, quiet);
        struct stat before {};
        ASSERT_EQ(stat(database().c_str(), &before), 0);
        sqlite3* reader = nullptr;
        ASSERT_EQ(sqlite3_open(database().c_str(), &reader), SQLITE_OK);
        const std::string version = queryRows(reader, "PRAGMA data_version").front();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));  // past the times' grain
        {
            const DatabaseWatch watch(database(), "");
            const index::ScanTotals totals = index::scanDevice("usb", mountPoints, quiet);
            EXPECT_EQ(totals.written, 0u);
            EXPECT_EQ(watch.writes(), 0) << mountPoints.size();
            EXPECT_EQ(watch.syncs(), 0) << mountPoints.size();
            EXPECT_EQ(watch.transactions(), 0) << mountPoints.size();
        }
        EXPECT_EQ(queryRows(reader, "PRAGMA data_version").front(), version);
        sqlite3_close(reader);
        struct stat after {};
        ASSERT_EQ(stat(database().c_str(), &after), 0);
        EXPECT_EQ(after.st_size, before.st_size);
        EXPECT_EQ(after.st_mode, before.st_mode);
        EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
        EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec) << "no chmod, no write";
    }
}

// Old versions' concurrent scans left tracks stored twice: a scan keeps one row of each path, the
// one that matches the file (so nothing is read again), and deletes the others.
TEST_F(ReliabilityTest, DuplicateRowsOfAPathAreRepaired) {
    ASSERT_EQ(scan({mount}).status, 0);
    const std::string columns =
        "PARTITION_ID, PATH, OBJECTID, DIRECTORYID, NAME, TITLE, ARTISTID, ALBUMID, GENREID, "
        "COMPOSERID, AUDIOTYPE, BOOKMARK, LASTMODIFIED, TRACKIND, DISCNUM, ASIANTITLE";
    const auto duplicate = [&columns](const std::string& file) {
        execSql(database(), "INSERT INTO SONGS(" + columns + ") SELECT " + columns +
                                " FROM SONGS WHERE PATH = '" + file + "' COLLATE BINARY LIMIT 1");
    };
    duplicate(path(0));  // the copy comes after the row
    // The row that comes first has a time that is not the file's, the copy after it has.
    duplicate(path(3));
    execSql(database(),
            "UPDATE SONGS SET LASTMODIFIED = LASTMODIFIED - 1 WHERE ID = (SELECT "
            "MIN(ID) FROM SONGS WHERE PATH = '" +
                path(3) + "')");
    const std::string matching = value("SELECT MAX(ID) FROM SONGS WHERE PATH = '" + path(3) + "'");
    ASSERT_EQ(value("SELECT COUNT(*) - COUNT(DISTINCT PATH) FROM SONGS"), "2");

    index::ScanObserver quiet;
    const index::ScanTotals totals = index::scanDevice("usb", {mount}, quiet);
    EXPECT_EQ(totals.written, 0u) << "the matching rows are kept, not written again";
    EXPECT_EQ(totals.indexed, static_cast<std::size_t>(sample::kMinimumFiles));
    EXPECT_EQ(value("SELECT COUNT(*) - COUNT(DISTINCT PATH) FROM SONGS"), "0");
    EXPECT_EQ(value("SELECT ID FROM SONGS WHERE PATH = '" + path(3) + "'"), matching);
    EXPECT_EQ(tracksShown(mount), std::to_string(sample::kMinimumFiles));
}

// The set-up's knowledge of the library, kept beside its own copy: the budget that createDb
// enforces, and the tables, indexes and views that it makes.
TEST_F(ReliabilityTest, SetUpKnowsTheLibrarysBudgetAndSchema) {
    EXPECT_EQ(index::kStorageBudget, corvina::kStorageBudget);
    corvina::DatabaseMgr().createDb("fresh", mount, true);
    std::vector<std::string> expected(std::begin(index::kSchemaObjects),
                                      std::end(index::kSchemaObjects));
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(
        queryRows(databaseDirectory() + "fresh.tangor",
                  "SELECT name FROM sqlite_master WHERE name NOT LIKE 'sqlite%' ORDER BY name"),
        expected);
}

TEST_F(ReliabilityTest, ZeroFilledStartIsNotAskedOfTagLibAndTheFileIsIndexedFromItsName) {
    struct Row {
        const char* name;
        off_t zeros;
        bool lastHeadByteSet;  // the last byte of the head is not zero
        bool notAudio;         // else TagLib decides
    };
    const off_t head = static_cast<off_t>(index::kAudioHeadBytes);
    const Row rows[] = {
        {"one-byte.mp3", 1, false, true},
        {"head-only.mp3", head, false, true},
        {"large.mp3", off_t{1} << 30, false, true},  // sparse, 1 GiB
        {"large.ogg", off_t{1} << 30, false, true},
        {"byte-in-head.mp3", head, true, false},
        {"empty.mp3", 0, false, false},
    };
    for (const Row& row : rows) {
        const std::string path = tree.file(row.name);
        makeZeroFile(path, row.zeros);
        if (row.lastHeadByteSet) {
            const int fd = open(path.c_str(), O_WRONLY);
            ASSERT_GE(fd, 0);
            EXPECT_EQ(pwrite(fd, "\x01", 1, head - 1), 1);
            close(fd);
        }
        index::Tags tags;
        EXPECT_EQ(index::readTags(path, tags) == index::TagResult::NotAudio, row.notAudio)
            << row.name;
    }
    index::Tags tags;
    EXPECT_EQ(index::readTags(path(0), tags), index::TagResult::Read);

    // Such a file in a scan is indexed from its name, with a warning.
    makeZeroFile(path("Zeros.mp3"), off_t{256} << 20);
    const ProgramResult result = scan({mount});
    EXPECT_EQ(result.status, 0) << result.standardError;
    EXPECT_NE(result.standardError.find("Zeros.mp3: its first 64 KiB are zero bytes"),
              std::string::npos)
        << result.standardError;
    EXPECT_EQ(value("SELECT TITLE FROM SONGS WHERE PATH = '" + path("Zeros.mp3") + "'"), "Zeros");
}

// Nothing the scan leaves out goes unsaid: a link that leaves the partition (here to the indexer's
// own memory; the walk's test has links to files and folders beside the partition) is not
// followed, and what lies past the limits is not indexed; each is a warning naming it and counts
// as skipped.
TEST_F(ReliabilityTest, WhatTheScanLeavesOutIsNamedAndCounted) {
    fs::create_symlink("/proc/self/mem", mount + "/memory.mp3");
    std::string tooDeep = mount + "/deep";
    for (int depth = 1; depth <= index::WalkLimits().maxDepth; ++depth) {
        tooDeep += "/d";
    }
    fs::create_directories(tooDeep);
    writeFile(tooDeep + "/song.mp3", "x");
    std::string entries;
    for (std::size_t i = 0; i <= index::PlaylistLimits().maxEntries; ++i) {
        entries += "song.mp3\n";
    }
    writeFile(mount + "/long.m3u", entries);
    const std::string nearlyFull = makeNearlyFullFolder(mount);
    writeFile(nearlyFull + "/fits.mp3", "x");
    const std::string longName(250, 'e');
    makeInFolder(nearlyFull, longName, true);
    makeInFolder(nearlyFull, longName + ".mp3", false);

    Notices observer;
    const index::ScanTotals totals = index::scanDevice("usb", {mount}, observer);
    struct Row {
        std::string path;
        const char* problem;
    };
    const Row rows[] = {
        {mount + "/memory.mp3", "link leaves the partition; not followed"},
        {tooDeep, "folder more than 64 levels below the mount point; skipped"},
        {mount + "/long.m3u", "playlist has more than 10000 entries; the rest are left out"},
        {nearlyFull + "/" + longName, "path longer than 4095 bytes; skipped"},
        {nearlyFull + "/" + longName + ".mp3", "path longer than 4095 bytes; skipped"},
    };
    for (const Row& row : rows) {
        const std::string expected = row.path + ": " + row.problem;
        EXPECT_EQ(std::count(observer.warnings.begin(), observer.warnings.end(), expected), 1)
            << expected;
    }
    EXPECT_EQ(totals.skipped, std::size(rows));
    EXPECT_EQ(totals.unreadable, 0u);
    EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS"), std::to_string(sample::kMinimumFiles + 1));
    EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS WHERE PATH = '" + nearlyFull + "/fits.mp3'"), "1");
}

}  // namespace

}  // namespace tangor::test
