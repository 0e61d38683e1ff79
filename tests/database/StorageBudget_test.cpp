#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "database/DatabaseTest.h"

namespace {

using corvina::DatabaseMgr;
using tangor::test::DatabaseTest;
using tangor::test::exists;
using tangor::test::writeFile;
using Rows = std::vector<std::string>;

constexpr long long kGiB = 1024LL * 1024 * 1024;

struct FileSpec {
    const char* name;
    long long size;
    time_t accessTime;
};

class BudgetTest : public DatabaseTest {
protected:
    // A sparse file of `size` bytes, last accessed at `accessTime`.
    void makeFile(const FileSpec& file) {
        const std::string path = databaseDirectory() + file.name;
        writeFile(path, "");
        ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(file.size)), 0) << path;
        const timespec times[2] = {{file.accessTime, 0}, {0, UTIME_OMIT}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
    }

    // The walk's records, without the directory: the total, then each deletion or skip.
    Rows walkRecords() {
        Rows walk;
        for (std::string record : log.messages(DLT_LOG_INFO)) {
            const size_t at = record.find(databaseDirectory());
            if (at != std::string::npos) {
                record.erase(at, databaseDirectory().size());
            }
            if (record.rfind("Total", 0) == 0 || record.find("deleting ") != std::string::npos) {
                walk.push_back(record);
            }
        }
        return walk;
    }
};

struct WalkCase {
    std::vector<FileSpec> files;
    long long limit;
    Rows walk;
    Rows deleted;  // sorted
};

TEST_F(BudgetTest, DeletesLeastRecentlyAccessedFirstUntilTheTotalFits) {
    const WalkCase cases[] = {
        // Equal to the limit: nothing goes; files that are not databases do not count.
        {{{"a.tangor", 100, 10}, {"notes.txt", 5000, 1}}, 100, {"Total size is 100"}, {}},
        // Stops right after the deciding deletion.
        {{{"c.tangor", 100, 30}, {"a.tangor", 100, 10}, {"b.tangor", 100, 20}},
         250,
         {"Total size is 300", "deleting a.tangor"},
         {"a.tangor"}},
        // The own file is skipped, the walk goes on, and ends even above the limit.
        {{{"usb1.tangor", 500, 5}, {"a.tangor", 100, 10}},
         100,
         {"Total size is 600", "skipping deleting usb1.tangor", "deleting a.tangor"},
         {"a.tangor"}},
        // Other letter case and a suffix are other files.
        {{{"USB1.TANGOR", 100, 10}, {"usb1.tangor.bak", 100, 20}, {"usb1.tangor", 100, 30}},
         150,
         {"Total size is 300", "deleting USB1.TANGOR", "deleting usb1.tangor.bak"},
         {"USB1.TANGOR", "usb1.tangor.bak"}},
        // 3 GiB overflows a 32-bit total, while each file fits a 32-bit size.
        {{{"a.tangor", kGiB, 10}, {"b.tangor", kGiB, 20}, {"c.tangor", kGiB, 30}},
         2 * kGiB - 1,
         {"Total size is 3221225472", "deleting a.tangor", "deleting b.tangor"},
         {"a.tangor", "b.tangor"}},
    };
    for (const WalkCase& c : cases) {
        SetUp();
        for (const FileSpec& file : c.files) {
            makeFile(file);
        }
        log.clear();
        mgr.checkAndDelete("usb1", static_cast<off_t>(c.limit));

        EXPECT_EQ(walkRecords(), c.walk) << c.walk.front();
        Rows deleted;
        for (const FileSpec& file : c.files) {
            if (!exists(databaseDirectory() + file.name)) {
                deleted.push_back(file.name);
            }
        }
        std::sort(deleted.begin(), deleted.end());
        EXPECT_EQ(deleted, c.deleted) << c.walk.front();
    }
}

TEST_F(BudgetTest, ListingHasEveryDatabaseFileSortedByAccessTime) {
    makeFile({"b.tangor", 2, 20});
    makeFile({"a.TANGOR", 1, 30});
    makeFile({"c.tangor.old", 3, 10});
    makeFile({"notes.txt", 4, 5});
    ASSERT_EQ(symlink("missing", (databaseDirectory() + "dangling.tangor").c_str()), 0);
    log.clear();

    Rows listed;
    for (const DatabaseMgr::DbFile& file : mgr.getDatabaseInfo()) {
        listed.push_back(file.path.substr(databaseDirectory().size()) + " " +
                         std::to_string(file.size) + " " + std::to_string(file.accessTime));
    }
    EXPECT_EQ(listed, (Rows{"c.tangor.old 3 10", "b.tangor 2 20", "a.TANGOR 1 30"}));
    Rows records = log.messages(DLT_LOG_INFO);
    std::sort(records.begin() + 1, records.end() - 1);
    EXPECT_EQ(records, (Rows{"getDatabaseInfo", "STAT a.TANGOR", "STAT b.tangor",
                             "STAT c.tangor.old", "getDatabaseInfo DONE"}));
}

TEST_F(BudgetTest, SingleFileLimitIsStrictlyAbove75MiB) {
    makeFile({"at.tangor", 78643200, 1});
    makeFile({"above.tangor", 78643201, 1});
    log.clear();

    EXPECT_FALSE(mgr.dbSizeHasReachLimit(databaseDirectory() + "at.tangor"));
    EXPECT_FALSE(mgr.dbSizeHasReachLimit(databaseDirectory() + "missing.tangor"));
    EXPECT_TRUE(log.records().empty());
    EXPECT_TRUE(mgr.dbSizeHasReachLimit(databaseDirectory() + "above.tangor"));
    EXPECT_EQ(log.messages(DLT_LOG_INFO), Rows{"Limit reach on single db size"});
}

}  // namespace
