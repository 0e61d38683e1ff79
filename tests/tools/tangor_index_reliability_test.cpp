// What must hold when a scan meets more than its input: a second scan of the same device, mount
// points whose names are SQL, a disk that fills up, files that are not what their names say, links
// out of the partition and what lies beyond the limits.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "AudioHead.h"
#include "SampleLayout.h"
#include "ScanLock.h"
#include "Scanner.h"
#include "TagReader.h"
#include "WriteBatch.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;

class ReliabilityTest : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        mount = tree.file("usb");
        makeLibrary(mount, sample::kMinimumFiles);
    }

    static void makeLibrary(const std::string& folder, int files) {
        const ProgramResult made =
            runProgram({TANGOR_MAKE_SAMPLE_LIBRARY, folder, "--files", std::to_string(files)});
        ASSERT_EQ(made.status, 0) << made.standardError;
    }

    static std::string database() { return databaseDirectory() + "usb.tangor"; }

    static ProgramResult scan(const std::vector<std::string>& mountPoints) {
        std::vector<std::string> command = {TANGOR_INDEX, "scan", "--device", "usb", "--quiet"};
        command.insert(command.end(), mountPoints.begin(), mountPoints.end());
        return runProgram(command);
    }

    static std::string value(const std::string& sql) {
        const std::vector<std::string> rows = queryRows(database(), sql);
        return rows.empty() ? "<no row>" : rows.front();
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

    TempDir tree;
    std::string mount;
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

TEST_F(ReliabilityTest, ZeroFilledStartIsNotAskedOfTagLib) {
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
    EXPECT_EQ(index::readTags(mount + "/" + sample::audioFile(0).path, tags),
              index::TagResult::Read);
}

TEST_F(ReliabilityTest, ZeroFilledFileIsIndexedFromItsNameWithAWarning) {
    makeZeroFile(mount + "/Zeros.mp3", off_t{256} << 20);
    const ProgramResult result = scan({mount});
    EXPECT_EQ(result.status, 0) << result.standardError;
    EXPECT_NE(result.standardError.find("Zeros.mp3: its first 64 KiB are zero bytes"),
              std::string::npos)
        << result.standardError;
    EXPECT_EQ(value("SELECT TITLE FROM SONGS WHERE PATH = '" + mount + "/Zeros.mp3'"), "Zeros");
}

// Nothing the scan leaves out goes unsaid: links that leave the partition (a file beside it whose
// name starts like it, a folder, the indexer's own memory) are not followed, and what lies past the
// limits is not indexed; each is a warning naming it and counts as skipped.
TEST_F(ReliabilityTest, WhatTheScanLeavesOutIsNamedAndCounted) {
    writeFile(tree.file("usb.mp3"), "x");
    fs::create_directories(tree.file("elsewhere"));
    writeFile(tree.file("elsewhere/song.mp3"), "x");
    fs::create_symlink(tree.file("usb.mp3"), mount + "/outside.mp3");
    fs::create_directory_symlink("../elsewhere", mount + "/outside");
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
        {mount + "/outside.mp3", "link leaves the partition; not followed"},
        {mount + "/outside", "link leaves the partition; not followed"},
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
