#pragma once

// Fixture of the database tests: a fresh fixed-path tree with the database directory made, a
// captured log, and the market fixed at country code 9 for the whole test process.

#include <tangor/database/DatabaseMgr.h>
#include <tangor/metadata/Md5.h>
#include <tangor/platform/CCodeDataManager.h>

#include <filesystem>
#include <string>

#include "support/TestSupport.h"

namespace tangor::test {

inline constexpr int kTestCountryCode = 9;

// The record every opened stream logs.
inline const std::string kTimeout = "Set timeout to 3600000 ms";

// The partition identifier of a mount point.
inline std::string idOf(const std::string& mountPoint) {
    return corvina::Md5(corvina::Md5::Directory, mountPoint).value;
}

class DatabaseTest : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        CCodeDataManager::GetInstance().SetCountryCode(kTestCountryCode);
        std::filesystem::create_directories(databaseDirectory());
    }

    static std::string dbPath(const std::string& devId) {
        return databaseDirectory() + devId + ".tangor";
    }

    corvina::DatabaseMgr mgr;
    LogCapture log;
};

}  // namespace tangor::test
