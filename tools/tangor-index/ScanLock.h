#pragma once

// One scan per device at a time, across processes: an exclusive flock on a file beside the
// device's database. Two scans that both read the stored rows before either writes would both
// insert every track. The lock's name holds no ".tangor", so that the storage budget and `reset`,
// which take every such name for a database, leave it alone; it is never deleted, since a file
// deleted while locked would let a third scan lock a new one beside the first.

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

namespace tangor::index {

inline constexpr std::chrono::milliseconds kScanLockWait{120000};

// A file beside the device's database: the device's name with its dots written "_", then
// `suffix`, so that the name never holds ".tangor" and the storage budget and `reset` leave it
// alone.
std::string besideDatabase(const std::string& devId, const char* suffix);

// Another scan of the device held the lock for all of the wait.
class ScanLockTimeout : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class ScanLock {
public:
    // Takes the lock of device `devId`; when another scan holds it, tells `notice` once and waits
    // up to `wait` for it. Throws ScanLockTimeout after the wait, std::runtime_error when the lock
    // file cannot be made.
    ScanLock(const std::string& devId, std::chrono::milliseconds wait,
             const std::function<void(const std::string&)>& notice);
    ~ScanLock();
    ScanLock(const ScanLock&) = delete;
    ScanLock& operator=(const ScanLock&) = delete;

    // The lock file of device `devId`, in the database folder (besideDatabase).
    static std::string path(const std::string& devId);

private:
    int fd_ = -1;
};

}  // namespace tangor::index
