#pragma once

// The tag stage: reads the tags the index keeps from an audio file, with TagLib. Safe on several
// threads at once, each reading its own file.

#include <string>

namespace tangor::index {

struct Tags {
    std::string title;
    std::string artist;
    std::string album;
    std::string genre;
    std::string composer;
    int trackNumber = 0;  // 0 when missing
    int discNumber = 0;   // 0 when missing
};

enum class TagResult { Read, Unreadable, NotAudio, Vanished };

// Fills `tags` (left empty unless Read). Unreadable: the file is there but TagLib cannot make
// sense of it; NotAudio: its start holds only zero bytes (AudioHead.h), and TagLib was not asked;
// Vanished: the file is no longer there.
TagResult readTags(const std::string& path, Tags& tags);

}  // namespace tangor::index
