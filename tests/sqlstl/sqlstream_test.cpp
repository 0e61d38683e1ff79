#include <tangor/sqlstl/sqlstream.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace {

using sqlstl::sqlistream;
using sqlstl::sqlostream;
using tangor::test::LogCapture;
using tangor::test::queryRows;
using tangor::test::TempDir;
using Lines = std::vector<std::string>;

constexpr std::ios_base::iostate kGood = std::ios_base::goodbit;
constexpr std::ios_base::iostate kEof = std::ios_base::eofbit;
constexpr std::ios_base::iostate kFail = std::ios_base::failbit;
constexpr std::ios_base::iostate kBad = std::ios_base::badbit;

class SqlStreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        tangor::test::execSql(path,
                              "CREATE TABLE t(id INTEGER PRIMARY KEY, name TEXT);"
                              "INSERT INTO t VALUES(1, 'one'), (2, NULL);");
    }

    template <class Stream>
    void open(Stream& stream) {
        stream.open(path.c_str(), 0);
        ASSERT_NE(stream.db, nullptr);
        log.clear();
    }

    Lines rows(const std::string& sql) { return queryRows(path, sql); }

    // Whether a second connection that does not wait can take the database for itself, i.e. no
    // other connection still holds a lock on it.
    bool canLockExclusively() {
        sqlite3* other = nullptr;
        EXPECT_EQ(sqlite3_open(path.c_str(), &other), SQLITE_OK);
        const int rc = sqlite3_exec(other, "BEGIN EXCLUSIVE; ROLLBACK;", nullptr, nullptr, nullptr);
        sqlite3_close(other);
        return rc == SQLITE_OK;
    }

    TempDir dir;
    const std::string path = dir.file("test.db");
    LogCapture log;
};

TEST_F(SqlStreamTest, NewStreamsHoldNothingAndAreGood) {
    sqlistream is;
    sqlostream os;
    EXPECT_EQ(is.index, 0);
    EXPECT_EQ(os.index, 1);
    for (std::basic_ios<char>* stream :
         {static_cast<std::basic_ios<char>*>(&is), static_cast<std::basic_ios<char>*>(&os)}) {
        EXPECT_EQ(stream->rdstate(), kGood);
        EXPECT_EQ(stream->exceptions(), kGood);
        EXPECT_NE(stream->rdbuf(), nullptr);
    }
    EXPECT_EQ(is.db, nullptr);
    EXPECT_EQ(is.stmt, nullptr);
    EXPECT_EQ(os.db, nullptr);
    EXPECT_EQ(os.stmt, nullptr);
}

TEST_F(SqlStreamTest, OpenSetsBusyTimeoutAndKeepsStateBits) {
    sqlistream is;
    is.setstate(kEof);
    is.open(path.c_str(), 3600000);
    ASSERT_NE(is.db, nullptr);
    EXPECT_EQ(is.rdstate(), kEof);
    EXPECT_EQ(queryRows(is.db, "PRAGMA busy_timeout;"), Lines{"3600000"});

    // Opening again releases the former connection together with its statement and read lock.
    is.query("SELECT id FROM t;");
    ASSERT_FALSE(canLockExclusively());
    is.setstate(kFail);
    is.open(dir.file("other.db").c_str(), 25);
    ASSERT_NE(is.db, nullptr);
    EXPECT_EQ(is.stmt, nullptr);
    EXPECT_EQ(is.rdstate(), kFail);
    EXPECT_TRUE(canLockExclusively());
    EXPECT_EQ(queryRows(is.db, "PRAGMA busy_timeout;"), Lines{"25"});
    EXPECT_EQ(log.lines(), (Lines{"INFO Set timeout to 3600000 ms", "INFO Set timeout to 25 ms"}));
}

TEST_F(SqlStreamTest, FailedOpenSetsBadbitSilently) {
    sqlostream os;
    os.setstate(kEof);
    os.open(dir.file("missing/test.db").c_str(), 10);
    EXPECT_EQ(os.db, nullptr);
    EXPECT_EQ(os.rdstate(), kEof | kBad);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SqlStreamTest, CloseKeepsStateBitsAndIsSilent) {
    sqlistream is;
    is.close();  // nothing open yet
    open(is);
    is.setstate(kFail);
    is.close();
    EXPECT_EQ(is.db, nullptr);
    EXPECT_EQ(is.rdstate(), kFail);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SqlStreamTest, CloseWithHeldStatementLogsAndDropsConnection) {
    {
        sqlistream is;
        open(is);
        is.query("SELECT id FROM t;");  // stops on the first row, holding a read lock
        is.close();
        EXPECT_EQ(is.db, nullptr);
        EXPECT_NE(is.stmt, nullptr);
        EXPECT_EQ(is.rdstate(), kGood);
        EXPECT_EQ(log.lines(), Lines{"ERROR Could not close db connection: 5 unable to close due "
                                     "to unfinalized statements or unfinished backups"});
    }
    EXPECT_TRUE(canLockExclusively());
}

TEST_F(SqlStreamTest, DestroyingStreamsReleasesTheirLocks) {
    {
        sqlistream is;
        open(is);
        is.query("SELECT id FROM t;");
        ASSERT_EQ(is.rdstate(), kGood);
        ASSERT_FALSE(canLockExclusively());
    }
    EXPECT_TRUE(canLockExclusively());
    {
        sqlostream os;
        open(os);
        os.exec("BEGIN EXCLUSIVE;");
        os.query("INSERT INTO t(name) VALUES(?);");
        ASSERT_FALSE(canLockExclusively());
    }
    EXPECT_TRUE(canLockExclusively());
    EXPECT_EQ(rows("SELECT count(*) FROM t;"), Lines{"2"});
}

TEST_F(SqlStreamTest, ExecRunsScriptAndLeavesStatementAlone) {
    sqlostream os;
    open(os);
    os.query("INSERT INTO t VALUES(?, ?);");
    os << 10;
    sqlite3_stmt* const held = os.stmt;

    os.setstate(kFail);
    os.exec("INSERT INTO t VALUES(3, 'three'); INSERT INTO t VALUES(4, 'four');");
    EXPECT_EQ(os.rdstate(), kGood);
    EXPECT_EQ(rows("SELECT name FROM t WHERE id > 2 ORDER BY id;"), (Lines{"three", "four"}));

    os.exec("DELETE FROM missing;");
    EXPECT_EQ(os.rdstate(), kBad);
    EXPECT_EQ(os.stmt, held);
    EXPECT_EQ(os.index, 2);
    EXPECT_EQ(log.lines(), Lines{"ERROR exec failed: 1 no such table: missing"});
}

TEST_F(SqlStreamTest, WritingQueryPreparesAndFinalizesPrevious) {
    sqlostream os;
    open(os);
    os.query("INSERT INTO t VALUES(?, ?);");
    os << 5 << "x";
    os.setstate(kBad);
    os.query("DELETE FROM t WHERE id = ?;");
    EXPECT_EQ(os.rdstate(), kGood);
    EXPECT_EQ(os.index, 1);
    EXPECT_NE(os.stmt, nullptr);

    os << 7;
    os.query("INSERT INTO missing VALUES(?);");
    EXPECT_EQ(os.rdstate(), kBad);
    EXPECT_EQ(os.stmt, nullptr);
    EXPECT_EQ(os.index, 2);
    EXPECT_EQ(log.lines(), Lines{"ERROR exec failed: 1 no such table: missing"});

    // Closing succeeds only if no statement prepared above is left behind.
    log.clear();
    os.close();
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SqlStreamTest, InsertionChainBindsAndSteps) {
    sqlostream os;
    open(os);
    os << "ignored";  // no statement yet: binding fails
    EXPECT_EQ(os.rdstate(), kFail);

    os.query("INSERT INTO t VALUES(?, ?);");
    os << 3 << "three" << sqlstl::step;
    EXPECT_EQ(os.index, 1);
    // A finished statement takes new values and runs again.
    os << 4 << 42 << sqlstl::step << sqlstl::finalize;
    EXPECT_EQ(os.stmt, nullptr);
    EXPECT_EQ(os.rdstate(), kGood);
    os.close();  // fails and logs if finalize left the statement behind
    EXPECT_TRUE(log.lines().empty());
    // The text is bound with its exact length; the int lands in a TEXT column as its digits.
    EXPECT_EQ(rows("SELECT id, name, length(CAST(name AS BLOB)), typeof(name) FROM t WHERE id > 2 "
                   "ORDER BY id;"),
              (Lines{"3|three|5|text", "4|42|2|text"}));
}

TEST_F(SqlStreamTest, BindingPastLastParameterFailsTheRow) {
    sqlostream os;
    open(os);
    os.query("INSERT INTO t VALUES(?, ?);");
    os << 3 << "three"
       << "extra";
    EXPECT_EQ(os.rdstate(), kFail);
    EXPECT_EQ(os.index, 4);
    os << 9;
    EXPECT_EQ(os.index, 4);
    sqlite3_stmt* const held = os.stmt;
    os.step();
    EXPECT_EQ(log.lines(), Lines{"ERROR step failed"});
    EXPECT_EQ(os.rdstate(), kFail);
    EXPECT_EQ(os.index, 4);
    EXPECT_EQ(os.stmt, held);
    EXPECT_EQ(rows("SELECT count(*) FROM t;"), Lines{"2"});

    // A new query starts over.
    os.query("INSERT INTO t VALUES(?, ?);");
    os << 3 << "three" << sqlstl::step;
    EXPECT_EQ(os.rdstate(), kGood);
    EXPECT_EQ(rows("SELECT count(*) FROM t;"), Lines{"3"});
}

TEST_F(SqlStreamTest, AnySetBitStopsInsertionButOnlyBadOrFailStopStep) {
    const struct {
        std::ios_base::iostate bit;
        bool stepRuns;
    } cases[] = {{kEof, true}, {kFail, false}, {kBad, false}, {kEof | kFail, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.bit));
        tangor::test::execSql(path, "DELETE FROM t;");
        log.clear();
        sqlostream os;
        open(os);
        os.query("INSERT INTO t VALUES(?, ?);");
        os.setstate(c.bit);
        os << 8 << "eight";
        EXPECT_EQ(os.index, 1);
        EXPECT_EQ(os.rdstate(), c.bit);
        os.step();
        EXPECT_EQ(os.rdstate(), c.bit);
        if (c.stepRuns) {
            // Nothing was bound, so the row holds only NULLs (the id is filled in).
            EXPECT_EQ(rows("SELECT name FROM t;"), Lines{"<null>"});
            EXPECT_TRUE(log.lines().empty());
        } else {
            EXPECT_TRUE(rows("SELECT name FROM t;").empty());
            EXPECT_EQ(log.lines(), Lines{"ERROR step failed"});
        }
    }
}

TEST_F(SqlStreamTest, WritingStepFailuresDropStatement) {
    const struct {
        const char* sql;
        const char* line;
    } cases[] = {
        {"SELECT ?;", "ERROR exec failed: 100 another row available"},
        {"INSERT INTO t(id) VALUES(?);", "ERROR exec failed: 19 UNIQUE constraint failed: t.id"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sql);
        log.clear();
        sqlostream os;
        open(os);
        os.query(c.sql);
        os << 1 << sqlstl::step;
        EXPECT_EQ(os.rdstate(), kBad);
        EXPECT_EQ(os.stmt, nullptr);
        EXPECT_EQ(os.index, 1);
        os.step();
        EXPECT_EQ(log.lines(), (Lines{c.line, "ERROR step failed"}));
        // The statement was finalized, not just forgotten: the connection closes cleanly.
        log.clear();
        os.close();
        EXPECT_TRUE(log.lines().empty());
    }
}

TEST_F(SqlStreamTest, ReadingQueryWalksRows) {
    sqlistream is;
    open(is);
    is.setstate(kBad);
    is.query("SELECT id, name FROM t ORDER BY id;");
    EXPECT_EQ(is.rdstate(), kGood);
    EXPECT_EQ(is.index, 0);

    int id = 0;
    std::string name;
    is >> id >> name;
    EXPECT_EQ(id, 1);
    EXPECT_EQ(name, "one");
    EXPECT_EQ(is.index, 2);

    is >> sqlstl::step >> id >> name;
    EXPECT_EQ(id, 2);
    EXPECT_EQ(name, "one");  // NULL leaves the target alone
    EXPECT_EQ(is.rdstate(), kFail);
    EXPECT_EQ(is.index, 2);
    is >> id;  // stopped by failbit
    EXPECT_EQ(is.index, 2);
    is.step();
    EXPECT_EQ(is.index, 2);
    EXPECT_EQ(log.lines(), Lines{"ERROR step failed"});

    is.clear();
    is >> sqlstl::step;
    EXPECT_EQ(is.rdstate(), kEof);
    EXPECT_EQ(is.index, 0);
    is >> sqlstl::finalize;
    EXPECT_EQ(is.stmt, nullptr);
    EXPECT_EQ(is.rdstate(), kEof);
    is.close();
    EXPECT_EQ(log.lines(), Lines{"ERROR step failed"});
}

TEST_F(SqlStreamTest, ReadingQueryWithoutRowsSetsEof) {
    sqlistream is;
    open(is);
    is.query("SELECT id, name FROM t WHERE id > 100;");
    EXPECT_EQ(is.rdstate(), kEof);
    int id = -1;
    std::string name = "keep";
    is >> id >> name;
    EXPECT_EQ(id, -1);
    EXPECT_EQ(name, "keep");
    EXPECT_EQ(is.index, 0);
    // Stepping again runs the finished statement once more and again finds nothing.
    is.step();
    EXPECT_EQ(is.rdstate(), kEof);
    EXPECT_NE(is.stmt, nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SqlStreamTest, AnySetBitStopsExtraction) {
    for (const std::ios_base::iostate bit : {kEof, kFail, kBad}) {
        SCOPED_TRACE(static_cast<int>(bit));
        sqlistream is;
        open(is);
        is.query("SELECT 'text', 5;");
        is.setstate(bit);
        std::string text = "keep";
        int number = -1;
        is >> text >> number;
        EXPECT_EQ(text, "keep");
        EXPECT_EQ(number, -1);
        EXPECT_EQ(is.index, 0);
        EXPECT_EQ(is.rdstate(), bit);
    }
}

TEST_F(SqlStreamTest, EmptyTextIsNotNull) {
    sqlistream is;
    open(is);
    is.query("SELECT '', 0;");
    std::string text = "keep";
    int number = -1;
    is >> text >> number;
    EXPECT_EQ(text, "");
    EXPECT_EQ(number, 0);
    EXPECT_EQ(is.rdstate(), kGood);
}

TEST_F(SqlStreamTest, ReadingFailuresSetBadbitAndRecover) {
    sqlistream is;
    open(is);
    is.query("SELECT 1;");
    int value = 0;
    is >> value;
    is.query("SELECT * FROM missing;");
    EXPECT_EQ(is.rdstate(), kBad);
    EXPECT_EQ(is.stmt, nullptr);
    EXPECT_EQ(is.index, 1);

    // The second row fails while stepping.
    is.query("SELECT abs(x) FROM (SELECT 1 AS x UNION ALL SELECT -9223372036854775808);");
    EXPECT_EQ(is.rdstate(), kGood);
    is >> value >> sqlstl::step;
    EXPECT_EQ(value, 1);
    EXPECT_EQ(is.rdstate(), kBad);
    EXPECT_EQ(is.stmt, nullptr);
    EXPECT_EQ(is.index, 0);
    EXPECT_EQ(log.lines(), (Lines{"ERROR exec failed: 1 no such table: missing",
                                  "ERROR exec failed: 1 integer overflow"}));

    log.clear();
    is.close();
    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
