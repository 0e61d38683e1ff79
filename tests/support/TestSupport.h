#pragma once

// Helpers shared by the tests: capturing log records, fresh temporary trees, small SQLite queries,
// running programs and building dictionaries.

#include <tangor/platform/log.h>

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "internal/FixedPaths.h"

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

// `text` `times` times over, `separator` between.
template <typename Text>
Text repeat(const Text& text, int times, const Text& separator = Text()) {
    Text result;
    for (int i = 0; i < times; ++i) {
        result += (i > 0 ? separator : Text()) + text;
    }
    return result;
}

void removeTree(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
// The whole file; fails the test when it cannot be read.
std::string readFile(const std::string& path);
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

// How a program ended: its exit status (-1 when it did not exit by itself, or could not be started,
// which fails the test) and everything it wrote.
struct ProgramResult {
    int status = -1;
    std::string standardError;
    std::string standardOutput;
};

// Runs `arguments` (the program's path first) and waits for its end. A cross build runs it through
// CMAKE_CROSSCOMPILING_EMULATOR, since the build machine cannot execute the target's programs
// itself.
ProgramResult runProgram(const std::vector<std::string>& arguments);

// Builds the dictionary pair of the built-in engine ("njcon.a" at `njconPath`, "njtan.a" at
// `njtanPath`) from the word list at `wordList` with tangor-mkdic (path: TANGOR_MKDIC). Fails the
// current test with the tool's messages when the tool fails, and returns whether it succeeded:
// ASSERT_TRUE(makeDictionary(...)) stops the test there. Word lists kept beside the tests are named
// from the tests' source folder: TANGOR_TEST_SOURCE_DIR "/phonetic/words.txt".
bool makeDictionary(const std::string& wordList, const std::string& njconPath,
                    const std::string& njtanPath);

}  // namespace tangor::test
