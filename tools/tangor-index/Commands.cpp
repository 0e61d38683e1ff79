#include "Commands.h"

#include <sys/stat.h>
#include <tangor/database/DatabaseMgr.h>
#include <tangor/platform/CCodeDataManager.h>
#include <tangor/platform/log.h>
#include <tangor/sqlstl/sqlstream.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include "IndexSql.h"
#include "MediaStore.h"
#include "Progress.h"
#include "Scanner.h"

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

// The library's records go through the progress display, so they never cut the bar in two; info
// records only when asked for.
void routeLibraryLog(Progress& progress, bool verbose) {
    setLogSink([&progress, verbose](const LogRecord& record) {
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
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The folders above the database directory, which a demo or test build places below a folder of
// its own; the library makes the database directory itself.
void makeDatabaseParents(const std::string& device) {
    const fs::path database = corvina::DatabaseMgr().getDbNameFromDevId(device);
    std::error_code ignored;  // a folder that cannot be made shows when the database is opened
    fs::create_directories(database.parent_path().parent_path(), ignored);
}

bool databaseExists(const std::string& device) {
    struct stat status {};
    return stat(corvina::DatabaseMgr().getDbNameFromDevId(device).c_str(), &status) == 0;
}

std::string plural(std::size_t count, const char* word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

const char* audioTypeName(int audioType) {
    switch (audioType) {
        case 0x10:
            return "audiobook";
        case 0x20:
            return "podcast";
        default:
            return "music";
    }
}

// The length of the valid UTF-8 sequence that starts at byte `i` (0x80 or above), or 0.
std::size_t validSequenceLength(const std::string& text, std::size_t i) {
    const auto byte = [&text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char lead = byte(i);
    std::size_t length = 0;
    unsigned char secondMin = 0x80;
    unsigned char secondMax = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        secondMin = lead == 0xE0 ? 0xA0 : 0x80;  // no overlong forms
        secondMax = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        secondMin = lead == 0xF0 ? 0x90 : 0x80;
        secondMax = lead == 0xF4 ? 0x8F : 0xBF;  // nothing above U+10FFFF
    }
    if (length == 0 || i + length > text.size()) {
        return 0;
    }
    for (std::size_t k = 1; k < length; ++k) {
        const unsigned char low = k == 1 ? secondMin : 0x80;
        const unsigned char high = k == 1 ? secondMax : 0xBF;
        if (byte(i + k) < low || byte(i + k) > high) {
            return 0;
        }
    }
    return length;
}

// JSON text of UTF-8 bytes; a byte that does not belong to a valid sequence becomes U+FFFD.
std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
            ++i;
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
            ++i;
        } else if (c < 0x80) {
            out += static_cast<char>(c);
            ++i;
        } else {
            const std::size_t length = validSequenceLength(text, i);
            out += length ? text.substr(i, length) : "\xEF\xBF\xBD";
            i += length ? length : 1;
        }
    }
    return out + "\"";
}

}  // namespace

int runScan(const CommandLine& line) {
    std::vector<std::string> mountPoints;
    for (const std::string& operand : line.operands) {
        if (!isDirectory(operand)) {
            fail(operand + ": not a directory");
            return 1;
        }
        mountPoints.push_back(normalizedMountPoint(operand));
    }
    applyCoding(line);
    makeDatabaseParents(line.device);
    Progress progress(stderr, !line.quiet && isatty(STDERR_FILENO));
    const LogSinkReset logSinkReset;
    routeLibraryLog(progress, line.verbose);
    const auto start = std::chrono::steady_clock::now();
    ScanTotals totals;
    try {
        totals = scanDevice(line.device, mountPoints, progress);
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
    return 0;
}

int runList(const CommandLine& line) {
    if (!databaseExists(line.device)) {
        fail("device " + line.device + " has no database");
        return 1;
    }
    sqlstl::sqlistream songs;
    try {
        corvina::DatabaseMgr().open(line.device, songs, MediaStore::kBusyTimeoutMs);
    } catch (const std::exception& error) {
        fail("device " + line.device + ": " + error.what());
        return 1;
    }
    songs.query(sql::kListSongs);
    if (songs.bad()) {
        fail("device " + line.device + ": the database has no track view");
        return 1;
    }
    std::printf(line.json ? "[" : "ARTIST\tALBUM\tTITLE\tTYPE\tREADING\n");
    const char* separator = "\n";
    for (std::size_t row = 0; songs.good() && row < kMaxListedRows; ++row) {
        std::string artist, album, title, path, artistReading, albumReading, titleReading;
        int audioType = 0;
        songs >> artist >> album >> title >> audioType >> path >> artistReading >> albumReading >>
            titleReading;
        if (line.json) {
            std::printf(
                "%s  {\"artist\": %s, \"album\": %s, \"title\": %s, \"audioType\": %d, "
                "\"type\": \"%s\", \"path\": %s, \"artistReading\": %s, "
                "\"albumReading\": %s, \"titleReading\": %s}",
                separator, jsonString(artist).c_str(), jsonString(album).c_str(),
                jsonString(title).c_str(), audioType, audioTypeName(audioType),
                jsonString(path).c_str(), jsonString(artistReading).c_str(),
                jsonString(albumReading).c_str(), jsonString(titleReading).c_str());
            separator = ",\n";
        } else {
            std::printf("%s\t%s\t%s\t%s\t%s\n", artist.c_str(), album.c_str(), title.c_str(),
                        audioTypeName(audioType), titleReading.c_str());
        }
        songs.step();
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
    const std::string mountPoint = normalizedMountPoint(line.operands.front());
    try {
        const std::string status = corvina::DatabaseMgr().getStatus(line.device, mountPoint);
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
