#pragma once

// The file-system calls of the indexer. Sizes, times and directory offsets are 64 bits wide here
// whatever widths off_t and time_t have in the build (statx, getdents64), so a 32-bit target sees
// files of 2 GiB and more, times after 2038 and file systems with 64-bit directory offsets, while
// the library's interface keeps its own off_t and time_t.

#include <fcntl.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tangor::index {

// Owns one file descriptor and closes it.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() noexcept;

private:
    int fd_ = -1;
};

struct FileStatus {
    enum class Type { Missing, Regular, Directory, Link, Other, Unknown };
    Type type = Type::Missing;
    std::int64_t lastModified = 0;  // seconds since the epoch
    std::uint64_t size = 0;
    int error = 0;  // errno when the type is Unknown (the file may be there but cannot be checked)
};

// The status of `name` relative to the folder open as `folder` (AT_FDCWD: the working directory,
// or `name` is absolute). A link is reported as a link unless `followLinks`.
FileStatus fileStatus(int folder, const char* name, bool followLinks);
inline FileStatus fileStatus(const std::string& path, bool followLinks = true) {
    return fileStatus(AT_FDCWD, path.c_str(), followLinks);
}

struct FolderEntry {
    std::string name;
    unsigned char type;  // DT_* of the directory entry; DT_UNKNOWN where the file system gives none
};

// Opens the folder `name` below `parent` (AT_FDCWD for a path) for listing; through a link only
// when `followLink`.
FileDescriptor openFolder(int parent, const char* name, bool followLink);

// The entries of an open folder, "." and ".." and hidden ones (a leading ".") left out, at most
// `limit`. False with `error` (errno) when the listing failed; `entries` then holds what came
// before the failure. `full` tells that the limit cut the listing short.
bool listFolder(int folder, std::size_t limit, std::vector<FolderEntry>& entries, bool& full,
                int& error);

// Reads at most `limit` bytes of the file at `path` into a buffer sized to what it reads; `whole`
// tells that the file held no more. False (with errno in `error`) when it cannot be opened or read.
bool readFileStart(const std::string& path, std::size_t limit, std::string& content, bool& whole,
                   int& error);

// The path that `path` names with every link, "." and ".." resolved (realpath). False (with errno
// in `error`) when it names nothing or cannot be resolved.
bool resolvedPath(const std::string& path, std::string& resolved, int& error);

// strerror's text for `error`, thread-safe.
std::string errorText(int error);

}  // namespace tangor::index
