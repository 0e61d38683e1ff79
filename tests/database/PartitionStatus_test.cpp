#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "database/DatabaseTest.h"

namespace {

using namespace tangor::test;
using Rows = std::vector<std::string>;

class StatusTest : public DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        mgr.createDb("usb1", "/mnt/a", true);
        log.clear();
    }

    Rows table(const std::string& sql) { return queryRows(dbPath("usb1"), sql); }

    void addRowsOf(const std::string& mountPoint) {
        const std::string id = "'" + idOf(mountPoint) + "'";
        execSql(dbPath("usb1"), "INSERT INTO SONGS VALUES (NULL," + id +
                                    ",'p','o','d','n','t','ar','al','g','c',1,0,0,0,0,NULL);"
                                    "INSERT INTO PLAYLISTS VALUES (NULL," +
                                    id +
                                    ",'pp','pi','pn','tp','ti',1,0);"
                                    "INSERT INTO DIRECTORIES VALUES (NULL," +
                                    id + ",'p','n'," + id + ",'x');");
    }
};

TEST_F(StatusTest, TheLastValueWrittenForExactlyThatMountPointIsReadBack) {
    mgr.insertStatus("usb1", "/mnt/a", "A");
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{"insertStatus: devId usb1 mountPoint /mnt/a",
                                                kTimeout, "insertStatus /mnt/a: A"}));
    mgr.insertStatus("usb1", "/mnt/a", "B");
    mgr.insertStatus("usb1", "/MNT/A", "upper");
    log.clear();

    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/a"), "B");
    EXPECT_EQ(
        log.messages(DLT_LOG_INFO),
        (Rows{kTimeout, "getStatus: SELECT VALUE FROM STATUS WHERE MOUNTPOINT = \"/mnt/a\";"}));
    EXPECT_EQ(mgr.getStatus("usb1", "/MNT/A"), "upper");
    EXPECT_EQ(mgr.getStatus("usb1", "/Mnt/A"), "");
    EXPECT_EQ(table("SELECT * FROM STATUS WHERE MOUNTPOINT = '/mnt/a'"),
              Rows{"/mnt/a|" + idOf("/mnt/a") + "|B"});
    EXPECT_TRUE(log.messages(DLT_LOG_ERROR).empty());
}

TEST_F(StatusTest, TheStreamFormBindsQuotesAndPercentSignsAsData) {
    sqlstl::sqlostream os;
    mgr.open("usb1", os, 3600000);
    mgr.insertStatus(os, "/mnt/it's \"x\" %s", "50% done");
    EXPECT_EQ(os.stmt, nullptr);
    EXPECT_TRUE(os.good());
    os.close();
    EXPECT_EQ(table("SELECT MOUNTPOINT FROM STATUS WHERE VALUE = '50% done'"),
              Rows{"/mnt/it's \"x\" %s"});
}

TEST_F(StatusTest, NoMountPointChangesTheDatabase) {
    addRowsOf("/mnt/a");
    const std::string dump = "SELECT * FROM sqlite_master, SONGS, STATUS, PARTITION_PRESENCE";
    const Rows before = table(dump);
    for (const char* mountPoint :
         {"x\"; DELETE FROM STATUS; --", "x\" OR 1=1; UPDATE STATUS SET VALUE='hacked'; --",
          "\"); INSERT INTO STATUS VALUES ('a','b','c'); --", "x\"; DROP TABLE SONGS; --",
          "x\"; ATTACH DATABASE 'evil' AS evil; --", "\""}) {
        mgr.getStatus("usb1", mountPoint);
        EXPECT_EQ(table(dump), before) << mountPoint;
    }
    log.clear();
    // A quote that breaks the statement: both errors, and no status.
    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/\"a"), "");
    const Rows errors = log.messages(DLT_LOG_ERROR);
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].rfind("exec failed: 1 ", 0), 0u) << errors[0];
    EXPECT_EQ(errors[1], "step failed");
}

TEST_F(StatusTest, RemovalKeepsExactlyThePresentPartitionsAllOrNothing) {
    mgr.createDb("usb1", "/mnt/b", false);
    mgr.insertStatus("usb1", "/mnt/c", "C");
    for (const char* mountPoint : {"/mnt/a", "/mnt/b", "/mnt/c"}) {
        addRowsOf(mountPoint);
    }
    execSql(dbPath("usb1"), "INSERT INTO ARTISTS VALUES ('x', 'artist', NULL);");
    mgr.createDb("usb1", "/mnt/a", true);  // only /mnt/a is present now
    log.clear();

    mgr.removeDanglingPartitions("usb1", "/mnt/b");  // the mount point is only logged

    const std::string a = idOf("/mnt/a");
    EXPECT_EQ(
        table("SELECT (SELECT group_concat(PARTITION_ID) FROM SONGS), "
              "(SELECT group_concat(PARTITION_ID) FROM PLAYLISTS), "
              "(SELECT group_concat(PARTITION_ID) FROM DIRECTORIES), "
              "(SELECT group_concat(MOUNTPOINT) FROM STATUS), (SELECT count(*) FROM ARTISTS)"),
        Rows{a + "|" + a + "|" + a + "|/mnt/a|1"});
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{"removeDanglingPartitions /mnt/b", kTimeout}));

    execSql(dbPath("usb1"), "DELETE FROM PARTITION_PRESENCE; DROP TABLE DIRECTORIES;");
    mgr.removeDanglingPartitions("usb1", "/mnt/a");
    EXPECT_EQ(log.messages(DLT_LOG_ERROR), Rows{"exec failed: 1 no such table: DIRECTORIES"});
    EXPECT_EQ(table("SELECT count(*) FROM SONGS"), Rows{"1"});
}

TEST_F(StatusTest, ADatabaseWithoutSchemaStoresAndDeletesNothing) {
    mgr.insertStatus("usb2", "/mnt/a", "A");
    EXPECT_EQ(mgr.getStatus("usb2", "/mnt/a"), "");
    mgr.removeDanglingPartitions("usb2", "/mnt/a");
    EXPECT_EQ(log.messages(DLT_LOG_ERROR),
              (Rows{"exec failed: 1 no such table: STATUS", "step failed",
                    "exec failed: 1 no such table: STATUS", "step failed",
                    "exec failed: 1 no such table: SONGS"}));
}

TEST_F(StatusTest, AnUnopenableDatabaseThrowsFromEveryOperation) {
    removeTree(databaseDirectory());
    writeFile(root() + "/var/opt/tangor", "");  // a file where the directory should be
    try {
        mgr.getStatus("usb1", "/mnt/a");
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "cannot open db");
    }
    EXPECT_THROW(mgr.insertStatus("usb1", "/mnt/a", "A"), std::runtime_error);
    EXPECT_THROW(mgr.createDb("usb1", "/mnt/a", true), std::runtime_error);
    EXPECT_THROW(mgr.removeDanglingPartitions("usb1", "/mnt/a"), std::runtime_error);
    EXPECT_EQ(log.messages(DLT_LOG_WARN), Rows(4, "error opening db: " + dbPath("usb1")));
    const Rows info = log.messages(DLT_LOG_INFO);
    EXPECT_EQ(Rows(info.end() - 2, info.end()),
              (Rows{"removeDanglingPartitions /mnt/a", "Create directory " + databaseDirectory()}));
}

}  // namespace
