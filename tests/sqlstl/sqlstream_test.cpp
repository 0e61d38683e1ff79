#include <tangor/sqlstl/sqlstream.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using namespace sqlstl;
using Lines = std::vector<std::string>;
constexpr auto kEof = std::ios::eofbit, kFail = std::ios::failbit, kBad = std::ios::badbit;

class SqlStreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        execSql(path,
                "CREATE TABLE t(id INTEGER PRIMARY KEY, name TEXT); INSERT INTO t VALUES(1, 'x');");
        is.open(path.c_str(), 0);
        os.open(path.c_str(), 0);
        log.clear();
    }
    // Whether no connection holds a lock on the database any more.
    bool unlocked() {
        sqlite3* other = nullptr;
        sqlite3_open(path.c_str(), &other);
        const int rc = sqlite3_exec(other, "BEGIN EXCLUSIVE; ROLLBACK;", nullptr, nullptr, nullptr);
        sqlite3_close(other);
        return rc == SQLITE_OK;
    }

    TempDir dir;
    const std::string path = dir.file("test.db");
    LogCapture log;
    sqlistream is;
    sqlostream os;
};

TEST_F(SqlStreamTest, OpenCloseAndDestructorsReleaseConnections) {
    {
        sqlistream in;
        in.open(path.c_str(), 3600000);
        EXPECT_EQ(queryRows(in.db, "PRAGMA busy_timeout;"), Lines{"3600000"});
        in.query("SELECT id FROM t;");  // holds a read lock on its first row
        in.setstate(kFail);
        in.close();
        EXPECT_EQ(in.db, nullptr);
        EXPECT_EQ(in.rdstate(), kFail);
        EXPECT_FALSE(unlocked());
        in.open(dir.file("missing/x.db").c_str(), 10);  // releases the held statement first
        EXPECT_EQ(in.db, nullptr);
        EXPECT_EQ(in.rdstate(), kFail | kBad);
        EXPECT_TRUE(unlocked());
        in.open(path.c_str(), 25);
        in.query("SELECT id FROM t;");
        EXPECT_EQ(log.lines(), (Lines{"INFO Set timeout to 3600000 ms",
                                      "ERROR Could not close db connection: 5 unable to close due "
                                      "to unfinalized statements or unfinished backups",
                                      "INFO Set timeout to 25 ms"}));
        sqlostream out;
        out.open(path.c_str(), 0);
        out.exec("BEGIN IMMEDIATE;");
        out.query("INSERT INTO t(name) VALUES(?);");
        ASSERT_TRUE(out.good());
    }
    EXPECT_TRUE(unlocked());
}

TEST_F(SqlStreamTest, WritingBindsStepsResetsAndRecoversFromFailures) {
    os.query("INSERT INTO t VALUES(?, ?);");
    sqlite3_stmt* const held = os.stmt;
    os << 3 << "three" << step;
    os << 4 << 42 << step << 5 << 6 << "x";  // runs again, then binds one too many
    EXPECT_EQ(os.rdstate(), kFail);
    os << step;  // blocked: no row 5
    os.exec("INSERT INTO t VALUES(5, 'five'); INSERT INTO t VALUES(6, 'six');");
    os.exec("DELETE FROM missing;");
    EXPECT_EQ(os.rdstate(), kBad);
    EXPECT_EQ(os.stmt, held);  // exec leaves the statement alone
    EXPECT_EQ(os.index, 4);
    // Each query starts over at the first parameter with clear bits, else "step failed" shows.
    os.query("SELECT ?;");
    os << 1 << step;  // a writing statement must not yield a row
    EXPECT_EQ(os.rdstate(), kBad);
    os.query("INSERT INTO t(id) VALUES(?);");
    os << 3 << step;
    EXPECT_EQ(os.rdstate(), kBad);
    EXPECT_EQ(os.stmt, nullptr);
    os.query("INSERT INTO missing VALUES(?);");
    EXPECT_EQ(os.rdstate(), kBad);
    os.query("DELETE FROM t;");
    os << finalize;
    EXPECT_EQ(os.stmt, nullptr);
    os.close();  // logs if a statement above was left behind
    EXPECT_EQ(log.lines(),
              (Lines{"ERROR step failed", "ERROR exec failed: 1 no such table: missing",
                     "ERROR exec failed: 100 another row available",
                     "ERROR exec failed: 19 UNIQUE constraint failed: t.id",
                     "ERROR exec failed: 1 no such table: missing"}));
    // Texts keep their exact length; an int lands in a TEXT column as its digits.
    EXPECT_EQ(
        queryRows(path, "SELECT id, name, length(CAST(name AS BLOB)), typeof(name) FROM t"),
        (Lines{"1|x|1|text", "3|three|5|text", "4|42|2|text", "5|five|4|text", "6|six|3|text"}));
}

TEST_F(SqlStreamTest, AnySetBitStopsBindingAndExtractionButOnlyBadOrFailStopStep) {
    for (const std::ios_base::iostate bit : {kEof, kFail, kBad}) {
        SCOPED_TRACE(static_cast<int>(bit));
        execSql(path, "DELETE FROM t;");
        log.clear();
        os.query("INSERT INTO t VALUES(?, ?);");
        is.query("SELECT 'text', 5;");
        os.setstate(bit);
        is.setstate(bit);
        os << 8 << "eight" << step;
        std::string text = "keep";
        int number = -1;
        is >> text >> number;
        EXPECT_EQ(text, "keep");
        EXPECT_EQ(number, -1);
        EXPECT_EQ(os.index, 1);
        EXPECT_EQ(os.rdstate(), bit);
        EXPECT_EQ(is.rdstate(), bit);
        // With only eofbit the row is written, but nothing was bound.
        EXPECT_EQ(queryRows(path, "SELECT name FROM t;"), bit == kEof ? Lines{"<null>"} : Lines{});
        EXPECT_EQ(log.lines(), bit == kEof ? Lines{} : Lines{"ERROR step failed"});
    }
}

TEST_F(SqlStreamTest, ReadingWalksRowsAndFailuresSetBadbit) {
    is.query("SELECT 1, 'one' UNION ALL SELECT 2, NULL UNION ALL SELECT 3, '';");
    int id = 0;
    std::string name;
    is >> id >> name >> step >> id >> name;
    EXPECT_EQ(id, 2);
    EXPECT_EQ(name, "one");  // NULL leaves the target alone
    EXPECT_EQ(is.rdstate(), kFail);
    is >> step;  // blocked by failbit
    is.clear();
    is >> step >> id >> name;
    EXPECT_EQ(name, "");  // empty text is not NULL
    is >> step;
    EXPECT_EQ(is.rdstate(), kEof);
    is.step();  // eofbit does not block stepping
    is >> finalize;
    EXPECT_EQ(is.stmt, nullptr);
    is.query("SELECT * FROM missing;");
    EXPECT_EQ(is.rdstate(), kBad);
    is.query("SELECT abs(x) FROM (SELECT 1 AS x UNION ALL SELECT -9223372036854775808);");
    is >> id >> step;  // the second row fails
    EXPECT_EQ(is.rdstate(), kBad);
    EXPECT_EQ(is.stmt, nullptr);
    is.close();  // logs unless the failed statement was finalized
    EXPECT_EQ(log.lines(),
              (Lines{"ERROR step failed", "ERROR exec failed: 1 no such table: missing",
                     "ERROR exec failed: 1 integer overflow"}));
}

}  // namespace

}  // namespace tangor::test
