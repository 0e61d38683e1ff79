#include <tangor/database/DatabaseMgr.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "database/DatabaseFiles.h"
#include "database/Schema.h"
#include "internal/Logging.h"

namespace corvina {

std::vector<DatabaseMgr::DbFile> DatabaseMgr::getDatabaseInfo() {
    TANGOR_LOG(DLT_LOG_INFO, "getDatabaseInfo");
    createDirectory();
    std::vector<DbFile> files;
    DIR* directory = opendir(kDatabaseDirectory);
    if (directory == nullptr) {
        TANGOR_LOG(DLT_LOG_ERROR, "ERROR opening dir: %s", kDatabaseDirectory);
        return files;
    }
    while (const dirent* entry = readdir(directory)) {
        if (!isDatabaseFileName(entry->d_name)) {
            continue;
        }
        std::string path = kDatabaseDirectory + std::string(entry->d_name);
        struct stat status;
        if (stat(path.c_str(), &status) != 0) {
            continue;
        }
        TANGOR_LOG(DLT_LOG_INFO, "STAT %s", entry->d_name);
        files.push_back(DbFile{std::move(path), status.st_size, status.st_atime});
    }
    closedir(directory);
    std::sort(files.begin(), files.end(), DbFileSorter());
    TANGOR_LOG(DLT_LOG_INFO, "getDatabaseInfo DONE");
    return files;
}

void DatabaseMgr::checkAndDelete(const std::string& devId, off_t limit) {
    TANGOR_LOG(DLT_LOG_INFO, "checkAndDelete");
    const std::vector<DbFile> files = getDatabaseInfo();
    // 64 bits: where off_t has 32, a directory of 2 GiB or more would overflow it.
    long long total = 0;
    for (const DbFile& file : files) {
        total += file.size;
    }
    // %llu, not %lu: on a 32-bit target unsigned long would cut a total of 4 GiB or more.
    TANGOR_LOG(DLT_LOG_INFO, "Total size is %llu", static_cast<unsigned long long>(total));
    const std::string ownPath = getDbNameFromDevId(devId);
    if (total <= limit) {
        return;
    }
    for (const DbFile& file : files) {
        if (file.path == ownPath) {
            TANGOR_LOG(DLT_LOG_INFO, "skipping deleting %s", file.path.c_str());
        } else {
            TANGOR_LOG(DLT_LOG_INFO, "deleting %s", file.path.c_str());
            total -= file.size;
            unlink(file.path.c_str());
        }
        if (total <= limit) {
            return;
        }
    }
}

bool DatabaseMgr::dbSizeHasReachLimit(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || status.st_size <= kSingleFileLimit) {
        return false;
    }
    TANGOR_LOG(DLT_LOG_INFO, "Limit reach on single db size");
    return true;
}

}  // namespace corvina
