#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "database/DatabaseTest.h"
#include "support/TestSupport.h"

namespace {

using tangor::test::DatabaseTest;
using tangor::test::execSql;
using tangor::test::idOf;
using tangor::test::queryRows;
using tangor::test::removeTree;
using tangor::test::writeFile;
using Rows = std::vector<std::string>;

const std::string kTimeout = "Set timeout to 3600000 ms";

std::string selectFor(const std::string& mountPoint) {
    return "SELECT VALUE FROM STATUS WHERE MOUNTPOINT = \"" + mountPoint + "\";";
}

class StatusTest : public DatabaseTest {
protected:
    Rows table(const std::string& sql) { return queryRows(dbPath("usb1"), sql); }

    // Every table's rows and the schema, to show that nothing changed.
    Rows everything() {
        Rows all = table("SELECT type, name, sql FROM sqlite_master ORDER BY name");
        for (const char* name : {"SONGS", "DIRECTORIES", "PLAYLISTS", "VERSION", "CODING", "STATUS",
                                 "PARTITION_PRESENCE", "ARTISTS"}) {
            for (const std::string& row : table(std::string("SELECT * FROM ") + name)) {
                all.push_back(name + (": " + row));
            }
        }
        return all;
    }
};

TEST_F(StatusTest, TheLastValueWrittenForAMountPointIsReadBack) {
    mgr.createDb("usb1", "/mnt/a", true);
    log.clear();

    mgr.insertStatus("usb1", "/mnt/a", "A");
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{"insertStatus: devId usb1 mountPoint /mnt/a",
                                                kTimeout, "insertStatus /mnt/a: A"}));
    mgr.insertStatus("usb1", "/mnt/a", "B");
    log.clear();

    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/a"), "B");
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{kTimeout, "getStatus: " + selectFor("/mnt/a")}));
    EXPECT_EQ(table("SELECT * FROM STATUS"), Rows{"/mnt/a|" + idOf("/mnt/a") + "|B"});
    EXPECT_TRUE(log.messages(DLT_LOG_ERROR).empty());
}

TEST_F(StatusTest, MountPointsAreMatchedExactly) {
    mgr.createDb("usb1", "/mnt/a", true);
    mgr.insertStatus("usb1", "/mnt/usb", "lower");
    mgr.insertStatus("usb1", "/MNT/USB", "upper");
    log.clear();

    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/usb"), "lower");
    EXPECT_EQ(mgr.getStatus("usb1", "/MNT/USB"), "upper");
    EXPECT_EQ(mgr.getStatus("usb1", "/Mnt/Usb"), "");
    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/usb "), "");
    EXPECT_TRUE(log.messages(DLT_LOG_ERROR).empty());
}

TEST_F(StatusTest, AStreamWriteBindsTheMountPointItsIdentifierAndTheValue) {
    mgr.createDb("usb1", "/mnt/a", true);
    sqlstl::sqlostream os;
    mgr.open("usb1", os, 3600000);

    // Quotes and percent signs are data here, not syntax.
    mgr.insertStatus(os, "/mnt/it's \"x\" %s", "50% done");

    EXPECT_EQ(os.stmt, nullptr);
    EXPECT_TRUE(os.good());
    os.close();
    EXPECT_EQ(table("SELECT * FROM STATUS WHERE VALUE = '50% done'"),
              Rows{"/mnt/it's \"x\" %s|" + idOf("/mnt/it's \"x\" %s") + "|50% done"});
}

TEST_F(StatusTest, AQuoteThatBreaksTheStatementGivesAnEmptyStatus) {
    mgr.createDb("usb1", "/mnt/a", true);
    log.clear();

    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/\"a"), "");
    const Rows errors = log.messages(DLT_LOG_ERROR);
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].rfind("exec failed: 1 ", 0), 0u) << errors[0];
    EXPECT_EQ(errors[1], "step failed");
}

TEST_F(StatusTest, NoMountPointChangesTheDatabase) {
    mgr.createDb("usb1", "/mnt/a", true);
    mgr.insertStatus("usb1", "/mnt/b", "B");
    execSql(dbPath("usb1"),
            "INSERT INTO SONGS VALUES (NULL,'p','/mnt/a/x.mp3','o','d','x','t','ar','al','g','c',"
            "1,0,0,0,0,NULL);");
    const Rows before = everything();
    const char* const mountPoints[] = {
        "x\"; DELETE FROM STATUS; --",
        "x\"; DROP TABLE SONGS; --",
        "x\" OR 1=1; UPDATE STATUS SET VALUE='hacked'; --",
        "\"); INSERT INTO STATUS VALUES ('a','b','c'); --",
        "x\" UNION SELECT sql FROM sqlite_master WHERE \"1\"=\"1",
        "x\"; ATTACH DATABASE 'evil' AS evil; --",
        "x\"; PRAGMA writable_schema=1; --",
        "x\" OR load_extension(\"libc.so.6\") OR \"",
        "x\" OR VALUE = \"B",
        "",
        "\"",
        "\\",
        ";",
    };
    for (const char* mountPoint : mountPoints) {
        mgr.getStatus("usb1", mountPoint);
        EXPECT_EQ(everything(), before) << mountPoint;
    }
    EXPECT_EQ(mgr.getStatus("usb1", "x\" OR VALUE = \"B"), "B");  // reading more is possible
}

TEST_F(StatusTest, RemovalKeepsExactlyThePresentPartitions) {
    mgr.createDb("usb1", "/mnt/a", true);
    mgr.createDb("usb1", "/mnt/b", false);
    mgr.insertStatus("usb1", "/mnt/c", "C");
    for (const char* mountPoint : {"/mnt/a", "/mnt/b", "/mnt/c"}) {
        const std::string id = idOf(mountPoint);
        execSql(dbPath("usb1"), "INSERT INTO SONGS VALUES (NULL,'" + id +
                                    "','p','o','d','n','t','ar','al','g','c'," +
                                    "1,0,0,0,0,NULL);"
                                    "INSERT INTO PLAYLISTS VALUES (NULL,'" +
                                    id +
                                    "','pp','pi','pn','tp','ti',1,0);"
                                    "INSERT INTO DIRECTORIES VALUES (NULL,'" +
                                    id + "','p','n','" + id + "','" + id +
                                    "');"
                                    "INSERT INTO ARTISTS VALUES ('" +
                                    id + "','artist',NULL);");
    }
    mgr.createDb("usb1", "/mnt/a", true);  // only /mnt/a is present now
    log.clear();

    mgr.removeDanglingPartitions("usb1", "/mnt/b");  // the mount point is only logged

    const std::string a = idOf("/mnt/a");
    EXPECT_EQ(table("SELECT PARTITION_ID FROM SONGS"), Rows{a});
    EXPECT_EQ(table("SELECT PARTITION_ID FROM PLAYLISTS"), Rows{a});
    EXPECT_EQ(table("SELECT PARTITION_ID FROM DIRECTORIES"), Rows{a});
    EXPECT_EQ(table("SELECT MOUNTPOINT FROM STATUS"), Rows{"/mnt/a"});
    EXPECT_EQ(table("SELECT count(*) FROM ARTISTS"), Rows{"3"});
    EXPECT_EQ(log.messages(DLT_LOG_INFO), (Rows{"removeDanglingPartitions /mnt/b", kTimeout}));

    execSql(dbPath("usb1"), "DELETE FROM PARTITION_PRESENCE");
    mgr.removeDanglingPartitions("usb1", "/mnt/a");
    EXPECT_EQ(table("SELECT (SELECT count(*) FROM SONGS) + (SELECT count(*) FROM PLAYLISTS) + "
                    "(SELECT count(*) FROM DIRECTORIES) + (SELECT count(*) FROM STATUS)"),
              Rows{"0"});
}

TEST_F(StatusTest, AFailingRemovalRemovesNothing) {
    mgr.createDb("usb1", "/mnt/a", true);
    execSql(dbPath("usb1"),
            "INSERT INTO SONGS VALUES (NULL,'gone','p','o','d','n','t','ar','al','g','c',1,0,0,0,0,"
            "NULL); DROP TABLE DIRECTORIES;");
    log.clear();

    mgr.removeDanglingPartitions("usb1", "/mnt/a");

    EXPECT_EQ(log.messages(DLT_LOG_ERROR), Rows{"exec failed: 1 no such table: DIRECTORIES"});
    EXPECT_EQ(table("SELECT PARTITION_ID FROM SONGS"), Rows{"gone"});
}

TEST_F(StatusTest, ADatabaseWithoutSchemaStoresAndDeletesNothing) {
    mgr.insertStatus("usb1", "/mnt/a", "A");
    EXPECT_EQ(mgr.getStatus("usb1", "/mnt/a"), "");
    mgr.removeDanglingPartitions("usb1", "/mnt/a");

    EXPECT_EQ(log.messages(DLT_LOG_ERROR),
              (Rows{"exec failed: 1 no such table: STATUS", "step failed",
                    "exec failed: 1 no such table: STATUS", "step failed",
                    "exec failed: 1 no such table: SONGS"}));
    EXPECT_EQ(table("SELECT count(*) FROM sqlite_master"), Rows{"0"});
}

TEST_F(StatusTest, AnUnopenableDatabaseThrowsFromEveryOperation) {
    removeTree(databaseDirectory());
    writeFile(root() + "/var/opt/tangor", "");
    const std::string warning = "error opening db: " + dbPath("usb1");

    EXPECT_THROW(mgr.insertStatus("usb1", "/mnt/a", "A"), std::runtime_error);
    EXPECT_THROW(mgr.getStatus("usb1", "/mnt/a"), std::runtime_error);
    EXPECT_THROW(mgr.removeDanglingPartitions("usb1", "/mnt/a"), std::runtime_error);
    try {
        mgr.getStatus("usb1", "/mnt/a");
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "cannot open db");
    }
    EXPECT_EQ(log.messages(DLT_LOG_WARN), Rows(4, warning));
    const Rows info = log.messages(DLT_LOG_INFO);
    EXPECT_NE(std::find(info.begin(), info.end(), "removeDanglingPartitions /mnt/a"), info.end());
}

}  // namespace
