// Files a 32-bit build of the indexer must not lose: one of 3 GiB (long audiobooks exist) and one
// dated after 2038 (FAT sticks often carry wrong clocks). This file is built with 64-bit off_t and
// time_t, so that it can make them on the target too; the indexer is run as the program it is.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/IndexerTest.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;

constexpr long long kLate = 2208988800;                 // 2040-01-01 00:00:00 UTC
constexpr long long kLarge = 3LL * 1024 * 1024 * 1024;  // 3 GiB

static_assert(sizeof(off_t) == 8 && sizeof(time_t) == 8, "built with 64-bit off_t and time_t");

using LargeAndLateFilesTest = IndexerTest;

TEST_F(LargeAndLateFilesTest, AreIndexedWithTheirFullTime) {
    const std::string large = mount + "/Books/Long Book.m4b";
    const std::string late = mount + "/Late/From 2040.mp3";
    fs::create_directories(mount + "/Books");
    fs::create_directories(mount + "/Late");
    {
        const int fd = open(large.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(ftruncate(fd, kLarge), 0);  // sparse: takes no room
        close(fd);
    }
    fs::copy_file(path(7), late);
    const timespec times[2] = {{kLate, 0}, {kLate, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, late.c_str(), times, 0), 0);

    const ProgramResult first = scan({mount});
    ASSERT_EQ(first.status, 0) << first.standardError;
    // The sparse file holds no tags; it is indexed from its name, and it is an audiobook by name.
    EXPECT_NE(first.standardOutput.find("14 files indexed (14 read), 0 skipped"), std::string::npos)
        << first.standardOutput << first.standardError;
    EXPECT_EQ(value("SELECT TITLE, AUDIOTYPE FROM SONGS WHERE PATH = '" + large + "'"),
              "Long Book|16");
    EXPECT_EQ(value("SELECT LASTMODIFIED FROM SONGS WHERE PATH = '" + late + "'"),
              std::to_string(kLate));

    // The stored time compares equal to the file's: nothing is read again.
    const ProgramResult second = scan({mount});
    ASSERT_EQ(second.status, 0) << second.standardError;
    EXPECT_NE(second.standardOutput.find("14 files indexed (0 read)"), std::string::npos)
        << second.standardOutput;
}

}  // namespace

}  // namespace tangor::test
