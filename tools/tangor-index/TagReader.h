#pragma once

// The tag stage: reads the tags the index keeps from an audio file, with TagLib. Safe on several
// threads at once, each reading its own file.

#include <string>

#include "TrackTags.h"

namespace tangor::index {

using Tags = TrackTags;

enum class TagResult { Read, Unreadable, NotAudio, Vanished };

// Fills `tags` (left empty unless Read). Unreadable: the file is there but TagLib cannot make
// sense of it; NotAudio: its start holds only zero bytes (AudioHead.h), and TagLib was not asked;
// Vanished: the file is no longer there. A link at `path` is followed only if `followLink`; where
// it is not, the file is Unreadable.
TagResult readTags(const std::string& path, Tags& tags, bool followLink = true);

}  // namespace tangor::index
