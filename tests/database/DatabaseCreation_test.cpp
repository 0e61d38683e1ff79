#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "database/DatabaseTest.h"

namespace {

using namespace tangor::test;
using Rows = std::vector<std::string>;

class CreateDbTest : public DatabaseTest {
protected:
    Rows table(const std::string& sql) { return queryRows(dbPath("usb1"), sql); }

    long count(const std::string& record) {
        const Rows records = log.messages(DLT_LOG_INFO);
        return std::count(records.begin(), records.end(), record);
    }

    std::string createDbThrows() {
        try {
            mgr.createDb("usb1", "/mnt/a", true);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "nothing thrown";
    }
};

TEST_F(CreateDbTest, FirstCallMakesACurrentFileWithStatusNewAndPresence) {
    mgr.createDb("usb1", "/mnt/a", true);

    EXPECT_EQ(table("SELECT (SELECT group_concat(VALUE) FROM VERSION), "
                    "(SELECT group_concat(VALUE) FROM CODING), "
                    "(SELECT group_concat(PARTITION_ID) FROM PARTITION_PRESENCE)"),
              Rows{"1.15|9|" + idOf("/mnt/a")});
    EXPECT_EQ(table("SELECT * FROM STATUS"), Rows{"/mnt/a|" + idOf("/mnt/a") + "|NEW"});
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

TEST_F(CreateDbTest, LaterCallsOnlyMarkThePartitionPresent) {
    for (const bool isFirst : {false, true}) {
        mgr.deleteDb("usb1");
        mgr.createDb("usb1", "/mnt/b", true);
        mgr.insertStatus("usb1", "/mnt/b", "SCANNED");
        log.clear();

        mgr.createDb("usb1", "/mnt/a", isFirst);

        using Ids = std::set<std::string>;
        const Rows presence = table("SELECT * FROM PARTITION_PRESENCE");
        const Ids expected = isFirst ? Ids{idOf("/mnt/a")} : Ids{idOf("/mnt/a"), idOf("/mnt/b")};
        EXPECT_EQ(Ids(presence.begin(), presence.end()), expected);
        EXPECT_EQ(table("SELECT MOUNTPOINT, VALUE FROM STATUS"), Rows{"/mnt/b|SCANNED"});
        EXPECT_EQ(table("SELECT (SELECT count(*) FROM VERSION) + (SELECT count(*) FROM CODING)"),
                  Rows{"2"});
        EXPECT_EQ(count(kTimeout), 2);
        EXPECT_EQ(count("Is First partition erase partition presence"), isFirst ? 1 : 0);
    }
}

TEST_F(CreateDbTest, AFileOfAnotherVersionOrCodingIsDeletedAndMadeAnew) {
    const std::pair<const char*, const char*> cases[] = {
        {"UPDATE VERSION SET VALUE = '1.14'", "db version NOT equal: old 1.14, new 1.15 DELETE DB"},
        {"UPDATE CODING SET VALUE = '6'", "db coding NOT equal: old 6, new 9 DELETE DB"},
        {"DELETE FROM CODING", "db coding NOT equal: old -1, new 9 DELETE DB"},
    };
    for (const auto& [change, record] : cases) {
        mgr.deleteDb("usb1");
        mgr.createDb("usb1", "/mnt/a", true);
        mgr.insertStatus("usb1", "/mnt/a", "SCANNED");
        execSql(dbPath("usb1"), change);
        log.clear();

        mgr.createDb("usb1", "/mnt/a", false);

        EXPECT_EQ(count(record), 1) << change;
        EXPECT_EQ(count("deleteDb " + dbPath("usb1")), 1) << change;
        EXPECT_EQ(table("SELECT (SELECT group_concat(VALUE) FROM VERSION), "
                        "(SELECT group_concat(VALUE) FROM CODING), "
                        "(SELECT group_concat(VALUE) FROM STATUS)"),
                  Rows{"1.15|9|NEW"})
            << change;
    }
}

TEST_F(CreateDbTest, AFileThatIsNotADatabaseThrowsAndIsKept) {
    writeFile(dbPath("usb1"), std::string(4096, 'x'));
    EXPECT_EQ(createDbThrows(), "COULD NOT GET DB VERSION");
    const Rows errors = log.messages(DLT_LOG_ERROR);
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.front(), "exec failed: 26 file is not a database");
    EXPECT_TRUE(exists(dbPath("usb1")));
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
    const std::string thrown = createDbThrows();
    sqlite3_cancel_auto_extension(entry);

    EXPECT_EQ(thrown, "COULD NOT RECREATE DB");
    EXPECT_EQ(count("createDb"), 2);
    EXPECT_EQ(count("deleteDb " + dbPath("usb1")), 2);
}

}  // namespace
