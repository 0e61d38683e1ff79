#pragma once

// Helpers shared by the tests: capturing log records, fresh temporary trees, small SQLite queries.

#include <tangor/platform/log.h>

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "platform/FixedPaths.h"

struct sqlite3;

namespace tangor::test {

// Collects every log record for its lifetime, then restores the default sink.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogRecord> records() const;
    // "LEVEL message" per record, e.g. "INFO reset", "ERROR step failed".
    std::vector<std::string> lines() const;
    // Lines at `level` only, without the level.
    std::vector<std::string> messages(DltLogLevelType level) const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<LogRecord> records_;
};

// A fresh directory, removed with everything below it at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

void removeTree(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
bool exists(const std::string& path);
unsigned fileMode(const std::string& path);

// The tree below TANGOR_SYSROOT in which the library's fixed paths lie. Each test starts with only
// "<root>/var/opt" present; the database directory itself is left for the library to make.
class FixedPathsTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    static std::string root() { return TANGOR_SYSROOT; }
    static std::string databaseDirectory() { return root() + "/var/opt/tangor/"; }
};

// Runs `sql` on the database at `path` and returns the rows, columns joined by "|", NULL as
// "<null>". Fails the test on an SQLite error.
std::vector<std::string> queryRows(const std::string& path, const std::string& sql);
std::vector<std::string> queryRows(sqlite3* db, const std::string& sql);
void execSql(const std::string& path, const std::string& sql);

}  // namespace tangor::test
