#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "database/DatabaseTest.h"

namespace {

using namespace tangor::test;
using Lines = std::vector<std::string>;

using FilesTest = DatabaseTest;

TEST_F(FilesTest, NameAndDirectory) {
    removeTree(databaseDirectory());
    EXPECT_EQ(mgr.getDbNameFromDevId(""), databaseDirectory() + ".tangor");
    EXPECT_EQ(mgr.getDbNameFromDevId("usb1").substr(root().size()), "/var/opt/tangor/usb1.tangor");
    EXPECT_FALSE(exists(databaseDirectory()));

    const mode_t saved = umask(022);
    EXPECT_EQ(mgr.createDirectory(), 0);
    EXPECT_EQ(mgr.createDirectory(), 0);
    umask(saved);
    EXPECT_EQ(fileMode(databaseDirectory()), 0744u);
    EXPECT_EQ(log.lines(), Lines{"INFO Create directory " + databaseDirectory()});
}

TEST_F(FilesTest, DeleteAndSyncOfPresentAndMissingFiles) {
    writeFile(dbPath("usb1"), "x");
    chmod(dbPath("usb1").c_str(), 0600);
    mgr.sync("usb1");
    EXPECT_EQ(fileMode(dbPath("usb1")), 0777u);
    mgr.deleteDb("usb1");
    mgr.deleteDb("usb1");
    mgr.sync("usb1");
    EXPECT_FALSE(exists(dbPath("usb1")));
    const std::string deleted = "INFO deleteDb " + dbPath("usb1");
    EXPECT_EQ(log.lines(), (Lines{"INFO sync 0", "INFO chmod 0", deleted, deleted, "INFO sync -1",
                                  "INFO chmod -1"}));
}

TEST_F(FilesTest, ResetRemovesEveryNameContainingTheExtensionInAnyCase) {
    const Lines databases = {"usb1.tangor", "a.TANGOR", "x.tangor.bak", ".tangor"};
    for (const std::string& name : databases) {
        writeFile(databaseDirectory() + name, "x");
    }
    writeFile(databaseDirectory() + "notes.txt", "keep");
    std::filesystem::create_directory(databaseDirectory() + "folder.tangor");  // cannot be unlinked

    mgr.reset();

    Lines lines = log.lines();
    ASSERT_EQ(lines.size(), databases.size() + 2);
    EXPECT_EQ(lines.front(), "INFO reset");
    EXPECT_EQ(lines.back(), "INFO reset DONE");
    Lines expected;
    for (const std::string& name : databases) {
        EXPECT_FALSE(exists(databaseDirectory() + name)) << name;
        expected.push_back("INFO unlink " + databaseDirectory() + name);
    }
    lines = Lines(lines.begin() + 1, lines.end() - 1);
    std::sort(lines.begin(), lines.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(lines, expected);
    EXPECT_TRUE(exists(databaseDirectory() + "notes.txt"));

    removeTree(databaseDirectory());
    log.clear();
    mgr.reset();
    EXPECT_EQ(log.lines(),
              (Lines{"INFO reset", "ERROR ERROR opening dir: " + databaseDirectory()}));
    EXPECT_FALSE(exists(databaseDirectory()));
}

TEST_F(FilesTest, OpenSetsTheBusyTimeout) {
    sqlstl::sqlistream stream;
    EXPECT_TRUE(mgr.open("usb1", stream, 3600000));
    EXPECT_EQ(tangor::test::queryRows(stream.db, "PRAGMA busy_timeout;"), Lines{"3600000"});
    EXPECT_EQ(log.lines(), Lines{"INFO Set timeout to 3600000 ms"});
}

TEST_F(FilesTest, DeviceIdThatWouldNameAnotherFileIsRefused) {
    std::filesystem::create_directory(databaseDirectory() + "sub");
    const std::string other = databaseDirectory() + "sub/x.tangor";
    writeFile(other, "keep");
    chmod(other.c_str(), 0600);
    for (const std::string& devId : {std::string("sub/x"), std::string("sub\0x", 5)}) {
        log.clear();
        sqlstl::sqlostream stream;
        EXPECT_THROW(mgr.open(devId, stream, 3600000), std::runtime_error);
        mgr.deleteDb(devId);
        mgr.sync(devId);
        EXPECT_EQ(log.messages(DLT_LOG_WARN).size(), 3u);
        EXPECT_TRUE(log.messages(DLT_LOG_INFO).empty());
    }
    EXPECT_EQ(fileMode(other), 0600u);
    EXPECT_FALSE(exists(databaseDirectory() + "sub.tangor"));
}

TEST_F(FilesTest, RecordsNameTheFullSignatureWhenAsked) {
    logPrettyFunction = 1;
    mgr.deleteDb("usb1");
    logPrettyFunction = 0;
    mgr.deleteDb("usb1");
    const std::vector<LogRecord> records = log.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].function, "void corvina::DatabaseMgr::deleteDb(const std::string&)");
    EXPECT_EQ(records[1].function, "deleteDb");
}

}  // namespace
