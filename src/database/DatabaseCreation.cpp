#include <tangor/coding/CodingManager.h>
#include <tangor/database/DatabaseMgr.h>
#include <tangor/metadata/Md5.h>

#include <stdexcept>

#include "database/Schema.h"
#include "database/SingleRowInsert.h"
#include "internal/Logging.h"

namespace corvina {

DbValidationError::~DbValidationError() = default;

namespace {

int currentCountryCode() {
    return static_cast<int>(CodingManager::getCountryCode());
}

}  // namespace

void DatabaseMgr::createDb(const std::string& devId, const std::string& mountPoint, bool isFirst) {
    // A mismatching file is deleted and made anew once. A fresh file that mismatches again (its
    // coding could not be written, or the old file could not be removed) would do so forever.
    for (bool recreated = false;; recreated = true) {
        TANGOR_LOG(DLT_LOG_INFO, "createDb");
        checkAndDelete(devId, kStorageBudget);
        sqlstl::sqlostream os;
        open(devId, os, kBusyTimeoutMs);
        os.exec(kSchemaScript);
        sqlstl::sqlistream is;
        open(devId, is, kBusyTimeoutMs);

        const std::string version = getVersion(is);
        bool current = true;
        if (version.empty()) {
            TANGOR_LOG(DLT_LOG_INFO, "Inserting db version: %s", kSchemaVersion);
            insertVersion(os);
            insertStatus(devId, mountPoint, kNewStatus);
            insertCoding(os);
        } else if (version != kSchemaVersion) {
            TANGOR_LOG(DLT_LOG_INFO, "db version NOT equal: old %s, new %s DELETE DB",
                       version.c_str(), kSchemaVersion);
            current = false;
        }
        if (current) {
            const int coding = getCoding(is);
            if (coding != currentCountryCode()) {
                TANGOR_LOG(DLT_LOG_INFO, "db coding NOT equal: old %d, new %d DELETE DB", coding,
                           currentCountryCode());
                current = false;
            }
        }
        if (!current) {
            os.close();
            is.close();
            deleteDb(devId);
            if (recreated) {
                throw DbValidationError("COULD NOT RECREATE DB");
            }
            continue;
        }

        if (isFirst) {
            TANGOR_LOG(DLT_LOG_INFO, "Is First partition erase partition presence");
            os.exec(kPresenceResetScript);
        }
        insertPresence(os, mountPoint);
        os.close();
        is.close();
        return;
    }
}

void DatabaseMgr::insertVersion(sqlstl::sqlostream& os) {
    insertSingleRow(os, kInsertVersionSql, kSchemaVersion);
}

void DatabaseMgr::insertCoding(sqlstl::sqlostream& os) {
    TANGOR_LOG(DLT_LOG_INFO, "insertCoding");
    insertSingleRow(os, kInsertCodingSql, currentCountryCode());
}

void DatabaseMgr::insertPresence(sqlstl::sqlostream& os, const std::string& mountPoint) {
    TANGOR_LOG(DLT_LOG_INFO, "insertPresence");
    const Md5 partitionId(Md5::Directory, mountPoint);
    insertSingleRow(os, kInsertPresenceSql, partitionId.value.c_str());
}

std::string DatabaseMgr::getVersion(sqlstl::sqlistream& is) {
    std::string version;
    is.query(kSelectVersionSql);
    is >> version >> sqlstl::step >> sqlstl::finalize;
    // No row (eofbit) or a NULL (failbit) is a file without a version, not a failure.
    if (is.bad()) {
        throw DbValidationError("COULD NOT GET DB VERSION");
    }
    return version;
}

int DatabaseMgr::getCoding(sqlstl::sqlistream& is) {
    int coding = -1;
    is.query(kSelectCodingSql);
    is >> coding >> sqlstl::step >> sqlstl::finalize;
    if (is.bad()) {
        throw DbValidationError("COULD NOT GET DB CODING");
    }
    return coding;
}

}  // namespace corvina
