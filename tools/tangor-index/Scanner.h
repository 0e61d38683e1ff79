#pragma once

// Indexes the present partitions of one device into its database, each as a pipeline of stages:
// walk → comparison with the stored tracks → tags (on worker threads) → record and readings →
// rows → directories → playlists. A rescan reads and writes only what changed since the last one,
// and one where nothing changed writes nothing at all.
//
// The set-up (DatabaseSetUp) hands the file to the library's createDb only when createDb has
// something to make or check, and marks the partitions present in one transaction, so that a
// reader never sees a present partition without its tracks.
//
// Bad input never stops a scan: a file whose tags cannot be read is indexed from its name, a folder
// or file that cannot be read is named in a warning and its stored rows are kept, a file that
// vanishes is skipped. Only a database that cannot be opened or read, or that cannot be validated
// even once made anew, a write that fails (WriteFailed: the open batch is rolled back; a database
// folder that takes no write when createDb fails), the database file or the open batch's journal
// deleted during the scan (DatabaseDeleted, a WriteFailed), or another scan of the device that runs
// on past the wait (ScanLockTimeout) ends it with std::runtime_error.
//
// One scan of a device runs at a time, across processes (ScanLock): a second one waits for the
// first before it reads anything.

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "PartitionWalk.h"
#include "Playlist.h"
#include "ScanLock.h"

namespace tangor::index {

struct ScanTotals {
    std::size_t indexed = 0;     // track files in the index when the scan ends
    std::size_t written = 0;     // of those, the ones read and written by this scan
    std::size_t skipped = 0;     // vanished while the scan ran, or beyond a limit
    std::size_t warnings = 0;    // every problem below included
    std::size_t unreadable = 0;  // folders and files the walk could not read
};

// What a scan tells as it goes. Every call comes from the thread that called scanDevice.
class ScanObserver {
public:
    virtual ~ScanObserver() = default;
    virtual void partitionStarted(const std::string& /*mountPoint*/) {}
    // A track file is about to be read, with its absolute path.
    virtual void fileStarting(const std::string& /*path*/) {}
    // A track file's rows are written, before they are committed.
    virtual void fileDone() {}
    virtual void warning(const std::string& /*message*/) {}
    // Something the user should know that is not a fault of the input.
    virtual void notice(const std::string& /*message*/) {}
};

struct ScanOptions {
    std::size_t filesPerTransaction = 4096;
    unsigned jobs = 1;  // threads reading tags; 1 reads them on the writing thread
    WalkLimits limits;
    PlaylistLimits playlists;
    // How long to wait for another scan of the device to end.
    std::chrono::milliseconds lockWait{kScanLockWait};
};

// Indexes `mountPoints` (at least one) of device `devId`; the first is set up as the device's
// first partition, and the rows of every partition not listed are removed.
ScanTotals scanDevice(const std::string& devId, const std::vector<std::string>& mountPoints,
                      ScanObserver& observer, const ScanOptions& options = {});

}  // namespace tangor::index
