#include "ScanLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <tangor/database/DatabaseMgr.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

namespace tangor::index {

namespace {

constexpr std::chrono::milliseconds kPollInterval{100};

bool tryLock(int fd) {
    int result;
    do {
        result = flock(fd, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

std::string besideDatabase(const std::string& devId, const char* suffix) {
    // No "." at all in the device's part, so no ".tangor" either.
    std::string stem = devId;
    for (char& c : stem) {
        if (c == '.') {
            c = '_';
        }
    }
    const std::filesystem::path database = corvina::DatabaseMgr().getDbNameFromDevId(devId);
    return (database.parent_path() / (stem + suffix)).string();
}

std::string ScanLock::path(const std::string& devId) {
    return besideDatabase(devId, ".scan-lock");
}

ScanLock::ScanLock(const std::string& devId, std::chrono::milliseconds wait,
                   const std::function<void(const std::string&)>& notice) {
    corvina::DatabaseMgr().createDirectory();
    const std::string file = path(devId);
    fd_ = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        throw std::runtime_error(file + ": the scan lock cannot be made: " + std::strerror(errno));
    }
    if (tryLock(fd_)) {
        return;
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait).count();
    notice("another scan of device " + devId + " is running: waiting for it (at most " +
           std::to_string(seconds) + " s)");
    const auto deadline = std::chrono::steady_clock::now() + wait;
    while (std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kPollInterval);
        if (tryLock(fd_)) {
            return;
        }
    }
    close(fd_);
    fd_ = -1;
    throw ScanLockTimeout("another scan of device " + devId + " is still running after " +
                          std::to_string(seconds) + " s");
}

ScanLock::~ScanLock() {
    if (fd_ >= 0) {
        close(fd_);  // releases the lock
    }
}

}  // namespace tangor::index
