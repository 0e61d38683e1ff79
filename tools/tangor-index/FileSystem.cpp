#include "FileSystem.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace tangor::index {

namespace {

constexpr std::size_t kListingBuffer = 32 * 1024;
// A folder is listed in chunks; this bounds the chunks, beyond what any real folder needs.
constexpr std::size_t kMaxListingChunks = 1 << 20;

FileStatus::Type typeOf(unsigned mode) {
    if (S_ISREG(mode)) {
        return FileStatus::Type::Regular;
    }
    if (S_ISDIR(mode)) {
        return FileStatus::Type::Directory;
    }
    return S_ISLNK(mode) ? FileStatus::Type::Link : FileStatus::Type::Other;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        FileDescriptor old(release());
        fd_ = other.release();
    }
    return *this;
}

int FileDescriptor::release() noexcept {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

FileStatus fileStatus(int folder, const char* name, bool followLinks) {
    struct statx status {};
    const int flags = followLinks ? 0 : AT_SYMLINK_NOFOLLOW;
    FileStatus result;
    if (statx(folder, name, flags, STATX_TYPE | STATX_MTIME | STATX_SIZE, &status) != 0) {
        result.error = errno;
        const bool gone = errno == ENOENT || errno == ENOTDIR;
        result.type = gone ? FileStatus::Type::Missing : FileStatus::Type::Unknown;
        return result;
    }
    result.type = typeOf(status.stx_mode);
    result.lastModified = status.stx_mtime.tv_sec;
    result.size = status.stx_size;
    return result;
}

FileDescriptor openFolder(int parent, const char* name, bool followLink) {
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_LARGEFILE;
    return FileDescriptor(openat(parent, name, followLink ? flags : flags | O_NOFOLLOW));
}

bool listFolder(int folder, std::size_t limit, std::vector<FolderEntry>& entries, bool& full,
                int& error) {
    full = false;
    // Not zeroed: getdents64 fills what it returns, and a walk lists many folders.
    const std::unique_ptr<char[]> buffer(new char[kListingBuffer]);
    for (std::size_t chunk = 0; chunk < kMaxListingChunks; ++chunk) {
        const ssize_t size = getdents64(folder, buffer.get(), kListingBuffer);
        if (size < 0) {
            error = errno;
            return false;
        }
        if (size == 0) {
            return true;
        }
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer.get() + at);
            at += entry->d_reclen;
            if (entry->d_name[0] == '.') {
                continue;  // hidden, "." and ".."
            }
            if (entries.size() >= limit) {
                full = true;
                return true;
            }
            entries.push_back({entry->d_name, entry->d_type});
        }
    }
    full = true;
    return true;
}

bool readFileStart(const std::string& path, std::size_t limit, std::string& content, bool& whole,
                   int& error) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_LARGEFILE));
    struct statx status {};
    if (!file.valid() || statx(file.get(), "", AT_EMPTY_PATH, STATX_SIZE, &status) != 0) {
        error = errno;
        return false;
    }
    // Sized to the file, so that a short one costs no more than its bytes.
    const std::size_t wanted =
        status.stx_size < limit ? static_cast<std::size_t>(status.stx_size) : limit;
    whole = status.stx_size <= limit;
    content.resize(wanted);
    std::size_t filled = 0;
    while (filled < wanted) {
        const ssize_t got = read(file.get(), content.data() + filled, wanted - filled);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            error = errno;
            return false;
        }
        if (got == 0) {
            break;  // shorter than it was a moment ago
        }
        filled += static_cast<std::size_t>(got);
    }
    content.resize(filled);
    return true;
}

bool resolvedPath(const std::string& path, std::string& resolved, int& error) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    if (!real) {
        error = errno;
        return false;
    }
    resolved = real.get();
    return true;
}

std::string errorText(int error) {
    char buffer[256];
    // The GNU strerror_r returns its text, in `buffer` or a static one.
    return strerror_r(error, buffer, sizeof buffer);
}

}  // namespace tangor::index
