#include "DatabaseSetUp.h"

#include <sqlite3.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <unistd.h>

#include <tangor/coding/CodingManager.h>
#include <tangor/database/DatabaseMgr.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>

#include "FileSystem.h"
#include "IndexSql.h"
#include "ScanLock.h"
#include "Statement.h"
#include "WriteBatch.h"

namespace tangor::index {

namespace {

struct ConnectionCloser {
    void operator()(sqlite3* db) const noexcept { sqlite3_close(db); }
};
using Connection = std::unique_ptr<sqlite3, ConnectionCloser>;

// The schema version that the library loaded writes, asked of it (insertVersion on a database in
// memory) rather than copied: a library of another version must find the file to make anew.
const std::string& libraryVersion() {
    static const std::string version = [] {
        sqlstl::sqlostream os;
        os.open(":memory:", 0);
        sqlite3_exec(os.db, "CREATE TABLE VERSION(VALUE TEXT);", nullptr, nullptr, nullptr);
        corvina::DatabaseMgr().insertVersion(os);
        Statement select(os.db, "SELECT VALUE FROM VERSION;");
        return select.next() ? select.text(0) : std::string();
    }();
    return version;
}

// Whether createDb would find nothing to make, delete or validate in the file: then all it would
// do is enforce the budget and mark the partitions present.
bool isCurrent(const std::string& devId) {
    if (fileStatus(corvina::DatabaseMgr().getDbNameFromDevId(devId)).type !=
        FileStatus::Type::Regular) {
        return false;
    }
    sqlstl::sqlistream is;
    try {
        corvina::DatabaseMgr().open(devId, is, corvina::dbBusyTimeoutMs);
    } catch (const std::exception&) {
        return false;  // createDb tells
    }
    // The schema first: the library's queries log errors on a file without it.
    std::set<std::string> names;
    {
        Statement select(is.db, sql::kSelectSchemaNames);
        while (select.next()) {
            names.insert(select.text(0));
        }
        if (select.failed() || !select.valid()) {
            return false;  // not a database: createDb tells
        }
    }
    for (const char* name : kSchemaObjects) {
        if (names.count(name) == 0) {
            return false;
        }
    }
    try {
        return corvina::DatabaseMgr().getVersion(is) == libraryVersion() &&
               corvina::DatabaseMgr().getCoding(is) ==
                   static_cast<int>(corvina::CodingManager::getCountryCode());
    } catch (const corvina::DbValidationError&) {
        return false;
    }
}

std::string freeSpace(const std::string& folder) {
    struct statvfs status {};
    if (statvfs(folder.c_str(), &status) != 0) {
        return "";
    }
    const unsigned long long bytes =
        static_cast<unsigned long long>(status.f_bavail) * status.f_frsize;
    return "; " + std::to_string(bytes / 1024) + " KiB free";
}

// What SQLite answers to a write of the schema's size in the database folder, on a scratch file
// beside the database: "" when the folder takes it, so that the fault is the file's own.
std::string storageFault(const std::string& devId) {
    const std::string probe = besideDatabase(devId, ".write-probe");
    const auto remove = [&probe] {
        unlink(probe.c_str());
        unlink((probe + "-journal").c_str());
    };
    remove();  // left by a scan that was killed
    std::string fault;
    {
        sqlite3* opened = nullptr;
        const int rc = sqlite3_open_v2(probe.c_str(), &opened,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
        const Connection db(opened);
        if (rc != SQLITE_OK) {
            fault = db ? sqlite3_errmsg(db.get()) : sqlite3_errstr(rc);
        } else if (sqlite3_exec(db.get(), sql::kWriteProbe, nullptr, nullptr, nullptr) !=
                   SQLITE_OK) {
            fault = sqlite3_errmsg(db.get());
        }
    }
    remove();
    if (fault.empty()) {
        return fault;
    }
    return fault + freeSpace(std::filesystem::path(probe).parent_path().string());
}

}  // namespace

bool setUpDatabase(const std::string& devId, const std::vector<MountPoint>& mountPoints,
                   const std::function<void(const std::string&)>& notice) {
    if (isCurrent(devId)) {
        corvina::DatabaseMgr().checkAndDelete(devId, static_cast<off_t>(kStorageBudget));
        return false;
    }
    for (int attempt = 0;; ++attempt) {
        try {
            for (const MountPoint& mountPoint : mountPoints) {
                corvina::DatabaseMgr().createDb(devId, mountPoint.path(), false);
            }
            return true;
        } catch (const corvina::DbValidationError& error) {
            // The library only logs the writes that failed: its schema's, its version's. A folder
            // that takes no write is no reason to delete the file.
            const std::string fault = storageFault(devId);
            if (!fault.empty()) {
                throw WriteFailed(corvina::DatabaseMgr().getDbNameFromDevId(devId) +
                                  ": the database cannot be set up (" + error.what() +
                                  ") because its folder cannot be written (" + fault +
                                  "); nothing was deleted and the next scan sets it up");
            }
            if (attempt > 0) {
                throw;
            }
            notice("the database of device " + devId + " cannot be validated (" + error.what() +
                   "): deleting it and making it anew");
            corvina::DatabaseMgr().deleteDb(devId);
        }
    }
}

bool markPresence(IndexDatabase& database, const std::vector<MountPoint>& mountPoints) {
    std::vector<std::string> present;
    if (!database.presentPartitions(present)) {
        throw std::runtime_error("the partitions marked present cannot be read: " +
                                 database.lastError());
    }
    std::set<std::string> named;
    for (const MountPoint& mountPoint : mountPoints) {
        named.insert(mountPoint.partitionId());
    }
    std::vector<std::string> absent;
    for (const std::string& partition : present) {
        if (named.erase(partition) == 0) {
            absent.push_back(partition);
        }
    }
    // `named` now holds the partitions not yet marked.
    if (absent.empty() && named.empty()) {
        return false;
    }
    const auto fail = [&database, &mountPoints](const char* what) {
        const std::string reason = database.lastError();
        if (database.checkFile() != IndexDatabase::FileState::Intact) {
            throwDatabaseDeleted(database, mountPoints.front().path());
        }
        database.rollback();
        throw WriteFailed(database.path() + ": " + what + " (" + reason +
                          "); nothing was changed and the next scan marks them");
    };
    if (!database.begin()) {
        fail("a transaction cannot begin");
    }
    for (const std::string& partition : absent) {
        if (!database.markAbsent(partition)) {
            fail("the partitions present cannot be marked");
        }
    }
    for (const std::string& partition : named) {
        if (!database.markPresent(partition)) {
            fail("the partitions present cannot be marked");
        }
    }
    if (!database.commit()) {
        fail("the partitions present cannot be marked");
    }
    return true;
}

}  // namespace tangor::index
