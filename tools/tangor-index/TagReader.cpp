#include "TagReader.h"

#include <sys/stat.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

#include <climits>
#include <cstdlib>

namespace tangor::index {

namespace {

// "3" and "3/12" both give 3; anything that does not start with a number gives 0.
int leadingNumber(const TagLib::StringList& values) {
    if (values.isEmpty()) {
        return 0;
    }
    const std::string text = values.front().to8Bit(true);
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || number < 0 || number > INT_MAX) {
        return 0;
    }
    return static_cast<int>(number);
}

int clampedTrack(unsigned int track) {
    return track > static_cast<unsigned int>(INT_MAX) ? 0 : static_cast<int>(track);
}

}  // namespace

TagResult readTags(const std::string& path, Tags& tags) {
    // Audio properties are not needed, and reading them costs a scan of the stream.
    const TagLib::FileRef file(path.c_str(), false);
    if (file.isNull() || !file.file()->isValid() || file.tag() == nullptr) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? TagResult::Unreadable : TagResult::Vanished;
    }
    const TagLib::Tag& tag = *file.tag();
    tags.title = tag.title().to8Bit(true);
    tags.artist = tag.artist().to8Bit(true);
    tags.album = tag.album().to8Bit(true);
    tags.genre = tag.genre().to8Bit(true);
    tags.trackNumber = clampedTrack(tag.track());
    const TagLib::PropertyMap properties = file.file()->properties();
    const auto composer = properties.find("COMPOSER");
    if (composer != properties.end() && !composer->second.isEmpty()) {
        tags.composer = composer->second.front().to8Bit(true);
    }
    const auto disc = properties.find("DISCNUMBER");
    if (disc != properties.end()) {
        tags.discNumber = leadingNumber(disc->second);
    }
    return TagResult::Read;
}

}  // namespace tangor::index
