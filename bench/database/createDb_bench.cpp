#include <tangor/coding/CodingManager.h>
#include <tangor/database/DatabaseMgr.h>
#include <tangor/platform/CCodeDataManager.h>

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <glib.h>
#include <sqlite3.h>
#include <strings.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "database/Schema.h"

namespace {

const std::string kDevice = "usb1";
const std::string kMountPoint = "/media/usb1";
const std::string kDirectory = corvina::kDatabaseDirectory;

// A current database for the device among a few others, as a head unit that has seen several
// devices would have.
void prepareDirectory() {
    std::filesystem::remove_all(kDirectory);
    std::filesystem::create_directories(kDirectory);
    CCodeDataManager::GetInstance().SetCountryCode(6);
    corvina::DatabaseMgr mgr;
    for (const char* device : {"usb0", "usb2", "sd0", "phone", "usb1"}) {
        mgr.createDb(device, kMountPoint, true);
    }
}

void createDb_current(benchmark::State& state) {
    prepareDirectory();
    corvina::DatabaseMgr mgr;
    for (auto _ : state) {
        mgr.createDb(kDevice, kMountPoint, false);
    }
}

// The same work done directly with the C interfaces, without logging or checks.
void listDatabaseFiles() {
    DIR* directory = opendir(kDirectory.c_str());
    long long total = 0;
    while (const dirent* entry = readdir(directory)) {
        if (strcasestr(entry->d_name, ".tangor") == nullptr) {
            continue;
        }
        struct stat status;
        if (stat((kDirectory + entry->d_name).c_str(), &status) == 0) {
            total += status.st_size;
        }
    }
    closedir(directory);
    benchmark::DoNotOptimize(total);
}

sqlite3* openConnection(const std::string& path) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_busy_timeout(db, corvina::kBusyTimeoutMs);
    return db;
}

std::string selectText(sqlite3* db, const char* sql) {
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
    std::string value;
    if (sqlite3_step(stmt) == SQLITE_ROW) {
        value = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    }
    sqlite3_finalize(stmt);
    return value;
}

void createDb_current_floor(benchmark::State& state) {
    prepareDirectory();
    const std::string path = kDirectory + kDevice + ".tangor";
    for (auto _ : state) {
        listDatabaseFiles();
        sqlite3* writer = openConnection(path);
        sqlite3_exec(writer, corvina::kSchemaScript, nullptr, nullptr, nullptr);
        sqlite3* reader = openConnection(path);
        benchmark::DoNotOptimize(selectText(reader, corvina::kSelectVersionSql));
        benchmark::DoNotOptimize(selectText(reader, corvina::kSelectCodingSql));

        gchar* digest = g_compute_checksum_for_data(
            G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(kMountPoint.data()),
            kMountPoint.size());
        const std::string partitionId = std::string("dir:") + digest;
        g_free(digest);
        sqlite3_exec(writer, "BEGIN TRANSACTION;", nullptr, nullptr, nullptr);
        sqlite3_stmt* stmt = nullptr;
        sqlite3_prepare_v2(writer, corvina::kInsertPresenceSql, -1, &stmt, nullptr);
        sqlite3_bind_text(stmt, 1, partitionId.c_str(), -1, SQLITE_STATIC);
        sqlite3_step(stmt);
        sqlite3_exec(writer, "END TRANSACTION;", nullptr, nullptr, nullptr);
        sqlite3_finalize(stmt);
        sqlite3_close(writer);
        sqlite3_close(reader);
    }
}

BENCHMARK(createDb_current)->Unit(benchmark::kMicrosecond);
BENCHMARK(createDb_current_floor)->Unit(benchmark::kMicrosecond);

}  // namespace
