#include "Commands.h"

#include <tangor/database/DatabaseMgr.h>
#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/platform/CCodeDataManager.h>
#include <tangor/platform/log.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "FileSystem.h"
#include "IndexDatabase.h"
#include "IndexSql.h"
#include "JsonText.h"
#include "MountPoint.h"
#include "Progress.h"
#include "ScanLock.h"
#include "Scanner.h"
#include "WriteBatch.h"

namespace tangor::index {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxListedRows = 10000000;

void fail(const std::string& message) {
    std::fprintf(stderr, "tangor-index: %s\n", message.c_str());
}

const char* levelName(DltLogLevelType level) {
    switch (level) {
        case DLT_LOG_FATAL:
            return "fatal";
        case DLT_LOG_ERROR:
            return "error";
        case DLT_LOG_WARN:
            return "warning";
        default:
            return "info";
    }
}

// The library's records go to DLT as they would without the indexer, and through the progress
// display, so they never cut the bar in two; info records there only when asked for.
void routeLibraryLog(Progress& progress, bool verbose) {
    setLogSink([&progress, verbose](const LogRecord& record) {
        sendToDlt(record);
        if (verbose || record.level <= DLT_LOG_WARN) {
            progress.printLine(std::string("tangor-index: library ") + levelName(record.level) +
                               ": " + record.function + ": " + record.message);
        }
    });
}

struct LogSinkReset {
    ~LogSinkReset() { setLogSink(nullptr); }
};

void applyCoding(const CommandLine& line) {
    if (line.country) {
        CCodeDataManager::GetInstance().SetCountryCode(*line.country);
    }
    if (line.searchReading) {
        CCodeDataManager::GetInstance().SetSearchReading(*line.searchReading);
    }
}

bool isDirectory(const std::string& path) {
    return fileStatus(path).type == FileStatus::Type::Directory;
}

unsigned coresOnline() {
    const long cores = sysconf(_SC_NPROCESSORS_ONLN);
    return cores < 1 ? 1 : cores > 64 ? 64 : static_cast<unsigned>(cores);
}

// The folders above the database directory, which a demo or test build places below a folder of
// its own; the library makes the database directory itself.
void makeDatabaseParents(const std::string& device) {
    const fs::path database = corvina::DatabaseMgr().getDbNameFromDevId(device);
    std::error_code ignored;  // a folder that cannot be made shows when the database is opened
    fs::create_directories(database.parent_path().parent_path(), ignored);
}

bool databaseExists(const std::string& device) {
    const std::string path = corvina::DatabaseMgr().getDbNameFromDevId(device);
    return fileStatus(path).type != FileStatus::Type::Missing;
}

std::string plural(std::size_t count, const char* word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

const char* audioTypeName(int audioType) {
    switch (audioType) {
        case corvina::MetaDataInfo::Audiobook:
            return "audiobook";
        case corvina::MetaDataInfo::Podcast:
            return "podcast";
        default:
            return "music";
    }
}

}  // namespace

int runScan(const CommandLine& line) {
    std::vector<std::string> mountPoints;
    for (const std::string& operand : line.operands) {
        if (!isDirectory(operand)) {
            fail(operand + ": not a directory");
            return 1;
        }
        mountPoints.push_back(MountPoint(operand).path());
    }
    ScanOptions options;
    options.jobs = line.jobs ? *line.jobs : coresOnline();
    applyCoding(line);
    makeDatabaseParents(line.device);
    Progress progress(stderr, !line.quiet && isatty(STDERR_FILENO));
    const LogSinkReset logSinkReset;
    routeLibraryLog(progress, line.verbose);
    const auto start = std::chrono::steady_clock::now();
    ScanTotals totals;
    try {
        totals = scanDevice(line.device, mountPoints, progress, options);
    } catch (const DatabaseDeleted& error) {
        progress.printLine("tangor-index: device " + line.device + ": " + error.what());
        return 1;
    } catch (const WriteFailed& error) {
        progress.printLine("tangor-index: device " + line.device +
                           ": writing failed: " + error.what());
        return 1;
    } catch (const ScanLockTimeout& error) {
        progress.printLine("tangor-index: device " + line.device + ": " + error.what());
        return 1;
    } catch (const std::exception& error) {
        progress.printLine("tangor-index: device " + line.device +
                           ": the database cannot be used: " + error.what());
        return 1;
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    progress.finish();
    std::printf("%s indexed (%zu read), %zu skipped, %s, %.2f s\n",
                plural(totals.indexed, "file").c_str(), totals.written, totals.skipped,
                plural(totals.warnings, "warning").c_str(), seconds);
    if (totals.unreadable > 0) {
        fail(plural(totals.unreadable, "folder or file") +
             " could not be read (see the warnings); their stored rows were kept");
        return 1;
    }
    return 0;
}

int runList(const CommandLine& line) {
    if (!databaseExists(line.device)) {
        fail("device " + line.device + " has no database");
        return 1;
    }
    std::unique_ptr<IndexDatabase> database;
    try {
        database = std::make_unique<IndexDatabase>(line.device);
    } catch (const std::exception& error) {
        fail("device " + line.device + ": " + error.what());
        return 1;
    }
    Statement songs(database->connection(), sql::kListSongs);
    if (!songs.valid()) {
        fail("device " + line.device + ": the database has no track view");
        return 1;
    }
    std::printf(line.json ? "[" : "ARTIST\tALBUM\tTITLE\tTYPE\tREADING\n");
    const char* separator = "\n";
    for (std::size_t row = 0; row < kMaxListedRows && songs.next(); ++row) {
        const std::string artist = songs.text(0), album = songs.text(1), title = songs.text(2);
        const int audioType = static_cast<int>(songs.integer(3));
        if (line.json) {
            std::printf(
                "%s  {\"artist\": %s, \"album\": %s, \"title\": %s, \"audioType\": %d, "
                "\"type\": \"%s\", \"path\": %s, \"artistReading\": %s, "
                "\"albumReading\": %s, \"titleReading\": %s}",
                separator, jsonString(artist).c_str(), jsonString(album).c_str(),
                jsonString(title).c_str(), audioType, audioTypeName(audioType),
                jsonString(songs.text(4)).c_str(), jsonString(songs.text(5)).c_str(),
                jsonString(songs.text(6)).c_str(), jsonString(songs.text(7)).c_str());
            separator = ",\n";
        } else {
            std::printf("%s\t%s\t%s\t%s\t%s\n", artist.c_str(), album.c_str(), title.c_str(),
                        audioTypeName(audioType), songs.text(7).c_str());
        }
    }
    if (line.json) {
        std::printf(*separator == '\n' ? "]\n" : "\n]\n");
    }
    return 0;
}

int runStatus(const CommandLine& line) {
    if (!databaseExists(line.device)) {
        fail("device " + line.device + " has no database");
        return 1;
    }
    const std::string mountPoint = MountPoint(line.operands.front()).path();
    try {
        // Bound, not the library's getStatus: a mount point is a volume label that anyone can
        // write, and its text must not become part of the query.
        const std::string status = IndexDatabase(line.device).status(mountPoint);
        if (status.empty()) {
            fail("device " + line.device + " has no status for " + mountPoint);
            return 1;
        }
        std::printf("%s\n", status.c_str());
    } catch (const std::exception& error) {
        fail("device " + line.device + ": " + error.what());
        return 1;
    }
    return 0;
}

int runFiles() {
    std::printf("SIZE\tLAST ACCESS\tPATH\n");
    for (const corvina::DatabaseMgr::DbFile& file : corvina::DatabaseMgr().getDatabaseInfo()) {
        char accessed[32] = "-";
        const std::time_t time = file.accessTime;
        std::tm local{};
        if (localtime_r(&time, &local)) {
            std::strftime(accessed, sizeof accessed, "%Y-%m-%d %H:%M:%S", &local);
        }
        std::printf("%lld\t%s\t%s\n", static_cast<long long>(file.size), accessed,
                    file.path.c_str());
    }
    return 0;
}

}  // namespace tangor::index
