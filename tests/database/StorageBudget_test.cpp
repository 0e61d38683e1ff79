#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "database/DatabaseTest.h"
#include "support/TestSupport.h"

namespace {

using corvina::DatabaseMgr;
using tangor::test::DatabaseTest;
using tangor::test::exists;
using tangor::test::removeTree;
using tangor::test::writeFile;
using Rows = std::vector<std::string>;

static_assert(std::is_same_v<decltype(DatabaseMgr::DbFile::size), off_t>);
static_assert(std::is_same_v<decltype(DatabaseMgr::DbFile::accessTime), time_t>);

constexpr long long kGiB = 1024LL * 1024 * 1024;

struct FileSpec {
    std::string name;
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

    Rows present() {
        Rows names;
        for (const char* name : {"a.tangor", "b.tangor", "c.tangor", "usb1.tangor", "USB1.TANGOR",
                                 "usb1.tangor.bak", "notes.txt"}) {
            if (exists(databaseDirectory() + name)) {
                names.push_back(name);
            }
        }
        return names;
    }

    // The records of the walk: the total, then each deletion or skip.
    Rows walkRecords() {
        Rows walk;
        for (const std::string& record : log.messages(DLT_LOG_INFO)) {
            for (const char* prefix : {"Total size is ", "deleting ", "skipping deleting "}) {
                if (record.rfind(prefix, 0) == 0) {
                    std::string shortened = record;
                    const size_t at = shortened.find(databaseDirectory());
                    if (at != std::string::npos) {
                        shortened.erase(at, databaseDirectory().size());
                    }
                    walk.push_back(shortened);
                    break;
                }
            }
        }
        return walk;
    }
};

struct WalkCase {
    const char* what;
    std::vector<FileSpec> files;
    long long limit;
    Rows walk;
    Rows survivors;
};

TEST_F(BudgetTest, DeletesLeastRecentlyAccessedFirstUntilTheTotalFits) {
    const WalkCase cases[] = {
        {"total equal to the limit",
         {{"a.tangor", 100, 10}, {"b.tangor", 100, 20}},
         200,
         {"Total size is 200"},
         {"a.tangor", "b.tangor"}},
        {"stop right after the deciding deletion",
         {{"c.tangor", 100, 30}, {"a.tangor", 100, 10}, {"b.tangor", 100, 20}},
         250,
         {"Total size is 300", "deleting a.tangor"},
         {"b.tangor", "c.tangor"}},
        {"own file spared and skipped, walk goes on",
         {{"usb1.tangor", 500, 5}, {"a.tangor", 100, 10}, {"b.tangor", 100, 20}},
         550,
         {"Total size is 700", "skipping deleting usb1.tangor", "deleting a.tangor",
          "deleting b.tangor"},
         {"usb1.tangor"}},
        {"own file alone above the limit",
         {{"usb1.tangor", 1000, 30}, {"a.tangor", 10, 10}},
         500,
         {"Total size is 1010", "deleting a.tangor", "skipping deleting usb1.tangor"},
         {"usb1.tangor"}},
        {"other letter case and a suffix are other files",
         {{"USB1.TANGOR", 100, 10}, {"usb1.tangor.bak", 100, 20}, {"usb1.tangor", 100, 30}},
         150,
         {"Total size is 300", "deleting USB1.TANGOR", "deleting usb1.tangor.bak"},
         {"usb1.tangor"}},
        {"other files are neither counted nor deleted",
         {{"notes.txt", 5000, 1}, {"a.tangor", 100, 10}},
         100,
         {"Total size is 100"},
         {"a.tangor", "notes.txt"}},
        // 3 GiB overflows a 32-bit total; each file still fits a 32-bit size.
        {"a total past 2 GiB",
         {{"a.tangor", kGiB, 10}, {"b.tangor", kGiB, 20}, {"c.tangor", kGiB, 30}},
         2 * kGiB - 1,
         {"Total size is 3221225472", "deleting a.tangor", "deleting b.tangor"},
         {"c.tangor"}},
    };
    for (const WalkCase& c : cases) {
        SCOPED_TRACE(c.what);
        SetUp();
        for (const FileSpec& file : c.files) {
            makeFile(file);
        }
        log.clear();

        mgr.checkAndDelete("usb1", static_cast<off_t>(c.limit));

        EXPECT_EQ(walkRecords(), c.walk);
        EXPECT_EQ(present(), c.survivors);
    }
}

TEST_F(BudgetTest, FilesWithEqualAccessTimesGoInEitherOrder) {
    makeFile({"a.tangor", 100, 10});
    makeFile({"b.tangor", 100, 10});
    mgr.checkAndDelete("usb1", 150);
    EXPECT_EQ(present().size(), 1u);
}

TEST_F(BudgetTest, ListingHasEveryDatabaseFileSortedByAccessTime) {
    makeFile({"b.tangor", 2, 20});
    makeFile({"a.TANGOR", 1, 30});
    makeFile({"c.tangor.old", 3, 10});
    makeFile({"notes.txt", 4, 5});
    ASSERT_EQ(symlink("missing", (databaseDirectory() + "dangling.tangor").c_str()), 0);
    log.clear();

    const std::vector<DatabaseMgr::DbFile> files = mgr.getDatabaseInfo();

    Rows listed;
    for (const DatabaseMgr::DbFile& file : files) {
        listed.push_back(file.path + " " + std::to_string(file.size) + " " +
                         std::to_string(file.accessTime));
    }
    const std::string dir = databaseDirectory();
    EXPECT_EQ(listed,
              (Rows{dir + "c.tangor.old 3 10", dir + "b.tangor 2 20", dir + "a.TANGOR 1 30"}));
    Rows records = log.messages(DLT_LOG_INFO);
    ASSERT_EQ(records.size(), 5u);
    EXPECT_EQ(records.front(), "getDatabaseInfo");
    EXPECT_EQ(records.back(), "getDatabaseInfo DONE");
    std::sort(records.begin() + 1, records.end() - 1);
    EXPECT_EQ(Rows(records.begin() + 1, records.end() - 1),
              (Rows{"STAT a.TANGOR", "STAT b.tangor", "STAT c.tangor.old"}));
}

TEST_F(BudgetTest, ListingWithoutDirectoryIsEmpty) {
    removeTree(databaseDirectory());
    writeFile(root() + "/var/opt/tangor", "");  // a file where the directory should be
    log.clear();

    EXPECT_TRUE(mgr.getDatabaseInfo().empty());
    EXPECT_EQ(log.messages(DLT_LOG_ERROR), Rows{"ERROR opening dir: " + databaseDirectory()});
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
