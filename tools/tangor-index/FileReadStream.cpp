#include "FileReadStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace tangor::index {

namespace {

// Frame and block headers are a few bytes each; one block of read-ahead serves a file's run of
// them with one system call.
constexpr std::size_t kAheadBytes = 4096;

long clampedToLong(std::int64_t value) {
    return value > LONG_MAX ? LONG_MAX : static_cast<long>(value);
}

}  // namespace

FileReadStream::FileReadStream(const std::string& path, bool followLink)
    : path_(path),
      file_(
          open(path.c_str(), O_RDONLY | O_CLOEXEC | O_LARGEFILE | (followLink ? 0 : O_NOFOLLOW))) {
    struct statx status {};
    if (!file_.valid() || statx(file_.get(), "", AT_EMPTY_PATH, STATX_SIZE, &status) != 0) {
        error_ = errno;
        file_ = FileDescriptor();
        return;
    }
    size_ = static_cast<std::int64_t>(status.stx_size);
}

std::size_t FileReadStream::readAt(std::int64_t offset, char* into, std::size_t size) {
    std::size_t filled = 0;
    // Each round reads at least one byte or ends.
    while (filled < size) {
        const ssize_t got = pread64(file_.get(), into + filled, size - filled,
                                    static_cast<off64_t>(offset + filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            error_ = got < 0 ? errno : error_;
            break;
        }
        filled += static_cast<std::size_t>(got);
    }
    return filled;
}

bool FileReadStream::fillAhead(std::int64_t offset) {
    const std::int64_t aheadEnd = aheadStart_ + static_cast<std::int64_t>(ahead_.size());
    if (offset >= aheadStart_ && offset < aheadEnd) {
        return true;
    }
    ahead_.resize(kAheadBytes);
    ahead_.resize(readAt(offset, ahead_.data(), kAheadBytes));
    aheadStart_ = offset;
    return !ahead_.empty();
}

bool FileReadStream::headIsAllZero(std::size_t bytes) {
    if (!isOpen() || size_ == 0) {
        return false;
    }
    const auto isZero = [](char byte) { return byte == 0; };
    // Through the read-ahead block, stopping at the first byte that is not zero: an audio file
    // costs the one block TagLib reads next anyway; only a zero-filled head is read whole.
    std::int64_t offset = 0;
    while (offset < size_ && static_cast<std::size_t>(offset) < bytes) {
        if (!fillAhead(offset)) {
            return false;
        }
        const std::size_t looked =
            std::min(ahead_.size(), bytes - static_cast<std::size_t>(offset));
        if (!std::all_of(ahead_.begin(), ahead_.begin() + looked, isZero)) {
            return false;
        }
        offset += static_cast<std::int64_t>(looked);
    }
    return true;
}

TagLib::ByteVector FileReadStream::readBlock(unsigned long length) {
    if (!isOpen() || length == 0 || position_ >= size_) {
        return TagLib::ByteVector();
    }
    // A broken header may ask for gigabytes: never more than the file holds, nor than a
    // ByteVector's unsigned int can count (a file of more than 4 GiB).
    const std::uint64_t available =
        std::min<std::uint64_t>(static_cast<std::uint64_t>(size_ - position_), UINT_MAX);
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length, available));
    if (wanted <= kAheadBytes && fillAhead(position_)) {
        const std::size_t from = static_cast<std::size_t>(position_ - aheadStart_);
        if (from + wanted <= ahead_.size()) {
            position_ += static_cast<std::int64_t>(wanted);
            return TagLib::ByteVector(ahead_.data() + from, static_cast<unsigned int>(wanted));
        }
    }
    TagLib::ByteVector block(static_cast<unsigned int>(wanted), '\0');
    const std::size_t got = readAt(position_, block.data(), wanted);
    block.resize(static_cast<unsigned int>(got));
    position_ += static_cast<std::int64_t>(got);
    return block;
}

void FileReadStream::seek(long offset, Position from) {
    std::int64_t base = 0;
    if (from == Current) {
        base = position_;
    } else if (from == End) {
        base = size_;
    }
    const std::int64_t target = base + offset;
    if (target >= 0) {
        position_ = target;  // as fseek, a place past the end is allowed; before the start is not
    }
}

long FileReadStream::tell() const {
    return clampedToLong(position_);
}

long FileReadStream::length() {
    return clampedToLong(size_);
}

}  // namespace tangor::index
