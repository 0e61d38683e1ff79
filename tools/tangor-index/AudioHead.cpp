#include "AudioHead.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "FileSystem.h"

namespace tangor::index {

bool headIsAllZero(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) {
        return false;
    }
    std::vector<char> head(kAudioHeadBytes);
    std::size_t filled = 0;
    // Each round reads at least one byte or ends: at most kAudioHeadBytes rounds.
    while (filled < head.size()) {
        const ssize_t got = read(file.get(), head.data() + filled, head.size() - filled);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return false;
        }
        if (got == 0) {
            break;
        }
        filled += static_cast<std::size_t>(got);
    }
    return filled > 0 &&
           std::all_of(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(filled),
                       [](char byte) { return byte == 0; });
}

}  // namespace tangor::index
