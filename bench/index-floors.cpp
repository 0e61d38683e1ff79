// The floors of bench/index-vs-minidlna: each half of a full scan's work done alone, timed inside
// the program so that its start-up is not counted, and a watch for the first indexed row.
//
//   tangor-index-floors tags TREE JOBS
//       walks TREE and reads every audio file's tags on JOBS threads; prints the seconds taken
//   tangor-index-floors rows SOURCE_DB DEVICE TREE
//       writes the SONGS rows (and their names) of every track in SOURCE_DB, a full scan's database
//       of TREE, into a new database of DEVICE, as the scan would, tags taken from SOURCE_DB
//       instead of the files; prints the seconds taken (the reading of SOURCE_DB not counted)
//   tangor-index-floors first-row DATABASE TIMEOUT_S
//       polls DATABASE (which need not exist yet) until VIEW_SONGS shows a row; prints the wall
//       clock time then, in microseconds since the epoch
//
// Exit status 0, or 1 with a message.

#include <sqlite3.h>
#include <tangor/database/DatabaseMgr.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "IndexDatabase.h"
#include "PartitionWalk.h"
#include "RecordBuilder.h"
#include "Scanner.h"
#include "Statement.h"
#include "TagReader.h"
#include "WriteBatch.h"

namespace {

using namespace tangor::index;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxFiles = 2000000;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int fail(const std::string& message) {
    std::fprintf(stderr, "tangor-index-floors: %s\n", message.c_str());
    return 1;
}

int tagsFloor(const std::string& tree, unsigned jobs) {
    const auto start = Clock::now();
    const MountPoint mountPoint(tree);
    PartitionWalk walk(mountPoint);
    std::vector<std::string> paths;
    WalkEntry entry;
    while (paths.size() < kMaxFiles && walk.next(entry)) {
        if (entry.kind == WalkEntry::Kind::Audio) {
            paths.push_back(mountPoint.absolute(entry.relativePath));
        }
    }
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < jobs; ++i) {
        threads.emplace_back([&paths, &next] {
            for (std::size_t k = next++; k < paths.size(); k = next++) {
                Tags tags;
                readTags(paths[k], tags);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::printf("%.3f\n", secondsSince(start));
    return 0;
}

struct Track {
    std::string relativePath;
    Tags tags;
    std::int64_t lastModified;
};

bool readTracks(const std::string& source, const MountPoint& mountPoint,
                std::vector<Track>& tracks) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(source.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        return false;
    }
    {
        Statement select(db,
                         "SELECT PATH, TITLE, ARTIST, ALBUM, GENRE, COMPOSER, TRACKIND, DISCNUM, "
                         "LASTMODIFIED FROM SONGS JOIN ARTISTS USING (ARTISTID) JOIN ALBUMS USING "
                         "(ALBUMID) JOIN GENRES USING (GENREID) JOIN COMPOSERS USING (COMPOSERID) "
                         "ORDER BY SONGS.ID;");
        while (tracks.size() < kMaxFiles && select.next()) {
            Track track;
            mountPoint.relative(select.text(0), track.relativePath);
            track.tags = {select.text(1),
                          select.text(2),
                          select.text(3),
                          select.text(4),
                          select.text(5),
                          static_cast<int>(select.integer(6)),
                          static_cast<int>(select.integer(7))};
            track.lastModified = select.integer(8);
            tracks.push_back(std::move(track));
        }
    }
    sqlite3_close(db);
    return !tracks.empty();
}

int rowsFloor(const std::string& source, const std::string& device, const std::string& tree) {
    const MountPoint mountPoint(tree);
    std::vector<Track> tracks;
    if (!readTracks(source, mountPoint, tracks)) {
        return fail(source + ": no tracks to write");
    }
    const auto start = Clock::now();
    corvina::DatabaseMgr().createDb(device, mountPoint.path(), true);
    {
        const RecordBuilder records;
        IndexDatabase database(device);
        WriteBatch batch(database, mountPoint, ScanOptions().filesPerTransaction);
        for (const Track& track : tracks) {
            const corvina::MetaDataInfo record =
                records.build(mountPoint, track.relativePath, track.tags, track.lastModified);
            batch.write();
            database.insertSong(record, track.lastModified);
            batch.fileWritten();
        }
        batch.finish(kStatusDone, "");
    }
    corvina::DatabaseMgr().sync(device);
    std::printf("%.3f\n", secondsSince(start));
    return 0;
}

bool hasRow(const std::string& path) {
    sqlite3* db = nullptr;
    bool found = false;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        Statement select(db, "SELECT 1 FROM VIEW_SONGS LIMIT 1;");
        found = select.next();
    }
    sqlite3_close(db);
    return found;
}

int firstRow(const std::string& database, double timeoutSeconds) {
    const auto start = Clock::now();
    while (secondsSince(start) < timeoutSeconds) {
        if (hasRow(database)) {
            const auto now = std::chrono::system_clock::now().time_since_epoch();
            std::printf("%lld\n",
                        static_cast<long long>(
                            std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
            return 0;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return fail(database + ": no row in VIEW_SONGS in time");
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 3 && args[0] == "tags") {
        const int jobs = std::atoi(args[2].c_str());
        return jobs > 0 && jobs <= 64 ? tagsFloor(args[1], static_cast<unsigned>(jobs))
                                      : fail("JOBS must be 1 to 64");
    }
    if (args.size() == 4 && args[0] == "rows") {
        return rowsFloor(args[1], args[2], args[3]);
    }
    if (args.size() == 3 && args[0] == "first-row") {
        return firstRow(args[1], std::atof(args[2].c_str()));
    }
    std::fprintf(stderr,
                 "usage: tangor-index-floors tags TREE JOBS\n"
                 "       tangor-index-floors rows SOURCE_DB DEVICE TREE\n"
                 "       tangor-index-floors first-row DATABASE TIMEOUT_S\n");
    return 2;
}
