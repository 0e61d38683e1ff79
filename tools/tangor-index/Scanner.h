#pragma once

// Indexes the present partitions of one device into its database. A rescan reads and writes only
// what changed since the last one, and one where nothing changed writes nothing at all.
//
// Bad input never stops a scan: a file whose tags cannot be read is indexed from its name (a
// warning), a file that vanishes is skipped. Only a database that cannot be opened, or that cannot
// be validated even once made anew, ends it with std::runtime_error.

#include <cstddef>
#include <string>
#include <vector>

#include "PartitionWalker.h"

namespace tangor::index {

struct ScanTotals {
    std::size_t indexed = 0;   // track files in the index when the scan ends
    std::size_t written = 0;   // of those, the ones read and written by this scan
    std::size_t skipped = 0;   // vanished while the scan ran, or beyond a limit
    std::size_t warnings = 0;  // unreadable tags, directories or playlists, failed writes
};

// What a scan tells as it goes. Every call comes from the scanning thread.
class ScanObserver {
public:
    virtual ~ScanObserver() = default;
    // Once per partition, before its first track file is read.
    virtual void partitionStarted(const std::string& /*mountPoint*/, std::size_t /*toRead*/) {}
    // Before a track file is read, with its absolute path.
    virtual void fileStarting(const std::string& /*path*/) {}
    virtual void fileDone() {}
    virtual void warning(const std::string& /*message*/) {}
    // Something the user should know that is not a fault of the input.
    virtual void notice(const std::string& /*message*/) {}
};

struct ScanOptions {
    std::size_t filesPerTransaction = 256;
    WalkLimits limits;
};

// The mount point as the index names it: without trailing slashes ("/" stays).
std::string normalizedMountPoint(const std::string& mountPoint);

// Indexes `mountPoints` (normalized, at least one) of device `devId`; the first is set up as the
// device's first partition, and the rows of every partition not listed are removed.
ScanTotals scanDevice(const std::string& devId, const std::vector<std::string>& mountPoints,
                      ScanObserver& observer, const ScanOptions& options = {});

}  // namespace tangor::index
