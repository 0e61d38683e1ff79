#pragma once

// Fixture of the database tests: a fresh fixed-path tree with the database directory made, a
// captured log, and the market fixed at country code 9 for the whole test process.

#include <tangor/database/DatabaseMgr.h>
#include <tangor/metadata/Md5.h>
#include <tangor/platform/CCodeDataManager.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

using Rows = std::vector<std::string>;

// The record every opened stream logs.
inline const std::string kTimeout = "Set timeout to 3600000 ms";

// The partition identifier of a mount point.
inline std::string idOf(const std::string& mountPoint) {
    return corvina::Md5(corvina::Md5::Directory, mountPoint).value;
}

// The text of what `operation` throws, or "nothing thrown".
template <typename Operation>
std::string errorOf(Operation operation) {
    try {
        operation();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

class DatabaseTest : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        CCodeDataManager::GetInstance().SetCountryCode(9);
        std::filesystem::create_directories(databaseDirectory());
    }

    static std::string dbPath(const std::string& devId) {
        return databaseDirectory() + devId + ".tangor";
    }
    // The rows of `sql` run on the database of device "usb1".
    static Rows table(const std::string& sql) { return queryRows(dbPath("usb1"), sql); }

    corvina::DatabaseMgr mgr;
    LogCapture log;
};

}  // namespace tangor::test
