#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <string>

#include "support/DatabaseTest.h"

namespace tangor::test {

namespace {

class CreateDbTest : public DatabaseTest {
protected:
    long count(const std::string& record) {
        const Rows records = log.messages(DLT_LOG_INFO);
        return std::count(records.begin(), records.end(), record);
    }

    // Version|coding|statuses|number of present partitions|whether /mnt/a is one of them.
    static Rows state() {
        return table(
            "SELECT (SELECT group_concat(VALUE) FROM VERSION), "
            "(SELECT group_concat(VALUE) FROM CODING), "
            "(SELECT group_concat(MOUNTPOINT || ' ' || VALUE) FROM STATUS), "
            "(SELECT count(*) FROM PARTITION_PRESENCE), "
            "(SELECT count(*) FROM PARTITION_PRESENCE WHERE PARTITION_ID = '" +
            idOf("/mnt/a") + "')");
    }
};

TEST_F(CreateDbTest, FirstCallMakesACurrentFileWithStatusNewAndPresence) {
    mgr.createDb("usb1", "/mnt/a", true);

    EXPECT_EQ(state(), Rows{"1.15|9|/mnt/a NEW|1|1"});
    // The country code's own record is written by the first query of the process only.
    Rows records = log.messages(DLT_LOG_INFO);
    records.erase(std::remove(records.begin(), records.end(), "getCountryCode 9"), records.end());
    EXPECT_EQ(
        records,
        (Rows{"createDb", "checkAndDelete", "getDatabaseInfo", "getDatabaseInfo DONE",
              "Total size is 0", kTimeout, kTimeout, "Inserting db version: 1.15",
              "insertStatus: devId usb1 mountPoint /mnt/a", kTimeout, "insertStatus /mnt/a: NEW",
              "insertCoding", "Is First partition erase partition presence", "insertPresence"}));
    EXPECT_EQ(log.records().size(), log.messages(DLT_LOG_INFO).size());
}

// A later call for /mnt/a on a current file of "usb1" that has /mnt/b present with the status
// "SCANNED", after `change` made to it.
struct LaterCall {
    const char* change;
    bool isFirst;
    const char* record;  // the record that shows the path taken
    const char* state;   // as state() gives it
};

TEST_F(CreateDbTest, LaterCallsMarkPresenceOrRemakeAFileOfAnotherVersionOrCoding) {
    const LaterCall cases[] = {
        {"", false, "insertPresence", "1.15|9|/mnt/b SCANNED|2|1"},
        {"", true, "Is First partition erase partition presence", "1.15|9|/mnt/b SCANNED|1|1"},
        {"UPDATE VERSION SET VALUE = '1.14'", false,
         "db version NOT equal: old 1.14, new 1.15 DELETE DB", "1.15|9|/mnt/a NEW|1|1"},
        {"UPDATE CODING SET VALUE = '6'", false, "db coding NOT equal: old 6, new 9 DELETE DB",
         "1.15|9|/mnt/a NEW|1|1"},
        {"DELETE FROM CODING", false, "db coding NOT equal: old -1, new 9 DELETE DB",
         "1.15|9|/mnt/a NEW|1|1"},
    };
    for (const LaterCall& c : cases) {
        SCOPED_TRACE(c.record);
        mgr.deleteDb("usb1");
        mgr.createDb("usb1", "/mnt/b", true);
        mgr.insertStatus("usb1", "/mnt/b", "SCANNED");
        execSql(dbPath("usb1"), c.change);
        log.clear();

        mgr.createDb("usb1", "/mnt/a", c.isFirst);

        EXPECT_EQ(state(), Rows{c.state});
        EXPECT_EQ(count(c.record), 1);
        EXPECT_EQ(log.messages(DLT_LOG_ERROR), Rows{});  // the schema script runs again cleanly
    }
}

TEST_F(CreateDbTest, AFailingVersionOrCodingQueryThrows) {
    writeFile(dbPath("usb1"), std::string(4096, 'x'));
    EXPECT_EQ(errorOf([&] { mgr.createDb("usb1", "/mnt/a", true); }), "COULD NOT GET DB VERSION");
    const std::string notADatabase = "exec failed: 26 file is not a database";
    EXPECT_EQ(log.messages(DLT_LOG_ERROR), (Rows{notADatabase, notADatabase, "step failed"}));
    EXPECT_TRUE(exists(dbPath("usb1")));

    sqlstl::sqlistream is;
    mgr.open("usb2", is, 0);  // an empty database: no CODING table
    EXPECT_EQ(errorOf([&] { mgr.getCoding(is); }), "COULD NOT GET DB CODING");
}

// Installed on every new connection: refuses every insertion into CODING, so a fresh file never
// gets its coding.
int denyCodingInserts(void*, int action, const char* table, const char*, const char*, const char*) {
    const bool coding = table != nullptr && sqlite3_stricmp(table, "CODING") == 0;
    return action == SQLITE_INSERT && coding ? SQLITE_DENY : SQLITE_OK;
}

int installCodingDenial(sqlite3* db, const char**, const sqlite3_api_routines*) {
    return sqlite3_set_authorizer(db, denyCodingInserts, nullptr);
}

TEST_F(CreateDbTest, AFreshFileThatStillMismatchesIsNotRecreatedAgain) {
    const auto entry = reinterpret_cast<void (*)()>(installCodingDenial);
    ASSERT_EQ(sqlite3_auto_extension(entry), SQLITE_OK);
    EXPECT_EQ(errorOf([&] { mgr.createDb("usb1", "/mnt/a", true); }), "COULD NOT RECREATE DB");
    sqlite3_cancel_auto_extension(entry);
    EXPECT_EQ(count("createDb"), 2);
    EXPECT_EQ(count("deleteDb " + dbPath("usb1")), 2);
}

}  // namespace

}  // namespace tangor::test
