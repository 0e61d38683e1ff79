#include <tangor/database/DatabaseMgr.h>
#include <tangor/metadata/Md5.h>

#include "database/Schema.h"
#include "database/SingleRowInsert.h"
#include "internal/Logging.h"

namespace corvina {

void DatabaseMgr::insertStatus(sqlstl::sqlostream& stream, const std::string& mountPoint,
                               const char* value) {
    // A null value is a caller's error; the row's NOT NULL constraint refuses it, and the log
    // must not pass a null pointer to %s.
    TANGOR_LOG(DLT_LOG_INFO, "insertStatus %s: %s", mountPoint.c_str(), value ? value : "(null)");
    const Md5 partitionId(Md5::Directory, mountPoint);
    insertSingleRow(stream, kInsertStatusSql, mountPoint.c_str(), partitionId.value.c_str(), value);
}

void DatabaseMgr::insertStatus(const std::string& devId, const std::string& mountPoint,
                               const char* value) {
    TANGOR_LOG(DLT_LOG_INFO, "insertStatus: devId %s mountPoint %s", devId.c_str(),
               mountPoint.c_str());
    sqlstl::sqlostream os;
    open(devId, os, kBusyTimeoutMs);
    insertStatus(os, mountPoint, value);
    os.close();
}

std::string DatabaseMgr::getStatus(const std::string& devId, const std::string& mountPoint) {
    sqlstl::sqlistream is;
    open(devId, is, kBusyTimeoutMs);
    std::string status;
    // Only the first statement of the text is prepared, and it is a SELECT: whatever the mount
    // point holds, it can break the statement but not change the database.
    std::string sql;
    sql.reserve(sizeof kSelectStatusSqlPrefix + mountPoint.size() + 3);
    sql.append(kSelectStatusSqlPrefix).append(1, '"').append(mountPoint).append("\";");
    TANGOR_LOG(DLT_LOG_INFO, "getStatus: %s", sql.c_str());
    is.query(sql.c_str());
    is >> status >> sqlstl::step >> sqlstl::finalize;
    is.close();
    return status;
}

void DatabaseMgr::removeDanglingPartitions(const std::string& devId,
                                           const std::string& mountPoint) {
    TANGOR_LOG(DLT_LOG_INFO, "removeDanglingPartitions %s", mountPoint.c_str());
    sqlstl::sqlostream os;
    open(devId, os, kBusyTimeoutMs);
    os.exec(kRemovalScript);
    os.close();
}

}  // namespace corvina
