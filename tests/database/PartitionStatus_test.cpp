#include <gtest/gtest.h>

#include <string>

#include "support/DatabaseTest.h"

namespace tangor::test {

namespace {

class StatusTest : public DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        mgr.createDb("usb1", "/mnt/a", true);
        log.clear();
    }
};

TEST_F(StatusTest, TheLastValueWrittenForExactlyThatMountPointIsReadBack) {
    mgr.insertStatus("usb1", "/mnt/a", "A");
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{"insertStatus: devId usb1 mountPoint /mnt/a",
                                                kTimeout, "insertStatus /mnt/a: A"}));
    mgr.insertStatus("usb1", "/mnt/a", "B");
    mgr.insertStatus("usb1", "/MNT/A", "upper");
    sqlstl::sqlostream os;
    ASSERT_TRUE(mgr.open("usb1", os, 3600000));
    // The stream form binds quotes and percent signs as data, on the caller's connection.
    mgr.insertStatus(os, "/mnt/it's \"x\" %s", "50% done");
    EXPECT_EQ(os.stmt, nullptr);
    EXPECT_TRUE(os.good());
    os.close();
    log.clear();

    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/a"), "B");
    EXPECT_EQ(
        log.messages(DLT_LOG_INFO),
        (Rows{kTimeout, "getStatus: SELECT VALUE FROM STATUS WHERE MOUNTPOINT = \"/mnt/a\";"}));
    EXPECT_EQ(mgr.getStatus("usb1", "/Mnt/A"), "");
    EXPECT_EQ(table("SELECT * FROM STATUS ORDER BY VALUE"),
              (Rows{"/mnt/it's \"x\" %s|" + idOf("/mnt/it's \"x\" %s") + "|50% done",
                    "/mnt/a|" + idOf("/mnt/a") + "|B", "/MNT/A|" + idOf("/MNT/A") + "|upper"}));
    EXPECT_TRUE(log.messages(DLT_LOG_ERROR).empty());
}

// Only the first statement of the text runs, so a mount point can break it but not add another.
TEST_F(StatusTest, NoMountPointChangesTheDatabase) {
    const std::string dump = "SELECT * FROM sqlite_master, STATUS";
    const Rows before = table(dump);
    mgr.getStatus("usb1", "x\"; DELETE FROM STATUS; DROP TABLE SONGS; --");
    EXPECT_EQ(table(dump), before);
    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/\"a"), "");
    EXPECT_EQ(log.messages(DLT_LOG_ERROR),
              (Rows{"exec failed: 1 near \"a\": syntax error", "step failed"}));
}

TEST_F(StatusTest, RemovalRunsOnTheDeviceDatabaseAllOrNothing) {
    mgr.insertStatus("usb1", "/mnt/b", "B");  // /mnt/b is not present
    log.clear();
    mgr.removeDanglingPartitions("usb1", "/mnt/b");  // the mount point is only logged
    EXPECT_EQ(table("SELECT MOUNTPOINT FROM STATUS"), Rows{"/mnt/a"});
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{"removeDanglingPartitions /mnt/b", kTimeout}));

    mgr.insertStatus("usb1", "/mnt/b", "B");
    execSql(dbPath("usb1"), "DROP TABLE DIRECTORIES;");  // its rows go last
    mgr.removeDanglingPartitions("usb1", "/mnt/a");
    EXPECT_EQ(log.messages(DLT_LOG_ERROR), Rows{"exec failed: 1 no such table: DIRECTORIES"});
    EXPECT_EQ(table("SELECT count(*) FROM STATUS"), Rows{"2"});
}

TEST_F(StatusTest, AnUnopenableDatabaseThrowsFromEveryOperation) {
    removeTree(databaseDirectory());
    writeFile(root() + "/var/opt/tangor", "");  // a file where the directory should be
    EXPECT_EQ(errorOf([&] { mgr.getStatus("usb1", "/mnt/a"); }), "cannot open db");
    EXPECT_EQ(errorOf([&] { mgr.insertStatus("usb1", "/mnt/a", "A"); }), "cannot open db");
    EXPECT_EQ(errorOf([&] { mgr.createDb("usb1", "/mnt/a", true); }), "cannot open db");
    EXPECT_EQ(errorOf([&] { mgr.removeDanglingPartitions("usb1", "/mnt/a"); }), "cannot open db");
    EXPECT_EQ(log.messages(DLT_LOG_WARN), Rows(4, "error opening db: " + dbPath("usb1")));
}

}  // namespace

}  // namespace tangor::test
