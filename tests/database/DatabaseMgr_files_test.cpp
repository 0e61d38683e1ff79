#include <tangor/database/DatabaseMgr.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace {

using corvina::DatabaseMgr;
using tangor::test::exists;
using tangor::test::fileMode;
using tangor::test::FixedPathsTest;
using tangor::test::LogCapture;
using tangor::test::writeFile;

const std::string kBusyTimeoutRecord = "INFO Set timeout to 3600000 ms";

class DatabaseFilesTest : public FixedPathsTest {
protected:
    std::string dir() const { return databaseDirectory(); }
    std::string dbPath(const std::string& devId) const { return dir() + devId + ".tangor"; }
    void makeDirectory() { std::filesystem::create_directories(dir()); }

    DatabaseMgr mgr;
    LogCapture log;
};

// Restores the process's file-creation mask.
class UmaskScope {
public:
    explicit UmaskScope(mode_t mask) : saved_(umask(mask)) {}
    ~UmaskScope() { umask(saved_); }

private:
    mode_t saved_;
};

TEST_F(DatabaseFilesTest, NameIsDirectoryThenIdThenExtensionWithoutFileAccess) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"usb1", "usb1.tangor"},
        {"", ".tangor"},
        {"Dev 2.x", "Dev 2.x.tangor"},
    };
    for (const auto& [devId, name] : cases) {
        EXPECT_EQ(mgr.getDbNameFromDevId(devId), dir() + name) << devId;
    }
    EXPECT_EQ(mgr.getDbNameFromDevId("usb1").substr(root().size()), "/var/opt/tangor/usb1.tangor");
    EXPECT_FALSE(exists(dir()));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(DatabaseFilesTest, CreateDirectoryMakesItOnceWithModeLessTheMask) {
    const std::vector<std::pair<mode_t, unsigned>> cases = {{0, 0766}, {022, 0744}, {077, 0700}};
    for (const auto& [mask, mode] : cases) {
        tangor::test::removeTree(dir());
        log.clear();
        UmaskScope scope(mask);
        EXPECT_EQ(mgr.createDirectory(), 0);
        EXPECT_EQ(fileMode(dir()), mode) << "umask " << mask;
        EXPECT_EQ(mgr.createDirectory(), 0);
        EXPECT_EQ(log.lines(), std::vector<std::string>{"INFO Create directory " + dir()});
    }
}

TEST_F(DatabaseFilesTest, CreateDirectoryNeverFails) {
    // The directory is named with its trailing slash, so a regular file in its place does not
    // count as present; mkdir then fails and the later open reports it.
    writeFile(root() + "/var/opt/tangor", "not a directory");
    EXPECT_EQ(mgr.createDirectory(), 0);
    EXPECT_TRUE(std::filesystem::is_regular_file(root() + "/var/opt/tangor"));
    tangor::test::removeTree(root() + "/var");
    EXPECT_EQ(mgr.createDirectory(), 0);
    EXPECT_FALSE(exists(dir()));
    const std::string record = "INFO Create directory " + dir();
    EXPECT_EQ(log.lines(), (std::vector<std::string>{record, record}));
}

TEST_F(DatabaseFilesTest, DeleteDbRemovesTheFileAndIgnoresAMissingOne) {
    makeDirectory();
    writeFile(dbPath("usb1"), "x");
    writeFile(dbPath("usb2"), "x");
    mgr.deleteDb("usb1");
    mgr.deleteDb("usb1");
    EXPECT_FALSE(exists(dbPath("usb1")));
    EXPECT_TRUE(exists(dbPath("usb2")));
    const std::string record = "INFO deleteDb " + dbPath("usb1");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{record, record}));
}

TEST_F(DatabaseFilesTest, SyncFlushesAndOpensUpPermissions) {
    makeDirectory();
    writeFile(dbPath("usb1"), "x");
    chmod(dbPath("usb1").c_str(), 0600);
    mgr.sync("usb1");
    EXPECT_EQ(fileMode(dbPath("usb1")), 0777u);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"INFO sync 0", "INFO chmod 0"}));
}

TEST_F(DatabaseFilesTest, SyncOfMissingFileReportsMinusOneTwiceAndCreatesNothing) {
    makeDirectory();
    mgr.sync("usb1");
    EXPECT_FALSE(exists(dbPath("usb1")));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"INFO sync -1", "INFO chmod -1"}));
}

TEST_F(DatabaseFilesTest, ResetRemovesEveryNameContainingTheExtensionInAnyCase) {
    makeDirectory();
    const std::vector<std::string> databases = {"usb1.tangor", "a.TANGOR", "x.tangor.bak",
                                                ".tangor", "MiXeD.TaNgOr-journal"};
    for (const std::string& name : databases) {
        writeFile(dir() + name, "x");
    }
    writeFile(dir() + "notes.txt", "keep");
    writeFile(dir() + "tangor", "keep");
    // A directory matches the name, cannot be unlinked, and is passed over silently.
    std::filesystem::create_directory(dir() + "folder.tangor");

    mgr.reset();

    for (const std::string& name : databases) {
        EXPECT_FALSE(exists(dir() + name)) << name;
    }
    EXPECT_TRUE(exists(dir() + "notes.txt"));
    EXPECT_TRUE(exists(dir() + "tangor"));
    EXPECT_TRUE(exists(dir() + "folder.tangor"));

    std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), databases.size() + 2);
    EXPECT_EQ(lines.front(), "INFO reset");
    EXPECT_EQ(lines.back(), "INFO reset DONE");
    std::vector<std::string> unlinked(lines.begin() + 1, lines.end() - 1);
    std::vector<std::string> expected;
    for (const std::string& name : databases) {
        expected.push_back("INFO unlink " + dir() + name);
    }
    std::sort(unlinked.begin(), unlinked.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(unlinked, expected);
}

TEST_F(DatabaseFilesTest, ResetWithoutDirectoryReportsAndDoesNotMakeIt) {
    mgr.reset();
    EXPECT_FALSE(exists(dir()));
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"INFO reset", "ERROR ERROR opening dir: " + dir()}));
}

template <typename Stream>
class DatabaseOpenTest : public DatabaseFilesTest {};

using StreamTypes = ::testing::Types<sqlstl::sqlistream, sqlstl::sqlostream>;
TYPED_TEST_SUITE(DatabaseOpenTest, StreamTypes);

TYPED_TEST(DatabaseOpenTest, MakesDirectoryAndOpensWithTheBusyTimeout) {
    TypeParam stream;
    EXPECT_TRUE(this->mgr.open("usb1", stream, 3600000));
    EXPECT_NE(stream.db, nullptr);
    EXPECT_EQ(tangor::test::queryRows(stream.db, "PRAGMA busy_timeout;"),
              std::vector<std::string>{"3600000"});
    EXPECT_EQ(this->log.lines(), (std::vector<std::string>{"INFO Create directory " + this->dir(),
                                                           kBusyTimeoutRecord}));
    stream.close();
    EXPECT_TRUE(exists(this->dbPath("usb1")));
}

TYPED_TEST(DatabaseOpenTest, UnopenableFileWarnsAndThrows) {
    // A regular file where the directory should be: meaningful for root as well, who may write
    // into any directory.
    writeFile(this->root() + "/var/opt/tangor", "");
    TypeParam stream;
    try {
        this->mgr.open("usb1", stream, 3600000);
        FAIL() << "open did not throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "cannot open db");
    }
    EXPECT_EQ(stream.db, nullptr);
    EXPECT_EQ(this->log.lines(),
              (std::vector<std::string>{"INFO Create directory " + this->dir(),
                                        "WARN error opening db: " + this->dbPath("usb1")}));
}

TEST_F(DatabaseFilesTest, DeviceIdThatWouldNameAnotherFileIsRefused) {
    makeDirectory();
    std::filesystem::create_directory(dir() + "sub");
    writeFile(dir() + "sub/x.tangor", "keep");
    chmod((dir() + "sub/x.tangor").c_str(), 0600);
    const std::vector<std::string> devIds = {"sub/x", "../tangor/sub/x", std::string("sub\0x", 5),
                                             "/"};
    for (const std::string& devId : devIds) {
        log.clear();
        sqlstl::sqlostream stream;
        EXPECT_THROW(mgr.open(devId, stream, 3600000), std::runtime_error);
        EXPECT_EQ(stream.db, nullptr);
        // The record's %s ends at a NUL byte, as the path text does for every C caller.
        const std::string shownPath = mgr.getDbNameFromDevId(devId).c_str();
        EXPECT_EQ(log.lines(), std::vector<std::string>{"WARN error opening db: " + shownPath});

        log.clear();
        mgr.deleteDb(devId);
        mgr.sync(devId);
        EXPECT_EQ(log.messages(DLT_LOG_WARN).size(), 2u) << devId;
        EXPECT_TRUE(log.messages(DLT_LOG_INFO).empty()) << devId;
    }
    EXPECT_TRUE(exists(dir() + "sub/x.tangor"));
    // sync would have opened its permissions up to 0777.
    EXPECT_EQ(fileMode(dir() + "sub/x.tangor"), 0600u);
    EXPECT_FALSE(exists(dir() + "sub.tangor"));
}

TEST_F(DatabaseFilesTest, RefusedDeviceIdDoesNotMakeTheDirectory) {
    sqlstl::sqlistream stream;
    EXPECT_THROW(mgr.open("a/b", stream, 3600000), std::runtime_error);
    EXPECT_FALSE(exists(dir()));
}

TEST_F(DatabaseFilesTest, RecordsNameTheFullSignatureWhenAsked) {
    makeDirectory();
    logPrettyFunction = 1;
    mgr.deleteDb("usb1");
    logPrettyFunction = 0;
    mgr.deleteDb("usb1");
    const std::vector<LogRecord> records = log.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].function, "deleteDb");
    EXPECT_NE(records[0].function.find("DatabaseMgr::deleteDb"), std::string::npos);
}

}  // namespace
