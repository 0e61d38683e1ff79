// The tag stage on any file: TagLib reading through the indexer's own stream, under each name the
// indexer knows audio by (the first byte picks it; the rest is the file). Whatever the bytes, the
// file is there, so it is never reported gone, and every text comes out as valid UTF-8.

#include <utf8proc.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "TagReader.h"
#include "internal/FixedPaths.h"

namespace {

const char* const kExtensions[] = {"mp3",  "m4a", "m4b",  "aac", "flac", "ogg", "oga",
                                   "opus", "wav", "aiff", "wma", "ape",  "wv",  "mpc"};

bool isUtf8(const std::string& text) {
    const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto size = static_cast<utf8proc_ssize_t>(text.size());
    for (utf8proc_ssize_t i = 0; i < size;) {  // each round consumes a byte at least, or ends
        utf8proc_int32_t codePoint = 0;
        const utf8proc_ssize_t length = utf8proc_iterate(at + i, size - i, &codePoint);
        if (length <= 0) {
            return false;
        }
        i += length;
    }
    return true;
}

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
        if (!isUtf8(*text)) {
            std::abort();
        }
    }
    return 0;
}
