#include "Scanner.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <tangor/database/DatabaseMgr.h>

#include "AudioHead.h"
#include "DatabaseSetUp.h"
#include "DirectoryMerge.h"
#include "IndexDatabase.h"
#include "PlaylistStage.h"
#include "RecordBuilder.h"
#include "SongComparison.h"
#include "TagReadWindow.h"
#include "WriteBatch.h"

namespace tangor::index {

namespace {

// Items the window holds per reading thread: enough to keep each busy while the writer catches up.
constexpr std::size_t kWindowPerJob = 32;

// Whether the file's permissions are open to every user, as DatabaseMgr::sync leaves them (statx:
// no 32-bit overflow on the target).
bool openedUp(const std::string& path) {
    struct statx status {};
    return statx(AT_FDCWD, path.c_str(), 0, STATX_MODE, &status) == 0 &&
           (status.stx_mode & 07777) == 0777;
}

class PartitionScan {
public:
    PartitionScan(IndexDatabase& database, const MountPoint& mountPoint,
                  const RecordBuilder& records, ScanObserver& observer, const ScanOptions& options,
                  ScanTotals& totals)
        : database_(database),
          mountPoint_(mountPoint),
          records_(records),
          observer_(observer),
          options_(options),
          totals_(totals) {}

    // Returns whether anything was written.
    bool run() {
        const std::string previous = database_.status(mountPoint_.path());
        observer_.partitionStarted(mountPoint_.path());
        auto warn = [this](const std::string& message) { this->warn(message); };
        WriteBatch batch(database_, mountPoint_, options_.filesPerTransaction);
        DirectoryMerge directories(database_, mountPoint_, batch);
        PlaylistStage playlists(database_, mountPoint_, batch, warn, options_.playlists);
        PartitionWalk walk(mountPoint_, options_.limits);
        SongComparison comparison(mountPoint_, walk, database_.storedSongs(mountPoint_),
                                  [this](const WalkEntry& entry) { walkProblem(entry); });
        {
            const unsigned jobs = options_.jobs > 1 ? options_.jobs : 0;
            TagReadWindow window(mountPoint_, kWindowPerJob * (jobs ? jobs : 1), jobs);
            Stages stages{batch, directories, playlists};
            // Each round moves one item through; the walk's limits bound the rounds.
            for (;;) {
                fill(window, comparison);
                if (window.empty()) {
                    break;
                }
                apply(window.pop(), stages);
            }
        }
        directories.finish();
        playlists.finish(tracksChanged_ || previous != kStatusDone);
        totals_.skipped += playlists.skipped();
        batch.finish(comparison.incomplete() ? kStatusIncomplete : kStatusDone, previous);
        return batch.wroteAnything();
    }

private:
    struct Stages {
        WriteBatch& batch;
        DirectoryMerge& directories;
        PlaylistStage& playlists;
    };

    void warn(const std::string& message) {
        ++totals_.warnings;
        observer_.warning(message);
    }

    void walkProblem(const WalkEntry& entry) {
        if (entry.kind == WalkEntry::Kind::Skipped) {
            ++totals_.skipped;
            warn(mountPoint_.absolute(entry.relativePath) + ": " + entry.problem);
            return;
        }
        ++totals_.unreadable;
        warn(mountPoint_.absolute(entry.relativePath) + ": " + entry.problem +
             "; its rows are kept");
    }

    void fill(TagReadWindow& window, SongComparison& comparison) {
        ScanItem item;
        while (!window.full() && comparison.next(item)) {
            if (item.action == ScanItem::Action::Read) {
                observer_.fileStarting(mountPoint_.absolute(item.relativePath));
            }
            window.push(std::move(item));
        }
    }

    void apply(const ScanItem& item, Stages& stages) {
        switch (item.action) {
            case ScanItem::Action::Keep:
                stages.directories.fileIndexed(item.relativePath);
                ++totals_.indexed;
                break;
            case ScanItem::Action::Delete:
                deleteTrack(item, stages.batch, "row of a file that is gone cannot be deleted");
                stages.batch.fileWritten();
                break;
            case ScanItem::Action::Playlist:
                stages.directories.fileIndexed(item.relativePath);
                if (!stages.playlists.found(item.relativePath, item.lastModified)) {
                    ++totals_.skipped;
                    warn(mountPoint_.absolute(item.relativePath) +
                         ": playlist left out, the partition has too many");
                }
                break;
            case ScanItem::Action::Read:
                writeTrack(item, stages);
                break;
        }
    }

    void deleteTrack(const ScanItem& item, WriteBatch& batch, const char* failure) {
        batch.write();
        tracksChanged_ = true;
        if (!database_.deleteSong(item.storedId)) {
            batch.fail(mountPoint_.absolute(item.relativePath) + ": " + failure);
        }
    }

    void writeTrack(const ScanItem& item, Stages& stages) {
        const std::string path = mountPoint_.absolute(item.relativePath);
        if (item.tagResult == TagResult::Vanished) {
            ++totals_.skipped;
            if (item.storedId != 0) {
                deleteTrack(item, stages.batch, "row of a file that is gone cannot be deleted");
            }
            return;
        }
        if (item.tagResult == TagResult::Unreadable) {
            warn(path + ": tags cannot be read; indexed from its name");
        } else if (item.tagResult == TagResult::NotAudio) {
            warn(path + ": its first " + std::to_string(kAudioHeadBytes / 1024) +
                 " KiB are zero bytes, not audio; indexed from its name");
        }
        const corvina::MetaDataInfo record =
            records_.build(mountPoint_, item.relativePath, item.tags, item.lastModified);
        if (item.storedId != 0) {
            deleteTrack(item, stages.batch, "old row cannot be deleted");
        }
        stages.batch.write();
        tracksChanged_ = true;
        if (!database_.insertSong(record, item.lastModified)) {
            stages.batch.fail(path + ": its rows cannot be written");
        }
        stages.directories.fileIndexed(item.relativePath);
        ++totals_.indexed;
        ++totals_.written;
        observer_.fileDone();
        stages.batch.fileWritten();
    }

    IndexDatabase& database_;
    const MountPoint& mountPoint_;
    const RecordBuilder& records_;
    ScanObserver& observer_;
    const ScanOptions& options_;
    ScanTotals& totals_;
    bool tracksChanged_ = false;
};

}  // namespace

ScanTotals scanDevice(const std::string& devId, const std::vector<std::string>& mountPointPaths,
                      ScanObserver& observer, const ScanOptions& options) {
    if (mountPointPaths.empty()) {
        return {};
    }
    const std::vector<MountPoint> mountPoints(mountPointPaths.begin(), mountPointPaths.end());
    // Before anything is read: the rows stored when this scan starts are then all it compares.
    const ScanLock lock(devId, options.lockWait,
                        [&observer](const std::string& message) { observer.notice(message); });
    bool wrote = setUpDatabase(
        devId, mountPoints, [&observer](const std::string& message) { observer.notice(message); });
    const RecordBuilder records;
    ScanTotals totals;
    std::string path;
    {
        IndexDatabase database(devId);
        path = database.path();
        wrote = markPresence(database, mountPoints) || wrote;
        for (const MountPoint& mountPoint : mountPoints) {
            wrote = PartitionScan(database, mountPoint, records, observer, options, totals).run() ||
                    wrote;
        }
        // Last look before the library's calls below, which open the file by its name and would
        // make a new, empty one in place of a deleted one.
        if (database.checkFile() != IndexDatabase::FileState::Intact) {
            throwDatabaseDeleted(database, mountPoints.back().path());
        }
    }
    // Deletes nothing, so writes nothing, when no partition went away.
    corvina::DatabaseMgr().removeDanglingPartitions(devId, mountPoints.front().path());
    // SQLite flushed every commit; a scan that wrote nothing has nothing to flush.
    if (wrote || !openedUp(path)) {
        corvina::DatabaseMgr().sync(devId);
    }
    return totals;
}

}  // namespace tangor::index
