#include <tangor/database/DatabaseMgr.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

#include "database/DatabaseFiles.h"
#include "database/Schema.h"
#include "internal/Logging.h"

namespace corvina {

std::string DatabaseMgr::getDbNameFromDevId(const std::string& devId) {
    return kDatabaseDirectory + devId + kDatabaseExtension;
}

int DatabaseMgr::createDirectory() {
    struct stat status;
    if (stat(kDatabaseDirectory, &status) == 0) {
        return 0;
    }
    TANGOR_LOG(DLT_LOG_INFO, "Create directory %s", kDatabaseDirectory);
    mkdir(kDatabaseDirectory, 0766);
    return 0;
}

void DatabaseMgr::deleteDb(const std::string& devId) {
    const std::string path = getDbNameFromDevId(devId);
    if (!isPlainDeviceId(devId)) {
        TANGOR_LOG(DLT_LOG_WARN, "deleteDb refused for device id %s", path.c_str());
        return;
    }
    TANGOR_LOG(DLT_LOG_INFO, "deleteDb %s", path.c_str());
    unlink(path.c_str());
}

void DatabaseMgr::sync(const std::string& devId) {
    const std::string path = getDbNameFromDevId(devId);
    if (!isPlainDeviceId(devId)) {
        TANGOR_LOG(DLT_LOG_WARN, "sync refused for device id %s", path.c_str());
        return;
    }
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const int synced = fsync(fd);
    TANGOR_LOG(DLT_LOG_INFO, "sync %d", synced);
    const int changed = fchmod(fd, 0777);
    TANGOR_LOG(DLT_LOG_INFO, "chmod %d", changed);
    if (fd >= 0) {
        ::close(fd);
    }
}

void DatabaseMgr::reset() {
    TANGOR_LOG(DLT_LOG_INFO, "reset");
    DIR* directory = opendir(kDatabaseDirectory);
    if (directory == nullptr) {
        TANGOR_LOG(DLT_LOG_ERROR, "ERROR opening dir: %s", kDatabaseDirectory);
        return;
    }
    // Names are gathered before anything is removed: removing entries while the directory is
    // still being read may make some file systems skip entries.
    std::vector<std::string> paths;
    while (const dirent* entry = readdir(directory)) {
        if (isDatabaseFileName(entry->d_name)) {
            paths.push_back(kDatabaseDirectory + std::string(entry->d_name));
        }
    }
    closedir(directory);
    for (const std::string& path : paths) {
        if (unlink(path.c_str()) == 0) {
            TANGOR_LOG(DLT_LOG_INFO, "unlink %s", path.c_str());
        }
    }
    TANGOR_LOG(DLT_LOG_INFO, "reset DONE");
}

template <typename T>
bool DatabaseMgr::open(const std::string& devId, T& stream, int timeout) {
    const std::string path = getDbNameFromDevId(devId);
    if (isPlainDeviceId(devId)) {
        createDirectory();
        stream.open(path.c_str(), timeout);
        if (stream.db != nullptr) {
            return true;
        }
    }
    TANGOR_LOG(DLT_LOG_WARN, "error opening db: %s", path.c_str());
    throw std::runtime_error("cannot open db");
}

template bool DatabaseMgr::open(const std::string&, sqlstl::sqlistream&, int);
template bool DatabaseMgr::open(const std::string&, sqlstl::sqlostream&, int);

}  // namespace corvina
