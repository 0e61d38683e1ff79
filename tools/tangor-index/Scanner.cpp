#include "Scanner.h"

#include <sys/stat.h>
#include <tangor/coding/CodingManager.h>
#include <tangor/database/DatabaseMgr.h>
#include <tangor/metadata/Md5.h>
#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/phonetic/phonetic.h>

#include <optional>
#include <set>
#include <stdexcept>
#include <unordered_map>

#include "MediaStore.h"
#include "Playlist.h"
#include "TagReader.h"

namespace tangor::index {

namespace {

const char* const kStatusScanning = "SCANNING";
const char* const kStatusDone = "DONE";

std::string parentOf(const std::string& relative) {
    const std::size_t slash = relative.rfind('/');
    return slash == std::string::npos ? "" : relative.substr(0, slash);
}

std::string lastComponent(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

std::string withoutExtension(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

bool isValidationFailure(const std::runtime_error& error) {
    const std::string what = error.what();
    return what == "COULD NOT GET DB VERSION" || what == "COULD NOT GET DB CODING" ||
           what == "COULD NOT RECREATE DB";
}

// Marks the partitions present, first to last. A database that cannot be validated is deleted
// and the set-up starts again once, so that no partition set up before it is lost.
void setUpDatabase(const std::string& devId, const std::vector<std::string>& mountPoints,
                   ScanObserver& observer) {
    for (int attempt = 0;; ++attempt) {
        try {
            for (std::size_t i = 0; i < mountPoints.size(); ++i) {
                corvina::DatabaseMgr().createDb(devId, mountPoints[i], i == 0);
            }
            return;
        } catch (const std::runtime_error& error) {
            if (attempt > 0 || !isValidationFailure(error)) {
                throw;
            }
            observer.notice("the database of device " + devId + " cannot be validated (" +
                            error.what() + "): deleting it and making it anew");
            corvina::DatabaseMgr().deleteDb(devId);
        }
    }
}

// The reading engine for the scan's lifetime, on the markets that have readings.
class Readings {
public:
    Readings() : code_(corvina::CodingManager::getCountryCode()) {
        if (usesEngine()) {
            init_lib(&iWnn, code_);
        }
    }
    ~Readings() {
        if (usesEngine()) {
            free_dic(&iWnn);
        }
    }
    Readings(const Readings&) = delete;
    Readings& operator=(const Readings&) = delete;

    bool wanted() const { return usesEngine() || code_ == COUNTRY_JAPAN; }

private:
    bool usesEngine() const { return code_ == COUNTRY_CHINA || code_ == COUNTRY_TAIWAN; }
    CountryCode code_;
};

class PartitionScan {
public:
    PartitionScan(const std::string& devId, const std::string& mountPoint, MediaStore& store,
                  ScanObserver& observer, const ScanOptions& options, bool readings,
                  ScanTotals& totals)
        : mountPoint_(mountPoint),
          partitionId_(corvina::Md5(corvina::Md5::Directory, mountPoint).value),
          store_(store),
          observer_(observer),
          options_(options),
          readings_(readings),
          totals_(totals),
          previousStatus_(corvina::DatabaseMgr().getStatus(devId, mountPoint)) {}

    void run() {
        listing_ = walkPartition(mountPoint_, options_.limits);
        reportWalkProblems();
        indexTracks();
        deleteGoneTracks();
        updateDirectories();
        updatePlaylists();
        finish();
    }

private:
    std::string absolute(const std::string& relative) const {
        if (relative.empty()) {
            return mountPoint_;
        }
        return mountPoint_ == "/" ? "/" + relative : mountPoint_ + "/" + relative;
    }

    bool interrupted() const { return previousStatus_ != kStatusDone; }

    void warn(const std::string& message) {
        ++totals_.warnings;
        observer_.warning(message);
    }

    // The first write of a scan marks the partition as being scanned; a scan that finds nothing
    // to change writes nothing.
    void startWriting() {
        if (!statusWritten_) {
            store_.writeStatus(mountPoint_, kStatusScanning);
            statusWritten_ = true;
        }
        store_.begin();
    }

    void wrote() {
        if (++writesInTransaction_ >= options_.filesPerTransaction) {
            store_.commit();
            writesInTransaction_ = 0;
        }
    }

    void finish() {
        store_.commit();
        if (statusWritten_ || interrupted()) {
            store_.writeStatus(mountPoint_, kStatusDone);
        }
    }

    void reportWalkProblems() {
        for (const std::string& directory : listing_.unreadableDirectories) {
            warn(absolute(directory) + ": directory cannot be read");
        }
        if (listing_.truncated) {
            ++totals_.skipped;
            warn(mountPoint_ + ": too many files or directories too deep; the rest is skipped");
        }
    }

    std::size_t filesToRead() const {
        std::size_t count = 0;
        for (const FoundFile& file : listing_.audioFiles) {
            const auto stored = storedSongs_.find(absolute(file.relativePath));
            count +=
                stored == storedSongs_.end() || stored->second.lastModified != file.lastModified;
        }
        return count;
    }

    void indexTracks() {
        storedSongs_ = store_.loadSongs(partitionId_);
        observer_.partitionStarted(mountPoint_, filesToRead());
        for (const FoundFile& file : listing_.audioFiles) {
            const std::string path = absolute(file.relativePath);
            const auto stored = storedSongs_.find(path);
            if (stored != storedSongs_.end() && stored->second.lastModified == file.lastModified) {
                keepTrack(file.relativePath, stored->second.audioType);
                storedSongs_.erase(stored);
                continue;
            }
            std::optional<StoredSong> old;
            if (stored != storedSongs_.end()) {
                old = stored->second;
                storedSongs_.erase(stored);
            }
            observer_.fileStarting(path);
            indexTrack(file, path, old ? &*old : nullptr);
            observer_.fileDone();
        }
    }

    void keepTrack(const std::string& relative, int audioType) {
        trackPaths_.push_back(relative);
        audioTypes_.emplace(relative, audioType);
        ++totals_.indexed;
    }

    void indexTrack(const FoundFile& file, const std::string& path, const StoredSong* stored) {
        Tags tags;
        const TagResult result = readTags(path, tags);
        if (result == TagResult::Vanished) {
            ++totals_.skipped;
            if (stored) {
                storedSongs_.emplace(path, *stored);  // deleted with the other gone files
            }
            return;
        }
        if (result == TagResult::Unreadable) {
            warn(path + ": tags cannot be read; indexed from its name");
        }
        corvina::MetaDataInfo record(path, mountPoint_, trimmed(tags.title), trimmed(tags.artist),
                                     trimmed(tags.album), trimmed(tags.genre),
                                     trimmed(tags.composer), tags.trackNumber, tags.discNumber,
                                     static_cast<long>(file.lastModified));
        if (readings_) {
            record.setAsianFields();
        }
        startWriting();
        tracksChanged_ = true;
        if (stored && !store_.deleteSong(stored->id)) {
            warn(path + ": old row cannot be deleted: " + store_.lastError());
        }
        if (!store_.insertSong(record)) {
            warn(path + ": cannot be written: " + store_.lastError());
            return;
        }
        keepTrack(file.relativePath, record.audioType);
        ++totals_.written;
        wrote();
    }

    static corvina::StrippedValue trimmed(const std::string& tag) {
        return corvina::trim(tag.data(), static_cast<unsigned>(tag.size()));
    }

    // What is left of the stored songs was not found on the partition.
    void deleteGoneTracks() {
        for (const auto& [path, song] : storedSongs_) {
            startWriting();
            tracksChanged_ = true;
            if (!store_.deleteSong(song.id)) {
                warn(path +
                     ": row of a file that is gone cannot be deleted: " + store_.lastError());
            }
            wrote();
        }
    }

    void updateDirectories() {
        std::set<std::string> wanted;  // sorted: a parent before its children
        auto addWithParents = [&wanted](const std::string& filePath) {
            std::string directory = filePath;
            do {
                directory = parentOf(directory);
            } while (wanted.insert(directory).second && !directory.empty());
        };
        for (const std::string& track : trackPaths_) {
            addWithParents(track);
        }
        for (const FoundFile& playlist : listing_.playlists) {
            addWithParents(playlist.relativePath);
        }
        std::unordered_map<std::string, std::int64_t> stored = store_.loadDirectories(partitionId_);
        for (const std::string& directory : wanted) {
            if (stored.erase(absolute(directory)) == 0) {
                insertDirectory(directory);
            }
        }
        for (const auto& [path, id] : stored) {
            startWriting();
            if (!store_.deleteDirectory(id)) {
                warn(path + ": directory row cannot be deleted: " + store_.lastError());
            }
        }
    }

    void insertDirectory(const std::string& relative) {
        const std::string path = absolute(relative);
        const std::string parentId =
            relative.empty()
                ? partitionId_
                : corvina::Md5(corvina::Md5::Directory, absolute(parentOf(relative))).value;
        startWriting();
        if (!store_.insertDirectory(partitionId_, path, lastComponent(path),
                                    corvina::Md5(corvina::Md5::Directory, path).value, parentId)) {
            warn(path + ": directory row cannot be written: " + store_.lastError());
        }
    }

    void updatePlaylists() {
        auto stored = store_.loadPlaylists(partitionId_);
        const TrackResolver resolver(mountPoint_, trackPaths_);
        for (const FoundFile& playlist : listing_.playlists) {
            const std::string path = absolute(playlist.relativePath);
            const auto rows = stored.find(path);
            const bool unchanged =
                rows != stored.end() && rows->second.front().lastModified == playlist.lastModified;
            if (unchanged && !tracksChanged_ && !interrupted()) {
                stored.erase(rows);
                continue;
            }
            std::vector<std::string> entries;
            if (!readPlaylistEntries(path, entries)) {
                struct stat status {};
                if (stat(path.c_str(), &status) == 0) {
                    warn(path + ": playlist cannot be read");
                    if (rows != stored.end()) {
                        stored.erase(rows);  // its rows stay as they were
                    }
                }
                continue;
            }
            std::vector<PlaylistEntry> resolved = resolve(resolver, playlist.relativePath, entries);
            const std::vector<StoredPlaylistEntry> noRows;
            const auto& old = rows == stored.end() ? noRows : rows->second;
            if (!same(old, resolved, playlist.lastModified)) {
                replacePlaylist(path, old, resolved, playlist.lastModified);
            }
            if (rows != stored.end()) {
                stored.erase(rows);
            }
        }
        for (const auto& [path, rows] : stored) {
            replacePlaylist(path, rows, {}, 0);
        }
    }

    std::vector<PlaylistEntry> resolve(const TrackResolver& resolver, const std::string& relative,
                                       const std::vector<std::string>& entries) const {
        std::vector<PlaylistEntry> resolved;
        const std::string folder = parentOf(relative);
        for (const std::string& entry : entries) {
            if (const std::string* track = resolver.resolve(folder, entry)) {
                const std::string trackPath = absolute(*track);
                resolved.push_back({trackPath, corvina::Md5(corvina::Md5::Track, trackPath).value,
                                    audioTypes_.at(*track)});
            }
        }
        return resolved;
    }

    static bool same(const std::vector<StoredPlaylistEntry>& stored,
                     const std::vector<PlaylistEntry>& resolved, std::int64_t lastModified) {
        if (stored.size() != resolved.size()) {
            return false;
        }
        for (std::size_t i = 0; i < stored.size(); ++i) {
            if (stored[i].trackPath != resolved[i].trackPath ||
                stored[i].trackId != resolved[i].trackId ||
                stored[i].audioType != resolved[i].audioType ||
                stored[i].lastModified != lastModified) {
                return false;
            }
        }
        return true;
    }

    void replacePlaylist(const std::string& path, const std::vector<StoredPlaylistEntry>& old,
                         const std::vector<PlaylistEntry>& resolved, std::int64_t lastModified) {
        startWriting();
        bool ok = true;
        for (const StoredPlaylistEntry& row : old) {
            ok = store_.deletePlaylistEntry(row.id) && ok;
        }
        const std::string id = corvina::Md5(corvina::Md5::Playlist, path).value;
        const std::string name = withoutExtension(lastComponent(path));
        for (const PlaylistEntry& entry : resolved) {
            ok =
                store_.insertPlaylistEntry(partitionId_, path, id, name, entry, lastModified) && ok;
        }
        if (!ok) {
            warn(path + ": playlist rows cannot be written: " + store_.lastError());
        }
    }

    const std::string& mountPoint_;
    const std::string partitionId_;
    MediaStore& store_;
    ScanObserver& observer_;
    const ScanOptions& options_;
    const bool readings_;
    ScanTotals& totals_;
    const std::string previousStatus_;  // "DONE" unless the last scan was cut short

    PartitionListing listing_;
    std::unordered_map<std::string, StoredSong> storedSongs_;  // not yet matched to a file
    std::vector<std::string> trackPaths_;                      // relative, in the index
    std::unordered_map<std::string, int> audioTypes_;          // by relative path
    bool tracksChanged_ = false;
    bool statusWritten_ = false;
    std::size_t writesInTransaction_ = 0;
};

}  // namespace

std::string normalizedMountPoint(const std::string& mountPoint) {
    const std::size_t end = mountPoint.find_last_not_of('/');
    return end == std::string::npos ? mountPoint.substr(0, 1) : mountPoint.substr(0, end + 1);
}

ScanTotals scanDevice(const std::string& devId, const std::vector<std::string>& mountPoints,
                      ScanObserver& observer, const ScanOptions& options) {
    if (mountPoints.empty()) {
        return {};
    }
    setUpDatabase(devId, mountPoints, observer);
    const Readings readings;
    ScanTotals totals;
    {
        MediaStore store(devId);
        for (const std::string& mountPoint : mountPoints) {
            PartitionScan(devId, mountPoint, store, observer, options, readings.wanted(), totals)
                .run();
        }
    }
    corvina::DatabaseMgr().removeDanglingPartitions(devId, mountPoints.front());
    corvina::DatabaseMgr().sync(devId);
    return totals;
}

}  // namespace tangor::index
