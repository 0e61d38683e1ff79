#include "support/DatabaseWatch.h"

#include <sqlite3.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace tangor::test {

namespace fs = std::filesystem;

// The VFS and its files: each file is the watch's header followed by the default VFS's own file.
struct WatchVfs {
    // Aligned so that the default VFS's file after it is, on a 32-bit target too.
    struct alignas(8) File {
        sqlite3_file base;
        sqlite3_file* real;
        bool watched;
    };

    static sqlite3_file* real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }
    static bool watched(sqlite3_file* file) { return reinterpret_cast<File*>(file)->watched; }

    static int close(sqlite3_file* file) {
        const int rc = real(file)->pMethods->xClose(real(file));
        file->pMethods = nullptr;
        return rc;
    }
    // A method passed on to the default VFS's file; on a watched file it counts in `counter` first.
    using Counter = std::atomic<int> DatabaseWatch::*;
    template <auto Method, Counter counter = nullptr>
    struct Forward;
    template <typename R, typename... Args,
              R (*sqlite3_io_methods::*Method)(sqlite3_file*, Args...), Counter counter>
    struct Forward<Method, counter> {
        static R call(sqlite3_file* file, Args... args) {
            if constexpr (counter != nullptr) {
                if (watched(file)) {
                    ++(watch->*counter);
                }
            }
            return (real(file)->pMethods->*Method)(real(file), args...);
        }
    };
    template <auto Method, Counter counter = nullptr>
    static constexpr auto forward = Forward<Method, counter>::call;

    static int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
        File* watchedFile = reinterpret_cast<File*>(file);
        watchedFile->real = reinterpret_cast<sqlite3_file*>(watchedFile + 1);
        watchedFile->watched =
            name != nullptr && (watch->database_ == name || watch->journal_ == name);
        const int rc = base->xOpen(base, name, watchedFile->real, flags, outFlags);
        file->pMethods = watchedFile->real->pMethods != nullptr ? &methods : nullptr;
        return rc;
    }
    static int remove(sqlite3_vfs*, const char* name, int syncFolder) {
        const int rc = base->xDelete(base, name, syncFolder);
        if (rc == SQLITE_OK && watch->journal_ == name) {
            watch->journalDeleted();
        }
        return rc;
    }

    static inline DatabaseWatch* watch = nullptr;
    static inline sqlite3_vfs* base = nullptr;
    static inline sqlite3_vfs vfs{};
    using M = sqlite3_io_methods;
    static inline const M methods = {3,
                                     close,
                                     forward<&M::xRead>,
                                     forward<&M::xWrite, &DatabaseWatch::writes_>,
                                     forward<&M::xTruncate, &DatabaseWatch::writes_>,
                                     forward<&M::xSync, &DatabaseWatch::syncs_>,
                                     forward<&M::xFileSize>,
                                     forward<&M::xLock>,
                                     forward<&M::xUnlock>,
                                     forward<&M::xCheckReservedLock>,
                                     forward<&M::xFileControl>,
                                     forward<&M::xSectorSize>,
                                     forward<&M::xDeviceCharacteristics>,
                                     forward<&M::xShmMap>,
                                     forward<&M::xShmLock>,
                                     forward<&M::xShmBarrier>,
                                     forward<&M::xShmUnmap>,
                                     forward<&M::xFetch>,
                                     forward<&M::xUnfetch>};
};

DatabaseWatch::DatabaseWatch(const std::string& database, const std::string& snapshotFolder)
    // SQLite names the files by their full paths.
    : database_(fs::weakly_canonical(database).string()),
      journal_(database_ + "-journal"),
      snapshotFolder_(snapshotFolder) {
    EXPECT_EQ(WatchVfs::watch, nullptr) << "one watch at a time";
    WatchVfs::watch = this;
    WatchVfs::base = sqlite3_vfs_find(nullptr);
    WatchVfs::vfs = *WatchVfs::base;
    WatchVfs::vfs.zName = "tangor-test-watch";
    WatchVfs::vfs.szOsFile = static_cast<int>(sizeof(WatchVfs::File)) + WatchVfs::base->szOsFile;
    WatchVfs::vfs.pNext = nullptr;
    WatchVfs::vfs.xOpen = WatchVfs::open;
    WatchVfs::vfs.xDelete = WatchVfs::remove;
    EXPECT_EQ(sqlite3_vfs_register(&WatchVfs::vfs, 1), SQLITE_OK);
}

DatabaseWatch::~DatabaseWatch() {
    sqlite3_vfs_unregister(&WatchVfs::vfs);
    sqlite3_vfs_register(WatchVfs::base, 1);
    WatchVfs::watch = nullptr;
}

void DatabaseWatch::journalDeleted() {
    const int transaction = transactions_++;
    if (!snapshotFolder_.empty()) {
        std::error_code error;
        fs::copy_file(database_, snapshotFolder_ + "/" + std::to_string(transaction) + ".db",
                      fs::copy_options::overwrite_existing, error);
        EXPECT_FALSE(error) << database_ << ": " << error.message();
    }
}

std::vector<std::string> DatabaseWatch::snapshots() const {
    std::vector<std::string> paths;
    for (int transaction = 0; transaction < transactions_; ++transaction) {
        paths.push_back(snapshotFolder_ + "/" + std::to_string(transaction) + ".db");
    }
    return paths;
}

}  // namespace tangor::test
