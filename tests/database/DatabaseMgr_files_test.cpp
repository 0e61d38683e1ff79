#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/DatabaseTest.h"

namespace tangor::test {

namespace {

using FilesTest = DatabaseTest;

TEST_F(FilesTest, NameDirectoryAndOpen) {
    removeTree(databaseDirectory());
    EXPECT_EQ(mgr.getDbNameFromDevId("usb1").substr(root().size()), "/var/opt/tangor/usb1.tangor");
    EXPECT_FALSE(exists(databaseDirectory()));

    const mode_t saved = umask(022);
    EXPECT_EQ(mgr.createDirectory(), 0);
    EXPECT_EQ(mgr.createDirectory(), 0);
    umask(saved);
    EXPECT_EQ(fileMode(databaseDirectory()), 0744u);
    removeTree(databaseDirectory());
    sqlstl::sqlistream stream;
    EXPECT_TRUE(mgr.open("usb1", stream, 25));  // makes the directory first
    EXPECT_TRUE(exists(dbPath("usb1")));
    const std::string created = "INFO Create directory " + databaseDirectory();
    EXPECT_EQ(log.lines(), (Rows{created, created, "INFO Set timeout to 25 ms"}));
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
    EXPECT_EQ(log.lines(), (Rows{"INFO sync 0", "INFO chmod 0", deleted, deleted, "INFO sync -1",
                                 "INFO chmod -1"}));
}

TEST_F(FilesTest, ResetRemovesEveryNameContainingTheExtensionInAnyCase) {
    for (const char* name : {"usb1.tangor", "a.TANGOR", "x.tangor.bak", ".tangor"}) {
        writeFile(databaseDirectory() + name, "x");
    }
    writeFile(databaseDirectory() + "notes.txt", "keep");
    std::filesystem::create_directory(databaseDirectory() + "folder.tangor");  // cannot be unlinked

    mgr.reset();

    Rows lines = log.lines();  // unlinks in the directory's order, each once its file is gone
    ASSERT_EQ(lines.size(), 6u);
    std::sort(lines.begin() + 1, lines.end() - 1);
    const std::string unlink = "INFO unlink " + databaseDirectory();
    EXPECT_EQ(lines, (Rows{"INFO reset", unlink + ".tangor", unlink + "a.TANGOR",
                           unlink + "usb1.tangor", unlink + "x.tangor.bak", "INFO reset DONE"}));
    EXPECT_TRUE(exists(databaseDirectory() + "notes.txt"));

    removeTree(databaseDirectory());
    log.clear();
    mgr.reset();
    EXPECT_EQ(log.lines(), (Rows{"INFO reset", "ERROR ERROR opening dir: " + databaseDirectory()}));
    EXPECT_FALSE(exists(databaseDirectory()));
}

TEST_F(FilesTest, DeviceIdThatWouldNameAnotherFileIsRefused) {
    std::filesystem::create_directory(databaseDirectory() + "sub");
    const std::string other = databaseDirectory() + "sub/x.tangor";
    writeFile(other, "keep");
    chmod(other.c_str(), 0600);
    for (const std::string& devId : {std::string("sub/x"), std::string("sub\0x", 5)}) {
        log.clear();
        sqlstl::sqlostream stream;
        EXPECT_EQ(errorOf([&] { mgr.open(devId, stream, 0); }), "cannot open db");
        mgr.deleteDb(devId);
        mgr.sync(devId);
        const std::string shown = dbPath(devId).c_str();  // %s stops at a NUL
        EXPECT_EQ(log.lines(), (Rows{"WARN error opening db: " + shown,
                                     "WARN deleteDb refused for device id " + shown,
                                     "WARN sync refused for device id " + shown}));
    }
    EXPECT_EQ(fileMode(other), 0600u);
    EXPECT_FALSE(exists(databaseDirectory() + "sub.tangor"));
}

}  // namespace

}  // namespace tangor::test
