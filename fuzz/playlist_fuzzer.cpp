// The playlist reader on any file, under each of the three names it tells formats by, and every
// entry it gives joined to a folder: a joined path never leaves the partition.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "Playlist.h"
#include "internal/FixedPaths.h"

namespace {

const char* const kNames[] = {TANGOR_FIXED_PATH("/fuzz/list.m3u"),
                              TANGOR_FIXED_PATH("/fuzz/list.m3u8"),
                              TANGOR_FIXED_PATH("/fuzz/list.pls")};

void joinAll(const std::vector<std::string>& entries) {
    for (const std::string& entry : entries) {
        std::string relative;
        if (tangor::index::joinEntry("music/albums", entry, relative) &&
            (relative.compare(0, 3, "../") == 0 || relative == ".." ||
             (!relative.empty() && relative[0] == '/'))) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tangor::index::PlaylistLimits limits;
    limits.maxBytes = 64 * 1024;
    limits.maxEntries = 1000;
    for (const char* name : kNames) {
        if (!tangor::fuzz::writeFile(name, data, size)) {
            return 0;
        }
        std::vector<std::string> entries;
        tangor::index::PlaylistCut cut = tangor::index::PlaylistCut::None;
        if (tangor::index::readPlaylistEntries(name, entries, cut, limits)) {
            if (entries.size() > limits.maxEntries) {
                std::abort();
            }
            joinAll(entries);
        }
    }
    return 0;
}
