#include "AudioHead.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "FileSystem.h"

namespace tangor::index {

bool headIsAllZero(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) {
        return false;
    }
    // Read block by block and stop at the first byte that is not zero: an audio file costs one
    // small read, only a zero-filled head is read whole.
    char block[4096];
    std::size_t seen = 0;
    // Each round reads at least one byte or ends: at most kAudioHeadBytes rounds.
    while (seen < kAudioHeadBytes) {
        const std::size_t wanted = std::min(sizeof block, kAudioHeadBytes - seen);
        const ssize_t got = read(file.get(), block, wanted);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got == 0 && seen > 0;
        }
        if (std::any_of(block, block + got, [](char byte) { return byte != 0; })) {
            return false;
        }
        seen += static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace tangor::index
