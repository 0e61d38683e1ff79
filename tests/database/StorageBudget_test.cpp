#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "support/DatabaseTest.h"

namespace tangor::test {

namespace {

constexpr long long kGiB = 1024LL * 1024 * 1024;

struct FileSpec {
    const char* name;
    long long size;
    time_t accessTime;
};

class BudgetTest : public DatabaseTest {
protected:
    // Sparse files of `size` bytes, last accessed at `accessTime`.
    void makeFiles(const std::vector<FileSpec>& files) {
        for (const FileSpec& file : files) {
            const std::string path = databaseDirectory() + file.name;
            writeFile(path, "");
            ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(file.size)), 0) << path;
            const timespec times[2] = {{file.accessTime, 0}, {0, UTIME_OMIT}};
            ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
        }
        log.clear();
    }

    // The walk's records without the directory: the total, then each deletion or skip.
    Rows walkRecords() {
        Rows walk;
        for (const std::string& record : log.messages(DLT_LOG_INFO)) {
            const size_t at = record.find(databaseDirectory());
            if (record.rfind("Total", 0) == 0) {
                walk.push_back(record);
            } else if (at != std::string::npos) {
                walk.push_back(record.substr(0, at) +
                               record.substr(at + databaseDirectory().size()));
            }
        }
        return walk;
    }
};

struct WalkCase {
    std::vector<FileSpec> files;
    long long limit;
    Rows walk;  // the files named in a "deleting" record are the ones gone
};

// What gtest shows of a case (not its bytes, which hold padding): its first walk record.
void PrintTo(const WalkCase& c, std::ostream* out) {
    *out << c.walk.front();
}

// One case per fixture, so each walk starts from a fresh tree.
class BudgetWalkTest : public BudgetTest, public ::testing::WithParamInterface<WalkCase> {};

const WalkCase kWalkCases[] = {
    // Equal to the limit: nothing goes; files that are not databases do not count.
    {{{"a.tangor", 100, 10}, {"notes.txt", 5000, 1}}, 100, {"Total size is 100"}},
    // Stops right after the deciding deletion.
    {{{"c.tangor", 100, 30}, {"a.tangor", 100, 10}, {"b.tangor", 100, 20}},
     250,
     {"Total size is 300", "deleting a.tangor"}},
    // Only the own file itself is skipped; the walk goes on and ends even above the limit.
    {{{"usb1.tangor", 500, 5}, {"USB1.TANGOR", 100, 10}, {"usb1.tangor.bak", 100, 20}},
     100,
     {"Total size is 700", "skipping deleting usb1.tangor", "deleting USB1.TANGOR",
      "deleting usb1.tangor.bak"}},
    // 3 GiB overflows a 32-bit total, while each file fits a 32-bit size.
    {{{"a.tangor", kGiB, 10}, {"b.tangor", kGiB, 20}, {"c.tangor", kGiB, 30}},
     2 * kGiB - 1,
     {"Total size is 3221225472", "deleting a.tangor", "deleting b.tangor"}},
};

TEST_P(BudgetWalkTest, DeletesLeastRecentlyAccessedFirstUntilTheTotalFits) {
    const WalkCase& c = GetParam();
    SCOPED_TRACE(c.walk.front());
    makeFiles(c.files);
    mgr.checkAndDelete("usb1", static_cast<off_t>(c.limit));

    EXPECT_EQ(walkRecords(), c.walk);
    for (const FileSpec& file : c.files) {
        const std::string deleting = std::string("deleting ") + file.name;
        const bool deleted = std::count(c.walk.begin(), c.walk.end(), deleting) > 0;
        EXPECT_NE(exists(databaseDirectory() + file.name), deleted) << file.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Walks, BudgetWalkTest, ::testing::ValuesIn(kWalkCases));

TEST_F(BudgetTest, ListingHasEveryDatabaseFileSortedByAccessTime) {
    makeFiles(
        {{"b.tangor", 2, 20}, {"a.TANGOR", 1, 30}, {"c.tangor.old", 3, 10}, {"notes.txt", 4, 5}});
    ASSERT_EQ(symlink("missing", (databaseDirectory() + "dangling.tangor").c_str()), 0);

    Rows listed;
    for (const corvina::DatabaseMgr::DbFile& file : mgr.getDatabaseInfo()) {
        listed.push_back(file.path.substr(databaseDirectory().size()) + " " +
                         std::to_string(file.size) + " " + std::to_string(file.accessTime));
    }
    EXPECT_EQ(listed, (Rows{"c.tangor.old 3 10", "b.tangor 2 20", "a.TANGOR 1 30"}));
    Rows records = log.messages(DLT_LOG_INFO);  // one STAT each, in the directory's order
    std::sort(records.begin(), records.end());
    EXPECT_EQ(records, (Rows{"STAT a.TANGOR", "STAT b.tangor", "STAT c.tangor.old",
                             "getDatabaseInfo", "getDatabaseInfo DONE"}));
}

TEST_F(BudgetTest, SingleFileLimitIsStrictlyAbove75MiB) {
    makeFiles({{"at.tangor", 78643200, 1}, {"above.tangor", 78643201, 1}});
    EXPECT_FALSE(mgr.dbSizeHasReachLimit(databaseDirectory() + "at.tangor"));
    EXPECT_FALSE(mgr.dbSizeHasReachLimit(databaseDirectory() + "missing.tangor"));
    EXPECT_TRUE(log.records().empty());
    EXPECT_TRUE(mgr.dbSizeHasReachLimit(databaseDirectory() + "above.tangor"));
    EXPECT_EQ(log.messages(DLT_LOG_INFO), Rows{"Limit reach on single db size"});
}

}  // namespace

}  // namespace tangor::test
