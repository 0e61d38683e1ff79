#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "database/DatabaseTest.h"
#include "support/TestSupport.h"

namespace {

using tangor::test::DatabaseTest;
using tangor::test::execSql;
using tangor::test::exists;
using tangor::test::idOf;
using tangor::test::queryRows;
using tangor::test::removeTree;
using tangor::test::writeFile;
using Rows = std::vector<std::string>;

std::string thrownBy(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

class CreateDbTest : public DatabaseTest {
protected:
    Rows table(const std::string& sql) { return queryRows(dbPath("usb1"), sql); }

    // Info records without the country code's, which only the first query of the process writes.
    Rows infoRecords() {
        Rows records = log.messages(DLT_LOG_INFO);
        records.erase(std::remove_if(records.begin(), records.end(),
                                     [](const std::string& record) {
                                         return record.rfind("getCountryCode ", 0) == 0;
                                     }),
                      records.end());
        return records;
    }

    long count(const std::string& record) {
        const Rows records = log.messages(DLT_LOG_INFO);
        return std::count(records.begin(), records.end(), record);
    }
};

TEST_F(CreateDbTest, FirstCallMakesACurrentFileWithStatusNewAndPresence) {
    mgr.createDb("usb1", "/mnt/a", true);

    EXPECT_EQ(table("SELECT VALUE FROM VERSION"), Rows{"1.15"});
    EXPECT_EQ(table("SELECT VALUE FROM CODING"), Rows{"9"});
    EXPECT_EQ(table("SELECT * FROM STATUS"), Rows{"/mnt/a|" + idOf("/mnt/a") + "|NEW"});
    EXPECT_EQ(table("SELECT * FROM PARTITION_PRESENCE"), Rows{idOf("/mnt/a")});
    // Three connections: writing, reading, and the status's own.
    EXPECT_EQ(infoRecords(),
              (Rows{"createDb", "checkAndDelete", "getDatabaseInfo", "getDatabaseInfo DONE",
                    "Total size is 0", "Set timeout to 3600000 ms", "Set timeout to 3600000 ms",
                    "Inserting db version: 1.15", "insertStatus: devId usb1 mountPoint /mnt/a",
                    "Set timeout to 3600000 ms", "insertStatus /mnt/a: NEW", "insertCoding",
                    "Is First partition erase partition presence", "insertPresence"}));
    EXPECT_TRUE(log.messages(DLT_LOG_ERROR).empty());
    EXPECT_TRUE(log.messages(DLT_LOG_WARN).empty());
}

TEST_F(CreateDbTest, LaterCallsOnlyMarkThePartitionPresent) {
    struct Case {
        bool isFirst;
        Rows presence;
    };
    for (const Case& c :
         {Case{false, Rows{idOf("/mnt/a"), idOf("/mnt/b")}}, Case{true, Rows{idOf("/mnt/a")}}}) {
        SCOPED_TRACE(c.isFirst ? "isFirst" : "not isFirst");
        mgr.deleteDb("usb1");
        mgr.createDb("usb1", "/mnt/b", true);
        mgr.createDb("usb1", "/mnt/a", false);
        mgr.insertStatus("usb1", "/mnt/a", "SCANNED");
        log.clear();

        mgr.createDb("usb1", "/mnt/a", c.isFirst);

        Rows presence = table("SELECT * FROM PARTITION_PRESENCE");
        std::sort(presence.begin(), presence.end());
        Rows expected = c.presence;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(presence, expected);
        EXPECT_EQ(table("SELECT MOUNTPOINT, VALUE FROM STATUS ORDER BY MOUNTPOINT"),
                  (Rows{"/mnt/a|SCANNED", "/mnt/b|NEW"}));
        EXPECT_EQ(table("SELECT (SELECT group_concat(VALUE) FROM VERSION), "
                        "(SELECT group_concat(VALUE) FROM CODING)"),
                  Rows{"1.15|9"});
        EXPECT_EQ(count("Set timeout to 3600000 ms"), 2);
        EXPECT_EQ(count("Is First partition erase partition presence"), c.isFirst ? 1 : 0);
        EXPECT_EQ(count("insertCoding"), 0);
    }
}

TEST_F(CreateDbTest, AFileOfAnotherVersionOrCodingIsDeletedAndMadeAnew) {
    struct Case {
        const char* change;
        const char* record;
    };
    const Case cases[] = {
        {"UPDATE VERSION SET VALUE = '1.14'", "db version NOT equal: old 1.14, new 1.15 DELETE DB"},
        {"UPDATE CODING SET VALUE = '6'", "db coding NOT equal: old 6, new 9 DELETE DB"},
        {"DELETE FROM CODING", "db coding NOT equal: old -1, new 9 DELETE DB"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.change);
        mgr.deleteDb("usb1");
        mgr.createDb("usb1", "/mnt/a", true);
        mgr.insertStatus("usb1", "/mnt/a", "SCANNED");
        execSql(dbPath("usb1"), c.change);
        log.clear();

        mgr.createDb("usb1", "/mnt/a", false);

        EXPECT_EQ(count(c.record), 1);
        EXPECT_EQ(count("deleteDb " + dbPath("usb1")), 1);
        EXPECT_EQ(count("createDb"), 2);
        EXPECT_EQ(table("SELECT * FROM VERSION"), Rows{"1.15"});
        EXPECT_EQ(table("SELECT * FROM CODING"), Rows{"9"});
        EXPECT_EQ(table("SELECT MOUNTPOINT, VALUE FROM STATUS"), Rows{"/mnt/a|NEW"});
        EXPECT_EQ(table("SELECT * FROM PARTITION_PRESENCE"), Rows{idOf("/mnt/a")});
    }
}

TEST_F(CreateDbTest, AnUnopenableFileThrowsBeforeAnyStatement) {
    removeTree(databaseDirectory());
    writeFile(root() + "/var/opt/tangor", "");  // a regular file where the directory should be

    EXPECT_EQ(thrownBy([&] { mgr.createDb("usb1", "/mnt/a", true); }), "cannot open db");
    EXPECT_EQ(log.messages(DLT_LOG_WARN), Rows{"error opening db: " + dbPath("usb1")});
    EXPECT_EQ(count("Set timeout to 3600000 ms"), 0);
}

TEST_F(CreateDbTest, AFileThatIsNotADatabaseThrowsAndIsKept) {
    const std::string garbage(4096, 'x');
    writeFile(dbPath("usb1"), garbage);

    EXPECT_EQ(thrownBy([&] { mgr.createDb("usb1", "/mnt/a", true); }), "COULD NOT GET DB VERSION");
    const Rows errors = log.messages(DLT_LOG_ERROR);
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.front(), "exec failed: 26 file is not a database");
    EXPECT_TRUE(exists(dbPath("usb1")));
    EXPECT_EQ(count("deleteDb " + dbPath("usb1")), 0);
}

// Refuses every insertion into CODING on every connection opened after it is installed, through
// SQLite's authorizer: a fresh file then never gets its coding.
int denyCodingInserts(void*, int action, const char* table, const char*, const char*, const char*) {
    return action == SQLITE_INSERT && table != nullptr && sqlite3_stricmp(table, "CODING") == 0
               ? SQLITE_DENY
               : SQLITE_OK;
}

int installCodingDenial(sqlite3* db, const char**, const sqlite3_api_routines*) {
    sqlite3_set_authorizer(db, denyCodingInserts, nullptr);
    return SQLITE_OK;
}

TEST_F(CreateDbTest, AFreshFileThatStillMismatchesIsNotRecreatedAgain) {
    using Entry = void (*)();
    ASSERT_EQ(sqlite3_auto_extension(reinterpret_cast<Entry>(installCodingDenial)), SQLITE_OK);
    const std::string thrown = thrownBy([&] { mgr.createDb("usb1", "/mnt/a", true); });
    sqlite3_cancel_auto_extension(reinterpret_cast<Entry>(installCodingDenial));

    EXPECT_EQ(thrown, "COULD NOT RECREATE DB");
    EXPECT_EQ(count("createDb"), 2);
    EXPECT_EQ(count("db coding NOT equal: old -1, new 9 DELETE DB"), 2);
    EXPECT_EQ(count("deleteDb " + dbPath("usb1")), 2);
}

}  // namespace
