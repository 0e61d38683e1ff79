#include "support/TestSupport.h"

#include <glib.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tangor::test {

namespace fs = std::filesystem;

namespace {

const char* levelName(DltLogLevelType level) {
    return level == DLT_LOG_ERROR  ? "ERROR"
           : level == DLT_LOG_WARN ? "WARN"
           : level == DLT_LOG_INFO ? "INFO"
                                   : "OTHER";
}

std::string scratchBase() {
    const char* configured = std::getenv("TANGOR_TEST_TMPDIR");
    const fs::path base = configured ? fs::path(configured) : fs::temp_directory_path();
    fs::create_directories(base);
    return base.string();
}

// The emulator's command words, "|"-separated in TANGOR_TEST_EMULATOR (empty in a native build).
std::vector<std::string> emulatorCommand() {
    std::vector<std::string> words;
    std::istringstream joined(TANGOR_TEST_EMULATOR);
    for (std::string word; std::getline(joined, word, '|');) {
        if (!word.empty()) {
            words.push_back(word);
        }
    }
    return words;
}

}  // namespace

LogCapture::LogCapture() {
    setLogSink([this](const LogRecord& record) {
        std::lock_guard<std::mutex> lock(mutex_);
        records_.push_back(record);
    });
}

LogCapture::~LogCapture() {
    setLogSink({});
}

std::vector<LogRecord> LogCapture::records() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return records_;
}

std::vector<std::string> LogCapture::lines() const {
    std::vector<std::string> result;
    for (const LogRecord& record : records()) {
        result.push_back(std::string(levelName(record.level)) + " " + record.message);
    }
    return result;
}

std::vector<std::string> LogCapture::messages(DltLogLevelType level) const {
    std::vector<std::string> result;
    for (const LogRecord& record : records()) {
        if (record.level == level) {
            result.push_back(record.message);
        }
    }
    return result;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    records_.clear();
}

TempDir::TempDir() {
    std::string pattern = scratchBase() + "/tangor-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) {
        ADD_FAILURE() << "mkdtemp failed for " << pattern;
    }
    path_ = pattern;
}

TempDir::~TempDir() {
    removeTree(path_);
}

void removeTree(const std::string& path) {
    std::error_code ignored;
    // Tests may leave read-only directories behind; open them up so that everything can go.
    for (auto it = fs::recursive_directory_iterator(path, ignored);
         !ignored && it != fs::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    ignored.clear();
    fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(path, ignored);
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    ASSERT_TRUE(out.good()) << "cannot write " << path;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    if (!in.good()) {
        ADD_FAILURE() << "cannot read " << path;
    }
    return content.str();
}

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

unsigned fileMode(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        ADD_FAILURE() << "cannot stat " << path;
        return 0;
    }
    return status.st_mode & 07777;
}

void FixedPathsTest::SetUp() {
    ASSERT_FALSE(root().empty()) << "the tests need a TANGOR_SYSROOT build";
    removeTree(root());
    fs::create_directories(root() + "/var/opt");
}

void FixedPathsTest::TearDown() {
    removeTree(root());
}

std::vector<std::string> queryRows(sqlite3* db, const std::string& sql) {
    std::vector<std::string> rows;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot prepare " << sql << ": " << sqlite3_errmsg(db);
        return rows;
    }
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        std::string row;
        for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
            const unsigned char* text = sqlite3_column_text(stmt, column);
            row += (column ? "|" : "");
            row += text ? reinterpret_cast<const char*>(text) : "<null>";
        }
        rows.push_back(row);
    }
    if (rc != SQLITE_DONE) {
        ADD_FAILURE() << "cannot step " << sql << ": " << sqlite3_errmsg(db);
    }
    sqlite3_finalize(stmt);
    return rows;
}

std::vector<std::string> queryRows(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot open " << path;
        sqlite3_close(db);
        return {};
    }
    std::vector<std::string> rows = queryRows(db, sql);
    sqlite3_close(db);
    return rows;
}

void execSql(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK) << path;
    char* error = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error);
    EXPECT_EQ(rc, SQLITE_OK) << sql << ": " << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

ProgramResult runProgram(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = emulatorCommand();
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : command) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    g_autofree char* standardOutput = nullptr;
    g_autofree char* standardError = nullptr;
    int waitStatus = 0;
    GError* spawnError = nullptr;
    const gboolean spawned =
        g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr,
                     &standardOutput, &standardError, &waitStatus, &spawnError);
    ProgramResult result;
    if (!spawned) {
        ADD_FAILURE() << "cannot run " << command.front() << ": " << spawnError->message;
        g_error_free(spawnError);
        return result;
    }
    result.standardError = standardError ? standardError : "";
    result.standardOutput = standardOutput ? standardOutput : "";
    result.status = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
    return result;
}

// Only a build with the tools has tangor-mkdic.
#ifdef TANGOR_MKDIC
bool makeDictionary(const std::string& wordList, const std::string& njconPath,
                    const std::string& njtanPath) {
    const ProgramResult result = runProgram({TANGOR_MKDIC, wordList, njconPath, njtanPath});
    if (result.status != 0) {
        ADD_FAILURE() << "tangor-mkdic " << wordList << " failed (" << result.status
                      << "): " << result.standardError;
    }
    return result.status == 0;
}
#endif

}  // namespace tangor::test
