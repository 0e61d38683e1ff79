#pragma once

// A partition's mount point, and the one place where paths below it are joined and split. The
// index stores absolute paths; the stages work with paths relative to the mount point
// ("/"-separated, no leading "/", "" for the mount point itself).

#include <cstddef>
#include <string>

namespace tangor::index {

class MountPoint {
public:
    // Trailing slashes are dropped ("/" stays).
    explicit MountPoint(const std::string& path);

    const std::string& path() const { return path_; }
    // The PARTITION_ID of the partition's rows.
    const std::string& partitionId() const { return partitionId_; }

    std::string absolute(const std::string& relative) const;
    // The part of `absolute` below the mount point; false when it does not lie below it.
    bool relative(const std::string& absolute, std::string& relative) const;

private:
    std::string path_;
    std::string prefix_;  // the path and "/", or "/" alone
    std::string partitionId_;
};

// "a/b" + "c" = "a/b/c"; "" + "c" = "c".
std::string joinRelative(const std::string& folder, const std::string& name);
// The folder part of a relative path: "a/b/c" gives "a/b", "c" gives "".
std::string parentOf(const std::string& relative);
// The last part of a path.
std::string lastComponent(const std::string& path);

// The order of the walk: byte order, with "/" before every other byte, so that a folder's entries
// are sorted by name and everything below a folder follows it at once ("a", "a/b", "a-b"). Returns
// <0, 0 or >0 like memcmp.
int comparePaths(const char* a, std::size_t aSize, const char* b, std::size_t bSize);
inline int comparePaths(const std::string& a, const std::string& b) {
    return comparePaths(a.data(), a.size(), b.data(), b.size());
}
// True when `path` is `folder` or lies below it ("" holds everything).
bool isWithin(const std::string& path, const std::string& folder);

}  // namespace tangor::index
