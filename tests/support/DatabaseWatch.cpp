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
    static int read(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
        return real(file)->pMethods->xRead(real(file), buffer, amount, offset);
    }
    static int write(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
        if (watched(file)) {
            ++watch->writes_;
        }
        return real(file)->pMethods->xWrite(real(file), buffer, amount, offset);
    }
    static int truncate(sqlite3_file* file, sqlite3_int64 size) {
        if (watched(file)) {
            ++watch->writes_;
        }
        return real(file)->pMethods->xTruncate(real(file), size);
    }
    static int sync(sqlite3_file* file, int flags) {
        if (watched(file)) {
            ++watch->syncs_;
        }
        return real(file)->pMethods->xSync(real(file), flags);
    }
    static int fileSize(sqlite3_file* file, sqlite3_int64* size) {
        return real(file)->pMethods->xFileSize(real(file), size);
    }
    static int lock(sqlite3_file* file, int level) {
        return real(file)->pMethods->xLock(real(file), level);
    }
    static int unlock(sqlite3_file* file, int level) {
        return real(file)->pMethods->xUnlock(real(file), level);
    }
    static int checkReservedLock(sqlite3_file* file, int* out) {
        return real(file)->pMethods->xCheckReservedLock(real(file), out);
    }
    static int fileControl(sqlite3_file* file, int op, void* argument) {
        return real(file)->pMethods->xFileControl(real(file), op, argument);
    }
    static int sectorSize(sqlite3_file* file) {
        return real(file)->pMethods->xSectorSize(real(file));
    }
    static int deviceCharacteristics(sqlite3_file* file) {
        return real(file)->pMethods->xDeviceCharacteristics(real(file));
    }
    static int shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** out) {
        return real(file)->pMethods->xShmMap(real(file), page, size, extend, out);
    }
    static int shmLock(sqlite3_file* file, int offset, int n, int flags) {
        return real(file)->pMethods->xShmLock(real(file), offset, n, flags);
    }
    static void shmBarrier(sqlite3_file* file) { real(file)->pMethods->xShmBarrier(real(file)); }
    static int shmUnmap(sqlite3_file* file, int deleteFlag) {
        return real(file)->pMethods->xShmUnmap(real(file), deleteFlag);
    }
    static int fetch(sqlite3_file* file, sqlite3_int64 offset, int amount, void** out) {
        return real(file)->pMethods->xFetch(real(file), offset, amount, out);
    }
    static int unfetch(sqlite3_file* file, sqlite3_int64 offset, void* page) {
        return real(file)->pMethods->xUnfetch(real(file), offset, page);
    }

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
    static inline const sqlite3_io_methods methods = {
        3,
        close,
        read,
        write,
        truncate,
        sync,
        fileSize,
        lock,
        unlock,
        checkReservedLock,
        fileControl,
        sectorSize,
        deviceCharacteristics,
        shmMap,
        shmLock,
        shmBarrier,
        shmUnmap,
        fetch,
        unfetch,
    };
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
