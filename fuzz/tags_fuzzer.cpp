// The tag stage on any file: TagLib reading through the indexer's own stream, under each name the
// indexer knows audio by (the first byte picks it; the rest is the file). Whatever the bytes, the
// file is there, so it is never reported gone, and every text comes out as valid UTF-8.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "TagReader.h"
#include "internal/FixedPaths.h"

namespace {

const char* const kExtensions[] = {"mp3",  "m4a", "m4b",  "aac", "flac", "ogg", "oga",
                                   "opus", "wav", "aiff", "wma", "ape",  "wv",  "mpc"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t count = sizeof kExtensions / sizeof kExtensions[0];
    const std::string path =
        std::string(TANGOR_FIXED_PATH("/fuzz/track.")) + kExtensions[data[0] % count];
    if (!tangor::fuzz::writeFile(path, data + 1, size - 1)) {
        return 0;
    }
    tangor::index::Tags tags;
    const tangor::index::TagResult result = tangor::index::readTags(path, tags, false);
    if (result == tangor::index::TagResult::Vanished) {
        std::abort();
    }
    for (const std::string* text :
         {&tags.title, &tags.artist, &tags.album, &tags.genre, &tags.composer}) {
        if (!tangor::fuzz::wellFormed(*text)) {
            std::abort();
        }
    }
    return 0;
}
